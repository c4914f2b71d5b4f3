#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <span>
#include <system_error>
#include <thread>
#include <vector>

#include "IO/adc.hpp"
#include "IO/iodmg_plan.hpp"

// The decoding of chunks on several threads. For the reader of disk images alone.

namespace varnion {

/// Bytes without a value, reused from chunk to chunk. They come from the system and go back to it at once: an
/// allocator would keep them for the thread that had them, and every thread would come to hold its share.
class TamponDmg {
 public:
  TamponDmg() = default;
  ~TamponDmg() { rend_au_dessus(0); }
  TamponDmg(const TamponDmg &) = delete;
  TamponDmg &operator=(const TamponDmg &) = delete;

  /// Room for `taille` bytes; false when there is no memory. The content is lost when it grows.
  [[nodiscard]] bool assure(std::size_t taille);
  /// Gives the memory back where it is more than `garde`.
  void rend_au_dessus(std::size_t garde);
  [[nodiscard]] std::span<std::uint8_t> debut(std::size_t taille) { return {octets_, taille}; }

 private:
  std::uint8_t *octets_ = nullptr;
  std::size_t place_ = 0;
};

/// One piece of work and what came out of it.
struct PieceDmg {
  std::size_t morceau = 0;
  std::uint64_t decalage = 0;  ///< of the piece in its chunk
  std::size_t longueur = 0;    ///< bytes in `sortie`; 0 for zeros
  EtatDmg etat = EtatDmg::bon;
  int code = 0;
  std::uint32_t crc = 0;
  std::uint32_t crc_publie = 0;  ///< of the published copy of ADC; else equal to `crc`
  bool ecart = false;            ///< the two ways of ADC differ
  bool prete = false;
  std::uint64_t cout = 0;  ///< bytes that count against the budget until it is given back
  TamponDmg sortie;
};

/// Decodes a whole chunk, or reads a piece of a raw one, into `piece.sortie`; `entree` is working room.
/// With `controle`, the checksums are there too.
void decode_piece(const Fichier &source, const MorceauDmg &morceau, bool controle, TamponDmg &entree,
                  PieceDmg &piece);
/// Decodes an ADC chunk with the published copy.
void decode_publiee(const Fichier &source, const MorceauDmg &morceau, TamponDmg &entree, PieceDmg &piece);
/// CRC-32 of `longueur` zeros.
[[nodiscard]] std::uint32_t crc_zeros(std::uint64_t longueur);

/// Memory for all pieces that are being decoded or wait to be taken, whatever the number of threads.
constexpr std::uint64_t kBudgetPieces = 256U << 20;

/// Threads that decode a list of chunks ahead of the one who takes them in order. One piece alone may go past
/// the budget: a chunk of the largest size always finds its turn.
class AtelierDmg {
 public:
  AtelierDmg(const Fichier &source, const std::vector<MorceauDmg> &morceaux, bool controle, unsigned fils);
  ~AtelierDmg();
  AtelierDmg(const AtelierDmg &) = delete;
  AtelierDmg &operator=(const AtelierDmg &) = delete;

  /// False when no thread could be had.
  [[nodiscard]] bool pret() const { return !fils_.empty(); }
  /// The next piece in order, for the caller until `rend`; nullptr behind the last.
  PieceDmg *prend();
  void rend();

 private:
  void travaille();
  /// The piece to work on next, with its place claimed; nullptr when there is none any more.
  PieceDmg *reclame(std::unique_lock<std::mutex> &verrou);
  /// Bytes of the next piece, in clear.
  [[nodiscard]] std::uint64_t pas_suivant() const;
  /// Working memory that the next piece takes at most.
  [[nodiscard]] std::uint64_t cout_suivant() const;

  const Fichier &source_;
  const std::vector<MorceauDmg> &morceaux_;
  const bool controle_;
  std::mutex verrou_;
  std::condition_variable a_faire_, faite_;
  std::vector<PieceDmg> places_;  // a ring
  std::uint64_t reclamees_ = 0, rendues_ = 0;
  std::uint64_t en_vol_ = 0;    // cost of the pieces claimed and not given back
  std::size_t garde_ = 0;       // bytes that an idle buffer keeps
  std::size_t morceau_ = 0;     // the next piece: its chunk
  std::uint64_t decalage_ = 0;  // and its place there
  bool arret_ = false;
  std::vector<std::thread> fils_;
};

}  // namespace varnion
