// From a compressed disk image to a plain one.

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_unpack.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "hfs/decompression.hpp"
#include "IO/iodmg.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCopiesDouteuses = 6050;
constexpr int kFaite = 6051;
constexpr int kSansTables = 6401;
constexpr int kCibleEstSource = 7782;
constexpr std::size_t kCheminMessage = 200;

// A bar on a terminal, a plain line every few seconds elsewhere.
class Suivi {
 public:
  explicit Suivi(Console &console) : console_(console), debut_(plateforme::chronometre()), dernier_(debut_) {}
  ~Suivi() {
    if (console_.options.terminal) console_.barre("");
  }
  Suivi(const Suivi &) = delete;
  Suivi &operator=(const Suivi &) = delete;

  bool avance(std::uint64_t fait, std::uint64_t total) {
    const double maintenant = plateforme::chronometre();
    const bool terminal = console_.options.terminal;
    if (!console_.options.silencieux && maintenant - dernier_ >= (terminal ? 0.1 : 5.0)) {
      dernier_ = maintenant;
      const Avancement avancement{fait, total, maintenant - debut_};
      if (terminal) {
        console_.barre(barre_avancement(avancement, "", console_.options.colonnes));
      } else {
        console_.ligne(texte_avancement(avancement));
      }
    }
    return !console_.arret_demande();
  }

 private:
  Console &console_;
  double debut_, dernier_;
};

}  // namespace

int decompresse_vers(ContexteCli &contexte, const std::string &source, const std::string &cible, bool usuelle,
                     Ecrasement ecrasement) {
  Console &console = contexte.console;
  OptionsDmg options;
  options.usuelle = usuelle;
  options.ecrasement = ecrasement;
  decide_lecture_dmg(source, console.options.interroge, options);
  ResultatDmg resultat;
  {
    Suivi suivi(console);
    options.progression = [&](std::uint64_t fait, std::uint64_t total) { return suivi.avance(fait, total); };
    static_cast<void>(decompresse_fichier(source, cible, options, &resultat));
  }
  if (!resultat.reussi()) {
    console.afficher_erreur(texte_echec_dmg(resultat, source, cible));
    return kEchec;
  }
  if (resultat.copies_douteuses) console.afficher_avis(charger_chaine(kCopiesDouteuses));
  annonce_partages(resultat, source);
  if (resultat.octets_nus != 0)
    console.afficher_avis(message(kSansTables, {taille_lisible(resultat.octets_nus)}));
  const std::string ligne = message(kFaite, {cible, taille_lisible(resultat.octets), resultat.tables});
  contexte.sortie << plateforme::texte_vers_utf8(ligne) << "\n";
  return kFait;
}

int commande_unpack(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const auto source = chemin_argument(arguments.positions[0]);
  const auto cible = chemin_argument(arguments.positions[1]);
  const bool force = arguments.a("force");
  if (!source || !cible || !cible_libre(*cible, force)) return kEchec;
  if (plateforme::meme_fichier(*source, *cible)) {
    operations().afficher_erreur(message(kCibleEstSource, {tronque_chemin(*cible, kCheminMessage)}));
    return kEchec;
  }
  return decompresse_vers(contexte, *source, *cible, arguments.a("usual"),
                          force ? Ecrasement::toujours : Ecrasement::jamais);
}

}  // namespace varnion
