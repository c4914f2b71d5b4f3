#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// Every command of the window as one table: where it hangs, its texts, key, modes, condition and work. The
// window builds its menus, tool bars and popups from it. Nothing here needs Qt.

namespace varnion {

/// Modes in which a component is shown, as bits (1 << working mode).
constexpr unsigned kDansProjet = 1U;
constexpr unsigned kDansPartition = 2U;
constexpr unsigned kDansIsop = 4U;
constexpr unsigned kDansProjets = kDansProjet | kDansIsop;
constexpr unsigned kPartout = kDansProjets | kDansPartition;

/// What must hold for a command to be enabled.
enum class Condition : std::uint8_t {
  toujours,
  document,            ///< the mode's document is open
  document_nomme,      ///< and has a name of its own
  document_ecriture,   ///< and may be changed
  document_copiable,   ///< the same, or it is a temporary copy
  creation_menu,       ///< that it may be changed; without a volume the item of the menu stays as it was last
  hybridation,         ///< and its kind of image was found to allow it
  selection,           ///< a document, and something is selected in the tree or the list
  selection_ecriture,  ///< a document that may be changed, and a selection
  selection_liste,     ///< a document, and a selection in the list
  selection_arbre,     ///< a document, and a selection in the tree
  suppression_arbre,   ///< the same, but for the root
  suppression_bouton,  ///< a document that may be changed, and a selection that is not the root alone
  collage,             ///< a document that may be changed, and files in the clipboard
  collage_menu,        ///< a document, and files in the clipboard
  hors_racine,         ///< a document, and the folder shown is not its root
  recent,              ///< the mode has recent documents
};

/// The work of a command. One that has none yet is not shown.
enum class Operation : std::uint8_t {
  aucune,
  sous_menu,
  nouveau,
  ouvrir,
  enregistrer,
  enregistrer_sous,
  fermer,
  recent,  ///< `valeur`: rank in the list
  quitter,
  copier_vers_pc,
  tout_selectionner,
  inverser,
  explorateur,
  choisir_mode,  ///< `valeur`: working mode
  mode_suivant,
  choisir_vue,  ///< `valeur`: a Vue
  vue_suivante,
  barre_outils,
  choisir_copie,   ///< `valeur`: a ModeCopie
  choisir_langue,  ///< `valeur`: language base
  a_propos,
  dossier_pere,
  actualiser,
  nouvelle_image,
  enregistrer_volume,
  enregistrer_volume_sous,
  copier_vers_mac,
  coller,
  supprimer,
  renommer,
  creer_dossier,
  afficher_contenu,
  afficher_image,
  proprietes,
  proprietes_document,  ///< of the project, the ISO+ project, the volume
  etiquette,
  compiler,
  hybrider,
  deshybrider,
  imprimer,
  permuter,
  signatures_generiques,
  rechercher,
  remplacer_signatures,
  comparer,  ///< the project with the disk
  reconstruire,
  masquer_extensions,
  changer_chemin,
  editer_signatures,
  composer_icones,
  enregistrer_types,
  creer_ds_store,
  journal,
  table_signatures,
  colonnes,
  preferences,
  aide,  ///< `valeur`: topic
  aide_recherche,
  aide_index,
  aide_support,
};

enum class LieuCommandes : std::uint8_t { menu, outils, contextuel_liste, contextuel_arbre };

/// What commands hang in: a menu of the bar, a tool bar, a popup menu.
struct ConteneurCommandes {
  const char *nom;
  LieuCommandes genre;
  int legende;  ///< string ids, 0 none
  int indice;
  unsigned modes;
};
[[nodiscard]] std::span<const ConteneurCommandes> conteneurs_commandes();

struct Commande {
  const char *nom;     ///< component, its objectName
  const char *parent;  ///< container, or the command whose submenu it is in; "" a key alone
  int legende;         ///< string ids, 0 none
  int indice;
  const char *touche;
  unsigned modes;
  Condition condition;
  Operation operation = Operation::aucune;
  int valeur = 0;
  const char *icone = "";
  bool separe = false;  ///< a separator stands ahead of it

  [[nodiscard]] bool faite() const { return operation != Operation::aucune; }
  [[nodiscard]] bool montree(int mode) const { return faite() && (modes >> mode & 1U) != 0; }
};
[[nodiscard]] std::span<const Commande> commandes();
/// nullptr when there is none.
[[nodiscard]] const Commande *commande_nommee(std::string_view nom);

/// What the conditions look at.
struct EtatCommandes {
  bool document = false;
  bool nomme = false;
  bool lecture_seule = false;
  bool copie = false;  ///< the document is a temporary copy of a compressed image
  bool hybridation = false;
  bool selection_arbre = false;
  bool selection_liste = false;
  bool noeud_racine = false;   ///< the node selected in the tree is the root
  bool dossier_racine = true;  ///< the folder shown is the root
  bool presse_papiers = false;
  bool recents = false;
};
[[nodiscard]] bool permise(Condition condition, const EtatCommandes &etat);
/// True for a condition that a volume which is only read never meets.
[[nodiscard]] bool exige_ecriture(Condition condition);

}  // namespace varnion
