// The table of signatures: loading, and replacing over a project.

#include "projet/signatures.hpp"

#include <algorithm>

#include "IO/etat.hpp"
#include "IO/fichier.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/texte.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::size_t kLigneMax = 99;                      // characters read as one line
constexpr std::size_t kFichierMax = std::size_t{1} << 20;  // far beyond 127 rows and their remarks
constexpr std::size_t kIconesDuProgramme = 6;
constexpr std::string_view kMarqueSection = "#[1]";
constexpr std::string_view kExtensionGenerique = "___";
constexpr std::string_view kCommentaireGenerique = "---";

/// Lines of a text, without their ends, at most `kLigneMax` characters each: a longer line reads as several.
class Lignes {
 public:
  explicit Lignes(std::string_view texte) : reste_(texte) {}
  std::optional<std::string_view> suivante() {
    if (reste_.empty()) return std::nullopt;
    const std::size_t fin = std::min(reste_.find_first_of("\r\n"), reste_.size());
    const std::size_t longueur = std::min(fin, kLigneMax);
    const std::string_view ligne = reste_.substr(0, longueur);
    reste_.remove_prefix(longueur);
    if (longueur == fin) passe_fin();
    return ligne;
  }

 private:
  // CR LF ends one line, so does either alone.
  void passe_fin() {
    if (reste_.starts_with("\r\n"))
      reste_.remove_prefix(2);
    else if (!reste_.empty())
      reste_.remove_prefix(1);
  }
  std::string_view reste_;
};

void lit_ligne(std::string_view ligne, EntreeSignature &entree) {
  ligne = sans_blancs_debut(ligne);
  entree = {};
  const std::size_t virgule = ligne.find(',');
  if (virgule != std::string_view::npos) {
    // A lone blank matches no file name and keeps the walks by extension going.
    ecrit_champ_coupe(entree.extension, virgule == 0 ? " " : ligne.substr(0, virgule));
    ligne.remove_prefix(virgule + 1);
  }
  ecrit_champ_coupe(entree.signature, ligne);
  ligne.remove_prefix(std::min<std::size_t>(ligne.size(), 8));
  const std::size_t separateur = ligne.find(',');
  if (separateur != std::string_view::npos)
    ecrit_champ_coupe(entree.commentaire, ligne.substr(separateur + 1));
}

// The text behind the section mark; the whole text where there is none.
std::string_view seconde_section(std::string_view texte) {
  for (std::size_t debut = 0; debut < texte.size();) {
    const std::string_view reste = texte.substr(debut);
    const std::size_t fin = std::min(reste.find_first_of("\r\n"), reste.size());
    if (reste.starts_with(kMarqueSection)) return reste.substr(fin);
    debut += fin + 1;
  }
  return texte;
}

std::optional<std::string> lit_texte(std::string_view chemin) {
  if (chemin.empty()) return std::nullopt;
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  const std::int64_t taille = fichier ? fichier_taille(fichier) : -1;
  if (taille < 0) return std::nullopt;
  std::string texte(std::min(static_cast<std::size_t>(taille), kFichierMax), '\0');
  const std::int64_t lus = fichier.lire_a({reinterpret_cast<std::uint8_t *>(texte.data()), texte.size()}, 0);
  if (lus < 0) return std::nullopt;
  texte.resize(static_cast<std::size_t>(lus));
  return texte;
}

std::string joint(std::string dossier, std::string_view nom) {
  if (!dossier.empty() && !dossier.ends_with('/') && !dossier.ends_with('\\')) dossier += '/';
  return dossier.append(nom);
}

std::vector<std::string> noms_sig(const std::string &dossier) {
  std::vector<std::string> noms;
  const auto entrees = plateforme::liste_dossier(dossier.empty() ? "." : dossier);
  if (!entrees) return noms;
  for (const auto &entree : *entrees)
    if (!entree.est_dossier() && plateforme::majuscules(entree.nom_long).ends_with(".SIG"))
      noms.push_back(entree.nom_long);
  return noms;
}

// The selection step: path of the chosen file, "" for none.
std::string selection(const SourceSignatures &source) {
  const std::vector<std::string> noms = noms_sig(source.dossier_courant);
  if (noms.empty()) return {};
  std::size_t choix = 0;
  if (noms.size() > 1) {
    const auto dit = source.choisit ? source.choisit(charger_chaine(1312), noms) : std::nullopt;
    if (!dit || *dit >= noms.size()) return {};
    choix = *dit;
  }
  std::string chemin = joint(source.dossier_programme, noms[choix]);
  if (source.memorise) source.memorise(chemin);
  return chemin;
}

void demande_icones(const SourceSignatures &source, TableSignatures &table) {
  if (source.retient_icones) source.retient_icones(kIconesDuProgramme);
  if (!source.icone_pour) return;
  for (EntreeSignature &ligne : table.lignes)
    if (!ligne.texte_extension().empty())
      ligne.icone = source.icone_pour("." + std::string(ligne.texte_extension()));
}

// Four characters of a type or creator, as the records hold them.
void pose_code(std::string_view texte, std::span<char> code) {
  for (std::size_t i = 0; i < code.size(); ++i) {
    const char c = i < texte.size() ? texte[i] : ' ';
    const auto octet = static_cast<std::uint8_t>(c);
    code[i] = octet < 0x80 ? c : static_cast<char>(windows_vers_mac[octet]);
  }
}

}  // namespace

TableSignatures &table_signatures() {
  return etat<TableSignatures>();
}

void lit_signatures(std::string_view texte, bool seconde_langue, TableSignatures &table) {
  table.lignes.fill({});
  table.chargee = true;
  EntreeSignature &generique = table.lignes[0];
  ecrit_champ_coupe(generique.extension, kExtensionGenerique);
  ecrit_champ_coupe(generique.signature, kSignatureGenerique);
  ecrit_champ_coupe(generique.commentaire, kCommentaireGenerique);
  // In the first language the mark is a remark like any other: the rows of the second section follow those of
  // the first and answer for what it lacks.
  Lignes lignes(seconde_langue ? seconde_section(texte) : texte);
  std::size_t rang = 1;
  while (rang < kLignesSignatures) {
    const auto ligne = lignes.suivante();
    if (!ligne) break;
    if (!ligne->empty() && ligne->front() != '#') lit_ligne(*ligne, table.lignes[rang++]);
  }
}

bool charge_signatures(const SourceSignatures &source) {
  std::string chemin = source.chemin;
  std::optional<std::string> texte = lit_texte(chemin);
  if (!texte) texte = lit_texte(chemin = selection(source));
  if (!texte) return false;
  TableSignatures &table = table_signatures();
  lit_signatures(*texte, base_langue() != kLangueAnglais, table);
  table.chemin = plateforme::chemin_absolu(chemin);
  demande_icones(source, table);
  return true;
}

bool charge_signatures(std::string_view chemin) {
  const std::optional<std::string> texte = lit_texte(chemin);
  if (!texte) return false;
  lit_signatures(*texte, base_langue() != kLangueAnglais, table_signatures());
  table_signatures().chemin = plateforme::chemin_absolu(chemin);
  return true;
}

DemandeSignatures demande_signatures(std::string_view ancien_type, std::string_view ancien_createur,
                                     std::string_view nouveau_type, std::string_view nouveau_createur) {
  DemandeSignatures demande;
  pose_code(ancien_type, std::span(demande.ancienne).first(4));
  pose_code(ancien_createur, std::span(demande.ancienne).last(4));
  pose_code(nouveau_type, std::span(demande.nouvelle).first(4));
  pose_code(nouveau_createur, std::span(demande.nouvelle).last(4));
  return demande;
}

std::int64_t remplace_signatures(FichierProjet &projet, const DemandeSignatures &demande) {
  std::int64_t nombre = 0;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *lue = tout.suivant()) {
    if (lue->signature != demande.ancienne) continue;
    RubriqueProjet rubrique = *lue;
    rubrique.signature = demande.nouvelle;
    if (!tout.reecrit(projet, rubrique)) {
      echec_ecriture_projet(projet.chemin());
      return -1;
    }
    ++nombre;
  }
  if (projet.vide()) return nombre;
  echec_ecriture_projet(projet.chemin());
  return -1;
}

std::int64_t remplace_signatures_annonce(FichierProjet &projet, const DemandeSignatures &demande) {
  const std::int64_t nombre = remplace_signatures(projet, demande);
  if (nombre < 0) return nombre;
  const std::string ancienne = nom_windows({demande.ancienne.data(), demande.ancienne.size()});
  operations().afficher_avis(nombre == 0 ? message(1429, {ancienne}) : message(1428, {ancienne, nombre}));
  return nombre;
}

}  // namespace varnion
