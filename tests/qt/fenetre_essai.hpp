#pragma once

#include <gtest/gtest.h>

#include <memory>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>

#include "app/noyau/reglages.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/etat.hpp"
#include "res/chaines.hpp"

namespace varnion {

// A window over settings of its own. Messages are read and answered by the first button as soon as they show.
class Fenetre : public ::testing::Test {
 protected:
  void SetUp() override {
    qputenv("XDG_CONFIG_HOME", bac_.path().toUtf8());
    qputenv("XDG_DATA_HOME", bac_.path().toUtf8());
    qputenv("LC_ALL", "C");
    EtatProgramme::courant().reinitialise();
    operations_ = std::make_unique<OperationsQt>();
    brancher_operations(operations_.get());
    lire_options(false);
    fixer_base_langue(kLangueAnglais);
    ouvre_fenetre();
    QObject::connect(&minuterie_, &QTimer::timeout, [this] { repond(); });
    minuterie_.start(5);
  }
  void TearDown() override {
    minuterie_.stop();
    fenetre_.reset();
    brancher_operations(nullptr);
    operations_.reset();
    EtatProgramme::courant().reinitialise();
  }
  void ouvre_fenetre() {
    fenetre_ = std::make_unique<TVarnion>(*operations_);
    fenetre_->show();
    fenetre_->demarre({});
  }
  void repond() {
    auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (forme == nullptr) return;
    const auto *texte = forme->findChild<QLabel *>("texte");
    messages_ << forme->objectName() + ": " + (texte != nullptr ? texte->text() : QString());
    accepte_ ? forme->accept() : forme->reject();
  }
  void execute(const char *nom) { fenetre_->execute(*commande_nommee(nom)); }
  QAction *action(const char *nom) { return fenetre_->findChild<QAction *>(nom); }
  QTreeView *panneau(const char *nom) { return fenetre_->findChild<QTreeView *>(nom); }
  QString texte_panneau(int rang) {
    return fenetre_->findChild<QLabel *>(QString("Panneau%1").arg(rang))->text();
  }
  QString fichier(const char *nom, const QByteArray &octets) {
    QFile sortie(bac_.filePath(nom));
    EXPECT_TRUE(sortie.open(QIODevice::WriteOnly));
    sortie.write(octets);
    return sortie.fileName();
  }

  QTemporaryDir bac_;
  std::unique_ptr<OperationsQt> operations_;
  std::unique_ptr<TVarnion> fenetre_;
  QTimer minuterie_;
  QStringList messages_;
  bool accepte_ = true;
};

}  // namespace varnion
