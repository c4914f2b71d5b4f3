#include "IO/fichier.hpp"

#include <cerrno>
#include <cstdint>
#include <limits>
#include <vector>

#include "IO/bac.hpp"
#include "IO/operations.hpp"

namespace varnion {
namespace {

using essai::fichier_de;
using essai::tout;

TEST(FichierEnveloppe, Lignes) {
  struct Cas {
    std::string contenu;
    std::vector<std::string> lignes;
  };
  const std::string long_texte(511, 'a');  // its end of line straddles a block of the reader
  const Cas cas[] = {
      {"a\nb\rc\r\nd\n\re", {"a\n", "b\r", "c\r\n", "d\n\r", "e"}},
      {"\n\n", {"\n", "\n"}},
      {"\r\r\n", {"\r", "\r\n"}},
      {"x\r", {"x\r"}},
      {"", {}},
      {long_texte + "\r\nb\n", {long_texte + "\r\n", "b\n"}},
      {long_texte + "\nb", {long_texte + "\n", "b"}},
      {std::string("a\0b\n", 4), {std::string("a\0b\n", 4)}},
      {std::string(2000, 'z'), {std::string(2000, 'z')}},
  };
  for (const Cas &c : cas) {
    const Fichier fichier = fichier_de(c.contenu);
    for (const std::string &ligne : c.lignes) EXPECT_EQ(fichier_gets(4096, fichier), ligne);
    EXPECT_EQ(fichier_gets(4096, fichier), std::nullopt);
  }
  const Fichier coupe = fichier_de("abcdef\r\n");
  EXPECT_EQ(fichier_gets(0, coupe), std::nullopt);
  EXPECT_EQ(fichier_gets(4, coupe), "abcd");
  EXPECT_EQ(fichier_gets(3, coupe), "ef\r");
  EXPECT_EQ(fichier_getc(coupe), '\n');
  EXPECT_EQ(fichier_getc(coupe), -1);
}

TEST(FichierEnveloppe, PositionsEtTroncature) {
  const Fichier fichier = fichier_de("0123456789");
  EXPECT_EQ(fichier_seek(fichier, -3, 2), 7);
  EXPECT_EQ(fichier_seek(fichier, -100, 1), -1);
  EXPECT_EQ(fichier_seek(fichier, 0, 9), -1);
  EXPECT_EQ(fichier_position(fichier), 7);
  EXPECT_TRUE(fichier_tronquer(fichier, 20));
  EXPECT_EQ(fichier_position(fichier), 7);
  EXPECT_TRUE(fichier_tronquer(fichier, 5));
  EXPECT_EQ(fichier_position(fichier), 5);
  EXPECT_EQ(fichier_taille(fichier), 5);
  EXPECT_FALSE(fichier_tronquer(fichier, std::numeric_limits<std::uint64_t>::max()));
  EXPECT_EQ(fichier_taille(fichier), 5);
  EXPECT_EQ(fichier_taille(Fichier()), -1);
}

TEST(FichierEnveloppe, LireEtEcrireDivisentParLeNombre) {
  const Fichier fichier = fichier_de("0123456789");
  char tampon[32] = {};
  EXPECT_EQ(fichier_lire(tampon, 1, 4, fichier), 1);
  EXPECT_EQ(fichier_lire(tampon, 4, 2, fichier), 3) << "six bytes were left: six divided by two";
  EXPECT_EQ(fichier_lire(tampon, 4, 2, fichier), 0);
  EXPECT_EQ(fichier_lire(tampon, 4, 0, fichier), -1);
  EXPECT_EQ(fichier_lire(tampon, std::numeric_limits<std::size_t>::max(), 2, fichier), -1);
  EXPECT_EQ(fichier_ecrire("abcdef", 3, 2, fichier), 3);
  EXPECT_EQ(tout(fichier), "0123456789abcdef");
}

TEST(FichierEnveloppe, UneEcritureManqueeSeVoit) {
  const Fichier plein(::open("/dev/full", O_RDWR | O_CLOEXEC));
  ASSERT_TRUE(plein);
  const std::uint8_t octets[4] = {};
  EXPECT_FALSE(plein.ecrire(octets));
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_FALSE(plein.ecrire_a(octets, 0));
  EXPECT_EQ(fichier_ecrire(octets, 1, 4, plein), -1);
  EXPECT_EQ(fichier_copier(fichier_de("data"), plein, 4), -2);
  EXPECT_EQ(errno, ENOSPC);
  std::uint8_t lus[4];
  EXPECT_EQ(fichier_de("data").lire_a(lus, std::numeric_limits<std::uint64_t>::max() - 1), -1);
}

TEST(FichierEnveloppe, Deplacer) {
  std::string contenu;
  for (unsigned i = 0; i < 3'000'000; ++i) contenu.push_back(static_cast<char>(i * 7 / 5));
  const Fichier fichier = fichier_de(contenu);
  ASSERT_TRUE(fichier_deplacer(fichier, 10, 700'000));
  std::string attendu = contenu;
  attendu.replace(10, contenu.size() - 700'000, contenu.substr(700'000));
  EXPECT_TRUE(tout(fichier) == attendu);
  EXPECT_EQ(fichier_position(fichier), 10 + 2'300'000);
  EXPECT_FALSE(fichier_deplacer(fichier, 20, 10));
}

struct Jauge final : Operations {
  std::uint64_t total = 0, pas = 0;
  int fins = 0;

  void afficher_erreur(std::string_view /*texte*/) override {}
  void afficher_avis(std::string_view /*texte*/) override {}
  int demander_oui_non(std::string_view /*texte*/) override { return 0; }
  int demander_tous(std::string_view /*texte*/) override { return 0; }
  bool demander_nom(std::string_view /*l*/, std::string & /*n*/, std::size_t /*m*/) override { return false; }
  void afficher_etat(std::string_view /*texte*/, std::string_view /*second*/) override {}
  void afficher_etat_seul(std::string_view /*texte*/) override {}
  void progression_debut(std::uint64_t n) override { total = n; }
  void progression_pas(std::uint64_t n) override { pas += n; }
  void progression_fin() override { ++fins; }
  void curseur_attente_debut() override {}
  void curseur_attente_fin() override {}
  void journal(GenreJournal /*genre*/, std::string_view /*texte*/) override {}
  bool arret_demande() override { return false; }
};

TEST(FichierEnveloppe, Copier) {
  struct Cas {
    std::size_t source;
    std::uint64_t longueur;
    std::size_t copie;
    std::uint64_t total;
  };
  const Cas cas[] = {
      {10, 4, 4, 0},
      {10, 400, 10, 0},  // the source ends early
      {0x80000, 0x80000, 0x80000, 0},
      {31'457'281, 31'457'281, 31'457'281, 11},  // ten buffers of 3 MiB and one byte
      {31'457'280, 31'457'280, 31'457'280, 0},
  };
  Jauge jauge;
  brancher_operations(&jauge);
  for (const Cas &c : cas) {
    jauge.total = jauge.pas = 0;
    jauge.fins = 0;
    std::string contenu(c.source, 's');
    if (!contenu.empty()) contenu.back() = 'e';
    const Fichier source = fichier_de(contenu);
    const Fichier cible = fichier_de("");
    EXPECT_EQ(fichier_copier(source, cible, c.longueur), 0);
    EXPECT_TRUE(tout(cible) == contenu.substr(0, c.copie)) << c.longueur;
    EXPECT_EQ(jauge.total, c.total) << c.longueur;
    EXPECT_EQ(jauge.pas, c.total) << c.longueur;
    EXPECT_EQ(jauge.fins, c.total != 0 ? 1 : 0);
  }
  brancher_operations(nullptr);
}

TEST(FichierEnveloppe, Chercher) {
  struct Cas {
    std::string contenu;
    int depart;
    const char *texte;
    std::int64_t resultat;
    std::int64_t position;
  };
  const std::string loin(65534, '.');  // the text straddles two blocks of the search
  const Cas cas[] = {
      {"xxkolyxx", 0, "koly", 2, 2},
      {"aaab", 0, "aab", 1, 1},
      {"koly koly", 1, "koly", 5, 5},
      {"xxkoxx", 0, "koly", 2, 6},
      {"kxkox", 0, "koly", 2, 5},
      {"xxxx", 0, "koly", 0, 4},
      {"", 0, "koly", 0, 0},
      {loin + "koly", 0, "koly", 65534, 65534},
      {loin + "ko", 0, "koly", 65534, 65536},
      {"k" + loin + loin, 0, "koly", 0, 131069},
  };
  for (const Cas &c : cas) {
    const Fichier fichier = fichier_de(c.contenu);
    fichier_seek(fichier, c.depart, 0);
    EXPECT_EQ(fichier_chercher(fichier, c.texte), c.resultat) << c.contenu.substr(0, 20);
    EXPECT_EQ(fichier_position(fichier), c.position) << c.contenu.substr(0, 20);
  }
}

class Modes : public essai::Bac {};

TEST_F(Modes, Ouverture) {
  using plateforme::ouvre;
  EXPECT_FALSE(ouvre(bac + "f", Ouverture::lecture));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(ouvre(bac + "f", Ouverture::lecture_ecriture));
  ASSERT_TRUE(fichier_puts("one", ouvre(bac + "f", Ouverture::ajout)));
  ASSERT_TRUE(fichier_puts("two", ouvre(bac + "f", Ouverture::ajout)));
  EXPECT_EQ(contenu("f"), "onetwo");
  EXPECT_FALSE(ouvre(bac + "f", Ouverture::creation_neuve));
  EXPECT_EQ(contenu("f"), "onetwo");
  EXPECT_FALSE(fichier_puts("x", ouvre(bac + "f", Ouverture::lecture)));
  ASSERT_TRUE(fichier_puts("O", ouvre(bac + "f", Ouverture::lecture_ecriture)));
  EXPECT_EQ(contenu("f"), "Onetwo");
  Fichier neuf = ouvre(bac + "f", Ouverture::creation);
  EXPECT_EQ(fichier_taille(neuf), 0);
  Fichier autre = std::move(neuf);
  EXPECT_TRUE(autre.ouvert());
  EXPECT_TRUE(autre.fermer());
  EXPECT_FALSE(autre.ouvert());
}

}  // namespace
}  // namespace varnion
