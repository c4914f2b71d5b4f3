#include "app/noyau/journal.hpp"

#include <chrono>
#include <mutex>

#include "IO/etat.hpp"
#include "IO/fichier.hpp"
#include "IO/montrable.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::string_view kLigneOuverture = "**********\r\n";

struct EtatJournal {
  std::mutex verrou;
  Fichier fichier;
};

// The time of the clock: a log tells when things happened, whatever time an image is to bear.
HeureJournal heure_courante() {
  using namespace std::chrono;
  const auto centiemes = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count() / 10;
  return {plateforme::date_locale(centiemes / 100), static_cast<int>(centiemes % 100)};
}

// A text of several lines is set in behind its first, so that nothing in it can pass for an entry.
std::string en_entree(std::string_view texte) {
  std::string resultat;
  for (std::size_t i = 0; i < texte.size(); ++i) {
    resultat += texte[i];
    if (texte[i] == '\n' && i + 1 < texte.size()) resultat += "  ";
  }
  return resultat;
}

}  // namespace

std::string ligne_journal(GenreJournal genre, std::string_view texte, const HeureJournal &heure) {
  if (genre == GenreJournal::brut) return texte_sur(plateforme::texte_vers_utf8(en_entree(texte)));
  const auto &[annee, mois, jour, h, minute, seconde] = heure.date;
  std::string ligne =
      formate("%d/%d/%d - %2d:%02d:%02d:%02d", {jour, mois, annee, h, minute, seconde, heure.centiemes});
  if (genre == GenreJournal::compilation) {
    ligne.append(" - COMPIL : ").append(en_entree(texte)).append("\n");
  } else {
    ligne.append(genre == GenreJournal::information ? "\t" : " - ").append(en_entree(texte)).append("\r\n");
  }
  return texte_sur(plateforme::texte_vers_utf8(ligne));
}

bool ouvre_journal(std::string_view chemin) {
  ferme_journal();
  {
    auto &journal = etat<EtatJournal>();
    const std::lock_guard garde(journal.verrou);
    journal.fichier = plateforme::ouvre(chemin, Ouverture::ajout);
    if (!journal.fichier) return false;
  }
  ecrit_journal(GenreJournal::brut, kLigneOuverture);
  return true;
}

void ferme_journal() {
  auto &journal = etat<EtatJournal>();
  const std::lock_guard garde(journal.verrou);
  journal.fichier = Fichier();
}

bool journal_ouvert() {
  auto &journal = etat<EtatJournal>();
  const std::lock_guard garde(journal.verrou);
  return journal.fichier.ouvert();
}

bool vide_journal() {
  auto &journal = etat<EtatJournal>();
  const std::lock_guard garde(journal.verrou);
  return journal.fichier.ouvert() && fichier_tronquer(journal.fichier, 0);
}

void ecrit_journal(GenreJournal genre, std::string_view texte) {
  auto &journal = etat<EtatJournal>();
  const std::lock_guard garde(journal.verrou);
  if (!journal.fichier) return;
  // A log that can no longer be written is no reason to stop the work it tells about.
  static_cast<void>(fichier_puts(ligne_journal(genre, texte, heure_courante()), journal.fichier));
}

}  // namespace varnion
