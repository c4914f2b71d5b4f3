#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace varnion::plateforme {

/// True for a name that is an 8.3 name as it stands but for case: one to eight ASCII letters, digits or
/// `_^$~!#%&-{}()@'` and a backquote, then nothing or a dot and one to three of them.
[[nodiscard]] bool est_nom_court_legal(std::string_view nom);

/// The 8.3 names of the entries of one folder. `noms` are the distinct names as they lie on the disk (UTF-8,
/// or any bytes). One result for each, in the same order; empty for a name whose upper-case form is its short
/// name. All are different, and they depend on the set of names alone, not on its order.
[[nodiscard]] std::vector<std::string> noms_courts(std::span<const std::string_view> noms);

}  // namespace varnion::plateforme
