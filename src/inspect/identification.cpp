#include "inspect/identification.hpp"

#include <algorithm>
#include <array>

#include "inspect/champs.hpp"
#include "IO/requete.hpp"

namespace varnion {

namespace {

constexpr std::uint16_t kMarqueAmorce = 0xAA55;
constexpr std::size_t kPlaceMarque = 0x1FE;

/// A sector with the two things that a test may ask for.
struct Examen {
  std::span<const std::uint8_t> octets;
  std::uint64_t numero;

  [[nodiscard]] unsigned octet(std::size_t place) const {
    return static_cast<unsigned>(nombre_gros(octets, place, 1));
  }
  [[nodiscard]] bool commence(std::size_t place, std::string_view texte) const {
    for (std::size_t i = 0; i < texte.size(); ++i)
      if (octet(place + i) != static_cast<unsigned char>(texte[i])) return false;
    return true;
  }
  [[nodiscard]] bool marque_amorce() const { return nombre_petit(octets, kPlaceMarque, 2) == kMarqueAmorce; }
};

bool est_hfsplus_ou_x(const Examen &e) {
  return e.octet(0) == 'H' && (e.octet(1) == '+' || e.octet(1) == 'X');
}

bool est_mdb(const Examen &e) {
  return e.commence(0, "BD");
}

bool est_pilotes(const Examen &e) {
  return e.commence(0, "ER") && nombre_gros(e.octets, 2, 2) % kTailleSecteur == 0;
}

bool est_partition(const Examen &e) {
  return e.commence(0, "PM");
}

// The kind of the node and the low byte of its record count: a header node has three records (TN1150).
bool est_entete_arbre(const Examen &e) {
  return e.octet(8) == 1 && e.octet(11) == 3;
}

bool est_noeud(const Examen &e, unsigned genre) {
  return e.octet(8) == genre && e.octet(9) >= 1 && e.octet(9) <= 8 && nombre_gros(e.octets, 10, 2) != 0;
}

bool est_feuille(const Examen &e) {
  return est_noeud(e, 0xFF);
}

bool est_index(const Examen &e) {
  return est_noeud(e, 0);
}

// Primary and supplementary descriptors alone (ECMA-119 8.4, 8.5).
bool est_descripteur(const Examen &e) {
  return (e.octet(0) == 1 || e.octet(0) == 2) && e.commence(1, "CD001");
}

// The first record of a path table names the root, which is its own parent: number 1 in the order of the
// table (ECMA-119 9.4).
bool est_table_chemins(const Examen &e) {
  if (e.octet(0) != 1) return false;
  return nombre_petit(e.octets, 6, 2) == (e.octet(2) == 0 ? 0x0100U : 1U);
}

// The records for the directory itself and its parent, 34 bytes each (ECMA-119 9.1).
bool est_repertoire(const Examen &e) {
  return e.octet(0) == 0x22 && e.octet(0x22) == 0x22;
}

bool est_fat(const Examen &e) {
  return e.octet(2) == 0x90 && e.marque_amorce();
}

bool est_mbr(const Examen &e) {
  return e.numero == 0 && e.marque_amorce();
}

struct Test {
  int code;
  bool (*passe)(const Examen &);
};
// The order decides: a sector that several tests would pass is what the first of them says.
constexpr Test kChaine[] = {
    {kCodeHfsPlus, est_hfsplus_ou_x},
    {kCodeMdb, est_mdb},
    {kCodePilotes, est_pilotes},
    {kCodePartition, est_partition},
    {kCodeEnteteArbre, est_entete_arbre},
    {kCodeFeuille, est_feuille},
    {kCodeIndex, est_index},
    {kCodeIso, est_descripteur},
    {kCodeChemins, est_table_chemins},
    {kCodeRepertoire, est_repertoire},
    {kCodeFat, est_fat},
    {kCodeMbr, est_mbr},
};

// No test yields 12, 13, 14 or 16; their forms are in the dispatch for a chain that would.
constexpr std::array<FormeSecteur, kCodesSecteur> kFormes{
    FormeSecteur::aucune,     FormeSecteur::hfsplus,      FormeSecteur::mdb,         FormeSecteur::pilotes,
    FormeSecteur::partition,  FormeSecteur::entete_arbre, FormeSecteur::feuille,     FormeSecteur::iso,
    FormeSecteur::chemins,    FormeSecteur::repertoire,   FormeSecteur::mbr,         FormeSecteur::fat,
    FormeSecteur::macbinaire, FormeSecteur::applesingle,  FormeSecteur::appledouble, FormeSecteur::index,
    FormeSecteur::gpt,
};

constexpr GenreAnalyse kGenres[] = {
    {FormeSecteur::hfsplus, kCodeHfsPlus, "TSectHPP", "hfsplus-header", 3234},
    {FormeSecteur::mdb, kCodeMdb, "TSectBD", "hfs-mdb", 3213},
    {FormeSecteur::pilotes, kCodePilotes, "TSectER", "driver-map", 3201},
    {FormeSecteur::partition, kCodePartition, "TSectPM", "partition-entry", 3206},
    {FormeSecteur::entete_arbre, kCodeEnteteArbre, "TSectB", "btree-header", 3253},
    {FormeSecteur::feuille, kCodeFeuille, "TSectND", "btree-leaf", 3286},
    {FormeSecteur::index, kCodeIndex, "TBranche", "btree-index", 3344},
    {FormeSecteur::iso, kCodeIso, "TSectISO", "iso-descriptor", 3266},
    {FormeSecteur::chemins, kCodeChemins, "TPathISO", "iso-path-table", 3275},
    {FormeSecteur::repertoire, kCodeRepertoire, "TRepISO", "iso-directory", 7520},
    {FormeSecteur::mbr, kCodeMbr, "TMBR", "mbr", 3294},
    {FormeSecteur::fat, kCodeFat, "TBoot", "fat-boot", 3299},
    {FormeSecteur::gpt, kCodeGpt, "Tefi", "gpt-header", 3359},
    {FormeSecteur::partitions_gpt, kCodeInconnu, "Tgptguid", "gpt-entries", 3380},
    {FormeSecteur::macbinaire, kCodeMacBinaire, "TMacBin", "macbinary", 3318},
    {FormeSecteur::applesingle, kCodeAppleSingle, "TAS", "applesingle", 3319},
    {FormeSecteur::appledouble, kCodeAppleDouble, "TAD", "appledouble", 3320},
    {FormeSecteur::tetes_mac, kCodeInconnu, "TTeteMac", "mac-headers", 3355},
};

}  // namespace

int code_secteur(std::span<const std::uint8_t> secteur, std::uint64_t numero) {
  const Examen examen{secteur, numero};
  for (const Test &test : kChaine)
    if (test.passe(examen)) return test.code;
  return kCodeInconnu;
}

int identifier_secteur(std::span<const std::uint8_t> secteur, std::uint32_t numero_bas,
                       std::uint32_t numero_haut) {
  const int code = code_secteur(secteur, std::uint64_t{numero_haut} << 32 | numero_bas);
  if (code == kCodePilotes)
    support().taille_bloc_carte = static_cast<std::uint16_t>(nombre_gros(secteur, 2, 2));
  return code;
}

FormeSecteur forme_de_code(int code, int mode_driver) {
  if (code < 0 || code >= kCodesSecteur) return FormeSecteur::aucune;
  const bool forme_seule = mode_driver == 1 || mode_driver == 3;
  if ((code == kCodePilotes || code == kCodePartition) && !forme_seule) return FormeSecteur::tetes_mac;
  return kFormes[static_cast<std::size_t>(code)];
}

FormeSecteur forme_de_code(int code) {
  return forme_de_code(code, support().mode_driver);
}

std::span<const GenreAnalyse> genres_analyse() {
  return kGenres;
}

const GenreAnalyse *genre_de(FormeSecteur forme) {
  const auto *trouve =
      std::find_if(std::begin(kGenres), std::end(kGenres), [&](const auto &g) { return g.forme == forme; });
  return trouve == std::end(kGenres) ? nullptr : trouve;
}

const GenreAnalyse *genre_nomme(std::string_view mot) {
  const auto *trouve =
      std::find_if(std::begin(kGenres), std::end(kGenres), [&](const auto &g) { return g.mot == mot; });
  return trouve == std::end(kGenres) ? nullptr : trouve;
}

}  // namespace varnion
