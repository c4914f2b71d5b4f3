#include <algorithm>

#include "hfs/catalogue.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"
#include "noms/ordre.hpp"
#include "noms/texte.hpp"

// Searches over the whole volume.

namespace varnion {
namespace {

constexpr std::string_view kAlias = "adrp";
constexpr std::size_t kTextePourCreateur = 4;  // a longer text is meant for type and creator as one

template <typename Critere>
std::vector<ElementMac> rassemble(std::size_t limite, ResultatParcours *fin, Critere critere) {
  std::vector<ElementMac> trouves;
  if (limite == 0) return trouves;
  const ResultatParcours resultat = parcours_volume([&](const ElementMac &element) {
    if (operations().arret_demande()) return false;
    if (critere(element)) trouves.push_back(element);
    return trouves.size() < limite;
  });
  if (fin != nullptr) *fin = resultat;
  return trouves;
}

bool commence(std::span<const std::uint8_t> octets, std::string_view texte) {
  return texte.size() <= octets.size() &&
         std::equal(texte.begin(), texte.end(), octets.begin(),
                    [](char c, std::uint8_t octet) { return static_cast<std::uint8_t>(c) == octet; });
}

std::array<std::uint8_t, 8> signature_de(const ElementMac &element) {
  std::array<std::uint8_t, 8> signature{};
  std::copy(element.type.begin(), element.type.end(), signature.begin());
  std::copy(element.createur.begin(), element.createur.end(), signature.begin() + 4);
  return signature;
}

}  // namespace

std::vector<ElementMac> cherche_nom_hfs(std::string_view nom, std::size_t limite, ResultatParcours *fin) {
  return rassemble(limite, fin,
                   [&](const ElementMac &element) { return compare_nom_hfs(nom, element.nom_hfs) == 0; });
}

std::vector<ElementMac> cherche_nom_hfsplus(const NomUnicode &nom, std::size_t limite,
                                            ResultatParcours *fin) {
  return rassemble(limite, fin, [&](const ElementMac &element) {
    return compare_nom_hfsplus(nom, element.nom_hfsplus) == 0;
  });
}

std::vector<ElementMac> cherche_nom(std::string_view nom, std::size_t limite, ResultatParcours *fin) {
  return volume_courant().est_hfsplus ? cherche_nom_hfsplus(windows_vers_unicode(nom), limite, fin)
                                      : cherche_nom_hfs(nom_mac(nom), limite, fin);
}

bool compare_signature(std::string_view texte, std::span<const std::uint8_t, 8> signature) {
  if (commence(signature, texte)) return true;
  return texte.size() <= kTextePourCreateur && commence(signature.subspan<4>(), texte);
}

std::vector<ElementMac> cherche_signature(std::string_view texte, std::size_t limite, ResultatParcours *fin) {
  return rassemble(limite, fin, [&](const ElementMac &element) {
    return element.fichier() && compare_signature(texte, signature_de(element));
  });
}

std::vector<ElementMac> liste_alias(std::size_t limite, ResultatParcours *fin) {
  return rassemble(limite, fin, [](const ElementMac &element) {
    return element.fichier() && (commence(element.type, kAlias) || commence(element.createur, kAlias));
  });
}

}  // namespace varnion
