#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <QWidget>

class QLineEdit;

namespace varnion {

/// The row "Type: ____ Creator: ____ >>" of the property forms. What the user did not touch counts as absent.
class ChampsSignature final : public QWidget {
 public:
  explicit ChampsSignature(QWidget *parent = nullptr);

  /// 8 bytes of Mac Roman, type then creator; shorter leaves both fields empty.
  void montre(std::string_view signature);
  /// A field as records hold it, when it was changed. Empty fields are absent.
  [[nodiscard]] std::optional<std::string> type() const;
  [[nodiscard]] std::optional<std::string> createur() const;
  /// Texts that Mac Roman has no characters for, "" when both may be stored.
  [[nodiscard]] QString impossible() const;

 private:
  void choisit();
  [[nodiscard]] static std::optional<std::string> lu(const QLineEdit *champ);

  QLineEdit *type_;
  QLineEdit *createur_;
  std::string signature_;  ///< where the choice in the table begins
};

}  // namespace varnion
