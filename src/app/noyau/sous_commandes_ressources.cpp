// Resources and containers: rsrc, alias, convert.

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <limits>
#include <memory>

#include "app/noyau/actions_copie.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_volume.hpp"
#include "app/noyau/affichage.hpp"
#include "app/noyau/json.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "fichiers/applesimple.hpp"
#include "fichiers/element.hpp"
#include "fichiers/ressources.hpp"
#include "finder/alias.hpp"
#include "finder/export_ressource.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/liens.hpp"
#include "hfs/texte_mac.hpp"
#include "IO/lignes_carte.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kSansRessources = 6910;  // file
constexpr int kSansRessource = 6911;   // type and id, file
constexpr int kFormeRessource = 6912;  // what was typed
constexpr int kAliasIllisible = 1194;
constexpr int kSansAlias = 6913;       // file
constexpr int kAlias = 6914;           // and the lines that follow
constexpr int kConteneurAbime = 6920;  // file
constexpr int kSansCible = 6877;
constexpr int kSansSortie = 6921;
constexpr int kEstDossier = 6862;
constexpr int kDossierAbime = 6866;
constexpr int kArrete = 6869;
constexpr int kAliasDeVolume = 6177;  // path
constexpr std::size_t kCheminMessage = 200;

std::string texte(std::string_view utf8) {
  return plateforme::utf8_vers_texte(utf8);
}

/// Where the resources, or the alias, of a command come from.
struct Source {
  std::string nom;  ///< UTF-8, for messages
  ElementFichier element;
  GenreConteneur genre = GenreConteneur::fichier;
};

// The file of an image when two words are given, else a file of the PC, container or not.
std::optional<Source> source(const Arguments &arguments) {
  const std::string &nom = arguments.positions.back();
  if (arguments.positions.size() > 1) {
    const auto element = trouve_mac(nom);
    if (!element) return std::nullopt;
    if (element->dossier) {
      operations().afficher_erreur(message(kEstDossier, {texte(nom)}));
      return std::nullopt;
    }
    return Source{nom, element_de_volume(sans_lien(*element)), GenreConteneur::macbinaire};
  }
  const auto chemin = chemin_argument(nom);
  if (!chemin) return std::nullopt;
  auto conteneur = ouvre_conteneur(*chemin);
  if (!conteneur) {
    erreur_fichier(*chemin, errno);
    return std::nullopt;
  }
  if (!conteneur->intact) operations().afficher_avis(message(kConteneurAbime, {texte(nom)}));
  return Source{nom, std::move(conteneur->element), conteneur->genre};
}

// True for the companion of an AppleDouble pair.
bool est_compagnon_ouvert(const Fichier &fichier) {
  std::array<std::uint8_t, sizeof(be32)> debut{};
  return fichier.lire_a(debut, 0) == static_cast<std::int64_t>(debut.size()) &&
         *vue<be32>(debut, 0) == kMagieAppleDouble;
}

// The resource fork as a file to seek in: that of the container, or a plain file that is one, or the one in
// a companion given by itself.
Fichier fourche_ressources(const Source &source) {
  if (source.genre != GenreConteneur::fichier) return fourche_en_fichier(source.element.rsrc);
  Fichier fichier = fourche_en_fichier(source.element.data);
  if (!fichier || !est_compagnon_ouvert(fichier)) return fichier;
  const PlageFourche plage = taille_entree_apple(fichier);
  auto partage = std::make_shared<const Fichier>(std::move(fichier));
  return fourche_en_fichier(fourche_de_fichier(partage, plage));
}

// "TYPE:ID"; a type may be shorter than four characters.
struct Designation {
  std::string type;
  std::int16_t id = 0;
};
std::optional<Designation> designation(const std::string &utf8) {
  const std::size_t place = utf8.rfind(':');
  if (place == std::string::npos) return std::nullopt;
  const auto type =
      utf8_vers_mac(plateforme::large_vers_utf8(plateforme::utf8_vers_large(utf8.substr(0, place))));
  Designation resultat;
  const char *fin = utf8.data() + utf8.size();
  const auto lu = std::from_chars(utf8.data() + place + 1, fin, resultat.id);
  if (!type || type->empty() || type->size() > 4 || lu.ec != std::errc() || lu.ptr != fin)
    return std::nullopt;
  resultat.type = *type;
  resultat.type.resize(4, ' ');
  return resultat;
}

void liste_ressources(ContexteCli &contexte, const std::vector<RessourceMac> &ressources) {
  const bool json = contexte.arguments.a("json");
  const char *separateur = "[\n  ";
  for (const RessourceMac &r : ressources) {
    if (json) {
      ObjetJson objet;
      objet.utf8("type", mac_vers_utf8(r.type)).nombre("id", r.id).utf8("name", mac_vers_utf8(r.nom));
      objet.nombre("attributes", unsigned{r.attributs})
          .nombre("length", r.longueur)
          .vrai("whole", r.presente);
      contexte.sortie << separateur << objet.fini();
    } else {
      contexte.sortie << montrable(mac_vers_utf8(r.type))
                      << formate(" %6d %10u %02X", {r.id, r.longueur, r.attributs})
                      << (r.presente ? " " : "!") << montrable(mac_vers_utf8(r.nom)) << "\n";
    }
    separateur = ",\n  ";
  }
  if (json) contexte.sortie << (separateur[0] == '[' ? "[]\n" : "\n]\n");
}

int extrait(ContexteCli &contexte, const Source &source, const Fichier &fourche,
            const std::vector<RessourceMac> &ressources) {
  const Arguments &arguments = contexte.arguments;
  const std::string voulu = arguments.valeur("extract");
  const auto cherche = designation(voulu);
  if (!cherche || !arguments.a("output")) {
    operations().afficher_erreur(cherche ? charger_chaine(kSansSortie)
                                         : message(kFormeRessource, {texte(voulu)}));
    return kUsage;
  }
  for (const RessourceMac &r : ressources) {
    if (r.type != cherche->type || r.id != cherche->id) continue;
    const auto chemin = chemin_argument(arguments.valeur("output"));
    if (!chemin || !cible_libre(*chemin, arguments.a("force"))) return kEchec;
    const std::string utf8 = arguments.valeur("output");
    const std::size_t barre = utf8.rfind('/');
    const std::string dossier = barre == std::string::npos ? "." : utf8.substr(0, barre + 1);
    const auto chemin_dossier = chemin_argument(dossier);
    const auto cible = chemin_dossier ? DossierSortie::ouvre(*chemin_dossier) : std::nullopt;
    if (!cible) {
      erreur_fichier(*chemin, errno);
      return kEchec;
    }
    const auto forme = arguments.a("hex") ? FormeRessource::hexadecimale : FormeRessource::binaire;
    const std::string nom = texte(source.nom.substr(source.nom.rfind('/') + 1));
    const bool fait = enregistre_ressource(fourche, r, forme, titre_ressource(nom, r), *cible,
                                           barre == std::string::npos ? utf8 : utf8.substr(barre + 1));
    return fait ? kFait : kEchec;
  }
  operations().afficher_erreur(message(kSansRessource, {texte(voulu), texte(source.nom)}));
  return kEchec;
}

// The alias of a file, or, of a plain PC file that is no resource fork, the record that it holds.
bool lit_alias(const Source &source, TamponAlias &tampon, bool &trop_long) {
  tampon.fill(0);
  const Fichier fourche = fourche_ressources(source);
  if (!fourche) return false;
  const int lue = lecture_alias(fourche, tampon);
  if (lue == 0 && vue<FicheAlias>(tampon, 0)->longueur != 0) return true;
  trop_long = lue < 0;
  if (source.genre != GenreConteneur::fichier) return false;
  tampon.fill(0);
  const std::int64_t lus = fourche.lire_a(tampon, 0);
  const auto *fiche = vue<FicheAlias>(tampon, 0);
  return lus >= static_cast<std::int64_t>(sizeof(FicheAlias)) && fiche->version == 2 &&
         fiche->longueur >= sizeof(FicheAlias) && fiche->longueur <= lus;
}

std::string signature_visee(const FicheAlias &fiche) {
  const auto *octets = reinterpret_cast<const char *>(fiche.signature.data());
  return code_lisible(octets) + code_lisible(octets + 4);
}

ObjetJson json_alias(const TamponAlias &tampon) {
  const FicheAlias &fiche = *vue<FicheAlias>(tampon, 0);
  const TextesAlias textes = textes_alias(tampon);
  ObjetJson objet;
  objet.texte("target", textes.fichier).vrai("folder", fiche.genre == 1).texte("volume", textes.volume);
  objet.texte("parent", textes.dossier).texte("path", textes.chemin);
  objet.nombre("id", std::uint32_t{fiche.numero}).nombre("parent_id", std::uint32_t{fiche.dossier});
  objet.texte("signature", signature_visee(fiche)).texte_ou_nul("created", date_iso(fiche.date_fichier));
  objet.texte_ou_nul("volume_created", date_iso(fiche.date_volume));
  objet.texte("file_system", std::string(fiche.systeme.begin(), fiche.systeme.end()));
  return objet;
}

void montre_alias(ContexteCli &contexte, const TamponAlias &tampon) {
  if (contexte.arguments.a("json")) {
    contexte.sortie << json_alias(tampon).fini() << "\n";
    return;
  }
  const FicheAlias &fiche = *vue<FicheAlias>(tampon, 0);
  const TextesAlias textes = textes_alias(tampon);
  const bool hfsplus = fiche.systeme[0] == 'H';
  const auto ligne = [&contexte](int rang, std::initializer_list<Argument> valeurs) {
    contexte.sortie << texte_montrable(message(kAlias + rang, valeurs)) << "\n";
  };
  ligne(0, {textes.fichier, std::uint32_t{fiche.numero}});
  ligne(1, {textes.volume, date_courte(fiche.date_volume, false), hfsplus ? "HFS+" : "HFS"});
  ligne(2, {textes.dossier, std::uint32_t{fiche.dossier}});
  ligne(3, {textes.chemin});
  ligne(4, {signature_visee(fiche), date_courte(fiche.date_fichier, false)});
}

/// The aliases of a volume with their targets, one line or one JSON object each.
class ListeAlias {
 public:
  explicit ListeAlias(ContexteCli &contexte)
      : sortie_(contexte.sortie), json_(contexte.arguments.a("json")) {}

  // False, after a message, when the alias of the file cannot be read; it is listed without a target.
  bool ajoute(const ElementMac &element) {
    const auto trouve = chemin_de(element);
    std::string chemin = trouve ? *trouve : "?/" + element.nom_chemin();
    chemin.erase(0, std::min(chemin.find_first_not_of('/'), chemin.size()));
    TamponAlias tampon{};
    const bool lu = lecture_alias(element_de_volume(element), tampon) == 0 &&
                    vue<FicheAlias>(tampon, 0)->longueur >= sizeof(FicheAlias);
    if (json_) {
      ObjetJson objet;
      objet.utf8("path", chemin).liste("alias", lu ? json_alias(tampon).fini() : "null");
      sortie_ << separateur_ << objet.fini();
      separateur_ = ",\n  ";
    } else {
      const std::string cible = lu ? plateforme::texte_vers_utf8(chemin_vise(tampon)) : "?";
      sortie_ << montrable(chemin) << " -> " << montrable(cible) << "\n";
    }
    if (!lu)
      operations().afficher_erreur(message(kAliasDeVolume, {tronque_chemin(texte(chemin), kCheminMessage)}));
    return lu;
  }
  void finit() {
    if (json_) sortie_ << (separateur_[0] == '[' ? "[]\n" : "\n]\n");
  }

 private:
  // The Macintosh path where the record has one, else what its fixed part tells.
  static std::string chemin_vise(const TamponAlias &tampon) {
    const TextesAlias textes = textes_alias(tampon);
    return textes.chemin.empty() ? textes.volume + ":" + textes.fichier : textes.chemin;
  }

  std::ostream &sortie_;
  bool json_;
  const char *separateur_ = "[\n  ";
};

// The Finder marks its aliases; those to applications have a type of their own as well.
bool est_alias(const ElementMac &element) {
  constexpr std::uint16_t kAliasFinder = 0x8000;
  constexpr std::string_view kAliasApplication = "adrp";
  const std::string signature = signature_de(element);
  return element.fichier() &&
         ((element.drapeaux_finder & kAliasFinder) != 0 || signature.starts_with(kAliasApplication) ||
          signature.ends_with(kAliasApplication));
}

int liste_les_alias(ContexteCli &contexte, const std::string &image) {
  const VolumeOuvert volume(contexte, image);
  if (!volume) return kEchec;
  std::vector<ElementMac> trouves;
  const ResultatParcours fin = parcours_volume([&](const ElementMac &element) {
    if (est_alias(element)) trouves.push_back(element);
    return !operations().arret_demande();
  });
  ListeAlias liste(contexte);
  bool lus = true;
  for (const ElementMac &element : trouves) lus = liste.ajoute(element) && lus;
  liste.finit();
  if (fin.etat == EtatParcours::endommage) operations().afficher_erreur(message(kDossierAbime, {"/"}));
  if (fin.etat == EtatParcours::arrete) operations().afficher_erreur(charger_chaine(kArrete));
  return lus && fin.entier() ? kFait : kEchec;
}

// True for what begins like an image: compressed, with a map, or a bare volume.
bool semble_image(const std::string &utf8) {
  constexpr std::uint64_t kEntete = 1024;
  constexpr std::int64_t kVolumeMin = 0x10000;
  const auto chemin = plateforme::chemin_utf8_utilisable(utf8, std::numeric_limits<std::size_t>::max());
  const Fichier fichier = chemin ? plateforme::ouvre(*chemin, Ouverture::lecture) : Fichier();
  if (!fichier) return false;
  std::array<std::uint8_t, 2> marque{};
  if (type_image(fichier) != kImageSimple || lit_carte(fichier).genre != GenreCarte::aucune) return true;
  if (fichier_taille(fichier) < kVolumeMin ||
      fichier.lire_a(marque, kEntete) != static_cast<std::int64_t>(marque.size()))
    return false;
  const std::string_view texte_marque(reinterpret_cast<const char *>(marque.data()), marque.size());
  return texte_marque == "BD" || texte_marque == "H+" || texte_marque == "HX";
}

// The mounted image of a command of two words; without one nothing is mounted.
bool monte(ContexteCli &contexte, std::optional<VolumeOuvert> &volume) {
  if (contexte.arguments.positions.size() < 2) return true;
  volume.emplace(contexte, contexte.arguments.positions[0]);
  return static_cast<bool>(*volume);
}

// A plain file has no type and creator of its own: the table of signatures gives them.
void pose_signature(Conteneur &conteneur, const std::string &chemin) {
  if (conteneur.genre != GenreConteneur::fichier) return;
  const std::string_view signature = signature_de_fichier(chemin);
  for (std::size_t rang = 0; rang < 8 && rang < signature.size(); ++rang)
    conteneur.element.info_finder[rang] = static_cast<std::uint8_t>(signature[rang]);
}

}  // namespace

int commande_rsrc(ContexteCli &contexte) {
  std::optional<VolumeOuvert> volume;
  if (!monte(contexte, volume)) return kEchec;
  const auto trouvee = source(contexte.arguments);
  if (!trouvee) return kEchec;
  const Fichier fourche = fourche_ressources(*trouvee);
  const auto ressources = fourche ? lit_ressources(fourche) : std::nullopt;
  if (!ressources || (ressources->empty() && fichier_taille(fourche) == 0)) {
    operations().afficher_erreur(
        message(kSansRessources, {tronque_chemin(texte(trouvee->nom), kCheminMessage)}));
    return kEchec;
  }
  if (contexte.arguments.a("extract")) return extrait(contexte, *trouvee, fourche, *ressources);
  liste_ressources(contexte, *ressources);
  return kFait;
}

int commande_alias(ContexteCli &contexte) {
  const std::vector<std::string> &positions = contexte.arguments.positions;
  if (positions.size() == 1 && semble_image(positions[0])) return liste_les_alias(contexte, positions[0]);
  std::optional<VolumeOuvert> volume;
  if (!monte(contexte, volume)) return kEchec;
  const auto trouvee = source(contexte.arguments);
  if (!trouvee) return kEchec;
  TamponAlias tampon{};
  bool trop_long = false;
  if (!lit_alias(*trouvee, tampon, trop_long)) {
    const std::string nom = tronque_chemin(texte(trouvee->nom), kCheminMessage);
    operations().afficher_erreur(trop_long ? charger_chaine(kAliasIllisible) + "\n" + nom
                                           : message(kSansAlias, {nom}));
    return kEchec;
  }
  montre_alias(contexte, tampon);
  return kFait;
}

int commande_convert(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (!arguments.a("to")) {
    operations().afficher_erreur(charger_chaine(kSansCible));
    return kUsage;
  }
  const auto choisie =
      arguments.a("signatures") ? std::optional(arguments.valeur("signatures")) : std::nullopt;
  if (!prepare_signatures(choisie)) return kEchec;
  const auto cible = dossier_cible(contexte);
  if (!cible) return kEchec;
  CopieVersPc copie(options_copie(contexte));
  bool entiers = true;
  for (const std::string &nom : arguments.positions) {
    if (copie.bilan().arret) break;
    const auto chemin = chemin_argument(nom);
    auto conteneur = chemin ? ouvre_conteneur(*chemin) : std::nullopt;
    if (!conteneur) {
      if (chemin) erreur_fichier(*chemin, errno);
      entiers = false;
      continue;
    }
    if (!conteneur->intact) {
      operations().afficher_erreur(message(kConteneurAbime, {texte(nom)}));
      entiers = false;
    }
    pose_signature(*conteneur, *chemin);
    FichierCopie source{std::move(conteneur->element), nom};
    source.source = *chemin;
    static_cast<void>(copie.copie_fichier(source, *cible));
  }
  const int statut = conclut_copie(contexte, copie.bilan());
  return entiers ? statut : kEchec;
}

}  // namespace varnion
