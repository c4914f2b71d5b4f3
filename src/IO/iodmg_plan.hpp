#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "IO/iodmg.hpp"

// What a disk image says of its chunks, before any of them is read. For the reader of disk images alone.

namespace varnion {

constexpr std::uint32_t kDmgZero = 0x00000000;
constexpr std::uint32_t kDmgBrut = 0x00000001;
constexpr std::uint32_t kDmgIgnore = 0x00000002;
constexpr std::uint32_t kDmgCommentaire = 0x7FFFFFFE;
constexpr std::uint32_t kDmgAdc = 0x80000004;
constexpr std::uint32_t kDmgZlib = 0x80000005;
constexpr std::uint32_t kDmgBzip2 = 0x80000006;
constexpr std::uint32_t kDmgFin = 0xFFFFFFFF;

/// The largest compressed chunk, in and out. The makers of such images write 256 KiB to a few MiB.
constexpr std::uint64_t kMorceauMax = 64U << 20;

struct MorceauDmg {
  std::uint32_t type = 0;
  std::uint32_t table = 0;     ///< index in `PlanDmg::tables`
  std::uint64_t cible = 0;     ///< bytes from the start of the plain image
  std::uint64_t longueur = 0;  ///< bytes there
  std::uint64_t source = 0;
  std::uint64_t comprime = 0;
  bool controle = false;  ///< its table carries a CRC-32
  [[nodiscard]] bool nul() const { return type == kDmgZero || type == kDmgIgnore; }
};

struct TableDmg {
  bool controle = false;  ///< carries a CRC-32
  std::uint32_t crc = 0;
};

/// The data fork: all chunks as they lie in the file.
struct FourcheDmg {
  bool controle = false;  ///< carries a CRC-32
  std::uint32_t crc = 0;
  std::uint64_t debut = 0;
  std::uint64_t longueur = 0;
};

struct PlanDmg {
  std::vector<MorceauDmg> morceaux;
  std::vector<TableDmg> tables;
  std::uint64_t octets = 0;
  std::uint64_t octets_nus = 0;  ///< of these, bytes that no table speaks of
  std::uint64_t pleins = 0;      ///< of these, bytes of chunks that are not zeros
  std::uint64_t partages = 0;    ///< compressed bytes that more than one chunk names
  bool controle = false;         ///< the trailer carries the CRC-32 of those of the tables
  std::uint32_t crc = 0;
  FourcheDmg donnees;
  ResultatDmg fin;  ///< how it ends once the chunks are done
};

/// All block tables of the list at their own places. A list with a fault has no chunks.
[[nodiscard]] PlanDmg plan_entier(const Fichier &source);
/// The sections that the usual reading takes, one behind the other, up to the first fault.
[[nodiscard]] PlanDmg plan_usuel(const Fichier &source);

/// True when the file ends in the trailer of a disk image.
[[nodiscard]] bool a_fin_dmg(const Fichier &source);

/// What lies between "<data>" and "</data>" from `position` on, which moves behind it; false at the end.
[[nodiscard]] bool section_suivante(std::string_view liste, std::size_t &position, std::string_view &section);
/// The `Data` of each entry of the `blkx` array of a property list.
[[nodiscard]] std::vector<std::string_view> sections_blkx(std::string_view liste);
/// Base64 in groups of four; other characters are passed over, "=" counts as 0 and yields bytes like any
/// other, and a last group that is cut still yields its three bytes.
[[nodiscard]] std::string decode_base64(std::string_view texte);

}  // namespace varnion
