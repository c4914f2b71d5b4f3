#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "compil/hybridation.hpp"
#include "IO/octets.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kBloc = 512;
constexpr std::uint64_t kSecteur = 2048;
constexpr std::uint64_t kDescripteur = 16 * kSecteur;
constexpr std::size_t kTeteEffacee = 5 * kBloc;
constexpr std::size_t kTampon = std::size_t{1} << 20;
constexpr std::uint64_t kOctetsDossiersMax = std::uint64_t{256} << 20;
constexpr std::uint8_t kDrapeauDossier = 0x02;

constexpr int kFichiersPartages = 6345;
constexpr int kPasHybride = 6346;

// A directory record up to its name (ECMA-119 9.1).
struct FicheDossier {
  std::uint8_t longueur;              // 0x00
  std::uint8_t attributs_etendus;     // 0x01
  DoubleOrdre<std::uint32_t> extent;  // 0x02
  DoubleOrdre<std::uint32_t> taille;  // 0x0A
  std::array<std::uint8_t, 7> date;   // 0x12
  std::uint8_t drapeaux;              // 0x19
  std::array<std::uint8_t, 6> place;  // 0x1A
  std::uint8_t longueur_nom;          // 0x20
  std::uint8_t nom;                   // 0x21
};
static_assert(sizeof(FicheDossier) == 34);

struct Etendu {
  std::uint64_t debut, taille;
};

// Walks a primary tree, one read a directory, each directory once.
class Parcours {
 public:
  Parcours(const Fichier &image, std::uint64_t limite) : image_(image), limite_(limite) {}

  Etendue parcourt() {
    std::array<std::uint8_t, kSecteur> d{};
    if (image_.lire_a(d, kDescripteur) != static_cast<std::int64_t>(d.size())) return Etendue::illisible;
    constexpr std::array<std::uint8_t, 6> marque{1, 'C', 'D', '0', '0', '1'};
    const auto *racine = vue<FicheDossier>(d, 156);
    if (!std::equal(marque.begin(), marque.end(), d.begin()) || racine->longueur < sizeof(FicheDossier) ||
        (racine->drapeaux & kDrapeauDossier) == 0 || racine->taille == 0)
      return Etendue::illisible;
    // Without its descriptors and its root nothing of the tree is left to be read.
    if (limite_ < kDescripteur + kSecteur || !retient(*racine)) return Etendue::illisible;
    while (!attente_.empty()) {
      const Etendu dossier = attente_.back();
      attente_.pop_back();
      const Etendue resultat = lit_dossier(dossier);
      if (resultat != Etendue::dedans) return resultat;
    }
    return Etendue::dedans;
  }

 private:
  // False when the item lies behind the limit; a folder is kept to be walked.
  bool retient(const FicheDossier &fiche) {
    const std::uint64_t debut = (std::uint64_t{fiche.extent} + fiche.attributs_etendus) * kSecteur;
    const std::uint64_t taille = fiche.taille;
    if (taille != 0 && debut + taille > limite_) return false;
    if ((fiche.drapeaux & kDrapeauDossier) != 0 && vus_.insert(debut).second)
      attente_.push_back({debut, taille});
    return true;
  }

  Etendue lit_dossier(const Etendu &dossier) {
    lus_ += dossier.taille;
    if (lus_ > kOctetsDossiersMax) return Etendue::illisible;
    tampon_.resize(static_cast<std::size_t>(dossier.taille));
    if (image_.lire_a(tampon_, dossier.debut) != static_cast<std::int64_t>(tampon_.size()))
      return Etendue::illisible;
    for (std::size_t position = 0; position < tampon_.size();) {
      const auto *fiche = vue<FicheDossier>(tampon_, position);
      if (tampon_[position] == 0 || fiche == nullptr) {  // no record spans two sectors (ECMA-119 6.8.1.1)
        position = (position / kSecteur + 1) * kSecteur;
        continue;
      }
      if (fiche->longueur < sizeof(FicheDossier)) return Etendue::illisible;
      const bool soi_ou_pere = fiche->longueur_nom == 1 && fiche->nom <= 1;
      if (!soi_ou_pere && !retient(*fiche)) return Etendue::dehors;
      position += fiche->longueur;
    }
    return Etendue::dedans;
  }

  const Fichier &image_;
  std::uint64_t limite_;
  std::uint64_t lus_ = 0;
  std::vector<Etendu> attente_;
  std::unordered_set<std::uint64_t> vus_;
  std::vector<std::uint8_t> tampon_;
};

// A map whose second entry is an HFS partition, as joining makes it.
bool porte_carte(std::span<const std::uint8_t> tete) {
  const auto a = [&](std::size_t position, char c, char d) {
    return tete[position] == static_cast<std::uint8_t>(c) &&
           tete[position + 1] == static_cast<std::uint8_t>(d);
  };
  constexpr std::string_view kType = "Apple_HFS";
  return a(0, 'E', 'R') && a(kBloc, 'P', 'M') && a(2 * kBloc, 'P', 'M') &&
         std::equal(kType.begin(), kType.end(), tete.begin() + 2 * kBloc + 0x30);
}

// What keeps a file from being parted: it would be destroyed, as an image that is all partition, or one whose
// two sides share their file data.
ApercuSeparation examine(const Fichier &fichier, std::span<std::uint8_t> tete) {
  ApercuSeparation apercu;
  const std::int64_t taille = fichier_taille(fichier);
  const std::int64_t lus = fichier.lire_a(tete, 0);
  apercu.efface = tete.size();
  apercu.resultat = kSeparePasHybride;
  if (taille < 0 || lus < 0) apercu.resultat = kSepareEcriture;
  // A file shorter than what is cleared would grow.
  if (taille < 0 || lus < static_cast<std::int64_t>(tete.size())) return apercu;
  const std::uint64_t coupe = *vue<be32>(tete, 2 * kBloc + 8) * kBloc;
  if (coupe == 0) apercu.resultat = kSepareSansDebut;
  if (coupe == 0 || !porte_carte(tete) || coupe > static_cast<std::uint64_t>(taille)) return apercu;
  const Etendue etendue = etendue_iso(fichier, coupe);
  if (etendue == Etendue::illisible) return apercu;
  apercu.garde = coupe;
  apercu.coupe = static_cast<std::uint64_t>(taille) - coupe;
  apercu.partage = etendue == Etendue::dehors;
  apercu.resultat = kSepareFaite;
  return apercu;
}

int refus(const ApercuSeparation &apercu, bool force) {
  if (apercu.resultat == kSeparePasHybride)
    operations().journal(GenreJournal::information, charger_chaine(kPasHybride));
  if (apercu.resultat != kSepareFaite) return apercu.resultat;
  const bool accepte =
      !apercu.partage || force || operations().demander_oui_non(charger_chaine(kFichiersPartages)) == 1;
  return accepte ? kSepareFaite : kSeparePartage;
}

// Copies what stays, the map as zeros.
int copie_garde(const Fichier &source, const Fichier &cible, const ApercuSeparation &apercu) {
  std::vector<std::uint8_t> tampon(kTampon);
  for (std::uint64_t fait = 0; fait < apercu.garde;) {
    if (operations().arret_demande()) return kSepareArret;
    const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(tampon.size(), apercu.garde - fait));
    const std::span<std::uint8_t> tranche(tampon.data(), part);
    if (source.lire_a(tranche, fait) != static_cast<std::int64_t>(part)) return kSepareEcriture;
    if (fait == 0)
      std::fill_n(tranche.begin(), std::min<std::uint64_t>(apercu.efface, part), std::uint8_t{0});
    if (!cible.ecrire_a(tranche, fait)) return kSepareEcriture;
    fait += part;
  }
  return kSepareFaite;
}

}  // namespace

Etendue etendue_iso(const Fichier &image, std::uint64_t limite) {
  return Parcours(image, limite).parcourt();
}

ApercuSeparation apercu_separation(const std::string &chemin) {
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  std::array<std::uint8_t, kTeteEffacee> tete{};
  if (fichier) return examine(fichier, tete);
  ApercuSeparation apercu;
  apercu.resultat = kSepareFermee;
  return apercu;
}

int deshybridation(const std::string &chemin, bool force) {
  Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  if (!fichier) return kSepareFermee;
  std::array<std::uint8_t, kTeteEffacee> tete{};
  const ApercuSeparation apercu = examine(fichier, tete);
  const int refuse = refus(apercu, force);
  if (refuse != kSepareFaite) return refuse;
  fichier = ouvre_modifiable(chemin);
  if (!fichier) return kSepareFermee;
  constexpr std::array<std::uint8_t, kTeteEffacee> zeros{};
  if (fichier.ecrire_a(zeros, 0) && fichier_vider(fichier) && fichier_tronquer(fichier, apercu.garde))
    return kSepareFaite;
  const int erreur = errno;
  static_cast<void>(fichier.ecrire_a(tete, 0));
  errno = erreur;
  return kSepareEcriture;
}

int deshybridation_vers(const std::string &chemin, const CibleImage &cible) {
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  if (!fichier) return kSepareFermee;
  if (plateforme::est_le_fichier(cible.chemin, fichier)) return kSepareMemes;
  std::array<std::uint8_t, kTeteEffacee> tete{};
  const ApercuSeparation apercu = examine(fichier, tete);
  const int refuse = refus(apercu, cible.force);
  if (refuse != kSepareFaite) return refuse;
  const auto libre = plateforme::espace_libre(cible.chemin);
  if (libre && *libre < apercu.garde) return kSeparePlace;
  FichierVoisin neuf = FichierVoisin::commence(cible.chemin);
  if (!neuf) return kSepareCible;
  if (cible.ecrasement == Ecrasement::jamais && neuf.existait()) {
    errno = EEXIST;
    return kSepareCible;
  }
  neuf.comme(fichier);
  const int resultat = copie_garde(fichier, neuf.fichier(), apercu);
  if (resultat != kSepareFaite) return resultat;
  return neuf.pose(cible.ecrasement) ? kSepareFaite : kSepareCible;
}

}  // namespace varnion
