#include "projet/inclusion_parcours.hpp"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "fichiers/applesimple.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "projet/inclusion_fichier.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

using plateforme::DonneesRecherche;

constexpr std::size_t kCheminMessage = 200;
constexpr std::uint64_t kTailleMax = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kNumeroMax = std::numeric_limits<std::int32_t>::max();
constexpr std::string_view kSignatureIcone = "ICNSMACS";
constexpr std::string_view kNomIcone = "Icon\r";
constexpr std::string_view kNomIconeVolume = ".VolumeIcon.icns";

constexpr int kMessageTropGros = 6200;
constexpr int kMessageNomImpossible = 6201;
constexpr int kMessageBoucle = 6202;
constexpr int kMessageNumeros = 6205;

std::string court(std::string_view chemin) {
  return tronque_chemin(chemin, kCheminMessage);
}

// A custom icon container: the volume's icon at the root, a folder's elsewhere.
bool est_icone(const RubriqueProjet &rubrique) {
  const std::string_view signature(rubrique.signature.data(), rubrique.signature.size());
  return rubrique.codage() == Codage::macbinary && signature == kSignatureIcone &&
         std::string_view(rubrique.nom_hfs.data(), rubrique.nom_hfs.size()).starts_with(kNomIcone) &&
         rubrique.lg_data != 0U;
}

}  // namespace

std::optional<std::string> nom_retenu(const DonneesRecherche &entree) {
  const bool montrable = entree.nom_long.find_first_of("?\\") == std::string::npos;
  if (montrable && entree.nom_long.size() < RubriqueProjet{}.nom_source.size()) return entree.nom_long;
  if (entree.nom_court.empty()) return std::nullopt;
  return entree.nom_court;
}

ParcoursInclusion::ParcoursInclusion(FichierProjet &projet, std::uint32_t dossier,
                                     const OptionsInclusion &options, ReponsesVues &reponses)
    : projet_(projet),
      options_(options),
      reponses_(reponses),
      presents_(projet, dossier),
      vue_cible_(vue_de_dossier(projet, dossier)),
      dernier_dossier_(projet.dernier_dossier()),
      dernier_fichier_(projet.dernier_fichier()) {
  bilan_.dossier = dossier;
  cibles_.push_back({dossier});
  if (dossier == kRacine && vue_cible_ == kVueRacine) vue_cible_ = projet.vue_courante();
}

void ParcoursInclusion::change_cible(std::uint32_t dossier, int vue) {
  bilan_.dossier = dossier;
  cibles_.push_back({dossier});
  presents_ = NomsPresents(projet_, dossier);
  venus_.clear();
  vue_cible_ = dossier == kRacine && vue == kVueRacine ? projet_.vue_courante() : vue;
  remonte_ = true;
}

void ParcoursInclusion::ajoute_rubrique(RubriqueProjet rubrique) {
  if (!commence() || arret() || !numeros_restent(dernier_fichier_)) return;
  rubrique.pere = bilan_.dossier;
  rubrique.numero = 0U - ++dernier_fichier_;
  secteurs_ += secteurs_rubrique(rubrique);
  lots_.separe();
  lots_.ajoute(rubrique);
  presents_.ajoute(rubrique);
  ++bilan_.fichiers;
  ++bilan_.fichiers_niveau;
  ++cibles_.back().fichiers;
  operations().journal(GenreJournal::information, message(1090, {chemin_source(rubrique)}));
}

// False, after a message, when no number is left behind the last one given: the scan has failed then.
bool ParcoursInclusion::numeros_restent(std::uint32_t dernier) {
  if (dernier != kNumeroMax) return true;
  bilan_.echoue = true;
  operations().afficher_erreur(charger_chaine(kMessageNumeros));
  return false;
}

int ParcoursInclusion::deja_present(std::string_view nom, std::string_view chemin) const {
  return presents_.deja_present(nom, chemin, projet_.vue_courante());
}

void ParcoursInclusion::releve_compteurs(FichierProjet &projet) const {
  RubriqueProjet derniere;
  derniere.numero = dernier_dossier_;
  projet.releve_compteurs(derniere);
  derniere.numero = 0U - dernier_fichier_;
  projet.releve_compteurs(derniere);
}

void ParcoursInclusion::signale(const std::string &texte) {
  ++bilan_.echecs;
  operations().afficher_erreur(texte);
}

void ParcoursInclusion::signale(const std::string &chemin, int erreur) {
  signale(plateforme::texte_erreur(erreur) + "\n" + chemin);
}

// --- the walk
// -------------------------------------------------------------------------------------------------

bool ParcoursInclusion::commence() {
  if (lots_.nombre() != 0 || lots_.ouvre()) return true;
  bilan_.echoue = true;
  return false;
}

bool ParcoursInclusion::arret() {
  if (lots_.erreur() != 0) bilan_.echoue = true;
  if (operations().arret_demande()) bilan_.arrete = true;
  return !en_cours();
}

ParcoursInclusion::Niveau ParcoursInclusion::niveau_cible(const std::string &dossier_disque) const {
  Niveau niveau;
  niveau.numero = bilan_.dossier;
  niveau.chemin = dossier_disque;
  niveau.vue = vue_cible_;
  return niveau;
}

void ParcoursInclusion::ajoute_element(const std::string &dossier_disque, const DonneesRecherche &entree) {
  if (!commence() || arret()) return;
  lots_.separe();
  Niveau niveau = niveau_cible(dossier_disque);
  ancetres_.assign(1, dossier_disque);
  const auto nom = nom_retenu(entree);
  if (!nom) return signale(message(kMessageNomImpossible, {court(dossier_disque + entree.nom_long)}));
  element(niveau, entree, *nom, nullptr);
  note_presents();
  reprend_comptes(niveau);
  descend();
}

void ParcoursInclusion::ajoute_contenu(const std::string &dossier_disque) {
  if (!commence()) return;
  lots_.separe();
  Niveau niveau = niveau_cible(dossier_disque);
  scanne(niveau);
  note_presents();
  reprend_comptes(niveau);
  descend();
}

// The names of one folder on the disk are not compared with one another: two that differ in case alone both
// come in.
void ParcoursInclusion::note_presents() {
  for (const RubriqueProjet &rubrique : venus_) presents_.ajoute(rubrique);
  venus_.clear();
}

// The counts of the level just done: into its record, or those of the target for the end.
void ParcoursInclusion::reprend_comptes(const Niveau &niveau) {
  if (!niveau.place) {
    bilan_.dossiers_niveau += niveau.dossiers;
    bilan_.fichiers_niveau += niveau.fichiers;
    cibles_.back().dossiers += niveau.dossiers;
    cibles_.back().fichiers += niveau.fichiers;
  } else if (niveau.dossiers != 0 || niveau.fichiers != 0) {
    lots_.pose_comptes(*niveau.place, niveau.dossiers, niveau.fichiers);
    RubriqueProjet comptes;
    comptes.lg_data = niveau.dossiers;
    comptes.lg_rsrc = niveau.fichiers;
    secteurs_ += secteurs_rubrique(comptes);
  }
}

void ParcoursInclusion::descend() {
  while (en_cours() && !a_faire_.empty()) {
    Niveau niveau = std::move(a_faire_.back());
    a_faire_.pop_back();
    scanne(niveau);
    reprend_comptes(niveau);
  }
}

void ParcoursInclusion::scanne(Niveau &niveau) {
  if (arret()) return;
  ancetres_.resize(niveau.profondeur);
  ancetres_.push_back(niveau.chemin);
  auto liste = plateforme::liste_dossier(niveau.chemin);
  if (!liste) return signale(niveau.chemin, errno);

  Compagnons compagnons;
  std::vector<std::string> noms;
  std::vector<const DonneesRecherche *> entrees;
  for (const DonneesRecherche &entree : *liste) {
    auto nom = nom_retenu(entree);
    if (!nom) {
      signale(message(kMessageNomImpossible, {court(niveau.chemin + entree.nom_long)}));
    } else if (!entree.est_dossier() && est_nom_compagnon(entree.nom_long)) {
      compagnons.insert(entree.nom_large);
    } else {
      noms.push_back(std::move(*nom));
      entrees.push_back(&entree);
    }
  }
  const std::size_t premier = a_faire_.size();
  for (const std::size_t rang : ordre_noms(noms)) {
    if (arret()) return;
    element(niveau, *entrees[rang], noms[rang], &compagnons);
  }
  std::reverse(a_faire_.begin() + static_cast<std::ptrdiff_t>(premier), a_faire_.end());
}

// --- one item
// -------------------------------------------------------------------------------------------------

void ParcoursInclusion::element(Niveau &niveau, const DonneesRecherche &entree, const std::string &nom,
                                const Compagnons *compagnons) {
  const std::string chemin = niveau.chemin + nom;
  const bool compagnon = !entree.est_dossier() && est_nom_compagnon(entree.nom_long);
  if (compagnon || (!niveau.place && deja_present(nom, chemin) != 0)) {
    ++bilan_.ignores;
  } else if (entree.est_dossier()) {
    dossier(niveau, entree, nom, chemin);
  } else {
    fichier(niveau, entree, nom, chemin, compagnons);
  }
  avance();
}

void ParcoursInclusion::avance() {
  if (options_.avancement) options_.avancement(bilan_);
}

RubriqueProjet ParcoursInclusion::rubrique_neuve(const Niveau &niveau, const DonneesRecherche &entree,
                                                 const std::string &nom) const {
  RubriqueProjet rubrique;
  rubrique.pere = niveau.numero;
  rubrique.lg_source = static_cast<std::uint32_t>(entree.taille & kTailleMax);
  rubrique.nom_hors_page(nom != entree.nom_long);
  if (entree.est_cache()) {
    rubrique.cache_iso(1);
    rubrique.cache_hfs(1);
  }
  ecrit_champ_coupe(rubrique.chemin, niveau.chemin);
  ecrit_champ_coupe(rubrique.nom_source, nom);
  const std::string &nom_court = entree.nom_court.empty() ? entree.nom_long : entree.nom_court;
  static_cast<void>(ecrit_champ_plein(rubrique.nom_court, nom_court.substr(0, rubrique.nom_court.size())));
  return rubrique;
}

void ParcoursInclusion::dossier(Niveau &niveau, const DonneesRecherche &entree, const std::string &nom,
                                const std::string &chemin) {
  if (boucle(chemin, niveau.profondeur)) return signale(message(kMessageBoucle, {court(chemin)}));
  constexpr std::size_t kPlace = sizeof(RubriqueProjet::chemin);
  auto interieur =
      chemin.size() + 1 < kPlace ? chemin + "/" : plateforme::chemin_utilisable(chemin + "/", kPlace);
  if (!interieur) return signale(message(kMessageNomImpossible, {court(chemin)}));
  if (!numeros_restent(dernier_dossier_)) return;
  RubriqueProjet rubrique = rubrique_neuve(niveau, entree, nom);
  rubrique.lg_source = 0U;
  rubrique.numero = ++dernier_dossier_;
  dossiers_.emplace_back(dernier_dossier_, niveau.numero);
  dates_rubrique(rubrique, entree);
  ordonne_dates(rubrique);
  ++niveau.dossiers;
  ++bilan_.dossiers;

  Niveau interne;
  interne.numero = dernier_dossier_;
  interne.chemin = std::move(*interieur);
  interne.place = inscrit(niveau, rubrique, entree, nom);
  interne.vue = vue_de_rubrique(rubrique);
  interne.profondeur = niveau.profondeur + 1;
  a_faire_.push_back(std::move(interne));
}

// A file takes its number before it is opened: one that cannot be opened leaves a gap in the numbers.
void ParcoursInclusion::fichier(Niveau &niveau, const DonneesRecherche &entree, const std::string &nom,
                                const std::string &chemin, const Compagnons *compagnons) {
  if (entree.taille > kTailleMax) return signale(message(kMessageTropGros, {court(chemin)}));
  if (!numeros_restent(dernier_fichier_)) return;
  RubriqueProjet rubrique = rubrique_neuve(niveau, entree, nom);
  rubrique.numero = 0U - ++dernier_fichier_;
  const Fichier source = acces_.ouvre(chemin);
  if (!source.ouvert()) return signale(chemin, errno);
  ++niveau.fichiers;
  ++bilan_.fichiers;

  SourceInclusion description{entree, chemin, nom, false, projet_.hfsplus()};
  if (compagnons == nullptr) {
    description.compagnon_possible = true;
  } else {
    description.compagnon_possible = compagnons->contains(u"._" + entree.nom_large);
  }
  description.flux_possible = acces_.flux_possible(source);
  reconnait_fichier(rubrique, source, description);
  inscrit(niveau, rubrique, entree, nom);
  icone(niveau, rubrique);
}

// The last steps of every item: views, names, the record itself.
std::uint64_t ParcoursInclusion::inscrit(Niveau &niveau, RubriqueProjet &rubrique,
                                         const DonneesRecherche &entree, const std::string &nom) {
  const bool hybride = projet_.mode() == ModeProjet::hybride;
  if (hybride) {
    choix_vue(rubrique, niveau.vue, reponses_);
  } else {
    rubrique.vue_iso(kDansVue);
  }
  // A name that is only too long for its field is cut like any other; one out of the code page shows its
  // short form.
  const bool montrable = entree.nom_long.find_first_of("?\\") == std::string::npos;
  noms_rubrique(rubrique, montrable ? entree.nom_long : nom, {hybride, projet_.hfsplus()});
  secteurs_ += secteurs_rubrique(rubrique);
  if (!niveau.place) venus_.push_back(rubrique);
  operations().journal(GenreJournal::information, message(1090, {niveau.chemin + nom}));
  return lots_.ajoute(rubrique);
}

// At the root a custom icon is the volume's: it goes in a second time, under the name that the Finder looks
// for. In any other folder it gives the folder its icon.
void ParcoursInclusion::icone(Niveau &niveau, RubriqueProjet rubrique) {
  if (!est_icone(rubrique)) return;
  if (niveau.numero == kRacine) {
    rubrique.nom_hfs_final(true);
    rubrique.vue_iso(kHorsVue);
    ecrit_champ_coupe(rubrique.nom_hfs, kNomIconeVolume);
    secteurs_ += secteurs_rubrique(rubrique);
    lots_.ajoute(rubrique);
    icone_volume_ = true;
  } else if (niveau.place) {
    lots_.pose_icone(*niveau.place);
  } else {
    cibles_.back().icone = true;
  }
}

// True when a folder is one of those that hold it: only a link can lead there. The parent of a real subfolder
// is the folder that lists it; where it is not, all ancestors are compared.
bool ParcoursInclusion::boucle(const std::string &chemin, std::size_t profondeur) const {
  if (plateforme::meme_fichier(chemin + "/..", ancetres_[profondeur])) return false;
  if (remonte_) {
    for (std::string haut = ancetres_[0]; haut.find_last_not_of('/') != std::string::npos;) {
      haut.resize(haut.find_last_not_of('/') + 1);
      haut.resize(haut.rfind('/') == std::string::npos ? 0 : haut.rfind('/') + 1);
      if (plateforme::meme_fichier(chemin, haut)) return true;
    }
  }
  return std::any_of(
      ancetres_.begin(), ancetres_.begin() + static_cast<std::ptrdiff_t>(profondeur) + 1,
      [&chemin](const std::string &ancetre) { return plateforme::meme_fichier(chemin, ancetre); });
}

}  // namespace varnion
