#include "inspect/source.hpp"

#include <algorithm>
#include <array>

#include "hfs/lecture.hpp"
#include "IO/requete.hpp"

namespace varnion {

namespace {

constexpr std::uint32_t kSecteursParRequete = 2048;  // 1 MiB

/// Bytes that can be had from `position` of something `longueur` bytes long.
std::size_t permis(std::size_t voulus, std::uint64_t position, std::uint64_t longueur) {
  if (position >= longueur) return 0;
  return static_cast<std::size_t>(std::min<std::uint64_t>(voulus, longueur - position));
}

class SourceFichier final : public SourceSecteurs {
 public:
  SourceFichier(std::shared_ptr<const Fichier> fichier, std::string nom)
      : SourceSecteurs(std::move(nom)), fichier_(std::move(fichier)) {
    if (!fichier_ || !*fichier_) return;
    const std::int64_t taille = fichier_taille(*fichier_);
    longueur_ = taille > 0 ? static_cast<std::uint64_t>(taille) : 0;
  }
  std::uint64_t longueur() const override { return longueur_; }
  std::size_t lire(std::span<std::uint8_t> octets, std::uint64_t position) const override {
    const std::size_t n = permis(octets.size(), position, longueur_);
    if (n == 0) return 0;
    const std::int64_t lus = fichier_->lire_a(octets.first(n), position);
    return lus > 0 ? static_cast<std::size_t>(lus) : 0;
  }

 private:
  std::shared_ptr<const Fichier> fichier_;
  std::uint64_t longueur_ = 0;
};

class SourceFourche final : public SourceSecteurs {
 public:
  SourceFourche(const ElementMac &element, std::uint8_t numero)
      : SourceSecteurs(element.nom_texte()), lecteur_(element, numero) {}
  std::uint64_t longueur() const override { return lecteur_.longueur(); }
  std::size_t lire(std::span<std::uint8_t> octets, std::uint64_t position) const override {
    const std::size_t n = permis(octets.size(), position, lecteur_.longueur());
    return n == 0 ? 0 : lecteur_.lire(octets.first(n), position);
  }

 private:
  LecteurFourche lecteur_;
};

class SourceImage final : public SourceSecteurs {
 public:
  explicit SourceImage(std::string nom) : SourceSecteurs(std::move(nom)) {
    const std::int64_t taille = fichier_taille(support().image);
    longueur_ = taille > 0 ? static_cast<std::uint64_t>(taille) : 0;
  }
  std::uint64_t longueur() const override { return longueur_; }
  std::size_t lire(std::span<std::uint8_t> octets, std::uint64_t position) const override {
    const std::size_t n = permis(octets.size(), position, longueur_);
    std::size_t fait = 0;
    while (fait < n) {
      const std::uint64_t place = position + fait;
      const auto reste = octets.subspan(fait, n - fait);
      const bool droit = place % kTailleSecteur == 0 && reste.size() >= kTailleSecteur;
      fait += droit ? entiers(reste, place) : morceau(reste, place);
    }
    return n;
  }

 private:
  static std::size_t entiers(std::span<std::uint8_t> octets, std::uint64_t position) {
    const auto nombre = static_cast<std::uint32_t>(
        std::min<std::size_t>(octets.size() / kTailleSecteur, kSecteursParRequete));
    const std::size_t taille = std::size_t{nombre} * kTailleSecteur;
    // The driver leaves the buffer as it was where the image ends or cannot be read.
    std::fill_n(octets.begin(), taille, std::uint8_t{0});
    lit_secteurs(octets.data(), position / kTailleSecteur, nombre);
    return taille;
  }
  static std::size_t morceau(std::span<std::uint8_t> octets, std::uint64_t position) {
    std::array<std::uint8_t, kTailleSecteur> secteur{};
    lit_secteurs(secteur.data(), position / kTailleSecteur, 1);
    const auto debut = static_cast<std::size_t>(position % kTailleSecteur);
    const std::size_t n = std::min(octets.size(), secteur.size() - debut);
    std::copy_n(secteur.begin() + static_cast<std::ptrdiff_t>(debut), n, octets.begin());
    return n;
  }

  std::uint64_t longueur_ = 0;
};

class SourcePlage final : public SourceSecteurs {
 public:
  SourcePlage(const SourceSecteurs &base, PlageFourche plage, std::string nom)
      : SourceSecteurs(std::move(nom)),
        base_(base),
        plage_(plage_bornee(plage.position, plage.longueur, base.longueur())) {
    taille_secteur(base.taille_secteur());
  }
  std::uint64_t longueur() const override { return plage_.longueur; }
  std::size_t lire(std::span<std::uint8_t> octets, std::uint64_t position) const override {
    const std::size_t n = permis(octets.size(), position, plage_.longueur);
    return n == 0 ? 0 : base_.lire(octets.first(n), plage_.position + position);
  }

 private:
  const SourceSecteurs &base_;
  PlageFourche plage_;
};

class SourceOctets final : public SourceSecteurs {
 public:
  SourceOctets(std::vector<std::uint8_t> octets, std::string nom)
      : SourceSecteurs(std::move(nom)), octets_(std::move(octets)) {}
  std::uint64_t longueur() const override { return octets_.size(); }
  std::size_t lire(std::span<std::uint8_t> octets, std::uint64_t position) const override {
    const std::size_t n = permis(octets.size(), position, octets_.size());
    std::copy_n(octets_.begin() + static_cast<std::ptrdiff_t>(n == 0 ? 0 : position), n, octets.begin());
    return n;
  }

 private:
  std::vector<std::uint8_t> octets_;
};

}  // namespace

void SourceSecteurs::taille_secteur(std::uint32_t octets) {
  taille_secteur_ = octets != 0 && octets % kTailleSecteur == 0 ? octets : kTailleSecteur;
}

std::uint64_t SourceSecteurs::nb_secteurs() const {
  const std::uint64_t octets = longueur();
  return octets / taille_secteur_ + (octets % taille_secteur_ != 0 ? 1 : 0);
}

std::int64_t SourceSecteurs::dernier_secteur() const {
  return static_cast<std::int64_t>(nb_secteurs()) - 1;
}

bool SourceSecteurs::lire_secteurs(std::span<std::uint8_t> octets, std::int64_t n) const {
  std::fill(octets.begin(), octets.end(), std::uint8_t{0});
  if (n < 0 || n > dernier_secteur()) return true;
  const std::uint64_t position = static_cast<std::uint64_t>(n) * taille_secteur_;
  const std::size_t voulus = permis(octets.size(), position, longueur());
  const std::size_t lus = lire(octets.first(voulus), position);
  std::fill(octets.begin() + static_cast<std::ptrdiff_t>(std::min(lus, voulus)), octets.end(),
            std::uint8_t{0});
  return lus >= voulus;
}

std::vector<std::uint8_t> SourceSecteurs::secteur(std::int64_t n) const {
  std::vector<std::uint8_t> octets(taille_secteur_);
  lire_secteurs(octets, n);
  return octets;
}

SourceUnique source_fourche(const ElementMac &element, std::uint8_t numero) {
  return std::make_unique<SourceFourche>(element, numero);
}

SourceUnique source_fichier(std::shared_ptr<const Fichier> fichier, std::string nom) {
  return std::make_unique<SourceFichier>(std::move(fichier), std::move(nom));
}

SourceUnique source_image(std::string nom) {
  if (!support().image) return nullptr;
  return std::make_unique<SourceImage>(std::move(nom));
}

SourceUnique source_plage(const SourceSecteurs &base, PlageFourche plage, std::string nom) {
  return std::make_unique<SourcePlage>(base, plage, std::move(nom));
}

SourceUnique source_octets(std::vector<std::uint8_t> octets, std::string nom) {
  return std::make_unique<SourceOctets>(std::move(octets), std::move(nom));
}

}  // namespace varnion
