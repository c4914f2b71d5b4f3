#pragma once

#include <string>
#include <string_view>

#include "IO/operations.hpp"
#include "IO/plateforme.hpp"

// The log file: an append stream, each entry written and flushed in one go, from any thread.

namespace varnion {

/// Local time of an entry, to the hundredth of a second.
struct HeureJournal {
  plateforme::DateCivile date;
  int centiemes;
};

/// One entry as it goes to the file, in UTF-8. Ends in CR LF; the line of a file in a compile in LF alone, a
/// raw one in what it has. Control characters and what else deceives a reader are escaped.
[[nodiscard]] std::string ligne_journal(GenreJournal genre, std::string_view texte,
                                        const HeureJournal &heure);

/// Opens (or creates) the log and writes the opening line; a log that was open is closed first. False when it
/// cannot be opened: there is no log then.
bool ouvre_journal(std::string_view chemin);
void ferme_journal();
[[nodiscard]] bool journal_ouvert();
/// Cuts the open log to length 0. False when none is open or it fails.
bool vide_journal();
/// Adds one entry; nothing when no log is open.
void ecrit_journal(GenreJournal genre, std::string_view texte);

}  // namespace varnion
