// Searches in the document of the mode, and the replacement of signatures.

#include <QTreeView>

#include "app/noyau/actions_outils.hpp"
#include "app/noyau/affichage.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/trechfich.hpp"
#include "app/qt/trrsig.hpp"
#include "app/qt/tselfound.hpp"
#include "app/qt/tvarnion.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/volume.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kRienTrouve = 1173;
constexpr int kArrete = 6869;
constexpr std::uint32_t kRacineVolume = 2;
constexpr std::size_t kRangees = kTrouvailles;

struct Resultats {
  std::vector<Trouvaille> rangees;
  bool tous = true;  ///< there was no more to show
  bool arrete = false;
};

QString signature_lisible(const char *type, const char *createur) {
  return vers_qt(code_lisible(type) + code_lisible(createur));
}

QString sans_barre(QString chemin) {
  while (chemin.startsWith('/')) chemin.remove(0, 1);
  while (chemin.endsWith('/')) chemin.chop(1);
  return chemin;
}

Trouvaille rangee_volume(const ElementMac &e) {
  Trouvaille rangee;
  rangee.id = e.id;
  rangee.pere = e.parent;
  rangee.dossier = e.dossier;
  rangee.nom = QString::fromStdString(e.nom_utf8());
  if (const auto pere = element_par_id(e.parent)) {
    const auto chemin = chemin_de(*pere);
    rangee.chemin = sans_barre(QString::fromStdString(chemin.value_or("?")));
  }
  rangee.modification = date_liste(e.modification, e.hfsplus);
  if (e.dossier) return rangee;
  rangee.signature = signature_lisible(reinterpret_cast<const char *>(e.type.data()),
                                       reinterpret_cast<const char *>(e.createur.data()));
  rangee.donnees = vers_qt(taille_liste(e.donnees.longueur));
  rangee.ressources = vers_qt(taille_liste(e.ressources.longueur));
  return rangee;
}

Trouvaille rangee_projet(const FichierProjet &projet, const RubriqueTrouvee &trouvee, int vue) {
  const RubriqueProjet &r = trouvee.rubrique;
  Trouvaille rangee;
  rangee.id = trouvee.numero;
  rangee.pere = trouvee.dossier;
  rangee.dossier = r.est_dossier();
  rangee.nom = vers_qt(nom_dans_vue(r, vue, projet.hfsplus()));
  rangee.chemin = vers_qt(chemin_dans_projet(projet, trouvee.dossier, vue));
  rangee.modification = date_liste(r.date_modif, false);
  if (rangee.dossier) return rangee;
  rangee.signature = signature_lisible(r.signature.data(), r.signature.data() + 4);
  rangee.donnees = vers_qt(taille_liste(r.lg_data));
  rangee.ressources = vers_qt(taille_liste(r.lg_rsrc));
  return rangee;
}

// Names of HFS+ volumes are looked for in the form that the format asks for, and, where that finds nothing,
// composed: other systems have written names so.
std::vector<ElementMac> cherche_nom_volume(const QString &texte, ResultatParcours &fin) {
  if (!volume_courant().est_hfsplus) return cherche_nom_hfs(nom_mac(de_qt(texte)), kRangees + 2, &fin);
  const std::u16string large = texte.toStdU16String();
  auto trouves = cherche_nom_hfsplus(decompose_hfsplus(large), kRangees + 2, &fin);
  return trouves.empty() ? cherche_nom_hfsplus(nom_unicode(large), kRangees + 2, &fin) : trouves;
}

// One match more than there are rows says that there are more. The root folder lies in no folder that could
// be shown.
Resultats cherche_volume(const DemandeRechercheFichiers &demande) {
  ResultatParcours fin;
  auto trouves = demande.genre == GenreRecherche::nom
                     ? cherche_nom_volume(demande.texte, fin)
                     : cherche_signature(nom_mac(de_qt(demande.texte)), kRangees + 1, &fin);
  Resultats resultats;
  std::erase_if(trouves, [](const ElementMac &e) { return e.id == kRacineVolume; });
  resultats.arrete = operations().arret_demande();
  resultats.tous = trouves.size() <= kRangees;
  if (!resultats.tous) trouves.resize(kRangees);
  for (const ElementMac &e : trouves) resultats.rangees.push_back(rangee_volume(e));
  return resultats;
}

Resultats cherche_projet(const FichierProjet &projet, const DemandeRechercheFichiers &demande) {
  const int vue = projet.vue_courante();
  auto trouvees = demande.genre == GenreRecherche::nom
                      ? cherche_nom_projet(projet, de_qt(demande.texte), vue, kRangees + 1)
                      : cherche_signature_projet(projet, nom_mac(de_qt(demande.texte)), vue, kRangees + 1);
  Resultats resultats;
  resultats.arrete = operations().arret_demande();
  resultats.tous = trouvees.size() <= kRangees;
  if (!resultats.tous) trouvees.resize(kRangees);
  for (const RubriqueTrouvee &trouvee : trouvees)
    resultats.rangees.push_back(rangee_projet(projet, trouvee, vue));
  return resultats;
}

void montre_trouvaille(TVarnion &fenetre, const Trouvaille &trouvaille) {
  fenetre.va_au_dossier(trouvaille.pere);
  fenetre.selectionne_elements({trouvaille.id});
  fenetre.liste()->setFocus();
}

}  // namespace

void recherche(TVarnion &fenetre) {
  const auto demande = montre_recherche(&fenetre);
  if (!demande) return;
  Resultats resultats;
  fenetre.operations_fenetre().en_fond([&] {
    resultats = fenetre.mode() == kModePartition ? cherche_volume(*demande)
                                                 : cherche_projet(*fenetre.projet(), *demande);
  });
  if (resultats.rangees.empty()) {
    operations().afficher_erreur(resultats.arrete ? charger_chaine(kArrete)
                                                  : message(kRienTrouve, {de_qt(demande->texte)}));
    return;
  }
  std::optional<std::size_t> choix = 0;
  if (resultats.rangees.size() > 1) choix = montre_trouvailles(&fenetre, resultats.rangees, resultats.tous);
  if (choix) montre_trouvaille(fenetre, resultats.rangees[*choix]);
}

void remplace_signatures(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  const auto demande = montre_remplacement(&fenetre);
  if (!demande) return;
  std::int64_t nombre = 0;
  fenetre.operations_fenetre().en_fond([&] { nombre = remplace_signatures_annonce(*projet, *demande); });
  if (nombre != 0) fenetre.affiche_dossier(fenetre.dossier_montre());
}

}  // namespace varnion
