#include "app/qt/icones.hpp"

#include <QFile>
#include <QMimeDatabase>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

// The macro must stand outside of every namespace.
static void charge_ressources() {
  Q_INIT_RESOURCE(icones);
}

namespace varnion {

QIcon icone(const QString &nom, const QColor &trait) {
  charge_ressources();
  QIcon icone;
  QFile fichier(":/icones/" + nom + ".svg");
  if (nom.isEmpty() || !fichier.open(QIODevice::ReadOnly)) return icone;
  QByteArray dessin = fichier.readAll();
  dessin.replace("currentColor", trait.name().toLatin1());
  QSvgRenderer rendu(dessin);
  for (const int cote : {16, 20, 24, 32, 48, 64}) {
    QPixmap image(cote, cote);
    image.fill(Qt::transparent);
    QPainter peintre(&image);
    rendu.render(&peintre);
    peintre.end();
    icone.addPixmap(image);
  }
  return icone;
}

QIcon icone_extension(const QString &nom, const QIcon &defaut) {
  const QMimeType type = QMimeDatabase().mimeTypeForFile(nom, QMimeDatabase::MatchExtension);
  const QIcon theme = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
  return theme.isNull() ? defaut : theme;
}

}  // namespace varnion
