#pragma once

#include "compil/volume_mac.hpp"

namespace varnion {

struct Mdb;

/// Classic HFS (Inside Macintosh: Files, chapter 2).
class VolumeHfs final : public VolumeMac {
 public:
  [[nodiscard]] std::u16string cle_nom(const RubriqueProjet &rubrique,
                                       std::u16string_view nom_large) const override;
  [[nodiscard]] bool nom_de_la_source(const RubriqueProjet &rubrique,
                                      std::u16string_view nom_large) const override;
  [[nodiscard]] bool existe(std::uint32_t parent, const RubriqueProjet &rubrique,
                            std::u16string_view nom_large) const override;
  void compte_item(ContexteCompilation &contexte, const RubriqueProjet &rubrique) const override;
  void compte_fil(ContexteCompilation &contexte, const RubriqueProjet &rubrique) const override;
  [[nodiscard]] PlanVolume plan(const ContexteCompilation &contexte, std::uint64_t secteurs,
                                std::uint64_t debut, const BesoinsVolume &besoins) const override;
  [[nodiscard]] bool tient(const PlanVolume &plan, std::uint64_t blocs_donnees) const override;
  [[nodiscard]] bool ecrit_structures(const ContexteCompilation &contexte, const EnteteProjet &entete,
                                      const PlanVolume &plan, DispositionImage &carte) override;
  [[nodiscard]] Catalogue cree_dossier(std::uint32_t parent, const RubriqueProjet &rubrique,
                                       std::u16string_view nom_large, std::uint32_t &cnid) override;
  [[nodiscard]] Catalogue cree_fichier(std::uint32_t parent, const FicheFichier &fiche) override;
  [[nodiscard]] bool fixe_valence(std::uint32_t parent, const RubriqueProjet &rubrique,
                                  std::u16string_view nom_large, std::uint32_t valence) override;
  [[nodiscard]] bool fixe_valence_racine(std::uint32_t valence) override;
  [[nodiscard]] bool cloture(SortieImage &sortie, SecteurZero &secteur, DispositionImage &carte) override;

 private:
  void ecrit_mdb(const ContexteCompilation &contexte);
  void ecrit_extents();
  void ecrit_catalogue(const ContexteCompilation &contexte);
  // The end of the volume by either rule, into the header and `partition_`; the length of the image in
  // sectors.
  std::uint64_t fin_classique(Mdb &mdb, std::uint64_t fin_donnees);
  std::uint64_t fin_publiee(Mdb &mdb, std::uint64_t fin_donnees, const DispositionImage &carte);
  [[nodiscard]] bool fixe_valence_de(std::uint32_t parent, const std::string &nom, std::uint32_t valence);

  PlanVolume plan_;
  std::uint64_t partition_ = 0;  ///< length, 512-byte blocks, known at the end
  std::uint32_t unites_ = 4;     ///< 512-byte blocks of an allocation block
  std::string label_;
};

/// Name of an item on the HFS side in Mac Roman: the project's, or, for an item with NTFS streams whose name
/// was not typed by hand, the one of the source.
[[nodiscard]] std::string nom_hfs_de(const RubriqueProjet &rubrique, std::u16string_view nom_large);

}  // namespace varnion
