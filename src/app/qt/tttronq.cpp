#include "app/qt/tttronq.hpp"

#include <algorithm>

#include <QAbstractButton>
#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "projet/noms_rubrique.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitreNomPc = 1136;
constexpr int kNomMac = 1137;
constexpr int kNomPcLegende = 1138;
constexpr int kTitreHfsplus = 1279;
constexpr int kTitreIso = 1280;
constexpr int kAutomatique = 1281;
constexpr int kTitreHfs = 1282;
constexpr int kOriginal = 1283;
constexpr int kTronque = 1284;
constexpr int kTitreVolume = 1490;
constexpr int kCoupe31 = 1494;
constexpr int kAvecCrc = 1495;
constexpr int kRetient = 1496;
constexpr int kLettresChamp = 40;     // in sight at least
constexpr int kLettresChampMax = 90;  // and at most
constexpr int kLettresMarge = 4;
constexpr std::size_t kLimiteChamp = 255;

// What is asked, by the caption.
int genre_de(std::string_view legende) {
  for (const int titre : {kTitreVolume, kTitreIso, kTitreHfs, kTitreHfsplus, kTitreNomPc})
    if (legende == charger_chaine(titre)) return titre;
  return 0;
}

const char *nom_forme(int genre) {
  if (genre == kTitreNomPc) return "TNomPC";
  return genre == kTitreIso || genre == kTitreHfs || genre == kTitreHfsplus ? "TTroncature" : "TTTronq";
}

// The flag that the box "Truncate automatically" sets.
bool *drapeau(int genre) {
  TroncatureNoms &retenues = troncature_noms();
  if (genre == kTitreIso) return &retenues.iso;
  if (genre == kTitreHfs) return &retenues.hfs;
  return genre == kTitreHfsplus ? &retenues.hfsplus : nullptr;
}

class FormeNom final : public Forme {
 public:
  FormeNom(QWidget *parent, int genre, const QString &original, const QString &propose, int limite)
      : Forme(parent, nom_forme(genre), genre != 0 ? genre : kTitreVolume,
              genre == kTitreNomPc ? sujet::kNomPc : sujet::kTroncature),
        genre_(genre),
        champ_(new QLineEdit(propose)) {
    auto *ancien = new QLineEdit(original);
    ancien->setObjectName("NomOriginal");
    ancien->setReadOnly(true);
    ancien->setFocusPolicy(Qt::ClickFocus);
    ancien->setCursorPosition(0);
    ancien->setToolTip(original.toHtmlEscaped());
    champ_->setObjectName("EditNom");
    champ_->setMaxLength(limite);
    const QFontMetrics lettres = champ_->fontMetrics();
    const int voulu = lettres.horizontalAdvance(original) + lettres.averageCharWidth() * kLettresMarge;
    champ_->setMinimumWidth(std::clamp(voulu, lettres.averageCharWidth() * kLettresChamp,
                                       lettres.averageCharWidth() * kLettresChampMax));
    auto *champs = new QFormLayout;
    champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    champs->addRow(chaine_qt(genre == kTitreNomPc ? kNomMac : kOriginal), ancien);
    champs->addRow(chaine_qt(genre == kTitreNomPc ? kNomPcLegende : kTronque), champ_);
    corps()->addLayout(champs);
    if (genre == kTitreVolume) ajoute_methodes();
    if (drapeau(genre) != nullptr) toujours_ = case_a_cocher(kAutomatique, "Automatique");
    boutons();
    connect(champ_, &QLineEdit::textChanged, this, [this] { rafraichit(); });
    rafraichit();
    champ_->selectAll();
    champ_->setFocus();
  }

  [[nodiscard]] QString saisi() const { return champ_->text(); }

  /// What the boxes say, once the form was taken.
  void retient() const {
    if (toujours_ != nullptr && toujours_->isChecked()) *drapeau(genre_) = true;
    if (coupe_ == nullptr) return;
    const bool coupe = coupe_->isChecked();
    const bool avec_crc = coupe && crc_->isChecked();
    choix_troncature().methode = avec_crc ? MethodeTroncature::crc
                                 : coupe  ? MethodeTroncature::coupe
                                          : MethodeTroncature::saisie;
    if (!coupe || !garde_->isChecked()) return;
    std::uint32_t &options = etat<OptionsProgramme>().options;
    options &= ~kOptionTroncatureCrc;
    options |= kOptionTroncatureAuto | (avec_crc ? kOptionTroncatureCrc : 0);
  }

 private:
  QCheckBox *case_a_cocher(int legende, const char *nom) {
    auto *coche = new QCheckBox(chaine_qt(legende));
    coche->setObjectName(nom);
    corps()->addWidget(coche);
    return coche;
  }
  // The other two boxes belong to the first.
  void ajoute_methodes() {
    coupe_ = case_a_cocher(kCoupe31, "Coupe31");
    crc_ = case_a_cocher(kAvecCrc, "AvecCrc");
    garde_ = case_a_cocher(kRetient, "Retient");
    connect(coupe_, &QCheckBox::toggled, this, [this] { rafraichit(); });
  }
  void rafraichit() {
    const bool coupe = coupe_ != nullptr && coupe_->isChecked();
    if (coupe_ != nullptr) {
      crc_->setEnabled(coupe);
      garde_->setEnabled(coupe);
      champ_->setEnabled(!coupe);
    }
    bouton_accepter()->setEnabled(coupe || !champ_->text().isEmpty());
  }

  int genre_;
  QLineEdit *champ_;
  QCheckBox *toujours_ = nullptr;
  QCheckBox *coupe_ = nullptr;
  QCheckBox *crc_ = nullptr;
  QCheckBox *garde_ = nullptr;
};

}  // namespace

bool saisit_nom_tronque(QWidget *parent, std::string_view legende, std::string &nom, std::size_t limite) {
  const auto lettres = static_cast<int>(std::min(limite, kLimiteChamp));
  FormeNom forme(parent, genre_de(legende), vers_qt(nom), vers_qt(coupe_nom(nom, limite)), lettres);
  if (forme.exec() != QDialog::Accepted) return false;
  forme.retient();
  nom = de_qt(forme.saisi());
  return true;
}

}  // namespace varnion
