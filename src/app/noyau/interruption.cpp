#include "app/noyau/interruption.hpp"

#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace varnion {

namespace {

// The one thing that a signal handler may touch.
std::atomic<bool> demandee{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void recoit(int /*signal*/) {
  if (demandee.exchange(true)) ::_exit(1);
}

}  // namespace

void surveille_interruptions() {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, nullptr);
  ::sigaction(SIGXFSZ, &ignore, nullptr);
  struct sigaction action {};
  action.sa_handler = recoit;  // without SA_RESTART: a read from the terminal comes back
  ::sigemptyset(&action.sa_mask);
  for (const int numero : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction ancienne {};
    if (::sigaction(numero, nullptr, &ancienne) == 0 && ancienne.sa_handler == SIG_IGN) continue;
    ::sigaction(numero, &action, nullptr);
  }
}

void oublie_interruption() {
  demandee.store(false, std::memory_order_relaxed);
}

bool interruption_demandee() {
  return demandee.load(std::memory_order_relaxed);
}

}  // namespace varnion
