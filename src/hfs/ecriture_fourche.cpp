#include <algorithm>
#include <optional>
#include <vector>

#include "hfs/carte_volume.hpp"
#include "hfs/extents.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kMessagePlein = 1073;
constexpr int kMessageFragmente = 1159;
constexpr std::uint32_t kSecteursParFois = 64;

// Writes one run from the source; what the source does not reach is zero.
bool ecrit_suite(const SourceFourche &source, std::uint64_t &reste, SuiteBlocs suite) {
  std::vector<std::uint8_t> tampon(std::size_t{kSecteursParFois} * kTailleSecteur);
  std::uint64_t secteurs = secteurs_de_blocs(suite.nombre);
  std::uint64_t secteur = secteur_de_bloc(suite.debut);
  const std::uint64_t pas = secteurs / kSecteursParFois + 1;
  const bool jauge = secteurs > kSecteursParFois;
  if (jauge) operations().progression_debut(pas);
  bool fait = true;
  while (fait && secteurs > 0) {
    const auto nombre = static_cast<std::uint32_t>(std::min<std::uint64_t>(secteurs, kSecteursParFois));
    const std::size_t octets =
        static_cast<std::size_t>(std::min<std::uint64_t>(reste, std::uint64_t{nombre} * kTailleSecteur));
    std::fill(tampon.begin(), tampon.end(), std::uint8_t{0});
    fait = octets == 0 || source.lit(std::span(tampon).first(octets));
    if (fait) ecrit_volume(tampon.data(), secteur, nombre);
    reste -= octets;
    secteur += nombre;
    secteurs -= nombre;
    fait = fait && support().echec_ecriture == 0;
    if (jauge) operations().progression_pas(1);
  }
  if (jauge) operations().progression_fin();
  return fait;
}

// What differs between the two: the width of an extent, and which allocator is asked.
struct FourcheHfs {
  using Extents = ExtentsHfs;
  static ExtentHfs extent(SuiteBlocs s) {
    return {static_cast<std::uint16_t>(s.debut), static_cast<std::uint16_t>(s.nombre)};
  }
  static std::optional<SuiteBlocs> alloue(std::uint32_t voulus) { return alloue_hfs(voulus); }
  static void libere(const Extents &extents) { libere_extents_hfs(extents); }
};
struct FourcheHfsPlus {
  using Extents = ExtentsPlus;
  static ExtentPlus extent(SuiteBlocs s) { return {s.debut, s.nombre}; }
  static std::optional<SuiteBlocs> alloue(std::uint32_t voulus) { return alloue_hfsplus(voulus); }
  static void libere(const Extents &extents) { libere_extents_hfsplus(extents); }
};

template <typename F>
bool copie_fourche(const SourceFourche &source, typename F::Extents &extents, std::string_view nom) {
  extents = {};
  const std::uint32_t taille_bloc = volume_courant().taille_bloc;
  std::uint64_t reste = source.longueur;
  std::uint64_t blocs = taille_bloc != 0 ? quotient_haut<std::uint64_t>(reste, taille_bloc) : UINT64_MAX;
  bool fait = blocs <= carte_allocation().nb_blocs;
  if (!fait) operations().afficher_erreur(charger_chaine(kMessagePlein));
  for (std::size_t i = 0; fait && blocs != 0 && i < extents.size(); ++i) {
    const auto suite = F::alloue(static_cast<std::uint32_t>(blocs));
    fait = suite.has_value();
    if (!fait) break;
    extents[i] = F::extent(*suite);
    operations().journal(GenreJournal::brut,
                         formate("%s\t%d\t%u\t%u\r\n", {nom, i, suite->debut, suite->nombre}));
    fait = ecrit_suite(source, reste, *suite);
    blocs -= suite->nombre;
  }
  if (fait && blocs != 0) {
    operations().afficher_erreur(charger_chaine(kMessageFragmente));
    fait = false;
  }
  if (fait) return true;
  F::libere(extents);
  extents = {};
  return false;
}

}  // namespace

SourceFourche source_octets(std::span<const std::uint8_t> octets) {
  return {octets.size(), [octets](std::span<std::uint8_t> sortie) mutable {
            if (sortie.size() > octets.size()) return false;
            std::copy_n(octets.begin(), sortie.size(), sortie.begin());
            octets = octets.subspan(sortie.size());
            return true;
          }};
}

SourceFourche source_fichier(const Fichier &fichier, std::uint64_t position, std::uint64_t longueur) {
  return {longueur, [&fichier, position](std::span<std::uint8_t> sortie) mutable {
            if (fichier.lire_a(sortie, position) != static_cast<std::int64_t>(sortie.size())) return false;
            position += sortie.size();
            return true;
          }};
}

bool copie_fourche_hfs(const SourceFourche &source, ExtentsHfs &extents, std::string_view nom) {
  return copie_fourche<FourcheHfs>(source, extents, nom);
}
bool copie_fourche_hfsplus(const SourceFourche &source, ExtentsPlus &extents, std::string_view nom) {
  return copie_fourche<FourcheHfsPlus>(source, extents, nom);
}

}  // namespace varnion
