#include <algorithm>

#include "finder/alias.hpp"
#include "finder/ds_store.hpp"
#include "IO/octets.hpp"
#include "noms/unicode.hpp"

namespace varnion {

namespace {

using Octets = std::span<const std::uint8_t>;

constexpr std::size_t kMagie = 4;
constexpr std::size_t kPlaceFeuille = 20;
constexpr std::size_t kNomMax = 255;

/// One record as it is read.
struct Enregistrement {
  NomUnicode nom;
  std::string code;          ///< four characters
  std::uint32_t valeur = 0;  ///< the number, or the length of what follows
};

/// Walks the records; every step stays in the file.
class Lecteur {
 public:
  Lecteur(Octets fichier, std::size_t position) : fichier_(fichier), position_(position) {}

  std::optional<Enregistrement> suivant() {
    const auto *longueur = prend<be32>();
    if (longueur == nullptr || *longueur > kNomMax) return std::nullopt;
    Enregistrement lu;
    for (std::uint32_t i = 0; i < *longueur; ++i) {
      const auto *unite = prend<be16>();
      if (unite == nullptr || !lu.nom.ajoute(static_cast<char16_t>(unite->operator std::uint16_t())))
        return std::nullopt;
    }
    const Octets codes = octets(8);
    const auto *valeur = prend<be32>();
    if (codes.empty() || valeur == nullptr) return std::nullopt;
    lu.code.assign(codes.begin(), codes.begin() + 4);
    lu.valeur = *valeur;
    return lu;
  }

  /// The next bytes; empty, and the walk is over, when they leave the file.
  Octets octets(std::size_t nombre) {
    if (nombre > fichier_.size() - position_) {
      abime_ = true;
      return {};
    }
    position_ += nombre;
    return fichier_.subspan(position_ - nombre, nombre);
  }
  [[nodiscard]] bool abime() const { return abime_; }

 private:
  template <typename T>
  const T *prend() {
    return vue<T>(octets(sizeof(T)), 0);
  }
  Octets fichier_;
  std::size_t position_;
  bool abime_ = false;
};

struct Cadre {
  be16 haut, gauche, bas, droite;
};

bool lit_cadre(Octets octets, RectEcran &rect) {
  const auto *cadre = vue<Cadre>(octets, 0);
  if (cadre == nullptr) return false;
  rect = {cadre->gauche, cadre->haut, cadre->droite, cadre->bas};
  return true;
}

// An icon size or a spacing that is none of the choices leaves the default.
void lit_vue_icones(Octets octets, ValeursFenetre &valeurs) {
  if (const auto *taille = vue<be16>(octets, 4)) {
    const int indice = *taille / 16 - 1;
    if (indice >= 0 && indice < static_cast<int>(kTaillesIcone.size())) valeurs.taille_icone = indice;
  }
  if (const auto *espacement = vue<be32>(octets, 26)) {
    const auto &choix = kValeursEspacement;
    const auto place = std::find(choix.begin(), choix.end(), espacement->operator std::uint32_t());
    if (place != choix.end()) valeurs.espacement = static_cast<int>(place - choix.begin());
  }
}

void lit_taille_texte(std::uint32_t points, ValeursFenetre &valeurs) {
  const auto place = std::find(kTaillesTexte.begin(), kTaillesTexte.end(), static_cast<int>(points));
  if (place != kTaillesTexte.end()) valeurs.taille_texte = static_cast<int>(place - kTaillesTexte.begin());
}

// False when the record leaves the file or has no sense.
bool lit_du_dossier(const Enregistrement &e, Lecteur &lecteur, DsStoreLu &lu, bool &cadre_lu) {
  if (e.code == "icgo" || e.code == "BKGD") lecteur.octets(e.valeur);
  if (e.code == "fwi0") cadre_lu = lit_cadre(lecteur.octets(e.valeur), lu.valeurs.rect);
  if (e.code == "icvo") lit_vue_icones(lecteur.octets(e.valeur), lu.valeurs);
  if (e.code == "icvt") lit_taille_texte(e.valeur, lu.valeurs);
  if (e.code == "pict") lu.nom_image = textes_alias(lecteur.octets(e.valeur)).fichier;
  return !lecteur.abime();
}

struct Place {
  be32 x, y;
};

bool lit_d_un_element(const Enregistrement &e, Lecteur &lecteur, DsStoreLu &lu) {
  constexpr std::size_t kLongueurPlace = 16;
  if (e.code == "fwsw") return true;
  if (e.code != "Iloc") {
    lecteur.octets(e.valeur);
    return !lecteur.abime();
  }
  const auto *place = vue<Place>(lecteur.octets(kLongueurPlace), 0);
  if (place == nullptr || place->x > kCoordonneeEcranMax || place->y > kCoordonneeEcranMax) return false;
  ElementFenetre element;
  element.nom = unicode_vers_windows(e.nom);
  element.nom_disque = e.nom.large();
  element.x = static_cast<int>(place->x.operator std::uint32_t());
  element.y = static_cast<int>(place->y.operator std::uint32_t());
  lu.valeurs.elements.push_back(std::move(element));
  return true;
}

}  // namespace

// The published format finds the leaf through the allocator and the description of the tree. Here the word
// at 20 is taken for its place and the low half of its count for the number of records, which is true of the
// one form written. Any other file breaks the chain of records soon, and that is told.
std::optional<DsStoreLu> lit_ds_store(std::span<const std::uint8_t> fichier) {
  constexpr std::array<std::uint8_t, 4> kBud1 = {'B', 'u', 'd', '1'};
  const auto *magie = vue<std::array<std::uint8_t, 4>>(fichier, kMagie);
  const auto *place = vue<be32>(fichier, kPlaceFeuille);
  if (magie == nullptr || *magie != kBud1 || place == nullptr) return std::nullopt;
  const auto *nombre = vue<be16>(fichier, *place);
  if (nombre == nullptr) return std::nullopt;
  DsStoreLu lu;
  Lecteur lecteur(fichier, std::size_t{*place} + sizeof(be16));
  bool cadre_lu = false;
  for (unsigned i = 0; i < *nombre; ++i) {
    const auto e = lecteur.suivant();
    if (!e) return std::nullopt;
    const bool bon = e->nom.large() == u"." ? lit_du_dossier(*e, lecteur, lu, cadre_lu)
                                            : lit_d_un_element(*e, lecteur, lu);
    if (!bon) return std::nullopt;
  }
  if (!cadre_lu || !lu.valeurs.valides()) return std::nullopt;
  return lu;
}

}  // namespace varnion
