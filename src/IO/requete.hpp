#pragma once

#include <cstdint>

#include "IO/fichier.hpp"

namespace varnion {

constexpr std::uint32_t kOperationLire = 0x88;    ///< SCSI READ(16)
constexpr std::uint32_t kOperationEcrire = 0x8A;  ///< SCSI WRITE(16)
constexpr std::uint32_t kTailleSecteur = 512;

/// One block request. Positions and counts are in 512-byte sectors from the start of the image file.
struct RequeteIO {
  std::uint32_t statut = 0;     ///< unused by the file driver
  std::uint32_t operation = 0;  ///< kOperationLire or kOperationEcrire
  std::uint32_t reserve1 = 0;
  std::uint32_t unite = 0;
  std::uint32_t reserve2 = 0;
  std::uint32_t nb_secteurs = 0;
  std::uint64_t position = 0;
  void *tampon = nullptr;  ///< nb_secteurs x 512 bytes
};

using EntreeDriver = int (*)(RequeteIO &);

/// Result of a transfer of `octets` bytes for a request of `nb_secteurs` sectors. One would expect 0 for a
/// whole transfer; here the bytes divided by the count are compared with the count, so that a whole transfer
/// gives 0 only when `nb_secteurs` is 512, and 1 otherwise. Kept as it stands: nothing may hang on the result
/// of a driver.
[[nodiscard]] int verdict_transfert(std::uint64_t octets, std::uint32_t nb_secteurs);

/// Reads or writes the open image: -1 when none is open, else 0 or 1 (see `verdict_transfert`). A read past
/// the end leaves the buffer as it was. A failed write is remembered in `Support::echec_ecriture`.
int driver_fichier(RequeteIO &requete);

/// Why the mounted volume may not be changed. The words stand in `texte_interdit` (hfs/garde.hpp).
enum class Interdit : std::uint8_t {
  aucun,
  lecture,            ///< the image was opened to be read
  image,              ///< the image file cannot be written
  copie,              ///< the image is a temporary copy of a compressed one
  sans_carte,         ///< a volume without a partition map; from here on it is the volume, not the file
  hors_carte,         ///< a volume where its map does not say
  sans_catalogue,     ///< nothing that is known as a catalog
  tailles,            ///< sizes in the header that the image does not bear out
  partition,          ///< blocks in use behind the end of the partition
  image_courte,       ///< blocks in use behind the end of the image
  partage_iso,        ///< the volume's own tables lie in files of the ISO 9660 side
  journal_plein,      ///< transactions that have not reached the volume
  journal_illisible,  ///< a journal on another device, or none that can be read
  ordre_classique,    ///< names in the order of the classic rule, while the published one holds
  comptes_abimes,     ///< counts of the header that cannot be
  desordre,           ///< names of an HFS catalog in no known order
  catalogue_abime,    ///< a node of the catalog; may be forced, as the ones before and behind from the counts on
  extents_abimes,     ///< a node of the extents tree
};

/// `LectureSeule`: no while the volume may be changed, else the reason.
class LectureSeule {
 public:
  LectureSeule(Interdit raison = Interdit::aucun) : raison_(raison) {}  // NOLINT(google-explicit-constructor)
  LectureSeule(bool oui)                                                // NOLINT(google-explicit-constructor)
      : raison_(oui ? Interdit::lecture : Interdit::aucun) {}
  operator bool() const { return raison_ != Interdit::aucun; }  // NOLINT(google-explicit-constructor)
  [[nodiscard]] Interdit raison() const { return raison_; }
  /// A reason that came first stays.
  void ajoute(Interdit raison) {
    if (raison_ == Interdit::aucun) raison_ = raison;
  }
  /// Forgets what was found about a volume; what holds for its image file stays.
  void oublie_volume() {
    if (raison_ >= Interdit::sans_carte) raison_ = Interdit::aucun;
  }

 private:
  Interdit raison_;
};

/// The medium of the engine.
struct Support {
  Fichier image;               ///< `PartitionOuverte`
  LectureSeule lecture_seule;  ///< why nothing may be written
  EntreeDriver entree_driver = driver_fichier;
  EntreeDriver entree_driver_carte = driver_fichier;
  int mode_driver = 3;
  std::uint8_t unite_courante = 0;
  std::uint16_t taille_secteur = 512;
  std::uint16_t secteurs_par_transfert = 64;
  std::uint64_t taille_volume = 0;  ///< sectors
  std::uint16_t taille_bloc_carte = 0;
  int echec_ecriture = 0;  ///< errno of the first failed write since it was cleared, 0 none
};

[[nodiscard]] Support &support();

/// Reads `nombre` sectors through `entree_driver`.
void lit_secteurs(void *tampon, std::uint64_t position, std::uint32_t nombre);
/// Writes `nombre` sectors through `entree_driver`.
void ecrit_secteurs(const void *tampon, std::uint64_t position, std::uint32_t nombre);

enum GenreImage : int {
  kImageSimple = 0,
  kImagePM = 1,
  kImageBZ = 2,
  kImageZlib = 3,
  kImageKoly = 4,
  kImageEparse = 5,
  kImageGpt = 6,
  kImageMbr = 7,
};

/// Kind of an image file from its first and last bytes, as in GenreImage; the file is rewound.
[[nodiscard]] int type_image(const Fichier &image);

}  // namespace varnion
