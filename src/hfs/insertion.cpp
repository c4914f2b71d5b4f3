#include <algorithm>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "hfs/carte_volume.hpp"
#include "hfs/croissance.hpp"
#include "hfs/division.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/noeud.hpp"
#include "hfs/traits.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"

// Insertion of records, for both formats. An insertion looks for all that could stop it before it changes
// anything: the way from the leaf up to the root and the nodes that splits on it take (`noeuds_du_chemin`),
// which are made sure of (`assure_noeuds`).

namespace varnion {
namespace {

DescripteurArbre &catalogue() {
  return volume_courant().catalogue;
}

template <typename Traits>
std::uint32_t alloue(DescripteurArbre &arbre) {
  if constexpr (std::is_same_v<Traits, TraitsHfs>) return alloue_noeud_hfs(arbre);
  return alloue_noeud_hfsplus(arbre);
}

// --- records

std::size_t place_prise(OctetsNoeud noeud) {
  const std::int32_t nombre = nb_enregistrements(noeud);
  return decalage(noeud, nombre) + 2 * static_cast<std::size_t>(nombre);
}

// The space test of the leaves: a few bytes stricter than what the record, its padding and two offsets take.
template <typename Traits>
bool tient_en_feuille(OctetsNoeud noeud, std::span<const std::uint8_t> cle, std::size_t donnees) {
  return place_prise(noeud) + Traits::place_feuille(cle, donnees) <= noeud.size();
}

bool tient(OctetsNoeud noeud, std::size_t taille) {
  return place_prise(noeud) + taille + 4 <= noeud.size();
}

// A leaf record as it will lie in the node; on HFS key and data are padded to an even length each.
template <typename Traits>
std::vector<std::uint8_t> compose_fiche(std::span<const std::uint8_t> cle,
                                        std::span<const std::uint8_t> donnees) {
  std::vector<std::uint8_t> fiche(cle.begin(), cle.end());
  fiche.resize(Traits::debut_donnees(cle));
  fiche.insert(fiche.end(), donnees.begin(), donnees.end());
  if (std::is_same_v<Traits, TraitsHfs> && fiche.size() % 2 != 0) fiche.push_back(0);
  return fiche;
}

// An index record. HFS keys are stretched to their slot, with its length in the length byte.
template <typename Traits>
std::vector<std::uint8_t> compose_index(std::span<const std::uint8_t> cle, std::uint32_t fils) {
  std::vector<std::uint8_t> fiche(cle.begin(), cle.end());
  fiche.resize(Traits::taille_index(cle));
  if constexpr (std::is_same_v<Traits, TraitsHfs>) fiche[0] = Traits::kTailleCleIndex - 1;
  *vue_modifiable<be32>(fiche, fiche.size() - 4) = fils;
  return fiche;
}

// False for a record that no node could take: alone in a leaf, and three to an index node, so that one split
// always makes room there.
template <typename Traits>
bool fiche_admise(std::span<const std::uint8_t> cle, std::size_t donnees) {
  const std::size_t taille_noeud = catalogue().taille_noeud;
  if (taille_noeud == 0 || !Traits::cle_admise(cle)) return false;
  return kDebutEnregistrements + Traits::place_feuille(cle, donnees) <= taille_noeud &&
         kDebutEnregistrements + 2 + 3 * (Traits::taille_index(cle) + 2) <= taille_noeud;
}

// Puts a record into the current node and writes the node.
void pose(OctetsNoeud noeud, std::int32_t rang, std::span<const std::uint8_t> fiche) {
  const auto place = ouvre_enregistrement(noeud, rang, fiche.size());
  std::copy(fiche.begin(), fiche.end(), place.begin());
  ecriture_noeud(catalogue().noeud, noeud);
}

// --- splits

struct Voisins {
  std::uint32_t gauche = 0;   // the node that was there
  std::uint32_t droite = 0;   // the new one
  std::uint32_t suivant = 0;  // behind it, 0 at the end of the level
};

// The records that the left node of an index split keeps: 3/4, or fewer when the record that waits for a
// place behind `index` would still find none. With one split enough, the nodes that a chain of splits takes
// can be counted. The right node gets two records where it can, or tiny nodes would make a tree of single
// records as deep as it is wide.
std::int32_t garde_index(OctetsNoeud noeud, std::int32_t index, std::size_t taille) {
  const std::int32_t nombre = nb_enregistrements(noeud);
  const auto occupe = [&noeud](std::int32_t debut, std::int32_t fin) {
    return kDebutEnregistrements + decalage(noeud, fin) - decalage(noeud, debut) +
           2 * static_cast<std::size_t>(fin - debut);
  };
  std::int32_t garde = std::clamp(3 * nombre / 4, 1, std::max(1, nombre - 2));
  for (; garde > 1; --garde) {
    const std::size_t moitie = index < garde ? occupe(0, garde) : occupe(garde, nombre);
    if (moitie + taille + 4 <= noeud.size()) break;
  }
  return garde;
}

template <typename Traits>
bool insere_index(const CleGardee<Traits> &cle_gauche, const CleGardee<Traits> &cle_droite,
                  const Voisins &voisins, std::uint8_t niveau);

template <typename Traits>
bool cree_racine(const CleGardee<Traits> &cle_gauche, const CleGardee<Traits> &cle_droite,
                 const Voisins &voisins, std::uint8_t niveau) {
  DescripteurArbre &arbre = catalogue();
  const std::uint32_t racine = alloue<Traits>(arbre);
  if (racine == 0) return false;
  std::vector<std::uint8_t> octets(arbre.taille_noeud);
  initialise_noeud(octets, kNoeudIndex, niveau);
  for (const auto &[cle, fils] :
       {std::pair{&cle_gauche, voisins.gauche}, std::pair{&cle_droite, voisins.droite}}) {
    const auto fiche = compose_index<Traits>(cle->octets(), fils);
    const auto place = ouvre_enregistrement(octets, entete_noeud(octets)->numRecords, fiche.size());
    std::copy(fiche.begin(), fiche.end(), place.begin());
  }
  arbre.fiche().treeDepth = niveau;
  arbre.fiche().rootNode = racine;
  ecriture_noeud(racine, octets);
  return true;
}

// Brings the rest of the tree in line with a split at `niveau`: the level above, the following node, the
// header.
template <typename Traits>
bool raccorde(const CleGardee<Traits> &cle_gauche, const CleGardee<Traits> &cle_droite,
              const Voisins &voisins, std::uint8_t niveau) {
  const auto dessus = static_cast<std::uint8_t>(niveau + 1);
  const bool fait = niveau == catalogue().fiche().treeDepth
                        ? cree_racine<Traits>(cle_gauche, cle_droite, voisins, dessus)
                        : insere_index<Traits>(cle_gauche, cle_droite, voisins, dessus);
  if (voisins.suivant == 0) {
    if (niveau == 1) {
      catalogue().fiche().lastLeafNode = voisins.droite;
      ecriture_entete_arbre();
    }
  } else if (const OctetsNoeud suivant = lecture_noeud(voisins.suivant); !suivant.empty()) {
    entete_noeud(suivant)->bLink = voisins.droite;
    ecriture_noeud(voisins.suivant, suivant);
  }
  return fait;
}

// Splits the current node, which is sound and has a record: it keeps `garde` records, a new node behind it
// takes the others and `seule`, a record of its own when not empty.
template <typename Traits>
bool divise(std::int32_t garde, std::span<const std::uint8_t> seule) {
  DescripteurArbre &arbre = catalogue();
  const OctetsNoeud courant = arbre.octets();
  std::vector<std::uint8_t> vieux(courant.begin(), courant.end());
  Voisins voisins{arbre.noeud, alloue<Traits>(arbre), entete_noeud(vieux)->fLink};
  if (voisins.droite == 0) return false;
  const EnteteNoeud tete = *entete_noeud(vieux);
  const CleGardee<Traits> cle_gauche(enregistrement(vieux, 0));

  std::vector<std::uint8_t> neuf(arbre.taille_noeud);
  initialise_noeud(neuf, tete.kind, tete.height);
  entete_noeud(neuf)->fLink = voisins.suivant;
  entete_noeud(neuf)->bLink = voisins.gauche;
  entete_noeud(vieux)->fLink = voisins.droite;
  copie_enregistrements(neuf, vieux, garde, tete.numRecords);
  garde_debut(vieux, garde);
  if (!seule.empty()) {
    const auto place = ouvre_enregistrement(neuf, entete_noeud(neuf)->numRecords, seule.size());
    std::copy(seule.begin(), seule.end(), place.begin());
  }
  const CleGardee<Traits> cle_droite(enregistrement(neuf, 0));
  // The new node first: a process that ends between the two leaves records twice, never none.
  ecriture_noeud(voisins.droite, neuf);
  ecriture_noeud(voisins.gauche, vieux);
  return raccorde<Traits>(cle_gauche, cle_droite, voisins, tete.height);
}

// Puts the index record of the right node behind that of the left one, splitting the index node when it is
// full.
template <typename Traits>
bool insere_index(const CleGardee<Traits> &cle_gauche, const CleGardee<Traits> &cle_droite,
                  const Voisins &voisins, std::uint8_t niveau) {
  const auto fiche = compose_index<Traits>(cle_droite.octets(), voisins.droite);
  for (int essai = 0; essai < 2; ++essai) {
    const OctetsNoeud noeud = index_de_fils<Traits>(niveau, voisins.gauche, cle_gauche.lue());
    if (noeud.empty() || !noeud_sain(noeud)) return false;
    const std::int32_t index = catalogue().index;
    if (tient(noeud, fiche.size())) {
      pose(noeud, index + 1, fiche);
      return true;
    }
    if (!divise<Traits>(garde_index(noeud, index, fiche.size()), {})) return false;
  }
  return false;
}

// Nodes that the change of a first key can take: a split at each level at worst.
std::uint32_t noeuds_pour_correction() {
  const std::uint32_t profondeur = catalogue().fiche().treeDepth;
  return profondeur * (profondeur + 2);
}

// Nodes that an insertion leaves free while a volume is edited. Keys of HFS+ differ in length: a deletion
// that brings a longer key to the front of a leaf may have to split an index node, on a volume where nothing
// is left for the catalog to grow into.
template <typename Traits>
std::uint32_t reserve() {
  if (std::is_same_v<Traits, TraitsHfs> || !carte_allocation().chargee) return 0;
  return noeuds_pour_correction();
}

// The longest index record that the keys of a node, or `autre`, would make.
template <typename Traits>
std::size_t plus_long_index(OctetsNoeud noeud, std::size_t autre) {
  for (std::int32_t rang = 0; rang < nb_enregistrements(noeud); ++rang) {
    const CleGardee<Traits> cle(enregistrement(noeud, rang));
    if (!cle.octets().empty()) autre = std::max(autre, Traits::taille_index(cle.octets()));
  }
  return autre;
}

}  // namespace

template <typename Traits>
std::optional<std::uint32_t> noeuds_du_chemin(std::span<const std::uint8_t> cle_neuve,
                                              std::uint16_t hauteur) {
  DescripteurArbre &arbre = catalogue();
  const std::uint32_t feuille = arbre.noeud;
  const std::int32_t index = arbre.index;
  const std::uint16_t profondeur = arbre.fiche().treeDepth;
  std::uint32_t fils = feuille;
  OctetsNoeud noeud = arbre.octets();
  bool sain = profondeur >= 1 && profondeur < 256;
  bool divise_ici = true;
  std::uint32_t noeuds = 1;
  std::size_t taille = plus_long_index<Traits>(noeud, Traits::taille_index(cle_neuve));
  for (auto niveau = static_cast<std::uint16_t>(hauteur + 1); sain && niveau <= profondeur; ++niveau) {
    const CleGardee<Traits> cle(enregistrement(noeud, 0));
    noeud = index_de_fils<Traits>(static_cast<std::uint8_t>(niveau), fils, cle.lue());
    sain = !noeud.empty() && noeud_sain(noeud);
    fils = arbre.noeud;
    if (!sain || !divise_ici) continue;
    divise_ici = !tient(noeud, taille);
    if (divise_ici) ++noeuds;
    taille = plus_long_index<Traits>(noeud, taille);
  }
  if (divise_ici) ++noeuds;  // a new root
  sain = sain && fils == arbre.fiche().rootNode;
  sain = !lecture_noeud(feuille).empty() && sain;
  arbre.index = index;
  return sain ? std::optional(noeuds) : std::nullopt;
}

template <typename Traits>
void corrige_premieres_cles(std::uint16_t niveau, std::uint32_t fils, const CleGardee<Traits> &ancienne,
                            const CleGardee<Traits> &nouvelle) {
  DescripteurArbre &arbre = catalogue();
  const auto fiche_taille = Traits::taille_index(nouvelle.octets());
  for (; niveau <= arbre.fiche().treeDepth; ++niveau) {
    OctetsNoeud noeud = index_de_fils<Traits>(static_cast<std::uint8_t>(niveau), fils, ancienne.lue());
    if (noeud.empty() || !noeud_sain(noeud)) return;
    const std::size_t liberee = enregistrement(noeud, arbre.index).size();
    if (place_prise(noeud) - liberee + fiche_taille + 2 > noeud.size()) {
      const auto noeuds = noeuds_du_chemin<Traits>(nouvelle.octets(), niveau);
      if (!noeuds || !assure_noeuds(*noeuds, SiImpossible::silence)) return;
      if (!divise<Traits>(garde_index(noeud, arbre.index, fiche_taille), {})) return;
      noeud = index_de_fils<Traits>(static_cast<std::uint8_t>(niveau), fils, ancienne.lue());
      if (noeud.empty() || !noeud_sain(noeud)) return;
    }
    const std::int32_t index = arbre.index;
    ferme_enregistrement(noeud, index);
    pose(noeud, index, compose_index<Traits>(nouvelle.octets(), fils));
    if (index != 0) return;
    fils = arbre.noeud;
  }
}

template std::optional<std::uint32_t> noeuds_du_chemin<TraitsHfs>(std::span<const std::uint8_t>,
                                                                  std::uint16_t);
template std::optional<std::uint32_t> noeuds_du_chemin<TraitsHfsPlus>(std::span<const std::uint8_t>,
                                                                      std::uint16_t);
template void corrige_premieres_cles<TraitsHfs>(std::uint16_t, std::uint32_t, const CleGardee<TraitsHfs> &,
                                                const CleGardee<TraitsHfs> &);
template void corrige_premieres_cles<TraitsHfsPlus>(std::uint16_t, std::uint32_t,
                                                    const CleGardee<TraitsHfsPlus> &,
                                                    const CleGardee<TraitsHfsPlus> &);

namespace {

// Puts the record at `rang` of the current leaf, where it fits.
template <typename Traits>
bool place_enregistrement(OctetsNoeud noeud, std::int32_t rang, std::span<const std::uint8_t> fiche,
                          std::optional<CleGardee<Traits>> ancienne) {
  const std::uint32_t feuille = catalogue().noeud;
  const std::uint32_t profondeur = catalogue().fiche().treeDepth;
  const bool cles_a_corriger = rang == 0 && profondeur > 1 && ancienne;
  if (cles_a_corriger && (!noeuds_du_chemin<Traits>(fiche) || !assure_noeuds(noeuds_pour_correction())))
    return false;
  pose(noeud, rang, fiche);
  if (cles_a_corriger) corrige_premieres_cles<Traits>(2, feuille, *ancienne, CleGardee<Traits>(fiche));
  return true;
}

// --- insertion

template <typename Traits>
class Insertion {
 public:
  Insertion(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees)
      : cle_(cle), donnees_(donnees), lue_(Traits::cle(cle)) {}

  [[nodiscard]] bool admise(std::uint32_t parent) const {
    return lue_ && lue_->parent == parent && !donnees_.empty() && Traits::taille_cle(cle_) == cle_.size() &&
           fiche_admise<Traits>(cle_, donnees_.size());
  }

  [[nodiscard]] bool a_sa_place() {
    return repete([this] { return place_de_cle<Traits>(*lue_); }, Traits::kFeuilleSeuleEnFin);
  }

  [[nodiscard]] bool en_fin() {
    return repete([] { return derniere_feuille(); }, false);
  }

  /// True when the key does not stand below the last one of the tree.
  [[nodiscard]] bool derriere_tout() {
    const OctetsNoeud noeud = derniere_feuille();
    const auto derniere = Traits::cle(enregistrement(noeud, nb_enregistrements(noeud) - 1));
    return derniere && entete_noeud(noeud)->fLink == 0 && compare_cles<Traits>(*derniere, *lue_) <= 0;
  }

 private:
  static OctetsNoeud derniere_feuille() {
    const OctetsNoeud noeud = lecture_noeud(catalogue().fiche().lastLeafNode);
    if (noeud.empty()) return {};
    if (const EnteteNoeud *tete = entete_noeud(noeud); tete->kind != kNoeudFeuille || tete->height != 1)
      return {};
    catalogue().index = kIndexFin;
    return noeud;
  }

  // Looks for the place, and splits the leaf there until the record fits. Each split halves the leaf or
  // nearly so, so the number of rounds follows the records of a node.
  template <typename Cherche>
  [[nodiscard]] bool repete(Cherche cherche, bool feuille_seule) {
    for (int tour = 0; tour < 64; ++tour) {
      const OctetsNoeud noeud = cherche();
      if (noeud.empty() || !noeud_sain(noeud)) return false;
      const std::int32_t nombre = nb_enregistrements(noeud);
      const std::int32_t rang = catalogue().index == kIndexFin ? nombre : catalogue().index;
      if (tient_en_feuille<Traits>(noeud, cle_, donnees_.size())) return pose_ici(noeud, rang, nombre);
      const auto noeuds = noeuds_du_chemin<Traits>(cle_);
      if (!noeuds || !assure_noeuds(*noeuds + reserve<Traits>())) return false;
      if (rang == nombre && (feuille_seule || nombre == 1)) {
        return divise<Traits>(nombre, compose_fiche<Traits>(cle_, donnees_));
      }
      const std::int32_t garde = nombre == 1 ? 0 : std::clamp(Traits::garde_feuille(nombre), 1, nombre - 1);
      if (nombre == 1) premiere_.emplace(enregistrement(noeud, 0));
      if (!divise<Traits>(garde, {})) return false;
    }
    return false;
  }

  [[nodiscard]] bool pose_ici(OctetsNoeud noeud, std::int32_t rang, std::int32_t nombre) {
    if (nombre > 0) premiere_.emplace(enregistrement(noeud, 0));
    return place_enregistrement<Traits>(noeud, rang, compose_fiche<Traits>(cle_, donnees_), premiere_);
  }

  std::span<const std::uint8_t> cle_;
  std::span<const std::uint8_t> donnees_;
  std::optional<typename Traits::CleLue> lue_;
  std::optional<CleGardee<Traits>> premiere_;  // first key of the leaf, as the index above knows it
};

bool journalise_refus(bool fait) {
  if (!fait) operations().journal(GenreJournal::erreur, "catalog: record not inserted");
  return fait;
}

template <typename Traits>
bool insere(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees, std::uint32_t parent) {
  Insertion<Traits> insertion(cle, donnees);
  return journalise_refus(insertion.admise(parent) && insertion.a_sa_place());
}

template <typename Traits>
bool insere_fin(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees,
                std::uint32_t parent) {
  Insertion<Traits> insertion(cle, donnees);
  if (!insertion.admise(parent)) return journalise_refus(false);
  return journalise_refus(insertion.derriere_tout() ? insertion.en_fin() : insertion.a_sa_place());
}

}  // namespace

bool insere_hfs(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees,
                std::uint32_t parent) {
  return insere<TraitsHfs>(cle, donnees, parent);
}
bool insere_hfsplus(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees,
                    std::uint32_t parent) {
  return insere<TraitsHfsPlus>(cle, donnees, parent);
}
bool insere_fin_hfs(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees,
                    std::uint32_t parent) {
  return insere_fin<TraitsHfs>(cle, donnees, parent);
}
bool insere_fin_hfsplus(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees,
                        std::uint32_t parent) {
  return insere_fin<TraitsHfsPlus>(cle, donnees, parent);
}

}  // namespace varnion
