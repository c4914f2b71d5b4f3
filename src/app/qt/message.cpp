#include "app/qt/message.hpp"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

#include "app/qt/aide.hpp"
#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kFermer = 1000;
constexpr int kToujours = 1042;
constexpr int kLargeurTexte = 480;
constexpr int kCoteIcone = 32;

QStyle::StandardPixmap dessin_de(FormeMessage::Genre genre) {
  switch (genre) {
    case FormeMessage::Genre::erreur:
      return QStyle::SP_MessageBoxWarning;
    case FormeMessage::Genre::question:
      return QStyle::SP_MessageBoxQuestion;
    default:
      return QStyle::SP_MessageBoxInformation;
  }
}

}  // namespace

FormeMessage::FormeMessage(QWidget *parent, const QString &nom, const QString &texte, const Choix &choix)
    : QDialog(parent) {
  setObjectName(nom);
  setWindowTitle("Varnion");
  const bool question = choix.genre == Genre::question;
  auto *dessin = new QLabel;
  dessin->setPixmap(style()->standardIcon(dessin_de(choix.genre)).pixmap(kCoteIcone));
  dessin->setAlignment(Qt::AlignTop);
  auto *message = new QLabel(texte);
  message->setObjectName("texte");
  message->setTextFormat(Qt::PlainText);
  message->setWordWrap(true);
  message->setTextInteractionFlags(Qt::TextSelectableByMouse);
  // A line is as wide as its words ask for; past the limit it is broken.
  const int voulu =
      message->fontMetrics().boundingRect(0, 0, kLargeurTexte, 10000, Qt::TextWordWrap, texte).width();
  message->setMinimumWidth(qMin(voulu + 4, kLargeurTexte));

  auto *haut = new QHBoxLayout;
  haut->setSpacing(16);
  haut->addWidget(dessin);
  haut->addWidget(message, 1);
  auto *forme = new QVBoxLayout(this);
  forme->setContentsMargins(18, 18, 18, 14);
  forme->setSpacing(16);
  forme->addLayout(haut, 1);
  if (choix.toujours) {
    toujours_ = new QCheckBox(chaine_qt(kToujours));
    toujours_->setObjectName("Toujours");
    forme->addWidget(toujours_);
  }
  auto *boutons = new QDialogButtonBox;
  if (question) {
    pose_question(*boutons, choix);
  } else {
    boutons->addButton(chaine_qt(kFermer), QDialogButtonBox::AcceptRole)->setObjectName("MessFermer");
    connect(boutons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  }
  boutons->addButton(bouton_aide(this, sujet::kMessages), QDialogButtonBox::HelpRole);
  forme->addWidget(boutons);
  // Only what stands in the form can be its default.
  if (auto *defaut = boutons->findChild<QPushButton *>(choix.prudent ? "MessNon" : "MessOui")) {
    defaut->setDefault(true);
    defaut->setFocus();
  }
  if (choix.duree > 0) QTimer::singleShot(choix.duree, this, &QDialog::accept);
}

void FormeMessage::pose_question(QDialogButtonBox &boutons, const Choix &choix) {
  QPushButton *oui = boutons.addButton(chaine_qt(choix.oui), QDialogButtonBox::YesRole);
  oui->setObjectName("MessOui");
  connect(oui, &QPushButton::clicked, this, &QDialog::accept);
  if (choix.tiers != 0) {
    QPushButton *tiers = boutons.addButton(chaine_qt(choix.tiers), QDialogButtonBox::DestructiveRole);
    tiers->setObjectName("MessTiers");
    tiers->setAutoDefault(false);
    connect(tiers, &QPushButton::clicked, this, [this] { done(kTiers); });
  }
  if (choix.non == 0) return;
  boutons.addButton(chaine_qt(choix.non), QDialogButtonBox::RejectRole)->setObjectName("MessNon");
  connect(&boutons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

bool FormeMessage::toujours() const {
  return toujours_ != nullptr && toujours_->isChecked();
}

}  // namespace varnion
