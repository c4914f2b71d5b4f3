// The properties of one item.

#include "app/qt/tprop_rubrique.hpp"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/qt/champs_signature.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1018;
constexpr int kChemin = 1019;
constexpr int kNomSource = 1020;
constexpr int kNomIso = 1021;
constexpr int kNomHfs = 1022;
constexpr int kSignature = 1023;
constexpr int kDansIso = 1024;
constexpr int kDansHfs = 1025;
constexpr int kSource = 1026;
constexpr int kVueIsoTitre = 1027;
constexpr int kVueHfsTitre = 1028;
constexpr int kCodage = 1296;
constexpr int kMacBinary = 1297;
constexpr int kBinHex = 1298;
constexpr int kAucun = 1300;
constexpr int kRafraichir = 1301;
constexpr int kIcone = 1302;
constexpr int kDossiers = 1318;
constexpr int kFichiers = 1319;
constexpr int kNumeroDossier = 1320;
constexpr int kNumeroFichier = 1321;
constexpr int kOterCodage = 1324;
constexpr int kSurDisque = 1330;
constexpr int kNomDisque = 1331;
constexpr int kExtensionCachee = 1334;
constexpr int kCache = 1335;
constexpr int kManquant = 1415;
constexpr int kNomImpossible = 6546;
constexpr int kAppleDouble = 7152;
constexpr int kAppleSingle = 7153;
constexpr int kFlux = 7154;
constexpr int kLargeurMin = 60;  // letters of a name that are seen

QCheckBox *case_a_cocher(int legende, const char *nom, bool cochee) {
  auto *boite = new QCheckBox(chaine_qt(legende).trimmed());
  boite->setObjectName(nom);
  boite->setChecked(cochee);
  return boite;
}

// A path as one line, whole in its tool tip.
QWidget *ligne_lue(const QString &texte, const char *nom) {
  auto *champ = new QLineEdit(texte);
  champ->setObjectName(nom);
  champ->setReadOnly(true);
  champ->setFrame(false);
  champ->setTextMargins(-2, 0, 0, 0);  // in line with the labels
  champ->setToolTip(texte);
  champ->setCursorPosition(0);
  QPalette palette = champ->palette();
  palette.setColor(QPalette::Base, Qt::transparent);
  champ->setPalette(palette);
  return champ;
}

class TPropRubrique final : public Forme {
 public:
  TPropRubrique(QWidget *parent, const FichierProjet &projet, const RubriqueProjet &rubrique)
      : Forme(parent, projet.mode() == ModeProjet::isop ? "TPropIsop" : "TPropProjet", kTitre,
              projet.mode() == ModeProjet::isop ? sujet::kProprietesIsop : sujet::kProprietesElement),
        projet_(projet),
        r_(rubrique),
        isop_(projet.mode() == ModeProjet::isop) {
    construit_source();
    if (isop_) {
      construit_disque();
    } else {
      construit_iso();
      construit_hfs();
    }
    boutons();
    nom_iso_->setMinimumWidth(nom_iso_->fontMetrics().averageCharWidth() * kLargeurMin);
    (nom_iso_->isEnabled() || nom_hfs_ == nullptr ? nom_iso_ : nom_hfs_)->setFocus();
  }

  [[nodiscard]] const SaisieRubrique &saisie() const { return saisie_; }

  void accept() override {
    releve();
    if (!noms_acceptes()) return;
    const QString code = signature_ != nullptr ? signature_->impossible() : QString();
    if (!code.isEmpty()) return refuse(de_qt(code));
    Forme::accept();
  }

 private:
  void construit_source() {
    QFormLayout *champs = groupe_champs(corps(), kSource);
    const bool du_pc = !r_.est_virtuel();
    const std::string nom = lit_champ(r_.nom_source);
    if (du_pc) champs->addRow(chaine_qt(kChemin), ligne_lue(vers_qt(lit_champ(r_.chemin)), "Chemin"));
    champs->addRow(chaine_qt(kNomSource), ligne_lue(vers_qt(nom), "NomSource"));
    if (r_.est_dossier()) {
      champs->addRow(chaine_qt(kDossiers), texte_fixe(QString::number(r_.lg_data), "Dossiers"));
      champs->addRow(chaine_qt(kFichiers), texte_fixe(QString::number(r_.lg_rsrc), "Fichiers"));
    }
    champs->addRow(chaine_qt(r_.est_dossier() ? kNumeroDossier : kNumeroFichier),
                   texte_fixe(QString::number(std::abs(std::int64_t{r_.numero_signe()})), "Numero"));
    if (!du_pc) return;
    const bool absent = r_.manquant() || !plateforme::existe(chemin_source(r_));
    manquant_ = case_a_cocher(kManquant, "Manquant", absent);
    manquant_au_debut_ = absent;
    champs->addRow(manquant_);
    if (!rafraichissable(r_)) return;
    rafraichir_ = case_a_cocher(kRafraichir, "Rafraichir", r_.rafraichir());
    champs->addRow(rafraichir_);
  }

  QLineEdit *champ_nom(QFormLayout *champs, int legende, const char *nom, int vue) {
    auto *champ = new QLineEdit(vers_qt(nom_dans_vue(r_, vue, projet_.hfsplus())));
    champ->setObjectName(nom);
    champ->setMaxLength(static_cast<int>(limite_nom(projet_, vue)));
    champ->setCursorPosition(0);
    champs->addRow(chaine_qt(legende), champ);
    return champ;
  }

  // The box of a view rules over the fields of its group.
  QFormLayout *groupe_vue(int titre, int legende, const char *nom, bool dedans, QCheckBox *&boite,
                          QWidget *&contenu) {
    auto *groupe = new QGroupBox(chaine_qt(titre).trimmed());
    auto *colonne = new QVBoxLayout(groupe);
    boite = case_a_cocher(legende, nom, dedans);
    contenu = new QWidget;
    auto *champs = new QFormLayout(contenu);
    champs->setContentsMargins(0, 0, 0, 0);
    champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    colonne->addWidget(boite);
    colonne->addWidget(contenu);
    contenu->setEnabled(dedans);
    connect(boite, &QCheckBox::toggled, contenu, &QWidget::setEnabled);
    corps()->addWidget(groupe);
    return champs;
  }

  static void ajoute_cases(QFormLayout *champs, std::initializer_list<QCheckBox *> boites) {
    auto *ligne = new QHBoxLayout;
    for (QCheckBox *boite : boites)
      if (boite != nullptr) ligne->addWidget(boite);
    ligne->addStretch(1);
    champs->addRow(ligne);
  }

  void construit_iso() {
    QWidget *contenu = nullptr;
    QFormLayout *champs = groupe_vue(kVueIsoTitre, kDansIso, "DansIso", r_.dans_iso(), dans_iso_, contenu);
    cache_iso_ = case_a_cocher(kCache, "CacheIso", r_.cache_iso() != 0);
    if (!r_.est_dossier())
      extension_ = case_a_cocher(kExtensionCachee, "ExtensionCachee", r_.extension_cachee());
    ajoute_cases(champs, {cache_iso_, extension_});
    nom_iso_ = champ_nom(champs, kNomIso, "NomIso", kVueIso);
  }

  void construit_hfs() {
    QWidget *contenu = nullptr;
    QFormLayout *champs = groupe_vue(kVueHfsTitre, kDansHfs, "DansHfs", r_.dans_hfs(), dans_hfs_, contenu);
    cache_hfs_ = case_a_cocher(kCache, "CacheHfs", r_.cache_hfs() != 0);
    if (r_.est_dossier()) icone_ = case_a_cocher(kIcone, "IconePerso", r_.icone_perso());
    ajoute_cases(champs, {cache_hfs_, icone_});
    nom_hfs_ = champ_nom(champs, kNomHfs, "NomHfs", kVueHfs);
    ajoute_fourches(champs);
  }

  void construit_disque() {
    QFormLayout *champs = groupe_champs(corps(), kSurDisque);
    cache_iso_ = case_a_cocher(kCache, "CacheIso", r_.cache_iso() != 0);
    champs->addRow(cache_iso_);
    nom_iso_ = champ_nom(champs, kNomDisque, "NomIso", kVueIso);
    ajoute_fourches(champs);
  }

  // Coding and signature: what only a file has.
  void ajoute_fourches(QFormLayout *champs) {
    if (r_.est_dossier()) return;
    auto *ligne = new QHBoxLayout;
    ajoute_codage(ligne, kMacBinary, "MacBinary", r_.est_macbinaire());
    ajoute_codage(ligne, kBinHex, "BinHex", r_.est_binhex() && !r_.est_macbinaire());
    if (r_.codage() == Codage::ntfs || r_.codage() == Codage::apple) {
      const int legende = r_.codage() == Codage::ntfs ? kFlux
                          : r_.est_applesingle()      ? kAppleSingle
                                                      : kAppleDouble;
      ajoute_codage(ligne, legende, "AutreCodage", !r_.est_code_mac());
    }
    aucun_ = ajoute_codage(ligne, kAucun, "SansCodage", r_.codage() == Codage::aucun && !r_.est_code_mac());
    aucun_->setEnabled(aucun_->isChecked() || r_.est_code_mac());
    ligne->addStretch(1);
    champs->addRow(chaine_qt(kCodage), ligne);
    connect(aucun_, &QRadioButton::clicked, this, &TPropRubrique::ote_codage);
    signature_ = new ChampsSignature;
    signature_->montre({r_.signature.data(), r_.signature.size()});
    champs->addRow(chaine_qt(kSignature), signature_);
  }

  // Of the codings only the one that the file has can be chosen.
  QRadioButton *ajoute_codage(QHBoxLayout *ligne, int legende, const char *nom, bool celui) {
    auto *bouton = new QRadioButton(chaine_qt(legende));
    bouton->setObjectName(nom);
    bouton->setChecked(celui);
    bouton->setEnabled(celui);
    if (celui) codage_ = bouton;
    codages_.addButton(bouton);
    ligne->addWidget(bouton);
    return bouton;
  }

  void ote_codage() {
    if (!r_.est_code_mac() || saisie_.changements.decodage) return;
    if (operations().demander_oui_non(charger_chaine(kOterCodage)) == 0) {
      codage_->setChecked(true);
      return;
    }
    RubriqueProjet sans = r_;
    ChangementsRubrique oter;
    oter.decodage = true;
    applique_changements(sans, oter);
    signature_->montre({sans.signature.data(), sans.signature.size()});
  }

  static void note(std::optional<bool> &valeur, const QCheckBox *boite, bool avant) {
    if (boite != nullptr && boite->isChecked() != avant) valeur = boite->isChecked();
  }

  void note_nom(std::optional<std::string> &nom, const QLineEdit *champ, int vue) const {
    if (champ == nullptr || !champ->isEnabled()) return;
    const QString avant = vers_qt(nom_dans_vue(r_, vue, projet_.hfsplus()));
    if (champ->text() != avant) nom = de_qt(champ->text());
  }

  void releve() {
    saisie_ = {};
    ChangementsRubrique &c = saisie_.changements;
    note(c.dans_iso, dans_iso_, r_.dans_iso());
    note(c.dans_hfs, dans_hfs_, r_.dans_hfs());
    note(c.cache_iso, cache_iso_, r_.cache_iso() != 0);
    note(c.cache_hfs, cache_hfs_, r_.cache_hfs() != 0);
    note(c.extension_cachee, extension_, r_.extension_cachee());
    note(c.icone, icone_, r_.icone_perso());
    note(c.rafraichir, rafraichir_, r_.rafraichir());
    note(c.manquant, manquant_, manquant_au_debut_);
    c.entree_manquante = manquant_ != nullptr && manquant_->isChecked();
    c.decodage = aucun_ != nullptr && r_.est_code_mac() && aucun_->isChecked();
    if (signature_ != nullptr) {
      c.type = signature_->type();
      c.createur = signature_->createur();
    }
    note_nom(saisie_.nom_iso, nom_iso_, kVueIso);
    note_nom(saisie_.nom_hfs, nom_hfs_, kVueHfs);
  }

  void refuse(const std::string &nom) { operations().afficher_erreur(message(kNomImpossible, {nom})); }

  // The names as the item would bear them: in a view that it enters, too.
  bool noms_acceptes() {
    RubriqueProjet voulue = r_;
    if (saisie_.changements.dans_iso) voulue.vue_iso(*saisie_.changements.dans_iso ? kDansVue : kHorsVue);
    if (saisie_.changements.dans_hfs) voulue.vue_hfs(*saisie_.changements.dans_hfs ? kDansVue : kHorsVue);
    for (QLineEdit *champ : {nom_iso_, nom_hfs_}) {
      if (champ == nullptr || !champ->isEnabled()) continue;
      champ->setFocus();
      if (champ->text().isEmpty()) {
        QApplication::beep();
        return false;
      }
      const std::string nom = de_qt(champ->text());
      const int vue = champ == nom_iso_ ? kVueIso : kVueHfs;
      const bool change = vue == kVueIso ? saisie_.nom_iso || saisie_.changements.dans_iso
                                         : saisie_.nom_hfs || saisie_.changements.dans_hfs;
      if (!change) continue;
      if (vers_qt(nom) != champ->text()) {
        refuse(nom);
        return false;
      }
      if (!nom_accepte(projet_, voulue, nom, vue)) return false;
    }
    return true;
  }

  const FichierProjet &projet_;
  RubriqueProjet r_;
  bool isop_;
  SaisieRubrique saisie_;
  QCheckBox *manquant_ = nullptr, *rafraichir_ = nullptr, *dans_iso_ = nullptr, *dans_hfs_ = nullptr;
  QCheckBox *cache_iso_ = nullptr, *cache_hfs_ = nullptr, *extension_ = nullptr, *icone_ = nullptr;
  QLineEdit *nom_iso_ = nullptr, *nom_hfs_ = nullptr;
  QButtonGroup codages_;
  QRadioButton *codage_ = nullptr, *aucun_ = nullptr;
  ChampsSignature *signature_ = nullptr;
  bool manquant_au_debut_ = false;
};

}  // namespace

std::optional<SaisieRubrique> saisit_proprietes(QWidget *parent, const FichierProjet &projet,
                                                const RubriqueProjet &rubrique) {
  TPropRubrique forme(parent, projet, rubrique);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.saisie();
}

}  // namespace varnion
