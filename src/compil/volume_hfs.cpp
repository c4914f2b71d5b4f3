#include "compil/volume_hfs.hpp"

#include <algorithm>
#include <array>
#include <cstring>

#include "compil/noeuds_neufs.hpp"
#include "hfs/arbre.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/fiches.hpp"
#include "hfs/pilote_memoire.hpp"
#include "hfs/volume.hpp"
#include "IO/ecarts.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/ordre.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "noms/unicode.hpp"

namespace varnion {

namespace {

constexpr std::uint32_t kNoeud = 512;
constexpr std::uint32_t kBlocsHfsMax = 65535;  ///< drNmAlBlks and every extent are 16 bits
constexpr std::uint32_t kPremierCnid = 0x11;

/// Key and even-padding bytes of a record with a name of `longueur` bytes.
std::uint32_t taille_cle(std::size_t longueur) {
  return static_cast<std::uint32_t>((longueur + 7 + 1) & ~std::size_t{1});
}

std::uint16_t en16(std::uint64_t valeur) {
  return static_cast<std::uint16_t>(valeur);
}

}  // namespace

std::string nom_hfs_de(const RubriqueProjet &rubrique, std::u16string_view nom_large) {
  if (rubrique.codage() == Codage::ntfs && !rubrique.nom_hfs_final() && !nom_large.empty())
    return prive_vers_mac(nom_large).substr(0, kNomHfsMax);
  return lit_champ(rubrique.nom_hfs).substr(0, kNomHfsMax);
}

std::u16string VolumeHfs::cle_nom(const RubriqueProjet &rubrique, std::u16string_view nom_large) const {
  const PoidsHfs &table = poids_hfs(ordre_hfs_voulu());
  std::u16string poids;
  for (const char c : nom_hfs_de(rubrique, nom_large))
    poids.push_back(static_cast<char16_t>(table[static_cast<std::uint8_t>(c)]));
  return poids;
}

bool VolumeHfs::nom_de_la_source(const RubriqueProjet &rubrique, std::u16string_view /*nom_large*/) const {
  return rubrique.codage() == Codage::ntfs;
}

bool VolumeHfs::existe(std::uint32_t parent, const RubriqueProjet &rubrique,
                       std::u16string_view nom_large) const {
  return !cherche_exacte_hfs(nom_hfs_de(rubrique, nom_large), kRubriqueToute, parent).empty();
}

void VolumeHfs::compte_item(ContexteCompilation &contexte, const RubriqueProjet &rubrique) const {
  const std::uint32_t cle = taille_cle(lit_champ(rubrique.nom_hfs).size());
  const std::uint32_t fiche = rubrique.est_dossier() ? sizeof(DossierHfs) : sizeof(FichierHfs);
  place_noeud(contexte, fiche + cle, kNoeud);
}

void VolumeHfs::compte_fil(ContexteCompilation &contexte, const RubriqueProjet &rubrique) const {
  if (rubrique.est_dossier()) place_noeud(contexte, 0x36, kNoeud);
}

PlanVolume VolumeHfs::plan(const ContexteCompilation &contexte, std::uint64_t secteurs, std::uint64_t debut,
                           const BesoinsVolume &besoins) const {
  const std::uint64_t a = contexte.unites();
  PlanVolume plan;
  plan.debut = debut;
  plan.aligne = debut % a == 0;
  plan.extents = static_cast<std::uint32_t>(std::max<std::uint64_t>(2 * a, 8));
  const std::uint64_t noeuds = contexte.noeuds;
  std::uint64_t catalogue = arrondi<std::uint64_t>(2 * (noeuds + 2) + noeuds / 2, a);
  catalogue = std::max<std::uint64_t>({catalogue, plan.extents, arrondi(besoins.catalogue_minimum, a)});
  plan.catalogue = static_cast<std::uint32_t>(catalogue);
  plan.bloc_base = static_cast<std::uint32_t>((plan.extents + plan.catalogue) / a);

  // The map is sized by the payload alone. The bits of the trees, of forks rounded up to a block and of the
  // last block may need more: then, and only then, it grows.
  const std::uint64_t bits = plan.bloc_base + besoins.blocs_donnees + 1;
  std::uint64_t carte = quotient_haut<std::uint64_t>(contexte.secteurs, 4096);
  carte += a - (carte + 3) % a;
  while (carte * 4096 < bits) carte += a;
  plan.carte = static_cast<std::uint32_t>(carte);
  plan.taille = plan.carte + 3 + plan.extents + plan.catalogue + 4 * secteurs;
  return plan;
}

bool VolumeHfs::tient(const PlanVolume &plan, std::uint64_t blocs_donnees) const {
  // One block for the end, and one more where the volume does not begin on a block of the image.
  const std::uint64_t fin = plan.aligne ? 1 : 2;
  return plan.bloc_base + blocs_donnees + fin <= kBlocsHfsMax && plan.carte + 3 <= 0xFFFF;
}

void VolumeHfs::ecrit_mdb(const ContexteCompilation &contexte) {
  const std::uint32_t maintenant = date_mac();
  const std::uint32_t blocs_arbres = (plan_.extents + plan_.catalogue) / unites_;
  const std::uint64_t blocs = std::min<std::uint64_t>(plan_.taille / unites_, kBlocsHfsMax);
  Mdb mdb{};
  mdb.drSigWord = kSignatureHfs;
  mdb.drCrDate = maintenant;
  mdb.drLsMod = maintenant;
  mdb.drVolBkUp = maintenant + 2;
  mdb.drAtrb = publie(Ecart::volume_demonte) ? kVolumeDemonte : 0;
  mdb.drVBMSt = 3;
  mdb.drAllocPtr = en16(blocs_arbres);
  mdb.drNmAlBlks = en16(blocs);
  mdb.drFreeBks = en16(blocs > blocs_arbres ? blocs - blocs_arbres : 0);
  mdb.drAlBlkSiz = contexte.taille_bloc;
  mdb.drClpSiz = 4 * contexte.taille_bloc;
  mdb.drAlBlSt = en16(plan_.carte + 3);
  mdb.drNxtCNID = kPremierCnid;
  mdb.drVN[0] = static_cast<std::uint8_t>(label_.size());
  std::copy(label_.begin(), label_.end(), mdb.drVN.begin() + 1);
  mdb.drFndrInfo[2] = contexte.ouvrir_racine ? kIdRacine : 0;
  // The volume id, once in each byte order.
  const std::uint32_t hasard = plateforme::nombre_hasard();
  mdb.drFndrInfo[6] = hasard;
  mdb.drFndrInfo[7] = __builtin_bswap32(hasard);
  mdb.drXTFlSize = plan_.extents * kTailleSecteur;
  mdb.drCTFlSize = plan_.catalogue * kTailleSecteur;
  mdb.drXTClpSiz = mdb.drXTFlSize.operator unsigned();
  mdb.drCTClpSiz = mdb.drCTFlSize.operator unsigned();
  mdb.drXTExtRec[0] = {0, en16(plan_.extents / unites_)};
  mdb.drCTExtRec[0] = {en16(plan_.extents / unites_), en16(plan_.catalogue / unites_)};
  ecrit_secteurs(&mdb, plan_.debut + 2, 1);
}

void VolumeHfs::ecrit_extents() {
  FicheEnteteArbre fiche{};
  fiche.nodeSize = kNoeud;
  fiche.maxKeyLength = 7;
  fiche.totalNodes = plan_.extents;
  fiche.freeNodes = plan_.extents - 1;
  ecrit_noeud(noeud_entete(fiche, 0x80), plan_.debut + plan_.carte + 3);
}

void VolumeHfs::ecrit_catalogue(const ContexteCompilation &contexte) {
  FicheEnteteArbre fiche{};
  fiche.treeDepth = 1;
  fiche.rootNode = 1;
  fiche.leafRecords = 2;
  fiche.firstLeafNode = 1;
  fiche.lastLeafNode = 1;
  fiche.nodeSize = kNoeud;
  fiche.maxKeyLength = 0x25;
  fiche.totalNodes = plan_.catalogue;
  fiche.freeNodes = plan_.catalogue - 2;
  const std::uint64_t debut = plan_.debut + plan_.carte + 3 + plan_.extents;
  ecrit_noeud(noeud_entete(fiche, 0xC0), debut);

  const std::uint32_t maintenant = date_mac();
  DossierHfs racine{};
  racine.cdrType = kRubriqueDossier;
  racine.dirDirID = kIdRacine;
  racine.dirCrDat = maintenant;
  racine.dirMdDat = maintenant;
  racine.dirBkDat = maintenant + 2;
  pose_info_dossier(racine.dirUsrInfo, false, contexte.icone_volume);

  FeuilleNeuve feuille(kNoeud, true);
  feuille.ajoute(cle_hfs(kIdParentRacine, label_), octets_de(racine));
  feuille.ajoute(cle_hfs(kIdRacine, ""), octets_de(fil_hfs(kRubriqueFilDossier, kIdParentRacine, label_)));
  ecrit_noeud(feuille.octets(), debut + 1);
}

bool VolumeHfs::ecrit_structures(const ContexteCompilation &contexte, const EnteteProjet &,
                                 const PlanVolume &plan, DispositionImage &carte) {
  plan_ = plan;
  unites_ = contexte.unites();
  label_ = contexte.label_hfs.substr(0, kNomVolumeHfsMax);
  const std::uint64_t nombre = std::uint64_t{plan.carte} + 3 + plan.extents + plan.catalogue;
  if (!fenetre_memoire().ouvre_fenetre(plan.debut, nombre)) return false;
  volume_courant().est_hfsplus = false;
  ecrit_mdb(contexte);
  ecrit_extents();
  ecrit_catalogue(contexte);
  carte.prepare(std::size_t{plan.carte} * kTailleSecteur);
  if (!carte.marque(0, plan.bloc_base)) return false;

  volume_courant().debut_allocation = plan.debut;
  lecture_entete_volume();
  volume_courant().ordre.lu = true;
  ouverture_arbres();
  charge_carte_noeuds();
  return ajoute_noeuds_carte();
}

Catalogue VolumeHfs::cree_dossier(std::uint32_t parent, const RubriqueProjet &rubrique,
                                  std::u16string_view nom_large, std::uint32_t &cnid) {
  Mdb &mdb = *volume_courant().mdb;
  const std::string nom = nom_hfs_de(rubrique, nom_large);
  const std::uint32_t maintenant = date_mac();
  cnid = mdb.drNxtCNID;
  DossierHfs fiche{};
  fiche.cdrType = kRubriqueDossier;
  fiche.dirDirID = cnid;
  fiche.dirCrDat = maintenant;
  fiche.dirMdDat = maintenant;
  pose_info_dossier(fiche.dirUsrInfo, rubrique.cache_hfs() != 0, rubrique.icone_perso());
  const bool dossier =
      insere_compte([&] { return insere_hfs(cle_hfs(parent, nom), octets_de(fiche), parent); });
  const bool fil =
      dossier && insere_compte([&] {
        return insere_fin_hfs(cle_hfs(cnid, ""), octets_de(fil_hfs(kRubriqueFilDossier, parent, nom)), cnid);
      });
  if (!fil) return Catalogue::plein;
  mdb.drNxtCNID = cnid + 1;
  mdb.drDirCnt = mdb.drDirCnt + 1;
  if (parent == kIdRacine) mdb.drNmRtDirs = en16(mdb.drNmRtDirs + 1U);
  return Catalogue::fait;
}

Catalogue VolumeHfs::cree_fichier(std::uint32_t parent, const FicheFichier &fichier) {
  const RubriqueProjet &rubrique = *fichier.rubrique;
  Mdb &mdb = *volume_courant().mdb;
  const auto depasse = [](const Fourche &f) { return std::uint64_t{f.bloc} + f.blocs > kBlocsHfsMax; };
  if (depasse(fichier.data) || depasse(fichier.rsrc)) return Catalogue::impossible;
  FichierHfs fiche{};
  fiche.cdrType = kRubriqueFichier;
  std::memcpy(&fiche.filUsrWds, rubrique.signature.data(), rubrique.signature.size());
  fiche.filUsrWds.fdFlags = fichier.drapeaux;
  fiche.filFlNum = mdb.drNxtCNID;
  fiche.filCrDat = rubrique.date_creation.operator unsigned();
  fiche.filMdDat = rubrique.date_modif.operator unsigned();
  const std::uint32_t taille_bloc = unites_ * kTailleSecteur;
  fiche.filLgLen = static_cast<std::uint32_t>(fichier.data.longueur);
  fiche.filPyLen = fichier.data.blocs * taille_bloc;
  fiche.filExtRec[0] = {en16(debut_fourche(fichier.data)), en16(fichier.data.blocs)};
  fiche.filRLgLen = static_cast<std::uint32_t>(fichier.rsrc.longueur);
  fiche.filRPyLen = fichier.rsrc.blocs * taille_bloc;
  fiche.filRExtRec[0] = {en16(debut_fourche(fichier.rsrc)), en16(fichier.rsrc.blocs)};
  const std::string nom = nom_hfs_de(rubrique, fichier.nom_large);
  if (!insere_compte([&] { return insere_hfs(cle_hfs(parent, nom), octets_de(fiche), parent); }))
    return Catalogue::plein;
  mdb.drNxtCNID = mdb.drNxtCNID + 1;
  mdb.drFilCnt = mdb.drFilCnt + 1;
  if (parent == kIdRacine) mdb.drNmFls = en16(mdb.drNmFls + 1U);
  return Catalogue::fait;
}

bool VolumeHfs::fixe_valence_de(std::uint32_t parent, const std::string &nom, std::uint32_t valence) {
  const OctetsNoeud noeud = cherche_exacte_hfs(nom, kRubriqueDossier, parent);
  if (noeud.empty()) return false;
  auto *fiche = vue_modifiable<DossierHfs>(donnees_hfs(enregistrement_courant()), 0);
  if (fiche == nullptr) return false;
  fiche->dirVal = en16(valence);
  ecriture_noeud(volume_courant().catalogue.noeud, noeud);
  return true;
}

bool VolumeHfs::fixe_valence(std::uint32_t parent, const RubriqueProjet &rubrique,
                             std::u16string_view nom_large, std::uint32_t valence) {
  return fixe_valence_de(parent, nom_hfs_de(rubrique, nom_large), valence);
}

bool VolumeHfs::fixe_valence_racine(std::uint32_t valence) {
  return fixe_valence_de(kIdParentRacine, label_, valence);
}

std::uint64_t VolumeHfs::fin_classique(Mdb &mdb, std::uint64_t fin_donnees) {
  // One block more behind the data: the alternate header lies in it. Two blocks of the image stay outside the
  // partition, so that the copy lies in the last block but one of it.
  const std::uint64_t blocs = fin_donnees + unites_;
  partition_ = blocs - 2 - plan_.debut;
  mdb.drNmAlBlks = en16(quotient_haut<std::uint64_t>(partition_ - plan_.carte - 3, unites_));
  mdb.drFreeBks = 0;
  return blocs;
}

// Every block of the volume belongs to the trees or to a fork; the copy of the header and one sector more lie
// behind the last of them (Inside Macintosh: Files, "Master Directory Blocks").
std::uint64_t VolumeHfs::fin_publiee(Mdb &mdb, std::uint64_t fin_donnees, const DispositionImage &carte) {
  const std::uint64_t structures = plan_.carte + 3;
  const std::uint64_t nombre = quotient_haut<std::uint64_t>(fin_donnees - plan_.debut - structures, unites_);
  partition_ = arrondi<std::uint64_t>(structures + nombre * unites_ + 2, kSecteurIso / kTailleSecteur);
  mdb.drNmAlBlks = en16(nombre);
  mdb.drFreeBks = en16(nombre - carte.marques());
  return plan_.debut + partition_;
}

bool VolumeHfs::cloture(SortieImage &sortie, SecteurZero &secteur, DispositionImage &carte) {
  recopie_carte_noeuds();
  Mdb &mdb = *volume_courant().mdb;
  const std::uint64_t fin_donnees =
      arrondi<std::uint64_t>(quotient_haut<std::uint64_t>(sortie.fin(), kTailleSecteur), unites_);
  const std::uint64_t blocs =
      publie(Ecart::entete_secours) ? fin_publiee(mdb, fin_donnees, carte) : fin_classique(mdb, fin_donnees);
  if (publie(Ecart::table_clump)) {
    const std::uint32_t quart = quart_volume(mdb.drNmAlBlks, mdb.drAlBlkSiz);
    mdb.drXTClpSiz = std::min<std::uint32_t>(mdb.drXTFlSize, quart);
    mdb.drCTClpSiz = std::min<std::uint32_t>(mdb.drCTFlSize, quart);
  }
  termine_secteur_zero(secteur, static_cast<std::uint32_t>(plan_.debut + partition_),
                       static_cast<std::uint32_t>(partition_));
  mdb.drClpSiz = mdb.drAlBlkSiz.operator unsigned();
  mdb.drAllocPtr = 1;
  ecrit_secteurs(&mdb, plan_.debut + 2, 1);
  ecrit_secteurs(carte.octets().data(), plan_.debut + 3, plan_.carte);

  const std::vector<std::uint8_t> fin((blocs - fin_donnees) * kTailleSecteur);
  if (!sortie.positionne(fin_donnees * kTailleSecteur) || !sortie.ecrit(fin)) return false;
  if (!sortie.positionne((plan_.debut + partition_ - 2) * kTailleSecteur) || !sortie.ecrit(octets_de(mdb)))
    return false;
  if (!sortie.positionne(blocs * kTailleSecteur) || !sortie.vide()) return false;
  const bool ecrit = fenetre_memoire().vide_fenetre(sortie.fichier());
  fenetre_memoire().ferme_fenetre();
  return ecrit;
}

}  // namespace varnion
