#include "app/qt/champ_texte.hpp"

#include <QLineEdit>
#include <QValidator>

#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

class TexteConnu final : public QValidator {
 public:
  using QValidator::QValidator;
  State validate(QString &saisi, int & /*place*/) const override {
    return vers_qt(de_qt(saisi)) == saisi ? Acceptable : Invalid;
  }
};

}  // namespace

QLineEdit *champ_texte(std::string_view texte, int limite, const char *nom) {
  auto *champ = new QLineEdit;
  champ->setObjectName(nom);
  champ->setMaxLength(limite);
  champ->setValidator(new TexteConnu(champ));
  champ->setText(vers_qt(texte));
  return champ;
}

std::string texte_champ(const QLineEdit &champ) {
  return de_qt(champ.text().trimmed());
}

}  // namespace varnion
