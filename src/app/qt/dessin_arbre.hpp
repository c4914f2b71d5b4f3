#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <QWidget>

#include "inspect/arbre_dessin.hpp"

class QLabel;
class QTreeView;

namespace varnion {

class ModeleRangees;

/// A whole B-tree in a tree view, read by a worker. What was read when it stops is shown.
class DessinArbre final : public QWidget {
 public:
  /// `entete`: sector of the header node. `source` must outlive this.
  DessinArbre(const SourceSecteurs &source, std::int64_t entete, QWidget *parent = nullptr);
  ~DessinArbre() override;
  DessinArbre(const DessinArbre &) = delete;
  DessinArbre &operator=(const DessinArbre &) = delete;

  void commence();
  void arrete() { arret_ = true; }
  [[nodiscard]] bool en_cours() const { return en_cours_; }

  /// Called when the drawing has ended.
  std::function<void()> fini;
  /// Called with the first sector of the node of a row that was opened.
  std::function<void(std::int64_t secteur)> choisit;

 private:
  void termine(const ResultatDessin &resultat);

  const SourceSecteurs &source_;
  std::int64_t entete_;
  std::atomic<bool> arret_ = false;
  bool en_cours_ = false;
  std::vector<RangeeArbre> rangees_;
  std::unique_ptr<ModeleRangees> modele_;
  std::thread fil_;
  QTreeView *vue_;
  QLabel *etat_;
};

}  // namespace varnion
