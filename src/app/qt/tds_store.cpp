#include "app/qt/tds_store.hpp"

#include <array>
#include <string>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QTimer>
#include <QTreeWidget>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/ecran_ds.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "finder/fenetre_racine.hpp"
#include "finder/taille_image.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1510;
constexpr int kFiltreImage = 1531;
constexpr int kTitreImage = 1532;
constexpr int kModifier = 1533;
constexpr int kNom = 1535;
constexpr int kPositionV = 1536;
constexpr int kPositionH = 1537;
constexpr int kMasquer = 1539;
constexpr int kIndiceMasquer = 1540;
constexpr int kParcourir = 1060;
constexpr int kGroupeFenetre = 7260;
constexpr int kGauche = 7261;  // left, top, right, bottom, width, height
constexpr int kGroupeIcones = 7267;
constexpr int kTailleIcone = 7268;
constexpr int kTailleTexte = 7269;
constexpr int kEspacement = 7270;
constexpr int kGroupeImage = 7271;
constexpr int kDimensions = 7272;
constexpr int kGroupeElements = 7274;
constexpr int kMonter = 7275;
constexpr int kDescendre = 7276;
constexpr int kEnregistrer = 7277;
constexpr int kEcran = 7278;
constexpr int kColonneNom = 7279;
constexpr int kColonneH = 7280;
constexpr int kColonneV = 7281;
constexpr int kSansImage = 7282;

using Fixe = void (*)(ValeursFenetre &, int);
struct ChampRect {
  const char *nom;
  Fixe fixe;
  int (*valeur)(const RectEcran &);
};
constexpr std::array<ChampRect, 6> kChamps{{
    {"Gauche", fixe_gauche, [](const RectEcran &r) { return r.gauche; }},
    {"Haut", fixe_haut, [](const RectEcran &r) { return r.haut; }},
    {"Droite", fixe_droite, [](const RectEcran &r) { return r.droite; }},
    {"Bas", fixe_bas, [](const RectEcran &r) { return r.bas; }},
    {"Largeur", fixe_largeur, [](const RectEcran &r) { return r.largeur(); }},
    {"Hauteur", fixe_hauteur, [](const RectEcran &r) { return r.hauteur(); }},
}};

class FormeDs final : public Forme {
 public:
  FormeDs(TVarnion &fenetre, const ValeursFenetre &valeurs);
  [[nodiscard]] const ValeursFenetre &valeurs() const { return valeurs_; }

 protected:
  void accept() override;

 private:
  void construit_fenetre(QVBoxLayout *colonne);
  void construit_icones(QVBoxLayout *colonne);
  void construit_image(QVBoxLayout *colonne);
  void construit_elements(QVBoxLayout *colonne);
  void construit_volet(QVBoxLayout *colonne);
  void montre();
  void montre_elements();
  bool prend_image_choisie(const QString &chemin);
  void prend_image_tapee();
  void montre_image();
  void choisit_image();
  void deplace(int sens);
  void ouvre_volet();
  void montre_volet();
  void range_volet();
  [[nodiscard]] int rang() const;

  TVarnion &fenetre_;
  ValeursFenetre valeurs_;
  EcranDs *ecran_ = nullptr;
  std::array<QSpinBox *, 6> rect_{};
  QComboBox *icone_ = nullptr, *texte_ = nullptr;
  QSlider *espacement_ = nullptr;
  QLineEdit *image_ = nullptr;
  QLabel *dimensions_ = nullptr;
  QTreeWidget *liste_ = nullptr;
  QPushButton *monter_ = nullptr, *descendre_ = nullptr, *modifier_ = nullptr;
  QGroupBox *volet_ = nullptr;
  QLineEdit *nom_ = nullptr;
  QSpinBox *x_ = nullptr, *y_ = nullptr;
  int rang_volet_ = -1;
  bool refusee_ = false;  ///< the picture typed last, while the key that ended it is under way
};

FormeDs::FormeDs(TVarnion &fenetre, const ValeursFenetre &valeurs)
    : Forme(&fenetre, "TDS_Store", kTitre, sujet::kDispositionRacine), fenetre_(fenetre), valeurs_(valeurs) {
  auto *large = new QHBoxLayout;
  auto *gauche = new QVBoxLayout;
  auto *droite = new QVBoxLayout;
  ecran_ = new EcranDs;
  ecran_->setObjectName("Ecran");
  ecran_->setAccessibleName(chaine_qt(kEcran));
  ecran_->setToolTip(chaine_qt(kEcran));
  ecran_->deplace = [this](const RectEcran &rect) {
    valeurs_.rect = rect;
    valeurs_grille(valeurs_);
    montre();
  };
  gauche->addWidget(ecran_, 0, Qt::AlignTop);
  construit_image(gauche);
  gauche->addStretch(1);
  construit_fenetre(droite);
  construit_icones(droite);
  construit_elements(droite);
  construit_volet(droite);
  large->addLayout(gauche);
  large->addLayout(droite, 1);
  corps()->addLayout(large);
  boutons();
  bouton_accepter()->setObjectName("valid");
  montre();
  montre_elements();
  image_->setText(vers_qt(valeurs_.image));
  montre_image();
}

void FormeDs::construit_fenetre(QVBoxLayout *colonne) {
  auto *groupe = new QGroupBox(chaine_qt(kGroupeFenetre));
  auto *grille = new QGridLayout(groupe);
  for (std::size_t i = 0; i < kChamps.size(); ++i) {
    auto *champ = new QSpinBox;
    champ->setObjectName(kChamps[i].nom);
    champ->setRange(i < 4 ? 0 : 1, kCoordonneeEcranMax);
    champ->setKeyboardTracking(false);
    auto *legende = new QLabel(chaine_qt(kGauche + static_cast<int>(i)));
    legende->setBuddy(champ);
    const int ligne = static_cast<int>(i) / 2;
    const int place = static_cast<int>(i) % 2 * 2;
    grille->addWidget(legende, ligne, place);
    grille->addWidget(champ, ligne, place + 1);
    rect_[i] = champ;
    connect(champ, &QSpinBox::valueChanged, this, [this, i](int valeur) {
      ValeursFenetre essai = valeurs_;
      kChamps[i].fixe(essai, valeur);
      if (essai.valides()) valeurs_ = std::move(essai);
      montre();
    });
  }
  grille->setColumnStretch(1, 1);
  grille->setColumnStretch(3, 1);
  colonne->addWidget(groupe);
}

void FormeDs::construit_icones(QVBoxLayout *colonne) {
  QFormLayout *champs = groupe_champs(colonne, kGroupeIcones);
  icone_ = new QComboBox;
  icone_->setObjectName("TailleIcone");
  for (const int taille : kTaillesIcone) icone_->addItem(QString("%1 x %1").arg(taille));
  texte_ = new QComboBox;
  texte_->setObjectName("TailleTexte");
  for (const int taille : kTaillesTexte) texte_->addItem(QString::number(taille));
  espacement_ = new QSlider(Qt::Horizontal);
  espacement_->setObjectName("Espacement");
  espacement_->setRange(0, kEspacements - 1);
  espacement_->setPageStep(1);
  espacement_->setTickPosition(QSlider::TicksBelow);
  champs->addRow(chaine_qt(kTailleIcone), icone_);
  champs->addRow(chaine_qt(kTailleTexte), texte_);
  champs->addRow(chaine_qt(kEspacement), espacement_);
  const auto suit = [this](bool (*fixe)(ValeursFenetre &, int)) {
    return [this, fixe](int indice) {
      static_cast<void>(fixe(valeurs_, indice));
      montre();
    };
  };
  connect(icone_, &QComboBox::currentIndexChanged, this, suit(fixe_taille_icone));
  connect(texte_, &QComboBox::currentIndexChanged, this, suit(fixe_taille_texte));
  connect(espacement_, &QSlider::valueChanged, this, suit(fixe_espacement));
}

void FormeDs::construit_image(QVBoxLayout *colonne) {
  auto *groupe = new QGroupBox(chaine_qt(kGroupeImage));
  auto *grille = new QGridLayout(groupe);
  image_ = new QLineEdit;
  image_->setObjectName("Image");
  image_->setAccessibleName(chaine_qt(kGroupeImage));
  auto *parcourir = new QPushButton(chaine_qt(kParcourir));
  parcourir->setObjectName("browse");
  parcourir->setAutoDefault(false);
  auto *sans = new QPushButton(chaine_qt(kSansImage));
  sans->setObjectName("SansImage");
  sans->setAutoDefault(false);
  dimensions_ = new QLabel;
  dimensions_->setObjectName("Dimensions");
  grille->addWidget(image_, 0, 0, 1, 3);
  grille->addWidget(dimensions_, 1, 0);
  grille->addWidget(sans, 1, 1);
  grille->addWidget(parcourir, 1, 2);
  grille->setColumnStretch(0, 1);
  colonne->addWidget(groupe);
  connect(parcourir, &QPushButton::clicked, this, [this] { choisit_image(); });
  connect(sans, &QPushButton::clicked, this, [this] { prend_image_choisie({}); });
  connect(image_, &QLineEdit::editingFinished, this, [this] { prend_image_tapee(); });
}

void FormeDs::construit_elements(QVBoxLayout *colonne) {
  auto *groupe = new QGroupBox(chaine_qt(kGroupeElements));
  auto *grille = new QGridLayout(groupe);
  liste_ = new QTreeWidget;
  liste_->setObjectName("ListeElements");
  liste_->setAccessibleName(chaine_qt(kGroupeElements));
  liste_->setRootIsDecorated(false);
  liste_->setUniformRowHeights(true);
  liste_->setHeaderLabels({chaine_qt(kColonneNom), chaine_qt(kColonneH), chaine_qt(kColonneV)});
  liste_->header()->setStretchLastSection(false);
  liste_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  liste_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  liste_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
  const auto ajoute = [&](QPushButton *&bouton, int legende, const char *nom, int ligne) {
    bouton = new QPushButton(chaine_qt(legende));
    bouton->setObjectName(nom);
    bouton->setAutoDefault(false);
    grille->addWidget(bouton, 1, ligne);
  };
  grille->addWidget(liste_, 0, 0, 1, 3);
  ajoute(monter_, kMonter, "Monter", 0);
  ajoute(descendre_, kDescendre, "Descendre", 1);
  ajoute(modifier_, kModifier, "Modifier", 2);
  colonne->addWidget(groupe, 1);
  connect(monter_, &QPushButton::clicked, this, [this] { deplace(-1); });
  connect(descendre_, &QPushButton::clicked, this, [this] { deplace(1); });
  connect(modifier_, &QPushButton::clicked, this, [this] { ouvre_volet(); });
  connect(liste_, &QTreeWidget::itemDoubleClicked, this, [this] { ouvre_volet(); });
  auto *edite = new QAction(chaine_qt(kModifier), liste_);
  edite->setObjectName("EditerElement");
  connect(edite, &QAction::triggered, this, [this] { ouvre_volet(); });
  liste_->addAction(edite);
  liste_->setContextMenuPolicy(Qt::ActionsContextMenu);
  connect(liste_, &QTreeWidget::itemSelectionChanged, this, [this] {
    monter_->setEnabled(rang() > 0);
    descendre_->setEnabled(rang() >= 0 && rang() + 1 < liste_->topLevelItemCount());
    modifier_->setEnabled(rang() >= 0);
    if (!volet_->isHidden() && rang() >= 0) ouvre_volet();
  });
}

void FormeDs::construit_volet(QVBoxLayout *colonne) {
  QFormLayout *champs = groupe_champs(colonne, kModifier);
  volet_ = qobject_cast<QGroupBox *>(champs->parentWidget());
  volet_->setObjectName("Volet");
  nom_ = new QLineEdit;
  nom_->setObjectName("NomElement");
  nom_->setReadOnly(true);
  y_ = new QSpinBox;
  y_->setObjectName("PositionV");
  x_ = new QSpinBox;
  x_->setObjectName("PositionH");
  for (QSpinBox *champ : {x_, y_}) champ->setRange(0, kCoordonneeEcranMax);
  champs->addRow(chaine_qt(kNom), nom_);
  champs->addRow(chaine_qt(kPositionV), y_);
  champs->addRow(chaine_qt(kPositionH), x_);
  auto *rangee = new QHBoxLayout;
  auto *garde = new QPushButton(chaine_qt(kEnregistrer));
  garde->setObjectName("EnregistrerElement");
  auto *masque = new QPushButton(chaine_qt(kMasquer));
  masque->setObjectName("MasquerVolet");
  masque->setToolTip(chaine_qt(kIndiceMasquer));
  for (QPushButton *bouton : {garde, masque}) bouton->setAutoDefault(false);
  rangee->addStretch(1);
  rangee->addWidget(garde);
  rangee->addWidget(masque);
  champs->addRow(rangee);
  volet_->hide();
  connect(garde, &QPushButton::clicked, this, [this] { range_volet(); });
  connect(masque, &QPushButton::clicked, this, [this] {
    range_volet();
    volet_->hide();
  });
}

int FormeDs::rang() const {
  const auto choisis = liste_->selectedItems();
  return choisis.isEmpty() ? -1 : liste_->indexOfTopLevelItem(choisis.first());
}

// The fields, the drawing and the places in the list, from the values.
void FormeDs::montre() {
  for (std::size_t i = 0; i < kChamps.size(); ++i) {
    const QSignalBlocker muet(rect_[i]);
    rect_[i]->setValue(kChamps[i].valeur(valeurs_.rect));
  }
  const QSignalBlocker muet_icone(icone_);
  const QSignalBlocker muet_texte(texte_);
  const QSignalBlocker muet_espacement(espacement_);
  icone_->setCurrentIndex(valeurs_.taille_icone);
  texte_->setCurrentIndex(valeurs_.taille_texte);
  espacement_->setValue(valeurs_.espacement);
  ecran_->montre(valeurs_);
  for (int i = 0; i < liste_->topLevelItemCount(); ++i) {
    const ElementFenetre &element = valeurs_.elements[static_cast<std::size_t>(i)];
    liste_->topLevelItem(i)->setText(1, QString::number(element.x));
    liste_->topLevelItem(i)->setText(2, QString::number(element.y));
  }
  if (!volet_->isHidden()) montre_volet();
}

// The element of the pane, wherever it has come to stand.
void FormeDs::montre_volet() {
  if (rang_volet_ < 0 || static_cast<std::size_t>(rang_volet_) >= valeurs_.elements.size()) return;
  const ElementFenetre &element = valeurs_.elements[static_cast<std::size_t>(rang_volet_)];
  nom_->setText(vers_qt(element.nom));
  x_->setValue(element.x);
  y_->setValue(element.y);
}

void FormeDs::montre_elements() {
  const int choisi = rang();
  liste_->clear();
  for (const ElementFenetre &element : valeurs_.elements) {
    auto *ligne = new QTreeWidgetItem(
        liste_, {vers_qt(element.nom), QString::number(element.x), QString::number(element.y)});
    ligne->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    ligne->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
  }
  for (QPushButton *bouton : {monter_, descendre_, modifier_}) bouton->setEnabled(false);
  if (choisi >= 0 && choisi < liste_->topLevelItemCount())
    liste_->setCurrentItem(liste_->topLevelItem(choisi));
}

// A picture that cannot be read leaves the field as it was.
bool FormeDs::prend_image_choisie(const QString &chemin) {
  const QString avant = vers_qt(valeurs_.image);
  if (!prend_image(valeurs_, de_qt(chemin))) {
    image_->setText(avant);
    return false;
  }
  image_->setText(chemin);
  montre_image();
  montre();
  return true;
}

// Return or the button that ended the field must not take the form with another picture than the one typed.
void FormeDs::prend_image_tapee() {
  if (image_->text() == vers_qt(valeurs_.image) || prend_image_choisie(image_->text())) return;
  refusee_ = true;
  QTimer::singleShot(0, this, [this] { refusee_ = false; });
}

void FormeDs::montre_image() {
  dimensions_->clear();
  const auto taille = valeurs_.image.empty() ? std::nullopt : taille_image(valeurs_.image);
  if (!taille) return ecran_->image({});
  const int largeur = static_cast<int>(taille->largeur);
  const int hauteur = static_cast<int>(taille->hauteur);
  dimensions_->setText(vers_qt(message(kDimensions, {largeur, hauteur})));
  QImageReader lecteur(vers_qt(valeurs_.image));
  lecteur.setDecideFormatFromContent(true);
  lecteur.setScaledSize(QSize(largeur, hauteur) / kEchelleDessin);
  ecran_->image(QPixmap::fromImage(lecteur.read()));
}

void FormeDs::choisit_image() {
  const QString depart = image_->text().isEmpty() ? depart_documents() : image_->text();
  const QString choisi = fenetre_.demandes.ouvrir(kTitreImage, kFiltreImage, depart);
  if (choisi.isEmpty()) return;
  if (const auto chemin = chemin_argument(choisi.toStdString())) prend_image_choisie(vers_qt(*chemin));
}

void FormeDs::deplace(int sens) {
  const int ici = rang();
  if (ici < 0 || !deplace_element(valeurs_, static_cast<std::size_t>(ici), sens)) return;
  montre_elements();
  liste_->setCurrentItem(liste_->topLevelItem(ici + sens));
  montre();
}

void FormeDs::ouvre_volet() {
  rang_volet_ = rang();
  if (rang_volet_ < 0) return;
  montre_volet();
  volet_->show();
  y_->setFocus();
}

void FormeDs::range_volet() {
  if (rang_volet_ < 0 || static_cast<std::size_t>(rang_volet_) >= valeurs_.elements.size()) return;
  ElementFenetre &element = valeurs_.elements[static_cast<std::size_t>(rang_volet_)];
  element.x = x_->value();
  element.y = y_->value();
  montre();
}

void FormeDs::accept() {
  if (refusee_) return;
  if (!volet_->isHidden()) range_volet();
  if (!valeurs_.valides()) {
    QApplication::beep();
    return;
  }
  Forme::accept();
}

}  // namespace

std::optional<ValeursFenetre> dispose_fenetre(TVarnion &fenetre, const ValeursFenetre &valeurs) {
  FormeDs forme(fenetre, valeurs);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.valeurs();
}

}  // namespace varnion
