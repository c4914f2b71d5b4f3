#include "compil/sortie.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace varnion {

namespace {

constexpr std::size_t kTampon = 2U << 20;          ///< transfer buffer, 2 MB
constexpr std::uint64_t kCopieNoyau = 512U << 10;  ///< pieces from here up are moved inside the kernel

}  // namespace

SortieImage::SortieImage(const Fichier &cible) : cible_(cible), tampon_(kTampon) {}

bool SortieImage::note_erreur(int numero) {
  if (erreur_ == 0) erreur_ = numero != 0 ? numero : EIO;
  return false;
}

bool SortieImage::vide() {
  if (erreur_ != 0) return false;
  if (rempli_ != 0 && !cible_.ecrire_a({tampon_.data(), rempli_}, base_)) return note_erreur(errno);
  base_ += rempli_;
  rempli_ = 0;
  fin_ = std::max(fin_, base_);
  return true;
}

bool SortieImage::positionne(std::uint64_t position) {
  const std::uint64_t ici = this->position();
  if (position == ici) return erreur_ == 0;
  // Behind the end of all that was written there is nothing to spare; before it, nothing may be overwritten.
  if (position > ici && ici >= fin_ && position - ici <= tampon_.size() - rempli_) {
    std::memset(tampon_.data() + rempli_, 0, static_cast<std::size_t>(position - ici));
    rempli_ += static_cast<std::size_t>(position - ici);
    return erreur_ == 0;
  }
  if (!vide()) return false;
  base_ = position;
  return true;
}

bool SortieImage::ecrit(std::span<const std::uint8_t> octets) {
  while (!octets.empty()) {
    if (rempli_ == tampon_.size() && !vide()) return false;
    const std::size_t part = std::min(octets.size(), tampon_.size() - rempli_);
    std::memcpy(tampon_.data() + rempli_, octets.data(), part);
    rempli_ += part;
    octets = octets.subspan(part);
  }
  return erreur_ == 0;
}

std::int64_t SortieImage::copie_par_tampon(const Fichier &source, std::uint64_t position,
                                           std::uint64_t longueur) {
  std::uint64_t fait = 0;
  while (fait < longueur) {
    if (rempli_ == tampon_.size() && !vide()) return -1;
    const std::size_t part =
        static_cast<std::size_t>(std::min<std::uint64_t>(longueur - fait, tampon_.size() - rempli_));
    const std::int64_t lu = source.lire_a({tampon_.data() + rempli_, part}, position + fait);
    if (lu < 0) return -2;
    rempli_ += static_cast<std::size_t>(lu);
    fait += static_cast<std::uint64_t>(lu);
    if (static_cast<std::size_t>(lu) < part) break;
  }
  return static_cast<std::int64_t>(fait);
}

std::int64_t SortieImage::copie(const Fichier &source, std::uint64_t position, std::uint64_t longueur) {
  if (erreur_ != 0) return -1;
  std::uint64_t fait = 0;
  while (copie_noyau_ && longueur - fait >= kCopieNoyau) {
    if (!vide()) return -1;
    auto depuis = static_cast<off64_t>(position + fait);
    auto vers = static_cast<off64_t>(base_);
    const ssize_t part = ::copy_file_range(source.descripteur(), &depuis, cible_.descripteur(), &vers,
                                           static_cast<std::size_t>(longueur - fait), 0);
    if (part < 0 && errno == EINTR) continue;
    if (part < 0 && (errno == ENOSPC || errno == EFBIG || errno == EDQUOT)) {
      note_erreur(errno);
      return -1;
    }
    // Refused between these files, or nothing moved: some file systems report the end of the source so.
    if (part <= 0) {
      copie_noyau_ = part == 0;
      break;
    }
    base_ += static_cast<std::uint64_t>(part);
    fin_ = std::max(fin_, base_);
    fait += static_cast<std::uint64_t>(part);
  }
  if (fait == longueur) return static_cast<std::int64_t>(fait);
  const std::int64_t reste = copie_par_tampon(source, position + fait, longueur - fait);
  return reste < 0 ? reste : static_cast<std::int64_t>(fait) + reste;
}

}  // namespace varnion
