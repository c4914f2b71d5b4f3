#include "fichiers/ecriture.hpp"

#include <cerrno>

#include "fichiers/applesimple.hpp"
#include "fichiers/conteneur_lu.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/mode_copie.hpp"
#include "IO/etat.hpp"
#include "outils/operations_script.hpp"

namespace varnion {
namespace {

using namespace essai;

std::string motif(std::size_t longueur, unsigned graine) {
  std::string octets_faits(longueur, '\0');
  for (std::size_t i = 0; i < longueur; ++i)
    octets_faits[i] = static_cast<char>((i * 7 + i / 251 + graine) & 0xFF);
  return octets_faits;
}

ElementFichier element(std::string data, std::string rsrc) {
  ElementFichier e;
  e.nom = "Caf\x8E noir";
  for (std::size_t i = 0; i < e.info_finder.size(); ++i)
    e.info_finder[i] = static_cast<std::uint8_t>(0x41 + i);
  e.dates = {0xB0000001, 0xB0000002, kDateInconnue, 0xB0000004};
  e.data = fourche_de_texte(std::move(data));
  e.rsrc = fourche_de_texte(std::move(rsrc));
  return e;
}

std::string verse(const FluxFourche &fourche) {
  std::string tout;
  if (fourche.coule) {
    EXPECT_TRUE(fourche.coule([&](std::span<const std::uint8_t> o) {
      tout.append(o.begin(), o.end());
      return true;
    }));
  }
  EXPECT_EQ(tout.size(), fourche.longueur);
  return tout;
}

// One file written as the copy to the PC does, in short.
bool ecrit_sous_forme(std::uint32_t mode, const DossierSortie &dossier, const std::string &nom,
                      const ElementFichier &fichier_mac) {
  const auto echoue = [](ResultatEcriture resultat, const CibleFichier &fautive) {
    dit_echec_ecriture(resultat, fautive.chemin(), errno);
    return false;
  };
  CibleFichier cible(dossier, nom);
  if (!cible.ouverte()) return echoue(ResultatEcriture::ecriture, cible);
  std::optional<CibleFichier> compagnon;
  if ((mode & kMasqueModeCopie) == kCopieAppleDouble) {
    compagnon.emplace(dossier, std::string("._") + nom);
    if (!compagnon->ouverte()) return echoue(ResultatEcriture::ecriture, *compagnon);
    const ResultatEcriture resultat = ecrit_appledouble(compagnon->fichier(), fichier_mac);
    if (resultat != ResultatEcriture::fait) return echoue(resultat, *compagnon);
  }
  const ResultatEcriture resultat = ecrit_forme(mode, cible.fichier(), fichier_mac);
  if (resultat != ResultatEcriture::fait) return echoue(resultat, cible);
  if (compagnon && !compagnon->garde()) return echoue(ResultatEcriture::ecriture, *compagnon);
  if (cible.garde()) return true;
  if (compagnon) compagnon->jette();
  return echoue(ResultatEcriture::ecriture, cible);
}

class Ecriture : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    brancher_operations(&operations_);
    dossier_ = plateforme::dossier_temporaire();
    ASSERT_NE(dossier_, "");
    sortie_ = DossierSortie::ouvre(dossier_);
    ASSERT_TRUE(sortie_);
  }
  void TearDown() override {
    plateforme::vide_dossier_temporaire();
    EtatProgramme::courant().reinitialise();
  }
  [[nodiscard]] std::string contenu(const std::string &nom) const {
    const Fichier fichier = plateforme::ouvre(dossier_ + nom, Ouverture::lecture);
    EXPECT_TRUE(fichier.ouvert()) << nom;
    return fichier.ouvert() ? lit_tout(fichier) : "";
  }

  OperationsScript operations_;
  std::string dossier_;
  std::optional<DossierSortie> sortie_;
};

struct Longueurs {
  std::size_t data, rsrc;
};
constexpr Longueurs kLongueurs[] = {
    {0, 1},     {1, 0},     {128, 5},  {130, 0},
    {127, 300}, {129, 128}, {0, 1000}, {3 * kBlocFourche + 17, kBlocFourche + 1}};

TEST_F(Ecriture, ConteneursRelusParDAutresYeux) {
  for (const auto &[data, rsrc] : kLongueurs) {
    SCOPED_TRACE(std::to_string(data) + " + " + std::to_string(rsrc));
    const std::string d = motif(data, 1), r = motif(rsrc, 2);
    const ElementFichier e = element(d, r);
    const std::string info(e.info_finder.begin(), e.info_finder.end());
    const std::string dates =
        be32_texte(0xB0000001) + be32_texte(0xB0000002) + be32_texte(0x80000000) + be32_texte(0xB0000004);

    ASSERT_TRUE(ecrit_sous_forme(kCopieMacBinaire, *sortie_, "m", e));
    const std::string mb = contenu("m");
    const MacBinaireLu m = lit_macbinaire(mb);
    EXPECT_EQ(m.nom, e.nom);
    EXPECT_EQ(m.type + m.createur, info.substr(0, 8));
    EXPECT_EQ(m.drapeaux, 0x494AU);
    EXPECT_EQ(m.position, 0x4B4C4D4EU);
    EXPECT_EQ(m.creation, 0xB0000001U);
    EXPECT_EQ(m.modification, 0xB0000002U);
    EXPECT_TRUE(m.data == d && m.rsrc == r);
    EXPECT_EQ(mb.size(), m.longueur);

    ASSERT_TRUE(ecrit_sous_forme(kCopieAppleSingle, *sortie_, "s", e));
    const std::string as = contenu("s");
    const AppleLu s = lit_apple(as);
    EXPECT_EQ(s.magie, 0x00051600U);
    EXPECT_EQ(s.version, 0x00020000U);
    EXPECT_EQ(s.ordre, (std::vector<std::uint64_t>{8, 9, 2, 1}));
    EXPECT_TRUE(s.entrees.at(8) == dates && s.entrees.at(9) == info);
    EXPECT_TRUE(s.entrees.at(2) == r && s.entrees.at(1) == d);
    EXPECT_EQ(as.size(), s.longueur);

    ASSERT_TRUE(ecrit_sous_forme(kCopieAppleDouble, *sortie_, "d.x", e));
    const std::string ad = contenu("._d.x");
    const AppleLu a = lit_apple(ad);
    EXPECT_EQ(a.magie, 0x00051607U);
    EXPECT_EQ(a.ordre, (std::vector<std::uint64_t>{8, 9, 2}));
    EXPECT_TRUE(a.entrees.at(8) == dates && a.entrees.at(9) == info && a.entrees.at(2) == r);
    EXPECT_EQ(ad.size(), a.longueur);
    EXPECT_EQ(ad.size(), 110 + rsrc);
    EXPECT_TRUE(contenu("d.x") == d);

    ASSERT_TRUE(ecrit_sous_forme(kCopieData, *sortie_, "f", e));
    EXPECT_TRUE(contenu("f") == d);
    ASSERT_TRUE(ecrit_sous_forme(kCopieRessource, *sortie_, "f", e));
    EXPECT_TRUE(contenu("f") == r);
  }
  EXPECT_TRUE(operations_.erreurs.empty());
}

TEST_F(Ecriture, AllerEtRetour) {
  struct Cas {
    std::uint32_t mode;
    GenreConteneur genre;
    std::size_t info;  ///< bytes of Finder info that the form carries
  };
  const Cas cas[] = {{kCopieMacBinaire, GenreConteneur::macbinaire, 14},
                     {kCopieAppleSingle, GenreConteneur::applesingle, 32},
                     {kCopieAppleDouble, GenreConteneur::appledouble, 32},
                     {kCopieData, GenreConteneur::fichier, 0}};
  for (const Cas &c : cas) {
    for (const auto &[data, rsrc] : kLongueurs) {
      const std::string d = motif(data, 3), r = motif(rsrc, 4);
      const ElementFichier e = element(d, r);
      const std::string nom = "C" + std::to_string(c.mode);
      ASSERT_TRUE(ecrit_sous_forme(c.mode, *sortie_, nom, e));
      const auto relu = ouvre_conteneur(dossier_ + nom);
      ASSERT_TRUE(relu);
      EXPECT_EQ(relu->genre, c.genre);
      EXPECT_TRUE(relu->intact);
      EXPECT_TRUE(std::equal(e.info_finder.begin(),
                             e.info_finder.begin() + static_cast<std::ptrdiff_t>(c.info),
                             relu->element.info_finder.begin()));
      EXPECT_TRUE(verse(relu->element.data) == d);
      EXPECT_TRUE(verse(relu->element.rsrc) == (c.mode == kCopieData ? "" : r));
      EXPECT_EQ(relu->element.nom, c.mode == kCopieMacBinaire ? e.nom : nom);
    }
  }
}

// The same Macintosh file in four containers, made by other programs, and each again in MacBinary.
TEST_F(Ecriture, UnFichierDansQuatreConteneurs) {
  struct Cas {
    const char *chemin;
    GenreConteneur genre;
    const char *signature;
  };
  const Cas cas[] = {
      {"macbinary/sources_with_comment.sit.bin", GenreConteneur::macbinaire, "SITDSIT!"},
      {"binhex/sources_with_comment.sit.hqx", GenreConteneur::binhex, "SITDSIT!"},
      {"applesingle/sources_with_comment.sit.as", GenreConteneur::applesingle, "SITDSIT!"},
      {"appledouble/sources_with_comment.sit", GenreConteneur::appledouble, "\0\0\0\0\0\0\0\0"},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.chemin);
    const auto conteneur = ouvre_conteneur(std::string(VN_DONNEES "/") + c.chemin);
    ASSERT_TRUE(conteneur);
    EXPECT_EQ(conteneur->genre, c.genre);
    EXPECT_TRUE(conteneur->intact);
    ASSERT_TRUE(ecrit_sous_forme(kCopieMacBinaire, *sortie_, "m", conteneur->element));
    const MacBinaireLu m = lit_macbinaire(contenu("m"));
    EXPECT_EQ(m.type + m.createur, std::string(c.signature, 8));
    EXPECT_EQ(somme(fichier_de(m.data), {0, m.data.size()}), 0xABB899AFU);
    EXPECT_EQ(somme(fichier_de(m.rsrc), {0, m.rsrc.size()}), 0xA3D77462U);
    if (c.genre == GenreConteneur::macbinaire) {
      EXPECT_EQ(m.creation, 3758588621U);
      EXPECT_EQ(m.modification, 3758588651U);
      EXPECT_EQ(m.nom, "sources_with_comment.sit");
    }
  }
}

TEST_F(Ecriture, TeteMacBinaire) {
  struct Cas {
    std::string nom, ecrit;
  };
  const Cas cas[] = {
      {"  \xA0 a", "a"},
      {"a ", "a "},
      {"   ", "   "},
      {std::string(70, 'n'), std::string(63, 'n')},
      {std::string(63, 'm'), std::string(63, 'm')},
  };
  for (const Cas &c : cas) {
    ElementFichier e = element("d", "r");
    e.nom = c.nom;
    const TeteMacBinaire tete = tete_macbinaire(e);
    EXPECT_EQ(nom_macbinaire(tete), c.ecrit);
    EXPECT_TRUE(est_macbinaire(tete, 0));
  }
  ElementFichier e = element("d", "");
  e.decalage = -3600;
  e.dates.modification = 0;
  EXPECT_EQ(tete_macbinaire(e).date_creation, 0xB0000001U - 3600U);
  EXPECT_EQ(tete_macbinaire(e).date_modif, 0U);
}

TEST_F(Ecriture, SourceQuiManque) {
  const auto echoue = [](const Puits &) { return false; };
  const auto court = [](const Puits &puits) { return puits(octets("ab")); };
  const auto long_ = [](const Puits &puits) { return puits(octets("abcd")) && puits(octets("e")); };
  const FluxFourche fourches[] = {{4, echoue}, {4, court}, {4, long_}, {4, nullptr}};
  for (const FluxFourche &fourche : fourches) {
    for (const std::uint32_t mode : {kCopieData, kCopieMacBinaire, kCopieAppleSingle, kCopieAppleDouble}) {
      ElementFichier e = element("", motif(200, 5));
      e.data = fourche;
      EXPECT_FALSE(ecrit_sous_forme(mode, *sortie_, "x", e));
      EXPECT_FALSE(plateforme::existe(dossier_ + "x"));
      EXPECT_FALSE(plateforme::existe(dossier_ + "._x"));
      EXPECT_EQ(operations_.erreurs.size(), 1U);
      operations_.erreurs.clear();
    }
    EXPECT_FALSE(fourche_en_fichier(fourche).ouvert());
  }
  // Lengths beyond the fields of the containers: nothing is read of them.
  ElementFichier e = element("d", "r");
  e.data = {std::uint64_t{1} << 32, echoue};
  for (const std::uint32_t mode : {kCopieMacBinaire, kCopieAppleSingle}) {
    EXPECT_FALSE(ecrit_sous_forme(mode, *sortie_, "x", e));
    EXPECT_EQ(operations_.erreurs.back(),
              "The content is too long for the form of\n" + sortie_->chemin() + "x.");
  }
  e.data = fourche_de_texte("d");
  e.rsrc = {0xFFFFFFFF, echoue};
  EXPECT_EQ(ecrit_appledouble(fichier_de(""), e), ResultatEcriture::trop_grand);
}

TEST_F(Ecriture, DisquePlein) {
  const ElementFichier e = element(motif(5000, 6), motif(3000, 7));
  for (const std::uint32_t mode :
       {kCopieData, kCopieRessource, kCopieMacBinaire, kCopieAppleSingle, kCopieAppleDouble}) {
    for (const std::uint64_t place : {0U, 100U, 2500U}) {
      {
        const essai::DisquePlein plein(place);
        EXPECT_FALSE(ecrit_sous_forme(mode, *sortie_, "y", e)) << mode;
      }
      EXPECT_FALSE(plateforme::existe(dossier_ + "y"));
      EXPECT_FALSE(plateforme::existe(dossier_ + "._y"));
      ASSERT_EQ(operations_.erreurs.size(), 1U);
      EXPECT_NE(operations_.erreurs[0].find(plateforme::texte_erreur(EFBIG)), std::string::npos);
      operations_.erreurs.clear();
    }
  }
  ASSERT_TRUE(plateforme::cree_dossier(dossier_ + "._z"));
  EXPECT_FALSE(ecrit_sous_forme(kCopieAppleDouble, *sortie_, "z", e));  // a folder has the companion's name
  EXPECT_FALSE(plateforme::existe(dossier_ + "z"));
  EXPECT_TRUE(plateforme::est_dossier(dossier_ + "._z"));
  EXPECT_EQ(operations_.erreurs.size(), 1U);
}

TEST_F(Ecriture, ConteneursAbimes) {
  EXPECT_FALSE(ouvre_conteneur(dossier_ + "absent"));
  ASSERT_TRUE(ecrit_sous_forme(kCopieMacBinaire, *sortie_, "m", element(motif(300, 8), motif(300, 9))));
  const Fichier m = plateforme::ouvre(dossier_ + "m", Ouverture::lecture_ecriture);
  ASSERT_TRUE(fichier_tronquer(m, 700));  // by less than a head: still a MacBinary file
  const auto coupe = ouvre_conteneur(dossier_ + "m");
  ASSERT_TRUE(coupe);
  EXPECT_EQ(coupe->genre, GenreConteneur::macbinaire);
  EXPECT_FALSE(coupe->intact);
  EXPECT_EQ(coupe->element.rsrc.longueur, 188U);
  // A file that shrinks between opening and reading gives no shorter copy.
  ASSERT_TRUE(fichier_tronquer(m, 600));
  EXPECT_FALSE(ecrit_sous_forme(kCopieRessource, *sortie_, "r", coupe->element));
  EXPECT_FALSE(plateforme::existe(dossier_ + "r"));
}

}  // namespace
}  // namespace varnion
