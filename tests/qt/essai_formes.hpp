#pragma once

#include <deque>
#include <functional>

#include <QAbstractButton>
#include <QPointer>

#include "fenetre_essai.hpp"

namespace varnion {

// Real dialogs, driven in the order in which they are to show. A message shown in between is read and closed;
// a dialog that nobody expects fails the test and is given up.
class Formes : public Fenetre {
 protected:
  using Geste = std::function<void(QDialog &)>;

  void SetUp() override {
    Fenetre::SetUp();
    minuterie_.stop();
    QObject::connect(&pas_, &QTimer::timeout, [this] { avance(); });
    pas_.start(5);
  }
  void TearDown() override {
    pas_.stop();
    EXPECT_TRUE(attendues_.empty()) << "not shown: " << attendues_.front().first.toStdString();
    Fenetre::TearDown();
  }

  /// When the form of that name shows, `geste` works on it.
  void attend(const char *forme, Geste geste) { attendues_.emplace_back(forme, std::move(geste)); }

  template <typename T>
  static T *champ(QWidget &forme, const char *nom) {
    auto *trouve = forme.findChild<T *>(nom);
    EXPECT_NE(trouve, nullptr) << nom;
    return trouve;
  }
  /// Once the gesture is over: a click may open a form of its own.
  static void clique(QWidget &forme, const char *nom) {
    auto *bouton = champ<QAbstractButton>(forme, nom);
    if (bouton == nullptr) return;
    EXPECT_TRUE(bouton->isEnabled()) << nom;
    QMetaObject::invokeMethod(bouton, &QAbstractButton::click, Qt::QueuedConnection);
  }
  static void declenche(QWidget &forme, const char *nom) {
    auto *action = champ<QAction>(forme, nom);
    if (action == nullptr) return;
    EXPECT_TRUE(action->isEnabled()) << nom;
    QMetaObject::invokeMethod(action, &QAction::trigger, Qt::QueuedConnection);
  }
  [[nodiscard]] QString dernier_message() const { return messages_.isEmpty() ? QString() : messages_.last(); }

 private:
  void avance() {
    auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (forme == nullptr || !forme->isEnabled() || !forme->isVisible()) return;
    if (!attendues_.empty() && forme->objectName() == attendues_.front().first) {
      const Geste geste = std::move(attendues_.front().second);
      attendues_.pop_front();
      tours_ = 0;
      geste(*forme);
    } else if (forme->objectName().startsWith("TMess")) {
      repond();
    } else if (++tours_ > 200) {
      ADD_FAILURE() << "unexpected form " << forme->objectName().toStdString();
      forme->reject();
    }
  }

  QTimer pas_;
  std::deque<std::pair<QString, Geste>> attendues_;
  int tours_ = 0;
};

}  // namespace varnion
