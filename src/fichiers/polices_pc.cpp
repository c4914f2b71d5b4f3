#include "fichiers/polices_pc.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <vector>

#include "fichiers/polices.hpp"
#include "fichiers/ressources.hpp"
#include "IO/octets.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::size_t kLecturePfb = 0x10000;      // the name stands in the clear text ahead of the font
constexpr std::uint32_t kPositionData = 0x100;    // where the Resource Manager puts the resources
constexpr std::uint32_t kPositionMax = 0xFFFFFF;  // of a resource in the data: 24 bits
constexpr std::uint16_t kListeTypes = 0x1C;       // in the map
constexpr std::uint16_t kListeNoms = 0x46;

// A family record (Inside Macintosh: Text, 4-94) with one entry of its association table: any size, plain.
constexpr std::array<std::uint8_t, 78> kFond = {
    0x00, 0x00, 0x0C, 0x2A, 0x00, 0x00, 0x00, 0xFF, 0x0D, 0x52, 0xFB, 0x32, 0x00, 0x00, 0x09, 0x9A,  // 0
    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,     // 16
    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,     // 32
    0,    0,    0x00, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x2A, 0x00, 0x00, 0x00, 0x00,  // 48
    0x00, 0x06, 0x00, 0x00, 0x00, 0x00, 0xFF, 0xCA, 0xFB, 0x9E, 0x0A, 0x00, 0x0E, 0x9A};             // 64
constexpr std::size_t kFondFamille = 2;       // ffFamID
constexpr std::size_t kFondAssociation = 58;  // resource number of the associated font

class Constructeur {
 public:
  void mot16(std::uint32_t valeur) {
    octets_.push_back(static_cast<std::uint8_t>(valeur >> 8));
    octets_.push_back(static_cast<std::uint8_t>(valeur));
  }
  void mot32(std::uint32_t valeur) {
    mot16(valeur >> 16);
    mot16(valeur & 0xFFFF);
  }
  void texte(std::string_view texte) { octets_.insert(octets_.end(), texte.begin(), texte.end()); }
  void pascal(std::string_view nom) {
    octets_.push_back(static_cast<std::uint8_t>(nom.size()));
    texte(nom);
  }
  void zeros(std::size_t nombre) { octets_.resize(octets_.size() + nombre); }
  [[nodiscard]] std::span<const std::uint8_t> octets() const { return octets_; }

 private:
  std::vector<std::uint8_t> octets_;
};

// Two types with one resource each, and the name of each.
Constructeur carte(std::uint32_t lg_police, std::string_view nom, std::uint16_t numero) {
  Constructeur c;
  c.zeros(24);  // copy of the head, handle, file, attributes: filled in by the Resource Manager
  c.mot16(kListeTypes);
  c.mot16(kListeNoms);
  c.mot16(1);
  std::uint32_t references = 2 + 2 * 8;
  for (const std::string_view type : {"sfnt", "FOND"}) {
    c.texte(type);
    c.mot16(0);
    c.mot16(references);
    references += 12;
  }
  const std::uint32_t de_nom[] = {0, static_cast<std::uint32_t>(nom.size()) + 1};
  const std::uint32_t de_donnees[] = {0, lg_police + 4};
  for (std::size_t i = 0; i < 2; ++i) {
    c.mot16(numero);
    c.mot16(de_nom[i]);
    c.mot32(de_donnees[i]);
    c.mot32(0);
  }
  c.pascal(nom);
  c.pascal(nom);
  return c;
}

bool verse(const Fichier &source, std::uint64_t taille, const Fichier &cible, std::uint64_t position) {
  std::vector<std::uint8_t> bloc(kLecturePfb);
  for (std::uint64_t fait = 0; fait < taille;) {
    const auto part =
        std::span(bloc).first(static_cast<std::size_t>(std::min<std::uint64_t>(taille - fait, bloc.size())));
    const std::int64_t lus = source.lire_a(part, fait);
    if (lus != static_cast<std::int64_t>(part.size())) {
      if (lus >= 0) errno = EIO;  // the file shrank
      return false;
    }
    if (!cible.ecrire_a(part, position + fait)) return false;
    fait += part.size();
  }
  return true;
}

}  // namespace

std::optional<std::string> nom_police_pfb(const Fichier &pfb) {
  std::vector<std::uint8_t> debut(kLecturePfb);
  const std::int64_t lus = pfb.lire_a(debut, 0);
  if (lus <= 0) return std::nullopt;
  auto nom = nom_postscript({reinterpret_cast<const char *>(debut.data()), static_cast<std::size_t>(lus)});
  if (nom) nom->resize(std::min(nom->size(), kNomPoliceMax));
  return nom;
}

Fichier fourche_truetype(const Fichier &ttf, std::uint64_t taille, std::string_view nom,
                         std::uint16_t numero) {
  if (taille + 4 > kPositionMax) {
    errno = EFBIG;
    return {};
  }
  nom = nom.substr(0, kNomPoliceMax);
  const auto lg = static_cast<std::uint32_t>(taille);
  std::array<std::uint8_t, kFond.size()> fond = kFond;
  *vue_modifiable<be16>(fond, kFondFamille) = numero;
  *vue_modifiable<be16>(fond, kFondAssociation) = numero;
  Constructeur fin;
  fin.mot32(static_cast<std::uint32_t>(fond.size()));
  fin.texte({reinterpret_cast<const char *>(fond.data()), fond.size()});
  const Constructeur map = carte(lg, nom, numero);

  const auto lg_data = static_cast<std::uint32_t>(4 + lg + fin.octets().size());
  Constructeur tete;
  tete.mot32(kPositionData);
  tete.mot32(kPositionData + lg_data);
  tete.mot32(lg_data);
  tete.mot32(static_cast<std::uint32_t>(map.octets().size()));
  tete.zeros(kPositionData - tete.octets().size());
  tete.mot32(lg);

  Fichier fourche = plateforme::fichier_anonyme();
  const std::uint64_t police = tete.octets().size();
  const bool fait = fourche && fourche.ecrire_a(tete.octets(), 0) && verse(ttf, taille, fourche, police) &&
                    fourche.ecrire_a(fin.octets(), police + taille) &&
                    fourche.ecrire_a(map.octets(), kPositionData + lg_data);
  return fait ? std::move(fourche) : Fichier();
}

}  // namespace varnion
