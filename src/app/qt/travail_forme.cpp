#include "app/qt/travail_forme.hpp"

#include <QPointer>
#include <QWidget>

#include "app/qt/operations_qt.hpp"
#include "app/qt/tvarnion.hpp"

namespace varnion {

void travaille(TVarnion &fenetre, QWidget &forme, const std::function<void()> &travail) {
  const QPointer<QWidget> avait = forme.focusWidget();
  forme.setEnabled(false);
  fenetre.operations_fenetre().en_fond(travail);
  forme.setEnabled(true);
  if (avait) avait->setFocus();
}

}  // namespace varnion
