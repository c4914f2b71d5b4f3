#include "app/qt/tpropvolume.hpp"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/forme_ecriture.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/extents.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1223;
constexpr int kTitreLabel = 1286;
constexpr int kFermer = 1000;
constexpr int kEcrire = 1212;
constexpr int kIcone = 1382;
constexpr int kAncienNom = 1498;
constexpr int kNouveauNom = 1499;
constexpr int kAucun = 7134;
constexpr int kNomHfsPlusMax = 255;
constexpr int kLargeurChamp = 28;  // characters
constexpr std::uint16_t kIconePropre = 0x0400;

struct Zone {
  std::uint64_t secteur = 0;   // of the image
  std::uint64_t secteurs = 0;  // of the file
};

// What the header of the mounted volume tells.
struct FaitsVolume {
  QString label, systeme, pilote;
  std::uint64_t octets = 0, libres = 0;
  std::uint32_t fichiers = 0, dossiers = 0, modification = 0, prochain = 0;
  std::uint64_t debut = 0;  // sector of the image
  Zone extents, catalogue;
  bool icone = false;
};

Zone zone(std::uint32_t bloc, std::uint64_t octets) {
  return {secteur_de_bloc(bloc), octets / kTailleSecteur};
}

void lit(const EnteteVolumePlus &v, FaitsVolume &faits) {
  faits.systeme = v.signature == kSignatureHfsX ? "HFSX" : "HFS+";
  faits.octets = std::uint64_t{v.totalBlocks} * volume_courant().taille_bloc;
  faits.libres = std::uint64_t{v.freeBlocks} * volume_courant().taille_bloc;
  faits.fichiers = v.fileCount;
  faits.dossiers = v.folderCount;
  faits.modification = v.modifyDate;
  faits.prochain = v.nextCatalogID;
  faits.debut = volume_courant().debut_allocation;
  faits.extents = zone(v.extentsFile.extents[0].startBlock, v.extentsFile.logicalSize);
  faits.catalogue = zone(v.catalogFile.extents[0].startBlock, v.catalogFile.logicalSize);
  faits.pilote = QString::fromStdString(mac_vers_utf8(
      {reinterpret_cast<const char *>(v.lastMountedVersion.data()), v.lastMountedVersion.size()}));
}

void lit(const Mdb &m, FaitsVolume &faits) {
  faits.systeme = "HFS";
  faits.octets = std::uint64_t{m.drNmAlBlks} * volume_courant().taille_bloc;
  faits.libres = std::uint64_t{m.drFreeBks} * volume_courant().taille_bloc;
  faits.fichiers = m.drFilCnt;
  faits.dossiers = m.drDirCnt;
  faits.modification = m.drLsMod;
  faits.prochain = m.drNxtCNID;
  faits.debut = volume_courant().debut_volume;
  faits.extents = zone(m.drXTExtRec[0].startBlock, m.drXTFlSize);
  faits.catalogue = zone(m.drCTExtRec[0].startBlock, m.drCTFlSize);
}

FaitsVolume faits_volume() {
  FaitsVolume faits;
  const VolumeCourant &volume = volume_courant();
  if (volume.a_entete()) volume.est_hfsplus ? lit(*volume.vhb, faits) : lit(*volume.mdb, faits);
  faits.label = vers_qt(nom_volume());
  if (const auto racine = element_racine()) {
    faits.label = QString::fromStdString(racine->nom_utf8());
    faits.icone = (racine->drapeaux_finder & kIconePropre) != 0;
  }
  return faits;
}

QLineEdit *champ_label(const QString &label) {
  auto *champ = new QLineEdit(label);
  champ->setObjectName("Label");
  champ->setMaxLength(longueur_label_max());
  champ->setMinimumWidth(champ->fontMetrics().averageCharWidth() * kLargeurChamp);
  return champ;
}

QFormLayout *colonne_champs(QWidget *colonne) {
  auto *champs = new QFormLayout(colonne);
  champs->setContentsMargins(0, 0, 0, 0);
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  return champs;
}

class TPropVolume final : public FormeEcriture {
 public:
  TPropVolume(QWidget *parent, bool lecture_seule, const EcritVolume &ecrit);
  void accept() override;

 private:
  QWidget *construit_simple();
  QWidget *construit_avance();
  [[nodiscard]] bool change() const;
  void suit();

  FaitsVolume faits_;
  bool lecture_seule_;
  const EcritVolume &ecrit_;
  QLineEdit *label_ = nullptr;
  QCheckBox *icone_ = nullptr;
  QString depart_;
};

TPropVolume::TPropVolume(QWidget *parent, bool lecture_seule, const EcritVolume &ecrit)
    : FormeEcriture(parent, "TPropVolume", 0, sujet::kProprietesVolume),
      faits_(faits_volume()),
      lecture_seule_(lecture_seule),
      ecrit_(ecrit) {
  setWindowTitle(chaine_qt(kTitre) + faits_.label);
  auto *rangee = new QHBoxLayout;
  rangee->setSpacing(24);
  rangee->addWidget(construit_simple(), 1, Qt::AlignTop);
  QWidget *avance = construit_avance();
  rangee->addWidget(avance, 0, Qt::AlignTop);
  corps()->addLayout(rangee);
  boutons(kEcrire, kFermer);
  ajoute_avance(avance);
  connect(label_, &QLineEdit::textChanged, this, [this] { suit(); });
  connect(icone_, &QCheckBox::toggled, this, [this] { suit(); });
  suit();
  label_->setFocus();
}

QWidget *TPropVolume::construit_simple() {
  auto *colonne = new QWidget;
  QFormLayout *champs = colonne_champs(colonne);
  label_ = champ_label(faits_.label);
  label_->setReadOnly(lecture_seule_);
  depart_ = label_->text();
  champs->addRow(chaine_qt(1238), label_);
  champs->addRow(chaine_qt(1224), texte_fixe(vers_qt(taille_volume(faits_.octets)), "Taille"));
  champs->addRow(chaine_qt(1225), texte_fixe(vers_qt(taille_volume(faits_.libres)), "Libre"));
  champs->addRow(chaine_qt(1226), texte_fixe(QString::number(faits_.fichiers), "Fichiers"));
  champs->addRow(chaine_qt(1227), texte_fixe(QString::number(faits_.dossiers), "Dossiers"));
  champs->addRow(chaine_qt(1239),
                 texte_fixe(date_liste(faits_.modification, volume_courant().est_hfsplus), "Modification"));
  champs->addRow(chaine_qt(1237), texte_fixe(faits_.systeme, "Systeme"));
  return colonne;
}

QWidget *TPropVolume::construit_avance() {
  auto *colonne = new QWidget;
  colonne->setObjectName("PanneauAvance");
  QFormLayout *champs = colonne_champs(colonne);
  const auto nombre = [champs](int legende, std::uint64_t valeur, const char *nom) {
    champs->addRow(chaine_qt(legende), texte_fixe(QString::number(valeur), nom));
  };
  nombre(1228, faits_.prochain, "ProchainId");
  nombre(1229, faits_.debut, "Debut");
  nombre(1230, static_cast<std::uint64_t>(std::max(partition_courante().nb_partitions, 0)), "Partitions");
  nombre(1231, volume_courant().taille_bloc, "TailleBloc");
  nombre(1232, support().taille_volume, "Secteurs");
  nombre(1233, faits_.extents.secteur, "DebutExtents");
  nombre(1234, faits_.extents.secteurs, "TailleExtents");
  nombre(1235, faits_.catalogue.secteur, "DebutCatalogue");
  nombre(1236, faits_.catalogue.secteurs, "TailleCatalogue");
  const bool sans_pilote = faits_.pilote.isEmpty();
  champs->addRow(chaine_qt(1240), texte_fixe(sans_pilote ? chaine_qt(kAucun) : faits_.pilote, "Pilote"));
  icone_ = new QCheckBox(chaine_qt(kIcone));
  icone_->setObjectName("IconePropre");
  icone_->setChecked(faits_.icone);
  icone_->setEnabled(!lecture_seule_);
  champs->addRow(icone_);
  return colonne;
}

bool TPropVolume::change() const {
  return label_->text() != depart_ || icone_->isChecked() != faits_.icone;
}

void TPropVolume::suit() {
  bouton_accepter()->setEnabled(!lecture_seule_ && change());
}

void TPropVolume::accept() {
  if (lecture_seule_ || !change()) return;
  if (label_->text().isEmpty()) {
    QApplication::beep();
    label_->setFocus();
    return;
  }
  DemandeVolume demande;
  if (label_->text() != depart_) demande.label = label_->text();
  if (icone_->isChecked() != faits_.icone) demande.icone = icone_->isChecked();
  ecrit_et_ferme([&] { return ecrit_(demande); });
}

class TLabelVolume final : public FormeEcriture {
 public:
  TLabelVolume(QWidget *parent, const EcritVolume &ecrit)
      : FormeEcriture(parent, "TLabelVolume", kTitreLabel, sujet::kNomsVolume),
        ecrit_(ecrit),
        ancien_(faits_volume().label) {
    auto *champs = new QFormLayout;
    champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    corps()->addLayout(champs);
    champs->addRow(chaine_qt(kAncienNom), texte_fixe(ancien_, "AncienNom"));
    label_ = champ_label(ancien_);
    label_->selectAll();
    champs->addRow(chaine_qt(kNouveauNom), label_);
    boutons();
    label_->setFocus();
  }

  void accept() override {
    if (label_->text().isEmpty()) {
      QApplication::beep();
      label_->setFocus();
      return;
    }
    if (label_->text() == ancien_) return reject();
    ecrit_et_ferme([&] { return ecrit_({label_->text(), std::nullopt}); });
  }

 private:
  const EcritVolume &ecrit_;
  QString ancien_;
  QLineEdit *label_ = nullptr;
};

}  // namespace

int longueur_label_max() {
  return volume_courant().est_hfsplus ? kNomHfsPlusMax : static_cast<int>(kNomVolumeHfsMax);
}

int montre_proprietes_volume(QWidget *parent, bool lecture_seule, const EcritVolume &ecrit) {
  return TPropVolume(parent, lecture_seule, ecrit).exec() == QDialog::Accepted ? 2 : 0;
}

int demande_label_volume(QWidget *parent, const EcritVolume &ecrit) {
  return TLabelVolume(parent, ecrit).exec() == QDialog::Accepted ? 1 : 0;
}

}  // namespace varnion
