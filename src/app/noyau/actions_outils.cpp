#include "app/noyau/actions_outils.hpp"

#include <algorithm>
#include <array>
#include <unordered_set>

#include "hfs/catalogue.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/arborescence.hpp"
#include "projet/changement_chemin.hpp"
#include "projet/erreurs.hpp"
#include "projet/instantane.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCheminTropLong = 6105;
constexpr std::size_t kCheminMessage = 200;
constexpr std::size_t kExtensionMax = 4;
constexpr int kNiveauxMax = 256;

template <typename Critere>
std::vector<RubriqueTrouvee> rassemble(const FichierProjet &projet, int vue, std::size_t limite,
                                       Critere critere) {
  std::vector<RubriqueTrouvee> trouvees;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *lue = tout.suivant()) {
    if (trouvees.size() >= limite || operations().arret_demande()) break;
    if (lue->dans_vue(vue) && critere(*lue)) trouvees.push_back({lue->numero, lue->pere, *lue});
  }
  return trouvees;
}

// The stem of a name with an extension; nothing when it has none.
std::optional<std::string> sans_extension(const std::string &nom) {
  const std::size_t point = nom.rfind('.');
  if (point == std::string::npos || point == 0) return std::nullopt;
  const std::size_t longueur = nom.size() - point - 1;
  if (longueur == 0 || longueur > kExtensionMax) return std::nullopt;
  return nom.substr(0, point);
}

}  // namespace

// The last star met is tried with one character more each time the rest fails: quadratic at worst, over names
// of a few dozen characters.
bool agree_nom(std::string_view motif, std::string_view nom) {
  std::size_t m = 0, n = 0;
  std::size_t etoile = std::string_view::npos, reprise = 0;
  while (n < nom.size()) {
    if (m < motif.size() && motif[m] == '*') {
      etoile = m++;
      reprise = n;
    } else if (m < motif.size() &&
               (motif[m] == '?' || plateforme::majuscule(motif[m]) == plateforme::majuscule(nom[n]))) {
      ++m;
      ++n;
    } else if (etoile != std::string_view::npos) {
      m = etoile + 1;
      n = ++reprise;
    } else {
      return false;
    }
  }
  while (m < motif.size() && motif[m] == '*') ++m;
  return m == motif.size();
}

std::vector<RubriqueTrouvee> cherche_nom_projet(const FichierProjet &projet, std::string_view motif, int vue,
                                                std::size_t limite) {
  return rassemble(projet, vue, limite, [&](const RubriqueProjet &rubrique) {
    return agree_nom(motif, nom_dans_vue(rubrique, vue, projet.hfsplus()));
  });
}

std::vector<RubriqueTrouvee> cherche_signature_projet(const FichierProjet &projet, std::string_view texte,
                                                      int vue, std::size_t limite) {
  return rassemble(projet, vue, limite, [&](const RubriqueProjet &rubrique) {
    if (rubrique.est_dossier()) return false;
    std::array<std::uint8_t, 8> signature{};
    std::transform(rubrique.signature.begin(), rubrique.signature.end(), signature.begin(),
                   [](char c) { return static_cast<std::uint8_t>(c); });
    return compare_signature(texte, signature);
  });
}

std::string chemin_dans_projet(const FichierProjet &projet, std::uint32_t dossier, int vue) {
  std::string chemin;
  for (int niveau = 0; niveau < kNiveauxMax && dossier != kRacine; ++niveau) {
    RubriqueProjet rubrique;
    if (!projet.cherche_numero(dossier, rubrique)) break;
    const std::string nom = nom_dans_vue(rubrique, vue, projet.hfsplus());
    chemin = chemin.empty() ? nom : nom + "/" + chemin;
    dossier = rubrique.pere;
  }
  return chemin;
}

std::vector<std::string> chemins_distincts(const FichierProjet &projet) {
  std::vector<std::string> chemins;
  std::unordered_set<std::string> connus;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *lue = tout.suivant()) {
    if (lue->est_virtuel()) continue;
    std::string chemin = lit_champ(lue->chemin);
    if (!chemin.empty() && connus.insert(chemin).second) chemins.push_back(std::move(chemin));
  }
  return chemins;
}

std::optional<std::uint64_t> masque_extensions_hfs(FichierProjet &projet) {
  InstantaneProjet instantane(projet);
  if (!instantane.prend()) return std::nullopt;
  std::uint64_t changes = 0;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *lue = tout.suivant()) {
    if (!lue->dans_hfs()) continue;
    // The dot is the same byte in both encodings of the field.
    const auto nom = sans_extension(lit_champ(lue->nom_hfs));
    if (!nom) continue;
    RubriqueProjet rubrique = *lue;
    static_cast<void>(ecrit_champ(rubrique.nom_hfs, *nom));
    if (!tout.reecrit(projet, rubrique)) {
      echec_projet_inchange(projet);
      return std::nullopt;
    }
    ++changes;
  }
  if (!projet.vide()) {
    echec_projet_inchange(projet);
    return std::nullopt;
  }
  instantane.confirme();
  return changes;
}

std::optional<std::vector<Difference>> differences_avec_disque(FichierProjet &projet) {
  EnteteProjet entete;
  if (!estimation_secteurs(projet) || !projet.lit_entete(entete)) {
    echec_ecriture_projet(projet.chemin());
    return std::nullopt;
  }
  return controle_projet(projet, kRacine, entete.reconstruire());
}

bool deplace_source(FichierProjet &projet, std::uint32_t dossier, std::uint32_t numero,
                    const std::string &chemin) {
  RubriqueProjet rubrique;
  const auto rang = projet.cherche_par_numero(dossier, numero, rubrique);
  if (!rang) return false;
  if (rubrique.est_dossier()) {
    const auto changes =
        changement_chemin(projet, chemin_source(rubrique), chemin + lit_champ(rubrique.nom_source));
    return changes && *changes > 0 && projet.vide();
  }
  if (!ecrit_champ(rubrique.chemin, chemin)) {
    operations().afficher_erreur(message(kCheminTropLong, {tronque_chemin(chemin, kCheminMessage)}));
    return false;
  }
  return (projet.ecrit(*rang, rubrique) && projet.vide()) || echec_projet_inchange(projet);
}

}  // namespace varnion
