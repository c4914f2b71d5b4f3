#pragma once

#include <vector>

#include <QWidget>

#include "fichiers/element.hpp"
#include "fichiers/ressources.hpp"
#include "finder/export_ressource.hpp"
#include "hfs/catalogue.hpp"
#include "inspect/lignes.hpp"

class QPushButton;
class QTreeWidget;

namespace varnion {

class TVarnion;
class VueVidage;

/// The resources of a file as a tree, the bytes of the one chosen beside it.
class PageRessources final : public QWidget {
 public:
  PageRessources(TVarnion &fenetre, const ElementMac &element, const QString &nom);

  void corps(int points);
  void aspect(const AspectVidage &aspect);
  /// The bytes that are shown.
  [[nodiscard]] const VueVidage &vue() const { return *octets_; }

 protected:
  /// The wheel walks through the tree as the arrows do.
  bool eventFilter(QObject *cible, QEvent *evenement) override;

 private:
  void remplit(const QString &nom);
  [[nodiscard]] const RessourceMac *choisie() const;
  void montre();
  void enregistre(FormeRessource forme);

  TVarnion &fenetre_;
  std::string nom_;
  Fichier fourche_;
  std::vector<RessourceMac> ressources_;
  const RessourceMac *montree_ = nullptr;
  int molette_ = 0;
  AspectVidage aspect_;
  QTreeWidget *arbre_;
  VueVidage *octets_;
  QPushButton *binaire_, *hexa_;
};

}  // namespace varnion
