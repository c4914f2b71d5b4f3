#include "finder/ds_store.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "IO/octets.hpp"
#include "IO/plateforme.hpp"
#include "projet/nom_hfsplus.hpp"

namespace varnion {

namespace {

using Octets = std::vector<std::uint8_t>;

constexpr std::size_t kDescription = 0x44;       // block 1: description of the tree
constexpr std::size_t kFeuille = 0x404;          // block 2: the leaf
constexpr std::size_t kEnregistrements = 0x40C;  // its first record
constexpr std::size_t kListesLibres = 0xC20;
constexpr std::size_t kGestion = 0x1004;  // block 0: the allocator itself
constexpr std::size_t kTableMatieres = 0x1400;
constexpr std::uint32_t kIndicateurImage = 0xFFBF;

/// Free lists of an earlier state of the allocator, one count and offset for each power of two; nothing
/// points at them.
constexpr std::uint8_t kGabaritLibres[208] = {
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00, 0x01,  //
    0x00, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x80, 0x00, 0x00, 0x00, 0x01,  //
    0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x01,  //
    0x00, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x10, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x40, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x80, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x04, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x10, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x00, 0x20, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x40, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x00, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x04, 0x00, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0x00, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x01, 0x20, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x40, 0x00, 0x00, 0x00,  //
};
/// From 12 on: the table of contents, "DSDB" in block 1, and the free lists. By the format these name every
/// address that no block has, once. Here they are those of a file with its leaf at 100, 256 bytes long: 100
/// is neither free nor a block, and 400 is both. Kept as it stands: they serve a writer alone, and a disc has
/// none.
constexpr std::uint8_t kGabaritTable[256] = {
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,  //
    0x04, 0x44, 0x53, 0x44, 0x42, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  //
    0x02, 0x00, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00, 0x60, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  //
    0x01, 0x00, 0x00, 0x00, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x02,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x08,  //
    0x00, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x20,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x80,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x08, 0x00,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x20, 0x00,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x40, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x80, 0x00,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x02, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x08, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x20, 0x00, 0x00,  //
    0x00, 0x00, 0x00, 0x00, 0x01, 0x40, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  //
};

bool tient(int coordonnee) {
  return coordonnee >= 0 && coordonnee <= kCoordonneeEcranMax;
}

void ajoute(Octets &cible, std::span<const std::uint8_t> octets) {
  cible.insert(cible.end(), octets.begin(), octets.end());
}
void ajoute(Octets &cible, std::string_view texte) {
  cible.insert(cible.end(), texte.begin(), texte.end());
}
void ajoute16(Octets &cible, int valeur) {
  ajoute(cible, octets_de(be16(static_cast<std::uint16_t>(valeur))));
}
void ajoute32(Octets &cible, std::uint32_t valeur) {
  ajoute(cible, octets_de(be32(valeur)));
}

/// The records of the leaf.
class Feuille {
 public:
  void blob(std::u16string_view nom, std::string_view code, std::span<const std::uint8_t> valeur) {
    tete(nom, code, "blob");
    ajoute32(octets_, static_cast<std::uint32_t>(valeur.size()));
    ajoute(octets_, valeur);
  }
  void shor(std::u16string_view nom, std::string_view code, int valeur) {
    tete(nom, code, "shor");
    ajoute32(octets_, static_cast<std::uint32_t>(valeur));
  }
  void type(std::u16string_view nom, std::string_view code, std::string_view valeur) {
    tete(nom, code, "type");
    ajoute(octets_, valeur);
  }
  [[nodiscard]] const Octets &octets() const { return octets_; }
  [[nodiscard]] std::uint32_t nombre() const { return nombre_; }

 private:
  void tete(std::u16string_view nom, std::string_view code, std::string_view genre) {
    ecrit_rubrique_ds(octets_, nom);
    ajoute(octets_, code);
    ajoute(octets_, genre);
    ++nombre_;
  }
  Octets octets_;
  std::uint32_t nombre_ = 0;
};

Octets fond(std::size_t lg_alias) {
  Octets valeur;
  if (lg_alias == 0) {
    ajoute(valeur, "DefB");
    valeur.resize(12);
    return valeur;
  }
  ajoute(valeur, "PctB");
  ajoute32(valeur, static_cast<std::uint32_t>(lg_alias));
  ajoute32(valeur, kIndicateurImage);
  return valeur;
}

Octets cadre(const RectEcran &rect) {
  Octets valeur;
  for (const int bord : {rect.haut, rect.gauche, rect.bas, rect.droite}) ajoute16(valeur, bord);
  ajoute(valeur, "icnv");
  valeur.resize(16);
  return valeur;
}

Octets vue_icones(const ValeursFenetre &valeurs) {
  Octets valeur;
  ajoute(valeur, "icv4");
  ajoute16(valeur, kTaillesIcone[static_cast<std::size_t>(valeurs.taille_icone)]);
  ajoute(valeur, "gridbotm");
  ajoute32(valeur, 0);
  ajoute32(valeur, 0x00040000);
  ajoute32(valeur, 0x00040001);
  ajoute32(valeur, kValeursEspacement[static_cast<std::size_t>(valeurs.espacement)]);
  ajoute16(valeur, 1);
  return valeur;
}

Octets colonnes() {
  Octets valeur;
  ajoute32(valeur, 4);
  ajoute32(valeur, 4);
  return valeur;
}

Octets place_icone(const ElementFenetre &element) {
  Octets valeur;
  ajoute32(valeur, static_cast<std::uint32_t>(element.x));
  ajoute32(valeur, static_cast<std::uint32_t>(element.y));
  ajoute32(valeur, 0xFFFFFFFF);
  ajoute32(valeur, 0xFFFF0000);
  return valeur;
}

// The records of the folder stand first, whatever the names of the items: the published format sorts "!" to
// "-" before ".".
void ecrit_dossier(Feuille &feuille, const ValeursFenetre &valeurs, std::span<const std::uint8_t> alias) {
  constexpr std::u16string_view kSoi = u".";
  feuille.blob(kSoi, "BKGD", fond(alias.size()));
  feuille.blob(kSoi, "fwi0", cadre(valeurs.rect));
  feuille.shor(kSoi, "fwvh", valeurs.rect.hauteur());
  feuille.blob(kSoi, "icgo", colonnes());
  feuille.blob(kSoi, "icvo", vue_icones(valeurs));
  feuille.shor(kSoi, "icvt", kTaillesTexte[static_cast<std::size_t>(valeurs.taille_texte)]);
  if (!alias.empty()) feuille.blob(kSoi, "pict", alias);
  feuille.type(kSoi, "vstl", "icnv");
}

// By whole lines of name, place and number without regard to case, as the text sorter has them.
std::vector<const ElementFenetre *> tries(const std::vector<ElementFenetre> &elements) {
  std::vector<std::pair<std::string, const ElementFenetre *>> lignes;
  lignes.reserve(elements.size());
  for (const ElementFenetre &e : elements)
    lignes.emplace_back(plateforme::majuscules(e.nom) + "\t" + std::to_string(e.x) + "\t" +
                            std::to_string(e.y) + "\t" + std::to_string(e.numero),
                        &e);
  std::stable_sort(lignes.begin(), lignes.end(),
                   [](const auto &a, const auto &b) { return a.first < b.first; });
  std::vector<const ElementFenetre *> resultat;
  resultat.reserve(lignes.size());
  for (const auto &ligne : lignes) resultat.push_back(ligne.second);
  return resultat;
}

void pose(std::span<std::uint8_t> image, std::size_t position, std::span<const std::uint8_t> octets) {
  std::memcpy(image.subspan(position, octets.size()).data(), octets.data(), octets.size());
}
void pose32(std::span<std::uint8_t> image, std::size_t position, std::uint32_t valeur) {
  pose(image, position, octets_de(be32(valeur)));
}

Octets image_vide() {
  Octets image(kTailleDsStore);
  constexpr std::pair<std::size_t, std::uint32_t> kChamps[] = {
      {0, 1},
      {8, 0x1000},
      {12, 0x800},
      {16, 0x1000},
      {20, 0x40A},
      {44, 0x800},
      {48, 0x800},
      {kDescription, 2},
      {kDescription + 12, 1},
      {kDescription + 16, 0x1000},
      {0x804, 1},
      {0x80C, 0x80B},
      {kGestion, 3},
      // Blocks 0 to 2: address, its low five bits the power of two that is the size.
      {kGestion + 8, 0x100B},
      {kGestion + 12, 0x45},
      {kGestion + 16, 0x40A},
  };
  for (const auto &[position, valeur] : kChamps) pose32(image, position, valeur);
  constexpr std::array<std::uint8_t, 4> kMagie = {'B', 'u', 'd', '1'};
  pose(image, 4, kMagie);
  pose(image, kListesLibres, kGabaritLibres);
  pose(image, kTableMatieres, kGabaritTable);
  return image;
}

}  // namespace

std::u16string nom_sur_disque(const ElementFenetre &element) {
  return element.nom_disque.empty() ? decompose_texte(element.nom).large() : element.nom_disque;
}

bool ValeursFenetre::cadre_valide() const {
  const auto indice = [](int v, std::size_t nombre) { return v >= 0 && v < static_cast<int>(nombre); };
  return tient(rect.gauche) && tient(rect.haut) && tient(rect.droite) && tient(rect.bas) &&
         rect.largeur() > 0 && rect.hauteur() > 0 && indice(taille_icone, kTaillesIcone.size()) &&
         indice(taille_texte, kTaillesTexte.size()) && indice(espacement, kEspacements);
}

bool ValeursFenetre::valides() const {
  return cadre_valide() && std::all_of(elements.begin(), elements.end(), [](const ElementFenetre &e) {
           return tient(e.x) && tient(e.y) && !e.nom.empty();
         });
}

void ecrit_rubrique_ds(std::vector<std::uint8_t> &feuille, std::u16string_view nom) {
  ajoute32(feuille, static_cast<std::uint32_t>(nom.size()));
  for (const char16_t unite : nom) ajoute16(feuille, unite);
}

std::optional<std::vector<std::uint8_t>> fait_ds_store(const ValeursFenetre &valeurs,
                                                       std::span<const std::uint8_t> alias,
                                                       std::size_t *besoin) {
  if (besoin != nullptr) *besoin = 0;
  if (!valeurs.cadre_valide()) return std::nullopt;
  Feuille feuille;
  ecrit_dossier(feuille, valeurs, alias);
  for (const ElementFenetre *element : tries(valeurs.elements)) {
    const std::u16string nom = nom_sur_disque(*element);
    feuille.blob(nom, "Iloc", place_icone(*element));
    if (element->numero >= 0) feuille.blob(nom, "icgo", colonnes());
  }
  if (besoin != nullptr) *besoin = feuille.octets().size();
  if (feuille.octets().size() > kPlaceDsStore || !valeurs.valides()) return std::nullopt;
  Octets image = image_vide();
  pose(image, kEnregistrements, feuille.octets());
  pose32(image, kDescription + 8, feuille.nombre());
  pose32(image, kFeuille + 4, feuille.nombre());
  return image;
}

}  // namespace varnion
