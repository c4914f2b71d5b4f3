#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "IO/partitions.hpp"

// The state behind the window that lets the user choose one of several volumes. No road of an open asks: the
// first row is mounted.

namespace varnion {

class ChoixPartition {
 public:
  static constexpr int kAnnule = -2;
  static constexpr std::uint8_t kUniteFermee = 0xFF;

  explicit ChoixPartition(const ListePartitions &liste) : liste_(liste) {}

  /// Number of the row that is marked, from 0.
  [[nodiscard]] std::size_t rang() const { return rang_; }
  /// The keys; they wrap around the list.
  void haut();
  void bas();
  /// Takes the marked row: its start, result its number. An empty list gives `annule`.
  [[nodiscard]] int accepte(std::uint64_t &debut) const;
  /// -2 and a start of 0.
  [[nodiscard]] int annule(std::uint64_t &debut) const;
  /// 0; the unit becomes 0xFF, no unit.
  [[nodiscard]] int ferme() const;

 private:
  const ListePartitions &liste_;
  std::size_t rang_ = 0;
};

/// "MacOS" or "Windows", for a row of the list.
[[nodiscard]] std::string_view systeme_partition(const InfoPartition &rang);
/// Size in MB, cut, for a row of the list.
[[nodiscard]] std::uint64_t mega_partition(const InfoPartition &rang);

}  // namespace varnion
