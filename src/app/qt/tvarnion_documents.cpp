// Documents: made, opened, saved, closed.

#include <algorithm>

#include <QApplication>
#include <QDir>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTimer>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/image_de_cote.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tchoixpartition.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tjournal.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tregistre.hpp"
#include "app/qt/tvarnion.hpp"
#include "hfs/ouverture.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kEcraser = 1061;
constexpr int kOuverture = 1471;
constexpr int kSauverDecompressee = 1504;
constexpr int kReecrit = 7141;
constexpr int kDejaPrise = 6065;  // image
constexpr int kSansNom = 7702;    // items
constexpr int kReprendre = 7703;  // items
constexpr int kContinuer = 7704;
constexpr int kFermerQuandMeme = 7024;
constexpr int kOuvertIci = 7705;    // path
constexpr int kImagePerdue = 7706;  // path
constexpr std::size_t kCheminMessage = 50;
constexpr int kAttenteDocument = 300;  // milliseconds until a document from outside is tried again

// String ids of the file dialogs of a mode.
struct DialoguesMode {
  int extension, filtre, creer, ouvrir, enregistrer;
};
constexpr DialoguesMode kDialogues[] = {
    {1353, 1349, 1350, 1351, 1352},
    {1359, 1355, 1356, 1357, 1358},
    {1365, 1361, 1363, 1362, 1364},
};

const DialoguesMode &dialogues(int mode) {
  return kDialogues[mode];
}

}  // namespace

QString depart_documents() {
  return vers_qt(reglages().dossier_projet);
}

void retient_dossier(const std::string &chemin) {
  const std::size_t barre = chemin.find_last_of("/\\");
  if (barre == std::string::npos) return;
  reglages().dossier_projet = chemin.substr(0, std::max<std::size_t>(barre, 1));
  static_cast<void>(enregistre_reglage("DProj"));
}

bool peut_ecraser(const std::string &chemin) {
  if (!plateforme::existe(chemin)) return true;
  return demande_prudente(message(kEcraser, {tronque_chemin(chemin, kCheminMessage)}));
}

bool image_perdue() {
  const PartitionCourante &partition = partition_courante();
  if (!support().image.ouvert()) return false;
  return partition.image_temporaire ? !plateforme::existe(partition.chemin)
                                    : fichier_orphelin(support().image);
}

ModeProjet TVarnion::mode_projet() const {
  return mode_ == kModeIsop ? ModeProjet::isop : ModeProjet::hybride;
}

bool TVarnion::document_ouvert() const {
  return mode_ == kModePartition ? support().image.ouvert() : projet_ != nullptr;
}

std::string TVarnion::chemin_document() const {
  if (!document_ouvert()) return {};
  return mode_ == kModePartition ? partition_courante().chemin : projet_->chemin();
}

// --- the start, and documents from outside

void TVarnion::demarre(const std::string &document) {
  const int mode = reglages().mode_depart;
  changer_mode(mode == kModeIndecis ? kModeProjet : mode);
  retraduit();
  charge_signatures_du_programme(*this);
  ouvre_journal_du_depart(*this);
  rafraichit_coches();
  if (!document.empty()) router_parametre(document);
  if (!document_ouvert() && mode_ != kModePartition) cree_projet_defaut();
  rafraichit_titre();
  rafraichit_commandes();
}

void TVarnion::recoit_document(const QString &chemin) {
  if (compilation_ || operations_.occupe() || QApplication::activeModalWidget() != nullptr) {
    QTimer::singleShot(kAttenteDocument, this, [this, chemin] { recoit_document(chemin); });
    return;
  }
  setWindowState(windowState() & ~Qt::WindowMinimized);
  raise();
  activateWindow();
  if (const auto texte = chemin_argument(chemin.toStdString())) router_parametre(*texte);
}

bool TVarnion::router_parametre(const std::string &chemin) {
  const auto mode = mode_de_document(chemin);
  if (!mode) {
    annonce_inconnu(chemin);
    return false;
  }
  return accorde_fermeture(chemin) && remplace_document(*mode, chemin);
}

void TVarnion::cree_projet_defaut() {
  const QString dossier =
      QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Tarrowby/Varnion";
  QDir().mkpath(dossier);
  const QString nom = mode_ == kModeIsop ? "/vnso.vnso" : "/vnpr.vnpr";
  const auto chemin = chemin_argument((dossier + nom).toStdString());
  if (!chemin) return;
  // What cannot be opened is left as it is: it may be opened another day.
  auto projet = reprise_voulue(*chemin) ? lit_projet(*chemin, mode_projet())
                                        : FichierProjet::cree(*chemin, mode_projet());
  if (!projet) return;
  projet_ = std::make_unique<FichierProjet>(std::move(*projet));
  brouillon_ = true;
  montre_document();
}

// An unnamed project that holds items when the program starts was left by a run that did not end as it
// should. True when the user goes on with it.
bool TVarnion::reprise_voulue(const std::string &chemin) {
  Fichier reste = plateforme::ouvre(chemin, Ouverture::lecture);
  const std::int64_t taille = reste ? fichier_taille(reste) : 0;
  const auto items = static_cast<std::uint64_t>(std::max<std::int64_t>(taille, 0)) / kTailleRubrique;
  if (items < 2 || test_magie(reste) != 1) return false;
  reste.fermer();
  return operations_.demander_reprise(message(kReprendre, {items - 1}), kContinuer);
}

// What was open stays whole: a project whose file was deleted beside the program is written to its place
// anew.
void TVarnion::retablit_fichier() {
  if (!projet_ || plateforme::existe(projet_->chemin())) return;
  const std::string chemin = projet_->chemin();
  if (!projet_->reecrit_fichier()) return;
  operations().afficher_avis(message(kReecrit, {tronque_chemin(chemin, kCheminMessage)}));
}

// --- commands

void TVarnion::nouveau() {
  const DialoguesMode &ids = dialogues(mode_);
  const QString choisi = demandes.enregistrer(ids.creer, ids.filtre, depart_documents(), ids.extension);
  if (choisi.isEmpty()) return;
  const auto chemin = chemin_argument(choisi.toStdString());
  if (!chemin || !accorde_fermeture() || est_ouvert_ici(*chemin) || !peut_ecraser(*chemin)) return;
  auto neuf = FichierProjet::cree(*chemin, mode_projet());
  if (!neuf) return;
  ferme_projet();
  projet_ = std::make_unique<FichierProjet>(std::move(*neuf));
  note_recent(*chemin);
  retient_dossier(*chemin);
  montre_document();
}

void TVarnion::ouvrir() {
  const DialoguesMode &ids = dialogues(mode_);
  const QString choisi = demandes.ouvrir(ids.ouvrir, ids.filtre, depart_documents());
  if (choisi.isEmpty()) return;
  const auto chemin = chemin_argument(choisi.toStdString());
  if (chemin && ouvre_chemin(*chemin)) retient_dossier(*chemin);
}

bool TVarnion::est_ouvert_ici(const std::string &chemin) const {
  if (!document_ouvert() || !plateforme::meme_fichier(chemin, chemin_document())) return false;
  operations().afficher_erreur(message(kOuvertIci, {tronque_chemin(chemin, kCheminMessage)}));
  return true;
}

bool TVarnion::ouvre_chemin(const std::string &chemin) {
  return accorde_fermeture(chemin) && remplace_document(mode_, chemin);
}

// The document before closes when the new one stands: until then the panes go on showing it.
bool TVarnion::remplace_document(int mode, const std::string &chemin) {
  std::unique_ptr<FichierProjet> projet;
  bool ouvert = false;
  if (mode == kModePartition) {
    ouvert = remplace_volume(chemin);
  } else if (auto lu = lit_projet(chemin, mode == kModeIsop ? ModeProjet::isop : ModeProjet::hybride)) {
    projet = std::make_unique<FichierProjet>(std::move(*lu));
    ouvert = true;
  }
  operations().afficher_etat({}, {});
  if (!ouvert) return false;
  if (mode_ != kModePartition)
    ferme_projet(projet_ && plateforme::meme_fichier(chemin, projet_->chemin()));
  else if (mode != kModePartition)
    ferme_volume();
  if (mode != mode_) changer_mode(mode);
  projet_ = std::move(projet);
  if (projet_) projet_->dossier_courant(kRacine);
  note_recent(chemin_document());
  montre_document();
  return true;
}

// What is asked while an image is opened.
OptionsOuverture TVarnion::questions_ouverture(const std::string &chemin) {
  OptionsOuverture options;
  options.questions = true;
  // The image that stands aside is none to write over, nor is the one that is read.
  const std::string ouvert = chemin_document();
  options.chemin_sauvegarde = [this, chemin, ouvert]() -> std::optional<std::string> {
    const DialoguesMode &ids = dialogues(kModePartition);
    QString choisi;
    operations_.sur_fil_principal([&] {
      QApplication::setOverrideCursor(Qt::ArrowCursor);
      choisi = demandes.enregistrer(kSauverDecompressee, ids.filtre, depart_documents(), ids.extension);
      QApplication::restoreOverrideCursor();
    });
    if (choisi.isEmpty()) return std::nullopt;
    auto cible = chemin_argument(choisi.toStdString());
    if (!cible) return std::nullopt;
    if (!plateforme::meme_fichier(*cible, chemin) && !plateforme::meme_fichier(*cible, ouvert)) return cible;
    operations().afficher_erreur(message(kOuvertIci, {tronque_chemin(*cible, kCheminMessage)}));
    return std::nullopt;
  };
  options.choix_partition = [this](const ListePartitions &volumes) {
    return choisit_partition(this, volumes);
  };
  return options;
}

bool TVarnion::remplace_volume(const std::string &chemin) {
  OptionsOuverture options = questions_ouverture(chemin);
  bool commence = false;
  std::uint64_t dernier = 0;
  options.progression = [&](std::uint64_t fait, std::uint64_t total) {
    if (!commence) operations().progression_debut(total);
    commence = true;
    operations().progression_pas(fait - std::min(dernier, fait));
    dernier = fait;
    return !operations().arret_demande();
  };
  // The image that is open already bears the lock of its file.
  const bool meme = support().image.ouvert() && plateforme::meme_fichier(chemin, partition_courante().chemin);
  options.verrou = !meme;
  ImageDeCote ancienne;
  EtatOuverture etat = EtatOuverture::sans_volume;
  operations_.en_fond([&] { etat = ouvrir_partition(chemin, options); });
  if (commence) operations().progression_fin();
  if (etat != EtatOuverture::montee) return false;
  ancienne.lache();
  hybridation_ = partition_courante().genre != kImageGpt;
  // A change of the copy would go with it, and never reach the image.
  if (partition_courante().image_temporaire) support().lecture_seule = Interdit::copie;
  if (meme && !fichier_verrouille(support().image)) {
    support().lecture_seule = Interdit::image;
    operations().afficher_erreur(message(kDejaPrise, {tronque_chemin(chemin, kCheminMessage)}));
  }
  return true;
}

std::optional<FichierProjet> TVarnion::lit_projet(const std::string &chemin, ModeProjet mode) {
  operations().afficher_etat(message(kOuverture, {tronque_chemin(chemin, kCheminMessage)}), {});
  std::optional<FichierProjet> lu;
  operations_.en_fond([&] { lu = FichierProjet::ouvre(chemin, mode); });
  return lu;
}

void TVarnion::reprend_projet() {
  EnteteProjet entete;
  if (!projet_ || !projet_->lit_entete(entete)) return;
  const bool plus = projet_->mode() == ModeProjet::hybride && entete.hfsplus();
  const QString label = vers_qt(projet_->lecture_label());
  const bool autre = plus != projet_->hfsplus() || modele_arbre_.index_racine().data().toString() != label;
  projet_->hfsplus(plus);
  projet_->estimation(entete.taille_secteurs);
  autre ? montre_document() : rafraichit_jauge();
}

void TVarnion::enregistrer() {
  if (!projet_ || brouillon_) return;
  const Attente attente;
  retablit_fichier();
  if (projet_->sauvegarde_entete() && !projet_->vide()) echec_ecriture_projet(projet_->chemin());
  rafraichit_jauge();
}

bool TVarnion::enregistrer_sous() {
  if (!projet_) return false;
  const DialoguesMode &ids = dialogues(mode_);
  QString depart = depart_documents();
  std::optional<std::string> chemin;
  while (!chemin) {
    depart = demandes.enregistrer(ids.enregistrer, ids.filtre, depart, ids.extension);
    if (depart.isEmpty()) return false;
    chemin = chemin_argument(depart.toStdString());
    if (!chemin) return false;
    // A file that is to stay leads back to the dialog.
    if (!plateforme::meme_fichier(*chemin, projet_->chemin()) && !peut_ecraser(*chemin)) chemin.reset();
  }
  if (!projet_->enregistre_sous(*chemin, false)) return false;
  brouillon_ = false;
  note_recent(*chemin);
  retient_dossier(*chemin);
  rafraichit_titre();
  rafraichit_commandes();
  return true;
}

bool TVarnion::accorde_fermeture(const std::string &autre) {
  if (mode_ == kModePartition) {
    if (!image_perdue()) return true;
    const std::string image = tronque_chemin(partition_courante().chemin, kCheminMessage);
    const SortTravail sort = operations_.demander_sort(message(kImagePerdue, {image}));
    if (sort == SortTravail::enregistre) enregistre_volume_sous(*this);
    return sort == SortTravail::abandonne || !image_perdue();
  }
  const std::uint64_t items = brouillon_ ? projet_->nb_rubriques() : 0;
  // Its own file opens anew.
  if (items == 0 || plateforme::meme_fichier(autre, projet_->chemin())) return true;
  const SortTravail sort = operations_.demander_sort(message(kSansNom, {items}));
  if (sort == SortTravail::enregistre) return enregistrer_sous();
  return sort == SortTravail::abandonne;
}

bool TVarnion::ferme_document() {
  if (!accorde_fermeture()) return false;
  mode_ == kModePartition ? ferme_volume() : ferme_projet();
  return true;
}

void TVarnion::ferme_volume() {
  vide_panneaux();
  fermer_partition();
  hybridation_ = false;
  rafraichit_titre();
  rafraichit_etat();
  rafraichit_commandes();
}

void TVarnion::ferme_projet(bool garde) {
  if (!projet_) return;
  if (!brouillon_ && projet_->nb_rubriques() != 0) retablit_fichier();
  const std::string chemin = projet_->chemin();
  const bool efface = brouillon_ && !garde;
  vide_panneaux();
  if (!projet_->ferme()) echec_ecriture_projet(chemin);
  projet_.reset();
  brouillon_ = false;
  if (efface) static_cast<void>(plateforme::supprime(chemin));
  rafraichit_titre();
  rafraichit_jauge();
  rafraichit_commandes();
}

// Where nothing may be asked an unnamed project stays on the disk: the next start offers it. What runs is
// stopped by the end of the process, in an order that leaves nothing half done.
bool TVarnion::fin_de_session(bool questions) {
  if (questions && !operations_.occupe()) {
    if (compilation_) {
      if (!demande_prudente(charger_chaine(kFermerQuandMeme))) return false;
      termine_compilation(*this);
    }
    const bool jete = brouillon_ && projet_->nb_rubriques() != 0;
    if (!accorde_fermeture()) return false;
    if (jete && brouillon_) ferme_projet();
  }
  retient();
  ecrire_options(mode_);
  return true;
}

// --- recent documents

void TVarnion::note_recent(const std::string &chemin) {
  static constexpr std::array<const char *, 3> kNoms{"MRU1", "MRU2", "MRU3"};
  const auto rang = static_cast<std::size_t>(mode_);
  std::vector<std::string> &recents = reglages().recents[rang];
  std::erase(recents, chemin);
  recents.insert(recents.begin(), chemin);
  if (recents.size() > kRecentsMax) recents.resize(kRecentsMax);
  static_cast<void>(enregistre_reglage(kNoms[rang]));
  rafraichit_recents();
}

void TVarnion::ouvre_recent(int rang) {
  const auto &recents = reglages().recents[static_cast<std::size_t>(mode_)];
  if (rang < 0 || static_cast<std::size_t>(rang) >= recents.size()) return;
  const std::string chemin = recents[static_cast<std::size_t>(rang)];
  static_cast<void>(ouvre_chemin(chemin));
}

}  // namespace varnion
