#include "app/qt/tvarprogress.hpp"

#include <algorithm>
#include <climits>

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 7031;
constexpr int kPreparation = 1397;
constexpr int kGenerale = 1392;
constexpr int kUnFichier = 1393;
constexpr int kFichiers = 1015;
constexpr int kTemps = 7026;  // minutes, seconds
constexpr int kArret = 2098;
constexpr int kArretEnCours = 7025;
constexpr int kRegard = 100;       // milliseconds between two looks at the run
constexpr int kDureeTrace = 2000;  // milliseconds that a phase is shown
constexpr int kSeconde = 1000;     // milliseconds
constexpr int kPas = 1000;         // of the general bar
constexpr int kLignesTexte = 3;
constexpr int kLettres = 76;

QLabel *ligne(const char *nom) {
  auto *etiquette = new QLabel;
  etiquette->setObjectName(nom);
  etiquette->setTextFormat(Qt::PlainText);
  return etiquette;
}

}  // namespace

TVarProgress::TVarProgress(QWidget *parent, const SuiviFenetre &suivi, std::uint64_t secteurs,
                           std::function<void()> arret)
    : Forme(parent, "TVarProgress", kTitre, sujet::kSuiviCompilation),
      suivi_(suivi),
      secteurs_(std::max<std::uint64_t>(secteurs, 1)),
      titre_(ligne("Titre")),
      texte_(ligne("Texte")),
      trace_(ligne("Trace")),
      temps_(ligne("Temps")),
      compte_(ligne("Compte")) {
  setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
  QFont gras = titre_->font();
  gras.setBold(true);
  titre_->setFont(gras);
  // The form keeps its size while the texts change.
  texte_->setWordWrap(true);
  texte_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  texte_->setMinimumSize(fontMetrics().averageCharWidth() * kLettres,
                         fontMetrics().lineSpacing() * kLignesTexte);
  texte_->setText(chaine_qt(kPreparation).trimmed());
  corps()->addWidget(titre_);
  corps()->addWidget(texte_, 1);
  corps()->addWidget(trace_);
  trace_->setVisible(etat<OptionsProgramme>().niveau_trace != 0);
  generale_ = ajoute_barre(kGenerale, "PBGeneral");
  generale_->setRange(0, kPas);
  fichier_ = ajoute_barre(kUnFichier, "PBFichier");
  auto *pied = new QHBoxLayout;
  pied->addWidget(temps_);
  pied->addStretch();
  pied->addWidget(compte_);
  corps()->addLayout(pied);
  boutons(0, 0);
  arret_ = bouton(kArret, "Arret");
  connect(arret_, &QAbstractButton::clicked, this, [arret = std::move(arret)] { arret(); });
  connect(&minuterie_, &QTimer::timeout, this, &TVarProgress::rafraichit);
  depuis_.start();
  minuterie_.start(kRegard);
  rafraichit();
}

QProgressBar *TVarProgress::ajoute_barre(int legende, const char *nom) {
  auto *titre = new QLabel(chaine_qt(legende).trimmed());
  auto *barre = new QProgressBar;
  barre->setObjectName(nom);
  barre->setAccessibleName(titre->text());
  barre->setRange(0, 1);
  barre->setValue(0);
  corps()->addWidget(titre);
  corps()->addWidget(barre);
  return barre;
}

void TVarProgress::montre_arret() {
  arret_->setEnabled(false);
  texte_->setText(chaine_qt(kArretEnCours));
}

void TVarProgress::rafraichit() {
  const AvanceCompilation a = suivi_.avance();
  titre_->setText(vers_qt(a.titre));
  if (!a.texte.empty() && !suivi_.arret()) texte_->setText(vers_qt(a.texte).trimmed());
  generale_->setValue(static_cast<int>(std::min(a.secteurs, secteurs_) * kPas / secteurs_));
  fichier_->setRange(0, static_cast<int>(std::clamp<std::uint64_t>(a.tranches, 1, INT_MAX)));
  fichier_->setValue(static_cast<int>(std::min(a.tranches_faites, a.tranches)));
  compte_->setText(vers_qt(message(kFichiers, {a.fichiers})));
  const qint64 secondes = depuis_.elapsed() / kSeconde;
  temps_->setText(vers_qt(message(kTemps, {secondes / 60, secondes % 60})));
  if (a.phases != phases_) {
    phases_ = a.phases;
    depuis_phase_.start();
    trace_->setText(vers_qt(a.trace));
  } else if (depuis_phase_.isValid() && depuis_phase_.hasExpired(kDureeTrace)) {
    trace_->clear();
  }
}

}  // namespace varnion
