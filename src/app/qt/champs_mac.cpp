#include "app/qt/champs_mac.hpp"

#include <algorithm>
#include <vector>

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>

#include "app/qt/texte_qt.hpp"
#include "fichiers/element.hpp"
#include "hfs/extents.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kExtent = 1215;
constexpr int kLegendeDate = 7129;  // and the four that follow: month, day, year, hour, minute
constexpr std::size_t kExtentsMontres = 512;
constexpr int kLignesVisibles = 3;
constexpr int kPremiereAnnee = 1904;
constexpr int kDerniereAnnee = 2040;
constexpr std::int64_t kDateMax = 0xFFFFFFFF;

// The extents that follow in the extents tree, as far as the fork has blocks.
template <typename Extents, typename Suivants>
void ajoute_suivants(std::vector<ExtentMac> &extents, std::uint64_t blocs, std::uint64_t connus,
                     Suivants suivants) {
  while (connus < blocs && extents.size() <= kExtentsMontres) {
    Extents sortie{};
    if (suivants(sortie, connus) == nullptr) return;
    const std::uint64_t avant = connus;
    for (const auto &extent : sortie) {
      if (extent.blockCount == 0) break;
      extents.push_back({extent.startBlock, extent.blockCount});
      connus += extent.blockCount;
    }
    if (connus == avant) return;
  }
}

std::vector<ExtentMac> extents_de(const ElementMac &element, std::uint8_t numero) {
  const FourcheMac &fourche = element.fourche(numero);
  std::vector<ExtentMac> extents;
  std::uint64_t connus = 0;
  for (const ExtentMac &extent : fourche.extents) {
    if (extent.nombre == 0) break;
    extents.push_back(extent);
    connus += extent.nombre;
  }
  const std::uint32_t taille = volume_courant().taille_bloc;
  const std::uint64_t blocs = taille == 0 ? 0 : fourche.physique / taille;
  if (element.hfsplus) {
    ajoute_suivants<ExtentsPlus>(extents, blocs, connus, [&](ExtentsPlus &sortie, std::uint64_t debut) {
      return extents_suivants_hfsplus(sortie, element.id, debut, numero);
    });
  } else {
    ajoute_suivants<ExtentsHfs>(extents, blocs, connus, [&](ExtentsHfs &sortie, std::uint64_t debut) {
      return extents_suivants_hfs(sortie, element.id, debut, numero);
    });
  }
  return extents;
}

}  // namespace

QString texte_code(std::span<const std::uint8_t, 4> code) {
  if (std::all_of(code.begin(), code.end(), [](std::uint8_t octet) { return octet == 0; })) return {};
  return QString::fromStdString(mac_vers_utf8({reinterpret_cast<const char *>(code.data()), code.size()}));
}

QLineEdit *champ_code(std::span<const std::uint8_t, 4> code, const char *nom) {
  auto *champ = new QLineEdit(texte_code(code));
  champ->setObjectName(nom);
  champ->setMaxLength(static_cast<int>(code.size()));
  return champ;
}

// --- dates

ChampsDate::ChampsDate(std::uint32_t date, const QString &nom)
    : ligne_(new QWidget), hfsplus_(volume_courant().est_hfsplus) {
  const std::int64_t unix_mac = std::int64_t{date} - kEpoqueMac;
  const auto d = hfsplus_ ? plateforme::date_locale(unix_mac) : plateforme::date_utc(unix_mac);
  depart_ = {d.mois, d.jour, d.annee, d.heure, d.minute};
  static constexpr std::array<const char *, kRangs> kNoms{"Mois", "Jour", "Annee", "Heure", "Minute"};
  static constexpr std::array<std::array<int, 2>, kRangs> kBornes{
      {{1, 12}, {1, 31}, {kPremiereAnnee, kDerniereAnnee}, {0, 23}, {0, 59}}};
  std::array<Rang, kRangs> ordre{kMois, kJour, kAnnee, kHeure, kMinute};
  if (base_langue() == kLangueFrancais) std::swap(ordre[0], ordre[1]);
  auto *rangee = new QHBoxLayout(ligne_);
  rangee->setContentsMargins(0, 0, 0, 0);
  rangee->setSpacing(4);
  for (const Rang rang : ordre) {
    auto *champ = new QSpinBox;
    champ->setObjectName(nom + kNoms[rang]);
    champ->setRange(kBornes[rang][0], kBornes[rang][1]);
    champ->setValue(depart_[rang]);
    champ->setAccessibleName(chaine_qt(kLegendeDate + rang));
    champ->setToolTip(chaine_qt(kLegendeDate + rang));
    if (rang == kHeure) rangee->addSpacing(10);
    if (rang == kMinute) rangee->addWidget(new QLabel(":"));
    rangee->addWidget(champ);
    champs_[rang] = champ;
  }
  rangee->addStretch(1);
  depart_ = valeurs();
}

ChampsDate::Valeurs ChampsDate::valeurs() const {
  Valeurs valeurs{};
  for (std::size_t rang = 0; rang < valeurs.size(); ++rang) valeurs[rang] = champs_[rang]->value();
  return valeurs;
}

void ChampsDate::quand_change(const std::function<void()> &suite) const {
  for (QSpinBox *champ : champs_)
    QObject::connect(champ, &QSpinBox::valueChanged, champ, [suite] { suite(); });
}

void ChampsDate::lecture_seule() const {
  for (QSpinBox *champ : champs_) champ->setReadOnly(true);
}

std::optional<std::uint32_t> ChampsDate::date() const {
  const Valeurs v = valeurs();
  const QDate jour(v[kAnnee], v[kMois], v[kJour]);
  if (!jour.isValid()) return std::nullopt;
  // HFS keeps local time as it stands, HFS+ counts in UTC.
  const QDateTime saisie(jour, QTime(v[kHeure], v[kMinute]), hfsplus_ ? Qt::LocalTime : Qt::UTC);
  const std::int64_t date = saisie.toSecsSinceEpoch() + kEpoqueSaisie;
  if (date <= 0 || date > kDateMax) return std::nullopt;
  return static_cast<std::uint32_t>(date);
}

void ChampsDate::montre_faute() const {
  champs_[kJour]->setFocus();
  champs_[kJour]->selectAll();
}

// --- extents

QString texte_extents(const ElementMac &element, std::uint8_t fourche) {
  const std::vector<ExtentMac> extents = extents_de(element, fourche);
  QStringList lignes;
  for (const ExtentMac &extent : extents) {
    if (static_cast<std::size_t>(lignes.size()) == kExtentsMontres) {
      lignes << "...";
      break;
    }
    lignes << vers_qt(message(kExtent, {secteur_de_bloc(extent.debut), secteurs_de_blocs(extent.nombre)}));
  }
  return lignes.join('\n');
}

QWidget *lignes_fixes(const QString &texte, const char *nom) {
  auto *lignes = new QPlainTextEdit(texte);
  lignes->setObjectName(nom);
  lignes->setReadOnly(true);
  lignes->setTabChangesFocus(true);
  lignes->setLineWrapMode(QPlainTextEdit::NoWrap);
  const int visibles = static_cast<int>(std::clamp<qsizetype>(texte.count('\n') + 1, 1, kLignesVisibles));
  const int marge = 2 * static_cast<int>(lignes->frameWidth() + lignes->document()->documentMargin());
  lignes->setFixedHeight(lignes->fontMetrics().lineSpacing() * visibles + marge + 2);
  return lignes;
}

}  // namespace varnion
