#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "fichiers/plage.hpp"
#include "IO/fichier.hpp"

// One Macintosh file, wherever it lies: what the writers of containers take. A volume and a container on the
// PC both give it.

namespace varnion {

constexpr std::size_t kBlocFourche = std::size_t{1} << 20;  ///< bytes that a fork is carried by
constexpr std::uint32_t kEpoqueMac = 2082844800;            ///< seconds from 1904 to 1970
constexpr std::uint32_t kDateInconnue = 0x80000000;         ///< "unknown" in a container (RFC 1740, A.3)

/// Takes the next bytes of a fork; false stops who gives them.
using Puits = std::function<bool(std::span<const std::uint8_t>)>;

/// One fork of a Macintosh file.
struct FluxFourche {
  std::uint64_t longueur = 0;
  /// Gives the whole fork, in order and in large pieces; false when a read fails or the sink refuses. May be
  /// empty where the fork is.
  std::function<bool(const Puits &)> coule;
};

/// The four dates of a file as its catalog holds them, in seconds since 1904.
struct DatesMac {
  std::uint32_t creation = 0;
  std::uint32_t modification = 0;
  std::uint32_t acces = kDateInconnue;  ///< HFS has none
  std::uint32_t sauvegarde = 0;
};

struct ElementFichier {
  std::string nom;           ///< Mac Roman
  std::u16string nom_large;  ///< composed UTF-16
  /// FInfo, then FXInfo (Inside Macintosh: Macintosh Toolbox Essentials, 7-47), big-endian.
  std::array<std::uint8_t, 32> info_finder{};
  DatesMac dates;
  /// What brings the dates to local time: the time offset of an HFS+ volume, whose dates are UTC; 0 on HFS.
  std::int32_t decalage = 0;
  FluxFourche data, rsrc;

  [[nodiscard]] std::string type() const { return {info_finder.begin(), info_finder.begin() + 4}; }
  [[nodiscard]] std::string createur() const { return {info_finder.begin() + 4, info_finder.begin() + 8}; }
  [[nodiscard]] std::uint16_t drapeaux() const;
  /// A date in local time, as HFS and MacBinary have it. 0, "none", stays.
  [[nodiscard]] std::uint32_t date_locale(std::uint32_t date) const;
};

/// A range of an open file as a fork; the file stays open as long as the fork is held.
[[nodiscard]] FluxFourche fourche_de_fichier(std::shared_ptr<const Fichier> fichier, PlageFourche plage);
/// Bytes in memory as a fork.
[[nodiscard]] FluxFourche fourche_de_texte(std::string octets);
/// A fork as an unnamed temporary file, for readers that seek; closed when it cannot be read or written
/// whole.
[[nodiscard]] Fichier fourche_en_fichier(const FluxFourche &fourche);

enum class GenreConteneur { fichier, macbinaire, binhex, applesingle, appledouble, sfm };

/// A file of the PC as a Macintosh file.
struct Conteneur {
  GenreConteneur genre = GenreConteneur::fichier;
  ElementFichier element;
  bool intact = true;  ///< false: a fork is shorter than announced, or a BinHex checksum disagrees
};

/// Opens a file of the PC, container or not, and tells its Macintosh side: name, Finder data and dates of a
/// MacBinary or BinHex head as they stand; for the others the name and, as both dates, the modification time
/// of the PC file. A plain file has its data fork and no type and creator. nullopt when it cannot be opened
/// or a BinHex text not decoded (`errno` tells).
[[nodiscard]] std::optional<Conteneur> ouvre_conteneur(std::string_view chemin);

}  // namespace varnion
