#pragma once

#include <optional>

#include "projet/signatures.hpp"

class QWidget;

namespace varnion {

/// Shows `TRRSig`. nullopt when the user gives up.
[[nodiscard]] std::optional<DemandeSignatures> montre_remplacement(QWidget *parent);

}  // namespace varnion
