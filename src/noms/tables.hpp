#pragma once

#include <array>
#include <cstdint>

namespace varnion {

/// A code table: the entry of a byte is what that byte becomes.
using TableOctets = std::array<std::uint8_t, 256>;

/// Mac Roman to Windows-1252, for display and PC names. What Windows lacks becomes "_", 7F a blank.
extern const TableOctets mac_vers_windows;

/// Windows-1252 to Mac Roman, for names on HFS. ":" becomes "_", for it separates path parts on the
/// Macintosh; an entry of 0 has no Mac Roman counterpart and ends the text.
extern const TableOctets windows_vers_mac;

/// Windows text: keeps what a list may show; 0 calls for the replacement character.
extern const TableOctets filtre_noms;

/// Code page 437 and EBCDIC, as the dump shows them.
extern const TableOctets dos_vers_windows;
extern const TableOctets ebcdic_vers_windows;

/// Weights of the Mac Roman bytes in an order of HFS names: the published one, and that of the classic rule, in
/// which "\" (5C) has weight 0, as low as the end of the text.
using PoidsHfs = std::array<std::uint16_t, 256>;
extern const PoidsHfs poids_hfs_publies;
extern const PoidsHfs poids_hfs_classiques;

}  // namespace varnion
