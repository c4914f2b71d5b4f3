#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include "fichiers/ecriture.hpp"
#include "fichiers/nom_pc.hpp"
#include "fichiers/pfm.hpp"
#include "fichiers/polices.hpp"
#include "fichiers/ressources.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCreation = 1127;
constexpr int kPostCourte = 6125;
constexpr int kSansFin = 6126;
constexpr int kCodageInconnu = 6176;                     // name of the font
constexpr int kRecouvrement = 7916;                      // font file
constexpr int kSansPlace = 7917;                         // path of the font
constexpr std::size_t kTexteMax = std::size_t{1} << 20;  ///< clear text that is looked through
constexpr std::size_t kNomsTemporaires = 100000;
constexpr std::uint32_t kTetePost = 2;  ///< kind and a byte that is not used
constexpr std::uint8_t kMarquePfb = 0x80;
constexpr std::uint8_t kFinPfb = 3;

/// Kinds of a `POST` resource that matter here. They are written as they stand: 1 and 2 mean the same in a
/// PFB; 0, a comment, 3 and 4, which lead to the data fork, have no place in one and would still get a
/// segment.
constexpr std::uint8_t kPostTexte = 1;
constexpr std::uint8_t kPostFin = 5;

struct Post {
  std::uint8_t genre = 0;
  PlageFourche plage;  ///< of its data
};

/// One conversion: the fork as a file, its resources, the folder that the fonts go to.
struct Travail {
  std::shared_ptr<const Fichier> fourche;
  std::vector<RessourceMac> ressources;
  const DossierSortie &dossier;
  std::string nom;  ///< of the Macintosh file, working text
  const NomPermis &permis;
  int nb_polices = 0;
};

std::string nom_fichier(std::string_view nom, std::string_view extension) {
  bool coupe = false;
  const std::string texte = remplace_interdits(nom) + std::string(extension);
  return nom_disque(nom_sans_interdits(plateforme::texte_vers_large(texte)), kNomDisqueMax, coupe);
}

// True, after a message, where the resources of a type hold more than the fork: they lie over one another.
bool se_recouvrent(const Travail &travail, std::string_view type) {
  std::uint64_t octets = 0;
  for (const RessourceMac &ressource : travail.ressources)
    if (ressource.type == type && ressource.presente) octets += ressource.longueur;
  if (octets <= static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(*travail.fourche), 0)))
    return false;
  operations().afficher_erreur(message(kRecouvrement, {travail.nom}));
  return true;
}

// False, after a message, where a font has no room in the folder.
bool place_pour(const Travail &travail, std::uint64_t octets, const std::string &nom_utf8) {
  const auto libre = travail.dossier.espace_libre();
  if (!libre || octets <= *libre) return true;
  operations().afficher_erreur(
      message(kSansPlace, {plateforme::utf8_vers_texte(travail.dossier.chemin() + nom_utf8)}));
  return false;
}

bool echoue(ResultatEcriture resultat, std::string_view chemin) {
  dit_echec_ecriture(resultat, chemin, errno);
  return false;
}

void annonce(std::string_view nom_utf8) {
  operations().afficher_etat_seul(message(kCreation, {plateforme::utf8_vers_texte(nom_utf8)}));
}

/// The segments of a PFB: a mark, the kind, a length that is known at the end of the segment, the data.
class SortiePfb {
 public:
  explicit SortiePfb(const Fichier &cible) : sortie_(cible) {}

  void ajoute(const std::shared_ptr<const Fichier> &fourche, const Post &post) {
    if (genre_ != post.genre) ouvre_segment(post.genre);
    sortie_.verse(fourche_de_fichier(fourche, post.plage));
  }
  void finit() {
    ferme_segment();
    sortie_.ecrit(std::array{kMarquePfb, kFinPfb});
  }
  [[nodiscard]] ResultatEcriture resultat() const { return sortie_.resultat(); }

 private:
  void ouvre_segment(std::uint8_t genre) {
    ferme_segment();
    genre_ = genre;
    sortie_.ecrit(std::array{kMarquePfb, genre});
    place_longueur_ = sortie_.position();
    sortie_.ecrit(octets_de(le32()));
  }
  void ferme_segment() {
    if (genre_ < 0) return;
    const std::uint64_t longueur = sortie_.position() - place_longueur_ - sizeof(le32);
    sortie_.corrige(octets_de(le32(static_cast<std::uint32_t>(longueur))), place_longueur_);
  }

  SortieConteneur sortie_;
  int genre_ = -1;
  std::uint64_t place_longueur_ = 0;
};

/// The `POST` resources up to the one that ends the font; nullopt when one cannot be read.
std::optional<std::vector<Post>> lit_posts(const Travail &travail) {
  std::vector<Post> posts;
  for (const RessourceMac &ressource : travail.ressources) {
    if (ressource.type != "POST") continue;
    if (!ressource.presente) return std::nullopt;
    if (ressource.longueur < kTetePost) {
      operations().journal(GenreJournal::erreur, message(kPostCourte, {ressource.id, travail.nom}));
      continue;
    }
    Post post;
    const PlageFourche octets = ressource.octets();
    if (travail.fourche->lire_a({&post.genre, 1}, octets.position) != 1) return std::nullopt;
    post.plage = {octets.position + kTetePost, octets.longueur - kTetePost};
    posts.push_back(post);
    if (post.genre == kPostFin) break;
  }
  return posts;
}

std::string texte_clair(const Travail &travail, const std::vector<Post> &posts) {
  std::string texte;
  for (const Post &post : posts) {
    if (post.genre != kPostTexte) continue;
    const std::size_t avant = texte.size();
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(post.plage.longueur, kTexteMax - avant));
    texte.resize(avant + n);
    const std::int64_t lus = travail.fourche->lire_a(
        {reinterpret_cast<std::uint8_t *>(texte.data()) + avant, n}, post.plage.position);
    texte.resize(avant + static_cast<std::size_t>(std::max<std::int64_t>(lus, 0)));
  }
  return texte;
}

// The name of the font, numbered where the files of that name must stay.
std::string nom_permis(const Travail &travail, const std::string &nom) {
  constexpr unsigned kNumerosMax = 1000;
  const auto permis = [&travail](const std::string &essai) {
    return travail.permis(nom_fichier(essai, ".pfb")) && travail.permis(nom_fichier(essai, ".pfm"));
  };
  if (!travail.permis || permis(nom)) return nom;
  for (unsigned numero = 1; numero < kNumerosMax; ++numero) {
    const std::string essai = formate("%s-%03u", {nom, numero});
    if (permis(essai)) return essai;
  }
  return nom;
}

// A target that cannot be opened is given up without a word; one that breaks off is told.
bool ecrit_pfm(const Travail &travail, std::string_view texte, std::string_view nom) {
  const auto traits = lit_traits_postscript(texte);
  if (!traits) {
    operations().journal(GenreJournal::erreur, message(kCodageInconnu, {nom}));
    return true;
  }
  CibleFichier cible(travail.dossier, nom_fichier(nom, ".pfm"));
  if (!cible.ouverte()) return true;
  if (!cible.fichier().ecrire_a(fait_pfm(*traits), 0) || !cible.garde())
    return echoue(ResultatEcriture::ecriture, cible.chemin());
  return true;
}

bool convertit_postscript(Travail &travail) {
  const auto posts = lit_posts(travail);
  if (!posts) return echoue(ResultatEcriture::lecture, plateforme::texte_vers_utf8(travail.nom));
  const std::string texte = texte_clair(travail, *posts);
  const auto nom = nom_postscript(texte);
  if (posts->empty() || !nom) return true;
  const std::string nom_texte = nom_permis(travail, nom_windows(*nom));
  const std::string nom_pfb = nom_fichier(nom_texte, ".pfb");
  std::uint64_t octets = 0;
  for (const Post &post : *posts) octets += post.plage.longueur;
  if (!place_pour(travail, octets, nom_pfb)) return false;
  annonce(nom_pfb);
  CibleFichier cible(travail.dossier, nom_pfb);
  if (!cible.ouverte()) return echoue(ResultatEcriture::ecriture, cible.chemin());
  SortiePfb pfb(cible.fichier());
  for (const Post &post : *posts)
    if (post.genre != kPostFin) pfb.ajoute(travail.fourche, post);
  if (posts->back().genre != kPostFin)
    operations().journal(GenreJournal::erreur, message(kSansFin, {travail.nom}));
  pfb.finit();
  if (pfb.resultat() != ResultatEcriture::fait) return echoue(pfb.resultat(), cible.chemin());
  if (!cible.garde()) return echoue(ResultatEcriture::ecriture, cible.chemin());
  ++travail.nb_polices;
  return ecrit_pfm(travail, texte, nom_texte);
}

bool copie_truetype(const Travail &travail, const RessourceMac &ressource, CibleFichier &cible) {
  const ResultatEcriture resultat =
      ecrit_fourche(cible.fichier(), fourche_de_fichier(travail.fourche, ressource.octets()));
  if (resultat != ResultatEcriture::fait) return echoue(resultat, cible.chemin());
  return cible.garde() || echoue(ResultatEcriture::ecriture, cible.chemin());
}

// A name that is taken gives way to a temporary one. `rang` goes on from font to font.
bool cree_truetype(const Travail &travail, const RessourceMac &ressource, std::size_t &rang) {
  const std::string nom = nom_truetype(*travail.fourche, ressource.octets()).value_or(travail.nom);
  std::string nom_ttf = nom_fichier(nom, ".ttf");
  while (rang < kNomsTemporaires) {
    CibleFichier cible(travail.dossier, nom_ttf, false);
    if (cible.ouverte()) {
      if (!place_pour(travail, ressource.longueur, nom_ttf)) return false;
      annonce(nom_ttf);
      return copie_truetype(travail, ressource, cible);
    }
    if (errno != EEXIST) return echoue(ResultatEcriture::ecriture, cible.chemin());
    nom_ttf = formate("tmp%05d.ttf", {rang++});
  }
  errno = EEXIST;
  return echoue(ResultatEcriture::ecriture, travail.dossier.chemin() + nom_ttf);
}

bool convertit_valise(Travail &travail) {
  std::size_t rang = 0;
  for (const RessourceMac &ressource : travail.ressources) {
    if (ressource.type != "sfnt") continue;
    if (!ressource.presente)
      return echoue(ResultatEcriture::lecture, plateforme::texte_vers_utf8(travail.nom));
    if (ressource.longueur == 0) continue;
    if (!cree_truetype(travail, ressource, rang)) return false;
    ++travail.nb_polices;
  }
  return true;
}

}  // namespace

ResultatPolice convertit_police_mac(const ElementFichier &element, const DossierSortie &dossier,
                                    const NomPermis &permis) {
  Travail travail{nullptr, {}, dossier, nom_windows(element.nom), permis};
  travail.fourche = std::make_shared<const Fichier>(fourche_en_fichier(element.rsrc));
  if (!travail.fourche->ouvert()) {
    echoue(ResultatEcriture::lecture, plateforme::texte_vers_utf8(travail.nom));
    return ResultatPolice::echec;
  }
  travail.ressources = lit_ressources(*travail.fourche).value_or(std::vector<RessourceMac>());
  const bool postscript = element.type() == "LWFN";
  if (se_recouvrent(travail, postscript ? "POST" : "sfnt")) return ResultatPolice::echec;
  const bool faite = postscript ? convertit_postscript(travail) : convertit_valise(travail);
  if (!faite) return ResultatPolice::echec;
  if (travail.nb_polices > 0) return ResultatPolice::convertie;
  annonce_sans_police(travail.nom);
  return ResultatPolice::aucune;
}

}  // namespace varnion
