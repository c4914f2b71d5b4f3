#pragma once

#include <cstddef>
#include <optional>

#include "IO/partitions.hpp"

class QWidget;

namespace varnion {

/// Lets the user choose one of several volumes of an image (1110): its row, nullopt for Cancel. From a worker
/// the dialog is carried to the main thread.
[[nodiscard]] std::optional<std::size_t> choisit_partition(QWidget *parent, const ListePartitions &liste);

}  // namespace varnion
