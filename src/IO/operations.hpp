#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace varnion {

/// Kind of a journal line; it decides the form of the line (see app/noyau/journal).
enum class GenreJournal { erreur, information, trace, compilation, brut };

/// The only way from the core to the user. Texts are working text (Windows-1252). The console, the desktop
/// and the tests each have an implementation; calls may come from a worker, and the implementation marshals.
struct Operations {
  virtual ~Operations() = default;

  /// Modal message; also written to the journal when one is open.
  virtual void afficher_erreur(std::string_view texte) = 0;
  /// One of a series of like errors about single items, one line of text: a console shows each. A window
  /// writes them to the log alone, and the caller's closing message stands for them.
  virtual void afficher_ligne(std::string_view texte) { journal(GenreJournal::erreur, texte); }
  /// Message shown for a few seconds.
  virtual void afficher_avis(std::string_view texte) = 0;
  /// 1 yes, 0 no.
  [[nodiscard]] virtual int demander_oui_non(std::string_view texte) = 0;
  /// -1 no to all, 0 no, 1 yes, 2 yes to all. The caller keeps the answer for the length of its operation.
  [[nodiscard]] virtual int demander_tous(std::string_view texte) = 0;
  /// The name-truncation question: `legende` says which view, `nom` the name that is too long, `limite` the
  /// number of characters. True and the name in `nom`, or false when the user gives up.
  [[nodiscard]] virtual bool demander_nom(std::string_view legende, std::string &nom, std::size_t limite) = 0;

  /// A message with the box "Remember my answer and don't ask again": true when the user ticked it. Shown as
  /// a notice, and never ticked, where there is no such form.
  [[nodiscard]] virtual bool annoncer_retenir(std::string_view texte) {
    afficher_avis(texte);
    return false;
  }

  /// Status line: both texts joined by one blank; both empty clears it.
  virtual void afficher_etat(std::string_view texte, std::string_view second) = 0;
  virtual void afficher_etat_seul(std::string_view texte) = 0;
  /// Gauge of the mounted volume; has effect in Partition Mode only.
  virtual void progression_debut(std::uint64_t pas) = 0;
  virtual void progression_pas(std::uint64_t pas) = 0;
  virtual void progression_fin() = 0;
  virtual void curseur_attente_debut() = 0;
  virtual void curseur_attente_fin() = 0;

  /// One journal line; nothing when no journal is open.
  virtual void journal(GenreJournal genre, std::string_view texte) = 0;
  /// True when the user asked to stop the work in hand (Esc, Ctrl-C).
  [[nodiscard]] virtual bool arret_demande() = 0;
};

/// The implementation in force; a silent one (questions answered No, nothing shown) until one is plugged in.
[[nodiscard]] Operations &operations();

/// Plugs an implementation in; it must outlive its use. nullptr goes back to the silent one.
void brancher_operations(Operations *implementation);

/// Shows the text, then ends the process with exit code -1 (255).
[[noreturn]] void erreur_fatale(std::string_view texte);

/// The two option words and the trace level of the settings, read by every subsystem, written by the
/// settings.
struct OptionsProgramme {
  std::uint32_t options = 0;     ///< word `Options`
  std::uint32_t vn_options = 0;  ///< word `VN-Options`
  int niveau_trace = 0;          ///< `NiveauTrace`: gates node and per-file journal lines
  bool mode_lot = false;         ///< batch run: dialogs answer themselves
};

}  // namespace varnion
