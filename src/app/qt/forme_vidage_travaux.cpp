// Moving, searching, analyzing and saving in the dump viewer.

#include <algorithm>
#include <chrono>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QStackedWidget>

#include "app/noyau/affichage.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/cible_sortie.hpp"
#include "app/qt/fiche_analyse.hpp"
#include "app/qt/forme_vidage.hpp"
#include "app/qt/impression_vidage.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/page_ressources.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "app/qt/vue_vidage.hpp"
#include "inspect/recherche.hpp"
#include "inspect/segment.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kAbandon = 1124;
constexpr int kAucune = 3052;
constexpr int kInconnu = 3200;
constexpr int kFiltreSegment = 3341;
constexpr int kTitreSegment = 3342;
constexpr int kLimitesFausses = 7233;
constexpr int kIllisible = 7234;
constexpr std::chrono::milliseconds kRythme(100);

}  // namespace

// --- moving

void TMacDump::va_au_secteur() {
  const auto voulu = demande_secteur(this, vers_qt(nombre_vidage(courant_, aspect_.radix)));
  if (!voulu) return;
  const std::int64_t secteur = secteur_demande(de_qt(*voulu), courant_, aspect_.radix);
  if (secteur >= 0 && secteur != courant_) afficher_secteur(secteur);
}

void TMacDump::dernier() {
  avance(source_->dernier_secteur());
}

void TMacDump::precedent() {
  if (precedent_ < 0)
    QApplication::beep();
  else
    afficher_secteur(precedent_);
}

// --- search

void TMacDump::cherche() {
  const auto demande = demande_recherche(this, recherche_);
  if (!demande) return;
  if (demande->texte != recherche_.texte) trouvee_ = -1;
  recherche_ = *demande;
  lance_recherche();
}

void TMacDump::cherche_encore() {
  lance_recherche();
}

void TMacDump::lance_recherche() {
  const auto motif = motif_recherche(de_qt(recherche_.texte));
  if (!motif) {
    QApplication::beep();
    return;
  }
  DemandeRecherche demande;
  demande.motif = *motif;
  demande.debut_secteur = recherche_.debut_secteur;
  demande.depuis = depart_recherche(*source_, courant_, trouvee_, recherche_.debut_secteur);
  ResultatRecherche resultat;
  auto suivant = std::chrono::steady_clock::now() + kRythme;
  fenetre_.operations_fenetre().en_fond([&] {
    resultat = cherche_premier(*source_, demande, [&](std::uint64_t secteur) {
      if (std::chrono::steady_clock::now() >= suivant) {
        suivant = std::chrono::steady_clock::now() + kRythme;
        const auto ici = static_cast<std::int64_t>(secteur);
        QMetaObject::invokeMethod(
            this, [this, ici] { rafraichit_panneaux(ici); }, Qt::QueuedConnection);
      }
      return !operations().arret_demande() || operations().demander_oui_non(charger_chaine(kAbandon)) == 0;
    });
  });
  rafraichit_panneaux(courant_);
  encore_ = resultat.etat == EtatRecherche::trouve;
  actions_["Reb1"]->setEnabled(encore_);
  if (resultat.etat == EtatRecherche::trouve) return montre_trouvee(resultat.position, motif->size());
  if (resultat.etat == EtatRecherche::arrete) return;
  const int texte = resultat.etat == EtatRecherche::illisible ? kIllisible : kAucune;
  operations().afficher_erreur(charger_chaine(texte) + de_qt(recherche_.texte));
}

// The bytes of a match that lie in its sector, in both halves of their lines.
void TMacDump::montre_trouvee(std::uint64_t position, std::size_t longueur) {
  const std::uint32_t taille = source_->taille_secteur();
  const auto secteur = static_cast<std::int64_t>(position / taille);
  if (secteur != courant_) afficher_secteur(secteur);
  trouvee_ = static_cast<std::int64_t>(position);
  liste_->efface_marques();
  const auto debut = static_cast<std::size_t>(position % taille);
  const std::size_t fin = std::min<std::size_t>(debut + longueur, taille);
  const auto entier = [](std::size_t nombre) { return static_cast<int>(nombre); };
  for (std::size_t place = debut; place < fin;) {
    const std::size_t premier = place % kOctetsParLigne;
    const std::size_t dernier = std::min(premier + (fin - place), kOctetsParLigne) - 1;
    const int ligne = entier(rang_ligne(place));
    liste_->marque(ligne, entier(colonne_hexa(premier)),
                   entier(colonne_hexa(dernier) + 2 - colonne_hexa(premier)));
    liste_->marque(ligne, entier(colonne_caractere(premier)), entier(dernier - premier + 1));
    place += dernier - premier + 1;
  }
  liste_->montre_ligne(entier(rang_ligne(debut)));
}

// --- analysis

void TMacDump::analyse() {
  suit_fiche(analyse_secteur(*source_, courant_, etat_analyse()));
}

void TMacDump::analyse_comme(FormeSecteur forme) {
  suit_fiche(analyse_secteur_comme(forme, *source_, courant_, etat_analyse()));
}

// The sector that a form leads to; the entries of a GUID table are a form of their own.
void TMacDump::suit_fiche(FicheAnalyse fiche) {
  if (fiche.forme == FormeSecteur::aucune) return operations().afficher_erreur(charger_chaine(kInconnu));
  while (fiche.forme != FormeSecteur::aucune) {
    const auto bouton = montre_fiche(this, fiche, *source_);
    if (!bouton) return;
    page(false);
    liste_->setFocus();
    afficher_secteur(bouton->cible.secteur);
    if (bouton->action != ActionBouton::entrees) return;
    fiche = analyse_secteur_comme(FormeSecteur::partitions_gpt, *source_, courant_, etat_analyse());
  }
}

// --- pieces saved, copied, printed

void TMacDump::enregistre() {
  montre_segment(this, vers_qt(nombre_vidage(courant_, aspect_.radix)),
                 [this](QWidget *forme, const DemandeSegment &demande) { enregistre_choix(forme, demande); });
}

void TMacDump::enregistre_choix(QWidget *forme, const DemandeSegment &demande) {
  std::optional<Segment> segment;
  if (demande.choix == ChoixSegment::secteur) {
    segment = segment_secteurs(*source_, static_cast<std::uint64_t>(courant_),
                               static_cast<std::uint64_t>(courant_));
  } else {
    const auto debut = lit_nombre(de_qt(demande.debut), aspect_.radix);
    const auto fin = debut ? fin_demandee(de_qt(demande.fin), *debut, aspect_.radix) : std::nullopt;
    if (fin)
      segment = demande.choix == ChoixSegment::secteurs ? segment_secteurs(*source_, *debut, *fin)
                                                        : segment_octets(*source_, *debut, *fin);
  }
  if (!segment) return operations().afficher_erreur(charger_chaine(kLimitesFausses));
  if (demande.imprime) return imprime_segment(forme, windowTitle(), *source_, *segment, aspect_);
  const QString choisi = fenetre_.demandes.enregistrer(kTitreSegment, kFiltreSegment, depart_documents(), 0);
  const auto cible = cible_choisie(choisi);
  if (!cible) return;
  const auto aspect = demande.hexadecimal ? std::optional(aspect_) : std::nullopt;
  fenetre_.operations_fenetre().en_fond([&] {
    static_cast<void>(enregistre_segment(*source_, *segment, aspect, cible->dossier, cible->nom,
                                         [](std::uint64_t) { return !operations().arret_demande(); }));
  });
}

void TMacDump::copie() {
  const QString choisi = vue().textCursor().selectedText().replace(QChar::ParagraphSeparator, '\n');
  const QString texte = choisi.isEmpty() ? vue().toPlainText() : choisi;
  texte.isEmpty() ? QApplication::beep() : QApplication::clipboard()->setText(texte);
}

void TMacDump::imprime() {
  imprime_lignes(this, windowTitle(), vue().toPlainText().split('\n'));
}

// --- the rest

void TMacDump::proprietes() {
  if (!proprietes_du_fichier(fenetre_, this, *sujet_.montre)) return;
  sujet_.nom = QString::fromStdString(montrable(sujet_.montre->nom_utf8()));
  rafraichit_titre();
}

void TMacDump::choisit_corps() {
  const auto voulu = demande_corps(this, reglages().corps);
  if (!voulu || *voulu == reglages().corps) return;
  reglages().corps = *voulu;
  static_cast<void>(enregistre_reglage("Corps"));
  pose_corps(*voulu);
  adjustSize();
}

void TMacDump::retour() {
  fin_ = FinVidage::termine;
  accept();
}

}  // namespace varnion
