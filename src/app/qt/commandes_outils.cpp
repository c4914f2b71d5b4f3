#include "app/qt/travaux.hpp"

#include "app/qt/tvarnion.hpp"

namespace varnion {

void recherche(TVarnion & /*fenetre*/) {}

void remplace_signatures(TVarnion & /*fenetre*/) {}

void compare_projet(TVarnion & /*fenetre*/) {}

void reconstruit_projet(TVarnion & /*fenetre*/) {}

void masque_extensions(TVarnion & /*fenetre*/) {}

void change_chemin(TVarnion & /*fenetre*/) {}

void compose_icones(TVarnion & /*fenetre*/) {}

void enregistre_types(TVarnion & /*fenetre*/) {}

void gere_journal(TVarnion & /*fenetre*/) {}

void table_signatures(TVarnion & /*fenetre*/) {}

void regle_colonnes(TVarnion & /*fenetre*/) {}

void regle_preferences(TVarnion & /*fenetre*/) {}

void imprime_liste(TVarnion & /*fenetre*/) {}

}  // namespace varnion
