#include "hfs/liens.hpp"

#include <algorithm>
#include <string_view>

#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::string_view kTypeLien = "hlnk";
constexpr std::string_view kCreateurLien = "hfs+";
constexpr std::size_t kNumeroSpecial = 12;  // `special` in HFSPlusBSDInfo: number of the indirect node

bool egale(const std::array<std::uint8_t, 4> &octets, std::string_view texte) {
  return std::equal(octets.begin(), octets.end(), texte.begin(), texte.end());
}

}  // namespace

ElementMac sans_lien(const ElementMac &element) {
  if (!element.hfsplus || element.dossier || !egale(element.type, kTypeLien) ||
      !egale(element.createur, kCreateurLien))
    return element;
  const auto reserve =
      element_hfsplus(kIdRacine, nom_unicode(std::u16string(4, u'\0') + u"HFS+ Private Data"));
  const auto numero = vue<be32>(element.permissions, kNumeroSpecial);
  if (!reserve || numero == nullptr) return element;
  const std::string nom = "iNode" + std::to_string(std::uint32_t{*numero});
  auto cible = element_hfsplus(reserve->id, nom_unicode(plateforme::utf8_vers_large(nom)));
  if (!cible || cible->dossier) return element;
  cible->parent = element.parent;
  cible->nom_hfsplus = element.nom_hfsplus;
  return *cible;
}

}  // namespace varnion
