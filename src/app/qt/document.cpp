#include "app/qt/document.hpp"

#include <algorithm>

#include "app/noyau/actions_volume.hpp"
#include "app/noyau/affichage.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::uint32_t kRacineVolume = 2;
constexpr std::size_t kProfondeurMax = 1000;  // levels followed upwards: damaged parents may run in a circle

std::string nom_montre(const std::string &utf8) {
  return montrable(utf8);
}

void trie(std::vector<DossierArbre> &dossiers) {
  std::stable_sort(dossiers.begin(), dossiers.end(),
                   [](const DossierArbre &a, const DossierArbre &b) { return a.nom < b.nom; });
}

// `pere` gives the folder above one, 0 when it is not found.
template <typename Pere>
std::vector<std::uint32_t> remonte(std::uint32_t id, std::uint32_t racine, Pere pere) {
  std::vector<std::uint32_t> ids{id};
  while (ids.back() != racine) {
    const std::uint32_t dessus = pere(ids.back());
    if (dessus == 0 || ids.size() > kProfondeurMax) return {racine};
    ids.push_back(dessus);
  }
  std::reverse(ids.begin(), ids.end());
  return ids;
}

LigneListe ligne_de(const ElementMac &element) {
  LigneListe ligne;
  ligne.nom = nom_montre(element.nom_utf8());
  ligne.id = element.id;
  ligne.dossier = element.dossier;
  ligne.valence = element.valence;
  ligne.donnees = element.donnees.longueur;
  ligne.ressources = element.ressources.longueur;
  ligne.creation = element.creation;
  ligne.modification = element.modification;
  if (!element.dossier) {
    ligne.signature.assign(element.type.begin(), element.type.end());
    ligne.signature.append(element.createur.begin(), element.createur.end());
  }
  return ligne;
}

PresenceVues presence_de(const RubriqueProjet &rubrique) {
  if (rubrique.dans_iso()) return rubrique.dans_hfs() ? PresenceVues::les_deux : PresenceVues::iso;
  return rubrique.dans_hfs() ? PresenceVues::hfs : PresenceVues::aucune;
}

std::string nom_utf8(const RubriqueProjet &rubrique, const FichierProjet &projet) {
  const std::string nom = nom_dans_vue(rubrique, projet.vue_courante(), projet.hfsplus());
  return nom_montre(plateforme::texte_vers_utf8(nom));
}

LigneListe ligne_de(const RubriqueProjet &rubrique, const FichierProjet &projet) {
  LigneListe ligne;
  ligne.nom = nom_utf8(rubrique, projet);
  ligne.id = rubrique.numero;
  ligne.dossier = rubrique.est_dossier();
  ligne.presence = projet.vue_courante() == kVueRacine ? presence_de(rubrique) : PresenceVues::les_deux;
  ligne.creation = rubrique.date_creation;
  ligne.modification = rubrique.date_modif;
  if (ligne.dossier) {
    ligne.valence = rubrique.lg_data + rubrique.lg_rsrc;
  } else {
    ligne.donnees = rubrique.lg_data;
    ligne.ressources = rubrique.lg_rsrc;
    ligne.signature.assign(rubrique.signature.begin(), rubrique.signature.end());
  }
  return ligne;
}

}  // namespace

// --- volume

DossierArbre DocumentVolume::racine() const {
  return {kRacineVolume, nom_montre(plateforme::texte_vers_utf8(partition_courante().nom_volume)), true};
}

std::vector<DossierArbre> DocumentVolume::dossiers(std::uint32_t id) const {
  std::vector<DossierArbre> dossiers;
  static_cast<void>(liste_dossier(id, [&](const ElementMac &element) {
    if (element.dossier && (caches_ || !est_cache(element)))
      dossiers.push_back({element.id, nom_montre(element.nom_utf8()), element.valence > 0});
    return true;
  }));
  trie(dossiers);
  return dossiers;
}

ContenuDossier DocumentVolume::contenu(std::uint32_t id) const {
  ContenuDossier contenu;
  const ResultatParcours fin = liste_dossier(id, [&](const ElementMac &element) {
    if (caches_ || !est_cache(element)) contenu.lignes.push_back(ligne_de(element));
    return true;
  });
  contenu.endommage = !fin.entier();
  return contenu;
}

std::vector<std::uint32_t> DocumentVolume::chemin(std::uint32_t id) const {
  return remonte(id, kRacineVolume, [](std::uint32_t dossier) {
    const auto element = element_par_id(dossier);
    return element && element->dossier ? element->parent : 0;
  });
}

bool DocumentVolume::dates_utc() const {
  return volume_courant().est_hfsplus;
}

// --- project

DossierArbre DocumentProjet::racine() const {
  return {kRacine, nom_montre(plateforme::texte_vers_utf8(projet_.lecture_label())), true};
}

std::vector<DossierArbre> DocumentProjet::dossiers(std::uint32_t id) const {
  std::vector<DossierArbre> dossiers;
  LecteurEnfants enfants(projet_, id);
  while (const RubriqueProjet *rubrique = enfants.suivant())
    if (rubrique->est_dossier() && rubrique->dans_vue(projet_.vue_courante()))
      dossiers.push_back({rubrique->numero, nom_utf8(*rubrique, projet_), rubrique->lg_data != 0});
  trie(dossiers);
  return dossiers;
}

ContenuDossier DocumentProjet::contenu(std::uint32_t id) const {
  ContenuDossier contenu;
  LecteurEnfants enfants(projet_, id);
  while (const RubriqueProjet *rubrique = enfants.suivant())
    if (rubrique->dans_vue(projet_.vue_courante())) contenu.lignes.push_back(ligne_de(*rubrique, projet_));
  return contenu;
}

std::vector<std::uint32_t> DocumentProjet::chemin(std::uint32_t id) const {
  return remonte(id, kRacine, [this](std::uint32_t dossier) -> std::uint32_t {
    RubriqueProjet rubrique;
    return projet_.cherche_numero(dossier, rubrique) ? rubrique.pere.operator unsigned() : 0;
  });
}

std::uint32_t DocumentProjet::visible(std::uint32_t id) const {
  std::uint32_t trouve = kRacine;
  for (const std::uint32_t dossier : chemin(id)) {
    RubriqueProjet rubrique;
    if (dossier == kRacine) continue;
    if (!projet_.cherche_numero(dossier, rubrique) || !rubrique.dans_vue(projet_.vue_courante())) break;
    trouve = dossier;
  }
  return trouve;
}

}  // namespace varnion
