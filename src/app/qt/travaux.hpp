#pragma once

#include <cstdint>
#include <vector>

#include <QString>
#include <QStringList>

class QWidget;

// The work of the commands, each subject in a file of its own. All are called on the main thread with their
// condition met; what takes long they run through `OperationsQt::en_fond`.

namespace varnion {

class TVarnion;
struct ElementMac;

// --- commandes_compilation.cpp
/// Compiles the project of the mode, or stops the compile that runs.
void compile_projet(TVarnion &fenetre);
/// The main form is to close while a compile runs: asks, and closes once the run has stopped.
void ferme_pendant_compilation(TVarnion &fenetre);
/// Stops the compile that runs and waits for it: the main form goes.
void termine_compilation(TVarnion &fenetre);

// --- commandes_hybridation.cpp
void hybride(TVarnion &fenetre);
void deshybride(TVarnion &fenetre);

// --- commandes_volume.cpp: the mounted volume
void cree_image(TVarnion &fenetre);
void enregistre_volume(TVarnion &fenetre);
void enregistre_volume_sous(TVarnion &fenetre);
void copie_vers_le_mac(TVarnion &fenetre);
/// Files and folders of the PC, UTF-8 paths, go into a folder of the volume.
void depose_volume(TVarnion &fenetre, const QStringList &chemins, std::uint32_t dossier);
void supprime_volume(TVarnion &fenetre);
void renomme_volume(TVarnion &fenetre);
/// False when the name stays as it was.
bool renomme_volume_sur_place(TVarnion &fenetre, std::uint32_t id, const QString &nom);
void cree_dossier_volume(TVarnion &fenetre);
void permute_branches(TVarnion &fenetre);

// --- commandes_proprietes.cpp: what is shown and changed of a volume and its items
void proprietes_volume(TVarnion &fenetre);
void proprietes_elements(TVarnion &fenetre);
/// Those of one file, from a form above the window. True when something was written: `element` is read anew.
bool proprietes_du_fichier(TVarnion &fenetre, QWidget *parent, ElementMac &element);
/// The label of the volume alone.
void etiquette_volume(TVarnion &fenetre);
/// Goes through the files of HFS that have the generic signature and lets the user give each a better one.
void edite_signatures_generiques(TVarnion &fenetre);

// --- commandes_copie_pc.cpp
void copie_vers_le_pc(TVarnion &fenetre);

// --- commandes_projet.cpp: projects and ISO+ projects
void depose_projet(TVarnion &fenetre, const QStringList &chemins, std::uint32_t dossier);
/// Items dragged inside the window go into a folder.
void deplace_projet(TVarnion &fenetre, const std::vector<std::uint32_t> &ids, std::uint32_t dossier);
void supprime_projet(TVarnion &fenetre);
void renomme_projet(TVarnion &fenetre);
bool renomme_projet_sur_place(TVarnion &fenetre, std::uint32_t id, const QString &nom);
void cree_dossier_projet(TVarnion &fenetre);
void proprietes_projet(TVarnion &fenetre);
void proprietes_rubriques(TVarnion &fenetre);
void etiquette_projet(TVarnion &fenetre);

// --- commandes_outils.cpp: searches, the project against the disk, settings
void recherche(TVarnion &fenetre);
void remplace_signatures(TVarnion &fenetre);
void compare_projet(TVarnion &fenetre);
void reconstruit_projet(TVarnion &fenetre);
/// Whether a rebuild takes in what lies beside the items of the root: asked with the number and first names,
/// where there is something. `retenir`: with the box that keeps the answer, for this project, until the
/// program ends. Serves a worker, too.
[[nodiscard]] bool veut_voisins(TVarnion &fenetre, bool retenir);
void masque_extensions(TVarnion &fenetre);
void change_chemin(TVarnion &fenetre);
void compose_icones(TVarnion &fenetre);
void enregistre_types(TVarnion &fenetre);
void gere_journal(TVarnion &fenetre);
void table_signatures(TVarnion &fenetre);
void regle_colonnes(TVarnion &fenetre);
void regle_preferences(TVarnion &fenetre);
void imprime_liste(TVarnion &fenetre);

// --- commandes_aide.cpp
void montre_aide(int sujet);
void montre_aide_recherche();
void montre_aide_index();
void montre_aide_support();

// --- commandes_formes.cpp: forms with an editor of their own
void affiche_contenu(TVarnion &fenetre);
/// The sectors of the whole open image.
void affiche_image(TVarnion &fenetre);
void edite_signatures(TVarnion &fenetre);
void cree_ds_store(TVarnion &fenetre);

}  // namespace varnion
