#pragma once

#include <span>
#include <string>

// The kinds of documents as types of the desktop: what the registry's classes are elsewhere. One MIME
// description, one starter and one icon for each kind, under the user's data folder (XDG_DATA_HOME, else
// ~/.local/share).

namespace varnion {

constexpr unsigned kTypeProjet = 1;  ///< *.vnpr
constexpr unsigned kTypeImage = 2;   ///< *.hfs
constexpr unsigned kTypeIsop = 4;    ///< *.vnso

struct TypeFichier {
  unsigned bit;
  const char *classe;     ///< name of its class: "Varnion.proj"
  const char *extension;  ///< with the dot
  const char *mime;       ///< "application/x-varnion-project"
  const char *icone;      ///< name in the icon theme and of the drawing, without ".svg"
  const char *anglais;    ///< what a file manager calls such a file
  const char *francais;   ///< the same, UTF-8
};
[[nodiscard]] std::span<const TypeFichier> types_fichiers();

struct ResultatTypes {
  unsigned faits = 0;  ///< bits of the kinds registered
  std::string echec;   ///< the first file that could not be written, working text; "" when all were
};

/// Registers the kinds of `types` for the user: double-click opens them in `programme` (UTF-8, absolute).
/// What other kinds or an earlier call have left stays. The databases of the desktop are brought up to date
/// where their tools exist.
[[nodiscard]] ResultatTypes enregistre_types(unsigned types, const std::string &programme);

/// The program that runs, absolute, UTF-8; "" when the system does not tell.
[[nodiscard]] std::string programme_courant();

/// Kinds that the user has registered already.
[[nodiscard]] unsigned types_enregistres();

}  // namespace varnion
