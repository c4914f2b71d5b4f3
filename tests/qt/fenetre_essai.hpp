#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QPointer>
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
  // Path of a copy of a file of the test data: the window locks the image that it opens, and tests run side
  // by side.
  std::string copie_donnee(const char *nom) {
    const QString copie = bac_.filePath(QFileInfo(nom).fileName());
    EXPECT_TRUE(QFile::exists(copie) || QFile::copy(QString(VN_DONNEES "/") + nom, copie)) << nom;
    return copie.toStdString();
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

// The same, with forms that are worked in one after the other.
class FenetrePilotee : public Fenetre {
 protected:
  // What is done in the next form of that name; a form that nothing is planned for is answered as always.
  void prevoit(const char *nom, std::function<void(QDialog &)> travail) {
    prevus_.emplace_back(nom, std::move(travail));
  }
  void lance(const std::function<void()> &commande) {
    minuterie_.stop();
    QTimer conduite;
    QPointer<QDialog> derniere;
    QObject::connect(&conduite, &QTimer::timeout, [&] {
      auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
      if (forme == nullptr || forme == derniere) return;
      if (prevus_.empty() || forme->objectName() != prevus_.front().first) return repond();
      derniere = forme;
      // From a timer of its own: what it does may show the next form.
      QTimer::singleShot(0, forme, [forme, travail = std::move(prevus_.front().second)] { travail(*forme); });
      prevus_.pop_front();
    });
    conduite.start(5);
    commande();
    EXPECT_TRUE(prevus_.empty()) << prevus_.front().first.toStdString();
    minuterie_.start(5);
  }
  static void agit(QDialog &forme, const char *nom) {
    auto *action = forme.findChild<QAction *>(nom);
    ASSERT_NE(action, nullptr) << nom;
    ASSERT_TRUE(action->isEnabled()) << nom;
    action->trigger();
  }

 private:
  std::deque<std::pair<QString, std::function<void(QDialog &)>>> prevus_;
};

}  // namespace varnion
