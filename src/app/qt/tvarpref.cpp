#include "app/qt/tvarpref.hpp"

#include <cstdint>
#include <vector>

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "app/noyau/reglages.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "projet/fichier_projet.hpp"
#include "projet/noms_rubrique.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1430;
constexpr int kTailleMax = 17000;  // megabytes
constexpr int kPasTaille = 50;
constexpr std::uint32_t kOptionSansBarre = 0x80;
constexpr std::uint32_t kOptionCaches = 0x100;
// Stored and shown; deletions look at another bit.
constexpr std::uint32_t kOptionSansQuestion = 0x400;

enum Page : int { kGeneral, kProjet, kPartition, kIsop, kPages };

struct PagePref {
  const char *nom;
  int legende;
};
constexpr PagePref kLesPages[kPages] = {
    {"TabGen", 1431}, {"TabProj", 1432}, {"TabPart", 1433}, {"TabIsop", 1434}};

// A box is a bit of one of the two words; a size is a number of megabytes.
struct CasePref {
  const char *nom;
  int legende;
  Page page;
  std::uint32_t OptionsProgramme::*mot;
  std::uint32_t bit;
};
constexpr CasePref kCases[] = {
    {"SavMode", 1435, kGeneral, &OptionsProgramme::vn_options, kVnOptionGardeMode},
    {"SavTronq", 1436, kGeneral, &OptionsProgramme::vn_options, kVnOptionTronque},
    {"SavBack", 1438, kGeneral, &OptionsProgramme::vn_options, kVnOptionSansCopie},
    {"journal", 1440, kGeneral, &OptionsProgramme::vn_options, kVnOptionJournal},
    {"Sequoia", 1443, kGeneral, &OptionsProgramme::vn_options, kVnOptionHfsplus},
    {"CachBarr2", 1441, kGeneral, &OptionsProgramme::options, kOptionSansBarre},
    {"OpenRoot", 1439, kProjet, &OptionsProgramme::vn_options, kVnOptionOuvrirRacine},
    {"VolRefresh", 1341, kProjet, &OptionsProgramme::vn_options, kVnOptionReconstruire},
    {"Cache", 1445, kPartition, &OptionsProgramme::options, kOptionCaches},
    {"ValDel", 1446, kPartition, &OptionsProgramme::options, kOptionSansQuestion},
};

struct TaillePref {
  const char *nom;
  int legende;
  Page page;
  int Reglages::*taille;
};
constexpr TaillePref kTailles[] = {
    {"EdMaxProj", 1437, kProjet, &Reglages::taille_projet},
    {"EdMaxIsop", 1455, kIsop, &Reglages::taille_isop},
};

QString sans_blancs(QString texte) {
  return texte.remove(QChar(' ')).remove(QChar(0xA0)).remove(QChar(0x202F));
}

// A size may be typed with blanks between its digits.
class ChampTaille final : public QSpinBox {
 public:
  ChampTaille() {
    setRange(0, kTailleMax);
    setSingleStep(kPasTaille);
  }

 protected:
  QValidator::State validate(QString &texte, int &position) const override {
    QString nu = sans_blancs(texte);
    int place = static_cast<int>(nu.size());
    const QValidator::State etat = QSpinBox::validate(nu, place);
    if (nu == texte) return QSpinBox::validate(texte, position);
    return etat;
  }
  int valueFromText(const QString &texte) const override { return sans_blancs(texte).toInt(); }
};

class TVarPref final : public Forme {
 public:
  explicit TVarPref(QWidget *parent) : Forme(parent, "TVarPref", kTitre, sujet::kPreferences) {
    auto *onglets = new QTabWidget;
    onglets->setObjectName("Onglets");
    onglets->tabBar()->setUsesScrollButtons(false);  // all pages in sight
    QFormLayout *champs[kPages]{};
    for (int i = 0; i < kPages; ++i) {
      auto *page = new QWidget;
      page->setObjectName(kLesPages[i].nom);
      champs[i] = new QFormLayout(page);
      onglets->addTab(page, chaine_qt(kLesPages[i].legende));
    }
    for (const TaillePref &taille : kTailles) {
      auto *champ = new ChampTaille;
      champ->setObjectName(taille.nom);
      champ->setValue(reglages().*taille.taille);
      champs[taille.page]->addRow(chaine_qt(taille.legende), champ);
      tailles_.push_back(champ);
    }
    for (const CasePref &pref : kCases) {
      auto *boite = new QCheckBox(chaine_qt(pref.legende));
      boite->setObjectName(pref.nom);
      boite->setChecked((etat<OptionsProgramme>().*pref.mot & pref.bit) != 0);
      champs[pref.page]->addRow(boite);
      cases_.push_back(boite);
    }
    corps()->addWidget(onglets);
    boutons();
  }

  void range() const {
    for (std::size_t i = 0; i < cases_.size(); ++i) {
      std::uint32_t &mot = etat<OptionsProgramme>().*kCases[i].mot;
      mot = cases_[i]->isChecked() ? mot | kCases[i].bit : mot & ~kCases[i].bit;
    }
    for (std::size_t i = 0; i < tailles_.size(); ++i) reglages().*kTailles[i].taille = tailles_[i]->value();
  }

 private:
  std::vector<QCheckBox *> cases_;
  std::vector<QSpinBox *> tailles_;
};

}  // namespace

IssuePreferences montre_preferences(QWidget *parent) {
  TVarPref forme(parent);
  if (forme.exec() != QDialog::Accepted) return IssuePreferences::refusees;
  const OptionsProgramme avant = etat<OptionsProgramme>();
  forme.range();
  const OptionsProgramme &apres = etat<OptionsProgramme>();
  const bool tronque = (apres.vn_options & kVnOptionTronque) != 0;
  // The box says what holds from now on; left as it was, answers given meanwhile stay.
  if (tronque != ((avant.vn_options & kVnOptionTronque) != 0))
    troncature_noms() = {tronque, tronque, tronque};
  return ((avant.options ^ apres.options) & kOptionCaches) != 0 ? IssuePreferences::relecture
                                                                : IssuePreferences::prises;
}

}  // namespace varnion
