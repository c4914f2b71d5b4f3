#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// A .sig file being edited: the rows of the section of the running language. What the editor does not show,
// remarks and the other section, stays in the file; the other section byte for byte.

namespace varnion {

constexpr std::size_t kExtensionSigMax = 4;
constexpr std::size_t kCodeSigMax = 4;
constexpr std::size_t kCommentaireSigMax = 64;  ///< limit of the item dialog; a longer one in a file is kept

/// A row, in working text. What the file has beyond the limits is kept until it is saved.
struct LigneSignature {
  std::string extension;  ///< "" for a line without comma or that begins with one
  std::string type, createur;
  std::string commentaire;
  std::string remarques = {};  ///< lines of remarks and blank lines between the row above and this one

  bool operator==(const LigneSignature &) const = default;
};

/// The row of a line as the item dialog leaves it: a type or creator of fewer than four characters is filled
/// with blanks, an empty creator is "????", and everything is cut at its limit.
[[nodiscard]] LigneSignature ligne_saisie(std::string_view extension, std::string_view type,
                                          std::string_view createur, std::string_view commentaire);

enum ColonneSignature : int { kColonneExtension, kColonneType, kColonneCreateur, kColonneCommentaire };

/// State of the editor.
class EditionSignatures {
 public:
  // --- file

  /// The rows of a file; false, with all as it was, when it cannot be read.
  [[nodiscard]] bool charge(const std::string &chemin);
  /// Empty, without a file.
  void nouveau();
  /// Saves under a path; false when nothing could be saved: the file is then as it was. One that is there
  /// stays beside it with the extension "BAK", in the place of an older one.
  [[nodiscard]] bool enregistre(const std::string &chemin);
  [[nodiscard]] bool enregistre() { return !chemin_.empty() && enregistre(chemin_); }

  [[nodiscard]] const std::string &chemin() const { return chemin_; }  ///< "" for a new file
  [[nodiscard]] bool modifie() const { return modifie_; }
  /// Something was saved since the editor was opened: the table is to be loaded anew.
  [[nodiscard]] bool enregistre_une_fois() const { return enregistre_; }
  [[nodiscard]] bool a_section() const { return a_section_; }  ///< the file has a mark "#[1]"

  // --- rows

  [[nodiscard]] const std::vector<LigneSignature> &lignes() const { return lignes_; }
  void remplace(std::size_t rang, LigneSignature ligne);
  void ajoute(LigneSignature ligne);
  /// Takes rows out; ranks beyond the end do not count.
  void supprime(std::span<const std::size_t> rangs);
  /// Swaps a row with the one above (`sens` < 0) or below; false, for a beep, at either end.
  bool deplace(std::size_t rang, int sens);
  /// A click on the head of a column: sorts by it, case ignored, equal rows keeping their order; the next
  /// click on the same column turns the sense round.
  void trie(int colonne);
  [[nodiscard]] int colonne_triee() const { return colonne_; }  ///< -1 for none
  [[nodiscard]] bool tri_descendant() const { return descendant_; }

  // --- clipboard

  /// Rows as plain text: the four fields, each a line that ends in CR LF.
  [[nodiscard]] std::string copie(std::span<const std::size_t> rangs) const;
  /// Adds the rows of such a text at the end: how many. A text without CR LF has none, and what is left of a
  /// row that is not whole is not one.
  std::size_t colle(std::string_view texte);

 private:
  std::string chemin_;
  std::vector<LigneSignature> lignes_;
  bool modifie_ = false, enregistre_ = false, a_section_ = false;
  int colonne_ = -1;
  bool descendant_ = false;
};

/// The rows of one section of a text. `a_section`, when given, tells whether there is a mark "#[1]".
[[nodiscard]] std::vector<LigneSignature> lignes_de_section(std::string_view texte, bool seconde_langue,
                                                            bool *a_section = nullptr);
/// The text of a file with the rows of one section replaced. What stands before its first row and behind its
/// last stays, and so does every byte of the other one.
[[nodiscard]] std::string texte_avec_lignes(std::string_view ancien, std::span<const LigneSignature> lignes,
                                            bool seconde_langue);

/// Pages of the printed list: title with the file's name and page number, then `par_page` rows.
struct PageSignatures {
  std::string titre;  ///< "SignEdit (name)"
  std::string page;   ///< "Page 1"
  std::span<const LigneSignature> lignes;
};
[[nodiscard]] std::vector<PageSignatures> pages_signatures(const EditionSignatures &edition,
                                                           std::size_t par_page);

}  // namespace varnion
