// Nodes of B-trees (Inside Macintosh: Files, 2-65; TN1150).

#include "hfs/arbre.hpp"
#include "inspect/formes.hpp"
#include "inspect/noeuds.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion::formes {

namespace {

constexpr std::size_t kFiche = kDebutEnregistrements;

constexpr DescriptionChamp kEnteteDebut[] = {
    {"cont_taille", 3254, Format::gros, kFiche + 18, 2},
    {"cont_nbtot", 3255, Format::gros, kFiche + 22, 4},
    {"cont_nblibre", 3256, Format::gros, kFiche + 26, 4},
};
constexpr DescriptionChamp kEnteteSuite[] = {
    {"cont_nbitem", 3257, Format::gros, kFiche + 6, 4},
    {"cont_hauteur", 3261, Format::gros, kFiche, 2},
};

struct LienNoeud {
  const char *nom, *bouton;
  int legende;
  std::size_t place;
};
constexpr LienNoeud kLiensEntete[] = {
    {"cont_racine", "go_racine", 3258, kFiche + 2},
    {"cont_prem", "go_prem", 3259, kFiche + 10},
    {"cont_dern", "go_dern", 3260, kFiche + 14},
};
constexpr LienNoeud kLiensNoeud[] = {
    {"cont_amont", "go_amont", 3291, 4},
    {"cont_aval", "go_aval", 3292, 0},
};

constexpr DescriptionChamp kNoeud[] = {
    {"cont_type", 3288, Format::gros, 8, 1},
    {"cont_niveau", 3289, Format::gros, 9, 1},
    {"cont_nbrub", 3290, Format::gros, 10, 2},
};

void ajoute(std::vector<Champ> &champs, std::vector<Champ> &&suite) {
  for (Champ &champ : suite) champs.push_back(std::move(champ));
}

Champ champ_lien(const LienNoeud &lien, const ContexteAnalyse &contexte, std::uint32_t taille,
                 std::int64_t debut) {
  const std::uint64_t noeud = nombre_gros(contexte.secteur, lien.place, 4);
  Champ champ = champ_nombre(lien.nom, lien.legende, noeud);
  champ.bouton = bouton_aller(lien.bouton, cible_noeud(contexte, taille, debut, noeud));
  return champ;
}

/// The button of the next map node: it counts sectors of 512 bytes, not those of the medium, so that it
/// misses its node on a medium with larger ones. Kept as it stands.
Cible cible_carte(const ContexteAnalyse &contexte, std::uint32_t taille, std::uint64_t noeud) {
  ContexteAnalyse droit = contexte;
  droit.taille_secteur = kTailleSecteur;
  return cible_noeud(droit, taille, contexte.numero, noeud);
}

/// The node on screen: more than its first sector where nodes are larger.
std::vector<std::uint8_t> noeud_entier(const ContexteAnalyse &contexte) {
  return octets_depuis(contexte, contexte.etat.noeud());
}

void general(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  Onglet &nouveau = onglet(fiche, "TabND1", 3287);
  nouveau.champs = lit_champs(kNoeud, contexte.secteur);
  for (const LienNoeud &lien : kLiensNoeud)
    nouveau.champs.push_back(champ_lien(lien, contexte, fiche.etat.noeud(), fiche.etat.debut_arbre));
}

constexpr std::string_view kSansNombre = "***";
constexpr std::string_view kMemeFichier = "**";

Ligne ligne_fourche(std::string nom, const RubriqueNoeud &r, const FourcheRubrique &fourche,
                    const EtatAnalyse &etat) {
  return {{std::move(nom), std::to_string(r.id), std::to_string(fourche.longueur),
           std::to_string(fourche.premier)},
          cible_bloc(etat, fourche.premier)};
}

void ajoute_rubrique(const RubriqueNoeud &r, const EtatAnalyse &etat, std::vector<Ligne> &lignes) {
  const std::string rien(kSansNombre);
  switch (r.genre) {
    case GenreRubrique::dossier:
      lignes.push_back({{r.nom, std::to_string(r.id), formate("[%d]", {r.valence}), rien}, std::nullopt});
      break;
    case GenreRubrique::fichier:
      if (r.donnees.longueur != 0) lignes.push_back(ligne_fourche(r.nom, r, r.donnees, etat));
      if (r.ressources.longueur != 0)
        lignes.push_back(ligne_fourche(r.donnees.longueur != 0 ? std::string(kMemeFichier) : r.nom, r,
                                       r.ressources, etat));
      break;
    case GenreRubrique::fil:
      lignes.push_back({{r.nom, std::to_string(r.parent_fil), rien, rien}, std::nullopt});
      break;
    case GenreRubrique::autre:
      break;
  }
}

}  // namespace

void entete_arbre(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  const auto &secteur = contexte.secteur;
  fiche.etat.taille_noeud = static_cast<std::uint32_t>(nombre_gros(secteur, kFiche + 18, 2));
  fiche.etat.debut_arbre = contexte.numero;
  Onglet &nouveau = onglet(fiche, "TabGen", 3348);
  std::vector<Champ> &champs = nouveau.champs;
  champs = lit_champs(kEnteteDebut, secteur);
  const auto total = static_cast<std::uint32_t>(nombre_gros(secteur, kFiche + 22, 4));
  const auto libres = static_cast<std::uint32_t>(nombre_gros(secteur, kFiche + 26, 4));
  champs.push_back(champ_nombre("cont_nbocc", 3263, static_cast<std::uint32_t>(total - libres)));
  ajoute(champs, lit_champs(kEnteteSuite, secteur));
  const std::uint32_t taille = fiche.etat.noeud();
  for (const LienNoeud &lien : kLiensEntete)
    champs.push_back(champ_lien(lien, contexte, taille, contexte.numero));
  const std::uint64_t carte = nombre_gros(secteur, 0, 4);
  Champ suite = champ_nombre("cont_topo", 3262, carte);
  suite.bouton = bouton_aller("go_topo", cible_carte(contexte, taille, carte));
  champs.push_back(std::move(suite));
  Bouton dessin;
  dessin.nom = "AffTree";
  dessin.texte = charger_chaine(3351);
  dessin.action = ActionBouton::arbre;
  dessin.cible = cible_secteur(static_cast<std::uint64_t>(contexte.numero));
  nouveau.boutons.push_back(std::move(dessin));
}

void feuille(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  general(contexte, fiche);
  if (nombre_gros(contexte.secteur, 8, 1) != 0xFF) return;
  Onglet &liste = onglet(fiche, "TabND2", 3293);
  liste.colonnes = {3278, 3281, 3279, 3280};
  std::vector<std::uint8_t> noeud = noeud_entier(contexte);
  const bool hfsplus = noeud_hfsplus(fiche.etat.noeud());
  for (std::int32_t i = 0; i < nb_enregistrements(noeud); ++i)
    ajoute_rubrique(rubrique_feuille(enregistrement(noeud, i), hfsplus), fiche.etat, liste.lignes);
}

void index(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  general(contexte, fiche);
  Onglet &liste = onglet(fiche, "TabND2", 3345);
  liste.colonnes = {3278, 3346, 3280};
  std::vector<std::uint8_t> noeud = noeud_entier(contexte);
  const bool hfsplus = noeud_hfsplus(fiche.etat.noeud());
  for (std::int32_t i = 0; i < nb_enregistrements(noeud); ++i) {
    const RubriqueNoeud r = rubrique_index(enregistrement(noeud, i), hfsplus);
    const std::string nom = r.nom.empty() ? message(3347, {r.parent_cle}) : r.nom;
    liste.lignes.push_back({{nom, std::to_string(r.parent_cle), std::to_string(r.fils)},
                            cible_noeud(contexte, fiche.etat.noeud(), fiche.etat.debut_arbre, r.fils)});
  }
}

}  // namespace varnion::formes
