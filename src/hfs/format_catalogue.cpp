#include "hfs/format_catalogue.hpp"

#include "hfs/journal.hpp"
#include "hfs/noeud.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr std::uint16_t kDrapeauVerrou = 1;  // HFSPlusCatalogFile: kHFSFileLockedMask
constexpr std::uint16_t kDrapeauFil = 2;     // kHFSThreadExistsMask

constexpr int kDuJournal = 7870;  // name

void ajoute16(be16 &champ, int delta) {
  champ = static_cast<std::uint16_t>(champ + delta);
}
void ajoute32(be32 &champ, int delta) {
  champ = static_cast<std::uint32_t>(std::int64_t{champ} + delta);
}

// Parent and name that a folder's thread gives.
template <typename C>
std::optional<std::pair<std::uint32_t, NomItem>> lieu_du_dossier(std::uint32_t id) {
  if (C::cherche(C::nom(NomItem{}), kRubriqueFilDossier, id).empty()) return std::nullopt;
  const auto donnees = C::donnees(enregistrement_courant());
  const be32 *parent = vue<be32>(donnees, C::Traits::kParentDeFil);
  if (parent == nullptr) return std::nullopt;
  return std::pair{std::uint32_t{*parent}, C::item_lu(C::Traits::nom_du_fil(donnees))};
}

template <typename C>
std::optional<RubriqueLue> racine() {
  DescripteurArbre &arbre = volume_courant().catalogue;
  if (arbre.taille_noeud == 0 || lecture_noeud(arbre.fiche().firstLeafNode).empty()) return std::nullopt;
  auto lue = rubrique_courante<C>();
  if (!lue || lue->type != kRubriqueDossier || lue->id != kIdRacine) return std::nullopt;
  return lue;
}

template <typename C>
std::optional<RubriqueLue> dossier_sans_fil(std::uint32_t id) {
  const OctetsNoeud noeud = C::kPlus ? cherche_par_id_hfsplus(id, kRubriqueDossier, kIdRacine)
                                     : cherche_par_id_hfs(id, kRubriqueDossier, kIdRacine);
  return noeud.empty() ? std::nullopt : rubrique_courante<C>();
}

}  // namespace

DossierHfs CatalogueHfs::nouveau_dossier(std::uint32_t id, std::uint32_t date, const InfoDossier &info) {
  DossierHfs d{};
  d.cdrType = kRubriqueDossier;
  d.dirDirID = id;
  d.dirCrDat = d.dirMdDat = date;
  d.dirUsrInfo = info;
  return d;
}

DossierPlus CatalogueHfsPlus::nouveau_dossier(std::uint32_t id, std::uint32_t date, const InfoDossier &info) {
  DossierPlus d{};
  d.recordType = std::uint16_t{kRubriqueDossier};
  d.folderID = id;
  d.createDate = d.contentModDate = d.attributeModDate = date;
  d.userInfo = info;
  return d;
}

FichierHfs CatalogueHfs::nouveau_fichier(std::uint32_t id, const NouveauFichier &fichier,
                                         std::uint32_t maintenant) {
  FichierHfs f{};
  f.cdrType = kRubriqueFichier;
  f.filFlags = fichier.verrouille ? 1 : 0;
  f.filUsrWds = fichier.info;
  f.filFndrInfo = fichier.info_etendue;
  f.filFlNum = id;
  f.filCrDat = fichier.creation != 0 ? fichier.creation : maintenant;
  f.filMdDat = fichier.modification != 0 ? fichier.modification : maintenant;
  return f;
}

FichierPlus CatalogueHfsPlus::nouveau_fichier(std::uint32_t id, const NouveauFichier &fichier,
                                              std::uint32_t maintenant) {
  FichierPlus f{};
  f.recordType = std::uint16_t{kRubriqueFichier};
  f.flags = static_cast<std::uint16_t>(kDrapeauFil | (fichier.verrouille ? kDrapeauVerrou : 0));
  f.userInfo = fichier.info;
  f.finderInfo = fichier.info_etendue;
  f.fileID = id;
  f.createDate = fichier.creation != 0 ? fichier.creation : maintenant;
  f.contentModDate = fichier.modification != 0 ? fichier.modification : maintenant;
  f.attributeModDate =
      fichier.modification_attributs != 0 ? fichier.modification_attributs : std::uint32_t{f.contentModDate};
  return f;
}

namespace {

template <typename Extents>
std::uint32_t blocs_de(const Extents &extents) {
  std::uint32_t blocs = 0;
  for (const auto &extent : extents) blocs += extent.blockCount;
  return blocs;
}

FourchePlus fourche_plus(std::uint64_t longueur, const ExtentsPlus &extents) {
  FourchePlus fourche{};
  fourche.logicalSize = longueur;
  fourche.totalBlocks = blocs_de(extents);
  fourche.extents = extents;
  return fourche;
}

}  // namespace

void CatalogueHfs::pose_fourches(FichierHfs &f, std::uint64_t data, const ExtentsHfs &de_data,
                                 std::uint64_t rsrc, const ExtentsHfs &de_rsrc) {
  const std::uint32_t taille_bloc = volume_courant().taille_bloc;
  f.filStBlk = de_data[0].startBlock;
  f.filLgLen = static_cast<std::uint32_t>(data);
  f.filPyLen = blocs_de(de_data) * taille_bloc;
  f.filExtRec = de_data;
  f.filRStBlk = de_rsrc[0].startBlock;
  f.filRLgLen = static_cast<std::uint32_t>(rsrc);
  f.filRPyLen = blocs_de(de_rsrc) * taille_bloc;
  f.filRExtRec = de_rsrc;
}

void CatalogueHfsPlus::pose_fourches(FichierPlus &f, std::uint64_t data, const ExtentsPlus &de_data,
                                     std::uint64_t rsrc, const ExtentsPlus &de_rsrc) {
  f.dataFork = fourche_plus(data, de_data);
  f.resourceFork = fourche_plus(rsrc, de_rsrc);
}

void CatalogueHfs::compte(int type, std::uint32_t parent, int delta) {
  Mdb &mdb = *volume_courant().mdb;
  const bool dossier = type == kRubriqueDossier;
  ajoute32(dossier ? mdb.drDirCnt : mdb.drFilCnt, delta);
  if (parent == kIdRacine) ajoute16(dossier ? mdb.drNmRtDirs : mdb.drNmFls, delta);
}

void CatalogueHfsPlus::compte(int type, std::uint32_t /*parent*/, int delta) {
  EnteteVolumePlus &vhb = *volume_courant().vhb;
  ajoute32(type == kRubriqueDossier ? vhb.folderCount : vhb.fileCount, delta);
}

template <typename C>
std::optional<RubriqueLue> dossier_par_id(std::uint32_t id) {
  if (id == kIdRacine) return racine<C>();
  if (id < kIdRacine) return std::nullopt;
  if (const auto lieu = lieu_du_dossier<C>(id)) {
    auto lue = rubrique_nommee<C>(C::nom(lieu->second), kRubriqueDossier, lieu->first);
    if (lue && lue->id == id) return lue;
  }
  return dossier_sans_fil<C>(id);
}

template <typename C>
std::optional<RubriqueLue> premier_enfant(std::uint32_t dossier) {
  OctetsNoeud noeud = place_de_cle<typename C::Traits>({dossier, {}});
  DescripteurArbre &arbre = volume_courant().catalogue;
  if (!noeud.empty() && arbre.index == kIndexFin) {
    const std::uint32_t suivant = entete_noeud(noeud)->fLink;
    noeud = suivant != 0 ? lecture_noeud(suivant) : OctetsNoeud{};
  }
  if (noeud.empty()) return std::nullopt;
  auto lue = rubrique_courante<C>();
  if (!lue || lue->parent != dossier || lue->id == 0) return std::nullopt;
  return lue;
}

template <typename C>
bool insere_compte(const PetitTampon &cle, std::span<const std::uint8_t> donnees, std::uint32_t parent,
                   bool fin) {
  FicheEnteteArbre &fiche = volume_courant().catalogue.fiche();
  fiche.leafRecords = fiche.leafRecords + 1;
  const bool fait = fin ? C::insere_fin(cle, donnees, parent) : C::insere(cle, donnees, parent);
  if (!fait) fiche.leafRecords = fiche.leafRecords - 1;
  return fait;
}

template <typename C>
bool supprime_courante() {
  DescripteurArbre &arbre = volume_courant().catalogue;
  arbre.fiche().leafRecords = arbre.fiche().leafRecords - 1;
  const bool fait = C::supprime(arbre.index);
  if (!fait) arbre.fiche().leafRecords = arbre.fiche().leafRecords + 1;
  return fait;
}

template std::optional<RubriqueLue> dossier_par_id<CatalogueHfs>(std::uint32_t);
template std::optional<RubriqueLue> dossier_par_id<CatalogueHfsPlus>(std::uint32_t);
template std::optional<RubriqueLue> premier_enfant<CatalogueHfs>(std::uint32_t);
template std::optional<RubriqueLue> premier_enfant<CatalogueHfsPlus>(std::uint32_t);
template bool insere_compte<CatalogueHfs>(const PetitTampon &, std::span<const std::uint8_t>, std::uint32_t,
                                          bool);
template bool insere_compte<CatalogueHfsPlus>(const PetitTampon &, std::span<const std::uint8_t>,
                                              std::uint32_t, bool);
template bool supprime_courante<CatalogueHfs>();
template bool supprime_courante<CatalogueHfsPlus>();

InfoDossier info_nouveau_dossier() {
  InfoDossier info{};
  info.haut = std::uint16_t{0x50};
  info.gauche = std::uint16_t{0x30};
  info.bas = std::uint16_t{0x110};
  info.droite = std::uint16_t{0x1E0};
  info.frLocation_v = std::uint16_t{0x70};
  info.frLocation_h = std::uint16_t{0x248};
  info.frView = std::uint16_t{0x100};
  return info;
}

void ecrit_courant() {
  const DescripteurArbre &arbre = volume_courant().catalogue;
  ecriture_noeud(arbre.noeud, arbre.octets());
}

template <typename C>
bool du_journal(const RubriqueLue &lue) {
  if constexpr (C::kPlus) {
    const auto *fichier = vue<FichierPlus>(lue.donnees, 0);
    const JournalVolume journal = lit_journal();
    if (journal.etat == EtatJournal::aucun || lue.type != kRubriqueFichier || fichier == nullptr)
      return false;
    const std::string nom = nom_item_windows(lue.nom);
    const std::uint32_t bloc = fichier->dataFork.extents[0].startBlock;
    const bool nomme = lue.parent == kIdRacine && (nom == ".journal" || nom == ".journal_info_block");
    if (!nomme && (bloc == 0 || (bloc != journal.bloc_info && bloc != journal.bloc))) return false;
    operations().afficher_erreur(message(kDuJournal, {nom}));
    return true;
  }
  return false;
}

template bool du_journal<CatalogueHfs>(const RubriqueLue &);
template bool du_journal<CatalogueHfsPlus>(const RubriqueLue &);

bool modifiable() {
  const VolumeCourant &volume = volume_courant();
  if (volume.a_entete() && volume.catalogue.taille_noeud != 0 && carte_allocation().chargee) return true;
  operations().journal(GenreJournal::erreur, "volume: changed without its bitmap, refused");
  return false;
}

void trace_operation(std::string_view genre, const NomItem &nom, const NomItem *second) {
  if (etat<OptionsProgramme>().niveau_trace <= 1) return;
  std::string ligne(genre);
  ligne += nom_item_windows(nom);
  if (second != nullptr) ligne += "\t" + nom_item_windows(*second);
  operations().journal(GenreJournal::brut, ligne + "\r\n");
}

}  // namespace varnion
