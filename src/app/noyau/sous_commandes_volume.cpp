// What looks at a Macintosh volume without changing it: info, ls, find, cat.

#include <array>
#include <limits>
#include <utility>

#include "app/noyau/actions_volume.hpp"
#include "app/noyau/affichage.hpp"
#include "app/noyau/json.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "hfs/extents.hpp"
#include "hfs/garde.hpp"
#include "hfs/lecture.hpp"
#include "hfs/liens.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/lignes_carte.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kRienTrouve = 1173;
constexpr int kInfo = 6840;  // and the lines that follow
constexpr int kNon = 6859;
constexpr int kEnveloppe = 6860;
constexpr int kEstDossier = 6862;
constexpr int kAucune = 6868;
constexpr int kDossierAbime = 6866;
constexpr int kArrete = 6869;
constexpr int kFourcheCourte = 6870;
constexpr int kSignatureVide = 6876;
constexpr std::size_t kCheminMessage = 200;
constexpr std::uint16_t kMarqueEnveloppe = 0x482B;  // "H+"
constexpr std::uint16_t kMarqueHfs = 0x4244;        // "BD"

std::string texte(std::string_view utf8) {
  return plateforme::utf8_vers_texte(utf8);
}

// --- info
// -----------------------------------------------------------------------------------------------------

struct Faits {
  std::string systeme;
  std::uint32_t creation = 0, modification = 0;
  std::uint64_t blocs = 0, libres = 0;
  std::uint32_t fichiers = 0, dossiers = 0;
  bool enveloppe = false;
};

// True when an HFS volume that only wraps another begins at this byte of the image.
bool est_enveloppe(std::uint64_t debut) {
  Mdb mdb;
  std::array<std::uint8_t, sizeof(Mdb)> octets{};
  if (support().image.lire_a(octets, debut + 1024) != static_cast<std::int64_t>(octets.size())) return false;
  mdb = *vue<Mdb>(octets, 0);
  return mdb.drSigWord == kMarqueHfs && mdb.drEmbedSigWord == kMarqueEnveloppe;
}

Faits faits_du_volume(const CarteImage &carte) {
  const VolumeCourant &volume = volume_courant();
  Faits faits;
  if (volume.est_hfsplus && volume.vhb != nullptr) {
    const EnteteVolumePlus &vhb = *volume.vhb;
    faits.systeme = vhb.signature == kMarqueEnveloppe ? "HFS+" : "HFSX";
    faits.creation = vhb.createDate;
    faits.modification = vhb.modifyDate;
    faits.blocs = std::uint32_t{vhb.totalBlocks};
    faits.libres = std::uint32_t{vhb.freeBlocks};
    faits.fichiers = vhb.fileCount;
    faits.dossiers = vhb.folderCount;
    faits.enveloppe = est_enveloppe(0);
    for (const LigneCarte &ligne : carte.lignes)
      if (ligne.debut <= volume.debut_allocation * kTailleSecteur && est_enveloppe(ligne.debut))
        faits.enveloppe = true;
  } else if (volume.mdb != nullptr) {
    const Mdb &mdb = *volume.mdb;
    faits.systeme = "HFS";
    faits.creation = mdb.drCrDate;
    faits.modification = mdb.drLsMod;
    faits.blocs = std::uint16_t{mdb.drNmAlBlks};
    faits.libres = std::uint16_t{mdb.drFreeBks};
    faits.fichiers = mdb.drFilCnt;
    faits.dossiers = mdb.drDirCnt;
  }
  return faits;
}

const char *nom_genre(int genre) {
  constexpr const char *kNoms[] = {"plain",
                                   "disk image (PM)",
                                   "disk image (bzip2)",
                                   "disk image (zlib)",
                                   "disk image (UDIF)",
                                   "sparse disk image",
                                   "GPT",
                                   "MBR"};
  return genre >= 0 && genre < static_cast<int>(std::size(kNoms)) ? kNoms[genre] : "?";
}

const char *nom_carte(GenreCarte genre) {
  switch (genre) {
    case GenreCarte::apple:
      return "Apple";
    case GenreCarte::gpt:
      return "GPT";
    case GenreCarte::mbr:
      return "MBR";
    default:
      return "none";
  }
}

// Why the volume would not be written; "" when it would.
std::string raison_lecture_seule() {
  juge_structure();
  return texte_interdit();
}

ObjetJson json_arbre(const DescripteurArbre &arbre) {
  const FicheEnteteArbre &fiche = arbre.fiche();
  ObjetJson objet;
  objet.nombre("node_size", arbre.taille_noeud).nombre("nodes", std::uint32_t{fiche.totalNodes});
  objet.nombre("free_nodes", std::uint32_t{fiche.freeNodes}).nombre("depth", std::uint16_t{fiche.treeDepth});
  objet.nombre("records", std::uint32_t{fiche.leafRecords});
  return objet;
}

std::string nom_de_ligne(const LigneCarte &ligne, GenreCarte genre) {
  return genre == GenreCarte::gpt ? ligne.nom : mac_vers_utf8(ligne.nom);
}

std::string json_carte(const CarteImage &carte) {
  std::string lignes;
  for (const LigneCarte &ligne : carte.lignes) {
    ObjetJson objet;
    objet.utf8("type", mac_vers_utf8(ligne.type)).utf8("name", nom_de_ligne(ligne, carte.genre));
    objet.nombre("start", ligne.debut).nombre("bytes", ligne.taille);
    lignes += (lignes.empty() ? "" : ", ") + objet.fini();
  }
  return "[" + lignes + "]";
}

/// What `info` shows beside the state of the mounted volume.
struct Image {
  const std::string &chemin;
  const char *genre;
  const CarteImage &carte;
  const Faits &faits;
  const std::string &raison;  ///< why it is read only
};

void info_json(ContexteCli &contexte, const Image &image) {
  const auto &[chemin, genre, carte, faits, raison] = image;
  const VolumeCourant &volume = volume_courant();
  const auto racine = element_racine();
  ObjetJson objet;
  objet.texte("path", chemin).texte("kind", genre);
  objet.objet("map", ObjetJson()
                         .texte("kind", nom_carte(carte.genre))
                         .nombre("block_size", carte.taille_bloc)
                         .liste("rows", json_carte(carte)));
  objet.texte("file_system", faits.systeme).vrai("wrapped", faits.enveloppe);
  objet.utf8("volume", racine ? racine->nom_utf8() : plateforme::texte_vers_utf8(nom_volume()));
  objet.texte_ou_nul("created", date_iso(faits.creation));  // both formats keep this date in local time
  objet.texte_ou_nul("modified", date_iso_volume(faits.modification, volume.est_hfsplus));
  objet.nombre("start",
               (volume.est_hfsplus ? volume.debut_allocation : volume.debut_volume) * kTailleSecteur);
  objet.nombre("block_size", volume.taille_bloc)
      .nombre("blocks", faits.blocs)
      .nombre("free_blocks", faits.libres);
  objet.nombre("files", faits.fichiers).nombre("folders", faits.dossiers);
  objet.objet("catalog", json_arbre(volume.catalogue)).objet("extents", json_arbre(volume.extents));
  objet.vrai("read_only", !raison.empty()).texte("read_only_reason", raison);
  contexte.sortie << objet.fini() << "\n";
}

void info_texte(ContexteCli &contexte, const Image &image) {
  const auto &[chemin, genre, carte, faits, raison] = image;
  const VolumeCourant &volume = volume_courant();
  const auto ligne = [&](int rang, std::initializer_list<Argument> valeurs) {
    contexte.sortie << texte_montrable(message(kInfo + rang, valeurs)) << "\n";
  };
  const auto taille = [&](std::uint64_t blocs) { return taille_lisible(blocs * volume.taille_bloc); };
  const auto racine = element_racine();
  ligne(0, {chemin});
  ligne(1, {genre});
  ligne(2, {carte.genre == GenreCarte::aucune ? charger_chaine(kAucune) : nom_carte(carte.genre)});
  for (const LigneCarte &rang : carte.lignes) {
    const std::string debut = std::to_string(rang.debut);
    contexte.sortie << "  " << montrable(mac_vers_utf8(rang.type)) << "  \""
                    << montrable(nom_de_ligne(rang, carte.genre)) << "\"  " << debut << "  "
                    << plateforme::texte_vers_utf8(taille_lisible(rang.taille)) << "\n";
  }
  ligne(3, {faits.enveloppe ? charger_chaine(kEnveloppe) : faits.systeme});
  ligne(4, {racine ? texte(racine->nom_utf8()) : nom_volume()});
  ligne(5, {date_courte(faits.creation, false)});
  ligne(6, {date_courte(faits.modification, volume.est_hfsplus)});
  ligne(7, {taille(faits.blocs)});
  ligne(8, {taille(faits.libres)});
  ligne(9, {faits.fichiers, faits.dossiers});
  ligne(10, {volume.taille_bloc, faits.blocs, faits.libres});
  for (const auto &[rang, arbre] : {std::pair{11, &volume.catalogue}, std::pair{12, &volume.extents}}) {
    const FicheEnteteArbre &fiche = arbre->fiche();
    ligne(rang, {arbre->taille_noeud, std::uint32_t{fiche.totalNodes}, std::uint32_t{fiche.freeNodes},
                 std::uint16_t{fiche.treeDepth}});
  }
  const std::uint64_t debut = volume.est_hfsplus ? volume.debut_allocation : volume.debut_volume;
  ligne(13, {std::to_string(debut * kTailleSecteur)});
  ligne(14, {raison.empty() ? charger_chaine(kNon) : raison});
}

// --- ls
// -------------------------------------------------------------------------------------------------------

std::string json_element(const std::string &chemin, const ElementMac &e) {
  ObjetJson objet;
  objet.utf8("path", chemin).vrai("folder", e.dossier).nombre("id", e.id);
  if (e.dossier) {
    objet.nombre("items", e.valence);
  } else {
    objet.texte("type", code_lisible(reinterpret_cast<const char *>(e.type.data())));
    objet.texte("creator", code_lisible(reinterpret_cast<const char *>(e.createur.data())));
    objet.nombre("data_length", e.donnees.longueur).nombre("resource_length", e.ressources.longueur);
    objet.vrai("locked", e.verrouille);
  }
  objet.nombre("finder_flags", e.drapeaux_finder);
  objet.texte_ou_nul("created", date_iso_volume(e.creation, e.hfsplus));
  objet.texte_ou_nul("modified", date_iso_volume(e.modification, e.hfsplus));
  objet.texte_ou_nul("backup", date_iso_volume(e.sauvegarde, e.hfsplus));
  return objet.fini();
}

// "f L-A- TEXTttxt  1234  56 2001-02-03 04:05 name": locked, invisible, alias, custom icon.
std::string ligne_longue(const std::string &chemin, const ElementMac &e) {
  constexpr std::uint16_t kInvisible = 0x4000, kAlias = 0x8000, kIcone = 0x0400;
  const auto drapeau = [&e](std::uint16_t bit, char lettre) {
    return (e.drapeaux_finder & bit) != 0 ? lettre : '-';
  };
  std::string ligne = e.dossier ? "d " : "f ";
  ligne += e.verrouille ? 'L' : '-';
  ligne += drapeau(kInvisible, 'I');
  ligne += drapeau(kAlias, 'A');
  ligne += drapeau(kIcone, 'C');
  if (e.dossier) {
    ligne += formate(" %8s %12s %12s ", {"", "[" + std::to_string(e.valence) + "]", ""});
  } else {
    const std::string type = code_lisible(reinterpret_cast<const char *>(e.type.data()));
    const std::string createur = code_lisible(reinterpret_cast<const char *>(e.createur.data()));
    ligne += formate(" %-4s%-4s %12s %12s ", {type, createur, std::to_string(e.donnees.longueur),
                                              std::to_string(e.ressources.longueur)});
  }
  ligne += formate("%-16s ", {date_courte(e.modification, e.hfsplus)});
  return montrable(plateforme::texte_vers_utf8(ligne) + chemin) + (e.dossier ? "/" : "");
}

/// Gives the items of a list in the form asked for.
class Liste {
 public:
  explicit Liste(ContexteCli &contexte)
      : contexte_(contexte), json_(contexte.arguments.a("json")), longue_(contexte.arguments.a("long")) {}

  void ajoute(const std::string &chemin, const ElementMac &element) {
    if (json_)
      contexte_.sortie << separateur_ << json_element(chemin, element);
    else if (longue_)
      contexte_.sortie << ligne_longue(chemin, element) << "\n";
    else
      contexte_.sortie << montrable(chemin) << (element.dossier ? "/\n" : "\n");
    separateur_ = ",\n  ";
  }
  void finit() {
    if (json_) contexte_.sortie << (separateur_[0] == '[' ? "[]\n" : "\n]\n");
  }

 private:
  ContexteCli &contexte_;
  bool json_, longue_;
  const char *separateur_ = "[\n  ";
};

std::string sans_barres(std::string chemin) {
  while (chemin.ends_with('/')) chemin.pop_back();
  chemin.erase(0, std::min(chemin.find_first_not_of('/'), chemin.size()));
  return chemin;
}

// --- find
// -----------------------------------------------------------------------------------------------------

constexpr std::size_t kToutes = std::numeric_limits<std::size_t>::max();

// On HFS+ in the form that the format asks for, and, where that finds nothing, composed: other systems have
// written names so.
std::vector<ElementMac> trouve_par_nom(const std::string &utf8, ResultatParcours &fin) {
  const std::string nom = nom_de_partie(utf8);
  if (volume_courant().est_hfsplus) {
    const std::u16string large = plateforme::utf8_vers_large(nom);
    auto trouves = cherche_nom_hfsplus(decompose_hfsplus(large), kToutes, &fin);
    return trouves.empty() ? cherche_nom_hfsplus(nom_unicode(large), kToutes, &fin) : trouves;
  }
  const auto mac = utf8_vers_mac(nom);
  return mac ? cherche_nom_hfs(*mac, kToutes, &fin) : std::vector<ElementMac>();
}

}  // namespace

int commande_info(ContexteCli &contexte) {
  const VolumeOuvert volume(contexte, contexte.arguments.positions[0], AccesVolume::permis);
  if (!volume) return kEchec;
  const CarteImage carte = lit_carte(support().image);
  const Faits faits = faits_du_volume(carte);
  const int genre = type_image(plateforme::ouvre(volume.chemin(), Ouverture::lecture));
  const std::string raison = raison_lecture_seule();
  (contexte.arguments.a("json") ? info_json : info_texte)(
      contexte, {volume.chemin(), nom_genre(genre), carte, faits, raison});
  return kFait;
}

int commande_ls(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const VolumeOuvert volume(contexte, arguments.positions[0]);
  if (!volume) return kEchec;
  const std::string chemin = sans_barres(arguments.positions.size() > 1 ? arguments.positions[1] : "");
  const auto element = trouve_mac(chemin);
  if (!element) return kEchec;
  Liste liste(contexte);
  bool sain = true;
  if (element->dossier) {
    const bool tout = arguments.a("all");
    sain = parcourt_dossier(
        *element, chemin.empty() ? "" : chemin + "/", arguments.a("recursive"),
        [tout](const ElementMac &e) { return tout || !est_cache(e); },
        [&liste](const std::string &nom, const ElementMac &e) { liste.ajoute(nom, e); });
  } else {
    liste.ajoute(chemin, *element);
  }
  liste.finit();
  return sain ? kFait : kEchec;
}

int commande_find(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const bool par_signature = arguments.a("signature");
  if (par_signature == (arguments.positions.size() > 1)) return kUsage;
  const std::string voulu = par_signature ? arguments.valeur("signature") : arguments.positions[1];
  if (voulu.empty()) {
    operations().afficher_erreur(charger_chaine(kSignatureVide));
    return kUsage;
  }
  const VolumeOuvert volume(contexte, arguments.positions[0]);
  if (!volume) return kEchec;
  const auto signature = utf8_vers_mac(voulu);
  std::vector<ElementMac> trouves;
  ResultatParcours fin;
  if (!par_signature)
    trouves = trouve_par_nom(voulu, fin);
  else if (signature)
    trouves = cherche_signature(*signature, kToutes, &fin);
  Liste liste(contexte);
  for (const ElementMac &element : trouves) {
    const auto chemin = chemin_de(element);
    liste.ajoute(chemin ? sans_barres(*chemin) : "?/" + element.nom_chemin(), element);
  }
  liste.finit();
  if (fin.etat == EtatParcours::endommage) operations().afficher_erreur(message(kDossierAbime, {"/"}));
  if (fin.etat == EtatParcours::arrete) operations().afficher_erreur(charger_chaine(kArrete));
  if (!fin.entier()) return kEchec;
  if (!trouves.empty()) return kFait;
  operations().afficher_erreur(message(kRienTrouve, {texte(voulu)}));
  return kEchec;
}

int commande_cat(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const VolumeOuvert volume(contexte, arguments.positions[0]);
  if (!volume) return kEchec;
  const auto element = trouve_mac(arguments.positions[1]);
  if (!element) return kEchec;
  const std::string chemin = tronque_chemin(texte(arguments.positions[1]), kCheminMessage);
  if (element->dossier) {
    operations().afficher_erreur(message(kEstDossier, {chemin}));
    return kEchec;
  }
  const std::uint8_t numero = arguments.a("resource") ? kFourcheRessources : kFourcheDonnees;
  const ResultatFourche fin =
      lit_fourche(sans_lien(*element), numero, [&](std::span<const std::uint8_t> octets) {
        contexte.octets.write(reinterpret_cast<const char *>(octets.data()),
                              static_cast<std::streamsize>(octets.size()));
        return static_cast<bool>(contexte.octets);
      });
  if (fin.entiere() || fin.etat == EtatFourche::puits) return fin.entiere() ? kFait : kEchec;
  operations().afficher_erreur(fin.etat == EtatFourche::arret ? charger_chaine(kArrete)
                                                              : message(kFourcheCourte, {chemin}));
  return kEchec;
}

}  // namespace varnion
