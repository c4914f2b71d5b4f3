#include "app/qt/ttable_signatures.hpp"

#include <QAbstractButton>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/noyau/affichage.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "projet/signatures.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1245;
constexpr int kColonneExtension = 5321;  // and the three that follow: type, creator, comment
constexpr int kFiltre = 7100;
constexpr int kTableVide = 7101;
constexpr int kColonnesTable = 4;
constexpr int kSignatureLigne = Qt::UserRole;
constexpr int kHauteurLignes = 14;
constexpr int kLargeurCaracteres = 66;
constexpr int kLargeurMax = 700;  // pixels: longer comments scroll

QString code(std::string_view signature, std::size_t rang) {
  return vers_qt(code_lisible(signature.data() + rang));
}

void remplit(QTreeWidget &table, std::string_view initiale) {
  for (const EntreeSignature &ligne : table_signatures().lignes) {
    const std::string_view signature = ligne.texte_signature();
    if (signature.empty()) break;
    if (signature.size() < 8) continue;
    auto *rang = new QTreeWidgetItem(&table, {vers_qt(ligne.texte_extension()), code(signature, 0),
                                              code(signature, 4), vers_qt(ligne.texte_commentaire())});
    rang->setData(0, kSignatureLigne, QByteArray(signature.data(), 8));
    if (signature == initiale && table.currentItem() == nullptr) table.setCurrentItem(rang);
  }
}

// Rows in which no column holds the text are out of sight; a row that leaves is no longer the chosen one.
void filtre(QTreeWidget &table, const QString &texte) {
  for (int rang = 0; rang < table.topLevelItemCount(); ++rang) {
    QTreeWidgetItem *ligne = table.topLevelItem(rang);
    bool garde = texte.isEmpty();
    for (int colonne = 0; colonne < kColonnesTable; ++colonne)
      garde = garde || ligne->text(colonne).contains(texte, Qt::CaseInsensitive);
    ligne->setHidden(!garde);
    if (!garde && ligne->isSelected()) ligne->setSelected(false);
  }
}

QTreeWidget *construit_table(std::string_view initiale) {
  auto *table = new QTreeWidget;
  table->setObjectName("Table");
  table->setAccessibleName(chaine_qt(kTitre));
  table->setColumnCount(kColonnesTable);
  QStringList titres;
  for (int colonne = 0; colonne < kColonnesTable; ++colonne) titres << chaine_qt(kColonneExtension + colonne);
  table->setHeaderLabels(titres);
  table->setRootIsDecorated(false);
  table->setAllColumnsShowFocus(true);
  table->setUniformRowHeights(true);
  remplit(*table, initiale);
  table->header()->setSortIndicator(-1, Qt::AscendingOrder);
  table->setSortingEnabled(true);
  for (int colonne = 0; colonne < kColonnesTable; ++colonne) table->resizeColumnToContents(colonne);
  const QFontMetrics mesure = table->fontMetrics();
  const int colonnes = table->header()->length() + mesure.height() * 2;  // with the scroll bar
  table->setMinimumSize(qMax(mesure.averageCharWidth() * kLargeurCaracteres, qMin(colonnes, kLargeurMax)),
                        mesure.height() * kHauteurLignes);
  if (table->currentItem() != nullptr) table->scrollToItem(table->currentItem());
  return table;
}

}  // namespace

std::optional<std::string> choisit_signature(QWidget *parent, std::string_view initiale) {
  Forme forme(parent, "TTableSignatures", kTitre, sujet::kTableSignatures);
  auto *table = construit_table(initiale);
  auto *champ = new QLineEdit;
  champ->setObjectName("Filtre");
  champ->setPlaceholderText(chaine_qt(kFiltre));
  champ->setAccessibleName(chaine_qt(kFiltre));
  champ->setClearButtonEnabled(true);
  forme.corps()->addWidget(champ);
  forme.corps()->addWidget(table, 1);
  // Row 0 is always there once a file was read; alone it means that the file gave nothing.
  if (table->topLevelItemCount() <= 1) {
    auto *vide = new QLabel(chaine_qt(kTableVide));
    vide->setObjectName("texte");
    forme.corps()->addWidget(vide);
  }
  forme.boutons();
  const auto choix = [table] {
    const auto choisis = table->selectedItems();
    return choisis.isEmpty() ? nullptr : choisis.first();
  };
  const auto suit = [&forme, choix] { forme.bouton_accepter()->setEnabled(choix() != nullptr); };
  QObject::connect(table, &QTreeWidget::itemSelectionChanged, &forme, suit);
  QObject::connect(table, &QTreeWidget::itemDoubleClicked, &forme, &QDialog::accept);
  QObject::connect(champ, &QLineEdit::textChanged, table,
                   [table](const QString &texte) { filtre(*table, texte); });
  suit();
  table->setFocus();
  if (forme.exec() != QDialog::Accepted || choix() == nullptr) return std::nullopt;
  return choix()->data(0, kSignatureLigne).toByteArray().toStdString();
}

}  // namespace varnion
