#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "projet/fichier_projet.hpp"

// The open document as both panes see it: folders by id, with their content as values. Texts are UTF-8,
// control characters shown as "?".

namespace varnion {

/// A folder of the tree.
struct DossierArbre {
  std::uint32_t id = 0;
  std::string nom;
  bool a_contenu = false;  ///< it may hold folders
};

/// Where an item of the Hybrid view belongs.
enum class PresenceVues : std::uint8_t { les_deux, iso, hfs, aucune };

/// A row of the list.
struct LigneListe {
  std::string nom;
  std::uint32_t id = 0;
  bool dossier = false;
  PresenceVues presence = PresenceVues::les_deux;
  std::uint32_t valence = 0;  ///< of a folder: items in it
  std::uint64_t donnees = 0;  ///< bytes
  std::uint64_t ressources = 0;
  std::uint32_t creation = 0;  ///< Macintosh dates as stored, 0 none
  std::uint32_t modification = 0;
  std::string signature;  ///< of a file: 8 bytes, Mac Roman
};

struct ContenuDossier {
  std::vector<LigneListe> lignes;
  bool endommage = false;  ///< there may be more than could be read
};

class Document {
 public:
  virtual ~Document() = default;
  [[nodiscard]] virtual DossierArbre racine() const = 0;
  /// The folders in a folder, in byte order of their names.
  [[nodiscard]] virtual std::vector<DossierArbre> dossiers(std::uint32_t id) const = 0;
  /// What a folder holds, in the order of the reading.
  [[nodiscard]] virtual ContenuDossier contenu(std::uint32_t id) const = 0;
  /// Ids from the root down to a folder; the root alone for one that is not there.
  [[nodiscard]] virtual std::vector<std::uint32_t> chemin(std::uint32_t id) const = 0;
  /// The dates are UTC, else local time.
  [[nodiscard]] virtual bool dates_utc() const { return false; }
};

/// The mounted volume.
class DocumentVolume final : public Document {
 public:
  /// `caches`: hidden items too.
  explicit DocumentVolume(bool caches) : caches_(caches) {}
  [[nodiscard]] DossierArbre racine() const override;
  [[nodiscard]] std::vector<DossierArbre> dossiers(std::uint32_t id) const override;
  [[nodiscard]] ContenuDossier contenu(std::uint32_t id) const override;
  [[nodiscard]] std::vector<std::uint32_t> chemin(std::uint32_t id) const override;
  [[nodiscard]] bool dates_utc() const override;

 private:
  bool caches_;
};

/// A project in its current view. The project must outlive it.
class DocumentProjet final : public Document {
 public:
  explicit DocumentProjet(const FichierProjet &projet) : projet_(projet) {}
  [[nodiscard]] DossierArbre racine() const override;
  [[nodiscard]] std::vector<DossierArbre> dossiers(std::uint32_t id) const override;
  [[nodiscard]] ContenuDossier contenu(std::uint32_t id) const override;
  [[nodiscard]] std::vector<std::uint32_t> chemin(std::uint32_t id) const override;
  /// The folder itself where the view shows it, else the nearest one above that it shows.
  [[nodiscard]] std::uint32_t visible(std::uint32_t id) const;

 private:
  const FichierProjet &projet_;
};

}  // namespace varnion
