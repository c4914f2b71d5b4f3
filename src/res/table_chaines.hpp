#pragma once

#include <span>
#include <string_view>

namespace varnion {

/// One line of the string table. A French id is the English id + 10,000.
struct EntreeChaine {
  int id;
  std::string_view utf8;
};

/// The strings of both languages in ascending order of their ids. Made from chaines.*.txt by
/// `genere_chaines`.
[[nodiscard]] std::span<const EntreeChaine> table_chaines();

}  // namespace varnion
