#include "app/qt/tsignature.hpp"

#include <algorithm>

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/noyau/actions_edition.hpp"
#include "app/qt/champs_mac.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/ttable_signatures.hpp"
#include "hfs/texte_mac.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1250;
constexpr int kBoutonChanger = 1251;
constexpr int kBoutonIgnorer = 1252;
constexpr int kBoutonChangerTout = 1253;
constexpr int kBoutonIgnorerTout = 1254;
constexpr int kAncienne = 1255;
constexpr int kNouvelle = 1256;
constexpr int kExplication = 1257;
constexpr int kCreateur = 1210;
constexpr int kType = 1211;
constexpr int kIndiceTable = 7105;
constexpr int kNomFichier = 1209;

class TSignature final : public Forme {
 public:
  TSignature(QWidget *parent, const QString &nom, Signature &signature);

  int choix = kIgnorerTout;

 private:
  void conclut(int voulu);
  void choisit();

  Signature &signature_;
  QLineEdit *type_ = nullptr, *createur_ = nullptr;
};

TSignature::TSignature(QWidget *parent, const QString &nom, Signature &signature)
    : Forme(parent, "TSignature", kTitre, sujet::kEditionSignature), signature_(signature) {
  const auto type = std::span<const std::uint8_t, 8>(signature).first<4>();
  const auto createur = std::span<const std::uint8_t, 8>(signature).last<4>();
  corps()->addWidget(new QLabel(chaine_qt(kExplication)));
  auto *tete = new QFormLayout;
  tete->addRow(chaine_qt(kNomFichier), texte_fixe(nom, "Nom"));
  corps()->addLayout(tete);
  auto *rangee = new QHBoxLayout;
  auto *gauche = new QVBoxLayout, *droite = new QVBoxLayout;
  rangee->addLayout(gauche, 1);
  rangee->addLayout(droite, 1);
  corps()->addLayout(rangee);
  QFormLayout *ancienne = groupe_champs(gauche, kAncienne);
  ancienne->addRow(chaine_qt(kType), texte_fixe(texte_code(type), "AncienType"));
  ancienne->addRow(chaine_qt(kCreateur), texte_fixe(texte_code(createur), "AncienCreateur"));
  QFormLayout *nouvelle = groupe_champs(droite, kNouvelle);
  type_ = champ_code(type, "Type");
  createur_ = champ_code(createur, "Createur");
  nouvelle->addRow(chaine_qt(kType), type_);
  nouvelle->addRow(chaine_qt(kCreateur), createur_);
  auto *table = new QPushButton(">>");
  table->setObjectName("TableS");
  table->setToolTip(chaine_qt(kIndiceTable));
  table->setAccessibleName(chaine_qt(kIndiceTable));
  table->setAutoDefault(false);
  connect(table, &QPushButton::clicked, this, &TSignature::choisit);
  nouvelle->addRow(QString(), table);
  boutons(0, 0);
  const auto ajoute = [this](int legende, const char *nom_bouton, int voulu) {
    QAbstractButton *bouton_choix = bouton(legende, nom_bouton);
    connect(bouton_choix, &QAbstractButton::clicked, this, [this, voulu] { conclut(voulu); });
    return static_cast<QPushButton *>(bouton_choix);
  };
  ajoute(kBoutonChanger, "Changer", kChanger)->setDefault(true);
  ajoute(kBoutonChangerTout, "ChangerTout", kChangerTout);
  ajoute(kBoutonIgnorer, "Ignorer", kIgnorer);
  ajoute(kBoutonIgnorerTout, "IgnorerTout", kIgnorerTout);
  type_->setFocus();
  type_->selectAll();
}

void TSignature::choisit() {
  const auto choisie =
      choisit_signature(this, {reinterpret_cast<const char *>(signature_.data()), signature_.size()});
  if (!choisie) return;
  type_->setText(QString::fromStdString(mac_vers_utf8(choisie->substr(0, 4))));
  createur_->setText(QString::fromStdString(mac_vers_utf8(choisie->substr(4, 4))));
}

void TSignature::conclut(int voulu) {
  if (voulu > kIgnorer) {
    bool change = false;
    std::size_t rang = 0;
    for (QLineEdit *champ : {type_, createur_}) {
      const auto depart = std::span<const std::uint8_t, 8>(signature_).subspan(rang).first<4>();
      if (champ->text() != texte_code(depart)) {
        const auto code = code_tape(champ->text().toStdString());
        if (!code) return champ->setFocus();
        std::copy(code->begin(), code->end(), signature_.begin() + static_cast<std::ptrdiff_t>(rang));
        change = true;
      }
      rang += 4;
    }
    if (!change) voulu = kIgnorer;
  }
  choix = voulu;
  accept();
}

}  // namespace

int edite_signature(QWidget *parent, const QString &nom, Signature &signature) {
  TSignature forme(parent, nom, signature);
  return forme.exec() == QDialog::Accepted ? forme.choix : kIgnorerTout;
}

}  // namespace varnion
