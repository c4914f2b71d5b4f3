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
constexpr int kOui = 1043;
constexpr int kNon = 1044;
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
    boutons->addButton(chaine_qt(kOui), QDialogButtonBox::YesRole)->setObjectName("MessOui");
    boutons->addButton(chaine_qt(kNon), QDialogButtonBox::RejectRole)->setObjectName("MessNon");
    connect(boutons->findChild<QPushButton *>("MessOui"), &QPushButton::clicked, this, &QDialog::accept);
    connect(boutons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  } else {
    boutons->addButton(chaine_qt(kFermer), QDialogButtonBox::AcceptRole)->setObjectName("MessFermer");
    connect(boutons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  }
  boutons->addButton(bouton_aide(this, sujet::kMessages), QDialogButtonBox::HelpRole);
  forme->addWidget(boutons);
  if (choix.duree > 0) QTimer::singleShot(choix.duree, this, &QDialog::accept);
}

bool FormeMessage::toujours() const {
  return toujours_ != nullptr && toujours_->isChecked();
}

}  // namespace varnion
