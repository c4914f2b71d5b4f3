#include "finder/taille_image.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <span>
#include <vector>

#include <jpeglib.h>

#include "IO/octets.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

/// What may stand before the frame header of a JPEG: segments of profiles and previews.
constexpr std::size_t kTeteJpegMax = std::size_t{16} << 20;

struct Extension {
  std::string_view texte;
  FormatImage genre;
};
constexpr Extension kExtensions[] = {{".JPG", FormatImage::jpeg},  {".JPEG", FormatImage::jpeg},
                                     {".PNG", FormatImage::png},   {".TIF", FormatImage::tiff},
                                     {".TIFF", FormatImage::tiff}, {".BMP", FormatImage::bmp}};

std::vector<std::uint8_t> lit(const Fichier &fichier, std::uint64_t position, std::size_t nombre) {
  std::vector<std::uint8_t> octets(nombre);
  const std::int64_t lus = fichier.lire_a(octets, position);
  octets.resize(lus > 0 ? static_cast<std::size_t>(lus) : 0);
  return octets;
}

// --- JPEG

struct ErreursJpeg {
  jpeg_error_mgr base;
  std::jmp_buf retour;
};

[[noreturn]] void abandonne(j_common_ptr jpeg) {
  std::longjmp(reinterpret_cast<ErreursJpeg *>(jpeg->err)->retour, 1);
}

// No object with a destructor lives here: an error jumps out of the library.
bool lit_tete_jpeg(const std::uint8_t *octets, unsigned long nombre, TailleImage &taille) {
  jpeg_decompress_struct jpeg;
  ErreursJpeg erreurs;
  jpeg.err = jpeg_std_error(&erreurs.base);
  erreurs.base.error_exit = abandonne;
  erreurs.base.emit_message = [](j_common_ptr, int) {};
  erreurs.base.output_message = [](j_common_ptr) {};
  if (setjmp(erreurs.retour) != 0) {
    jpeg_destroy_decompress(&jpeg);
    return false;
  }
  jpeg_create_decompress(&jpeg);
  jpeg_mem_src(&jpeg, octets, nombre);
  const bool lu = jpeg_read_header(&jpeg, TRUE) == JPEG_HEADER_OK;
  taille.largeur = jpeg.image_width;
  taille.hauteur = jpeg.image_height;
  jpeg_destroy_decompress(&jpeg);
  return lu;
}

std::optional<TailleImage> taille_jpeg(const Fichier &fichier) {
  const std::int64_t longueur = fichier_taille(fichier);
  if (longueur <= 0) return std::nullopt;
  const auto octets = lit(fichier, 0, std::min(static_cast<std::size_t>(longueur), kTeteJpegMax));
  TailleImage taille;
  if (octets.empty() || !lit_tete_jpeg(octets.data(), octets.size(), taille)) return std::nullopt;
  return taille;
}

// --- PNG (ISO/IEC 15948, 5.2 and 11.2.2)

struct TetePng {
  std::array<std::uint8_t, 8> signature;  // 0
  be32 longueur;                          // 8   of the IHDR chunk
  std::array<std::uint8_t, 4> type;       // 12
  be32 largeur;                           // 16
  be32 hauteur;                           // 20
};
static_assert(sizeof(TetePng) == 24);

std::optional<TailleImage> taille_png(const Fichier &fichier) {
  constexpr std::array<std::uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  constexpr std::array<std::uint8_t, 4> kIhdr = {'I', 'H', 'D', 'R'};
  const auto octets = lit(fichier, 0, sizeof(TetePng));
  const auto *tete = vue<TetePng>(octets, 0);
  if (tete == nullptr || tete->signature != kSignature || tete->type != kIhdr) return std::nullopt;
  return TailleImage{tete->largeur, tete->hauteur};
}

// --- TIFF 6.0, section 2

struct EntreeTiff {
  std::uint32_t etiquette, type, valeur;
};

/// Numbers in the byte order that the head announces.
class OctetsImage {
 public:
  OctetsImage(std::vector<std::uint8_t> octets, bool petit) : octets_(std::move(octets)), petit_(petit) {}

  [[nodiscard]] std::optional<std::uint32_t> nombre(std::size_t position, std::size_t largeur) const {
    if (position > octets_.size() || octets_.size() - position < largeur) return std::nullopt;
    std::uint32_t valeur = 0;
    for (std::size_t i = 0; i < largeur; ++i)
      valeur = valeur << 8 | octets_[position + (petit_ ? largeur - 1 - i : i)];
    return valeur;
  }
  /// Entry of a directory; the value of a SHORT stands in the first half of its field.
  [[nodiscard]] std::optional<EntreeTiff> entree(std::size_t position) const {
    constexpr std::uint32_t kShort = 3;
    const auto etiquette = nombre(position, 2);
    const auto type = nombre(position + 2, 2);
    const auto valeur = nombre(position + 8, type == kShort ? 2 : 4);
    if (!etiquette || !type || !valeur || !nombre(position + 8, 4)) return std::nullopt;
    return EntreeTiff{*etiquette, *type, *valeur};
  }

 private:
  std::vector<std::uint8_t> octets_;
  bool petit_;
};

std::optional<TailleImage> taille_tiff(const Fichier &fichier) {
  constexpr std::uint32_t kVersion = 42, kLargeur = 256, kHauteur = 257;
  constexpr std::size_t kTete = 8, kLgEntree = 12;
  const auto debut = lit(fichier, 0, kTete);
  if (debut.size() < kTete || debut[0] != debut[1] || (debut[0] != 'I' && debut[0] != 'M'))
    return std::nullopt;
  const bool petit = debut[0] == 'I';
  const OctetsImage tete(debut, petit);
  const auto place = tete.nombre(4, 4);
  if (tete.nombre(2, 2) != kVersion || !place) return std::nullopt;
  const auto nombre = OctetsImage(lit(fichier, *place, 2), petit).nombre(0, 2);
  if (!nombre) return std::nullopt;
  const OctetsImage repertoire(lit(fichier, std::uint64_t{*place} + 2, *nombre * kLgEntree), petit);
  TailleImage taille;
  for (std::size_t i = 0; i < *nombre; ++i) {
    const auto entree = repertoire.entree(i * kLgEntree);
    if (!entree) break;
    if (entree->etiquette == kLargeur) taille.largeur = entree->valeur;
    if (entree->etiquette == kHauteur) taille.hauteur = entree->valeur;
  }
  return taille;
}

// --- BMP: the two forms of its information header

std::optional<TailleImage> taille_bmp(const Fichier &fichier) {
  constexpr std::size_t kTete = 26;
  constexpr std::uint32_t kAncienne = 12;
  const OctetsImage octets(lit(fichier, 0, kTete), true);
  const auto genre = octets.nombre(14, 4);
  if (octets.nombre(0, 2) != 0x4D42U || !genre) return std::nullopt;
  const bool ancienne = *genre == kAncienne;
  const auto largeur = ancienne ? octets.nombre(18, 2) : octets.nombre(18, 4);
  const auto hauteur = ancienne ? octets.nombre(20, 2) : octets.nombre(22, 4);
  if (!largeur || !hauteur) return std::nullopt;
  // Rows from the top down are told by a height below zero.
  const bool negative = !ancienne && *hauteur > 0x7FFFFFFF;
  return TailleImage{*largeur, negative ? 0U - *hauteur : *hauteur};
}

}  // namespace

FormatImage genre_image(std::string_view chemin) {
  const std::size_t point = chemin.find_last_of("./\\");
  if (point == std::string_view::npos) return FormatImage::aucun;
  const std::string extension = plateforme::majuscules(chemin.substr(point));
  for (const Extension &e : kExtensions)
    if (e.texte == extension) return e.genre;
  return FormatImage::aucun;
}

std::optional<TailleImage> taille_image(const Fichier &fichier, FormatImage genre) {
  std::optional<TailleImage> taille;
  if (genre == FormatImage::jpeg) taille = taille_jpeg(fichier);
  if (genre == FormatImage::png) taille = taille_png(fichier);
  if (genre == FormatImage::tiff) taille = taille_tiff(fichier);
  if (genre == FormatImage::bmp) taille = taille_bmp(fichier);
  constexpr std::uint32_t kMax = 0x7FFFFFFF;
  const bool bonne = taille && taille->largeur > 0 && taille->hauteur > 0 && taille->largeur <= kMax &&
                     taille->hauteur <= kMax;
  return bonne ? taille : std::nullopt;
}

std::optional<TailleImage> taille_image(std::string_view chemin) {
  errno = 0;
  const FormatImage genre = genre_image(chemin);
  if (genre == FormatImage::aucun) return std::nullopt;
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  if (!fichier) return std::nullopt;
  errno = 0;
  return taille_image(fichier, genre);
}

}  // namespace varnion
