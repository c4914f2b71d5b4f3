#pragma once

namespace varnion {

/// While it lives, sectors of the open image that went through `entree_driver` in short requests are kept in
/// memory: they are read from there, and a sector is written only where its bytes change. Every change still
/// reaches the file at once and in its order. Two at a time make no sense. It does nothing where another
/// driver than that of files is in force.
class MemoireSecteurs {
 public:
  MemoireSecteurs();
  ~MemoireSecteurs();
  MemoireSecteurs(const MemoireSecteurs &) = delete;
  MemoireSecteurs &operator=(const MemoireSecteurs &) = delete;

 private:
  bool branchee_;
};

}  // namespace varnion
