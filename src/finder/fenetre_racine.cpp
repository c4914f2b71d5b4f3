#include "finder/fenetre_racine.hpp"

#include <algorithm>
#include <cerrno>
#include <unordered_map>

#include "fichiers/ecriture.hpp"
#include "finder/alias.hpp"
#include "finder/grille_icones.hpp"
#include "finder/taille_image.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/erreurs.hpp"
#include "projet/inclusion.hpp"
#include "projet/instantane.hpp"
#include "projet/nom_hfsplus.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kLabelVoulu = 1037;
constexpr int kPasValide = 1538;
constexpr int kFormatVoulu = 1542;
constexpr int kTropDElements = 6166;    // bytes needed, room, items
constexpr int kImageIllisible = 6167;   // path
constexpr int kImageTropGrande = 6168;  // path, limit
constexpr int kNumeroDuFond = 6169;     // number
constexpr int kValeursFausses = 6170;
constexpr int kDossierIntrouvable = 6171;  // path
constexpr int kElementParti = 6172;        // journal: name
constexpr int kCibleEstImage = 6175;       // path
constexpr std::size_t kCheminMessage = 100;
constexpr std::size_t kLectureMax = 0x10000;  ///< far beyond the one form that is read

bool echoue(const std::string &texte) {
  operations().afficher_erreur(texte);
  return false;
}

std::string label_hfs(const EnteteProjet &entete) {
  const std::string label = lit_champ(entete.label_hfs);
  return entete.hfsplus() ? label : nom_windows(label);
}

// The name that the catalog will have where it is not made from `nom_hfs`.
std::u16string nom_large_de(const RubriqueProjet &rubrique) {
  if (!rubrique.nom_hors_page() && rubrique.codage() != Codage::ntfs) return {};
  const auto entree = plateforme::cherche_fichier(chemin_source(rubrique));
  if (!entree || !prend_nom_large(rubrique, entree->nom_large)) return {};
  return nom_hfsplus_de(rubrique, entree->nom_large).large();
}

/// An item of the root by its name in the HFS view.
std::optional<ElementTrouve> a_la_racine(const FichierProjet &projet, std::string_view nom) {
  return trouve_enfant(projet, kRacine, nom, kVueHfs);
}

// --- reading

std::optional<std::vector<std::uint8_t>> lit_fichier(const std::string &chemin) {
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  std::vector<std::uint8_t> octets(kLectureMax);
  const std::int64_t lus = fichier ? fichier.lire_a(octets, 0) : -1;
  if (lus < 0) {
    erreur_fichier(chemin, errno);
    return std::nullopt;
  }
  octets.resize(static_cast<std::size_t>(lus));
  return octets;
}

// The PC path of a picture in the folder of the background, "" when it is not there. A name longer than the
// field of an alias is known by its start.
std::string chemin_image(const FichierProjet &projet, const std::string &nom) {
  const auto dossier = nom.empty() ? std::nullopt : a_la_racine(projet, kNomDossierFond);
  if (!dossier || !dossier->rubrique.est_dossier()) return {};
  const std::string cherche = plateforme::majuscules(nom);
  LecteurEnfants enfants(projet, dossier->rubrique.numero);
  while (const RubriqueProjet *enfant = enfants.suivant()) {
    const std::string lu = nom_windows(nom_mac(nom_dans_vue(*enfant, kVueHfs, projet.hfsplus())));
    if (!enfant->est_dossier() && plateforme::majuscules(lu) == cherche) return chemin_source(*enfant);
  }
  return {};
}

// Rows of the file in its order, with the numbers of the project; then the items that it does not know.
void accorde_elements(std::vector<ElementFenetre> racine, ValeursFenetre &valeurs) {
  std::unordered_map<std::u16string, std::size_t> rangs;
  for (std::size_t i = 0; i < racine.size(); ++i) rangs.emplace(nom_sur_disque(racine[i]), i);
  std::vector<ElementFenetre> accordes;
  for (const ElementFenetre &lu : valeurs.elements) {
    const auto place = rangs.find(lu.nom_disque);
    if (place == rangs.end()) {
      operations().journal(GenreJournal::information, message(kElementParti, {lu.nom}));
      continue;
    }
    ElementFenetre &element = racine[place->second];
    element.x = lu.x;
    element.y = lu.y;
    accordes.push_back(std::move(element));
    element.nom.clear();
    rangs.erase(place);
  }
  const std::size_t connus = accordes.size();
  for (ElementFenetre &element : racine)
    if (!element.nom.empty()) accordes.push_back(std::move(element));
  valeurs.elements = std::move(accordes);
  valeurs_grille(valeurs, connus);
}

// --- saving

/// A save in hand: unless it ends well, the project goes back to what it was.
class Enregistrement {
 public:
  Enregistrement(FichierProjet &projet, FenetreRacine &fenetre, std::string chemin)
      : projet_(projet),
        fenetre_(fenetre),
        chemin_(std::move(chemin)),
        vue_(projet.vue_courante()),
        dossier_(projet.dossier_courant()) {}

  bool applique() {
    InstantaneProjet instantane(projet_);
    if (!instantane.prend()) return false;
    projet_.vue_courante(kVueHfs);
    projet_.dossier_courant(kRacine);
    const bool fait = retire_anciens() && pose_image() && ecrit_fichier() && pose_fichier();
    projet_.vue_courante(vue_);
    projet_.dossier_courant(dossier_);
    if (!fait) return false;
    instantane.confirme();
    fenetre_.lue = true;
    fenetre_.chemin = chemin_;
    return true;
  }

 private:
  // The `.DS_Store` of the root goes in any case: two of that name cannot stand on a volume. Its folder goes
  // when the file was one of this program.
  bool retire_anciens() {
    std::vector<std::uint64_t> rangs;
    LecteurEnfants enfants(projet_, kRacine);
    while (const RubriqueProjet *enfant = enfants.suivant()) {
      const std::string nom = nom_dans_vue(*enfant, kVueHfs, projet_.hfsplus());
      const bool ancien = nom == kNomDsStore || (fenetre_.lue && nom == kNomDossierFond);
      if (ancien && enfant->dans_hfs()) rangs.push_back(enfants.rang());
    }
    return suppression_rangs(projet_, rangs) || echec_ecriture_projet(projet_.chemin());
  }

  // Number of the folder of the background, made at need; 0 after a message.
  std::uint32_t dossier_fond() {
    const auto present = a_la_racine(projet_, kNomDossierFond);
    const std::uint32_t numero = present && present->rubrique.est_dossier()
                                     ? present->rubrique.numero.operator unsigned()
                                     : ajout_dossier_virtuel(projet_, kNomDossierFond);
    if (numero != 0 && numero != kDossierFond)
      operations().afficher_avis(message(kNumeroDuFond, {numero, kDossierFond}));
    return numero;
  }

  // The item that a file becomes in a folder, or is there already.
  std::optional<ElementTrouve> inclut(const std::string &chemin, std::uint32_t dossier) {
    const std::string absolu = plateforme::chemin_absolu(chemin);
    LecteurEnfants presents(projet_, dossier);
    while (const RubriqueProjet *enfant = presents.suivant())
      if (enfant->dans_hfs() && plateforme::meme_fichier(chemin_source(*enfant), absolu))
        return ElementTrouve{presents.rang(), *enfant};
    const BilanInclusion bilan = inclusion_chemin(projet_, absolu, dossier);
    if (!bilan.abouti() || bilan.fichiers != 1) return std::nullopt;
    RubriqueProjet rubrique;
    const auto rang = projet_.cherche_par_numero(dossier, 0U - projet_.dernier_fichier(), rubrique);
    return rang ? std::optional(ElementTrouve{*rang, rubrique}) : std::nullopt;
  }

  bool pose_image() {
    const std::string &image = fenetre_.valeurs.image;
    if (image.empty()) return true;
    if (!plateforme::ouvre(image, Ouverture::lecture)) {
      erreur_fichier(image, errno);
      return false;
    }
    const std::uint32_t dossier = dossier_fond();
    const auto element = dossier != 0 ? inclut(image, dossier) : std::nullopt;
    EnteteProjet entete;
    if (!element || !projet_.lit_entete(entete)) return false;
    CibleAlias cible;
    cible.volume = label_hfs(entete);
    cible.fichier = nom_dans_vue(element->rubrique, kVueHfs, projet_.hfsplus());
    cible.fichier_large = nom_large_de(element->rubrique);
    cible.dossier = dossier;
    cible.date_fichier = element->rubrique.date_creation;
    cible.signature = element->rubrique.signature;
    cible.hfsplus = projet_.hfsplus();
    alias_ = alias_fond(cible);
    return true;
  }

  bool ecrit_fichier() {
    const ValeursFenetre &valeurs = fenetre_.valeurs;
    if (!valeurs.image.empty() && plateforme::meme_fichier(valeurs.image, chemin_))
      return echoue(message(kCibleEstImage, {tronque_chemin(chemin_, kCheminMessage)}));
    std::size_t besoin = 0;
    const auto octets = fait_ds_store(valeurs, alias_, &besoin);
    if (!octets && besoin > kPlaceDsStore)
      return echoue(message(kTropDElements, {besoin, kPlaceDsStore, valeurs.elements.size()}));
    if (!octets) return echoue(charger_chaine(kValeursFausses));
    const std::size_t barre = chemin_.find_last_of("/\\");
    const std::string nom = chemin_.substr(barre + 1);
    const auto dossier = DossierSortie::ouvre(chemin_.substr(0, barre + 1));
    if (!dossier) return echoue(message(kDossierIntrouvable, {tronque_chemin(chemin_, kCheminMessage)}));
    CibleFichier cible(*dossier, plateforme::texte_vers_utf8(nom));
    ResultatEcriture resultat = ResultatEcriture::ecriture;
    if (cible.ouverte()) {
      SortieConteneur sortie(cible.fichier());
      sortie.ecrit(*octets);
      resultat = sortie.resultat();
    }
    if (resultat == ResultatEcriture::fait && !cible.garde()) resultat = ResultatEcriture::ecriture;
    dit_echec_ecriture(resultat, cible.chemin(), errno);
    return resultat == ResultatEcriture::fait;
  }

  // Whatever the PC calls it, on the disc it has the name that the Finder looks for.
  bool pose_fichier() {
    const auto element = inclut(chemin_, kRacine);
    return element && renomme_element(projet_, element->rubrique.numero, kRacine, kNomDsStore, kVueHfs) >= 0;
  }

  FichierProjet &projet_;
  FenetreRacine &fenetre_;
  std::string chemin_;
  int vue_;
  std::uint32_t dossier_;
  std::vector<std::uint8_t> alias_;
};

}  // namespace

bool label_precise(const FichierProjet &projet) {
  EnteteProjet entete;
  const std::string label = projet.lit_entete(entete) ? label_hfs(entete) : std::string();
  if (!label_sans_titre(label)) return true;
  return echoue(charger_chaine(kLabelVoulu));
}

bool exige_hfsplus(FichierProjet &projet) {
  if (projet.hfsplus()) return true;
  operations().afficher_avis(charger_chaine(kFormatVoulu));
  InstantaneProjet instantane(projet);
  if (!instantane.prend()) return false;
  if (!change_format(projet, true, troncature_selon_reglages(true))) {
    instantane.restaure();
    projet.hfsplus(false);
    return false;
  }
  instantane.confirme();
  return true;
}

std::vector<ElementFenetre> elements_racine(const FichierProjet &projet) {
  std::vector<ElementFenetre> elements;
  LecteurEnfants enfants(projet, kRacine);
  while (const RubriqueProjet *enfant = enfants.suivant()) {
    if (!enfant->dans_hfs()) continue;
    ElementFenetre element;
    element.nom = nom_dans_vue(*enfant, kVueHfs, projet.hfsplus());
    if (element.nom.empty() || element.nom.starts_with('.')) continue;
    element.numero = enfant->numero_signe();
    element.nom_disque = nom_large_de(*enfant);
    elements.push_back(std::move(element));
  }
  return elements;
}

ValeursFenetre valeurs_defaut(const FichierProjet &projet) {
  ValeursFenetre valeurs;
  valeurs.elements = elements_racine(projet);
  valeurs_grille(valeurs);
  return valeurs;
}

int lit_ds_store(const FichierProjet &projet, const RubriqueProjet &rubrique, ValeursFenetre &valeurs) {
  const auto octets = lit_fichier(chemin_source(rubrique));
  if (!octets) return -1;
  auto lu = lit_ds_store(*octets);
  if (!lu) {
    echoue(charger_chaine(kPasValide));
    return -1;
  }
  accorde_elements(elements_racine(projet), lu->valeurs);
  lu->valeurs.image = chemin_image(projet, lu->nom_image);
  valeurs = std::move(lu->valeurs);
  return 0;
}

FenetreRacine ouvre_fenetre_racine(const FichierProjet &projet) {
  FenetreRacine fenetre;
  const auto element = a_la_racine(projet, kNomDsStore);
  if (element && !element->rubrique.est_dossier()) {
    fenetre.chemin = chemin_source(element->rubrique);
    fenetre.lue = lit_ds_store(projet, element->rubrique, fenetre.valeurs) == 0;
  }
  if (!fenetre.lue) fenetre.valeurs = valeurs_defaut(projet);
  return fenetre;
}

std::string chemin_propose(const FichierProjet &projet, const FenetreRacine &fenetre) {
  if (!fenetre.chemin.empty()) return fenetre.chemin;
  const std::string chemin = plateforme::chemin_absolu(projet.chemin());
  const std::size_t barre = chemin.find_last_of("/\\");
  const std::size_t point = chemin.rfind('.');
  const bool a_extension = point != std::string::npos && barre != std::string::npos && point > barre + 1;
  return chemin.substr(0, a_extension ? point : chemin.size()) + std::string(kNomDsStore);
}

bool prend_image(ValeursFenetre &valeurs, const std::string &chemin) {
  if (chemin.empty()) {
    valeurs.image.clear();
    return true;
  }
  const auto taille = taille_image(chemin);
  if (!taille && errno != 0) {
    erreur_fichier(chemin, errno);
    return false;
  }
  if (!taille) return echoue(message(kImageIllisible, {tronque_chemin(chemin, kCheminMessage)}));
  ValeursFenetre prise = valeurs;
  prise.image = plateforme::chemin_absolu(chemin);
  constexpr auto kMax = static_cast<std::uint32_t>(kCoordonneeEcranMax);
  const bool tient = taille->largeur <= kMax && taille->hauteur <= kMax;
  if (tient) {
    prise.rect.droite = prise.rect.gauche + static_cast<int>(taille->largeur);
    prise.rect.bas = prise.rect.haut + static_cast<int>(taille->hauteur);
  }
  if (!tient || prise.rect.droite > kCoordonneeEcranMax || prise.rect.bas > kCoordonneeEcranMax)
    return echoue(message(kImageTropGrande, {tronque_chemin(chemin, kCheminMessage), kCoordonneeEcranMax}));
  if (prise.rect != valeurs.rect) valeurs_grille(prise);
  valeurs = std::move(prise);
  return true;
}

bool ecrit_ds_store(FichierProjet &projet, FenetreRacine &fenetre, const std::string &chemin) {
  return Enregistrement(projet, fenetre, plateforme::chemin_absolu(chemin)).applique();
}

}  // namespace varnion
