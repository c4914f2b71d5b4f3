// Heads of MacBinary, AppleSingle and AppleDouble files.

#include "fichiers/applesimple.hpp"
#include "fichiers/macbinaire.hpp"
#include "inspect/formes.hpp"
#include "IO/requete.hpp"
#include "noms/texte.hpp"

namespace varnion::formes {

namespace {

constexpr int kNom = 3321, kType = 3322, kCreateur = 3323;

/// The captions and names of one fork.
struct FormeFourche {
  const char *debut, *longueur;
  int legende_debut, legende_longueur;
  const char *bouton;  ///< nullptr for none
};
constexpr FormeFourche kData{"cont_data", "cont_lgdata", 3324, 3325, "GoD"};
constexpr FormeFourche kDataMacBinaire{"cont_data", "cont_lgdata", 3324, 3325, nullptr};
constexpr FormeFourche kRess{"cont_ress", "cont_lgress", 3326, 3327, "GoR"};

/// Sector of a byte of the file. It counts sectors of 512 bytes whatever the medium has, from the start of
/// what is looked at, not from the head. Kept as it stands.
Cible cible_octet(std::uint64_t octet) {
  return {GenreCible::octet, octet, static_cast<std::int64_t>(octet / kTailleSecteur)};
}

/// A table may name an entry twice: the form has one place for it, and the last one stands there.
void pose(Champ champ, std::vector<Champ> &champs) {
  std::erase_if(champs, [&](const Champ &autre) { return autre.nom == champ.nom; });
  champs.push_back(std::move(champ));
}

void ajoute_fourche(const FormeFourche &forme, std::uint64_t debut, std::uint64_t longueur,
                    std::vector<Champ> &champs) {
  Champ position = champ_nombre(forme.debut, forme.legende_debut, debut);
  if (forme.bouton != nullptr) position.bouton = bouton_aller(forme.bouton, cible_octet(debut));
  pose(std::move(position), champs);
  pose(champ_nombre(forme.longueur, forme.legende_longueur, longueur), champs);
}

void ajoute_signature(std::span<const std::uint8_t> octets, std::size_t place, std::vector<Champ> &champs) {
  const auto code = [&](std::size_t i) { return nom_windows(texte_octets(octets, place + i, 4)); };
  pose({"cont_type", kType, 0, 0, code(0), std::nullopt}, champs);
  pose({"cont_crea", kCreateur, 0, 0, code(4), std::nullopt}, champs);
}

/// The first 8 bytes of entry 9, wherever the file has them.
void ajoute_finder(const ContexteAnalyse &contexte, std::uint32_t position, std::vector<Champ> &champs) {
  constexpr std::size_t kSignature = 8;
  if (position <= contexte.secteur.size() && contexte.secteur.size() - position >= kSignature)
    return ajoute_signature(contexte.secteur, position, champs);
  std::vector<std::uint8_t> octets(kSignature);
  if (contexte.source != nullptr && contexte.numero >= 0)
    static_cast<void>(contexte.source->lire(
        octets, static_cast<std::uint64_t>(contexte.numero) * contexte.taille_secteur + position));
  ajoute_signature(octets, 0, champs);
}

void entrees_apple(const ContexteAnalyse &contexte, bool avec_data, FicheAnalyse &fiche) {
  const auto *tete = vue<TeteApple>(contexte.secteur, 0);
  const std::size_t nombre = tete != nullptr ? std::size_t{tete->nb_entrees} : 0;
  std::vector<Champ> &champs = page(fiche).champs;
  for (std::size_t i = 0; i < nombre; ++i) {
    const auto *entree = vue<EntreeApple>(contexte.secteur, sizeof(TeteApple) + i * sizeof(EntreeApple));
    if (entree == nullptr) break;
    if (entree->id == kEntreeData && avec_data)
      ajoute_fourche(kData, entree->position, entree->longueur, champs);
    else if (entree->id == kEntreeRessource)
      ajoute_fourche(kRess, entree->position, entree->longueur, champs);
    else if (entree->id == kEntreeFinder)
      ajoute_finder(contexte, entree->position, champs);
  }
}

}  // namespace

void macbinaire(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  const auto *tete = vue<TeteMacBinaire>(contexte.secteur, 0);
  if (tete == nullptr) return;
  std::vector<Champ> &champs = page(fiche).champs;
  champs.push_back({"cont_fnom", kNom, 0, 0, nom_windows(nom_macbinaire(*tete)), std::nullopt});
  ajoute_signature(tete->signature, 0, champs);
  if (tete->lg_data != 0) ajoute_fourche(kDataMacBinaire, kPasMacBinaire, tete->lg_data, champs);
  if (tete->lg_rsrc != 0) ajoute_fourche(kRess, position_ressource(tete->lg_data), tete->lg_rsrc, champs);
}

void applesingle(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  entrees_apple(contexte, true, fiche);
}

void appledouble(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  entrees_apple(contexte, false, fiche);
}

}  // namespace varnion::formes
