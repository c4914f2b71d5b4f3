#include "app/qt/instance_unique.hpp"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>

namespace varnion {

namespace {

constexpr qint64 kMessageMax = 16384;  // bytes of a path
constexpr int kDelai = 3000;           // milliseconds

}  // namespace

InstanceUnique::InstanceUnique(const QString &dossier, QObject *parent) : QObject(parent) {
  const QString place =
      dossier.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) : dossier;
  socket_ = QDir(place).filePath("Varnion");
  verrou_ = std::make_unique<QLockFile>(socket_ + ".lock");
  verrou_->setStaleLockTime(0);
  serveur_.setSocketOptions(QLocalServer::UserAccessOption);
  connect(&serveur_, &QLocalServer::newConnection, this, &InstanceUnique::accueille);
}

InstanceUnique::~InstanceUnique() = default;

bool InstanceUnique::premiere() {
  if (!verrou_->tryLock(0) && verrou_->error() == QLockFile::LockFailedError) return false;
  // What a crash left behind of the socket is in the way; the lock says that nobody listens.
  QLocalServer::removeServer(socket_);
  serveur_.listen(socket_);
  return true;
}

bool InstanceUnique::remet(const QString &chemin) const {
  QLocalSocket ligne;
  ligne.connectToServer(socket_, QIODevice::WriteOnly);
  if (!ligne.waitForConnected(kDelai)) return false;
  ligne.write(chemin.toUtf8());
  const bool parti = ligne.waitForBytesWritten(kDelai);
  ligne.disconnectFromServer();
  if (ligne.state() != QLocalSocket::UnconnectedState) ligne.waitForDisconnected(kDelai);
  return parti;
}

// The path is what comes until the other side closes.
void InstanceUnique::accueille() {
  while (QLocalSocket *ligne = serveur_.nextPendingConnection()) {
    ligne->setReadBufferSize(kMessageMax);
    const auto fini = [this, ligne] {
      const QString chemin = QString::fromUtf8(ligne->read(kMessageMax));
      ligne->deleteLater();
      if (!chemin.isEmpty()) emit recu(chemin);
    };
    if (ligne->state() == QLocalSocket::UnconnectedState)
      fini();
    else
      connect(ligne, &QLocalSocket::disconnected, this, fini);
  }
}

}  // namespace varnion
