#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "IO/bac.hpp"

namespace varnion::essai {

/// How one run of varnion-cli ended.
struct Fin {
  int statut = -1;  ///< exit status, minus the signal that killed it
  std::string sortie, messages;
};

/// Runs the real program in a folder of the test, with a home, settings and temporary folder of its own.
class Programme : public Bac {
 protected:
  void SetUp() override {
    Bac::SetUp();
    for (const char *nom : {"conf", "tmp", "d"}) pose_dossier(nom);
    d = bac + "d/";
  }

  struct Conditions {
    std::string entree = {};                       ///< what the user types
    std::uint64_t taille_max = 0;                  ///< no file grows past it, as on a full disk
    bool sans_droits = false;                      ///< as a user without any right, where the test is root
    std::function<void(pid_t)> pendant = nullptr;  ///< called while the program runs
    std::vector<std::pair<std::string, std::string>> environnement = {};
    std::string sortie_vers = {};  ///< standard output goes there
    std::string programme = VN_CLI;
  };

  [[nodiscard]] Fin lance(std::vector<std::string> mots) const { return lance_sous({}, std::move(mots)); }
  [[nodiscard]] Fin lance_sous(const Conditions &conditions, std::vector<std::string> mots) const {
    pose("entree", conditions.entree);
    const std::string sortie = conditions.sortie_vers.empty() ? bac + "sortie" : conditions.sortie_vers;
    std::string programme = conditions.programme;
    if (conditions.sans_droits && ::geteuid() == 0) {
      programme = bac + "varnion-cli";
      std::filesystem::copy_file(VN_CLI, programme, std::filesystem::copy_options::skip_existing);
      for (const auto &nom : {bac, bac + "tmp", d})
        std::filesystem::permissions(nom, std::filesystem::perms::all);
    }
    mots.insert(mots.begin(), "varnion-cli");
    std::vector<char *> argv;
    for (std::string &mot : mots) argv.push_back(mot.data());
    argv.push_back(nullptr);
    const pid_t enfant = ::fork();
    if (enfant == 0) devient(programme, argv.data(), sortie, conditions);
    if (conditions.pendant) conditions.pendant(enfant);
    int statut = 0;
    EXPECT_EQ(::waitpid(enfant, &statut, 0), enfant);
    Fin fin;
    fin.statut = WIFEXITED(statut) ? WEXITSTATUS(statut) : -WTERMSIG(statut);
    fin.sortie = conditions.sortie_vers.empty() ? lit(bac + "sortie") : "";
    fin.messages = lit(bac + "messages");
    EXPECT_TRUE(std::filesystem::is_empty(bac + "tmp")) << "temporary files left behind";
    return fin;
  }

  /// Expects the status and that the messages hold a text.
  void echoue(const std::vector<std::string> &mots, int statut, std::string_view message) const {
    const Fin fin = lance(mots);
    std::string ligne;
    for (const auto &mot : mots) ligne += mot + " ";
    EXPECT_EQ(fin.statut, statut) << ligne << "\n" << fin.messages;
    EXPECT_NE(fin.messages.find(message), std::string::npos) << ligne << "\n" << fin.messages;
  }
  /// Expects success; gives the results.
  std::string reussit(const std::vector<std::string> &mots) const {
    const Fin fin = lance(mots);
    std::string ligne;
    for (const auto &mot : mots) ligne += mot + " ";
    EXPECT_EQ(fin.statut, 0) << ligne << "\n" << fin.messages;
    return fin.sortie;
  }

  void fichier(const std::string &nom, std::string_view contenu) const {
    std::filesystem::create_directories(std::filesystem::path(d + nom).parent_path());
    pose("d/" + nom, contenu);
  }
  [[nodiscard]] bool existe(const std::string &nom) const { return std::filesystem::exists(d + nom); }
  [[nodiscard]] static std::string lit(const std::string &chemin) {
    const Fichier fichier(::open(chemin.c_str(), O_RDONLY | O_CLOEXEC));
    return fichier ? tout(fichier) : "";
  }
  /// Nothing of an image that was not finished.
  [[nodiscard]] bool sans_reste() const {
    for (const auto &entree : std::filesystem::directory_iterator(d))
      if (entree.path().string().find(".part") != std::string::npos) return false;
    return true;
  }

  std::string d;  ///< current folder of the program, ends in "/"

 private:
  [[noreturn]] void devient(const std::string &programme, char **argv, const std::string &sortie,
                            const Conditions &conditions) const {
    const auto ouvre = [](const std::string &chemin, int modes, int numero) {
      const int fd = ::open(chemin.c_str(), modes, 0666);
      if (fd < 0 || ::dup2(fd, numero) < 0) ::_exit(126);
    };
    ouvre(bac + "entree", O_RDONLY, 0);
    ouvre(sortie, O_WRONLY | O_CREAT | O_TRUNC, 1);
    ouvre(bac + "messages", O_WRONLY | O_CREAT | O_TRUNC, 2);
    if (::chdir(d.c_str()) != 0) ::_exit(126);
    for (const char *nom : {"LC_ALL", "LC_MESSAGES", "SOURCE_DATE_EPOCH"}) ::unsetenv(nom);
    ::setenv("LANG", "en_US.UTF-8", 1);
    ::setenv("TMPDIR", (bac + "tmp").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (bac + "conf").c_str(), 1);
    for (const auto &[nom, valeur] : conditions.environnement) ::setenv(nom.c_str(), valeur.c_str(), 1);
    if (conditions.taille_max != 0) {
      const rlimit limite{conditions.taille_max, conditions.taille_max};
      ::setrlimit(RLIMIT_FSIZE, &limite);
    }
    if (conditions.sans_droits && ::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
      ::_exit(126);
    ::execv(programme.c_str(), argv);
    ::_exit(127);
  }
};

}  // namespace varnion::essai
