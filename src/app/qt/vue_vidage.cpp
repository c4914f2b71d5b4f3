#include "app/qt/vue_vidage.hpp"

#include <cstdlib>

#include <QFontDatabase>
#include <QKeyEvent>
#include <QTextBlock>
#include <QTextEdit>
#include <QWheelEvent>

#include "app/qt/texte_qt.hpp"
#include "inspect/lignes.hpp"

namespace varnion {

namespace {

constexpr int kCranMolette = 120;  // eighths of a degree
constexpr QColor kFondMarque(0xFF, 0xD2, 0x66);

}  // namespace

VueVidage::VueVidage(QWidget *parent) : QPlainTextEdit(parent) {
  setReadOnly(true);
  setLineWrapMode(QPlainTextEdit::NoWrap);
  setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  setUndoRedoEnabled(false);
}

void VueVidage::montre(const std::vector<std::string> &lignes) {
  QString texte;
  for (std::size_t i = 0; i < lignes.size(); ++i) {
    if (i > 0) texte += '\n';
    texte += vers_qt(lignes[i]);
  }
  marques_.clear();
  setPlainText(texte);
  va_a(0);
}

void VueVidage::marque(int ligne, int colonne, int longueur) {
  marques_.push_back({ligne, colonne, longueur});
  va_a(ligne);
}

void VueVidage::efface_marques() {
  marques_.clear();
  peint();
}

void VueVidage::corps(int points) {
  QFont police = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  police.setPointSize(points);
  setFont(police);
  const QFontMetrics mesure(police);
  setMinimumWidth(mesure.horizontalAdvance('0') * (static_cast<int>(kLargeurLigne) + 2) + 24);
}

void VueVidage::va_a(int ligne) {
  const QTextBlock bloc = document()->findBlockByNumber(ligne);
  if (!bloc.isValid()) return;
  ligne_ = ligne;
  setTextCursor(QTextCursor(bloc));
  ensureCursorVisible();
  peint();
}

void VueVidage::peint() {
  QList<QTextEdit::ExtraSelection> choix;
  QTextEdit::ExtraSelection courante;
  courante.cursor = QTextCursor(document()->findBlockByNumber(ligne_));
  courante.format.setBackground(palette().color(QPalette::AlternateBase).darker(106));
  courante.format.setProperty(QTextFormat::FullWidthSelection, true);
  choix << courante;
  for (const Marque &marque : marques_) {
    const QTextBlock bloc = document()->findBlockByNumber(marque.ligne);
    if (!bloc.isValid()) continue;
    QTextEdit::ExtraSelection ici;
    ici.cursor = QTextCursor(bloc);
    ici.cursor.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, marque.colonne);
    ici.cursor.movePosition(QTextCursor::Right, QTextCursor::KeepAnchor, marque.longueur);
    ici.format.setBackground(kFondMarque);
    ici.format.setForeground(Qt::black);
    choix << ici;
  }
  setExtraSelections(choix);
}

void VueVidage::avance(int sens) {
  const int la = ligne_ + sens;
  if (la >= 0 && la < blockCount()) return va_a(la);
  if (deborde) deborde(sens);
}

void VueVidage::keyPressEvent(QKeyEvent *evenement) {
  if (evenement->modifiers() == Qt::NoModifier || evenement->modifiers() == Qt::KeypadModifier) {
    switch (evenement->key()) {
      case Qt::Key_Up:
        return avance(-1);
      case Qt::Key_Down:
        return avance(1);
      case Qt::Key_Home:
      case Qt::Key_End:
      case Qt::Key_PageUp:
      case Qt::Key_PageDown:
        evenement->ignore();  // the form goes to another sector
        return;
      default:
        break;
    }
  }
  QPlainTextEdit::keyPressEvent(evenement);
}

void VueVidage::wheelEvent(QWheelEvent *evenement) {
  molette_ += evenement->angleDelta().y();
  while (std::abs(molette_) >= kCranMolette) {
    const int sens = molette_ > 0 ? -1 : 1;
    molette_ += sens * kCranMolette;
    avance(sens);
  }
  evenement->accept();
}

void VueVidage::mousePressEvent(QMouseEvent *evenement) {
  QPlainTextEdit::mousePressEvent(evenement);
  ligne_ = cursorForPosition(evenement->position().toPoint()).blockNumber();
  peint();
}

}  // namespace varnion
