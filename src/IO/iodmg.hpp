#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "IO/fichier.hpp"
#include "IO/fichier_voisin.hpp"

// Compressed disk images (UDIF): a trailer, a property list with block tables, chunks of data. The image is
// turned into a plain image file; it is not read in place.

namespace varnion {

/// How a reading of a disk image ended. All but `bon` leave a target that is not to be used.
enum class EtatDmg {
  bon,
  sans_fin,         ///< no "koly" trailer in the last 512 bytes
  fin_fausse,       ///< the trailer gives places outside the file, or (usual reading) a list not at their end
  sans_table,       ///< no block table, or (usual reading) a section that is none
  table_fausse,     ///< an entry that lies outside the image, lies over another or is too large
  partage,          ///< the chunks name the same compressed bytes over and over
  type_inconnu,     ///< `ResultatDmg::type` names the chunk type
  donnees_fausses,  ///< a chunk that cannot be read or gives another length than announced
  controle_table,   ///< the CRC-32 of table `ResultatDmg::table` does not agree
  controle_image,   ///< the CRC-32 of the whole image does not agree
  controle_donnees,  ///< that of the data fork does not, and the tables carry none
  lecture,           ///< the image cannot be opened (`ResultatDmg::erreur` has the errno)
  ecriture,          ///< a write failed (`ResultatDmg::erreur` has the errno)
  place,             ///< less room for the target (`ResultatDmg::libres`) than it needs (`pleins`)
  memoire,           ///< no memory or no thread
  arret,             ///< the caller stopped it
};

struct OptionsDmg {
  /// The usual reading: as many sections of the list as the trailer's version says, one behind the other, no
  /// checksums, overlapping ADC copies filled with one byte. Else all block tables at their own places.
  bool usuelle = false;
  /// What `decompresse_fichier` may take the place of.
  Ecrasement ecrasement = Ecrasement::toujours;
  /// Threads that decode; 0 takes all cores.
  unsigned fils = 0;
  /// Called on the calling thread with bytes done and bytes in all; false stops the work.
  std::function<bool(std::uint64_t fait, std::uint64_t total)> progression;
  /// Asked once when checksums show that the published copy of ADC is the right one for this image; true
  /// takes it. Not set: it is taken.
  std::function<bool()> accepte_copie_publiee;
};

struct ResultatDmg {
  EtatDmg etat = EtatDmg::bon;
  int code = 0;  ///< 0, -1, a zlib error, or the unknown chunk type
  std::uint32_t type = 0;
  std::uint32_t table = 0;        ///< block table (from 1) where it ended
  std::uint32_t tables = 0;       ///< block tables of the list
  std::uint64_t octets = 0;       ///< size of the target
  std::uint64_t pleins = 0;       ///< of it what is written; the rest are holes, which read as zeros
  std::uint64_t libres = 0;       ///< bytes free for the target, with `place`
  std::uint64_t partages = 0;     ///< compressed bytes that more than one chunk names
  int erreur = 0;                 ///< errno of a failed write
  bool copie_publiee = false;     ///< the published copy of ADC was needed and taken
  bool controle_fait = false;     ///< the whole image was compared with its checksums
  std::uint64_t octets_nus = 0;   ///< bytes that no block table speaks of: they are zeros
  bool copies_douteuses = false;  ///< overlapping ADC copies were filled with one byte, unchecked
  [[nodiscard]] bool reussi() const { return etat == EtatDmg::bon; }
};

/// What an image is before it is read.
struct ApercuDmg {
  EtatDmg etat = EtatDmg::bon;        ///< of the reading of all tables, as far as the list tells
  std::uint32_t tables = 0;           ///< block tables of the list
  std::uint32_t tables_usuelles = 0;  ///< those that the usual reading takes; 0 when it fails
  bool usuelle_entiere = false;       ///< the usual reading gives the whole image
  std::uint64_t octets = 0;           ///< size of the plain image
  std::uint64_t pleins = 0;           ///< of it what is written; the rest are holes
};
[[nodiscard]] ApercuDmg apercu_dmg(const Fichier &source);

/// Reads the whole disk image `source` into `cible` (open for reading and writing, cut to nothing first).
/// Nothing is written where the room for it is missing. On
/// failure the target holds what was written so far; removing it is the caller's.
[[nodiscard]] ResultatDmg decompresse_image(const Fichier &source, const Fichier &cible,
                                            const OptionsDmg &options = {});

/// From path to path: 1 when done; -2 when a file cannot be opened or `source` is a plain image, -1 for a
/// sparse image; else the code of the result. The target is made under another name beside it and takes its
/// own once it is whole; on failure nothing of it stays. `resultat`, when given, has the details.
[[nodiscard]] int decompresse_fichier(std::string_view source, std::string_view cible,
                                      const OptionsDmg &options = {}, ResultatDmg *resultat = nullptr);

}  // namespace varnion
