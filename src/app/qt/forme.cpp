#include "app/qt/forme.hpp"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/aide.hpp"
#include "app/qt/texte_qt.hpp"

namespace varnion {

Forme::Forme(QWidget *parent, const char *nom, int titre, int sujet)
    : QDialog(parent), sujet_(sujet), corps_(new QVBoxLayout), rangee_(new QDialogButtonBox) {
  setObjectName(nom);
  if (titre != 0) setWindowTitle(chaine_qt(titre));
  auto *colonne = new QVBoxLayout(this);
  colonne->addLayout(corps_, 1);
  colonne->addWidget(rangee_);
  if (sujet != 0) pose_sujet(this, sujet);
}

void Forme::boutons(int accepter, int refuser) {
  if (accepter != 0) {
    auto *bouton = rangee_->addButton(chaine_qt(accepter), QDialogButtonBox::AcceptRole);
    bouton->setObjectName("OK");
    bouton->setDefault(true);
    accepter_ = bouton;
  }
  if (refuser != 0) {
    refuser_ = rangee_->addButton(chaine_qt(refuser), QDialogButtonBox::RejectRole);
    refuser_->setObjectName("Annuler");
  }
  connect(rangee_, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(rangee_, &QDialogButtonBox::rejected, this, &QDialog::reject);
  if (sujet_ != 0) rangee_->addButton(bouton_aide(this, sujet_), QDialogButtonBox::HelpRole);
}

QAbstractButton *Forme::bouton(int legende, const char *nom) {
  auto *bouton = rangee_->addButton(chaine_qt(legende), QDialogButtonBox::ActionRole);
  bouton->setObjectName(nom);
  bouton->setAutoDefault(false);
  return bouton;
}

QFormLayout *groupe_champs(QVBoxLayout *colonne, int titre) {
  auto *groupe = new QGroupBox(chaine_qt(titre));
  auto *champs = new QFormLayout(groupe);
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  colonne->addWidget(groupe);
  return champs;
}

QWidget *texte_fixe(const QString &texte, const char *nom) {
  auto *etiquette = new QLabel(texte);
  etiquette->setObjectName(nom);
  etiquette->setTextFormat(Qt::PlainText);
  etiquette->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  return etiquette;
}

}  // namespace varnion
