#pragma once

namespace varnion {

class TVarnion;

/// Shows the form of the log file. OK keeps the path; opening, closing and emptying take effect at once.
void montre_journal(TVarnion &fenetre);

/// The log that the settings want open from the start but have no path for: asks for one.
void ouvre_journal_du_depart(TVarnion &fenetre);

}  // namespace varnion
