#include "compil/dimension.hpp"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "compil/conteneurs.hpp"
#include "compil/descripteurs.hpp"
#include "compil/noms_disque.hpp"
#include "compil/repertoires.hpp"
#include "compil/volume_hfsplus.hpp"
#include "IO/ecarts.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/iso.hpp"
#include "noms/ordre.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/fichier_projet.hpp"
#include "projet/nom_hfsplus.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNomsEgaux = 6300;         // folder, view, first item, second item
constexpr int kNomsEgauxSuite = 6301;    // %d more
constexpr int kDossiersEnCercle = 6302;  // folder
constexpr int kTropProfond = 6303;       // folder
constexpr int kReserveIso = 6304;        // journal
constexpr int kVueIsoTexte = 6305;
constexpr int kVueHfsTexte = 6306;
constexpr int kTropDeDossiers = 6347;
constexpr int kFourcheTropGrande = 7821;         // path, bytes, most bytes
constexpr int kFourchesTropGrandesSuite = 7822;  // %d more
constexpr std::size_t kRepertoiresMax = 0xFFFF;  ///< a path table numbers them in 16 bits (ECMA-119 9.4.4)
constexpr std::size_t kNomsEgauxMontres = 10;
constexpr std::uint32_t kFourcheHfsMax = 0x7FFFFFFF;  ///< the lengths in a file record are signed
constexpr std::size_t kLongueurMessage = 100;         ///< bytes of a path in a message

/// Adds a record to an estimated run of sectors: it goes on to a new sector when it does not fit under 2049
/// bytes.
void compte_fiche(std::size_t &octets, std::uint64_t &secteurs, std::size_t longueur) {
  if (octets + longueur > kSecteurIso) {
    ++secteurs;
    octets = longueur;
  } else {
    octets += longueur;
  }
}

/// The sectors of a directory as far as its records are known.
struct MesureRepertoire {
  static constexpr std::size_t kDeuxFiches = 0x44;
  std::size_t position = kDeuxFiches;  ///< with the records in the order of the project
  std::size_t octets = kDeuxFiches;
  std::size_t plus_longue = 0;

  void ajoute(std::size_t longueur) {
    position = place_fiche(position, longueur) + longueur;
    octets += longueur;
    plus_longue = std::max(plus_longue, longueur);
  }
  /// Sorted records break elsewhere into sectors, and the names that they are sorted by are known only from
  /// the sources: then the most that any order takes, since a sector is left only for a record that does not
  /// fit behind it.
  [[nodiscard]] std::size_t secteurs() const {
    if (!publie(Ecart::ordre_iso)) return quotient_haut<std::size_t>(position, kSecteurIso);
    if (octets < kSecteurIso) return 1;
    return 1 + (octets - 1) / (kSecteurIso - plus_longue);
  }
};

struct Attente {
  std::uint32_t numero;
  std::size_t profondeur;
  std::string chemin;
  bool iso;  ///< reached from the root of the ISO side
  bool mac;  ///< reached from the root of the volume
};

class Mesure {
 public:
  Mesure(ContexteCompilation &contexte, const IndexEnfants &index, const VolumeMac *volume,
         Dimensions &dimensions)
      : ctx_(contexte), index_(index), volume_(volume), dim_(dimensions) {}

  bool parcourt();

 private:
  bool mesure_dossier(const Attente &ici, std::vector<RubriqueProjet> &sous_dossiers);
  bool empile(const Attente &ici, const std::vector<RubriqueProjet> &sous_dossiers);
  bool lit_enfants(const Attente &ici, std::vector<RubriqueProjet> &sous_dossiers,
                   std::vector<RubriqueProjet> &abimes);
  [[nodiscard]] bool ouvre_les_fourches(const RubriqueProjet &r, const Attente &ici) const;
  void mesure_item(const RubriqueProjet &r, const Attente &ici);
  void mesure_abime(const RubriqueProjet &r, const Attente &ici);
  void choisit_nom_hfs(RubriqueProjet &r);
  void mesure_iso(const RubriqueProjet &r);
  void mesure_fiches(const RubriqueProjet &r, const LongueursNoms &exact);
  void mesure_nom_iso(const RubriqueProjet &r, const std::string &dossier);
  void mesure_nom_hfs(const RubriqueProjet &r, const std::string &dossier);
  void mesure_longueurs(const RubriqueProjet &r, bool mac);
  void verifie_fourches(const RubriqueProjet &r);
  void note_egaux(int vue, const std::string &dossier, const std::string &nom, const RubriqueProjet &a,
                  const std::string &b);

  ContexteCompilation &ctx_;
  const IndexEnfants &index_;
  const VolumeMac *volume_;
  Dimensions &dim_;
  std::size_t octets_iso_ = 0, octets_joliet_ = 0;         // estimate
  MesureRepertoire exact_iso_, exact_joliet_;              // as the directories will be
  std::unordered_map<std::string, std::string> noms_iso_;  // of one folder: name -> source
  std::unordered_map<std::u16string, std::string> noms_hfs_;
  std::unordered_map<std::string, std::size_t> numeros_hfs_;  // last one given to a name met again
  std::size_t egaux_ = 0;
  std::size_t trop_grandes_ = 0;  // files with a fork that classic HFS cannot hold
  std::size_t repertoires_ = 1;   // on the ISO side, with the root
  std::unordered_set<std::uint32_t> vus_{kRacine};
  std::vector<Attente> pile_{{kRacine, 0, "/", true, true}};  // the next folder last
};

void Mesure::note_egaux(int vue, const std::string &dossier, const std::string &nom, const RubriqueProjet &a,
                        const std::string &b) {
  if (++egaux_ > kNomsEgauxMontres) return;
  const std::string vue_texte = charger_chaine(vue == kVueIso ? kVueIsoTexte : kVueHfsTexte);
  operations().afficher_erreur(message(
      kNomsEgaux, {tronque_chemin(dossier, kLongueurMessage), vue_texte, nom,
                   tronque_chemin(b, kLongueurMessage), tronque_chemin(chemin_source(a), kLongueurMessage)}));
}

void Mesure::mesure_nom_iso(const RubriqueProjet &r, const std::string &dossier) {
  if (!ctx_.a_iso() || !r.dans_iso() || (r.nom_hors_page() && !r.nom_iso_saisi())) return;
  const bool source = r.est_dossier() && !suit_vue_iso(r);
  const std::string nom = source ? lit_champ(r.nom_source) : lit_champ(r.nom_iso);
  const auto [place, neuf] = noms_iso_.try_emplace(nom, chemin_source(r));
  if (!neuf) note_egaux(kVueIso, dossier, nom, r, place->second);
}

void Mesure::mesure_nom_hfs(const RubriqueProjet &r, const std::string &dossier) {
  // A name that comes from the source is known only when the source is at hand.
  if (volume_ == nullptr || !r.dans_hfs() || r.codage() == Codage::ntfs) return;
  const bool plus = nature_est_hfsplus(ctx_.nature);
  if (plus && r.nom_hors_page() && !r.nom_hfs_final()) return;
  const std::string nom = lit_champ(r.nom_hfs);
  const auto [place, neuf] = noms_hfs_.try_emplace(volume_->cle_nom(r, {}), chemin_source(r));
  if (!neuf) note_egaux(kVueHfs, dossier, plus ? nom : nom_windows(nom), r, place->second);
}

// Written all the same, such a fork would have a negative length for whoever reads the volume.
void Mesure::verifie_fourches(const RubriqueProjet &r) {
  if (volume_ == nullptr || nature_est_hfsplus(ctx_.nature) || !r.dans_hfs()) return;
  const std::uint32_t longueur = std::max<std::uint32_t>(r.lg_data, r.lg_rsrc);
  if (longueur <= kFourcheHfsMax || ++trop_grandes_ > kNomsEgauxMontres) return;
  operations().afficher_erreur(message(
      kFourcheTropGrande, {tronque_chemin(chemin_source(r), kLongueurMessage), longueur, kFourcheHfsMax}));
}

void Mesure::mesure_longueurs(const RubriqueProjet &r, bool mac) {
  const auto ajoute = [&](std::uint32_t longueur) {
    if (longueur != 0) dim_.longueurs.push_back(longueur);
  };
  const bool iso = ctx_.a_iso() && r.dans_iso();
  const bool partage = mac && copie_partagee(r);
  const bool devant = iso && !partage && iso_seul_devant(ctx_);
  if (devant)
    dim_.secteurs_iso_seul += quotient_haut<std::uint64_t>(r.lg_source, kSecteurIso);
  else if (iso)
    ajoute(r.lg_source);
  if (!mac) return;
  if (!iso || !partage || reserve_double(r)) ajoute(r.lg_data);
  if (r.codage() != Codage::aucun) ajoute(r.lg_rsrc);
}

void Mesure::mesure_iso(const RubriqueProjet &r) {
  const std::size_t nom = lit_champ(r.nom_iso).size();
  const LongueursNoms exact = longueurs_noms(r);
  if (r.est_dossier()) {
    ctx_.taille_chemins_iso += 20;
    ctx_.taille_chemins_joliet += 2 * nom + 8;
    dim_.iso.chemins_iso += 8 + arrondi<std::size_t>(exact.iso, 2);
    dim_.iso.chemins_joliet += 8 + exact.joliet;
  }
  if (!r.dans_iso()) return;
  compte_fiche(octets_iso_, ctx_.secteurs_iso, kFicheIsoEstimee);
  compte_fiche(octets_joliet_, ctx_.secteurs_joliet, 2 * (nom + 2) + 33);
  mesure_fiches(r, exact);
}

void Mesure::mesure_fiches(const RubriqueProjet &r, const LongueursNoms &exact) {
  const auto place = [this](const LongueursNoms &noms, std::size_t suite) {
    exact_iso_.ajoute(longueur_fiche(noms.iso, false) + suite);
    exact_joliet_.ajoute(longueur_fiche(noms.joliet, true) + suite);
  };
  if (ctx_.nature != Nature::iso_apple || r.est_dossier()) return place(exact, 0);
  const LongueursApple apple = longueurs_noms_apple(r);
  if (apple.ressource_iso != 0) place({apple.ressource_iso, apple.data.joliet}, kSuiteApple);
  if (apple.data.iso != 0) place(apple.data, kSuiteApple);
}

// Forks are taken out of a container only for a Macintosh side; the others carry it as it is.
bool Mesure::ouvre_les_fourches(const RubriqueProjet &r, const Attente &ici) const {
  return volume_ != nullptr ? ici.mac && r.dans_hfs() : ctx_.nature == Nature::iso_apple && r.dans_iso();
}

void Mesure::mesure_item(const RubriqueProjet &r, const Attente &ici) {
  if (ctx_.a_iso()) mesure_iso(r);
  if (volume_ != nullptr && r.dans_hfs()) volume_->compte_item(ctx_, r);
  if (r.est_dossier()) return;
  verifie_fourches(r);
  mesure_longueurs(r, ctx_.a_volume() && ici.mac && r.dans_hfs());
}

// Gives an item a name that no other one of its folder has: a number ahead of its extension, where the own
// one is taken.
void Mesure::choisit_nom_hfs(RubriqueProjet &r) {
  if (volume_ == nullptr || !r.dans_hfs()) return;
  const bool plus = nature_est_hfsplus(ctx_.nature);
  if (plus && r.nom_hors_page()) return;  // the source gives it
  constexpr std::size_t kExtensionMax = 5;
  const std::string nom = nom_dans_vue(r, kVueHfs, plus);
  const std::size_t point = nom.rfind('.');
  const bool avec = point != std::string::npos && point > 0 && nom.size() - point <= kExtensionMax;
  const std::string extension = avec ? nom.substr(point) : "";
  const std::string base = nom.substr(0, nom.size() - extension.size());
  while (!noms_hfs_.try_emplace(volume_->cle_nom(r, {}), chemin_source(r)).second) {
    const std::string marque = "~" + std::to_string(++numeros_hfs_[nom]) + extension;
    const std::size_t limite = plus ? kNomHfsplusMax : kNomHfsMax;
    pose_nom_hfs(r, base.substr(0, limite - marque.size()) + marque, plus);
  }
}

// What goes in as a plain file gives way to the names of the project.
void Mesure::mesure_abime(const RubriqueProjet &r, const Attente &ici) {
  const bool plus = nature_est_hfsplus(ctx_.nature);
  RubriqueProjet simple;
  if (ctx_.conteneurs->examen(r)->etat == EtatConteneur::abime) {
    std::optional<RubriqueProjet> place;
    simple = ctx_.conteneurs->effective(r, place, plus);
    mesure_nom_iso(simple, ici.chemin);
    if (simple.nom_hfs_final())
      mesure_nom_hfs(simple, ici.chemin);
    else
      choisit_nom_hfs(simple);
    ctx_.conteneurs->nomme(r, lit_champ(simple.nom_hfs));
  } else {
    const auto compagnon = ctx_.conteneurs->compagnon(r, plus);
    if (!compagnon) return;
    simple = *compagnon;
    choisit_nom_hfs(simple);
    ctx_.conteneurs->ajoute_compagnon(r, simple);
  }
  mesure_item(simple, ici);
}

bool Mesure::lit_enfants(const Attente &ici, std::vector<RubriqueProjet> &sous_dossiers,
                         std::vector<RubriqueProjet> &abimes) {
  Conteneurs *conteneurs = ctx_.conteneurs;
  std::optional<RubriqueProjet> place;
  LecteurRubriques enfants = index_.enfants(*ctx_.projet, ici.numero);
  while (const RubriqueProjet *r = enfants.suivant()) {
    if (conteneurs != nullptr && !r->est_dossier()) {
      if (ouvre_les_fourches(*r, ici) && !conteneurs->examine(*r)) return false;
      const ExamenConteneur *examen = conteneurs->examen(*r);
      const EtatConteneur etat = examen != nullptr ? examen->etat : EtatConteneur::conforme;
      if (etat == EtatConteneur::abime || etat == EtatConteneur::compagnon_abime) abimes.push_back(*r);
      if (etat == EtatConteneur::abime) continue;
      r = &conteneurs->effective(*r, place, nature_est_hfsplus(ctx_.nature));
    }
    mesure_nom_iso(*r, ici.chemin);
    mesure_nom_hfs(*r, ici.chemin);
    mesure_item(*r, ici);
    if (!r->est_dossier()) continue;
    if (r->numero == kDossierFond && lit_champ(r->nom_source) == kNomDossierFond) ctx_.dossier_fond = true;
    sous_dossiers.push_back(*r);
  }
  return true;
}

bool Mesure::mesure_dossier(const Attente &ici, std::vector<RubriqueProjet> &sous_dossiers) {
  octets_iso_ = octets_joliet_ = MesureRepertoire::kDeuxFiches;
  exact_iso_ = exact_joliet_ = {};
  noms_iso_.clear();
  noms_hfs_.clear();
  numeros_hfs_.clear();
  std::vector<RubriqueProjet> abimes;
  if (!lit_enfants(ici, sous_dossiers, abimes)) return false;
  for (const RubriqueProjet &r : abimes) mesure_abime(r, ici);
  ++ctx_.secteurs_iso;
  ++ctx_.secteurs_joliet;
  dim_.iso.secteurs_iso += exact_iso_.secteurs();
  dim_.iso.secteurs_joliet += exact_joliet_.secteurs();
  for (const RubriqueProjet &r : sous_dossiers)
    if (volume_ != nullptr && r.dans_hfs()) volume_->compte_fil(ctx_, r);
  return true;
}

bool Mesure::empile(const Attente &ici, const std::vector<RubriqueProjet> &sous_dossiers) {
  const auto refuse = [&](int id) {
    operations().afficher_erreur(message(id, {tronque_chemin(ici.chemin, kLongueurMessage)}));
    return false;
  };
  if (!sous_dossiers.empty() && ici.profondeur >= kProfondeurMax) return refuse(kTropProfond);
  for (auto r = sous_dossiers.rbegin(); r != sous_dossiers.rend(); ++r) {
    if (!vus_.insert(r->numero).second) return refuse(kDossiersEnCercle);
    const std::string chemin = ici.chemin + nom_dans_vue(*r, kVueRacine, false) + "/";
    const bool iso = ici.iso && r->dans_iso();
    if (iso) ++repertoires_;
    pile_.push_back({r->numero, ici.profondeur + 1, tronque_chemin(chemin, kLongueurMessage), iso,
                     ici.mac && r->dans_hfs()});
  }
  return true;
}

bool Mesure::parcourt() {
  dim_.iso.chemins_iso = dim_.iso.chemins_joliet = 10;  // the root's entry
  if (ctx_.conteneurs != nullptr) ctx_.conteneurs->commence();
  while (!pile_.empty()) {
    const Attente ici = std::move(pile_.back());
    pile_.pop_back();
    std::vector<RubriqueProjet> sous_dossiers;
    if (!mesure_dossier(ici, sous_dossiers) || !empile(ici, sous_dossiers)) return false;
  }
  if (ctx_.conteneurs != nullptr) ctx_.conteneurs->fini();
  if (ctx_.a_iso() && repertoires_ > kRepertoiresMax) {
    operations().afficher_erreur(charger_chaine(kTropDeDossiers));
    return false;
  }
  if (egaux_ > kNomsEgauxMontres)
    operations().afficher_erreur(message(kNomsEgauxSuite, {egaux_ - kNomsEgauxMontres}));
  if (trop_grandes_ > kNomsEgauxMontres)
    operations().afficher_erreur(message(kFourchesTropGrandesSuite, {trop_grandes_ - kNomsEgauxMontres}));
  return egaux_ == 0 && trop_grandes_ == 0;
}

}  // namespace

std::uint64_t Dimensions::blocs(std::uint32_t taille_bloc) const {
  std::uint64_t total = 0;
  for (const std::uint32_t longueur : longueurs) total += quotient_haut(longueur, taille_bloc);
  return total;
}

bool iso_seul_devant(const ContexteCompilation &contexte) {
  return contexte.a_iso() && contexte.a_volume() && publie(Ecart::blocs_comptes);
}

bool copie_partagee(const RubriqueProjet &r) {
  return !r.est_code_mac() && !(r.codage() == Codage::apple && r.est_applesingle());
}

bool reserve_double(const RubriqueProjet &r) {
  return r.codage() == Codage::apple && !r.est_applesingle() && !publie(Ecart::blocs_comptes);
}

bool dimensionne(ContexteCompilation &contexte, const IndexEnfants &index, const VolumeMac *volume,
                 Dimensions &dimensions) {
  contexte.noeuds = contexte.octets_noeud = contexte.cles_noeud = 0;
  contexte.taille_chemins_iso = contexte.taille_chemins_joliet = 0;
  contexte.secteurs_iso = contexte.secteurs_joliet = 0;
  if (!Mesure(contexte, index, volume, dimensions).parcourt()) return false;
  if (contexte.nature == Nature::iso_apple) {
    // Nothing is estimated for an ISO+ project: its reserves are the smallest areas, until the exact needs
    // show them too small.
    contexte.taille_chemins_iso = contexte.taille_chemins_joliet = 0;
    contexte.secteurs_iso = contexte.secteurs_joliet = 0;
  }
  if (contexte.taille_chemins_iso == 0) contexte.taille_chemins_iso = 1;
  if (contexte.taille_chemins_joliet == 0) contexte.taille_chemins_joliet = 1;
  return true;
}

PlanIso planifie_iso(ContexteCompilation &contexte, const BesoinsIso &besoins) {
  contexte.secteurs_iso += std::max<std::uint64_t>(contexte.secteurs_iso / 10, 2);
  contexte.secteurs_joliet += std::max<std::uint64_t>(contexte.secteurs_joliet / 10, 4);
  std::uint64_t n =
      std::max<std::uint64_t>(quotient_haut<std::uint64_t>(contexte.taille_chemins_iso, kSecteurIso), 1);
  std::uint64_t m =
      std::max<std::uint64_t>(quotient_haut<std::uint64_t>(contexte.taille_chemins_joliet, kSecteurIso), 1);
  const auto reserve = [](std::uint64_t &place, std::uint64_t besoin) {
    if (besoin <= place) return;
    operations().journal(GenreJournal::information, message(kReserveIso, {place, besoin}));
    place = besoin;
  };
  reserve(contexte.secteurs_iso, besoins.secteurs_iso);
  reserve(contexte.secteurs_joliet, besoins.secteurs_joliet);
  reserve(n, quotient_haut<std::uint64_t>(besoins.chemins_iso, kSecteurIso));
  reserve(m, quotient_haut<std::uint64_t>(besoins.chemins_joliet, kSecteurIso));

  PlanIso plan;
  plan.secteurs_iso = static_cast<std::uint32_t>(contexte.secteurs_iso);
  plan.secteurs_joliet = static_cast<std::uint32_t>(contexte.secteurs_joliet);
  plan.secteurs_chemins_iso = static_cast<std::uint32_t>(n);
  plan.secteurs_chemins_joliet = static_cast<std::uint32_t>(m);
  plan.chemins_iso_l = kSecteurChemins;
  plan.chemins_iso_m = plan.chemins_iso_l + plan.secteurs_chemins_iso;
  plan.racine_iso = plan.chemins_iso_m + plan.secteurs_chemins_iso;
  plan.chemins_joliet_l = plan.racine_iso + plan.secteurs_iso;
  plan.chemins_joliet_m = plan.chemins_joliet_l + plan.secteurs_chemins_joliet;
  plan.racine_joliet = plan.chemins_joliet_m + plan.secteurs_chemins_joliet;
  plan.fin_catalogue = arrondi<std::uint64_t>(std::uint64_t{plan.racine_joliet} + plan.secteurs_joliet,
                                              contexte.secteurs_par_bloc());
  // The directory areas count twice, as a margin.
  plan.taille_volume =
      contexte.secteurs + 18 + 2 * n + 2 * m + 2 * contexte.secteurs_iso + 2 * contexte.secteurs_joliet;
  return plan;
}

}  // namespace varnion
