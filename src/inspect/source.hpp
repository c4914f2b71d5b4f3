#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "fichiers/plage.hpp"
#include "hfs/catalogue.hpp"
#include "IO/fichier.hpp"

// What a dump shows, whatever it is: bytes by position, and sectors of 512 bytes (or what the medium says).

namespace varnion {

/// Bytes to look at. Reading never changes them.
class SourceSecteurs {
 public:
  explicit SourceSecteurs(std::string nom) : nom_(std::move(nom)) {}
  SourceSecteurs(const SourceSecteurs &) = delete;
  SourceSecteurs &operator=(const SourceSecteurs &) = delete;
  virtual ~SourceSecteurs() = default;

  /// Bytes in all.
  [[nodiscard]] virtual std::uint64_t longueur() const = 0;
  /// Reads from byte `position`: bytes read, fewer at the end or where the medium cannot be read.
  [[nodiscard]] virtual std::size_t lire(std::span<std::uint8_t> octets, std::uint64_t position) const = 0;

  /// For titles and messages, working text.
  [[nodiscard]] const std::string &nom() const { return nom_; }
  [[nodiscard]] std::uint32_t taille_secteur() const { return taille_secteur_; }
  /// 512 or a larger multiple of it; anything else is taken as 512.
  void taille_secteur(std::uint32_t octets);
  /// Sectors in all, the last one perhaps in part.
  [[nodiscard]] std::uint64_t nb_secteurs() const;
  /// `DernierSecteur`; -1 for an empty source.
  [[nodiscard]] std::int64_t dernier_secteur() const;
  /// Fills `octets` from sector `n` on. It is cleared first: what lies behind the end, or cannot be read,
  /// reads as zeros, as does every number below 0. False when bytes of the source could not be read.
  bool lire_secteurs(std::span<std::uint8_t> octets, std::int64_t n) const;
  /// One sector, as told above.
  [[nodiscard]] std::vector<std::uint8_t> secteur(std::int64_t n) const;

 private:
  std::string nom_;
  std::uint32_t taille_secteur_ = 512;
};

using SourceUnique = std::unique_ptr<SourceSecteurs>;

/// A fork (kFourcheDonnees or kFourcheRessources) of a file of the mounted volume. The volume must stay
/// mounted.
[[nodiscard]] SourceUnique source_fourche(const ElementMac &element, std::uint8_t numero);
/// A plain file of the PC.
[[nodiscard]] SourceUnique source_fichier(std::shared_ptr<const Fichier> fichier, std::string nom);
/// The open image (`support().image`) by absolute sectors, through the driver; nullptr when none is open.
[[nodiscard]] SourceUnique source_image(std::string nom);
/// A range of another source, such as one resource of a fork. It counts from 0 and is cut at the end of
/// `base`, which must outlive it.
[[nodiscard]] SourceUnique source_plage(const SourceSecteurs &base, PlageFourche plage, std::string nom);
/// Bytes in memory.
[[nodiscard]] SourceUnique source_octets(std::vector<std::uint8_t> octets, std::string nom);

}  // namespace varnion
