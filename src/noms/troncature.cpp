#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitreTroncature = 1490;
constexpr int kQuestionConflit = 1154;

/// The long name cut at 31 bytes, without blanks at its end. A name of blanks alone becomes "_".
std::string coupe_automatique(std::string_view nom_long) {
  const std::string_view coupe = sans_blancs_fin(nom_long.substr(0, kNomHfsMax));
  return coupe.empty() ? std::string("_") : std::string(coupe);
}

/// 26 characters of the candidate, "-", and the four of the CRC of the long name.
std::string candidat_crc(std::string_view candidat, std::string_view nom_long) {
  constexpr std::size_t kTronc = 26;
  return std::string(candidat.substr(0, kTronc)).append("-").append(crc_texte(nom_long));
}

/// The truncation form: the name typed, in Mac Roman, or nullopt on Cancel or an empty name.
std::optional<std::string> demande_nom(std::string_view nom_long) {
  std::string saisi = nom_windows(nom_long);
  if (!operations().demander_nom(charger_chaine(kTitreTroncature), saisi, kNomHfsMax)) return std::nullopt;
  std::string nom = nom_mac(saisi).substr(0, kNomHfsMax);
  if (nom.empty()) return std::nullopt;
  return nom;
}

/// The method that holds without a form: the option word, a batch run, or an earlier choice.
MethodeTroncature methode_sans_forme(std::uint32_t options) {
  if ((options & kOptionTroncatureAuto) != 0 || etat<OptionsProgramme>().mode_lot) {
    return (options & kOptionTroncatureCrc) != 0 ? MethodeTroncature::crc : MethodeTroncature::coupe;
  }
  return choix_troncature().methode;
}

}  // namespace

ChoixTroncature &choix_troncature() {
  return etat<ChoixTroncature>();
}

std::optional<std::string> tronque_nom_mac(std::string_view nom_long, const PredicatNom &existe,
                                           std::uint32_t options) {
  if (nom_long.size() <= kNomHfsMax) return std::string(nom_long);
  std::string candidat = coupe_automatique(nom_long);
  MethodeTroncature methode = methode_sans_forme(options);
  if (methode == MethodeTroncature::saisie) {
    const auto saisi = demande_nom(nom_long);
    if (!saisi) return std::nullopt;
    methode = choix_troncature().methode;
    if (methode == MethodeTroncature::saisie) candidat = *saisi;
  }
  if (!existe(candidat)) return candidat;
  if (methode == MethodeTroncature::crc) {
    candidat = candidat_crc(candidat, nom_long);
    if (!existe(candidat)) return candidat;
  }
  const std::string question = message(kQuestionConflit, {nom_windows(nom_long), nom_windows(candidat)});
  if (operations().demander_oui_non(question) == 0) return std::nullopt;
  return demande_nom(nom_long);
}

}  // namespace varnion
