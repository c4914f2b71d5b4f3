// Volumes: whatever the image says, mount, walks, paths, searches and the reading of every fork end, and what
// they give agrees with itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "hfs/catalogue.hpp"
#include "hfs/lecture.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"

namespace {

using namespace varnion;

constexpr std::size_t kElementsMax = 200;     // looked at closely
constexpr std::size_t kOctetsMax = 1U << 16;  // read of one fork

void lit_fourches(const ElementMac &element) {
  for (const std::uint8_t numero : {kFourcheDonnees, kFourcheRessources}) {
    const LecteurFourche fourche(element, numero);
    std::uint64_t recus = 0;
    const auto resultat = lit_fourche(fourche, [&](std::span<const std::uint8_t> octets) {
      recus += octets.size();
      return recus < kOctetsMax;
    });
    if (resultat.octets > fourche.longueur() || fourche.atteints() > fourche.longueur()) std::abort();
    if (resultat.entiere() && resultat.octets != fourche.longueur()) std::abort();
    std::uint8_t octet = 0;
    if (fourche.lire({&octet, 1}, fourche.longueur()) != 0) std::abort();
  }
}

void essaie(const ElementMac &element) {
  lit_fourches(element);
  if (const auto chemin = chemin_de(element)) static_cast<void>(element_par_chemin(*chemin));
  static_cast<void>(element_par_id(element.id));
  static_cast<void>(parent_de(element.id));
  static_cast<void>(element.nom_texte());
  if (element.dossier) {
    static_cast<void>(valence(element.id, element.parent));
    static_cast<void>(liste_dossier(element.id, [](const ElementMac &enfant) { return enfant.id != 0; }));
  }
}

void parcourt() {
  std::vector<ElementMac> elements;
  const auto note = [&](const ElementMac &element) {
    elements.push_back(element);
    return elements.size() < kElementsMax;
  };
  static_cast<void>(parcours_volume(note));
  elements.resize(elements.size() / 2);
  static_cast<void>(liste_dossier(kIdRacine, note));
  for (const ElementMac &element : elements) essaie(element);
  if (cherche_nom("*").size() > kTrouvailles || liste_alias().size() > kTrouvailles) std::abort();
  static_cast<void>(cherche_signature("TEXT"));
  const DescripteurArbre &arbre = volume_courant().catalogue;
  if (arbre.taille_noeud != 0) static_cast<void>(trouve_tete_niveau(arbre, 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  fermer_partition();
  support().taille_bloc_carte = 0;
  support().image = plateforme::fichier_anonyme();
  if (!support().image.ecrire_a({donnees, taille}, 0)) std::abort();
  OptionsOuverture options;
  options.descriptions_publiees = taille % 2 == 0;
  const bool gpt = type_image(support().image) == kImageGpt;
  if ((gpt ? analyse_gpt(options) : analyse_volume(options)) != 0) parcourt();
  return 0;
}
