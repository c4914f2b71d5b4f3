// "analyze": a sector identified and shown field by field.

#include <algorithm>
#include <utility>

#include "app/noyau/actions_inspection.hpp"
#include "app/noyau/affichage.hpp"
#include "app/noyau/json.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "inspect/arbre_dessin.hpp"
#include "inspect/preparation.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kArrete = 6869;
constexpr int kPlageFausse = 6978;    // what was typed
constexpr int kSecteurAbsent = 6979;  // number, file
constexpr int kSansSecteur = 6981;
constexpr int kIllisible = 6983;  // file
constexpr int kSecteur = 6984;    // number
constexpr int kSansArbre = 6990;  // number
constexpr unsigned kRadix = 10;

// --- as text

void ligne(ContexteCli &contexte, const std::string &texte) {
  contexte.sortie << texte_montrable(texte) << "\n";
}

std::string renvoi(const Bouton &bouton) {
  const std::string texte =
      bouton.action == ActionBouton::aller && bouton.texte == kTexteAller ? bouton.nom : bouton.texte;
  return texte + " -> " + message(kSecteur, {std::to_string(bouton.cible.secteur)});
}

std::size_t largeur_legendes(const FicheAnalyse &fiche) {
  std::size_t largeur = 0;
  for (const Onglet &onglet : fiche.onglets)
    for (const Champ &champ : onglet.champs)
      largeur = std::max(largeur, charger_chaine(champ.legende).size());
  return largeur;
}

std::string remplit(std::string texte, std::size_t largeur) {
  if (texte.size() < largeur) texte.resize(largeur, ' ');
  return texte;
}

std::string texte_champ(const Champ &champ, std::size_t largeur) {
  std::string texte = remplit(charger_chaine(champ.legende), largeur) + " " + champ.valeur;
  if (champ.bouton && champ.bouton->actif) texte += "  (" + renvoi(*champ.bouton) + ")";
  return texte;
}

// A row of a group on one line; rows of zeros, extents that are not in use, are left out.
void montre_groupe(ContexteCli &contexte, std::span<const Champ> groupe) {
  ligne(contexte, "  " + charger_chaine(groupe.front().groupe));
  for (std::size_t i = 0; i < groupe.size();) {
    const unsigned rang = groupe[i].rang;
    std::string texte = "  " + std::to_string(rang) + ".";
    bool rempli = false;
    for (; i < groupe.size() && groupe[i].rang == rang; ++i) {
      rempli |= groupe[i].valeur != "0";
      texte += "  " + texte_champ(groupe[i], 0);
    }
    if (rempli) ligne(contexte, texte);
  }
}

void montre_champs(ContexteCli &contexte, const Onglet &onglet, std::size_t largeur) {
  const std::span<const Champ> champs(onglet.champs);
  for (std::size_t i = 0; i < champs.size();) {
    if (champs[i].groupe == 0) {
      ligne(contexte, "  " + texte_champ(champs[i++], largeur));
      continue;
    }
    std::size_t fin = i;
    while (fin < champs.size() && champs[fin].groupe == champs[i].groupe) ++fin;
    montre_groupe(contexte, champs.subspan(i, fin - i));
    i = fin;
  }
}

void montre_liste(ContexteCli &contexte, const Onglet &onglet) {
  if (onglet.colonnes.empty()) return;
  std::vector<std::vector<std::string>> lignes(1);
  for (const int colonne : onglet.colonnes) lignes[0].push_back(charger_chaine(colonne));
  for (const Ligne &l : onglet.lignes) lignes.push_back(l.cellules);
  std::vector<std::size_t> largeurs(onglet.colonnes.size());
  for (const auto &cellules : lignes)
    for (std::size_t i = 0; i < std::min(cellules.size(), largeurs.size()); ++i)
      largeurs[i] = std::max(largeurs[i], cellules[i].size());
  for (const auto &cellules : lignes) {
    std::string texte = " ";
    for (std::size_t i = 0; i < cellules.size(); ++i)
      texte += " " + (i + 1 < cellules.size() ? remplit(cellules[i], largeurs[i] + 1) : cellules[i]);
    ligne(contexte, texte);
  }
}

void montre_texte(ContexteCli &contexte, const FicheAnalyse &fiche) {
  ligne(contexte, fiche.titre);
  const std::size_t largeur = largeur_legendes(fiche);
  const auto boutons = [&](const std::vector<Bouton> &liste) {
    for (const Bouton &bouton : liste)
      if (bouton.actif) ligne(contexte, "  " + renvoi(bouton));
  };
  for (const Onglet &onglet : fiche.onglets) {
    if (!onglet.nom.empty()) ligne(contexte, "[" + onglet.titre + "]");
    montre_champs(contexte, onglet, largeur);
    montre_liste(contexte, onglet);
    boutons(onglet.boutons);
  }
  boutons(fiche.boutons);
}

// --- as JSON

std::string json_liste(const std::vector<std::string> &elements) {
  std::string liste;
  for (const std::string &element : elements) liste += (liste.empty() ? "" : ", ") + element;
  return "[" + liste + "]";
}

ObjetJson json_cible(const Cible &cible) {
  constexpr std::string_view kGenres[] = {"sector", "block", "node", "iso", "byte"};
  ObjetJson objet;
  objet.texte("kind", kGenres[static_cast<std::size_t>(cible.genre)]);
  return objet.nombre("number", cible.nombre).nombre("sector", cible.secteur);
}

ObjetJson json_bouton(const Bouton &bouton) {
  constexpr std::string_view kActions[] = {"go", "tree", "entries"};
  ObjetJson objet;
  objet.texte("name", bouton.nom).texte("caption", bouton.texte);
  objet.texte("action", kActions[static_cast<std::size_t>(bouton.action)]).vrai("enabled", bouton.actif);
  return objet.objet("target", json_cible(bouton.cible));
}

std::string json_boutons(const std::vector<Bouton> &boutons) {
  std::vector<std::string> elements;
  for (const Bouton &bouton : boutons) elements.push_back(json_bouton(bouton).fini());
  return json_liste(elements);
}

std::string json_champs(const Onglet &onglet) {
  std::vector<std::string> elements;
  for (const Champ &champ : onglet.champs) {
    ObjetJson objet;
    objet.texte("name", champ.nom).texte("label", charger_chaine(champ.legende));
    if (champ.groupe != 0) objet.texte("group", charger_chaine(champ.groupe)).nombre("row", champ.rang);
    objet.texte("value", champ.valeur);
    if (champ.bouton) objet.objet("button", json_bouton(*champ.bouton));
    elements.push_back(objet.fini());
  }
  return json_liste(elements);
}

std::string json_lignes(const Onglet &onglet) {
  std::vector<std::string> elements;
  for (const Ligne &l : onglet.lignes) {
    std::vector<std::string> cellules;
    for (const std::string &cellule : l.cellules) cellules.push_back(json_texte(cellule));
    ObjetJson objet;
    objet.liste("cells", json_liste(cellules));
    if (l.cible) objet.objet("target", json_cible(*l.cible));
    elements.push_back(objet.fini());
  }
  return json_liste(elements);
}

void montre_json(ContexteCli &contexte, const FicheAnalyse &fiche, std::int64_t numero) {
  const GenreAnalyse *genre = genre_de(fiche.forme);
  std::vector<std::string> onglets;
  for (const Onglet &onglet : fiche.onglets) {
    ObjetJson objet;
    objet.texte("name", onglet.nom).texte("title", onglet.titre).liste("fields", json_champs(onglet));
    std::vector<std::string> colonnes;
    for (const int colonne : onglet.colonnes) colonnes.push_back(json_texte(charger_chaine(colonne)));
    objet.liste("columns", json_liste(colonnes)).liste("rows", json_lignes(onglet));
    onglets.push_back(objet.liste("buttons", json_boutons(onglet.boutons)).fini());
  }
  ObjetJson objet;
  objet.nombre("sector", numero).texte("kind", genre->mot).texte("form", genre->classe);
  objet.texte("title", fiche.titre).vrai("whole", fiche.entiere).liste("tabs", json_liste(onglets));
  contexte.sortie << objet.liste("buttons", json_boutons(fiche.boutons)).fini() << "\n";
}

// --- the tree

std::string json_rangee(const RangeeArbre &rangee) {
  constexpr std::string_view kIcones[] = {"index", "folder", "thread", "file"};
  ObjetJson objet;
  objet.nombre("depth", rangee.profondeur).texte("kind", kIcones[static_cast<std::size_t>(rangee.icone)]);
  objet.nombre("node", rangee.noeud).nombre("record", rangee.index).nombre("sector", rangee.secteur);
  if (rangee.fils >= 0) objet.nombre("child", rangee.fils);
  return objet.texte("text", rangee.texte).fini();
}

int montre_arbre(ContexteCli &contexte, const SourceOuverte &ouverte, std::int64_t numero) {
  const bool json = contexte.arguments.a("json");
  std::string_view avant = "\n";
  if (json) contexte.sortie << "{\"sector\": " << numero << ", \"rows\": [";
  const ResultatDessin fin = dessine_arbre(*ouverte.source, numero, [&](const RangeeArbre &rangee) {
    if (json)
      contexte.sortie << std::exchange(avant, ",\n") << json_rangee(rangee);
    else
      ligne(contexte, std::string(2 * std::size_t{rangee.profondeur}, ' ') + rangee.texte);
    return static_cast<bool>(contexte.sortie) && !operations().arret_demande();
  });
  if (json)
    contexte.sortie << "], \"whole\": " << (fin.etat == EtatDessin::entier ? "true" : "false") << "}\n";
  if (fin.etat == EtatDessin::entier) return kFait;
  operations().afficher_erreur(fin.etat == EtatDessin::arrete ? charger_chaine(kArrete)
                                                              : message(kIllisible, {ouverte.nom}));
  return kEchec;
}

// The number of the sector asked for; an exit status in `statut` where there is none.
std::int64_t lit_secteur(const ContexteCli &contexte, const SourceOuverte &ouverte, int &statut) {
  const std::string texte = contexte.arguments.valeur("sector");
  const auto plage = lit_plage_secteurs(texte, kRadix, 0);
  const std::int64_t dernier = ouverte.source->dernier_secteur();
  const std::string montre = plateforme::utf8_vers_texte(texte);
  statut = kUsage;
  if (texte.empty())
    operations().afficher_erreur(charger_chaine(kSansSecteur));
  else if (!plage || plage->premier != plage->dernier)
    operations().afficher_erreur(message(kPlageFausse, {montre}));
  else if (static_cast<std::int64_t>(plage->premier) > dernier) {
    operations().afficher_erreur(message(kSecteurAbsent, {montre, ouverte.nom}));
    statut = kEchec;
  } else {
    statut = kFait;
    return static_cast<std::int64_t>(plage->premier);
  }
  return -1;
}

}  // namespace

int commande_analyze(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  SourceOuverte ouverte;
  int statut = ouvre_source(contexte, ouverte);
  if (statut != kFait) return statut;
  const std::int64_t numero = lit_secteur(contexte, ouverte, statut);
  if (statut != kFait) return statut;
  const SourceSecteurs &source = *ouverte.source;
  EtatAnalyse etat;
  if (ouverte.fichier) etat = etat_pour_secteur(source, *ouverte.fichier, numero);
  const GenreAnalyse *voulu = genre_nomme(arguments.valeur("as"));
  const FicheAnalyse fiche = voulu != nullptr ? analyse_secteur_comme(voulu->forme, source, numero, etat)
                                              : analyse_secteur(source, numero, etat);
  if (fiche.forme == FormeSecteur::aucune) {
    operations().afficher_erreur(charger_chaine(kMessageInconnu));
    return kEchec;
  }
  if (arguments.a("tree")) {
    if (fiche.forme == FormeSecteur::entete_arbre) return montre_arbre(contexte, ouverte, numero);
    operations().afficher_erreur(message(kSansArbre, {std::to_string(numero)}));
    return kEchec;
  }
  if (arguments.a("json"))
    montre_json(contexte, fiche, numero);
  else
    montre_texte(contexte, fiche);
  if (fiche.entiere) return kFait;
  operations().afficher_erreur(message(kIllisible, {ouverte.nom}));
  return kEchec;
}

}  // namespace varnion
