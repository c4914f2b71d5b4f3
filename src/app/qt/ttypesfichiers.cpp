#include "app/qt/ttypesfichiers.hpp"

#include <vector>

#include <QCheckBox>
#include <QFormLayout>
#include <QVBoxLayout>

#include "app/noyau/types_fichiers.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1400;
constexpr int kGroupe = 1401;

struct CaseType {
  const char *nom;
  int legende;
  unsigned bit;
};
constexpr CaseType kCases[] = {
    {"TypeProj", 1402, kTypeProjet}, {"TypePart", 1403, kTypeImage}, {"TypeIsop", 1404, kTypeIsop}};

}  // namespace

std::optional<unsigned> montre_types_fichiers(QWidget *parent) {
  Forme forme(parent, "TTypesFichiers", kTitre, sujet::kTypesFichiers);
  QFormLayout *champs = groupe_champs(forme.corps(), kGroupe);
  // What is registered shows as checked; before the first time all kinds are offered.
  const unsigned connus = types_enregistres();
  std::vector<QCheckBox *> cases;
  for (const CaseType &type : kCases) {
    auto *boite = new QCheckBox(chaine_qt(type.legende));
    boite->setObjectName(type.nom);
    boite->setChecked(connus == 0 || (connus & type.bit) != 0);
    champs->addRow(boite);
    cases.push_back(boite);
  }
  forme.boutons();
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  unsigned choisis = 0;
  for (std::size_t i = 0; i < cases.size(); ++i)
    if (cases[i]->isChecked()) choisis |= kCases[i].bit;
  return choisis;
}

}  // namespace varnion
