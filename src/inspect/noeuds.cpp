#include "inspect/noeuds.hpp"

#include "hfs/arbre.hpp"
#include "inspect/champs.hpp"
#include "IO/requete.hpp"
#include "noms/texte.hpp"
#include "noms/unicode.hpp"

namespace varnion {

namespace {

constexpr std::size_t kPointeur = 4;  ///< bytes of a node number

void lit_cle(std::span<const std::uint8_t> fiche, bool hfsplus, RubriqueNoeud &r) {
  r.parent_cle = hfsplus ? parent_cle_hfsplus(fiche) : parent_cle_hfs(fiche);
  r.nom = hfsplus ? unicode_vers_windows(nom_cle_hfsplus(fiche)) : nom_windows(nom_cle_hfs(fiche));
  r.cle_sans_nom = hfsplus ? nom_cle_hfsplus(fiche).empty() : nom_cle_hfs(fiche).empty();
}

void lit_hfs(std::span<std::uint8_t> donnees, int type, RubriqueNoeud &r) {
  if (type == kRubriqueDossier) {
    const auto *dossier = fiche_comme<DossierHfs>(donnees);
    if (dossier == nullptr) return;
    r.genre = GenreRubrique::dossier;
    r.id = dossier->dirDirID;
    r.valence = dossier->dirVal;
  } else if (type == kRubriqueFichier) {
    const auto *fichier = fiche_comme<FichierHfs>(donnees);
    if (fichier == nullptr) return;
    r.genre = GenreRubrique::fichier;
    r.id = fichier->filFlNum;
    r.donnees = {fichier->filLgLen, fichier->filExtRec[0].startBlock};
    r.ressources = {fichier->filRLgLen, fichier->filRExtRec[0].startBlock};
  } else if (type == kRubriqueFilDossier || type == kRubriqueFilFichier) {
    const auto *fil = fiche_comme<FilHfs>(donnees);
    if (fil == nullptr) return;
    r.genre = GenreRubrique::fil;
    r.parent_fil = fil->thdParID;
    const std::size_t longueur = fil->thdCNameLongueur;
    r.nom = nom_windows(
        texte_octets(fil->thdCName, 0, longueur < fil->thdCName.size() ? longueur : fil->thdCName.size()));
  }
}

std::string nom_fil_plus(std::span<const std::uint8_t> donnees) {
  NomUnicode nom;
  const auto *longueur = vue<be16>(donnees, sizeof(FilPlus));
  for (std::size_t i = 0; longueur != nullptr && i < *longueur; ++i) {
    const auto *unite = vue<be16>(donnees, sizeof(FilPlus) + sizeof(be16) * (i + 1));
    if (unite == nullptr || !nom.ajoute(static_cast<char16_t>(std::uint16_t{*unite}))) break;
  }
  return unicode_vers_windows(nom);
}

void lit_plus(std::span<std::uint8_t> donnees, int type, RubriqueNoeud &r) {
  if (type == kRubriqueDossier) {
    const auto *dossier = fiche_comme<DossierPlus>(donnees);
    if (dossier == nullptr) return;
    r.genre = GenreRubrique::dossier;
    r.id = dossier->folderID;
    r.valence = dossier->valence;
  } else if (type == kRubriqueFichier) {
    const auto *fichier = fiche_comme<FichierPlus>(donnees);
    if (fichier == nullptr) return;
    r.genre = GenreRubrique::fichier;
    r.id = fichier->fileID;
    r.donnees = {fichier->dataFork.logicalSize, fichier->dataFork.extents[0].startBlock};
    r.ressources = {fichier->resourceFork.logicalSize, fichier->resourceFork.extents[0].startBlock};
  } else if (type == kRubriqueFilDossier || type == kRubriqueFilFichier) {
    const auto *fil = fiche_comme<FilPlus>(donnees);
    if (fil == nullptr) return;
    r.genre = GenreRubrique::fil;
    r.parent_fil = fil->parentID;
    r.nom = nom_fil_plus(donnees);
  }
}

}  // namespace

bool noeud_hfsplus(std::uint32_t taille_noeud) {
  return taille_noeud != kTailleSecteur;
}

RubriqueNoeud rubrique_feuille(std::span<std::uint8_t> fiche, bool hfsplus) {
  RubriqueNoeud r;
  lit_cle(fiche, hfsplus, r);
  if (hfsplus)
    lit_plus(donnees_hfsplus(fiche), type_hfsplus(fiche), r);
  else
    lit_hfs(donnees_hfs(fiche), type_hfs(fiche), r);
  return r;
}

RubriqueNoeud rubrique_index(std::span<std::uint8_t> fiche, bool hfsplus) {
  RubriqueNoeud r;
  lit_cle(fiche, hfsplus, r);
  r.fils = hfsplus ? fils_hfsplus(fiche) : fils_hfs(fiche);
  // The index keys of an HFS extents tree are shorter than those of its catalog: the pointer is what ends the
  // record.
  constexpr std::size_t kFicheIndexCatalogue = 42;
  if (!hfsplus && fiche.size() < kFicheIndexCatalogue && fiche.size() >= kPointeur)
    r.fils = static_cast<std::uint32_t>(nombre_gros(fiche, fiche.size() - kPointeur, kPointeur));
  return r;
}

}  // namespace varnion
