#include "fichiers/binhex.hpp"

#include "fichiers/macbinaire.hpp"
#include "fichiers/outils.hpp"

namespace varnion {
namespace {

using namespace essai;

constexpr std::string_view kBanniere = "(This file must be converted with BinHex 4.0)\r\n\r\n";
constexpr std::string_view kAlphabet = "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";

// The text of a stream that is already in runs, with the cut last group of a real encoder.
std::string texte_hqx(std::string_view flux) {
  std::string texte(kBanniere);
  texte += ':';
  unsigned bits = 0;
  int nombre = 0;
  for (const char c : flux) {
    bits = (bits << 8) | static_cast<std::uint8_t>(c);
    for (nombre += 8; nombre >= 6; nombre -= 6) texte += kAlphabet[(bits >> (nombre - 6)) & 63U];
  }
  if (nombre > 0) texte += kAlphabet[(bits << (6 - nombre)) & 63U];
  return texte + ":\r\n";
}

std::uint16_t crc(std::string_view octets_crc) {
  return plateforme::crc16(octets_crc);
}
std::string be16_texte(std::uint16_t v) {
  return {static_cast<char>(v >> 8), static_cast<char>(v)};
}

// Head of a stream, its checksum right; filled to a multiple of three with a name of the right length by the
// caller.
std::string tete_flux(const std::string &nom, std::uint32_t data, std::uint32_t rsrc) {
  std::string tete(1, static_cast<char>(nom.size()));
  tete += nom;
  tete += '\0';
  tete += "TEXTttxt";
  tete += std::string("\x01\x02", 2) + be32_texte(data) + be32_texte(rsrc);
  return tete + be16_texte(crc(tete));
}

std::string decode(const std::string &texte, ControleBinHex *controle = nullptr) {
  const Fichier cible = decode_binhex(fichier_de(texte), controle);
  EXPECT_TRUE(cible.ouvert());
  return lit_tout(cible);
}

TEST(BinHex, EchantillonsReels) {
  struct Cas {
    const char *fichier, *nom, *signature;
    std::uint32_t data, crc_data, rsrc, crc_rsrc;
  };
  const Cas cas[] = {
      {"eyeball.gif.hqx", "eyeball.gif", "????????", 2755, 0xB6DB4BBA, 0, 0},
      {"sources_with_comment.sit.hqx", "sources_with_comment.sit", "SITDSIT!", 2804, 0xABB899AF, 368,
       0xA3D77462},
      {"sources.password.sit.hqx", "sources.password.sit", "SITDSIT!", 2990, 0xD7227FC1, 318, 0x6F6CCC44},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.fichier);
    const Fichier source = echantillon(std::string("binhex/") + c.fichier);
    EXPECT_TRUE(est_binhex(source));
    ControleBinHex controle;
    const Fichier cible = decode_binhex(source, &controle);
    ASSERT_TRUE(cible.ouvert());
    EXPECT_TRUE(controle.juste());
    EXPECT_TRUE(verifie_binhex(source).value().juste());
    EXPECT_TRUE(est_macbinaire(cible));
    const auto tete = lit_tete_macbinaire(cible);
    ASSERT_TRUE(tete);
    EXPECT_EQ(nom_macbinaire(*tete), c.nom);
    EXPECT_EQ(signature_macbinaire(*tete), c.signature);
    EXPECT_EQ(tete->date_creation, 0U);
    const auto taille = static_cast<std::uint64_t>(fichier_taille(cible));
    EXPECT_EQ(taille, c.rsrc == 0 ? 128U + c.data : position_ressource(c.data) + c.rsrc);
    EXPECT_EQ(somme(cible, plage_data_macbinaire(*tete, taille)), c.crc_data);
    EXPECT_EQ(somme(cible, plage_rsrc_macbinaire(*tete, taille)), c.crc_rsrc);

    const auto lue = tete_binhex(source);
    ASSERT_TRUE(lue);
    EXPECT_EQ(lue->nom, c.nom);
    EXPECT_EQ(lue->signature, c.signature);
    EXPECT_EQ(lue->lg_data, c.data);
    EXPECT_EQ(lue->lg_rsrc, c.rsrc);
  }
}

TEST(BinHex, Banniere) {
  const std::string texte = "This file must be converted with BinHex 4.0";
  struct Cas {
    std::string contenu;
    bool attendu;
  };
  const Cas cas[] = {
      {texte, true},
      {std::string(100, 'x') + texte, true},
      {std::string(127, 'x') + texte, true},
      {std::string(128, 'x') + texte, false},
      {std::string(130, 'x') + texte, false},
      {"x" + std::string(1, '\0') + texte, false},
      {texte.substr(0, 42), false},
      {"", false},
  };
  for (const Cas &c : cas) {
    const Fichier fichier = fichier_de(c.contenu);
    fichier_seek(fichier, 3, 0);
    EXPECT_EQ(est_binhex(fichier), c.attendu) << c.contenu;
    EXPECT_EQ(fichier_position(fichier), 0);
  }
}

// Data forks whose runs exercise the rule of the byte before.
TEST(BinHex, Suites) {
  struct Cas {
    std::string flux, data;
  };
  const std::string m = "\x90";
  const Cas cas[] = {
      {"R" + m + "\3", "RRR"},
      {"R" + m + "\3" + m + "\3", "RRR\x90\x90"},
      {m + std::string(1, '\0'), "\x90"},
      {m + std::string(1, '\0') + m + "\2", "\x90\x90"},
      {"X" + m + "\1Y", "XY"},
      {"X" + m + "\xFF", std::string(255, 'X')},
  };
  for (const Cas &c : cas) {
    // A name of two bytes keeps the head's length a multiple of three.
    const std::string tete = tete_flux("ab", static_cast<std::uint32_t>(c.data.size()), 0);
    const std::string cible = decode(texte_hqx(tete + c.flux + be16_texte(crc(c.data)) + "\x11\x11"));
    EXPECT_EQ(cible.substr(128), c.data);
  }
}

TEST(BinHex, DeuxFourchesEtRemplissage) {
  const std::string data = "0123456789", rsrc = "ressource";
  const std::string flux =
      tete_flux("abcd", 10, 9) + data + be16_texte(crc(data)) + rsrc + be16_texte(crc(rsrc));
  ControleBinHex controle;
  const std::string cible = decode(texte_hqx(flux), &controle);
  EXPECT_TRUE(controle.juste());
  ASSERT_EQ(cible.size(), 256U + 9U);
  EXPECT_EQ(cible.substr(0, 7), std::string("\0\4abcd\0", 7));
  EXPECT_EQ(cible.substr(65, 10), std::string("TEXTttxt\x01\x02", 10));
  EXPECT_EQ(cible.substr(128, 10), data);
  EXPECT_EQ(cible.substr(138, 118), std::string(118, '\0'));
  EXPECT_EQ(cible.substr(256), rsrc);
}

TEST(BinHex, LignesEtDeuxPoints) {
  const std::string flux =
      tete_flux("ab", 6, 0) + "abcdef" + be16_texte(crc("abcdef")) + std::string(2, '\0');
  const std::string droit = texte_hqx(flux);
  std::string coupe(kBanniere);
  for (const char c : droit.substr(kBanniere.size())) (coupe += c) += c == 'a' ? ":\r" : "\n";
  EXPECT_EQ(decode(coupe), decode(droit));
  EXPECT_EQ(decode(coupe).substr(128), "abcdef");
  EXPECT_EQ(decode("no mark at all"), std::string(128, '\0'));
}

// Characters outside the alphabet take part with the value 0, as "!" does, and shift nothing.
TEST(BinHex, HorsAlphabet) {
  const std::string flux =
      tete_flux("ab", 3, 0) + std::string(3, '\0') + be16_texte(0) + std::string(1, '\0');
  std::string texte = texte_hqx(flux);
  const std::size_t debut = kBanniere.size() + 1 + 32;  // the head of 24 bytes is 32 characters long
  ASSERT_EQ(texte.substr(debut, 4), "!!!!");
  const std::string_view groupes[] = {"w~ \t", "\xE9\xFF\x80g", std::string_view("\0\0\0\0", 4)};
  for (const std::string_view groupe : groupes) {
    pose(texte, debut, groupe);
    EXPECT_EQ(decode(texte).substr(128), std::string(3, '\0'));
  }
}

TEST(BinHex, FichiersCoupes) {
  const std::string data(1000, 'd'), rsrc(500, 'r');
  const std::string flux =
      tete_flux("ab", 1000, 500) + data + be16_texte(crc(data)) + rsrc + be16_texte(crc(rsrc));
  const std::string texte = texte_hqx(flux);
  ASSERT_EQ(decode(texte).size(), position_ressource(1000) + 500);
  for (std::size_t coupe = 0; coupe < texte.size(); coupe += 7) {
    ControleBinHex controle;
    const std::string cible = decode(texte.substr(0, coupe), &controle);
    EXPECT_FALSE(controle.juste());
    EXPECT_GE(cible.size(), 128U);
    EXPECT_LE(cible.size(), 128U + coupe);
  }
  // Announced lengths of 4 GiB over a stream of a few bytes: as long as the stream, no sparse file.
  const std::string cible = decode(texte_hqx(tete_flux("ab", 0xFFFFFFFF, 0xFFFFFFFF) + "abc"));
  EXPECT_EQ(cible.size(), 131U);
  // A run whose count lies in the cut group at the end is no run: nothing of it reaches a fork.
  for (const std::uint32_t data_annoncee : {2U, 0x10000000U})
    EXPECT_EQ(decode(texte_hqx(tete_flux("ab", data_annoncee, 0xFFFF) + "ab\x90\xFF")).size(), 130U);
}

TEST(BinHex, SommesFausses) {
  const std::string data = "abc", rsrc = "def";
  const std::string bon = tete_flux("ab", 3, 3) + data + be16_texte(crc(data)) + rsrc + be16_texte(crc(rsrc));
  struct Cas {
    std::size_t position;
    bool tete, donnees, ressource;
  };
  for (const Cas &c : {Cas{5, false, true, true}, Cas{24, true, false, true}, Cas{29, true, true, false}}) {
    std::string flux = bon;
    flux[c.position] = 'z';
    const auto controle = verifie_binhex(fichier_de(texte_hqx(flux)));
    ASSERT_TRUE(controle);
    EXPECT_EQ(controle->tete, c.tete);
    EXPECT_EQ(controle->data, c.donnees);
    EXPECT_EQ(controle->ressource, c.ressource);
  }
}

TEST(BinHex, NomsLimites) {
  // A name of length 0 decodes, but is no MacBinary name.
  const std::string sans_nom = decode(texte_hqx(tete_flux("", 3, 0) + "abc" + be16_texte(crc("abc"))));
  EXPECT_EQ(sans_nom.substr(128), "abc");
  EXPECT_FALSE(est_macbinaire(octets(sans_nom), sans_nom.size()));
  // A name of 255 bytes stays in its field: the dates behind it are still 0.
  const std::string long_nom =
      decode(texte_hqx(tete_flux(std::string(255, 'n'), 3, 0) + "abc" + be16_texte(0)));
  EXPECT_EQ(static_cast<std::uint8_t>(long_nom[1]), 255);
  EXPECT_EQ(long_nom.substr(91, 37), std::string(37, '\0'));
  EXPECT_EQ(long_nom.substr(128), "abc");
  EXPECT_FALSE(tete_binhex(fichier_de(texte_hqx(tete_flux(std::string(255, 'n'), 3, 0)))));
  EXPECT_EQ(tete_binhex(fichier_de(texte_hqx(tete_flux(std::string(63, 'n'), 3, 0) + "\x11")))->lg_data, 3U);
}

}  // namespace
}  // namespace varnion
