// Opens documents that docs/screenshots has prepared, shows each window of the manual as its command does,
// and writes pictures of them: captures WORK-FOLDER PICTURE-FOLDER. Status 1 when a window did not come.

#include <iostream>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QStyleFactory>
#include <QTabWidget>
#include <QTimer>
#include <QTreeView>

#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kPas = 20;      // milliseconds
constexpr int kEssais = 100;  // steps until a window is given up
constexpr int kSecteurVolume = 98;
constexpr int kTitre = 26;  // height of a title bar
constexpr QSize kTaille{920, 480};

class Captures {
 public:
  Captures(const QString &travail, const QString &images) : travail_(travail), images_(images) {
    QDir().mkpath(images);
    brancher_operations(&operations_);
    lire_options(false);
    fixer_base_langue(kLangueAnglais);
    reglages().colonnes = {210, 120, 70, 80, 0, 150, 90};
    reglages().rect.arbre = 180;
    reglages().signatures = (travail + "/varnion.sig").toStdString();
    fenetre_ = std::make_unique<TVarnion>(operations_);
    fenetre_->demandes.enregistrer = [this](int, int, const QString &, int) {
      return travail_ + "/written.iso";
    };
    fenetre_->resize(kTaille);
    fenetre_->show();
    fenetre_->demarre({});
    branche_aide();
  }
  ~Captures() {
    fenetre_.reset();
    brancher_operations(nullptr);
  }
  Captures(const Captures &) = delete;
  Captures &operator=(const Captures &) = delete;

  void projet() {
    ouvre("disc.vnpr");
    fenetre("project");
    choisit("Read Me.txt");
    dialogue("item", "Prop1");
    dialogue("project-properties", "Info1");
    dialogue("labels", "Label");
    dialogue("compile", "Compil1");
    QFile::remove(travail_ + "/source/Read Me.txt");
    dialogue("refresh", "Refr");
    dialogue("preferences", "Pref1");
    dialogue("signatures", "Sign1");
    dialogue("window", "dsstor");
    aide(sujet::kAssistantProjet);
    auto *aide_ouverte = fenetre_->findChild<QWidget *>("TAide");
    prend("help", aide_ouverte);
    aide_ouverte->close();
  }

  void partition() {
    ouvre("disc.hfs");
    fenetre("partition");
    choisit("Read Me.txt");
    dialogue("file", "Prop1");
    dialogue("volume", "PropVol1");
    choisit("Old disk");
    dialogue("dump", "Aff1");
    dialogue("analyzer", "Aff1", [this](QDialog *vidage) { return analyse(vidage); });
    fenetre_->demandes.enregistrer = [this](int, int, const QString &, int) { return travail_ + "/new.hfs"; };
    dialogue("new-image", "Nouvelle1");
  }

  void isop() {
    ouvre("disc.vnso");
    fenetre("isoplus");
  }

  [[nodiscard]] bool tout() const { return manques_ == 0; }

 private:
  void attends(int duree) {
    QElapsedTimer chrono;
    chrono.start();
    do QApplication::processEvents(QEventLoop::AllEvents, kPas);
    while (chrono.elapsed() < duree);
  }

  void ouvre(const char *nom) {
    if (!fenetre_->router_parametre((travail_ + "/" + nom).toStdString())) manque(nom);
    attends(kPas);
  }

  void choisit(const QString &nom) {
    auto *liste = fenetre_->findChild<QTreeView *>("LV");
    for (int i = 0; i < liste->model()->rowCount(); ++i) {
      const QModelIndex rang = liste->model()->index(i, 0);
      if (rang.data().toString() != nom) continue;
      liste->setFocus();
      liste->selectionModel()->setCurrentIndex(
          rang, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
      return;
    }
    manque(nom);
  }

  // The widget in a frame with its title, in few colours: an indexed picture is a quarter of the size.
  void prend(const QString &nom, QWidget *widget) {
    attends(5 * kPas);
    const QRect dedans(1, kTitre, widget->width(), widget->height());
    QImage image(dedans.width() + 2, dedans.bottom() + 2, QImage::Format_RGB32);
    image.fill(QColor(0xD3, 0xD8, 0xDE));
    QPainter peintre(&image);
    QFont police = QApplication::font();
    police.setBold(true);
    peintre.setFont(police);
    peintre.drawText(0, 0, image.width(), kTitre, Qt::AlignCenter, widget->windowTitle().remove("[*]"));
    peintre.fillRect(dedans, widget->palette().window());
    widget->render(&peintre, dedans.topLeft());
    peintre.setPen(QColor(0x80, 0x87, 0x90));
    peintre.drawRect(image.rect().adjusted(0, 0, -1, -1));
    peintre.end();
    const QImage reduite = image.convertToFormat(QImage::Format_Indexed8, Qt::ThresholdDither);
    if (!reduite.save(images_ + "/" + nom + ".png", "PNG", 0)) manque(nom);
  }
  void fenetre(const QString &nom) { prend(nom, fenetre_.get()); }

  // Runs a command and takes the dialog that it shows; `avant` works on it first, and may take another one.
  // Messages on the way are accepted.
  void dialogue(const QString &nom, const char *commande, const std::function<bool(QDialog *)> &avant = {}) {
    bool pris = false;
    QTimer veille;
    veille.setInterval(kPas);
    QObject::connect(&veille, &QTimer::timeout, fenetre_.get(), [&] {
      auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
      if (forme == nullptr) return;
      const QString genre = forme->objectName();
      if (genre.startsWith("TMess") || genre.startsWith("TTTronq") || genre.startsWith("TTronc"))
        return forme->accept();
      veille.stop();
      if (!pris && (!avant || avant(forme))) prend(nom, forme);
      pris = true;
      forme->reject();
      veille.start();
    });
    veille.start();
    fenetre_->execute(*commande_nommee(commande));
    for (int i = 0; i < kEssais && !pris; ++i) attends(kPas);
    while (QApplication::activeModalWidget() != nullptr) attends(kPas);
    if (!pris) manque(nom);
  }

  // Does `travail`, which shows a dialog, and then `dans` in it.
  void imbrique(const std::function<void()> &travail, const std::function<void(QDialog *)> &dans) {
    QWidget *dessous = QApplication::activeModalWidget();
    QTimer veille;
    veille.setInterval(kPas);
    QObject::connect(&veille, &QTimer::timeout, fenetre_.get(), [&] {
      auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
      if (forme == nullptr || forme == dessous) return;
      veille.stop();
      dans(forme);
    });
    veille.start();
    travail();
  }

  // The master directory block of the image inside the volume.
  bool analyse(QDialog *vidage) {
    imbrique([&] { vidage->findChild<QAction *>("Go1")->trigger(); },
             [](QDialog *forme) {
               forme->findChild<QLineEdit *>("Secteur")->setText(QString::number(kSecteurVolume));
               forme->accept();
             });
    imbrique([&] { vidage->findChild<QAction *>("Act1")->trigger(); },
             [this](QDialog *fiche) {
               prend("analyzer", fiche);
               fiche->reject();
             });
    return false;
  }

  void manque(const QString &quoi) {
    ++manques_;
    std::cerr << "missing: " << quoi.toStdString() << "\n";
  }

  QString travail_;
  QString images_;
  OperationsQt operations_;
  std::unique_ptr<TVarnion> fenetre_;
  int manques_ = 0;
};

}  // namespace
}  // namespace varnion

int main(int argc, char **argv) {
  QApplication application(argc, argv);
  if (argc != 3) {
    std::cerr << "usage: captures WORK-FOLDER PICTURE-FOLDER\n";
    return 2;
  }
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  QApplication::setApplicationName("Varnion");
  QApplication::setApplicationVersion(VARNION_VERSION);
  varnion::Captures captures(QDir(argv[1]).absolutePath(), QDir(argv[2]).absolutePath());
  captures.projet();
  captures.partition();
  captures.isop();
  return captures.tout() ? 0 : 1;
}
