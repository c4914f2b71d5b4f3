#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "IO/fichier.hpp"

// Files that a Windows server keeps for Macintosh clients: the resource fork and the Finder data lie in two
// alternate streams of the file. They are read, never written.

namespace varnion {

constexpr std::string_view kFluxRessource = "AFP_Resource";
constexpr std::string_view kFluxInfo = "AFP_AfpInfo";
constexpr std::size_t kLectureAfpInfo = 80;

/// What the AfpInfo stream tells.
struct InfoAfp {
  bool presente = false;       ///< the stream opened
  bool magie_juste = false;    ///< it begins with "AFP" and a NUL
  std::string signature;       ///< type and creator, 8 bytes; "" when the stream is too short
  std::uint16_t drapeaux = 0;  ///< Finder flags
};

/// True when the file has a resource stream. A relative name counts from the current folder.
[[nodiscard]] bool a_flux_sfm(std::string_view nom);
/// The resource stream; closed when there is none, which means an empty resource fork.
[[nodiscard]] Fichier ouvre_ressource_sfm(std::string_view nom);
/// The AfpInfo stream, its magic told but not required: the project reader does without it.
[[nodiscard]] InfoAfp lit_info_afp(std::string_view nom);
/// The Finder flags, with the signature in `signature`; 0 and "" when the stream is absent or has a wrong
/// magic.
[[nodiscard]] std::uint16_t lecture_afpinfo(std::string_view nom, std::string &signature);

}  // namespace varnion
