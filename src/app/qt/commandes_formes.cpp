// Forms with an editor of their own.

#include <QFileInfo>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/affichage.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tds_store.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tmacdump.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tregistre.hpp"
#include "app/qt/tsignedit.hpp"
#include "app/qt/tvarnion.hpp"
#include "finder/fenetre_racine.hpp"
#include "hfs/extents.hpp"
#include "hfs/liens.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kFichierVide = 1409;
constexpr int kFiltreDs = 1522;
constexpr int kTitreDs = 1523;
constexpr int kEstLeProjet = 7243;  // path
constexpr std::size_t kCheminMessage = 100;

QString nom_document(const TVarnion &fenetre) {
  return QFileInfo(vers_qt(fenetre.chemin_document())).fileName();
}

// The PC file of the window; "" when the user gives up.
std::string demande_cible(TVarnion &fenetre, const FenetreRacine &racine) {
  const std::string propose = chemin_propose(*fenetre.projet(), racine);
  const QString choisi = fenetre.demandes.enregistrer(kTitreDs, kFiltreDs, vers_qt(propose), 0);
  if (choisi.isEmpty()) return {};
  const auto chemin = chemin_argument(choisi.toStdString());
  if (!chemin) return {};
  if (plateforme::meme_fichier(*chemin, fenetre.projet()->chemin())) {
    operations().afficher_erreur(message(kEstLeProjet, {tronque_chemin(*chemin, kCheminMessage)}));
    return {};
  }
  const bool sienne = !racine.chemin.empty() && plateforme::meme_fichier(racine.chemin, *chemin);
  return sienne || peut_ecraser(*chemin) ? *chemin : std::string();
}

}  // namespace

// A folder opens; each file is shown in turn, one with nothing in it is passed over.
void affiche_contenu(TVarnion &fenetre) {
  for (const ElementMac &element : fenetre.elements_choisis()) {
    if (element.dossier) return fenetre.va_au_dossier(element.id);
    const ElementMac fichier = sans_lien(element);
    SujetVidage sujet;
    sujet.nom = QString::fromStdString(montrable(element.nom_utf8()));
    sujet.document = nom_document(fenetre);
    sujet.element = fichier;
    sujet.montre = element;
    if (fichier.donnees.longueur > 0) sujet.donnees = source_fourche(fichier, kFourcheDonnees);
    if (fichier.ressources.longueur > 0) sujet.ressources = source_fourche(fichier, kFourcheRessources);
    if (!sujet.donnees && !sujet.ressources) {
      operations().afficher_avis(charger_chaine(kFichierVide));
      continue;
    }
    if (montre_vidage(fenetre, sujet) == FinVidage::termine) return;
  }
}

void affiche_image(TVarnion &fenetre) {
  SujetVidage sujet;
  sujet.nom = sujet.document = nom_document(fenetre);
  sujet.donnees = source_image(de_qt(sujet.nom));
  if (sujet.donnees) static_cast<void>(montre_vidage(fenetre, sujet));
}

void edite_signatures(TVarnion &fenetre) {
  if (!edite_fichier_signatures(fenetre)) return;
  const Attente attente;
  charge_signatures_du_programme(fenetre);
  if (fenetre.document_ouvert()) fenetre.affiche_dossier(fenetre.dossier_montre());
}

void cree_ds_store(TVarnion &fenetre) {
  FichierProjet &projet = *fenetre.projet();
  if (!label_precise(projet)) {
    etiquette_projet(fenetre);
    if (!label_precise(projet)) return;
  }
  const bool autre_format = !projet.hfsplus();
  if (!exige_hfsplus(projet)) return;
  FenetreRacine racine = ouvre_fenetre_racine(projet);
  const auto valeurs = dispose_fenetre(fenetre, racine.valeurs);
  const std::string cible = valeurs ? demande_cible(fenetre, racine) : std::string();
  if (!cible.empty()) {
    const Attente attente;
    racine.valeurs = *valeurs;
    static_cast<void>(ecrit_ds_store(projet, racine, cible));
  }
  if (cible.empty() && !autre_format) return;
  if (projet.sauvegarde_entete() && !projet.vide()) echec_ecriture_projet(projet.chemin());
  fenetre.montre_document();
}

}  // namespace varnion
