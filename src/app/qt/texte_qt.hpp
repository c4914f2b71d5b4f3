#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <QString>

// Texts between the core and the widgets, and how the panes show sizes and dates.

namespace varnion {

/// Working text as a QString, and back.
[[nodiscard]] QString vers_qt(std::string_view texte);
[[nodiscard]] std::string de_qt(const QString &texte);
/// String `id` of the table in the language in force.
[[nodiscard]] QString chaine_qt(int id);

/// A size in a list: bytes, then "k" from a million bytes on, then "M" from a million kilobytes on; digits in
/// groups of three.
[[nodiscard]] std::string taille_liste(std::uint64_t octets);
/// A size of a volume or project in megabytes: "1,234.500MB". The fraction is the next ten bits, 999 at most,
/// and never shows a size that is not 0 as 0.000.
[[nodiscard]] std::string taille_volume(std::uint64_t octets);
/// A Macintosh date in the user's short form; "" for 0. `utc`: stored in UTC, else in local time.
[[nodiscard]] QString date_liste(std::uint32_t secondes, bool utc);

/// The patterns of a file dialog, "Caption|*.a;*.b|…", as Qt wants them.
/// `premiers`: patterns of the first group instead of its own, where there are any.
[[nodiscard]] QString filtre_qt(std::string_view filtre, std::string_view premiers = {});

}  // namespace varnion
