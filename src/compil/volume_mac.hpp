#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "compil/contexte.hpp"
#include "compil/disposition.hpp"
#include "compil/sortie.hpp"
#include "projet/format.hpp"

namespace varnion {

/// Where a fork lies: allocation block, block count, and the logical length in bytes.
struct Fourche {
  std::uint32_t bloc = 0;
  std::uint32_t blocs = 0;
  std::uint64_t longueur = 0;
};

/// What a file record needs beside its project item.
struct FicheFichier {
  const RubriqueProjet *rubrique = nullptr;
  std::u16string_view nom_large;  ///< name of the source, composed UTF-16
  std::uint16_t drapeaux = 0;     ///< Finder flags
  Fourche data, rsrc;
};

/// Outcome of a call that puts something into the catalog.
enum class Catalogue { fait, plein, impossible };

/// The Macintosh volume of an image: its sizes, its first structures, the catalog while it grows, the end.
/// The metadata (header to catalog) is held in a memory window of the engine's driver until `cloture`.
class VolumeMac {
 public:
  virtual ~VolumeMac() = default;
  /// The writer for a kind of compile; nullptr for the kinds without a volume.
  [[nodiscard]] static std::unique_ptr<VolumeMac> cree(Nature nature);

  /// What the catalog compares of an item's name as it will be written: two items of a folder with one key
  /// cannot both be reached. `nom_large`: name of the source, empty while it is not at hand.
  [[nodiscard]] virtual std::u16string cle_nom(const RubriqueProjet &rubrique,
                                               std::u16string_view nom_large) const = 0;

  /// True when the name is, or may be, that of the source: such a one is compared only when that is at hand.
  [[nodiscard]] virtual bool nom_de_la_source(const RubriqueProjet &rubrique,
                                              std::u16string_view nom_large) const = 0;
  /// True when the catalog has an item of that name in the folder.
  [[nodiscard]] virtual bool existe(std::uint32_t parent, const RubriqueProjet &rubrique,
                                    std::u16string_view nom_large) const = 0;

  /// Sizing: one item of a folder's run that is in the HFS view.
  virtual void compte_item(ContexteCompilation &contexte, const RubriqueProjet &rubrique) const = 0;
  /// Sizing: the thread records that come behind the run.
  virtual void compte_fil(ContexteCompilation &contexte, const RubriqueProjet &rubrique) const = 0;

  /// Sizes of the structures. `secteurs` are the 2048-byte sectors so far, `debut` the volume's first
  /// 512-byte block.
  [[nodiscard]] virtual PlanVolume plan(const ContexteCompilation &contexte, std::uint64_t secteurs,
                                        std::uint64_t debut, const BesoinsVolume &besoins) const = 0;
  /// True when a volume of this plan can address that many data blocks.
  [[nodiscard]] virtual bool tient(const PlanVolume &plan, std::uint64_t blocs_donnees) const = 0;

  /// Writes headers, empty trees and the root into the window and mounts the volume there.
  [[nodiscard]] virtual bool ecrit_structures(const ContexteCompilation &contexte, const EnteteProjet &entete,
                                              const PlanVolume &plan, DispositionImage &carte) = 0;

  /// Adds a folder record and its thread; the new catalog id in `cnid`.
  [[nodiscard]] virtual Catalogue cree_dossier(std::uint32_t parent, const RubriqueProjet &rubrique,
                                               std::u16string_view nom_large, std::uint32_t &cnid) = 0;
  [[nodiscard]] virtual Catalogue cree_fichier(std::uint32_t parent, const FicheFichier &fiche) = 0;
  /// Stores the number of items directly in a folder.
  [[nodiscard]] virtual bool fixe_valence(std::uint32_t parent, const RubriqueProjet &rubrique,
                                          std::u16string_view nom_large, std::uint32_t valence) = 0;
  [[nodiscard]] virtual bool fixe_valence_racine(std::uint32_t valence) = 0;

  /// Pads the image, completes sector 0, header, bitmap and header copy, and brings the window to the file.
  [[nodiscard]] virtual bool cloture(SortieImage &sortie, SecteurZero &secteur, DispositionImage &carte) = 0;
};

/// Counts one record into the running estimate of the catalog's leaf nodes.
void place_noeud(ContexteCompilation &contexte, std::uint32_t taille_fiche, std::uint32_t taille_noeud);

/// Start of the one extent of a fork; that of an empty fork is zero where extents follow the publication.
[[nodiscard]] std::uint32_t debut_fourche(const Fourche &fourche);

/// A quarter of a volume in whole blocks, bytes: the most that checkers take for the clump size of a tree.
[[nodiscard]] std::uint32_t quart_volume(std::uint64_t blocs, std::uint32_t taille_bloc);

/// Bit of the volume attributes, in both formats: the volume was unmounted properly.
constexpr std::uint16_t kVolumeDemonte = 0x0100;

/// Window, location and view of a new folder, and the flags by what the item asks for.
struct InfoDossier;
void pose_info_dossier(InfoDossier &info, bool cache, bool icone);

/// "Invisible", "has custom icon", "has been inited": Finder flags.
constexpr std::uint16_t kFinderInvisible = 0x4000;
constexpr std::uint16_t kFinderIcone = 0x0400;
constexpr std::uint16_t kFinderVu = 0x0100;

}  // namespace varnion
