#include "app/qt/operations_qt.hpp"

#include <algorithm>
#include <thread>

#include <QApplication>
#include <QEventLoop>
#include <QKeyEvent>
#include <QThread>

#include "app/noyau/journal.hpp"
#include "app/qt/curseur_attente.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tttronq.hpp"

namespace varnion {

namespace {

constexpr int kAnnuler = 1002;
constexpr int kEnregistrer = 7700;
constexpr int kNePasEnregistrer = 7701;
constexpr int kJeter = 7714;
constexpr int kDureeAvis = 3000;  // milliseconds
constexpr int kSeconde = 1000;    // milliseconds
constexpr int kSouffle = 100;     // milliseconds between two looks at the window

thread_local const std::atomic<bool> *arret_du_fil = nullptr;

bool est_saisie(QEvent::Type type) {
  switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::Drop:
    case QEvent::Close:
      return true;
    default:
      return false;
  }
}

// The cursor of a running command makes way for a message.
class CurseurLibre {
 public:
  explicit CurseurLibre(bool occupe) : occupe_(occupe) {
    if (occupe_) QApplication::restoreOverrideCursor();
  }
  ~CurseurLibre() {
    if (occupe_) QApplication::setOverrideCursor(curseur_attente(0));
  }
  CurseurLibre(const CurseurLibre &) = delete;
  CurseurLibre &operator=(const CurseurLibre &) = delete;

 private:
  bool occupe_;
};

}  // namespace

OperationsQt::OperationsQt(QObject *parent) : QObject(parent) {
  qApp->installEventFilter(this);
  souffle_.start();
  connect(&seconde_, &QTimer::timeout, this, &OperationsQt::bat_seconde);
}

OperationsQt::~OperationsQt() {
  while (occupe()) curseur_attente_fin();
}

void OperationsQt::sur_fil_principal(const std::function<void()> &travail) {
  if (QThread::currentThread() == thread())
    travail();
  else
    QMetaObject::invokeMethod(this, travail, Qt::BlockingQueuedConnection);
}

// --- messages

int OperationsQt::montre(const char *nom, std::string_view texte, const FormeMessage::Choix &choix,
                         bool *toujours) {
  int reponse = 0;
  sur_fil_principal([&] {
    const CurseurLibre libre(occupe());
    QWidget *parent = QApplication::activeModalWidget();
    // A form whose work runs is disabled, and what belongs to it would be too.
    while (parent != nullptr && !parent->isEnabled()) parent = parent->parentWidget();
    if (parent == nullptr) parent = fenetre_;
    FormeMessage forme(parent, nom, vers_qt(texte).trimmed(), choix);
    reponse = forme.exec();
    if (toujours != nullptr) *toujours = forme.toujours();
  });
  return reponse;
}

void OperationsQt::afficher_erreur(std::string_view texte) {
  ecrit_journal(GenreJournal::erreur, texte);
  static_cast<void>(montre("TMessOK", texte, {.genre = FormeMessage::Genre::erreur}));
}

void OperationsQt::afficher_avis(std::string_view texte) {
  static_cast<void>(montre("TMessOK", texte, {.duree = kDureeAvis}));
}

// A stop that is pending is what the question is about: the answer settles it.
int OperationsQt::demander_oui_non(std::string_view texte) {
  sur_fil_principal([this] { arret_ = false; });
  return montre("TMessON", texte, {.genre = FormeMessage::Genre::question, .prudent = prudentes_ > 0});
}

bool OperationsQt::demander_prudent(std::string_view texte) {
  const QuestionsPrudentes prudentes(*this);
  return demander_oui_non(texte) != 0;
}

bool demande_prudente(std::string_view texte) {
  if (auto *fenetre = dynamic_cast<OperationsQt *>(&operations())) return fenetre->demander_prudent(texte);
  return operations().demander_oui_non(texte) != 0;
}

SortTravail OperationsQt::demander_sort(std::string_view texte) {
  const int reponse = montre("TMessEnr", texte,
                             {.genre = FormeMessage::Genre::question,
                              .oui = kEnregistrer,
                              .tiers = kNePasEnregistrer,
                              .non = kAnnuler});
  if (reponse == FormeMessage::kTiers) return SortTravail::abandonne;
  return reponse == QDialog::Accepted ? SortTravail::enregistre : SortTravail::reste;
}

bool OperationsQt::demander_reprise(std::string_view texte, int continuer) {
  return montre("TMessRep", texte,
                {.genre = FormeMessage::Genre::question, .oui = continuer, .tiers = kJeter, .non = 0}) !=
         FormeMessage::kTiers;
}

int OperationsQt::demander_tous(std::string_view texte) {
  bool toujours = false;
  const int oui = montre(
      "TMessONT", texte,
      {.genre = FormeMessage::Genre::question, .toujours = true, .prudent = prudentes_ > 0}, &toujours);
  if (!toujours) return oui;
  return oui != 0 ? 2 : -1;
}

bool OperationsQt::demander_nom(std::string_view legende, std::string &nom, std::size_t limite) {
  bool donne = false;
  sur_fil_principal([&] {
    const CurseurLibre libre(occupe());
    QWidget *parent = QApplication::activeModalWidget();
    donne = saisit_nom_tronque(parent != nullptr ? parent : fenetre_.data(), legende, nom, limite);
  });
  return donne;
}

bool OperationsQt::annoncer_retenir(std::string_view texte) {
  bool toujours = false;
  static_cast<void>(montre("TMessAnn", texte, {.toujours = true}, &toujours));
  return toujours;
}

void OperationsQt::afficher_etat(std::string_view texte, std::string_view second) {
  QString ligne = vers_qt(texte);
  if (!second.empty()) ligne += (ligne.isEmpty() ? "" : " ") + vers_qt(second);
  ligne.replace('\n', ' ');
  bool poste = false;
  {
    const std::lock_guard garde(verrou_);
    etat_ = ligne;
    poste = !etat_attend_;
    etat_attend_ = true;
  }
  if (QThread::currentThread() == thread()) {
    montre_etat();
    respire();
  } else if (poste) {
    QMetaObject::invokeMethod(this, &OperationsQt::montre_etat, Qt::QueuedConnection);
  }
}

void OperationsQt::montre_etat() {
  QString ligne;
  {
    const std::lock_guard garde(verrou_);
    ligne = etat_;
    etat_attend_ = false;
  }
  emit etat(ligne);
}

void OperationsQt::afficher_etat_seul(std::string_view texte) {
  afficher_etat(texte, {});
}

void OperationsQt::journal(GenreJournal genre, std::string_view texte) {
  ecrit_journal(genre, texte);
}

// --- long work

void OperationsQt::progression_debut(std::uint64_t pas) {
  {
    const std::lock_guard garde(verrou_);
    fait_ = 0;
    total_ = pas;
  }
  sur_fil_principal([this] { montre_avance(); });
}

void OperationsQt::progression_pas(std::uint64_t pas) {
  bool poste = false;
  {
    const std::lock_guard garde(verrou_);
    fait_ = std::min<quint64>(fait_ + pas, total_);
    poste = !avance_attend_;
    avance_attend_ = true;
  }
  if (QThread::currentThread() != thread()) {
    if (poste) QMetaObject::invokeMethod(this, &OperationsQt::montre_avance, Qt::QueuedConnection);
    return;
  }
  if (souffle_.elapsed() >= kSouffle) montre_avance();
  respire();
}

void OperationsQt::progression_fin() {
  progression_debut(0);
}

void OperationsQt::montre_avance() {
  quint64 fait = 0;
  quint64 total = 0;
  {
    const std::lock_guard garde(verrou_);
    fait = fait_;
    total = total_;
    avance_attend_ = false;
  }
  emit avance(fait, total);
}

void OperationsQt::curseur_attente_debut() {
  sur_fil_principal([this] {
    if (profondeur_++ > 0) return;
    arret_ = false;
    modale_ = QApplication::activeModalWidget();
    image_ = 0;
    QApplication::setOverrideCursor(curseur_attente(image_));
    depuis_.start();
    seconde_.start(kSeconde);
  });
}

void OperationsQt::curseur_attente_fin() {
  sur_fil_principal([this] {
    if (profondeur_ == 0 || --profondeur_ > 0) return;
    arret_ = false;
    seconde_.stop();
    QApplication::restoreOverrideCursor();
    emit ecoule(-1);
  });
}

// A second of a running command: the next picture of the cursor, and the time.
void OperationsQt::bat_seconde() {
  image_ = (image_ + 1) % kImagesCurseur;
  if (QApplication::activeModalWidget() == modale_)
    QApplication::changeOverrideCursor(curseur_attente(image_));
  emit ecoule(static_cast<int>(depuis_.elapsed() / kSeconde));
}

void OperationsQt::en_fond(const std::function<void()> &travail) {
  if (QThread::currentThread() != thread()) return travail();
  const Attente attente;
  QEventLoop boucle;
  std::thread fil([&] {
    travail();
    QMetaObject::invokeMethod(&boucle, &QEventLoop::quit, Qt::QueuedConnection);
  });
  boucle.exec();
  fil.join();
}

// Lets the window repaint, and Esc through, while a command runs.
void OperationsQt::respire() {
  if (!occupe() || souffle_.elapsed() < kSouffle) return;
  souffle_.restart();
  QApplication::processEvents(QEventLoop::AllEvents, kSouffle / 4);
}

ArretDuFil::ArretDuFil(const std::atomic<bool> &arret) {
  arret_du_fil = &arret;
}

ArretDuFil::~ArretDuFil() {
  arret_du_fil = nullptr;
}

bool OperationsQt::arret_demande() {
  if (arret_du_fil != nullptr) return *arret_du_fil;
  if (QThread::currentThread() == thread()) respire();
  return arret_;
}

bool OperationsQt::eventFilter(QObject * /*cible*/, QEvent *evenement) {
  if (!occupe() || !est_saisie(evenement->type()) || QApplication::activeModalWidget() != modale_)
    return false;
  if (evenement->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(evenement)->key() == Qt::Key_Escape)
    arret_ = true;
  if (evenement->type() == QEvent::Close) evenement->ignore();
  return true;
}

}  // namespace varnion
