#include "app/qt/tregistre.hpp"

#include <optional>
#include <vector>

#include <QAbstractButton>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 7214;
constexpr int kCle = 5331;
constexpr int kContenu = 5332;
constexpr int kNomFichier = 5333;
constexpr int kParcourir = 1060;
constexpr int kFiltre = 5419;
constexpr int kOuvrir = 5420;
constexpr int kIllisible = 7212;
constexpr std::size_t kCheminMessage = 200;
constexpr int kLettresChemin = 56;

class TRegistre final : public Forme {
 public:
  explicit TRegistre(TVarnion &fenetre)
      : Forme(&fenetre, "TRegistre", kTitre, sujet::kFichierSignatures), fichier_(new QLineEdit) {
    auto *champs = new QFormLayout;
    champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    const QString cle = QString::fromStdString(chemin_reglages_utf8()) + " [Sign]";
    champs->addRow(chaine_qt(kCle).trimmed(), texte_fixe(cle, "Cle"));
    champs->addRow(chaine_qt(kContenu).trimmed(), texte_fixe(vers_qt(reglages().signatures), "Contenu"));
    fichier_->setObjectName("EditSign");
    fichier_->setText(vers_qt(reglages().signatures));
    fichier_->setMinimumWidth(fontMetrics().averageCharWidth() * kLettresChemin);
    auto *parcourir = new QPushButton(chaine_qt(kParcourir));
    parcourir->setObjectName("Parcourir");
    parcourir->setAutoDefault(false);
    auto *ligne = new QHBoxLayout;
    ligne->addWidget(fichier_, 1);
    ligne->addWidget(parcourir);
    champs->addRow(chaine_qt(kNomFichier).trimmed(), ligne);
    qobject_cast<QLabel *>(champs->labelForField(ligne))->setBuddy(fichier_);
    corps()->addLayout(champs);
    boutons();
    connect(parcourir, &QAbstractButton::clicked, this, [this, &fenetre] {
      const QString depart = fichier_->text().isEmpty() ? depart_documents() : fichier_->text();
      const QString choisi = fenetre.demandes.ouvrir(kOuvrir, kFiltre, depart);
      if (!choisi.isEmpty()) fichier_->setText(choisi);
    });
  }

  /// Keeps the path: the table of a file that does not open is no table, and the form stays.
  void accept() override {
    const auto chemin = chemin_argument(fichier_->text().toStdString());
    if (!chemin) return;
    if (!charge_signatures(*chemin)) {
      operations().afficher_erreur(message(kIllisible, {tronque_chemin(*chemin, kCheminMessage)}));
      return;
    }
    reglages().signatures = *chemin;
    static_cast<void>(enregistre_reglage("Sign"));
    Forme::accept();
  }

 private:
  QLineEdit *fichier_;
};

std::optional<std::size_t> choisit_fichier(QWidget *parent, std::string_view titre,
                                           const std::vector<std::string> &noms) {
  Forme forme(parent, "TChoixSignatures", 0, sujet::kFichierSignatures);
  forme.setWindowTitle(vers_qt(titre));
  auto *liste = new QListWidget;
  liste->setObjectName("Liste");
  liste->setAccessibleName(vers_qt(titre));
  for (const std::string &nom : noms) liste->addItem(vers_qt(nom));
  liste->setCurrentRow(0);
  forme.corps()->addWidget(liste);
  forme.boutons();
  QObject::connect(liste, &QListWidget::itemActivated, &forme, &QDialog::accept);
  if (forme.exec() != QDialog::Accepted || liste->currentRow() < 0) return std::nullopt;
  return static_cast<std::size_t>(liste->currentRow());
}

}  // namespace

bool montre_registre(TVarnion &fenetre) {
  TRegistre forme(fenetre);
  return forme.exec() == QDialog::Accepted;
}

void charge_signatures_du_programme(TVarnion &fenetre) {
  SourceSignatures source;
  source.chemin = reglages().signatures;
  source.dossier_courant = source.dossier_programme = plateforme::chemin_absolu(".");
  source.choisit = [&fenetre](std::string_view titre, const std::vector<std::string> &noms) {
    return choisit_fichier(&fenetre, titre, noms);
  };
  source.memorise = [](std::string_view chemin) {
    reglages().signatures = chemin;
    static_cast<void>(enregistre_reglage("Sign"));
  };
  // Failing that, the table that comes with the program.
  if (!charge_signatures(source)) static_cast<void>(prepare_signatures(std::optional<std::string>()));
}

}  // namespace varnion
