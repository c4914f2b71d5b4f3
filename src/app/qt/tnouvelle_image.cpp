#include "app/qt/tnouvelle_image.hpp"

#include <algorithm>

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "hfs/creation.hpp"
#include "IO/etat.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1064;
constexpr int kTaille = 1065;
constexpr int kLabel = 1066;
constexpr int kCreer = 1067;
constexpr int kAbandon = 1068;
constexpr int kPourObtenir = 1069;
constexpr int kEffacer = 1071;
constexpr int kBlocPour = 1072;
constexpr int kManquePlace = 1073;
constexpr int kSansTitre = 1287;
constexpr int kHfsplus = 1383;
constexpr int kTailleHors = 6021;  // smallest, largest
constexpr int kNomFaux = 7400;
constexpr int kBlocs = 7062;       // number, size
constexpr int kTailleBloc = 7063;  // format, megabytes, size
constexpr int kRegletteMax = 700;
constexpr int kPasReglette = 50;
constexpr int kTailleProposee = 20;
constexpr int kLettresReglette = 30;
constexpr unsigned kMegaBits = 20;

}  // namespace

TNouvelleImage::TNouvelleImage(QWidget *parent, std::string chemin)
    : Forme(parent, "TNouvelleImage", kTitre, sujet::kNouvelleImage),
      chemin_(std::move(chemin)),
      label_(new QLineEdit(chaine_qt(kSansTitre))),
      taille_(new QSpinBox),
      reglette_(new QSlider(Qt::Horizontal)),
      effacer_(new QCheckBox(chaine_qt(kEffacer))),
      hfsplus_(new QCheckBox(chaine_qt(kHfsplus))),
      blocs_(new QLabel),
      taille_bloc_(new QLabel) {
  label_->setObjectName("EditLabel");
  label_->setMaxLength(static_cast<int>(kNomVolumeHfsMax));
  taille_->setObjectName("EditTaille");
  taille_->setRange(1, static_cast<int>(kTailleMoMaxHfsplus));
  taille_->setValue(kTailleProposee);
  reglette_->setObjectName("Reglette");
  reglette_->setAccessibleName(chaine_qt(kTaille));
  reglette_->setRange(1, kRegletteMax);
  reglette_->setPageStep(kPasReglette);
  reglette_->setTickInterval(kPasReglette);
  reglette_->setTickPosition(QSlider::TicksBelow);
  reglette_->setValue(kTailleProposee);
  reglette_->setMinimumWidth(fontMetrics().averageCharWidth() * kLettresReglette);
  effacer_->setObjectName("Effacer");
  hfsplus_->setObjectName("HfsPlus");
  hfsplus_->setChecked((etat<OptionsProgramme>().vn_options & kVnOptionHfsplus) != 0);
  blocs_->setObjectName("Blocs");
  taille_bloc_->setObjectName("TailleBloc");

  auto *ligne = new QHBoxLayout;
  ligne->addWidget(taille_);
  ligne->addWidget(reglette_, 1);
  auto *champs = new QFormLayout;
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  champs->addRow(chaine_qt(kLabel), label_);
  champs->addRow(chaine_qt(kTaille), ligne);
  champs->addRow(chaine_qt(kPourObtenir), blocs_);
  champs->addRow(chaine_qt(kBlocPour), taille_bloc_);
  corps()->addLayout(champs);
  corps()->addWidget(hfsplus_);
  corps()->addWidget(effacer_);
  boutons(kCreer, kAbandon);

  connect(taille_, &QSpinBox::valueChanged, this, [this](int valeur) {
    const QSignalBlocker silence(reglette_);
    reglette_->setValue(std::min(valeur, kRegletteMax));
    montre_blocs();
  });
  connect(reglette_, &QSlider::valueChanged, taille_, &QSpinBox::setValue);
  connect(hfsplus_, &QCheckBox::toggled, this, [this] { montre_blocs(); });
  montre_blocs();
  label_->selectAll();
  label_->setFocus();
}

void TNouvelleImage::montre_blocs() {
  const bool plus = hfsplus_->isChecked();
  const auto taille = static_cast<std::uint32_t>(taille_->value());
  if (!plus && taille > kTailleMoMax) {
    blocs_->clear();
    taille_bloc_->clear();
    return;
  }
  const PlanImage plan = plus ? calcul_hfsplus(taille) : calcul_hfs(taille);
  const std::string bloc = taille_liste(plan.taille_bloc);
  blocs_->setText(vers_qt(message(kBlocs, {taille_liste(plan.nb_blocs), bloc})));
  taille_bloc_->setText(vers_qt(message(kTailleBloc, {plus ? "HFS+" : "HFS", taille, bloc})));
}

void TNouvelleImage::accept() {
  QString nom = label_->text().trimmed();
  if (nom.isEmpty()) nom = chaine_qt(kSansTitre);
  const auto label = texte_argument(nom.toStdString());
  if (!label) return label_->setFocus();
  if (label->find(':') != std::string::npos) {
    operations().afficher_erreur(message(kNomFaux, {*label}));
    return label_->setFocus();
  }
  const auto taille = static_cast<std::uint32_t>(taille_->value());
  const bool plus = hfsplus_->isChecked();
  if (!plus && taille > kTailleMoMax) {
    operations().afficher_erreur(message(kTailleHors, {1, kTailleMoMax}));
    return taille_->setFocus();
  }
  if (!disque_assez_grand(chemin_, std::uint64_t{taille} << kMegaBits)) {
    operations().afficher_erreur(charger_chaine(kManquePlace));
    return taille_->setFocus();
  }
  reponse_ = {*label, taille, effacer_->isChecked(), plus};
  Forme::accept();
}

}  // namespace varnion
