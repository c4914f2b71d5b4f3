#include "compil/noeuds_neufs.hpp"

#include <cstring>

#include "IO/requete.hpp"

namespace varnion {

namespace {

constexpr std::uint16_t kDebutReserve = 0x78;  ///< second record of a header node

void pose_table(std::vector<std::uint8_t> &noeud, std::span<const std::uint16_t> positions) {
  std::size_t place = noeud.size();
  for (const std::uint16_t position : positions) {
    const be16 valeur(position);
    place -= sizeof valeur;
    std::memcpy(noeud.data() + place, &valeur, sizeof valeur);
  }
}

}  // namespace

std::vector<std::uint8_t> noeud_entete(const FicheEnteteArbre &fiche, std::uint8_t carte) {
  std::vector<std::uint8_t> noeud(fiche.nodeSize, 0);
  EnteteNoeud tete{};
  tete.kind = kNoeudEntete;
  tete.numRecords = 3;
  std::memcpy(noeud.data(), &tete, sizeof tete);
  std::memcpy(noeud.data() + kDebutEnregistrements, &fiche, sizeof fiche);
  noeud[kDebutCarteEntete] = carte;
  const std::uint16_t positions[] = {kDebutEnregistrements, kDebutReserve, kDebutCarteEntete,
                                     static_cast<std::uint16_t>(noeud.size() - 8)};
  pose_table(noeud, positions);
  return noeud;
}

FeuilleNeuve::FeuilleNeuve(std::uint32_t taille_noeud, bool pair)
    : taille_noeud_(taille_noeud), pair_(pair), octets_(kDebutEnregistrements, 0) {}

void FeuilleNeuve::ajoute_octets(std::span<const std::uint8_t> octets) {
  octets_.insert(octets_.end(), octets.begin(), octets.end());
  if (pair_ && octets_.size() % 2 != 0) octets_.push_back(0);
}

void FeuilleNeuve::ajoute(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees) {
  positions_.push_back(static_cast<std::uint16_t>(octets_.size()));
  ajoute_octets(cle);
  ajoute_octets(donnees);
}

std::vector<std::uint8_t> FeuilleNeuve::octets() const {
  std::vector<std::uint8_t> noeud = octets_;
  std::vector<std::uint16_t> positions = positions_;
  positions.push_back(static_cast<std::uint16_t>(noeud.size()));
  noeud.resize(taille_noeud_);
  EnteteNoeud tete{};
  tete.kind = kNoeudFeuille;
  tete.height = 1;
  tete.numRecords = static_cast<std::uint16_t>(positions_.size());
  std::memcpy(noeud.data(), &tete, sizeof tete);
  pose_table(noeud, positions);
  return noeud;
}

void ecrit_noeud(std::span<const std::uint8_t> octets, std::uint64_t secteur) {
  ecrit_secteurs(octets.data(), secteur, static_cast<std::uint32_t>(octets.size() / kTailleSecteur));
}

}  // namespace varnion
