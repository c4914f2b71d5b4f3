#include "fichiers/polices.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "fichiers/mode_copie.hpp"
#include "IO/etat.hpp"
#include "IO/octets.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kConvertir = 1125;
constexpr int kSansPolice = 1126;
constexpr std::size_t kNomQuestion = 40;
constexpr std::size_t kNomMessage = 80;
constexpr std::string_view kCleNom = "/FontName /";
constexpr std::size_t kNomPostscriptMax = 127;
constexpr std::uint64_t kTableMax = std::uint64_t{1} << 20;

/// Answers kept: 1 always, -1 never, 0 ask.
struct EtatPolices {
  std::array<int, 3> retenues{};
  bool sans_police_tu = false;
};

struct TeteSfnt {
  be32 version;       // 0
  be16 nb_tables;     // 4
  be16 recherche[3];  // 6
};
static_assert(sizeof(TeteSfnt) == 12);

struct TableSfnt {
  std::array<std::uint8_t, 4> nom{};  // 0
  be32 controle;                      // 4
  be32 position;                      // 8
  be32 longueur;                      // 12
};
static_assert(sizeof(TableSfnt) == 16);

struct TeteNoms {
  be16 format;   // 0
  be16 nombre;   // 2
  be16 chaines;  // 4
};
static_assert(sizeof(TeteNoms) == 6);

struct FicheNom {
  be16 plateforme;  // 0
  be16 codage;      // 2
  be16 langue;      // 4
  be16 numero;      // 6
  be16 longueur;    // 8
  be16 position;    // 10
};
static_assert(sizeof(FicheNom) == 12);

constexpr std::uint16_t kMacintosh = 1, kWindows = 3, kNomPostScript = 6, kAnglaisAmericain = 0x0409;

bool convient(const FicheNom &fiche) {
  if (fiche.numero != kNomPostScript || fiche.codage != 0) return false;
  return (fiche.plateforme == kMacintosh && fiche.langue == 0) ||
         (fiche.plateforme == kWindows && fiche.langue == kAnglaisAmericain);
}

std::string texte_de_nom(const FicheNom &fiche, std::span<const std::uint8_t> octets) {
  octets = octets.first(std::min(octets.size(), kNomPoliceMax));
  if (fiche.plateforme == kMacintosh)
    return nom_windows({reinterpret_cast<const char *>(octets.data()), octets.size()});
  std::u16string large;
  for (std::size_t i = 0; i + 1 < octets.size(); i += 2)
    large += static_cast<char16_t>(*vue<be16>(octets, i));
  return plateforme::large_vers_texte(large);
}

/// At most `limite` bytes of a range of a file, empty on a failed read.
std::vector<std::uint8_t> lit_plage(const Fichier &fichier, PlageFourche plage, std::uint64_t limite) {
  std::vector<std::uint8_t> octets(static_cast<std::size_t>(std::min(plage.longueur, limite)));
  const std::int64_t lus = fichier.lire_a(octets, plage.position);
  octets.resize(static_cast<std::size_t>(std::max<std::int64_t>(lus, 0)));
  return octets;
}

PlageFourche table_noms(const Fichier &fichier, PlageFourche police) {
  const auto repertoire = lit_plage(fichier, police, sizeof(TeteSfnt) + 0xFFFF * sizeof(TableSfnt));
  const auto *tete = vue<TeteSfnt>(repertoire, 0);
  if (tete == nullptr) return {};
  for (std::size_t i = 0; i < tete->nb_tables; ++i) {
    const auto *table = vue<TableSfnt>(repertoire, sizeof(TeteSfnt) + i * sizeof(TableSfnt));
    if (table == nullptr) break;
    if (std::string_view(reinterpret_cast<const char *>(table->nom.data()), 4) != "name") continue;
    const PlageFourche plage = plage_bornee(table->position, table->longueur, police.longueur);
    return {police.position + plage.position, plage.longueur};
  }
  return {};
}

}  // namespace

bool est_police_mac(std::string_view type) {
  return type == "LWFN" || type == "tfil" || type == "FFIL";
}

bool veut_convertir_police(CotePolices cote, std::string_view nom) {
  const std::uint32_t bit = cote == CotePolices::mac ? kPolicesMac : kPolicesPc;
  if ((mode_copie() & bit) != 0) return true;
  int &retenue = etat<EtatPolices>().retenues[static_cast<std::size_t>(cote)];
  if (retenue != 0) return retenue > 0;
  const int reponse = operations().demander_tous(message(kConvertir, {tronque_chemin(nom, kNomQuestion)}));
  if (reponse == 2) mode_copie() |= bit;
  if (reponse == 2 || reponse == -1) retenue = reponse;
  return reponse > 0;
}

void annonce_sans_police(std::string_view nom) {
  bool &tu = etat<EtatPolices>().sans_police_tu;
  if (!tu) tu = operations().annoncer_retenir(message(kSansPolice, {tronque_chemin(nom, kNomMessage)}));
}

std::optional<std::string> nom_postscript(std::string_view texte) {
  const std::size_t place = texte.find(kCleNom);
  if (place == std::string_view::npos) return std::nullopt;
  texte = texte.substr(place + kCleNom.size(), kNomPostscriptMax);
  texte = texte.substr(0, texte.find_first_of(std::string_view(" \t\r\n\0", 5)));
  if (texte.empty()) return std::nullopt;
  return std::string(texte);
}

std::optional<std::string> nom_truetype(const Fichier &fichier, PlageFourche police) {
  const auto octets = lit_plage(fichier, table_noms(fichier, police), kTableMax);
  const auto *tete = vue<TeteNoms>(octets, 0);
  if (tete == nullptr) return std::nullopt;
  for (std::size_t i = 0; i < tete->nombre; ++i) {
    const auto *fiche = vue<FicheNom>(octets, sizeof(TeteNoms) + i * sizeof(FicheNom));
    if (fiche == nullptr) break;
    if (!convient(*fiche)) continue;
    const PlageFourche plage =
        plage_bornee(std::uint64_t{tete->chaines} + fiche->position, fiche->longueur, octets.size());
    std::string nom =
        texte_de_nom(*fiche, std::span(octets).subspan(static_cast<std::size_t>(plage.position),
                                                       static_cast<std::size_t>(plage.longueur)));
    if (!nom.empty()) return nom;
  }
  return std::nullopt;
}

}  // namespace varnion
