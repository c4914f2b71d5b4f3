#pragma once

namespace varnion {

/// From now on SIGINT, SIGTERM and SIGHUP ask for the stop of the work in hand; a second one ends the process
/// at once. Signals that were ignored stay so. Writes to a closed pipe or past a size limit fail as any write
/// does. An answer being typed is broken off.
void surveille_interruptions();

/// True once a stop was asked for.
[[nodiscard]] bool interruption_demandee();
/// Takes the request back: the user was asked about it.
void oublie_interruption();

}  // namespace varnion
