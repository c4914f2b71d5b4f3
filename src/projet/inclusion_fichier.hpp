#pragma once

#include <string>

#include "IO/fichier.hpp"
#include "IO/plateforme.hpp"
#include "projet/format.hpp"

// Recognition of one file by the inclusion scan.

namespace varnion {

/// A file about to become an item.
struct SourceInclusion {
  const plateforme::DonneesRecherche &entree;
  std::string chemin;               ///< path that opens it
  std::string nom;                  ///< name that the item keeps, working text
  bool compagnon_possible = false;  ///< a "._" file may lie beside it
  bool hfsplus = false;             ///< format of the project
  bool flux_possible = true;        ///< false: the file surely has no alternate stream
};

/// Fills coding, fork lengths, type and creator, flags and dates of an item from its open source. Data is
/// decoded only where a BinHex head announces more than its text should hold. `lg_source` is set before. A
/// file whose name comes out of its container gets it as `nom_hfs`.
void reconnait_fichier(RubriqueProjet &rubrique, const Fichier &fichier, const SourceInclusion &source);

/// Dates of an item from its disk entry, a date of the item that is not 0 staying as it is.
void dates_rubrique(RubriqueProjet &rubrique, const plateforme::DonneesRecherche &entree);
/// A creation later than the last change takes its date.
void ordonne_dates(RubriqueProjet &rubrique);

}  // namespace varnion
