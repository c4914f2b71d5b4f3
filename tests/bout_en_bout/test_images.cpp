#include <gtest/gtest.h>

#include "outils/atelier.hpp"
#include "outils/image_lue.hpp"
#include "outils/paires_apple.hpp"
#include "outils/programmes.hpp"
#include "projet/signatures.hpp"

// Images of every kind, read back by readers of our own that know the published formats only, and by
// independent programs.

namespace varnion {
namespace {

using namespace essai;
using outils::ArbreSource;
using outils::Forme;
using outils::octets_quelconques;
namespace fs = std::filesystem;

struct Genre {
  const char *nom;
  GenreDemande demande;
  Nature nature;
  outils::Cotes cotes;
};

constexpr Genre kGenres[] = {
    {"hybride_hfs", GenreDemande::hybride, Nature::hybride_hfs, {true, true, false}},
    {"hybride_hfsplus", GenreDemande::hybride, Nature::hybride_hfsplus, {true, true, true}},
    {"iso_apple", GenreDemande::hybride, Nature::iso_apple, {true, false, false, true}},
    {"iso", GenreDemande::iso, Nature::iso, {true, false, false}},
    {"hfs", GenreDemande::mac, Nature::hfs, {false, true, false}},
    {"hfsplus", GenreDemande::mac, Nature::hfsplus, {false, true, true}},
};

outils::FichierMac mac(const std::string &nom, std::size_t data, std::size_t rsrc,
                       std::uint16_t drapeaux = 0) {
  outils::FichierMac f;
  f.nom = nom;
  f.type = "APPL";
  f.createur = "Vrn!";
  f.drapeaux = drapeaux;
  f.creation = 0xB0000001;
  f.modification = 0xB1234567;
  f.data = octets_quelconques(data, data + 1);
  f.rsrc = octets_quelconques(rsrc, rsrc + 99);
  return f;
}

void noms_etranges(ArbreSource &a) {
  a.dossier("Été à Noël");
  a.fichier("Été à Noël/résumé.txt", octets_quelconques(3000, 1)).nom_iso = "RESUME_1.TXT";
  a.fichier("Été à Noël/Élève ñ.txt", octets_quelconques(10, 2), "", "E\xCC\x81le\xCC\x80ve n\xCC\x83.txt");
  a.dossier("Папка", "_____~1");
  a.fichier("Папка/日本語.txt", octets_quelconques(2049, 3), "___~1.TXT").nom_iso = "____1.TXT";
  a.fichier("Папка/🎉fête.txt", octets_quelconques(77, 4), "_FETE~1.TXT").nom_iso = "_FETE_1.TXT";
  const std::string long40 = "A name of forty characters, with dot.txt";
  a.fichier(long40, octets_quelconques(5000, 5), "A name of forty characters,.txt").nom_iso = "ANAMEO_1.TXT";
  const std::string tronc(66, 'k');
  auto &f = a.fichier(tronc + ".html", octets_quelconques(600, 6), std::string(26, 'k') + ".html");
  f.nom_joliet = f.nom_plus = std::string(57, 'k') + ".html";
  auto &d = a.dossier(std::string(64, 'd'), std::string(31, 'd'));
  d.nom_plus = std::string(62, 'd');
  a.fichier(d.chemin + "/in a long folder", octets_quelconques(2047, 7));
  auto &e = a.dossier(std::string(70, 'e'), std::string(31, 'e'));
  e.nom_joliet = "EEEEEE~1";
  e.nom_plus = std::string(62, 'e');
  a.fichier(a.dossiers().back().chemin + "/x", "x");
  a.dossier(".cache");
  a.fichier(".cache/.profile", octets_quelconques(40, 8));
  a.fichier("a.b.c.text", octets_quelconques(100, 9)).nom_iso = "ABC_1.TEX";
  a.fichier("UPPER.TXT", octets_quelconques(101, 10)).nom_iso = "UPPER.TXT";
  a.fichier("lower.txt", octets_quelconques(102, 11)).nom_iso = "LOWER.TXT";
}

void conteneurs(ArbreSource &a) {
  a.dossier("Mac");
  a.conteneur("Mac/deux.bin", Forme::macbinary, mac("Deux fourches", 5001, 3003, 0x2100));
  a.conteneur("Mac/ressource.bin", Forme::macbinary, mac("Ressource seule", 0, 2048, 0x0400));
  a.conteneur("Mac/donnees.bin", Forme::macbinary, mac("Donnees seules", 4096, 0));
  auto repete = mac("Binhex", 0, 1500, 0x0100);
  repete.data = octets_quelconques(900, 1) + std::string(600, '\x90') + std::string(300, 'A') + "\x90\x90";
  a.conteneur("Mac/texte.hqx", Forme::binhex, repete);
  a.conteneur("Mac/simple.as", Forme::applesingle, mac("", 2500, 1200, 0x0400));
  a.conteneur("Mac/double", Forme::appledouble, mac("", 6000, 700));
  a.conteneur("Mac/double vide", Forme::appledouble, mac("", 0, 300));
  a.conteneur("Mac/flux.dat", Forme::flux, mac("", 4000, 1000));
}

/// Everything that may lie in a folder.
void arbre_varie(ArbreSource &a) {
  a.fichier("vide", "");
  for (const std::size_t n : {1, 511, 512, 2047, 2048, 2049, 4096, 6144})
    a.fichier("taille " + std::to_string(n), octets_quelconques(n, n));
  noms_etranges(a);
  conteneurs(a);
  a.fichier("grand.dat", octets_quelconques(3'500'000, 12));
  std::string chemin;
  for (int i = 1; i <= 12; ++i) {
    chemin += (i == 1 ? "" : "/") + std::string("niveau ") + std::to_string(i);
    a.dossier(chemin);
    a.fichier(chemin + "/fond.txt", octets_quelconques(static_cast<std::size_t>(i) * 500, 20));
  }
  a.dossier("vide de tout");
}

/// Enough for index nodes over index nodes and for map nodes, and one folder over many sectors.
void arbre_grand(ArbreSource &a) {
  const auto remplit = [&](const std::string &dossier, int nombre) {
    for (int i = 0; i < nombre; ++i)
      a.fichier(dossier + "/" + std::to_string(i * 7919 % 100'003) + " of this folder.txt",
                std::to_string(i));
  };
  for (int d = 0; d < 25; ++d) {
    const std::string haut = "dossier " + std::to_string(d);
    a.dossier(haut);
    for (int e = 0; e < 15; ++e) {
      const std::string bas = haut + "/sous-dossier " + std::to_string(e);
      a.dossier(bas);
      remplit(bas, 40);
    }
  }
  a.dossier("large");
  remplit("large", 5000);
}

void arbre_minime(ArbreSource &a) {
  a.fichier("seul.txt", "seul");
}

struct Arbre {
  const char *nom;
  void (*bati)(ArbreSource &);
};

class Images : public Atelier {
 protected:
  /// What a file without a container gets from the table of extensions.
  static void pose_signatures(ArbreSource &source) {
    for (outils::FichierSource &f : source.fichiers()) {
      if (f.forme != Forme::simple) continue;
      const std::string signature(signature_de_fichier(plateforme::utf8_vers_texte(f.chemin)));
      f.mac.type = signature.substr(0, 4);
      f.mac.createur = signature.substr(4, 4);
    }
  }
  FichierProjet projet_du_genre(const std::string &dossier, const Genre &genre) {
    return projet_de(dossier, genre.cotes.hfsplus, kVueRacine,
                     genre.cotes.apple ? ModeProjet::isop : ModeProjet::hybride);
  }
  /// Compiles a tree and holds the image against it.
  outils::ImageLue image_de(ArbreSource &source, const Genre &genre, const std::string &cible) {
    pose_signatures(source);
    FichierProjet projet = projet_du_genre(source.racine(), genre);
    const BilanCompilation bilan = compile(projet, cible, genre.demande);
    EXPECT_EQ(bilan.resultat, kCompilReussie) << messages();
    EXPECT_EQ(bilan.nature, genre.nature);
    // Forks in streams have no place on the disc of an ISO+ project: each such file is named.
    std::size_t ecartes = 0;
    for (const outils::FichierSource &f : source.fichiers()) {
      if (!genre.cotes.apple || f.forme != Forme::flux) continue;
      ++ecartes;
      EXPECT_NE(messages().find(ArbreSource::feuille(f.chemin)), std::string::npos);
    }
    EXPECT_EQ(bilan.remarques, ecartes) << messages();
    EXPECT_EQ(bilan.fichiers, source.fichiers().size());
    EXPECT_EQ(bilan.dossiers, source.dossiers().size());
    outils::ImageLue image = outils::lit_image(plateforme::texte_vers_utf8(cible), genre.cotes);
    EXPECT_EQ(bilan.octets, image.vue.taille());
    if (genre.cotes.apple)
      outils::ConfrontationApple(image, source, image.fautes).verifie();
    else
      outils::Confrontation(image, source, image.fautes).verifie();
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
    return image;
  }
};

void verifie_carte(const outils::ImageLue &image) {
  ASSERT_EQ(image.carte.partitions.size(), 2U);
  const outils::Partition &p = image.carte.partitions[1];
  const std::uint64_t blocs = image.vue.taille() / 512 - 600;
  EXPECT_EQ(image.carte.partitions[0].debut, 1U);
  EXPECT_EQ(image.carte.partitions[0].nombre, 2U);
  EXPECT_EQ(p.debut, image.cotes.iso ? image.volume.debut / 512 : 64U);
  EXPECT_EQ(p.nombre, p.nombre_donnees);
  EXPECT_EQ(image.carte.blocs, blocs);
  EXPECT_EQ(p.debut + p.nombre, image.carte.blocs);
  EXPECT_EQ(p.nom, image.volume.label);
}

TEST_F(Images, portent_exactement_ce_que_la_source_contient) {
  for (const Arbre &arbre : {Arbre{"varie", arbre_varie}, Arbre{"minime", arbre_minime}}) {
    ArbreSource source(bac + arbre.nom);
    arbre.bati(source);
    for (const Genre &genre : kGenres) {
      SCOPED_TRACE(std::string(arbre.nom) + " " + genre.nom);
      const outils::ImageLue image = image_de(source, genre, bac + arbre.nom + "-" + genre.nom + ".iso");
      // The postgap of the track: 150 empty sectors behind everything.
      EXPECT_TRUE(image.vue.rempli(image.vue.taille() - 150 * 2048, 150 * 2048));
      if (genre.cotes.mac) verifie_carte(image);
    }
  }
}

TEST_F(Images, de_vingt_mille_elements) {
  ArbreSource source(bac + "grand");
  arbre_grand(source);
  for (const Genre &genre : kGenres) {
    SCOPED_TRACE(genre.nom);
    const outils::ImageLue image = image_de(source, genre, bac + "grand.iso");
    if (!genre.cotes.mac) continue;
    // Nodes of 512 bytes need one level more, and more nodes than the header has bits for.
    EXPECT_GE(image.volume.catalogue.profondeur, genre.cotes.hfsplus ? 3U : 4U);
    EXPECT_GE(image.volume.catalogue.noeuds_carte, genre.cotes.hfsplus ? 0U : 1U);
  }
}

// Nothing is measured for an ISO+ project: its reserves are two sectors of ISO directories, four of Joliet
// ones and one for each path table. A tree that fits keeps them; one that does not is given what it takes.
TEST_F(Images, d_un_projet_isop_ne_debordent_pas_de_leur_reserve) {
  const Genre &genre =
      *std::find_if(std::begin(kGenres), std::end(kGenres), [](const Genre &g) { return g.cotes.apple; });
  ArbreSource petit(bac + "petit");
  arbre_minime(petit);
  const outils::ImageLue au_plus_juste = image_de(petit, genre, bac + "petit.iso");
  EXPECT_EQ(au_plus_juste.iso.chemins_m, 20U);
  EXPECT_EQ(au_plus_juste.iso.entrees[0].extent, 21U);
  EXPECT_EQ(au_plus_juste.joliet.chemins_l, 23U);
  EXPECT_EQ(au_plus_juste.joliet.entrees[0].extent, 25U);
  EXPECT_EQ(au_plus_juste.iso.entrees[1].extent, 29U);
  const auto reserves = [this] {
    return std::count_if(ops.journaux.begin(), ops.journaux.end(),
                         [](const std::string &ligne) { return ligne.find("reserve") != std::string::npos; });
  };
  EXPECT_EQ(reserves(), 0);

  ArbreSource grand(bac + "grand");
  for (int d = 0; d < 300; ++d) {
    const std::string dossier = "a folder with a number " + std::to_string(d);
    grand.dossier(dossier);
    for (int i = 0; i < 12; ++i)
      grand.fichier(dossier + "/" + std::to_string(i) + " of the files.txt", std::to_string(i));
  }
  for (int i = 0; i < 400; ++i)
    grand.conteneur(std::to_string(i) + " in two forks.bin", Forme::macbinary,
                    mac("Fourches " + std::to_string(i), static_cast<std::size_t>(i), 300));
  const outils::ImageLue image = image_de(grand, genre, bac + "grand.iso");
  EXPECT_GE(reserves(), 3);
  EXPECT_GT(image.joliet.taille_chemins, 2 * outils::kSecteurLu);
}

// The payload of an ISO+ project is its sources as they are: what a container decodes to is not added to it.
TEST_F(Images, d_un_projet_isop_comptent_un_conteneur_une_seule_fois) {
  const Genre &genre =
      *std::find_if(std::begin(kGenres), std::end(kGenres), [](const Genre &g) { return g.cotes.apple; });
  ArbreSource source(bac + "src");
  source.conteneur("lourd.bin", Forme::macbinary, mac("Lourd", 100'000, 60'000));
  const std::uint64_t secteurs = (source.fichiers()[0].octets.size() + 2047) / 2048;
  fixer_regle(Regle::classique);  // whose volume space size is an estimate
  // Ahead of it 18 sectors, two tables of a sector twice, and the two directory areas counted double.
  EXPECT_EQ(image_de(source, genre, bac + "o.iso").iso.taille_volume, secteurs + 18 + 2 + 2 + 2 * 2 + 2 * 4);
}

// What Linux lets into a name and no disc holds: every file is there all the same, under a name of its own.
TEST_F(Images, rendent_lisibles_les_noms_hostiles) {
  const std::vector<std::string> noms = {"a:b.txt",
                                         "c\\d.txt",
                                         "e*f.txt",
                                         "g\nh.txt",
                                         "\xFF\xFE bad.txt",
                                         " blanc devant",
                                         "blanc derriere ",
                                         "point.",
                                         "..points",
                                         "CON",
                                         "con.txt",
                                         ";1",
                                         "x;1",
                                         "tilde~1.txt",
                                         "TILDE~1.T",
                                         "double  nom",
                                         "\xC2\xA0",
                                         "\x7F",
                                         "q?.txt",
                                         "\xE2\x98\x83"};
  ArbreSource source(bac + "src");
  std::multiset<std::string> attendus;
  for (const std::string &nom : noms) {
    attendus.insert("content of " + nom);
    source.brut(nom, "content of " + nom);
  }
  for (const Genre &genre : kGenres) {
    SCOPED_TRACE(genre.nom);
    FichierProjet projet = projet_du_genre(source.racine(), genre);
    ASSERT_EQ(compile(projet, bac + "o.iso", genre.demande).resultat, kCompilReussie) << messages();
    const outils::ImageLue image = outils::lit_image(bac + "o.iso", genre.cotes);
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
    std::multiset<std::string> iso, mac;
    for (const outils::EntreeIso &e : image.joliet.entrees)
      if (!e.dossier) iso.insert(image.vue.texte(e.extent * outils::kSecteurLu, e.taille));
    for (const outils::ObjetMac &o : image.volume.objets)
      if (!o.dossier) mac.insert(image.volume.contenu(image.vue, o.data));
    EXPECT_TRUE(!genre.cotes.iso || iso == attendus);
    EXPECT_TRUE(!genre.cotes.mac || mac == attendus);
  }
}

// A label as long as a file name may be: each place has its own limit and its own characters.
TEST_F(Images, prennent_le_nom_de_la_cible) {
  ArbreSource source(bac + "src");
  arbre_minime(source);
  const std::string nom = "D\xE9mo du disque num\xE9ro 1 d'un tr\xE8s long nom de cible";
  for (const Genre &genre : kGenres) {
    SCOPED_TRACE(genre.nom);
    const outils::ImageLue image = image_de(source, genre, bac + nom + ".iso");
    if (genre.cotes.iso) {
      EXPECT_EQ(image.iso.descripteur.texte(40, 32), "DEMO_DU_DISQUE_NUMERO_1_D_UN_TRE");
      EXPECT_EQ(outils::utf16be_vers_utf8(image.joliet.descripteur.partie(40, 32)), "Démo du disque n");
    }
    if (!genre.cotes.mac) continue;
    const std::string &label = image.volume.label;
    const std::string utf8 = plateforme::texte_vers_utf8(nom);
    EXPECT_TRUE(utf8.starts_with(genre.cotes.hfsplus ? outils::compose(label) : outils::mac_vers_utf8(label)))
        << label;
    EXPECT_GE(label.size(), 27U);
  }
}

// Dates of a classic volume are local, those of HFS+ and of the ISO side universal.
TEST_F(Images, datent_selon_le_fuseau) {
  ::setenv("TZ", "XYZ-5:30", 1);
  ::tzset();
  ArbreSource source(bac + "src");
  source.fichier("date.txt", "x");
  for (const Genre &genre : kGenres) {
    SCOPED_TRACE(genre.nom);
    image_de(source, genre, bac + "date.iso");
  }
  ::unsetenv("TZ");
  ::tzset();
}

TEST_F(Images, de_la_meme_date_ont_les_memes_octets) {
  ArbreSource source(bac + "src");
  arbre_varie(source);
  ::setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
  for (const Genre &genre : kGenres) {
    std::vector<std::uint8_t> images[2];
    for (auto &octets : images) {
      FichierProjet projet = projet_du_genre(source.racine(), genre);
      ASSERT_EQ(compile(projet, bac + "o.iso", genre.demande).resultat, kCompilReussie) << messages();
      octets = outils::lit_fichier(bac + "o.iso");
    }
    EXPECT_TRUE(images[0] == images[1]) << genre.nom;
  }
  ::unsetenv("SOURCE_DATE_EPOCH");
}

// What a project asks of the medium beside its files: the icon of the volume, its window open when it is
// mounted, hidden items. A hidden extension is the project's own affair: no flag of the media follows from
// it.
TEST_F(Images, portent_ce_que_le_projet_demande) {
  ArbreSource source(bac + "src");
  source.fichier("seul.txt", "seul");
  source.dossier("sous");
  source.fichier("sous/autre.txt", "autre");
  for (const Genre &genre : kGenres) {
    for (const bool oui : {true, false}) {
      SCOPED_TRACE(std::string(genre.nom) + (oui ? ": asked" : ": not asked"));
      FichierProjet projet = projet_du_genre(source.racine(), genre);
      EnteteProjet entete;
      ASSERT_TRUE(projet.lit_entete(entete));
      entete.icone_volume(oui);
      entete.ouvrir_racine(oui);
      ASSERT_TRUE(projet.ecrit_entete(entete));
      LecteurRubriques tout(projet);
      while (const RubriqueProjet *r = tout.suivant()) {
        RubriqueProjet change = *r;
        change.cache_iso(oui && !r->est_dossier() ? 1 : 0);
        change.cache_hfs(oui ? 1 : 0);
        change.extension_cachee(oui);
        change.icone_perso(oui && r->est_dossier());
        ASSERT_TRUE(tout.reecrit(projet, change));
      }
      ASSERT_EQ(compile(projet, bac + "o.iso", genre.demande).resultat, kCompilReussie) << messages();
      const outils::ImageLue image = outils::lit_image(bac + "o.iso", genre.cotes);
      EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
      for (const outils::ArbreIso *arbre : {&image.iso, &image.joliet})
        for (const outils::EntreeIso &e : arbre->entrees) EXPECT_EQ(e.cache(), oui && !e.dossier) << e.chemin;
      if (!genre.cotes.mac) continue;
      // The third word of the Finder information of a volume: the folder whose window opens.
      EXPECT_EQ(image.volume.entete.be32(genre.cotes.hfsplus ? 0x58 : 0x64), oui ? 2U : 0U);
      for (const outils::ObjetMac &o : image.volume.objets) {
        const bool racine = o.cnid == 2;
        EXPECT_EQ((o.drapeaux & 0x4000) != 0, oui && !racine) << o.chemin;
        EXPECT_EQ((o.drapeaux & 0x0400) != 0, oui && o.dossier) << o.chemin;
        EXPECT_EQ(o.drapeaux & 0x0010, 0) << o.chemin;
      }
    }
  }
}

// The readers must not be content with everything: each damage below is one that they have to see.
TEST_F(Images, abimees_sont_reconnues) {
  ArbreSource source(bac + "varie");
  arbre_varie(source);
  for (const Genre &genre : kGenres) {
    const std::string cible = bac + "saine.iso";
    const outils::ImageLue image = image_de(source, genre, cible);
    std::map<std::string, std::uint64_t> places;  // what is damaged -> byte
    if (genre.cotes.iso) {
      places["extent in path table L"] = image.joliet.chemins_l * outils::kSecteurLu + 12;
      places["name in path table M"] = image.iso.chemins_m * outils::kSecteurLu + 18;
      places["extent of a file"] = image.iso.entrees[0].extent * outils::kSecteurLu + 68 + 5;
      places["size of a root directory"] = image.joliet.entrees[0].extent * outils::kSecteurLu + 12;
      places["volume space size"] = 16 * outils::kSecteurLu + 84;
    }
    if (genre.cotes.mac) {
      const outils::Octets entete = image.volume.entete;
      const bool plus = genre.cotes.hfsplus;
      const std::uint64_t catalogue = image.volume.octet(plus ? entete.be32(0x120) : entete.be16(0x96));
      const std::uint64_t noeud = image.volume.catalogue.taille_noeud;
      places["start of the volume in the map"] = 0x40B;
      places["count of files"] = image.volume.debut + 1024 + (plus ? 0x23 : 0x57);
      places["bitmap"] = plus ? image.volume.octet(entete.be32(0x80)) : image.volume.debut + 1536;
      places["leaf records"] = catalogue + 14 + 9;
      places["free nodes"] = catalogue + 14 + 29;
      places["map of nodes"] = catalogue + 248;
      places["link of a leaf"] = catalogue + noeud * image.volume.catalogue.premiere + 3;
      places["first key of the catalog"] = catalogue + noeud * image.volume.catalogue.premiere + 14 + 5;
      places["alternate header"] = image.volume.debut + image.volume.taille - 1024 + 40;
    }
    for (const auto &[quoi, place] : places) {
      std::vector<std::uint8_t> octets = image.octets;
      octets[place] ^= 0x5A;
      const std::string abimee = bac + "abimee.iso";
      std::ofstream(abimee, std::ios::binary)
          .write(reinterpret_cast<const char *>(octets.data()), static_cast<std::streamsize>(octets.size()));
      EXPECT_FALSE(outils::lit_image(abimee, genre.cotes).fautes.vide()) << genre.nom << ": " << quoi;
    }
  }
}

// --- independent programs

/// MacBinary files of a folder by the name in their head.
std::map<std::string, std::string> macbinaires(const std::string &dossier) {
  std::map<std::string, std::string> trouves;
  for (const auto &e : fs::directory_iterator(dossier)) {
    const auto octets = outils::lit_fichier(e.path().string());
    const outils::Octets o(octets);
    trouves[o.texte(2, o.u8(1))] = o.tout();
  }
  return trouves;
}

class Programmes : public Images {
 protected:
  void SetUp() override {
    Images::SetUp();
    ::setenv("HOME", bac.c_str(), 1);  // hfsutils keeps what is mounted there
    ::setenv("LC_ALL", "C.UTF-8", 1);
  }
  static void accepte(const outils::Sortie &sortie) { EXPECT_EQ(sortie.statut, 0) << sortie.texte; }

  void verifie_hfsutils(const outils::ImageLue &image, const std::string &medium) {
    accepte(outils::lance("hmount " + outils::cite(medium)));
    const outils::Sortie liste = outils::lance("hls -lRa");
    accepte(liste);
    std::map<std::string, std::vector<const outils::ObjetMac *>> dossiers;
    for (const outils::ObjetMac &o : image.volume.objets) {
      if (o.dossier) continue;
      EXPECT_NE(liste.texte.find(o.type + "/" + o.createur), std::string::npos) << o.chemin;
      dossiers[o.chemin.substr(0, o.chemin.size() - o.nom.size())].push_back(&o);
    }
    int numero = 0;
    for (const auto &[dossier, fichiers] : dossiers) {
      const std::string sortie = bac + "hcopy" + std::to_string(++numero);
      fs::create_directory(sortie);
      // Names one by one: its patterns leave out the names that begin with a dot.
      std::string commande = "hcopy -m";
      for (const outils::ObjetMac *o : fichiers) {
        std::string nom = ":" + o->chemin;
        std::replace(nom.begin(), nom.end(), '/', ':');
        commande += " " + outils::cite(nom);
      }
      const outils::Sortie s = outils::lance(commande + " " + sortie + "/");
      accepte(s);
      const auto copies = macbinaires(sortie);
      EXPECT_EQ(copies.size(), fichiers.size()) << dossier << s.texte;
      for (const outils::ObjetMac *o : fichiers) compare_macbinaire(image, *o, copies);
      fs::remove_all(sortie);
    }
    accepte(outils::lance("humount"));
  }

  static void compare_macbinaire(const outils::ImageLue &image, const outils::ObjetMac &o,
                                 const std::map<std::string, std::string> &copies) {
    SCOPED_TRACE(o.chemin);
    const auto place = copies.find(o.nom);
    ASSERT_NE(place, copies.end());
    const std::vector<std::uint8_t> brut(place->second.begin(), place->second.end());
    const outils::Octets m(brut);
    EXPECT_EQ(m.texte(65, 8), o.type + o.createur);
    // The bits "inited", "changed" and "busy" mean the disk they come from: MacBinary leaves them out.
    EXPECT_EQ((m.u8(73) << 8 | m.u8(101)) & ~0x0301, o.drapeaux & ~0x0301);
    EXPECT_EQ(m.be32(91), o.creation);
    EXPECT_EQ(m.be32(95), o.modification);
    const std::uint64_t rsrc = 128 + (o.data.longueur + 127) / 128 * 128;
    EXPECT_TRUE(m.texte(128, m.be32(83)) == image.volume.contenu(image.vue, o.data));
    EXPECT_TRUE(m.texte(rsrc, m.be32(87)) == image.volume.contenu(image.vue, o.rsrc));
  }

  /// The files that a program extracted: path -> content.
  static void compare_extraits(const std::string &racine,
                               const std::map<std::string, std::string> &attendus) {
    std::size_t nombre = 0;
    std::error_code erreur;
    for (const auto &e : fs::recursive_directory_iterator(racine, erreur)) {
      if (!e.is_regular_file()) continue;
      ++nombre;
      const std::string chemin = e.path().string().substr(racine.size() + 1);
      const auto place = attendus.find(chemin);
      ASSERT_NE(place, attendus.end()) << chemin;
      const auto octets = outils::lit_fichier(e.path().string());
      EXPECT_TRUE(outils::Octets(octets).tout() == place->second) << chemin;
    }
    EXPECT_EQ(nombre, attendus.size());
  }
};

/// The same for pairs of records, which the program gives names of its own to tell the two forks apart: all
/// forks are there, and nothing else.
void compare_fourches(const std::string &racine, ArbreSource &source) {
  std::multiset<std::string> attendus, trouves;
  for (const outils::FichierSource &f : source.fichiers()) {
    if (f.forme == Forme::flux) continue;
    attendus.insert(f.mac.data);
    if (f.forme != Forme::simple && !f.mac.rsrc.empty()) attendus.insert(f.mac.rsrc);
  }
  for (const auto &e : fs::recursive_directory_iterator(racine)) {
    if (!e.is_regular_file()) continue;
    const auto octets = outils::lit_fichier(e.path().string());
    trouves.insert(outils::Octets(octets).tout());
  }
  EXPECT_TRUE(trouves == attendus) << trouves.size() << " files instead of " << attendus.size();
}

TEST_F(Programmes, hfsutils_lit_tout_le_volume) {
  ArbreSource source(bac + "varie");
  arbre_varie(source);
  for (const Genre &genre : kGenres) {
    if (!genre.cotes.mac || genre.cotes.hfsplus) continue;
    SCOPED_TRACE(genre.nom);
    const std::string cible = bac + genre.nom + ".iso";
    const outils::ImageLue image = image_de(source, genre, cible);
    verifie_hfsutils(image, cible);
    // The volume alone, cut out where the map says.
    const std::string volume = bac + "volume.hfs";
    std::ofstream(volume, std::ios::binary) << image.vue.texte(image.volume.debut, image.volume.taille);
    verifie_hfsutils(image, volume);
  }
}

TEST_F(Programmes, xorriso_et_isoinfo_lisent_les_deux_arbres) {
  ArbreSource source(bac + "varie");
  arbre_varie(source);
  for (const Genre &genre : kGenres) {
    if (!genre.cotes.iso) continue;
    SCOPED_TRACE(genre.nom);
    const std::string cible = bac + genre.nom + ".iso";
    const outils::ImageLue image = image_de(source, genre, cible);
    for (const bool joliet : {true, false}) {
      const std::string extraits = bac + genre.nom + (joliet ? "-joliet" : "-iso");
      accepte(outils::lance("xorriso -abort_on SORRY -read_fs " + std::string(joliet ? "any" : "nojoliet") +
                            " -indev " + outils::cite(cible) + " -osirrox on -extract / " +
                            outils::cite(extraits)));
      std::map<std::string, std::string> attendus;
      for (const outils::FichierSource &f : source.fichiers()) {
        if (!joliet) break;
        attendus[source.chemin_dans(&outils::DossierSource::nom_joliet, f.chemin, f.nom_joliet)] = f.octets;
      }
      for (const outils::EntreeIso &e : image.iso.entrees) {
        if (joliet || e.dossier) continue;
        std::string sans_version = e.chemin.substr(0, e.chemin.size() - 2);
        if (sans_version.ends_with('.')) sans_version.pop_back();
        attendus[sans_version] = image.vue.texte(e.extent * outils::kSecteurLu, e.taille);
      }
      if (genre.cotes.apple)
        compare_fourches(extraits, source);
      else
        compare_extraits(extraits, attendus);
    }
    for (const outils::ArbreIso *arbre : {&image.iso, &image.joliet}) {
      const outils::Sortie s = outils::lance("isoinfo -f " + std::string(arbre->joliet ? "-J " : "") + "-i " +
                                             outils::cite(cible));
      accepte(s);
      EXPECT_EQ(static_cast<std::size_t>(std::count(s.texte.begin(), s.texte.end(), '\n')),
                arbre->entrees.size() - 1)
          << s.texte;
      for (const outils::EntreeIso &e : arbre->entrees) {
        const bool ascii = std::all_of(e.chemin.begin(), e.chemin.end(), [](char c) { return c > 0; });
        if (!ascii || e.chemin.empty()) continue;
        EXPECT_NE(s.texte.find("/" + e.chemin + "\n"), std::string::npos) << e.chemin;
      }
    }
  }
}

}  // namespace
}  // namespace varnion
