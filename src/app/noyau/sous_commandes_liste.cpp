// "project ls" and "project info": nothing is changed.

#include <algorithm>
#include <unordered_set>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/affichage.hpp"
#include "app/noyau/json.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/plateforme.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kIntrouvable = 6541;
constexpr int kVueUnique = 6557;
constexpr int kInfoProjet = 6570;  // and the lines that follow

std::string format_de(const FichierProjet &projet) {
  if (projet.mode() == ModeProjet::isop) return "ISO+";
  return projet.hfsplus() ? "HFS+" : "HFS";
}

const char *nom_codage(const RubriqueProjet &r) {
  switch (r.codage()) {
    case Codage::ntfs:
      return "streams";
    case Codage::apple:
      return r.est_applesingle() ? "applesingle" : "appledouble";
    case Codage::macbinary:
      return "macbinary";
    case Codage::binhex:
      return "binhex";
    default:
      return "none";
  }
}

struct ElementListe {
  std::string chemin;
  RubriqueProjet rubrique;
};

std::string ligne_json(const ElementListe &e, bool hfsplus) {
  const RubriqueProjet &r = e.rubrique;
  ObjetJson noms;
  noms.texte("source", lit_champ(r.nom_source)).texte("iso", nom_dans_vue(r, kVueIso, hfsplus));
  noms.texte("hfs", nom_dans_vue(r, kVueHfs, hfsplus));
  ObjetJson objet;
  objet.texte("path", e.chemin).texte("kind", r.est_dossier() ? "folder" : "file");
  objet.nombre("number", r.numero_signe()).objet("names", noms);
  objet.objet("views", ObjetJson().vrai("iso", r.dans_iso()).vrai("hfs", r.dans_hfs()));
  objet.objet("hidden", ObjetJson().vrai("iso", r.cache_iso() != 0).vrai("hfs", r.cache_hfs() != 0));
  objet.vrai("hidden_extension", r.extension_cachee()).vrai("custom_icon", r.icone_perso());
  objet.vrai("missing", r.manquant());
  if (r.est_dossier()) {
    objet.nombre("folders", r.lg_data.operator unsigned()).nombre("files", r.lg_rsrc.operator unsigned());
  } else {
    objet.texte("coding", nom_codage(r)).nombre("data_length", r.lg_data.operator unsigned());
    objet.nombre("resource_length", r.lg_rsrc.operator unsigned());
    objet.nombre("source_length", r.lg_source.operator unsigned());
    objet.texte("type", code_lisible(r.signature.data()))
        .texte("creator", code_lisible(r.signature.data() + 4));
  }
  objet.texte_ou_nul("created", date_iso(r.date_creation)).texte_ou_nul("modified", date_iso(r.date_modif));
  objet.texte_ou_nul("source", r.est_virtuel() ? std::nullopt : std::optional(chemin_source(r)));
  return objet.fini();
}

// "f IH h  1234  56 TEXTttxt A/B (iso: X, hfs: Y)"
std::string ligne_texte(const ElementListe &e, int vue, bool hfsplus) {
  const RubriqueProjet &r = e.rubrique;
  const bool cache = r.cache_iso() != 0 || r.cache_hfs() != 0;
  std::string ligne = r.est_dossier() ? "d " : "f ";
  ligne += r.dans_iso() ? 'I' : '-';
  ligne += r.dans_hfs() ? 'H' : '-';
  ligne += cache ? 'h' : '-';
  ligne += r.manquant() ? '!' : '-';
  if (r.est_dossier())
    ligne += formate("%11s %10s %-8s ", {"", "", ""});
  else
    ligne += formate("%11u %10u %-4s%-4s ",
                     {r.lg_data.operator unsigned(), r.lg_rsrc.operator unsigned(),
                      code_lisible(r.signature.data()), code_lisible(r.signature.data() + 4)});
  ligne += e.chemin + (r.est_dossier() ? "/" : "");
  if (vue == kVueRacine) {
    const std::string source = lit_champ(r.nom_source);
    const std::string iso = r.dans_iso() ? nom_dans_vue(r, kVueIso, hfsplus) : source;
    const std::string hfs = r.dans_hfs() ? nom_dans_vue(r, kVueHfs, hfsplus) : source;
    if (iso != source) ligne += " (iso: " + iso + ")";
    if (hfs != source) ligne += " (hfs: " + hfs + ")";
  }
  return texte_montrable(ligne);
}

// Gives the items below a folder in the order of the tree, each folder before its content and only once.
class Parcours {
 public:
  Parcours(const FichierProjet &projet, int vue, bool recursif)
      : projet_(projet), vue_(vue), recursif_(recursif) {}

  void commence(const RubriqueProjet &dossier, const std::string &chemin) {
    if (dossier.est_dossier())
      empile(dossier.numero, chemin);
    else
      pile_.push_back({chemin, dossier});
  }
  std::optional<ElementListe> suivant() {
    if (pile_.empty()) return std::nullopt;
    ElementListe element = std::move(pile_.back());
    pile_.pop_back();
    if (recursif_ && element.rubrique.est_dossier()) empile(element.rubrique.numero, element.chemin);
    return element;
  }

 private:
  void empile(std::uint32_t dossier, const std::string &chemin) {
    if (!vus_.insert(dossier).second) return;
    const std::size_t base = pile_.size();
    const std::string devant = chemin.empty() ? chemin : chemin + "/";
    LecteurEnfants enfants(projet_, dossier);
    while (const RubriqueProjet *enfant = enfants.suivant()) {
      if (!enfant->dans_vue(vue_)) continue;
      pile_.push_back({devant + nom_dans_vue(*enfant, vue_, projet_.hfsplus()), *enfant});
    }
    std::reverse(pile_.begin() + static_cast<std::ptrdiff_t>(base), pile_.end());
  }

  const FichierProjet &projet_;
  int vue_;
  bool recursif_;
  std::vector<ElementListe> pile_;
  std::unordered_set<std::uint32_t> vus_;
};

struct Comptes {
  std::uint64_t fichiers[3]{}, dossiers[3]{};  // by view
  std::uint64_t secteurs = 0;
};

// Counted without the side effect that a save has on a project with too many items.
Comptes compte(const FichierProjet &projet) {
  Comptes c;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *r = tout.suivant()) {
    c.secteurs += secteurs_rubrique(*r);
    for (const int vue : {int{kVueIso}, int{kVueRacine}, int{kVueHfs}})
      if (r->dans_vue(vue)) ++(r->est_dossier() ? c.dossiers : c.fichiers)[vue];
  }
  return c;
}

std::optional<FichierProjet> projet_de(ContexteCli &contexte) {
  const auto chemin = chemin_argument(contexte.arguments.positions[0]);
  return chemin ? consulte_projet(*chemin) : std::nullopt;
}

}  // namespace

int commande_projet_ls(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const auto projet = projet_de(contexte);
  if (!projet) return kEchec;
  const bool isop = projet->mode() == ModeProjet::isop;
  if (isop && arguments.valeur("view", "iso") != "iso") {
    operations().afficher_erreur(charger_chaine(kVueUnique));
    return kEchec;
  }
  const int vue = isop ? int{kVueIso} : vue_nommee(arguments.valeur("view", "both"));
  std::string base =
      arguments.positions.size() > 1 ? plateforme::utf8_vers_texte(arguments.positions[1]) : "";
  const auto trouve = trouve_element(*projet, base, vue);
  if (!trouve) {
    operations().afficher_erreur(message(kIntrouvable, {base}));
    return kEchec;
  }
  while (base.ends_with('/')) base.pop_back();
  while (base.starts_with('/')) base.erase(0, 1);
  Parcours parcours(*projet, vue, arguments.a("recursive"));
  parcours.commence(trouve->rubrique, base);
  const bool json = arguments.a("json");
  const char *separateur = "[\n  ";
  while (const auto element = parcours.suivant()) {
    if (json)
      contexte.sortie << separateur << ligne_json(*element, projet->hfsplus());
    else
      contexte.sortie << ligne_texte(*element, vue, projet->hfsplus()) << "\n";
    separateur = ",\n  ";
    if (contexte.console.arret_demande() || !contexte.sortie) return kEchec;
  }
  if (json) contexte.sortie << (separateur[0] == '[' ? "[]\n" : "\n]\n");
  return kFait;
}

int commande_projet_info(ContexteCli &contexte) {
  const auto projet = projet_de(contexte);
  EnteteProjet entete;
  if (!projet || !projet->lit_entete(entete)) return kEchec;
  const Comptes c = compte(*projet);
  const bool isop = projet->mode() == ModeProjet::isop;
  const std::string label_iso = lit_champ(entete.label_iso);
  const std::string brut = lit_champ(entete.label_hfs);
  const std::string label_hfs = projet->hfsplus() ? brut : nom_windows(brut);
  if (contexte.arguments.a("json")) {
    const auto vue = [&c](int une) {
      return ObjetJson().nombre("folders", c.dossiers[une]).nombre("files", c.fichiers[une]);
    };
    ObjetJson objet;
    objet.texte("path", projet->chemin()).texte("format", format_de(*projet));
    objet.objet("labels", ObjetJson()
                              .texte("iso", label_iso)
                              .texte_ou_nul("hfs", isop ? std::nullopt : std::optional(label_hfs)));
    objet.nombre("folders", c.dossiers[kVueRacine]).nombre("files", c.fichiers[kVueRacine]);
    objet.objet("iso", vue(kVueIso)).objet("hfs", vue(kVueHfs)).nombre("sectors", c.secteurs);
    objet.nombre("bytes", c.secteurs * kSecteurProjet).vrai("open_root", entete.ouvrir_racine());
    objet.vrai("rebuild", entete.reconstruire()).vrai("custom_icon", entete.icone_volume());
    contexte.sortie << objet.fini() << "\n";
    return kFait;
  }
  const auto ligne = [&](int rang, std::initializer_list<Argument> valeurs) {
    contexte.sortie << texte_montrable(message(kInfoProjet + rang, valeurs)) << "\n";
  };
  ligne(0, {projet->chemin()});
  ligne(1, {format_de(*projet)});
  ligne(2, {label_iso});
  if (!isop) ligne(3, {label_hfs});
  ligne(4, {c.dossiers[kVueRacine], c.dossiers[kVueIso], c.dossiers[kVueHfs]});
  ligne(5, {c.fichiers[kVueRacine], c.fichiers[kVueIso], c.fichiers[kVueHfs]});
  ligne(6, {taille_lisible(c.secteurs * kSecteurProjet), c.secteurs});
  return kFait;
}

}  // namespace varnion
