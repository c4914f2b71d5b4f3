#pragma once

#include <span>
#include <string>

// What is said when images are joined, parted or made into tracks, the same at the window and on the console.

namespace varnion {

// Strings that tell of a success: path, size.
constexpr int kImageJointe = 6355;
constexpr int kImageSeparee = 6358;

/// What is said about a result: the string takes a path where `chemin` is not 0 (1 or 2, the position on the
/// command line), and the text of the system's error where `systeme` is set.
struct MotResultat {
  int resultat;
  int texte;
  int chemin = 0;
  bool systeme = false;
};

/// What a table says of a result; "" when it has no line. `errno` is that of the work.
[[nodiscard]] std::string texte_resultat(std::span<const MotResultat> mots, int resultat,
                                         const std::string &premier, const std::string &second);
/// Why two images cannot be joined (kHybride…), or one cannot be parted (kSepare…), for a form.
[[nodiscard]] std::string texte_hybridation(int resultat, const std::string &partition,
                                            const std::string &iso);
[[nodiscard]] std::string texte_separation(int resultat, const std::string &chemin);
/// Tells it.
void dit_resultat(std::span<const MotResultat> mots, int resultat, const std::string &premier,
                  const std::string &second);
/// Tells why two images were not joined (kHybride… of compil/hybridation.hpp), for `hybridation_fichiers` and
/// the forms that make a new file, `cible`.
void annonce_hybridation(int resultat, const std::string &partition, const std::string &iso,
                         const std::string &cible = {});
/// Tells why an image was not parted (kSepare…).
void annonce_separation(int resultat, const std::string &chemin, const std::string &cible = {});
/// A string that takes the path of an image and its size.
[[nodiscard]] std::string texte_image(int texte, const std::string &chemin);

}  // namespace varnion
