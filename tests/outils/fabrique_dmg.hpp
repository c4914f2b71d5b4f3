#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <bzlib.h>
#include <zlib.h>

// Disk images made for tests from the published description of the format.

namespace varnion::essai {

struct ChunkDmg {
  std::uint32_t type;
  std::uint64_t secteurs;
  std::string donnees;  ///< as they lie in the image
  std::uint64_t premier = UINT64_MAX;
  std::uint64_t annonce = UINT64_MAX;  ///< compressed length told, when not that of `donnees`
  std::uint64_t source = UINT64_MAX;   ///< place of its bytes told, when not behind those of the last chunk
};

struct TableFabriquee {
  std::uint64_t premier;
  std::vector<ChunkDmg> chunks;
  std::string clair;  ///< what it gives, for its checksum; empty: none
};

struct FabriqueDmg {
  std::vector<TableFabriquee> tables;
  std::uint32_t version = 4;
  std::uint64_t secteurs = 0;
  bool autre_section = false;
  std::uint32_t fausse_crc = 0;        ///< flips bits of every table checksum
  std::uint32_t fausse_crc_image = 0;  ///< and of that of the image
  bool controle_donnees = false;       ///< the trailer carries the checksum of the data fork
  std::int64_t decale_liste = 0;       ///< added to the place of the list in the trailer

  static std::string be(std::uint64_t valeur, int octets) {
    std::string texte;
    while (octets-- > 0) texte += static_cast<char>(valeur >> (8 * octets));
    return texte;
  }
  static std::uint32_t crc(std::string_view octets) {
    return static_cast<std::uint32_t>(
        ::crc32_z(0, reinterpret_cast<const Bytef *>(octets.data()), octets.size()));
  }
  static std::string base64(std::string_view octets) {
    constexpr std::string_view kSignes = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string texte;
    for (std::size_t i = 0; i < octets.size(); i += 3) {
      std::uint32_t groupe = 0;
      for (std::size_t j = 0; j < 3; ++j)
        groupe = groupe << 8 | (i + j < octets.size() ? static_cast<std::uint8_t>(octets[i + j]) : 0U);
      for (std::size_t j = 0; j < 4; ++j)
        texte += i + j > octets.size() ? '=' : kSignes[groupe >> (18 - 6 * j) & 63U];
      if (i % 48 == 45) texte += "\n\t\t";
    }
    return texte;
  }
  static std::string par_zlib(const std::string &clair) {
    uLongf longueur = ::compressBound(clair.size());
    std::string sortie(longueur, '\0');
    ::compress(reinterpret_cast<Bytef *>(sortie.data()), &longueur,
               reinterpret_cast<const Bytef *>(clair.data()), clair.size());
    return sortie.substr(0, longueur);
  }
  static std::string par_bzip2(std::string clair) {
    auto longueur = static_cast<unsigned>(clair.size() + 1000);
    std::string sortie(longueur, '\0');
    ::BZ2_bzBuffToBuffCompress(sortie.data(), &longueur, clair.data(), static_cast<unsigned>(clair.size()), 1,
                               0, 0);
    return sortie.substr(0, longueur);
  }

  /// The whole image.
  [[nodiscard]] std::string image() const {
    std::string octets, liste =
                            "<?xml version=\"1.0\"?>\n<plist version=\"1.0\"><dict><key>resource-fork</key>\n"
                            "<dict><key>blkx</key><array>";
    std::string crcs;
    for (const TableFabriquee &table : tables) {
      liste += "<dict><key>Attributes</key><string>0x0050</string><key>Data</key>\n<data>\n" +
               base64(mish(table, octets, crcs)) +
               "\n</data><key>ID</key><string>0</string>"
               "<key>Name</key><string>whole disk (Apple_HFS : 0)</string></dict>";
    }
    liste += "</array>";
    if (autre_section) liste += "<key>plst</key><array><dict><key>Data</key><data>AAAA</data></dict></array>";
    liste += "</dict></dict></plist>\n";
    const std::uint64_t debut = octets.size() + static_cast<std::uint64_t>(decale_liste);
    std::string fin = "koly" + be(version, 4) + be(512, 4) + be(1, 4) + be(0, 8) + be(0, 8) + be(debut, 8);
    fin.resize(80, '\0');
    if (controle_donnees) fin += be(2, 4) + be(32, 4) + be(crc(octets), 4);
    fin.resize(216, '\0');
    fin += be(debut, 8) + be(liste.size(), 8);
    fin.resize(352, '\0');
    fin += be(2, 4) + be(32, 4) + be(crc(crcs) ^ fausse_crc_image, 4);
    fin.resize(492, '\0');
    fin += be(secteurs, 8);
    fin.resize(512, '\0');
    return octets + liste + fin;
  }

 private:
  [[nodiscard]] std::string mish(const TableFabriquee &table, std::string &octets, std::string &crcs) const {
    std::string entrees;
    std::uint64_t premier = 0;
    for (const ChunkDmg &chunk : table.chunks) {
      const std::uint64_t place = chunk.premier != UINT64_MAX ? chunk.premier : premier;
      const std::uint64_t longueur = chunk.annonce != UINT64_MAX ? chunk.annonce : chunk.donnees.size();
      const std::uint64_t source = chunk.source != UINT64_MAX ? chunk.source : octets.size();
      entrees += be(chunk.type, 4) + be(0, 4) + be(place, 8) + be(chunk.secteurs, 8) + be(source, 8) +
                 be(longueur, 8);
      octets += chunk.donnees;
      premier = place + chunk.secteurs;
    }
    entrees += be(0xFFFFFFFF, 4) + be(0, 4) + be(premier, 8) + be(0, 8) + be(octets.size(), 8) + be(0, 8);
    const std::string controle = be(crc(table.clair) ^ fausse_crc, 4);
    crcs += controle;
    const bool avec = !table.clair.empty();
    std::string tete = "mish" + be(1, 4) + be(table.premier, 8) + be(premier, 8) + be(0, 8);
    tete.resize(64, '\0');
    tete += be(avec ? 2 : 0, 4) + be(avec ? 32 : 0, 4) + controle;
    tete.resize(200, '\0');
    return tete + be(table.chunks.size() + 1, 4) + entrees;
  }
};

}  // namespace varnion::essai
