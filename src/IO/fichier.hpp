#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace varnion {

enum class Ouverture {
  lecture,           ///< existing file, read only
  lecture_ecriture,  ///< existing file, read and write ("r+b")
  creation,          ///< created or truncated, read and write ("w+b")
  creation_neuve,    ///< created, read and write; fails when it exists
  ajout,             ///< created if absent, writes go to the end ("a+b")
};

/// A system file, move-only, closed at the end of its life. Positions are 64 bits.
class Fichier {
 public:
  Fichier() = default;
  explicit Fichier(int descripteur) : descripteur_(descripteur) {}
  Fichier(Fichier &&autre) noexcept : descripteur_(autre.relache()) {}
  Fichier &operator=(Fichier &&autre) noexcept;
  Fichier(const Fichier &) = delete;
  Fichier &operator=(const Fichier &) = delete;
  ~Fichier();

  [[nodiscard]] bool ouvert() const { return descripteur_ >= 0; }
  explicit operator bool() const { return ouvert(); }
  [[nodiscard]] int descripteur() const { return descripteur_; }
  /// Gives the descriptor away; the object is then closed.
  int relache();
  /// False when the system reports a late write error.
  bool fermer();

  /// Reads at `position` without moving the file position: bytes read (fewer only at the end of the file),
  /// -1 on error.
  [[nodiscard]] std::int64_t lire_a(std::span<std::uint8_t> octets, std::uint64_t position) const;
  /// Writes all of `octets` at `position` without moving the file position; false on any error (`errno`
  /// tells).
  [[nodiscard]] bool ecrire_a(std::span<const std::uint8_t> octets, std::uint64_t position) const;
  /// Reads up to the span's size from the file position; bytes read, -1 on error.
  [[nodiscard]] std::int64_t lire(std::span<std::uint8_t> octets) const;
  /// Writes all at the file position; false on any error.
  [[nodiscard]] bool ecrire(std::span<const std::uint8_t> octets) const;

 private:
  int descripteur_ = -1;
};

// Wrappers with a file position, used by the image layer, the compiler and the copies.

bool fichier_debut(const Fichier &fichier);
/// `origine` 0 start, 1 current, 2 end. New position, -1 when the seek fails.
std::int64_t fichier_seek(const Fichier &fichier, std::int64_t deplacement, int origine);
[[nodiscard]] std::int64_t fichier_position(const Fichier &fichier);
/// Size in bytes, -1 on error.
[[nodiscard]] std::int64_t fichier_taille(const Fichier &fichier);
bool fichier_vider(const Fichier &fichier);
/// Bytes read divided by the item count (the third argument, not the size); -1 on error or a count of 0.
std::int64_t fichier_lire(void *tampon, std::size_t taille, std::size_t nombre, const Fichier &fichier);
std::int64_t fichier_ecrire(const void *tampon, std::size_t taille, std::size_t nombre,
                            const Fichier &fichier);
/// Sets the end of file; the position is restored when it lay below the new size.
bool fichier_tronquer(const Fichier &fichier, std::uint64_t taille);
/// Takes the lock of a file for as long as it is open (flock, exclusive). False when another holds it; true,
/// too, where the file system has no locks.
[[nodiscard]] bool fichier_verrouille(const Fichier &fichier);
/// True when no folder names the open file any more: it was deleted, or another one took its name.
[[nodiscard]] bool fichier_orphelin(const Fichier &fichier);
/// One byte as 0-255, -1 at the end.
int fichier_getc(const Fichier &fichier);
/// One line with its end (LF, CR, CR LF or LF CR), cut after `limite` bytes; nullopt when nothing is left or
/// `limite` is 0.
std::optional<std::string> fichier_gets(std::size_t limite, const Fichier &fichier);
bool fichier_puts(std::string_view texte, const Fichier &fichier);
/// Moves everything from `source` to the end of the file towards the front, to `cible`, 1 MiB at a time, and
/// leaves the position behind the moved data. False when a transfer fails or `cible` lies behind `source`.
bool fichier_deplacer(const Fichier &fichier, std::uint64_t cible, std::uint64_t source);
/// Copies `longueur` bytes from position to position with a gauge for long copies: 0, -1 when no buffer could
/// be had, -2 when a read or a write fails (`errno` tells). Stops early, with 0, at the end of the source.
int fichier_copier(const Fichier &source, const Fichier &cible, std::uint64_t longueur);
/// Scans from the current position for `texte`: offset of its first byte, with the file positioned there; at
/// the end of the file the offset of the last partial candidate, or 0.
std::int64_t fichier_chercher(const Fichier &fichier, std::string_view texte);

}  // namespace varnion
