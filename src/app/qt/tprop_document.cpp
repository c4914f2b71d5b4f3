// The properties of the future disc.

#include "app/qt/tprop_document.hpp"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/forme.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "projet/arborescence.hpp"

namespace varnion {

namespace {

constexpr int kFermer = 1000;
constexpr int kVueIsoTitre = 1027;
constexpr int kVueHfsTitre = 1028;
constexpr int kCalculer = 1292;
constexpr int kIcone = 1302;
constexpr int kTitre = 1322;
constexpr int kSurDisque = 1330;
constexpr int kReconstruire = 1341;
constexpr int kHfsplus = 1383;
constexpr int kTailleCumulee = 7142;
constexpr int kHybride = 7143;
constexpr int kRacineTitre = 7144;
constexpr int kTailleReelle = 7145;
constexpr int kTailleReelleIso = 7146;
constexpr int kOuvrirRacine = 7147;
constexpr int kDossiers = 7148;
constexpr int kFichiers = 7149;
constexpr int kContenu = 7150;
constexpr int kOptions = 7151;
constexpr int kAPartir = 3;  // of the columns of numbers, room beside them

class TPropDocument final : public Forme {
 public:
  TPropDocument(QWidget *parent, FichierProjet &projet, const ComptesProjet &comptes,
                const EnteteProjet &entete)
      : Forme(parent, projet.mode() == ModeProjet::isop ? "TInfoIsop" : "TInfoProjet", kTitre,
              sujet::kProprietesProjet),
        projet_(projet),
        comptes_(comptes),
        isop_(projet.mode() == ModeProjet::isop) {
    construit_comptes(entete);
    construit_tailles();
    if (isop_) {
      boutons(0, kFermer);
      return;
    }
    construit_options(entete);
    boutons();
  }

  [[nodiscard]] OptionsDisque options() const {
    return {hfsplus_->isChecked(), reconstruire_->isChecked(), icone_->isChecked(), ouvrir_->isChecked()};
  }

 private:
  static void ligne(QGridLayout *grille, int rang, int legende, const char *nom, std::uint64_t dossiers,
                    std::uint64_t fichiers) {
    grille->addWidget(new QLabel(chaine_qt(legende).trimmed()), rang, 0);
    const auto nombre = [&](const char *suffixe, std::uint64_t valeur, int colonne) {
      auto *texte = texte_fixe(QString::number(valeur), (QByteArray(nom) + suffixe).constData());
      grille->addWidget(texte, rang, colonne, Qt::AlignRight);
    };
    nombre("Dossiers", dossiers, 1);
    nombre("Fichiers", fichiers, 2);
  }

  void construit_comptes(const EnteteProjet &entete) {
    auto *groupe = new QGroupBox(chaine_qt(kContenu));
    auto *grille = new QGridLayout(groupe);
    grille->setHorizontalSpacing(fontMetrics().averageCharWidth() * 4);
    grille->addWidget(new QLabel(chaine_qt(kDossiers)), 0, 1, Qt::AlignRight);
    grille->addWidget(new QLabel(chaine_qt(kFichiers)), 0, 2, Qt::AlignRight);
    const ComptesProjet &c = comptes_;
    if (isop_) {
      ligne(grille, 1, kSurDisque, "Total", c.dossiers, c.fichiers);
    } else {
      ligne(grille, 1, kHybride, "Total", c.dossiers, c.fichiers);
      ligne(grille, 2, kVueIsoTitre, "Iso", c.dossiers_iso, c.fichiers_iso);
      ligne(grille, 3, kVueHfsTitre, "Hfs", c.dossiers_hfs, c.fichiers_hfs);
    }
    ligne(grille, 4, kRacineTitre, "Racine", entete.lg_data, entete.lg_rsrc);
    grille->setColumnStretch(kAPartir, 1);
    corps()->addWidget(groupe);
  }

  void construit_tailles() {
    auto *grille = new QGridLayout;
    grille->addWidget(new QLabel(chaine_qt(kTailleCumulee)), 0, 0);
    grille->addWidget(texte_fixe(vers_qt(taille_volume(comptes_.secteurs * kSecteurProjet)), "Taille"), 0, 1,
                      Qt::AlignRight);
    grille->addWidget(new QLabel(chaine_qt(isop_ ? kTailleReelleIso : kTailleReelle)), 1, 0);
    reelle_ = new QLabel(QString(QChar(0x2013)));
    reelle_->setObjectName("TailleReelle");
    grille->addWidget(reelle_, 1, 1, Qt::AlignRight);
    auto *bouton = new QPushButton(chaine_qt(kCalculer));
    bouton->setObjectName("Calculer");
    bouton->setAutoDefault(false);
    connect(bouton, &QPushButton::clicked, this, &TPropDocument::calcule);
    grille->addWidget(bouton, 1, 2);
    grille->setColumnStretch(kAPartir, 1);
    corps()->addLayout(grille);
  }

  void construit_options(const EnteteProjet &entete) {
    auto *groupe = new QGroupBox(chaine_qt(kOptions));
    auto *colonne = new QVBoxLayout(groupe);
    const auto boite = [colonne](int legende, const char *nom, bool cochee) {
      auto *une = new QCheckBox(chaine_qt(legende));
      une->setObjectName(nom);
      une->setChecked(cochee);
      colonne->addWidget(une);
      return une;
    };
    hfsplus_ = boite(kHfsplus, "HfsPlus", projet_.hfsplus());
    reconstruire_ = boite(kReconstruire, "Reconstruire", entete.reconstruire());
    icone_ = boite(kIcone, "IconeVolume", entete.icone_volume());
    ouvrir_ = boite(kOuvrirRacine, "OuvrirRacine", entete.ouvrir_racine());
    connect(hfsplus_, &QCheckBox::clicked, this, [this](bool cochee) {
      if (!cochee && !permet_hfs_classique(comptes_.fichiers_hfs + comptes_.dossiers_hfs))
        hfsplus_->setChecked(true);
    });
    corps()->addWidget(groupe);
  }

  // Block count times block size, at the first block size that an HFS volume can number.
  void calcule() {
    const Attente attente;
    const LongueursProjet longueurs(projet_);
    const std::uint32_t taille = isop_ ? kSecteurProjet : longueurs.taille_bloc().value_or(kSecteurProjet);
    reelle_->setText(vers_qt(taille_volume(longueurs.blocs(taille) * taille)));
  }

  FichierProjet &projet_;
  ComptesProjet comptes_;
  bool isop_;
  QLabel *reelle_ = nullptr;
  QCheckBox *hfsplus_ = nullptr, *reconstruire_ = nullptr, *icone_ = nullptr, *ouvrir_ = nullptr;
};

// An ISO+ project has no format to be forced.
std::optional<ComptesProjet> comptes_de(FichierProjet &projet) {
  if (projet.mode() == ModeProjet::hybride) return compte_projet(projet);
  ComptesProjet comptes;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    ++(rubrique->est_dossier() ? comptes.dossiers : comptes.fichiers);
    if (!rubrique->est_dossier()) comptes.secteurs += secteurs_rubrique(*rubrique);
  }
  return comptes;
}

}  // namespace

std::optional<OptionsDisque> saisit_proprietes_disque(QWidget *parent, FichierProjet &projet) {
  std::optional<ComptesProjet> comptes;
  EnteteProjet entete;
  {
    const Attente attente;
    comptes = comptes_de(projet);
  }
  if (!comptes || !projet.lit_entete(entete)) return std::nullopt;
  TPropDocument forme(parent, projet, *comptes, entete);
  const bool pris = forme.exec() == QDialog::Accepted;
  if (!pris || projet.mode() == ModeProjet::isop) return std::nullopt;
  return forme.options();
}

}  // namespace varnion
