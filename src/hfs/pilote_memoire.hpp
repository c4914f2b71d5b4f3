#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "IO/fichier.hpp"
#include "IO/requete.hpp"

namespace varnion {

/// A run of image sectors kept in memory while the compiler builds a volume, so that writing a node and the
/// header node behind it costs memory copies. The run reads as zeros at first; everything outside it goes to
/// `driver_fichier`.
class FenetreMemoire {
 public:
  static constexpr std::uint32_t kSecteursParPage = 128;  ///< 64 KiB

  /// Opens the window on the sectors [debut, debut + nombre), drops what an earlier one held, empties the
  /// node cache and plugs the window into both driver entries. False when the page table cannot be had.
  [[nodiscard]] bool ouvre_fenetre(std::uint64_t debut, std::uint64_t nombre);
  /// Writes the pages changed since the last call to their place in `cible`, in runs of up to 1 MiB; pages
  /// never touched are not written. False on a write error or when a write to the window found no memory; the
  /// pages then stay marked. The window stays open.
  [[nodiscard]] bool vide_fenetre(const Fichier &cible);
  /// Drops the pages, empties the node cache and plugs `driver_fichier` back in.
  void ferme_fenetre();

  /// The driver: the request is split where it crosses the borders of the window.
  int transfere(RequeteIO &requete);

 private:
  struct Page {
    std::unique_ptr<std::uint8_t[]> octets;
    bool changee = false;
  };

  void transfere_dans(bool ecrit, std::uint64_t secteur, std::uint32_t nombre, std::uint8_t *tampon);
  void signale_manque();
  [[nodiscard]] std::size_t octets_de_page(std::uint64_t page) const;

  std::uint64_t debut_ = 0;   // sectors
  std::uint64_t nombre_ = 0;  // sectors
  std::unique_ptr<Page[]> pages_;
  std::uint64_t nb_pages_ = 0;
  bool manque_memoire_ = false;  // a write found no memory: the window no longer holds what it should
};

/// The window of this process.
[[nodiscard]] FenetreMemoire &fenetre_memoire();

}  // namespace varnion
