#include "res/tailles.hpp"

#include "res/chaines.hpp"

namespace varnion {

std::string taille_lisible(std::uint64_t octets) {
  constexpr int kOctets = 6533;  // then one id for each unit above
  constexpr int kUnites = 4;     // KB to TB
  if (octets < 1024) return message(kOctets, {octets});
  int unite = 1;
  std::uint64_t base = 1024;
  while (unite < kUnites && octets / base >= 1024) {
    base *= 1024;
    ++unite;
  }
  const std::uint64_t dixiemes = octets / base * 10 + octets % base * 10 / base;
  return message(kOctets + unite, {dixiemes / 10, dixiemes % 10});
}

}  // namespace varnion
