#include "compil/volume_hfsplus.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "compil/noeuds_neufs.hpp"
#include "hfs/arbre.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/fiches.hpp"
#include "hfs/pilote_memoire.hpp"
#include "hfs/volume.hpp"
#include "IO/ecarts.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/ordre.hpp"
#include "projet/nom_hfsplus.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNumeroDuFond = 6333;  // journal
constexpr std::uint32_t kNoeud = 4096;
constexpr std::uint32_t kUnites = 4;      ///< 512-byte blocks of an allocation block
constexpr std::uint32_t kExtents = 0x40;  ///< extents tree, 512-byte blocks
constexpr std::uint32_t kClump = 0x10000;
constexpr std::uint32_t kBitsParUnite = 16384;  ///< bits of one 2048-byte unit of the bitmap
constexpr std::uint16_t kFilExiste = 2;         ///< file record flag: a thread record exists
/// keyCompareType of the catalog header: case folding (TN1150, BTHeaderRec).
constexpr std::uint8_t kCompareSansCasse = 0xCF;

std::uint32_t blocs_de(std::uint32_t unites) {
  return unites / kUnites;
}

void pose_fourche_systeme(FourchePlus &fourche, std::uint32_t debut, std::uint32_t blocs) {
  fourche.logicalSize = std::uint64_t{blocs} * kSecteurIso;
  fourche.clumpSize = blocs * kSecteurIso;
  fourche.totalBlocks = blocs;
  fourche.extents[0] = {debut, blocs};
}

void pose_fourche(FourchePlus &cible, const Fourche &source) {
  cible.logicalSize = source.longueur;
  cible.totalBlocks = source.blocs;
  cible.extents[0] = {debut_fourche(source), source.blocs};
}

/// The project keeps local time. TN1150 ("HFS Plus Dates") wants UTC in every date but that of the volume's
/// creation, and UTC is what is written, whatever the sign in which a system tells its zone bias.
std::uint32_t date_utc_mac(std::uint32_t date_projet) {
  if (date_projet == 0) return 0;  // no date
  const std::int64_t date = std::int64_t{date_projet} + plateforme::biais_fuseau();
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(date, 0, UINT32_MAX));
}

/// The other way: the creation date of the volume is local time.
std::uint32_t date_locale(std::uint32_t date_utc) {
  return static_cast<std::uint32_t>(std::int64_t{date_utc} - plateforme::biais_fuseau());
}

/// Clump size of a tree in its header node: bytes in TN1150, the number of nodes in the classic rule.
std::uint32_t groupe_entete(const FicheEnteteArbre &fiche) {
  return publie(Ecart::table_clump) ? fiche.totalNodes * kNoeud : fiche.totalNodes.operator unsigned();
}

}  // namespace

// Folded, and without the units that the order ignores.
std::u16string VolumeHfsPlus::cle_nom(const RubriqueProjet &rubrique, std::u16string_view nom_large) const {
  std::u16string cle;
  const NomUnicode nom = nom_hfsplus_de(rubrique, nom_large);
  for (const be16 unite : nom.vue())
    if (const std::uint16_t plie = pliage_hfsplus(unite); plie != 0)
      cle.push_back(static_cast<char16_t>(plie));
  return cle;
}

bool VolumeHfsPlus::nom_de_la_source(const RubriqueProjet &rubrique, std::u16string_view nom_large) const {
  return prend_nom_large(rubrique, nom_large) || rubrique.codage() == Codage::ntfs;
}

bool VolumeHfsPlus::existe(std::uint32_t parent, const RubriqueProjet &rubrique,
                           std::u16string_view nom_large) const {
  return !cherche_exacte_hfsplus_sans_joker(nom_hfsplus_de(rubrique, nom_large), kRubriqueToute, parent)
              .empty();
}

void VolumeHfsPlus::compte_item(ContexteCompilation &contexte, const RubriqueProjet &rubrique) const {
  const auto longueur = static_cast<std::uint32_t>(2 * lit_champ(rubrique.nom_hfs).size());
  const std::uint32_t fiche = rubrique.est_dossier() ? sizeof(DossierPlus) : sizeof(FichierPlus);
  place_noeud(contexte, fiche + longueur + 8, kNoeud);
  place_noeud(contexte, longueur + 10, kNoeud);
}

void VolumeHfsPlus::compte_fil(ContexteCompilation &, const RubriqueProjet &) const {}

PlanVolume VolumeHfsPlus::plan(const ContexteCompilation &contexte, std::uint64_t secteurs,
                               std::uint64_t debut, const BesoinsVolume &besoins) const {
  PlanVolume plan;
  plan.debut = debut;
  plan.tete = kUnites;
  plan.extents = kExtents;
  std::uint64_t catalogue = 4 * contexte.noeuds;
  if (catalogue > 15000) catalogue += contexte.noeuds;
  catalogue =
      std::max<std::uint64_t>({catalogue * (kNoeud / kTailleSecteur), plan.extents,
                               arrondi<std::uint64_t>(besoins.catalogue_minimum, kNoeud / kTailleSecteur)});
  plan.catalogue = static_cast<std::uint32_t>(catalogue);
  // One bit for each block of payload and trees; more where coded files and the volume's own blocks need it.
  const std::uint64_t blocs = contexte.secteurs + blocs_de(plan.extents) + catalogue / kUnites;
  std::uint64_t unites = quotient_haut<std::uint64_t>(blocs, kBitsParUnite);
  while (unites * kBitsParUnite <
         1 + unites + blocs_de(plan.extents) + catalogue / kUnites + besoins.blocs_donnees + 2)
    ++unites;
  plan.carte = static_cast<std::uint32_t>(unites * kUnites);
  plan.bloc_base = static_cast<std::uint32_t>(plan.taille_structures() / kUnites);
  plan.taille = plan.taille_structures() + 4 * secteurs;
  return plan;
}

bool VolumeHfsPlus::tient(const PlanVolume &plan, std::uint64_t blocs_donnees) const {
  return plan.bloc_base + blocs_donnees + 2 <= 0xFFFFFFFF;
}

void VolumeHfsPlus::ecrit_entete(const ContexteCompilation &contexte, const EnteteProjet &entete) {
  const std::uint32_t maintenant = date_mac();
  const std::uint32_t arbres = blocs_de(plan_.carte + plan_.extents + plan_.catalogue);
  const auto total = static_cast<std::uint32_t>(quotient_haut<std::uint64_t>(plan_.taille, kUnites));
  EnteteVolumePlus e{};
  e.signature = kSignatureHfsPlus;
  e.version = 4;
  e.attributes = 0x100;  // unmounted
  e.lastMountedVersion = kEstampille;
  e.createDate = publie(Ecart::dates_hfsplus) ? date_locale(maintenant) : maintenant;
  e.modifyDate = maintenant;
  e.checkedDate = maintenant;
  e.blockSize = kSecteurIso;
  e.totalBlocks = total;
  e.freeBlocks = total - (arbres + 2);
  e.nextAllocation = arbres + 1;
  e.rsrcClumpSize = kClump;
  e.dataClumpSize = kClump;
  e.nextCatalogID = premier_cnid(contexte, entete);
  e.writeCount = 1;
  e.encodingsBitmap = 1;
  e.finderInfo[2] = contexte.ouvrir_racine ? kIdRacine : 0;
  // The volume id, once in each byte order.
  const std::uint32_t hasard = plateforme::nombre_hasard();
  e.finderInfo[6] = hasard;
  e.finderInfo[7] = __builtin_bswap32(hasard);
  const std::uint32_t carte = blocs_de(plan_.carte);
  pose_fourche_systeme(e.allocationFile, 1, carte);
  pose_fourche_systeme(e.extentsFile, 1 + carte, blocs_de(plan_.extents));
  pose_fourche_systeme(e.catalogFile, 1 + carte + blocs_de(plan_.extents), blocs_de(plan_.catalogue));
  ecrit_secteurs(&e, plan_.debut + 2, 1);
}

std::uint32_t VolumeHfsPlus::premier_cnid(const ContexteCompilation &contexte,
                                          const EnteteProjet &entete) const {
  const std::uint32_t demande = contexte.nature == Nature::hfsplus && etat<OptionsProgramme>().mode_lot
                                    ? kPremierCompteur
                                    : std::max<std::uint32_t>(entete.dernier_dossier, kPremierCompteur);
  // Where the background folder takes its fixed number, no other item may have it.
  if (!contexte.dossier_fond || demande > kDossierFond) return demande;
  operations().journal(GenreJournal::information, charger_chaine(kNumeroDuFond));
  return kDossierFond + 1;
}

void VolumeHfsPlus::ecrit_extents() {
  FicheEnteteArbre fiche{};
  fiche.nodeSize = kNoeud;
  fiche.maxKeyLength = 10;
  fiche.totalNodes = plan_.extents * kTailleSecteur / kNoeud;
  fiche.freeNodes = fiche.totalNodes - 1;
  fiche.clumpSize = groupe_entete(fiche);
  fiche.attributes = 2;  // big keys
  ecrit_noeud(noeud_entete(fiche, 0x80), plan_.debut + plan_.tete + plan_.carte);
}

void VolumeHfsPlus::ecrit_catalogue(const ContexteCompilation &contexte) {
  FicheEnteteArbre fiche{};
  fiche.treeDepth = 1;
  fiche.rootNode = 1;
  fiche.leafRecords = 2;
  fiche.firstLeafNode = 1;
  fiche.lastLeafNode = 1;
  fiche.nodeSize = kNoeud;
  fiche.maxKeyLength = 0x204;
  fiche.totalNodes = plan_.catalogue * kTailleSecteur / kNoeud;
  fiche.freeNodes = fiche.totalNodes - 2;
  fiche.clumpSize = groupe_entete(fiche);
  fiche.keyCompareType = kCompareSansCasse;
  fiche.attributes = 6;  // big keys, variable index keys
  const std::uint64_t debut = plan_.debut + plan_.tete + plan_.carte + plan_.extents;
  ecrit_noeud(noeud_entete(fiche, 0xC0), debut);

  const std::uint32_t maintenant = date_mac();
  DossierPlus racine{};
  racine.recordType = kRubriqueDossier;
  racine.folderID = kIdRacine;
  racine.createDate = maintenant;
  racine.contentModDate = maintenant;
  racine.attributeModDate = maintenant;
  pose_info_dossier(racine.userInfo, false, contexte.icone_volume);
  FeuilleNeuve feuille(kNoeud, false);
  feuille.ajoute(cle_hfsplus(kIdParentRacine, label_), octets_de(racine));
  feuille.ajoute(cle_hfsplus(kIdRacine, {}), fil_hfsplus(kRubriqueFilDossier, kIdParentRacine, label_));
  ecrit_noeud(feuille.octets(), debut + kNoeud / kTailleSecteur);
}

bool VolumeHfsPlus::ecrit_structures(const ContexteCompilation &contexte, const EnteteProjet &entete,
                                     const PlanVolume &plan, DispositionImage &carte) {
  plan_ = plan;
  label_ = decompose_texte(contexte.label_hfs);
  if (!fenetre_memoire().ouvre_fenetre(plan.debut, plan.taille_structures())) return false;
  volume_courant().est_hfsplus = true;
  ecrit_entete(contexte, entete);
  ecrit_extents();
  ecrit_catalogue(contexte);
  carte.prepare(std::size_t{plan.carte} * kTailleSecteur);
  if (!carte.marque(0, plan.bloc_base)) return false;

  volume_courant().debut_allocation = plan.debut;
  lecture_entete_volume();
  ouverture_arbres();
  charge_carte_noeuds();
  return ajoute_noeuds_carte();
}

Catalogue VolumeHfsPlus::insere_avec_fil(std::uint32_t parent, const NomUnicode &nom, std::uint32_t cnid,
                                         std::span<const std::uint8_t> fiche, int type_fil) {
  const bool fait =
      insere_compte([&] { return insere_hfsplus(cle_hfsplus(parent, nom), fiche, parent); }) &&
      insere_compte([&] {
        return insere_fin_hfsplus(cle_hfsplus(cnid, {}), fil_hfsplus(type_fil, parent, nom), cnid);
      });
  return fait ? Catalogue::fait : Catalogue::plein;
}

Catalogue VolumeHfsPlus::cree_dossier(std::uint32_t parent, const RubriqueProjet &rubrique,
                                      std::u16string_view nom_large, std::uint32_t &cnid) {
  EnteteVolumePlus &vhb = *volume_courant().vhb;
  const bool fond = rubrique.numero == kDossierFond && lit_champ(rubrique.nom_source) == kNomDossierFond;
  cnid = fond ? kDossierFond : vhb.nextCatalogID.operator unsigned();
  const NomUnicode nom = nom_hfsplus_de(rubrique, nom_large);
  const std::uint32_t maintenant = date_mac();
  DossierPlus fiche{};
  fiche.recordType = kRubriqueDossier;
  fiche.folderID = cnid;
  fiche.createDate = maintenant;
  fiche.contentModDate = maintenant;
  fiche.attributeModDate = maintenant;
  pose_info_dossier(fiche.userInfo, rubrique.cache_hfs() != 0, rubrique.icone_perso());
  const Catalogue fait = insere_avec_fil(parent, nom, cnid, octets_de(fiche), kRubriqueFilDossier);
  if (fait != Catalogue::fait) return fait;
  if (!fond) vhb.nextCatalogID = cnid + 1;
  vhb.folderCount = vhb.folderCount + 1;
  return Catalogue::fait;
}

Catalogue VolumeHfsPlus::cree_fichier(std::uint32_t parent, const FicheFichier &fichier) {
  const RubriqueProjet &rubrique = *fichier.rubrique;
  EnteteVolumePlus &vhb = *volume_courant().vhb;
  const std::uint32_t cnid = vhb.nextCatalogID;
  const NomUnicode nom = nom_hfsplus_de(rubrique, fichier.nom_large);
  FichierPlus fiche{};
  fiche.recordType = kRubriqueFichier;
  fiche.flags = kFilExiste;
  fiche.fileID = cnid;
  fiche.createDate = date_utc_mac(rubrique.date_creation);
  fiche.contentModDate = date_utc_mac(rubrique.date_modif);
  fiche.attributeModDate = fiche.contentModDate.operator unsigned();
  std::memcpy(&fiche.userInfo, rubrique.signature.data(), rubrique.signature.size());
  fiche.userInfo.fdFlags = fichier.drapeaux;
  pose_fourche(fiche.dataFork, fichier.data);
  pose_fourche(fiche.resourceFork, fichier.rsrc);
  const Catalogue fait = insere_avec_fil(parent, nom, cnid, octets_de(fiche), kRubriqueFilFichier);
  if (fait != Catalogue::fait) return fait;
  vhb.nextCatalogID = cnid + 1;
  vhb.fileCount = vhb.fileCount + 1;
  return Catalogue::fait;
}

bool VolumeHfsPlus::fixe_valence_de(std::uint32_t parent, const NomUnicode &nom, std::uint32_t valence) {
  const OctetsNoeud noeud = cherche_exacte_hfsplus_sans_joker(nom, kRubriqueDossier, parent);
  if (noeud.empty()) return false;
  auto *fiche = fiche_comme<DossierPlus>(donnees_hfsplus(enregistrement_courant()));
  if (fiche == nullptr) return false;
  fiche->valence = valence;
  ecriture_noeud(volume_courant().catalogue.noeud, noeud);
  return true;
}

bool VolumeHfsPlus::fixe_valence(std::uint32_t parent, const RubriqueProjet &rubrique,
                                 std::u16string_view nom_large, std::uint32_t valence) {
  return fixe_valence_de(parent, nom_hfsplus_de(rubrique, nom_large), valence);
}

bool VolumeHfsPlus::fixe_valence_racine(std::uint32_t valence) {
  return fixe_valence_de(kIdParentRacine, label_, valence);
}

// Every block belongs to a structure or a fork, but for the last: the alternate header and the sector behind
// it lie in it (TN1150, "Volume Header"). The classic rule leaves a block free ahead of it and does not count
// the rest.
std::uint64_t VolumeHfsPlus::fin_volume(EnteteVolumePlus &vhb, std::uint64_t fin_donnees,
                                        DispositionImage &carte) const {
  const bool publiee = publie(Ecart::entete_secours);
  const std::uint64_t donnees = arrondi<std::uint64_t>(fin_donnees - plan_.debut, kUnites);
  const std::uint64_t blocs =
      publiee ? plan_.debut + donnees + kUnites : fin_donnees + 8 - fin_donnees % kUnites;
  const std::uint64_t total = (blocs - plan_.debut) / kUnites;
  if (!carte.marque(total - 1, 1)) return 0;
  vhb.totalBlocks = static_cast<std::uint32_t>(total);
  vhb.freeBlocks = publiee ? static_cast<std::uint32_t>(total - carte.marques()) : 1;
  vhb.nextAllocation = 1;
  return blocs;
}

bool VolumeHfsPlus::cloture(SortieImage &sortie, SecteurZero &secteur, DispositionImage &carte) {
  recopie_carte_noeuds();
  EnteteVolumePlus &vhb = *volume_courant().vhb;
  const std::uint64_t fin_donnees = quotient_haut<std::uint64_t>(sortie.fin(), kTailleSecteur);
  const std::uint64_t blocs = fin_volume(vhb, fin_donnees, carte);
  if (blocs == 0) return false;
  termine_secteur_zero(secteur, static_cast<std::uint32_t>(blocs),
                       static_cast<std::uint32_t>(blocs - plan_.debut));
  if (publie(Ecart::table_clump)) {
    const std::uint32_t quart = quart_volume(vhb.totalBlocks, vhb.blockSize);
    for (FourchePlus *fourche : {&vhb.allocationFile, &vhb.extentsFile, &vhb.catalogFile})
      fourche->clumpSize = std::min<std::uint32_t>(fourche->clumpSize, quart);
  }
  ecrit_secteurs(&vhb, plan_.debut + 2, 1);
  ecrit_secteurs(carte.octets().data(), plan_.debut + plan_.tete, plan_.carte);

  const std::vector<std::uint8_t> fin((blocs - fin_donnees) * kTailleSecteur);
  if (!sortie.positionne(fin_donnees * kTailleSecteur) || !sortie.ecrit(fin)) return false;
  if (!sortie.positionne(blocs * kTailleSecteur - 1024) || !sortie.ecrit(octets_de(vhb))) return false;
  if (!sortie.positionne(blocs * kTailleSecteur) || !sortie.vide()) return false;
  const bool ecrit = fenetre_memoire().vide_fenetre(sortie.fichier());
  fenetre_memoire().ferme_fenetre();
  return ecrit;
}

}  // namespace varnion
