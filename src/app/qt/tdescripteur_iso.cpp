#include "app/qt/tdescripteur_iso.hpp"

#include <array>

#include <QFormLayout>
#include <QLineEdit>

#include "app/qt/champ_texte.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "compil/descripteurs.hpp"
#include "projet/erreurs.hpp"
#include "projet/fichier_projet.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1470;
constexpr int kChaines = 1469;
constexpr int kLettresVues = 44;

// A row of the box. The lengths are those of the fields (ECMA-119 8.4), but for the three file names: the
// head keeps 12 characters of each.
struct Ligne {
  int legende;
  const char *nom;
  int limite;
  std::string (*lit)(const EnteteProjet &);
  void (*pose)(EnteteProjet &, std::string_view);
};

template <auto Champ>
std::string lit(const EnteteProjet &entete) {
  return lit_champ(entete.*Champ);
}
// Fields that may be full to the last byte, without a NUL.
template <auto Champ>
void pose(EnteteProjet &entete, std::string_view texte) {
  static_cast<void>(ecrit_champ_plein(entete.*Champ, texte));
}
void pose_label(EnteteProjet &entete, std::string_view texte) {
  ecrit_champ_coupe(entete.label_iso, texte);
}

using E = EnteteProjet;
constexpr std::size_t kSysteme = 0;
constexpr std::size_t kVolume = 1;
constexpr std::array<Ligne, 9> kLignes{{
    {1460, "id_systeme", 32, lit<&E::id_systeme>, pose<&E::id_systeme>},
    {1461, "label_iso", 32, lit<&E::label_iso>, pose_label},
    {1462, "id_jeu_volumes", 128, lit<&E::id_jeu_volumes>, pose<&E::id_jeu_volumes>},
    {1463, "id_editeur", 128, lit<&E::id_editeur>, pose<&E::id_editeur>},
    {1464, "id_preparateur", 128, lit<&E::id_preparateur>, pose<&E::id_preparateur>},
    {1465, "id_application", 128, lit<&E::id_application>, pose<&E::id_application>},
    {1466, "fichier_copyright", 12, lit<&E::fichier_copyright>, pose<&E::fichier_copyright>},
    {1467, "fichier_resume", 12, lit<&E::fichier_resume>, pose<&E::fichier_resume>},
    {1468, "fichier_biblio", 12, lit<&E::fichier_biblio>, pose<&E::fichier_biblio>},
}};

}  // namespace

bool boite_descripteur(QWidget *parent, FichierProjet &projet, std::string &label) {
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  Forme forme(parent, "TDescripteurIso", kTitre, sujet::kDescripteurIso);
  QFormLayout *colonne = groupe_champs(forme.corps(), kChaines);
  std::array<QLineEdit *, kLignes.size()> champs{};
  for (std::size_t i = 0; i < kLignes.size(); ++i) {
    std::string texte = i == kVolume ? label : kLignes[i].lit(entete);
    // An empty system identifier stands for the program's own, which is what will be written.
    if (i == kSysteme && texte.empty()) texte = signature_produit();
    champs[i] = champ_texte(texte, kLignes[i].limite, kLignes[i].nom);
    champs[i]->setMinimumWidth(champs[i]->fontMetrics().averageCharWidth() * kLettresVues);
    champs[i]->setCursorPosition(0);
    colonne->addRow(chaine_qt(kLignes[i].legende), champs[i]);
  }
  forme.boutons();
  if (forme.exec() != QDialog::Accepted) return false;
  for (std::size_t i = 0; i < kLignes.size(); ++i) kLignes[i].pose(entete, texte_champ(*champs[i]));
  if (!projet.ecrit_entete(entete) || !projet.vide()) return echec_ecriture_projet(projet.chemin());
  label = texte_champ(*champs[kVolume]);
  return true;
}

}  // namespace varnion
