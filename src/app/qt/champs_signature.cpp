#include "app/qt/champs_signature.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

#include "app/noyau/actions_proprietes.hpp"
#include "app/noyau/affichage.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/ttable_signatures.hpp"

namespace varnion {

namespace {

constexpr int kType = 1034;
constexpr int kCreateur = 1035;
constexpr int kTable = 1245;
constexpr int kCode = 4;
constexpr std::size_t kSignature = 8;

QLineEdit *ajoute_code(QHBoxLayout *ligne, int legende, const char *nom) {
  auto *etiquette = new QLabel(chaine_qt(legende));
  auto *champ = new QLineEdit;
  champ->setObjectName(nom);
  champ->setMaxLength(kCode);
  champ->setMinimumWidth(champ->fontMetrics().horizontalAdvance("MMMMMM"));
  champ->setMaximumWidth(champ->fontMetrics().horizontalAdvance("MMMMMMMM"));
  etiquette->setBuddy(champ);
  ligne->addWidget(etiquette);
  ligne->addWidget(champ);
  return champ;
}

}  // namespace

ChampsSignature::ChampsSignature(QWidget *parent) : QWidget(parent) {
  auto *ligne = new QHBoxLayout(this);
  ligne->setContentsMargins(0, 0, 0, 0);
  type_ = ajoute_code(ligne, kType, "EditType");
  createur_ = ajoute_code(ligne, kCreateur, "EditCreateur");
  auto *bouton = new QToolButton;
  bouton->setObjectName("TableSign");
  bouton->setText(">>");
  bouton->setToolTip(chaine_qt(kTable));
  bouton->setAccessibleName(chaine_qt(kTable));
  bouton->setFocusPolicy(Qt::StrongFocus);
  connect(bouton, &QToolButton::clicked, this, &ChampsSignature::choisit);
  ligne->addWidget(bouton);
  ligne->addStretch(1);
}

void ChampsSignature::montre(std::string_view signature) {
  const bool entiere = signature.size() >= kSignature;
  signature_ = signature.substr(0, kSignature);
  type_->setText(entiere ? vers_qt(code_lisible(signature_.data())) : QString());
  createur_->setText(entiere ? vers_qt(code_lisible(signature_.data() + kCode)) : QString());
  type_->setModified(false);
  createur_->setModified(false);
}

std::optional<std::string> ChampsSignature::lu(const QLineEdit *champ) {
  if (!champ->isModified() || champ->text().isEmpty()) return std::nullopt;
  return code_mac(de_qt(champ->text()));
}

std::optional<std::string> ChampsSignature::type() const {
  return lu(type_);
}

std::optional<std::string> ChampsSignature::createur() const {
  return lu(createur_);
}

QString ChampsSignature::impossible() const {
  for (const QLineEdit *champ : {type_, createur_})
    if (champ->isModified() && vers_qt(de_qt(champ->text())) != champ->text()) return champ->text();
  return {};
}

void ChampsSignature::choisit() {
  const auto choisie = choisit_signature(this, signature_);
  if (!choisie || choisie->size() < kSignature) return;
  montre(*choisie);
  type_->setModified(true);
  createur_->setModified(true);
}

}  // namespace varnion
