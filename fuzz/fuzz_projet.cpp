// Project files: arbitrary bytes are opened, walked, counted and edited; the array stays whole records, and
// what is counted agrees with what is listed. The signature table reads the same bytes as a .sig file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "IO/plateforme.hpp"
#include "projet/arborescence.hpp"
#include "projet/signatures.hpp"

namespace {

using namespace varnion;

constexpr std::size_t kTailleMax = 200 * kTailleRubrique;

void exige(bool vrai) {
  if (!vrai) std::abort();
}

Fichier copie(const std::uint8_t *donnees, std::size_t taille) {
  Fichier fichier = plateforme::fichier_anonyme();
  exige(fichier.ecrire_a({donnees, taille}, 0));
  return fichier;
}

void interroge(const FichierProjet &projet) {
  const IndexNumeros index(projet);
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    RubriqueProjet lue;
    exige(projet.cherche_numero(rubrique->numero, lue).has_value());
    exige(index.rang(rubrique->numero).has_value());
    static_cast<void>(vue_de_dossier(projet, rubrique->numero));
    static_cast<void>(trouve_enfant(projet, rubrique->pere, lit_champ(rubrique->nom_iso), kVueIso));
    static_cast<void>(extension_de_signature({rubrique->signature.data(), rubrique->signature.size()}));
    static_cast<void>(signature_de_fichier(lit_champ(rubrique->nom_source)));
  }
  static_cast<void>(trouve_chemin(projet, "a/b\\c", kVueHfs));
  static_cast<void>(LongueursProjet(projet).taille_bloc());
  static_cast<void>(projet.lecture_label());
}

void modifie(FichierProjet &projet) {
  RubriqueProjet premiere;
  if (!projet.lit(1, premiere)) return;
  const std::uint64_t avant = projet.nb_rubriques();
  exige(insertion_rubrique(projet, premiere) && projet.nb_rubriques() == avant + 1);
  exige(propage_vues(projet, premiere.pere, kDansVue, kManquant));
  exige(ouvre_vues_parents(projet, premiere.numero, kDansVue, kDansVue));
  static_cast<void>(renomme_element(projet, premiere.numero, premiere.pere, "nom", kVueRacine));
  exige(projet.nb_rubriques() == avant + 1);
  exige(change_format(projet, !projet.hfsplus(), troncature_automatique(), true));
  static_cast<void>(suppression_element(projet, premiere.numero, premiere.pere));
  exige(suppression_sous_arbre(projet, kRacine));
  exige(projet.premier_enfant(kRacine) >= 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  if (taille > kTailleMax) return 0;
  const std::string_view texte(reinterpret_cast<const char *>(donnees), taille);
  lit_signatures(texte, taille % 2 == 0, table_signatures());
  static_cast<void>(commentaire_de_signature(texte.substr(0, 8)));
  auto projet = FichierProjet::adopte(copie(donnees, taille), "essai", ModeProjet::hybride);
  if (!projet) return 0;
  static_cast<void>(test_magie(projet->fichier()));
  const auto comptes = compte_projet(*projet);
  exige(comptes && comptes->fichiers + comptes->dossiers == projet->nb_rubriques());
  exige(estimation_secteurs(*projet));
  interroge(*projet);
  modifie(*projet);
  return 0;
}
