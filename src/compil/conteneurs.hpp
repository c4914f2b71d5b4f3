#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "compil/contexte.hpp"
#include "fichiers/integrite.hpp"
#include "IO/acces.hpp"
#include "IO/fichier.hpp"
#include "projet/format.hpp"

namespace varnion {

/// How a source with two forks stands on the disk, held against what the project knows of it.
enum class EtatConteneur : std::uint8_t {
  conforme,
  change,  ///< its forks have other lengths now
  abime,   ///< it does not hold what it announces: it goes in as the plain file that it is on the PC
  compagnon_absent,  ///< its file has no resource fork any more
  compagnon_abime,   ///< its file and the companion go in as two plain files
};

struct ExamenConteneur {
  EtatConteneur etat = EtatConteneur::conforme;
  DefautConteneur defaut = DefautConteneur::aucun;
  std::uint32_t lg_data = 0, lg_rsrc = 0;  ///< of the forks, as far as they go
  std::uint32_t lg_source = 0;             ///< of the file that is the container, or of the damaged companion
  std::uint32_t date = 0;                  ///< of that file, as a project keeps it
  int erreur = 0;                          ///< errno, for a companion that cannot be opened
  /// A BinHex text whose MacBinary form is at hand: where it begins there, and its Finder flags.
  bool decode = false;
  std::uint64_t position = 0;
  std::uint16_t drapeaux = 0;
};

/// The containers among the sources of one compile. Each is opened once, when the project is measured, and
/// what was found is kept, from one attempt at writing the image to the next, for those alone that are not as
/// the project has them and for BinHex texts, whose decoded form is kept in one temporary file as long as
/// there is room.
class Conteneurs {
 public:
  explicit Conteneurs(SuiviCompilation &suivi) : suivi_(suivi) {}

  /// An attempt measures the project: what hangs on its names begins anew.
  void commence();
  /// All sources were looked at.
  void fini() { complets_ = true; }

  /// Looks at the source of an item, unless that was done. False when the run is to stop.
  [[nodiscard]] bool examine(const RubriqueProjet &rubrique);
  /// nullptr: the source is what the project says, or is no container.
  [[nodiscard]] const ExamenConteneur *examen(const RubriqueProjet &rubrique) const;
  /// The item as it goes on the disc: `rubrique` itself, or `place` with what the source asks for.
  [[nodiscard]] const RubriqueProjet &effective(const RubriqueProjet &rubrique,
                                                std::optional<RubriqueProjet> &place, bool hfsplus) const;

  /// Name in the HFS view of an item that goes in as a plain file, as the measure of this attempt chose it.
  void nomme(const RubriqueProjet &rubrique, const std::string &nom_hfs) { noms_[rubrique.numero] = nom_hfs; }
  /// The damaged companion of an item as an item of its own; nullopt where no name opens it.
  [[nodiscard]] std::optional<RubriqueProjet> compagnon(const RubriqueProjet &rubrique, bool hfsplus) const;
  /// Puts that item behind the others of its folder.
  void ajoute_compagnon(const RubriqueProjet &rubrique, const RubriqueProjet &compagnon);
  [[nodiscard]] std::span<const RubriqueProjet> compagnons(std::uint32_t dossier) const;

  /// What the user is to be told of an item; empty when there is nothing.
  [[nodiscard]] std::string constat(const RubriqueProjet &rubrique, bool hfsplus) const;

  [[nodiscard]] const Fichier &decodes() const { return decodes_; }

 private:
  void examine_compagnon(const RubriqueProjet &rubrique);
  void examine_simple(const RubriqueProjet &rubrique, const Fichier &fichier, ExamenConteneur examen);
  void examine_macbinaire(const RubriqueProjet &rubrique, const Fichier &fichier, ExamenConteneur examen);
  bool examine_binhex(const RubriqueProjet &rubrique, const Fichier &fichier, ExamenConteneur examen);
  bool decode_binhex_garde(const Fichier &fichier, ExamenConteneur &examen, FourchesConteneur &fourches);
  void juge(const RubriqueProjet &rubrique, const FourchesConteneur &fourches, ExamenConteneur examen);

  SuiviCompilation &suivi_;
  plateforme::AccesFichiers acces_;
  std::unordered_map<std::uint32_t, ExamenConteneur> examens_;                 ///< by item number
  std::unordered_map<std::uint32_t, std::string> noms_;                        ///< by item number
  std::unordered_map<std::uint32_t, std::vector<RubriqueProjet>> compagnons_;  ///< by folder number
  Fichier decodes_;
  std::uint64_t fin_decodes_ = 0;
  bool decode_possible_ = true;
  bool complets_ = false;
};

}  // namespace varnion
