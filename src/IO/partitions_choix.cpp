#include "IO/partitions_choix.hpp"

#include "IO/requete.hpp"

namespace varnion {

void ChoixPartition::haut() {
  if (liste_.nombre != 0) rang_ = (rang_ + liste_.nombre - 1) % liste_.nombre;
}

void ChoixPartition::bas() {
  if (liste_.nombre != 0) rang_ = (rang_ + 1) % liste_.nombre;
}

int ChoixPartition::accepte(std::uint64_t &debut) const {
  if (liste_.nombre == 0) return annule(debut);
  debut = liste_.rangs[rang_].debut;
  return static_cast<int>(rang_);
}

int ChoixPartition::annule(std::uint64_t &debut) const {
  debut = 0;
  return kAnnule;
}

int ChoixPartition::ferme() const {
  support().unite_courante = kUniteFermee;
  return 0;
}

std::string_view systeme_partition(const InfoPartition &rang) {
  return rang.systeme == kSystemeMac ? "MacOS" : "Windows";
}

std::uint64_t mega_partition(const InfoPartition &rang) {
  constexpr unsigned kMega = 20;
  return (rang.taille * support().taille_secteur) >> kMega;
}

}  // namespace varnion
