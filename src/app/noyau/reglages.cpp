#include "app/noyau/reglages.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>

#include "app/noyau/journal.hpp"
#include "hfs/volume.hpp"
#include "IO/ecarts.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "projet/noms_rubrique.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

// --- text forms
// -----------------------------------------------------------------------------------------------

// A decimal number at the start of a text, 0 when there is none or it does not fit. A word of 32 bits may be
// written with a sign.
template <typename T>
T nombre(std::string_view texte) {
  while (!texte.empty() && texte.front() == ' ') texte.remove_prefix(1);
  std::int64_t valeur = 0;
  std::from_chars(texte.data(), texte.data() + texte.size(), valeur);
  const bool tient = valeur >= INT32_MIN && valeur <= std::int64_t{std::numeric_limits<T>::max()};
  return tient ? static_cast<T>(valeur) : T{0};
}

// Numbers separated by commas into as many places as there are; the others stay.
void pose_liste(std::string_view texte, std::span<int *const> places) {
  for (int *place : places) {
    if (texte.empty()) return;
    *place = nombre<int>(texte);
    texte.remove_prefix(std::min(texte.find(','), texte.size() - 1) + 1);
  }
}

template <auto Champ>
void pose_texte(Reglages &r, const std::string &texte) {
  r.*Champ = texte;
}
template <auto Champ>
std::string lit_texte(const Reglages &r) {
  return r.*Champ;
}
// Reference sizes in megabytes, as the preferences take them.
template <auto Champ>
void pose_taille(Reglages &r, const std::string &texte) {
  constexpr int kTailleMax = 17000;
  r.*Champ = std::clamp(nombre<int>(texte), 0, kTailleMax);
}
template <auto Champ>
std::string lit_nombre(const Reglages &r) {
  return std::to_string(r.*Champ);
}
template <auto Mot>
void pose_mot(Reglages & /*r*/, const std::string &texte) {
  etat<OptionsProgramme>().*Mot = nombre<std::uint32_t>(texte);
}
template <auto Mot>
std::string lit_mot(const Reglages & /*r*/) {
  return std::to_string(etat<OptionsProgramme>().*Mot);
}

void pose_rect(Reglages &r, const std::string &texte) {
  RectFenetre rect;
  int *const places[] = {&rect.gauche, &rect.haut, &rect.largeur, &rect.hauteur, &rect.arbre};
  pose_liste(texte, places);
  r.rect = rect_corrige(rect);
}
std::string lit_rect(const Reglages &r) {
  std::string texte = std::to_string(r.rect.gauche);
  for (const int valeur : {r.rect.haut, r.rect.largeur, r.rect.hauteur, r.rect.arbre})
    texte += "," + std::to_string(valeur);
  return texte;
}

void pose_colonnes(Reglages &r, const std::string &texte) {
  std::array<int *, 7> places{};
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = &r.colonnes[i];
  pose_liste(texte, places);
}
std::string lit_colonnes(const Reglages &r) {
  std::string texte;
  for (const int largeur : r.colonnes) texte += std::to_string(largeur) + ",";
  return texte;
}

void pose_ext(Reglages &r, const std::string &texte) {
  r.ext = texte.substr(0, kExtensionMax);
}

// A size of one digit counts as none.
void pose_corps(Reglages &r, const std::string &texte) {
  const int valeur = nombre<int>(texte);
  r.corps = texte.size() <= 1 || valeur == 0 ? Reglages{}.corps : valeur;
}

void pose_publie(Reglages &r, const std::string &texte) {
  r.publie = texte != "0";
}
std::string lit_publie(const Reglages &r) {
  return r.publie ? "1" : "0";
}

// Numbers of resources have 16 bits with a sign; those of the system's own fonts lie below.
void pose_numpol(Reglages &r, const std::string &texte) {
  const int valeur = nombre<int>(texte);
  if (valeur >= Reglages{}.numpol && valeur <= INT16_MAX) r.numpol = valeur;
}

// --- the table
// ------------------------------------------------------------------------------------------------

enum class Ecriture { sortie, changement };

struct FicheReglage {
  const char *nom;
  Ecriture ecriture;
  void (*pose)(Reglages &, const std::string &);  ///< never called for an empty text: the default stands
  std::string (*lit)(const Reglages &);
};

using R = Reglages;
using O = OptionsProgramme;
constexpr auto kSortie = Ecriture::sortie;
constexpr auto kChangement = Ecriture::changement;

// In the order of reading. The defaults are those of the record, but for the three folders.
constexpr FicheReglage kFiches[] = {
    {"Lang", kSortie, pose_texte<&R::langue>, lit_texte<&R::langue>},
    {"Ext", kSortie, pose_ext, lit_texte<&R::ext>},
    {"Options", kSortie, pose_mot<&O::options>, lit_mot<&O::options>},
    {"VN-Options", kSortie, pose_mot<&O::vn_options>, lit_mot<&O::vn_options>},
    {"Journal", kChangement, pose_texte<&R::journal>, lit_texte<&R::journal>},
    {"szProj", kSortie, pose_taille<&R::taille_projet>, lit_nombre<&R::taille_projet>},
    {"szIsop", kSortie, pose_taille<&R::taille_isop>, lit_nombre<&R::taille_isop>},
    {"Rect", kSortie, pose_rect, lit_rect},
    {"Col", kSortie, pose_colonnes, lit_colonnes},
    {"Reper", kChangement, pose_texte<&R::reper>, lit_texte<&R::reper>},
    {"DProj", kChangement, pose_texte<&R::dossier_projet>, lit_texte<&R::dossier_projet>},
    {"DComp", kChangement, pose_texte<&R::dossier_compile>, lit_texte<&R::dossier_compile>},
    {"Corps", kChangement, pose_corps, lit_nombre<&R::corps>},
    {"Sign", kChangement, pose_texte<&R::signatures>, lit_texte<&R::signatures>},
    {"numpol", kChangement, pose_numpol, lit_nombre<&R::numpol>},
    {"Published", kChangement, pose_publie, lit_publie},
    {"WinVLV", kChangement, pose_texte<&R::navigateur>, lit_texte<&R::navigateur>},
    {"WReper", kChangement, pose_texte<&R::dossier_navigateur>, lit_texte<&R::dossier_navigateur>},
};

constexpr const char *kListesRecentes[] = {"MRU1", "MRU2", "MRU3"};

// --- the store
// ------------------------------------------------------------------------------------------------

QString dossier_reglages() {
  const QString impose = QFile::decodeName(qgetenv("XDG_CONFIG_HOME"));
  return QDir::isAbsolutePath(impose) ? impose : QDir::homePath() + "/.config";
}

class Magasin {
 public:
  Magasin() : store_(dossier_reglages() + "/Tarrowby/Varnion.conf", QSettings::IniFormat) {}

  [[nodiscard]] std::string lit(const char *nom) const {
    // A list of numbers written by hand without quotes comes in pieces.
    const QString texte = store_.value(nom).toStringList().join(',');
    return plateforme::utf8_vers_texte(texte.toStdString());
  }
  void ecrit(const char *nom, const std::string &texte) {
    store_.setValue(nom, QString::fromStdString(plateforme::texte_vers_utf8(texte)));
  }
  [[nodiscard]] std::vector<std::string> lit_recents(const char *nom) {
    store_.beginGroup(nom);
    std::vector<std::string> chemins;
    for (const QString &valeur : store_.childKeys()) {
      const auto chemin = plateforme::utf8_vers_texte(store_.value(valeur).toString().toStdString());
      if (!chemin.empty() && chemins.size() < kRecentsMax) chemins.push_back(chemin);
    }
    store_.endGroup();
    return chemins;
  }
  void ecrit_recents(const char *nom, const std::vector<std::string> &chemins) {
    store_.remove(nom);
    for (std::size_t i = 0; i < std::min(chemins.size(), kRecentsMax); ++i)
      ecrit((std::string(nom) + "/" + std::to_string(i + 1)).c_str(), chemins[i]);
  }
  [[nodiscard]] bool ferme() {
    store_.sync();
    return store_.status() == QSettings::NoError;
  }

 private:
  QSettings store_;
};

std::string dossier_documents() {
  const std::string utf8 = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation).toStdString();
  return plateforme::chemin_utf8_utilisable(utf8, SIZE_MAX).value_or(std::string());
}

Reglages reglages_par_defaut() {
  Reglages r;
  r.dossier_projet = r.dossier_compile = r.reper = dossier_documents();
  if (r.reper.size() > 3) r.reper += '/';
  etat<OptionsProgramme>().options = 0;
  etat<OptionsProgramme>().vn_options = 0;
  return r;
}

// What the settings change elsewhere in the program.
void applique(Reglages &r) {
  const std::uint32_t mot = etat<OptionsProgramme>().vn_options;
  if (!r.langue.empty()) fixer_base_langue(nombre<int>(r.langue) != 0 ? kLangueFrancais : kLangueAnglais);
  if ((mot & kVnOptionJournal) != 0 && !r.journal.empty()) ouvre_journal(r.journal);
  fixer_regle(r.publie ? Regle::publiee : Regle::classique);
  const int mode = static_cast<int>((mot & kVnOptionModes) >> 6);
  if ((mot & kVnOptionGardeMode) != 0) r.mode_depart = mode <= 2 ? mode : 0;
  if ((mot & kVnOptionTronque) != 0) troncature_noms() = {true, true, true};
  if ((mot & kVnOptionDepartHfsplus) != 0) volume_courant().est_hfsplus = true;
}

}  // namespace

Reglages &reglages() {
  return etat<Reglages>();
}

std::string chemin_reglages_utf8() {
  return (dossier_reglages() + "/Tarrowby/Varnion.conf").toStdString();
}

int langue_systeme() {
  for (const char *nom : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const std::string valeur = plateforme::variable(nom);
    if (valeur.empty()) continue;
    return valeur.substr(0, valeur.find_first_of("_.@-")) == "fr" ? kLangueFrancais : kLangueAnglais;
  }
  return kLangueAnglais;
}

RectFenetre rect_corrige(RectFenetre rect) {
  const auto hors = [](int valeur, int bas, int haut) { return valeur < bas || valeur > haut; };
  if (hors(rect.gauche, 1, 2500)) rect.gauche = 50;
  if (hors(rect.haut, 1, 2000)) rect.haut = 50;
  if (hors(rect.largeur, 0, 2000)) rect.largeur = 750;
  if (hors(rect.hauteur, 0, 2000)) rect.hauteur = 500;
  if (hors(rect.arbre, 0, rect.largeur / 2)) rect.arbre = 120;
  return rect;
}

void lire_options(bool lot) {
  Magasin magasin;
  Reglages &r = reglages();
  r = reglages_par_defaut();
  fixer_base_langue(langue_systeme());
  for (const FicheReglage &fiche : kFiches) {
    const std::string texte = magasin.lit(fiche.nom);
    if (!texte.empty()) fiche.pose(r, texte);
  }
  for (std::size_t i = 0; i < r.recents.size(); ++i) r.recents[i] = magasin.lit_recents(kListesRecentes[i]);
  applique(r);
  if (lot) return;
  if (magasin.lit("Ext").empty()) magasin.ecrit("Ext", r.ext);
  const std::string corps = magasin.lit("Corps");
  if (corps.size() <= 1 || nombre<int>(corps) == 0) magasin.ecrit("Corps", std::to_string(r.corps));
  static_cast<void>(magasin.ferme());
}

bool ecrire_options(int mode_travail) {
  Magasin magasin;
  Reglages &r = reglages();
  std::uint32_t &mot = etat<OptionsProgramme>().vn_options;
  mot &= ~kVnOptionModes;
  if ((mot & kVnOptionGardeMode) != 0 && mode_travail > 0)
    mot |= (static_cast<std::uint32_t>(mode_travail) << 6) & kVnOptionModes;
  r.langue = base_langue() != kLangueAnglais ? "1" : "0";
  for (const FicheReglage &fiche : kFiches)
    if (fiche.ecriture == kSortie) magasin.ecrit(fiche.nom, fiche.lit(r));
  if ((mot & kVnOptionJournal) != 0) magasin.ecrit("Journal", r.journal);
  return magasin.ferme();
}

bool enregistre_reglage(std::string_view nom) {
  Magasin magasin;
  for (const FicheReglage &fiche : kFiches) {
    if (nom != fiche.nom) continue;
    magasin.ecrit(fiche.nom, fiche.lit(reglages()));
    return magasin.ferme();
  }
  for (std::size_t i = 0; i < reglages().recents.size(); ++i) {
    if (nom != kListesRecentes[i]) continue;
    magasin.ecrit_recents(kListesRecentes[i], reglages().recents[i]);
    return magasin.ferme();
  }
  return false;
}

}  // namespace varnion
