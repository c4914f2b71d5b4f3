// Volumes of other programs: every fact and both forks of every item, against lists made by an independent
// reader.

#include <map>
#include <QCryptographicHash>
#include <sstream>

#include "image_essai.hpp"
#include "IO/plateforme.hpp"

namespace varnion::essai {
namespace {

struct Cas {
  const char *image;
  const char *attendu;
  bool lecture_seule;
  bool meme_place = true;  ///< the list tells the place in this very image
};

void PrintTo(const Cas &cas, std::ostream *flux) {
  *flux << cas.image;
}

constexpr Cas kCas[] = {
    {"apm/apm-prodos-hfs.iso.gz", "apm_apm-prodos-hfs", false},
    {"apm/made_apm_hfs.img.gz", "apm_made_apm_hfs", false},
    {"hfs/blank-800k.hfs.gz", "hfs_blank-800k", true},
    {"hfs/impluse-test-disk.hfs.gz", "hfs_impluse-test-disk", true},
    {"hfs/simple-gsos.hfs.gz", "hfs_simple-gsos", true},
    {"hfs/simple-linux.hfs.gz", "hfs_simple-linux", true},
    {"apm/hfsplus_gpt.raw.gz", "hfsplus_gpt", false},
    {"hfsplus/hfsplus_overflow.img.gz", "hfsplus_overflow", true},
    {"hfsplus/test-documents.hfsplus.gz", "hfsplus_test-documents", true},
    {"apm/hybrid_hfs_nopart.iso.gz", "hybrid_hfs_nopart", true},
    {"apm/hybrid_hfs_part.iso.gz", "hybrid_hfs_part", false},
    {"apm/hybrid_hfsplus.iso.gz", "hybrid_hfsplus", false},
    {"apm/hybrid_hfsplus_apm2048.iso.gz", "hybrid_hfsplus_apm2048", false},
    {"dmg/growl-0.7.6-sdk.dmg", "dmg_growl-0.7.6-sdk", false},
    {"dmg/impluse-test-disk.dmg", "hfs_impluse-test-disk", true},
    {"dmg/made_udzo.dmg", "apm_made_apm_hfs", false},
    {"dmg/made_udbz.dmg", "apm_made_apm_hfs", false},
    {"dmg/made_udco.dmg", "apm_made_apm_hfs", false},
    {"dmg/made_udco_overlap.dmg", "apm_made_apm_hfs", false},
    {"dmg/made_udro.dmg", "apm_made_apm_hfs", false},
    {"dmg/made_whole_noplst.dmg", "apm_made_apm_hfs", true, false},
};

std::string hexa(std::span<const std::uint8_t> octets) {
  std::string texte;
  for (const std::uint8_t octet : octets) {
    texte += "0123456789abcdef"[octet >> 4];
    texte += "0123456789abcdef"[octet & 15];
  }
  return texte;
}

std::string md5(const std::string &contenu) {
  if (contenu.empty()) return "-";
  return QCryptographicHash::hash(QByteArray::fromStdString(contenu), QCryptographicHash::Md5)
      .toHex()
      .toStdString();
}

// The path of a list as this program writes it.
std::string chemin_attendu(const std::string &liste) {
  std::string chemin;
  for (std::size_t i = 0; i < liste.size(); ++i) {
    if (liste[i] == '%' && i + 2 < liste.size()) {
      chemin += static_cast<char>(std::stoul(liste.substr(i + 1, 2), nullptr, 16));
      if (chemin.back() == '\0') chemin.replace(chemin.size() - 1, 1, "\xE2\x90\x80");
      i += 2;
    } else {
      chemin += liste[i] == ':' ? '/' : liste[i] == '/' ? ':' : liste[i];
    }
  }
  return plateforme::large_vers_utf8(plateforme::utf8_vers_large(chemin));
}

std::map<std::string, std::string> entete_attendu(const std::string &ligne) {
  std::map<std::string, std::string> champs;
  std::istringstream flux(ligne.substr(2));
  for (std::string mot, cle; flux >> mot;) {
    if (const std::size_t egal = mot.find('='); egal != std::string::npos) {
      cle = mot.substr(0, egal);
      champs[cle] = mot.substr(egal + 1);
    } else {
      champs[cle] += " " + mot;
    }
  }
  return champs;
}

std::map<std::string, std::string> entete_lu() {
  const VolumeCourant &volume = volume_courant();
  const FicheEnteteArbre &arbre = volume.catalogue.fiche();
  std::map<std::string, std::string> champs;
  const auto pose = [&](const char *cle, std::uint64_t valeur) { champs[cle] = std::to_string(valeur); };
  champs["kind"] = volume.est_hfsplus ? "HFS+" : "HFS";
  champs["volume"] = element_racine()->nom_chemin();
  pose("block", volume.taille_bloc);
  pose("first_allocation_byte", volume.debut_allocation * kTailleSecteur);
  pose("catalog_node", volume.catalogue.taille_noeud);
  pose("depth", arbre.treeDepth);
  pose("leaf_records", arbre.leafRecords);
  pose("extents_records", volume.extents.fiche().leafRecords);
  const EnteteVolumePlus *plus = volume.vhb;
  const Mdb *mdb = volume.mdb;
  pose("blocks", plus != nullptr ? std::uint32_t{plus->totalBlocks} : std::uint32_t{mdb->drNmAlBlks});
  pose("free", plus != nullptr ? std::uint32_t{plus->freeBlocks} : std::uint32_t{mdb->drFreeBks});
  pose("files", plus != nullptr ? plus->fileCount : mdb->drFilCnt);
  pose("folders", plus != nullptr ? plus->folderCount : mdb->drDirCnt);
  pose("created", plus != nullptr ? plus->createDate : mdb->drCrDate);
  pose("modified", plus != nullptr ? plus->modifyDate : mdb->drLsMod);
  return champs;
}

class Echantillons : public Images, public ::testing::WithParamInterface<Cas> {
 protected:
  static std::string fourche(const ElementMac &element, std::uint8_t numero) {
    EtatFourche etat{};
    const std::string contenu = lit(element, numero, &etat);
    EXPECT_EQ(etat, EtatFourche::entiere) << element.nom_utf8();
    return std::to_string(contenu.size()) + "\t" + md5(contenu) + "\t" +
           std::to_string(LecteurFourche(element, numero).extents().size());
  }
  // One line of a list, without the path.
  static std::string ligne(const ElementMac &element) {
    std::vector<std::uint8_t> nom;
    for (const be16 &unite : element.nom_hfsplus.vue())
      nom.insert(nom.end(), unite.octets.begin(), unite.octets.end());
    nom.insert(nom.end(), element.nom_hfs.begin(), element.nom_hfs.end());
    std::ostringstream texte;
    texte << (element.dossier ? "d\t" : "f\t") << element.id << "\t" << element.parent << "\t";
    if (element.dossier) {
      texte << "-\t-\t-\t-\t-\t-\t-\t-\t-";
    } else {
      const std::array<std::uint8_t, 2> drapeaux{static_cast<std::uint8_t>(element.drapeaux_finder >> 8),
                                                 static_cast<std::uint8_t>(element.drapeaux_finder)};
      texte << hexa(element.type) << "\t" << hexa(element.createur) << "\t" << hexa(drapeaux) << "\t"
            << fourche(element, kFourcheDonnees) << "\t" << fourche(element, kFourcheRessources);
    }
    texte << "\t" << element.creation << "\t" << element.modification << "\t" << hexa(nom);
    return texte.str();
  }
};

TEST_P(Echantillons, AgreeInEveryFactAndFork) {
  ASSERT_EQ(ouvre(echantillon(GetParam().image)), EtatOuverture::montee);
  EXPECT_EQ(support().lecture_seule, GetParam().lecture_seule);
  std::ifstream liste(VN_DONNEES "/attendus/" + std::string(GetParam().attendu) + ".tsv");
  std::string attendue;
  ASSERT_TRUE(std::getline(liste, attendue));
  auto entete = entete_attendu(attendue);
  auto lu = entete_lu();
  if (!GetParam().meme_place) lu["first_allocation_byte"] = entete["first_allocation_byte"];
  entete["volume"] = chemin_attendu(entete["volume"]);
  EXPECT_EQ(lu, entete);
  std::map<std::uint32_t, ElementMac> elements;
  EXPECT_TRUE(parcours_volume([&](const ElementMac &element) {
                elements[element.id] = element;
                return true;
              }).entier());
  std::getline(liste, attendue);
  std::size_t nombre = 1;  // the root
  for (; std::getline(liste, attendue); ++nombre) {
    const std::size_t tab = attendue.rfind('\t');
    const ElementMac &element = elements[static_cast<std::uint32_t>(std::stoul(attendue.substr(2)))];
    EXPECT_EQ(ligne(element), attendue.substr(0, tab));
    const std::string chemin = chemin_attendu(attendue.substr(tab + 1));
    EXPECT_EQ(chemin_de(element), chemin);
    const auto trouve = element_par_chemin(chemin);
    EXPECT_EQ(trouve ? trouve->id : 0, element.id) << chemin;
  }
  EXPECT_EQ(elements.size(), nombre);
  EXPECT_EQ(parcourt_tout(), static_cast<int>(nombre) - 1);
}

INSTANTIATE_TEST_SUITE_P(Volumes, Echantillons, ::testing::ValuesIn(kCas), [](const auto &cas) {
  std::string nom = cas.param.image;
  std::replace_if(
      nom.begin(), nom.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
  return nom;
});

TEST_F(Images, ReadsTheVolumeOfAnImageWithOverlappingCopies) {
  ASSERT_EQ(ouvre(echantillon("dmg/hfsplus_adc.dmg")), EtatOuverture::montee);
  EXPECT_TRUE(partition_courante().image_temporaire);
  const std::string copie = partition_courante().chemin_temporaire;
  EXPECT_TRUE(plateforme::existe(copie));
  EXPECT_GT(parcourt_tout(), 10);
  fermer_partition();
  EXPECT_FALSE(plateforme::existe(copie));
}

}  // namespace
}  // namespace varnion::essai
