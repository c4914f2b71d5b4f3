#pragma once

#include <sys/resource.h>

#include <atomic>
#include <fstream>

#include "compil/compilation.hpp"
#include "IO/bac.hpp"
#include "outils/arbre_source.hpp"
#include "projet/inclusion.hpp"
#include "projet/outils.hpp"

namespace varnion::essai {

/// Says yes to all, keeps what is said.
struct OperationsDocile : OperationsScript {
  int avant_arret = -1;  ///< calls until the stop is asked for, -1 never
  int demander_oui_non(std::string_view /*texte*/) override { return 1; }
  int demander_tous(std::string_view /*texte*/) override { return 2; }
  bool arret_demande() override { return avant_arret >= 0 && avant_arret-- == 0; }
};

/// Counts the calls, and refuses to go on where a test wants it.
struct SuiviEssai : SuiviCompilation {
  std::uint64_t grands = 0, tranches = 0, petits = 0, secteurs = 0;
  std::vector<std::string> traces;
  std::uint64_t arret_tranche = UINT64_MAX;  ///< stop at this slice of a large file
  std::uint64_t arret_petit = UINT64_MAX;    ///< stop behind this small file

  bool debut_fichier(std::uint64_t /*tranches*/, std::string_view /*nom*/,
                     std::uint64_t /*taille*/) override {
    ++grands;
    return true;
  }
  bool avance_fichier(std::uint64_t n) override {
    secteurs += n;
    return ++tranches != arret_tranche;
  }
  bool fin_fichier(std::uint64_t n) override {
    secteurs += n;
    return ++petits != arret_petit;
  }
  bool trace(std::string_view texte) override {
    traces.emplace_back(texte);
    return true;
  }
  bool texte(std::string_view /*texte*/) override { return true; }
};

/// A folder with a place for sources ("src/"), projects and images.
class Atelier : public Bac {
 protected:
  void SetUp() override {
    Bac::SetUp();
    brancher_operations(&ops);
    auto &options = etat<OptionsProgramme>();
    options.mode_lot = true;
    options.vn_options = kVnOptionSansCopie | 0x2;
  }
  void TearDown() override {
    brancher_operations(nullptr);
    plateforme::vide_dossier_temporaire();
    Bac::TearDown();
  }

  [[nodiscard]] FichierProjet projet_vide(bool hfsplus = false, ModeProjet mode = ModeProjet::hybride) {
    auto &options = etat<OptionsProgramme>().vn_options;
    options = hfsplus ? options | kVnOptionHfsplus : options & ~kVnOptionHfsplus;
    const char *suite = mode == ModeProjet::isop ? ".vnso" : ".vnpr";
    auto projet = FichierProjet::cree(bac + "p" + std::to_string(++numero_) + suite, mode);
    EXPECT_TRUE(projet.has_value());
    return std::move(*projet);
  }
  /// A project with the content of a folder of the disk, in the given view.
  [[nodiscard]] FichierProjet projet_de(const std::string &dossier, bool hfsplus = false,
                                        int vue = kVueRacine, ModeProjet mode = ModeProjet::hybride) {
    FichierProjet projet = projet_vide(hfsplus, mode);
    projet.vue_courante(vue);
    const BilanInclusion bilan = inclusion_chemin_utf8(projet, dossier + "/*.*", kRacine);
    EXPECT_TRUE(bilan.abouti() && bilan.echecs == 0) << messages();
    EXPECT_TRUE(projet.sauvegarde_entete());
    return projet;
  }
  BilanCompilation compile(FichierProjet &projet, const std::string &cible,
                           GenreDemande genre = GenreDemande::hybride, bool postgap = true) {
    DemandeCompilation demande;
    demande.cible = cible;
    demande.genre = genre;
    demande.postgap = postgap;
    return compile_projet(projet, demande, suivi);
  }
  [[nodiscard]] std::string messages() const {
    std::string tout;
    for (const std::string &e : ops.erreurs) tout += plateforme::texte_vers_utf8(e) + "\n";
    return tout;
  }
  /// Names in the folder of the test that begin so.
  [[nodiscard]] std::size_t restes(const std::string &debut) const {
    std::size_t n = 0;
    for (const auto &e : std::filesystem::directory_iterator(bac))
      if (e.path().filename().string().starts_with(debut)) ++n;
    return n;
  }

  OperationsDocile ops;
  SuiviEssai suivi;

 private:
  int numero_ = 0;
};

}  // namespace varnion::essai
