#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "hfs/catalogue.hpp"
#include "hfs/lecture.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/bac.hpp"
#include "IO/requete.hpp"
#include "outils/decomprime.hpp"

// Images in a folder of their own, opened as a user would.

namespace varnion::essai {

class Images : public Bac {
 protected:
  void TearDown() override {
    fermer_partition();
    Bac::TearDown();
  }
  /// Content of a sample, unpacked when its name ends in ".gz".
  static std::string echantillon(const std::string &nom) {
    if (nom.ends_with(".gz")) return decomprime(nom);
    std::ifstream flux(VN_DONNEES "/" + nom, std::ios::binary);
    return {std::istreambuf_iterator<char>(flux), {}};
  }
  EtatOuverture ouvre(const std::string &contenu, const OptionsOuverture &options = {}) {
    pose("image", contenu);
    return ouvrir_partition(bac + "image", options);
  }
  static std::string lit(const ElementMac &element, std::uint8_t numero, EtatFourche *etat = nullptr) {
    std::string contenu;
    const auto resultat = lit_fourche(element, numero, [&](std::span<const std::uint8_t> octets) {
      contenu.append(reinterpret_cast<const char *>(octets.data()), octets.size());
      return true;
    });
    EXPECT_EQ(resultat.octets, contenu.size());
    if (etat != nullptr) *etat = resultat.etat;
    return contenu;
  }
  /// Walks the whole volume by folders and reads every fork: number of items, or -1 when a listing or a fork
  /// is not whole.
  static int parcourt_tout(std::uint32_t dossier = kIdRacine, int profondeur = 0) {
    int total = 0;
    bool entier = profondeur < 100;
    const auto fin = liste_dossier(dossier, [&](const ElementMac &element) {
      ++total;
      const int dedans = element.dossier ? parcourt_tout(element.id, profondeur + 1) : 0;
      EtatFourche donnees{}, ressources{};
      lit(element, kFourcheDonnees, &donnees);
      lit(element, kFourcheRessources, &ressources);
      entier = entier && dedans >= 0 && donnees == EtatFourche::entiere && ressources == EtatFourche::entiere;
      total += std::max(dedans, 0);
      return true;
    });
    return entier && fin.entier() ? total : -1;
  }
};

}  // namespace varnion::essai
