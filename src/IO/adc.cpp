#include "IO/adc.hpp"

#include <algorithm>
#include <cstring>

namespace varnion {

namespace {

// An overlapping copy repeats, in the published format, the bytes between source and target. Here the run is
// filled with the one byte at the source, which is the same for distance 0 only. Kept as it stands.
void copie_un_octet(std::uint8_t *cible, const std::uint8_t *source, std::size_t longueur) {
  std::memset(cible, *source, longueur);
}

void copie_publiee(std::uint8_t *cible, const std::uint8_t *source, std::size_t longueur) {
  for (std::size_t i = 0; i < longueur; ++i) cible[i] = source[i];
}

struct Renvoi {
  std::size_t longueur, distance, octets;  // `octets`: length of the code itself
};

// The copy code at the start of `entree`; 0 bytes when it is cut.
Renvoi lit_renvoi(std::span<const std::uint8_t> entree) {
  const unsigned b = entree[0];
  if ((b & 0x40U) != 0) {
    if (entree.size() < 3) return {0, 0, 0};
    return {(b & 0x3FU) + 4U, (static_cast<std::size_t>(entree[1]) << 8) | entree[2], 3};
  }
  if (entree.size() < 2) return {0, 0, 0};
  return {(b >> 2) + 3U, (static_cast<std::size_t>(b & 3U) << 8) | entree[1], 2};
}

}  // namespace

ResultatAdc decode_adc(std::span<const std::uint8_t> entree, std::span<std::uint8_t> sortie, CopieAdc copie) {
  ResultatAdc resultat;
  std::size_t &faits = resultat.longueur;
  while (!entree.empty()) {
    const std::size_t place = sortie.size() - faits;
    std::uint8_t *const cible = sortie.data() + faits;
    if ((entree[0] & 0x80U) != 0) {
      const std::size_t longueur = (entree[0] & 0x7FU) + 1U;
      if (entree.size() <= longueur || place < longueur) return resultat;
      std::memcpy(cible, entree.data() + 1, longueur);
      faits += longueur;
      entree = entree.subspan(longueur + 1);
      continue;
    }
    const Renvoi renvoi = lit_renvoi(entree);
    if (renvoi.octets == 0 || renvoi.distance >= faits || place < renvoi.longueur) return resultat;
    const std::uint8_t *const source = cible - renvoi.distance - 1;
    if (renvoi.distance + 1 >= renvoi.longueur) {
      std::memcpy(cible, source, renvoi.longueur);
    } else {
      resultat.chevauche = resultat.chevauche || renvoi.distance > 0;
      (copie == CopieAdc::publiee ? copie_publiee : copie_un_octet)(cible, source, renvoi.longueur);
    }
    faits += renvoi.longueur;
    entree = entree.subspan(renvoi.octets);
  }
  resultat.juste = true;
  return resultat;
}

}  // namespace varnion
