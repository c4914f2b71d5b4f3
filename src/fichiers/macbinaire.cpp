#include "fichiers/macbinaire.hpp"

#include <algorithm>
#include <limits>

#include "noms/texte.hpp"

namespace varnion {

namespace {

// Bytes of the name field before the first NUL. The field's end closes a name of 63 bytes, since the file
// type follows it without a NUL between.
std::size_t longueur_nom(const TeteMacBinaire &tete) {
  const auto fin = std::find(tete.nom.begin(), tete.nom.end(), std::uint8_t{0});
  return static_cast<std::size_t>(fin - tete.nom.begin());
}

bool nom_coherent(const TeteMacBinaire &tete) {
  if (tete.lg_nom == 0 || tete.lg_nom > kNomMacBinaireMax) return false;
  return longueur_nom(tete) == tete.lg_nom;
}

// Type and creator are both there or both absent: one to seven zero bytes among the eight refuse the file.
bool signature_coherente(const TeteMacBinaire &tete) {
  const auto nuls = std::count(tete.signature.begin(), tete.signature.end(), std::uint8_t{0});
  return nuls == 0 || nuls == 8;
}

// The head's own 128 bytes are not part of the sum: a file cut by that much still passes.
bool longueurs_coherentes(const TeteMacBinaire &tete, std::uint64_t lg_fichier) {
  const std::uint64_t somme = std::uint64_t{tete.lg_data} + std::uint64_t{tete.lg_rsrc};
  if (somme == 0) return false;
  return lg_fichier == 0 || (somme <= 0x7FFFFFFFU && somme <= lg_fichier);
}

}  // namespace

bool est_macbinaire(const TeteMacBinaire &tete, std::uint64_t lg_fichier) {
  return tete.zero == 0 && nom_coherent(tete) && signature_coherente(tete) && tete.zero_82 == 0 &&
         longueurs_coherentes(tete, lg_fichier);
}

bool est_macbinaire(std::span<const std::uint8_t> debut, std::uint64_t lg_fichier) {
  const auto *tete = vue<TeteMacBinaire>(debut, 0);
  return tete != nullptr && est_macbinaire(*tete, lg_fichier);
}

bool est_macbinaire(const Fichier &fichier) {
  const auto tete = lit_tete_macbinaire(fichier);
  const std::int64_t taille = fichier_taille(fichier);
  fichier_debut(fichier);
  return tete && taille >= 0 && est_macbinaire(*tete, static_cast<std::uint64_t>(taille));
}

std::optional<TeteMacBinaire> lit_tete_macbinaire(const Fichier &fichier) {
  std::array<std::uint8_t, sizeof(TeteMacBinaire)> octets{};
  if (fichier.lire_a(octets, 0) != static_cast<std::int64_t>(octets.size())) return std::nullopt;
  return *vue<TeteMacBinaire>(octets, 0);
}

std::string nom_macbinaire(const TeteMacBinaire &tete) {
  const std::size_t longueur = std::min<std::size_t>(tete.lg_nom, longueur_nom(tete));
  return {tete.nom.begin(), tete.nom.begin() + static_cast<std::ptrdiff_t>(longueur)};
}

std::string signature_macbinaire(const TeteMacBinaire &tete) {
  return {tete.signature.begin(), tete.signature.end()};
}

std::uint16_t drapeaux_macbinaire(const TeteMacBinaire &tete) {
  return tete.drapeaux;
}

std::uint64_t position_ressource(std::uint32_t lg_data) {
  return arrondi<std::uint64_t>(std::uint64_t{lg_data} + kPasMacBinaire, kPasMacBinaire);
}

PlageFourche plage_data_macbinaire(const TeteMacBinaire &tete, std::uint64_t lg_fichier) {
  return plage_bornee(kPasMacBinaire, tete.lg_data, lg_fichier);
}

PlageFourche plage_rsrc_macbinaire(const TeteMacBinaire &tete, std::uint64_t lg_fichier) {
  return plage_bornee(position_ressource(tete.lg_data), tete.lg_rsrc, lg_fichier);
}

TeteMacBinaire tete_macbinaire(const ElementFichier &element) {
  TeteMacBinaire tete;
  std::string_view nom = sans_blancs_debut(element.nom);
  if (nom.empty()) nom = element.nom;  // a head without a name is none
  nom = nom.substr(0, std::min(nom.find('\0'), kNomMacBinaireMax));
  tete.lg_nom = static_cast<std::uint8_t>(nom.size());
  std::copy(nom.begin(), nom.end(), tete.nom.begin());
  const auto info = std::span(element.info_finder);
  std::copy_n(info.begin(), tete.signature.size(), tete.signature.begin());
  tete.drapeaux = *vue<be16>(info, 8);
  tete.vertical = *vue<be16>(info, 10);
  tete.horizontal = *vue<be16>(info, 12);
  tete.lg_data = static_cast<std::uint32_t>(element.data.longueur);
  tete.lg_rsrc = static_cast<std::uint32_t>(element.rsrc.longueur);
  tete.date_creation = element.date_locale(element.dates.creation);
  tete.date_modif = element.date_locale(element.dates.modification);
  return tete;
}

// The low 32 bits of a longer fork would make a container that has lost the rest: it is refused instead.
ResultatEcriture ecrit_macbinaire(const Fichier &cible, const ElementFichier &element) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  if (element.data.longueur > kMax || element.rsrc.longueur > kMax) return ResultatEcriture::trop_grand;
  SortieConteneur sortie(cible);
  sortie.ecrit(octets_de(tete_macbinaire(element)));
  sortie.verse(element.data);
  sortie.avance(arrondi<std::uint64_t>(sortie.position(), kPasMacBinaire) - sortie.position());
  sortie.verse(element.rsrc);
  return sortie.resultat();
}

}  // namespace varnion
