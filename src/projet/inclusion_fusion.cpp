#include "projet/inclusion_fusion.hpp"

#include <algorithm>
#include <cerrno>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "IO/plateforme.hpp"

namespace varnion {

namespace {

class Fusion {
 public:
  Fusion(FichierProjet &projet, std::span<const std::uint32_t> cibles, const LotsRubriques &lots)
      : projet_(projet),
        cibles_(cibles.begin(), cibles.end()),
        lots_(lots),
        debut_(projet.nb_rubriques() + 1),
        fin_(debut_) {}

  ResultatFusion applique() {
    if (lots_.nombre() == 0) return ResultatFusion::faite;
    if (!classe_lots() || !prepare_suite()) return ResultatFusion::impossible;
    if (!ajoute_a_la_fin()) {
      const int erreur = errno;
      static_cast<void>(fichier_tronquer(projet_.fichier(), FichierProjet::position(fin_)));
      errno = erreur;
      return ResultatFusion::impossible;
    }
    if (copie(suite_, 0, projet_.fichier(), debut_, anciens())) return ResultatFusion::faite;
    return restaure();
  }

 private:
  /// The new records of one target, as ranks in the order of their stream.
  struct Flux {
    std::vector<std::uint64_t> ordre;
    std::size_t lots = 0;
  };

  [[nodiscard]] std::uint64_t anciens() const { return fin_ - debut_; }

  // The streams of the targets in ascending order of folder, and the lots of the new folders likewise.
  // Several lots of one target come from several paths of one operation, each an insertion of its own:
  // together they make one sorted stream.
  bool classe_lots() {
    for (const LotRubriques &lot : lots_.lots()) {
      if (!cibles_.contains(lot.pere)) {
        nouveaux_.push_back(lot);
        continue;
      }
      Flux &flux = flux_[lot.pere];
      ++flux.lots;
      venues_ += lot.nombre;
      for (std::uint64_t i = 0; i < lot.nombre; ++i) flux.ordre.push_back(lot.debut + i);
    }
    if (!flux_.empty()) debut_ = projet_.premier_enfant(flux_.begin()->first);
    std::stable_sort(nouveaux_.begin(), nouveaux_.end(),
                     [](const LotRubriques &a, const LotRubriques &b) { return a.pere < b.pere; });
    return std::all_of(flux_.begin(), flux_.end(),
                       [this](auto &flux) { return flux.second.lots < 2 || trie(flux.second.ordre); });
  }

  bool trie(std::vector<std::uint64_t> &ordre) const {
    struct Cle {
      std::string nom;
      std::uint64_t rang;
    };
    std::vector<Cle> cles;
    LecteurBlocs lecteur(lots_.fichier());
    for (const std::uint64_t rang : ordre) {
      const RubriqueProjet *rubrique = lecteur.lit(rang);
      if (rubrique == nullptr) return echec_lecture();
      cles.push_back({lit_champ(rubrique->nom_iso), rang});
    }
    std::stable_sort(cles.begin(), cles.end(),
                     [](const Cle &a, const Cle &b) { return compare_nom_iso(a.nom, b.nom) < 0; });
    std::transform(cles.begin(), cles.end(), ordre.begin(), [](const Cle &cle) { return cle.rang; });
    return true;
  }

  // The file's part from the first target's run on, as it will be, in a temporary file; and as it is, to go
  // back to. Of the old and the new stream a new record goes first when its `nom_iso` is lower.
  bool prepare_suite() {
    suite_ = plateforme::fichier_anonyme();
    avant_ = plateforme::fichier_anonyme();
    if (!suite_.ouvert() || !avant_.ouvert()) return false;
    if (!copie(projet_.fichier(), debut_, avant_, 0, anciens())) return false;
    LecteurBlocs vieux(avant_);
    LecteurBlocs neufs(lots_.fichier());
    EcrivainBlocs sortie(suite_, 0);
    auto flux = flux_.begin();
    std::size_t n = 0;
    for (std::uint64_t v = 0; v <= anciens(); ++v) {
      const RubriqueProjet *vieille = v < anciens() ? vieux.lit(v) : nullptr;
      if (v < anciens() && vieille == nullptr) return echec_lecture();
      while (flux != flux_.end() && (vieille == nullptr || flux->first <= vieille->pere)) {
        const RubriqueProjet *neuve = neufs.lit(flux->second.ordre[n]);
        if (neuve == nullptr) return echec_lecture();
        if (vieille != nullptr && flux->first == vieille->pere && !avant(*neuve, *vieille)) break;
        sortie.ecrit(*neuve);
        if (++n < flux->second.ordre.size()) continue;
        ++flux;
        n = 0;
      }
      if (vieille != nullptr) sortie.ecrit(*vieille);
    }
    return sortie.termine();
  }

  static bool avant(const RubriqueProjet &a, const RubriqueProjet &b) {
    return compare_nom_iso(lit_champ(a.nom_iso), lit_champ(b.nom_iso)) < 0;
  }

  bool ajoute_a_la_fin() {
    Fichier &projet = projet_.fichier();
    if (!copie(suite_, anciens(), projet, fin_, venues_)) return false;
    EcrivainBlocs sortie(projet, fin_ + venues_);
    LecteurBlocs neufs(lots_.fichier());
    for (const LotRubriques &lot : nouveaux_) {
      for (std::uint64_t i = 0; i < lot.nombre; ++i) {
        const RubriqueProjet *neuve = neufs.lit(lot.debut + i);
        if (neuve == nullptr) return echec_lecture();
        sortie.ecrit(*neuve);
      }
    }
    return sortie.termine();
  }

  static bool copie(const Fichier &source, std::uint64_t de, const Fichier &cible, std::uint64_t vers,
                    std::uint64_t nombre) {
    LecteurBlocs entree(source);
    EcrivainBlocs sortie(cible, vers);
    for (std::uint64_t i = 0; i < nombre; ++i) {
      const RubriqueProjet *rubrique = entree.lit(de + i);
      if (rubrique == nullptr) return echec_lecture();
      sortie.ecrit(*rubrique);
    }
    return sortie.termine();
  }

  static bool echec_lecture() {
    if (errno == 0) errno = EIO;
    return false;
  }

  ResultatFusion restaure() {
    const int erreur = errno;
    const bool rendu = copie(avant_, 0, projet_.fichier(), debut_, anciens()) &&
                       fichier_tronquer(projet_.fichier(), FichierProjet::position(fin_));
    errno = erreur;
    return rendu ? ResultatFusion::impossible : ResultatFusion::abimee;
  }

  FichierProjet &projet_;
  std::unordered_set<std::uint32_t> cibles_;
  const LotsRubriques &lots_;
  std::uint64_t debut_, fin_;  // ranks: the first target's run, the end of the file
  std::map<std::uint32_t, Flux> flux_;
  std::uint64_t venues_ = 0;  // records of all targets
  std::vector<LotRubriques> nouveaux_;
  Fichier suite_, avant_;
};

}  // namespace

ResultatFusion fusionne_lots_projet(FichierProjet &projet, std::span<const std::uint32_t> cibles,
                                    const LotsRubriques &lots) {
  errno = 0;
  return Fusion(projet, cibles, lots).applique();
}

}  // namespace varnion
