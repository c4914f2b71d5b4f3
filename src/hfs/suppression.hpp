#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "hfs/arbre.hpp"
#include "hfs/noeud.hpp"

// Deletion of a record from a B-tree, written once for the catalog and the extents tree. `Arbre` says how one
// of them is read, written and searched:
//   Cle                                  a key copied out of its node
//   descripteur(), lit(n), ecrit(n, octets), ecrit_entete(), libere(n), fils(fiche)
//   index_de(niveau, fils, cle)          the index record that points to `fils`, left in `index`
//   corrige(niveau, fils, ancienne, nouvelle)   the index records above follow a new first key
//   peut_vider                           whether the tree may lose its last record

namespace varnion {

template <typename Arbre>
class SuppressionArbre {
 public:
  using Cle = typename Arbre::Cle;

  /// Takes record `index` of the current leaf out; false with nothing changed.
  [[nodiscard]] static bool retire(std::int32_t index) {
    DescripteurArbre &arbre = Arbre::descripteur();
    const OctetsNoeud noeud = arbre.octets();
    const std::uint32_t numero = arbre.noeud;
    if (noeud.empty() || !noeud_sain(noeud) || entete_noeud(noeud)->kind != kNoeudFeuille) return false;
    const std::int32_t nombre = nb_enregistrements(noeud);
    if (index < 0 || index >= nombre) return false;
    const bool profond = arbre.fiche().treeDepth > 1;
    if (nombre == 1 && !profond) return vide(numero);
    const Cle ancienne(enregistrement(noeud, 0));
    if (profond && (index == 0 || nombre == 1) && !chemin_sain(numero, ancienne)) return false;
    if (nombre == 1) return retire_noeud(numero, 1, ancienne);
    ferme_enregistrement(noeud, index);
    const Cle nouvelle(enregistrement(noeud, 0));
    Arbre::ecrit(numero, noeud);
    if (index == 0 && profond) Arbre::corrige(2, numero, ancienne, nouvelle);
    return true;
  }

 private:
  // True when the leaf can be followed up to the root. The leaf is read again at the end.
  static bool chemin_sain(std::uint32_t feuille, const Cle &premiere) {
    DescripteurArbre &arbre = Arbre::descripteur();
    std::uint32_t fils = feuille;
    Cle cle = premiere;
    const std::uint16_t profondeur = arbre.fiche().treeDepth;
    bool sain = profondeur < 256;
    for (std::uint16_t niveau = 2; sain && niveau <= profondeur; ++niveau) {
      const OctetsNoeud noeud = Arbre::index_de(static_cast<std::uint8_t>(niveau), fils, cle);
      sain = !noeud.empty() && noeud_sain(noeud);
      if (!sain) break;
      fils = arbre.noeud;
      cle = Cle(enregistrement(noeud, 0));
      // The root of a sound tree has two children or more.
      if (niveau == profondeur) sain = nb_enregistrements(noeud) > 1;
    }
    sain = sain && fils == arbre.fiche().rootNode;
    return !Arbre::lit(feuille).empty() && sain;
  }

  // The only leaf loses its only record.
  static bool vide(std::uint32_t feuille) {
    if (!Arbre::peut_vider) return false;
    DescripteurArbre &arbre = Arbre::descripteur();
    FicheEnteteArbre &fiche = arbre.fiche();
    fiche.treeDepth = std::uint16_t{0};
    fiche.rootNode = fiche.firstLeafNode = fiche.lastLeafNode = 0U;
    Arbre::libere(feuille);
    Arbre::ecrit(feuille, std::vector<std::uint8_t>(arbre.taille_noeud));
    return true;
  }

  // The current node of height `hauteur`, whose one record goes, leaves the tree: first its index record, so
  // that no search comes here, then its neighbours.
  static bool retire_noeud(std::uint32_t numero, std::uint16_t hauteur, const Cle &cle) {
    DescripteurArbre &arbre = Arbre::descripteur();
    const EnteteNoeud tete = *entete_noeud(arbre.octets());
    if (!retire_index(static_cast<std::uint16_t>(hauteur + 1), numero, cle)) return false;
    if (hauteur == 1 && arbre.fiche().lastLeafNode == numero) arbre.fiche().lastLeafNode = tete.bLink;
    if (hauteur == 1 && arbre.fiche().firstLeafNode == numero) arbre.fiche().firstLeafNode = tete.fLink;
    relie(tete.bLink, numero, tete.fLink, true);
    relie(tete.fLink, numero, tete.bLink, false);
    efface(numero);
    if (hauteur == 1) reduit_racine();
    return true;
  }

  static bool retire_index(std::uint16_t niveau, std::uint32_t fils, const Cle &cle) {
    DescripteurArbre &arbre = Arbre::descripteur();
    if (niveau > arbre.fiche().treeDepth) return false;
    const OctetsNoeud noeud = Arbre::index_de(static_cast<std::uint8_t>(niveau), fils, cle);
    if (noeud.empty() || !noeud_sain(noeud)) return false;
    const std::uint32_t numero = arbre.noeud;
    const std::int32_t index = arbre.index;
    const Cle ancienne(enregistrement(noeud, 0));
    if (nb_enregistrements(noeud) == 1) return retire_noeud(numero, niveau, ancienne);
    ferme_enregistrement(noeud, index);
    const Cle nouvelle(enregistrement(noeud, 0));
    Arbre::ecrit(numero, noeud);
    if (index == 0 && niveau < arbre.fiche().treeDepth)
      Arbre::corrige(static_cast<std::uint16_t>(niveau + 1), numero, ancienne, nouvelle);
    return true;
  }

  // Makes `voisin` point past `parti`; a link that does not agree is left alone.
  static void relie(std::uint32_t voisin, std::uint32_t parti, std::uint32_t suivant, bool avant) {
    if (voisin == 0) return;
    const OctetsNoeud noeud = Arbre::lit(voisin);
    if (noeud.empty()) return;
    be32 &lien = avant ? entete_noeud(noeud)->fLink : entete_noeud(noeud)->bLink;
    if (lien != parti) return;
    lien = suivant;
    Arbre::ecrit(voisin, noeud);
  }

  static void efface(std::uint32_t numero) {
    Arbre::ecrit(numero, std::vector<std::uint8_t>(Arbre::descripteur().taille_noeud));
    Arbre::libere(numero);
    Arbre::ecrit_entete();
  }

  // A root with one child gives way to it.
  static void reduit_racine() {
    DescripteurArbre &arbre = Arbre::descripteur();
    while (arbre.fiche().treeDepth > 1) {
      const std::uint32_t racine = arbre.fiche().rootNode;
      const OctetsNoeud noeud = Arbre::lit(racine);
      if (noeud.empty() || entete_noeud(noeud)->kind != kNoeudIndex || nb_enregistrements(noeud) != 1) return;
      const std::uint32_t enfant = Arbre::fils(enregistrement(noeud, 0));
      if (enfant == 0) return;
      arbre.fiche().rootNode = enfant;
      arbre.fiche().treeDepth = static_cast<std::uint16_t>(arbre.fiche().treeDepth - 1);
      efface(racine);
    }
  }
};

}  // namespace varnion
