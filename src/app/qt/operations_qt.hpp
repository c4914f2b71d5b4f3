#pragma once

#include <atomic>
#include <functional>
#include <mutex>

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include "app/qt/message.hpp"
#include "IO/operations.hpp"

namespace varnion {

/// What becomes of work that would go with its document.
enum class SortTravail { reste, enregistre, abandonne };

/// The user at the window. Calls from a worker are carried to the main thread and wait for its answer.
class OperationsQt final : public QObject, public Operations {
  Q_OBJECT

 public:
  explicit OperationsQt(QObject *parent = nullptr);
  ~OperationsQt() override;
  OperationsQt(const OperationsQt &) = delete;
  OperationsQt &operator=(const OperationsQt &) = delete;

  /// Window that messages belong to.
  void fenetre(QWidget *fenetre) { fenetre_ = fenetre; }
  /// True while a command runs: input goes nowhere but to Esc and to a message.
  [[nodiscard]] bool occupe() const { return profondeur_ > 0; }
  /// Runs a command's work on a worker while the window lives on: busy cursor, elapsed time, input as under
  /// `occupe`. Returns when it has ended. Called from a worker it is a plain call.
  void en_fond(const std::function<void()> &travail);
  /// Runs something on the main thread and waits for it; from there it is a plain call.
  void sur_fil_principal(const std::function<void()> &travail);

  void afficher_erreur(std::string_view texte) override;
  void afficher_avis(std::string_view texte) override;
  int demander_oui_non(std::string_view texte) override;
  int demander_tous(std::string_view texte) override;
  bool demander_nom(std::string_view legende, std::string &nom, std::size_t limite) override;
  bool annoncer_retenir(std::string_view texte) override;
  void afficher_etat(std::string_view texte, std::string_view second) override;
  void afficher_etat_seul(std::string_view texte) override;
  void progression_debut(std::uint64_t pas) override;
  void progression_pas(std::uint64_t pas) override;
  void progression_fin() override;
  void curseur_attente_debut() override;
  void curseur_attente_fin() override;
  void journal(GenreJournal genre, std::string_view texte) override;
  /// A yes or no question whose Yes destroys something: Enter gives No.
  [[nodiscard]] bool demander_prudent(std::string_view texte);
  /// A question on work that goes when its window closes: "Save", "Discard", "Cancel".
  [[nodiscard]] SortTravail demander_sort(std::string_view texte);
  /// A question on work that was found: one button goes on with it (string `continuer`), as Esc does, the
  /// other is "Discard". True to go on.
  [[nodiscard]] bool demander_reprise(std::string_view texte, int continuer);
  /// Looks for Esc, some ten times a second.
  bool arret_demande() override;

 signals:
  /// "" clears the line.
  void etat(const QString &texte);
  /// Steps done and in all; 0 of 0 at the end.
  void avance(quint64 fait, quint64 total);
  /// Whole seconds since the command in hand began; -1 when none runs.
  void ecoule(int secondes);

 protected:
  bool eventFilter(QObject *cible, QEvent *evenement) override;

 private:
  friend class QuestionsPrudentes;

  /// What `FormeMessage::exec` gives.
  [[nodiscard]] int montre(const char *nom, std::string_view texte, const FormeMessage::Choix &choix,
                           bool *toujours = nullptr);
  void respire();
  void montre_etat();
  void montre_avance();
  void bat_seconde();

  QPointer<QWidget> fenetre_;
  int profondeur_ = 0;        ///< commands that run, one within the other
  QPointer<QWidget> modale_;  ///< dialog that the outermost of them was given in
  std::atomic<bool> arret_ = false;
  std::mutex verrou_;  ///< guards the texts and steps that a worker leaves for the window
  QString etat_;
  bool etat_attend_ = false;
  quint64 fait_ = 0, total_ = 0;
  bool avance_attend_ = false;
  QElapsedTimer souffle_;
  QElapsedTimer depuis_;
  QTimer seconde_;
  int image_ = 0;                   ///< of the busy cursor
  std::atomic<int> prudentes_ = 0;  ///< `QuestionsPrudentes` that live
};

/// While it lives, Enter gives No to every yes or no question: for work whose questions are all asked before
/// something of the user's goes.
class QuestionsPrudentes {
 public:
  explicit QuestionsPrudentes(OperationsQt &operations) : operations_(operations) {
    ++operations_.prudentes_;
  }
  ~QuestionsPrudentes() { --operations_.prudentes_; }
  QuestionsPrudentes(const QuestionsPrudentes &) = delete;
  QuestionsPrudentes &operator=(const QuestionsPrudentes &) = delete;

 private:
  OperationsQt &operations_;
};

/// `OperationsQt::demander_prudent` of the window, for who does not have it at hand.
[[nodiscard]] bool demande_prudente(std::string_view texte);

/// While it lives, `arret_demande` on this thread answers with a flag of its own: Esc is for the command in
/// hand, not for a run beside it.
class ArretDuFil {
 public:
  explicit ArretDuFil(const std::atomic<bool> &arret);
  ~ArretDuFil();
  ArretDuFil(const ArretDuFil &) = delete;
  ArretDuFil &operator=(const ArretDuFil &) = delete;
};

/// The busy cursor for the length of one command.
class Attente {
 public:
  Attente() { operations().curseur_attente_debut(); }
  ~Attente() { operations().curseur_attente_fin(); }
  Attente(const Attente &) = delete;
  Attente &operator=(const Attente &) = delete;
};

}  // namespace varnion
