#include "hfs/creation.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "hfs/bits.hpp"
#include "hfs/fiches.hpp"
#include "hfs/format_catalogue.hpp"
#include "hfs/noeud.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kSansTitre = 1287;
constexpr int kEtatDebut = 1075;
constexpr int kEtatTout = 1076;
constexpr int kEtatStructures = 1093;
constexpr int kMessageTaille = 6021;
constexpr std::uint32_t kSecteursParMo = 2048;
constexpr std::uint32_t kTailleNoeudPlus = 4096;
constexpr std::uint32_t kBlocsReserves = 256;  // HFS: each B-tree file
constexpr std::uint32_t kBlocsExtentsPlus = 32;
constexpr std::uint32_t kPremierSecteurBlocs = 19;  // HFS: drAlBlSt

using Secteur = std::array<std::uint8_t, kTailleSecteur>;

class Image {
 public:
  explicit Image(const ParametresImage &parametres) : p_(parametres) {}

  template <typename T>
  bool ecrit(std::uint64_t secteur, const T &octets) const {
    return p_.fichier->ecrire_a(octets, secteur * kTailleSecteur);
  }
  [[nodiscard]] std::string label() const {
    const std::string nom = p_.nom.empty() ? charger_chaine(kSansTitre) : p_.nom;
    return nom.substr(0, kNomVolumeHfsMax);
  }

 protected:
  bool efface(const PlanImage &plan) const {
    if (!fichier_tronquer(*p_.fichier, 0) || !fichier_debut(*p_.fichier)) return false;
    const std::uint64_t debut = std::uint64_t{plan.taille_bloc / kTailleSecteur} * 512;
    const std::uint64_t tout = plan.entete + plan.secteurs;
    return p_.tout_effacer ? efface_secteurs(*p_.fichier, tout, charger_chaine(kEtatTout))
                           : efface_secteurs(*p_.fichier, std::min(debut, tout), charger_chaine(kEtatDebut));
  }

  const ParametresImage &p_;
};

template <typename T>
void pose(std::span<std::uint8_t> octets, std::size_t place, T valeur) {
  if (auto *champ = vue_modifiable<T>(octets, place)) *champ = valeur;
}

void pose_texte(std::span<std::uint8_t> octets, std::size_t place, std::string_view texte) {
  texte = texte.substr(0, 31);
  std::copy(texte.begin(), texte.end(), octets.begin() + static_cast<std::ptrdiff_t>(place));
}

// Driver descriptor: Inside Macintosh: Devices, 3-23.
Secteur descripteur_pilotes(std::uint64_t secteurs) {
  Secteur s{};
  pose_texte(s, 0, "ER");
  pose<be16>(s, 2, std::uint16_t{kTailleSecteur});
  pose<be32>(s, 4, static_cast<std::uint32_t>(secteurs));
  return s;
}

struct EntreeCarte {
  std::string_view nom, type;
  std::uint32_t debut = 0, nombre = 0, donnees = 0, statut = 0;
};

// Partition map entry: Inside Macintosh: Devices, 3-25.
Secteur entree_carte(const EntreeCarte &e) {
  Secteur s{};
  pose_texte(s, 0, "PM");
  pose<be32>(s, 0x04, 2U);
  pose<be32>(s, 0x08, e.debut);
  pose<be32>(s, 0x0C, e.nombre);
  pose_texte(s, 0x10, e.nom);
  pose_texte(s, 0x30, e.type);
  pose<be32>(s, 0x54, e.donnees);
  pose<be32>(s, 0x58, e.statut);
  return s;
}

// The volume id should be one number of 64 bits in two words. Here the same random number stands in both, in
// one byte order in the first and in the other in the second.
void pose_identite(std::array<be32, 8> &info) {
  const std::uint32_t hasard = plateforme::nombre_hasard();
  info[6] = hasard;
  const le32 inverse = hasard;
  info[7].octets = inverse.octets;
}

struct Entete {
  std::uint32_t taille_noeud, noeuds, libres, cle_max;
  bool catalogue;
  std::uint32_t groupe = 0;  // clumpSize
  std::uint32_t attributs = 0;
  std::uint8_t compare = 0;
};

// Header node; that of a catalog has one leaf, node 1, with two records.
std::vector<std::uint8_t> noeud_entete(const Entete &e) {
  std::vector<std::uint8_t> noeud(e.taille_noeud);
  initialise_noeud(noeud, kNoeudEntete, 0);
  entete_noeud(noeud)->numRecords = std::uint16_t{3};
  auto &fiche = *vue_modifiable<FicheEnteteArbre>(noeud, kDebutEnregistrements);
  if (e.catalogue) {
    fiche.treeDepth = std::uint16_t{1};
    fiche.rootNode = fiche.firstLeafNode = fiche.lastLeafNode = 1U;
    fiche.leafRecords = 2U;
  }
  fiche.nodeSize = static_cast<std::uint16_t>(e.taille_noeud);
  fiche.maxKeyLength = static_cast<std::uint16_t>(e.cle_max);
  fiche.totalNodes = e.noeuds;
  fiche.freeNodes = e.libres;
  fiche.clumpSize = e.groupe;
  fiche.keyCompareType = e.compare;
  fiche.attributes = e.attributs;
  noeud[kDebutCarteEntete] = e.catalogue ? 0xC0 : 0x80;
  fixe_decalage(noeud, 1, 0x78);
  fixe_decalage(noeud, 2, kDebutCarteEntete);
  fixe_decalage(noeud, 3, e.taille_noeud - 8);
  return noeud;
}

// First leaf: the root folder and its thread.
template <typename C>
std::vector<std::uint8_t> premiere_feuille(std::size_t taille, const NomItem &label,
                                           const typename C::Dossier &racine) {
  std::vector<std::uint8_t> noeud(taille);
  initialise_noeud(noeud, kNoeudFeuille, 1);
  const auto ajoute = [&noeud](const PetitTampon &cle, std::span<const std::uint8_t> donnees) {
    const std::size_t place = arrondi<std::size_t>(cle.size(), 2);
    const std::int32_t rang = entete_noeud(noeud)->numRecords;
    const auto fiche = ouvre_enregistrement(noeud, rang, arrondi<std::size_t>(place + donnees.size(), 2));
    std::copy(cle.octets().begin(), cle.octets().end(), fiche.begin());
    std::copy(donnees.begin(), donnees.end(), fiche.begin() + static_cast<std::ptrdiff_t>(place));
  };
  ajoute(C::cle(kIdParentRacine, C::nom(label)), octets_de(racine));
  ajoute(C::cle(kIdRacine, C::nom(NomItem{})), C::fil(kRubriqueFilDossier, kIdParentRacine, C::nom(label)));
  return noeud;
}

bool taille_admise(const ParametresImage &p, std::uint32_t maximum) {
  if (p.fichier != nullptr && p.taille_mo >= 1 && p.taille_mo <= maximum) return true;
  operations().afficher_erreur(message(kMessageTaille, {1, maximum}));
  return false;
}

void annonce(const PlanImage &plan, bool hfsplus) {
  volume_courant().est_hfsplus = hfsplus;
  support().taille_volume = plan.entete + plan.secteurs;
  support().taille_secteur = kTailleSecteur;
}

// --- HFS

// The design divides the whole volume into allocation blocks, with nothing taken off for the 19 sectors in
// front of them and the two behind: the last blocks and the alternate MDB lie behind the partition's end. The
// image file is long enough for them.
std::uint32_t nombre_de_blocs_hfs(std::uint64_t secteurs, std::uint32_t par_bloc) {
  return static_cast<std::uint32_t>(secteurs / par_bloc);
}

class ImageHfs : public Image {
 public:
  using Image::Image;

  bool ecrit_image() {
    plan_ = calcul_hfs(p_.taille_mo);
    annonce(plan_, false);
    label_.mac = (p_.label.mac.empty() ? nom_mac(label()) : p_.label.mac).substr(0, kNomVolumeHfsMax);
    if (!efface(plan_)) return false;
    operations().afficher_etat_seul(charger_chaine(kEtatStructures));
    const bool fait = ecrit_carte() && ecrit_volume() && ecrit_arbres();
    operations().afficher_etat({}, {});
    return fait && fichier_debut(*p_.fichier);
  }

 private:
  bool ecrit_carte() {
    const auto secteurs = static_cast<std::uint32_t>(plan_.secteurs);
    const std::string nom = std::string("Varnion - ") + VARNION_VERSION;
    return ecrit(0, descripteur_pilotes(plan_.entete + plan_.secteurs)) &&
           ecrit(1, entree_carte({nom, "Apple_partition_map", 1, 2, 2, 0x13})) &&
           ecrit(2, entree_carte({"MacOS", "Apple_HFS", plan_.entete, secteurs, secteurs, 0x13})) &&
           p_.fichier->ecrire_a(marque_iso(), 0x8001);
  }

  // The mark by which a set of ISO 9660 descriptors may be put in front of the volume later.
  static std::array<std::uint8_t, 5> marque_iso() { return {'C', 'D', '0', '0', '1'}; }

  bool ecrit_volume() {
    const std::uint32_t maintenant = date_mac();
    const std::uint32_t reserves = 2 * kBlocsReserves;
    const std::uint32_t octets = kBlocsReserves * plan_.taille_bloc;
    Mdb mdb{};
    mdb.drSigWord = kSignatureHfs;
    mdb.drCrDate = mdb.drLsMod = maintenant;
    mdb.drVolBkUp = maintenant + 2;
    mdb.drVBMSt = std::uint16_t{3};
    mdb.drAllocPtr = static_cast<std::uint16_t>(reserves);
    mdb.drNmAlBlks = static_cast<std::uint16_t>(plan_.nb_blocs);
    mdb.drAlBlkSiz = plan_.taille_bloc;
    mdb.drClpSiz = 4 * plan_.taille_bloc;
    mdb.drAlBlSt = std::uint16_t{kPremierSecteurBlocs};
    mdb.drNxtCNID = 17U;
    mdb.drFreeBks = static_cast<std::uint16_t>(plan_.nb_blocs - reserves);
    mdb.drVN[0] = static_cast<std::uint8_t>(label_.mac.size());
    std::copy(label_.mac.begin(), label_.mac.end(), mdb.drVN.begin() + 1);
    pose_identite(mdb.drFndrInfo);
    mdb.drXTClpSiz = mdb.drXTFlSize = octets;
    mdb.drCTClpSiz = mdb.drCTFlSize = octets;
    mdb.drXTExtRec[0] = {std::uint16_t{0}, std::uint16_t{kBlocsReserves}};
    mdb.drCTExtRec[0] = {std::uint16_t{kBlocsReserves}, std::uint16_t{kBlocsReserves}};
    Secteur carte{};
    fixe_bits(carte, 0, reserves, true);
    const std::uint64_t fin = std::uint64_t{plan_.nb_blocs} * (plan_.taille_bloc / kTailleSecteur);
    return ecrit(plan_.entete + 2, octets_de(mdb)) && ecrit(plan_.pos_carte, carte) &&
           ecrit(plan_.entete + kPremierSecteurBlocs + fin, octets_de(mdb)) && ecrit_fin(fin);
  }

  // The file reaches two sectors past the blocks, so that the alternate MDB stands last but one in it.
  bool ecrit_fin(std::uint64_t fin) const {
    return ecrit(plan_.entete + kPremierSecteurBlocs + fin + 1, Secteur{});
  }

  // From 36 MiB up the trees have more nodes than the map in the header has bits, and the map nodes that
  // Inside Macintosh asks for are not made. The catalog gets them when it is first changed; of the extents
  // tree only the first nodes are ever used.
  bool ecrit_arbres() {
    const std::uint32_t noeuds = kBlocsReserves * (plan_.taille_bloc / kTailleSecteur);
    DossierHfs racine = nouvelle_racine<CatalogueHfs>();
    racine.dirBkDat = racine.dirCrDat + 2;
    return ecrit(plan_.pos_extents, noeud_entete({kTailleSecteur, noeuds, noeuds - 1, 7, false})) &&
           ecrit(plan_.pos_catalogue, noeud_entete({kTailleSecteur, noeuds, noeuds - 2, 37, true})) &&
           ecrit(plan_.pos_catalogue + 1, premiere_feuille<CatalogueHfs>(kTailleSecteur, label_, racine));
  }

 public:
  template <typename C>
  static typename C::Dossier nouvelle_racine() {
    return C::nouveau_dossier(kIdRacine, date_mac(), info_nouveau_dossier());
  }

 private:
  PlanImage plan_;
  NomItem label_;
};

// --- HFS+

// TN1150 counts nodes; here the header nodes count allocation blocks of 2,048 bytes, twice as many as there
// are nodes of 4,096. The first change of the volume puts the catalog's right (`accorde_catalogue`).
std::uint32_t noeuds_annonces(std::uint32_t blocs) {
  return blocs;
}

// Blocks marked in a new bitmap. The B-tree files reach beyond them; nextAllocation keeps others off until
// the bitmap is first loaded, which marks them all.
constexpr std::uint32_t kBlocsMarques = 64;

class ImageHfsPlus : public Image {
 public:
  using Image::Image;

  bool ecrit_image() {
    plan_ = calcul_hfsplus(p_.taille_mo);
    annonce(plan_, true);
    label_.unicode = p_.label.unicode.vue().empty() ? nom_hfsplus(label()) : p_.label.unicode;
    if (!efface(plan_)) return false;
    operations().afficher_etat_seul(charger_chaine(kEtatStructures));
    const bool fait = ecrit_carte() && ecrit_entetes() && ecrit_bitmap() && ecrit_arbres();
    operations().afficher_etat({}, {});
    return fait && fichier_debut(*p_.fichier);
  }

 private:
  bool ecrit_carte() {
    const auto secteurs = static_cast<std::uint32_t>(plan_.secteurs);
    const std::string nom = std::string("Varnion - ") + VARNION_VERSION;
    return ecrit(0, descripteur_pilotes(plan_.entete + plan_.secteurs)) &&
           ecrit(1, entree_carte({nom, "Apple_partition_map", 1, 63, 63, 3})) &&
           ecrit(2,
                 entree_carte({nom_mac(label()), "Apple_HFS", plan_.entete, secteurs, secteurs, 0x40000033}));
  }

  [[nodiscard]] FourchePlus fourche(std::uint32_t debut, std::uint32_t blocs) const {
    FourchePlus f{};
    f.logicalSize = std::uint64_t{blocs} * plan_.taille_bloc;
    f.clumpSize = blocs * plan_.taille_bloc;
    f.totalBlocks = blocs;
    f.extents[0] = {debut, blocs};
    return f;
  }

  bool ecrit_entetes() {
    const std::uint32_t maintenant = date_mac();
    const std::uint32_t pris = plan_.blocs_carte + plan_.blocs_extents + plan_.blocs_catalogue;
    EnteteVolumePlus e{};
    e.signature = kSignatureHfsPlus;
    e.version = std::uint16_t{4};
    e.attributes = 0x100U;
    e.lastMountedVersion = kEstampille;
    e.createDate = e.modifyDate = e.checkedDate = maintenant;
    e.blockSize = plan_.taille_bloc;
    e.totalBlocks = plan_.nb_blocs;
    e.freeBlocks = plan_.nb_blocs - (pris + 2);
    e.nextAllocation = pris + 1;
    e.rsrcClumpSize = e.dataClumpSize = 0x10000U;
    e.nextCatalogID = p_.prochain_id;
    e.writeCount = 1U;
    e.encodingsBitmap = std::uint64_t{1};
    pose_identite(e.finderInfo);
    e.allocationFile = fourche(1, plan_.blocs_carte);
    e.extentsFile = fourche(1 + plan_.blocs_carte, plan_.blocs_extents);
    e.catalogFile = fourche(1 + plan_.blocs_carte + plan_.blocs_extents, plan_.blocs_catalogue);
    const std::uint64_t fin = plan_.entete + plan_.secteurs;
    return ecrit(plan_.entete + 2, octets_de(e)) && ecrit(fin - 2, octets_de(e)) && ecrit(fin - 1, Secteur{});
  }

  bool ecrit_bitmap() {
    std::vector<std::uint8_t> carte(std::size_t{plan_.blocs_carte} * plan_.taille_bloc);
    fixe_bits(carte, 0, kBlocsMarques, true);
    fixe_bits(carte, plan_.nb_blocs - 1, plan_.nb_blocs, true);
    return ecrit(plan_.pos_carte, carte);
  }

  bool ecrit_arbres() {
    const std::uint32_t extents = noeuds_annonces(plan_.blocs_extents);
    const std::uint32_t catalogue = noeuds_annonces(plan_.blocs_catalogue);
    DossierPlus racine = ImageHfs::nouvelle_racine<CatalogueHfsPlus>();
    racine.backupDate = racine.createDate + 2;
    return ecrit(plan_.pos_extents,
                 noeud_entete({kTailleNoeudPlus, extents, extents - 1, 10, false, 32, 2, 0})) &&
           ecrit(plan_.pos_catalogue,
                 noeud_entete({kTailleNoeudPlus, catalogue, catalogue - 2, 516, true, 32, 6, 0xCF})) &&
           ecrit(plan_.pos_catalogue + kTailleNoeudPlus / kTailleSecteur,
                 premiere_feuille<CatalogueHfsPlus>(kTailleNoeudPlus, label_, racine));
  }

  PlanImage plan_;
  NomItem label_;
};

}  // namespace

PlanImage calcul_hfs(std::uint32_t taille_mo) {
  PlanImage plan;
  plan.entete = 96;
  plan.secteurs = std::uint64_t{taille_mo} * kSecteursParMo;
  const auto par_bloc = static_cast<std::uint32_t>(std::max<std::uint64_t>(1, plan.secteurs >> 13));
  plan.taille_bloc = par_bloc * kTailleSecteur;
  plan.nb_blocs = nombre_de_blocs_hfs(plan.secteurs, par_bloc);
  plan.blocs_carte = 16;
  plan.blocs_extents = plan.blocs_catalogue = kBlocsReserves;
  plan.pos_carte = plan.entete + 3;
  plan.pos_extents = plan.entete + kPremierSecteurBlocs;
  plan.pos_catalogue = plan.pos_extents + std::uint64_t{kBlocsReserves} * par_bloc;
  return plan;
}

PlanImage calcul_hfsplus(std::uint32_t taille_mo) {
  constexpr std::uint32_t kParBloc = 4;
  PlanImage plan;
  plan.entete = 64;
  plan.secteurs = std::uint64_t{taille_mo} * kSecteursParMo;
  plan.taille_bloc = kParBloc * kTailleSecteur;
  plan.nb_blocs = static_cast<std::uint32_t>(plan.secteurs / kParBloc);
  // Twice the room that the bits need: the first quotient is taken by half a sector's bits.
  const std::uint32_t demis = quotient_haut<std::uint32_t>(plan.nb_blocs, 1U << 11);
  plan.blocs_carte = quotient_haut(demis, kParBloc);
  plan.blocs_extents = kBlocsExtentsPlus;
  plan.blocs_catalogue = kBlocsReserves;
  plan.pos_carte = plan.entete + kParBloc;
  plan.pos_extents = plan.pos_carte + std::uint64_t{plan.blocs_carte} * kParBloc;
  plan.pos_catalogue = plan.pos_extents + std::uint64_t{plan.blocs_extents} * kParBloc;
  return plan;
}

bool creation_image_hfs(const ParametresImage &parametres) {
  return taille_admise(parametres, kTailleMoMax) && ImageHfs(parametres).ecrit_image();
}

bool creation_image_hfsplus(const ParametresImage &parametres) {
  return taille_admise(parametres, kTailleMoMaxHfsplus) && ImageHfsPlus(parametres).ecrit_image();
}

bool creation_image(const ParametresImage &parametres) {
  return parametres.hfsplus ? creation_image_hfsplus(parametres) : creation_image_hfs(parametres);
}

bool efface_secteurs(const Fichier &fichier, std::uint64_t secteurs, std::string_view etat) {
  constexpr std::uint64_t kParFois = 64;
  const std::vector<std::uint8_t> zeros(kParFois * kTailleSecteur);
  operations().afficher_etat_seul(etat);
  operations().progression_debut(secteurs / kParFois + 1);
  bool fait = true;
  while (fait && secteurs > 0) {
    const std::uint64_t nombre = std::min(secteurs, kParFois);
    fait = fichier.ecrire(std::span(zeros).first(nombre * kTailleSecteur));
    secteurs -= nombre;
    operations().progression_pas(1);
  }
  operations().progression_fin();
  operations().afficher_etat({}, {});
  return fait;
}

bool disque_assez_grand(std::string_view chemin, std::uint64_t octets) {
  const auto libre = plateforme::espace_libre(chemin);
  return !libre || *libre > octets;
}

}  // namespace varnion
