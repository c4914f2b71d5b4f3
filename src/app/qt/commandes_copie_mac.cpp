// Files and folders of the PC into the mounted volume: chosen in the browser, pasted, dropped.

#include <algorithm>
#include <set>

#include <QApplication>
#include <QStatusBar>

#include "app/noyau/actions_copie.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/console.hpp"
#include "app/qt/modification_volume.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "app/qt/twinvlv.hpp"
#include "fichiers/copie_vers_mac.hpp"
#include "fichiers/place_volume.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCopies = 6960;
constexpr int kManques = 6961;
constexpr int kRemarques = 6962;
constexpr int kDureeBilan = 10000;  // milliseconds

OptionsCopieMac options_fenetre() {
  OptionsCopieMac options = options_copie_mac();
  options.troncature = etat<OptionsProgramme>().options & (kOptionTroncatureAuto | kOptionTroncatureCrc);
  return options;
}

QString texte_bilan(const BilanCopieMac &bilan) {
  QStringList lignes{
      vers_qt(message(kCopies, {bilan.fichiers, bilan.dossiers, taille_lisible(bilan.octets)}))};
  if (bilan.sautes + bilan.echecs + bilan.non_atteints != 0)
    lignes << vers_qt(message(kManques, {bilan.sautes, bilan.echecs, bilan.non_atteints}));
  if (bilan.renommes + bilan.abimes + bilan.polices_telles != 0)
    lignes << vers_qt(message(kRemarques, {bilan.renommes, bilan.abimes, bilan.polices_telles}));
  return lignes.join(' ');
}

// The new rows of the folder that is shown are selected.
void montre_les_neufs(TVarnion &fenetre, const std::vector<std::uint32_t> &avant) {
  fenetre.montre_document();
  const std::set<std::uint32_t> anciens(avant.begin(), avant.end());
  std::vector<std::uint32_t> neufs;
  for (const std::uint32_t id : ids_montres(fenetre))
    if (!anciens.contains(id)) neufs.push_back(id);
  if (!neufs.empty()) fenetre.selectionne_elements(neufs);
}

// Steps of the gauge: allocation blocks.
std::uint64_t blocs_de(std::uint64_t octets) {
  const std::uint64_t bloc = std::max<std::uint32_t>(volume_courant().taille_bloc, 1);
  return (octets + bloc - 1) / bloc;
}

std::uint64_t blocs_en_tout(const std::vector<std::string> &chemins) {
  std::uint64_t blocs = 0;
  for (const std::string &chemin : chemins)
    if (const auto donnees = plateforme::cherche_fichier(chemin))
      blocs += blocs_de(octets_sur_volume(chemin, *donnees));
  return blocs;
}

void copie_chemins(TVarnion &fenetre, const std::vector<std::string> &chemins, std::uint32_t dossier) {
  const std::vector<std::uint32_t> avant = ids_montres(fenetre);
  OptionsCopieMac options = options_fenetre();
  options.suivi = [octets = std::uint64_t{0}](const BilanCopieMac &bilan) mutable {
    operations().progression_pas(blocs_de(bilan.octets - octets));
    octets = bilan.octets;
  };
  CopieVersMac copie(std::move(options));
  const std::string lieu = nom_volume() + "/";
  static_cast<void>(modifie_volume_en_fond(fenetre, [&] {
    operations().progression_debut(blocs_en_tout(chemins));
    for (const std::string &chemin : chemins)
      if (!copie.copie_vers_mac(chemin, dossier, lieu)) break;
    operations().progression_fin();
  }));
  if (!fenetre.document_ouvert()) return;
  montre_les_neufs(fenetre, avant);
  fenetre.statusBar()->showMessage(texte_bilan(copie.bilan()), kDureeBilan);
}

}  // namespace

void copie_vers_le_mac(TVarnion &fenetre) {
  if (!volume_modifiable(fenetre) || fenetre.dossier_montre() == 0) return;
  TWinVLV navigateur(&fenetre, fenetre.operations_fenetre());
  if (navigateur.exec() != QDialog::Accepted) return;
  copie_chemins(fenetre, navigateur.choisis(), fenetre.dossier_montre());
}

void depose_volume(TVarnion &fenetre, const QStringList &chemins, std::uint32_t dossier) {
  if (!fenetre.document_ouvert()) {
    cree_image(fenetre);
    if (!fenetre.document_ouvert()) return QApplication::beep();
    dossier = fenetre.dossier_montre();
  }
  if (!volume_modifiable(fenetre)) return;
  std::vector<std::string> sources;
  for (const QString &chemin : chemins)
    if (const auto source = chemin_argument(chemin.toStdString())) sources.push_back(*source);
  if (!sources.empty()) copie_chemins(fenetre, sources, dossier);
}

}  // namespace varnion
