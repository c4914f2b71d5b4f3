#include <algorithm>
#include <numeric>
#include <queue>

#include "IO/plateforme.hpp"
#include "projet/inclusion.hpp"

namespace varnion {

namespace {

using Rangs = std::vector<std::size_t>;

// std::string compares bytes as unsigned, a shorter text before its longer forms.
struct Cle {
  std::string pliee;
  std::size_t rang;
};

void trie_lot(std::span<std::size_t> lot, std::span<const std::string> noms) {
  std::vector<Cle> cles;
  cles.reserve(lot.size());
  for (const std::size_t rang : lot) cles.push_back({plateforme::majuscules(noms[rang]), rang});
  std::stable_sort(cles.begin(), cles.end(), [&noms](const Cle &a, const Cle &b) {
    const int ordre = a.pliee.compare(b.pliee);
    return ordre != 0 ? ordre < 0 : noms[a.rang] < noms[b.rang];
  });
  std::transform(cles.begin(), cles.end(), lot.begin(), [](const Cle &cle) { return cle.rang; });
}

// The runs, each in order, to one list: the lowest head first by its bytes, of equal heads that of the first
// run.
Rangs fusionne_lots(std::span<const std::size_t> rangs, std::size_t par_lot,
                    std::span<const std::string> noms) {
  const auto apres = [&](std::size_t a, std::size_t b) {
    const int ordre = noms[rangs[a]].compare(noms[rangs[b]]);
    return ordre != 0 ? ordre > 0 : a > b;
  };
  std::priority_queue<std::size_t, Rangs, decltype(apres)> tetes(apres);
  for (std::size_t debut = 0; debut < rangs.size(); debut += par_lot) tetes.push(debut);
  Rangs resultat;
  resultat.reserve(rangs.size());
  while (!tetes.empty()) {
    const std::size_t tete = tetes.top();
    tetes.pop();
    resultat.push_back(rangs[tete]);
    if (tete + 1 < rangs.size() && (tete + 1) % par_lot != 0) tetes.push(tete + 1);
  }
  return resultat;
}

}  // namespace

std::vector<std::size_t> ordre_noms(std::span<const std::string> noms) {
  Rangs rangs(noms.size());
  std::iota(rangs.begin(), rangs.end(), std::size_t{0});
  std::size_t plus_long = 0;
  for (const std::string &nom : noms) plus_long = std::max(plus_long, nom.size());
  const std::size_t par_lot = std::max<std::size_t>(kOctetsLot / (plus_long + 1), 1);
  for (std::size_t debut = 0; debut < rangs.size(); debut += par_lot)
    trie_lot(std::span(rangs).subspan(debut, std::min(par_lot, rangs.size() - debut)), noms);
  return rangs.size() > par_lot ? fusionne_lots(rangs, par_lot, noms) : rangs;
}

}  // namespace varnion
