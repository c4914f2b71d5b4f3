#pragma once

#include <optional>
#include <vector>

#include <QString>
#include <QStringList>
#include <QUrl>

// The pages of the help in one language: HTML files in the program. A heading with the id "t1101" is topic
// 1101; <title> and the keywords of a page make its rows of the index; the home page makes the contents.

namespace varnion {

struct TitreAide {
  int sujet = 0;  ///< 0 a heading without a topic
  QString texte;
};

struct PageAide {
  QString nom;  ///< file name
  QString titre;
  QStringList mots_cles;
  std::vector<TitreAide> titres;
  QString texte;  ///< without marks, for the search
};

/// A row of the contents or of the index, or a page found.
struct RenvoiAide {
  QString texte;
  QString adresse;  ///< "page.html" or "page.html#t1101"; "" a heading of the contents
  QString extrait;  ///< words around the first one found
};

class PagesAide {
 public:
  /// The pages of a language, read once.
  [[nodiscard]] static const PagesAide &de_langue(int base);

  [[nodiscard]] const std::vector<PageAide> &pages() const { return pages_; }
  [[nodiscard]] const PageAide *page(const QString &nom) const;
  [[nodiscard]] std::optional<QString> adresse(int sujet) const;
  [[nodiscard]] QUrl url(const QString &adresse) const { return QUrl("qrc" + dossier_ + adresse); }
  [[nodiscard]] const std::vector<RenvoiAide> &sommaire() const { return sommaire_; }
  [[nodiscard]] const std::vector<RenvoiAide> &index() const { return index_; }
  /// Pages that hold every word of `mots`, the best first; case and accents make no difference.
  [[nodiscard]] std::vector<RenvoiAide> cherche(const QString &mots) const;

 private:
  explicit PagesAide(const QString &dossier);
  void construit_sommaire(const QString &html);
  void construit_index();

  QString dossier_;
  std::vector<PageAide> pages_;
  std::vector<QString> repliees_;  ///< texts of the pages, as the search compares them
  std::vector<RenvoiAide> sommaire_;
  std::vector<RenvoiAide> index_;
};

}  // namespace varnion
