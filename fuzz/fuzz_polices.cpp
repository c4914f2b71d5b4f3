// Fonts on their way to the PC. The first byte chooses between a PostScript font and a suitcase, the rest is
// the resource fork. No file that is made holds more than the fork has, apart from heads.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fichiers/pfm.hpp"
#include "fichiers/polices.hpp"
#include "IO/plateforme.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  if (taille == 0) return 0;
  static const std::string dossier = plateforme::dossier_temporaire();
  static const auto sortie = DossierSortie::ouvre(dossier);
  if (!sortie) std::abort();
  const std::string fourche(reinterpret_cast<const char *>(donnees) + 1, taille - 1);
  ElementFichier element;
  element.nom = "police";
  std::memcpy(element.info_finder.data(), (donnees[0] & 1) != 0 ? "LWFN" : "FFIL", 4);
  element.rsrc = fourche_de_texte(fourche);
  const ResultatPolice resultat = convertit_police_mac(element, *sortie);
  const auto faits = plateforme::liste_dossier(dossier);
  if (!faits || (resultat == ResultatPolice::aucune && !faits->empty())) std::abort();
  for (const plateforme::DonneesRecherche &fait : *faits) {
    // Entries of a map may share bytes, so that many small resources come to more than the fork.
    if (fait.taille > 1024 + (fourche.size() / 12 + 1) * (fourche.size() + 6)) std::abort();
    if (!plateforme::supprime(dossier + (fait.nom_court.empty() ? fait.nom_long : fait.nom_court)))
      std::abort();
  }
  const auto traits = lit_traits_postscript(fourche);
  if (traits && fait_pfm(*traits).size() > 0xD2 + 2 * 128 + 2 * 256) std::abort();
  return 0;
}
