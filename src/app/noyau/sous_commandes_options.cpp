// "project options": what the head of a project says about the disc.

#include <algorithm>
#include <array>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_proprietes.hpp"
#include "app/noyau/json.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "compil/descripteurs.hpp"
#include "IO/plateforme.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kSansTitre = 1287;
constexpr int kSysteme = 1460;  // captions of the nine descriptor fields, in their order
constexpr int kVueUnique = 6557;
constexpr int kFormat = 6571;
constexpr int kTexteTropLong = 6815;
constexpr int kChampsEteints = 6816;
constexpr int kOuvrirRacine = 6817;
constexpr int kReconstruire = 6818;
constexpr int kIconeVolume = 6819;
constexpr int kParDefaut = 6820;
constexpr std::size_t kNomVolumeMax = 32;  ///< characters of the volume name as an ISO descriptor holds it

/// A text field of the ISO descriptors.
struct ChampTexte {
  const char *option;
  const char *json;
  std::size_t longueur;
  std::string (*lit)(const EnteteProjet &);
  void (*pose)(EnteteProjet &, std::string_view);
};

template <auto Champ>
constexpr ChampTexte champ(const char *option, const char *json, std::size_t longueur) {
  return {option, json, longueur, [](const EnteteProjet &entete) { return lit_champ(entete.*Champ); },
          [](EnteteProjet &entete, std::string_view texte) {
            static_cast<void>(ecrit_champ_plein(entete.*Champ, texte));
          }};
}

constexpr ChampTexte kChamps[] = {
    champ<&EnteteProjet::id_systeme>("system", "system", 32),
    champ<&EnteteProjet::label_iso>("volume", "volume", kNomVolumeMax),
    champ<&EnteteProjet::id_jeu_volumes>("volume-set", "volume_set", 128),
    champ<&EnteteProjet::id_editeur>("publisher", "publisher", 128),
    champ<&EnteteProjet::id_preparateur>("preparer", "preparer", 128),
    champ<&EnteteProjet::id_application>("application", "application", 128),
    champ<&EnteteProjet::fichier_copyright>("copyright-file", "copyright_file", 12),
    champ<&EnteteProjet::fichier_resume>("abstract-file", "abstract_file", 12),
    champ<&EnteteProjet::fichier_biblio>("bibliographic-file", "bibliographic_file", 12),
};
constexpr std::size_t kNombreChamps = std::size(kChamps);

/// A box to tick. `mac`: it is about the Macintosh volume, which an ISO+ project has not.
struct Case {
  const char *option;
  const char *json;
  int ligne;
  bool mac;
  bool (*lit)(const EnteteProjet &);
  void (*pose)(EnteteProjet &, bool);
};

constexpr Case kCases[] = {
    {"open-root", "open_root", kOuvrirRacine, true, [](const EnteteProjet &e) { return e.ouvrir_racine(); },
     [](EnteteProjet &e, bool valeur) { e.ouvrir_racine(valeur); }},
    {"rebuild", "rebuild", kReconstruire, false, [](const EnteteProjet &e) { return e.reconstruire(); },
     [](EnteteProjet &e, bool valeur) { e.reconstruire(valeur); }},
    {"custom-icon", "custom_icon", kIconeVolume, true, [](const EnteteProjet &e) { return e.icone_volume(); },
     [](EnteteProjet &e, bool valeur) { e.icone_volume(valeur); }},
};

std::string format_de(const FichierProjet &projet) {
  if (projet.mode() == ModeProjet::isop) return "ISO+";
  return projet.hfsplus() ? "HFS+" : "HFS";
}

std::string legende(std::size_t rang) {
  return charger_chaine(kSysteme + static_cast<int>(rang));
}

int liste_json(ContexteCli &contexte, const FichierProjet &projet, const EnteteProjet &entete) {
  ObjetJson objet;
  objet.texte("format", format_de(projet));
  for (const ChampTexte &c : kChamps) objet.texte(c.json, c.lit(entete));
  for (const Case &c : kCases) objet.vrai(c.json, c.lit(entete));
  contexte.sortie << objet.fini() << "\n";
  return kFait;
}

int liste(ContexteCli &contexte) {
  const auto chemin = chemin_argument(contexte.arguments.positions[0]);
  const auto projet = chemin ? consulte_projet(*chemin) : std::nullopt;
  EnteteProjet entete;
  if (!projet || !projet->lit_entete(entete)) return kEchec;
  if (contexte.arguments.a("json")) return liste_json(contexte, *projet, entete);
  const auto ligne = [&](std::string texte) {
    std::replace_if(
        texte.begin(), texte.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
    contexte.sortie << plateforme::texte_vers_utf8(texte) << "\n";
  };
  ligne(message(kFormat, {format_de(*projet)}));
  for (std::size_t i = 0; i < kNombreChamps; ++i) {
    const std::string valeur = kChamps[i].lit(entete);
    const bool defaut = i == 0 && valeur.empty();
    ligne(legende(i) + " " + (defaut ? message(kParDefaut, {signature_produit()}) : valeur));
  }
  for (const Case &c : kCases)
    if (!c.mac || projet->mode() == ModeProjet::hybride)
      ligne(message(c.ligne, {c.lit(entete) ? "on" : "off"}));
  return kFait;
}

using Textes = std::array<std::optional<std::string>, kNombreChamps>;

// False, after a message, for a text that its field cannot hold.
bool lit_textes(const Arguments &arguments, Textes &textes) {
  for (std::size_t i = 0; i < kNombreChamps; ++i) {
    const ChampTexte &c = kChamps[i];
    if (!arguments.a(c.option)) continue;
    textes[i] = texte_argument(arguments.valeur(c.option));
    if (!textes[i]) return false;
    if (textes[i]->size() <= c.longueur) continue;
    operations().afficher_erreur(message(kTexteTropLong, {legende(i), *textes[i], c.longueur}));
    return false;
  }
  return true;
}

bool pose_options(FichierProjet &projet, const Arguments &arguments, const Textes &textes) {
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  for (std::size_t i = 0; i < kNombreChamps; ++i)
    if (textes[i]) kChamps[i].pose(entete, *textes[i]);
  // No label is empty.
  if (lit_champ(entete.label_iso).empty()) ecrit_champ_coupe(entete.label_iso, charger_chaine(kSansTitre));
  for (const Case &c : kCases)
    if (arguments.a(c.option)) c.pose(entete, arguments.valeur(c.option) == "on");
  if (!projet.ecrit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  // The volume name aside, an empty System field blanks all the others on the disc.
  const bool autres = std::any_of(textes.begin() + 2, textes.end(),
                                  [](const auto &texte) { return texte && !texte->empty(); });
  if (autres && lit_champ(entete.id_systeme).empty())
    operations().afficher_avis(charger_chaine(kChampsEteints));
  return true;
}

bool cote_mac_demande(const Arguments &arguments) {
  return arguments.a("format") || std::any_of(std::begin(kCases), std::end(kCases),
                                              [&](const Case &c) { return c.mac && arguments.a(c.option); });
}

}  // namespace

int commande_projet_options(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const bool json = arguments.a("json");
  const auto donnee = [&](const auto &c) { return arguments.a(c.option); };
  const bool change = arguments.a("format") || std::any_of(std::begin(kChamps), std::end(kChamps), donnee) ||
                      std::any_of(std::begin(kCases), std::end(kCases), donnee);
  if (!change) return liste(contexte);
  if (json) return kUsage;
  Textes textes;
  if (!lit_textes(arguments, textes)) return kEchec;
  const auto chemin = chemin_argument(arguments.positions[0]);
  auto projet = chemin ? ouvre_projet(*chemin) : std::nullopt;
  if (!projet) return kEchec;
  if (projet->mode() == ModeProjet::isop && cote_mac_demande(arguments)) {
    operations().afficher_erreur(charger_chaine(kVueUnique));
    return kEchec;
  }
  const bool hfsplus = arguments.valeur("format") == "hfsplus";
  if (arguments.a("format") && !passe_au_format(*projet, hfsplus, arguments.a("force"))) return kEchec;
  const bool fait = pose_options(*projet, arguments, textes);
  return enregistre_projet(*projet) && fait ? kFait : kEchec;
}

}  // namespace varnion
