// Structures of ISO 9660 and of the PC. Expected values come from isoinfo, or were put there by the test.
#include <fcntl.h>

#include <regex>
#include <sstream>

#include "inspect/outils.hpp"
#include "IO/bac.hpp"
#include "outils/programmes.hpp"

namespace varnion::essai {

namespace {

/// An ISO image made by xorriso, with Joliet where it is asked for.
class AnalyseIso : public Bac {
 protected:
  void SetUp() override {
    Bac::SetUp();
    pose_dossier("src");
    pose_dossier("src/SOUS");
    pose_dossier("src/SOUS/FOND");
    pose("src/LISEZ.TXT", std::string(3000, 'l'));
    pose("src/SOUS/B.DAT", "b");
    pose_dossier("src/A");
    image = bac + "essai.iso";
  }
  void fait(const std::string &options) {
    const auto sortie = outils::lance("xorriso -as mkisofs --norock -V ESSAI_ISO " + options + " -o " +
                                      outils::cite(image) + " " + outils::cite(bac + "src"));
    ASSERT_EQ(sortie.statut, 0) << sortie.texte;
    source = source_de(tout(Fichier(::open(image.c_str(), O_RDONLY))));
  }
  /// Rows "name extent" of all records of the path table, as isoinfo reads them (it gives numbers in
  /// hexadecimal).
  [[nodiscard]] std::vector<std::string> table_isoinfo(const std::string &options) const {
    const auto sortie = outils::lance("isoinfo -p " + options + " -i " + outils::cite(image));
    std::vector<std::string> lignes;
    const std::regex forme(R"( +\d+: +(\d+) ([0-9a-f]+) ?(.*))");
    std::smatch trouve;
    std::istringstream texte(sortie.texte);
    for (std::string ligne; std::getline(texte, ligne);)
      if (std::regex_match(ligne, trouve, forme))
        lignes.push_back((lignes.empty() ? "Root" : trouve[3].str()) + "|" + trouve[1].str() + "|" +
                         std::to_string(std::stoul(trouve[2].str(), nullptr, 16)));
    return lignes;
  }
  [[nodiscard]] std::string champ_isoinfo(const std::string &nom) const {
    const auto sortie = outils::lance("isoinfo -d -i " + outils::cite(image));
    std::smatch trouve;
    const std::regex forme(nom + ": *([^\n]*[^ \n])");
    return std::regex_search(sortie.texte, trouve, forme) ? trouve[1].str() : "";
  }

  std::string image;
  SourceUnique source;
};

/// Rows of a directory without the parent.
std::vector<std::string> fichiers(const FicheAnalyse &fiche) {
  std::vector<std::string> toutes = lignes(fiche);
  std::erase_if(toutes, [](const std::string &ligne) { return ligne.starts_with("Parent|"); });
  return toutes;
}

}  // namespace

TEST_F(AnalyseIso, descripteur_table_et_repertoire) {
  fait("");
  EtatAnalyse etat;
  const FicheAnalyse descripteur = analyse_secteur(*source, 64, etat);
  EXPECT_EQ(descripteur.forme, FormeSecteur::iso);
  EXPECT_EQ(descripteur.titre, "ISO 9660 Volume Descriptor");
  EXPECT_EQ(valeur(descripteur, "cont_volid"), champ_isoinfo("Volume id"));
  EXPECT_EQ(valeur(descripteur, "cont_long"), champ_isoinfo("Volume size is"));
  EXPECT_EQ(valeur(descripteur, "cont_sysid").size(), 32U);

  // Both tables say the same; the names and numbers are those of isoinfo.
  for (const char *nom : {"go_pthtab", "go_pthtab2"}) {
    const FicheAnalyse table = analyse_secteur(*source, mene(descripteur, nom), etat);
    EXPECT_EQ(table.forme, FormeSecteur::chemins);
    EXPECT_EQ(table.titre, "ISO 9660 Path Table");
    EXPECT_EQ(lignes(table), table_isoinfo(""));
    EXPECT_EQ(lignes(table).size(), 4U);
  }
  const FicheAnalyse racine = analyse_secteur(*source, mene(descripteur, "go_root"), etat);
  ASSERT_EQ(racine.forme, FormeSecteur::repertoire);
  EXPECT_EQ(racine.titre, "ISO 9660 Path Table");
  ASSERT_EQ(racine.onglets.size(), 1U);
  // The record of the root as its own parent points at the directory itself and is left out; a folder named
  // with one letter shows as the parent.
  ASSERT_EQ(racine.onglets[0].lignes.size(), 3U);
  EXPECT_EQ(racine.onglets[0].lignes[0].cellules[0], "Parent");
  EXPECT_EQ(racine.onglets[0].lignes[1].cellules[0], "LISEZ.TXT;1");
  EXPECT_EQ(racine.onglets[0].lignes[1].cellules[1], "3000");
  EXPECT_EQ(racine.onglets[0].lignes[2].cellules[0], "SOUS");
  Octets debut(3000);
  source->lire_secteurs(debut, racine.onglets[0].lignes[1].cible->secteur);
  EXPECT_EQ(std::string(debut.begin(), debut.end()), std::string(3000, 'l'));
  const FicheAnalyse sous = analyse_secteur(*source, racine.onglets[0].lignes[2].cible->secteur, etat);
  EXPECT_EQ(lignes(sous).size(), 3U);  // the parent, B.DAT, FOND
  EXPECT_EQ(lignes(sous)[0].substr(0, 7), "Parent|");
}

TEST_F(AnalyseIso, joliet) {
  fait("-J");
  EtatAnalyse etat;
  const FicheAnalyse descripteur = analyse_secteur(*source, 68, etat);
  EXPECT_EQ(descripteur.titre, "Joliet Volume Descriptor");
  EXPECT_EQ(valeur(descripteur, "cont_volid"), "ESSAI_ISO");
  const FicheAnalyse table = analyse_secteur(*source, mene(descripteur, "go_pthtab"), etat);
  EXPECT_EQ(table.titre, "Joliet Path Table");
  EXPECT_EQ(lignes(table).at(0).substr(0, 7), "Root|1|");
  std::vector<std::string> noms;
  for (const std::string &ligne : lignes(table)) noms.push_back(ligne.substr(0, ligne.find('|')));
  EXPECT_EQ(noms, (std::vector<std::string>{"Root", "A", "SOUS", "FOND"}));
  const FicheAnalyse racine = analyse_secteur(*source, mene(descripteur, "go_root"), etat);
  ASSERT_EQ(racine.forme, FormeSecteur::repertoire);
  EXPECT_EQ(racine.titre, "Joliet Path Table");
  noms.clear();
  for (const std::string &ligne : fichiers(racine)) noms.push_back(ligne.substr(0, ligne.find('|')));
  EXPECT_EQ(noms, (std::vector<std::string>{"A", "LISEZ.TXT", "SOUS"}));
}

// More than one logical sector: records do not cross a boundary, and all are listed.
TEST_F(AnalyseIso, repertoire_de_plusieurs_secteurs) {
  for (int i = 0; i < 100; ++i) pose("src/SOUS/F" + std::to_string(1000 + i) + ".DAT", "x");
  fait("");
  EtatAnalyse etat;
  const FicheAnalyse descripteur = analyse_secteur(*source, 64, etat);
  const FicheAnalyse racine = analyse_secteur(*source, mene(descripteur, "go_root"), etat);
  const Ligne &sous = racine.onglets.at(0).lignes.back();
  EXPECT_EQ(sous.cellules[0], "SOUS");
  EXPECT_GT(std::stoi(sous.cellules[1]), 2048);
  const FicheAnalyse fiche = analyse_secteur(*source, sous.cible->secteur, etat);
  EXPECT_EQ(fichiers(fiche).size(), 102U);
  EXPECT_TRUE(fiche.entiere);
  // The same on a medium cut behind the first sector of the directory.
  const auto coupe = static_cast<std::uint64_t>(sous.cible->secteur + 4) * 512;
  const auto court = source_plage(*source, {0, coupe}, "court");
  const FicheAnalyse partie = analyse_secteur(*court, sous.cible->secteur, etat);
  EXPECT_FALSE(partie.entiere);
  EXPECT_GT(fichiers(partie).size(), 20U);
}

// With sectors of 2,048 bytes a logical sector is one.
TEST_F(AnalyseIso, secteurs_de_2048) {
  fait("");
  source->taille_secteur(2048);
  EtatAnalyse etat;
  const FicheAnalyse descripteur = analyse_secteur(*source, 16, etat);
  EXPECT_EQ(mene(descripteur, "go_root"), std::stoi(valeur(descripteur, "cont_root")));
  const FicheAnalyse racine = analyse_secteur(*source, mene(descripteur, "go_root"), etat);
  EXPECT_EQ(fichiers(racine).size(), 2U);
}

// Lengths that no record has: the sector ends there, the next one is read all the same.
TEST(AnalysePc, repertoire_abime) {
  Octets octets(std::size_t{3} * 2048, 1);
  for (const std::size_t place : {0U, 34U, 4096U}) {
    std::fill_n(octets.begin() + static_cast<std::ptrdiff_t>(place), 34, std::uint8_t{0});
    met_petit(octets, place, 1, 34);
    met_petit(octets, place + 2, 4, 100 + place);
    met_petit(octets, place + 10, 4, octets.size());
    met_petit(octets, place + 32, 1, 1);
  }
  const auto source = source_octets(octets, "abime");
  EtatAnalyse etat;
  const FicheAnalyse fiche = analyse_secteur_comme(FormeSecteur::repertoire, *source, 0, etat);
  EXPECT_EQ(lignes(fiche),
            (std::vector<std::string>{"Parent|6144|100", "Parent|6144|134", "Parent|6144|4196"}));
  EXPECT_FALSE(fiche.entiere);
}

TEST(AnalysePc, mbr) {
  struct Entree {
    std::uint8_t type;
    std::uint32_t debut, longueur;
    const char *ligne;
  };
  const std::vector<std::vector<Entree>> disques{
      {{0x83, 63, 1000, "???? (0x83)|63|1000 (0x3e8)"}},
      {{0x01, 1, 10, "FAT12 Partition|1|10 (0xa)"},
       {0x0E, 11, 16, "FAT16 Partition|11|16 (0x10)"},
       {0x05, 27, 1, "Extended Partition|27|1 (0x1)"},
       {0x07, 28, 2, "HPFS/NTFS Partition|28|2 (0x2)"}},
      {{0x0C, 63, 3, "FAT32 Partition|63|3 (0x3)"},
       {0x12, 66, 4, "EISA Partition|66|4 (0x4)"},
       {0xAF, 4000000000, 5, "Macintosh Partition|4000000000|5 (0x5)"},
       {0xEE, 1, 0xFFFFFFFF, "EFI/GPT Partition|1|-1 (0xffffffff)"}},
      {{0xEF, 1, 1, "EFI/GPT Partition|1|1 (0x1)"}, {0x0B, 2, 0, nullptr}, {0x06, 3, 1, nullptr}},
  };
  for (const auto &disque : disques) {
    Octets secteur(512);
    std::vector<std::string> attendues;
    for (std::size_t i = 0; i < disque.size(); ++i) {
      const std::size_t place = 0x1BE + 16 * i;
      met_petit(secteur, place + 4, 1, disque[i].type);
      met_petit(secteur, place + 8, 4, disque[i].debut);
      met_petit(secteur, place + 12, 4, disque[i].longueur);
      if (disque[i].ligne != nullptr) attendues.emplace_back(disque[i].ligne);
    }
    const FicheAnalyse fiche = analyse(FormeSecteur::mbr, {secteur, 0, 512, nullptr, {}});
    EXPECT_EQ(lignes(fiche), attendues);
    EXPECT_EQ(valeur(fiche, "cont_sign"), "0xAA55");
    EXPECT_EQ(fiche.onglets[0].lignes[0].cible->secteur, disque[0].debut);
  }
}

TEST(AnalysePc, amorces) {
  Octets base(512);
  met(base, 0, "\xEB\x3C\x90MSDOS5.0");
  met_petit(base, 0x0B, 2, 512);
  met_petit(base, 0x0D, 1, 4);
  met_petit(base, 0x0E, 2, 6);  // reserved sectors
  met_petit(base, 0x10, 1, 2);  // copies of the FAT
  met_petit(base, 0x11, 2, 512);
  met_petit(base, 0x15, 1, 0xF8);
  met_petit(base, 0x18, 2, 63);
  met_petit(base, 0x1A, 2, 255);
  met_petit(base, 0x1C, 4, 100);
  met_petit(base, 0x20, 4, 123456);
  met_petit(base, 0x24, 1, 0x80);
  met_petit(base, 0x1FE, 2, 0xAA55);

  Octets fat16 = base;
  met_petit(fat16, 0x13, 2, 40000);
  met_petit(fat16, 0x16, 2, 200);
  Octets etendu = fat16;
  met_petit(etendu, 0x26, 1, 0x29);
  met_petit(etendu, 0x27, 4, 0x12345678);
  met(etendu, 0x2B, "SANS NOM   FAT16   ");
  Octets fat32 = base;
  met_petit(fat32, 0x24, 4, 900);
  met_petit(fat32, 0x43, 4, 99);
  met(fat32, 0x47, "GROS       FAT32   ");
  Octets ntfs = base;
  met_petit(ntfs, 0x10, 1, 0);
  met(ntfs, 3, "NTFS    ");
  met_petit(ntfs, 0x30, 8, 786432);
  met_petit(ntfs, 0x48, 8, 0xFEDCBA9876543210);

  struct Cas {
    const Octets &secteur;
    std::vector<Attendu> attendus;
    std::int64_t racine;
  };
  const std::vector<Cas> cas{
      {fat16,
       {{"cont_nbsect", "40000"},
        {"cont_typef", "-"},
        {"cont_numserie", "-"},
        {"cont_label", "-"},
        {"cont_nbsfat", "200"},
        {"cont_OEM", "MSDOS5.0"},
        {"cont_nbphys", "128"},
        {"cont_type", "0xf8"}},
       63 + 2 * 200 + 6},
      {etendu,
       {{"cont_typef", "FAT16   "},
        {"cont_numserie", "305419896"},
        {"cont_label", "SANS NOM"},
        {"cont_nbsfat", "200"},
        {"cont_nbhiden", "100"},
        {"cont_nbfaces", "255"},
        {"cont_nbpiste", "63"}},
       63 + 2 * 200 + 6},
      {fat32,
       {{"cont_nbsect", "123456"},
        {"cont_typef", "FAT32   "},
        {"cont_numserie", "99"},
        {"cont_label", "GROS"},
        {"cont_nbsfat", "900"},
        {"cont_nbos", "512"},
        {"cont_nbsg", "4"},
        {"cont_nbfat", "2"},
        {"cont_nbrub", "512"}},
       63 + 2 * 900 + 6},
      {ntfs,
       {{"cont_typef", "NTFS"},
        {"cont_nbsfat", "0"},
        {"cont_label", ""},
        {"cont_racine", "786432"},
        {"cont_numserie", "0xfedcba9876543210"}},
       786432},
  };
  for (const Cas &c : cas) {
    const FicheAnalyse fiche = analyse(FormeSecteur::fat, {c.secteur, 63, 512, nullptr, {}});
    compare(fiche, c.attendus);
    EXPECT_EQ(mene(fiche, "go_racine"), c.racine);
    EXPECT_EQ(onglets(fiche), (std::vector<std::string>{"TabBoot1", "TabBoot2"}));
  }
}

// mmls: one partition from sector 40 to 3,799, named "disk image".
TEST(AnalysePc, gpt_de_l_echantillon) {
  const auto source = echantillon("apm/hfsplus_gpt.raw.gz");
  EtatAnalyse etat;
  const FicheAnalyse mbr = analyse_secteur(*source, 0, etat);
  EXPECT_EQ(lignes(mbr), (std::vector<std::string>{"EFI/GPT Partition|1|3835 (0xefb)"}));
  EXPECT_EQ(analyse_secteur(*source, 1, etat).forme, FormeSecteur::aucune);
  const FicheAnalyse tete = analyse_secteur_comme(FormeSecteur::gpt, *source, 1, etat);
  compare(tete, {{"cont_sign", "EFI PART"},
                 {"cont_revision", "65536"},
                 {"cont_sztete", "92"},
                 {"cont_mylba", "1"},
                 {"cont_premlba", "34"},
                 {"cont_partlba", "2"},
                 {"cont_nbpart", "128"},
                 {"cont_szpart", "128"}});
  const Bouton *entrees = bouton(tete, "go_racine");
  ASSERT_NE(entrees, nullptr);
  EXPECT_EQ(entrees->action, ActionBouton::entrees);
  const FicheAnalyse liste =
      analyse_secteur_comme(FormeSecteur::partitions_gpt, *source, entrees->cible.secteur, etat);
  ASSERT_EQ(onglets(liste), (std::vector<std::string>{"Tab1"}));
  EXPECT_EQ(liste.onglets[0].titre, "Part. 1");
  compare(liste, {{"cont_guid11", "{48465300-0000-11aa-AA11-00306543ECAC}"},
                  {"cont_lbadeb1", "40"},
                  {"cont_lbafin1", "3799"},
                  {"cont_nompart1", "disk image"},
                  {"cont_partclair1", "HFS"}});
  EXPECT_EQ(mene(liste, "lba1"), 40);
}

// Type GUIDs: the reading needs one of three pieces to agree; the low half of a LBA is shown.
TEST(AnalysePc, entrees_gpt) {
  Octets secteur(512);
  const auto guid = [&](std::size_t place, std::uint32_t a, std::uint16_t b, std::uint16_t c,
                        std::string_view reste) {
    met_petit(secteur, place, 4, a);
    met_petit(secteur, place + 4, 2, b);
    met_petit(secteur, place + 6, 2, c);
    met(secteur, place + 8, reste);
  };
  const std::string_view pomme("\xAA\x11\x00\x30\x65\x43\xEC\xAC", 8);
  const std::string_view autre("\x87\xC0\x68\xB6\xB7\x26\x99\xC7", 8);
  guid(0, 0x55465300, 0, 0x11AA, pomme);         // UFS of Apple
  guid(128, 0xEBD0A0A2, 0xB9E5, 0x4433, autre);  // basic data: no piece agrees
  guid(256, 0x41424344, 0xB9E5, 0x11AA, autre);  // one piece agrees
  met_petit(secteur, 256 + 32, 8, 0x500000007);
  guid(384 + 16, 1, 2, 3, autre);  // type GUID of zeros: not used
  const FicheAnalyse fiche = analyse(FormeSecteur::partitions_gpt, {secteur, 2, 512, nullptr, {}});
  EXPECT_EQ(onglets(fiche), (std::vector<std::string>{"Tab1", "Tab2", "Tab3"}));
  compare(fiche, {{"cont_partclair1", "UFS"},
                  {"cont_guid12", "{ebd0a0a2-b9e5-4433-87C0-68B6B72699C7}"},
                  {"cont_partclair3", "ABCD"},
                  {"cont_lbadeb3", "7"}});
  EXPECT_EQ(champ(fiche, "cont_partclair2"), nullptr);
  EXPECT_EQ(mene(fiche, "lab2"), -1);
  EXPECT_EQ(mene(fiche, "lba3"), 7);
}

}  // namespace varnion::essai
