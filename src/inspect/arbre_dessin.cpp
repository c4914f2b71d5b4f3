#include "inspect/arbre_dessin.hpp"

#include <unordered_set>
#include <vector>

#include "hfs/arbre.hpp"
#include "inspect/noeuds.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kFil = 3350;
constexpr unsigned kNiveauxMax = 64;  ///< a tree of 2^32 nodes has fewer

class Dessin {
 public:
  Dessin(const SourceSecteurs &source, std::int64_t entete, const VisiteRangee &visite)
      : source_(source), entete_(entete), visite_(visite) {
    const std::vector<std::uint8_t> tete = source.secteur(entete);
    const auto *fiche = vue<FicheEnteteArbre>(tete, kDebutEnregistrements);
    EtatAnalyse etat;
    etat.taille_noeud = fiche->nodeSize;
    taille_ = etat.noeud();
    hauteur_ = fiche->treeDepth;
    racine_ = fiche->rootNode;
    hfsplus_ = noeud_hfsplus(taille_);
  }

  ResultatDessin dessine() {
    if (hauteur_ > kNiveauxMax) return {EtatDessin::endommage, 0, 0};
    if (hauteur_ > 0) entre(racine_, hauteur_);
    while (!pile_.empty() && resultat_.etat != EtatDessin::arrete) {
      Etage &etage = pile_.back();
      if (etage.index >= nb_enregistrements(etage.octets))
        pile_.pop_back();
      else
        rangee(etage, etage.index++);
    }
    return resultat_;
  }

 private:
  struct Etage {
    std::uint32_t noeud;
    unsigned niveau;
    std::vector<std::uint8_t> octets;
    std::int32_t index;
  };

  [[nodiscard]] std::int64_t secteur_de(std::uint32_t noeud) const {
    return static_cast<std::int64_t>(std::uint64_t{noeud} * (taille_ / source_.taille_secteur()) +
                                     static_cast<std::uint64_t>(entete_));
  }

  void entre(std::uint32_t noeud, unsigned niveau) {
    const std::int64_t secteur = secteur_de(noeud);
    if (secteur < 0 || secteur > source_.dernier_secteur() || !vus_.insert(noeud).second) return abime();
    Etage etage{noeud, niveau, std::vector<std::uint8_t>(taille_), 0};
    if (!source_.lire_secteurs(etage.octets, secteur)) return abime();
    const EnteteNoeud *tete = entete_noeud(etage.octets);
    if (tete == nullptr || tete->kind != (niveau > 1 ? kNoeudIndex : kNoeudFeuille)) return abime();
    ++resultat_.noeuds;
    pile_.push_back(std::move(etage));
  }

  void abime() { resultat_.etat = EtatDessin::endommage; }

  // `etage` is invalid once a child was entered.
  void rangee(Etage &etage, std::int32_t index) {
    const bool feuille = etage.niveau <= 1;
    const auto fiche = enregistrement(etage.octets, index);
    const RubriqueNoeud r = feuille ? rubrique_feuille(fiche, hfsplus_) : rubrique_index(fiche, hfsplus_);
    RangeeArbre ligne;
    ligne.profondeur = hauteur_ - etage.niveau;
    ligne.noeud = etage.noeud;
    ligne.index = index;
    ligne.secteur = secteur_de(etage.noeud);
    if (!feuille) ligne.fils = r.fils;
    ligne.icone = feuille ? icone_de(r.genre) : IconeArbre::index;
    ligne.texte = texte_de(ligne, r);
    const unsigned niveau = etage.niveau;
    ++resultat_.rangees;
    if (!visite_(ligne))
      resultat_.etat = EtatDessin::arrete;
    else if (!feuille)
      entre(r.fils, niveau - 1);
  }

  static IconeArbre icone_de(GenreRubrique genre) {
    if (genre == GenreRubrique::dossier) return IconeArbre::dossier;
    if (genre == GenreRubrique::fichier) return IconeArbre::fichier;
    return genre == GenreRubrique::fil ? IconeArbre::fil : IconeArbre::index;
  }

  static std::string texte_cle(const RubriqueNoeud &r) {
    if (r.cle_sans_nom) return message(kFil, {r.parent_cle});
    const bool objet = r.genre == GenreRubrique::dossier || r.genre == GenreRubrique::fichier;
    return r.nom + formate(" [%08x]", {objet ? r.id : r.parent_cle});
  }

  // At a leaf the text ends before its last "*", with the blank that stands there.
  static std::string texte_de(const RangeeArbre &ligne, const RubriqueNoeud &r) {
    std::string texte = formate("%d[%X]/%d * ", {ligne.noeud, ligne.noeud, ligne.index}) + texte_cle(r) + " ";
    if (ligne.fils >= 0) texte += formate("* %d[%X]", {ligne.fils, ligne.fils});
    return texte;
  }

  const SourceSecteurs &source_;
  std::int64_t entete_;
  const VisiteRangee &visite_;
  std::uint32_t taille_ = 0;
  unsigned hauteur_ = 0;
  std::uint32_t racine_ = 0;
  bool hfsplus_ = false;
  std::vector<Etage> pile_;
  std::unordered_set<std::uint32_t> vus_;
  ResultatDessin resultat_;
};

}  // namespace

ResultatDessin dessine_arbre(const SourceSecteurs &source, std::int64_t entete, const VisiteRangee &visite) {
  return Dessin(source, entete, visite).dessine();
}

}  // namespace varnion
