#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What the independent readers share. They are written from the published formats alone and use nothing of
// the program, so that both can not be wrong in the same way.

namespace varnion::outils {

/// Faults found while reading, in words; bounded, for a broken tree has thousands.
class Fautes {
 public:
  void note(std::string texte) {
    if (liste_.size() < 40) liste_.push_back(std::move(texte));
  }
  bool exige(bool vrai, std::string texte) {
    if (!vrai) note(std::move(texte));
    return vrai;
  }
  [[nodiscard]] bool vide() const { return liste_.empty(); }
  [[nodiscard]] const std::vector<std::string> &liste() const { return liste_; }
  [[nodiscard]] std::string texte() const {
    std::string tout;
    for (const std::string &faute : liste_) tout += faute + "\n";
    return tout;
  }

 private:
  std::vector<std::string> liste_;
};

/// Bytes of a medium or of a part of one. What lies outside reads as 0; `contient` tells.
class Octets {
 public:
  Octets() = default;
  explicit Octets(std::span<const std::uint8_t> octets) : octets_(octets) {}

  [[nodiscard]] std::uint64_t taille() const { return octets_.size(); }
  [[nodiscard]] bool contient(std::uint64_t position, std::uint64_t longueur) const {
    return position <= octets_.size() && longueur <= octets_.size() - position;
  }
  [[nodiscard]] std::uint8_t u8(std::uint64_t p) const { return p < octets_.size() ? octets_[p] : 0; }
  [[nodiscard]] std::uint16_t be16(std::uint64_t p) const {
    return static_cast<std::uint16_t>(u8(p) << 8 | u8(p + 1));
  }
  [[nodiscard]] std::uint32_t be32(std::uint64_t p) const {
    return static_cast<std::uint32_t>(be16(p)) << 16 | be16(p + 2);
  }
  [[nodiscard]] std::uint64_t be64(std::uint64_t p) const {
    return static_cast<std::uint64_t>(be32(p)) << 32 | be32(p + 4);
  }
  [[nodiscard]] std::uint16_t le16(std::uint64_t p) const {
    return static_cast<std::uint16_t>(u8(p + 1) << 8 | u8(p));
  }
  [[nodiscard]] std::uint32_t le32(std::uint64_t p) const {
    return static_cast<std::uint32_t>(le16(p + 2)) << 16 | le16(p);
  }
  /// The part that lies inside.
  [[nodiscard]] Octets partie(std::uint64_t position, std::uint64_t longueur) const {
    if (position >= octets_.size()) return {};
    return Octets(octets_.subspan(position, std::min<std::uint64_t>(longueur, octets_.size() - position)));
  }
  [[nodiscard]] std::string texte(std::uint64_t position, std::uint64_t longueur) const {
    const Octets p = partie(position, longueur);
    return {reinterpret_cast<const char *>(p.octets_.data()), p.octets_.size()};
  }
  [[nodiscard]] std::string tout() const { return texte(0, octets_.size()); }
  /// True when all bytes of the range have one value.
  [[nodiscard]] bool rempli(std::uint64_t position, std::uint64_t longueur, std::uint8_t valeur = 0) const {
    const Octets p = partie(position, longueur);
    return std::all_of(p.octets_.begin(), p.octets_.end(), [&](std::uint8_t o) { return o == valeur; });
  }

 private:
  std::span<const std::uint8_t> octets_;
};

/// A whole file in memory.
inline std::vector<std::uint8_t> lit_fichier(const std::string &chemin) {
  std::ifstream flux(chemin, std::ios::binary | std::ios::ate);
  const std::streamoff taille = flux.tellg();
  std::vector<std::uint8_t> octets(taille > 0 ? static_cast<std::size_t>(taille) : 0);
  flux.seekg(0);
  flux.read(reinterpret_cast<char *>(octets.data()), static_cast<std::streamsize>(octets.size()));
  return octets;
}

/// UTF-16 big-endian to UTF-8; a lone surrogate gives U+FFFD.
inline std::string utf16be_vers_utf8(Octets o) {
  std::string texte;
  const auto pousse = [&](std::uint32_t c) {
    const auto octet = [&](std::uint32_t v) { texte.push_back(static_cast<char>(v)); };
    if (c < 0x80) return octet(c);
    if (c < 0x800) return octet(0xC0 | c >> 6), octet(0x80 | (c & 0x3F));
    if (c < 0x10000) return octet(0xE0 | c >> 12), octet(0x80 | (c >> 6 & 0x3F)), octet(0x80 | (c & 0x3F));
    octet(0xF0 | c >> 18), octet(0x80 | (c >> 12 & 0x3F)), octet(0x80 | (c >> 6 & 0x3F));
    octet(0x80 | (c & 0x3F));
  };
  for (std::uint64_t i = 0; i + 1 < o.taille(); i += 2) {
    const std::uint32_t haut = o.be16(i);
    const std::uint32_t bas = i + 3 < o.taille() ? o.be16(i + 2) : 0;
    if ((haut & 0xFC00) == 0xD800 && (bas & 0xFC00) == 0xDC00) {
      pousse(0x10000 + ((haut & 0x3FF) << 10) + (bas & 0x3FF));
      i += 2;
    } else {
      pousse((haut & 0xF800) == 0xD800 ? 0xFFFD : haut);
    }
  }
  return texte;
}

/// A run of bytes of the image and whose it is.
struct Plage {
  std::uint64_t debut = 0, fin = 0;
  std::string proprietaire;
};

/// Tells each pair that overlaps and each range that leaves [0, limite).
inline void verifie_plages(std::vector<Plage> plages, std::uint64_t limite, Fautes &fautes) {
  std::sort(plages.begin(), plages.end(), [](const Plage &a, const Plage &b) { return a.debut < b.debut; });
  const Plage *derniere = nullptr;
  for (const Plage &p : plages) {
    if (p.debut == p.fin) continue;
    fautes.exige(p.fin <= limite && p.debut < p.fin,
                 p.proprietaire + " leaves the image: " + std::to_string(p.debut) + "-" +
                     std::to_string(p.fin) + " of " + std::to_string(limite));
    if (derniere != nullptr && p.debut < derniere->fin)
      fautes.note(p.proprietaire + " at " + std::to_string(p.debut) + " overlaps " + derniere->proprietaire +
                  " up to " + std::to_string(derniere->fin));
    if (derniere == nullptr || p.fin > derniere->fin) derniere = &p;
  }
}

}  // namespace varnion::outils
