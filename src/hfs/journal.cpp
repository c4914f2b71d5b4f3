#include "hfs/journal.hpp"

#include <array>

#include "hfs/extents.hpp"
#include "hfs/volume.hpp"
#include "IO/requete.hpp"

namespace varnion {
namespace {

constexpr std::uint32_t kAttributJournal = 0x2000;  // kHFSVolumeJournaledMask
constexpr std::uint32_t kDansLeVolume = 1;          // kJIJournalInFSMask
constexpr std::uint32_t kAilleurs = 2;              // kJIJournalOnOtherDeviceMask
constexpr std::uint32_t kAInitialiser = 4;          // kJIJournalNeedInitMask
constexpr std::uint32_t kMarque = 0x4A4E4C78;       // "JNLx"
constexpr std::uint32_t kAncienneMarque = 0x4A484452;
constexpr std::uint32_t kOrdre = 0x12345678;

using Secteur = std::array<std::uint8_t, kTailleSecteur>;

struct BlocInfo {
  be32 flags;                                    // 00
  std::array<std::uint8_t, 32> deviceSignature;  // 04
  be64 offset;                                   // 24: bytes from the start of the volume
  be64 size;                                     // 2C
};
static_assert(sizeof(BlocInfo) == 52);

/// journal_header, in the byte order of the machine that wrote it.
template <typename U32, typename U64>
struct TeteJournal {
  U32 magic;       // 00
  U32 endian;      // 04
  U64 start;       // 08: oldest transaction
  U64 end;         // 10: free space begins
  U64 size;        // 18
  U32 blhdr_size;  // 20
  U32 checksum;    // 24
  U32 jhdr_size;   // 28
};

// What the header says, when it is one in this byte order.
template <typename Tete>
EtatJournal juge_tete(const Secteur &secteur) {
  const auto &tete = *vue<Tete>(secteur, 0);
  const std::uint64_t taille = tete.size;
  if ((tete.magic != kMarque && tete.magic != kAncienneMarque) || tete.endian != kOrdre)
    return EtatJournal::illisible;
  // An offset equal to the size has come round to the first sector behind the header.
  const auto place = [&](std::uint64_t offset) {
    return offset == taille ? std::uint64_t{std::uint32_t{tete.jhdr_size}} : offset;
  };
  const std::uint64_t debut = place(tete.start), fin = place(tete.end);
  if (debut == fin) return EtatJournal::vide;
  const bool admis = debut != 0 && debut < taille && fin != 0 && fin < taille;
  return admis ? EtatJournal::plein : EtatJournal::illisible;
}

}  // namespace

JournalVolume lit_journal() {
  const VolumeCourant &volume = volume_courant();
  JournalVolume journal;
  if (!volume.est_hfsplus || volume.vhb == nullptr || (volume.vhb->attributes & kAttributJournal) == 0)
    return journal;
  journal.etat = EtatJournal::illisible;
  journal.bloc_info = volume.vhb->journalInfoBlock;
  if (journal.bloc_info == 0 || journal.bloc_info >= volume.vhb->totalBlocks || volume.taille_bloc == 0)
    return journal;
  Secteur secteur{};
  lit_secteurs(secteur.data(), secteur_de_bloc(journal.bloc_info), 1);
  const auto &info = *vue<BlocInfo>(secteur, 0);
  const std::uint32_t drapeaux = info.flags;
  const std::uint64_t place = info.offset;
  if ((drapeaux & kAilleurs) != 0 || (drapeaux & kDansLeVolume) == 0) return journal;
  if (place % kTailleSecteur != 0 || place / volume.taille_bloc >= volume.vhb->totalBlocks) return journal;
  journal.bloc = place / volume.taille_bloc;
  if ((drapeaux & kAInitialiser) != 0) {
    journal.etat = EtatJournal::vide;
    return journal;
  }
  secteur.fill(0);
  lit_secteurs(secteur.data(), volume.debut_allocation + place / kTailleSecteur, 1);
  journal.etat = juge_tete<TeteJournal<be32, be64>>(secteur);
  if (journal.etat == EtatJournal::illisible) journal.etat = juge_tete<TeteJournal<le32, le64>>(secteur);
  return journal;
}

}  // namespace varnion
