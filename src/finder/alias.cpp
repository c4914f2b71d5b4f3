#include "finder/alias.hpp"

#include <algorithm>
#include <string_view>

#include "fichiers/ressources.hpp"
#include "noms/texte.hpp"

namespace varnion {

namespace {

constexpr std::size_t kCheminEntier = 200;
constexpr std::size_t kCheminBout = 100;
constexpr std::string_view kCoupure = " [...] ";

std::string_view texte(std::span<const std::uint8_t> octets) {
  return {reinterpret_cast<const char *>(octets.data()), octets.size()};
}

// The table puts "_" for what Windows lacks; a zero, as some makers leave behind a folder name, ends a text.
std::string en_texte(std::string_view mac) {
  return nom_windows(mac);
}

std::string champ(std::uint8_t longueur, std::span<const std::uint8_t> octets) {
  return en_texte(texte(octets.first(std::min<std::size_t>(longueur, octets.size()))));
}

// Cut on the bytes of the record, before any conversion.
std::string chemin_montre(std::string_view chemin) {
  if (chemin.size() < kCheminEntier) return en_texte(chemin);
  return en_texte(chemin.substr(0, kCheminBout)) + std::string(kCoupure) +
         en_texte(chemin.substr(chemin.size() - kCheminBout));
}

}  // namespace

int lecture_alias(const ElementFichier &element, TamponAlias &tampon) {
  tampon.fill(0);
  const Fichier fourche = fourche_en_fichier(element.rsrc);
  return fourche.ouvert() ? lecture_alias(fourche, tampon) : -1;
}

int lecture_alias(const Fichier &fourche, TamponAlias &tampon) {
  tampon.fill(0);
  const auto ressources = lit_ressources(fourche);
  if (!ressources) return -1;
  const auto alias = std::find_if(ressources->begin(), ressources->end(),
                                  [](const RessourceMac &ressource) { return ressource.type == "alis"; });
  if (alias == ressources->end()) return 0;
  const auto octets = lit_ressource(fourche, *alias, kAliasMax);
  if (!octets) return -1;
  std::copy(octets->begin(), octets->end(), tampon.begin());
  return 0;
}

std::vector<EtiquetteAlias> etiquettes_alias(std::span<const std::uint8_t> alias) {
  std::vector<EtiquetteAlias> etiquettes;
  std::size_t position = sizeof(FicheAlias);
  while (const auto *tete = vue<TeteEtiquette>(alias, position)) {
    position += sizeof(TeteEtiquette);
    const std::size_t longueur = tete->longueur;
    if (tete->etiquette == kEtiquetteFin || longueur > alias.size() - position) break;
    etiquettes.push_back({tete->etiquette, alias.subspan(position, longueur)});
    position += longueur + longueur % 2;
  }
  return etiquettes;
}

TextesAlias textes_alias(std::span<const std::uint8_t> alias) {
  TextesAlias textes;
  const auto *fiche = vue<FicheAlias>(alias, 0);
  if (fiche == nullptr) return textes;
  textes.fichier = champ(fiche->lg_fichier, fiche->fichier);
  textes.volume = champ(fiche->lg_volume, fiche->volume);
  // A buffer may be longer than the record in it, and its zeros would read as items.
  if (fiche->longueur >= sizeof(FicheAlias))
    alias = alias.first(std::min<std::size_t>(alias.size(), fiche->longueur));
  for (const EtiquetteAlias &etiquette : etiquettes_alias(alias)) {
    if (etiquette.etiquette == kEtiquetteDossier) textes.dossier = en_texte(texte(etiquette.octets));
    if (etiquette.etiquette == kEtiquetteChemin) textes.chemin = chemin_montre(texte(etiquette.octets));
  }
  return textes;
}

}  // namespace varnion
