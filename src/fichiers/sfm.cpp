#include "fichiers/sfm.hpp"

#include <array>

#include "IO/octets.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::uint32_t kMagieAfp = 0x41465000;

struct EnregistrementAfp {
  be32 magie;                                // 0
  std::array<std::uint8_t, 12> inutilise{};  // 4
  std::array<char, 8> signature{};           // 16
  be16 drapeaux;                             // 24
};
static_assert(sizeof(EnregistrementAfp) == 26);

}  // namespace

bool a_flux_sfm(std::string_view nom) {
  return ouvre_ressource_sfm(nom).ouvert();
}

Fichier ouvre_ressource_sfm(std::string_view nom) {
  return plateforme::ouvre_flux(nom, kFluxRessource);
}

InfoAfp lit_info_afp(std::string_view nom) {
  InfoAfp info;
  const Fichier flux = plateforme::ouvre_flux(nom, kFluxInfo);
  if (!flux.ouvert()) return info;
  info.presente = true;
  std::array<std::uint8_t, kLectureAfpInfo> octets{};
  const std::int64_t lus = flux.lire_a(octets, 0);
  if (lus < 0) return info;
  const auto lu = std::span<const std::uint8_t>(octets).first(static_cast<std::size_t>(lus));
  const auto *fiche = vue<EnregistrementAfp>(lu, 0);
  if (fiche == nullptr) return info;
  info.magie_juste = fiche->magie == kMagieAfp;
  info.signature.assign(fiche->signature.begin(), fiche->signature.end());
  info.drapeaux = fiche->drapeaux;
  return info;
}

std::uint16_t lecture_afpinfo(std::string_view nom, std::string &signature) {
  const InfoAfp info = lit_info_afp(nom);
  signature = info.magie_juste ? info.signature : std::string();
  return info.magie_juste ? info.drapeaux : std::uint16_t{0};
}

}  // namespace varnion
