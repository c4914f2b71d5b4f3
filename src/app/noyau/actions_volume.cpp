#include "app/noyau/actions_volume.hpp"

#include <unordered_set>

#include "app/noyau/actions_projet.hpp"
#include "hfs/garde.hpp"
#include "hfs/ouverture.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kSansElement = 6861;
constexpr int kDossierAbime = 6866;
constexpr int kArrete = 6869;
constexpr int kTropProfond = 6871;
constexpr int kLectureSeule = 7860;           // image, reason
constexpr int kTexteEparse = 7403;            // image
constexpr int kCompressee = 6875;             // image
constexpr std::uint16_t kInvisible = 0x4000;  // kIsInvisible of the Finder flags
constexpr std::size_t kProfondeurMax = 400;   // levels; a Macintosh path rarely has ten
constexpr std::size_t kCheminMessage = 200;
constexpr double kPasBarre = 0.1;  // seconds between two bars

std::string texte(std::string_view utf8) {
  return plateforme::utf8_vers_texte(utf8);
}

class Parcours {
 public:
  Parcours(bool recursif, const std::function<bool(const ElementMac &)> &montre, const VisiteChemin &visite)
      : recursif_(recursif), montre_(montre), visite_(visite) {}

  void descend(const ElementMac &dossier, const std::string &base) {
    if (!vus_.insert(dossier.id).second || profondeur_ >= kProfondeurMax) {
      dit(message(kTropProfond, {texte(base)}));
      return;
    }
    ++profondeur_;
    const ResultatParcours fin = liste_dossier(dossier.id, [&](const ElementMac &element) {
      if (arrete_ || operations().arret_demande()) return false;
      if (!montre_(element)) return true;
      const std::string chemin = base + element.nom_chemin();
      visite_(chemin, element);
      if (recursif_ && element.dossier) descend(element, chemin + "/");
      return !arrete_;
    });
    --profondeur_;
    if (fin.etat == EtatParcours::endommage) dit(message(kDossierAbime, {texte(base.empty() ? "/" : base)}));
    if (fin.etat == EtatParcours::arrete && !arrete_) {
      arrete_ = true;
      dit(charger_chaine(kArrete));
    }
  }
  [[nodiscard]] bool sain() const { return sain_; }

 private:
  void dit(const std::string &message) {
    sain_ = false;
    operations().afficher_erreur(message);
  }

  bool recursif_;
  const std::function<bool(const ElementMac &)> &montre_;
  const VisiteChemin &visite_;
  std::unordered_set<std::uint32_t> vus_;
  std::size_t profondeur_ = 0;
  bool sain_ = true, arrete_ = false;
};

}  // namespace

VolumeOuvert::VolumeOuvert(ContexteCli &contexte, std::string_view image, AccesVolume acces) {
  const bool ecriture = acces == AccesVolume::ecriture;
  const auto chemin = chemin_argument(image);
  if (!chemin) return;
  chemin_ = *chemin;
  OptionsOuverture options;
  options.lecture_seule = acces == AccesVolume::lecture;
  options.verrou = ecriture;
  options.sans_borne = contexte.arguments.a("force");
  options.questions = contexte.console.options.interroge && !ecriture;
  if (ecriture) {
    const Fichier fichier = plateforme::ouvre(*chemin, Ouverture::lecture);
    const int genre = fichier ? type_image(fichier) : int{kImageSimple};
    if (genre >= kImagePM && genre <= kImageEparse) {
      operations().afficher_erreur(message(kCompressee, {tronque_chemin(*chemin, kCheminMessage)}));
      return;
    }
  }
  Console &console = contexte.console;
  const double debut = plateforme::chronometre();
  options.progression = [&console, debut, dernier = debut](std::uint64_t fait, std::uint64_t total) mutable {
    const double maintenant = plateforme::chronometre();
    if (maintenant - dernier >= kPasBarre && !console.options.silencieux) {
      dernier = maintenant;
      console.barre(barre_avancement({fait, total, maintenant - debut}, {}, console.options.colonnes));
    }
    return !console.arret_demande();
  };
  const EtatOuverture ouverture = ouvrir_partition(*chemin, options);
  console.barre({});
  ouvert_ = ouverture == EtatOuverture::montee;
  if (ouverture == EtatOuverture::eparse)
    operations().afficher_erreur(message(kTexteEparse, {tronque_chemin(*chemin, kCheminMessage)}));
  if (ecriture && contexte.arguments.a("force")) force_abimes();
  if (ouvert_ && ecriture && support().lecture_seule) {
    const std::string court = tronque_chemin(*chemin, kCheminMessage);
    operations().afficher_erreur(message(kLectureSeule, {court, texte_interdit()}));
    fermer_partition();
    ouvert_ = false;
  }
}

VolumeOuvert::~VolumeOuvert() {
  if (ouvert_) fermer_partition();
}

std::optional<ElementMac> trouve_mac(std::string_view chemin) {
  auto element = element_par_chemin(chemin);
  if (!element && !element_racine())
    operations().afficher_erreur(message(kDossierAbime, {"/"}));
  else if (!element)
    operations().afficher_erreur(message(kSansElement, {texte(chemin)}));
  return element;
}

bool est_cache(const ElementMac &element) {
  const std::string nom = element.nom_utf8();
  return (element.drapeaux_finder & kInvisible) != 0 || nom.starts_with('.') || nom == "Desktop" ||
         (element.dossier && nom == "Trash");
}

bool parcourt_dossier(const ElementMac &dossier, const std::string &base, bool recursif,
                      const std::function<bool(const ElementMac &)> &montre, const VisiteChemin &visite) {
  Parcours parcours(recursif, montre, visite);
  parcours.descend(dossier, base);
  return parcours.sain();
}

std::string signature_de(const ElementMac &element) {
  std::string signature(element.type.begin(), element.type.end());
  return signature.append(element.createur.begin(), element.createur.end());
}

}  // namespace varnion
