#pragma once

#include "compil/volume_mac.hpp"
#include "noms/unicode.hpp"

namespace varnion {

struct EnteteVolumePlus;

/// HFS+ (TN1150) with allocation blocks of 2048 bytes, so that a block is a sector of the disc, and nodes of
/// 4096.
class VolumeHfsPlus final : public VolumeMac {
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
  void ecrit_entete(const ContexteCompilation &contexte, const EnteteProjet &entete);
  void ecrit_extents();
  void ecrit_catalogue(const ContexteCompilation &contexte);
  /// First catalog id of the disc's items.
  [[nodiscard]] std::uint32_t premier_cnid(const ContexteCompilation &contexte,
                                           const EnteteProjet &entete) const;
  /// Total and free blocks by either rule; the length of the image in sectors, 0 where the bitmap is too
  /// small.
  [[nodiscard]] std::uint64_t fin_volume(EnteteVolumePlus &vhb, std::uint64_t fin_donnees,
                                         DispositionImage &carte) const;
  [[nodiscard]] bool fixe_valence_de(std::uint32_t parent, const NomUnicode &nom, std::uint32_t valence);
  [[nodiscard]] Catalogue insere_avec_fil(std::uint32_t parent, const NomUnicode &nom, std::uint32_t cnid,
                                          std::span<const std::uint8_t> fiche, int type_fil);

  PlanVolume plan_;
  NomUnicode label_;
};

}  // namespace varnion
