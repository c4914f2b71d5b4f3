#include "hfs/catalogue.hpp"

#include <algorithm>
#include <unordered_set>

#include "hfs/fenetre.hpp"
#include "hfs/garde.hpp"
#include "hfs/noeud.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/traits.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"

namespace varnion {
namespace {

constexpr std::uint16_t kVerrouHfs = 0x01;        // filFlags
constexpr std::uint16_t kVerrouPlus = 0x01;       // kHFSFileLockedMask
constexpr std::size_t kDrapeauxProprietaire = 9;  // ownerFlags in HFSPlusBSDInfo
constexpr std::uint8_t kImmuable = 0x02;          // UF_IMMUTABLE: what newer systems set for "locked"

// --- from records to elements

template <typename A, typename B>
void copie_infos(ElementMac &element, const A &info, const B &etendue) {
  const auto debut = octets_de(info);
  std::copy(debut.begin(), debut.end(), element.infos_finder.begin());
  std::copy(etendue.begin(), etendue.end(), element.infos_finder.begin() + sizeof(A));
}

FourcheMac fourche_hfs(std::uint32_t longueur, std::uint32_t physique, const ExtentsHfs &extents) {
  FourcheMac fourche{longueur, physique, {}};
  for (std::size_t i = 0; i < extents.size(); ++i)
    fourche.extents[i] = {extents[i].startBlock, extents[i].blockCount};
  return fourche;
}

FourcheMac fourche_plus(const FourchePlus &lue) {
  FourcheMac fourche{lue.logicalSize, std::uint64_t{lue.totalBlocks} * volume_courant().taille_bloc, {}};
  for (std::size_t i = 0; i < lue.extents.size(); ++i)
    fourche.extents[i] = {lue.extents[i].startBlock, lue.extents[i].blockCount};
  return fourche;
}

void signe(ElementMac &element, const InfoFichier &info) {
  element.type = info.fdType;
  element.createur = info.fdCreator;
  element.drapeaux_finder = info.fdFlags;
}

void remplit(ElementMac &element, const DossierHfs &fiche) {
  element.id = fiche.dirDirID;
  element.drapeaux = fiche.dirFlags;
  element.valence = fiche.dirVal;
  element.creation = fiche.dirCrDat;
  element.modification = fiche.dirMdDat;
  element.sauvegarde = fiche.dirBkDat;
  element.drapeaux_finder = fiche.dirUsrInfo.frFlags;
  copie_infos(element, fiche.dirUsrInfo, fiche.dirFndrInfo);
}

void remplit(ElementMac &element, const FichierHfs &fiche) {
  element.id = fiche.filFlNum;
  element.drapeaux = fiche.filFlags;
  element.verrouille = (fiche.filFlags & kVerrouHfs) != 0;
  element.creation = fiche.filCrDat;
  element.modification = fiche.filMdDat;
  element.sauvegarde = fiche.filBkDat;
  signe(element, fiche.filUsrWds);
  copie_infos(element, fiche.filUsrWds, fiche.filFndrInfo);
  element.donnees = fourche_hfs(fiche.filLgLen, fiche.filPyLen, fiche.filExtRec);
  element.ressources = fourche_hfs(fiche.filRLgLen, fiche.filRPyLen, fiche.filRExtRec);
}

template <typename Fiche>
void remplit_commun(ElementMac &element, const Fiche &fiche) {
  element.drapeaux = fiche.flags;
  element.creation = fiche.createDate;
  element.modification = fiche.contentModDate;
  element.attributs = fiche.attributeModDate;
  element.acces = fiche.accessDate;
  element.sauvegarde = fiche.backupDate;
  element.permissions = fiche.permissions;
  element.codage = fiche.textEncoding;
  copie_infos(element, fiche.userInfo, fiche.finderInfo);
}

void remplit(ElementMac &element, const DossierPlus &fiche) {
  remplit_commun(element, fiche);
  element.id = fiche.folderID;
  element.valence = fiche.valence;
  element.drapeaux_finder = fiche.userInfo.frFlags;
}

void remplit(ElementMac &element, const FichierPlus &fiche) {
  remplit_commun(element, fiche);
  element.id = fiche.fileID;
  element.verrouille =
      (fiche.flags & kVerrouPlus) != 0 || (fiche.permissions[kDrapeauxProprietaire] & kImmuable) != 0;
  signe(element, fiche.userInfo);
  element.donnees = fourche_plus(fiche.dataFork);
  element.ressources = fourche_plus(fiche.resourceFork);
}

template <typename Fiche>
bool remplit_de(ElementMac &element, std::span<std::uint8_t> donnees) {
  const Fiche *fiche = fiche_comme<Fiche>(donnees);
  if (fiche != nullptr) remplit(element, *fiche);
  return fiche != nullptr;
}

void nomme(ElementMac &element, std::string_view nom) {
  element.nom_hfs = nom;
}
void nomme(ElementMac &element, std::span<const be16> nom) {
  std::copy(nom.begin(), nom.end(), element.nom_hfsplus.unites.begin());
  element.nom_hfsplus.longueur = static_cast<std::uint16_t>(nom.size());
}

enum class Lu { element, autre, faux };

template <typename Traits>
Lu lit_fiche(std::span<std::uint8_t> fiche, ElementMac &element) {
  constexpr bool kPlus = std::is_same_v<Traits, TraitsHfsPlus>;
  const auto cle = Traits::cle(fiche);
  if (!cle) return Lu::faux;
  const int type = Traits::type(fiche);
  if (type != kRubriqueDossier && type != kRubriqueFichier) return Lu::autre;
  element.hfsplus = kPlus;
  element.dossier = type == kRubriqueDossier;
  element.parent = cle->parent;
  nomme(element, cle->nom);
  const auto donnees = fiche.subspan(Traits::debut_donnees(fiche));
  using Dossier = std::conditional_t<kPlus, DossierPlus, DossierHfs>;
  using Fichier = std::conditional_t<kPlus, FichierPlus, FichierHfs>;
  const bool lu =
      element.dossier ? remplit_de<Dossier>(element, donnees) : remplit_de<Fichier>(element, donnees);
  return lu ? Lu::element : Lu::faux;
}

// --- walks

// A leaf copied out of the buffer, so that the callback may read others.
struct Feuille {
  std::vector<std::uint8_t> octets;
  std::uint32_t numero = 0;

  [[nodiscard]] OctetsNoeud noeud() { return octets; }
};

// False when the bytes are those of no leaf.
bool est_feuille(OctetsNoeud noeud) {
  const EnteteNoeud *tete = entete_noeud(noeud);
  return tete != nullptr && tete->kind == kNoeudFeuille && tete->numRecords == nb_enregistrements(noeud);
}

enum class Pas { suivant, fin, arret, faux };

// Shows the elements of one leaf; `parent` 0 takes all folders.
template <typename Traits>
Pas montre_feuille(Feuille &feuille, std::uint32_t parent, const VisiteElement &visite,
                   ResultatParcours &resultat) {
  bool saine = true;
  const std::int32_t nombre = nb_enregistrements(feuille.noeud());
  for (std::int32_t i = 0; i < nombre; ++i) {
    const auto fiche = enregistrement(feuille.noeud(), i);
    const auto cle = Traits::cle(fiche);
    if (cle && parent != 0 && cle->parent < parent) continue;
    if (cle && parent != 0 && cle->parent > parent) return saine ? Pas::fin : Pas::faux;
    if (cle) resultat.rencontre = true;
    ElementMac element;
    const Lu lu = cle ? lit_fiche<Traits>(fiche, element) : Lu::faux;
    if (lu == Lu::faux) saine = false;
    if (lu != Lu::element) continue;
    element.noeud = feuille.numero;
    element.index = i;
    ++resultat.elements;
    if (!visite(element)) return Pas::arret;
  }
  return saine ? Pas::suivant : Pas::faux;
}

ResultatParcours &finit(ResultatParcours &resultat, Pas pas, std::uint32_t noeud) {
  if (pas == Pas::arret) resultat.etat = EtatParcours::arrete;
  if (pas == Pas::faux) {
    resultat.etat = EtatParcours::endommage;
    resultat.noeud = noeud;
  }
  return resultat;
}

ResultatParcours &finit_abime(ResultatParcours &resultat, std::uint32_t noeud) {
  note_catalogue_abime(noeud);
  return finit(resultat, Pas::faux, noeud);
}

// Along the chain of leaves from `noeud` on. `lit` gives the bytes of a leaf by number. A chain that comes
// back to a leaf is damaged.
template <typename Traits, typename Lit>
ResultatParcours parcourt_feuilles(std::uint32_t noeud, std::uint32_t parent, const VisiteElement &visite,
                                   Lit lit) {
  ResultatParcours resultat;
  std::unordered_set<std::uint32_t> vues;
  Feuille feuille;
  for (; noeud != 0;) {
    const OctetsNoeud octets = vues.insert(noeud).second ? lit(noeud) : OctetsNoeud{};
    if (octets.empty() || !est_feuille(octets)) return finit_abime(resultat, noeud);
    feuille.octets.assign(octets.begin(), octets.end());
    feuille.numero = noeud;
    const Pas pas = montre_feuille<Traits>(feuille, parent, visite, resultat);
    if (pas == Pas::faux) return finit_abime(resultat, noeud);
    if (pas != Pas::suivant) return finit(resultat, pas, noeud);
    noeud = entete_noeud(feuille.noeud())->fLink;
  }
  return resultat;
}

template <typename Traits>
ResultatParcours liste(std::uint32_t id, const VisiteElement &visite) {
  const DescripteurArbre &arbre = volume_courant().catalogue;
  ResultatParcours resultat;
  if (id == 0 || descend_cle<Traits>(1, {id, {}}).empty()) return finit(resultat, Pas::faux, arbre.noeud);
  const std::uint32_t feuille = arbre.noeud;
  resultat = parcourt_feuilles<Traits>(feuille, id, visite, lecture_noeud);
  if (resultat.entier() && !resultat.rencontre) return finit(resultat, Pas::faux, feuille);
  return resultat;
}

template <typename Traits>
ResultatParcours parcourt(const VisiteElement &visite) {
  const DescripteurArbre &arbre = volume_courant().catalogue;
  // A tree without leaves is damaged as well: the root folder is always there.
  if (arbre.taille_noeud == 0 || arbre.fiche().firstLeafNode == 0) {
    ResultatParcours resultat;
    return finit(resultat, Pas::faux, 0);
  }
  FenetreSecteurs fenetre;
  return parcourt_feuilles<Traits>(arbre.fiche().firstLeafNode, 0, visite, [&](std::uint32_t noeud) {
    return lit_noeud_fenetre(fenetre, arbre, noeud);
  });
}

// --- one element

std::optional<ElementMac> element_trouve(OctetsNoeud noeud) {
  if (noeud.empty()) return std::nullopt;
  const DescripteurArbre &arbre = volume_courant().catalogue;
  auto element = element_de_fiche(enregistrement_courant());
  if (element) {
    element->noeud = arbre.noeud;
    element->index = arbre.index;
  }
  return element;
}

struct Fil {
  std::uint32_t parent = 0;
  std::string nom_hfs;
  NomUnicode nom_hfsplus;
};

std::optional<Fil> fil_hfs_de(std::uint32_t id, int type) {
  if (cherche_exacte_hfs({}, type, id).empty()) return std::nullopt;
  const FilHfs *fiche = fiche_comme<FilHfs>(donnees_hfs(enregistrement_courant()));
  if (fiche == nullptr) return std::nullopt;
  Fil fil;
  fil.parent = fiche->thdParID;
  fil.nom_hfs = TraitsHfs::nom_du_fil(octets_de(*fiche));
  return fil;
}

std::optional<Fil> fil_hfsplus_de(std::uint32_t id, int type) {
  if (cherche_exacte_hfsplus_sans_joker({}, type, id).empty()) return std::nullopt;
  const auto donnees = donnees_hfsplus(enregistrement_courant());
  const FilPlus *fiche = fiche_comme<FilPlus>(donnees);
  if (fiche == nullptr) return std::nullopt;
  Fil fil;
  fil.parent = fiche->parentID;
  for (const be16 &unite : TraitsHfsPlus::nom_du_fil(donnees))
    fil.nom_hfsplus.ajoute(static_cast<char16_t>(std::uint16_t{unite}));
  return fil;
}

std::optional<Fil> fil_de(std::uint32_t id, int type) {
  return volume_courant().est_hfsplus ? fil_hfsplus_de(id, type) : fil_hfs_de(id, type);
}

}  // namespace

std::optional<ElementMac> element_de_fiche(std::span<std::uint8_t> fiche) {
  ElementMac element;
  const Lu lu = volume_courant().est_hfsplus ? lit_fiche<TraitsHfsPlus>(fiche, element)
                                             : lit_fiche<TraitsHfs>(fiche, element);
  return lu == Lu::element ? std::optional(std::move(element)) : std::nullopt;
}

ResultatParcours liste_dossier(std::uint32_t id, const VisiteElement &visite) {
  return volume_courant().est_hfsplus ? liste<TraitsHfsPlus>(id, visite) : liste<TraitsHfs>(id, visite);
}

ResultatParcours parcours_volume(const VisiteElement &visite) {
  return volume_courant().est_hfsplus ? parcourt<TraitsHfsPlus>(visite) : parcourt<TraitsHfs>(visite);
}

std::optional<ElementMac> element_racine() {
  std::optional<ElementMac> racine;
  static_cast<void>(liste_dossier(kIdParentRacine, [&](const ElementMac &element) {
    if (element.dossier && element.id == kIdRacine) racine = element;
    return !racine;
  }));
  return racine;
}

std::optional<ElementMac> element_hfs(std::uint32_t parent, std::string_view nom) {
  return element_trouve(cherche_exacte_hfs(nom, kRubriqueToute, parent));
}

std::optional<ElementMac> element_hfsplus(std::uint32_t parent, const NomUnicode &nom) {
  return element_trouve(cherche_exacte_hfsplus_sans_joker(nom, kRubriqueToute, parent));
}

std::optional<ElementMac> element_par_id(std::uint32_t id) {
  for (const int type : {kRubriqueFilDossier, kRubriqueFilFichier}) {
    const auto fil = fil_de(id, type);
    if (!fil) continue;
    auto element = volume_courant().est_hfsplus ? element_hfsplus(fil->parent, fil->nom_hfsplus)
                                                : element_hfs(fil->parent, fil->nom_hfs);
    if (element && element->id == id) return element;
  }
  return std::nullopt;
}

std::optional<std::string> chemin_de(const ElementMac &element) {
  if (element.id == kIdRacine) return std::string();
  std::string chemin = element.nom_chemin();
  constexpr std::uint32_t kNiveauxMax = 1U << 16;
  GardeChaine garde(kNiveauxMax);
  for (std::uint32_t id = element.parent; id != kIdRacine;) {
    const auto fil = garde.admet(id) ? fil_de(id, kRubriqueFilDossier) : std::nullopt;
    if (!fil) return std::nullopt;
    ElementMac parent;
    parent.hfsplus = element.hfsplus;
    parent.nom_hfs = fil->nom_hfs;
    parent.nom_hfsplus = fil->nom_hfsplus;
    chemin.insert(0, parent.nom_chemin() + "/");
    id = fil->parent;
  }
  return chemin;
}

std::uint32_t valence(std::uint32_t dossier, std::uint32_t parent_dossier) {
  const bool hfsplus = volume_courant().est_hfsplus;
  if (dossier == kIdRacine) {
    // The root is not searched: it is the first record of the first leaf.
    const OctetsNoeud noeud = lecture_noeud(volume_courant().catalogue.fiche().firstLeafNode);
    const auto racine = element_de_fiche(enregistrement(noeud, 0));
    return racine && racine->dossier ? racine->valence : 0;
  }
  const auto element =
      element_trouve(hfsplus ? cherche_par_id_hfsplus(dossier, kRubriqueDossier, parent_dossier)
                             : cherche_par_id_hfs(dossier, kRubriqueDossier, parent_dossier));
  return element ? element->valence : 0;
}

}  // namespace varnion
