#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hfs/fiches.hpp"
#include "IO/octets.hpp"
#include "noms/texte.hpp"

namespace varnion::essai {

/// Images with an Apple map and an HFS+ volume of any block size, made byte by byte after TN1150.
struct PetitsBlocs {
  static constexpr std::uint64_t kDebut = 64;  ///< sector of the volume
  static constexpr std::size_t kNoeud = 4096;
  static constexpr std::uint32_t kBitmap = 4096, kExtents = 8192,
                                 kCatalogue = 16384;  ///< bytes of the volume
  static constexpr std::uint32_t kOctetsExtents = 8192, kOctetsCatalogue = 32768;

  std::uint32_t taille_bloc = 512;
  std::uint32_t blocs = 1000;
  std::int64_t reste = 0;  ///< sectors of the partition behind the blocks; negative: it ends before they do
  std::uint32_t derriere = 8;  ///< sectors of another partition that follows
  bool copie = true;           ///< with an alternate header

  [[nodiscard]] std::uint64_t secteurs() const { return std::uint64_t{blocs} * (taille_bloc / 512); }
  [[nodiscard]] std::uint64_t partition() const {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(secteurs()) + reste);
  }
  [[nodiscard]] std::uint64_t place_copie() const { return kDebut + partition() - 2; }
  [[nodiscard]] std::uint32_t bloc_a(std::uint32_t octet) const { return octet / taille_bloc; }

  [[nodiscard]] std::vector<std::uint8_t> image() const {
    const std::uint64_t fin = std::max(kDebut + secteurs(), kDebut + partition() + derriere);
    std::vector<std::uint8_t> o(static_cast<std::size_t>(fin) * 512);
    pose_carte(o);
    std::fill_n(o.begin() + kDebut * 512, 1024, std::uint8_t{0xB0});  // boot blocks
    std::fill(o.begin() + static_cast<std::ptrdiff_t>((kDebut + partition()) * 512), o.end(),
              std::uint8_t{0xC3});
    EnteteVolumePlus e{};
    e.signature = kSignatureHfsPlus;
    e.version = std::uint16_t{4};
    e.attributes = 0x100U;
    e.createDate = 3000000000U;
    e.blockSize = taille_bloc;
    e.totalBlocks = blocs;
    e.nextCatalogID = 16U;
    fourche(e.allocationFile, kBitmap,
            arrondi<std::uint32_t>(quotient_haut<std::uint32_t>(blocs, 8), taille_bloc));
    fourche(e.extentsFile, kExtents, kOctetsExtents);
    fourche(e.catalogFile, kCatalogue, kOctetsCatalogue);
    std::uint32_t pris = marque(o, 0, 1536);
    pris += marque(o, kBitmap, static_cast<std::uint32_t>(e.allocationFile.logicalSize));
    pris += marque(o, kExtents, kOctetsExtents) + marque(o, kCatalogue, kOctetsCatalogue);
    if (reste == 0)
      pris += marque(o, (blocs - quotient_haut<std::uint32_t>(1024, taille_bloc)) * taille_bloc, 1024);
    e.freeBlocks = blocs - pris;
    pose(o, (kDebut + 2) * 512, e);
    if (copie) pose(o, static_cast<std::size_t>(place_copie()) * 512, e);
    pose_arbre(o, kExtents, kOctetsExtents, false);
    pose_arbre(o, kCatalogue, kOctetsCatalogue, true);
    return o;
  }

 private:
  template <typename T>
  static void pose(std::vector<std::uint8_t> &o, std::size_t place, const T &fiche) {
    const auto octets = octets_de(fiche);
    std::copy(octets.begin(), octets.end(), o.begin() + static_cast<std::ptrdiff_t>(place));
  }
  static void texte(std::vector<std::uint8_t> &o, std::size_t place, std::string_view t) {
    std::copy(t.begin(), t.end(), o.begin() + static_cast<std::ptrdiff_t>(place));
  }
  static std::size_t octet(std::uint32_t place) { return kDebut * 512 + place; }

  void fourche(FourchePlus &f, std::uint32_t place, std::uint32_t octets) const {
    f.logicalSize = octets;
    f.totalBlocks = octets / taille_bloc;
    f.extents[0] = {bloc_a(place), octets / taille_bloc};
  }
  std::uint32_t marque(std::vector<std::uint8_t> &o, std::uint32_t place, std::uint32_t octets) const {
    const std::uint32_t debut = bloc_a(place), fin = bloc_a(place + octets + taille_bloc - 1);
    for (std::uint32_t b = debut; b < fin; ++b)
      o[octet(kBitmap) + b / 8] |= static_cast<std::uint8_t>(0x80 >> b % 8);
    return fin - debut;
  }

  void pose_carte(std::vector<std::uint8_t> &o) const {
    texte(o, 0, "ER");
    o[2] = 2;  // blocks of 512 bytes
    const auto entree = [&](std::size_t rang, std::uint64_t debut, std::uint64_t nombre,
                            std::string_view type) {
      texte(o, rang * 512, "PM");
      o[rang * 512 + 7] = 3;
      pose(o, rang * 512 + 8, be32(static_cast<std::uint32_t>(debut)));
      pose(o, rang * 512 + 12, be32(static_cast<std::uint32_t>(nombre)));
      texte(o, rang * 512 + 48, type);
    };
    entree(1, 1, 63, "Apple_partition_map");
    entree(2, kDebut, partition(), "Apple_HFS");
    entree(3, kDebut + partition(), derriere, "Apple_Scratch");
  }

  void pose_arbre(std::vector<std::uint8_t> &o, std::uint32_t place, std::uint32_t octets,
                  bool catalogue) const {
    const std::uint32_t noeuds = octets / std::uint32_t{kNoeud};
    EnteteNoeud tete{};
    tete.kind = kNoeudEntete;
    tete.numRecords = std::uint16_t{3};
    pose(o, octet(place), tete);
    FicheEnteteArbre f{};
    const std::uint32_t un = catalogue ? 1 : 0;
    f.treeDepth = static_cast<std::uint16_t>(un);
    f.rootNode = f.firstLeafNode = f.lastLeafNode = un;
    f.leafRecords = 2 * un;
    f.nodeSize = std::uint16_t{kNoeud};
    f.maxKeyLength = static_cast<std::uint16_t>(catalogue ? 516 : 10);
    f.totalNodes = noeuds;
    f.freeNodes = noeuds - 1 - un;
    f.keyCompareType = catalogue ? 0xCF : 0;
    f.attributes = 2U + 4 * un;
    pose(o, octet(place) + 14, f);
    o[octet(place) + 248] = catalogue ? 0xC0 : 0x80;
    decalages(o, octet(place), {14, 0x78, 0xF8, kNoeud - 8});
    if (!catalogue) return;
    const std::size_t noeud = octet(place) + kNoeud;
    tete.kind = kNoeudFeuille;
    tete.height = 1;
    tete.numRecords = std::uint16_t{2};
    pose(o, noeud, tete);
    const NomUnicode nom = windows_vers_unicode("Small");
    DossierPlus racine{};
    racine.recordType = std::uint16_t{kRubriqueDossier};
    racine.folderID = kIdRacine;
    std::size_t fin = 14;
    std::vector<std::size_t> places{fin};
    const auto ajoute = [&](std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees) {
      for (const auto part : {cle, donnees}) {
        std::copy(part.begin(), part.end(), o.begin() + static_cast<std::ptrdiff_t>(noeud + fin));
        fin += part.size();
      }
      places.push_back(fin);
    };
    ajoute(cle_hfsplus(kIdParentRacine, nom), octets_de(racine));
    ajoute(cle_hfsplus(kIdRacine, {}), fil_hfsplus(kRubriqueFilDossier, kIdParentRacine, nom));
    decalages(o, noeud, places);
  }
  static void decalages(std::vector<std::uint8_t> &o, std::size_t noeud,
                        const std::vector<std::size_t> &places) {
    for (std::size_t i = 0; i < places.size(); ++i)
      pose(o, noeud + kNoeud - 2 * (i + 1), be16(static_cast<std::uint16_t>(places[i])));
  }
};

}  // namespace varnion::essai
