#include "projet/edition_signatures.hpp"

#include <algorithm>
#include <utility>

#include "IO/fichier.hpp"
#include "IO/fichier_voisin.hpp"
#include "IO/plateforme.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::size_t kLigneMax = 255;  // characters of a row read as one line
constexpr std::size_t kFichierMax = std::size_t{1} << 20;
constexpr std::string_view kMarqueSection = "#[1]";
constexpr std::string_view kFinDeLigne = "\r\n";
constexpr std::string_view kCreateurInconnu = "????";
constexpr int kTitrePage = 6173;
constexpr int kNumeroPage = 6174;

bool seconde_langue() {
  return base_langue() != kLangueAnglais;
}

/// Lines of a text with their ends, CR LF, CR or LF.
class Lignes {
 public:
  explicit Lignes(std::string_view texte) : reste_(texte) {}
  std::optional<std::string_view> suivante() {
    if (reste_.empty()) return std::nullopt;
    std::size_t fin = std::min(reste_.find_first_of(kFinDeLigne), reste_.size());
    fin += reste_.substr(fin).starts_with(kFinDeLigne) ? 2 : fin < reste_.size() ? 1 : 0;
    const std::string_view ligne = reste_.substr(0, fin);
    reste_.remove_prefix(fin);
    return ligne;
  }

 private:
  std::string_view reste_;
};

std::string_view sans_fin(std::string_view ligne) {
  return ligne.substr(0, std::min(ligne.find_first_of(kFinDeLigne), ligne.size()));
}

bool est_remarque(std::string_view ligne) {
  return ligne.starts_with('#') || sans_fin(ligne).empty();
}

/// A text as three parts: before the section, the section, behind it.
struct Parties {
  std::string_view avant, section, apres;
  bool marque = false;
};

// Without a mark the whole text is the section of either language.
Parties partage(std::string_view texte, bool seconde) {
  std::size_t position = 0;
  Lignes lignes(texte);
  while (const auto ligne = lignes.suivante()) {
    const std::size_t derriere = position + ligne->size();
    if (ligne->starts_with(kMarqueSection)) {
      if (seconde) return {texte.substr(0, derriere), texte.substr(derriere), {}, true};
      return {{}, texte.substr(0, position), texte.substr(position), true};
    }
    position = derriere;
  }
  return {{}, texte, {}, false};
}

LigneSignature lit_ligne(std::string_view ligne) {
  ligne = sans_blancs_debut(ligne);
  LigneSignature lue;
  const std::size_t virgule = ligne.find(',');
  if (virgule != std::string_view::npos) {
    lue.extension = ligne.substr(0, virgule);
    ligne.remove_prefix(virgule + 1);
  }
  lue.type = ligne.substr(0, kCodeSigMax);
  ligne.remove_prefix(lue.type.size());
  lue.createur = ligne.substr(0, kCodeSigMax);
  ligne.remove_prefix(lue.createur.size());
  const std::size_t separateur = ligne.find(',');
  if (separateur != std::string_view::npos) lue.commentaire = ligne.substr(separateur + 1);
  return lue;
}

/// Where the rows of a section begin and end.
struct BornesLignes {
  std::size_t debut = 0, fin = 0;
};

BornesLignes bornes(std::string_view section) {
  BornesLignes resultat;
  std::size_t position = 0;
  bool vue = false;
  Lignes lignes(section);
  while (const auto ligne = lignes.suivante()) {
    if (!est_remarque(*ligne)) {
      if (!std::exchange(vue, true)) resultat.debut = position;
      resultat.fin = position + ligne->size();
    }
    position += ligne->size();
  }
  // A section without rows gets them behind its remarks.
  if (!vue) resultat.debut = resultat.fin = section.size();
  return resultat;
}

std::string complete(std::string_view texte, std::size_t longueur) {
  std::string resultat(texte.substr(0, longueur));
  resultat.resize(longueur, ' ');
  return resultat;
}

// A row that would be read back as a remark gets a blank before it, which the reader drops. Codes that are
// too short to part what follows from the signature are filled up.
std::string ligne_ecrite(const LigneSignature &ligne) {
  std::string texte = ligne.extension.substr(0, kExtensionSigMax) + ",";
  if (texte.starts_with('#')) texte.insert(0, 1, ' ');
  const bool suite = !ligne.commentaire.empty();
  texte += ligne.createur.empty() && !suite ? ligne.type.substr(0, kCodeSigMax)
                                            : complete(ligne.type, kCodeSigMax);
  texte += suite ? complete(ligne.createur, kCodeSigMax) : ligne.createur.substr(0, kCodeSigMax);
  return texte + "," + ligne.commentaire + std::string(kFinDeLigne);
}

void ferme_ligne(std::string &texte) {
  if (!texte.empty() && !texte.ends_with('\n') && !texte.ends_with('\r')) texte += kFinDeLigne;
}

std::optional<std::string> lit_texte(const std::string &chemin) {
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  const std::int64_t taille = fichier ? fichier_taille(fichier) : -1;
  if (taille < 0 || static_cast<std::uint64_t>(taille) > kFichierMax) return std::nullopt;
  std::string texte(static_cast<std::size_t>(taille), '\0');
  const std::int64_t lus = fichier.lire_a({reinterpret_cast<std::uint8_t *>(texte.data()), texte.size()}, 0);
  if (lus != taille) return std::nullopt;
  return texte;
}

// The new text is whole on the disk before the old file gives up its name.
bool ecrit_texte(const std::string &chemin, std::string_view texte) {
  FichierVoisin fichier = FichierVoisin::commence(chemin);
  if (!fichier || !fichier_puts(texte, fichier.fichier())) return false;
  // A table that is itself a copy of before is replaced.
  return fichier.pose_en_gardant("BAK") || (errno == EINVAL && fichier.pose(Ecrasement::toujours));
}

const std::string &champ(const LigneSignature &ligne, int colonne) {
  switch (colonne) {
    case kColonneType:
      return ligne.type;
    case kColonneCreateur:
      return ligne.createur;
    case kColonneCommentaire:
      return ligne.commentaire;
    default:
      return ligne.extension;
  }
}

}  // namespace

std::vector<LigneSignature> lignes_de_section(std::string_view texte, bool seconde, bool *a_section) {
  const Parties parties = partage(texte, seconde);
  if (a_section != nullptr) *a_section = parties.marque;
  const BornesLignes b = bornes(parties.section);
  std::vector<LigneSignature> lues;
  std::string remarques;
  Lignes lignes(parties.section.substr(b.debut, b.fin - b.debut));
  while (const auto ligne = lignes.suivante()) {
    if (est_remarque(*ligne)) {
      remarques += *ligne;
      continue;
    }
    for (std::string_view reste = sans_fin(*ligne); !reste.empty();
         reste.remove_prefix(std::min(reste.size(), kLigneMax))) {
      lues.push_back(lit_ligne(reste.substr(0, kLigneMax)));
      lues.back().remarques = std::exchange(remarques, {});
    }
  }
  return lues;
}

std::string texte_avec_lignes(std::string_view ancien, std::span<const LigneSignature> lignes, bool seconde) {
  const Parties parties = partage(ancien, seconde);
  const BornesLignes b = bornes(parties.section);
  std::string texte(parties.avant);
  texte += parties.section.substr(0, b.debut);
  ferme_ligne(texte);
  for (const LigneSignature &ligne : lignes) {
    texte += ligne.remarques;
    ferme_ligne(texte);
    texte += ligne_ecrite(ligne);
  }
  texte += parties.section.substr(b.fin);
  return texte.append(parties.apres);
}

LigneSignature ligne_saisie(std::string_view extension, std::string_view type, std::string_view createur,
                            std::string_view commentaire) {
  const auto propre = [](std::string_view texte) {
    std::string resultat(texte);
    std::replace_if(
        resultat.begin(), resultat.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
    return resultat;
  };
  LigneSignature ligne;
  ligne.extension = propre(sans_blancs_debut(extension));
  std::erase(ligne.extension, ',');
  ligne.extension.resize(std::min(ligne.extension.size(), kExtensionSigMax));
  ligne.type = complete(propre(type), kCodeSigMax);
  ligne.createur = complete(createur.empty() ? std::string(kCreateurInconnu) : propre(createur), kCodeSigMax);
  ligne.commentaire = propre(commentaire.substr(0, kCommentaireSigMax));
  return ligne;
}

// --- file

bool EditionSignatures::charge(const std::string &chemin) {
  const auto texte = lit_texte(chemin);
  if (!texte) return false;
  nouveau();
  lignes_ = lignes_de_section(*texte, seconde_langue(), &a_section_);
  chemin_ = chemin;
  return true;
}

void EditionSignatures::nouveau() {
  chemin_.clear();
  lignes_.clear();
  modifie_ = a_section_ = descendant_ = false;
  colonne_ = -1;
}

bool EditionSignatures::enregistre(const std::string &chemin) {
  const bool existe = plateforme::existe(chemin);
  const auto ancien = existe ? lit_texte(chemin) : std::string();
  if (!ancien) return false;
  // Under another name, the remarks and the other section come from the file that was opened.
  const auto ouvert = chemin_.empty() || chemin_ == chemin ? ancien : lit_texte(chemin_);
  if (!ouvert) return false;
  if (!ecrit_texte(chemin, texte_avec_lignes(*ouvert, lignes_, seconde_langue()))) return false;
  chemin_ = chemin;
  modifie_ = false;
  enregistre_ = true;
  return true;
}

// --- rows

void EditionSignatures::remplace(std::size_t rang, LigneSignature ligne) {
  if (rang >= lignes_.size() || lignes_[rang] == ligne) return;
  if (ligne.remarques.empty()) ligne.remarques = std::move(lignes_[rang].remarques);
  lignes_[rang] = std::move(ligne);
  modifie_ = true;
}

void EditionSignatures::ajoute(LigneSignature ligne) {
  lignes_.push_back(std::move(ligne));
  modifie_ = true;
}

void EditionSignatures::supprime(std::span<const std::size_t> rangs) {
  std::vector<bool> partent(lignes_.size());
  for (const std::size_t rang : rangs)
    if (rang < partent.size()) partent[rang] = true;
  std::vector<LigneSignature> restent;
  restent.reserve(lignes_.size());
  for (std::size_t i = 0; i < lignes_.size(); ++i)
    if (!partent[i]) restent.push_back(std::move(lignes_[i]));
  modifie_ = modifie_ || restent.size() != lignes_.size();
  lignes_ = std::move(restent);
}

bool EditionSignatures::deplace(std::size_t rang, int sens) {
  if (rang >= lignes_.size() || (sens < 0 ? rang == 0 : rang + 1 == lignes_.size())) return false;
  std::swap(lignes_[rang], lignes_[sens < 0 ? rang - 1 : rang + 1]);
  return modifie_ = true;
}

void EditionSignatures::trie(int colonne) {
  descendant_ = colonne_ == colonne && !descendant_;
  colonne_ = colonne;
  modifie_ = true;
  std::vector<std::pair<std::string, LigneSignature>> cles;
  cles.reserve(lignes_.size());
  for (LigneSignature &ligne : lignes_) {
    std::string cle = plateforme::majuscules(champ(ligne, colonne));
    cles.emplace_back(std::move(cle), std::move(ligne));
  }
  std::stable_sort(cles.begin(), cles.end(), [this](const auto &a, const auto &b) {
    return descendant_ ? b.first < a.first : a.first < b.first;
  });
  std::transform(cles.begin(), cles.end(), lignes_.begin(), [](auto &cle) { return std::move(cle.second); });
}

// --- clipboard

std::string EditionSignatures::copie(std::span<const std::size_t> rangs) const {
  std::string texte;
  for (const std::size_t rang : rangs) {
    if (rang >= lignes_.size()) continue;
    for (int colonne = kColonneExtension; colonne <= kColonneCommentaire; ++colonne)
      texte.append(champ(lignes_[rang], colonne)).append(kFinDeLigne);
  }
  return texte;
}

std::size_t EditionSignatures::colle(std::string_view texte) {
  constexpr std::size_t kChamps = 4;
  const std::size_t avant = lignes_.size();
  std::vector<std::string> champs;
  for (std::size_t fin = texte.find(kFinDeLigne); fin != std::string_view::npos;
       fin = texte.find(kFinDeLigne)) {
    champs.emplace_back(texte.substr(0, fin));
    std::replace_if(
        champs.back().begin(), champs.back().end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
    texte.remove_prefix(fin + kFinDeLigne.size());
    if (champs.size() < kChamps) continue;
    std::erase(champs[kColonneExtension], ',');
    ajoute({champs[kColonneExtension], champs[kColonneType], champs[kColonneCreateur],
            champs[kColonneCommentaire]});
    champs.clear();
  }
  return lignes_.size() - avant;
}

// --- printing

std::vector<PageSignatures> pages_signatures(const EditionSignatures &edition, std::size_t par_page) {
  const std::string &chemin = edition.chemin();
  const std::string titre = message(kTitrePage, {chemin.substr(chemin.find_last_of("/\\") + 1)});
  std::span<const LigneSignature> reste(edition.lignes());
  par_page = std::max<std::size_t>(par_page, 1);
  std::vector<PageSignatures> pages;
  do {
    const auto lignes = reste.first(std::min(par_page, reste.size()));
    reste = reste.subspan(lignes.size());
    pages.push_back({titre, message(kNumeroPage, {pages.size() + 1}), lignes});
  } while (!reste.empty());
  return pages;
}

}  // namespace varnion
