#include "inspect/analyse.hpp"

#include <algorithm>

#include "inspect/formes.hpp"
#include "IO/etat.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

struct Analyseur {
  FormeSecteur forme;
  int titre;
  void (*remplit)(const ContexteAnalyse &, FicheAnalyse &);
};

// The ISO forms put the Joliet title in the place of theirs where it applies.
constexpr Analyseur kAnalyseurs[] = {
    {FormeSecteur::hfsplus, 3234, formes::hfsplus},
    {FormeSecteur::mdb, 3213, formes::mdb},
    {FormeSecteur::pilotes, 3201, formes::pilotes},
    {FormeSecteur::partition, 3206, formes::partition},
    {FormeSecteur::entete_arbre, 3253, formes::entete_arbre},
    {FormeSecteur::feuille, 3286, formes::feuille},
    {FormeSecteur::iso, 3266, formes::descripteur_iso},
    {FormeSecteur::chemins, 3275, formes::table_chemins},
    {FormeSecteur::repertoire, 3275, formes::repertoire},
    {FormeSecteur::mbr, 3294, formes::mbr},
    {FormeSecteur::fat, 3299, formes::fat},
    {FormeSecteur::macbinaire, 3318, formes::macbinaire},
    {FormeSecteur::applesingle, 3319, formes::applesingle},
    {FormeSecteur::appledouble, 3320, formes::appledouble},
    {FormeSecteur::index, 3344, formes::index},
    {FormeSecteur::gpt, 3359, formes::gpt},
    {FormeSecteur::tetes_mac, 3355, formes::tetes_mac},
    {FormeSecteur::partitions_gpt, 3380, formes::partitions_gpt},
};

}  // namespace

namespace formes {

Onglet &page(FicheAnalyse &fiche) {
  if (fiche.onglets.empty()) fiche.onglets.emplace_back();
  return fiche.onglets.back();
}

Onglet &onglet(FicheAnalyse &fiche, const char *nom, int titre) {
  Onglet &nouveau = fiche.onglets.emplace_back();
  nouveau.nom = nom;
  nouveau.titre = charger_chaine(titre);
  return nouveau;
}

std::vector<std::uint8_t> octets_depuis(const ContexteAnalyse &contexte, std::size_t taille) {
  std::vector<std::uint8_t> octets(taille);
  if (contexte.source != nullptr && taille > contexte.secteur.size())
    contexte.source->lire_secteurs(octets, contexte.numero);
  std::copy_n(contexte.secteur.begin(), std::min(taille, contexte.secteur.size()), octets.begin());
  return octets;
}

}  // namespace formes

FicheAnalyse analyse(FormeSecteur forme, const ContexteAnalyse &contexte) {
  FicheAnalyse fiche;
  fiche.etat = contexte.etat;
  const auto *analyseur = std::find_if(std::begin(kAnalyseurs), std::end(kAnalyseurs),
                                       [&](const Analyseur &a) { return a.forme == forme; });
  if (analyseur == std::end(kAnalyseurs) || contexte.taille_secteur == 0) return fiche;
  fiche.forme = forme;
  fiche.titre = charger_chaine(analyseur->titre);
  analyseur->remplit(contexte, fiche);
  return fiche;
}

FicheAnalyse analyse_secteur_comme(FormeSecteur forme, const SourceSecteurs &source, std::int64_t numero,
                                   EtatAnalyse &etat) {
  const std::vector<std::uint8_t> secteur = source.secteur(numero);
  FicheAnalyse fiche = analyse(forme, {secteur, numero, source.taille_secteur(), &source, etat});
  etat = fiche.etat;
  return fiche;
}

FicheAnalyse analyse_secteur(const SourceSecteurs &source, std::int64_t numero, EtatAnalyse &etat) {
  const auto n = static_cast<std::uint64_t>(numero);
  const int code = identifier_secteur(source.secteur(numero), static_cast<std::uint32_t>(n),
                                      static_cast<std::uint32_t>(n >> 32));
  return analyse_secteur_comme(forme_de_code(code), source, numero, etat);
}

EtatAnalyse &etat_analyse() {
  return etat<EtatAnalyse>();
}

// Arithmetic on numbers of a damaged structure wraps around instead of overflowing.
Cible cible_bloc(const EtatAnalyse &etat, std::uint64_t bloc) {
  const std::uint64_t secteur = bloc * etat.secteurs_par_bloc + static_cast<std::uint64_t>(etat.base_blocs);
  return {GenreCible::bloc, bloc, static_cast<std::int64_t>(secteur)};
}

Cible cible_noeud(const ContexteAnalyse &contexte, std::uint32_t taille_noeud, std::int64_t debut,
                  std::uint64_t noeud) {
  const std::uint64_t secteur =
      noeud * (taille_noeud / contexte.taille_secteur) + static_cast<std::uint64_t>(debut);
  return {GenreCible::noeud, noeud, static_cast<std::int64_t>(secteur)};
}

Cible cible_iso(const ContexteAnalyse &contexte, std::uint64_t numero) {
  const std::uint64_t facteur = contexte.taille_secteur == 512 ? 4 : 1;
  return {GenreCible::iso, numero, static_cast<std::int64_t>(numero * facteur)};
}

Cible cible_secteur(std::uint64_t numero) {
  return {GenreCible::secteur, numero, static_cast<std::int64_t>(numero)};
}

}  // namespace varnion
