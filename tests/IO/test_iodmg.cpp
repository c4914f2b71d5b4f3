#include "IO/iodmg.hpp"

#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include "IO/adc.hpp"
#include "IO/bac.hpp"
#include "IO/iodmg_crc.hpp"
#include "IO/iodmg_morceaux.hpp"
#include "outils/decomprime.hpp"
#include "outils/fabrique_dmg.hpp"

namespace varnion {
namespace {

using essai::Bac;
using essai::ChunkDmg;
using essai::decomprime;
using essai::FabriqueDmg;
using essai::fichier_de;
using essai::TableFabriquee;
using essai::tout;

using Dmg = Bac;

std::string sample(const std::string &nom) {
  const Fichier fichier = plateforme::ouvre(VN_DONNEES "/dmg/" + nom, Ouverture::lecture);
  EXPECT_TRUE(fichier.ouvert()) << nom;
  return tout(fichier);
}

struct Lecture {
  ResultatDmg resultat;
  std::string clair;
};
Lecture lit(const std::string &image, const OptionsDmg &options = {}) {
  const Fichier source = fichier_de(image), cible = fichier_de("left of a file before");
  Lecture lecture{decompresse_image(source, cible, options), {}};
  lecture.clair = tout(cible);
  return lecture;
}
OptionsDmg usuelle() {
  OptionsDmg options;
  options.usuelle = true;
  return options;
}

// Text that compresses, in whole sectors.
std::string secteurs(std::size_t nombre, unsigned graine) {
  std::string octets;
  while (octets.size() < nombre * 512) octets += "line " + std::to_string(graine = graine * 7 + 13) + "\n";
  octets.resize(nombre * 512);
  return octets;
}

// One table with a chunk of every type; ADC as literals.
FabriqueDmg tous_types(std::string &clair) {
  const std::string a = secteurs(40, 1), b = secteurs(60, 2), c = secteurs(5, 3), d = secteurs(4, 4);
  std::string adc;
  for (std::size_t i = 0; i < c.size(); i += 128) adc += "\xFF" + c.substr(i, 128);
  clair = a + b + c + d + std::string(7 * 512, '\0');
  FabriqueDmg fabrique;
  fabrique.secteurs = clair.size() / 512 + 3;
  fabrique.tables.push_back({0,
                             {{0x7FFFFFFE, 0, {}},
                              {0x80000005, 40, FabriqueDmg::par_zlib(a)},
                              {0x80000006, 60, FabriqueDmg::par_bzip2(b)},
                              {0x80000004, 5, adc},
                              {1, 4, d},
                              {0, 7, {}},
                              {2, 3, {}}},
                             clair});
  clair += std::string(3 * 512, '\0');
  return fabrique;
}

TEST_F(Dmg, Echantillons) {
  const std::string disque = decomprime("apm/made_apm_hfs.img.gz");
  ASSERT_EQ(disque.size(), 857088U);
  struct Cas {
    const char *nom;
    std::uint32_t crc;
    std::size_t octets;
    int code_usuel;
    std::size_t octets_usuels;
    bool usuelle_entiere;
  };
  const std::uint32_t crc_disque = FabriqueDmg::crc(disque);
  const std::uint32_t crc_volume = FabriqueDmg::crc(disque.substr(32768, 819200));
  for (const Cas &cas : {Cas{"growl-0.7.6-sdk.dmg", 0, 5448704, 0, 5448704, true},
                         Cas{"impluse-test-disk.dmg", 0xae977065, 10485760, -1, 10485760, false},
                         Cas{"hfsplus_adc.dmg", 0, 1964032, 0, 20480, false},
                         Cas{"made_udzo.dmg", crc_disque, 857088, 0, 857088, true},
                         Cas{"made_udbz.dmg", crc_disque, 857088, 0, 857088, true},
                         Cas{"made_udco.dmg", crc_disque, 857088, 0, 857088, true},
                         Cas{"made_udco_overlap.dmg", crc_disque, 857088, 0, 857088, true},
                         Cas{"made_udro.dmg", crc_disque, 857088, 0, 857088, true},
                         Cas{"made_whole_noplst.dmg", crc_volume, 819200, 0, 819200, true}}) {
    const std::string image = sample(cas.nom);
    const Lecture entiere = lit(image), usuel = lit(image, usuelle());
    EXPECT_TRUE(entiere.resultat.reussi() && entiere.resultat.controle_fait) << cas.nom;
    EXPECT_EQ(entiere.clair.size(), cas.octets) << cas.nom;
    if (cas.crc != 0) {
      EXPECT_EQ(FabriqueDmg::crc(entiere.clair), cas.crc) << cas.nom;
    }
    EXPECT_EQ(usuel.resultat.code, cas.code_usuel) << cas.nom;
    EXPECT_EQ(usuel.clair.size(), cas.octets_usuels) << cas.nom;
    EXPECT_EQ(apercu_dmg(fichier_de(image)).usuelle_entiere, cas.usuelle_entiere) << cas.nom;
    const bool chevauche = entiere.resultat.copie_publiee;
    EXPECT_EQ(chevauche,
              std::string(cas.nom) == "hfsplus_adc.dmg" || std::string(cas.nom) == "made_udco_overlap.dmg")
        << cas.nom;
    EXPECT_EQ(usuel.clair == entiere.clair.substr(0, usuel.clair.size()), !chevauche)
        << cas.nom << ": the usual reading fills overlapping copies with one byte";
  }
  EXPECT_EQ(apercu_dmg(fichier_de(sample("impluse-test-disk.dmg"))).tables_usuelles, 0U) << "it fails";
  const ApercuDmg apercu = apercu_dmg(fichier_de(sample("hfsplus_adc.dmg")));
  EXPECT_EQ(apercu.tables, 8U);
  EXPECT_EQ(apercu.tables_usuelles, 4U);
}

TEST_F(Dmg, CopiePublieeRefusee) {
  OptionsDmg options;
  int demandes = 0;
  options.accepte_copie_publiee = [&] { return ++demandes > 1; };
  const std::string image = sample("made_udco_overlap.dmg");
  EXPECT_EQ(lit(image, options).resultat.etat, EtatDmg::controle_table);
  EXPECT_TRUE(lit(image, options).resultat.reussi());
  EXPECT_EQ(demandes, 2);
  EXPECT_TRUE(lit(sample("made_udco.dmg"), options).resultat.reussi());
  EXPECT_EQ(demandes, 2) << "nothing to ask where nothing is spoiled";
}

TEST_F(Dmg, TousTypesEtOrdre) {
  std::string clair;
  FabriqueDmg fabrique = tous_types(clair);
  for (const unsigned fils : {1U, 2U, 9U}) {
    OptionsDmg options;
    options.fils = fils;
    std::uint64_t avant = 0;
    options.progression = [&](std::uint64_t fait, std::uint64_t total) {
      EXPECT_LT(avant, fait);
      EXPECT_EQ(total, clair.size());
      avant = fait;
      return true;
    };
    const Lecture lecture = lit(fabrique.image(), options);
    EXPECT_TRUE(lecture.resultat.reussi() && lecture.resultat.controle_fait) << fils;
    EXPECT_EQ(avant, clair.size());
    EXPECT_TRUE(lecture.clair == clair) << fils;
  }
  // Tables in another order, with a gap between them, and more of them than the version says.
  const std::string x = secteurs(8, 5), y = secteurs(8, 6);
  fabrique.tables = {{24, {{0x80000005, 8, FabriqueDmg::par_zlib(y)}}, y}, {2, {{1, 8, x}}, x}};
  fabrique.secteurs = 32;
  fabrique.version = 1;
  const Lecture entiere = lit(fabrique.image());
  EXPECT_TRUE(entiere.resultat.reussi());
  EXPECT_TRUE(entiere.clair == std::string(1024, '\0') + x + std::string(14 * 512, '\0') + y);
  EXPECT_TRUE(lit(fabrique.image(), usuelle()).clair == y) << "as many as the version, one behind the other";
  fabrique.version = 4;
  EXPECT_TRUE(lit(fabrique.image(), usuelle()).clair == y + x);
  fabrique.autre_section = true;
  EXPECT_EQ(lit(fabrique.image(), usuelle()).resultat.code, -1);
  EXPECT_TRUE(lit(fabrique.image()).clair == entiere.clair);
}

TEST_F(Dmg, ImagesFausses) {
  struct Cas {
    const char *nom;
    std::function<void(FabriqueDmg &)> gate;
    EtatDmg etat;
    int code_usuel;
  };
  const auto chunk = [](FabriqueDmg &f, std::size_t i) -> ChunkDmg & { return f.tables[0].chunks[i]; };
  const Cas cas[] = {
      {"list elsewhere", [](FabriqueDmg &f) { f.decale_liste = 150; }, EtatDmg::sans_table, 0},
      {"list past the end", [](FabriqueDmg &f) { f.decale_liste = 1 << 20; }, EtatDmg::fin_fausse, 0},
      {"no table", [](FabriqueDmg &f) { f.tables.clear(); }, EtatDmg::sans_table, 0},
      {"unknown type", [&](FabriqueDmg &f) { chunk(f, 1).type = 0x80000007; }, EtatDmg::type_inconnu,
       static_cast<int>(0x80000007U)},
      {"zlib cut", [&](FabriqueDmg &f) { chunk(f, 1).donnees.resize(30); }, EtatDmg::donnees_fausses, -3},
      {"bzip2 spoiled", [&](FabriqueDmg &f) { chunk(f, 2).donnees[20] ^= 1; }, EtatDmg::donnees_fausses, -1},
      {"ADC before the start", [&](FabriqueDmg &f) { chunk(f, 3).donnees = std::string(3, '\x7F'); },
       EtatDmg::donnees_fausses, -1},
      {"more than announced", [&](FabriqueDmg &f) { chunk(f, 1).secteurs = 39; }, EtatDmg::donnees_fausses,
       -3},
      {"huge input", [&](FabriqueDmg &f) { chunk(f, 1).annonce = 0xFFFFFFF0; }, EtatDmg::table_fausse, -1},
      {"huge output",
       [&](FabriqueDmg &f) {
         chunk(f, 1).secteurs = 1U << 30;
         f.secteurs = 0;
       },
       EtatDmg::table_fausse, -1},
      {"sectors past 64 bits", [&](FabriqueDmg &f) { chunk(f, 5).secteurs = UINT64_MAX - 3; },
       EtatDmg::table_fausse, 0},
      {"past the image", [](FabriqueDmg &f) { f.secteurs = 100; }, EtatDmg::table_fausse, 0},
      {"one over another", [&](FabriqueDmg &f) { chunk(f, 4).premier = 3; }, EtatDmg::table_fausse, 0},
      {"CRC of a table", [](FabriqueDmg &f) { f.fausse_crc = 4; }, EtatDmg::controle_table, 0},
      {"CRC of the image", [](FabriqueDmg &f) { f.fausse_crc_image = 4; }, EtatDmg::controle_image, 0},
  };
  for (const Cas &un : cas) {
    std::string clair;
    FabriqueDmg fabrique = tous_types(clair);
    un.gate(fabrique);
    const std::string image = fabrique.image();
    const Lecture entiere = lit(image);
    EXPECT_EQ(entiere.resultat.etat, un.etat) << un.nom;
    if (un.etat == EtatDmg::type_inconnu) {
      EXPECT_EQ(entiere.resultat.type, 0x80000007U);
    }
    if (un.code_usuel != 0) {
      EXPECT_EQ(lit(image, usuelle()).resultat.code, un.code_usuel) << un.nom;
    }
  }
  std::string clair;
  const std::string image = tous_types(clair).image();
  for (std::size_t longueur = 0; longueur < image.size(); longueur += longueur < 40 ? 13 : 997)
    EXPECT_EQ(lit(image.substr(0, longueur)).resultat.etat, EtatDmg::sans_fin) << longueur;
}

TEST_F(Dmg, SansControleDesTablesLaFourcheFaitFoi) {
  const std::string a = secteurs(40, 1);
  FabriqueDmg fabrique;
  fabrique.secteurs = 50;
  fabrique.controle_donnees = true;
  fabrique.tables = {{2, {{1, 40, a}}, {}}};
  std::string image = fabrique.image();
  Lecture lecture = lit(image);
  EXPECT_TRUE(lecture.resultat.reussi());
  EXPECT_FALSE(lecture.resultat.controle_fait);
  EXPECT_EQ(lecture.resultat.octets_nus, 10U * 512) << "two sectors ahead of the table, eight behind it";
  image[3000] ^= 1;
  EXPECT_EQ(lit(image).resultat.etat, EtatDmg::controle_donnees);
  EXPECT_TRUE(lit(image, usuelle()).resultat.reussi()) << "the usual reading checks nothing";
  // What the tables prove needs no other proof.
  fabrique.tables[0].clair = a;
  image = fabrique.image();
  const std::size_t place = image.size() - 512 + 88;
  image[place] ^= 1;
  EXPECT_TRUE(lit(image).resultat.reussi());
  // Nor does an image without any checksum have one.
  fabrique.controle_donnees = false;
  fabrique.tables[0].clair.clear();
  EXPECT_TRUE(lit(fabrique.image()).resultat.reussi());
}

TEST_F(Dmg, UneImageQuiCommenceParUnSecteurDAmorce) {
  for (const char type : {'\xEE', '\xAF'}) {
    std::string clair = secteurs(8, 3);
    clair[0x1C2] = type;
    clair[510] = '\x55';
    clair[511] = '\xAA';
    FabriqueDmg fabrique;
    fabrique.secteurs = 8;
    fabrique.tables = {{0, {{1, 8, clair}}, clair}};
    pose("mbr.dmg", fabrique.image());
    pose("mbr.img", clair);
    for (const bool usuel : {false, true}) {
      OptionsDmg options;
      options.usuelle = usuel;
      EXPECT_EQ(decompresse_fichier(bac + "mbr.dmg", bac + "out", options), 1) << usuel;
      EXPECT_TRUE(tout(plateforme::ouvre(bac + "out", Ouverture::lecture)) == clair);
      EXPECT_EQ(decompresse_fichier(bac + "mbr.img", bac + "none", options), -2) << usuel;
    }
  }
}

TEST_F(Dmg, ArretEtEchecEcriture) {
  std::string clair;
  const std::string image = tous_types(clair).image();
  OptionsDmg options;
  options.progression = [](std::uint64_t fait, std::uint64_t) { return fait < 30000; };
  EXPECT_EQ(lit(image, options).resultat.etat, EtatDmg::arret);

  pose("image.dmg", image);
  pose("plain", secteurs(20, 9));
  const Fichier fermee = plateforme::ouvre(bac + "plain", Ouverture::lecture);
  const ResultatDmg resultat = decompresse_image(fichier_de(image), fermee);
  EXPECT_EQ(resultat.etat, EtatDmg::ecriture);
  EXPECT_NE(resultat.erreur, 0);

  // From path to path: nothing of a failure stays, an older target lives until the new one is whole.
  pose("old", "old");
  ResultatDmg details;
  EXPECT_EQ(decompresse_fichier(bac + "plain", bac + "old", {}, &details), -2);
  EXPECT_EQ(details.etat, EtatDmg::sans_fin);
  EXPECT_EQ(decompresse_fichier(bac + "none", bac + "old"), -2);
  EXPECT_EQ(decompresse_fichier(bac + "image.dmg", bac + "old", options), -1);
  EXPECT_EQ(contenu("old"), "old");
  pose("sparse", "sprs" + std::string(600, '\0'));
  EXPECT_EQ(decompresse_fichier(bac + "sparse", bac + "old"), -1);
  EXPECT_EQ(decompresse_fichier(bac + "image.dmg", bac + "old"), 1);
  const Fichier neuf = plateforme::ouvre(bac + "old", Ouverture::lecture);
  EXPECT_TRUE(tout(neuf) == clair);
  for (const auto &entree : std::filesystem::directory_iterator(bac))
    EXPECT_EQ(entree.path().string().find(".part"), std::string::npos);
}

// A chunk of 1,000 sectors named 50 times is no image but a trap; one that two chunks share is read, and
// told.
TEST_F(Dmg, MorceauxPartages) {
  const std::string clair = secteurs(1000, 5), comprime = FabriqueDmg::par_zlib(clair);
  FabriqueDmg piege;
  piege.tables.push_back({0, {{0x80000005, 1000, comprime}}, {}});
  while (piege.tables[0].chunks.size() < 50)
    piege.tables[0].chunks.push_back({0x80000005, 1000, {}, UINT64_MAX, comprime.size(), 0});
  for (const OptionsDmg &options : {OptionsDmg{}, usuelle()}) {
    const Lecture lecture = lit(piege.image(), options);
    EXPECT_EQ(lecture.resultat.etat, EtatDmg::partage);
    EXPECT_EQ(lecture.clair, "left of a file before") << "nothing is written";
  }
  const std::string autre = secteurs(1000, 6);
  FabriqueDmg deux;
  deux.tables.push_back({0,
                         {{0x80000005, 1000, comprime},
                          {0x80000005, 1000, {}, UINT64_MAX, comprime.size(), 0},
                          {0x80000005, 1000, FabriqueDmg::par_zlib(autre)}},
                         clair + clair + autre});
  const Lecture lecture = lit(deux.image());
  EXPECT_TRUE(lecture.resultat.reussi());
  EXPECT_EQ(lecture.resultat.partages, comprime.size());
  EXPECT_TRUE(lecture.clair == clair + clair + autre);
  EXPECT_EQ(apercu_dmg(fichier_de(deux.image())).pleins, 3 * clair.size());
}

// What cannot fit is refused ahead of the first byte.
TEST_F(Dmg, SansPlaceRienNEstEcrit) {
  constexpr std::uint64_t kSecteurs = (64U << 20) / 512;
  struct statvfs disque {};
  ASSERT_EQ(::statvfs(bac.c_str(), &disque), 0);
  const std::uint64_t libres = std::uint64_t{disque.f_bavail} * disque.f_frsize;
  const std::uint64_t nombre = libres / (kSecteurs * 512) + 2;
  if (nombre > 200'000) GTEST_SKIP() << "a disk with more than 12 TB free";
  FabriqueDmg fabrique;
  fabrique.tables.push_back({0, std::vector<ChunkDmg>(nombre, {0x80000006, kSecteurs, "x"}), {}});
  pose("trop.dmg", fabrique.image());
  ResultatDmg resultat;
  EXPECT_EQ(decompresse_fichier(bac + "trop.dmg", bac + "plein", {}, &resultat), -1);
  EXPECT_EQ(resultat.etat, EtatDmg::place);
  EXPECT_GT(resultat.pleins, resultat.libres);
  EXPECT_FALSE(std::filesystem::exists(bac + "plein"));
}

// Sixty-four threads hold no more memory than two: who takes the pieces is slow here.
TEST_F(Dmg, UnBudgetPourTousLesFils) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer keeps what was given back";
#endif
  constexpr std::uint64_t kMorceau = 16U << 20, kMegas = 40 * (kMorceau >> 20);
  const std::string comprime = FabriqueDmg::par_zlib(std::string(kMorceau, '\0'));
  const Fichier source = fichier_de(comprime);
  const std::vector<MorceauDmg> morceaux(40, {kDmgZlib, 0, 0, kMorceau, 0, comprime.size(), false});
  const pid_t enfant = ::fork();
  if (enfant == 0) {
    AtelierDmg atelier(source, morceaux, false, 64);
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    int prises = 0;
    while (const PieceDmg *piece = atelier.prend()) {
      if (piece->etat != EtatDmg::bon || piece->longueur != kMorceau) ::_exit(1);
      ++prises;
      atelier.rend();
    }
    ::_exit(prises == 40 ? 0 : 2);
  }
  int statut = 0;
  rusage usage{};
  ASSERT_EQ(::wait4(enfant, &statut, 0, &usage), enfant);
  EXPECT_EQ(statut, 0);
  EXPECT_LT(usage.ru_maxrss, 330 * 1024) << "KB, for " << kMegas << " MB of pieces";
}

TEST(CrcDmg, ParProduit) {
  const std::string texte = secteurs(9, 17);
  for (std::size_t debut : {0U, 1U, 7U})
    for (std::size_t longueur = 0; longueur < 400; ++longueur) {
      const std::string part = texte.substr(debut + longueur, longueur < 390 ? longueur : longueur * 9);
      const std::span octets(reinterpret_cast<const std::uint8_t *>(part.data()), part.size());
      ASSERT_EQ(crc_rapide(octets), FabriqueDmg::crc(part)) << longueur;
    }
}

TEST(Adc, CopiesEtBornes) {
  const auto decode = [](std::string_view entree, std::size_t place, CopieAdc copie) {
    std::string sortie(place, '?');
    const ResultatAdc resultat =
        decode_adc({reinterpret_cast<const std::uint8_t *>(entree.data()), entree.size()},
                   {reinterpret_cast<std::uint8_t *>(sortie.data()), place}, copie);
    return resultat.juste ? sortie.substr(0, resultat.longueur) : "-";
  };
  using namespace std::literals;
  struct Cas {
    std::string_view entree, garde, publie;
  };
  for (const Cas &cas : {Cas{"\x82"
                             "abc"sv,
                             "abc", "abc"},
                         Cas{"\x82"
                             "abc\x00\x02"sv,
                             "abcabc", "abcabc"},  // distance + 1 = length
                         Cas{"\x82"
                             "abc\x04\x00"sv,
                             "abccccc", "abccccc"},  // distance 0
                         Cas{"\x81"
                             "ab\x41\x00\x01"sv,
                             "abaaaaa",
                             "ababab"
                             "a"},  // the ways part
                         Cas{"\x81"
                             "ab\x41\x00\x02"sv,
                             "-", "-"},  // before the start
                         Cas{"\x81"
                             "a"sv,
                             "-", "-"},
                         Cas{"\x80"
                             "a\x40\x00"sv,
                             "-", "-"},
                         Cas{""sv, "", ""}}) {
    EXPECT_EQ(decode(cas.entree, 16, CopieAdc::un_octet), cas.garde);
    EXPECT_EQ(decode(cas.entree, 16, CopieAdc::publiee), cas.publie);
  }
  EXPECT_EQ(decode("\x82"
                   "abc\x04\x00"sv,
                   6, CopieAdc::un_octet),
            "-")
      << "past the output";
}

}  // namespace
}  // namespace varnion
