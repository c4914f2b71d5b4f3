#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "IO/octets.hpp"
#include "noms/unicode.hpp"

// Records of HFS (Inside Macintosh: Files, chapter 2) and HFS+ (TN1150) as they lie on the disk, with the
// published field names. Offsets stand in bytes, hexadecimal where the publications use it.

namespace varnion {

constexpr std::uint16_t kSignatureHfs = 0x4244;      ///< "BD"
constexpr std::uint16_t kSignatureHfsPlus = 0x482B;  ///< "H+"
constexpr std::uint16_t kSignatureHfsX = 0x4858;     ///< "HX"
constexpr std::array<std::uint8_t, 4> kEstampille{'T', 'R', 'B',
                                                  'f'};  ///< lastMountedVersion of this program

constexpr std::uint32_t kIdParentRacine = 1;
constexpr std::uint32_t kIdRacine = 2;
constexpr std::uint32_t kIdFichierExtents = 3;
constexpr std::uint32_t kIdFichierCatalogue = 4;

// --- extents and forks

struct ExtentHfs {
  be16 startBlock;  // 0
  be16 blockCount;  // 2
};
using ExtentsHfs = std::array<ExtentHfs, 3>;

struct ExtentPlus {
  be32 startBlock;  // 0
  be32 blockCount;  // 4
};
using ExtentsPlus = std::array<ExtentPlus, 8>;

/// HFSPlusForkData
struct FourchePlus {
  be64 logicalSize;     // 0
  be32 clumpSize;       // 8
  be32 totalBlocks;     // 12
  ExtentsPlus extents;  // 16
};
static_assert(sizeof(ExtentsHfs) == 12 && sizeof(ExtentsPlus) == 64 && sizeof(FourchePlus) == 80);

// --- volume headers

/// Master directory block of HFS, padded to its sector.
struct Mdb {
  be16 drSigWord;                      // 00
  be32 drCrDate;                       // 02
  be32 drLsMod;                        // 06
  be16 drAtrb;                         // 0A
  be16 drNmFls;                        // 0C: files in the root
  be16 drVBMSt;                        // 0E: first bitmap sector, from the volume start
  be16 drAllocPtr;                     // 10
  be16 drNmAlBlks;                     // 12
  be32 drAlBlkSiz;                     // 14: bytes
  be32 drClpSiz;                       // 18
  be16 drAlBlSt;                       // 1C: sector of allocation block 0, from the volume start
  be32 drNxtCNID;                      // 1E
  be16 drFreeBks;                      // 22
  std::array<std::uint8_t, 28> drVN;   // 24: Pascal string
  be32 drVolBkUp;                      // 40
  be16 drVSeqNum;                      // 44
  be32 drWrCnt;                        // 46
  be32 drXTClpSiz;                     // 4A
  be32 drCTClpSiz;                     // 4E
  be16 drNmRtDirs;                     // 52: folders in the root
  be32 drFilCnt;                       // 54
  be32 drDirCnt;                       // 58
  std::array<be32, 8> drFndrInfo;      // 5C
  be16 drEmbedSigWord;                 // 7C
  ExtentHfs drEmbedExtent;             // 7E
  be32 drXTFlSize;                     // 82
  ExtentsHfs drXTExtRec;               // 86
  be32 drCTFlSize;                     // 92
  ExtentsHfs drCTExtRec;               // 96
  std::array<std::uint8_t, 350> vide;  // A2
};
static_assert(sizeof(Mdb) == 512 && offsetof(Mdb, drVN) == 0x24 && offsetof(Mdb, drFndrInfo) == 0x5C &&
              offsetof(Mdb, drCTExtRec) == 0x96);

/// HFSPlusVolumeHeader
struct EnteteVolumePlus {
  be16 signature;                                  // 00
  be16 version;                                    // 02
  be32 attributes;                                 // 04
  std::array<std::uint8_t, 4> lastMountedVersion;  // 08
  be32 journalInfoBlock;                           // 0C
  be32 createDate;                                 // 10
  be32 modifyDate;                                 // 14
  be32 backupDate;                                 // 18
  be32 checkedDate;                                // 1C
  be32 fileCount;                                  // 20
  be32 folderCount;                                // 24
  be32 blockSize;                                  // 28: bytes
  be32 totalBlocks;                                // 2C
  be32 freeBlocks;                                 // 30
  be32 nextAllocation;                             // 34
  be32 rsrcClumpSize;                              // 38
  be32 dataClumpSize;                              // 3C
  be32 nextCatalogID;                              // 40
  be32 writeCount;                                 // 44
  be64 encodingsBitmap;                            // 48
  std::array<be32, 8> finderInfo;                  // 50
  FourchePlus allocationFile;                      // 70
  FourchePlus extentsFile;                         // C0
  FourchePlus catalogFile;                         // 110
  FourchePlus attributesFile;                      // 160
  FourchePlus startupFile;                         // 1B0
};
static_assert(sizeof(EnteteVolumePlus) == 512 && offsetof(EnteteVolumePlus, finderInfo) == 0x50 &&
              offsetof(EnteteVolumePlus, catalogFile) == 0x110);

// --- B-tree nodes

constexpr std::int8_t kNoeudFeuille = -1;
constexpr std::int8_t kNoeudIndex = 0;
constexpr std::int8_t kNoeudEntete = 1;
constexpr std::int8_t kNoeudCarte = 2;

/// BTNodeDescriptor
struct EnteteNoeud {
  be32 fLink;           // 0
  be32 bLink;           // 4
  std::int8_t kind;     // 8: kNoeud…
  std::uint8_t height;  // 9: 1 for a leaf
  be16 numRecords;      // 10
  be16 reserved;        // 12
};
static_assert(sizeof(EnteteNoeud) == 14);

/// BTHeaderRec, at byte 14 of node 0.
struct FicheEnteteArbre {
  be16 treeDepth;                          // 0
  be32 rootNode;                           // 2
  be32 leafRecords;                        // 6
  be32 firstLeafNode;                      // 10
  be32 lastLeafNode;                       // 14
  be16 nodeSize;                           // 18
  be16 maxKeyLength;                       // 20
  be32 totalNodes;                         // 22
  be32 freeNodes;                          // 26
  be16 reserved1;                          // 30
  be32 clumpSize;                          // 32
  std::uint8_t btreeType;                  // 36
  std::uint8_t keyCompareType;             // 37: CF case folding, BC binary (HFSX)
  be32 attributes;                         // 38
  std::array<std::uint8_t, 64> reserved3;  // 42
};
static_assert(sizeof(FicheEnteteArbre) == 106 && offsetof(FicheEnteteArbre, attributes) == 38);

constexpr std::size_t kDebutEnregistrements = 14;  ///< first record of a node
constexpr std::size_t kDebutCarteEntete = 248;     ///< map record of the header node

// --- Finder information

/// DInfo, FolderInfo
struct InfoDossier {
  be16 haut, gauche, bas, droite;   // 0: frRect
  be16 frFlags;                     // 8
  be16 frLocation_v, frLocation_h;  // 10
  be16 frView;                      // 14
};

/// FInfo, FileInfo
struct InfoFichier {
  std::array<std::uint8_t, 4> fdType;     // 0
  std::array<std::uint8_t, 4> fdCreator;  // 4
  be16 fdFlags;                           // 8
  be16 fdLocation_v, fdLocation_h;        // 10
  be16 fdFldr;                            // 14
};
/// DXInfo and FXInfo, ExtendedFolderInfo and ExtendedFileInfo: kept as bytes.
using InfoEtendue = std::array<std::uint8_t, 16>;
static_assert(sizeof(InfoDossier) == 16 && sizeof(InfoFichier) == 16);

// --- catalog records, leaf

enum TypeRubrique : int {
  kRubriqueToute = -1,  ///< as a wanted type: folder or file
  kRubriqueDossier = 1,
  kRubriqueFichier = 2,
  kRubriqueFilDossier = 3,
  kRubriqueFilFichier = 4,
};

struct DossierHfs {
  std::uint8_t cdrType;          // 0: 1
  std::uint8_t cdrResrv2;        // 1
  be16 dirFlags;                 // 2
  be16 dirVal;                   // 4
  be32 dirDirID;                 // 6
  be32 dirCrDat;                 // 10
  be32 dirMdDat;                 // 14
  be32 dirBkDat;                 // 18
  InfoDossier dirUsrInfo;        // 22
  InfoEtendue dirFndrInfo;       // 38
  std::array<be32, 4> dirResrv;  // 54
};
static_assert(sizeof(DossierHfs) == 70 && offsetof(DossierHfs, dirUsrInfo) == 22);

struct FichierHfs {
  std::uint8_t cdrType;     // 0: 2
  std::uint8_t cdrResrv2;   // 1
  std::uint8_t filFlags;    // 2: bit 0 locked
  std::uint8_t filTyp;      // 3
  InfoFichier filUsrWds;    // 4
  be32 filFlNum;            // 20
  be16 filStBlk;            // 24
  be32 filLgLen;            // 26
  be32 filPyLen;            // 30
  be16 filRStBlk;           // 34
  be32 filRLgLen;           // 36
  be32 filRPyLen;           // 40
  be32 filCrDat;            // 44
  be32 filMdDat;            // 48
  be32 filBkDat;            // 52
  InfoEtendue filFndrInfo;  // 56
  be16 filClpSize;          // 72
  ExtentsHfs filExtRec;     // 74
  ExtentsHfs filRExtRec;    // 86
  be32 filResrv;            // 98
};
static_assert(sizeof(FichierHfs) == 102 && offsetof(FichierHfs, filExtRec) == 0x4A &&
              offsetof(FichierHfs, filRExtRec) == 0x56);

/// Thread of a folder or a file.
struct FilHfs {
  std::uint8_t cdrType;                   // 0: 3 or 4
  std::uint8_t cdrResrv2;                 // 1
  std::array<be32, 2> thdResrv;           // 2
  be32 thdParID;                          // 10
  std::uint8_t thdCNameLongueur;          // 14
  std::array<std::uint8_t, 31> thdCName;  // 15
};
static_assert(sizeof(FilHfs) == 46 && offsetof(FilHfs, thdCName) == 15);

struct DossierPlus {
  be16 recordType;                           // 0: 1
  be16 flags;                                // 2
  be32 valence;                              // 4
  be32 folderID;                             // 8
  be32 createDate;                           // 12
  be32 contentModDate;                       // 16
  be32 attributeModDate;                     // 20
  be32 accessDate;                           // 24
  be32 backupDate;                           // 28
  std::array<std::uint8_t, 16> permissions;  // 32
  InfoDossier userInfo;                      // 48
  InfoEtendue finderInfo;                    // 64
  be32 textEncoding;                         // 80
  be32 reserved;                             // 84
};
static_assert(sizeof(DossierPlus) == 88 && offsetof(DossierPlus, userInfo) == 48);

struct FichierPlus {
  be16 recordType;                           // 0: 2
  be16 flags;                                // 2: bit 1 a thread record exists
  be32 reserved1;                            // 4
  be32 fileID;                               // 8
  be32 createDate;                           // 12
  be32 contentModDate;                       // 16
  be32 attributeModDate;                     // 20
  be32 accessDate;                           // 24
  be32 backupDate;                           // 28
  std::array<std::uint8_t, 16> permissions;  // 32
  InfoFichier userInfo;                      // 48
  InfoEtendue finderInfo;                    // 64
  be32 textEncoding;                         // 80
  be32 reserved2;                            // 84
  FourchePlus dataFork;                      // 88
  FourchePlus resourceFork;                  // 168
};
static_assert(sizeof(FichierPlus) == 248 && offsetof(FichierPlus, dataFork) == 88 &&
              offsetof(FichierPlus, resourceFork) == 168);

/// Fixed part of a thread; the name, cut to its length, follows at byte 8.
struct FilPlus {
  be16 recordType;  // 0: 3 or 4
  be16 reserved;    // 2
  be32 parentID;    // 4
};
static_assert(sizeof(FilPlus) == 8);

// --- keys and threads ready to insert

/// A few bytes by value: large enough for the longest key and the longest thread of either format.
class PetitTampon {
 public:
  static constexpr std::size_t kCapacite = 528;

  /// What does not fit is left out; the builders below stay below the capacity.
  void ajoute(std::span<const std::uint8_t> octets);
  [[nodiscard]] std::size_t size() const { return taille_; }
  [[nodiscard]] std::span<const std::uint8_t> octets() const { return {octets_.data(), taille_}; }
  operator std::span<const std::uint8_t>() const { return octets(); }  // NOLINT(google-explicit-constructor)

 private:
  std::array<std::uint8_t, kCapacite> octets_{};
  std::size_t taille_ = 0;
};

/// Catalog key of HFS: length byte, reserved byte, parent, Pascal name of Mac Roman bytes (cut at 31).
/// Unpadded: 7 bytes and the name.
[[nodiscard]] PetitTampon cle_hfs(std::uint32_t parent, std::string_view nom);
/// Catalog key of HFS+: 16-bit length, parent, name. 8 bytes and two for each unit.
[[nodiscard]] PetitTampon cle_hfsplus(std::uint32_t parent, const NomUnicode &nom);

/// Thread record of HFS, 46 bytes; `type` is kRubriqueFilDossier or kRubriqueFilFichier.
[[nodiscard]] FilHfs fil_hfs(int type, std::uint32_t parent, std::string_view nom);
/// Thread record of HFS+, 10 bytes and two for each unit.
[[nodiscard]] PetitTampon fil_hfsplus(int type, std::uint32_t parent, const NomUnicode &nom);

}  // namespace varnion
