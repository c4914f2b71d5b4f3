// Maps of Apple media (Inside Macintosh: Devices, 3-12) and the headers of HFS and HFS+ volumes.

#include <array>

#include "inspect/formes.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion::formes {

namespace {

constexpr DescriptionChamp kPilotes[] = {
    {"cont_sign", 3202, Format::octets, 0, 2},
    {"cont_taille", 3203, Format::gros, 2, 2},
    {"cont_nbs", 3204, Format::gros, 4, 4},
    {"cont_nbpil", 3205, Format::gros, 16, 2},
};

constexpr DescriptionChamp kPartition[] = {
    {"cont_sign", 3207, Format::octets, 0, 2},   {"cont_taille", 3208, Format::gros, 4, 4},
    {"cont_debut", 3209, Format::gros, 8, 4},    {"cont_lgsect", 3210, Format::gros, 0x54, 4},
    {"cont_label", 3211, Format::rogne, 16, 32}, {"cont_type", 3212, Format::rogne, 48, 32},
};

constexpr DescriptionChamp kMdbGeneral[] = {
    {"cont_sign", 3215, Format::octets, 0, 2},       {"cont_tblocs", 3216, Format::gros, 0x14, 4},
    {"cont_nbblocs", 3217, Format::gros, 0x12, 2},   {"cont_nblibre", 3218, Format::gros, 0x22, 2},
    {"cont_label", 3219, Format::nom_mac, 0x24, 28},
};
constexpr DescriptionChamp kMdbFichiers[] = {
    {"cont_numproch", 3221, Format::gros, 0x1E, 4}, {"cont_nbfic", 3222, Format::gros, 0x54, 4},
    {"cont_nbrep", 3223, Format::gros, 0x58, 4},    {"cont_nbfrac", 3224, Format::gros, 0x0C, 2},
    {"cont_nbrrac", 3225, Format::gros, 0x52, 2},
};

constexpr DescriptionChamp kPlusGeneral[] = {
    {"cont_sign", 3236, Format::octets, 0, 2},     {"cont_last", 3237, Format::octets, 8, 4},
    {"cont_tblocs", 3238, Format::gros, 0x28, 4},  {"cont_nbblocs", 3239, Format::gros, 0x2C, 4},
    {"cont_nblibre", 3240, Format::gros, 0x30, 4}, {"cont_nextid", 3241, Format::gros, 0x40, 4},
    {"cont_nbfic", 3242, Format::gros, 0x20, 4},   {"cont_nbrep", 3243, Format::gros, 0x24, 4},
};

constexpr std::size_t kOctetsAvantEntete = 1024;  ///< from the start of a volume to its header
constexpr std::size_t kPremierPartition = 2;      ///< sector from which on an entry stands in a map

/// Where the extents of a fork stand, and how wide their numbers are.
struct RangeeExtents {
  const char *sigle;  ///< as in `cont_nbext1`
  std::size_t place;
  std::size_t nombre;
  std::size_t largeur;  ///< bytes of a number: 2 on HFS, 4 on HFS+
  int groupe, legende_nombre, legende_position;
};

void ajoute_extents(const RangeeExtents &r, const ContexteAnalyse &contexte, const EtatAnalyse &etat,
                    Onglet &onglet) {
  for (std::size_t i = 0; i < r.nombre; ++i) {
    const std::size_t place = r.place + i * 2 * r.largeur;
    const std::string suite = std::string(r.sigle) + std::to_string(i + 1);
    const std::uint64_t debut = nombre_gros(contexte.secteur, place, r.largeur);
    const auto rang = static_cast<unsigned>(i + 1);
    Champ nombre = champ_nombre("cont_nb" + suite, r.legende_nombre,
                                nombre_gros(contexte.secteur, place + r.largeur, r.largeur));
    Champ position = champ_nombre("cont_pos" + suite, r.legende_position, debut);
    position.bouton = bouton_aller("go_pos" + suite, cible_bloc(etat, debut));
    position.bouton->choisi = i == 0;
    for (Champ *champ : {&nombre, &position}) {
      champ->groupe = r.groupe;
      champ->rang = rang;
      onglet.champs.push_back(std::move(*champ));
    }
  }
}

/// Repeats the button of the first extent below the tab.
void repete_premier(Onglet &onglet, const char *nom) {
  for (const Champ &champ : onglet.champs) {
    if (!champ.bouton) continue;
    onglet.boutons.push_back(*champ.bouton);
    onglet.boutons.back().nom = nom;
    onglet.boutons.back().choisi = false;
    return;
  }
}

/// The buttons of an entry of a map; `suite` numbers them where there are several entries.
struct NomsBoutons {
  std::string debut, descripteur;
};
void boutons_partition(std::span<const std::uint8_t> entree, std::uint64_t plus, const NomsBoutons &noms,
                       std::vector<Bouton> &boutons) {
  const std::uint64_t debut = nombre_gros(entree, 8, 4);
  boutons.push_back(bouton_aller(noms.debut, cible_secteur(debut)));
  boutons.push_back(bouton_aller(noms.descripteur, cible_secteur(debut + plus)));
  boutons.back().actif = debut != 0;
}

// TailleNoeud as the header of the catalog file says it. A header that cannot be read leaves what was known.
void lit_taille_noeud(const ContexteAnalyse &contexte, EtatAnalyse &etat) {
  if (contexte.source == nullptr) return;
  constexpr std::size_t kPremierCatalogue = 0x110 + 16;
  constexpr std::size_t kTailleNoeud = 14 + 18;
  const auto bloc = nombre_gros(contexte.secteur, kPremierCatalogue, 4);
  std::vector<std::uint8_t> entete(contexte.taille_secteur);
  const std::int64_t secteur = cible_bloc(etat, bloc).secteur;
  if (secteur < 0 || secteur > contexte.source->dernier_secteur() ||
      !contexte.source->lire_secteurs(entete, secteur))
    return;
  etat.taille_noeud = static_cast<std::uint32_t>(nombre_gros(entete, kTailleNoeud, 2));
}

struct OngletFourche {
  const char *nom;
  int titre;
  const char *taille;  ///< component of the size
  const char *sigle;
  std::size_t place;
  bool facultatif;     ///< shows only when the fork has a length
  const char *bouton;  ///< below the tab, nullptr for none
};
constexpr OngletFourche kFourchesPlus[] = {
    {"TabHPP2", 3244, "cont_tfat", "fat", 0x70, false, nullptr},
    {"TabHPP3", 3249, "cont_text", "ext", 0xC0, false, nullptr},
    {"TabHPP4", 3250, "cont_tcat", "cat", 0x110, false, nullptr},
    {"TabHPP5", 3251, "cont_tatt", "att", 0x160, true, "but_tab5"},
    {"TabHPP6", 3252, "cont_tboot", "boot", 0x1B0, true, "but_tab6"},
};

/// Logical size of the attributes and startup files as shown: TN1150 gives 64 bits, the low 32 are shown.
std::uint64_t moitie_basse(std::uint64_t taille) {
  return static_cast<std::uint32_t>(taille);
}

void volume_inclus(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  Onglet &inclus = onglet(fiche, "TabBD5", 3233);
  const std::uint64_t debut = nombre_gros(contexte.secteur, 0x7E, 2);
  inclus.champs.push_back(champ_nombre("cont_nbhpp", 3229, nombre_gros(contexte.secteur, 0x80, 2)));
  Champ position = champ_nombre("cont_poshpp", 3230, debut);
  position.bouton = bouton_aller("go_hpp", cible_bloc(fiche.etat, debut));
  position.bouton->choisi = true;
  Bouton deux = *position.bouton;
  deux.nom = "Go_hpp2";
  deux.texte = kTexteDeuxPlus;
  deux.choisi = false;
  deux.cible.secteur += 2;
  inclus.champs.push_back(std::move(position));
  inclus.boutons.push_back(std::move(deux));
}

}  // namespace

void pilotes(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  page(fiche).champs = lit_champs(kPilotes, contexte.secteur);
}

void partition(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  page(fiche).champs = lit_champs(kPartition, contexte.secteur);
  if (contexte.numero < static_cast<std::int64_t>(kPremierPartition)) return;
  const std::uint64_t debut = nombre_gros(contexte.secteur, 8, 4);
  boutons_partition(contexte.secteur, kOctetsAvantEntete / contexte.taille_secteur, {"Go", "Go2"},
                    fiche.boutons);
  fiche.boutons.back().choisi = true;
  Bouton autre =
      bouton_aller("But_Altern", cible_secteur(debut + nombre_gros(contexte.secteur, 0x54, 4) - 2));
  autre.texte = charger_chaine(3276);
  autre.actif = debut != 0;
  fiche.boutons.push_back(std::move(autre));
}

void tetes_mac(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  constexpr std::size_t kEntrees = 4;
  const auto lit = [&](std::uint64_t position) {
    std::vector<std::uint8_t> secteur(contexte.taille_secteur);
    if (contexte.source != nullptr) static_cast<void>(contexte.source->lire(secteur, position));
    return secteur;
  };
  const std::vector<std::uint8_t> tete = lit(0);
  const bool carte = texte_octets(tete, 0, 2) == "ER";
  if (carte) onglet(fiche, "TabND1", 3356).champs = lit_champs(kPilotes, tete);
  const std::uint64_t annonce = carte ? nombre_gros(tete, 2, 2) : 0;
  const std::uint64_t pas = annonce >= kTailleSecteur ? annonce : contexte.taille_secteur;
  for (std::size_t i = 1; i <= kEntrees; ++i) {
    const std::vector<std::uint8_t> entree = lit(i * pas);
    if (texte_octets(entree, 0, 2) != "PM") continue;
    const std::string numero = std::to_string(i);
    Onglet &nouveau = onglet(fiche, ("TabND" + std::to_string(i + 1)).c_str(), 3357);
    nouveau.titre += formate(" %d", {i});
    nouveau.champs = lit_champs(kPartition, entree);
    boutons_partition(entree, 2, {"Go" + numero + "1", "Go" + numero + "2"}, nouveau.boutons);
  }
}

void mdb(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  const auto &secteur = contexte.secteur;
  EtatAnalyse &etat = fiche.etat;
  etat.base_blocs = contexte.numero + static_cast<std::int64_t>(nombre_gros(secteur, 0x1C, 2)) - 2;
  etat.secteurs_par_bloc =
      static_cast<std::uint32_t>(nombre_gros(secteur, 0x14, 4) / contexte.taille_secteur);
  onglet(fiche, "TabBD1", 3214).champs = lit_champs(kMdbGeneral, secteur);
  onglet(fiche, "TabBD2", 3220).champs = lit_champs(kMdbFichiers, secteur);
  Onglet &extents = onglet(fiche, "TabBD3", 3226);
  extents.champs.push_back(champ_nombre("cont_text", 3227, nombre_gros(secteur, 0x82, 4)));
  ajoute_extents({"ext", 0x86, 3, 2, 3228, 3229, 3230}, contexte, etat, extents);
  repete_premier(extents, "but_tab3");
  Onglet &catalogue = onglet(fiche, "TabBD4", 3232);
  catalogue.champs.push_back(champ_nombre("cont_tcat", 3231, nombre_gros(secteur, 0x92, 4)));
  ajoute_extents({"cat", 0x96, 3, 2, 3228, 3229, 3230}, contexte, etat, catalogue);
  repete_premier(catalogue, "but_tab4");
  if (nombre_gros(secteur, 0x7C, 2) != 0) volume_inclus(contexte, fiche);
}

void hfsplus(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  const auto &secteur = contexte.secteur;
  EtatAnalyse &etat = fiche.etat;
  etat.base_blocs = contexte.numero - static_cast<std::int64_t>(kOctetsAvantEntete / contexte.taille_secteur);
  etat.secteurs_par_bloc =
      static_cast<std::uint32_t>(nombre_gros(secteur, 0x28, 4) / contexte.taille_secteur);
  lit_taille_noeud(contexte, etat);
  onglet(fiche, "TabHPP1", 3235).champs = lit_champs(kPlusGeneral, secteur);
  for (const OngletFourche &f : kFourchesPlus) {
    const std::uint64_t taille = nombre_gros(secteur, f.place, 8);
    if (f.facultatif && taille == 0) continue;
    Onglet &nouveau = onglet(fiche, f.nom, f.titre);
    nouveau.champs.push_back(champ_nombre(f.taille, 3245, f.facultatif ? moitie_basse(taille) : taille));
    ajoute_extents({f.sigle, f.place + 16, 8, 4, 3246, 3247, 3248}, contexte, etat, nouveau);
    if (f.bouton != nullptr) repete_premier(nouveau, f.bouton);
  }
}

}  // namespace varnion::formes
