#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "compil/contexte.hpp"
#include "IO/operations.hpp"
#include "res/tailles.hpp"

// The user at a terminal: messages, status and progress go to one stream, answers come from another. Results
// of a command do not pass here.

namespace varnion {

struct OptionsConsole {
  bool silencieux = false;  ///< neither progress nor notices; errors are always shown
  bool bavard = false;      ///< status lines and phases too
  bool interroge = false;   ///< questions are asked; else they answer themselves
  bool terminal = false;    ///< the message stream is a terminal: a bar can be drawn in place
  int colonnes = 80;
  std::string programme = "varnion-cli";  ///< ahead of each message
};

class Console final : public Operations {
 public:
  Console(std::ostream &messages, std::istream &reponses) : messages_(messages), reponses_(reponses) {}

  OptionsConsole options;

  void afficher_erreur(std::string_view texte) override;
  void afficher_ligne(std::string_view texte) override { afficher_erreur(texte); }
  void afficher_avis(std::string_view texte) override;
  /// Without `interroge`: no, and the question is shown with that answer.
  int demander_oui_non(std::string_view texte) override;
  /// Without `interroge`: yes to all.
  int demander_tous(std::string_view texte) override;
  /// Without `interroge`: the name cut by `coupe_nom`. An empty line takes that proposal too.
  bool demander_nom(std::string_view legende, std::string &nom, std::size_t limite) override;
  /// Without `interroge`: ticked and not shown; what is left out is counted by the caller.
  bool annoncer_retenir(std::string_view texte) override;
  void afficher_etat(std::string_view texte, std::string_view second) override;
  void afficher_etat_seul(std::string_view texte) override;
  /// The gauge: a bar, on a terminal only. A step is 64 sectors for all that counts by it.
  void progression_debut(std::uint64_t pas) override;
  void progression_pas(std::uint64_t pas) override;
  void progression_fin() override;
  void curseur_attente_debut() override {}
  void curseur_attente_fin() override {}
  void journal(GenreJournal genre, std::string_view texte) override;
  bool arret_demande() override;

  /// A line of plain text for the user, not an error.
  void ligne(std::string_view texte);
  /// Draws the text in place of the bar that stands there; only on a terminal. "" takes the bar away.
  void barre(std::string_view texte);
  /// Errors shown since the start.
  [[nodiscard]] std::uint64_t erreurs() const { return erreurs_; }

 private:
  void message_prefixe(std::string_view texte);
  bool lit_reponse(std::string_view invite, std::string &reponse);
  void ecrit(std::string_view texte);

  std::ostream &messages_;
  std::istream &reponses_;
  std::uint64_t erreurs_ = 0;
  struct Jauge {
    std::uint64_t faits = 0, total = 0;  ///< steps
    double debut = 0, dernier = 0;
  } jauge_;
  std::size_t barre_ = 0;  ///< columns of the bar on the screen
};

/// Progress of a compile on a console: a bar on a terminal, a plain line every few seconds elsewhere.
class SuiviConsole final : public SuiviCompilation {
 public:
  /// `total`: 2048-byte sectors expected.
  SuiviConsole(Console &console, std::uint64_t total);
  ~SuiviConsole() override;
  SuiviConsole(const SuiviConsole &) = delete;
  SuiviConsole &operator=(const SuiviConsole &) = delete;

  bool debut_fichier(std::uint64_t tranches, std::string_view nom, std::uint64_t taille) override;
  bool avance_fichier(std::uint64_t secteurs) override;
  bool fin_fichier(std::uint64_t secteurs) override;
  bool trace(std::string_view texte) override;
  bool texte(std::string_view texte) override;

 private:
  void montre();

  Console &console_;
  std::uint64_t total_;
  std::uint64_t faits_ = 0;
  double debut_;
  double dernier_;
  std::string nom_;  ///< the large file under way
};

/// Where a run stands.
struct Avancement {
  std::uint64_t faits = 0;  ///< bytes
  std::uint64_t total = 0;
  double secondes = 0;
};

/// "45 %, 12.3 MB/s, 0:12 left", in working text. The rate and the time left need some progress.
[[nodiscard]] std::string texte_avancement(const Avancement &avancement);
/// A bar with that text, and as much of `nom` as `colonnes` leave.
[[nodiscard]] std::string barre_avancement(const Avancement &avancement, std::string_view nom, int colonnes);

}  // namespace varnion
