#include "app/qt/tproprietes.hpp"

#include <algorithm>
#include <array>
#include <string>

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/noyau/actions_edition.hpp"
#include "app/noyau/actions_volume.hpp"
#include "app/qt/champs_mac.hpp"
#include "app/qt/forme_ecriture.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/talias.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/ttable_signatures.hpp"
#include "hfs/extents.hpp"
#include "hfs/texte_mac.hpp"
#include "noms/regles.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitreFichier = 1202;
constexpr int kTitreDossier = 1375;
constexpr int kFermer = 1000;
constexpr int kEcrire = 1212;
constexpr int kToutFermer = 7102;
constexpr int kRangSur = 7103;
constexpr int kIndiceTable = 7105;
constexpr int kIndicesDrapeaux = 7106;  // and the fifteen that follow: bits 0 to 15
constexpr int kCreation = 1203;
constexpr int kModification = 1204;
constexpr std::size_t kNomHfsPlusMax = 255;
constexpr std::uint16_t kIconePropre = 0x0400;
constexpr std::uint16_t kInvisible = 0x4000;
constexpr std::uint16_t kEstAlias = 0x8000;
constexpr int kPremierDrapeau = 554;  // name of the check box of bit 0
constexpr std::array<const char *, 16> kLettres{"R", "C1", "C2", "C3", "E", "R", "S", "I",
                                                "I", "R",  "C",  "T",  "L", "B", "H", "A"};

// The type that the Finder gives to aliases, or its flag.
bool est_alias(const ElementMac &element) {
  static constexpr std::array<std::uint8_t, 4> kType{'a', 'd', 'r', 'p'};
  return element.fichier() && (element.type == kType || (element.drapeaux_finder & kEstAlias) != 0);
}

// The four bytes that a field stands for while it is typed in: blanks at the end, no message.
std::string code_provisoire(const QString &texte) {
  std::string code = utf8_vers_mac(texte.toStdString()).value_or("????");
  code.resize(4, ' ');
  return code;
}

class TProprietes final : public FormeEcriture {
 public:
  TProprietes(QWidget *parent, const ElementMac &element, const OptionsProprietes &options);

  void accept() override;
  [[nodiscard]] bool tout_ferme() const { return tout_ferme_; }

 private:
  void construit_nom(QFormLayout &champs);
  void construit_signature(QFormLayout &champs);
  void construit_contenu(QFormLayout &champs);
  void construit_drapeaux_simples(QFormLayout &champs);
  QWidget *construit_avance();
  QWidget *construit_drapeaux();
  void construit_boutons();
  void montre_identification();
  void choisit();
  void suit();
  [[nodiscard]] bool code_change(const QLineEdit *champ, std::span<const std::uint8_t, 4> depart) const;
  [[nodiscard]] std::uint16_t drapeaux() const;
  [[nodiscard]] bool change() const;
  [[nodiscard]] std::optional<DemandeProprietes> demande() const;

  const ElementMac &element_;
  const OptionsProprietes &options_;
  bool tout_ferme_ = false;
  QLineEdit *nom_ = nullptr;
  QString nom_depart_;
  QLineEdit *createur_ = nullptr, *type_ = nullptr;
  QLabel *identification_ = nullptr;
  QCheckBox *cache_ = nullptr, *icone_ = nullptr;
  std::array<QCheckBox *, 16> bits_{};
  ChampsDate creation_, modification_;
};

TProprietes::TProprietes(QWidget *parent, const ElementMac &element, const OptionsProprietes &options)
    : FormeEcriture(parent, element.dossier ? "TPropDossier" : "TPropFichier",
                    element.dossier ? kTitreDossier : kTitreFichier,
                    element.dossier ? sujet::kProprietesDossier : sujet::kProprietesFichier),
      element_(element),
      options_(options),
      creation_(element.creation, "Creation"),
      modification_(element.modification, "Modification") {
  if (options.total > 1)
    setWindowTitle(windowTitle() + " - " + vers_qt(message(kRangSur, {options.rang, options.total})));
  auto *rangee = new QHBoxLayout;
  rangee->setSpacing(18);
  corps()->addLayout(rangee);
  auto *gauche = new QWidget;
  auto *champs = new QFormLayout(gauche);
  champs->setContentsMargins(0, 0, 0, 0);
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  construit_nom(*champs);
  if (element.fichier()) construit_signature(*champs);
  champs->addRow(chaine_qt(kCreation),
                 texte_fixe(date_liste(element.creation, element.hfsplus), "TexteCreation"));
  champs->addRow(chaine_qt(kModification),
                 texte_fixe(date_liste(element.modification, element.hfsplus), "TexteModification"));
  construit_contenu(*champs);
  construit_drapeaux_simples(*champs);
  rangee->addWidget(gauche, 1);
  QWidget *avance = construit_avance();
  rangee->addWidget(avance);
  construit_boutons();
  ajoute_avance(avance);
  suit();
  nom_->setFocus();
}

void TProprietes::construit_nom(QFormLayout &champs) {
  nom_ = new QLineEdit(QString::fromStdString(element_.nom_utf8()));
  nom_->setObjectName("Nom");
  nom_->setMaxLength(static_cast<int>(element_.hfsplus ? kNomHfsPlusMax : kNomHfsMax));
  nom_->setMinimumWidth(nom_->fontMetrics().averageCharWidth() * 34);
  nom_->setCursorPosition(0);
  nom_->setReadOnly(options_.lecture_seule || element_.id == kIdRacine);
  nom_depart_ = nom_->text();
  connect(nom_, &QLineEdit::textChanged, this, [this] { suit(); });
  champs.addRow(chaine_qt(element_.dossier ? 1378 : 1209), nom_);
}

void TProprietes::construit_signature(QFormLayout &champs) {
  createur_ = champ_code(element_.createur, "Createur");
  type_ = champ_code(element_.type, "Type");
  for (QLineEdit *champ : {createur_, type_}) {
    champ->setReadOnly(options_.lecture_seule);
    connect(champ, &QLineEdit::textChanged, this, [this] {
      montre_identification();
      suit();
    });
  }
  auto *table = new QPushButton(">>");
  table->setObjectName("TableS");
  table->setToolTip(chaine_qt(kIndiceTable));
  table->setAccessibleName(chaine_qt(kIndiceTable));
  table->setAutoDefault(false);
  table->setEnabled(!options_.lecture_seule);
  connect(table, &QPushButton::clicked, this, &TProprietes::choisit);
  auto *rangee = new QHBoxLayout;
  rangee->addWidget(type_, 1);
  rangee->addWidget(table);
  identification_ = static_cast<QLabel *>(texte_fixe({}, "Identification"));
  champs.addRow(chaine_qt(1210), createur_);
  champs.addRow(chaine_qt(1211), rangee);
  // The label of a row finds its field by itself only when the field is a widget.
  static_cast<QLabel *>(champs.labelForField(rangee))->setBuddy(type_);
  champs.addRow(chaine_qt(1220), identification_);
  montre_identification();
}

void TProprietes::montre_identification() {
  const auto octets = [this](const QLineEdit *champ, std::span<const std::uint8_t, 4> depart) {
    if (code_change(champ, depart)) return code_provisoire(champ->text());
    return std::string(depart.begin(), depart.end());
  };
  identification_->setText(
      vers_qt(commentaire_de_signature(octets(type_, element_.type) + octets(createur_, element_.createur))));
}

void TProprietes::choisit() {
  const auto choisie =
      choisit_signature(this, code_provisoire(type_->text()) + code_provisoire(createur_->text()));
  if (!choisie) return;
  type_->setText(QString::fromStdString(mac_vers_utf8(choisie->substr(0, 4))));
  createur_->setText(QString::fromStdString(mac_vers_utf8(choisie->substr(4, 4))));
}

void TProprietes::construit_contenu(QFormLayout &champs) {
  const QString numero = QString::number(element_.id);
  if (element_.dossier) {
    champs.addRow(chaine_qt(1376),
                  texte_fixe(QString::number(element_.valence) + chaine_qt(1380), "Contenu"));
    champs.addRow(chaine_qt(1377), texte_fixe(numero, "Numero"));
    return;
  }
  const auto taille = [](std::uint64_t octets) { return vers_qt(taille_liste(octets)); };
  const std::uint64_t donnees = element_.donnees.longueur, ressources = element_.ressources.longueur;
  champs.addRow(chaine_qt(1206), texte_fixe(taille(donnees + ressources), "Longueur"));
  champs.addRow(chaine_qt(1207), texte_fixe(taille(donnees), "LongueurData"));
  champs.addRow(chaine_qt(1208), texte_fixe(taille(ressources), "LongueurRsrc"));
  champs.addRow(chaine_qt(1217), lignes_fixes(texte_extents(element_, kFourcheDonnees), "ExtentsData"));
  champs.addRow(chaine_qt(1218), lignes_fixes(texte_extents(element_, kFourcheRessources), "ExtentsRsrc"));
  champs.addRow(chaine_qt(1216), texte_fixe(numero, "Numero"));
}

void TProprietes::construit_drapeaux_simples(QFormLayout &champs) {
  cache_ = new QCheckBox(chaine_qt(1381));
  icone_ = new QCheckBox(chaine_qt(1382));
  cache_->setObjectName("Cache");
  icone_->setObjectName("IconePropre");
  cache_->setChecked((element_.drapeaux_finder & kInvisible) != 0);
  icone_->setChecked((element_.drapeaux_finder & kIconePropre) != 0);
  auto *rangee = new QHBoxLayout;
  for (QCheckBox *boite : {cache_, icone_}) {
    boite->setEnabled(!options_.lecture_seule);
    rangee->addWidget(boite);
  }
  rangee->addStretch(1);
  champs.addRow(rangee);
}

QWidget *TProprietes::construit_avance() {
  auto *avance = new QWidget;
  avance->setObjectName("PanneauAvance");
  auto *colonne = new QVBoxLayout(avance);
  colonne->setContentsMargins(0, 0, 0, 0);
  auto *dates = new QFormLayout;
  for (const auto &[legende, champs] :
       {std::pair{kCreation, &creation_}, std::pair{kModification, &modification_}}) {
    dates->addRow(chaine_qt(legende), champs->ligne());
    champs->quand_change([this] { suit(); });
    if (options_.lecture_seule) champs->lecture_seule();
  }
  colonne->addLayout(dates);
  colonne->addWidget(construit_drapeaux());
  colonne->addStretch(1);
  return avance;
}

QWidget *TProprietes::construit_drapeaux() {
  auto *groupe = new QGroupBox(chaine_qt(1473));
  auto *colonne = new QVBoxLayout(groupe);
  auto *edition = new QCheckBox(chaine_qt(1458));
  edition->setObjectName("EditionDrapeaux");
  edition->setEnabled(!options_.lecture_seule);
  colonne->addWidget(edition);
  auto *grille = new QGridLayout;
  colonne->addLayout(grille);
  for (std::size_t rang = 0; rang < bits_.size(); ++rang) {
    const int bit = static_cast<int>(rang);
    auto *boite = new QCheckBox(kLettres[rang]);
    boite->setObjectName(QString::number(kPremierDrapeau + bit));
    boite->setToolTip(chaine_qt(kIndicesDrapeaux + bit));
    boite->setAccessibleName(chaine_qt(kIndicesDrapeaux + bit));
    boite->setChecked((element_.drapeaux_finder >> rang & 1) != 0);
    boite->setEnabled(false);
    grille->addWidget(boite, bit / 4, bit % 4);
    connect(boite, &QCheckBox::toggled, this, [this] { suit(); });
    connect(edition, &QCheckBox::toggled, boite, &QCheckBox::setEnabled);
    bits_[rang] = boite;
  }
  // Two flags have a box of their own outside: both show the same.
  for (const auto &[boite, rang] : {std::pair{icone_, 10}, std::pair{cache_, 14}}) {
    QCheckBox *bit = bits_[static_cast<std::size_t>(rang)];
    connect(boite, &QCheckBox::toggled, bit, &QCheckBox::setChecked);
    connect(bit, &QCheckBox::toggled, boite, &QCheckBox::setChecked);
  }
  return groupe;
}

void TProprietes::construit_boutons() {
  if (est_alias(element_))
    connect(bouton(1213, "EditAlias"), &QAbstractButton::clicked, this,
            [this] { static_cast<void>(montre_alias(this, element_)); });
  boutons(kEcrire, kFermer);
  if (options_.rang >= options_.total) return;
  connect(bouton(kToutFermer, "ToutFermer"), &QAbstractButton::clicked, this, [this] {
    tout_ferme_ = true;
    reject();
  });
}

std::uint16_t TProprietes::drapeaux() const {
  unsigned mot = 0;
  for (std::size_t rang = 0; rang < bits_.size(); ++rang)
    if (bits_[rang]->isChecked()) mot |= 1U << rang;
  return static_cast<std::uint16_t>(mot);
}

bool TProprietes::code_change(const QLineEdit *champ, std::span<const std::uint8_t, 4> depart) const {
  return champ != nullptr && champ->text() != texte_code(depart);
}

bool TProprietes::change() const {
  return nom_->text() != nom_depart_ || code_change(type_, element_.type) ||
         code_change(createur_, element_.createur) || creation_.change() || modification_.change() ||
         drapeaux() != element_.drapeaux_finder;
}

void TProprietes::suit() {
  if (bouton_accepter() != nullptr) bouton_accepter()->setEnabled(!options_.lecture_seule && change());
}

// nullopt, with the field at fault in focus, when something typed makes no sense.
std::optional<DemandeProprietes> TProprietes::demande() const {
  DemandeProprietes demande;
  if (nom_->text() != nom_depart_) demande.nom = nom_->text();
  const auto code = [this](QLineEdit *champ, std::span<const std::uint8_t, 4> depart, auto &sortie) {
    if (!code_change(champ, depart)) return true;
    sortie = code_tape(champ->text().toStdString());
    if (!sortie) champ->setFocus();
    return sortie.has_value();
  };
  const auto date = [](const ChampsDate &champs, auto &sortie) {
    if (!champs.change()) return true;
    sortie = champs.date();
    if (sortie) return true;
    QApplication::beep();
    champs.montre_faute();
    return false;
  };
  if (!code(createur_, element_.createur, demande.attributs.createur) ||
      !code(type_, element_.type, demande.attributs.type) || !date(creation_, demande.attributs.creation) ||
      !date(modification_, demande.attributs.modification))
    return std::nullopt;
  if (drapeaux() != element_.drapeaux_finder) demande.attributs.drapeaux = drapeaux();
  return demande;
}

void TProprietes::accept() {
  if (options_.lecture_seule || !change()) return;
  if (nom_->text().isEmpty()) {
    QApplication::beep();
    nom_->setFocus();
    return;
  }
  const auto voulu = demande();
  if (voulu) ecrit_et_ferme([&] { return options_.ecrit(*voulu); });
}

}  // namespace

bool DemandeProprietes::vide() const {
  return !nom && !attributs.type && !attributs.createur && !attributs.drapeaux && !attributs.creation &&
         !attributs.modification && !attributs.verrouille;
}

SuiteProprietes montre_proprietes_mac(QWidget *parent, const ElementMac &element,
                                      const OptionsProprietes &options) {
  TProprietes forme(parent, element, options);
  if (forme.exec() == QDialog::Accepted) return SuiteProprietes::ecrit;
  return forme.tout_ferme() ? SuiteProprietes::tout_ferme : SuiteProprietes::ferme;
}

}  // namespace varnion
