#include "app/qt/modele_signatures.hpp"

#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kColonnesSignature = 4;
constexpr int kLegendes = 5321;  // extension, type, creator, comment

}  // namespace

const std::string &champ_signature(const LigneSignature &ligne, int colonne) {
  switch (colonne) {
    case kColonneExtension:
      return ligne.extension;
    case kColonneType:
      return ligne.type;
    case kColonneCreateur:
      return ligne.createur;
    default:
      return ligne.commentaire;
  }
}

int ModeleSignatures::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(edition_.lignes().size());
}

int ModeleSignatures::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : kColonnesSignature;
}

QVariant ModeleSignatures::data(const QModelIndex &index, int role) const {
  if (!index.isValid() || role != Qt::DisplayRole) return {};
  return vers_qt(champ_signature(edition_.lignes()[static_cast<std::size_t>(index.row())], index.column()));
}

QVariant ModeleSignatures::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return chaine_qt(kLegendes + section);
}

}  // namespace varnion
