#include <gtest/gtest.h>

#include "outils/atelier.hpp"
#include "outils/image_lue.hpp"

// Containers that do not hold what they announce, and those that changed after they were added.

namespace varnion {
namespace {

using namespace essai;
using outils::ArbreSource;
using outils::Cotes;
using outils::Forme;
using outils::octets_quelconques;
namespace fs = std::filesystem;

/// Keeps what the progress display is told.
struct SuiviBavard : SuiviEssai {
  std::vector<std::string> textes;
  bool texte(std::string_view texte) override {
    textes.emplace_back(texte);
    return true;
  }
};

struct Genre {
  bool hfsplus;
  GenreDemande genre;
  Cotes cotes;
};
constexpr Genre kGenres[] = {
    {false, GenreDemande::hybride, {true, true, false}},
    {true, GenreDemande::hybride, {true, true, true}},
    {false, GenreDemande::mac, {false, true, false}},
    {true, GenreDemande::mac, {false, true, true}},
};

class SourcesAbimees : public Atelier {
 protected:
  static outils::FichierMac fichier_mac(const std::string &nom, std::uint64_t graine) {
    outils::FichierMac f;
    f.nom = nom;
    f.data = octets_quelconques(1000, graine);
    f.rsrc = octets_quelconques(500, graine + 1);
    return f;
  }
  void remplace(const std::string &nom, const std::string &octets) const { pose("src/" + nom, octets); }
  [[nodiscard]] std::string source_lue(const std::string &nom) const {
    return tout(plateforme::ouvre(bac + "src/" + nom, Ouverture::lecture));
  }
  BilanCompilation compile_genre(FichierProjet &projet, const Genre &g) {
    ops.erreurs.clear();
    return compile(projet, bac + "o.iso", g.genre);
  }
  outils::ImageLue image_saine(const Genre &g) {
    outils::ImageLue image = outils::lit_image(bac + "o.iso", g.cotes);
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
    return image;
  }
  /// The file of that name on the volume, and its forks.
  static void fourches(const outils::ImageLue &image, const std::string &nom, const std::string &data,
                       const std::string &rsrc) {
    const outils::ObjetMac *o = image.volume.trouve(nom);
    ASSERT_NE(o, nullptr) << nom;
    EXPECT_TRUE(image.volume.contenu(image.vue, o->data) == data) << nom << ": data fork";
    EXPECT_TRUE(image.volume.contenu(image.vue, o->rsrc) == rsrc) << nom << ": resource fork";
  }
  static void sur_iso(const outils::ImageLue &image, const std::string &nom, const std::string &octets) {
    const outils::EntreeIso *e = image.joliet.trouve(nom + ";1");
    ASSERT_NE(e, nullptr) << nom;
    EXPECT_TRUE(image.vue.texte(e->extent * outils::kSecteurLu, e->taille) == octets) << nom;
  }
  /// Damaged bytes of a container, each recognised all the same when it is added.
  static std::string abime(Forme forme, const outils::FichierMac &f) {
    switch (forme) {
      case Forme::macbinary:
        return outils::macbinary(f).substr(0, 128 + 1024 + 448);
      case Forme::applesingle:
        return outils::applesingle(f).substr(0, outils::applesingle(f).size() - 300);
      case Forme::appledouble:
        return outils::appledouble(f).substr(0, outils::appledouble(f).size() - 1);
      default: {
        std::string texte = outils::binhex(f);
        char &c = texte[700];
        c = c == 'A' ? 'B' : 'A';
        return texte;
      }
    }
  }
};

struct Abime {
  Forme forme;
  const char *nom, *faute;
};
constexpr Abime kAbimes[] = {
    {Forme::macbinary, "cut.bin", "within the resource fork"},
    {Forme::applesingle, "cut.as", "within the data fork"},
    {Forme::binhex, "wrong.hqx", "a checksum"},
};

// A damaged container is named with its fault and goes in byte for byte, under its own name; what is sound is
// opened as ever.
TEST_F(SourcesAbimees, un_conteneur_abime_entre_comme_simple_fichier) {
  for (const Genre &g : kGenres) {
    SCOPED_TRACE(static_cast<int>(g.genre) * 2 + g.hfsplus);
    ArbreSource source(bac + "src");
    source.conteneur("sound.bin", Forme::macbinary, fichier_mac("Sound", 1));
    source.conteneur("sound.hqx", Forme::binhex, fichier_mac("Text", 3));
    source.conteneur("sound.as", Forme::applesingle, fichier_mac("sound.as", 5));
    source.conteneur("sound pair", Forme::appledouble, fichier_mac("sound pair", 7));
    for (const Abime &a : kAbimes) source.brut(a.nom, abime(a.forme, fichier_mac("Inside", 9)));
    source.fichier("pair", "the data of the pair");
    const std::string compagnon = abime(Forme::appledouble, fichier_mac("pair", 11));
    source.brut("._pair", compagnon);
    FichierProjet projet = projet_de(bac + "src", g.hfsplus);
    const BilanCompilation bilan = compile_genre(projet, g);
    EXPECT_EQ(bilan.resultat, kCompilReussie) << messages();
    EXPECT_EQ(bilan.remarques, 4U) << messages();
    EXPECT_NE(messages().find("src/._pair"), std::string::npos) << messages();
    const outils::ImageLue image = image_saine(g);
    for (const outils::FichierSource &f : source.fichiers())
      if (f.chemin.starts_with("sound")) fourches(image, f.nom_mac, f.mac.data, f.mac.rsrc);
    for (const Abime &a : kAbimes) {
      const std::string octets = source_lue(a.nom);
      const std::size_t ou = messages().find(std::string("src/") + a.nom);
      ASSERT_NE(ou, std::string::npos) << messages();
      EXPECT_LT(messages().find(a.faute, ou) - ou, 80U) << messages();
      fourches(image, a.nom, octets, "");
      if (g.cotes.iso) sur_iso(image, a.nom, octets);
      EXPECT_EQ(image.volume.trouve("Inside"), nullptr);
    }
    fourches(image, "pair", "the data of the pair", "");
    fourches(image, "._pair", compagnon, "");
    if (g.cotes.iso) sur_iso(image, "._pair", compagnon);
    fs::remove_all(bac + "src");
  }
}

// The same in the pairs of records of an ISO+ disc; a disc without a Macintosh side opens no container.
TEST_F(SourcesAbimees, disques_sans_volume) {
  for (const bool isop : {true, false}) {
    ArbreSource source(bac + "src");
    for (const Abime &a : kAbimes) source.brut(a.nom, abime(a.forme, fichier_mac("Inside", 9)));
    source.fichier("pair", "data");
    source.brut("._pair", abime(Forme::appledouble, fichier_mac("pair", 11)));
    FichierProjet projet =
        projet_de(bac + "src", false, kVueRacine, isop ? ModeProjet::isop : ModeProjet::hybride);
    const Genre g{false, GenreDemande::iso, {true, false, false, isop}};
    const BilanCompilation bilan = compile_genre(projet, g);
    EXPECT_EQ(bilan.resultat, kCompilReussie) << messages();
    EXPECT_EQ(bilan.remarques, isop ? 4U : 0U) << messages();
    const outils::ImageLue image = image_saine(g);
    for (const Abime &a : kAbimes) sur_iso(image, a.nom, source_lue(a.nom));
    sur_iso(image, "pair", "data");
    if (isop) sur_iso(image, "._pair", source_lue("._pair"));
    EXPECT_EQ(image.joliet.entrees.size(), isop ? 6U : 5U);
    fs::remove_all(bac + "src");
  }
}

// Names that are cut to one for the volume, or taken there by another item: a number tells them apart.
TEST_F(SourcesAbimees, les_noms_des_simples_fichiers_cedent_aux_autres) {
  const std::string debut = "A MacBinary file of a long name ";  // 32 characters
  ArbreSource source(bac + "src");
  for (const char *fin : {"one.bin", "two.bin"})
    source.brut(debut + fin, abime(Forme::macbinary, fichier_mac("In", 1)) + fin);
  source.fichier("pair", "data");
  source.brut("._pair", abime(Forme::appledouble, fichier_mac("pair", 3)));
  source.fichier("taken", "taken");
  FichierProjet projet = projet_de(bac + "src");
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *r = tout.suivant()) {
    if (lit_champ(r->nom_source) != "taken") continue;
    RubriqueProjet change = *r;
    ecrit_champ_coupe(change.nom_hfs, "._PAIR");
    ASSERT_TRUE(tout.reecrit(projet, change));
  }
  const BilanCompilation bilan = compile_genre(projet, kGenres[0]);
  ASSERT_EQ(bilan.resultat, kCompilReussie) << messages();
  const outils::ImageLue image = image_saine(kGenres[0]);
  fourches(image, "A MacBinary file of a long .bin", source_lue(debut + "one.bin"), "");
  fourches(image, "A MacBinary file of a lon~1.bin", source_lue(debut + "two.bin"), "");
  fourches(image, "._PAIR", "taken", "");
  fourches(image, "._pair~1", source_lue("._pair"), "");
  EXPECT_NE(messages().find("A MacBinary file of a lon~1.bin"), std::string::npos) << messages();
}

// Whatever became of a companion since it was added: no fork is cut, filled or left out without a word.
TEST_F(SourcesAbimees, un_compagnon_qui_change_est_nomme) {
  const outils::FichierMac avant = fichier_mac("pair", 21);
  outils::FichierMac grand = avant, petit = avant, sans = avant;
  grand.rsrc = octets_quelconques(5000, 23);
  petit.rsrc = octets_quelconques(10, 24);
  sans.rsrc.clear();
  struct Cas {
    const char *quoi;
    std::string compagnon;  ///< "": removed
    std::string rsrc, dit;
    bool simple;  ///< the companion goes in as a file
  };
  const std::vector<Cas> cas = {
      {"grown", outils::appledouble(grand), grand.rsrc, "5000", false},
      {"shrunk", outils::appledouble(petit), petit.rsrc, "10 now", false},
      {"fork gone", outils::appledouble(sans), "", "0 now", false},
      {"removed", "", "", "500 bytes", false},
      {"cut in the table", outils::appledouble(avant).substr(0, 40), "", "within its head", true},
      {"cut in the information", outils::appledouble(avant).substr(0, 60), "", "within its head", true},
      {"another file", "no companion", "", "not of this kind", true},
  };
  for (const Genre &g : kGenres) {
    for (const Cas &c : cas) {
      SCOPED_TRACE(std::string(c.quoi) + " " + std::to_string(static_cast<int>(g.genre) * 2 + g.hfsplus));
      ArbreSource source(bac + "src");
      source.conteneur("pair", Forme::appledouble, avant);
      source.fichier("z behind", octets_quelconques(9000, 25));
      FichierProjet projet = projet_de(bac + "src", g.hfsplus);
      if (c.compagnon.empty())
        fs::remove(bac + "src/._pair");
      else
        remplace("._pair", c.compagnon);
      const BilanCompilation bilan = compile_genre(projet, g);
      EXPECT_EQ(bilan.resultat, kCompilReussie) << messages();
      EXPECT_EQ(bilan.remarques, 1U) << messages();
      EXPECT_NE(messages().find("pair"), std::string::npos) << messages();
      EXPECT_NE(messages().find(c.dit), std::string::npos) << messages();
      const outils::ImageLue image = image_saine(g);
      fourches(image, "pair", avant.data, c.rsrc);
      fourches(image, "z behind", octets_quelconques(9000, 25), "");
      EXPECT_EQ(image.volume.objets.size(), c.simple ? 4U : 3U);
      if (c.simple) fourches(image, "._pair", c.compagnon, "");
      fs::remove_all(bac + "src");
    }
  }
}

// A container that was replaced by another one is opened as it is now, and one that is none any more is
// copied as it is.
TEST_F(SourcesAbimees, un_conteneur_qui_change_est_nomme) {
  outils::FichierMac grand = fichier_mac("Inside", 31);
  grand.data = octets_quelconques(70'000, 32);
  grand.rsrc = octets_quelconques(3'000, 33);
  for (const Genre &g : kGenres) {
    for (const Forme forme : {Forme::macbinary, Forme::binhex, Forme::applesingle}) {
      for (const bool autre : {false, true}) {
        SCOPED_TRACE(std::to_string(static_cast<int>(forme)) + " " +
                     std::to_string(static_cast<int>(g.genre) * 2 + g.hfsplus));
        ArbreSource source(bac + "src");
        const std::string nom = source.conteneur("box", forme, fichier_mac("Inside", 30)).nom_mac;
        FichierProjet projet = projet_de(bac + "src", g.hfsplus);
        const std::string neuf = autre                       ? std::string("nothing of the kind")
                                 : forme == Forme::binhex    ? outils::binhex(grand)
                                 : forme == Forme::macbinary ? outils::macbinary(grand)
                                                             : outils::applesingle(grand);
        remplace("box", neuf);
        const BilanCompilation bilan = compile_genre(projet, g);
        EXPECT_EQ(bilan.resultat, kCompilReussie) << messages();
        EXPECT_EQ(bilan.remarques, 1U) << messages();
        EXPECT_NE(messages().find("src/box"), std::string::npos) << messages();
        const outils::ImageLue image = image_saine(g);
        if (autre)
          fourches(image, "box", neuf, "");
        else
          fourches(image, nom, grand.data, grand.rsrc);
        if (g.cotes.iso) sur_iso(image, "box", neuf);
        fs::remove_all(bac + "src");
      }
    }
  }
}

// The look at a BinHex text is its decoding: it is not read a second time for the image.
TEST_F(SourcesAbimees, un_texte_binhex_est_decode_une_fois) {
  ArbreSource source(bac + "src");
  for (int i = 0; i < 5; ++i) {
    outils::FichierMac f = fichier_mac("Text " + std::to_string(i), 40 + 2 * static_cast<std::uint64_t>(i));
    f.drapeaux = 0x0400;
    source.conteneur("t" + std::to_string(i) + ".hqx", Forme::binhex, f);
  }
  source.brut("t2 wrong.hqx", abime(Forme::binhex, fichier_mac("Wrong", 60)));
  FichierProjet projet = projet_de(bac + "src");
  SuiviBavard bavard;
  DemandeCompilation demande;
  demande.cible = bac + "o.iso";
  EXPECT_EQ(compile_projet(projet, demande, bavard).resultat, kCompilReussie) << messages();
  std::size_t fois = 0;
  for (const std::string &texte : bavard.textes)
    if (texte.find("hqx") != std::string::npos) ++fois;
  EXPECT_EQ(fois, 6U);
  const outils::ImageLue image = image_saine(kGenres[0]);
  for (const outils::FichierSource &f : source.fichiers()) {
    fourches(image, f.nom_mac, f.mac.data, f.mac.rsrc);
    EXPECT_EQ(image.volume.trouve(f.nom_mac)->drapeaux, 0x0400);
  }
}

}  // namespace
}  // namespace varnion
