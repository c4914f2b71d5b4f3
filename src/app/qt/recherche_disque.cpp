#include "app/qt/recherche_disque.hpp"

#include <algorithm>

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>
#include <QStorageInfo>

#include "app/qt/texte_qt.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCherche = 7203;
constexpr std::size_t kCheminEtat = 60;
constexpr int kNiveauxMax = 128;

// Not disks, whatever they say: the system shows itself as files there.
bool est_systeme(const QString &chemin) {
  for (const char *racine : {"/proc", "/sys", "/dev", "/run"})
    if (chemin == racine || chemin.startsWith(QString(racine) + "/")) return true;
  return false;
}

bool est_dans(const QString &chemin, const QString &racine) {
  return racine == "/" || chemin == racine || chemin.startsWith(racine + "/");
}

}  // namespace

QStringList disques() {
  QStringList racines;
  for (const QStorageInfo &disque : QStorageInfo::mountedVolumes()) {
    const QString racine = disque.rootPath();
    const bool utile = disque.isValid() && disque.isReady() && QFileInfo(racine).isDir();
    if (utile && !est_systeme(racine) && !racines.contains(racine)) racines << racine;
  }
  if (!racines.contains("/")) racines << "/";
  std::sort(racines.begin(), racines.end());
  return racines;
}

QString disque_de(const QString &chemin) {
  const QString propre = QDir::cleanPath(chemin);
  QString trouve = "/";
  for (const QString &racine : disques())
    if (est_dans(propre, racine) && racine.size() >= trouve.size()) trouve = racine;
  return trouve;
}

QStringList cherche_sur_disque(const QStringList &racines, const QString &nom, bool dossier, int limite) {
  const QStringList points = disques();
  const QSet<QString> autres(points.begin(), points.end());
  QStringList trouves;
  struct Lieu {
    QString chemin;
    int niveau;
  };
  for (const QString &racine : racines) {
    std::vector<Lieu> attente{{QDir::cleanPath(racine), 0}};
    while (!attente.empty() && trouves.size() < limite && !operations().arret_demande()) {
      const Lieu lieu = attente.back();
      attente.pop_back();
      operations().afficher_etat_seul(message(kCherche, {tronque_chemin(de_qt(lieu.chemin), kCheminEtat)}));
      QDirIterator entrees(lieu.chemin, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
      while (entrees.hasNext() && trouves.size() < limite) {
        const QString chemin = entrees.next();
        const QFileInfo fiche = entrees.fileInfo();
        const bool lien = fiche.isSymLink();
        if (fiche.isDir() == dossier && fiche.fileName() == nom) trouves << chemin;
        if (fiche.isDir() && !lien && lieu.niveau < kNiveauxMax && !est_systeme(chemin) &&
            !autres.contains(chemin))
          attente.push_back({chemin, lieu.niveau + 1});
      }
    }
  }
  operations().afficher_etat({}, {});
  trouves.sort();
  trouves.removeDuplicates();
  return trouves;
}

}  // namespace varnion
