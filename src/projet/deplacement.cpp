#include "projet/deplacement.hpp"

#include <algorithm>
#include <cerrno>
#include <unordered_map>
#include <unordered_set>

#include "IO/operations.hpp"
#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"
#include "projet/instantane.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kDansSoi = 1407;

bool avant(const RubriqueProjet &a, const RubriqueProjet &b) {
  if (a.pere != b.pere) return a.pere < b.pere;
  return compare_nom_iso(lit_champ(a.nom_iso), lit_champ(b.nom_iso)) < 0;
}

class DeplacementLot {
 public:
  DeplacementLot(FichierProjet &projet, std::uint32_t pere, std::uint32_t vers)
      : projet_(projet), pere_(pere), vers_(vers) {}

  // Reads what may move; the rest is told.
  void choisit(std::span<const std::uint32_t> numeros) {
    const std::unordered_set<std::uint32_t> voulus(numeros.begin(), numeros.end());
    const std::unordered_set<std::uint32_t> dessus = chaine(vers_);
    NomsPresents presents(projet_, vers_);
    LecteurEnfants enfants(projet_, pere_);
    while (const RubriqueProjet *enfant = enfants.suivant()) {
      if (!voulus.contains(enfant->numero)) continue;
      if (enfant->est_dossier() && dessus.contains(enfant->numero)) {
        const std::string nom = nom_dans_vue(*enfant, projet_.vue_courante(), projet_.hfsplus());
        operations().afficher_erreur(message(kDansSoi, {nom}));
        continue;
      }
      const std::string chemin = chemin_source(*enfant);
      const int present =
          presents.deja_present(lit_champ(enfant->nom_source), chemin, vue_de_rubrique(*enfant));
      if (present != 0) {
        annonce_deja_present(present == 1 ? -1 : present, chemin);
        continue;
      }
      presents.ajoute(*enfant);
      rangs_.insert(enfants.rang());
      premier_ = std::min(premier_, enfants.rang());
      tetes_.push_back(*enfant);
    }
  }

  [[nodiscard]] bool vide() const { return tetes_.empty(); }

  bool applique() {
    for (const RubriqueProjet &tete : tetes_) {
      ++(tete.est_dossier() ? dossiers_ : fichiers_);
      iso_ = iso_ || tete.dans_iso();
      hfs_ = hfs_ || tete.dans_hfs();
    }
    if (!renumerote()) return false;
    for (RubriqueProjet &tete : tetes_) {
      tete.pere = vers_;
      tete.numero = nouveau(tete.numero);
    }
    const auto part = [this](std::uint64_t rang, const RubriqueProjet &rubrique) {
      return rangs_.contains(rang) || nouveaux_.contains(rubrique.pere);
    };
    return projet_.retire_si(premier_, part) && insere_tetes() && insere_contenus() && conclut();
  }

  [[nodiscard]] std::vector<std::uint32_t> numeros() const {
    std::vector<std::uint32_t> resultat;
    for (const RubriqueProjet &tete : tetes_) resultat.push_back(tete.numero);
    return resultat;
  }

 private:
  // A folder and all above it.
  [[nodiscard]] std::unordered_set<std::uint32_t> chaine(std::uint32_t dossier) const {
    std::unordered_set<std::uint32_t> dessus;
    RubriqueProjet rubrique;
    while (dossier > kRacine && dessus.insert(dossier).second && projet_.cherche_numero(dossier, rubrique))
      dossier = rubrique.pere;
    return dessus;
  }

  [[nodiscard]] std::uint32_t nouveau(std::uint32_t numero) const {
    const auto trouve = nouveaux_.find(numero);
    return trouve == nouveaux_.end() ? numero : trouve->second;
  }

  // The next number for a folder; ".!Background" keeps its own.
  bool donne_numero(std::uint32_t ancien, std::vector<std::uint32_t> &a_faire) {
    if (ancien == kDossierFond || nouveaux_.contains(ancien)) return true;
    const std::uint32_t numero = projet_.prochain_dossier();
    nouveaux_.emplace(ancien, numero);
    a_faire.push_back(ancien);
    return numero != 0;
  }

  // New numbers for the folders that need one, level by level, and what lies in them read for the move.
  bool renumerote() {
    std::vector<std::uint32_t> a_faire;
    for (const RubriqueProjet &tete : tetes_)
      if (tete.est_dossier() && tete.numero < vers_ && !donne_numero(tete.numero, a_faire)) return false;
    if (a_faire.empty()) return true;
    const IndexEnfants index(projet_);
    for (std::size_t i = 0; i < a_faire.size(); ++i) {
      const std::uint32_t ancien = a_faire[i];
      LecteurRubriques enfants = index.enfants(projet_, ancien);
      while (const RubriqueProjet *enfant = enfants.suivant()) {
        premier_ = std::min(premier_, enfants.rang());
        contenus_.push_back(*enfant);
        if (enfant->est_dossier() && !donne_numero(enfant->numero, a_faire)) return false;
      }
    }
    for (RubriqueProjet &rubrique : contenus_) {
      rubrique.pere = nouveau(rubrique.pere);
      if (rubrique.est_dossier()) rubrique.numero = nouveau(rubrique.numero);
    }
    std::stable_sort(contenus_.begin(), contenus_.end(), avant);
    return true;
  }

  // One gap in front of the target's run, which is then written anew together with what came.
  bool insere_tetes() {
    std::stable_sort(tetes_.begin(), tetes_.end(), avant);
    const std::uint64_t debut = projet_.premier_enfant(vers_);
    std::vector<RubriqueProjet> suite;
    {
      LecteurEnfants enfants(projet_, vers_);
      while (const RubriqueProjet *enfant = enfants.suivant()) suite.push_back(*enfant);
    }
    std::vector<RubriqueProjet> ensemble;
    ensemble.reserve(suite.size() + tetes_.size());
    std::merge(tetes_.begin(), tetes_.end(), suite.begin(), suite.end(), std::back_inserter(ensemble), avant);
    if (!projet_.ouvre_trou(debut, tetes_.size())) return false;
    const std::span octets(reinterpret_cast<const std::uint8_t *>(ensemble.data()),
                           ensemble.size() * kTailleRubrique);
    return projet_.fichier().ecrire_a(octets, FichierProjet::position(debut));
  }

  // New numbers are above all others: the runs of the folders that bear them lie at the end of the file.
  bool insere_contenus() {
    if (contenus_.empty()) return true;
    return projet_.insere(projet_.premier_enfant(contenus_.front().pere), contenus_);
  }

  bool conclut() {
    for (const auto *lot : {&tetes_, &contenus_})
      for (const RubriqueProjet &rubrique : *lot)
        if (rubrique.est_dossier()) projet_.note_dossier(rubrique.numero, rubrique.pere);
    return projet_.ajoute_comptes(pere_, -dossiers_, -fichiers_) &&
           projet_.ajoute_comptes(vers_, dossiers_, fichiers_) && projet_.ecriture_compteurs() &&
           ouvre_vues_parents(projet_, vers_, iso_ ? kDansVue : kHorsVue, hfs_ ? kDansVue : kHorsVue);
  }

  FichierProjet &projet_;
  std::uint32_t pere_, vers_;
  std::vector<RubriqueProjet> tetes_;        ///< the items themselves
  std::vector<RubriqueProjet> contenus_;     ///< what lies in folders that are numbered anew
  std::unordered_set<std::uint64_t> rangs_;  ///< of the items
  std::uint64_t premier_ = UINT64_MAX;       ///< first rank that goes
  std::unordered_map<std::uint32_t, std::uint32_t> nouveaux_;
  std::int64_t dossiers_ = 0, fichiers_ = 0;
  bool iso_ = false, hfs_ = false;
};

}  // namespace

std::optional<std::vector<std::uint32_t>> deplace_rubriques(FichierProjet &projet, std::uint32_t pere,
                                                            std::span<const std::uint32_t> numeros,
                                                            std::uint32_t vers) {
  RubriqueProjet cible;
  if (pere == vers) return std::vector<std::uint32_t>();
  if (!projet.cherche_numero(vers, cible) || (vers != kRacine && !cible.est_dossier())) {
    errno = ENOENT;
    echec_projet_inchange(projet);
    return std::nullopt;
  }
  DeplacementLot lot(projet, pere, vers);
  lot.choisit(numeros);
  if (lot.vide()) return std::vector<std::uint32_t>();
  InstantaneProjet instantane(projet);
  if (!instantane.prend()) return std::nullopt;
  errno = 0;
  if (!lot.applique()) {
    const int erreur = errno;
    instantane.restaure();
    errno = erreur;
    echec_projet_inchange(projet);
    return std::nullopt;
  }
  instantane.confirme();
  return lot.numeros();
}

}  // namespace varnion
