#include <algorithm>
#include <array>
#include <span>

#include "compil/execution.hpp"
#include "fichiers/applesimple.hpp"
#include "fichiers/macbinaire.hpp"
#include "IO/ecarts.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kFluxEcarte = 6310;                   // path
constexpr int kFluxEcarteJournal = 6312;            // path
constexpr std::int64_t kEpoqueMac = 2'082'844'800;  ///< seconds from 1904 to 1970

/// Apple's system-use field for a file of a Macintosh disk.
struct SuiteApple {
  std::array<char, 2> marque{'A', 'A'};  // 0
  std::uint8_t longueur = kSuiteApple;   // 2
  std::uint8_t version = 2;              // 3
  std::array<char, 8> signature{};       // 4  type, creator
  be16 drapeaux_finder;                  // 12 zero under the classic rule
};
static_assert(sizeof(SuiteApple) == kSuiteApple);

/// Date of a file that has a Macintosh form: seconds since 1904, local time, as the project keeps them; the
/// date of the source where its container gave none. Under the classic rule the local time is written as if
/// it were universal, and the year modulo 100.
DateRepertoire date_mac_repertoire(std::uint32_t secondes_1904, std::int64_t source) {
  const std::int64_t secondes = std::int64_t{secondes_1904} - kEpoqueMac;
  if (publie(Ecart::annees_iso))
    return date_repertoire(secondes_1904 == 0 ? source : secondes + plateforme::biais_fuseau());
  DateRepertoire date = date_repertoire(secondes);
  date[0] = static_cast<std::uint8_t>(plateforme::date_utc(secondes).annee % 100);
  return date;
}

/// The flag that an Apple container gives to its file.
std::uint16_t drapeaux_icone(const RubriqueProjet &rubrique) {
  return rubrique.icone_perso() ? kFinderIcone : 0;
}

std::span<const std::uint8_t> octets(const std::string &nom) {
  return {reinterpret_cast<const std::uint8_t *>(nom.data()), nom.size()};
}

}  // namespace

bool Execution::place_paire(const Source &source, const OrigineFourche &rsrc, const OrigineFourche &data,
                            const DateRepertoire &date, std::uint16_t finder, RepertoiresOuverts &ouverts) {
  const RubriqueProjet &r = source.rubrique;
  SuiteApple suite;
  suite.signature = r.signature;
  if (publie(Ecart::fourches_iso))
    suite.drapeaux_finder = static_cast<std::uint16_t>(finder | (r.cache_iso() != 0 ? kFinderInvisible : 0));
  const NomsIso::Paire noms = ouverts.noms.fichier_apple(r, source.donnees);
  const std::string joliet = octets_joliet(
      ouverts.noms_joliet.place_apple(r, source.donnees, ctx_.projet->hfsplus()), source.chemin);
  std::uint64_t secteur = debut_donnees_ + bloc_courant_;
  const auto fiche = [&](const OrigineFourche &fourche, std::uint8_t drapeaux, const std::string &nom) {
    FicheRepertoire f;
    f.extent = fourche.longueur == 0 ? 0 : static_cast<std::uint32_t>(secteur);
    f.taille = static_cast<std::uint32_t>(fourche.longueur);
    f.date = date;
    f.drapeaux = static_cast<std::uint8_t>(drapeaux | (r.cache_iso() != 0 ? kDrapeauCache : 0));
    ouverts.iso->ajoute(f, octets(nom), octets_de(suite));
    ouverts.joliet->ajoute(f, octets(joliet), octets_de(suite));
    secteur += quotient_haut<std::uint64_t>(fourche.longueur, kSecteurIso);
  };
  // A reader expects an associated file right ahead of the file it belongs to.
  if (!noms.ressource.empty()) fiche(rsrc, kDrapeauAssocie, noms.ressource);
  fiche(data, 0, noms.data);
  Fourche ecrite;
  return copie_fourche(rsrc.fichier, rsrc.position, rsrc.longueur, source, ecrite) &&
         copie_fourche(data.fichier, data.position, data.longueur, source, ecrite);
}

bool Execution::iso_plain(const Source &source, RepertoiresOuverts &ouverts) {
  const Fichier aucun;
  return place_paire(source, {aucun}, {source.fichier, 0, source.taille},
                     date_repertoire(source.donnees.modification), 0, ouverts);
}

bool Execution::iso_double(const Source &source, RepertoiresOuverts &ouverts) {
  const RubriqueProjet &r = source.rubrique;
  const Fichier compagnon = ouvre_compagnon(source.chemin);
  const PlageFourche plage =
      compagnon.ouvert() ? plage_verifiee(compagnon, kMagieAppleDouble, kEntreeRessource) : PlageFourche{};
  return place_paire(source, {compagnon, plage.position, r.lg_rsrc}, {source.fichier, 0, source.taille},
                     date_mac_repertoire(r.date_modif, source.donnees.modification), drapeaux_icone(r),
                     ouverts);
}

bool Execution::iso_single(const Source &source, RepertoiresOuverts &ouverts) {
  const RubriqueProjet &r = source.rubrique;
  const PlageFourche data = plage_verifiee(source.fichier, kMagieAppleSingle, kEntreeData);
  const PlageFourche rsrc = plage_verifiee(source.fichier, kMagieAppleSingle, kEntreeRessource);
  return place_paire(
      source, {source.fichier, rsrc.position, r.lg_rsrc}, {source.fichier, data.position, r.lg_data},
      date_mac_repertoire(r.date_modif, source.donnees.modification), drapeaux_icone(r), ouverts);
}

bool Execution::iso_macbinary(const Source &source, RepertoiresOuverts &ouverts) {
  const RubriqueProjet &r = source.rubrique;
  FormeMacBinaire forme;
  if (!forme_macbinaire(source, forme)) return false;
  return place_paire(source, {*forme.fichier, forme.base + position_ressource(r.lg_data), r.lg_rsrc},
                     {*forme.fichier, forme.base + sizeof(TeteMacBinaire), r.lg_data},
                     date_mac_repertoire(r.date_modif, source.donnees.modification), forme.drapeaux, ouverts);
}

bool Execution::inclusion_apple(const Source &source, RepertoiresOuverts &ouverts) {
  switch (forme_apple(source.rubrique)) {
    case FormeApple::simple:
      break;
    case FormeApple::appledouble:
      return iso_double(source, ouverts);
    case FormeApple::applesingle:
      return iso_single(source, ouverts);
    case FormeApple::macbinaire:
      return iso_macbinary(source, ouverts);
    case FormeApple::absente:
      operations().journal(GenreJournal::information, message(kFluxEcarteJournal, {source.chemin}));
      remarque(kFluxEcarte, source.chemin);
      return true;
  }
  return iso_plain(source, ouverts);
}

}  // namespace varnion
