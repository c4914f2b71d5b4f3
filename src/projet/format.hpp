#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "IO/octets.hpp"

// The records of a project file: a flat array of 756 bytes each, the head first. Numbers are little-endian.

namespace varnion {

constexpr std::size_t kTailleRubrique = 756;
constexpr std::uint32_t kRacine = 1;              ///< folder number of the root; its record is the head
constexpr std::uint32_t kPremierCompteur = 0x11;  ///< `dernier_dossier` of a new file
constexpr std::uint32_t kDossierFond = 0x11;      ///< number of the folder ".!Background"
constexpr std::string_view kNomDossierFond = ".!Background";
constexpr std::string_view kCheminVirtuel = "..";  ///< `chemin` of a folder without a source on disk
constexpr std::size_t kNomIsoMax = 62;             ///< bytes of a name in the ISO view, and in the HFS+ view
constexpr std::size_t kNomHfsplusMax = 62;
constexpr std::uint32_t kItemsHfsMax = 65535;   ///< items of a classic HFS view
constexpr std::uint32_t kSecteurProjet = 2048;  ///< bytes of a sector in estimates

/// The views, and what a folder's membership yields.
enum Vue : int {
  kVueIso = 0,
  kVueRacine = 1,  ///< everything
  kVueHfs = 2,
};

/// Values of the two-bit view fields. The sign bit (bit 1) alone tells a missing source.
constexpr std::uint8_t kHorsVue = 0;
constexpr std::uint8_t kDansVue = 1;
constexpr std::uint8_t kManquant = 3;

/// How the forks are stored on the PC.
enum class Codage : std::uint8_t {
  aucun = 0,  ///< one plain file, data fork only
  ntfs = 1,   ///< streams ":AFP_Resource" and ":AFP_AfpInfo"
  apple = 2,  ///< AppleDouble or AppleSingle, told apart by the flags of the HFS view byte
  macbinary = 3,
  binhex = 4,
};

// --- text fields

/// Text of a field up to its NUL, or the whole field where there is none.
template <std::size_t N>
[[nodiscard]] std::string lit_champ(const std::array<char, N> &champ) {
  std::size_t longueur = 0;
  while (longueur < N && champ[longueur] != '\0') ++longueur;
  return {champ.data(), longueur};
}

/// Puts a text and its NUL in a field, zeros behind. False, with the field as it was, when it does not fit.
template <std::size_t N>
[[nodiscard]] bool ecrit_champ(std::array<char, N> &champ, std::string_view texte) {
  if (texte.size() >= N) return false;
  champ.fill('\0');
  texte.copy(champ.data(), texte.size());
  return true;
}

/// The same, cut at `limite` bytes and at the field's room.
template <std::size_t N>
void ecrit_champ_coupe(std::array<char, N> &champ, std::string_view texte, std::size_t limite = N - 1) {
  const std::size_t place = limite < N - 1 ? limite : N - 1;
  static_cast<void>(ecrit_champ(champ, texte.substr(0, place)));
}

/// For the fields that may be full to the last byte, without a NUL. False when the text is longer.
template <std::size_t N>
[[nodiscard]] bool ecrit_champ_plein(std::array<char, N> &champ, std::string_view texte) {
  if (texte.size() > N) return false;
  champ.fill('\0');
  texte.copy(champ.data(), texte.size());
  return true;
}

namespace bits {
[[nodiscard]] constexpr bool bit(std::uint8_t octet, unsigned rang) {
  return ((octet >> rang) & 1U) != 0;
}
[[nodiscard]] constexpr std::uint8_t avec_bit(std::uint8_t octet, unsigned rang, bool valeur) {
  return static_cast<std::uint8_t>((octet & ~(1U << rang)) | ((valeur ? 1U : 0U) << rang));
}
[[nodiscard]] constexpr std::uint8_t paire(std::uint8_t octet, unsigned rang) {
  return static_cast<std::uint8_t>((octet >> rang) & 3U);
}
[[nodiscard]] constexpr std::uint8_t avec_paire(std::uint8_t octet, unsigned rang, std::uint8_t valeur) {
  return static_cast<std::uint8_t>((octet & ~(3U << rang)) | ((valeur & 3U) << rang));
}
}  // namespace bits

// --- the head

/// Record 0. `version` (1) lies where an item has its number, and the two counts where an item has its
/// lengths: the head is the root's own record.
struct EnteteProjet {
  std::array<char, 4> magie{};               // 0x000 "VNRQ"
  le32 version;                              // 0x004
  le32 dernier_dossier;                      // 0x008 last folder number given
  std::uint8_t reserve = 0;                  // 0x00C
  std::uint8_t options_format = 0;           // 0x00D bits 0-1: 0 HFS, 1 HFS+
  std::uint8_t options_disque = 0;           // 0x00E bit 0 open the root, bit 5 rebuild before a compile
  std::uint8_t options_icone = 0;            // 0x00F bit 2 custom icon
  le32 lg_data;                              // 0x010 folders directly in the root
  le32 lg_rsrc;                              // 0x014 files directly in the root
  le32 compte_hfs;                           // 0x018 items in the HFS view at the last save
  le32 compte_iso;                           // 0x01C items in the ISO view at the last save
  std::array<char, 32> id_systeme{};         // 0x020
  std::array<char, 128> id_jeu_volumes{};    // 0x040
  std::array<char, 128> id_editeur{};        // 0x0C0
  std::array<char, 128> id_preparateur{};    // 0x140
  std::array<char, 128> id_application{};    // 0x1C0
  std::array<char, 12> fichier_copyright{};  // 0x240 no NUL when full; the same for the next two
  std::array<char, 12> fichier_resume{};     // 0x24C
  std::array<char, 12> fichier_biblio{};     // 0x258
  le32 dernier_fichier;                      // 0x264 last file number given, as a positive count
  le64 taille_secteurs;                      // 0x268 estimated payload, 2048-byte sectors
  std::array<char, 68> label_iso{};          // 0x270
  std::array<char, 64> label_hfs{};          // 0x2B4 Mac Roman for classic HFS, working text for HFS+

  [[nodiscard]] bool hfsplus() const { return bits::paire(options_format, 0) == 1; }
  void hfsplus(bool valeur) { options_format = bits::avec_paire(options_format, 0, valeur ? 1 : 0); }
  [[nodiscard]] bool ouvrir_racine() const { return bits::bit(options_disque, 0); }
  void ouvrir_racine(bool valeur) { options_disque = bits::avec_bit(options_disque, 0, valeur); }
  [[nodiscard]] bool reconstruire() const { return bits::bit(options_disque, 5); }
  void reconstruire(bool valeur) { options_disque = bits::avec_bit(options_disque, 5, valeur); }
  [[nodiscard]] bool icone_volume() const { return bits::bit(options_icone, 2); }
  void icone_volume(bool valeur) { options_icone = bits::avec_bit(options_icone, 2, valeur); }
};

static_assert(sizeof(EnteteProjet) == kTailleRubrique && alignof(EnteteProjet) == 1);
static_assert(offsetof(EnteteProjet, options_format) == 0x00D && offsetof(EnteteProjet, lg_data) == 0x010);
static_assert(offsetof(EnteteProjet, id_systeme) == 0x020 && offsetof(EnteteProjet, id_application) == 0x1C0);
static_assert(offsetof(EnteteProjet, fichier_copyright) == 0x240 &&
              offsetof(EnteteProjet, dernier_fichier) == 0x264);
static_assert(offsetof(EnteteProjet, taille_secteurs) == 0x268 &&
              offsetof(EnteteProjet, label_iso) == 0x270 && offsetof(EnteteProjet, label_hfs) == 0x2B4);

// --- an item

/// Records 1 to n: a file or folder of the future CD-ROM.
struct RubriqueProjet {
  le32 pere;                           // 0x000 number of the folder that holds the item
  le32 numero;                         // 0x004 folders: positive; files: negative
  le32 reserve1;                       // 0x008
  std::uint8_t octet_iso = 0;          // 0x00C `vue_iso`, by the accessors below
  std::uint8_t octet_hfs = 0;          // 0x00D `vue_hfs`
  std::uint8_t octet_etat = 0;         // 0x00E `etat`
  std::uint8_t octet_codage = 0;       // 0x00F `codage`
  le32 lg_data;                        // 0x010 bytes of the data fork; folders: folders directly included
  le32 lg_rsrc;                        // 0x014 bytes of the resource fork; folders: files directly included
  le32 lg_source;                      // 0x018 bytes of the source on the PC, low 32 bits
  std::array<char, 36> reserve2{};     // 0x01C
  le32 date_creation;                  // 0x040 seconds since 1904, local time
  le32 date_modif;                     // 0x044
  std::array<char, 30> reserve3{};     // 0x048
  std::array<char, 8> signature{};     // 0x066 type, creator
  std::array<char, 2> reserve4{};      // 0x06E
  std::array<char, 256> chemin{};      // 0x070 folder of the source, closed by a separator; ".." for none
  std::array<char, 244> nom_source{};  // 0x170
  std::array<char, 12> nom_court{};    // 0x264 8.3 name, no NUL when full
  std::array<char, 68> nom_iso{};      // 0x270
  std::array<char, 64> nom_hfs{};      // 0x2B4 Mac Roman for classic HFS, working text for HFS+; behind the
                                       //       NUL perhaps a name of the other format (nom_autre_format)

  [[nodiscard]] std::int32_t numero_signe() const {
    return static_cast<std::int32_t>(numero.operator unsigned());
  }
  [[nodiscard]] bool est_dossier() const { return numero_signe() > 0; }
  [[nodiscard]] bool est_virtuel() const { return lit_champ(chemin) == kCheminVirtuel; }

  /// Two-bit view fields: kHorsVue, kDansVue or kManquant. Any non-zero value is membership.
  [[nodiscard]] std::uint8_t vue_iso() const { return bits::paire(octet_iso, 0); }
  void vue_iso(std::uint8_t valeur) { octet_iso = bits::avec_paire(octet_iso, 0, valeur); }
  [[nodiscard]] std::uint8_t vue_hfs() const { return bits::paire(octet_hfs, 0); }
  void vue_hfs(std::uint8_t valeur) { octet_hfs = bits::avec_paire(octet_hfs, 0, valeur); }
  [[nodiscard]] bool dans_iso() const { return vue_iso() != kHorsVue; }
  [[nodiscard]] bool dans_hfs() const { return vue_hfs() != kHorsVue; }
  [[nodiscard]] bool dans_vue(int vue) const {
    return vue == kVueRacine || (vue == kVueIso ? dans_iso() : dans_hfs());
  }
  /// Marked "Missing File/Folder" in one of the views.
  [[nodiscard]] bool manquant() const { return bits::bit(octet_iso, 1) || bits::bit(octet_hfs, 1); }

  /// The HFS name was taken from the Unicode name.
  [[nodiscard]] bool nom_unicode() const { return bits::bit(octet_hfs, 2); }
  void nom_unicode(bool valeur) { octet_hfs = bits::avec_bit(octet_hfs, 2, valeur); }
  /// A companion named "._" and the name was found.
  [[nodiscard]] bool est_appledouble() const { return bits::bit(octet_hfs, 3); }
  void est_appledouble(bool valeur) { octet_hfs = bits::avec_bit(octet_hfs, 3, valeur); }
  [[nodiscard]] bool est_applesingle() const { return bits::bit(octet_hfs, 4); }
  void est_applesingle(bool valeur) { octet_hfs = bits::avec_bit(octet_hfs, 4, valeur); }
  [[nodiscard]] bool extension_cachee() const { return bits::bit(octet_hfs, 5); }
  void extension_cachee(bool valeur) { octet_hfs = bits::avec_bit(octet_hfs, 5, valeur); }

  [[nodiscard]] bool est_macbinaire() const { return bits::bit(octet_etat, 0); }
  void est_macbinaire(bool valeur) { octet_etat = bits::avec_bit(octet_etat, 0, valeur); }
  /// Hidden fields: 0 or 1 ("Hidden").
  [[nodiscard]] std::uint8_t cache_iso() const { return bits::paire(octet_etat, 1); }
  void cache_iso(std::uint8_t valeur) { octet_etat = bits::avec_paire(octet_etat, 1, valeur); }
  [[nodiscard]] std::uint8_t cache_hfs() const { return bits::paire(octet_etat, 3); }
  void cache_hfs(std::uint8_t valeur) { octet_etat = bits::avec_paire(octet_etat, 3, valeur); }
  /// Folders: "Refresh the contents of this folder".
  [[nodiscard]] bool rafraichir() const { return bits::bit(octet_etat, 5); }
  void rafraichir(bool valeur) { octet_etat = bits::avec_bit(octet_etat, 5, valeur); }
  /// The ISO name was typed by hand on an item whose source name the code page cannot show.
  [[nodiscard]] bool nom_iso_saisi() const { return bits::bit(octet_etat, 6); }
  void nom_iso_saisi(bool valeur) { octet_etat = bits::avec_bit(octet_etat, 6, valeur); }
  /// The HFS name is final: typed by hand on such an item, or the volume icon.
  [[nodiscard]] bool nom_hfs_final() const { return bits::bit(octet_etat, 7); }
  void nom_hfs_final(bool valeur) { octet_etat = bits::avec_bit(octet_etat, 7, valeur); }

  [[nodiscard]] bool est_binhex() const { return bits::bit(octet_codage, 0); }
  void est_binhex(bool valeur) { octet_codage = bits::avec_bit(octet_codage, 0, valeur); }
  [[nodiscard]] bool icone_perso() const { return bits::bit(octet_codage, 2); }
  void icone_perso(bool valeur) { octet_codage = bits::avec_bit(octet_codage, 2, valeur); }
  /// The long name has characters out of the code page: `nom_source` holds the short name.
  [[nodiscard]] bool nom_hors_page() const { return bits::bit(octet_codage, 3); }
  void nom_hors_page(bool valeur) { octet_codage = bits::avec_bit(octet_codage, 3, valeur); }
  [[nodiscard]] Codage codage() const { return static_cast<Codage>(octet_codage >> 4); }
  void codage(Codage valeur) {
    octet_codage =
        static_cast<std::uint8_t>((octet_codage & 0x0FU) | (static_cast<unsigned>(valeur) & 0x0FU) << 4);
  }
  /// MacBinary or BinHex: carried whole in the ISO view, decoded in the HFS view.
  [[nodiscard]] bool est_code_mac() const { return est_macbinaire() || est_binhex(); }
};

static_assert(sizeof(RubriqueProjet) == kTailleRubrique && alignof(RubriqueProjet) == 1);
static_assert(offsetof(RubriqueProjet, octet_iso) == 0x00C && offsetof(RubriqueProjet, lg_data) == 0x010);
static_assert(offsetof(RubriqueProjet, lg_source) == 0x018 &&
              offsetof(RubriqueProjet, date_creation) == 0x040);
static_assert(offsetof(RubriqueProjet, signature) == 0x066 && offsetof(RubriqueProjet, chemin) == 0x070);
static_assert(offsetof(RubriqueProjet, nom_source) == 0x170 && offsetof(RubriqueProjet, nom_court) == 0x264);
static_assert(offsetof(RubriqueProjet, nom_iso) == 0x270 && offsetof(RubriqueProjet, nom_hfs) == 0x2B4);

/// Unsigned byte order of two names, case sensitive: the order of the children of a folder. < 0, 0, > 0.
[[nodiscard]] inline int compare_nom_iso(std::string_view a, std::string_view b) {
  return a.compare(b);
}

/// Path of the source: `chemin` + `nom_source`.
[[nodiscard]] std::string chemin_source(const RubriqueProjet &rubrique);

/// Name of the item as a view shows it, in working text.
[[nodiscard]] std::string nom_dans_vue(const RubriqueProjet &rubrique, int vue, bool hfsplus);

/// A Unix time in the form that the project keeps: seconds since 1904 in local time, bounded to 32 bits.
[[nodiscard]] std::uint32_t date_projet(std::int64_t secondes_unix);

/// 2048-byte sectors that an item stands for in the estimate: both lengths as they are (a folder's counts
/// too), and the whole source when it is a MacBinary or BinHex file in the ISO view.
[[nodiscard]] std::uint64_t secteurs_rubrique(const RubriqueProjet &rubrique);

}  // namespace varnion
