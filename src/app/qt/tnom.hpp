#pragma once

#include <functional>

#include "app/qt/forme.hpp"

namespace varnion {

/// A name to type: of a folder to be made (`TNouveauDossier`), of an item to be renamed (`TRenommer`).
class TNom final : public Forme {
 public:
  /// `ancien`: shown above the field where there is one. `limite`: characters that may be typed.
  struct Contenu {
    const char *nom = "";  ///< of the form
    int titre = 0;
    int sujet = 0;
    int legende_ancien = 0;  ///< 0: no old name is shown
    int legende = 0;
    QString ancien, propose;
    int limite = 0;
  };
  TNom(QWidget *parent, const Contenu &contenu);

  /// Looks at the name when the user takes it: false, after a message of its own, keeps the form open.
  std::function<bool(const QString &nom)> verifie;
  [[nodiscard]] QString saisi() const;
  /// An empty name beeps and stays.
  void accept() override;

 private:
  QLineEdit *champ_;
};

}  // namespace varnion
