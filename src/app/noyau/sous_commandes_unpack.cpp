// From a compressed disk image to a plain one.

#include <array>
#include <cstdio>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_unpack.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/iodmg.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kLireEntiere = 6034;
constexpr int kCopiePubliee = 6035;
constexpr int kTypeInconnu = 6036;
constexpr int kPasCompressee = 6037;
constexpr int kFinFausse = 6038;
constexpr int kSansTable = 6039;
constexpr int kTableFausse = 6040;
constexpr int kDonneesFausses = 6041;
constexpr int kControleTable = 6042;
constexpr int kControleImage = 6043;
constexpr int kEcriture = 6044;
constexpr int kMemoire = 6045;
constexpr int kArret = 6046;
constexpr int kLecture = 6047;
constexpr int kLueEntiere = 6048;
constexpr int kCopiePublieePrise = 6049;
constexpr int kCopiesDouteuses = 6050;
constexpr int kFaite = 6051;
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

std::string texte_type(std::uint32_t type) {
  std::array<char, 16> texte{};
  std::snprintf(texte.data(), texte.size(), "%04x", static_cast<unsigned>(type));
  return texte.data();
}

std::string texte_echec(const ResultatDmg &resultat, const std::string &source, const std::string &cible) {
  const std::string image = tronque_chemin(source, kCheminMessage);
  switch (resultat.etat) {
    case EtatDmg::lecture:
      return message(kLecture, {image, plateforme::texte_erreur(resultat.erreur)});
    case EtatDmg::ecriture:
      return message(kEcriture,
                     {tronque_chemin(cible, kCheminMessage), plateforme::texte_erreur(resultat.erreur)});
    case EtatDmg::sans_fin:
      return message(kPasCompressee, {image});
    case EtatDmg::fin_fausse:
      return message(kFinFausse, {image});
    case EtatDmg::sans_table:
      return message(kSansTable, {image});
    case EtatDmg::table_fausse:
      return message(kTableFausse, {resultat.table, image});
    case EtatDmg::type_inconnu:
      return image + "\n" + message(kTypeInconnu, {texte_type(resultat.type)});
    case EtatDmg::donnees_fausses:
      return message(kDonneesFausses, {resultat.table, image});
    case EtatDmg::controle_table:
      return message(kControleTable, {resultat.table, image});
    case EtatDmg::controle_image:
      return message(kControleImage, {image});
    case EtatDmg::memoire:
      return charger_chaine(kMemoire);
    case EtatDmg::arret:
    case EtatDmg::bon:
      break;
  }
  return charger_chaine(kArret);
}

// True for the whole image. Without questions that is the answer, and the journal tells.
bool veut_entiere(Console &console, const std::string &source) {
  const Fichier image = plateforme::ouvre(source, Ouverture::lecture);
  const ApercuDmg apercu = image ? apercu_dmg(image) : ApercuDmg{};
  if (!image || apercu.etat != EtatDmg::bon || apercu.usuelle_entiere) return true;
  if (console.options.interroge)
    return console.demander_oui_non(message(kLireEntiere, {apercu.tables_usuelles, apercu.tables})) != 0;
  console.journal(GenreJournal::information, message(kLueEntiere, {apercu.tables, apercu.tables_usuelles}));
  return true;
}

bool veut_copie_publiee(Console &console) {
  if (console.options.interroge) return console.demander_oui_non(charger_chaine(kCopiePubliee)) != 0;
  console.journal(GenreJournal::information, charger_chaine(kCopiePublieePrise));
  return true;
}

}  // namespace

int decompresse_vers(ContexteCli &contexte, const std::string &source, const std::string &cible,
                     bool usuelle) {
  Console &console = contexte.console;
  OptionsDmg options;
  options.usuelle = usuelle || !veut_entiere(console, source);
  options.accepte_copie_publiee = [&] { return veut_copie_publiee(console); };
  ResultatDmg resultat;
  {
    Suivi suivi(console);
    options.progression = [&](std::uint64_t fait, std::uint64_t total) { return suivi.avance(fait, total); };
    static_cast<void>(decompresse_fichier(source, cible, options, &resultat));
  }
  if (!resultat.reussi()) {
    console.afficher_erreur(texte_echec(resultat, source, cible));
    return kEchec;
  }
  if (resultat.copies_douteuses) console.afficher_avis(charger_chaine(kCopiesDouteuses));
  const std::string ligne = message(kFaite, {cible, taille_lisible(resultat.octets), resultat.tables});
  contexte.sortie << plateforme::texte_vers_utf8(ligne) << "\n";
  return kFait;
}

int commande_unpack(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const auto source = chemin_argument(arguments.positions[0]);
  const auto cible = chemin_argument(arguments.positions[1]);
  if (!source || !cible || !cible_libre(*cible, arguments.a("force"))) return kEchec;
  return decompresse_vers(contexte, *source, *cible, arguments.a("usual"));
}

}  // namespace varnion
