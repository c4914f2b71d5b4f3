#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <utility>

#include "compil/conteneurs.hpp"
#include "compil/execution.hpp"
#include "fichiers/applesimple.hpp"
#include "fichiers/binhex.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/sfm.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kPetitsFichiers = 1394;
constexpr int kDecodageBinhex = 1222;
constexpr int kSourceDisparue = 6314;      // path
constexpr int kSourceFermee = 6316;        // path, system error
constexpr int kSourceChangee = 6317;       // path
constexpr int kSourceTropGrande = 6318;    // path
constexpr int kLectureInterrompue = 6319;  // path, system error

constexpr std::uint64_t kTrancheSecteurs = 0x100;

/// Slice of a copy in 2048-byte sectors; a file of four slices or more shows its own progress.
std::uint64_t tranche(std::uint64_t longueur) {
  if (longueur < 0x280000) return kTrancheSecteurs;
  return longueur < 0x500000 ? 2 * kTrancheSecteurs : 4 * kTrancheSecteurs;
}

/// How a fork pair reaches the volume.
enum class Route { simple, sfm, appledouble, applesingle, macbinaire };

Route route(const RubriqueProjet &r) {
  switch (r.codage()) {
    case Codage::ntfs:
      return Route::sfm;
    case Codage::apple:
      return r.est_applesingle() ? Route::applesingle : Route::appledouble;
    case Codage::macbinary:
    case Codage::binhex:
      return Route::macbinaire;
    case Codage::aucun:
      break;
  }
  return Route::simple;
}

}  // namespace

PlageFourche plage_verifiee(const Fichier &fichier, std::uint32_t magie, std::uint32_t entree) {
  std::array<std::uint8_t, kLectureApple> tampon{};
  const std::int64_t lus = fichier.lire_a(tampon, 0);
  const std::int64_t taille = fichier_taille(fichier);
  if (lus <= 0 || taille <= 0) return {};
  const auto debut = std::span<const std::uint8_t>(tampon).first(static_cast<std::size_t>(lus));
  if (magie_apple(debut) != magie) return {};
  return plage_entree_apple(debut, entree, static_cast<std::uint64_t>(taille)).value_or(PlageFourche{});
}

std::int64_t Execution::copie_vers_image(const Fichier &fichier, std::uint64_t position,
                                         std::uint64_t longueur, const std::string &nom) {
  const std::uint64_t octets_tranche = tranche(longueur) * kSecteurIso;
  const std::uint64_t tranches = quotient_haut(longueur, octets_tranche);
  const bool grand = tranches >= 4;
  bool continue_ = true;
  if (grand) {
    continue_ = suivi_.debut_fichier(tranches, nom, longueur);
  } else if (!std::exchange(petits_annonces_, true)) {
    continue_ = suivi_.texte(charger_chaine(kPetitsFichiers));
  }
  if (grand) petits_annonces_ = false;
  if (etat<OptionsProgramme>().niveau_trace > 1) operations().journal(GenreJournal::compilation, nom);
  std::uint64_t fait = 0;
  while (continue_ && fait < longueur) {
    const std::uint64_t part = std::min(octets_tranche, longueur - fait);
    const std::int64_t copie = sortie_.copie(fichier, position + fait, part);
    if (copie == -1) return copie;
    if (copie == -2) {
      remarque(kLectureInterrompue, nom, plateforme::texte_erreur(errno));
      return static_cast<std::int64_t>(fait);
    }
    fait += static_cast<std::uint64_t>(copie);
    if (grand) continue_ = suivi_.avance_fichier(quotient_haut<std::uint64_t>(part, kSecteurIso));
    if (static_cast<std::uint64_t>(copie) < part) break;  // the source is shorter than it was
  }
  if (continue_ && !grand)
    continue_ = suivi_.fin_fichier(quotient_haut<std::uint64_t>(longueur, kSecteurIso));
  return continue_ ? static_cast<std::int64_t>(fait) : -2;
}

bool Execution::reserve_blocs(std::uint64_t longueur) {
  const std::uint64_t blocs = quotient_haut<std::uint64_t>(longueur, ctx_.taille_bloc);
  if (volume_ != nullptr && !carte_.marque(plan_volume_.bloc_base + bloc_courant_, blocs)) {
    blocs_manquants_ = blocs;
    return echoue(kCompilReprise);
  }
  bloc_courant_ += blocs;
  return true;
}

bool Execution::copie_donnees(const Fichier &fichier, std::uint64_t position, std::uint64_t longueur,
                              const Source &source, std::uint64_t cible) {
  if (!sortie_.positionne(cible)) return echoue(kCompilEchec);
  const std::int64_t copie =
      fichier.ouvert() ? copie_vers_image(fichier, position, longueur, source.chemin) : 0;
  if (copie < 0) return echoue(kCompilEchec);
  if (static_cast<std::uint64_t>(copie) < longueur) remarque(kSourceChangee, source.chemin);
  return true;
}

bool Execution::copie_iso_seul(const Source &source) {
  if (source.taille == 0) return true;
  const std::uint64_t debut = fin_iso_seul_;
  fin_iso_seul_ += quotient_haut<std::uint64_t>(source.taille, kSecteurIso);
  if (fin_iso_seul_ > secteurs_iso_seul_) return echoue(kCompilReprise);
  return copie_donnees(source.fichier, 0, source.taille, source, (iso_.fin_catalogue + debut) * kSecteurIso);
}

bool Execution::copie_fourche(const Fichier &fichier, std::uint64_t position, std::uint64_t longueur,
                              const Source &source, Fourche &fourche) {
  fourche.bloc = static_cast<std::uint32_t>(plan_volume_.bloc_base + bloc_courant_);
  fourche.blocs = static_cast<std::uint32_t>(quotient_haut<std::uint64_t>(longueur, ctx_.taille_bloc));
  fourche.longueur = longueur;
  if (longueur == 0) return true;
  const std::uint64_t cible = debut_donnees_ * kSecteurIso + bloc_courant_ * ctx_.taille_bloc;
  if (!copie_donnees(fichier, position, longueur, source, cible)) return false;
  return reserve_blocs(longueur);
}

bool Execution::inclusion_iso(const Source &source, bool partage, RepertoiresOuverts &ouverts,
                              Fourche &copie) {
  const bool devant = !partage && iso_seul_devant(ctx_);
  const std::uint64_t secteur =
      devant ? iso_.fin_catalogue + fin_iso_seul_ : debut_donnees_ + bloc_courant_ * ctx_.secteurs_par_bloc();
  FicheRepertoire fiche;
  fiche.extent = source.taille == 0 ? 0 : static_cast<std::uint32_t>(secteur);
  fiche.taille = static_cast<std::uint32_t>(source.taille);
  fiche.date = date_repertoire(source.donnees.modification);
  if (source.rubrique.cache_iso() != 0) fiche.drapeaux = kDrapeauCache;
  const std::string nom_iso = ouverts.noms.fichier(source.rubrique, source.donnees);
  const std::string nom_joliet =
      octets_joliet(ouverts.noms_joliet.place(source.rubrique, source.donnees), source.chemin);
  const auto octets = [](const std::string &nom) {
    return std::span(reinterpret_cast<const std::uint8_t *>(nom.data()), nom.size());
  };
  ouverts.iso->ajoute(fiche, octets(nom_iso));
  ouverts.joliet->ajoute(fiche, octets(nom_joliet));
  return devant ? copie_iso_seul(source) : copie_fourche(source.fichier, 0, source.taille, source, copie);
}

bool Execution::ressource_double(const Source &source, Fourche &rsrc) {
  const Fichier compagnon = ouvre_compagnon(source.chemin);
  const PlageFourche plage =
      compagnon.ouvert() ? plage_verifiee(compagnon, kMagieAppleDouble, kEntreeRessource) : PlageFourche{};
  return copie_fourche(compagnon, plage.position, source.rubrique.lg_rsrc, source, rsrc);
}

bool Execution::copie_single(const Source &source, Fourche &data, Fourche &rsrc) {
  const PlageFourche plage_data = plage_verifiee(source.fichier, kMagieAppleSingle, kEntreeData);
  const PlageFourche plage_rsrc = plage_verifiee(source.fichier, kMagieAppleSingle, kEntreeRessource);
  return copie_fourche(source.fichier, plage_data.position, source.rubrique.lg_data, source, data) &&
         copie_fourche(source.fichier, plage_rsrc.position, source.rubrique.lg_rsrc, source, rsrc);
}

bool Execution::decode_source(const Source &source, Fichier &decode) {
  if (!suivi_.texte(charger_chaine(kDecodageBinhex) + source.chemin)) return echoue(kCompilEchec);
  ControleBinHex controle;
  if (source.fichier.ouvert()) decode = decode_binhex(source.fichier, &controle);
  if (decode.ouvert()) {
    // The text was sound when the project was measured.
    if (!controle.juste()) remarque(kSourceChangee, source.chemin);
    return true;
  }
  const int erreur = errno;
  if (erreur == ENOSPC || erreur == EDQUOT || erreur == EFBIG) return erreur_systeme();
  remarque(kLectureInterrompue, source.chemin, plateforme::texte_erreur(erreur));
  return true;
}

bool Execution::forme_macbinaire(const Source &source, FormeMacBinaire &forme) {
  forme.fichier = &source.fichier;
  if (source.rubrique.codage() == Codage::binhex) {
    const ExamenConteneur *examen =
        ctx_.conteneurs != nullptr ? ctx_.conteneurs->examen(source.rubrique) : nullptr;
    if (examen != nullptr && examen->decode) {
      forme.fichier = &ctx_.conteneurs->decodes();
      forme.base = examen->position;
      forme.drapeaux = examen->drapeaux;
      return true;
    }
    if (!decode_source(source, forme.decode)) return false;
    forme.fichier = &forme.decode;
  }
  if (const auto tete = lit_tete_macbinaire(*forme.fichier)) forme.drapeaux = drapeaux_macbinaire(*tete);
  return true;
}

bool Execution::copie_macbinaire(const Source &source, Fourche &data, Fourche &rsrc,
                                 std::uint16_t &drapeaux) {
  const RubriqueProjet &r = source.rubrique;
  FormeMacBinaire forme;
  if (!forme_macbinaire(source, forme)) return false;
  drapeaux |= forme.drapeaux;
  return copie_fourche(*forme.fichier, forme.base + sizeof(TeteMacBinaire), r.lg_data, source, data) &&
         copie_fourche(*forme.fichier, forme.base + position_ressource(r.lg_data), r.lg_rsrc, source, rsrc);
}

bool Execution::inclusion_mac(Source &source, const Fourche *copie, Niveau &ici,
                              RepertoiresOuverts &ouverts) {
  const RubriqueProjet &r = source.rubrique;
  FicheFichier fiche;
  fiche.rubrique = &r;
  fiche.nom_large = source.donnees.nom_large;
  fiche.drapeaux = r.cache_hfs() != 0 ? kFinderInvisible : 0;
  const Route chemin = route(r);
  if (copie != nullptr) {
    fiche.data = *copie;
    fiche.data.longueur = std::min<std::uint64_t>(r.lg_data, copie->longueur);
  } else if (chemin != Route::applesingle && chemin != Route::macbinaire) {
    const std::uint64_t longueur = source.fichier.ouvert() ? r.lg_data.operator unsigned() : 0;
    if (!copie_fourche(source.fichier, 0, longueur, source, fiche.data)) return false;
  }
  bool fait = true;
  switch (chemin) {
    case Route::simple:
      fiche.rsrc.bloc = static_cast<std::uint32_t>(plan_volume_.bloc_base + bloc_courant_);
      break;
    case Route::sfm: {
      const Fichier flux = ouvre_ressource_sfm(source.chemin);
      const std::int64_t taille = flux.ouvert() ? std::max<std::int64_t>(fichier_taille(flux), 0) : 0;
      if (taille != r.lg_rsrc) remarque(kSourceChangee, source.chemin);
      const auto longueur = std::min<std::uint64_t>(r.lg_rsrc, static_cast<std::uint64_t>(taille));
      fait = copie_fourche(flux, 0, longueur, source, fiche.rsrc);
      break;
    }
    case Route::appledouble:
      if (r.icone_perso()) fiche.drapeaux |= kFinderIcone;
      fait = (copie == nullptr || !reserve_double(r) || reserve_blocs(r.lg_data)) &&
             ressource_double(source, fiche.rsrc);
      break;
    case Route::applesingle:
      if (r.icone_perso()) fiche.drapeaux |= kFinderIcone;
      fait = copie_single(source, fiche.data, fiche.rsrc);
      break;
    case Route::macbinaire:
      fait = copie_macbinaire(source, fiche.data, fiche.rsrc, fiche.drapeaux);
      break;
  }
  if (!fait || !nom_mac_libre(r, fiche.nom_large, ici, ouverts)) return false;
  if (!note_catalogue(volume_->cree_fichier(ici.cnid, fiche), r)) return false;
  ++ici.valence;
  return true;
}

bool Execution::inclusion_fichier(const RubriqueProjet &rubrique, Niveau &ici, RepertoiresOuverts &ouverts) {
  const bool plus = nature_est_hfsplus(ctx_.nature);
  std::optional<RubriqueProjet> effective;
  const RubriqueProjet &r =
      ctx_.conteneurs != nullptr ? ctx_.conteneurs->effective(rubrique, effective, plus) : rubrique;
  const bool iso = ouverts.iso != nullptr && r.dans_iso();
  const bool mac = va_sur_volume(r, ici);
  if (!iso && !mac) return true;
  if (operations().arret_demande()) return echoue(kCompilEchec);
  const std::string chemin = chemin_source(r);
  plateforme::DonneesRecherche donnees;
  Source source{r, donnees, chemin, acces_.ouvre(chemin, &donnees), 0};
  if (!source.fichier.ouvert()) {
    const int erreur = errno;
    if (donnees.nom_long.empty() || donnees.est_dossier()) {
      remarque(kSourceDisparue, chemin);
      return true;
    }
    remarque(kSourceFermee, chemin, plateforme::texte_erreur(erreur));
  } else if (donnees.taille > std::numeric_limits<std::uint32_t>::max()) {
    remarque(kSourceTropGrande, chemin);
    return true;
  } else {
    source.taille = donnees.taille;
    if (source.taille != r.lg_source) remarque(kSourceChangee, chemin);
  }
  if (ctx_.conteneurs != nullptr && (mac || ctx_.nature == Nature::iso_apple))
    if (const std::string texte = ctx_.conteneurs->constat(rubrique, plus); !texte.empty()) remarque(texte);
  if (ctx_.nature == Nature::iso_apple) return inclusion_apple(source, ouverts);
  Fourche copie;
  const bool partage = iso && mac && copie_partagee(r);
  if (iso && !inclusion_iso(source, partage, ouverts, copie)) return false;
  return !mac || inclusion_mac(source, partage ? &copie : nullptr, ici, ouverts);
}

}  // namespace varnion
