#include "fichiers/classe_pc.hpp"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "fichiers/applesimple.hpp"
#include "fichiers/binhex.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/polices.hpp"
#include "fichiers/sfm.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kOuvrirMacBinaire = 1258;
constexpr int kConvertirBinHex = 1259;
constexpr std::size_t kCheminQuestion = 40;

bool accepte(int question, int &retenue, const FichierPc &fichier) {
  if (retenue != 0) return retenue > 0;
  const int reponse =
      operations().demander_tous(message(question, {tronque_chemin(fichier.affiche(), kCheminQuestion)}));
  if (reponse == 2) retenue = 1;
  if (reponse == -1) retenue = -1;
  return reponse > 0;
}

bool compagnon_valable(const FichierPc &fichier, Fichier &compagnon) {
  Fichier candidat = ouvre_compagnon(fichier.chemin);
  if (!candidat) return false;
  std::array<std::uint8_t, kLectureApple> tampon{};
  const std::int64_t lus = candidat.lire_a(tampon, 0);
  if (lus <= 0 || magie_apple(std::span(tampon).first(static_cast<std::size_t>(lus))) != kMagieAppleDouble)
    return false;
  compagnon = std::move(candidat);
  return true;
}

// The first three letters of an extension of at most three behind its dot.
ClassePc classe_police(std::string_view nom) {
  constexpr std::size_t kAvecPoint = 4;
  const std::size_t point = nom.rfind('.');
  if (point == std::string_view::npos || nom.size() - point > kAvecPoint) return ClassePc::simple;
  const std::string extension = plateforme::majuscules(nom.substr(point + 1));
  if (extension == "PFB") return ClassePc::pfb;
  return extension == "TTF" ? ClassePc::ttf : ClassePc::simple;
}

}  // namespace

std::string FichierPc::affiche() const {
  const std::size_t fin = chemin.find_last_of("/\\");
  const std::string dossier = fin == std::string::npos ? "" : chemin.substr(0, fin + 1);
  return donnees != nullptr ? dossier + donnees->nom_long : chemin;
}

bool lit_debut_pc(FichierPc &fichier) {
  const std::int64_t taille = fichier_taille(fichier.fichier);
  if (taille < 0) return false;
  const auto debut = std::span(fichier.tampon)
                         .first(static_cast<std::size_t>(
                             std::min<std::int64_t>(taille, std::int64_t{sizeof(fichier.tampon)})));
  const std::int64_t lus = fichier.fichier.lire_a(debut, 0);
  if (lus < 0) return false;
  fichier.taille = static_cast<std::uint64_t>(taille);
  fichier.lus = static_cast<std::size_t>(std::min(lus, taille));
  return true;
}

ReponsesConteneurs &reponses_conteneurs() {
  return etat<ReponsesConteneurs>();
}

ClassePc classe_fichier_pc(const FichierPc &fichier, const IndicesPc &indices, Fichier &compagnon) {
  const std::size_t route = indices.hfsplus ? 1 : 0;
  ReponsesConteneurs &reponses = reponses_conteneurs();
  const auto debut = fichier.debut();
  if (est_macbinaire(debut.first(std::min<std::size_t>(debut.size(), sizeof(TeteMacBinaire))),
                     fichier.taille))
    return accepte(kOuvrirMacBinaire, reponses.macbinaire[route], fichier) ? ClassePc::macbinaire
                                                                           : ClassePc::simple;
  if (est_binhex(debut))
    return accepte(kConvertirBinHex, reponses.binhex[route], fichier) ? ClassePc::binhex : ClassePc::simple;
  if (magie_apple(debut) == kMagieAppleSingle) return ClassePc::applesingle;
  if (indices.compagnon_possible && compagnon_valable(fichier, compagnon)) return ClassePc::appledouble;
  const ClassePc police = indices.polices ? classe_police(fichier.donnees->nom_long) : ClassePc::simple;
  // Nothing converts a PFB file: there is nothing to ask.
  if (police == ClassePc::pfb) return police;
  if (police != ClassePc::simple)
    return veut_convertir_police(indices.hfsplus ? CotePolices::pc_large : CotePolices::pc, fichier.affiche())
               ? police
               : ClassePc::simple;
  return indices.flux_possible && a_flux_sfm(fichier.chemin) ? ClassePc::flux : ClassePc::simple;
}

}  // namespace varnion
