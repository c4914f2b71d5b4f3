#pragma once

#include "hfs/catalogue.hpp"

namespace varnion {

/// A file whose content lies elsewhere: a hard link of HFS+ (TN1150, "Hard Links") with the forks, Finder
/// information and dates of the file it stands for, under its own name. Any other element, and a link whose
/// file is not there, come back as they are.
[[nodiscard]] ElementMac sans_lien(const ElementMac &element);

}  // namespace varnion
