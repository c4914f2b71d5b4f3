#include "app/qt/tcompilation.hpp"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/qt/champ_texte.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/tdescripteur_iso.hpp"
#include "app/qt/texte_qt.hpp"
#include "compil/preparation.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitreHybride = 7020;
constexpr int kTitreMac = 1108;
constexpr int kTitreIso = 1476;
constexpr int kTitreIsop = 1477;
constexpr int kPostgap = 7021;
constexpr int kAvance = 7022;
constexpr int kContenu = 7032;
constexpr int kImage = 7023;
constexpr int kComptesVue = 7033;
constexpr int kVueIsoTexte = 1027;
constexpr int kVueHfsTexte = 1028;
constexpr int kLabelIso = 1288;
constexpr int kLabelHfs = 1289;
constexpr int kHfsplus = 1383;
constexpr int kReconstruire = 1341;
constexpr int kLabelHfsplusMax = 62;  // what the head of a project gives back of the 255 of TN1150
constexpr int kLettresVues = 40;
constexpr int kLettresChemin = 52;

// The colon behind a caption that has none of its own.
QString avec_deux_points(int legende) {
  return chaine_qt(legende) + (base_langue() == kLangueFrancais ? QString(QChar(QChar::Nbsp)) : QString()) +
         ":";
}

int titre(Nature nature) {
  switch (nature) {
    case Nature::iso_apple:
      return kTitreIsop;
    case Nature::iso:
      return kTitreIso;
    case Nature::hfs:
    case Nature::hfsplus:
      return kTitreMac;
    default:
      return kTitreHybride;
  }
}

class TCompilation final : public Forme {
 public:
  TCompilation(QWidget *parent, FichierProjet &projet, const ProposeCompilation &propose);
  [[nodiscard]] ChoixCompilation choix() const;

 private:
  void montre_contenu();
  void montre_labels();
  void montre_options();
  QLineEdit *ajoute_label(int legende, const std::string &texte, int limite, const char *nom);
  QCheckBox *ajoute_case(int legende, const char *nom, bool cochee);
  void rafraichit_taille();
  void change_format();
  void ouvre_descripteur();

  FichierProjet &projet_;
  ProposeCompilation propose_;
  QLabel *resume_ = nullptr;
  QLineEdit *label_iso_ = nullptr;
  QLineEdit *label_hfs_ = nullptr;
  QCheckBox *hfsplus_ = nullptr;
  QCheckBox *reconstruire_ = nullptr;
  QCheckBox *postgap_ = nullptr;
};

TCompilation::TCompilation(QWidget *parent, FichierProjet &projet, const ProposeCompilation &propose)
    : Forme(parent, "TCompilation", titre(propose.nature), sujet::kCompilation),
      projet_(projet),
      propose_(propose) {
  montre_contenu();
  montre_labels();
  montre_options();
  boutons();
  rafraichit_taille();
  QLineEdit *premier = label_iso_ != nullptr ? label_iso_ : label_hfs_;
  premier->setFocus();
  premier->selectAll();
}

void TCompilation::montre_contenu() {
  QFormLayout *champs = groupe_champs(corps(), kContenu);
  resume_ = new QLabel;
  resume_->setObjectName("Resume");
  champs->addRow(resume_);
  const ComptesProjet &c = propose_.comptes;
  const auto vue = [&](int legende, const char *nom, std::uint64_t dossiers, std::uint64_t fichiers) {
    champs->addRow(chaine_qt(legende).trimmed(),
                   texte_fixe(vers_qt(message(kComptesVue, {dossiers, fichiers})), nom));
  };
  const bool hybride = nature_a_iso(propose_.nature) && nature_a_volume(propose_.nature);
  if (hybride) {
    vue(kVueIsoTexte, "ComptesIso", c.dossiers_iso, c.fichiers_iso);
    vue(kVueHfsTexte, "ComptesHfs", c.dossiers_hfs, c.fichiers_hfs);
  }
  QWidget *chemin = texte_fixe(vers_qt(tronque_chemin(propose_.cible, kLettresChemin)), "Cible");
  chemin->setToolTip(vers_qt(propose_.cible));
  champs->addRow(chaine_qt(kImage), chemin);
}

QLineEdit *TCompilation::ajoute_label(int legende, const std::string &texte, int limite, const char *nom) {
  auto *titre = new QLabel(avec_deux_points(legende));
  QLineEdit *champ = champ_texte(texte, limite, nom);
  champ->setMinimumWidth(champ->fontMetrics().averageCharWidth() * kLettresVues);
  champ->setModified(false);
  titre->setBuddy(champ);
  corps()->addWidget(titre);
  corps()->addWidget(champ);
  return champ;
}

void TCompilation::montre_labels() {
  if (nature_a_iso(propose_.nature))
    label_iso_ =
        ajoute_label(kLabelIso, propose_.label_iso, static_cast<int>(limite_label_iso(projet_)), "label_iso");
  if (nature_a_volume(propose_.nature))
    label_hfs_ = ajoute_label(kLabelHfs, propose_.label_hfs,
                              nature_est_hfsplus(propose_.nature) ? kLabelHfsplusMax : int{kNomVolumeHfsMax},
                              "label_hfs");
}

QCheckBox *TCompilation::ajoute_case(int legende, const char *nom, bool cochee) {
  auto *boite = new QCheckBox(chaine_qt(legende));
  boite->setObjectName(nom);
  boite->setChecked(cochee);
  corps()->addWidget(boite);
  return boite;
}

void TCompilation::montre_options() {
  if (nature_a_volume(propose_.nature)) {
    hfsplus_ = ajoute_case(kHfsplus, "hfsplus", nature_est_hfsplus(propose_.nature));
    connect(hfsplus_, &QCheckBox::toggled, this, [this] { change_format(); });
  }
  reconstruire_ = ajoute_case(kReconstruire, "reconstruire", propose_.reconstruire);
  postgap_ = ajoute_case(kPostgap, "postgap", true);
  connect(postgap_, &QCheckBox::toggled, this, [this] { rafraichit_taille(); });
  if (!nature_a_iso(propose_.nature)) return;
  auto *avance = new QPushButton(chaine_qt(kAvance));
  avance->setObjectName("Avance");
  avance->setAutoDefault(false);
  corps()->addWidget(avance, 0, Qt::AlignLeft);
  connect(avance, &QAbstractButton::clicked, this, &TCompilation::ouvre_descripteur);
}

void TCompilation::rafraichit_taille() {
  const std::uint64_t secteurs = propose_.secteurs + (postgap_->isChecked() ? kSecteursPostgap : 0);
  resume_->setText(vers_qt(texte_disque(secteurs, propose_.comptes.dossiers, propose_.comptes.fichiers)));
}

// Classic HFS is refused with more items than it can name; the label is held to what the format takes.
void TCompilation::change_format() {
  const bool plus = hfsplus_->isChecked();
  const ComptesProjet &c = propose_.comptes;
  if (!plus && !permet_hfs_classique(c.fichiers_hfs + c.dossiers_hfs)) {
    const QSignalBlocker muet(hfsplus_);
    hfsplus_->setChecked(true);
    return;
  }
  const bool modifie = label_hfs_->isModified();
  label_hfs_->setMaxLength(plus ? kLabelHfsplusMax : int{kNomVolumeHfsMax});
  label_hfs_->setModified(modifie);
}

void TCompilation::ouvre_descripteur() {
  std::string label = label_iso_->isModified() ? texte_champ(*label_iso_) : propose_.label_iso;
  if (!boite_descripteur(this, projet_, label)) return;
  // The head has it by now, whole even where this box shows less of it.
  propose_.label_iso = label;
  label_iso_->setText(vers_qt(label));
  label_iso_->setModified(false);
}

ChoixCompilation TCompilation::choix() const {
  ChoixCompilation choix;
  choix.hfsplus = hfsplus_ != nullptr && hfsplus_->isChecked();
  if (label_iso_ != nullptr && label_iso_->isModified()) choix.label_iso = texte_champ(*label_iso_);
  if (label_hfs_ != nullptr && (label_hfs_->isModified() || texte_champ(*label_hfs_) != propose_.label_hfs))
    choix.label_hfs = texte_champ(*label_hfs_);
  choix.reconstruire = reconstruire_->isChecked();
  choix.postgap = postgap_->isChecked();
  return choix;
}

}  // namespace

std::optional<ChoixCompilation> boite_compilation(QWidget *parent, FichierProjet &projet,
                                                  const ProposeCompilation &propose) {
  TCompilation forme(parent, projet, propose);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.choix();
}

}  // namespace varnion
