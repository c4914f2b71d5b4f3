#pragma once

#include <cstdint>

#include "hfs/ouverture.hpp"
#include "IO/requete.hpp"

namespace varnion {

/// The open image set aside, so that another one can be opened or made in its place: its file stays open and
/// locked, a temporary copy stays on the disk. At the end of its life it takes its place again and is mounted
/// as before, whatever was tried meanwhile; every command has flushed the volume, so that its image tells
/// all.
class ImageDeCote {
 public:
  ImageDeCote();
  ~ImageDeCote();
  ImageDeCote(const ImageDeCote &) = delete;
  ImageDeCote &operator=(const ImageDeCote &) = delete;

  /// Closes it for good: what was opened meanwhile stays.
  void lache();

 private:
  bool gardee_ = false;
  Support support_;
  PartitionCourante partition_;
  std::uint64_t debut_ = 0;          ///< first sector of the volume
  std::uint64_t fin_partition_ = 0;  ///< as `VolumeCourant` has it: a wrapper is not looked at again
};

}  // namespace varnion
