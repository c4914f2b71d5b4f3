#include "app/qt/aide.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QTimer>

#include "app/qt/taide.hpp"
#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kAide = 7018;
constexpr int kIndiceAide = 2329;
constexpr const char *kFiltre = "FiltreAide";
constexpr const char *kSujet = "sujet_aide";

QWidget *fenetre_nommee(const char *nom) {
  for (QWidget *fenetre : QApplication::topLevelWidgets())
    if (fenetre->objectName() == nom) return fenetre;
  return nullptr;
}

TAide *fenetre_aide(bool cree) {
  auto *fenetre = static_cast<TAide *>(fenetre_nommee("TAide"));
  if (fenetre == nullptr && cree) fenetre = new TAide(fenetre_nommee("TVarnion"));
  return fenetre;
}

// F1, and modal dialogs that come and go while the help is open.
class FiltreAide final : public QObject {
 public:
  explicit FiltreAide(QObject *parent) : QObject(parent) { setObjectName(kFiltre); }

  bool eventFilter(QObject *objet, QEvent *evenement) override {
    if (!objet->isWidgetType()) return false;
    auto *widget = static_cast<QWidget *>(objet);
    switch (evenement->type()) {
      case QEvent::KeyPress: {
        const auto *touche = static_cast<QKeyEvent *>(evenement);
        if (touche->key() != Qt::Key_F1 || touche->modifiers() != Qt::NoModifier) return false;
        aide(sujet_de(widget));
        return true;
      }
      case QEvent::HelpRequest:
        aide(sujet_de(widget));
        return true;
      case QEvent::Show:
        // Before the window system hears of the dialog: the help is the dialog's own when input is cut off.
        if (widget->isModal() && widget->isWindow()) suit(widget);
        return false;
      case QEvent::Hide:
        if (widget->isModal() && widget->isWindow())
          QTimer::singleShot(0, this, [] { suit(QApplication::activeModalWidget()); });
        return false;
      default:
        return false;
    }
  }

 private:
  static void suit(QWidget *modale) {
    TAide *fenetre = fenetre_aide(false);
    if (fenetre != nullptr && fenetre->isVisible()) fenetre->suit(modale);
  }
};

}  // namespace

void branche_aide() {
  if (qApp->findChild<QObject *>(kFiltre, Qt::FindDirectChildrenOnly) != nullptr) return;
  qApp->installEventFilter(new FiltreAide(qApp));
}

void aide(int sujet) {
  branche_aide();
  fenetre_aide(true)->montre_sujet(sujet);
}

void aide_recherche() {
  branche_aide();
  fenetre_aide(true)->montre_recherche();
}

void aide_index() {
  branche_aide();
  fenetre_aide(true)->montre_index();
}

void aide_langue() {
  TAide *fenetre = fenetre_aide(false);
  if (fenetre != nullptr) fenetre->suit_langue();
}

void pose_sujet(QWidget *forme, int sujet) {
  forme->setProperty(kSujet, sujet);
  branche_aide();
}

QPushButton *bouton_aide(QWidget *forme, int sujet) {
  pose_sujet(forme, sujet);
  auto *bouton = new QPushButton(chaine_qt(kAide), forme);
  bouton->setObjectName("Aide");
  bouton->setToolTip(chaine_qt(kIndiceAide));
  bouton->setAutoDefault(false);
  QObject::connect(bouton, &QPushButton::clicked, bouton, [sujet] { aide(sujet); });
  return bouton;
}

int sujet_de(const QWidget *objet) {
  for (const QWidget *fenetre = objet; fenetre != nullptr; fenetre = fenetre->parentWidget()) {
    const QVariant pose = fenetre->property(kSujet);
    if (pose.isValid()) return pose.toInt();
    const int connu = fenetre->isWindow() ? sujet_forme(fenetre->objectName().toStdString()) : 0;
    if (connu != 0) return connu;
  }
  return sujet::kSommaire;
}

}  // namespace varnion
