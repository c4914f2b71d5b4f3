#include "app/qt/modele_liste.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <utility>

#include "app/noyau/affichage.hpp"
#include "app/qt/icones.hpp"
#include "app/qt/texte_qt.hpp"
#include "projet/signatures.hpp"

namespace varnion {

namespace {

enum Colonne : int { kNom, kType, kDonnees, kRessources, kCreation, kModification, kSignature };

constexpr std::array<int, kColonnes> kLegendes{1003, 1004, 1005, 1006, 1007, 1008, 1009};
constexpr int kDossier = 1011;
constexpr std::size_t kPetitesFixes = 6;
constexpr std::size_t kPetiteDefaut = 2;  // of a file whose signature has none
constexpr QChar kMarge(0x2002);           // keeps a text at the right clear of the next column

std::uint64_t valeur(const LigneListe &ligne, int colonne) {
  switch (colonne) {
    case kDonnees:
      return ligne.dossier ? ligne.valence : ligne.donnees;
    case kRessources:
      return ligne.ressources;
    case kCreation:
      return ligne.creation;
    default:
      return ligne.modification;
  }
}

}  // namespace

void ModeleListe::montre(ContenuDossier contenu, bool dates_utc) {
  beginResetModel();
  lignes_ = std::move(contenu.lignes);
  endommage_ = contenu.endommage;
  dates_utc_ = dates_utc;
  tri_.reset();
  if (genre_ == GenreIcones::signature) complete_table();
  nb_dossiers_ = static_cast<int>(
      std::count_if(lignes_.begin(), lignes_.end(), [](const LigneListe &ligne) { return ligne.dossier; }));
  endResetModel();
}

void ModeleListe::retraduit() {
  emit headerDataChanged(Qt::Horizontal, 0, kColonnes - 1);
  if (!lignes_.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, kColonnes - 1));
}

void ModeleListe::clique_colonne(int colonne) {
  if (colonne < 0 || colonne >= kColonnes) return;
  const bool descendant = tri_ && tri_->colonne == colonne && !tri_->descendant;
  tri_ = Tri{colonne, descendant};
  beginResetModel();
  trie();
  endResetModel();
}

// Folders stay ahead of files in both directions. Each key is made once.
void ModeleListe::trie() {
  const int colonne = tri_->colonne;
  const bool par_texte = colonne == kNom || colonne == kType || colonne == kSignature;
  struct Cle {
    bool fichier;
    QString texte;
    std::uint64_t valeur;
    std::size_t rang;
  };
  std::vector<Cle> cles;
  cles.reserve(lignes_.size());
  for (const LigneListe &ligne : lignes_)
    cles.push_back({!ligne.dossier, par_texte ? texte(ligne, colonne) : QString(),
                    par_texte ? 0 : valeur(ligne, colonne), cles.size()});
  std::stable_sort(cles.begin(), cles.end(), [this](const Cle &a, const Cle &b) {
    if (a.fichier != b.fichier) return b.fichier;
    const Cle &premier = tri_->descendant ? b : a;
    const Cle &second = tri_->descendant ? a : b;
    const int ordre = premier.texte.compare(second.texte);
    return ordre != 0 ? ordre < 0 : premier.valeur < second.valeur;
  });
  std::vector<LigneListe> triees;
  triees.reserve(lignes_.size());
  for (const Cle &cle : cles) triees.push_back(std::move(lignes_[cle.rang]));
  lignes_ = std::move(triees);
}

int ModeleListe::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(lignes_.size());
}

int ModeleListe::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : kColonnes;
}

QString ModeleListe::texte(const LigneListe &ligne, int colonne) const {
  switch (colonne) {
    case kNom:
      return QString::fromStdString(ligne.nom);
    case kType:
      return ligne.dossier ? chaine_qt(kDossier) : vers_qt(commentaire_de_signature(ligne.signature));
    case kDonnees:
      return ligne.dossier ? QString("[%1]").arg(ligne.valence) : vers_qt(taille_liste(ligne.donnees));
    case kRessources:
      return ligne.dossier ? QString() : vers_qt(taille_liste(ligne.ressources));
    case kCreation:
      return date_liste(ligne.creation, dates_utc_);
    case kModification:
      return date_liste(ligne.modification, dates_utc_);
    default:
      if (ligne.signature.size() < 8) return {};
      return vers_qt(code_lisible(ligne.signature.data()) + code_lisible(ligne.signature.data() + 4));
  }
}

void ModeleListe::icones(const IconesListe &icones) {
  icones_ = icones;
  petites_ = {icones.dossier, icones.dossier, icones.fichier, icones.iso, icones.hfs, icones.aucune};
  extensions_.clear();
  signatures_.clear();
}

// The rows of the table that have an extension get their icon, all of them anew after a load.
void ModeleListe::complete_table() {
  auto &lignes = table_signatures().lignes;
  const bool complete = std::all_of(lignes.begin() + 1, lignes.end(), [](const EntreeSignature &ligne) {
    return ligne.texte_extension().empty() || ligne.icone >= 0;
  });
  if (complete && petites_.size() > kPetitesFixes) return;
  petites_.resize(kPetitesFixes);
  signatures_.clear();
  for (auto ligne = lignes.begin() + 1; ligne != lignes.end(); ++ligne) {
    if (ligne->texte_extension().empty()) continue;
    ligne->icone = static_cast<std::int32_t>(petites_.size());
    petites_.push_back(icone_extension("x." + vers_qt(ligne->texte_extension()).toLower(), icones_.fichier));
  }
}

QIcon ModeleListe::icone_de(const LigneListe &ligne) const {
  if (ligne.dossier) return icones_.dossier;
  if (genre_ == GenreIcones::signature) {
    const QByteArray cle = QByteArray::fromStdString(ligne.signature);
    auto connue = signatures_.constFind(cle);
    if (connue == signatures_.constEnd()) {
      const std::int32_t rang = icone_de_signature(ligne.signature);
      const bool trouvee = rang >= 0 && static_cast<std::size_t>(rang) < petites_.size();
      const std::size_t petite = trouvee ? static_cast<std::size_t>(rang) : kPetiteDefaut;
      connue = signatures_.insert(cle, petite < petites_.size() ? petites_[petite] : icones_.fichier);
    }
    return *connue;
  }
  if (genre_ == GenreIcones::extension) {
    const QString nom = QString::fromStdString(ligne.nom);
    const QString extension = nom.mid(nom.lastIndexOf('.') + 1).toLower();
    auto connue = extensions_.constFind(extension);
    if (connue == extensions_.constEnd())
      connue = extensions_.insert(extension, icone_extension("x." + extension, icones_.fichier));
    return *connue;
  }
  switch (ligne.presence) {
    case PresenceVues::iso:
      return icones_.iso;
    case PresenceVues::hfs:
      return icones_.hfs;
    case PresenceVues::aucune:
      return icones_.aucune;
    default:
      return icones_.fichier;
  }
}

QVariant ModeleListe::data(const QModelIndex &index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const LigneListe &ici = ligne(index.row());
  const bool a_droite = index.column() == kDonnees || index.column() == kRessources;
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return texte(ici, index.column());
    case Qt::DecorationRole:
      return index.column() == kNom ? QVariant(icone_de(ici)) : QVariant();
    case Qt::TextAlignmentRole:
      return static_cast<int>(Qt::AlignVCenter | (a_droite ? Qt::AlignRight : Qt::AlignLeft));
    default:
      return {};
  }
}

Qt::ItemFlags ModeleListe::flags(const QModelIndex &index) const {
  Qt::ItemFlags drapeaux = QAbstractTableModel::flags(index) | Qt::ItemIsDragEnabled;
  if (index.column() == kNom && renomme) drapeaux |= Qt::ItemIsEditable;
  return drapeaux;
}

bool ModeleListe::setData(const QModelIndex &index, const QVariant &valeur, int role) {
  if (!index.isValid() || role != Qt::EditRole || !renomme) return false;
  const QString nom = valeur.toString();
  if (nom == texte(ligne(index.row()), kNom)) return false;
  return renomme(ligne(index.row()).id, nom);
}

QVariant ModeleListe::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section >= kColonnes) return {};
  if (role == Qt::DisplayRole) {
    const QString legende = chaine_qt(kLegendes[static_cast<std::size_t>(section)]);
    return section == kDonnees || section == kRessources ? legende + kMarge : legende;
  }
  if (role == Qt::TextAlignmentRole)
    return static_cast<int>(Qt::AlignVCenter |
                            (section == kDonnees || section == kRessources ? Qt::AlignRight : Qt::AlignLeft));
  return {};
}

}  // namespace varnion
