#include "projet/inclusion_fusion.hpp"

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "IO/plateforme.hpp"

namespace varnion {

namespace {

class Fusion {
 public:
  Fusion(FichierProjet &projet, std::uint32_t cible, const LotsRubriques &lots)
      : projet_(projet),
        cible_(cible),
        lots_(lots),
        debut_(projet.premier_enfant(cible)),
        fin_(projet.nb_rubriques() + 1) {}

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
  [[nodiscard]] std::uint64_t anciens() const { return fin_ - debut_; }

  // The ranks of the target's new records in the order of their stream, and the lots of the new folders in
  // ascending order of folder. Several lots of the target come from several paths of one operation, each an
  // insertion of its own: together they make one sorted stream.
  bool classe_lots() {
    std::size_t lots_cible = 0;
    for (const LotRubriques &lot : lots_.lots()) {
      if (lot.pere != cible_) {
        nouveaux_.push_back(lot);
        continue;
      }
      ++lots_cible;
      for (std::uint64_t i = 0; i < lot.nombre; ++i) ordre_.push_back(lot.debut + i);
    }
    std::stable_sort(nouveaux_.begin(), nouveaux_.end(),
                     [](const LotRubriques &a, const LotRubriques &b) { return a.pere < b.pere; });
    return lots_cible < 2 || trie_ordre();
  }

  bool trie_ordre() {
    struct Cle {
      std::string nom;
      std::uint64_t rang;
    };
    std::vector<Cle> cles;
    LecteurBlocs lecteur(lots_.fichier());
    for (const std::uint64_t rang : ordre_) {
      const RubriqueProjet *rubrique = lecteur.lit(rang);
      if (rubrique == nullptr) return echec_lecture();
      cles.push_back({lit_champ(rubrique->nom_iso), rang});
    }
    std::stable_sort(cles.begin(), cles.end(),
                     [](const Cle &a, const Cle &b) { return compare_nom_iso(a.nom, b.nom) < 0; });
    std::transform(cles.begin(), cles.end(), ordre_.begin(), [](const Cle &cle) { return cle.rang; });
    return true;
  }

  // The file's part from the target's run on, as it will be, in a temporary file; and as it is, to go back
  // to. Of the old and the new stream a new record goes first when its `nom_iso` is lower.
  bool prepare_suite() {
    suite_ = plateforme::fichier_anonyme();
    avant_ = plateforme::fichier_anonyme();
    if (!suite_.ouvert() || !avant_.ouvert()) return false;
    if (!copie(projet_.fichier(), debut_, avant_, 0, anciens())) return false;
    LecteurBlocs vieux(avant_);
    LecteurBlocs neufs(lots_.fichier());
    EcrivainBlocs sortie(suite_, 0);
    std::size_t n = 0;
    for (std::uint64_t v = 0; v < anciens(); ++v) {
      const RubriqueProjet *vieille = vieux.lit(v);
      if (vieille == nullptr) return echec_lecture();
      for (; n < ordre_.size(); ++n) {
        const RubriqueProjet *neuve = neufs.lit(ordre_[n]);
        if (neuve == nullptr) return echec_lecture();
        if (vieille->pere == cible_ && !avant(*neuve, *vieille)) break;
        sortie.ecrit(*neuve);
      }
      sortie.ecrit(*vieille);
    }
    for (; n < ordre_.size(); ++n) {
      const RubriqueProjet *neuve = neufs.lit(ordre_[n]);
      if (neuve == nullptr) return echec_lecture();
      sortie.ecrit(*neuve);
    }
    return sortie.termine();
  }

  static bool avant(const RubriqueProjet &a, const RubriqueProjet &b) {
    return compare_nom_iso(lit_champ(a.nom_iso), lit_champ(b.nom_iso)) < 0;
  }

  bool ajoute_a_la_fin() {
    Fichier &projet = projet_.fichier();
    if (!copie(suite_, anciens(), projet, fin_, ordre_.size())) return false;
    EcrivainBlocs sortie(projet, fin_ + ordre_.size());
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
  std::uint32_t cible_;
  const LotsRubriques &lots_;
  std::uint64_t debut_, fin_;  // ranks: the target's run, the end of the file
  std::vector<std::uint64_t> ordre_;
  std::vector<LotRubriques> nouveaux_;
  Fichier suite_, avant_;
};

}  // namespace

ResultatFusion fusionne_lots_projet(FichierProjet &projet, std::uint32_t cible, const LotsRubriques &lots) {
  errno = 0;
  return Fusion(projet, cible, lots).applique();
}

}  // namespace varnion
