#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "IO/fichier.hpp"

// BinHex 4.0 (RFC 1741), read only: the text is decoded to a MacBinary file, which then takes the road of
// every MacBinary container.

namespace varnion {

/// True when the banner "This file must be converted with BinHex 4.0" begins within the first 128 bytes, with
/// no NUL before it. The file is rewound.
[[nodiscard]] bool est_binhex(const Fichier &fichier);
/// The same on the first bytes of a file, 170 of them where it has so many.
[[nodiscard]] bool est_binhex(std::span<const std::uint8_t> debut);

/// Which of the three checksums of a BinHex file agree with what was decoded.
struct ControleBinHex {
  bool tete = false;
  bool data = false;
  bool ressource = false;

  [[nodiscard]] bool juste() const { return tete && data && ressource; }
};

/// Decodes `source` into `cible`, an empty file open for writing, as a MacBinary file: its length, or nullopt
/// when a read or write fails (`errno` tells). Announced fork lengths that the text does not hold give a
/// short target. Checksums never change the result; they are told in `controle` when that is given. The
/// position of `source` stays. The target begins at `base` of `cible`, which is empty from there on.
[[nodiscard]] std::optional<std::uint64_t> decode_binhex(const Fichier &source, const Fichier &cible,
                                                         ControleBinHex *controle = nullptr,
                                                         std::uint64_t base = 0);
/// The same into an unnamed temporary file: closed when it cannot be made or written. The decoder passes
/// through memory, so that nothing is ever written beside the source, whose folder may be read-only or hold a
/// user's file of the same name with the extension BIN.
[[nodiscard]] Fichier decode_binhex(const Fichier &source, ControleBinHex *controle = nullptr);

/// The checksums alone; nullopt when the file cannot be read.
[[nodiscard]] std::optional<ControleBinHex> verifie_binhex(const Fichier &source);

/// What the head of a BinHex file tells, for the inclusion scan.
struct TeteBinHex {
  std::string nom;        ///< Mac Roman, at most 63 bytes
  std::string signature;  ///< type and creator, 8 bytes
  std::uint16_t drapeaux = 0;
  std::uint32_t lg_data = 0;
  std::uint32_t lg_rsrc = 0;
};
/// The head, from the first 256 characters behind the first ":"; nullopt when they do not hold it whole. The
/// position stays.
[[nodiscard]] std::optional<TeteBinHex> tete_binhex(const Fichier &fichier);

}  // namespace varnion
