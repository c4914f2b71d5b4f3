#include "hfs/decompression.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"
#include "res/tailles.hpp"

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
constexpr int kControleDonnees = 6400;
constexpr int kExpansion = 7903;  // image, its size, size of what it becomes
constexpr int kContinuer = 7904;
constexpr int kSansForcer = 7905;
constexpr int kPartage = 7907;   // image
constexpr int kPartages = 7908;  // image, bytes
constexpr int kPlace = 7909;     // image, size it becomes, free, target
constexpr std::size_t kCheminMessage = 200;

std::string texte_type(std::uint32_t type) {
  std::array<char, 16> texte{};
  std::snprintf(texte.data(), texte.size(), "%04x", static_cast<unsigned>(type));
  return texte.data();
}

// True for the whole image. Without questions that is the answer, and the journal tells.
bool veut_entiere(const std::string &source, bool questions) {
  const Fichier image = plateforme::ouvre(source, Ouverture::lecture);
  const ApercuDmg apercu = image ? apercu_dmg(image) : ApercuDmg{};
  if (!image || apercu.etat != EtatDmg::bon || apercu.usuelle_entiere) return true;
  if (questions)
    return operations().demander_oui_non(message(kLireEntiere, {apercu.tables_usuelles, apercu.tables})) != 0;
  operations().journal(GenreJournal::information,
                       message(kLueEntiere, {apercu.tables, apercu.tables_usuelles}));
  return true;
}

bool veut_copie_publiee(bool questions) {
  if (questions) return operations().demander_oui_non(charger_chaine(kCopiePubliee)) != 0;
  operations().journal(GenreJournal::information, charger_chaine(kCopiePublieePrise));
  return true;
}

}  // namespace

bool accepte_expansion(const std::string &source) {
  const Fichier image = plateforme::ouvre(source, Ouverture::lecture);
  const ApercuDmg apercu = image ? apercu_dmg(image) : ApercuDmg{};
  const auto taille =
      static_cast<std::uint64_t>(std::max<std::int64_t>(image ? fichier_taille(image) : 0, 0));
  const bool demesure = apercu.pleins > kExpansionSure && apercu.pleins / kExpansionFois > taille;
  if (apercu.pleins <= kExpansionMax && !demesure) return true;
  const std::string fait = message(kExpansion, {tronque_chemin(source, kCheminMessage),
                                                taille_lisible(taille), taille_lisible(apercu.pleins)}) +
                           "\n";
  if (!etat<OptionsProgramme>().mode_lot)
    return operations().demander_oui_non(fait + charger_chaine(kContinuer)) != 0;
  operations().afficher_erreur(fait + charger_chaine(kSansForcer));
  return false;
}

void annonce_partages(const ResultatDmg &resultat, const std::string &source) {
  if (resultat.partages == 0) return;
  operations().afficher_avis(
      message(kPartages, {tronque_chemin(source, kCheminMessage), taille_lisible(resultat.partages)}));
}

void decide_lecture_dmg(const std::string &source, bool questions, OptionsDmg &options) {
  if (!options.usuelle) options.usuelle = !veut_entiere(source, questions);
  options.accepte_copie_publiee = [questions] { return veut_copie_publiee(questions); };
}

std::string texte_echec_dmg(const ResultatDmg &resultat, const std::string &source,
                            const std::string &cible) {
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
    case EtatDmg::partage:
      return message(kPartage, {image});
    case EtatDmg::place:
      return message(kPlace, {image, taille_lisible(resultat.pleins), taille_lisible(resultat.libres),
                              tronque_chemin(cible, kCheminMessage)});
    case EtatDmg::type_inconnu:
      return image + "\n" + message(kTypeInconnu, {texte_type(resultat.type)});
    case EtatDmg::donnees_fausses:
      return message(kDonneesFausses, {resultat.table, image});
    case EtatDmg::controle_table:
      return message(kControleTable, {resultat.table, image});
    case EtatDmg::controle_image:
      return message(kControleImage, {image});
    case EtatDmg::controle_donnees:
      return message(kControleDonnees, {image});
    case EtatDmg::memoire:
      return charger_chaine(kMemoire);
    case EtatDmg::arret:
    case EtatDmg::bon:
      break;
  }
  return charger_chaine(kArret);
}

}  // namespace varnion
