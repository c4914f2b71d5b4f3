#include <functional>

#include "hfs/arbre.hpp"
#include "hfs/noeud.hpp"
#include "hfs/ordre_catalogue.hpp"
#include "hfs/traits.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"

namespace varnion {
namespace {

DescripteurArbre &catalogue() {
  return volume_courant().catalogue;
}

constexpr std::uint16_t majuscule_ascii(std::uint16_t unite) {
  return unite >= 'a' && unite <= 'z' ? static_cast<std::uint16_t>(unite - 0x20) : unite;
}

bool type_voulu(int type, int voulu) {
  if (voulu == kRubriqueToute) return type == kRubriqueDossier || type == kRubriqueFichier;
  return type == voulu;
}

// From the root to a node of height `niveau`; `choisit` gives the child to take in an index node, 0 for none.
// Heights must fall on the way, so that the descent ends whatever the links say.
template <typename Choix>
OctetsNoeud descend(std::uint8_t niveau, Choix choisit) {
  OctetsNoeud noeud = lecture_noeud(catalogue().fiche().rootNode);
  for (int hauteur = 256; !noeud.empty();) {
    const EnteteNoeud *tete = entete_noeud(noeud);
    if (tete->height == niveau)
      return tete->kind == (niveau == 1 ? kNoeudFeuille : kNoeudIndex) ? noeud : OctetsNoeud{};
    if (tete->kind != kNoeudIndex || tete->height < niveau || tete->height >= hauteur) return {};
    hauteur = tete->height;
    const std::uint32_t fils = choisit(noeud);
    noeud = fils != 0 ? lecture_noeud(fils) : OctetsNoeud{};
  }
  return {};
}

// Where a descent stands with regard to one index key.
enum class Verdict { continuer, precedent, celui_ci };

// Goes through the records of an index node: the child that `juge` settles on, "precedent" being the first
// child when there is none before; the last child when nothing was settled.
template <typename Traits, typename Juge>
std::uint32_t fils_choisi(OctetsNoeud noeud, Juge juge) {
  std::uint32_t precedent = 0;
  const std::int32_t nombre = nb_enregistrements(noeud);
  for (std::int32_t i = 0; i < nombre; ++i) {
    const auto fiche = enregistrement(noeud, i);
    const auto cle = Traits::cle(fiche);
    const std::uint32_t fils = Traits::fils(fiche);
    if (!cle || fils == 0) continue;
    switch (juge(*cle)) {
      case Verdict::celui_ci:
        return fils;
      case Verdict::precedent:
        return precedent != 0 ? precedent : fils;
      case Verdict::continuer:
        precedent = fils;
    }
  }
  return precedent;
}

// The descent of the wildcard searches (`descend_hfs`, `descend_hfsplus`).
template <typename Traits>
OctetsNoeud descend_motif(typename Traits::Nom motif, std::uint32_t parent) {
  return descend(1, [&](OctetsNoeud noeud) {
    return fils_choisi<Traits>(noeud, [&](const typename Traits::CleLue &cle) {
      if (cle.parent < parent) return Verdict::continuer;
      if (cle.parent > parent) return Verdict::precedent;
      if (Traits::commence_par_etoile(motif) && !cle.nom.empty()) return Verdict::precedent;
      const int ordre = Traits::compare_motif(motif, cle.nom);
      return ordre == 0 ? Verdict::celui_ci : ordre < 0 ? Verdict::precedent : Verdict::continuer;
    });
  });
}

// `descend_parent`: parents only, backing up one child so as not to miss records on the border.
template <typename Traits>
OctetsNoeud descend_parent(std::uint8_t niveau, std::uint32_t parent) {
  return descend(niveau, [&](OctetsNoeud noeud) {
    return fils_choisi<Traits>(noeud, [&](const typename Traits::CleLue &cle) {
      return cle.parent < parent ? Verdict::continuer : Verdict::precedent;
    });
  });
}

// The last child strictly below the key, so that the first of several equal keys is not missed.
template <typename Traits>
OctetsNoeud descend_avant(const typename Traits::CleLue &voulue) {
  return descend(1, [&](OctetsNoeud noeud) {
    return fils_choisi<Traits>(noeud, [&](const typename Traits::CleLue &cle) {
      return compare_cles<Traits>(cle, voulue) < 0 ? Verdict::continuer : Verdict::precedent;
    });
  });
}

enum class Suite { continuer, trouve, absent };

// Walks the chain of nodes of one level from `noeud` on and shows each readable record to `visite`; `index`
// stands on the record at that moment, and on the found one at the end.
template <typename Visite>
OctetsNoeud parcourt(OctetsNoeud noeud, Visite visite) {
  DescripteurArbre &arbre = catalogue();
  GardeChaine garde(arbre.fiche().totalNodes);
  const std::int8_t genre = noeud.empty() ? kNoeudFeuille : entete_noeud(noeud)->kind;
  while (!noeud.empty() && garde.admet(arbre.noeud) && entete_noeud(noeud)->kind == genre) {
    const std::int32_t nombre = nb_enregistrements(noeud);
    for (arbre.index = 0; arbre.index < nombre; ++arbre.index) {
      const auto fiche = enregistrement(noeud, arbre.index);
      if (fiche.empty()) continue;
      const Suite suite = visite(noeud, fiche);
      if (suite == Suite::trouve) return noeud;
      if (suite == Suite::absent) return {};
    }
    const std::uint32_t suivant = entete_noeud(noeud)->fLink;
    noeud = suivant != 0 ? lecture_noeud(suivant) : OctetsNoeud{};
  }
  return {};
}

template <typename Traits>
std::span<const std::uint8_t> donnees(std::span<const std::uint8_t> fiche) {
  const std::size_t debut = Traits::debut_donnees(fiche);
  return debut != 0 && debut < fiche.size() ? fiche.subspan(debut) : std::span<const std::uint8_t>{};
}

template <typename Traits>
bool nom_correspond(typename Traits::Nom motif, int type, const typename Traits::CleLue &cle,
                    std::span<const std::uint8_t> fiche) {
  const auto nom = type == kRubriqueFilDossier ? Traits::nom_du_fil(donnees<Traits>(fiche)) : cle.nom;
  return Traits::compare_motif(motif, nom) == 0;
}

// The stop of the "exacte" search after a name that did not match: the next record of the folder begins with
// a letter above that of the wanted name.
template <typename Traits>
bool lettre_depassee(OctetsNoeud noeud, typename Traits::Nom motif, std::uint32_t parent) {
  if (Traits::contient_etoile(motif)) return false;
  const auto cle = Traits::cle(enregistrement(noeud, catalogue().index + 1));
  return cle && cle->parent == parent &&
         majuscule_ascii(Traits::premiere_unite(motif)) < majuscule_ascii(Traits::premiere_unite(cle->nom));
}

template <typename Traits>
OctetsNoeud cherche_rubrique(typename Traits::Nom motif, int voulu, std::uint32_t parent, bool arret_lettre) {
  return parcourt(descend_motif<Traits>(motif, parent), [&](OctetsNoeud noeud,
                                                            std::span<std::uint8_t> fiche) {
    const auto cle = Traits::cle(fiche);
    if (!cle || cle->parent < parent) return Suite::continuer;
    if (cle->parent > parent) return Suite::absent;
    const int type = Traits::type(fiche);
    if (!type_voulu(type, voulu)) return Suite::continuer;
    if (nom_correspond<Traits>(motif, type, *cle, fiche)) return Suite::trouve;
    return arret_lettre && lettre_depassee<Traits>(noeud, motif, parent) ? Suite::absent : Suite::continuer;
  });
}

template <typename Traits>
OctetsNoeud cherche_exacte(const typename Traits::CleLue &voulue, int voulu) {
  return parcourt(descend_avant<Traits>(voulue), [&](OctetsNoeud, std::span<std::uint8_t> fiche) {
    const auto cle = Traits::cle(fiche);
    if (!cle) return Suite::continuer;
    const int ordre = compare_cles<Traits>(*cle, voulue);
    if (ordre > 0) return Suite::absent;
    return ordre == 0 && type_voulu(Traits::type(fiche), voulu) ? Suite::trouve : Suite::continuer;
  });
}

// The same in a catalog whose names stand in no order: all records of the folder are tried.
OctetsNoeud cherche_en_marchant(const TraitsHfs::CleLue &voulue, int voulu) {
  return parcourt(descend_avant<TraitsHfs>({voulue.parent, {}}), [&](OctetsNoeud, std::span<std::uint8_t> fiche) {
    const auto cle = TraitsHfs::cle(fiche);
    if (!cle || cle->parent < voulue.parent) return Suite::continuer;
    if (cle->parent > voulue.parent) return Suite::absent;
    const bool trouve = compare_cles<TraitsHfs>(*cle, voulue) == 0 && type_voulu(TraitsHfs::type(fiche), voulu);
    return trouve ? Suite::trouve : Suite::continuer;
  });
}

template <typename Traits>
OctetsNoeud cherche_par_id(std::uint32_t id, int voulu, std::uint32_t parent) {
  return parcourt(descend_parent<Traits>(1, parent), [&](OctetsNoeud, std::span<std::uint8_t> fiche) {
    const int type = Traits::type(fiche);
    if (!type_voulu(type, voulu)) return Suite::continuer;
    const std::size_t place = type == kRubriqueDossier ? Traits::kIdDeDossier : Traits::kIdDeFichier;
    const be32 *lu = vue<be32>(donnees<Traits>(fiche), place);
    return lu != nullptr && *lu == id ? Suite::trouve : Suite::continuer;
  });
}

template <typename Traits>
OctetsNoeud cherche_enfant(std::uint8_t niveau, std::uint32_t fils, std::uint32_t parent) {
  if (niveau < 2) return {};
  return parcourt(descend_parent<Traits>(niveau, parent), [&](OctetsNoeud, std::span<std::uint8_t> fiche) {
    return Traits::fils(fiche) == fils ? Suite::trouve : Suite::continuer;
  });
}

template <typename Traits>
OctetsNoeud cherche_place(const typename Traits::CleLue &cle) {
  // The root folder's record is the only one with parent 1, and the first of the tree.
  if (cle.parent == kIdParentRacine) return lecture_noeud(catalogue().fiche().firstLeafNode);
  return place_de_cle<Traits>(cle);
}

template <typename Traits>
std::uint32_t parent_du_fil(OctetsNoeud noeud, std::uint32_t id) {
  if (noeud.empty()) return 0;
  const auto fiche = enregistrement_courant();
  const auto cle = Traits::cle(fiche);
  const be32 *parent = vue<be32>(donnees<Traits>(fiche), Traits::kParentDeFil);
  return cle && cle->parent == id && parent != nullptr ? std::uint32_t{*parent} : 0;
}

// Id of the folder just found, once its thread has been seen.
template <typename Traits, typename ChercheFil>
std::uint32_t dossier_confirme(OctetsNoeud noeud, ChercheFil cherche_fil) {
  if (noeud.empty()) return 0;
  const be32 *lu = vue<be32>(donnees<Traits>(enregistrement_courant()), Traits::kIdDeDossier);
  if (lu == nullptr) return 0;
  const std::uint32_t id = *lu;
  if (cherche_fil(id).empty()) return 0;
  const auto cle = Traits::cle(enregistrement_courant());
  return cle ? cle->parent : 0;
}

OctetsNoeud fil_hfs_de(std::uint32_t id) {
  return cherche_rubrique_hfs("*", kRubriqueFilDossier, id);
}
OctetsNoeud fil_hfsplus_de(std::uint32_t id) {
  return cherche_rubrique_hfsplus(nom_unicode(u"*"), kRubriqueFilDossier, id);
}

// Child of the first record of an index node, catalog or extents.
std::uint32_t premier_fils(const DescripteurArbre &arbre, OctetsNoeud noeud) {
  const bool hfsplus = volume_courant().est_hfsplus;
  const auto fiche = enregistrement(noeud, 0);
  if (arbre.genre == 0) return hfsplus ? fils_hfsplus(fiche) : fils_hfs(fiche);
  const be32 *fils = vue<be32>(fiche, hfsplus ? 12 : 8);
  return fils != nullptr ? std::uint32_t{*fils} : 0;
}

}  // namespace

template <typename Traits>
OctetsNoeud descend_cle(std::uint8_t niveau, const typename Traits::CleLue &voulue) {
  return descend(niveau, [&](OctetsNoeud noeud) {
    return fils_choisi<Traits>(noeud, [&](const typename Traits::CleLue &cle) {
      const int ordre = compare_cles<Traits>(voulue, cle);
      return ordre == 0 ? Verdict::celui_ci : ordre < 0 ? Verdict::precedent : Verdict::continuer;
    });
  });
}

template <typename Traits>
OctetsNoeud place_de_cle(const typename Traits::CleLue &voulue) {
  const OctetsNoeud noeud = descend_cle<Traits>(1, voulue);
  if (noeud.empty()) return {};
  std::int32_t &index = catalogue().index;
  const std::int32_t nombre = nb_enregistrements(noeud);
  for (index = 0; index < nombre; ++index) {
    const auto cle = Traits::cle(enregistrement(noeud, index));
    if (cle && compare_cles<Traits>(voulue, *cle) < 0) return noeud;
  }
  index = kIndexFin;
  return noeud;
}

template <typename Traits>
OctetsNoeud index_de_fils(std::uint8_t niveau, std::uint32_t fils, const typename Traits::CleLue &cle) {
  const OctetsNoeud noeud =
      parcourt(descend_cle<Traits>(niveau, cle), [&](OctetsNoeud, std::span<std::uint8_t> fiche) {
        if (Traits::fils(fiche) == fils) return Suite::trouve;
        const auto lue = Traits::cle(fiche);
        return lue && compare_cles<Traits>(*lue, cle) > 0 ? Suite::absent : Suite::continuer;
      });
  return noeud.empty() ? cherche_enfant<Traits>(niveau, fils, cle.parent) : noeud;
}

template OctetsNoeud descend_cle<TraitsHfs>(std::uint8_t, const TraitsHfs::CleLue &);
template OctetsNoeud descend_cle<TraitsHfsPlus>(std::uint8_t, const TraitsHfsPlus::CleLue &);
template OctetsNoeud place_de_cle<TraitsHfs>(const TraitsHfs::CleLue &);
template OctetsNoeud place_de_cle<TraitsHfsPlus>(const TraitsHfsPlus::CleLue &);
template OctetsNoeud index_de_fils<TraitsHfs>(std::uint8_t, std::uint32_t, const TraitsHfs::CleLue &);
template OctetsNoeud index_de_fils<TraitsHfsPlus>(std::uint8_t, std::uint32_t, const TraitsHfsPlus::CleLue &);

OctetsNoeud cherche_rubrique_hfs(std::string_view nom, int type, std::uint32_t parent) {
  return cherche_rubrique<TraitsHfs>(nom, type, parent, false);
}
OctetsNoeud cherche_rubrique_hfsplus(const NomUnicode &nom, int type, std::uint32_t parent) {
  return cherche_rubrique<TraitsHfsPlus>(nom.vue(), type, parent, false);
}
OctetsNoeud cherche_rubrique_exacte_hfsplus(const NomUnicode &nom, int type, std::uint32_t parent) {
  return cherche_rubrique<TraitsHfsPlus>(nom.vue(), type, parent, true);
}

// Keys without a name stand first in every order; another one that is not found may stand elsewhere.
OctetsNoeud cherche_exacte_hfs(std::string_view nom, int type, std::uint32_t parent) {
  const TraitsHfs::CleLue cle{parent, nom};
  const OrdreCatalogue &ordre = volume_courant().ordre;
  if (ordre.desordre && !nom.empty()) return cherche_en_marchant(cle, type);
  const OctetsNoeud trouve = cherche_exacte<TraitsHfs>(cle, type);
  if (!trouve.empty() || nom.empty() || ordre.lu) return trouve;
  const OrdreHfs suppose = ordre.noms;
  reconnait_ordre();
  if (ordre.desordre) return cherche_en_marchant(cle, type);
  return ordre.noms != suppose ? cherche_exacte<TraitsHfs>(cle, type) : OctetsNoeud{};
}
OctetsNoeud cherche_exacte_hfsplus_sans_joker(const NomUnicode &nom, int type, std::uint32_t parent) {
  return cherche_exacte<TraitsHfsPlus>({parent, nom.vue()}, type);
}

OctetsNoeud cherche_par_id_hfs(std::uint32_t id, int type, std::uint32_t parent) {
  return cherche_par_id<TraitsHfs>(id, type, parent);
}
OctetsNoeud cherche_par_id_hfsplus(std::uint32_t id, int type, std::uint32_t parent) {
  return cherche_par_id<TraitsHfsPlus>(id, type, parent);
}

OctetsNoeud cherche_enfant_hfs(std::uint8_t niveau, std::uint32_t fils, std::uint32_t parent) {
  return cherche_enfant<TraitsHfs>(niveau, fils, parent);
}
OctetsNoeud cherche_enfant_hfsplus(std::uint8_t niveau, std::uint32_t fils, std::uint32_t parent) {
  return cherche_enfant<TraitsHfsPlus>(niveau, fils, parent);
}

OctetsNoeud cherche_place_hfs(std::string_view nom, std::uint32_t parent) {
  return cherche_place<TraitsHfs>({parent, nom});
}
OctetsNoeud cherche_place_hfsplus(const NomUnicode &nom, std::uint32_t parent) {
  return cherche_place<TraitsHfsPlus>({parent, nom.vue()});
}

OctetsNoeud trouve_tete_niveau(const DescripteurArbre &arbre, std::uint8_t niveau) {
  const auto lit = [&arbre](std::uint32_t noeud) {
    return arbre.genre == 0 ? lecture_noeud(noeud) : lecture_noeud_extents(noeud);
  };
  OctetsNoeud noeud = lit(arbre.fiche().rootNode);
  if (noeud.empty()) return {};
  if (niveau > entete_noeud(noeud)->height) {
    operations().afficher_erreur("Erreur dans l'appel de trouve_tete_niveau.");
    return {};
  }
  for (int hauteur = 256; !noeud.empty();) {
    const EnteteNoeud *tete = entete_noeud(noeud);
    if (tete->height == niveau) return noeud;
    if (tete->kind != kNoeudIndex || tete->height >= hauteur) return {};
    hauteur = tete->height;
    const std::uint32_t fils = premier_fils(arbre, noeud);
    noeud = fils != 0 ? lit(fils) : OctetsNoeud{};
  }
  return {};
}

std::uint32_t parent_de(std::uint32_t id) {
  if (volume_courant().est_hfsplus) return parent_du_fil<TraitsHfsPlus>(fil_hfsplus_de(id), id);
  return parent_du_fil<TraitsHfs>(fil_hfs_de(id), id);
}

std::uint32_t cherche_dossier_hfs(std::string_view nom, std::uint32_t parent) {
  return dossier_confirme<TraitsHfs>(cherche_rubrique_hfs(nom, kRubriqueDossier, parent), fil_hfs_de);
}
std::uint32_t cherche_dossier_hfsplus(const NomUnicode &nom, std::uint32_t parent) {
  return dossier_confirme<TraitsHfsPlus>(cherche_rubrique_hfsplus(nom, kRubriqueDossier, parent),
                                         fil_hfsplus_de);
}

}  // namespace varnion
