#include "hfs/zones_iso.hpp"

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>

#include "IO/etat.hpp"
#include "IO/fichier.hpp"
#include "IO/octets.hpp"
#include "IO/requete.hpp"

namespace varnion {
namespace {

constexpr std::uint32_t kSecteurIso = 2048;
constexpr std::uint32_t kParIso = kSecteurIso / kTailleSecteur;
constexpr std::uint32_t kPremierDescripteur = 16;
constexpr std::uint32_t kDescripteursMax = 64;
constexpr std::uint32_t kSecteursParLecture = 32;  // of a directory
constexpr int kSuitesMax = 32;                     // continuation areas of one record
constexpr std::uint64_t kJamais = ~std::uint64_t{0};

using Octets = std::span<const std::uint8_t>;
using Bloc = std::array<std::uint8_t, kSecteurIso>;

/// Fixed part of a directory record (ECMA-119 9.1).
struct FicheRepertoire {
  std::uint8_t longueur;               // 0
  std::uint8_t attributs;              // 1: blocks of the extended attribute record
  le32 extent;                         // 2
  be32 extent_gros;                    // 6
  le32 octets;                         // 10
  be32 octets_gros;                    // 14
  std::array<std::uint8_t, 7> date;    // 18
  std::uint8_t drapeaux;               // 25
  std::uint8_t unite;                  // 26: blocks of a file unit
  std::uint8_t intervalle;             // 27: blocks between two of them
  std::array<std::uint8_t, 4> volume;  // 28
  std::uint8_t longueur_nom;           // 32
};
static_assert(sizeof(FicheRepertoire) == 33);
constexpr std::uint8_t kRepertoire = 0x02;

/// Entry of a boot catalog (El Torito).
struct EntreeAmorce {
  std::uint8_t genre;                   // 0: 88 bootable, 0 not
  std::uint8_t media;                   // 1
  std::array<std::uint8_t, 4> autres;   // 2
  le16 secteurs;                        // 6: of 512 bytes
  le32 place;                           // 8: of 2,048 bytes
  std::array<std::uint8_t, 20> suites;  // 12
};
static_assert(sizeof(EntreeAmorce) == 32);

class LecteurZones {
 public:
  LecteurZones() {
    const std::int64_t taille = support().image.ouvert() ? fichier_taille(support().image) : 0;
    fin_ = support().image.ouvert()
               ? quotient_haut<std::uint64_t>(static_cast<std::uint64_t>(std::max<std::int64_t>(taille, 0)),
                                              kTailleSecteur)
               : kSansImage;
  }

  std::vector<ZoneIso> lit() {
    if (!lit_descripteurs()) return {};
    for (; !repertoires_.empty(); repertoires_.pop_front()) lit_repertoire(repertoires_.front());
    ajoute(0, kSecteursSystemeIso);
    fusionne();
    return std::move(zones_);
  }

 private:
  static constexpr std::uint64_t kSansImage = std::uint64_t{1} << 24;  // for a driver that does not tell

  struct Repertoire {
    std::uint64_t secteur;
    std::uint64_t nombre;
    std::uint32_t bloc;  // bytes of a logical block
  };

  void ajoute(std::uint64_t debut, std::uint64_t nombre) {
    debut = std::min(debut, fin_);
    nombre = std::min(nombre, fin_ - debut);
    if (nombre == 0) return;
    zones_.push_back({debut, debut + nombre});
    if (zones_.size() < seuil_) return;
    fusionne();  // many records may tell the same few places
    seuil_ = std::max(seuil_, 2 * zones_.size());
  }

  void fusionne() {
    std::ranges::sort(zones_, {}, &ZoneIso::debut);
    std::size_t place = 0;
    for (const ZoneIso zone : zones_) {
      if (place != 0 && zone.debut <= zones_[place - 1].fin) {
        zones_[place - 1].fin = std::max(zones_[place - 1].fin, zone.fin);
      } else {
        zones_[place++] = zone;
      }
    }
    zones_.resize(place);
  }

  static Bloc lit_bloc(std::uint64_t bloc) {
    Bloc octets{};
    lit_secteurs(octets.data(), bloc * kParIso, kParIso);
    return octets;
  }

  // True when there is a primary descriptor.
  bool lit_descripteurs() {
    bool primaire = false;
    for (std::uint32_t n = kPremierDescripteur; n < kPremierDescripteur + kDescripteursMax; ++n) {
      if (std::uint64_t{n} * kParIso >= fin_) break;
      const Bloc octets = lit_bloc(n);
      if (std::string_view(reinterpret_cast<const char *>(octets.data()) + 1, 5) != "CD001") break;
      ajoute(std::uint64_t{n} * kParIso, kParIso);
      primaire = primaire || octets[0] == 1;
      if (octets[0] == 0) lit_amorce(octets);
      if (octets[0] == 1 || octets[0] == 2) lit_descripteur(octets);
      if (octets[0] == 255) break;
    }
    return primaire;
  }

  void lit_descripteur(const Bloc &octets) {
    std::uint32_t bloc = *vue<le16>(octets, 128);
    if (bloc != 512 && bloc != 1024) bloc = kSecteurIso;
    const std::uint32_t table = *vue<le32>(octets, 132);
    for (const std::size_t champ : {140U, 144U})
      if (*vue<le32>(octets, champ) != 0) ajoute_blocs(*vue<le32>(octets, champ), table, bloc);
    for (const std::size_t champ : {148U, 152U})
      if (*vue<be32>(octets, champ) != 0) ajoute_blocs(*vue<be32>(octets, champ), table, bloc);
    lit_fiche(Octets(octets).subspan(156, 34), bloc);
  }

  void ajoute_blocs(std::uint64_t premier, std::uint64_t octets, std::uint32_t bloc) {
    const std::uint64_t par_bloc = bloc / kTailleSecteur;
    ajoute(premier * par_bloc, quotient_haut<std::uint64_t>(octets, bloc) * par_bloc);
  }

  void lit_fiche(Octets octets, std::uint32_t bloc) {
    const auto *fiche = vue<FicheRepertoire>(octets, 0);
    if (fiche == nullptr) return;
    ajoute_etendue(*fiche, fiche->extent, fiche->octets, bloc);
    // A reader may take either order, so that both places of a record that lies are in use.
    if (fiche->extent != fiche->extent_gros || fiche->octets != fiche->octets_gros)
      ajoute_etendue(*fiche, fiche->extent_gros, fiche->octets_gros, bloc);
    const std::size_t nom = fiche->longueur_nom;
    const std::size_t suite = sizeof(FicheRepertoire) + nom + (nom % 2 == 0 ? 1 : 0);
    if (suite < octets.size()) lit_systeme(octets.subspan(suite), bloc);
  }

  void ajoute_etendue(const FicheRepertoire &fiche, std::uint32_t extent, std::uint32_t octets,
                      std::uint32_t bloc) {
    std::uint64_t blocs = quotient_haut<std::uint64_t>(octets, bloc);
    if (fiche.unite != 0 && fiche.intervalle != 0)
      blocs = quotient_haut<std::uint64_t>(blocs, fiche.unite) * (fiche.unite + fiche.intervalle);
    blocs += fiche.attributs;
    ajoute_blocs(extent, blocs * bloc, bloc);
    if ((fiche.drapeaux & kRepertoire) == 0) return;
    const std::uint64_t par_bloc = bloc / kTailleSecteur;
    const std::uint64_t debut = (std::uint64_t{extent} + fiche.attributs) * par_bloc;
    const std::uint64_t nombre = quotient_haut<std::uint64_t>(octets, kTailleSecteur);
    std::uint64_t &promis = promis_[debut];
    if (debut % kParIso != 0 || debut >= fin_ || nombre <= promis) return;
    promis = nombre;
    repertoires_.push_back({debut, nombre, bloc});
  }

  // System use fields (IEEE P1281): a field "CE" tells where more of them lie.
  void lit_systeme(Octets octets, std::uint32_t bloc) {
    Bloc suite{};
    for (int reste = kSuitesMax; reste > 0; --reste) {
      constexpr std::size_t kXa = 14;  // the CD-ROM XA record in front of them
      if (octets.size() >= kXa && octets[6] == 'X' && octets[7] == 'A') octets = octets.subspan(kXa);
      std::optional<std::array<std::uint32_t, 3>> ce;  // block, offset, bytes
      while (octets.size() >= 4 && octets[2] >= 4 && octets[2] <= octets.size()) {
        if (octets[0] == 'C' && octets[1] == 'E' && octets[2] >= 28)
          ce = {*vue<le32>(octets, 4), *vue<le32>(octets, 12), *vue<le32>(octets, 20)};
        octets = octets.subspan(octets[2]);
      }
      if (!ce) return;
      const auto [place, decalage, nombre] = *ce;
      ajoute_blocs(place, std::uint64_t{decalage} + nombre, bloc);
      const std::uint64_t octet = std::uint64_t{place} * bloc + decalage;
      if (nombre < 28 || octet / kTailleSecteur >= fin_) return;
      const auto debut = static_cast<std::size_t>(octet % kSecteurIso);
      suite = lit_bloc(octet / kSecteurIso);
      octets = Octets(suite).subspan(debut, std::min<std::size_t>(nombre, suite.size() - debut));
    }
  }

  void lit_repertoire(const Repertoire &repertoire) {
    const std::uint64_t fin = std::min(fin_, repertoire.secteur + std::min(repertoire.nombre, fin_));
    std::vector<std::uint8_t> octets;
    for (std::uint64_t s = repertoire.secteur; s < fin;) {
      if (deja_vu(s / kParIso)) {
        s += kParIso;
        continue;
      }
      const auto nombre =
          static_cast<std::uint32_t>(std::min<std::uint64_t>(fin - s, kSecteursParLecture * kParIso));
      octets.assign(arrondi<std::size_t>(std::size_t{nombre} * kTailleSecteur, kSecteurIso), 0);
      lit_secteurs(octets.data(), s, nombre);
      for (std::size_t place = 0; place < octets.size(); place += kSecteurIso, s += kParIso)
        if (marque_vu(s / kParIso)) lit_fiches(Octets(octets).subspan(place, kSecteurIso), repertoire.bloc);
    }
  }

  // The records of one sector; none reaches into the next (ECMA-119 6.8.1.1).
  void lit_fiches(Octets octets, std::uint32_t bloc) {
    while (!octets.empty() && octets[0] >= sizeof(FicheRepertoire) && octets[0] <= octets.size()) {
      lit_fiche(octets.first(octets[0]), bloc);
      octets = octets.subspan(octets[0]);
    }
  }

  [[nodiscard]] bool deja_vu(std::uint64_t bloc) const {
    return bloc < vus_.size() && vus_[static_cast<std::size_t>(bloc)];
  }
  bool marque_vu(std::uint64_t bloc) {
    const auto rang = static_cast<std::size_t>(bloc);
    if (deja_vu(bloc)) return false;
    if (rang >= vus_.size()) vus_.resize(std::max(rang + 1, 2 * vus_.size()));
    vus_[rang] = true;
    return true;
  }

  void lit_amorce(const Bloc &octets) {
    constexpr std::string_view kElTorito = "EL TORITO SPECIFICATION";
    constexpr std::size_t kCatalogue = 0x47;
    if (std::string_view(reinterpret_cast<const char *>(octets.data()) + 7, kElTorito.size()) != kElTorito)
      return;
    const std::uint32_t place = *vue<le32>(octets, kCatalogue);
    if (std::uint64_t{place} * kParIso >= fin_) return;
    ajoute(std::uint64_t{place} * kParIso, kParIso);
    const Bloc catalogue = lit_bloc(place);
    for (std::size_t p = sizeof(EntreeAmorce); p < catalogue.size(); p += sizeof(EntreeAmorce)) {
      const auto &entree = *vue<EntreeAmorce>(catalogue, p);
      const bool initiale = p == sizeof(EntreeAmorce);
      if (entree.genre == 0x88 || (initiale && entree.genre == 0)) ajoute_image(entree);
    }
  }

  void ajoute_image(const EntreeAmorce &entree) {
    constexpr std::array<std::uint32_t, 4> kDisquettes{0, 2400, 2880, 5760};  // 1.2, 1.44 and 2.88 MB
    constexpr std::uint8_t kDisque = 4;
    const auto media = static_cast<std::uint8_t>(entree.media & 0x0F);
    const std::uint64_t debut = std::uint64_t{entree.place} * kParIso;
    std::uint64_t secteurs = std::max<std::uint32_t>(std::uint16_t{entree.secteurs}, kParIso);
    if (media < kDisquettes.size()) secteurs = std::max<std::uint64_t>(secteurs, kDisquettes[media]);
    if (media == kDisque && debut < fin_) {
      // A hard disk of one partition: the image ends with it.
      const Bloc tete = lit_bloc(entree.place);
      constexpr std::size_t kEntreeMbr = 0x1BE;
      secteurs = std::max<std::uint64_t>(
          secteurs, std::uint64_t{*vue<le32>(tete, kEntreeMbr + 8)} + *vue<le32>(tete, kEntreeMbr + 12));
    }
    ajoute(debut, secteurs);
  }

  std::uint64_t fin_ = 0;
  std::vector<ZoneIso> zones_;
  std::size_t seuil_ = std::size_t{1} << 20;
  std::deque<Repertoire> repertoires_;
  std::unordered_map<std::uint64_t, std::uint64_t> promis_;  // sectors of a directory that are in the queue
  std::vector<bool> vus_;
};

struct ZonesImage {
  std::vector<ZoneIso> zones;
  bool lues = false;
};

}  // namespace

std::vector<ZoneIso> lit_zones_iso() {
  return LecteurZones().lit();
}

const std::vector<ZoneIso> &zones_iso() {
  auto &image = etat<ZonesImage>();
  if (!image.lues) image = {lit_zones_iso(), true};
  return image.zones;
}

bool porte_iso() {
  std::array<std::uint8_t, kTailleSecteur> octets{};
  lit_secteurs(octets.data(), kSecteursSystemeIso, 1);
  return std::string_view(reinterpret_cast<const char *>(octets.data()), 6) == "\1CD001";
}

void oublie_zones_iso() {
  etat<ZonesImage>() = {};
}

ZoneIso zone_iso_apres(std::uint64_t secteur) {
  const auto &zones = zones_iso();
  const auto zone = std::ranges::upper_bound(zones, secteur, {}, &ZoneIso::fin);
  return zone == zones.end() ? ZoneIso{kJamais, kJamais} : *zone;
}

bool touche_iso(std::uint64_t debut, std::uint64_t fin) {
  return zone_iso_apres(debut).debut < fin;
}

}  // namespace varnion
