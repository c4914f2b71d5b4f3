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

namespace {

// Drawings of this program, by the start of a MIME type or by its generic icon.
constexpr struct {
  const char *debut, *generique, *dessin;
} kGenres[] = {
    {"text/html", "", "genre_page"},
    {"image/", "", "genre_image"},
    {"audio/", "", "genre_son"},
    {"video/", "", "genre_video"},
    {"font/", "", "genre_police"},
    {"", "font-x-generic", "genre_police"},
    {"", "package-x-generic", "genre_archive"},
    {"", "application-x-executable", "genre_programme"},
    {"", "x-office-document", "genre_document"},
    {"", "x-office-spreadsheet", "genre_document"},
    {"", "x-office-presentation", "genre_document"},
    {"application/pdf", "", "genre_document"},
    {"text/", "", "fichier"},
};

QString dessin_de(const QMimeType &type) {
  for (const auto &genre : kGenres) {
    if (*genre.debut != '\0' && type.name().startsWith(genre.debut)) return genre.dessin;
    if (*genre.generique != '\0' && type.genericIconName() == genre.generique) return genre.dessin;
  }
  return {};
}

}  // namespace

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
  if (!theme.isNull()) return theme;
  const QIcon dessinee = icone(dessin_de(type), Qt::black);
  return dessinee.isNull() ? defaut : dessinee;
}

}  // namespace varnion
