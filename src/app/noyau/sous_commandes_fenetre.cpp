// "layout": the window of the disc's root.

#include <algorithm>
#include <charconv>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/json.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "finder/fenetre_racine.hpp"
#include "finder/grille_icones.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kVueUnique = 6557;
constexpr int kNombresFaux = 7473;  // value, option
constexpr int kPlaceFausse = 7474;  // word
constexpr int kPasDElement = 7475;  // name
constexpr int kLigneFenetre = 7476;
constexpr int kLigneTailles = 7477;
constexpr int kLigneImage = 7478;
constexpr int kEnregistree = 7479;

std::string texte(std::string_view utf8) {
  return plateforme::utf8_vers_texte(utf8);
}

bool echoue(const std::string &mot) {
  operations().afficher_erreur(mot);
  return false;
}

// Numbers parted by commas, exactly as many as there is room for.
bool lit_nombres(std::string_view liste, std::span<int> nombres) {
  const char *debut = liste.data();
  const char *fin = debut + liste.size();
  for (std::size_t i = 0; i < nombres.size(); ++i) {
    if (i > 0 && (debut == fin || *debut++ != ',')) return false;
    const auto lu = std::from_chars(debut, fin, nombres[i]);
    if (lu.ec != std::errc{} || nombres[i] < 0 || nombres[i] > kCoordonneeEcranMax) return false;
    debut = lu.ptr;
  }
  return debut == fin;
}

template <std::size_t N>
int indice_de(const std::array<int, N> &choix, const std::string &valeur) {
  int nombre = 0;
  if (!lit_nombres(valeur, {&nombre, 1})) return -1;
  const auto place = std::find(choix.begin(), choix.end(), nombre);
  return place == choix.end() ? -1 : static_cast<int>(place - choix.begin());
}

bool pose_fenetre(const Arguments &arguments, ValeursFenetre &valeurs) {
  if (!arguments.a("window")) return true;
  std::array<int, 4> bords{};
  const std::string donnes = arguments.valeur("window");
  if (!lit_nombres(donnes, bords) || bords[2] <= bords[0] || bords[3] <= bords[1])
    return echoue(message(kNombresFaux, {texte(donnes), "--window"}));
  valeurs.rect = {bords[0], bords[1], bords[2], bords[3]};
  valeurs_grille(valeurs);
  return true;
}

bool pose_image(const Arguments &arguments, ValeursFenetre &valeurs) {
  if (arguments.a("no-background")) return prend_image(valeurs, {});
  if (!arguments.a("background")) return true;
  const auto chemin = chemin_argument(arguments.valeur("background"));
  return chemin && prend_image(valeurs, *chemin);
}

bool pose_tailles(const Arguments &arguments, ValeursFenetre &valeurs) {
  if (arguments.a("icon-size"))
    static_cast<void>(fixe_taille_icone(valeurs, indice_de(kTaillesIcone, arguments.valeur("icon-size"))));
  if (arguments.a("text-size"))
    static_cast<void>(fixe_taille_texte(valeurs, indice_de(kTaillesTexte, arguments.valeur("text-size"))));
  if (arguments.a("spacing"))
    static_cast<void>(fixe_espacement(valeurs, arguments.valeur("spacing").front() - '0'));
  return true;
}

// One "NAME=X,Y". The name may hold "=" itself.
bool pose_place(const std::string &mot, ValeursFenetre &valeurs) {
  const std::size_t egal = mot.rfind('=');
  std::array<int, 2> place{};
  if (egal == std::string::npos || egal == 0 || !lit_nombres(std::string_view(mot).substr(egal + 1), place))
    return echoue(message(kPlaceFausse, {texte(mot)}));
  const std::string nom = texte(mot.substr(0, egal));
  auto &elements = valeurs.elements;
  auto element =
      std::find_if(elements.begin(), elements.end(), [&](const ElementFenetre &e) { return e.nom == nom; });
  if (element == elements.end())
    element = std::find_if(elements.begin(), elements.end(), [&](const ElementFenetre &e) {
      return plateforme::majuscules(e.nom) == plateforme::majuscules(nom);
    });
  if (element == elements.end()) return echoue(message(kPasDElement, {nom}));
  element->x = place[0];
  element->y = place[1];
  return true;
}

// The picture gives the window its size, a window that was asked for has the last word, and places come
// behind all that lays the icons out anew.
bool pose_valeurs(const Arguments &arguments, ValeursFenetre &valeurs) {
  if (!pose_image(arguments, valeurs) || !pose_fenetre(arguments, valeurs) ||
      !pose_tailles(arguments, valeurs))
    return false;
  for (const auto &[option, valeur] : arguments.suite)
    if (option == "place" && !pose_place(valeur, valeurs)) return false;
  return std::all_of(arguments.positions.begin() + 1, arguments.positions.end(),
                     [&](const std::string &mot) { return pose_place(mot, valeurs); });
}

bool change(const Arguments &arguments) {
  return arguments.positions.size() > 1 ||
         std::any_of(arguments.options.begin(), arguments.options.end(),
                     [](const auto &option) { return option.first != "json"; });
}

int montre_json(ContexteCli &contexte, const ValeursFenetre &v) {
  ObjetJson objet;
  objet.nombre("left", v.rect.gauche);
  objet.nombre("top", v.rect.haut);
  objet.nombre("right", v.rect.droite);
  objet.nombre("bottom", v.rect.bas);
  objet.nombre("icon_size", kTaillesIcone[static_cast<std::size_t>(v.taille_icone)]);
  objet.nombre("text_size", kTaillesTexte[static_cast<std::size_t>(v.taille_texte)]);
  objet.nombre("spacing", v.espacement);
  objet.texte("background", v.image);
  std::string liste;
  for (const ElementFenetre &e : v.elements) {
    ObjetJson element;
    element.texte("name", e.nom).nombre("x", e.x).nombre("y", e.y);
    liste += (liste.empty() ? "" : ",") + element.fini();
  }
  objet.liste("items", "[" + liste + "]");
  contexte.sortie << objet.fini() << "\n";
  return kFait;
}

int montre(ContexteCli &contexte, const FichierProjet &projet) {
  const ValeursFenetre valeurs = ouvre_fenetre_racine(projet).valeurs;
  if (contexte.arguments.a("json")) return montre_json(contexte, valeurs);
  const auto ligne = [&](const std::string &mot) {
    contexte.sortie << plateforme::texte_vers_utf8(mot) << "\n";
  };
  const RectEcran &r = valeurs.rect;
  ligne(message(kLigneFenetre, {r.gauche, r.haut, r.droite, r.bas}));
  ligne(message(kLigneTailles,
                {kTaillesIcone[static_cast<std::size_t>(valeurs.taille_icone)],
                 kTaillesTexte[static_cast<std::size_t>(valeurs.taille_texte)], valeurs.espacement}));
  if (!valeurs.image.empty()) ligne(message(kLigneImage, {valeurs.image}));
  for (const ElementFenetre &e : valeurs.elements)
    ligne(e.nom + "=" + std::to_string(e.x) + "," + std::to_string(e.y));
  return kFait;
}

bool refuse_isop(const FichierProjet &projet) {
  return projet.mode() == ModeProjet::hybride || echoue(charger_chaine(kVueUnique));
}

}  // namespace

int commande_layout(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (arguments.a("background") && arguments.a("no-background")) return kUsage;
  const auto chemin = chemin_argument(arguments.positions[0]);
  if (!chemin) return kEchec;
  if (!change(arguments)) {
    const auto projet = consulte_projet(*chemin);
    return projet && refuse_isop(*projet) ? montre(contexte, *projet) : int{kEchec};
  }
  if (arguments.a("json")) return kUsage;
  auto cible = arguments.a("output") ? chemin_argument(arguments.valeur("output")) : std::string();
  auto projet = cible && prepare_signatures(arguments) ? ouvre_projet(*chemin) : std::nullopt;
  if (!projet || !refuse_isop(*projet) || !label_precise(*projet) || !exige_hfsplus(*projet)) return kEchec;
  FenetreRacine fenetre = ouvre_fenetre_racine(*projet);
  if (cible->empty()) cible = chemin_propose(*projet, fenetre);
  const bool sienne = !fenetre.chemin.empty() && plateforme::meme_fichier(fenetre.chemin, *cible);
  if (!sienne && !cible_libre(*cible, arguments.a("force"))) return kEchec;
  const bool fait = pose_valeurs(arguments, fenetre.valeurs) && ecrit_ds_store(*projet, fenetre, *cible);
  if (!enregistre_projet(*projet) || !fait) return kEchec;
  contexte.sortie << plateforme::texte_vers_utf8(message(kEnregistree, {*cible})) << "\n";
  return kFait;
}

}  // namespace varnion
