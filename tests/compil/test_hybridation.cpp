#include "compil/hybridation.hpp"

#include <gtest/gtest.h>

#include "compil/pistes.hpp"
#include "outils/atelier.hpp"
#include "outils/image_lue.hpp"
#include "outils/programmes.hpp"

// Images joined and parted, held against the image that a compile makes of the same tree.

namespace varnion {
namespace {

using namespace essai;
using outils::ArbreSource;
using outils::octets_quelconques;
namespace fs = std::filesystem;

std::string octets(const std::string &chemin) {
  const auto lus = outils::lit_fichier(chemin);
  return {lus.begin(), lus.end()};
}

void be32_dans(std::string &s, std::size_t position, std::uint32_t valeur) {
  for (std::size_t i = 0; i < 4; ++i) s[position + i] = static_cast<char>(valeur >> (24 - 8 * i));
}

/// Content by path.
using Contenus = std::map<std::string, std::string>;
Contenus cote_iso(const outils::ImageLue &i, const outils::ArbreIso &arbre) {
  Contenus c;
  for (const outils::EntreeIso &e : arbre.entrees)
    c[e.chemin] = e.dossier ? "folder" : i.vue.texte(e.extent * outils::kSecteurLu, e.taille);
  return c;
}
Contenus cote_mac(const outils::ImageLue &i) {
  Contenus c;
  for (const outils::ObjetMac &o : i.volume.objets)
    c[o.chemin] =
        o.dossier ? "folder" : i.volume.contenu(i.vue, o.data) + "|" + i.volume.contenu(i.vue, o.rsrc);
  return c;
}

class Hybridation : public Atelier {
 protected:
  void SetUp() override {
    Atelier::SetUp();
    ArbreSource a(bac + "src");
    a.fichier("un.txt", octets_quelconques(3000, 1));
    a.fichier("vide", "");
    a.dossier("sous");
    a.fichier("sous/grand.dat", octets_quelconques(1'700'000, 3));
    outils::FichierMac mac;
    mac.nom = "Deux fourches";
    mac.data = octets_quelconques(5000, 4);
    mac.rsrc = octets_quelconques(900, 5);
    a.conteneur("sous/deux.bin", outils::Forme::macbinary, mac);
  }
  /// The three images of the tree: "mac.dmg", "iso.iso", "tout.iso".
  void images(bool hfsplus) {
    for (const auto &[nom, genre] : {std::pair{"mac.dmg", GenreDemande::mac},
                                     {"iso.iso", GenreDemande::iso},
                                     {"tout.iso", GenreDemande::hybride}}) {
      FichierProjet projet = projet_de(bac + "src", hfsplus);
      ASSERT_EQ(compile(projet, bac + nom, genre).resultat, kCompilReussie) << messages();
    }
  }
  void pose_octets(const std::string &nom, const std::string &contenu) const {
    std::ofstream(bac + nom, std::ios::binary) << contenu;
  }
  int joint() { return hybridation_fichiers(bac + "mac.dmg", bac + "iso.iso"); }
  /// The ISO image as raw sectors, by the track routine.
  void en_brut(int mode) {
    const std::uint64_t taille = fs::file_size(bac + "iso.iso");
    ASSERT_EQ(piste_brute(bac + "iso.iso", bac + "brut.iso", mode, taille), kPisteFaite);
    ASSERT_EQ(fs::file_size(bac + "brut.iso"), taille / 2048 * 2352);
  }
};

TEST_F(Hybridation, vaut_la_compilation_du_meme_arbre_et_se_defait) {
  for (const bool hfsplus : {false, true}) {
    SCOPED_TRACE(hfsplus);
    images(hfsplus);
    const std::string avant = octets(bac + "iso.iso"), partition = octets(bac + "mac.dmg");
    ASSERT_EQ(joint(), kHybrideFaite);
    const outils::Cotes cotes{true, true, hfsplus};
    outils::Cotes jointes = cotes;
    jointes.jointe = true;
    const outils::ImageLue jointe = outils::lit_image(bac + "iso.iso", jointes);
    const outils::ImageLue compilee = outils::lit_image(bac + "tout.iso", cotes);
    EXPECT_TRUE(jointe.fautes.vide()) << jointe.fautes.texte();
    EXPECT_TRUE(cote_iso(jointe, jointe.iso) == cote_iso(compilee, compilee.iso));
    EXPECT_TRUE(cote_iso(jointe, jointe.joliet) == cote_iso(compilee, compilee.joliet));
    EXPECT_TRUE(cote_mac(jointe) == cote_mac(compilee));
    EXPECT_EQ(cote_mac(jointe).size(), 6U);
    EXPECT_EQ(jointe.volume.debut, avant.size());
    EXPECT_EQ(jointe.carte.blocs * 512ULL, jointe.vue.taille());
    EXPECT_EQ(jointe.carte.partitions.size(), 2U);
    const std::string apres = octets(bac + "iso.iso");
    EXPECT_EQ(joint(), kHybrideDeja);
    EXPECT_TRUE(octets(bac + "iso.iso") == apres);
    ASSERT_EQ(deshybridation(bac + "iso.iso"), kSepareFaite);
    EXPECT_TRUE(octets(bac + "iso.iso") == avant);
    EXPECT_TRUE(octets(bac + "mac.dmg") == partition);
  }
}

TEST_F(Hybridation, un_refus_laisse_l_image_iso_intacte) {
  images(false);
  const std::string bonne = octets(bac + "mac.dmg"), iso = octets(bac + "iso.iso");
  std::string sans_pm = bonne, sans_hfs = bonne, loin = bonne, gpt(4096, '\0'), fausse_fin = bonne;
  sans_pm[512] = 'X';
  sans_hfs.replace(1024 + 0x30, 9, "Apple_UFS");
  be32_dans(loin, 1024 + 8, 0xFFFFFFFF);
  gpt[0x1C2] = '\xEE';
  gpt[510] = '\x55';
  gpt[511] = '\xAA';
  fausse_fin += "koly" + std::string(508, '\x7F');
  struct {
    const char *quoi;
    std::string partition;
    int resultat;
  } const cas[] = {
      {"empty", "", kHybrideSansCarte},
      {"bare volume", bonne.substr(64 * 512), kHybrideSansCarte},
      {"no entry", sans_pm, kHybrideSansCarte},
      {"no HFS partition", sans_hfs, kHybrideSansCarte},
      {"start outside", loin, kHybrideTronquee},
      {"cut in the volume", bonne.substr(0, bonne.size() / 2), kHybrideTronquee},
      {"cut before the volume", bonne.substr(0, 2000), kHybrideTronquee},
      {"GPT", gpt, kHybrideExpansion},
      {"sparse", "sprs" + bonne, kHybrideExpansion},
      {"lying trailer", fausse_fin, kHybrideExpansion},
      {"presumed compressed", "x" + bonne, kHybrideExpansion},
  };
  for (const auto &c : cas) {
    pose_octets("mac.dmg", c.partition);
    EXPECT_EQ(joint(), c.resultat) << c.quoi;
    EXPECT_TRUE(octets(bac + "iso.iso") == iso) << c.quoi;
  }
  fs::remove(bac + "mac.dmg");
  EXPECT_EQ(joint(), kHybridePartitionFermee);
  pose_octets("mac.dmg", bonne);
  ops.avant_arret = 0;
  EXPECT_EQ(joint(), kHybrideArret);
  ops.avant_arret = -1;
  EXPECT_TRUE(octets(bac + "iso.iso") == iso);
  for (const std::uint64_t marge : {std::uint64_t{0}, std::uint64_t{100'000}, std::uint64_t{1'500'000}}) {
    {
      const DisquePlein plein(iso.size() + marge);
      EXPECT_EQ(joint(), kHybrideEcriture);
      EXPECT_EQ(errno, EFBIG);
    }
    EXPECT_TRUE(octets(bac + "iso.iso") == iso) << marge;
  }
  const std::string sans_iso = std::string(0x9000, 'z');
  pose_octets("iso.iso", sans_iso);
  EXPECT_EQ(joint(), kHybridePasIso);
  EXPECT_TRUE(octets(bac + "iso.iso") == sans_iso);
  fs::remove(bac + "iso.iso");
  EXPECT_EQ(joint(), kHybrideIsoFermee);
}

TEST_F(Hybridation, les_longueurs_impaires_et_les_cartes_a_pilotes_donnent_une_image_saine) {
  images(false);
  std::string partition = octets(bac + "mac.dmg");
  const std::string iso = octets(bac + "iso.iso");
  // A driver ahead of the volume, as disks have it.
  const std::string volume = partition.substr(1024, 512);
  partition.replace(1536, 512, volume);
  partition.replace(1024 + 0x30, 15, std::string("Apple_Driver43\0", 15));
  for (const std::size_t entree : {512, 1024, 1536}) be32_dans(partition, entree + 4, 3);
  pose_octets("mac.dmg", partition + "tail");
  pose_octets("iso.iso", iso + std::string(513, 't'));
  ops.journaux.clear();
  ASSERT_EQ(joint(), kHybrideFaite);
  const outils::ImageLue jointe = outils::lit_image(bac + "iso.iso", {.jointe = true});
  EXPECT_TRUE(jointe.fautes.vide()) << jointe.fautes.texte();
  EXPECT_EQ(jointe.volume.debut, iso.size() + 2048);
  EXPECT_EQ(jointe.vue.taille() % 2048, 0U);
  EXPECT_EQ(ops.journaux.size(), 2U) << "both departures are in the journal";
}

TEST_F(Hybridation, une_image_brute_est_remise_en_secteurs_de_donnees) {
  images(true);
  const std::string iso = octets(bac + "iso.iso");
  for (const int mode : {1, 2}) {
    SCOPED_TRACE(mode);
    en_brut(mode);
    ASSERT_EQ(hybridation_fichiers(bac + "mac.dmg", bac + "brut.iso"), kHybrideFaite);
    const outils::ImageLue jointe = outils::lit_image(bac + "brut.iso", {.hfsplus = true, .jointe = true});
    EXPECT_TRUE(jointe.fautes.vide()) << jointe.fautes.texte();
    ASSERT_EQ(deshybridation(bac + "brut.iso"), kSepareFaite);
    EXPECT_TRUE(octets(bac + "brut.iso") == iso);
  }
  // A mark where no sector of any form has it: redocking would leave nothing.
  std::string etrange(40'000, 'e');
  etrange.replace(0x91C9, 5, "CD001");
  pose_octets("brut.iso", etrange);
  EXPECT_EQ(hybridation_fichiers(bac + "mac.dmg", bac + "brut.iso"), kHybridePasIso);
  EXPECT_TRUE(octets(bac + "brut.iso") == etrange);
}

TEST_F(Hybridation, la_racine_s_ouvre_au_montage_selon_les_reglages) {
  for (const bool hfsplus : {false, true}) {
    images(hfsplus);
    etat<OptionsProgramme>().vn_options |= 0x8;
    const std::uint64_t taille = fs::file_size(bac + "iso.iso");
    ASSERT_EQ(joint(), kHybrideFaite);
    const std::string mac = octets(bac + "mac.dmg"), iso = octets(bac + "iso.iso");
    const std::size_t champ = 0x400 + (hfsplus ? 0x58 : 0x64);
    const std::string deux("\0\0\0\2", 4);
    EXPECT_EQ(mac.substr(64 * 512 + champ, 4), deux);
    EXPECT_EQ(iso.substr(taille + champ, 4), deux);
    etat<OptionsProgramme>().vn_options &= ~0x8U;
  }
}

TEST_F(Hybridation, le_bureau_demande_et_dit_ses_refus) {
  images(false);
  OperationsScript script;
  brancher_operations(&script);
  const Fichier partition = plateforme::ouvre(bac + "mac.dmg", Ouverture::lecture_ecriture);
  const std::uint64_t p = fs::file_size(bac + "mac.dmg");
  const std::string iso = octets(bac + "iso.iso");
  // One byte below the bound passes without a question; at the bound the answer No leaves all as it was.
  fs::resize_file(bac + "iso.iso", 660'000'001 - p);
  script.reponses = {0};
  EXPECT_EQ(hybridation(partition, bac + "iso.iso"), kHybrideArret);
  EXPECT_TRUE(script.reponses.empty());
  EXPECT_EQ(fs::file_size(bac + "iso.iso"), 660'000'001 - p);
  fs::resize_file(bac + "iso.iso", 660'000'000 - p);
  EXPECT_EQ(hybridation(partition, bac + "iso.iso"), kHybrideFaite);
  script.reponses = {1};
  EXPECT_EQ(hybridation(partition, bac + "iso.iso"), kHybrideDeja);
  EXPECT_EQ(script.erreurs.size(), 1U);
  // No ISO image, and something where the map goes: a question each.
  pose_octets("iso.iso", std::string(0x10000, 'z'));
  for (const std::deque<int> &reponses : {std::deque<int>{0}, {1, 0}}) {
    script.reponses = reponses;
    EXPECT_EQ(hybridation(partition, bac + "iso.iso"), kHybrideArret);
    EXPECT_TRUE(octets(bac + "iso.iso") == std::string(0x10000, 'z'));
  }
  script.reponses = {1, 1};
  EXPECT_EQ(hybridation(partition, bac + "iso.iso"), kHybrideFaite);
  EXPECT_TRUE(script.reponses.empty());
  EXPECT_EQ(fs::file_size(bac + "iso.iso") % 2048, 0U);
  brancher_operations(&ops);
}

// Boot code, a GUID map: whatever is not zero where the map goes.
TEST_F(Hybridation, un_code_d_amorce_n_est_ecrase_que_sur_demande) {
  images(false);
  const std::string vierge = octets(bac + "iso.iso");
  for (const std::size_t position : {std::size_t{0}, std::size_t{510}, std::size_t{1535}}) {
    std::string iso = vierge;
    iso[position] = '\x55';
    pose_octets("iso.iso", iso);
    OperationsScript script;
    brancher_operations(&script);
    for (const char *cible : {"", "neuf.iso"}) {
      script.reponses = {0};
      const std::string vers = *cible == '\0' ? "" : bac + cible;
      EXPECT_EQ(hybridation_fichiers(bac + "mac.dmg", bac + "iso.iso", nullptr, {vers}), kHybrideAmorce);
      EXPECT_TRUE(script.reponses.empty());
    }
    const Fichier partition = plateforme::ouvre(bac + "mac.dmg", Ouverture::lecture);
    EXPECT_TRUE(apercu_hybridation(partition, bac + "iso.iso").amorce);
    EXPECT_TRUE(octets(bac + "iso.iso") == iso);
    EXPECT_FALSE(fs::exists(bac + "neuf.iso"));
    CibleImage sur_place;
    sur_place.force = true;
    EXPECT_EQ(hybridation_fichiers(bac + "mac.dmg", bac + "iso.iso", nullptr, sur_place), kHybrideFaite);
    brancher_operations(&ops);
  }
  // Raw sectors begin with their sync: what counts is the data.
  pose_octets("iso.iso", vierge);
  en_brut(1);
  const Fichier partition = plateforme::ouvre(bac + "mac.dmg", Ouverture::lecture);
  EXPECT_FALSE(apercu_hybridation(partition, bac + "brut.iso").amorce);
}

TEST_F(Hybridation, vers_un_fichier_neuf_les_images_restent) {
  images(true);
  etat<OptionsProgramme>().vn_options |= 0x8;
  en_brut(2);
  const std::string iso = octets(bac + "iso.iso"), mac = octets(bac + "mac.dmg"),
                    brut = octets(bac + "brut.iso");
  fs::permissions(bac + "iso.iso", fs::perms::owner_read | fs::perms::owner_write);
  const Fichier partition = plateforme::ouvre(bac + "mac.dmg", Ouverture::lecture);
  const ApercuHybride apercu = apercu_hybridation(partition, bac + "iso.iso");
  EXPECT_EQ(apercu.resultat, kHybrideFaite);
  EXPECT_FALSE(apercu.amorce || apercu.brute || apercu.plus_qu_un_cd);
  ASSERT_EQ(hybridation_vers(partition, bac + "iso.iso", {bac + "a.iso"}), kHybrideFaite);
  ASSERT_EQ(hybridation_fichiers(bac + "mac.dmg", bac + "brut.iso", nullptr, {bac + "b.iso"}), kHybrideFaite);
  EXPECT_TRUE(octets(bac + "iso.iso") == iso && octets(bac + "mac.dmg") == mac &&
              octets(bac + "brut.iso") == brut);
  EXPECT_EQ(fs::status(bac + "a.iso").permissions(), fs::perms::owner_read | fs::perms::owner_write);
  // The same as in place, where the partition image is changed too.
  const std::string jointe = octets(bac + "a.iso");
  EXPECT_EQ(jointe.size(), apercu.total());
  EXPECT_TRUE(octets(bac + "b.iso") == jointe);
  ASSERT_EQ(joint(), kHybrideFaite);
  EXPECT_TRUE(octets(bac + "iso.iso") == jointe);
  etat<OptionsProgramme>().vn_options &= ~0x8U;

  const ApercuSeparation separation = apercu_separation(bac + "a.iso");
  EXPECT_EQ(separation.resultat, kSepareFaite);
  EXPECT_EQ(separation.garde, iso.size());
  EXPECT_EQ(separation.garde + separation.coupe, jointe.size());
  EXPECT_FALSE(separation.partage);
  EXPECT_TRUE(apercu_separation(bac + "tout.iso").partage);
  ASSERT_EQ(deshybridation_vers(bac + "a.iso", {bac + "c.iso"}), kSepareFaite);
  EXPECT_TRUE(octets(bac + "c.iso") == iso);
  EXPECT_TRUE(octets(bac + "a.iso") == jointe);
  // No name that is taken, not one of the images by any path, and nothing that is half done.
  pose_octets("pris.iso", "a moi");
  EXPECT_EQ(hybridation_vers(partition, bac + "c.iso", {bac + "pris.iso"}), kHybrideCible);
  EXPECT_EQ(deshybridation_vers(bac + "a.iso", {bac + "pris.iso"}), kSepareCible);
  fs::create_hard_link(bac + "c.iso", bac + "autre_nom.iso");
  fs::create_symlink("mac.dmg", bac + "lien.dmg");
  const CibleImage partout{bac + "autre_nom.iso", Ecrasement::toujours};
  EXPECT_EQ(hybridation_vers(partition, bac + "c.iso", partout), kHybrideMemes);
  EXPECT_EQ(deshybridation_vers(bac + "c.iso", partout), kSepareMemes);
  EXPECT_EQ(hybridation_vers(partition, bac + "c.iso", {bac + "lien.dmg", Ecrasement::toujours}),
            kHybrideMemes);
  {
    const DisquePlein plein(iso.size() / 2);
    const CibleImage remplace{bac + "pris.iso", Ecrasement::toujours};
    EXPECT_EQ(hybridation_vers(partition, bac + "c.iso", remplace), kHybrideEcriture);
    EXPECT_EQ(deshybridation_vers(bac + "a.iso", remplace), kSepareEcriture);
  }
  EXPECT_EQ(octets(bac + "pris.iso"), "a moi");
  EXPECT_EQ(octets(bac + "c.iso"), iso);
  for (const auto &entree : fs::directory_iterator(bac))
    EXPECT_NE(entree.path().extension(), ".part") << entree.path();
}

TEST_F(Hybridation, la_separation_ne_detruit_rien) {
  images(false);
  OperationsScript script;
  brancher_operations(&script);
  // What is all partition would be cut to its head.
  const std::string mac = octets(bac + "mac.dmg"), tout = octets(bac + "tout.iso");
  EXPECT_EQ(deshybridation(bac + "mac.dmg"), kSeparePasHybride);
  EXPECT_TRUE(octets(bac + "mac.dmg") == mac);
  // A compiled hybrid has the data of both sides in its volume: asked about.
  script.reponses = {0};
  EXPECT_EQ(deshybridation(bac + "tout.iso"), kSeparePartage);
  EXPECT_TRUE(octets(bac + "tout.iso") == tout);
  std::string loin = tout;
  be32_dans(loin, 1024 + 8, 0x7FFFFFFF);
  pose_octets("loin.iso", loin);
  EXPECT_EQ(deshybridation(bac + "loin.iso"), kSeparePasHybride);
  EXPECT_TRUE(octets(bac + "loin.iso") == loin);
  // What is no joined image keeps each byte and its mode: no map, no partition in it, no tree before it,
  // whatever the number says where the map would have it.
  ASSERT_EQ(joint(), kHybrideFaite);
  const std::string jointe = octets(bac + "iso.iso");
  const auto change = [&](std::size_t position, std::string_view texte) {
    std::string autre = jointe;
    return autre.replace(position, texte.size(), texte);
  };
  const std::string plein(0x20000, 'p');
  const std::pair<const char *, std::string> cas[] = {
      {"a project", "VNRQ" + std::string(5000, '\0')},
      {"an image with boot code", plein.substr(0, 0x8000) + jointe.substr(0x8000)},
      {"a start of zero", change(1024 + 8, std::string_view("\0\0\0\0", 4))},
      {"no map", change(0, "XX")},
      {"another partition", change(1024 + 0x30, "Apple_UFS")},
      {"no tree", change(0x8001, "XXXXX")},
      {"a start before the tree", change(1024 + 8, std::string_view("\0\0\0\x40", 4))},
      {"a start in the root folder", change(1024 + 8, std::string_view("\0\0\0\x44", 4))}};
  for (const auto &[quoi, contenu] : cas) {
    SCOPED_TRACE(quoi);
    pose_octets("x.iso", contenu);
    fs::permissions(bac + "x.iso", fs::perms::owner_read);
    EXPECT_LT(deshybridation(bac + "x.iso"), 0);
    EXPECT_LT(apercu_separation(bac + "x.iso").resultat, 0);
    EXPECT_LT(deshybridation_vers(bac + "x.iso", {bac + "neuf.iso"}), 0);
    EXPECT_TRUE(octets(bac + "x.iso") == contenu);
    EXPECT_EQ(fs::status(bac + "x.iso").permissions(), fs::perms::owner_read);
    EXPECT_FALSE(fs::exists(bac + "neuf.iso"));
    fs::remove(bac + "x.iso");
  }
  pose_octets("court", "ER");
  EXPECT_EQ(deshybridation(bac + "court"), kSeparePasHybride);
  EXPECT_EQ(deshybridation(bac + "absent"), kSepareFermee);
  brancher_operations(&ops);
}

// --- raw sectors

unsigned produit(unsigned a, unsigned b) {  // in GF(2^8) modulo x^8+x^4+x^3+x^2+1
  unsigned r = 0;
  for (; b != 0; b >>= 1, a = a << 1 ^ ((a & 0x80) != 0 ? 0x11D : 0))
    if ((b & 1) != 0) r ^= a;
  return r;
}

// Both syndromes of each word of the two product codes are zero (ECMA-130 annex A).
void verifie_parites(std::string s) {
  if (s[15] == 2) s.replace(12, 4, 4, '\0');
  for (int code = 0; code < 2; ++code) {
    const bool q = code == 1;
    for (std::size_t mot = 0; mot < (q ? 52U : 86U); ++mot) {
      unsigned somme = 0, ponderee = 0;
      const auto ajoute = [&](std::size_t octet) {
        const unsigned v = static_cast<std::uint8_t>(s[octet]);
        somme ^= v;
        ponderee = produit(ponderee, 2) ^ v;
      };
      for (std::size_t i = 0; i < (q ? 43U : 24U); ++i)
        ajoute(12 + (q ? (mot / 2 * 86 + i * 88) % 2236 + mot % 2 : i * 86 + mot));
      ajoute((q ? 0x8C8 : 0x81C) + mot);
      ajoute((q ? 0x8C8 + 52 : 0x81C + 86) + mot);
      ASSERT_EQ(somme, 0U) << code << " " << mot;
      ASSERT_EQ(ponderee, 0U) << code << " " << mot;
    }
  }
}

// The bytes and their check together divide by (x^16+x^15+x^2+1)(x^16+x^2+x+1), bits taken from the lowest.
void verifie_edc(const std::string &s, std::size_t debut, std::size_t fin) {
  std::uint64_t polynome = 0;
  for (const int i : {16, 15, 2, 0})
    for (const int j : {16, 2, 1, 0}) polynome ^= std::uint64_t{1} << (i + j);
  std::uint64_t reste = 0;
  for (std::size_t i = debut; i < fin + 4; ++i)
    for (int bit = 0; bit < 8; ++bit) {
      reste = reste << 1 | (static_cast<std::uint8_t>(s[i]) >> bit & 1);
      if ((reste >> 32) != 0) reste ^= polynome;
    }
  EXPECT_EQ(reste, 0U);
}

void verifie_secteur(const std::string &s, std::uint32_t numero) {
  const auto bcd = [&](std::size_t i) {
    return static_cast<unsigned>((static_cast<std::uint8_t>(s[i]) >> 4) * 10 + (s[i] & 15));
  };
  EXPECT_EQ(s.substr(0, 12), std::string(1, '\0') + std::string(10, '\xFF') + std::string(1, '\0'));
  EXPECT_EQ(bcd(12) * 4500 + bcd(13) * 75 + bcd(14), numero + 150);
  if (s[15] == 2)
    verifie_edc(s, 16, 0x818);
  else
    verifie_edc(s, 0, 0x810);
  verifie_parites(s);
}

TEST_F(Hybridation, une_piste_brute_porte_adresses_et_controles) {
  images(false);
  const std::string image = octets(bac + "tout.iso");
  for (const int mode : {1, 2}) {
    SCOPED_TRACE(mode);
    ASSERT_EQ(piste_brute(bac + "tout.iso", bac + "piste.bin", mode, image.size()), kPisteFaite);
    const std::string piste = octets(bac + "piste.bin");
    ASSERT_EQ(piste.size(), image.size() / 2048 * 2352);
    const std::size_t donnees = mode == 1 ? 16 : 24;
    for (std::size_t n = 0; n < image.size() / 2048; ++n) {
      const std::string secteur = piste.substr(n * 2352, 2352);
      if (n % 50 == 0) verifie_secteur(secteur, static_cast<std::uint32_t>(n));
      // The block count of the descriptor alone takes in the whole track.
      const std::size_t egal = n == 0 ? 8 : 0;
      ASSERT_TRUE(secteur.substr(donnees + egal, 2048 - egal) == image.substr(n * 2048 + egal, 2048 - egal))
          << n;
    }
  }
  {
    const DisquePlein plein(100'000);
    EXPECT_EQ(piste_brute(bac + "tout.iso", bac + "plein.bin", 1, image.size()), kPisteEcriture);
  }
  EXPECT_FALSE(fs::exists(bac + "plein.bin"));
}

TEST_F(Hybridation, une_piste_iso_de_video_cd_recoit_le_volume) {
  images(false);
  const std::uint64_t n = fs::file_size(bac + "tout.iso") / 2048;
  // 400 sectors of which 300 are the ISO track, two entries in the table.
  std::string cuit = octets(bac + "iso.iso").substr(0, 300 * 2048) + std::string(100 * 2048, 'v');
  cuit.replace(151 * 2048, 20, std::string("ENTRYVCD\2\0\0\2\2\0\6\0\3\0\6\x50", 20));
  pose_octets("cuit", cuit);
  ASSERT_EQ(piste_brute(bac + "cuit", bac + "v.bin", 2, cuit.size()), kPisteFaite);
  const std::string feuille =
      "FILE\r\nTRACK 1\r\nINDEX 1\r\nTRACK 2\r\nINDEX 0\r\nold\r\nTRACK 3\r\nINDEX 0\r\nold\r\n";
  pose_octets("v.cue", feuille);
  const std::string avant = octets(bac + "v.bin");
  {
    const DisquePlein plein(avant.size() + 5000);
    EXPECT_EQ(piste_video(bac + "tout.iso", n * 2048, bac + "v.bin"), kPisteEcriture);
  }
  EXPECT_TRUE(octets(bac + "v.bin") == avant);
  EXPECT_TRUE(octets(bac + "v.cue") == feuille);
  EXPECT_EQ(piste_video(bac + "iso.iso", n * 2048, bac + "v.bin"), kPisteSansCarte);
  EXPECT_EQ(piste_video(bac + "tout.iso", n * 2048, bac + "iso.iso"), kPisteTable);
  ASSERT_EQ(piste_video(bac + "tout.iso", n * 2048, bac + "v.bin"), kPisteFaite);
  EXPECT_TRUE(octets(bac + "v.BAK") == avant);
  EXPECT_TRUE(octets(bac + "v.BAC") == feuille);
  const std::string video = octets(bac + "v.bin");
  ASSERT_EQ(video.size(), (400 + n + 150) * 2352);
  std::string lu;
  for (std::size_t i = 0; i < video.size() / 2352; ++i) {
    if (i % 37 == 0 || i == 16 || i == 151)
      verifie_secteur(video.substr(i * 2352, 2352), static_cast<std::uint32_t>(i));
    lu += video.substr(i * 2352 + 24, 2048);
  }
  pose_octets("lu.iso", lu);
  const std::vector<std::uint8_t> brut(lu.begin(), lu.end());
  const outils::CarteLue carte = outils::lit_carte(outils::Octets(brut));
  const outils::Partition *p = carte.volume();
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(lu.substr(p->debut * 512 + 1024, 2), "BD");
  EXPECT_EQ(carte.blocs, (400 + n + 150) * 4);
  EXPECT_EQ(outils::Octets(brut).be32(16 * 2048 + 84), 400 + n + 150);
  EXPECT_TRUE(lu.substr((300 + n + 150) * 2048) == std::string(100 * 2048, 'v'));
  const auto bcd = [](std::uint64_t v) { return static_cast<char>(v / 10 << 4 | v % 10); };
  const std::uint64_t e = 450 + n + 150;
  EXPECT_EQ(lu.substr(151 * 2048 + 13, 3), (std::string{bcd(e / 4500), bcd(e / 75 % 60), bcd(e % 75)}));
  EXPECT_EQ(video[151 * 2352 + 18], '\x88');
  char ligne[64];
  const std::uint64_t t = e - 150;
  std::snprintf(ligne, sizeof ligne, "INDEX 0\r\n    INDEX 01 %02d:%02d:%02d\r\nTRACK 3\r\n",
                static_cast<int>(t / 4500), static_cast<int>(t / 75 % 60), static_cast<int>(t % 75));
  EXPECT_NE(octets(bac + "v.cue").find(ligne), std::string::npos) << octets(bac + "v.cue");
}

}  // namespace
}  // namespace varnion
