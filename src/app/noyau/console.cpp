#include "app/noyau/console.hpp"

#include <algorithm>
#include <array>
#include <istream>
#include <ostream>

#include "app/noyau/interruption.hpp"
#include "app/noyau/journal.hpp"
#include "IO/montrable.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNon = 1044;
constexpr int kReponsesDeux = 6520;
constexpr int kReponsesQuatre = 6521;
constexpr int kRepondu = 6522;
constexpr int kInviteNom = 6523;
constexpr int kNomTropLong = 6524;
constexpr std::size_t kReponseMax = 1024;  // bytes of an answer
constexpr int kEssaisReponse = 100;        // wrong answers in a row before the question counts as refused

constexpr std::string_view kRetrait = "  ";

std::string_view sans_lignes_vides(std::string_view texte) {
  while (texte.starts_with('\n')) texte.remove_prefix(1);
  while (texte.ends_with('\n')) texte.remove_suffix(1);
  return texte;
}

// Line breaks stay, with the lines behind the first set in, so that no name can begin a message of its own.
std::string lignes_rentrees(std::string_view texte) {
  std::string resultat;
  for (const char c : sans_lignes_vides(texte)) {
    resultat += c;
    if (c == '\n') resultat.append(kRetrait);
  }
  return resultat;
}

std::string en_ligne(std::string_view texte) {
  std::string resultat(sans_lignes_vides(texte));
  std::replace_if(
      resultat.begin(), resultat.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
  return resultat;
}

std::string bouton(int id) {
  std::string texte = charger_chaine(id);
  std::erase(texte, '&');
  return texte;
}

}  // namespace

// --- messages
// -------------------------------------------------------------------------------------------------

void Console::ecrit(std::string_view texte) {
  messages_ << texte_sur(plateforme::texte_vers_utf8(texte)) << std::flush;
}

void Console::barre(std::string_view texte) {
  if (!options.terminal || (texte.empty() && barre_ == 0)) return;
  const std::string ligne = texte_montrable(texte);
  const std::size_t colonnes = plateforme::utf8_vers_large(ligne).size();
  messages_ << '\r' << ligne << std::string(barre_ - std::min(barre_, colonnes), ' ');
  if (texte.empty()) messages_ << '\r';
  messages_ << std::flush;
  barre_ = colonnes;
}

void Console::ligne(std::string_view texte) {
  barre({});
  ecrit(lignes_rentrees(texte) + "\n");
}

void Console::message_prefixe(std::string_view texte) {
  barre({});
  ecrit(options.programme + ": " + lignes_rentrees(texte) + "\n");
}

void Console::afficher_erreur(std::string_view texte) {
  ++erreurs_;
  message_prefixe(texte);
  ecrit_journal(GenreJournal::erreur, texte);
}

void Console::afficher_avis(std::string_view texte) {
  if (!options.silencieux) message_prefixe(texte);
}

void Console::afficher_etat(std::string_view texte, std::string_view second) {
  if (!options.bavard || (texte.empty() && second.empty())) return;
  std::string etat(texte);
  if (!second.empty()) etat.append(" ").append(second);
  ligne(en_ligne(etat));
}

void Console::afficher_etat_seul(std::string_view texte) {
  afficher_etat(texte, {});
}

void Console::journal(GenreJournal genre, std::string_view texte) {
  ecrit_journal(genre, texte);
  if (options.bavard && genre != GenreJournal::brut && genre != GenreJournal::trace) ligne(en_ligne(texte));
}

bool Console::arret_demande() {
  return interruption_demandee();
}

// --- questions
// ------------------------------------------------------------------------------------------------

// One line of the answers, at most kReponseMax bytes of it. False at their end or when the user breaks off.
bool Console::lit_reponse(std::string_view invite, std::string &reponse) {
  ecrit(invite);
  reponse.clear();
  for (char c = 0; reponses_.get(c);) {
    if (c == '\n') return !arret_demande();
    if (reponse.size() < kReponseMax) reponse += c;
  }
  ecrit("\n");
  return !reponse.empty() && !arret_demande();
}

int Console::demander_oui_non(std::string_view texte) {
  if (!options.interroge) {
    if (!options.silencieux) message_prefixe(message(kRepondu, {texte, bouton(kNon)}));
    return 0;
  }
  // A stop that is pending is what the question is about. A second one while it is asked means yes.
  const bool arret = arret_demande();
  if (arret) oublie_interruption();
  message_prefixe(texte);
  std::string reponse;
  for (int essai = 0; essai < kEssaisReponse && lit_reponse(charger_chaine(kReponsesDeux), reponse);
       ++essai) {
    const char c = reponse.empty() ? '\0' : plateforme::majuscule(reponse.front());
    if (c == 'Y' || c == 'O') return 1;
    if (c == 'N') return 0;
  }
  return arret && arret_demande() ? 1 : 0;
}

int Console::demander_tous(std::string_view texte) {
  if (!options.interroge) return 2;
  message_prefixe(texte);
  std::string reponse;
  for (int essai = 0; essai < kEssaisReponse && lit_reponse(charger_chaine(kReponsesQuatre), reponse);
       ++essai) {
    switch (reponse.empty() ? '\0' : reponse.front()) {
      case 'y':
      case 'o':
        return 1;
      case 'Y':
      case 'O':
        return 2;
      case 'n':
        return 0;
      case 'N':
        return -1;
      default:
        break;
    }
  }
  return 0;
}

bool Console::annoncer_retenir(std::string_view texte) {
  if (options.interroge) afficher_avis(texte);
  return !options.interroge;
}

bool Console::demander_nom(std::string_view legende, std::string &nom, std::size_t limite) {
  const std::string propose = coupe_nom(nom, limite);
  if (!options.interroge) {
    nom = propose;
    return true;
  }
  message_prefixe(std::string(legende) + "\n" + nom);
  std::string reponse;
  for (int essai = 0; essai < kEssaisReponse && lit_reponse(message(kInviteNom, {propose}), reponse);
       ++essai) {
    const std::string saisi = reponse.empty() ? propose : plateforme::utf8_vers_texte(reponse);
    if (saisi.size() <= limite) {
      nom = saisi;
      return true;
    }
    message_prefixe(message(kNomTropLong, {saisi, limite}));
  }
  return false;
}

}  // namespace varnion
