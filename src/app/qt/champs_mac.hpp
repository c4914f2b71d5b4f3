#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include <QString>

#include "hfs/catalogue.hpp"

class QGridLayout;
class QLineEdit;
class QSpinBox;
class QWidget;

// What the dialogs about Macintosh files share: codes of four characters, dates, extents.

namespace varnion {

/// A type or creator; "" for none. Control characters show as they are.
[[nodiscard]] QString texte_code(std::span<const std::uint8_t, 4> code);
/// A field for one.
[[nodiscard]] QLineEdit *champ_code(std::span<const std::uint8_t, 4> code, const char *nom);

/// Seconds that are added to an entered date, counted since 1970, to give the Macintosh date. The epochs lie
/// 2,082,844,800 seconds apart; this is 14,400 less, so that an entered date reads four hours earlier once it
/// is written. Kept as it stands; a date that is not touched is never written.
constexpr std::int64_t kEpoqueSaisie = 2082830400;

/// Five number fields of one date, in the order of the language.
class ChampsDate {
 public:
  /// A Macintosh date of the mounted volume; `nom` goes ahead of the names of the fields.
  ChampsDate(std::uint32_t date, const QString &nom);

  [[nodiscard]] QWidget *ligne() const { return ligne_; }
  void quand_change(const std::function<void()> &suite) const;
  void lecture_seule() const;
  [[nodiscard]] bool change() const { return valeurs() != depart_; }
  /// The date to write; nullopt when there is no such day, or the format cannot hold it.
  [[nodiscard]] std::optional<std::uint32_t> date() const;
  void montre_faute() const;

 private:
  enum Rang { kMois, kJour, kAnnee, kHeure, kMinute, kRangs };
  using Valeurs = std::array<int, kRangs>;
  [[nodiscard]] Valeurs valeurs() const;

  QWidget *ligne_;
  std::array<QSpinBox *, kRangs> champs_{};
  Valeurs depart_{};
  bool hfsplus_;
};

/// The extents of a fork, one a line, in sectors of the image; those outside the catalog record too. A fork
/// of very many ends with "...".
[[nodiscard]] QString texte_extents(const ElementMac &element, std::uint8_t fourche);
/// A few lines to read and copy.
[[nodiscard]] QWidget *lignes_fixes(const QString &texte, const char *nom);

}  // namespace varnion
