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
constexpr int kMessageNumeros = 6205;
constexpr int kEcarteSpecial = 7740;
constexpr int kEcarteLienPerdu = 7741;
constexpr int kEcarteOrphelin = 7742;
constexpr int kEcarteBoucle = 7743;
constexpr int kEcarteDouble = 7744;  // path, path under which it is taken
constexpr int kEcarteNomPris = 7745;
constexpr int kEcarteFauxCompagnon = 7746;
constexpr int kFichierDuProjet = 7753;
constexpr std::size_t kEcartesNommes = 5;

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

IdentitesDossiers identites_dossiers(const FichierProjet &projet) {
  IdentitesDossiers dossiers;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *r = tout.suivant()) {
    if (!r->est_dossier() || r->est_virtuel()) continue;
    const std::string chemin = chemin_source(*r);
    if (const auto identite = plateforme::identite(chemin)) dossiers.try_emplace(*identite, chemin);
  }
  return dossiers;
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

void ParcoursInclusion::ecarte(int id, const std::string &chemin, const std::string &autre) {
  ++bilan_.echecs;
  ++bilan_.ecartes;
  if (premiers_ecartes_.size() < kEcartesNommes) premiers_ecartes_.push_back(court(chemin));
  operations().afficher_ligne(autre.empty() ? message(id, {court(chemin)})
                                            : message(id, {court(chemin), court(autre)}));
}

void ParcoursInclusion::refuse_nom(const std::string &chemin) {
  if (annonce_) return ecarte(kEcarteNomPris, chemin);
  ++bilan_.ignores;
  operations().journal(GenreJournal::information, message(kEcarteNomPris, {court(chemin)}));
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
  niveau.identite = plateforme::identite(dossier_disque).value_or(Identite{});
  niveau.vue = vue_cible_;
  return niveau;
}

void ParcoursInclusion::ajoute_element(const std::string &dossier_disque, const DonneesRecherche &entree) {
  if (!commence() || arret()) return;
  lots_.separe();
  Niveau niveau = niveau_cible(dossier_disque);
  commence_demande(dossier_disque);
  ancetres_.assign(1, niveau.identite);
  const auto nom = nom_retenu(entree);
  if (!nom) return signale(message(kMessageNomImpossible, {court(dossier_disque + entree.nom_long)}));
  sommet_ += *nom;
  element(niveau, entree, *nom, nullptr);
  note_presents();
  reprend_comptes(niveau);
  descend();
}

void ParcoursInclusion::ajoute_contenu(const std::string &dossier_disque) {
  if (!commence()) return;
  lots_.separe();
  Niveau niveau = niveau_cible(dossier_disque);
  commence_demande(dossier_disque);
  parcourus_.try_emplace(niveau.identite, dossier_disque);
  de_la_demande_.try_emplace(niveau.identite, dossier_disque);
  scanne(niveau);
  note_presents();
  reprend_comptes(niveau);
  descend();
}

void ParcoursInclusion::commence_demande(const std::string &sommet) {
  haut_ = sommet_ = sommet;
  sommet_reel_.reset();
  de_la_demande_.clear();
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
  ancetres_.push_back(niveau.identite);
  std::vector<plateforme::EntreeEcartee> ecartees;
  auto liste = plateforme::liste_dossier(niveau.chemin, &ecartees);
  if (!liste) return signale(niveau.chemin, errno);
  for (const auto &ecartee : ecartees)
    ecarte(ecartee.lien ? kEcarteLienPerdu : kEcarteSpecial, niveau.chemin + ecartee.nom);

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
  if (!compagnons.empty()) ecarte_orphelins(niveau, *liste);
  const std::size_t premier = a_faire_.size();
  for (const std::size_t rang : ordre_noms(noms)) {
    if (arret()) return;
    element(niveau, *entrees[rang], noms[rang], &compagnons);
  }
  std::reverse(a_faire_.begin() + static_cast<std::ptrdiff_t>(premier), a_faire_.end());
}

// Companions are found by the names on the disk, as the file beside them is.
void ParcoursInclusion::ecarte_orphelins(const Niveau &niveau, const std::vector<DonneesRecherche> &liste) {
  std::unordered_set<std::u16string_view> fichiers;
  for (const DonneesRecherche &entree : liste)
    if (!entree.est_dossier()) fichiers.insert(entree.nom_large);
  for (const DonneesRecherche &entree : liste) {
    if (entree.est_dossier() || !est_nom_compagnon(entree.nom_long)) continue;
    const auto suivi = std::u16string_view(entree.nom_large).substr(kPrefixeCompagnon.size());
    if (!fichiers.contains(suivi)) ecarte(kEcarteOrphelin, niveau.chemin + entree.nom_long);
  }
}

// --- one item
// -------------------------------------------------------------------------------------------------

void ParcoursInclusion::element(Niveau &niveau, const DonneesRecherche &entree, const std::string &nom,
                                const Compagnons *compagnons) {
  const std::string chemin = niveau.chemin + nom;
  const bool compagnon = !entree.est_dossier() && est_nom_compagnon(entree.nom_long);
  const int present = compagnon || niveau.place ? 0 : deja_present(nom, chemin);
  const bool nomme = compagnons == nullptr;
  if (compagnon) {
    // Named by itself: it comes in with its file, where it has one.
    ++bilan_.ignores;
    if (!plateforme::existe(niveau.chemin + nom.substr(kPrefixeCompagnon.size())))
      ecarte(kEcarteOrphelin, chemin);
  } else if (present == -2 || (present > 0 && !meme_source(nom, chemin))) {
    refuse_nom(chemin);
  } else if (present != 0) {
    ++bilan_.ignores;
  } else if (entree.est_dossier()) {
    dossier(niveau, entree, nom, chemin, nomme);
  } else if (std::find(options_.sauf.begin(), options_.sauf.end(), entree.identite) != options_.sauf.end()) {
    ++bilan_.ignores;
    operations().journal(GenreJournal::information, message(kFichierDuProjet, {court(chemin)}));
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

// True, after a line, for a folder that is not to be walked: one that a link leads to and that holds the link
// or is taken anyway.
bool ParcoursInclusion::ecarte_dossier(const Niveau &niveau, const DonneesRecherche &entree,
                                       const std::string &chemin, bool nomme) {
  if (entree.par_lien && boucle(entree, chemin, niveau.profondeur)) {
    ecarte(kEcarteBoucle, chemin);
    return true;
  }
  const auto autre = nomme ? std::nullopt : deja_parcouru(entree, chemin);
  if (autre) {
    ecarte(kEcarteDouble, chemin, *autre);
    return true;
  }
  parcourus_.try_emplace(entree.identite, chemin);
  de_la_demande_.try_emplace(entree.identite, chemin);
  return false;
}

// Under which path a folder is taken already, or will be. A real folder within the path in hand has the
// better right: a link to it steps back, even one that comes before it. Folders of other paths of the
// operation count for links alone, since a path that was named is taken whole.
std::optional<std::string> ParcoursInclusion::deja_parcouru(const DonneesRecherche &entree,
                                                            const std::string &chemin) {
  const auto &vus = entree.par_lien ? parcourus_ : de_la_demande_;
  if (const auto vu = vus.find(entree.identite); vu != vus.end()) return vu->second;
  if (!entree.par_lien) return std::nullopt;
  if (!sommet_reel_) {
    sommet_reel_ = plateforme::chemin_reel_utf8(sommet_);
    if (!sommet_reel_->ends_with('/')) *sommet_reel_ += '/';
  }
  const std::string reel = plateforme::chemin_reel_utf8(chemin);
  if (!reel.starts_with(*sommet_reel_)) return std::nullopt;
  return plateforme::utf8_vers_texte(reel);
}

void ParcoursInclusion::dossier(Niveau &niveau, const DonneesRecherche &entree, const std::string &nom,
                                const std::string &chemin, bool nomme) {
  if (ecarte_dossier(niveau, entree, chemin, nomme)) return;
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
  interne.identite = entree.identite;
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
  if (description.compagnon_possible && !rubrique.est_appledouble() && ouvre_compagnon(chemin).ouvert())
    ecarte(kEcarteFauxCompagnon, niveau.chemin + std::string(kPrefixeCompagnon) + nom);
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

// True when a link leads to one of the folders that hold it, the path in hand and all above it among them.
bool ParcoursInclusion::boucle(const DonneesRecherche &entree, const std::string &chemin,
                               std::size_t profondeur) const {
  for (std::string haut = haut_; haut.find_last_not_of('/') != std::string::npos;) {
    haut.resize(haut.find_last_not_of('/') + 1);
    haut.resize(haut.rfind('/') == std::string::npos ? 0 : haut.rfind('/') + 1);
    if (plateforme::meme_fichier(chemin, haut)) return true;
  }
  const auto fin = ancetres_.begin() + static_cast<std::ptrdiff_t>(profondeur) + 1;
  return std::find(ancetres_.begin(), fin, entree.identite) != fin;
}

}  // namespace varnion
