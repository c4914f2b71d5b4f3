#include "hfs/examen.hpp"

#include <algorithm>
#include <optional>
#include <vector>

#include "hfs/extents.hpp"
#include "hfs/format_catalogue.hpp"
#include "hfs/lecture.hpp"
#include "hfs/noeud.hpp"
#include "hfs/volume.hpp"
#include "IO/requete.hpp"

namespace varnion {
namespace {

constexpr std::size_t kOctetsParLecture = std::size_t{1} << 20;

/// What is kept of a node.
struct Resume {
  std::uint32_t avant = 0, arriere = 0;    // fLink, bLink
  std::uint32_t premier = 0, dernier = 0;  // parent (of extents: file) in the first and the last key
  std::uint32_t id_max = 0;                // of a leaf
  std::uint32_t fils = 0;                  // first child of an index node
  std::int8_t genre = kNoeudEntete;
  std::uint8_t hauteur = 0;
  bool sain = false;
};

template <typename C>
struct FormeCatalogue {
  using Traits = typename C::Traits;
  using Cle = typename Traits::CleLue;

  static std::optional<Cle> cle(std::span<const std::uint8_t> fiche) { return Traits::cle(fiche); }
  static std::uint32_t numero(const Cle &cle) { return cle.parent; }
  static bool en_ordre(const Cle &a, const Cle &b) { return compare_cles<Traits>(a, b) <= 0; }
  static std::uint32_t fils(std::span<const std::uint8_t> fiche) { return Traits::fils(fiche); }
  // The highest id that a leaf record tells; nothing when the record is none.
  static std::optional<std::uint32_t> id(std::span<std::uint8_t> fiche, const Cle &cle) {
    const auto donnees = C::donnees(fiche);
    const int type = Traits::type(fiche);
    const bool dossier = type == kRubriqueDossier;
    if (dossier || type == kRubriqueFichier) {
      if (donnees.size() < (dossier ? sizeof(typename C::Dossier) : sizeof(typename C::Fichier)))
        return std::nullopt;
      const std::uint32_t id = *vue<be32>(donnees, dossier ? Traits::kIdDeDossier : Traits::kIdDeFichier);
      return std::max(id, cle.parent);
    }
    const bool fil = type == kRubriqueFilDossier || type == kRubriqueFilFichier;
    if (!fil || donnees.size() < Traits::kParentDeFil + sizeof(be32)) return std::nullopt;
    return cle.parent;
  }
};

struct CleExtents {
  std::uint32_t fichier = 0;
  std::uint8_t fourche = 0;
  std::uint32_t debut = 0;
  auto operator<=>(const CleExtents &) const = default;  // NOLINT(modernize-use-nullptr)
};

template <bool Plus>
struct FormeExtents {
  using Cle = CleExtents;
  static constexpr std::size_t kTailleCle = Plus ? 12 : 8;

  static std::optional<Cle> cle(std::span<const std::uint8_t> fiche) {
    if (fiche.size() < kTailleCle + sizeof(be32)) return std::nullopt;
    if constexpr (Plus) return Cle{*vue<be32>(fiche, 4), fiche[2], *vue<be32>(fiche, 8)};
    if constexpr (!Plus) return Cle{*vue<be32>(fiche, 2), fiche[1], *vue<be16>(fiche, 6)};
  }
  static std::uint32_t numero(const Cle &cle) { return cle.fichier; }
  static bool en_ordre(const Cle &a, const Cle &b) { return a <= b; }
  static std::uint32_t fils(std::span<const std::uint8_t> fiche) { return *vue<be32>(fiche, kTailleCle); }
  static std::optional<std::uint32_t> id(std::span<std::uint8_t> fiche, const Cle &cle) {
    if (fiche.size() < kTailleCle + (Plus ? sizeof(ExtentsPlus) : sizeof(ExtentsHfs))) return std::nullopt;
    return cle.fichier;
  }
};

template <typename Forme>
class Examen {
 public:
  explicit Examen(const DescripteurArbre &arbre) : arbre_(arbre) {}

  ExamenArbre lit() {
    lit_noeuds();
    verifie();
    // The ids of what is reached alone count in a sound tree: nodes out of use may hold anything.
    if (!resultat_.sain)
      for (const Resume &noeud : noeuds_)
        if (noeud.sain && noeud.genre == kNoeudFeuille)
          resultat_.id_max = std::max(resultat_.id_max, noeud.id_max);
    return resultat_;
  }

 private:
  void lit_noeuds() {
    const std::size_t taille = arbre_.taille_noeud;
    const LecteurFourche fichier = fourche();
    const std::uint64_t tient = fichier.atteints() / taille;
    noeuds_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(tient, arbre_.fiche().totalNodes)));
    std::vector<std::uint8_t> tampon(std::max(taille, kOctetsParLecture / taille * taille));
    for (std::size_t numero = 0; numero < noeuds_.size();) {
      const std::size_t nombre = std::min(tampon.size() / taille, noeuds_.size() - numero);
      const std::span octets = std::span(tampon).first(nombre * taille);
      if (fichier.lire(octets, std::uint64_t{numero} * taille) != octets.size()) return;
      for (std::size_t place = 0; place < octets.size(); place += taille)
        noeuds_[numero++] = resume(octets.subspan(place, taille));
    }
  }

  // As long as the header counts nodes, as far as the extents reach.
  LecteurFourche fourche() const {
    const VolumeCourant &volume = volume_courant();
    const bool catalogue = arbre_.genre == 0;
    FourcheMac fourche{std::uint64_t{arbre_.fiche().totalNodes} * arbre_.taille_noeud, 0, {}};
    const auto prend = [&](const auto &extents) {
      for (std::size_t i = 0; i < extents.size(); ++i)
        fourche.extents[i] = {extents[i].startBlock, extents[i].blockCount};
    };
    if (volume.est_hfsplus) prend((catalogue ? volume.vhb->catalogFile : volume.vhb->extentsFile).extents);
    if (!volume.est_hfsplus) prend(catalogue ? volume.mdb->drCTExtRec : volume.mdb->drXTExtRec);
    // The extents file has no records in its own tree.
    if (!catalogue) fourche.longueur = std::min(fourche.longueur, octets_de_suites(fourche));
    return {volume.est_hfsplus, catalogue ? kIdFichierCatalogue : kIdFichierExtents, kFourcheDonnees,
            fourche};
  }
  static std::uint64_t octets_de_suites(const FourcheMac &fourche) {
    std::uint64_t blocs = 0;
    for (const ExtentMac &extent : fourche.extents) blocs += extent.nombre;
    return blocs * volume_courant().taille_bloc;
  }

  Resume resume(OctetsNoeud octets) const {
    const EnteteNoeud &tete = *entete_noeud(octets);
    Resume noeud;
    noeud.avant = tete.fLink;
    noeud.arriere = tete.bLink;
    noeud.genre = tete.kind;
    noeud.hauteur = tete.height;
    const bool feuille = tete.kind == kNoeudFeuille;
    if ((!feuille && tete.kind != kNoeudIndex) || !noeud_sain(octets)) return noeud;
    std::optional<typename Forme::Cle> avant;
    for (std::int32_t i = 0; i < nb_enregistrements(octets); ++i) {
      const auto fiche = enregistrement(octets, i);
      const auto cle = Forme::cle(fiche);
      if (!cle || (avant && !Forme::en_ordre(*avant, *cle))) return noeud;
      if (feuille) {
        const auto id = Forme::id(fiche, *cle);
        if (!id) return noeud;
        noeud.id_max = std::max(noeud.id_max, *id);
      } else {
        const std::uint32_t fils = Forme::fils(fiche);
        if (fils == 0 || fils >= noeuds_.size()) return noeud;
        if (i == 0) noeud.fils = fils;
      }
      if (i == 0) noeud.premier = Forme::numero(*cle);
      noeud.dernier = Forme::numero(*cle);
      avant = cle;
    }
    noeud.sain = feuille || noeud.fils != 0;
    return noeud;
  }

  void verifie() {
    const FicheEnteteArbre &fiche = arbre_.fiche();
    const std::uint32_t profondeur = fiche.treeDepth;
    constexpr std::uint32_t kProfondeurMax = 64;  // far above what 32-bit numbers of nodes need
    if (profondeur == 0 && fiche.rootNode == 0 && fiche.firstLeafNode == 0) return;
    if (profondeur == 0 || profondeur > kProfondeurMax) return damne(0);
    std::uint32_t noeud = fiche.rootNode;
    for (std::uint32_t hauteur = profondeur; hauteur > 0 && resultat_.sain; --hauteur) {
      if (hauteur == 1 && noeud != fiche.firstLeafNode) return damne(noeud);
      verifie_niveau(noeud, hauteur);
      noeud = noeud < noeuds_.size() ? noeuds_[noeud].fils : 0;
    }
  }

  // A link back is the node that the walk came from. A killed split or deletion leaves one that skips the new
  // node, or leads to a node that is not linked yet but leads here itself.
  [[nodiscard]] bool arriere_admis(std::uint32_t numero, std::uint32_t vient_de) const {
    const std::uint32_t arriere = noeuds_[numero].arriere;
    if (arriere == vient_de) return true;
    if (vient_de != 0 && arriere == noeuds_[vient_de].arriere) return true;
    return arriere < noeuds_.size() && noeuds_[arriere].sain && noeuds_[arriere].avant == numero;
  }
  // The last leaf of the header, by the same measure.
  [[nodiscard]] bool fin_admise(std::uint32_t fin) const {
    const std::uint32_t dernier = arbre_.fiche().lastLeafNode;
    return dernier == fin || (fin != 0 && dernier == noeuds_[fin].arriere) ||
           (dernier < noeuds_.size() && noeuds_[dernier].sain && noeuds_[dernier].arriere == fin);
  }

  // The nodes of one level along their links.
  void verifie_niveau(std::uint32_t numero, std::uint32_t hauteur) {
    std::uint32_t arriere = 0;
    std::uint32_t parent = 0;
    std::size_t reste = noeuds_.size();
    for (; numero != 0; numero = noeuds_[numero].avant) {
      if (numero >= noeuds_.size() || reste-- == 0) return damne(numero);
      const Resume &noeud = noeuds_[numero];
      if (!noeud.sain || noeud.hauteur != hauteur || !arriere_admis(numero, arriere) ||
          noeud.premier < parent || noeud.genre != (hauteur == 1 ? kNoeudFeuille : kNoeudIndex))
        return damne(numero);
      if (hauteur == 1) resultat_.id_max = std::max(resultat_.id_max, noeud.id_max);
      arriere = numero;
      parent = noeud.dernier;
    }
    if (hauteur == 1 && !fin_admise(arriere)) damne(arriere);
  }

  void damne(std::uint32_t noeud) {
    resultat_.sain = false;
    resultat_.noeud = noeud;
  }

  const DescripteurArbre &arbre_;
  std::vector<Resume> noeuds_;
  ExamenArbre resultat_;
};

template <typename Forme>
ExamenArbre examine(const DescripteurArbre &arbre) {
  if (!volume_courant().a_entete() || arbre.taille_noeud == 0) return {};
  return Examen<Forme>(arbre).lit();
}

}  // namespace

ExamenArbre examine_catalogue() {
  const VolumeCourant &volume = volume_courant();
  return volume.est_hfsplus ? examine<FormeCatalogue<CatalogueHfsPlus>>(volume.catalogue)
                            : examine<FormeCatalogue<CatalogueHfs>>(volume.catalogue);
}

ExamenArbre examine_extents() {
  const VolumeCourant &volume = volume_courant();
  return volume.est_hfsplus ? examine<FormeExtents<true>>(volume.extents)
                            : examine<FormeExtents<false>>(volume.extents);
}

}  // namespace varnion
