#include "app/noyau/types_fichiers.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <utility>
#include <vector>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QString>

#include "IO/plateforme.hpp"

// The macro must stand outside of every namespace.
static void charge_dessins() {
  Q_INIT_RESOURCE(types);
}

namespace varnion {

namespace {

constexpr std::array kTypes{
    TypeFichier{kTypeProjet, "Varnion.proj", ".vnpr", "application/x-varnion-project",
                "application-x-varnion-project", "Varnion hybrid CD-ROM project",
                "Projet de CD-ROM hybride Varnion"},
    TypeFichier{kTypeImage, "Varnion.part", ".hfs", "application/x-varnion-image",
                "application-x-varnion-image", "Macintosh volume image", "Image de volume Macintosh"},
    TypeFichier{kTypeIsop, "Varnion.isop", ".vnso", "application/x-varnion-isoplus",
                "application-x-varnion-isoplus", "Varnion ISO+ project", "Projet ISO+ Varnion"},
};

QString dossier_donnees() {
  return QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)) + "/";
}

QString chemin_starter(const TypeFichier &type) {
  return dossier_donnees() + "applications/" + QString(type.classe).toLower() + ".desktop";
}

QString chemin_mime(const TypeFichier &type) {
  return dossier_donnees() + "mime/packages/" + QString(type.classe).toLower() + ".xml";
}

QString chemin_icone(const TypeFichier &type) {
  return dossier_donnees() + "icons/hicolor/scalable/mimetypes/" + type.icone + ".svg";
}

// A program's path as the Exec key of the Desktop Entry Specification wants it: in quotes; a double quote, a
// backquote, a dollar sign and a backslash escaped for the quotes, each backslash doubled for the string; a
// percent sign doubled for the field codes.
std::string entre_guillemets(const std::string &chemin) {
  std::string sortie = "\"";
  for (const char c : chemin) {
    if (c == '"' || c == '`' || c == '$') sortie += "\\\\";
    if (c == '\\') sortie += "\\\\\\";
    if (c == '%') sortie += '%';
    sortie += c;
  }
  return sortie + "\"";
}

std::string texte_starter(const TypeFichier &type, const std::string &programme) {
  return "[Desktop Entry]\nType=Application\nVersion=1.0\nName=Varnion\nNoDisplay=true\nIcon=" +
         std::string(type.icone) + "\nExec=" + entre_guillemets(programme) +
         " %f\nTerminal=false\nMimeType=" + type.mime + ";\n";
}

std::string texte_mime(const TypeFichier &type) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n  <mime-type type=\"" +
         std::string(type.mime) + "\">\n    <comment>" + type.anglais +
         "</comment>\n    <comment xml:lang=\"fr\">" + type.francais + "</comment>\n    <icon name=\"" +
         type.icone + "\"/>\n    <glob pattern=\"*" + type.extension + "\"/>\n  </mime-type>\n</mime-info>\n";
}

// False when the file is not whole on the disk; what was written of it is gone then.
bool ecrit(const QString &chemin, const QByteArray &octets) {
  if (!QDir().mkpath(QFileInfo(chemin).path())) return false;
  QFile fichier(chemin);
  if (!fichier.open(QFile::WriteOnly)) return false;
  const bool entier = fichier.write(octets) == octets.size() && fichier.flush();
  fichier.close();
  if (!entier) static_cast<void>(fichier.remove());
  return entier;
}

QByteArray dessin(const TypeFichier &type) {
  QFile fichier(QString(":/types/") + type.icone + ".svg");
  return fichier.open(QFile::ReadOnly) ? fichier.readAll() : QByteArray();
}

// A tool that is not there is no failure: the desktop finds the files by itself at the next login.
void lance(const std::vector<std::string> &mots) {
  std::vector<char *> arguments;
  for (const std::string &mot : mots) arguments.push_back(const_cast<char *>(mot.c_str()));
  arguments.push_back(nullptr);
  pid_t fils = 0;
  posix_spawn_file_actions_t muet;
  posix_spawn_file_actions_init(&muet);
  posix_spawn_file_actions_addopen(&muet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  if (::posix_spawnp(&fils, arguments[0], &muet, nullptr, arguments.data(), environ) == 0)
    static_cast<void>(::waitpid(fils, nullptr, 0));
  posix_spawn_file_actions_destroy(&muet);
}

void rafraichit_bases() {
  const std::string donnees = dossier_donnees().toStdString();
  lance({"update-mime-database", donnees + "mime"});
  lance({"update-desktop-database", donnees + "applications"});
  lance({"gtk-update-icon-cache", "-q", "-t", "-f", donnees + "icons/hicolor"});
}

}  // namespace

std::span<const TypeFichier> types_fichiers() {
  return kTypes;
}

ResultatTypes enregistre_types(unsigned types, const std::string &programme) {
  charge_dessins();
  ResultatTypes resultat;
  for (const TypeFichier &type : kTypes) {
    if ((types & type.bit) == 0) continue;
    const std::array<std::pair<QString, QByteArray>, 3> fichiers{
        {{chemin_mime(type), QByteArray::fromStdString(texte_mime(type))},
         {chemin_icone(type), dessin(type)},
         {chemin_starter(type), QByteArray::fromStdString(texte_starter(type, programme))}}};
    for (const auto &[chemin, octets] : fichiers) {
      if (ecrit(chemin, octets)) continue;
      resultat.echec = plateforme::utf8_vers_texte(chemin.toStdString());
      break;
    }
    if (!resultat.echec.empty()) break;
    resultat.faits |= type.bit;
  }
  if (resultat.faits != 0) rafraichit_bases();
  return resultat;
}

std::string programme_courant() {
  return QFileInfo("/proc/self/exe").symLinkTarget().toStdString();
}

unsigned types_enregistres() {
  unsigned faits = 0;
  for (const TypeFichier &type : kTypes)
    if (QFileInfo(chemin_starter(type)).exists() && QFileInfo(chemin_mime(type)).exists()) faits |= type.bit;
  return faits;
}

}  // namespace varnion
