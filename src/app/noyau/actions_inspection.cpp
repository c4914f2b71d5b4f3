#include "app/noyau/actions_inspection.hpp"

#include <cerrno>

#include "app/noyau/actions_projet.hpp"
#include "hfs/decompression.hpp"
#include "hfs/extents.hpp"
#include "hfs/liens.hpp"
#include "inspect/lignes.hpp"
#include "IO/iodmg.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kEstDossier = 6862;
constexpr int kArrete = 6869;
constexpr int kSansChemin = 6980;
constexpr int kNonDecompressee = 6986;  // image
constexpr std::size_t kCheminMessage = 200;
constexpr double kPasBarre = 0.1;  // seconds between two bars

bool ouvre_fourche(ContexteCli &contexte, SourceOuverte &ouverte) {
  const Arguments &arguments = contexte.arguments;
  ouverte.volume.emplace(contexte, arguments.positions[0]);
  if (!*ouverte.volume) return false;
  const auto element = trouve_mac(arguments.positions[1]);
  if (!element) return false;
  if (element->dossier) {
    operations().afficher_erreur(message(kEstDossier, {ouverte.nom}));
    return false;
  }
  const bool ressources = arguments.a("resource");
  ouverte.source = source_fourche(sans_lien(*element), ressources ? kFourcheRessources : kFourcheDonnees);
  return true;
}

// The plain image of a compressed one, in an unnamed file.
bool decompresse(ContexteCli &contexte, SourceOuverte &ouverte, const std::string &chemin,
                 std::uint64_t octets) {
  if (!contexte.arguments.a("force") && !accepte_expansion(chemin)) return false;
  auto plein = std::make_shared<Fichier>(plateforme::fichier_anonyme());
  OptionsDmg options;
  BarreInspection suivi(contexte.console, octets);
  options.progression = [&](std::uint64_t fait, std::uint64_t) { return suivi.avance(fait); };
  const ResultatDmg resultat = *plein ? decompresse_image(*ouverte.fichier, *plein, options) : ResultatDmg{};
  if (*plein && resultat.reussi()) {
    annonce_partages(resultat, chemin);
    ouverte.fichier = std::move(plein);
    return true;
  }
  const std::string raison = resultat.etat == EtatDmg::place
                                 ? "\n" + texte_echec_dmg(resultat, chemin, plateforme::dossier_temporaire())
                                 : "";
  operations().afficher_erreur(resultat.etat == EtatDmg::arret
                                   ? charger_chaine(kArrete)
                                   : message(kNonDecompressee, {ouverte.nom}) + raison);
  return false;
}

bool ouvre_fichier(ContexteCli &contexte, SourceOuverte &ouverte) {
  const auto chemin = chemin_argument(contexte.arguments.positions[0]);
  if (!chemin) return false;
  ouverte.fichier = std::make_shared<const Fichier>(plateforme::ouvre(*chemin, Ouverture::lecture));
  if (!*ouverte.fichier) {
    erreur_fichier(*chemin, errno);
    return false;
  }
  const ApercuDmg apercu = apercu_dmg(*ouverte.fichier);
  if (apercu.etat == EtatDmg::bon && !decompresse(contexte, ouverte, *chemin, apercu.octets)) return false;
  ouverte.source = source_fichier(ouverte.fichier, ouverte.nom);
  return true;
}

}  // namespace

int ouvre_source(ContexteCli &contexte, SourceOuverte &ouverte) {
  const Arguments &arguments = contexte.arguments;
  const bool fourche = arguments.positions.size() > 1;
  ouverte.nom = tronque_chemin(plateforme::utf8_vers_texte(arguments.positions.back()), kCheminMessage);
  if (arguments.a("resource") && !fourche) {
    operations().afficher_erreur(charger_chaine(kSansChemin));
    return kUsage;
  }
  return (fourche ? ouvre_fourche(contexte, ouverte) : ouvre_fichier(contexte, ouverte)) ? kFait : kEchec;
}

std::optional<PlageSecteurs> lit_plage_secteurs(const std::string &texte, unsigned radix, std::uint64_t fin) {
  const std::size_t trait = texte.find('-');
  const auto premier = lit_nombre(texte.substr(0, trait), radix);
  if (!premier) return std::nullopt;
  if (trait == std::string::npos) return PlageSecteurs{*premier, *premier};
  const std::string suite = texte.substr(trait + 1);
  const auto dernier = suite.empty() ? std::optional(fin) : lit_nombre(suite, radix);
  // A range that begins behind the end is told by its number, not as a wrong form.
  if (!dernier || (*dernier < *premier && !suite.empty())) return std::nullopt;
  return PlageSecteurs{*premier, *dernier < *premier ? *premier : *dernier};
}

BarreInspection::BarreInspection(Console &console, std::uint64_t total)
    : console_(console), total_(total), debut_(plateforme::chronometre()), dernier_(debut_) {}

BarreInspection::~BarreInspection() {
  console_.barre({});
}

bool BarreInspection::avance(std::uint64_t fait) {
  const double maintenant = plateforme::chronometre();
  if (maintenant - dernier_ >= kPasBarre && !console_.options.silencieux) {
    dernier_ = maintenant;
    console_.barre(barre_avancement({fait, total_, maintenant - debut_}, {}, console_.options.colonnes));
  }
  return !console_.arret_demande();
}

}  // namespace varnion
