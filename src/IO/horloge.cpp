#include <sys/random.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string_view>

#include "IO/etat.hpp"
#include "IO/plateforme.hpp"

namespace varnion::plateforme {
namespace {

constexpr std::int64_t kJour = 86400;
constexpr std::int64_t kMaxSecondes = 60'000'000'000'000'000;  // about two thousand million years

std::optional<std::int64_t> date_source() {
  const char *valeur = std::getenv("SOURCE_DATE_EPOCH");
  if (valeur == nullptr) return std::nullopt;
  const std::string_view texte = valeur;
  std::int64_t secondes = -1;
  const auto [fin, erreur] = std::from_chars(texte.data(), texte.data() + texte.size(), secondes);
  if (erreur != std::errc() || fin != texte.data() + texte.size() || secondes < 0) return std::nullopt;
  return secondes;
}

// What holds for the whole run, read once.
struct Horloge {
  std::optional<std::int64_t> imposee = date_source();
  std::int64_t biais = 0;

  Horloge() {
    ::tzset();
    const auto maintenant = static_cast<std::time_t>(imposee.value_or(std::time(nullptr)));
    std::tm locale{};
    if (::localtime_r(&maintenant, &locale) != nullptr) biais = -locale.tm_gmtoff;
  }
};

DateCivile date_de(const std::tm &t) {
  return {t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec};
}

// A well-spread number from a counter (the finalizer of splitmix64).
std::uint64_t melange(std::uint64_t valeur) {
  valeur += 0x9E3779B97F4A7C15U;
  valeur = (valeur ^ (valeur >> 30)) * 0xBF58476D1CE4E5B9U;
  valeur = (valeur ^ (valeur >> 27)) * 0x94D049BB133111EBU;
  return valeur ^ (valeur >> 31);
}

}  // namespace

std::int64_t maintenant() {
  const auto imposee = etat<Horloge>().imposee;
  return imposee ? *imposee : static_cast<std::int64_t>(std::time(nullptr));
}

bool date_imposee() {
  return etat<Horloge>().imposee.has_value();
}

std::int64_t biais_fuseau() {
  return etat<Horloge>().biais;
}

std::uint32_t nombre_hasard() {
  if (const auto imposee = etat<Horloge>().imposee) {
    return static_cast<std::uint32_t>(melange(static_cast<std::uint64_t>(*imposee)) >> 32);
  }
  std::uint32_t hasard = 0;
  if (::getrandom(&hasard, sizeof hasard, 0) == static_cast<ssize_t>(sizeof hasard)) return hasard;
  const auto instant = std::chrono::steady_clock::now().time_since_epoch().count();
  return static_cast<std::uint32_t>(melange(static_cast<std::uint64_t>(instant)) >> 32);
}

DateCivile date_utc(std::int64_t secondes_unix) {
  const std::int64_t secondes = std::clamp(secondes_unix, -kMaxSecondes, kMaxSecondes);
  const std::int64_t reste = ((secondes % kJour) + kJour) % kJour;
  // Years run from 1 March here, so that the leap day is the last; 719,468 days lie between 0000-03-01 and
  // 1970.
  const std::int64_t jours = (secondes - reste) / kJour + 719468;
  const std::int64_t ere = (jours >= 0 ? jours : jours - 146096) / 146097;
  const std::int64_t jour_ere = jours - ere * 146097;
  const std::int64_t annee_ere = (jour_ere - jour_ere / 1460 + jour_ere / 36524 - jour_ere / 146096) / 365;
  const std::int64_t jour_annee = jour_ere - (365 * annee_ere + annee_ere / 4 - annee_ere / 100);
  const std::int64_t mois_mars = (5 * jour_annee + 2) / 153;
  const std::int64_t mois = mois_mars < 10 ? mois_mars + 3 : mois_mars - 9;
  const std::int64_t annee = annee_ere + ere * 400 + (mois <= 2 ? 1 : 0);
  return {static_cast<int>(annee),
          static_cast<int>(mois),
          static_cast<int>(jour_annee - (153 * mois_mars + 2) / 5 + 1),
          static_cast<int>(reste / 3600),
          static_cast<int>(reste / 60 % 60),
          static_cast<int>(reste % 60)};
}

DateCivile date_locale(std::int64_t secondes_unix) {
  const auto instant = static_cast<std::time_t>(secondes_unix);
  std::tm locale{};
  return ::localtime_r(&instant, &locale) != nullptr ? date_de(locale) : date_utc(secondes_unix);
}

double chronometre() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace varnion::plateforme
