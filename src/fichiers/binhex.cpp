#include "fichiers/binhex.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>

#include "fichiers/macbinaire.hpp"
#include "IO/octets.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::string_view kBanniere = "This file must be converted with BinHex 4.0";
constexpr std::string_view kAlphabet = "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
static_assert(kAlphabet.size() == 64);
constexpr std::size_t kZoneBanniere = 128;
constexpr std::size_t kTampon = std::size_t{1} << 18;
constexpr int kMarque = 0x90;
constexpr std::uint64_t kCaracteresTete = 256;

/// What stands behind the name: version, type, creator, flags, both lengths, checksum.
struct SuiteTete {
  std::uint8_t version = 0;                 // 0
  std::array<std::uint8_t, 8> signature{};  // 1
  be16 drapeaux;                            // 9
  be32 lg_data;                             // 11
  be32 lg_rsrc;                             // 15
  be16 crc;                                 // 19
};
static_assert(sizeof(SuiteTete) == 21);

// RFC 1741 knows no other characters than the alphabet, line ends and ":". Here any other character is no
// error: it takes part in its group with the value 0, what the difference of a null pointer and the
// alphabet's place comes to when it is bounded to six bits.
constexpr int kHorsAlphabet = 0;
constexpr int kIgnore = -1;

constexpr std::array<std::int16_t, 256> table_alphabet() {
  std::array<std::int16_t, 256> table{};
  table.fill(static_cast<std::int16_t>(kHorsAlphabet));
  for (std::size_t i = 0; i < kAlphabet.size(); ++i)
    table[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::int16_t>(i);
  for (const char c : {'\r', '\n', ':'})
    table[static_cast<std::uint8_t>(c)] = static_cast<std::int16_t>(kIgnore);
  return table;
}
constexpr std::array<std::int16_t, 256> kValeurs = table_alphabet();

constexpr std::array<std::uint16_t, 256> table_crc() {
  std::array<std::uint16_t, 256> table{};
  for (unsigned i = 0; i < 256; ++i) {
    unsigned reste = i << 8;
    for (int bit = 0; bit < 8; ++bit) reste = (reste & 0x8000U) != 0 ? (reste << 1) ^ 0x1021U : reste << 1;
    table[i] = static_cast<std::uint16_t>(reste);
  }
  return table;
}
constexpr std::array<std::uint16_t, 256> kTableCrc = table_crc();

std::uint16_t suite_crc(std::uint16_t crc, std::span<const std::uint8_t> octets) {
  for (const std::uint8_t octet : octets)
    crc = static_cast<std::uint16_t>((crc << 8) ^ kTableCrc[static_cast<std::uint8_t>((crc >> 8) ^ octet)]);
  return crc;
}

/// The characters of the text from the first ":" on, at most `limite` of those that carry bits.
class Caracteres {
 public:
  Caracteres(const Fichier &source, std::uint64_t limite)
      : source_(source), limite_(limite), tampon_(kTampon, '\0') {
    while (!fini_ && octet() != ':') {
    }
  }
  [[nodiscard]] bool erreur() const { return erreur_; }

  /// Six bits, -1 at the end.
  int valeur() {
    if (limite_ == 0) return -1;
    for (;;) {
      const int c = octet();
      if (c < 0) return -1;
      const int valeur = kValeurs[static_cast<std::size_t>(c)];
      if (valeur == kIgnore) continue;
      --limite_;
      return valeur;
    }
  }

 private:
  int octet() {
    if (rang_ == lus_ && !remplit()) return -1;
    return static_cast<std::uint8_t>(tampon_[rang_++]);
  }
  bool remplit() {
    if (fini_) return false;
    auto *debut = reinterpret_cast<std::uint8_t *>(tampon_.data());
    const std::int64_t n = source_.lire_a({debut, tampon_.size()}, position_);
    erreur_ = n < 0;
    fini_ = n <= 0;
    rang_ = 0;
    lus_ = n > 0 ? static_cast<std::size_t>(n) : 0;
    position_ += lus_;
    return !fini_;
  }

  const Fichier &source_;
  std::uint64_t limite_;
  std::string tampon_;
  std::size_t rang_ = 0, lus_ = 0;
  std::uint64_t position_ = 0;
  bool fini_ = false, erreur_ = false;
};

/// First step: groups of four characters to three bytes. A group that the end cuts is dropped. A real encoder
/// leaves such a group where its stream is no multiple of three bytes long, but it then holds no more than
/// bytes of the last checksum: those are given only while `avec_coupe` is on.
class SixVersHuit {
 public:
  SixVersHuit(const Fichier &source, std::uint64_t limite) : caracteres_(source, limite) {}
  [[nodiscard]] bool erreur() const { return caracteres_.erreur(); }
  void avec_coupe(bool valeur) { avec_coupe_ = valeur; }
  /// True once a byte of the cut group was given.
  [[nodiscard]] bool coupe_lue() const { return finie_ && rang_ > 0; }

  /// Next byte, -1 at the end.
  int octet() {
    if (rang_ == entiers_ && !finie_) groupe();
    if (rang_ < (avec_coupe_ ? lus_ : entiers_)) return trio_[rang_++];
    return -1;
  }

 private:
  void groupe() {
    unsigned bits = 0;
    std::size_t nombre = 0;
    for (int valeur = 0; nombre < 4 && (valeur = caracteres_.valeur()) >= 0; ++nombre)
      bits |= static_cast<unsigned>(valeur) << (18 - 6 * nombre);
    trio_ = {static_cast<std::uint8_t>(bits >> 16), static_cast<std::uint8_t>(bits >> 8),
             static_cast<std::uint8_t>(bits)};
    finie_ = nombre < 4;
    rang_ = 0;
    lus_ = nombre * 6 / 8;
    entiers_ = finie_ ? 0 : lus_;
  }

  Caracteres caracteres_;
  std::array<std::uint8_t, 3> trio_{};
  std::size_t rang_ = 0, entiers_ = 0, lus_ = 0;
  bool finie_ = false, avec_coupe_ = false;
};

/// Second step: the runs. The byte that a run repeats is the one read before its marker. RFC 1741 takes the
/// last byte put out; here, behind a run or an escaped marker, it is the marker's 0x90 itself.
class Expansion {
 public:
  explicit Expansion(const Fichier &source, std::uint64_t limite = std::numeric_limits<std::uint64_t>::max())
      : source_(source, limite) {}
  [[nodiscard]] bool erreur() const { return source_.erreur(); }
  void avec_coupe(bool valeur) {
    source_.avec_coupe(valeur);
    if (source_.coupe_lue()) reste_ = 0;  // a run out of the cut group never was in the stream
  }

  /// Fills `octets` as far as the stream goes: bytes given.
  std::size_t lire(std::span<std::uint8_t> octets) {
    std::size_t n = 0;
    for (int c = 0; n < octets.size() && (c = octet()) >= 0; ++n) octets[n] = static_cast<std::uint8_t>(c);
    return n;
  }

 private:
  int octet() {
    while (reste_ == 0) {
      if (!marque_lue_) {
        const int c = source_.octet();
        if (c >= 0 && c != kMarque) precedent_ = c;
        if (c != kMarque) return c;
      }
      const int n = source_.octet();
      marque_lue_ = n < 0;
      if (marque_lue_) return -1;
      repete_ = n == 0 ? kMarque : precedent_;
      reste_ = n == 0 ? 1 : n - 1;
      precedent_ = kMarque;
    }
    --reste_;
    return repete_;
  }

  SixVersHuit source_;
  int precedent_ = 0, repete_ = 0, reste_ = 0;
  bool marque_lue_ = false;
};

/// Last step: the expanded stream to a MacBinary file, with the checksums counted on the way.
class VersMacBinaire {
 public:
  VersMacBinaire(const Fichier &source, const Fichier *cible, std::uint64_t base = 0)
      : flux_(source), cible_(cible), base_(base), tampon_(kTampon, '\0') {}

  /// Length of the target, nullopt on a failed read or write.
  std::optional<std::uint64_t> convertit(ControleBinHex &controle) {
    TeteMacBinaire tete;
    controle.tete = lit_tete(tete);
    if (!ecrit(octets_de(tete))) return std::nullopt;
    if (!copie_fourche(tete.lg_data, controle.data)) return std::nullopt;
    debut_rsrc_ = position_ressource(tete.lg_data);
    const std::uint64_t fin_data = position_;
    if (fin_data < kPasMacBinaire + std::uint64_t{tete.lg_data})
      return flux_.erreur() ? std::nullopt : std::optional(fin_data);  // nothing follows a fork that was cut
    position_ = std::max(position_, debut_rsrc_);
    if (!copie_fourche(tete.lg_rsrc, controle.ressource) || flux_.erreur()) return std::nullopt;
    return position_ == debut_rsrc_ ? fin_data : position_;
  }

 private:
  // A name of more than 63 bytes keeps its length byte, so that the head fails the MacBinary detection, but
  // only its first 63 bytes have a place in the head.
  bool lit_tete(TeteMacBinaire &tete) {
    std::array<std::uint8_t, 256> nom{};
    SuiteTete suite;
    const std::span<std::uint8_t> octets_suite(reinterpret_cast<std::uint8_t *>(&suite), sizeof suite);
    std::size_t lus = flux_.lire({&tete.lg_nom, 1});
    lus += flux_.lire(std::span(nom).first(tete.lg_nom));
    lus += flux_.lire(octets_suite);
    std::copy_n(nom.begin(), std::min<std::size_t>(tete.lg_nom, tete.nom.size()), tete.nom.begin());
    tete.signature = suite.signature;
    tete.drapeaux = suite.drapeaux;
    tete.lg_data = suite.lg_data;
    tete.lg_rsrc = suite.lg_rsrc;
    std::uint16_t crc = suite_crc(0, {&tete.lg_nom, 1});
    crc = suite_crc(crc, std::span(nom).first(tete.lg_nom));
    crc = suite_crc(crc, octets_suite.first(offsetof(SuiteTete, crc)));
    return lus == 1U + tete.lg_nom + sizeof suite && crc == suite.crc;
  }

  // One fork and its two bytes of checksum. `juste` tells whether the fork was whole and agrees.
  bool copie_fourche(std::uint64_t longueur, bool &juste) {
    std::uint16_t crc = 0;
    while (longueur > 0) {
      auto *debut = reinterpret_cast<std::uint8_t *>(tampon_.data());
      const std::size_t voulu = static_cast<std::size_t>(std::min<std::uint64_t>(longueur, tampon_.size()));
      const std::size_t lus = flux_.lire({debut, voulu});
      crc = suite_crc(crc, {debut, lus});
      if (!ecrit({debut, lus})) return false;
      longueur -= lus;
      if (lus < voulu) break;
    }
    be16 attendu;
    flux_.avec_coupe(true);
    const std::size_t lus = flux_.lire(attendu.octets);
    flux_.avec_coupe(false);
    juste = longueur == 0 && lus == sizeof attendu && crc == attendu;
    return true;
  }

  bool ecrit(std::span<const std::uint8_t> octets) {
    if (octets.empty()) return true;
    if (cible_ != nullptr && !cible_->ecrire_a(octets, base_ + position_)) return false;
    position_ += octets.size();
    return true;
  }

  Expansion flux_;
  const Fichier *cible_;
  std::uint64_t base_;
  std::string tampon_;
  std::uint64_t position_ = 0;
  std::uint64_t debut_rsrc_ = 0;
};

}  // namespace

bool est_binhex(const Fichier &fichier) {
  std::array<std::uint8_t, kZoneBanniere + kBanniere.size() - 1> octets{};
  const std::int64_t lus = fichier.lire_a(octets, 0);
  fichier_debut(fichier);
  return lus > 0 && est_binhex(std::span<const std::uint8_t>(octets).first(static_cast<std::size_t>(lus)));
}

bool est_binhex(std::span<const std::uint8_t> debut) {
  if (debut.empty()) return false;
  std::string_view texte(reinterpret_cast<const char *>(debut.data()), debut.size());
  texte = texte.substr(0, std::min(texte.find('\0'), kZoneBanniere + kBanniere.size() - 1));
  return texte.find(kBanniere) != std::string_view::npos;
}

std::optional<std::uint64_t> decode_binhex(const Fichier &source, const Fichier &cible,
                                           ControleBinHex *controle, std::uint64_t base) {
  ControleBinHex local;
  return VersMacBinaire(source, &cible, base).convertit(controle != nullptr ? *controle : local);
}

Fichier decode_binhex(const Fichier &source, ControleBinHex *controle) {
  Fichier cible = plateforme::fichier_anonyme();
  if (cible.ouvert() && !decode_binhex(source, cible, controle)) cible = Fichier();
  return cible;
}

std::optional<ControleBinHex> verifie_binhex(const Fichier &source) {
  ControleBinHex controle;
  if (!VersMacBinaire(source, nullptr).convertit(controle)) return std::nullopt;
  return controle;
}

std::optional<TeteBinHex> tete_binhex(const Fichier &fichier) {
  Expansion flux(fichier, kCaracteresTete);
  std::uint8_t longueur = 0;
  std::array<std::uint8_t, 256> nom{};
  SuiteTete suite;
  const std::span<std::uint8_t> octets_suite(reinterpret_cast<std::uint8_t *>(&suite), sizeof suite);
  if (flux.lire({&longueur, 1}) != 1 || flux.lire(std::span(nom).first(longueur)) != longueur)
    return std::nullopt;
  if (flux.lire(octets_suite) < offsetof(SuiteTete, crc)) return std::nullopt;
  TeteBinHex tete;
  tete.nom.assign(nom.begin(), nom.begin() + std::min<std::ptrdiff_t>(longueur, kNomMacBinaireMax));
  tete.signature.assign(suite.signature.begin(), suite.signature.end());
  tete.drapeaux = suite.drapeaux;
  tete.lg_data = suite.lg_data;
  tete.lg_rsrc = suite.lg_rsrc;
  return tete;
}

}  // namespace varnion
