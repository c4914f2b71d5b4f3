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
  [[nodiscard]] bool document_ouvert() const;
  /// Path of the open document, working text; "" when none is open.
  [[nodiscard]] std::string chemin_document() const;
  [[nodiscard]] EtatCommandes etat_commandes() const;

  DemandesFichiers demandes;

 protected:
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
  void pose_icones();
  void montre_popup(LieuCommandes lieu, QWidget *panneau, const QPoint &point);

  // --- state of the commands (tvarnion_commandes.cpp)
  void rafraichit_commandes();
  void rafraichit_coches();
  void rafraichit_titre();
  void rafraichit_recents();
  void choisit_langue(int base);
  void choisit_copie(int valeur);
  void montre_a_propos();
  void ouvre_gestionnaire();
  void bascule_barre();
  void inverse_selection();
  void copie_vers_le_pc();
  [[nodiscard]] std::vector<ElementMac> elements_choisis() const;

  // --- documents (tvarnion_documents.cpp)
  void nouveau();
  void ouvrir();
  bool ouvre_chemin(const std::string &chemin);
  bool ouvre_volume(const std::string &chemin);
  bool ouvre_projet(const std::string &chemin);
  void enregistrer();
  bool enregistrer_sous();
  /// Closes the document of the current mode. An unnamed project that holds something is offered for saving
  /// and goes when the user gives that up; without `demande_nom` it stays where it is.
  void ferme_document(bool demande_nom = true);
  void ferme_projet(bool demande_nom);
  void cree_projet_defaut();
  void note_recent(const std::string &chemin);
  void ouvre_recent(int rang);
  [[nodiscard]] FichierProjet *projet() const { return projet_.get(); }
  [[nodiscard]] ModeProjet mode_projet() const;

  // --- panes (tvarnion_affichage.cpp)
  void montre_document();
  void vide_panneaux();
  void affiche_dossier(std::uint32_t id);
  void va_au_dossier(std::uint32_t id);
  void ouvre_ligne(const QModelIndex &index);
  void dossier_pere();
  void actualise();
  void change_vue(int vue);
  void rafraichit_etat();
  void rafraichit_jauge();
  void rafraichit_couleurs();
  [[nodiscard]] std::uint32_t dossier_montre() const { return dossier_; }
  [[nodiscard]] std::uint32_t racine() const;

  OperationsQt &operations_;
  int mode_ = 0;
  int vue_ = kVueRacine;
  bool depuis_liste_ = false;  ///< pane that a file command acts on
  bool hybridation_ = false;
  std::uint32_t dossier_ = 0;  ///< folder shown, 0 none
  std::unique_ptr<FichierProjet> projet_;
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

}  // namespace varnion
