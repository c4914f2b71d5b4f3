#include "app/qt/tvarthread.hpp"

#include <QApplication>
#include <QTimer>

#include "app/qt/message.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tremarques.hpp"
#include "app/qt/tvarnion.hpp"
#include "app/qt/tvarprogress.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr const char *kNom = "TVarThread";
constexpr int kReussie = 1295;
constexpr int kAttenteFin = 100;  // milliseconds until an end that has to wait is tried again

}  // namespace

TVarThread::TVarThread(TVarnion &fenetre, FichierProjet projet, DemandeCompilation demande,
                       std::uint64_t secteurs)
    : QObject(&fenetre),
      fenetre_(fenetre),
      projet_(std::move(projet)),
      demande_(std::move(demande)),
      progres_(new TVarProgress(&fenetre, suivi_, secteurs, [this] { arrete(); })) {
  setObjectName(kNom);
  fenetre_.compilation(true);
  fenetre_.setCursor(Qt::BusyCursor);
  progres_->show();
  fil_ = std::thread([this] { execute(); });
}

// The worker may be waiting for an answer of the main thread: it is served until the end.
TVarThread::~TVarThread() {
  muet_ = true;
  suivi_.demande_arret();
  while (!fini_) QApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
  if (fil_.joinable()) fil_.join();
  delete progres_;
}

TVarThread *TVarThread::courant(const TVarnion &fenetre) {
  return static_cast<TVarThread *>(fenetre.findChild<QObject *>(kNom, Qt::FindDirectChildrenOnly));
}

void TVarThread::arrete() {
  if (fini_) return;
  suivi_.demande_arret();
  progres_->montre_arret();
}

void TVarThread::arrete_et_ferme() {
  ferme_apres_ = true;
  arrete();
}

void TVarThread::execute() {
  {
    const ArretDuFil arret(suivi_.arret());
    bilan_ = varnion::compile_projet(projet_, demande_, suivi_);
    if (!projet_.ferme()) static_cast<void>(echec_ecriture_projet(projet_.chemin()));
  }
  fini_ = true;
  QMetaObject::invokeMethod(
      this, [this] { fin_compilation(); }, Qt::QueuedConnection);
}

void TVarThread::montre_reussite() {
  progres_->rafraichit();
  QString texte = vers_qt(suivi_.avance().titre);
  texte.replace(" (", "\n(");
  const std::vector<std::string> remarques = suivi_.remarques();
  texte += chaine_qt(kReussie);
  QApplication::alert(&fenetre_);
  QWidget *parent = QApplication::activeModalWidget();
  if (parent == nullptr) parent = &fenetre_;
  if (!remarques.empty()) return montre_remarques(parent, texte, remarques);
  FormeMessage forme(parent, "TMessOK", texte, {FormeMessage::Genre::information, false, 0});
  forme.exec();
}

// A run that failed has told so, and why, by now. A command of the window that works on the project ends
// first.
void TVarThread::fin_compilation() {
  if (muet_) return;
  if (fenetre_.operations_fenetre().occupe()) {
    QTimer::singleShot(kAttenteFin, this, [this] { fin_compilation(); });
    return;
  }
  fil_.join();
  fenetre_.unsetCursor();
  if (bilan_.resultat == kCompilReussie) montre_reussite();
  progres_->hide();
  setObjectName({});
  fenetre_.compilation(false);
  fenetre_.reprend_projet();
  const bool ferme = ferme_apres_;
  deleteLater();
  if (ferme) fenetre_.close();
}

}  // namespace varnion
