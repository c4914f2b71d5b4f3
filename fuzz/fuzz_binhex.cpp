// BinHex: the target never grows past what the runs of the text can hold, and both ways to the checksums
// agree.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "fichiers/binhex.hpp"
#include "IO/plateforme.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  static const Fichier source = plateforme::fichier_anonyme();
  static const Fichier cible = plateforme::fichier_anonyme();
  if (!fichier_tronquer(source, 0) || !fichier_tronquer(cible, 0)) std::abort();
  if (!source.ecrire_a({donnees, taille}, 0)) std::abort();
  (void)est_binhex(source);
  (void)tete_binhex(source);
  ControleBinHex controle;
  const auto longueur = decode_binhex(source, cible, &controle);
  if (!longueur || *longueur != static_cast<std::uint64_t>(fichier_taille(cible))) std::abort();
  if (*longueur > 256 + taille * 128) std::abort();
  const auto verifie = verifie_binhex(source);
  if (!verifie || verifie->juste() != controle.juste()) std::abort();
  return 0;
}
