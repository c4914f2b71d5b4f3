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
#include "app/qt/operations_qt.hpp"
#include "app/qt/tchoixpartition.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tjournal.hpp"
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
constexpr int kReprendre = 7140;
constexpr int kReecrit = 7141;
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
  return operations().demander_oui_non(message(kEcraser, {tronque_chemin(chemin, kCheminMessage)})) != 0;
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
  ferme_document();
  if (*mode != mode_) changer_mode(*mode);
  return ouvre_chemin(chemin);
}

void TVarnion::cree_projet_defaut() {
  const QString dossier =
      QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Tarrowby/Varnion";
  QDir().mkpath(dossier);
  const QString nom = mode_ == kModeIsop ? "/vnso.vnso" : "/vnpr.vnpr";
  const auto chemin = chemin_argument((dossier + nom).toStdString());
  if (!chemin) return;
  if (reprend_projet(*chemin)) return montre_document();
  auto neuf = FichierProjet::cree(*chemin, mode_projet());
  if (!neuf) return;
  projet_ = std::make_unique<FichierProjet>(std::move(*neuf));
  montre_document();
}

// An unnamed project that holds items when the program starts was left by a run that did not end as it
// should. True when the user goes on with it.
bool TVarnion::reprend_projet(const std::string &chemin) {
  Fichier reste = plateforme::ouvre(chemin, Ouverture::lecture);
  const std::int64_t taille = reste ? fichier_taille(reste) : 0;
  const auto items = static_cast<std::uint64_t>(std::max<std::int64_t>(taille, 0)) / kTailleRubrique;
  if (items < 2 || test_magie(reste) != 1) return false;
  reste.fermer();
  if (operations().demander_oui_non(message(kReprendre, {items - 1})) == 0) return false;
  return ouvre_projet(chemin);
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
  ferme_document();
  const DialoguesMode &ids = dialogues(mode_);
  const QString choisi = demandes.enregistrer(ids.creer, ids.filtre, depart_documents(), ids.extension);
  if (choisi.isEmpty()) return;
  const auto chemin = chemin_argument(choisi.toStdString());
  if (!chemin || !peut_ecraser(*chemin)) return;
  auto neuf = FichierProjet::cree(*chemin, mode_projet());
  if (!neuf) return;
  projet_ = std::make_unique<FichierProjet>(std::move(*neuf));
  note_recent(*chemin);
  retient_dossier(*chemin);
  montre_document();
}

void TVarnion::ouvrir() {
  ferme_document();
  const DialoguesMode &ids = dialogues(mode_);
  const QString choisi = demandes.ouvrir(ids.ouvrir, ids.filtre, depart_documents());
  if (choisi.isEmpty()) return;
  const auto chemin = chemin_argument(choisi.toStdString());
  if (chemin && ouvre_chemin(*chemin)) retient_dossier(*chemin);
}

bool TVarnion::ouvre_chemin(const std::string &chemin) {
  const bool ouvert = mode_ == kModePartition ? ouvre_volume(chemin) : ouvre_projet(chemin);
  if (ouvert) {
    note_recent(chemin_document());
    montre_document();
  } else {
    vide_panneaux();
  }
  operations().afficher_etat({}, {});
  return ouvert;
}

bool TVarnion::ouvre_volume(const std::string &chemin) {
  OptionsOuverture options;
  options.questions = true;
  options.chemin_sauvegarde = [this]() -> std::optional<std::string> {
    const DialoguesMode &ids = dialogues(kModePartition);
    QString choisi;
    operations_.sur_fil_principal([&] {
      QApplication::setOverrideCursor(Qt::ArrowCursor);
      choisi = demandes.enregistrer(kSauverDecompressee, ids.filtre, depart_documents(), ids.extension);
      QApplication::restoreOverrideCursor();
    });
    if (choisi.isEmpty()) return std::nullopt;
    return chemin_argument(choisi.toStdString());
  };
  options.choix_partition = [this](const ListePartitions &volumes) {
    return choisit_partition(this, volumes);
  };
  bool commence = false;
  std::uint64_t dernier = 0;
  options.progression = [&](std::uint64_t fait, std::uint64_t total) {
    if (!commence) operations().progression_debut(total);
    commence = true;
    operations().progression_pas(fait - std::min(dernier, fait));
    dernier = fait;
    return !operations().arret_demande();
  };
  EtatOuverture etat = EtatOuverture::sans_volume;
  operations_.en_fond([&] { etat = ouvrir_partition(chemin, options); });
  if (commence) operations().progression_fin();
  hybridation_ = etat == EtatOuverture::montee && partition_courante().genre != kImageGpt;
  return etat == EtatOuverture::montee;
}

bool TVarnion::ouvre_projet(const std::string &chemin) {
  operations().afficher_etat(message(kOuverture, {tronque_chemin(chemin, kCheminMessage)}), {});
  std::optional<FichierProjet> ouvert;
  operations_.en_fond([&] { ouvert = FichierProjet::ouvre(chemin, mode_projet()); });
  if (!ouvert) return false;
  projet_ = std::make_unique<FichierProjet>(std::move(*ouvert));
  projet_->dossier_courant(kRacine);
  return true;
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
  if (!projet_ || projet_->sans_nom()) return;
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
  note_recent(*chemin);
  retient_dossier(*chemin);
  rafraichit_titre();
  rafraichit_commandes();
  return true;
}

void TVarnion::ferme_document(bool demande_nom) {
  if (mode_ != kModePartition) return ferme_projet(demande_nom);
  vide_panneaux();
  fermer_partition();
  hybridation_ = false;
  rafraichit_titre();
  rafraichit_commandes();
}

void TVarnion::ferme_projet(bool demande_nom) {
  if (!projet_) return;
  const bool plein = projet_->taille_octets() > kTailleRubrique;
  if (projet_->sans_nom() && plein && demande_nom)
    enregistrer_sous();
  else if (plein)
    retablit_fichier();
  const std::string chemin = projet_->chemin();
  const bool efface = projet_->sans_nom() && (demande_nom || !plein);
  vide_panneaux();
  if (!projet_->ferme()) echec_ecriture_projet(chemin);
  projet_.reset();
  if (efface) static_cast<void>(plateforme::supprime(chemin));
  rafraichit_titre();
  rafraichit_jauge();
  rafraichit_commandes();
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
  ferme_document();
  static_cast<void>(ouvre_chemin(chemin));
}

}  // namespace varnion
