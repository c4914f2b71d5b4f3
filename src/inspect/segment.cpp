#include "inspect/segment.hpp"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace varnion {

namespace {

constexpr std::size_t kBloc = std::size_t{1} << 20;  // a multiple of a line

std::span<const std::uint8_t> octets_texte(const std::string &texte) {
  return {reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()};
}

std::string lignes(std::span<const std::uint8_t> octets, std::uint64_t position, const AspectVidage &aspect) {
  std::string texte;
  texte.reserve((octets.size() / kOctetsParLigne + 1) * (kLargeurLigne + 2));
  for (std::size_t i = 0; i < octets.size(); i += kOctetsParLigne) {
    const auto ligne = octets.subspan(i, std::min(kOctetsParLigne, octets.size() - i));
    texte += ligne_vidage(ligne, position + i, aspect) + "\r\n";
  }
  return texte;
}

// False when bytes of the source cannot be read; zeros stand behind its end.
bool remplit(const SourceSecteurs &source, std::span<std::uint8_t> octets, std::uint64_t position) {
  const std::uint64_t longueur = source.longueur();
  const auto voulus = static_cast<std::size_t>(
      position >= longueur ? 0 : std::min<std::uint64_t>(octets.size(), longueur - position));
  std::fill(octets.begin(), octets.end(), std::uint8_t{0});
  return voulus == 0 || source.lire(octets.first(voulus), position) >= voulus;
}

}  // namespace

std::optional<Segment> segment_secteurs(const SourceSecteurs &source, std::uint64_t premier,
                                        std::uint64_t dernier) {
  if (premier > dernier || dernier >= source.nb_secteurs()) return std::nullopt;
  const std::uint64_t pas = source.taille_secteur();
  return Segment{premier * pas, (dernier + 1) * pas};
}

std::optional<Segment> segment_octets(const SourceSecteurs &source, std::uint64_t debut, std::uint64_t fin) {
  if (debut > fin || fin > source.nb_secteurs() * source.taille_secteur()) return std::nullopt;
  return Segment{debut, fin};
}

ResultatSegment ecrit_segment(const SourceSecteurs &source, const Segment &segment,
                              const std::optional<AspectVidage> &aspect, const Fichier &cible,
                              const SuiviSegment &suivi) {
  SortieConteneur sortie(cible);
  std::vector<std::uint8_t> bloc(kBloc);
  for (std::uint64_t place = segment.debut; place < segment.fin; place += kBloc) {
    if (suivi && !suivi(place - segment.debut)) return ResultatSegment::arret;
    const auto octets =
        std::span(bloc).first(static_cast<std::size_t>(std::min<std::uint64_t>(kBloc, segment.fin - place)));
    if (!remplit(source, octets, place)) return ResultatSegment::lecture;
    if (aspect)
      sortie.ecrit(octets_texte(lignes(octets, place, *aspect)));
    else
      sortie.ecrit(octets);
    if (sortie.resultat() != ResultatEcriture::fait) return ResultatSegment::ecriture;
  }
  return ResultatSegment::fait;
}

ResultatSegment enregistre_segment(const SourceSecteurs &source, const Segment &segment,
                                   const std::optional<AspectVidage> &aspect, const DossierSortie &dossier,
                                   const std::string &nom, const SuiviSegment &suivi) {
  CibleFichier cible(dossier, nom);
  ResultatSegment resultat = ResultatSegment::ecriture;
  if (cible.ouverte()) resultat = ecrit_segment(source, segment, aspect, cible.fichier(), suivi);
  if (resultat == ResultatSegment::fait && !cible.garde()) resultat = ResultatSegment::ecriture;
  const int erreur = errno;
  if (resultat == ResultatSegment::lecture)
    dit_echec_ecriture(ResultatEcriture::lecture, cible.chemin(), erreur);
  if (resultat == ResultatSegment::ecriture)
    dit_echec_ecriture(ResultatEcriture::ecriture, cible.chemin(), erreur);
  return resultat;
}

}  // namespace varnion
