#pragma once

#include <functional>
#include <optional>

#include <QString>

#include "fichiers/copie_vers_pc.hpp"

class QWidget;

namespace varnion {

/// Asks for a folder, from one to begin in; "" for none.
using DemandeDossier = std::function<QString(const QString &depart)>;

/// Lets the user cut a path that is longer than kCheminPcMax, or choose another folder; nullopt when the user
/// gives up.
[[nodiscard]] std::optional<CheminPc> raccourcit_chemin_pc(QWidget *parent, const CheminPc &chemin,
                                                           const DemandeDossier &parcourt);

}  // namespace varnion
