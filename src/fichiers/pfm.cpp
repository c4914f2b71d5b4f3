#include "fichiers/pfm.hpp"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "fichiers/largeurs_standard.hpp"
#include "fichiers/polices.hpp"
#include "IO/octets.hpp"

namespace varnion {

namespace {

constexpr std::string_view kBlancs = " \t\r\n";
constexpr std::string_view kTransfert = "Transferred by Tarrowby Systems";
constexpr std::string_view kAppareil = "PostScript";
constexpr std::uint16_t kChasseFixe = 600;
constexpr std::uint8_t kPremierCode = 0x20;

struct TetePfm {
  le16 version{0x100};                     // 0
  le32 taille;                             // 2
  std::array<std::uint8_t, 60> mention{};  // 6
  le16 type{0x81};                         // 66
  le16 points{10};                         // 68
  le16 resolution_v{300};                  // 70
  le16 resolution_h{300};                  // 72
  le16 montee;                             // 74
  le16 interligne_interne;                 // 76
  le16 interligne_externe;                 // 78
  std::uint8_t italique = 0;               // 80
  std::uint8_t souligne = 0;               // 81
  std::uint8_t barre = 0;                  // 82
  le16 graisse;                            // 83
  std::uint8_t jeu = 0;                    // 85
  le16 largeur_pixels;                     // 86
  le16 hauteur_pixels;                     // 88
  std::uint8_t chasse_famille = 0x21;      // 90   bit 0: widths vary
  le16 largeur_moyenne{500};               // 91
  le16 largeur_max{1000};                  // 93
  std::uint8_t premier = 0;                // 95
  std::uint8_t dernier = 0;                // 96
  std::uint8_t defaut = 0x75;              // 97   counted from the first
  std::uint8_t coupure = 0;                // 98
  le16 octets_rangee;                      // 99
  le32 appareil;                           // 101
  le32 face;                               // 105
  le32 bits_pointeur;                      // 109
  le32 bits_position;                      // 113
};
static_assert(sizeof(TetePfm) == 117);

struct ExtensionPfm {
  le16 taille{0x1E};  // 0
  le32 etm;           // 2
  le32 largeurs;      // 6
  le32 origines;      // 10
  le32 paires;        // 14
  le32 piste;         // 18
  le32 nom_police;    // 22   the PostScript name
  le32 reserve;       // 26
};
static_assert(sizeof(ExtensionPfm) == 30);

/// EXTTEXTMETRIC of every font made here, but for its last four words, which are zero.
constexpr std::array<std::uint16_t, 22> kEtm = {0x34,  0xF0, 1000,   3,    1000,  1000, 0x2A8, 0x1D6,
                                                0x2C4, 0xD8, 0xFE0C, 0xFA, 500,   500,  100,   50,
                                                50,    50,   25,     25,   0x195, 50};
constexpr std::size_t kTailleEtm = 52;
constexpr std::size_t kPlaceEtm = sizeof(TetePfm) + sizeof(ExtensionPfm);
constexpr std::size_t kPlaceAppareil = kPlaceEtm + kTailleEtm;
constexpr std::size_t kPlaceFace = kPlaceAppareil + kAppareil.size() + 1;
static_assert(kPlaceEtm == 0x93 && kPlaceAppareil == 199 && kPlaceFace == 0xD2);

std::string_view derriere(std::string_view texte, std::string_view cle) {
  const std::size_t place = texte.find(cle);
  return place == std::string_view::npos ? std::string_view() : texte.substr(place + cle.size());
}

std::string_view sans_blancs(std::string_view texte) {
  return texte.substr(std::min(texte.find_first_not_of(kBlancs), texte.size()));
}

/// Next word between blanks, taken off the text; "" at the end.
std::string_view mot(std::string_view &texte) {
  texte = sans_blancs(texte);
  const std::string_view lu = texte.substr(0, texte.find_first_of(kBlancs));
  texte.remove_prefix(lu.size());
  return lu;
}

/// Whole part of the number that the text begins with, taken off it with its fraction; 0 for none.
int entier(std::string_view &texte) {
  if (texte.starts_with('+')) texte.remove_prefix(1);
  int valeur = 0;
  const auto [fin, erreur] = std::from_chars(texte.data(), texte.data() + texte.size(), valeur);
  texte.remove_prefix(static_cast<std::size_t>(fin - texte.data()));
  texte.remove_prefix(std::min(texte.find_first_not_of("0123456789.eE+-"), texte.size()));
  return erreur == std::errc() ? valeur : 0;
}

std::array<int, 4> lit_boite(std::string_view texte) {
  std::array<int, 4> boite{};
  for (int &nombre : boite) {
    texte.remove_prefix(std::min(texte.find_first_not_of(" \t\r\n{["), texte.size()));
    nombre = entier(texte);
  }
  return boite;
}

bool nul(std::string_view texte) {
  std::string_view nombre = mot(texte);
  return nombre.find_first_of("123456789") == std::string_view::npos;
}

// "256 array … dup 65 /A put … def". A list without lines leaves the whole range.
void lit_liste(std::string_view texte, TraitsPostscript &traits) {
  int premier = 256, dernier = -1;
  for (std::string_view lu = mot(texte); !lu.empty() && lu != "def"; lu = mot(texte)) {
    if (lu != "dup") continue;
    std::string_view nombre = mot(texte);
    const bool chiffre = !nombre.empty() && nombre[0] >= '0' && nombre[0] <= '9';
    const int code = entier(nombre);
    if (!chiffre || code > 255) continue;
    premier = std::min(premier, code);
    dernier = std::max(dernier, code);
  }
  if (dernier < 0) return;
  traits.premier = static_cast<std::uint8_t>(premier);
  traits.dernier = static_cast<std::uint8_t>(dernier);
}

bool lit_codage(std::string_view texte, TraitsPostscript &traits) {
  texte = sans_blancs(texte);
  if (texte.starts_with("Standard")) return true;
  if (texte.empty() || texte[0] < '0' || texte[0] > '9') return false;
  lit_liste(texte, traits);
  return true;
}

// The table begins at code 20; what lies before has no width in it.
std::uint16_t largeur(const TraitsPostscript &traits, unsigned code) {
  if (traits.fixe) return kChasseFixe;
  return code < kPremierCode ? std::uint16_t{0} : kLargeursStandard[code - kPremierCode];
}

std::uint16_t mot16(int valeur) {
  return static_cast<std::uint16_t>(valeur);
}

TetePfm tete_pfm(const TraitsPostscript &traits) {
  TetePfm tete;
  std::copy(kTransfert.begin(), kTransfert.end(), tete.mention.begin());
  tete.montee = mot16(traits.boite[3]);
  const std::int64_t hauteur = std::int64_t{traits.boite[3]} - traits.boite[1];
  tete.interligne_interne = static_cast<std::uint16_t>(hauteur < 1000 ? 0 : hauteur - 1000);
  tete.italique = traits.italique ? 1 : 0;
  tete.graisse = static_cast<std::uint16_t>(traits.gras ? 700 : 400);
  // The published field is a height; the right edge of the box stands here.
  tete.hauteur_pixels = mot16(traits.boite[2]);
  if (traits.fixe) tete.chasse_famille &= 0xFE;
  tete.premier = traits.premier;
  tete.dernier = traits.dernier;
  tete.appareil = static_cast<std::uint32_t>(kPlaceAppareil);
  tete.face = static_cast<std::uint32_t>(kPlaceFace);
  return tete;
}

/// Puts `suite` at `place` and moves that behind it.
void pose(std::vector<std::uint8_t> &octets, std::size_t &place, std::span<const std::uint8_t> suite) {
  std::copy(suite.begin(), suite.end(), octets.begin() + static_cast<std::ptrdiff_t>(place));
  place += suite.size();
}

void pose_texte(std::vector<std::uint8_t> &octets, std::size_t &place, std::string_view texte) {
  pose(octets, place, {reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()});
  ++place;
}

}  // namespace

std::optional<TraitsPostscript> lit_traits_postscript(std::string_view texte) {
  TraitsPostscript traits;
  const auto nom = nom_postscript(texte);
  if (!nom) return std::nullopt;
  traits.nom = *nom;
  traits.boite = lit_boite(derriere(texte, "/FontBBox"));
  traits.italique = !nul(derriere(texte, "/ItalicAngle"));
  std::string_view graisse = derriere(texte, "/Weight");
  graisse.remove_prefix(std::min(graisse.find_first_not_of(" \t\r\n("), graisse.size()));
  traits.gras = graisse.starts_with("Bold");
  std::string_view fixe = derriere(texte, "/isFixed");
  (void)mot(fixe);  // "Pitch"
  traits.fixe = sans_blancs(fixe).starts_with("true");
  if (!lit_codage(derriere(texte, "/Encoding"), traits)) {
    std::fputs("Codage incompréhensible.\n", stderr);
    return std::nullopt;
  }
  return traits;
}

std::vector<std::uint8_t> fait_pfm(const TraitsPostscript &traits) {
  TetePfm tete = tete_pfm(traits);
  ExtensionPfm extension;
  const std::size_t lg_nom = traits.nom.size() + 1;
  const std::size_t codes = traits.dernier >= traits.premier ? traits.dernier - traits.premier + 1U : 0U;
  const std::size_t place_largeurs = kPlaceFace + 2 * lg_nom;
  extension.etm = static_cast<std::uint32_t>(kPlaceEtm);
  extension.nom_police = static_cast<std::uint32_t>(kPlaceFace + lg_nom);
  extension.largeurs = static_cast<std::uint32_t>(place_largeurs);
  tete.taille = static_cast<std::uint32_t>(place_largeurs + codes * sizeof(le16));
  std::vector<std::uint8_t> octets(tete.taille);
  std::size_t place = 0;
  pose(octets, place, octets_de(tete));
  pose(octets, place, octets_de(extension));
  for (const std::uint16_t valeur : kEtm) pose(octets, place, octets_de(le16(valeur)));
  place = kPlaceAppareil;
  pose_texte(octets, place, kAppareil);
  pose_texte(octets, place, traits.nom);
  pose_texte(octets, place, traits.nom);
  for (std::size_t i = 0; i < codes; ++i)
    pose(octets, place, octets_de(le16(largeur(traits, static_cast<unsigned>(traits.premier + i)))));
  return octets;
}

}  // namespace varnion
