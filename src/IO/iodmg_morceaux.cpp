#include "IO/iodmg_morceaux.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <new>

#include <bzlib.h>
#include <zlib.h>

#include "IO/iodmg_crc.hpp"

// GCC and Clang each have their way to tell of the address sanitizer.
#if defined(__SANITIZE_ADDRESS__)
#define VN_ADRESSES_SURVEILLEES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VN_ADRESSES_SURVEILLEES 1
#endif
#endif
#ifndef VN_ADRESSES_SURVEILLEES
#define VN_ADRESSES_SURVEILLEES 0
#endif

namespace varnion {

namespace {

// Small enough to stay in the cache from the read to the checksum.
constexpr std::uint64_t kPieceBrute = 256U << 10;

// What idle buffers keep for the next piece; the rest is for the pieces in flight.
constexpr std::uint64_t kBudgetRepos = kBudgetPieces / 4;
constexpr std::uint64_t kBudgetVol = kBudgetPieces - kBudgetRepos;
constexpr std::uint64_t kTravailBzip2 = 4U << 20;  // bytes of its tables at the largest block size

void echoue(PieceDmg &piece, EtatDmg etat, int code = -1) {
  piece.etat = etat;
  piece.code = code;
}

bool lit(const Fichier &source, std::uint64_t position, std::span<std::uint8_t> octets) {
  return source.lire_a(octets, position) == static_cast<std::int64_t>(octets.size());
}

// A zlib result; Z_OK for a stream that ends with the last byte of the output. Where a CRC-32 over the same
// bytes is compared anyway (`controle`), that of the stream is left out.
int decode_zlib(std::span<std::uint8_t> entree, std::span<std::uint8_t> sortie, bool controle) {
  z_stream flux{};
  int resultat = ::inflateInit(&flux);
  if (resultat != Z_OK) return resultat;
  if (controle) static_cast<void>(::inflateValidate(&flux, 0));
  flux.next_in = entree.data();
  flux.avail_in = static_cast<uInt>(entree.size());
  flux.next_out = sortie.data();
  flux.avail_out = static_cast<uInt>(sortie.size());
  resultat = ::inflate(&flux, Z_FINISH);
  const bool entier = resultat == Z_STREAM_END && flux.avail_out == 0;
  ::inflateEnd(&flux);
  if (entier) return Z_OK;
  return resultat == Z_MEM_ERROR ? Z_MEM_ERROR : Z_DATA_ERROR;
}

bool decode_bzip2(std::span<std::uint8_t> entree, std::span<std::uint8_t> sortie) {
  auto longueur = static_cast<unsigned>(sortie.size());
  const int resultat = ::BZ2_bzBuffToBuffDecompress(reinterpret_cast<char *>(sortie.data()), &longueur,
                                                    reinterpret_cast<char *>(entree.data()),
                                                    static_cast<unsigned>(entree.size()), 0, 0);
  return resultat == BZ_OK && longueur == sortie.size();
}

bool adc_entier(const ResultatAdc &resultat, std::span<const std::uint8_t> sortie) {
  return resultat.juste && resultat.longueur == sortie.size();
}

// The output of the kept copy stays in `sortie`; the published one is only weighed.
void decode_adc_gardee(std::span<std::uint8_t> entree, bool controle, PieceDmg &piece) {
  const auto sortie = piece.sortie.debut(piece.longueur);
  const ResultatAdc gardee = decode_adc(entree, sortie, CopieAdc::un_octet);
  if (!adc_entier(gardee, sortie)) return echoue(piece, EtatDmg::donnees_fausses);
  if (controle) piece.crc = piece.crc_publie = crc_rapide(sortie);
  if (!controle || !gardee.chevauche) return;
  TamponDmg autre;
  if (!autre.assure(piece.longueur)) return echoue(piece, EtatDmg::memoire);
  const auto publiee = autre.debut(piece.longueur);
  static_cast<void>(decode_adc(entree, publiee, CopieAdc::publiee));
  piece.ecart = std::memcmp(sortie.data(), publiee.data(), sortie.size()) != 0;
  if (piece.ecart) piece.crc_publie = crc_rapide(publiee);
}

// Reads the compressed bytes of a chunk and makes room for the others.
bool prepare(const Fichier &source, const MorceauDmg &morceau, TamponDmg &entree, PieceDmg &piece) {
  const auto comprime = static_cast<std::size_t>(morceau.comprime);
  if (!entree.assure(comprime + 1) || !piece.sortie.assure(piece.longueur + 1)) {
    echoue(piece, EtatDmg::memoire);
    return false;
  }
  if (!lit(source, morceau.source, entree.debut(comprime))) {
    echoue(piece, EtatDmg::donnees_fausses);
    return false;
  }
  return true;
}

void lit_brut(const Fichier &source, const MorceauDmg &morceau, PieceDmg &piece) {
  if (!piece.sortie.assure(piece.longueur)) return echoue(piece, EtatDmg::memoire);
  if (!lit(source, morceau.source + piece.decalage, piece.sortie.debut(piece.longueur)))
    echoue(piece, EtatDmg::donnees_fausses);
}

// A checked build keeps the allocator, which sees a write past the end.
#if VN_ADRESSES_SURVEILLEES
std::uint8_t *prend_octets(std::size_t taille) {
  return new (std::nothrow) std::uint8_t[taille];
}
void rend_octets(std::uint8_t *octets, std::size_t /*taille*/) {
  delete[] octets;
}
#else
std::uint8_t *prend_octets(std::size_t taille) {
  void *place = ::mmap(nullptr, taille, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return place == MAP_FAILED ? nullptr : static_cast<std::uint8_t *>(place);
}
void rend_octets(std::uint8_t *octets, std::size_t taille) {
  ::munmap(octets, taille);
}
#endif

}  // namespace

bool TamponDmg::assure(std::size_t taille) {
  if (taille <= place_) return true;
  rend_au_dessus(0);
  octets_ = prend_octets(taille);
  place_ = octets_ != nullptr ? taille : 0;
  return place_ != 0;
}

void TamponDmg::rend_au_dessus(std::size_t garde) {
  if (place_ <= garde) return;
  rend_octets(octets_, place_);
  octets_ = nullptr;
  place_ = 0;
}

std::uint32_t crc_zeros(std::uint64_t longueur) {
  // Two CRCs joined are that of both texts: powers of two of zeros make any number of them.
  constexpr std::uint8_t kZero = 0;
  uLong resultat = 0;
  uLong puissance = ::crc32(0, &kZero, 1);
  for (std::uint64_t bit = 1; bit != 0 && bit <= longueur; bit <<= 1) {
    const auto nombre = static_cast<z_off_t>(bit);
    if ((longueur & bit) != 0) resultat = ::crc32_combine(resultat, puissance, nombre);
    puissance = ::crc32_combine(puissance, puissance, nombre);
  }
  return static_cast<std::uint32_t>(resultat);
}

void decode_piece(const Fichier &source, const MorceauDmg &morceau, bool controle, TamponDmg &entree,
                  PieceDmg &piece) {
  if (morceau.nul()) {
    if (controle) piece.crc = piece.crc_publie = crc_zeros(morceau.longueur);
    return;
  }
  if (morceau.type == kDmgBrut) {
    lit_brut(source, morceau, piece);
  } else {
    if (!prepare(source, morceau, entree, piece)) return;
    const auto octets = entree.debut(static_cast<std::size_t>(morceau.comprime));
    const auto sortie = piece.sortie.debut(piece.longueur);
    if (morceau.type == kDmgAdc) return decode_adc_gardee(octets, controle, piece);
    if (morceau.type == kDmgZlib) {
      const int resultat = decode_zlib(octets, sortie, controle && morceau.controle);
      if (resultat != Z_OK)
        return echoue(piece, resultat == Z_MEM_ERROR ? EtatDmg::memoire : EtatDmg::donnees_fausses, resultat);
    } else if (!decode_bzip2(octets, sortie)) {
      return echoue(piece, EtatDmg::donnees_fausses);
    }
  }
  if (controle && piece.etat == EtatDmg::bon)
    piece.crc = piece.crc_publie = crc_rapide(piece.sortie.debut(piece.longueur));
}

void decode_publiee(const Fichier &source, const MorceauDmg &morceau, TamponDmg &entree, PieceDmg &piece) {
  if (!prepare(source, morceau, entree, piece)) return;
  const auto sortie = piece.sortie.debut(piece.longueur);
  const auto octets = entree.debut(static_cast<std::size_t>(morceau.comprime));
  if (!adc_entier(decode_adc(octets, sortie, CopieAdc::publiee), sortie))
    echoue(piece, EtatDmg::donnees_fausses);
}

AtelierDmg::AtelierDmg(const Fichier &source, const std::vector<MorceauDmg> &morceaux, bool controle,
                       unsigned fils)
    : source_(source), morceaux_(morceaux), controle_(controle) {
  if (fils == 0) fils = std::max(1U, std::thread::hardware_concurrency());
  fils = std::min(fils, 64U);
  places_ = std::vector<PieceDmg>(std::size_t{fils} * 2 + 1);
  garde_ = static_cast<std::size_t>(kBudgetRepos / (places_.size() + fils));
  fils_.reserve(fils);
  try {
    for (unsigned i = 0; i < fils; ++i) fils_.emplace_back([this] { travaille(); });
  } catch (const std::system_error &) {
    // With fewer threads it takes longer; with none, `pret` says so.
  }
}

AtelierDmg::~AtelierDmg() {
  {
    const std::lock_guard garde(verrou_);
    arret_ = true;
  }
  a_faire_.notify_all();
  for (std::thread &fil : fils_) fil.join();
}

std::uint64_t AtelierDmg::pas_suivant() const {
  const MorceauDmg &morceau = morceaux_[morceau_];
  const std::uint64_t reste = morceau.longueur - decalage_;
  return morceau.type == kDmgBrut ? std::min(reste, kPieceBrute) : reste;
}

std::uint64_t AtelierDmg::cout_suivant() const {
  const MorceauDmg &morceau = morceaux_[morceau_];
  if (morceau.nul()) return 0;
  std::uint64_t cout = pas_suivant();
  if (morceau.type == kDmgBrut) return cout;
  cout += morceau.comprime;
  if (morceau.type == kDmgAdc && controle_) cout += morceau.longueur;
  return morceau.type == kDmgBzip2 ? cout + kTravailBzip2 : cout;
}

PieceDmg *AtelierDmg::reclame(std::unique_lock<std::mutex> &verrou) {
  a_faire_.wait(verrou, [this] {
    if (arret_ || morceau_ == morceaux_.size()) return true;
    return reclamees_ - rendues_ < places_.size() &&
           (reclamees_ == rendues_ || en_vol_ + cout_suivant() <= kBudgetVol);
  });
  if (arret_ || morceau_ == morceaux_.size()) return nullptr;
  const MorceauDmg &morceau = morceaux_[morceau_];
  PieceDmg &piece = places_[static_cast<std::size_t>(reclamees_++ % places_.size())];
  piece.morceau = morceau_;
  piece.decalage = decalage_;
  piece.etat = EtatDmg::bon;
  piece.code = 0;
  piece.ecart = piece.prete = false;
  piece.cout = cout_suivant();
  en_vol_ += piece.cout;
  const std::uint64_t pas = pas_suivant();
  piece.longueur = morceau.nul() ? 0 : static_cast<std::size_t>(pas);
  decalage_ += pas;
  if (decalage_ == morceau.longueur) {
    ++morceau_;
    decalage_ = 0;
  }
  return &piece;
}

void AtelierDmg::travaille() {
  TamponDmg entree;
  std::unique_lock verrou(verrou_);
  while (PieceDmg *piece = reclame(verrou)) {
    const MorceauDmg &morceau = morceaux_[piece->morceau];
    verrou.unlock();
    decode_piece(source_, morceau, controle_, entree, *piece);
    entree.rend_au_dessus(garde_);
    verrou.lock();
    piece->prete = true;
    faite_.notify_one();
  }
  a_faire_.notify_all();
}

PieceDmg *AtelierDmg::prend() {
  std::unique_lock verrou(verrou_);
  PieceDmg &piece = places_[static_cast<std::size_t>(rendues_ % places_.size())];
  // The piece is not claimed yet, or not ready yet; behind the last one nothing is claimed any more.
  faite_.wait(verrou, [&] { return rendues_ < reclamees_ ? piece.prete : morceau_ == morceaux_.size(); });
  return rendues_ < reclamees_ ? &piece : nullptr;
}

void AtelierDmg::rend() {
  {
    const std::lock_guard garde(verrou_);
    PieceDmg &piece = places_[static_cast<std::size_t>(rendues_ % places_.size())];
    piece.sortie.rend_au_dessus(garde_);
    en_vol_ -= piece.cout;
    ++rendues_;
  }
  a_faire_.notify_all();
}

}  // namespace varnion
