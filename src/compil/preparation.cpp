#include "compil/preparation.hpp"

#include <cerrno>

#include "compil/disposition.hpp"
#include "IO/ecarts.hpp"
#include "IO/fichier_voisin.hpp"
#include "IO/octets.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kVuesVides = 1550;
constexpr int kVueIsoVide = 1551;
constexpr int kVueHfsVide = 1552;
constexpr int kIsopVide = 1553;
constexpr int kPlaceManque = 1073;
constexpr int kQuatreGigas = 1474;
constexpr int kTitreDisque = 1293;     // size, folders, files
constexpr int kEcritureImage = 6322;   // image, system error
constexpr int kCibleEstProjet = 6323;  // path
constexpr int kPassageHfsplus = 6324;  // classic HFS cannot hold the project
constexpr int kVueDemandeeVide = 6331;
constexpr int kCibleEstSource = 7791;  // target, source
constexpr int kCibleEstTable = 7792;   // target
constexpr std::string_view kPrefixeCompagnon = "._";
constexpr std::size_t kLongueurMessage = 100;
constexpr std::uint64_t kLimiteFat = 0xFFFF0000;
constexpr std::size_t kLabelIsoMax = 32;
constexpr std::size_t kLabelIsoClassique = 16;

std::string dossier_de(const std::string &chemin) {
  const std::size_t barre = chemin.find_last_of("/\\");
  return barre == std::string::npos ? std::string(".") : chemin.substr(0, barre + 1);
}

std::string nom_sans_extension(const std::string &chemin) {
  const std::size_t barre = chemin.find_last_of("/\\");
  const std::string nom = barre == std::string::npos ? chemin : chemin.substr(barre + 1);
  const std::size_t point = nom.rfind('.');
  return point == std::string::npos || point == 0 ? nom : nom.substr(0, point);
}

bool refuse(int texte) {
  operations().afficher_erreur(charger_chaine(texte));
  return false;
}

bool refuse_cible(int texte, const std::string &cible, const std::string &source = {}) {
  operations().afficher_erreur(
      message(texte, {tronque_chemin(cible, kLongueurMessage), tronque_chemin(source, kLongueurMessage)}));
  return false;
}

// A target held against other paths: by its name, and by the file that it is where there is one.
class Cible {
 public:
  explicit Cible(const std::string &chemin)
      : chemin_(plateforme::chemin_absolu(chemin)), identite_(plateforme::identite(chemin)) {}

  [[nodiscard]] bool est(const std::string &chemin) const {
    return plateforme::chemin_absolu(chemin) == chemin_ ||
           (identite_ && plateforme::identite(chemin) == identite_);
  }
  /// The companion of a source.
  [[nodiscard]] bool est_voisin(const std::string &source) const {
    return identite_ && plateforme::identite(source, kPrefixeCompagnon) == identite_;
  }
  /// A stream of a source that is a file of its own.
  [[nodiscard]] bool est_flux(const std::string &source) const {
    return est(source + ":AFP_Resource") || est(source + ":AFP_AfpInfo");
  }

 private:
  std::string chemin_;
  std::optional<plateforme::IdentiteFichier> identite_;
};

// The kind that a request means once empty views are known; nullopt after a message.
std::optional<GenreDemande> genre_possible(GenreDemande genre, bool iso, bool mac) {
  if (!iso && !mac) {
    static_cast<void>(refuse(kVuesVides));
    return std::nullopt;
  }
  if (genre == GenreDemande::hybride && !iso) {
    operations().afficher_avis(charger_chaine(kVueIsoVide));
    return GenreDemande::mac;
  }
  if (genre == GenreDemande::hybride && !mac) {
    operations().afficher_avis(charger_chaine(kVueHfsVide));
    return GenreDemande::iso;
  }
  if ((genre == GenreDemande::iso && !iso) || (genre == GenreDemande::mac && !mac)) {
    static_cast<void>(refuse(kVueDemandeeVide));
    return std::nullopt;
  }
  return genre;
}

}  // namespace

bool erreur_image(const std::string &cible, int numero) {
  operations().afficher_erreur(
      message(kEcritureImage, {tronque_chemin(cible, kLongueurMessage), plateforme::texte_erreur(numero)}));
  return false;
}

std::optional<Nature> nature_demandee(FichierProjet &projet, GenreDemande genre) {
  EnteteProjet entete;
  if (!estimation_secteurs(projet) || !projet.vide() || !projet.lit_entete(entete)) {
    erreur_image(projet.chemin(), errno);
    return std::nullopt;
  }
  const bool iso = entete.compte_iso != 0;
  const bool mac = entete.compte_hfs != 0;
  if (projet.mode() == ModeProjet::isop) {
    if (iso) return Nature::iso_apple;
    static_cast<void>(refuse(kIsopVide));
    return std::nullopt;
  }
  const auto possible = genre_possible(genre, iso, mac);
  if (!possible) return std::nullopt;
  const bool plus = projet.hfsplus();
  if (*possible == GenreDemande::iso) return Nature::iso;
  if (*possible == GenreDemande::mac) return plus ? Nature::hfsplus : Nature::hfs;
  return plus ? Nature::hybride_hfsplus : Nature::hybride_hfs;
}

bool cible_permise(const FichierProjet &projet, const std::string &cible) {
  const Cible voulue(cible);
  const std::string &table = table_signatures().chemin;
  if (voulue.est(projet.chemin()) || voulue.est(projet.chemin_copie()))
    return refuse_cible(kCibleEstProjet, cible);
  if (!table.empty() && voulue.est(table)) return refuse_cible(kCibleEstTable, cible);
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    if (rubrique->est_dossier() || rubrique->est_virtuel()) continue;
    const std::string source = chemin_source(*rubrique);
    const bool compagnon = rubrique->codage() == Codage::apple && !rubrique->est_applesingle();
    if (voulue.est(source) || (compagnon && voulue.est_voisin(source)) ||
        (rubrique->codage() == Codage::ntfs && voulue.est_flux(source)))
      return refuse_cible(kCibleEstSource, cible, source);
  }
  return true;
}

bool cible_possible(const FichierProjet &projet, const std::string &cible) {
  const std::string dossier = dossier_de(cible);
  if (plateforme::est_dossier(cible)) return erreur_image(cible, EISDIR);
  if (!cible_permise(projet, cible)) return false;
  const std::uint64_t estimation = projet.estimation();
  if (!plateforme::accepte_gros_fichiers(dossier) && estimation * kSecteurIso > kLimiteFat)
    return refuse(kQuatreGigas);
  const auto libre = plateforme::espace_libre(dossier);
  return !libre || (*libre >> 20) * 512 >= estimation || refuse(kPlaceManque);
}

bool cible_accessible(const std::string &cible) {
  return FichierVoisin::commence(cible).ouvert() || erreur_image(cible, errno);
}

std::optional<std::uint32_t> taille_bloc_demandee(const FichierProjet &projet, Nature nature,
                                                  bool borne_fourches) {
  if (!nature_a_volume(nature) || nature_est_hfsplus(nature)) return kSecteurIso;
  const LongueursProjet longueurs(projet);
  for (std::uint32_t taille = kSecteurIso; taille < kTailleBlocMax; taille += kSecteurIso) {
    const bool fourches =
        !borne_fourches || nature != Nature::hybride_hfs || longueurs.plus_grande_branche() / taille < 0x7FFF;
    if (fourches && longueurs.blocs(taille) < 65536) return taille;
  }
  return std::nullopt;
}

bool impose_hfsplus(FichierProjet &projet) {
  if (!change_format(projet, true, troncature_automatique())) return false;
  operations().afficher_avis(charger_chaine(kPassageHfsplus));
  return true;
}

bool nomme_labels(FichierProjet &projet, const std::string &cible) {
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) return erreur_image(cible, errno);
  const std::string nom = nom_sans_extension(cible);
  const bool iso = label_sans_titre(lit_champ(entete.label_iso));
  const bool hfs = label_sans_titre(lit_champ(entete.label_hfs));
  if (!iso && !hfs) return true;
  if (iso)
    ecrit_champ_coupe(entete.label_iso, nom, publie(Ecart::labels_longs) ? kLabelIsoMax : kLabelIsoClassique);
  if (hfs)
    ecrit_champ_coupe(entete.label_hfs, entete.hfsplus() ? nom : nom_mac(nom),
                      entete.hfsplus() ? entete.label_hfs.size() - 1 : kNomVolumeHfsMax);
  return (projet.ecrit_entete(entete) && projet.vide()) || erreur_image(cible, errno);
}

std::uint64_t charge_image(const FichierProjet &projet, Nature nature, std::uint64_t secteurs) {
  // Without a Macintosh volume no source stands on the disc twice, whole and decoded.
  return nature_a_volume(nature) ? secteurs : calcul_blocs(projet, kSecteurIso);
}

std::string texte_disque(std::uint64_t secteurs, std::uint64_t dossiers, std::uint64_t fichiers) {
  const std::string taille = std::to_string(quotient_haut<std::uint64_t>(secteurs, 512)) +
                             (base_langue() == kLangueFrancais ? " Mo" : " MB");
  return message(kTitreDisque, {taille, dossiers, fichiers});
}

}  // namespace varnion
