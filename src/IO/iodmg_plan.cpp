#include "IO/iodmg_plan.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>

#include "IO/octets.hpp"
#include "IO/requete.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kListeMax = 256U << 20;
constexpr std::uint64_t kPlaceMax = std::numeric_limits<std::int64_t>::max();
constexpr std::uint32_t kControleCrc32 = 2;

struct FinDmg {
  std::array<char, 4> signature;
  be32 version;
  std::array<std::uint8_t, 16> reserve1;
  be64 debut_donnees;
  be64 longueur_donnees;
  std::array<std::uint8_t, 40> reserve2;
  be32 genre_donnees;
  be32 bits_donnees;
  be32 crc_donnees;
  std::array<std::uint8_t, 124> reserve6;
  be64 debut_liste;
  be64 longueur_liste;
  std::array<std::uint8_t, 120> reserve3;
  be32 genre_controle;
  be32 bits_controle;
  be32 crc;
  std::array<std::uint8_t, 128> reserve4;
  be64 secteurs;
  std::array<std::uint8_t, 12> reserve5;
};
static_assert(sizeof(FinDmg) == 512 && offsetof(FinDmg, debut_liste) == 216);

struct TeteTable {
  std::array<char, 4> signature;
  be32 version;
  be64 premier_secteur;
  be64 secteurs;
  be64 debut_donnees;
  std::array<std::uint8_t, 32> reserve;
  be32 genre_controle;
  be32 bits_controle;
  be32 crc;
  std::array<std::uint8_t, 124> reserve2;
  be32 entrees;
};
static_assert(sizeof(TeteTable) == 204);

struct EntreeTable {
  be32 type;
  be32 commentaire;
  be64 premier_secteur;
  be64 secteurs;
  be64 source;
  be64 comprime;
};
static_assert(sizeof(EntreeTable) == 40);

std::span<const std::uint8_t> octets_texte(std::string_view texte) {
  return {reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()};
}

void echoue(PlanDmg &plan, EtatDmg etat, int code = -1) {
  plan.fin.etat = etat;
  plan.fin.code = code;
  plan.fin.table = plan.fin.tables;
}

std::optional<FinDmg> lit_fin(const Fichier &source) {
  FinDmg fin;
  const std::int64_t taille = fichier_taille(source);
  if (taille < static_cast<std::int64_t>(sizeof fin)) return std::nullopt;
  std::span<std::uint8_t> octets(reinterpret_cast<std::uint8_t *>(&fin), sizeof fin);
  const auto position = static_cast<std::uint64_t>(taille) - sizeof fin;
  if (source.lire_a(octets, position) != static_cast<std::int64_t>(sizeof fin)) return std::nullopt;
  if (std::string_view(fin.signature.data(), 4) != "koly") return std::nullopt;
  return fin;
}

// The text of the list; what the file does not hold of it is left out.
std::optional<std::string> lit_liste(const Fichier &source, const FinDmg &fin, bool exacte) {
  const auto taille = static_cast<std::uint64_t>(fichier_taille(source));
  const std::uint64_t debut = fin.debut_liste;
  const std::uint64_t reste = debut > taille ? 0 : taille - debut;
  const std::uint64_t longueur = std::min<std::uint64_t>(fin.longueur_liste, reste);
  if (longueur > kListeMax || (exacte && longueur < fin.longueur_liste)) return std::nullopt;
  std::string liste(static_cast<std::size_t>(longueur), '\0');
  const std::int64_t lus =
      source.lire_a({reinterpret_cast<std::uint8_t *>(liste.data()), liste.size()}, debut);
  if (lus != static_cast<std::int64_t>(liste.size())) return std::nullopt;
  return liste;
}

// One tag of a property list.
struct Balise {
  std::string_view nom;  // "key", "/key"; that of an empty element ends in "/"
  std::size_t debut, fin;
};

std::optional<Balise> balise_suivante(std::string_view liste, std::size_t position) {
  const std::size_t debut = liste.find('<', position);
  if (debut == std::string_view::npos) return std::nullopt;
  const std::size_t fin = liste.find('>', debut);
  if (fin == std::string_view::npos) return std::nullopt;
  std::string_view nom = liste.substr(debut + 1, fin - debut - 1);
  if (nom.ends_with('/')) return Balise{nom, debut, fin + 1};
  return Balise{nom.substr(0, nom.find_first_of(" \t\r\n")), debut, fin + 1};
}

std::string_view texte_entre(std::string_view liste, const Balise &a, const Balise &b) {
  return liste.substr(a.fin, b.debut - a.fin);
}

bool type_comprime(std::uint32_t type) {
  return type == kDmgAdc || type == kDmgZlib || type == kDmgBzip2;
}
bool type_connu(std::uint32_t type) {
  return type == kDmgZero || type == kDmgBrut || type == kDmgIgnore || type_comprime(type);
}

bool trop_grand(const MorceauDmg &morceau) {
  return type_comprime(morceau.type) && (morceau.longueur > kMorceauMax || morceau.comprime > kMorceauMax);
}

bool a_crc(std::uint32_t genre, std::uint32_t bits) {
  return genre == kControleCrc32 && bits == 32;
}

// A place in bytes from sectors, kPlaceMax where it is out of every file.
std::uint64_t en_octets(std::uint64_t secteurs) {
  return secteurs > kPlaceMax / kTailleSecteur ? kPlaceMax : secteurs * kTailleSecteur;
}
std::uint64_t somme(std::uint64_t a, std::uint64_t b) {
  return a > kPlaceMax || b > kPlaceMax - a ? kPlaceMax : a + b;
}

struct Bornes {
  std::uint64_t fichier;  // bytes of the compressed image
  std::uint64_t image;    // sectors of the plain one, 0 where the trailer does not tell
  std::uint64_t donnees;  // start of the data fork
};

bool place_entree(const EntreeTable &entree, const TeteTable &tete, const Bornes &bornes,
                  MorceauDmg &morceau) {
  const std::uint64_t fin = somme(entree.premier_secteur, entree.secteurs);
  const std::uint64_t fin_image = somme(tete.premier_secteur, fin);
  if (fin_image > kPlaceMax / kTailleSecteur || (tete.secteurs != 0 && fin > tete.secteurs)) return false;
  if (bornes.image != 0 && fin_image > bornes.image) return false;
  morceau.cible = en_octets(somme(tete.premier_secteur, entree.premier_secteur));
  morceau.longueur = en_octets(entree.secteurs);
  if (morceau.nul()) return true;
  morceau.source = somme(somme(bornes.donnees, tete.debut_donnees), entree.source);
  morceau.comprime = morceau.type == kDmgBrut ? morceau.longueur : std::uint64_t{entree.comprime};
  return somme(morceau.source, morceau.comprime) <= bornes.fichier && !trop_grand(morceau);
}

// Adds one block table; false with the fault in the plan.
bool ajoute_table(PlanDmg &plan, std::string_view octets, const Bornes &bornes) {
  ++plan.fin.tables;
  const auto *tete = vue<TeteTable>(octets_texte(octets), 0);
  if (tete == nullptr || std::string_view(tete->signature.data(), 4) != "mish") {
    echoue(plan, EtatDmg::sans_table);
    return false;
  }
  plan.tables.push_back({a_crc(tete->genre_controle, tete->bits_controle), tete->crc});
  for (std::size_t rang = 0;; ++rang) {
    const auto *entree =
        vue<EntreeTable>(octets_texte(octets), sizeof(TeteTable) + rang * sizeof(EntreeTable));
    if (rang == tete->entrees || (entree != nullptr && entree->type == kDmgFin)) return true;
    MorceauDmg morceau;
    if (entree != nullptr) morceau.type = entree->type;
    if (entree != nullptr && morceau.type == kDmgCommentaire) continue;
    if (entree != nullptr && !type_connu(morceau.type)) {
      plan.fin.type = morceau.type;
      echoue(plan, EtatDmg::type_inconnu, static_cast<int>(morceau.type));
      return false;
    }
    morceau.table = static_cast<std::uint32_t>(plan.tables.size() - 1);
    morceau.controle = plan.tables.back().controle;
    if (entree == nullptr || !place_entree(*entree, *tete, bornes, morceau)) {
      echoue(plan, EtatDmg::table_fausse);
      return false;
    }
    if (morceau.longueur != 0) plan.morceaux.push_back(morceau);
    plan.octets = std::max(plan.octets, morceau.cible + morceau.longueur);
  }
}

std::uint64_t octets_nus(const PlanDmg &plan) {
  std::uint64_t nus = plan.octets;
  for (const MorceauDmg &morceau : plan.morceaux) nus -= morceau.longueur;
  return nus;
}

FourcheDmg fourche_donnees(const FinDmg &fin) {
  return {a_crc(fin.genre_donnees, fin.bits_donnees), fin.crc_donnees, fin.debut_donnees,
          fin.longueur_donnees};
}

bool se_recouvrent(const std::vector<MorceauDmg> &morceaux) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> places;
  places.reserve(morceaux.size());
  for (const MorceauDmg &morceau : morceaux) places.emplace_back(morceau.cible, morceau.longueur);
  std::sort(places.begin(), places.end());
  for (std::size_t i = 1; i < places.size(); ++i)
    if (places[i - 1].first + places[i - 1].second > places[i].first) return true;
  return false;
}

// Counts the bytes that will be written, and the compressed ones that several chunks name. An image may spare
// a few bytes so; one whose bytes are read twice over on the whole is damaged, or made to fill the disk.
void pese(PlanDmg &plan) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> places;  // start, end
  for (const MorceauDmg &morceau : plan.morceaux) {
    if (morceau.nul()) continue;
    plan.pleins = somme(plan.pleins, morceau.longueur);
    places.emplace_back(morceau.source, somme(morceau.source, morceau.comprime));
  }
  std::sort(places.begin(), places.end());
  std::uint64_t couvert = 0, fin = 0;
  for (const auto &[debut, bout] : places) {
    const std::uint64_t neuf = std::max(debut, fin);
    if (bout > neuf) couvert = somme(couvert, bout - neuf);
    const std::uint64_t commun = std::min(bout, fin);
    if (commun > debut) plan.partages = somme(plan.partages, commun - debut);
    fin = std::max(fin, bout);
  }
  if (plan.partages <= couvert) return;
  plan.morceaux.clear();
  echoue(plan, EtatDmg::partage);
}

// The usual reading looks at the low words only, and puts each chunk behind the one before.
MorceauDmg morceau_usuel(const EntreeTable &entree, const PlanDmg &plan) {
  MorceauDmg morceau;
  morceau.type = entree.type;
  morceau.table = static_cast<std::uint32_t>(plan.tables.size() - 1);
  morceau.cible = plan.octets;
  morceau.longueur = (entree.secteurs & 0xFFFFFFFFU) * kTailleSecteur;
  if (morceau.nul()) return morceau;
  morceau.source = entree.source;
  morceau.comprime = morceau.type == kDmgBrut ? morceau.longueur : entree.comprime & 0xFFFFFFFFU;
  return morceau;
}

bool ajoute_section_usuelle(PlanDmg &plan, std::string_view octets) {
  const auto *tete = vue<TeteTable>(octets_texte(octets), 0);
  if (tete == nullptr || std::string_view(tete->signature.data(), 4) != "mish") {
    echoue(plan, EtatDmg::sans_table);
    return false;
  }
  ++plan.fin.tables;
  plan.tables.push_back({});
  for (std::size_t place = sizeof(TeteTable);; place += sizeof(EntreeTable)) {
    const auto *entree = vue<EntreeTable>(octets_texte(octets), place);
    if (entree == nullptr || entree->type == kDmgFin) return true;
    if (entree->type == kDmgCommentaire) continue;
    if (!type_connu(entree->type)) {
      plan.fin.type = entree->type;
      echoue(plan, EtatDmg::type_inconnu, static_cast<int>(std::uint32_t{entree->type}));
      return false;
    }
    const MorceauDmg morceau = morceau_usuel(*entree, plan);
    if (trop_grand(morceau) || somme(plan.octets, morceau.longueur) == kPlaceMax) {
      echoue(plan, EtatDmg::table_fausse);
      return false;
    }
    if (morceau.longueur != 0 || morceau.comprime != 0) plan.morceaux.push_back(morceau);
    plan.octets += morceau.longueur;
  }
}

}  // namespace

bool a_fin_dmg(const Fichier &source) {
  return lit_fin(source).has_value();
}

bool section_suivante(std::string_view liste, std::size_t &position, std::string_view &section) {
  constexpr std::string_view kDebut = "<data>", kFin = "</data>";
  const std::size_t debut = liste.find(kDebut, position);
  if (debut == std::string_view::npos) return false;
  const std::size_t fin = liste.find(kFin, debut);
  if (fin == std::string_view::npos) return false;
  section = liste.substr(debut + kDebut.size(), fin - debut - kDebut.size());
  position = fin + kFin.size();
  return true;
}

std::vector<std::string_view> sections_blkx(std::string_view liste) {
  std::vector<std::string_view> sections;
  std::string_view cle;
  std::size_t position = 0, profondeur = 0;
  bool dans_blkx = false;
  while (const auto balise = balise_suivante(liste, position)) {
    position = balise->fin;
    if (balise->nom.starts_with("!--")) {
      const std::size_t fin = liste.find("-->", balise->debut);
      position = fin == std::string_view::npos ? liste.size() : fin + 3;
    } else if (balise->nom == "key" || (dans_blkx && balise->nom == "data" && cle == "Data")) {
      const auto fin = balise_suivante(liste, position);
      if (!fin) break;
      position = fin->fin;
      if (balise->nom == "key") {
        cle = texte_entre(liste, *balise, *fin);
      } else {
        sections.push_back(texte_entre(liste, *balise, *fin));
      }
    } else if (balise->nom == "array") {
      if (!dans_blkx && cle == "blkx") dans_blkx = true;
      if (dans_blkx) ++profondeur;
    } else if (balise->nom == "/array" && dans_blkx && --profondeur == 0) {
      break;
    }
  }
  return sections;
}

std::string decode_base64(std::string_view texte) {
  std::string octets;
  octets.reserve(texte.size() / 4 * 3 + 3);
  std::uint32_t groupe = 0;
  unsigned nombre = 0;
  const auto pose = [&] {
    for (const unsigned decalage : {16U, 8U, 0U}) octets += static_cast<char>(groupe >> decalage);
    groupe = 0;
    nombre = 0;
  };
  for (const char c : texte) {
    std::uint32_t valeur = 0;
    if (c >= 'A' && c <= 'Z') {
      valeur = static_cast<std::uint32_t>(c - 'A');
    } else if (c >= 'a' && c <= 'z') {
      valeur = static_cast<std::uint32_t>(c - 'a') + 26;
    } else if (c >= '0' && c <= '9') {
      valeur = static_cast<std::uint32_t>(c - '0') + 52;
    } else if (c == '+' || c == '/') {
      valeur = c == '+' ? 62 : 63;
    } else if (c != '=') {
      continue;
    }
    groupe |= valeur << (18 - 6 * nombre);
    if (++nombre == 4) pose();
  }
  if (nombre != 0) pose();
  return octets;
}

PlanDmg plan_entier(const Fichier &source) {
  PlanDmg plan;
  const auto fin = lit_fin(source);
  if (!fin) {
    echoue(plan, EtatDmg::sans_fin);
    return plan;
  }
  const auto liste = lit_liste(source, *fin, true);
  if (!liste) {
    echoue(plan, EtatDmg::fin_fausse);
    return plan;
  }
  const Bornes bornes{static_cast<std::uint64_t>(fichier_taille(source)), fin->secteurs, fin->debut_donnees};
  plan.octets = en_octets(fin->secteurs);
  const auto sections = sections_blkx(*liste);
  if (sections.empty() || plan.octets == kPlaceMax)
    echoue(plan, sections.empty() ? EtatDmg::sans_table : EtatDmg::fin_fausse);
  for (const std::string_view section : sections)
    if (!plan.fin.reussi() || !ajoute_table(plan, decode_base64(section), bornes)) break;
  if (plan.fin.reussi() && se_recouvrent(plan.morceaux)) echoue(plan, EtatDmg::table_fausse);
  if (!plan.fin.reussi()) plan.morceaux.clear();
  pese(plan);
  plan.fin.tables = static_cast<std::uint32_t>(sections.size());
  plan.octets_nus = plan.fin.reussi() ? octets_nus(plan) : 0;
  plan.controle = a_crc(fin->genre_controle, fin->bits_controle);
  plan.crc = fin->crc;
  plan.donnees = fourche_donnees(*fin);
  return plan;
}

// The version number of the trailer bounds the sections that are read. It has nothing to do with their
// number: a list of more tables is cut short without a fault. Kept as it stands.
PlanDmg plan_usuel(const Fichier &source) {
  PlanDmg plan;
  const auto fin = lit_fin(source);
  if (!fin || fin->debut_liste != fin->longueur_donnees) {
    echoue(plan, fin ? EtatDmg::fin_fausse : EtatDmg::sans_fin);
    return plan;
  }
  const auto liste = lit_liste(source, *fin, false);
  if (!liste) {
    echoue(plan, EtatDmg::fin_fausse);
    return plan;
  }
  std::size_t position = 0;
  std::string_view section;
  for (std::uint32_t rang = 0; rang < fin->version; ++rang) {
    if (!section_suivante(*liste, position, section) || section.empty()) break;
    if (!ajoute_section_usuelle(plan, decode_base64(section))) break;
  }
  // An image without a byte is none.
  if (plan.fin.reussi() && plan.octets == 0) echoue(plan, EtatDmg::sans_table);
  pese(plan);
  return plan;
}

}  // namespace varnion
