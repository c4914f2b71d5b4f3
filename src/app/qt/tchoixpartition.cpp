#include "app/qt/tchoixpartition.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QListWidget>
#include <QThread>
#include <QVBoxLayout>

#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "hfs/texte_mac.hpp"
#include "IO/partitions_choix.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1110;
constexpr int kLigne = 1111;  // row, name, system, size
constexpr int kLettresLigne = 56;

// The arrows wrap around the list.
class ListeVolumes final : public QListWidget {
 public:
  using QListWidget::QListWidget;

 protected:
  void keyPressEvent(QKeyEvent *evenement) override {
    const int dernier = count() - 1;
    if (evenement->key() == Qt::Key_Up && currentRow() == 0) return setCurrentRow(dernier);
    if (evenement->key() == Qt::Key_Down && currentRow() == dernier) return setCurrentRow(0);
    QListWidget::keyPressEvent(evenement);
  }
};

class TChoixPartition final : public Forme {
 public:
  TChoixPartition(QWidget *parent, const ListePartitions &liste)
      : Forme(parent, "TChoixPartition", kTitre, sujet::kChoixPartition), liste_(new ListeVolumes) {
    liste_->setObjectName("Volumes");
    liste_->setAccessibleName(chaine_qt(kTitre));
    for (std::size_t rang = 0; rang < liste.nombre; ++rang) {
      const InfoPartition &volume = liste.rangs[rang];
      const std::string nom = plateforme::utf8_vers_texte(mac_vers_utf8(volume.nom));
      liste_->addItem(
          vers_qt(message(kLigne, {rang, nom, systeme_partition(volume), mega_partition(volume)})));
    }
    liste_->setCurrentRow(0);
    liste_->setMinimumWidth(liste_->fontMetrics().averageCharWidth() * kLettresLigne);
    connect(liste_, &QListWidget::itemDoubleClicked, this, [this] { accept(); });
    corps()->addWidget(liste_);
    boutons();
    liste_->setFocus();
  }
  void accept() override {
    if (liste_->selectedItems().isEmpty()) return QApplication::beep();
    Forme::accept();
  }
  [[nodiscard]] std::size_t rang() const { return static_cast<std::size_t>(liste_->currentRow()); }

 private:
  QListWidget *liste_;
};

}  // namespace

std::optional<std::size_t> choisit_partition(QWidget *parent, const ListePartitions &liste) {
  std::optional<std::size_t> choisi;
  const auto montre = [&] {
    QApplication::setOverrideCursor(Qt::ArrowCursor);
    TChoixPartition forme(parent, liste);
    if (forme.exec() == QDialog::Accepted) choisi = forme.rang();
    QApplication::restoreOverrideCursor();
  };
  if (QThread::currentThread() == qApp->thread())
    montre();
  else
    QMetaObject::invokeMethod(qApp, montre, Qt::BlockingQueuedConnection);
  return choisi;
}

}  // namespace varnion
