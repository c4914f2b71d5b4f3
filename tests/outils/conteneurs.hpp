#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

// Encoders of Macintosh containers, written from the published formats, to feed the program with.

namespace varnion::outils {

/// A Macintosh file as it should come out of its container.
struct FichierMac {
  std::string nom;  ///< Mac Roman
  std::string type = "TEXT", createur = "ttxt";
  std::uint16_t drapeaux = 0;
  std::uint32_t creation = 0, modification = 0;  ///< seconds since 1904
  std::string data, rsrc;
};

inline void pousse16(std::string &s, std::uint32_t v) {
  s.push_back(static_cast<char>(v >> 8));
  s.push_back(static_cast<char>(v));
}
inline void pousse32(std::string &s, std::uint64_t v) {
  pousse16(s, static_cast<std::uint32_t>(v >> 16));
  pousse16(s, static_cast<std::uint32_t>(v & 0xFFFF));
}

/// MacBinary: head of 128 bytes, data fork, resource fork, each padded to a multiple of 128.
inline std::string macbinary(const FichierMac &f) {
  std::string s(1, '\0');
  s.push_back(static_cast<char>(f.nom.size()));
  s += f.nom + std::string(63 - f.nom.size(), '\0') + f.type + f.createur;
  pousse16(s, f.drapeaux);
  s.append(8, '\0');
  pousse32(s, f.data.size());
  pousse32(s, f.rsrc.size());
  pousse32(s, f.creation);
  pousse32(s, f.modification);
  s.resize(128, '\0');
  const auto comble = [&] { s.resize((s.size() + 127) / 128 * 128, '\0'); };
  s += f.data;
  comble();
  s += f.rsrc;
  comble();
  return s;
}

/// CRC of RFC 1741: polynomial 1021, no reflection, start 0.
inline std::uint16_t crc_binhex(std::string_view octets) {
  std::uint32_t crc = 0;
  for (const char c : octets) {
    crc ^= static_cast<std::uint32_t>(static_cast<std::uint8_t>(c)) << 8;
    for (int i = 0; i < 8; ++i) crc = (crc & 0x8000) != 0 ? crc << 1 ^ 0x1021 : crc << 1;
    crc &= 0xFFFF;
  }
  return static_cast<std::uint16_t>(crc);
}

/// BinHex 4.0 (RFC 1741): three parts with a CRC each, runs packed behind 90, six bits to a character.
inline std::string binhex(const FichierMac &f) {
  std::string brut(1, static_cast<char>(f.nom.size()));
  brut += f.nom + std::string(1, '\0') + f.type + f.createur;
  pousse16(brut, f.drapeaux);
  pousse32(brut, f.data.size());
  pousse32(brut, f.rsrc.size());
  pousse16(brut, crc_binhex(brut));
  for (const std::string *fourche : {&f.data, &f.rsrc}) {
    brut += *fourche;
    pousse16(brut, crc_binhex(*fourche));
  }
  std::string serre;
  for (std::size_t i = 0; i < brut.size();) {
    std::size_t n = 1;
    while (n < 255 && i + n < brut.size() && brut[i + n] == brut[i]) ++n;
    if (brut[i] == '\x90') {
      serre.append("\x90\0", 2);
      n = 1;
    } else if (n > 3) {
      serre += brut[i];
      serre += '\x90';
      serre.push_back(static_cast<char>(n));
    } else {
      serre.append(n, brut[i]);
    }
    i += n;
  }
  static constexpr std::string_view kLettres =
      "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
  std::string texte = "(This file must be converted with BinHex 4.0)\r\r:";
  std::size_t colonne = 1;
  std::uint32_t bits = 0;
  int nombre = 0;
  const auto lettre = [&](std::uint32_t valeur) {
    texte += kLettres[valeur & 63];
    if (++colonne % 64 == 0) texte += '\r';
  };
  for (const char c : serre) {
    bits = bits << 8 | static_cast<std::uint8_t>(c);
    for (nombre += 8; nombre >= 6; nombre -= 6) lettre(bits >> (nombre - 6));
  }
  if (nombre > 0) lettre(bits << (6 - nombre));
  return texte + ":\r";
}

/// Finder information: type, creator, flags, place, folder; then 16 bytes more (RFC 1740, entry 9).
inline std::string info_finder(const FichierMac &f) {
  std::string s = f.type + f.createur;
  pousse16(s, f.drapeaux);
  s.resize(32, '\0');
  return s;
}

/// AppleSingle and AppleDouble (RFC 1740).
inline std::string conteneur_apple(std::uint32_t magie, const FichierMac &f, bool avec_data) {
  struct Entree {
    std::uint32_t id;
    std::string contenu;
  };
  std::array<Entree, 3> entrees{{{9, info_finder(f)}, {2, f.rsrc}, {1, f.data}}};
  const std::size_t nombre = avec_data ? 3 : 2;
  std::string s;
  pousse32(s, magie);
  pousse32(s, 0x00020000);
  s.append(16, '\0');
  pousse16(s, static_cast<std::uint32_t>(nombre));
  std::size_t position = s.size() + 12 * nombre;
  for (std::size_t i = 0; i < nombre; ++i) {
    pousse32(s, entrees[i].id);
    pousse32(s, position);
    pousse32(s, entrees[i].contenu.size());
    position += entrees[i].contenu.size();
  }
  for (std::size_t i = 0; i < nombre; ++i) s += entrees[i].contenu;
  return s;
}
inline std::string applesingle(const FichierMac &f) {
  return conteneur_apple(0x00051600, f, true);
}
inline std::string appledouble(const FichierMac &f) {
  return conteneur_apple(0x00051607, f, false);
}

/// The information stream that a Windows server keeps beside a file: 60 bytes.
inline std::string afp_info(const FichierMac &f) {
  std::string s("AFP\0", 4);
  pousse32(s, 0x00010000);
  s.append(8, '\0');
  s += info_finder(f);
  s.resize(60, '\0');
  return s;
}

}  // namespace varnion::outils
