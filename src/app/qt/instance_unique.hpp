#pragma once

#include <memory>

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QString>

namespace varnion {

/// One desktop program a user: the first holds a lock and listens on the local socket "Varnion".
class InstanceUnique final : public QObject {
  Q_OBJECT

 public:
  /// `dossier`: where lock and socket lie; the user's runtime folder when it is empty.
  explicit InstanceUnique(const QString &dossier = {}, QObject *parent = nullptr);
  ~InstanceUnique() override;
  InstanceUnique(const InstanceUnique &) = delete;
  InstanceUnique &operator=(const InstanceUnique &) = delete;

  /// True for the first instance, which listens from now on. Also true where no lock can be made.
  [[nodiscard]] bool premiere();
  /// Gives a document to the first instance; false when it did not take it.
  [[nodiscard]] bool remet(const QString &chemin) const;

 signals:
  void recu(const QString &chemin);

 private:
  void accueille();

  QString socket_;
  std::unique_ptr<QLockFile> verrou_;
  QLocalServer serveur_;
};

}  // namespace varnion
