#include "hfs/cache.hpp"

#include <algorithm>
#include <utility>

#include "IO/etat.hpp"

namespace varnion {
namespace {

// Most passes first, equals in their order. The tables are sorted at each miss and stay nearly sorted between
// two, so that insertion costs little more than one look at each entry.
template <typename Entree, std::size_t N>
void trie(std::array<Entree, N> &table, std::size_t nombre = N) {
  for (std::size_t i = 1; i < nombre; ++i) {
    if (table[i - 1].passages >= table[i].passages) continue;
    const Entree entree = table[i];
    std::size_t place = i;
    for (; place > 0 && table[place - 1].passages < entree.passages; --place) table[place] = table[place - 1];
    table[place] = entree;
  }
}

template <typename Table>
auto cherche_numero(Table &table, std::uint32_t noeud) {
  return std::find_if(table.begin(), table.end(),
                      [noeud](const auto &entree) { return entree.noeud == noeud; });
}

}  // namespace

CacheNoeuds &cache_noeuds() {
  return etat<CacheNoeuds>();
}

void CacheNoeuds::prepare(std::uint32_t taille_noeud) {
  if (octets_.size() == kResidents * std::size_t{taille_noeud}) return;
  octets_.assign(kResidents * std::size_t{taille_noeud}, 0);
  vide();
  for (std::size_t i = 0; i < kResidents; ++i) residents_[i].tranche = octets_.data() + i * taille_noeud;
}

CacheNoeuds::Resident *CacheNoeuds::cherche(std::uint32_t noeud) {
  if (noeud == 0) return nullptr;
  const auto place = cherche_numero(residents_, noeud);
  return place == residents_.end() ? nullptr : &*place;
}

bool CacheNoeuds::lit(std::uint32_t noeud, std::span<std::uint8_t> sortie) {
  Resident *resident = cherche(noeud);
  if (resident == nullptr) return false;
  ++resident->passages;
  std::copy_n(resident->tranche, std::min(sortie.size(), octets_.size() / kResidents), sortie.begin());
  return true;
}

void CacheNoeuds::promeut(Attente &attente, std::span<const std::uint8_t> octets) {
  const auto faible = std::find_if(residents_.begin(), residents_.end(), [&](const Resident &resident) {
    return resident.passages < attente.passages;
  });
  std::swap(faible->noeud, attente.noeud);
  std::swap(faible->passages, attente.passages);
  std::copy(octets.begin(), octets.end(), faible->tranche);
  // The first half only, although the table is sorted whole at the start of each miss: part of the policy.
  trie(attentes_, kAttentes / 2);
}

void CacheNoeuds::ajoute(std::uint32_t noeud, std::span<const std::uint8_t> octets) {
  if (noeud == 0 || octets.size() * kResidents != octets_.size()) return;
  trie(residents_);
  trie(attentes_);
  for (Attente &attente : attentes_) {
    if (attente.passages == 0) break;
    if (attente.noeud != noeud) continue;
    ++attente.passages;
    if (attente.passages > residents_.back().passages) promeut(attente, octets);
    return;
  }
  if (const auto libre = cherche_numero(residents_, 0); libre != residents_.end()) {
    libre->noeud = noeud;
    libre->passages = 1;
    std::copy(octets.begin(), octets.end(), libre->tranche);
    return;
  }
  if (const auto libre = cherche_numero(attentes_, 0); libre != attentes_.end()) {
    *libre = {noeud, 1};
    return;
  }
  std::fill(attentes_.begin() + kAttentes / 2, attentes_.end(), Attente{});
}

void CacheNoeuds::ecrit(std::uint32_t noeud, std::span<const std::uint8_t> octets) {
  Resident *resident = cherche(noeud);
  if (resident == nullptr || octets.size() * kResidents != octets_.size()) return;
  ++resident->passages;
  std::copy(octets.begin(), octets.end(), resident->tranche);
}

void CacheNoeuds::oublie(std::uint32_t noeud) {
  if (noeud == 0) return;
  if (Resident *resident = cherche(noeud); resident != nullptr) {
    resident->noeud = 0;
    resident->passages = 0;
    trie(residents_);
  } else if (const auto attente = cherche_numero(attentes_, noeud); attente != attentes_.end()) {
    *attente = {};
    trie(attentes_);
  }
}

void CacheNoeuds::vide() {
  for (Resident &resident : residents_) {
    resident.noeud = 0;
    resident.passages = 0;
  }
  attentes_.fill({});
}

}  // namespace varnion
