// Files dropped on the panes and pasted, items dragged inside the window, names changed in place.

#include <QApplication>
#include <QClipboard>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QTimer>
#include <QTreeView>
#include <QUrl>

#include "app/noyau/routage.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/etat.hpp"
#include "IO/requete.hpp"

namespace varnion {

namespace {

QStringList chemins_locaux(const QMimeData *donnees) {
  QStringList chemins;
  if (donnees == nullptr) return chemins;
  for (const QUrl &url : donnees->urls())
    if (url.isLocalFile()) chemins << url.toLocalFile();
  return chemins;
}

}  // namespace

void TVarnion::branche_depots() {
  for (QTreeView *panneau : {arbre_, liste_}) {
    panneau->setAcceptDrops(true);
    panneau->viewport()->setAcceptDrops(true);
    panneau->viewport()->installEventFilter(this);
  }
  const auto renomme = [this](std::uint32_t id, const QString &nom) { return renomme_sur_place(id, nom); };
  modele_liste_.renomme = renomme;
  modele_arbre_.renomme = renomme;
}

bool TVarnion::depot_permis() const {
  const bool ferme = mode_ == kModePartition && support().lecture_seule;
  return document_ouvert() && !ferme && !compilation_ && !operations_.occupe();
}

bool TVarnion::eventFilter(QObject *cible, QEvent *evenement) {
  const QEvent::Type type = evenement->type();
  if (type != QEvent::DragEnter && type != QEvent::DragMove && type != QEvent::Drop) return false;
  auto *depot = static_cast<QDropEvent *>(evenement);
  const bool interne = depot->source() == liste_ && mode_ != kModePartition;
  const QStringList chemins = chemins_locaux(depot->mimeData());
  if (!depot_permis() || (!interne && chemins.isEmpty())) {
    evenement->ignore();
    return true;
  }
  depot->setDropAction(interne ? Qt::MoveAction : Qt::CopyAction);
  depot->accept();
  if (type != QEvent::Drop) return true;
  const std::vector<std::uint32_t> ids = interne ? ids_choisis() : std::vector<std::uint32_t>();
  const QPoint point = depot->position().toPoint();
  // The work begins once the drag is over: whoever dropped the files is not kept waiting.
  QTimer::singleShot(0, this, [this, cible, point, interne, ids, chemins] {
    if (!depot_permis()) return;
    raise();
    activateWindow();
    const std::uint32_t dossier = cible_depot(cible, point);
    interne ? deplace_projet(*this, ids, dossier) : depose(chemins, dossier);
  });
  return true;
}

std::uint32_t TVarnion::cible_depot(QObject *cible, const QPoint &point) {
  if (cible == arbre_->viewport()) {
    QModelIndex index = arbre_->indexAt(point);
    if (!index.isValid()) index = modele_arbre_.index_racine();
    arbre_->expand(index);
    return modele_arbre_.id(index);
  }
  const QModelIndex index = liste_->indexAt(point);
  if (!index.isValid() || !modele_liste_.ligne(index.row()).dossier) return dossier_;
  return modele_liste_.ligne(index.row()).id;
}

void TVarnion::depose(const QStringList &chemins, std::uint32_t dossier) {
  if (dossier != dossier_) va_au_dossier(dossier);
  mode_ == kModePartition ? depose_volume(*this, chemins, dossier) : depose_projet(*this, chemins, dossier);
}

void TVarnion::colle() {
  const QStringList chemins = chemins_locaux(QApplication::clipboard()->mimeData());
  if (chemins.isEmpty() || !depot_permis()) return;
  depose(chemins, dossier_);
  QApplication::clipboard()->clear();
}

// The panes are read anew once the editor of the name is gone.
bool TVarnion::renomme_sur_place(std::uint32_t id, const QString &nom) {
  if (!depot_permis() || nom.isEmpty()) return false;
  const bool fait = mode_ == kModePartition ? renomme_volume_sur_place(*this, id, nom)
                                            : renomme_projet_sur_place(*this, id, nom);
  if (!fait) return false;
  QTimer::singleShot(0, this, [this, id] {
    if (!document_ouvert()) return;
    montre_document();
    selectionne_elements({id});
  });
  return true;
}

}  // namespace varnion
