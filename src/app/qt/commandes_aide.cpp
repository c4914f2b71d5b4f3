#include "app/qt/aide.hpp"
#include "app/qt/travaux.hpp"

namespace varnion {

void montre_aide(int sujet) {
  aide(sujet);
}

void montre_aide_recherche() {
  aide_recherche();
}

void montre_aide_index() {
  aide_index();
}

// There is no page of the makers to go to: the help has one on how to get on by oneself, in each language.
void montre_aide_support() {
  aide(sujet::kAssistance);
}

}  // namespace varnion
