#pragma once

#include <string>
#include <string_view>

class QLineEdit;

namespace varnion {

/// A field for working text: at most `limite` characters, and none that the working text cannot hold.
[[nodiscard]] QLineEdit *champ_texte(std::string_view texte, int limite, const char *nom);
/// What stands in the field, as working text, without blanks at its ends.
[[nodiscard]] std::string texte_champ(const QLineEdit &champ);

}  // namespace varnion
