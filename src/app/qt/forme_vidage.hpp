#pragma once

#include <array>

#include <QDialog>
#include <QHash>

#include "app/qt/dialogues_vidage.hpp"
#include "app/qt/tmacdump.hpp"
#include "inspect/analyse.hpp"
#include "inspect/lignes.hpp"

class QAction;
class QLabel;
class QMenuBar;
class QScrollBar;
class QStackedWidget;
class QStatusBar;

namespace varnion {

class PageRessources;
class VueVidage;

/// The dump viewer, `TMacDump`.
class TMacDump final : public QDialog {
 public:
  TMacDump(TVarnion &fenetre, SujetVidage &sujet);
  [[nodiscard]] FinVidage fin() const { return fin_; }

  /// Sector `n` of the fork, whatever the number.
  void afficher_secteur(std::int64_t n);

 protected:
  bool event(QEvent *evenement) override;
  void keyPressEvent(QKeyEvent *evenement) override;

 private:
  // --- form
  void construit_menus();
  void construit_affichage();
  void construit_barre();
  QAction *commande(const char *menu, const char *nom, int legende, const char *touche,
                    void (TMacDump::*travail)());
  void coche(const char *nom, bool oui);

  // --- what is shown
  void montre_fourche(const SourceSecteurs *source);
  void donnees();
  void ressources();
  void arbre_ressources();
  void page(bool arbre);
  void rafraichit_titre();
  [[nodiscard]] const VueVidage &vue() const;
  void avance(std::int64_t secteur);
  void rafraichit();
  void rafraichit_panneaux(std::int64_t secteur);
  void table(TableCaracteres table);
  void radix(unsigned radix);

  // --- work (forme_vidage_travaux.cpp)
  void va_au_secteur();
  void cherche();
  void cherche_encore();
  void lance_recherche();
  void montre_trouvee(std::uint64_t position, std::size_t longueur);
  void premier() { avance(0); }
  void dernier();
  void precedent();
  void analyse();
  void analyse_comme(FormeSecteur forme);
  void suit_fiche(FicheAnalyse fiche);
  void enregistre();
  void enregistre_choix(QWidget *forme, const DemandeSegment &demande);
  void copie();
  void imprime();
  void proprietes();
  void choisit_corps();
  void pose_corps(int corps);
  void retour();

  TVarnion &fenetre_;
  SujetVidage &sujet_;
  const SourceSecteurs *source_ = nullptr;
  FinVidage fin_ = FinVidage::suivant;
  AspectVidage aspect_;
  std::int64_t courant_ = -1;
  std::int64_t precedent_ = -1;
  RechercheVidage recherche_;
  std::int64_t trouvee_ = -1;  ///< first byte of the last match
  bool encore_ = false;        ///< the last search found something
  QMenuBar *menus_;
  QHash<QString, QAction *> actions_;
  QStackedWidget *pages_;
  VueVidage *liste_;
  QScrollBar *secteurs_;
  PageRessources *arbre_ = nullptr;
  QStatusBar *barre_;
  std::array<QLabel *, 3> panneaux_{};
  QLabel *noeuds_ = nullptr;  ///< reads of catalog nodes since the start of the program
};

}  // namespace varnion
