#include <algorithm>
#include <array>
#include <cerrno>
#include <unordered_set>
#include <vector>

#include "compil/hybridation.hpp"
#include "IO/octets.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kBloc = 512;
constexpr std::uint64_t kSecteur = 2048;
constexpr std::uint64_t kDescripteur = 16 * kSecteur;
constexpr std::size_t kTeteEffacee = 5 * kBloc;
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
    if (!retient(*racine)) return Etendue::dehors;
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

bool porte_carte(std::span<const std::uint8_t> tete) {
  const auto a = [&](std::size_t position, char c, char d) {
    return tete[position] == static_cast<std::uint8_t>(c) &&
           tete[position + 1] == static_cast<std::uint8_t>(d);
  };
  return a(0, 'E', 'R') && a(kBloc, 'P', 'M') && a(2 * kBloc, 'P', 'M');
}

// What keeps a file from being cut at `coupe`: it would be destroyed, as an image that is all partition, or
// one whose two sides share their file data.
int examine(const Fichier &fichier, std::span<const std::uint8_t> tete, std::uint64_t coupe) {
  const auto taille = static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(fichier), 0));
  const Etendue etendue =
      porte_carte(tete) && coupe <= taille ? etendue_iso(fichier, coupe) : Etendue::illisible;
  if (etendue == Etendue::illisible) {
    operations().journal(GenreJournal::information, charger_chaine(kPasHybride));
    return kSeparePasHybride;
  }
  if (etendue == Etendue::dehors && operations().demander_oui_non(charger_chaine(kFichiersPartages)) != 1)
    return kSeparePartage;
  return kSepareFaite;
}

}  // namespace

Etendue etendue_iso(const Fichier &image, std::uint64_t limite) {
  return Parcours(image, limite).parcourt();
}

int deshybridation(const std::string &chemin) {
  const Fichier fichier = ouvre_modifiable(chemin);
  if (!fichier) return kSepareFermee;
  std::array<std::uint8_t, kTeteEffacee> tete{};
  const std::int64_t lus = fichier.lire_a(tete, 0);
  if (lus < 0) return kSepareEcriture;
  // A file shorter than what is cleared would grow.
  if (lus < static_cast<std::int64_t>(tete.size())) return kSeparePasHybride;
  const std::uint64_t coupe = *vue<be32>(tete, 2 * kBloc + 8) * kBloc;
  if (coupe != 0) {
    const int examen = examine(fichier, tete, coupe);
    if (examen != kSepareFaite) return examen;
  }
  constexpr std::array<std::uint8_t, kTeteEffacee> zeros{};
  const bool fait = fichier.ecrire_a(zeros, 0) && fichier_vider(fichier) &&
                    (coupe == 0 || fichier_tronquer(fichier, coupe));
  if (!fait) {
    const int erreur = errno;
    static_cast<void>(fichier.ecrire_a(tete, 0));
    errno = erreur;
    return kSepareEcriture;
  }
  return coupe == 0 ? kSepareSansDebut : kSepareFaite;
}

}  // namespace varnion
