#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "hfs/arbre.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/fiches.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "medium.hpp"
#include "verificateur.hpp"

// Small volumes in memory, of both formats, with an empty catalog: the root folder and its thread.

namespace varnion::essai {

constexpr std::uint64_t kDebutVolume = 16;  // sectors
constexpr std::uint32_t kTailleBloc = 4096;
constexpr std::uint32_t kBlocExtents = 8;  // the extents file, one node or more
constexpr std::uint32_t kBlocCatalogue = 32;

/// A name as text "a-z…" of the test, in both formats; what differs between them.
struct FormatHfs {
  static constexpr bool kPlus = false;
  static constexpr std::uint16_t kTailleNoeud = 512;
  static constexpr std::size_t kNomMax = 31;
  static PetitTampon cle(std::uint32_t parent, const std::string &nom) { return cle_hfs(parent, nom); }
  static std::vector<std::uint8_t> dossier(std::uint32_t id) {
    DossierHfs fiche{};
    fiche.cdrType = kRubriqueDossier;
    fiche.dirDirID = id;
    return octets(fiche);
  }
  static std::vector<std::uint8_t> fichier(std::uint32_t id) {
    FichierHfs fiche{};
    fiche.cdrType = kRubriqueFichier;
    fiche.filFlNum = id;
    return octets(fiche);
  }
  static std::vector<std::uint8_t> fil(std::uint32_t parent, const std::string &nom) {
    return octets(fil_hfs(kRubriqueFilDossier, parent, nom));
  }
  static bool insere(const PetitTampon &cle, const std::vector<std::uint8_t> &donnees, std::uint32_t parent) {
    return insere_hfs(cle, donnees, parent);
  }
  static bool insere_fin(const PetitTampon &cle, const std::vector<std::uint8_t> &donnees,
                         std::uint32_t parent) {
    return insere_fin_hfs(cle, donnees, parent);
  }
  static OctetsNoeud cherche(const std::string &nom, int type, std::uint32_t parent) {
    return cherche_rubrique_hfs(nom, type, parent);
  }
  static OctetsNoeud cherche_exacte(const std::string &nom, int type, std::uint32_t parent) {
    return cherche_exacte_hfs(nom, type, parent);
  }
  static OctetsNoeud cherche_par_id(std::uint32_t id, int type, std::uint32_t parent) {
    return cherche_par_id_hfs(id, type, parent);
  }
  static OctetsNoeud cherche_enfant(std::uint8_t niveau, std::uint32_t fils, std::uint32_t parent) {
    return cherche_enfant_hfs(niveau, fils, parent);
  }
  static OctetsNoeud cherche_place(const std::string &nom, std::uint32_t parent) {
    return cherche_place_hfs(nom, parent);
  }
  static std::uint32_t cherche_dossier(const std::string &nom, std::uint32_t parent) {
    return cherche_dossier_hfs(nom, parent);
  }
  static std::uint32_t alloue(DescripteurArbre &arbre) { return alloue_noeud_hfs(arbre); }
  /// Id in the record found last.
  static std::uint32_t id_trouve() {
    const auto donnees = donnees_hfs(enregistrement_courant());
    if (const auto *fichier = fiche_comme<FichierHfs>(donnees);
        fichier && fichier->cdrType == kRubriqueFichier) {
      return fichier->filFlNum;
    }
    const auto *dossier = fiche_comme<DossierHfs>(donnees);
    return dossier != nullptr ? std::uint32_t{dossier->dirDirID} : 0;
  }
  template <typename T>
  static std::vector<std::uint8_t> octets(const T &fiche) {
    const auto vue = octets_de(fiche);
    return {vue.begin(), vue.end()};
  }
};

template <std::uint16_t Taille>
struct FormatPlus {
  static constexpr bool kPlus = true;
  static constexpr std::uint16_t kTailleNoeud = Taille;
  static constexpr std::size_t kNomMax = Taille >= 4096 ? 255 : Taille >= 1024 ? 120 : 60;
  static NomUnicode nom(const std::string &texte) { return windows_vers_unicode(texte); }
  static PetitTampon cle(std::uint32_t parent, const std::string &texte) {
    return cle_hfsplus(parent, nom(texte));
  }
  static std::vector<std::uint8_t> dossier(std::uint32_t id) {
    DossierPlus fiche{};
    fiche.recordType = kRubriqueDossier;
    fiche.folderID = id;
    return FormatHfs::octets(fiche);
  }
  static std::vector<std::uint8_t> fichier(std::uint32_t id) {
    FichierPlus fiche{};
    fiche.recordType = kRubriqueFichier;
    fiche.fileID = id;
    return FormatHfs::octets(fiche);
  }
  static std::vector<std::uint8_t> fil(std::uint32_t parent, const std::string &texte) {
    const PetitTampon tampon = fil_hfsplus(kRubriqueFilDossier, parent, nom(texte));
    return {tampon.octets().begin(), tampon.octets().end()};
  }
  static bool insere(const PetitTampon &cle, const std::vector<std::uint8_t> &donnees, std::uint32_t parent) {
    return insere_hfsplus(cle, donnees, parent);
  }
  static bool insere_fin(const PetitTampon &cle, const std::vector<std::uint8_t> &donnees,
                         std::uint32_t parent) {
    return insere_fin_hfsplus(cle, donnees, parent);
  }
  static OctetsNoeud cherche(const std::string &texte, int type, std::uint32_t parent) {
    return cherche_rubrique_hfsplus(nom(texte), type, parent);
  }
  static OctetsNoeud cherche_exacte(const std::string &texte, int type, std::uint32_t parent) {
    return cherche_exacte_hfsplus_sans_joker(nom(texte), type, parent);
  }
  static OctetsNoeud cherche_par_id(std::uint32_t id, int type, std::uint32_t parent) {
    return cherche_par_id_hfsplus(id, type, parent);
  }
  static OctetsNoeud cherche_enfant(std::uint8_t niveau, std::uint32_t fils, std::uint32_t parent) {
    return cherche_enfant_hfsplus(niveau, fils, parent);
  }
  static OctetsNoeud cherche_place(const std::string &texte, std::uint32_t parent) {
    return cherche_place_hfsplus(nom(texte), parent);
  }
  static std::uint32_t cherche_dossier(const std::string &texte, std::uint32_t parent) {
    return cherche_dossier_hfsplus(nom(texte), parent);
  }
  static std::uint32_t alloue(DescripteurArbre &arbre) { return alloue_noeud_hfsplus(arbre); }
  static std::uint32_t id_trouve() {
    const auto donnees = donnees_hfsplus(enregistrement_courant());
    const auto *dossier = fiche_comme<DossierPlus>(donnees);  // folderID and fileID stand in the same place
    return dossier != nullptr ? std::uint32_t{dossier->folderID} : 0;
  }
};

/// An empty volume of `noeuds` catalog nodes, mounted. The catalog file may be cut into several extents.
template <typename Format>
class VolumeEssai : public ::testing::Test {
 protected:
  static constexpr std::size_t kTaille = Format::kTailleNoeud;

  void SetUp() override { EtatProgramme::courant().reinitialise(); }
  void TearDown() override { EtatProgramme::courant().reinitialise(); }

  void construit(std::uint32_t noeuds, std::uint32_t morceaux = 1) {
    EtatProgramme::courant().reinitialise();
    medium().branche();
    decoupe(noeuds, morceaux);
    if constexpr (Format::kPlus) pose_entete_plus();
    if constexpr (!Format::kPlus) pose_mdb();
    pose_arbre(secteur_bloc(kBlocExtents), 8 * kTailleBloc / static_cast<std::uint32_t>(kTaille), false);
    pose_arbre(secteur_noeud(0), noeuds, true);
    pose_feuille_racine();
    volume_courant().debut_allocation = kDebutVolume;
    lecture_entete_volume();
    ouverture_arbres();
  }

  [[nodiscard]] std::uint64_t secteur_noeud(std::uint32_t noeud) const {
    const std::uint64_t octet = std::uint64_t{noeud} * kTaille;
    std::uint64_t reste = octet / kTailleBloc;
    for (const ExtentPlus &extent : extents) {
      if (reste < extent.blockCount) {
        return secteur_bloc(extent.startBlock + reste) + octet % kTailleBloc / kTailleSecteur;
      }
      reste -= extent.blockCount;
    }
    return 0;
  }
  [[nodiscard]] std::vector<std::uint8_t> octets_noeud(std::uint32_t noeud) const {
    return medium().octets(secteur_noeud(noeud), static_cast<std::uint32_t>(kTaille / kTailleSecteur));
  }
  void pose_noeud(std::uint32_t noeud, const std::vector<std::uint8_t> &octets) {
    medium().ecrit(secteur_noeud(noeud), static_cast<std::uint32_t>(kTaille / kTailleSecteur), octets.data());
  }
  [[nodiscard]] Verificateur verificateur() const {
    return {[this](std::uint32_t noeud) { return octets_noeud(noeud); }, kTaille, Format::kPlus};
  }
  /// With the node map still in memory.
  [[nodiscard]] std::string verifie() const { return verificateur().verifie(carte_noeuds().octets); }

  static FicheEnteteArbre &entete() { return volume_courant().catalogue.fiche(); }

  // Inserts as callers do: leafRecords first.
  static bool compte(bool fait) {
    if (!fait) entete().leafRecords = entete().leafRecords - 1;
    return fait;
  }
  static bool ajoute(std::uint32_t parent, const std::string &nom, const std::vector<std::uint8_t> &donnees) {
    entete().leafRecords = entete().leafRecords + 1;
    return compte(Format::insere(Format::cle(parent, nom), donnees, parent));
  }
  static bool ajoute_fil(std::uint32_t id, std::uint32_t parent, const std::string &nom) {
    entete().leafRecords = entete().leafRecords + 1;
    return compte(Format::insere_fin(Format::cle(id, ""), Format::fil(parent, nom), id));
  }

  std::vector<ExtentPlus> extents;

 private:
  static std::uint64_t secteur_bloc(std::uint64_t bloc) {
    const std::uint64_t zone = Format::kPlus ? kDebutVolume : kDebutVolume + 19;
    return zone + bloc * (kTailleBloc / kTailleSecteur);
  }

  void decoupe(std::uint32_t noeuds, std::uint32_t morceaux) {
    const auto blocs = static_cast<std::uint32_t>(
        quotient_haut<std::uint64_t>(std::uint64_t{noeuds} * kTaille, kTailleBloc));
    const std::uint32_t pas = std::max<std::uint32_t>(1, static_cast<std::uint32_t>(kTaille / kTailleBloc));
    std::uint32_t place = kBlocCatalogue;
    extents.clear();
    for (std::uint32_t reste = blocs, i = 0; reste > 0; ++i) {
      const std::uint32_t part = i + 1 < morceaux ? arrondi(std::max(1U, blocs / morceaux), pas) : reste;
      extents.push_back({place, part});
      place += part + 3;  // a gap that belongs to nobody
      reste -= part;
    }
    fin_blocs = place;
  }

  void pose_mdb() {
    Mdb mdb{};
    mdb.drSigWord = kSignatureHfs;
    mdb.drVBMSt = 3;
    mdb.drAlBlSt = 19;
    mdb.drAlBlkSiz = kTailleBloc;
    mdb.drClpSiz = kTailleBloc;
    mdb.drNmAlBlks = static_cast<std::uint16_t>(fin_blocs);
    mdb.drNxtCNID = 16;
    mdb.drVN = {5, 'E', 's', 's', 'a', 'i'};
    mdb.drXTExtRec[0] = {std::uint16_t{kBlocExtents}, std::uint16_t{8}};
    for (std::size_t i = 0; i < std::min<std::size_t>(3, extents.size()); ++i)
      mdb.drCTExtRec[i] = court(extents[i]);
    medium().pose(kDebutVolume + 2, mdb);
  }
  static ExtentHfs court(const ExtentPlus &extent) {
    return {static_cast<std::uint16_t>(extent.startBlock), static_cast<std::uint16_t>(extent.blockCount)};
  }

  void pose_entete_plus() {
    EnteteVolumePlus entete{};
    entete.signature = kSignatureHfsPlus;
    entete.version = std::uint16_t{4};
    entete.blockSize = kTailleBloc;
    entete.totalBlocks = fin_blocs;
    entete.nextCatalogID = 16;
    entete.allocationFile.totalBlocks = 1;
    entete.allocationFile.extents[0] = {1, 1};
    entete.extentsFile.extents[0] = {kBlocExtents, 8};
    for (std::size_t i = 0; i < std::min<std::size_t>(8, extents.size()); ++i) {
      entete.catalogFile.extents[i] = extents[i];
    }
    medium().pose(kDebutVolume + 2, entete);
  }

  void pose_arbre(std::uint64_t secteur, std::uint32_t noeuds, bool catalogue) {
    std::vector<std::uint8_t> octets(kTaille);
    auto &tete = *vue_modifiable<EnteteNoeud>(octets, 0);
    tete.kind = kNoeudEntete;
    tete.numRecords = 3;
    auto &fiche = *vue_modifiable<FicheEnteteArbre>(octets, kDebutEnregistrements);
    const auto utilises = std::uint32_t{catalogue ? 2U : 1U};
    fiche.treeDepth = static_cast<std::uint16_t>(catalogue);
    fiche.rootNode = fiche.firstLeafNode = fiche.lastLeafNode = std::uint32_t{catalogue};
    fiche.leafRecords = catalogue ? 2 : 0;
    fiche.nodeSize = static_cast<std::uint16_t>(kTaille);
    fiche.totalNodes = noeuds;
    fiche.freeNodes = noeuds - utilises;
    fiche.keyCompareType = catalogue && Format::kPlus ? 0xCF : 0;
    octets[kDebutCarteEntete] = catalogue ? 0xC0 : 0x80;
    std::size_t place = kTaille - 2;
    for (const std::size_t decalage : {std::size_t{14}, std::size_t{0x78}, std::size_t{0xF8}, kTaille - 8}) {
      *vue_modifiable<be16>(octets, place) = static_cast<std::uint16_t>(decalage);
      place -= 2;
    }
    medium().ecrit(secteur, static_cast<std::uint32_t>(kTaille / kTailleSecteur), octets.data());
  }

  void pose_feuille_racine() {
    std::vector<std::uint8_t> octets(kTaille);
    auto &tete = *vue_modifiable<EnteteNoeud>(octets, 0);
    tete.kind = kNoeudFeuille;
    tete.height = 1;
    tete.numRecords = 2;
    std::size_t place = 14;
    std::size_t entree = kTaille - 2;
    const auto fiche = [&](const PetitTampon &cle, const std::vector<std::uint8_t> &donnees) {
      *vue_modifiable<be16>(octets, entree) = static_cast<std::uint16_t>(place);
      entree -= 2;
      std::copy(cle.octets().begin(), cle.octets().end(),
                octets.begin() + static_cast<std::ptrdiff_t>(place));
      place = arrondi<std::size_t>(place + cle.size(), 2);
      std::copy(donnees.begin(), donnees.end(), octets.begin() + static_cast<std::ptrdiff_t>(place));
      place += donnees.size();
    };
    fiche(Format::cle(1, "Essai"), Format::dossier(2));
    fiche(Format::cle(2, ""), Format::fil(1, "Essai"));
    *vue_modifiable<be16>(octets, entree) = static_cast<std::uint16_t>(place);
    pose_noeud(1, octets);
  }

  std::uint32_t fin_blocs = 0;
};

}  // namespace varnion::essai
