#include "app/qt/thybridation.hpp"

#include <cerrno>
#include <cstdint>
#include <functional>

#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "app/noyau/actions_hybride.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/console.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "compil/hybridation.hpp"
#include "hfs/ouverture.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kEcraser = 1061;
constexpr int kParcourir = 1060;
constexpr int kFiltreIso = 1367;
constexpr int kTitreIso = 1368;
constexpr int kExtensionIso = 1370;
constexpr int kIllisible = 6359;  // path, reason
constexpr int kOuverteIci = 7029;
constexpr int kTitreHybride = 7715;
constexpr int kTitreSepare = 7716;
constexpr int kImageMac = 7717;
constexpr int kImageIso = 7718;
constexpr int kImageHybride = 7719;
constexpr int kImageNeuve = 7720;
constexpr int kEffet = 7721;
constexpr int kCreer = 7722;
constexpr int kModifier = 7723;
constexpr int kChoisirSource = 7724;
constexpr int kNommerCible = 7725;
constexpr int kJointNeuf = 7726;      // ISO side, partition, sum
constexpr int kJointSurPlace = 7727;  // partition
constexpr int kAmorcePerdue = 7728;
constexpr int kBrute = 7729;
constexpr int kPlusQuUnCd = 7730;
constexpr int kSepareNeuf = 7731;      // ISO side, partition
constexpr int kSepareSurPlace = 7732;  // partition, ISO side
constexpr int kPartage = 7733;
constexpr int kRemplace = 7734;  // name
constexpr int kSurPlace = 7735;  // path
constexpr int kTitreCible = 7736;
constexpr int kDejaHybride = 7738;
constexpr std::size_t kCheminMessage = 100;
constexpr int kLargeurChamp = 52;  // characters
constexpr int kLignesLibres = 2;   // below the texts, so that the form seldom grows
constexpr int kDelaiSaisie = 400;  // milliseconds without a key until the images are looked at

// What the images allow, in words.
struct Constat {
  bool possible = false;
  QStringList effets;
  QStringList pertes;
};

Constat impossible(const std::string &raison) {
  return {false, {vers_qt(raison).replace('\n', ' ')}, {}};
}

Constat illisible(const QString &chemin) {
  const std::string raison = plateforme::texte_erreur(ENOENT);
  return impossible(message(kIllisible, {tronque_chemin(de_qt(chemin), kCheminMessage), raison}));
}

// False for a path that cannot be spelled.
bool chemin_de(const QString &texte, std::string &chemin) {
  chemin = plateforme::chemin_utf8_utilisable(texte.toStdString(), SIZE_MAX).value_or(std::string());
  return !chemin.empty();
}

class FormeImages : public Forme {
 public:
  FormeImages(TVarnion &fenetre, const char *nom, int titre)
      : Forme(&fenetre, nom, titre, sujet::kHybridation), fenetre_(fenetre) {}
  void accept() override;

  [[nodiscard]] const ChoixImages &choix() const { return choix_; }

 protected:
  /// Reads the images of `choix_`; nothing is changed.
  [[nodiscard]] virtual Constat constate(const ChoixImages &choix) = 0;
  /// The fields, under the ones that the form has ahead of them. `suffixe`: of the name proposed.
  void monte(QFormLayout *champs, int source, const char *suffixe);
  void resizeEvent(QResizeEvent *evenement) override;

 private:
  QLineEdit *ajoute_chemin(QFormLayout *champs, int legende, const char *nom, const char *bouton,
                           const std::function<QString(const QString &)> &demande);
  void propose();
  void attend();
  void regarde();
  void ajuste();
  [[nodiscard]] Constat lit_choix();

  TVarnion &fenetre_;
  ChoixImages choix_;
  Constat constat_;
  QString suffixe_;
  QString proposee_;  // target that the form itself filled in
  QLineEdit *source_ = nullptr;
  QLineEdit *cible_ = nullptr;
  QGroupBox *groupe_ = nullptr;
  QLabel *effets_ = nullptr;
  QLabel *pertes_ = nullptr;
  QTimer delai_;
};

QLineEdit *FormeImages::ajoute_chemin(QFormLayout *champs, int legende, const char *nom, const char *bouton,
                                      const std::function<QString(const QString &)> &demande) {
  auto *champ = new QLineEdit;
  champ->setObjectName(nom);
  champ->setMinimumWidth(champ->fontMetrics().averageCharWidth() * kLargeurChamp);
  auto *parcourir = new QPushButton(chaine_qt(kParcourir));
  parcourir->setObjectName(bouton);
  parcourir->setAutoDefault(false);
  connect(parcourir, &QPushButton::clicked, this, [this, champ, demande] {
    const QString choisi = demande(champ->text().isEmpty() ? depart_documents() : champ->text());
    if (choisi.isEmpty()) return;
    champ->setText(choisi);
    regarde();
  });
  connect(champ, &QLineEdit::textChanged, this, [this] { attend(); });
  auto *rangee = new QHBoxLayout;
  rangee->addWidget(champ, 1);
  rangee->addWidget(parcourir);
  auto *etiquette = new QLabel(chaine_qt(legende));
  etiquette->setBuddy(champ);
  champs->addRow(etiquette, rangee);
  return champ;
}

void FormeImages::monte(QFormLayout *champs, int source, const char *suffixe) {
  suffixe_ = suffixe;
  source_ = ajoute_chemin(champs, source, "Source", "BrowseSource", [this](const QString &depart) {
    return fenetre_.demandes.ouvrir(kTitreIso, kFiltreIso, depart);
  });
  cible_ = ajoute_chemin(champs, kImageNeuve, "Cible", "BrowseCible", [this](const QString &depart) {
    return fenetre_.demandes.enregistrer(kTitreCible, kFiltreIso, depart, kExtensionIso);
  });
  connect(source_, &QLineEdit::textChanged, this, [this] { propose(); });
  groupe_ = new QGroupBox(chaine_qt(kEffet));
  auto *colonne = new QVBoxLayout(groupe_);
  for (auto [champ, nom] : {std::pair(&effets_, "Effets"), std::pair(&pertes_, "Pertes")}) {
    *champ = new QLabel;
    (*champ)->setObjectName(nom);
    (*champ)->setTextFormat(Qt::PlainText);
    (*champ)->setWordWrap(true);
    (*champ)->setTextInteractionFlags(Qt::TextSelectableByMouse);
    (*champ)->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    colonne->addWidget(*champ);
  }
  QFont grasse = pertes_->font();
  grasse.setBold(true);
  pertes_->setFont(grasse);
  colonne->addSpacing(effets_->fontMetrics().lineSpacing() * kLignesLibres);
  colonne->addStretch(1);
  corps()->addWidget(groupe_, 1);
  boutons(kCreer);
  delai_.setSingleShot(true);
  connect(&delai_, &QTimer::timeout, this, [this] { regarde(); });
  for (QLineEdit *champ : {source_, cible_})
    connect(champ, &QLineEdit::editingFinished, this, [this] {
      if (delai_.isActive()) regarde();
    });
  regarde();
  source_->setFocus();
}

// A name beside the source that no file has.
void FormeImages::propose() {
  if (!cible_->text().isEmpty() && cible_->text() != proposee_) return;
  const QFileInfo source(source_->text().trimmed());
  proposee_.clear();
  if (source.isFile()) {
    const QString base = source.absoluteDir().filePath(source.completeBaseName() + suffixe_);
    proposee_ = base + "." + chaine_qt(kExtensionIso);
    for (int n = 2; QFileInfo::exists(proposee_); ++n)
      proposee_ = QString("%1-%2.%3").arg(base).arg(n).arg(chaine_qt(kExtensionIso));
  }
  cible_->setText(proposee_);
}

// While a path is typed nothing is known of the images.
void FormeImages::attend() {
  constat_.possible = false;
  if (bouton_accepter() != nullptr) bouton_accepter()->setEnabled(false);
  delai_.start(kDelaiSaisie);
}

Constat FormeImages::lit_choix() {
  const QString source = source_->text().trimmed();
  const QString cible = cible_->text().trimmed();
  choix_ = {};
  if (source.isEmpty()) return impossible(charger_chaine(kChoisirSource));
  if (!chemin_de(source, choix_.source) || !QFileInfo(source).isFile()) return illisible(source);
  if (cible.isEmpty()) return impossible(charger_chaine(kNommerCible));
  if (!chemin_de(QFileInfo(cible).absoluteFilePath(), choix_.cible)) return illisible(cible);
  choix_.sur_place = plateforme::meme_fichier(choix_.source, choix_.cible);
  choix_.remplace = !choix_.sur_place && plateforme::existe(choix_.cible);
  if (support().image.ouvert() && plateforme::meme_fichier(choix_.cible, partition_courante().chemin))
    return impossible(message(kOuverteIci, {tronque_chemin(choix_.cible, kCheminMessage)}));
  Constat constat = constate(choix_);
  if (constat.possible && choix_.remplace)
    constat.pertes << vers_qt(message(kRemplace, {de_qt(QFileInfo(cible).fileName())}));
  return constat;
}

void FormeImages::regarde() {
  delai_.stop();
  {
    const Attente attente;
    constat_ = lit_choix();
  }
  effets_->setText(constat_.effets.join('\n'));
  pertes_->setText(constat_.pertes.join('\n'));
  effets_->setVisible(!constat_.effets.isEmpty());
  pertes_->setVisible(!constat_.pertes.isEmpty());
  bouton_accepter()->setEnabled(constat_.possible);
  bouton_accepter()->setText(chaine_qt(choix_.sur_place ? kModifier : kCreer));
  ajuste();
}

// Every line is seen, whatever the width: what is lost may be the last one.
void FormeImages::ajuste() {
  const QMargins marges = groupe_->layout()->contentsMargins();
  const int largeur = groupe_->contentsRect().width() - marges.left() - marges.right();
  for (QLabel *dit : {effets_, pertes_}) dit->setMinimumHeight(qMax(0, dit->heightForWidth(largeur)));
  layout()->activate();
}

void FormeImages::resizeEvent(QResizeEvent *evenement) {
  Forme::resizeEvent(evenement);
  if (groupe_ != nullptr) ajuste();
}

void FormeImages::accept() {
  regarde();
  if (!constat_.possible) return;
  const std::string cible = tronque_chemin(choix_.cible, kCheminMessage);
  const int question = choix_.sur_place ? kSurPlace : choix_.remplace ? kEcraser : 0;
  if (question != 0 && !demande_prudente(message(question, {cible}))) return;
  Forme::accept();
}

class THybridation final : public FormeImages {
 public:
  explicit THybridation(TVarnion &fenetre) : FormeImages(fenetre, "THybridation", kTitreHybride) {
    auto *champs = new QFormLayout;
    champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    const QString mac = vers_qt(partition_courante().chemin);
    QWidget *texte = texte_fixe(QFileInfo(mac).fileName(), "ImageMac");
    texte->setToolTip(mac);
    champs->addRow(chaine_qt(kImageMac), texte);
    corps()->addLayout(champs);
    monte(champs, kImageIso, "-hybrid");
  }

 private:
  Constat constate(const ChoixImages &choix) override {
    const ApercuHybride apercu = apercu_hybridation(support().image, choix.source);
    // In place even that can be done, after a question.
    const bool sans_iso = apercu.resultat == kHybridePasIso && choix.sur_place;
    if (apercu.resultat == kHybrideDeja) return impossible(charger_chaine(kDejaHybride));
    if (apercu.resultat != kHybrideFaite && !sans_iso)
      return impossible(texte_hybridation(apercu.resultat, partition_courante().chemin, choix.source));
    Constat constat{true, {}, {}};
    if (choix.sur_place)
      constat.pertes << vers_qt(message(kJointSurPlace, {taille_lisible(apercu.partition)}));
    else
      constat.effets << vers_qt(message(
          kJointNeuf,
          {taille_lisible(apercu.iso), taille_lisible(apercu.partition), taille_lisible(apercu.total())}));
    if (apercu.brute) constat.effets << chaine_qt(kBrute);
    if (apercu.plus_qu_un_cd) constat.effets << chaine_qt(kPlusQuUnCd);
    if (sans_iso)
      constat.pertes << vers_qt(texte_hybridation(apercu.resultat, {}, choix.source)).replace('\n', ' ');
    if (apercu.amorce) constat.pertes << chaine_qt(kAmorcePerdue);
    return constat;
  }
};

class TDeshybridation final : public FormeImages {
 public:
  explicit TDeshybridation(TVarnion &fenetre) : FormeImages(fenetre, "TDeshybridation", kTitreSepare) {
    auto *champs = new QFormLayout;
    champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    corps()->addLayout(champs);
    monte(champs, kImageHybride, "-iso");
  }

 private:
  Constat constate(const ChoixImages &choix) override {
    const ApercuSeparation apercu = apercu_separation(choix.source);
    if (apercu.resultat != kSepareFaite) return impossible(texte_separation(apercu.resultat, choix.source));
    const std::string garde = taille_lisible(apercu.garde);
    const std::string coupe = taille_lisible(apercu.coupe);
    Constat constat{true, {}, {}};
    if (choix.sur_place)
      constat.pertes << vers_qt(message(kSepareSurPlace, {coupe, garde}));
    else
      constat.effets << vers_qt(message(kSepareNeuf, {garde, coupe}));
    if (apercu.partage) constat.pertes << chaine_qt(kPartage);
    return constat;
  }
};

}  // namespace

std::optional<ChoixImages> boite_hybridation(TVarnion &fenetre) {
  THybridation forme(fenetre);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.choix();
}

std::optional<ChoixImages> boite_deshybridation(TVarnion &fenetre) {
  TDeshybridation forme(fenetre);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.choix();
}

}  // namespace varnion
