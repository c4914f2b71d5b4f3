#include "app/qt/tjournal.hpp"

#include <cerrno>
#include <optional>

#include <QAbstractButton>
#include <QDir>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/journal.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1554;
constexpr int kFichier = 1555;
constexpr int kOuvrir = 1556;
constexpr int kFermer = 1557;
constexpr int kVider = 1558;
constexpr int kFiltre = 1559;
constexpr int kChoisir = 1560;
constexpr int kJournalFerme = 6772;
constexpr int kExtension = 7180;
constexpr std::size_t kCheminMessage = 200;
constexpr int kLettresChemin = 48;

// Beside the unnamed documents: the program's own folder is not the user's to write to.
QString chemin_par_defaut() {
  const QString dossier =
      QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Tarrowby/Varnion";
  QDir().mkpath(dossier);
  return dossier + "/varnion." + chaine_qt(kExtension);
}

QString demande_fichier(TVarnion &fenetre, const QString &depart) {
  return fenetre.demandes.enregistrer(kChoisir, kFiltre, depart, kExtension);
}

// Opens the log of a path; false when it cannot be. `dit`: with a message.
bool ouvre(const QString &texte, bool dit) {
  if (texte.isEmpty()) return false;
  const auto chemin = plateforme::chemin_utf8_utilisable(texte.toStdString(), SIZE_MAX);
  errno = ENOENT;
  if (chemin && ouvre_journal(*chemin)) return true;
  const std::string raison = plateforme::texte_erreur(errno);
  if (dit)
    operations().afficher_erreur(
        message(kJournalFerme, {tronque_chemin(de_qt(texte), kCheminMessage), raison}));
  return false;
}

void retient(const QString &texte) {
  const auto chemin = plateforme::chemin_utf8_utilisable(texte.toStdString(), SIZE_MAX);
  reglages().journal = chemin.value_or(de_qt(texte));
  static_cast<void>(enregistre_reglage("Journal"));
}

class TJournal final : public Forme {
 public:
  explicit TJournal(TVarnion &fenetre)
      : Forme(&fenetre, "TJournal", kTitre, sujet::kJournal), fenetre_(fenetre), chemin_(new QLineEdit) {
    chemin_->setObjectName("EditJournal");
    chemin_->setText(reglages().journal.empty() ? chemin_par_defaut() : vers_qt(reglages().journal));
    chemin_->setMinimumWidth(fontMetrics().averageCharWidth() * kLettresChemin);
    auto *champs = new QFormLayout;
    champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    champs->addRow(chaine_qt(kFichier), chemin_);
    corps()->addLayout(champs);
    auto *ligne = new QHBoxLayout;
    ouvrir_ = pousse(ligne, kOuvrir, "JournalOuvrir");
    vider_ = pousse(ligne, kVider, "JournalVider");
    fermer_ = pousse(ligne, kFermer, "JournalFermer");
    ligne->addStretch(1);
    champs->addRow(QString(), ligne);
    boutons(1001, 0);
    connect(ouvrir_, &QAbstractButton::clicked, this, [this] { ouvrir(); });
    connect(fermer_, &QAbstractButton::clicked, this, [this] { fermer(); });
    connect(vider_, &QAbstractButton::clicked, this, [] { static_cast<void>(vide_journal()); });
    rafraichit();
  }

  void range() const { retient(chemin_->text()); }

 private:
  static QAbstractButton *pousse(QHBoxLayout *ligne, int legende, const char *nom) {
    auto *bouton = new QPushButton(chaine_qt(legende));
    bouton->setObjectName(nom);
    bouton->setAutoDefault(false);
    ligne->addWidget(bouton);
    return bouton;
  }
  void ouvrir() {
    if (!ouvre(chemin_->text(), false)) {
      const QString choisi = demande_fichier(fenetre_, chemin_->text());
      if (choisi.isEmpty()) return;
      chemin_->setText(choisi);
      static_cast<void>(ouvre(choisi, true));
    }
    rafraichit();
  }
  void fermer() {
    ferme_journal();
    etat<OptionsProgramme>().vn_options &= ~kVnOptionJournal;
    rafraichit();
  }
  void rafraichit() {
    const bool ouvert = journal_ouvert();
    ouvrir_->setEnabled(!ouvert);
    fermer_->setEnabled(ouvert);
    vider_->setEnabled(ouvert);
    chemin_->setReadOnly(ouvert);
  }

  TVarnion &fenetre_;
  QLineEdit *chemin_;
  QAbstractButton *ouvrir_ = nullptr, *vider_ = nullptr, *fermer_ = nullptr;
};

}  // namespace

void montre_journal(TVarnion &fenetre) {
  TJournal forme(fenetre);
  if (forme.exec() == QDialog::Accepted) forme.range();
}

void ouvre_journal_du_depart(TVarnion &fenetre) {
  const bool voulu = (etat<OptionsProgramme>().vn_options & kVnOptionJournal) != 0;
  if (!voulu || journal_ouvert() || !reglages().journal.empty()) return;
  const QString choisi = demande_fichier(fenetre, chemin_par_defaut());
  if (!choisi.isEmpty() && ouvre(choisi, true)) retient(choisi);
}

}  // namespace varnion
