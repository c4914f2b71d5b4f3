#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "fichiers/applesimple.hpp"
#include "fichiers/binhex.hpp"
#include "fichiers/element.hpp"
#include "fichiers/integrite.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/sfm.hpp"
#include "IO/octets.hpp"
#include "IO/plateforme.hpp"
#include "noms/texte.hpp"

namespace varnion {

namespace {

using FichierPartage = std::shared_ptr<const Fichier>;

std::uint64_t taille(const Fichier &fichier) {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(fichier), 0));
}

/// What every PC file tells of itself.
void decrit_fichier(const plateforme::DonneesRecherche &donnees, ElementFichier &element) {
  element.nom = nom_mac(donnees.nom_long);
  element.nom_large = donnees.nom_large;
  const std::int64_t date =
      std::clamp<std::int64_t>(donnees.modification - plateforme::biais_fuseau() + kEpoqueMac, 0, 0xFFFFFFFF);
  element.dates.creation = element.dates.modification = static_cast<std::uint32_t>(date);
}

void pose_info(ElementFichier &element, std::size_t position, std::span<const std::uint8_t> octets) {
  octets = octets.first(std::min(octets.size(), element.info_finder.size() - position));
  std::copy(octets.begin(), octets.end(),
            element.info_finder.begin() + static_cast<std::ptrdiff_t>(position));
}

/// The head from a MacBinary file or, with its checksums, a decoded BinHex text; false when there is none.
bool prend_macbinaire(const FichierPartage &fichier, Conteneur &conteneur,
                      const ControleBinHex *controle = nullptr) {
  const auto tete = lit_tete_macbinaire(*fichier);
  if (!tete) return false;
  ElementFichier &element = conteneur.element;
  element.nom = nom_macbinaire(*tete);
  element.nom_large = plateforme::texte_vers_large(nom_windows(element.nom));
  pose_info(element, 0, octets_de(*tete).subspan(offsetof(TeteMacBinaire, signature), 14));
  element.dates.creation = tete->date_creation;
  element.dates.modification = tete->date_modif;
  const std::uint64_t lg = taille(*fichier);
  const FourchesConteneur fourches =
      controle != nullptr ? fourches_binhex(*tete, lg, *controle) : fourches_macbinaire(*tete, lg);
  element.data = fourche_de_fichier(fichier, fourches.data);
  element.rsrc = fourche_de_fichier(fichier, fourches.rsrc);
  conteneur.intact = fourches.intact();
  return true;
}

/// Finder info and resource fork out of an AppleSingle file or the companion of a pair.
void prend_apple(const FichierPartage &fichier, Conteneur &conteneur) {
  std::array<std::uint8_t, kLectureApple> octets{};
  const std::int64_t lus = fichier->lire_a(octets, 0);
  const auto debut =
      std::span<const std::uint8_t>(octets).first(static_cast<std::size_t>(std::max<std::int64_t>(lus, 0)));
  const FourchesConteneur fourches = fourches_apple(debut, taille(*fichier));
  pose_info(conteneur.element, 0, info_finder_apple(debut));
  conteneur.element.rsrc = fourche_de_fichier(fichier, fourches.rsrc);
  if (magie_apple(debut) == kMagieAppleSingle)
    conteneur.element.data = fourche_de_fichier(fichier, fourches.data);
  conteneur.intact = fourches.intact();
}

void prend_sfm(std::string_view chemin, Fichier ressource, ElementFichier &element) {
  auto flux = std::make_shared<const Fichier>(std::move(ressource));
  element.rsrc = fourche_de_fichier(flux, {0, taille(*flux)});
  std::string signature;
  const be16 drapeaux = lecture_afpinfo(chemin, signature);
  pose_info(element, 0, {reinterpret_cast<const std::uint8_t *>(signature.data()), signature.size()});
  pose_info(element, 8, octets_de(drapeaux));
}

bool prend_binhex(const Fichier &fichier, Conteneur &conteneur) {
  ControleBinHex controle;
  auto decode = std::make_shared<const Fichier>(decode_binhex(fichier, &controle));
  return decode->ouvert() && prend_macbinaire(decode, conteneur, &controle);
}

}  // namespace

std::optional<Conteneur> ouvre_conteneur(std::string_view chemin) {
  const auto donnees = plateforme::cherche_fichier(chemin);
  if (!donnees) return std::nullopt;
  const auto fichier = std::make_shared<const Fichier>(plateforme::ouvre(chemin, Ouverture::lecture));
  if (!fichier->ouvert()) return std::nullopt;
  std::optional<Conteneur> conteneur(std::in_place);
  decrit_fichier(*donnees, conteneur->element);
  if (est_macbinaire(*fichier)) {
    conteneur->genre = GenreConteneur::macbinaire;
    if (!prend_macbinaire(fichier, *conteneur)) return std::nullopt;
    return conteneur;
  }
  if (est_binhex(*fichier)) {
    conteneur->genre = GenreConteneur::binhex;
    if (!prend_binhex(*fichier, *conteneur)) return std::nullopt;
    return conteneur;
  }
  if (est_applesingle(*fichier)) {
    conteneur->genre = GenreConteneur::applesingle;
    prend_apple(fichier, *conteneur);
    return conteneur;
  }
  conteneur->element.data = fourche_de_fichier(fichier, {0, taille(*fichier)});
  if (est_appledouble(chemin)) {
    conteneur->genre = GenreConteneur::appledouble;
    prend_apple(std::make_shared<const Fichier>(ouvre_compagnon(chemin)), *conteneur);
  } else if (Fichier ressource = ouvre_ressource_sfm(chemin); ressource.ouvert()) {
    conteneur->genre = GenreConteneur::sfm;
    prend_sfm(chemin, std::move(ressource), conteneur->element);
  }
  return conteneur;
}

}  // namespace varnion
