#include "app/qt/texte_qt.hpp"

#include <algorithm>

#include <QDateTime>
#include <QLocale>
#include <QStringList>

#include "fichiers/element.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kSeuil = 1000000;
constexpr int kTailleVolume = 1201;
constexpr std::uint64_t kFractionMax = 999;

// A blank in French, which must not break the line; a comma in English.
std::string groupe(std::uint64_t nombre) {
  std::string chiffres = std::to_string(nombre);
  const char separateur = base_langue() == kLangueFrancais ? '\xA0' : ',';
  for (std::size_t place = chiffres.size(); place > 3;) {
    place -= 3;
    chiffres.insert(place, 1, separateur);
  }
  return chiffres;
}

}  // namespace

QString vers_qt(std::string_view texte) {
  return QString::fromStdString(plateforme::texte_vers_utf8(texte));
}

std::string de_qt(const QString &texte) {
  return plateforme::utf8_vers_texte(texte.toStdString());
}

QString chaine_qt(int id) {
  return vers_qt(charger_chaine(id));
}

std::string taille_liste(std::uint64_t octets) {
  if (octets < kSeuil) return groupe(octets);
  if (octets >> 10 < kSeuil) return groupe(octets >> 10) + "k";
  return groupe(octets >> 20) + "M";
}

std::string taille_volume(std::uint64_t octets) {
  const std::uint64_t entier = octets >> 20;
  std::uint64_t fraction = std::min<std::uint64_t>(octets >> 10 & 0x3FF, kFractionMax);
  if (octets != 0 && entier == 0 && fraction == 0) fraction = 1;
  return message(kTailleVolume, {groupe(entier), fraction});
}

QString date_liste(std::uint32_t secondes, bool utc) {
  if (secondes == 0) return {};
  const qint64 unix_mac = static_cast<qint64>(secondes) - kEpoqueMac;
  QDateTime date = QDateTime::fromSecsSinceEpoch(unix_mac, Qt::UTC);
  if (utc) date = date.toLocalTime();
  return QLocale().toString(date, QLocale::ShortFormat);
}

QString filtre_qt(std::string_view filtre, std::string_view premiers) {
  const QStringList parties = vers_qt(filtre).split('|');
  QStringList groupes;
  for (qsizetype i = 0; i + 1 < parties.size(); i += 2) {
    // The caption may name its patterns; Qt shows them once more behind it.
    QString legende = parties[i];
    const qsizetype crochet = std::max(legende.lastIndexOf('['), legende.lastIndexOf('('));
    if (crochet > 0) legende = legende.left(crochet).trimmed();
    QString motifs = i == 0 && !premiers.empty() ? vers_qt(premiers) : parties[i + 1];
    motifs.replace("*.*", "*").replace(';', ' ');
    groupes << legende + " (" + motifs + ")";
  }
  return groupes.join(";;");
}

}  // namespace varnion
