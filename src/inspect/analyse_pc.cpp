// Sectors of the PC: master boot record, boot sectors of FAT and NTFS volumes, GUID partition table
// (UEFI 5.3).

#include <algorithm>
#include <array>

#include "inspect/formes.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion::formes {

namespace {

// --- master boot record

constexpr std::size_t kPremiereEntree = 0x1BE;
constexpr std::size_t kTailleEntree = 16;
constexpr std::size_t kEntreesMbr = 4;
constexpr std::string_view kMarque = "0xAA55";  ///< shown whatever the sector ends with
constexpr int kTypeInconnu = 7509;

struct TypePartition {
  std::uint8_t type;
  int legende;
};
constexpr TypePartition kTypes[] = {
    {0x01, 7500}, {0x04, 7501}, {0x06, 7501}, {0x0E, 7501}, {0x05, 7502}, {0x0F, 7502}, {0x07, 7503},
    {0x0B, 7504}, {0x0C, 7504}, {0x12, 7505}, {0xAF, 7506}, {0xEE, 7507}, {0xEF, 7507},
};

std::string nom_type(std::uint8_t type) {
  for (const TypePartition &t : kTypes)
    if (t.type == type) return charger_chaine(t.legende);
  return message(kTypeInconnu, {std::uint32_t{type}});
}

// --- boot sectors

constexpr DescriptionChamp kAmorceDebut[] = {
    {"cont_nbos", 3303, Format::petit, 0x0B, 2},
    {"cont_nbphys", 3313, Format::petit, 0x24, 1},
};
constexpr DescriptionChamp kAmorceTechnique[] = {
    {"cont_OEM", 3302, Format::rogne, 3, 8},        {"cont_nbsg", 3304, Format::petit, 0x0D, 1},
    {"cont_nbfat", 3305, Format::petit, 0x10, 1},   {"cont_nbrub", 3306, Format::petit, 0x11, 2},
    {"cont_type", 3307, Format::petit_x2, 0x15, 1}, {"cont_nbfaces", 3309, Format::petit, 0x1A, 2},
    {"cont_nbpiste", 3310, Format::petit, 0x18, 2}, {"cont_nbhiden", 3311, Format::petit, 0x1C, 4},
};

/// What depends on the kind of volume.
struct VolumePc {
  std::string serie, label, type;
  std::uint64_t taille_fat = 0;
  std::uint64_t racine = 0;
};

VolumePc volume_pc(const ContexteAnalyse &contexte) {
  const auto &s = contexte.secteur;
  const std::uint64_t fat16 = nombre_petit(s, 0x16, 2);
  const std::uint64_t nb_fat = nombre_petit(s, 0x10, 1);
  const auto rogne = [&](std::size_t place, std::size_t taille) {
    return std::string(sans_blancs_fin(texte_octets(s, place, taille)));
  };
  if (fat16 == 0 && nb_fat == 0)  // NTFS
    return {"0x" + formate("%I64x", {static_cast<std::int64_t>(nombre_petit(s, 0x48, 8))}), "", rogne(3, 8),
            0, nombre_petit(s, 0x30, 8)};
  VolumePc volume;
  volume.taille_fat = fat16 != 0 ? fat16 : nombre_petit(s, 0x24, 4);
  volume.racine =
      static_cast<std::uint64_t>(contexte.numero) + volume.taille_fat * nb_fat + nombre_petit(s, 0x0E, 2);
  if (fat16 == 0) {  // FAT32
    volume.type = texte_octets(s, 0x52, 8);
    volume.serie = std::to_string(nombre_petit(s, 0x43, 4));
    volume.label = rogne(0x47, 11);
  } else if (nombre_petit(s, 0x26, 1) == 0x29) {
    volume.type = texte_octets(s, 0x36, 8);
    volume.serie = std::to_string(nombre_petit(s, 0x27, 4));
    volume.label = rogne(0x2B, 11);
  } else {
    volume.type = volume.serie = volume.label = "-";
  }
  return volume;
}

Champ champ_texte(const char *nom, int legende, std::string valeur) {
  return {nom, legende, 0, 0, std::move(valeur), std::nullopt};
}

// --- GUID partition table

constexpr DescriptionChamp kGptDebut[] = {
    {"cont_sign", 3360, Format::octets, 0, 8},    {"cont_revision", 3361, Format::petit, 8, 4},
    {"cont_sztete", 3362, Format::petit, 12, 4},  {"cont_crctete", 3363, Format::petit_X4, 16, 4},
    {"cont_mylba", 3365, Format::petit, 24, 8},   {"cont_premlba", 3367, Format::petit, 40, 8},
    {"cont_dernlba", 3368, Format::petit, 48, 8}, {"cont_diskguid", 3369, Format::guid, 56, 16},
    {"cont_partlba", 3370, Format::petit, 72, 8}, {"cont_nbpart", 3371, Format::petit, 80, 4},
    {"cont_szpart", 3372, Format::petit, 84, 4},  {"cont_crcpart", 3373, Format::petit_X4, 88, 4},
};
constexpr std::size_t kChampPartLba = 8;

constexpr std::size_t kEntreeGpt = 128;  ///< bytes; the size that the header tells is not looked at
constexpr std::size_t kEntreesMontrees = 4;
constexpr std::size_t kNomGpt = 72;
// The names of the buttons as the form has them.
constexpr std::array<const char *, kEntreesMontrees> kBoutonsGpt{"lba1", "lab2", "lba3", "lab4"};

/// The numbers of an entry show the low half of their 64 bits. Kept as it stands: the button reads what is
/// shown.
std::uint64_t moitie_lba(std::span<const std::uint8_t> entree, std::size_t place) {
  return nombre_petit(entree, place, 4);
}

/// A reading of a type GUID: the first four bytes of those of Apple are a tag (48465300, "HFS"). The tail
/// that they share is compared in three pieces, and one that agrees is enough, so that many a foreign GUID
/// gets a reading as well. Kept as it stands.
std::optional<std::string> type_apple(std::span<const std::uint8_t> entree) {
  constexpr std::array<std::uint8_t, 8> kFin{0xAA, 0x11, 0x00, 0x30, 0x65, 0x43, 0xEC, 0xAC};
  const bool fin = entree.size() >= 16 && std::equal(kFin.begin(), kFin.end(), entree.begin() + 8);
  if (nombre_petit(entree, 4, 2) != 0 && nombre_petit(entree, 6, 2) != 0x11AA && !fin) return std::nullopt;
  std::array<std::uint8_t, 4> tag{};
  for (std::size_t i = 0; i < tag.size(); ++i)
    tag[i] = static_cast<std::uint8_t>(nombre_petit(entree, tag.size() - 1 - i, 1));
  return texte_octets(tag, 0, tag.size());
}

bool vide(std::span<const std::uint8_t> guid) {
  return std::all_of(guid.begin(), guid.end(), [](std::uint8_t octet) { return octet == 0; });
}

void ajoute_entree(std::span<const std::uint8_t> entree, std::size_t rang, Onglet &onglet) {
  const std::string numero = std::to_string(rang + 1);
  const auto nom = [&](const char *debut) { return debut + numero; };
  auto &champs = onglet.champs;
  champs.push_back(champ_texte(nom("cont_guid1").c_str(), 7511, texte_guid(entree, 0)));
  champs.push_back(champ_texte(nom("cont_guid2").c_str(), 7512, texte_guid(entree, 16)));
  const std::uint64_t debut = moitie_lba(entree, 32);
  Champ premier = champ_nombre(nom("cont_lbadeb"), 7513, debut);
  premier.bouton = bouton_aller(kBoutonsGpt[rang], cible_secteur(debut));
  champs.push_back(std::move(premier));
  champs.push_back(champ_nombre(nom("cont_lbafin"), 7514, moitie_lba(entree, 40)));
  champs.push_back(champ_texte(nom("cont_nompart").c_str(), 7515, texte_utf16_petit(entree, 56, kNomGpt)));
  if (const auto lecture = type_apple(entree))
    champs.push_back(champ_texte(nom("cont_partclair").c_str(), 7516, *lecture));
}

}  // namespace

void mbr(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  Onglet &seul = page(fiche);
  seul.champs.push_back(champ_texte("cont_sign", 3295, std::string(kMarque)));
  seul.colonnes = {3296, 3297, 3298};
  for (std::size_t i = 0; i < kEntreesMbr; ++i) {
    const std::size_t place = kPremiereEntree + i * kTailleEntree;
    const auto type = static_cast<std::uint8_t>(nombre_petit(contexte.secteur, place + 4, 1));
    const std::uint64_t debut = nombre_petit(contexte.secteur, place + 8, 4);
    const auto longueur = static_cast<std::int32_t>(nombre_petit(contexte.secteur, place + 12, 4));
    if (longueur == 0) break;
    seul.lignes.push_back(
        {{nom_type(type), std::to_string(debut), formate("%d (0x%x)", {longueur, longueur})},
         cible_secteur(debut)});
  }
}

void fat(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  const auto &s = contexte.secteur;
  const VolumePc volume = volume_pc(contexte);
  const std::uint64_t petit = nombre_petit(s, 0x13, 2);
  Onglet &general = onglet(fiche, "TabBoot1", 3300);
  general.champs.push_back(champ_nombre("cont_nbsect", 3312, petit != 0 ? petit : nombre_petit(s, 0x20, 4)));
  for (Champ &champ : lit_champs(kAmorceDebut, s)) general.champs.push_back(std::move(champ));
  general.champs.push_back(champ_texte("cont_numserie", 3314, volume.serie));
  general.champs.push_back(champ_texte("cont_label", 3315, volume.label));
  general.champs.push_back(champ_texte("cont_typef", 3316, volume.type));
  general.champs.push_back(champ_nombre("cont_nbsfat", 3308, volume.taille_fat));
  Champ racine = champ_nombre("cont_racine", 3317, volume.racine);
  racine.bouton = bouton_aller("go_racine", cible_secteur(volume.racine));
  general.champs.push_back(std::move(racine));
  onglet(fiche, "TabBoot2", 3301).champs = lit_champs(kAmorceTechnique, s);
}

void gpt(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  Onglet &seul = page(fiche);
  seul.champs = lit_champs(kGptDebut, contexte.secteur);
  Bouton entrees = bouton_aller("go_racine", cible_secteur(nombre_petit(contexte.secteur, 72, 8)));
  entrees.action = ActionBouton::entrees;
  seul.champs[kChampPartLba].bouton = std::move(entrees);
}

void partitions_gpt(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  for (std::size_t rang = 0; rang < kEntreesMontrees; ++rang) {
    const std::size_t place = rang * kEntreeGpt;
    if (contexte.secteur.size() < place + kEntreeGpt) break;
    const auto entree = contexte.secteur.subspan(place, kEntreeGpt);
    if (vide(entree.first(16))) break;
    Onglet &nouveau = fiche.onglets.emplace_back();
    nouveau.nom = "Tab" + std::to_string(rang + 1);
    nouveau.titre = message(7510, {rang + 1});
    ajoute_entree(entree, rang, nouveau);
  }
}

}  // namespace varnion::formes
