#include "finder/export_ressource.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kExtensionHex = 3600;
constexpr int kExtensionBinaire = 3604;
constexpr std::size_t kRangee = 16;
constexpr std::size_t kBlocHex = kRangee * 4096;

std::span<const std::uint8_t> octets_texte(std::string_view texte) {
  return {reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()};
}

void ajoute_rangee(std::span<const std::uint8_t> octets, std::string &texte) {
  constexpr std::string_view kChiffres = "0123456789abcdef";
  for (std::size_t i = 0; i < kRangee; ++i) {
    const unsigned octet = i < octets.size() ? octets[i] : 0U;
    if (i > 0) texte += ' ';
    texte += kChiffres[octet >> 4];
    texte += kChiffres[octet & 15];
  }
  texte += "\r\n";
}

ResultatEcriture ecrit_hexadecimal(const Fichier &fourche, const RessourceMac &ressource,
                                   std::string_view titre, SortieConteneur &sortie) {
  sortie.ecrit(octets_texte(std::string(titre) + "\r\n"));
  std::vector<std::uint8_t> bloc(kBlocHex);
  const PlageFourche plage = ressource.octets();
  for (std::uint64_t fait = 0; fait < plage.longueur && sortie.resultat() == ResultatEcriture::fait;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(plage.longueur - fait, bloc.size()));
    const auto lus = std::span(bloc).first(n);
    if (fourche.lire_a(lus, plage.position + fait) != static_cast<std::int64_t>(n))
      return ResultatEcriture::lecture;
    std::string texte;
    for (std::size_t i = 0; i < n; i += kRangee)
      ajoute_rangee(lus.subspan(i, std::min(kRangee, n - i)), texte);
    sortie.ecrit(octets_texte(texte));
    fait += n;
  }
  return sortie.resultat();
}

ResultatEcriture ecrit_binaire(const Fichier &fourche, const RessourceMac &ressource,
                               SortieConteneur &sortie) {
  // The fork stays open under its owner for the length of the call.
  const std::shared_ptr<const Fichier> pret(&fourche, [](const Fichier *) {});
  sortie.verse(fourche_de_fichier(pret, ressource.octets()));
  return sortie.resultat();
}

}  // namespace

std::string legende_ressource(const RessourceMac &ressource) {
  return formate("id=0x%04x, lg=%lu", {static_cast<std::uint16_t>(ressource.id), ressource.longueur});
}

std::string titre_ressource(std::string_view nom_fichier, const RessourceMac &ressource) {
  return remplace_interdits(std::string(nom_fichier) + "." + nom_windows(ressource.type)) + ", " +
         legende_ressource(ressource);
}

std::string nom_propose(std::string_view titre, FormeRessource forme) {
  const int extension = forme == FormeRessource::binaire ? kExtensionBinaire : kExtensionHex;
  return std::string(titre.substr(0, titre.find(','))) + "." + charger_chaine(extension);
}

ResultatEcriture ecrit_ressource(const Fichier &fourche, const RessourceMac &ressource, FormeRessource forme,
                                 std::string_view titre, const Fichier &cible) {
  if (!ressource.presente) return ResultatEcriture::lecture;
  SortieConteneur sortie(cible);
  if (forme == FormeRessource::binaire) return ecrit_binaire(fourche, ressource, sortie);
  return ecrit_hexadecimal(fourche, ressource, titre, sortie);
}

bool enregistre_ressource(const Fichier &fourche, const RessourceMac &ressource, FormeRessource forme,
                          std::string_view titre, const DossierSortie &dossier, const std::string &nom) {
  CibleFichier cible(dossier, nom);
  ResultatEcriture resultat = ResultatEcriture::ecriture;
  if (cible.ouverte()) resultat = ecrit_ressource(fourche, ressource, forme, titre, cible.fichier());
  if (resultat == ResultatEcriture::fait && !cible.garde()) resultat = ResultatEcriture::ecriture;
  dit_echec_ecriture(resultat, cible.chemin(), errno);
  return resultat == ResultatEcriture::fait;
}

}  // namespace varnion
