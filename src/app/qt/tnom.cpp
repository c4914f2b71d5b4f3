#include "app/qt/tnom.hpp"

#include <QApplication>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kLettresChamp = 36;

}  // namespace

TNom::TNom(QWidget *parent, const Contenu &contenu)
    : Forme(parent, contenu.nom, contenu.titre, contenu.sujet), champ_(new QLineEdit(contenu.propose)) {
  auto *champs = new QFormLayout;
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  if (contenu.legende_ancien != 0) {
    auto *ancien = new QLineEdit(contenu.ancien);
    ancien->setObjectName("AncienNom");
    ancien->setReadOnly(true);
    ancien->setFocusPolicy(Qt::ClickFocus);
    champs->addRow(chaine_qt(contenu.legende_ancien), ancien);
  }
  champ_->setObjectName("EditNom");
  champ_->setMaxLength(contenu.limite);
  champ_->setMinimumWidth(champ_->fontMetrics().averageCharWidth() * kLettresChamp);
  champs->addRow(chaine_qt(contenu.legende), champ_);
  corps()->addLayout(champs);
  boutons();
  champ_->selectAll();
  champ_->setFocus();
}

QString TNom::saisi() const {
  return champ_->text();
}

void TNom::accept() {
  if (champ_->text().isEmpty()) {
    QApplication::beep();
    champ_->setFocus();
    return;
  }
  if (verifie && !verifie(champ_->text())) {
    champ_->setFocus();
    champ_->selectAll();
    return;
  }
  Forme::accept();
}

}  // namespace varnion
