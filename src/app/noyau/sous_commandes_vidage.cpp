// "dump": the bytes of a file, an image or a fork; search and saving.

#include <algorithm>
#include <array>
#include <cerrno>

#include "app/noyau/actions_inspection.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/affichage.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "inspect/lignes.hpp"
#include "inspect/segment.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kLongueurNulle = 1409;
constexpr int kPasTrouve = 3052;
constexpr int kArrete = 6869;
constexpr int kPlageFausse = 6978;    // what was typed
constexpr int kSecteurAbsent = 6979;  // number, file
constexpr int kTrouve = 6982;         // sector, byte of it, position
constexpr int kIllisible = 6983;      // file
constexpr int kMotifFaux = 6985;      // what was typed
constexpr int kHorsCode = 6989;       // what was typed
constexpr std::size_t kMotifMontre = 80;
constexpr std::size_t kColonnesPosition = 8;  // of a line, with a gap of two behind them

/// What a run of the command is about.
struct Vidage {
  ContexteCli &contexte;
  SourceOuverte ouverte;
  AspectVidage aspect;
  PlageSecteurs plage;
  bool choisie = false;  ///< the user named sectors
};

AspectVidage aspect_demande(const Arguments &arguments) {
  constexpr std::array<std::string_view, 4> kTables{"mac", "windows", "dos", "ebcdic"};
  AspectVidage aspect;
  if (arguments.valeur("radix") == "16") aspect.radix = 16;
  const std::string table = arguments.valeur("table", kTables[0]);
  for (std::size_t i = 0; i < kTables.size(); ++i)
    if (table == kTables[i]) aspect.table = static_cast<TableCaracteres>(i);
  return aspect;
}

int erreur(int statut, const std::string &texte) {
  operations().afficher_erreur(texte);
  return statut;
}

// What was typed, for a message.
std::string abrege(const std::string &texte) {
  return texte.size() <= kMotifMontre ? texte : texte.substr(0, kMotifMontre) + "...";
}

int lit_plage(Vidage &v) {
  const SourceSecteurs &source = *v.ouverte.source;
  const std::uint64_t dernier = source.nb_secteurs() - 1;
  const Arguments &arguments = v.contexte.arguments;
  v.choisie = arguments.a("sector");
  if (!v.choisie) {
    const bool tout = arguments.a("search") || arguments.a("save");
    v.plage = {0, tout ? dernier : 0};
    return kFait;
  }
  const std::string texte = arguments.valeur("sector");
  const auto plage = lit_plage_secteurs(texte, v.aspect.radix, dernier);
  if (!plage) return erreur(kUsage, message(kPlageFausse, {abrege(plateforme::utf8_vers_texte(texte))}));
  for (const std::uint64_t n : {plage->premier, plage->dernier})
    if (n > dernier)
      return erreur(kEchec,
                    message(kSecteurAbsent,
                            {nombre_vidage(static_cast<std::int64_t>(n), v.aspect.radix), v.ouverte.nom}));
  v.plage = *plage;
  return kFait;
}

// One character for each byte: the columns stand, so nothing is shown as an escape here.
std::string sans_controles(std::string ligne) {
  constexpr char kTiretInvisible = '\xAD';
  std::ranges::replace_if(
      ligne, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == kTiretInvisible; },
      '?');
  return ligne;
}

// A long position takes the gap behind it and loses digits in the width of a line; on a terminal the line
// grows instead.
std::string position_entiere(std::uint64_t position, unsigned radix, const std::string &ligne) {
  const std::string nombre = nombre_vidage(static_cast<std::int64_t>(position), radix);
  return nombre.size() <= kColonnesPosition ? ligne : nombre + "  " + ligne.substr(kColonnesPosition + 2);
}

int montre(Vidage &v) {
  const SourceSecteurs &source = *v.ouverte.source;
  std::vector<std::uint8_t> octets(source.taille_secteur());
  bool lisible = true;
  for (std::uint64_t n = v.plage.premier; n <= v.plage.dernier && v.contexte.sortie; ++n) {
    if (operations().arret_demande()) return erreur(kEchec, charger_chaine(kArrete));
    lisible &= source.lire_secteurs(octets, static_cast<std::int64_t>(n));
    std::string texte;
    std::uint64_t position = n * source.taille_secteur();
    for (const std::string &ligne : lignes_secteur(octets, position, v.aspect)) {
      texte +=
          (ligne.empty() ? ligne : position_entiere(position, v.aspect.radix, sans_controles(ligne))) + "\n";
      if (!ligne.empty()) position += kOctetsParLigne;
    }
    v.contexte.sortie << plateforme::texte_vers_utf8(texte);
  }
  return lisible ? kFait : erreur(kEchec, message(kIllisible, {v.ouverte.nom}));
}

int cherche_tout(Vidage &v) {
  const SourceSecteurs &source = *v.ouverte.source;
  const std::string utf8 = v.contexte.arguments.valeur("search");
  const std::string texte = plateforme::utf8_vers_texte(utf8);
  const std::string montre = abrege(texte);
  // A character that the code page lacks came out as one "?" more than was typed.
  if (std::count(texte.begin(), texte.end(), '?') != std::count(utf8.begin(), utf8.end(), '?'))
    return erreur(kUsage, message(kHorsCode, {montre}));
  DemandeRecherche demande;
  const auto motif = motif_recherche(texte);
  if (!motif) return erreur(kUsage, message(kMotifFaux, {montre}));
  const std::uint64_t pas = source.taille_secteur();
  demande.motif = *motif;
  demande.depuis = v.plage.premier * pas;
  demande.dernier = static_cast<std::int64_t>(v.plage.dernier);
  const auto nombre = [&](std::uint64_t n) {
    return nombre_vidage(static_cast<std::int64_t>(n), v.aspect.radix);
  };
  BarreInspection suivi(v.contexte.console, (v.plage.dernier - v.plage.premier + 1) * pas);
  const auto visite = [&](std::uint64_t position) {
    v.contexte.sortie << plateforme::texte_vers_utf8(message(
                             kTrouve, {nombre(position / pas), nombre(position % pas), nombre(position)}))
                      << "\n";
    return static_cast<bool>(v.contexte.sortie) && !operations().arret_demande();
  };
  const ResultatRecherche fin = cherche(
      source, demande, visite, [&](std::uint64_t n) { return suivi.avance(n * pas - demande.depuis); });
  if (fin.etat == EtatRecherche::arrete || operations().arret_demande())
    return erreur(kEchec, charger_chaine(kArrete));
  if (fin.etat == EtatRecherche::illisible) return erreur(kEchec, message(kIllisible, {v.ouverte.nom}));
  return fin.nombre > 0 ? kFait : erreur(kEchec, charger_chaine(kPasTrouve) + montre);
}

int enregistre(Vidage &v) {
  const Arguments &arguments = v.contexte.arguments;
  const SourceSecteurs &source = *v.ouverte.source;
  const std::string utf8 = arguments.valeur("save");
  const auto chemin = chemin_argument(utf8);
  if (!chemin || !cible_libre(*chemin, arguments.a("force"))) return kEchec;
  const std::size_t barre = utf8.rfind('/');
  const auto chemin_dossier =
      chemin_argument(barre == std::string::npos ? std::string(".") : utf8.substr(0, barre + 1));
  const auto dossier = chemin_dossier ? DossierSortie::ouvre(*chemin_dossier) : std::nullopt;
  if (!dossier) {
    if (chemin_dossier) erreur_fichier(*chemin, errno);
    return kEchec;
  }
  // Sectors that were asked for go out whole, all of a source ends where it ends.
  const auto segment = v.choisie ? segment_secteurs(source, v.plage.premier, v.plage.dernier)
                                 : segment_octets(source, 0, source.longueur());
  if (!segment) return kEchec;
  BarreInspection suivi(v.contexte.console, segment->fin - segment->debut);
  const ResultatSegment fin =
      enregistre_segment(source, *segment, arguments.a("hex") ? std::optional(v.aspect) : std::nullopt,
                         *dossier, barre == std::string::npos ? utf8 : utf8.substr(barre + 1),
                         [&](std::uint64_t fait) { return suivi.avance(fait); });
  if (fin == ResultatSegment::arret) return erreur(kEchec, charger_chaine(kArrete));
  return fin == ResultatSegment::fait ? kFait : kEchec;
}

}  // namespace

int commande_dump(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  Vidage v{contexte, {}, aspect_demande(arguments), {}};
  if (const int statut = ouvre_source(contexte, v.ouverte); statut != kFait) return statut;
  if (v.ouverte.source->longueur() == 0) return erreur(kEchec, charger_chaine(kLongueurNulle));
  if (const int statut = lit_plage(v); statut != kFait) return statut;
  if (!arguments.a("search") && !arguments.a("save")) return montre(v);
  if (arguments.a("search"))
    if (const int statut = cherche_tout(v); statut != kFait) return statut;
  return arguments.a("save") ? enregistre(v) : kFait;
}

}  // namespace varnion
