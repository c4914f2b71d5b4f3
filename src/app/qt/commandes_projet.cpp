#include "app/qt/travaux.hpp"

#include "app/qt/tvarnion.hpp"

namespace varnion {

void depose_projet(TVarnion & /*fenetre*/, const QStringList & /*chemins*/, std::uint32_t /*dossier*/) {}

void deplace_projet(TVarnion & /*fenetre*/, const std::vector<std::uint32_t> & /*ids*/,
                    std::uint32_t /*dossier*/) {}

void supprime_projet(TVarnion & /*fenetre*/) {}

void renomme_projet(TVarnion & /*fenetre*/) {}

bool renomme_projet_sur_place(TVarnion & /*fenetre*/, std::uint32_t /*id*/, const QString & /*nom*/) {
  return false;
}

void cree_dossier_projet(TVarnion & /*fenetre*/) {}

void proprietes_projet(TVarnion & /*fenetre*/) {}

void proprietes_rubriques(TVarnion & /*fenetre*/) {}

void etiquette_projet(TVarnion & /*fenetre*/) {}

}  // namespace varnion
