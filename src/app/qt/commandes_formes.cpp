#include "app/qt/travaux.hpp"

#include "app/qt/tvarnion.hpp"

namespace varnion {

void affiche_contenu(TVarnion & /*fenetre*/) {}

void edite_signatures(TVarnion & /*fenetre*/) {}

void cree_ds_store(TVarnion & /*fenetre*/) {}

}  // namespace varnion
