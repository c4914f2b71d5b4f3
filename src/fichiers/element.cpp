#include "fichiers/element.hpp"

#include <algorithm>
#include <cerrno>
#include <vector>

#include "IO/octets.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

std::uint16_t ElementFichier::drapeaux() const {
  return *vue<be16>(info_finder, 8);
}

std::uint32_t ElementFichier::date_locale(std::uint32_t date) const {
  return date == 0 ? 0 : date + static_cast<std::uint32_t>(decalage);
}

FluxFourche fourche_de_fichier(std::shared_ptr<const Fichier> fichier, PlageFourche plage) {
  auto coule = [fichier = std::move(fichier), plage](const Puits &puits) {
    std::vector<std::uint8_t> bloc(
        static_cast<std::size_t>(std::min<std::uint64_t>(plage.longueur, kBlocFourche)));
    for (std::uint64_t fait = 0; fait < plage.longueur;) {
      const auto voulu =
          static_cast<std::size_t>(std::min<std::uint64_t>(plage.longueur - fait, bloc.size()));
      const std::int64_t lus = fichier->lire_a(std::span(bloc).first(voulu), plage.position + fait);
      if (lus != static_cast<std::int64_t>(voulu)) {
        if (lus >= 0) errno = EIO;  // the file shrank under the reader
        return false;
      }
      if (!puits(std::span(bloc).first(voulu))) return false;
      fait += voulu;
    }
    return true;
  };
  return {plage.longueur, std::move(coule)};
}

FluxFourche fourche_de_texte(std::string octets) {
  const std::uint64_t longueur = octets.size();
  return {longueur, [octets = std::move(octets)](const Puits &puits) {
            return octets.empty() ||
                   puits({reinterpret_cast<const std::uint8_t *>(octets.data()), octets.size()});
          }};
}

Fichier fourche_en_fichier(const FluxFourche &fourche) {
  Fichier copie = plateforme::fichier_anonyme();
  if (!copie.ouvert() || fourche.longueur == 0) return copie;
  std::uint64_t position = 0;
  const bool rendue = fourche.coule && fourche.coule([&](std::span<const std::uint8_t> octets) {
    const bool ecrit = copie.ecrire_a(octets, position);
    position += octets.size();
    return ecrit;
  });
  if (rendue && position == fourche.longueur) return copie;
  return {};
}

}  // namespace varnion
