// The alias record of a background picture.

#include <algorithm>
#include <cstring>

#include "finder/alias.hpp"
#include "IO/plateforme.hpp"
#include "noms/texte.hpp"
#include "noms/unicode.hpp"
#include "projet/nom_hfsplus.hpp"

namespace varnion {

namespace {

using Octets = std::vector<std::uint8_t>;

constexpr std::uint16_t kVersion = 2;
constexpr std::uint16_t kDisqueEjectable = 5;
constexpr std::uint16_t kNiveauInconnu = 0xFFFF;
constexpr std::uint32_t kAttributsVolume = 0x902;

Octets en_octets(std::string_view texte) {
  return {texte.begin(), texte.end()};
}

void etiquette(Octets &alias, NumeroEtiquette numero, const Octets &contenu) {
  TeteEtiquette tete;
  tete.etiquette = numero;
  tete.longueur = static_cast<std::uint16_t>(contenu.size());
  const auto octets = octets_de(tete);
  alias.insert(alias.end(), octets.begin(), octets.end());
  alias.insert(alias.end(), contenu.begin(), contenu.end());
  if (contenu.size() % 2 != 0) alias.push_back(0);
}

// A count and as many units, big-endian.
Octets unites(std::u16string_view texte) {
  Octets contenu;
  const auto ajoute = [&contenu](std::size_t valeur) {
    contenu.push_back(static_cast<std::uint8_t>(valeur >> 8));
    contenu.push_back(static_cast<std::uint8_t>(valeur));
  };
  ajoute(texte.size());
  for (const char16_t unite : texte) ajoute(unite);
  return contenu;
}

// A "/" within a name of the Macintosh is ":" in a path of its Unix side.
std::string nom_posix(std::u16string texte) {
  std::replace(texte.begin(), texte.end(), u'/', u':');
  return plateforme::large_vers_utf8(texte);
}

// Pascal string: length, then the text cut at the room of its field.
template <std::size_t N>
void pascal(std::uint8_t &longueur, std::array<std::uint8_t, N> &champ, std::string_view texte) {
  longueur = static_cast<std::uint8_t>(std::min(texte.size(), N));
  std::copy_n(texte.begin(), longueur, champ.begin());
}

FicheAlias fiche_de(const CibleAlias &cible, std::string_view volume, std::string_view fichier) {
  FicheAlias fiche;
  fiche.version = kVersion;
  pascal(fiche.lg_volume, fiche.volume, volume);
  fiche.date_volume = date_projet(plateforme::maintenant());
  std::memcpy(fiche.systeme.data(), cible.hfsplus ? "H+" : "BD", fiche.systeme.size());
  fiche.disque = kDisqueEjectable;
  fiche.dossier = cible.dossier;
  pascal(fiche.lg_fichier, fiche.fichier, fichier);
  fiche.date_fichier = cible.date_fichier;
  std::memcpy(fiche.signature.data(), cible.signature.data(), cible.signature.size());
  fiche.niveaux_montes = kNiveauInconnu;
  fiche.niveaux_descendus = kNiveauInconnu;
  fiche.attributs = kAttributsVolume;
  return fiche;
}

}  // namespace

std::vector<std::uint8_t> alias_fond(const CibleAlias &cible) {
  const std::string volume = nom_mac(cible.volume);
  const std::string fichier = nom_mac(cible.fichier);
  const std::u16string volume_large = decompose_texte(cible.volume).large();
  const std::u16string fichier_large =
      cible.fichier_large.empty() ? decompose_texte(cible.fichier).large() : cible.fichier_large;
  const std::string dossier(kNomDossierFond);

  FicheAlias fiche = fiche_de(cible, volume, fichier);
  Octets alias(sizeof fiche);
  etiquette(alias, kEtiquetteDossier, en_octets(dossier));
  const be32 numero = cible.dossier;
  etiquette(alias, kEtiquetteNumeros, {numero.octets.begin(), numero.octets.end()});
  etiquette(alias, kEtiquetteChemin, en_octets(volume + ":" + dossier + ":" + fichier));
  etiquette(alias, kEtiquetteNomUnicode, unites(fichier_large));
  etiquette(alias, kEtiquetteVolumeUnicode, unites(volume_large));
  etiquette(alias, kEtiquetteCheminPosix, en_octets("/" + dossier + "/" + nom_posix(fichier_large)));
  etiquette(alias, kEtiquetteMontage, en_octets("/Volumes/" + nom_posix(volume_large)));
  etiquette(alias, kEtiquetteFin, {});
  fiche.longueur = static_cast<std::uint16_t>(alias.size());
  std::memcpy(alias.data(), &fiche, sizeof fiche);
  return alias;
}

}  // namespace varnion
