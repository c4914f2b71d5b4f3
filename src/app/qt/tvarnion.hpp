#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QHash>
#include <QMainWindow>

#include "app/qt/catalogue.hpp"
#include "app/qt/document.hpp"
#include "app/qt/modele_arbre.hpp"
#include "app/qt/modele_liste.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/ouverture.hpp"

class QAction;
class QActionGroup;
class QLabel;
class QMenu;
class QSplitter;
class QToolBar;
class QTranslator;
class QTreeView;

namespace varnion {

class Jauge;
class OperationsQt;

/// Asks for a path; "" when the user gives up. A test puts its own in place.
struct DemandesFichiers {
  std::function<QString(int titre, int filtre, const QString &depart)> ouvrir;
  std::function<QString(int titre, int filtre, const QString &depart, int extension)> enregistrer;
  std::function<QString(int titre, const QString &depart)> dossier;
};

/// The main form. Its menus and bars come from `commandes()`; `execute` is the one door to their work.
class TVarnion final : public QMainWindow {
 public:
  explicit TVarnion(OperationsQt &operations, QWidget *parent = nullptr);
  ~TVarnion() override;
  TVarnion(const TVarnion &) = delete;
  TVarnion &operator=(const TVarnion &) = delete;

  /// The last steps of the start: the document given (working text), else the default one of the mode.
  void demarre(const std::string &document);
  /// Opens a document in the mode of its kind: a path in UTF-8 that came from outside, once nothing else
  /// runs.
  void recoit_document(const QString &chemin);
  /// False after a message: the kind is unknown, or the document does not open.
  bool router_parametre(const std::string &chemin);

  void changer_mode(int mode);
  void execute(const Commande &commande);

  [[nodiscard]] int mode() const { return mode_; }
  [[nodiscard]] int vue() const { return vue_; }
  [[nodiscard]] bool document_ouvert() const;
  /// Path of the open document, working text; "" when none is open.
  [[nodiscard]] std::string chemin_document() const;
  [[nodiscard]] EtatCommandes etat_commandes() const;
  /// Why the volume is only read, in one line; "" when it may be changed.
  [[nodiscard]] QString raison_lecture_seule() const;

  DemandesFichiers demandes;

  // --- for the work of the commands (travaux.hpp)

  [[nodiscard]] OperationsQt &operations_fenetre() { return operations_; }
  /// The open project or ISO+ project; nullptr when there is none.
  [[nodiscard]] FichierProjet *projet() const { return projet_.get(); }
  [[nodiscard]] ModeProjet mode_projet() const;
  /// Id of the folder that the list shows, 0 none.
  [[nodiscard]] std::uint32_t dossier_montre() const { return dossier_; }
  [[nodiscard]] std::uint32_t racine() const;
  /// True when a file command acts on the list, false for the tree.
  [[nodiscard]] bool depuis_liste() const { return depuis_liste_; }
  /// Ids that a command acts on: the folder of the tree, never the root, or the rows selected in the list, in
  /// the order shown.
  [[nodiscard]] std::vector<std::uint32_t> ids_choisis() const;
  /// The same of the mounted volume, as elements.
  [[nodiscard]] std::vector<ElementMac> elements_choisis() const;
  [[nodiscard]] QTreeView *arbre() const { return arbre_; }
  [[nodiscard]] QTreeView *liste() const { return liste_; }
  [[nodiscard]] const ModeleListe &modele_liste() const { return modele_liste_; }
  [[nodiscard]] QAction *action(const QString &nom) const { return actions_.value(nom); }

  /// Reads the document anew into both panes, at the folder it was at.
  void montre_document();
  /// The list alone.
  void affiche_dossier(std::uint32_t id);
  /// Opens the tree down to a folder, as far as it shows it, and shows what the last one holds.
  void va_au_dossier(std::uint32_t id);
  /// Selects rows of the list, the first one in sight.
  void selectionne_elements(const std::vector<std::uint32_t> &ids);
  /// Opens a document of the current mode, once the one that is open may close. False when it does not open,
  /// after a message, or when the user keeps the other: that one stays as it is.
  bool ouvre_chemin(const std::string &chemin);
  /// The same in a mode, without the question about the document that it replaces.
  bool remplace_document(int mode, const std::string &chemin);
  /// True, after a message, for the file of the open document: it is none to write over.
  [[nodiscard]] bool est_ouvert_ici(const std::string &chemin) const;
  bool enregistrer_sous();
  /// The desktop session ends: asks what is asked when the window closes, where `questions` may be put. False
  /// when the user wants to stay.
  bool fin_de_session(bool questions);
  void note_recent(const std::string &chemin);
  /// A compile begins or ends: what it forbids is off meanwhile, its command reads "Abort Compilation".
  void compilation(bool en_cours);
  [[nodiscard]] bool compilation_en_cours() const { return compilation_; }
  /// What a compile may have changed of the open project is shown: format, label, size.
  void reprend_projet();
  void rafraichit_commandes();
  void rafraichit_coches();
  void rafraichit_etat();
  void rafraichit_jauge();
  void rafraichit_titre();
  void montre_barres();
  /// The tool bars of all modes, as the preferences want them.
  void montre_outils(bool visibles);

 protected:
  bool eventFilter(QObject *cible, QEvent *evenement) override;
  void closeEvent(QCloseEvent *evenement) override;
  void changeEvent(QEvent *evenement) override;

 private:
  // --- form (tvarnion.cpp)
  void construit_menus();
  void construit_panneaux();
  void construit_commande(const Commande &commande);
  void branche_panneaux();
  void restaure();
  void retient();
  void retraduit();
  void rafraichit_textes();
  void pose_indice(const Commande &commande, QAction &action) const;
  void pose_icones();
  void nomme_affichage();
  void montre_popup(LieuCommandes lieu, QWidget *panneau, const QPoint &point);

  // --- state of the commands (tvarnion_commandes.cpp)
  void execute_sur_document(const Commande &commande);
  void execute_outil(const Commande &commande);
  void montre_proprietes();
  void rafraichit_recents();
  void choisit_langue(int base);
  void choisit_copie(int valeur);
  void montre_a_propos();
  void ouvre_gestionnaire();
  void bascule_barre();
  void inverse_selection();

  // --- documents (tvarnion_documents.cpp)
  void nouveau();
  void ouvrir();
  [[nodiscard]] bool remplace_volume(const std::string &chemin);
  [[nodiscard]] OptionsOuverture questions_ouverture(const std::string &chemin);
  [[nodiscard]] std::optional<FichierProjet> lit_projet(const std::string &chemin, ModeProjet mode);
  void enregistrer();
  /// Asks about what would be lost if the document closed: an unnamed project that holds items, an image
  /// whose file has gone. True when it may close: there was nothing to lose, it was saved, or the user
  /// discards it. `autre`: path of the document that is to take its place.
  [[nodiscard]] bool accorde_fermeture(const std::string &autre = {});
  /// Closes the document of the current mode; false when the user keeps it.
  bool ferme_document();
  /// The same without a question. The file of an unnamed project goes, unless `garde`.
  void ferme_projet(bool garde = false);
  void ferme_volume();
  void cree_projet_defaut();
  [[nodiscard]] bool reprise_voulue(const std::string &chemin);
  void retablit_fichier();
  void ouvre_recent(int rang);

  // --- files dropped and pasted, names changed in place (tvarnion_depots.cpp)
  void branche_depots();
  void colle();
  [[nodiscard]] bool depot_permis() const;
  /// What is under a point of a pane becomes the folder that files go into.
  [[nodiscard]] std::uint32_t cible_depot(QObject *cible, const QPoint &point);
  void depose(const QStringList &chemins, std::uint32_t dossier);
  bool renomme_sur_place(std::uint32_t id, const QString &nom);

  // --- panes (tvarnion_affichage.cpp)
  void vide_panneaux();
  void ouvre_ligne(const QModelIndex &index);
  void dossier_pere();
  void actualise();
  void change_vue(int vue);
  void rafraichit_couleurs();

  OperationsQt &operations_;
  int mode_ = 0;
  int vue_ = kVueRacine;
  bool depuis_liste_ = false;  ///< pane that a file command acts on
  bool hybridation_ = false;
  bool compilation_ = false;
  QString raison_dite_;        ///< why nothing may be changed, as the hints tell it
  std::uint32_t dossier_ = 0;  ///< folder shown, 0 none
  std::unique_ptr<FichierProjet> projet_;
  bool brouillon_ = false;  ///< the project is the one without a name that the program made
  std::unique_ptr<Document> document_;

  QHash<QString, QAction *> actions_;
  QHash<QString, QMenu *> menus_;
  QHash<QString, QToolBar *> barres_;
  QHash<QString, QActionGroup *> groupes_;  ///< by the menu of their items
  std::array<bool, 3> barre_visible_{true, true, true};
  QSplitter *partage_ = nullptr;
  QTreeView *arbre_ = nullptr;
  QTreeView *liste_ = nullptr;
  Jauge *jauge_ = nullptr;
  std::array<QLabel *, 5> panneaux_{};
  ModeleArbre modele_arbre_;
  ModeleListe modele_liste_;
  std::unique_ptr<QTranslator> traduction_;
};

/// Folder that document dialogs begin in, and the one they keep for the next time.
[[nodiscard]] QString depart_documents();
void retient_dossier(const std::string &chemin);
/// A question before a file that is there is written over; true where there is none.
[[nodiscard]] bool peut_ecraser(const std::string &chemin);
/// True when the open image is all that is left of its file, or of the one that it was expanded from.
[[nodiscard]] bool image_perdue();

}  // namespace varnion
