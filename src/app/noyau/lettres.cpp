#include "app/noyau/lettres.hpp"

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_refresh.hpp"
#include "app/noyau/actions_unpack.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kAjouts = 6550;
constexpr int kSansEffet = 6561;
constexpr std::size_t kCheminMessage = 50;
constexpr std::string_view kExtensionImage = "ISO";
constexpr std::string_view kOptionsVue = "-HI";

int vue_demandee(CommandeLettre commande) {
  if (commande.option == 'H') return kVueHfs;
  return commande.option == 'I' ? kVueIso : kVueRacine;
}

std::string montre(CommandeLettre commande) {
  std::string texte(1, commande.lettre);
  if (commande.option != '\0') texte += commande.option;
  return texte;
}

int statut(bool fait) {
  return fait ? kFait : kEchec;
}

// A letter that the table of commands leaves empty for this kind of file is done at once, and succeeds.
int sans_effet(TacheLettre &tache) {
  operations().afficher_avis(
      message(kSansEffet, {montre(tache.commande), tronque_chemin(tache.chemin, kCheminMessage)}));
  return kFait;
}

// The project of a path, made when there is none.
std::optional<FichierProjet> projet_ou_neuf(const std::string &chemin) {
  return plateforme::existe(chemin) ? ouvre_projet(chemin) : cree_projet(chemin);
}

int compile(TacheLettre &tache) {
  auto projet = ouvre_projet(tache.chemin);
  if (!projet) return kEchec;
  if (projet->mode() == ModeProjet::isop && tache.commande.option != '\0') return sans_effet(tache);
  DemandeCompilation demande;
  if (tache.commande.option != '\0')
    demande.genre = tache.commande.option == 'I' ? GenreDemande::iso : GenreDemande::mac;
  demande.ecrasement = Ecrasement::toujours;
  const std::string extension = extension_image(*projet, demande.genre);
  demande.cible = chemin_extension(tache.chemin, extension == "iso" ? kExtensionImage : extension);
  if (!prepare_signatures(tache.contexte.arguments, *projet)) return kEchec;
  return compile_vers(*projet, demande, tache.contexte.console, tache.contexte.sortie);
}

int dossier(TacheLettre &tache) {
  const auto chemin = texte_argument(tache.valeur);
  if (!chemin) return kEchec;
  auto projet = projet_ou_neuf(tache.chemin);
  if (!projet) return kEchec;
  const bool fait = fait_dossier(*projet, *chemin, vue_demandee(tache.commande)) != 0;
  return statut(enregistre_projet(*projet) && fait);
}

int inclusion(TacheLettre &tache) {
  std::vector<std::string> chemins{tache.valeur};
  if (tache.valeur.starts_with('$')) {
    const auto liste = chemin_argument(std::string_view(tache.valeur).substr(1));
    auto lus = liste ? lit_liste(*liste) : std::nullopt;
    if (!lus) return kEchec;
    chemins = std::move(*lus);
  }
  if (!prepare_signatures(tache.contexte.arguments)) return kEchec;
  auto projet = projet_ou_neuf(tache.chemin);
  if (!projet) return kEchec;
  const BilanAjout bilan =
      ajoute_sources(*projet, chemins, kRacine, vue_demandee(tache.commande), tache.contexte.console);
  tache.contexte.sortie << plateforme::texte_vers_utf8(message(kAjouts, {bilan.dossiers, bilan.fichiers}))
                        << "\n";
  return statut(enregistre_projet(*projet) && bilan.complet());
}

int label(TacheLettre &tache) {
  const auto texte = texte_argument(tache.valeur);
  if (!texte) return kEchec;
  auto projet = projet_ou_neuf(tache.chemin);
  if (!projet) return kEchec;
  const int vue = projet->mode() == ModeProjet::isop ? int{kVueIso} : vue_demandee(tache.commande);
  const bool fait =
      pose_labels(*projet, vue != kVueHfs ? texte : std::nullopt, vue != kVueIso ? texte : std::nullopt);
  return statut(enregistre_projet(*projet) && fait);
}

int hybride(TacheLettre &tache) {
  return commande_hybrid(tache.contexte);
}

int reconstruction(TacheLettre &tache) {
  std::optional<std::string> journal;
  if (tache.commande.option == 'J') {
    if (tache.valeur.empty()) return kUsage;
    journal = chemin_argument(tache.valeur);
    if (!journal) return kEchec;
  }
  return reconstruit_projet(tache.contexte, tache.chemin, journal);
}

// With C, a compressed image to the value path; with H, a hybrid image parted.
int image_defaite(TacheLettre &tache) {
  if (tache.commande.option == 'H') return commande_dehybrid(tache.contexte);
  if (tache.valeur.empty()) return kUsage;
  const auto cible = chemin_argument(tache.valeur);
  return cible ? decompresse_vers(tache.contexte, tache.chemin, *cible, false, Ecrasement::toujours) : kEchec;
}

constexpr FicheLettre kFiches[] = {
    {'C', "-HI", 1, compile, 6601, 6651},         {'D', "CH", 1, image_defaite, 6602, 6652},
    {'F', kOptionsVue, 2, dossier, 6603, 6653},   {'H', "-", 2, hybride, 6604, 6654},
    {'I', kOptionsVue, 2, inclusion, 6605, 6655}, {'L', kOptionsVue, 2, label, 6606, 6656},
    {'R', "-J", 1, reconstruction, 6607, 6657},
};

constexpr OptionCli kOptions[] = {{"signatures", '\0', 6704, ""}};

}  // namespace

std::span<const FicheLettre> fiches_lettres() {
  return kFiches;
}

std::span<const OptionCli> options_lettres() {
  return kOptions;
}

const FicheLettre *fiche_lettre(CommandeLettre commande) {
  const char option = commande.option == '\0' ? '-' : commande.option;
  for (const FicheLettre &fiche : kFiches)
    if (fiche.lettre == commande.lettre && fiche.options.find(option) != std::string_view::npos)
      return &fiche;
  return nullptr;
}

int execute_lettre(ContexteCli &contexte, CommandeLettre commande) {
  const FicheLettre *fiche = fiche_lettre(commande);
  const auto &positions = contexte.arguments.positions;
  if (fiche == nullptr || positions.size() < fiche->arguments || positions.size() > 2) return kUsage;
  TacheLettre tache{contexte, commande, {}, positions.size() > 1 ? positions[1] : std::string()};
  // These two work on images of any name.
  if (fiche->execute == hybride || (fiche->execute == image_defaite && commande.option == 'H'))
    return fiche->execute(tache);
  const auto chemin = chemin_argument(positions[0]);
  if (!chemin) return kEchec;
  tache.chemin = *chemin;
  const auto mode = mode_de_document(tache.chemin);
  if (mode == kModePartition && fiche->execute != image_defaite) return sans_effet(tache);
  return fiche->execute(tache);
}

}  // namespace varnion
