#include <algorithm>
#include <utility>
#include <vector>

#include "hfs/format_catalogue.hpp"
#include "hfs/noeud.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

// What changes inside records: forks swapped, attributes, signatures.

namespace varnion {
namespace {

constexpr int kMessageEditer = 1195;

std::uint64_t octets_des(const auto &extents) {
  std::uint64_t blocs = 0;
  for (const auto &extent : extents) blocs += extent.blockCount;
  return blocs * volume_courant().taille_bloc;
}

int echange(FichierHfs &f) {
  if (f.filRPyLen != octets_des(f.filRExtRec)) return 2;
  if (f.filPyLen != octets_des(f.filExtRec)) return 3;
  std::swap(f.filExtRec, f.filRExtRec);
  std::swap(f.filStBlk, f.filRStBlk);
  std::swap(f.filLgLen, f.filRLgLen);
  std::swap(f.filPyLen, f.filRPyLen);
  return 0;
}

int echange(FichierPlus &f) {
  const auto tient = [](const FourchePlus &fourche) {
    return fourche.logicalSize == 0 || fourche.logicalSize <= octets_des(fourche.extents);
  };
  if (!tient(f.resourceFork)) return 2;
  if (!tient(f.dataFork)) return 3;
  std::swap(f.dataFork, f.resourceFork);
  return 0;
}

struct Champs {
  InfoFichier *info;  // type and creator hold for files alone
  be16 *drapeaux;
  be32 *creation, *modification;
};

Champs champs(DossierHfs &d) {
  return {nullptr, &d.dirUsrInfo.frFlags, &d.dirCrDat, &d.dirMdDat};
}
Champs champs(DossierPlus &d) {
  return {nullptr, &d.userInfo.frFlags, &d.createDate, &d.contentModDate};
}
Champs champs(FichierHfs &f) {
  return {&f.filUsrWds, &f.filUsrWds.fdFlags, &f.filCrDat, &f.filMdDat};
}
Champs champs(FichierPlus &f) {
  return {&f.userInfo, &f.userInfo.fdFlags, &f.createDate, &f.contentModDate};
}

void verrouille(FichierHfs &f, bool oui) {
  f.filFlags = static_cast<std::uint8_t>((f.filFlags & ~1) | (oui ? 1 : 0));
}
void verrouille(FichierPlus &f, bool oui) {
  f.flags = static_cast<std::uint16_t>((f.flags & ~1) | (oui ? 1 : 0));
}

void applique(const Champs &c, const AttributsItem &a) {
  if (c.info != nullptr && a.type) c.info->fdType = *a.type;
  if (c.info != nullptr && a.createur) c.info->fdCreator = *a.createur;
  if (a.drapeaux) *c.drapeaux = *a.drapeaux;
  if (a.creation) *c.creation = *a.creation;
  if (a.modification) *c.modification = *a.modification;
}

template <typename C>
int change_attributs_de(const NomItem &nom, std::uint32_t parent, const AttributsItem &attributs) {
  const auto lue = rubrique_nommee<C>(C::nom(nom), kRubriqueToute, parent);
  if (!lue) return 0;
  const auto donnees = C::donnees(enregistrement_courant());
  if (lue->type == kRubriqueDossier) {
    applique(champs(*fiche_comme<typename C::Dossier>(donnees)), attributs);
  } else {
    auto &fichier = *fiche_comme<typename C::Fichier>(donnees);
    applique(champs(fichier), attributs);
    if (attributs.verrouille) verrouille(fichier, *attributs.verrouille);
  }
  ecrit_courant();
  return 1;
}

Signature signature_de(const InfoFichier &info) {
  Signature signature{};
  std::copy(info.fdType.begin(), info.fdType.end(), signature.begin());
  std::copy(info.fdCreator.begin(), info.fdCreator.end(), signature.begin() + 4);
  return signature;
}

void fixe_signature(InfoFichier &info, const Signature &signature) {
  std::copy_n(signature.begin(), 4, info.fdType.begin());
  std::copy_n(signature.begin() + 4, 4, info.fdCreator.begin());
}

enum class Visite { rien, change, arret };

// Shows the Finder information of each file record to `visite`, leaf by leaf; a leaf is written once when
// something in it changed. `visite` may read nodes: it works on a copy of the leaf.
template <typename C, typename F>
void pour_chaque_fichier(F visite) {
  DescripteurArbre &arbre = volume_courant().catalogue;
  GardeChaine garde(arbre.fiche().totalNodes);
  bool arret = false;
  for (std::uint32_t numero = arbre.fiche().firstLeafNode; !arret && garde.admet(numero);) {
    const OctetsNoeud lu = lecture_noeud(numero);
    if (lu.empty() || entete_noeud(lu)->kind != kNoeudFeuille) return;
    std::vector<std::uint8_t> noeud(lu.begin(), lu.end());
    bool change = false;
    for (std::int32_t i = 0; !arret && i < nb_enregistrements(noeud); ++i) {
      const auto fiche = enregistrement(noeud, i);
      const auto cle = C::Traits::cle(fiche);
      auto *fichier = fiche_comme<typename C::Fichier>(C::donnees(fiche));
      if (!cle || fichier == nullptr || C::Traits::type(fiche) != kRubriqueFichier) continue;
      const Visite suite = visite(*champs(*fichier).info, C::item_lu(cle->nom));
      change = change || suite == Visite::change;
      arret = suite == Visite::arret;
    }
    if (change) ecriture_noeud(numero, noeud);
    numero = entete_noeud(noeud)->fLink;
  }
}

}  // namespace

int echange_fourches(const NomItem &nom, std::uint32_t parent) {
  if (!modifiable()) return 1;
  const int resultat = selon_format([&](auto format) {
    using C = decltype(format);
    const auto lue = rubrique_nommee<C>(C::nom(nom), kRubriqueFichier, parent);
    if (!lue || du_journal<C>(*lue)) return 1;
    const int verdict = echange(*fiche_comme<typename C::Fichier>(C::donnees(enregistrement_courant())));
    if (verdict == 0) ecrit_courant();
    return verdict;
  });
  if (resultat != 0) return resultat;
  operations().curseur_attente_debut();
  (void)ecriture_structures();  // a failed write stays noted in the medium
  operations().curseur_attente_fin();
  return 0;
}

int change_attributs(const NomItem &nom, std::uint32_t parent, const AttributsItem &attributs) {
  if (!modifiable()) return 0;
  return selon_format(
      [&](auto format) { return change_attributs_de<decltype(format)>(nom, parent, attributs); });
}

int remplace_signature(const Signature &ancienne, const Signature &nouvelle) {
  if (!modifiable()) return 0;
  int nombre = 0;
  const auto visite = [&](InfoFichier &info, const NomItem &) {
    if (signature_de(info) != ancienne) return Visite::rien;
    fixe_signature(info, nouvelle);
    ++nombre;
    return Visite::change;
  };
  if (volume_courant().est_hfsplus) {
    pour_chaque_fichier<CatalogueHfsPlus>(visite);
  } else {
    pour_chaque_fichier<CatalogueHfs>(visite);
  }
  return nombre;
}

int edite_signatures(const DialogueSignature &dialogue) {
  static constexpr Signature kGenerique{'T', 'E', 'X', 'T', '?', '?', '?', '?'};
  if (volume_courant().est_hfsplus || !modifiable()) return 0;
  int nombre = 0;
  bool demande = true;
  std::optional<Signature> pour_toutes;
  pour_chaque_fichier<CatalogueHfs>([&](InfoFichier &info, const NomItem &nom) {
    if (signature_de(info) != kGenerique) return Visite::rien;
    if (!pour_toutes) {
      const std::string windows = nom_item_windows(nom);
      if (demande) {
        const int reponse = operations().demander_tous(message(kMessageEditer, {"TEXT????", windows}));
        if (reponse == -1) return Visite::arret;
        if (reponse == 0) return Visite::rien;
        demande = reponse != 2;
      }
      const auto choix = dialogue(windows, kGenerique);
      if (!choix) return Visite::arret;
      if (choix->pour_toutes) pour_toutes = choix->signature;
      fixe_signature(info, choix->signature);
    } else {
      fixe_signature(info, *pour_toutes);
    }
    ++nombre;
    return Visite::change;
  });
  return nombre;
}

}  // namespace varnion
