#include "hfs/lecture.hpp"

#include <algorithm>
#include <limits>
#include <memory>

#include "hfs/volume.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"

namespace varnion {
namespace {

constexpr std::uint64_t kBlocLecture = 1U << 20;  // bytes of one read
constexpr std::uint64_t kSecteursParPas = 64;     // of the gauge
constexpr std::uint64_t kSecteurMax = std::numeric_limits<std::int64_t>::max() / kTailleSecteur;

// Bounds that keep the sums below 64 bits; no volume comes near them.
constexpr std::uint64_t kTailleBlocMax = std::uint64_t{1} << 30;
constexpr std::uint64_t kLongueurMax = std::uint64_t{1} << 62;

bool par_fichier() {
  return support().entree_driver == driver_fichier && support().image.ouvert();
}

// Bytes of the medium; for a driver that does not tell, as many as there can be.
std::uint64_t taille_support() {
  if (!par_fichier()) return kSecteurMax * kTailleSecteur;
  return static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(support().image), 0));
}

// Through the driver, which counts in whole sectors.
std::size_t lit_par_driver(std::span<std::uint8_t> octets, std::uint64_t octet) {
  const std::uint64_t secteur = octet / kTailleSecteur;
  const auto avance = static_cast<std::size_t>(octet % kTailleSecteur);
  const std::size_t secteurs = quotient_haut<std::size_t>(avance + octets.size(), kTailleSecteur);
  std::vector<std::uint8_t> tampon(secteurs * kTailleSecteur);
  lit_secteurs(tampon.data(), secteur, static_cast<std::uint32_t>(secteurs));
  std::copy_n(tampon.begin() + static_cast<std::ptrdiff_t>(avance), octets.size(), octets.begin());
  return octets.size();
}

// Bytes of the medium from byte `octet` on: fewer where it ends or cannot be read. The file driver's result
// does not tell how much was read, so the image file is read directly.
std::size_t lit_support(std::span<std::uint8_t> octets, std::uint64_t octet) {
  if (octets.empty()) return 0;
  if (!par_fichier()) return lit_par_driver(octets, octet);
  return static_cast<std::size_t>(std::max<std::int64_t>(support().image.lire_a(octets, octet), 0));
}

// The gauge of long transfers, one step for 64 sectors.
class Jauge {
 public:
  explicit Jauge(std::uint64_t octets)
      : visible_(quotient_haut<std::uint64_t>(octets, kTailleSecteur) > kSecteursParPas) {
    if (visible_)
      operations().progression_debut(quotient_haut<std::uint64_t>(octets, kTailleSecteur) / kSecteursParPas +
                                     1);
  }
  ~Jauge() {
    if (visible_) operations().progression_fin();
  }
  Jauge(const Jauge &) = delete;
  Jauge &operator=(const Jauge &) = delete;
  void avance(std::uint64_t octets) {
    if (visible_) operations().progression_pas(quotient_haut(octets, kTailleSecteur * kSecteursParPas));
  }

 private:
  bool visible_;
};

// Reads `atteints` of `longueur` bytes in blocks through `lit(span, position)` and hands them on.
template <typename Lit>
ResultatFourche transfere(std::uint64_t longueur, std::uint64_t atteints, const PuitsFourche &puits,
                          Lit lit) {
  ResultatFourche resultat;
  Jauge jauge(atteints);
  const auto capacite = static_cast<std::size_t>(std::min(atteints, kBlocLecture));
  const auto tampon = std::make_unique_for_overwrite<std::uint8_t[]>(capacite);
  while (resultat.octets < atteints) {
    const auto voulus =
        static_cast<std::size_t>(std::min<std::uint64_t>(capacite, atteints - resultat.octets));
    const std::size_t lus = lit(std::span(tampon.get(), voulus), resultat.octets);
    if (lus != 0 && !puits({tampon.get(), lus})) resultat.etat = EtatFourche::puits;
    if (resultat.etat != EtatFourche::entiere) return resultat;
    resultat.octets += lus;
    if (lus < voulus) resultat.etat = EtatFourche::illisible;
    jauge.avance(lus);
    if (resultat.octets < atteints && operations().arret_demande()) resultat.etat = EtatFourche::arret;
    if (resultat.etat != EtatFourche::entiere) return resultat;
  }
  if (atteints < longueur) resultat.etat = EtatFourche::courte;
  return resultat;
}

PuitsFourche vers_fichier(const Fichier &flux) {
  return [&flux](std::span<const std::uint8_t> octets) { return flux.ecrire(octets); };
}

template <typename Extents>
std::array<ExtentMac, 8> extents_lus(const Extents &extents) {
  std::array<ExtentMac, 8> sortie{};
  for (std::size_t i = 0; i < extents.size(); ++i) sortie[i] = {extents[i].startBlock, extents[i].blockCount};
  return sortie;
}

// The extents of the record that continues a fork at block `debut`: false when there is none.
bool record_suivant(bool hfsplus, std::uint32_t fichier, std::uint64_t debut, std::uint8_t numero,
                    std::array<ExtentMac, 8> &sortie) {
  if (hfsplus) {
    ExtentsPlus extents{};
    if (extents_suivants_hfsplus(extents, fichier, debut, numero) == nullptr) return false;
    sortie = extents_lus(extents);
  } else {
    ExtentsHfs extents{};
    if (extents_suivants_hfs(extents, fichier, debut, numero) == nullptr) return false;
    sortie = extents_lus(extents);
  }
  return true;
}

}  // namespace

LecteurFourche::LecteurFourche(const ElementMac &element, std::uint8_t numero)
    : LecteurFourche(element.hfsplus, element.id, numero, element.fourche(numero)) {}

LecteurFourche::LecteurFourche(bool hfsplus, std::uint32_t fichier, std::uint8_t numero,
                               const FourcheMac &fourche)
    : longueur_(fourche.longueur) {
  const std::uint64_t taille_bloc = volume_courant().taille_bloc;
  if (taille_bloc == 0 || taille_bloc > kTailleBlocMax || longueur_ == 0) return;
  const std::uint64_t voulus = quotient_haut(std::min(longueur_, kLongueurMax), taille_bloc);
  const std::size_t nombre = hfsplus ? std::tuple_size_v<ExtentsPlus> : std::tuple_size_v<ExtentsHfs>;
  std::array<ExtentMac, 8> extents = fourche.extents;
  while (ajoute(std::span(extents).first(nombre), voulus)) {
    if (!record_suivant(hfsplus, fichier, blocs_, numero, extents)) break;
  }
  atteints_ = std::min({longueur_, blocs_ * taille_bloc, taille_support()});
}

bool LecteurFourche::ajoute(std::span<const ExtentMac> extents, std::uint64_t voulus) {
  for (const ExtentMac &extent : extents) {
    if (blocs_ >= voulus || extent.nombre == 0) return false;
    if (!plages_.empty() && plages_.back().bloc + plages_.back().blocs == extent.debut) {
      plages_.back().blocs += extent.nombre;
    } else {
      plages_.push_back({blocs_ * volume_courant().taille_bloc, extent.debut, extent.nombre});
    }
    blocs_ += extent.nombre;
  }
  return blocs_ < voulus;
}

std::vector<ExtentMac> LecteurFourche::extents() const {
  std::vector<ExtentMac> sortie;
  for (const Plage &plage : plages_) sortie.push_back({plage.bloc, static_cast<std::uint32_t>(plage.blocs)});
  return sortie;
}

std::size_t LecteurFourche::lire(std::span<std::uint8_t> octets, std::uint64_t position) const {
  std::size_t faits = 0;
  if (position >= atteints_) return 0;
  octets =
      octets.first(static_cast<std::size_t>(std::min<std::uint64_t>(octets.size(), atteints_ - position)));
  const auto apres = std::ranges::upper_bound(plages_, position, {}, &Plage::debut);
  for (auto plage = std::prev(apres); faits < octets.size() && plage != plages_.end(); ++plage) {
    const std::uint64_t avance = position + faits - plage->debut;
    const std::uint64_t secteur = secteur_de_bloc(plage->bloc);
    if (secteur > kSecteurMax) break;
    const std::uint64_t reste = plage->blocs * volume_courant().taille_bloc - avance;
    const auto voulus = static_cast<std::size_t>(std::min<std::uint64_t>(octets.size() - faits, reste));
    const std::size_t lus = lit_support(octets.subspan(faits, voulus), secteur * kTailleSecteur + avance);
    faits += lus;
    if (lus < voulus) break;
  }
  return faits;
}

ResultatFourche lit_fourche(const LecteurFourche &fourche, const PuitsFourche &puits) {
  return transfere(
      fourche.longueur(), fourche.atteints(), puits,
      [&](std::span<std::uint8_t> octets, std::uint64_t position) { return fourche.lire(octets, position); });
}

ResultatFourche lit_fourche(const ElementMac &element, std::uint8_t numero, const PuitsFourche &puits) {
  return lit_fourche(LecteurFourche(element, numero), puits);
}

ResultatFourche lecture_fourche_hfs(const Fichier &flux, const ExtentsHfs &extents, std::uint32_t longueur,
                                    std::uint32_t fichier, std::uint8_t numero) {
  const FourcheMac fourche{longueur, 0, extents_lus(extents)};
  return lit_fourche(LecteurFourche(false, fichier, numero, fourche), vers_fichier(flux));
}

ResultatFourche lecture_fourche_hfsplus(const Fichier &flux, const FourchePlus &fourche,
                                        std::uint64_t longueur, std::uint32_t fichier, std::uint8_t numero) {
  const FourcheMac lue{longueur, 0, extents_lus(fourche.extents)};
  return lit_fourche(LecteurFourche(true, fichier, numero, lue), vers_fichier(flux));
}

ResultatFourche lecture_secteurs(const Fichier &flux, std::uint64_t secteur, std::uint64_t octets) {
  const std::uint64_t possibles = secteur > kSecteurMax ? 0 : std::min(octets, taille_support());
  return transfere(octets, possibles, vers_fichier(flux),
                   [&](std::span<std::uint8_t> bloc, std::uint64_t position) {
                     return lit_support(bloc, secteur * kTailleSecteur + position);
                   });
}

bool ecriture_secteurs(const Fichier &flux, std::uint64_t secteur, std::uint64_t nombre) {
  if (nombre > kSecteurMax) return false;
  Jauge jauge(nombre * kTailleSecteur);
  std::vector<std::uint8_t> tampon(kSecteursParPas * kTailleSecteur);
  while (nombre > 0) {
    const auto passe = static_cast<std::uint32_t>(std::min(nombre, kSecteursParPas));
    if (flux.lire(std::span(tampon).first(std::size_t{passe} * kTailleSecteur)) < 0) return false;
    ecrit_secteurs(tampon.data(), secteur, passe);
    if (support().echec_ecriture != 0) return false;
    secteur += passe;
    nombre -= passe;
    jauge.avance(std::uint64_t{passe} * kTailleSecteur);
  }
  return true;
}

}  // namespace varnion
