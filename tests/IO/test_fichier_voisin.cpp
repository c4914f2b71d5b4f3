#include "IO/fichier_voisin.hpp"

#include <sys/file.h>

#include <cerrno>
#include <set>

#include "bac.hpp"
#include "IO/dossier_sortie.hpp"

namespace varnion {
namespace {

constexpr mode_t kMarque = 01600;  // an unfinished file

class Voisin : public essai::Bac {
 protected:
  [[nodiscard]] std::set<std::string> noms() const {
    std::set<std::string> noms;
    for (const auto &entree : std::filesystem::directory_iterator(bac)) noms.insert(entree.path().filename());
    return noms;
  }
  [[nodiscard]] mode_t mode(const std::string &nom) const {
    struct stat fiche {};
    return ::lstat((bac + nom).c_str(), &fiche) == 0 ? fiche.st_mode & 07777 : 0;
  }
  [[nodiscard]] FichierVoisin ecrit(const std::string &nom, std::string_view texte) const {
    FichierVoisin voisin = FichierVoisin::commence(bac + nom);
    EXPECT_TRUE(voisin && fichier_puts(texte, voisin.fichier())) << nom << " " << errno;
    return voisin;
  }
  [[nodiscard]] bool fait(const std::string &nom, std::string_view texte) const {
    return ecrit(nom, texte).pose(Ecrasement::toujours);
  }
};

TEST_F(Voisin, nothing_stands_at_the_name_before_the_file_is_whole) {
  pose("a.iso", "ancien");
  {
    FichierVoisin voisin = ecrit("a.iso", "neuf");
    EXPECT_EQ(noms(), (std::set<std::string>{"a.iso", "a.iso.varnion-1.part"}));
    EXPECT_EQ(mode("a.iso.varnion-1.part") & 077, 0U);
    EXPECT_EQ(contenu("a.iso"), "ancien");
  }
  EXPECT_EQ(noms(), std::set<std::string>{"a.iso"});  // dropped: nothing is left of it
  FichierVoisin voisin = ecrit("a.iso", "neuf");
  FichierVoisin prise = std::move(voisin);
  ASSERT_TRUE(prise.pose(Ecrasement::toujours));
  EXPECT_EQ(prise.chemin(), bac + "a.iso");
  prise.jette();
  EXPECT_EQ(contenu("a.iso"), "neuf");
  EXPECT_EQ(noms(), std::set<std::string>{"a.iso"});
}

TEST_F(Voisin, rights_of_the_replaced_file_are_kept_and_a_new_one_follows_the_umask) {
  const mode_t avant = ::umask(027);
  pose("secret", "x");
  ASSERT_TRUE(fait("secret", "y"));
  EXPECT_EQ(mode("secret"), 0600U);
  ::chmod((bac + "secret").c_str(), 0664);
  ASSERT_TRUE(fait("secret", "z"));
  EXPECT_EQ(mode("secret"), 0664U);
  ASSERT_TRUE(fait("neuf", "z"));
  EXPECT_EQ(mode("neuf"), 0640U);
  // A copy tells no more people than its source.
  ::chmod((bac + "secret").c_str(), 0600);
  FichierVoisin copie = ecrit("copie", "z");
  copie.comme(plateforme::ouvre(bac + "secret", Ouverture::lecture));
  ASSERT_TRUE(copie.pose(Ecrasement::jamais));
  EXPECT_EQ(mode("copie"), 0600U);
  ::umask(avant);
}

TEST_F(Voisin, a_file_that_appears_meanwhile_stays) {
  FichierVoisin voisin = ecrit("disque.iso", "image");
  pose("disque.iso", "autre");
  for (const Ecrasement ecrasement : {Ecrasement::jamais, Ecrasement::connu}) {
    EXPECT_FALSE(voisin.pose(ecrasement));
    EXPECT_EQ(errno, EEXIST);
  }
  pose("disque (2).iso", "deux");
  EXPECT_EQ(voisin.pose_a_cote(), bac + "disque (3).iso");
  voisin.jette();
  EXPECT_EQ(contenu("disque.iso"), "autre");
  EXPECT_EQ(contenu("disque (2).iso"), "deux");
  EXPECT_EQ(contenu("disque (3).iso"), "image");
  EXPECT_EQ(noms().size(), 3U);
  EXPECT_EQ(mode("disque (3).iso") & S_ISVTX, 0U);
}

TEST_F(Voisin, only_the_file_that_was_there_is_replaced_as_known) {
  pose("a", "un");
  FichierVoisin voisin = ecrit("a", "neuf");
  ASSERT_TRUE(fait("a", "deux"));  // another file has the name by now
  EXPECT_FALSE(voisin.pose(Ecrasement::connu));
  EXPECT_EQ(contenu("a"), "deux");
  FichierVoisin second = ecrit("a", "neuf");
  ASSERT_TRUE(second.pose(Ecrasement::connu));
  EXPECT_EQ(contenu("a"), "neuf");
}

TEST_F(Voisin, names_are_taken_only_where_free_by_each_means) {
  const Fichier dossier(::open(bac.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  for (const MoyenPose moyen : {MoyenPose::noyau, MoyenPose::lien, MoyenPose::reserve}) {
    pose("de", "neuf");
    pose("pris", "ancien");
    EXPECT_FALSE(renomme_si_libre(dossier.descripteur(), "de", "pris", moyen));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(contenu("pris"), "ancien");
    EXPECT_TRUE(renomme_si_libre(dossier.descripteur(), "de", "libre", moyen));
    EXPECT_EQ(contenu("libre"), "neuf");
    EXPECT_EQ(noms(), (std::set<std::string>{"pris", "libre"}));
    std::filesystem::remove(bac + "libre");
  }
}

TEST_F(Voisin, what_a_killed_run_left_goes_and_nothing_else) {
  const std::string reste = "a.iso.varnion-1.part";
  const auto marque = [&](mode_t mode) { ::chmod((bac + reste).c_str(), mode); };
  // A user's file of that name: no mark.
  pose(reste, "a moi");
  { EXPECT_EQ(ecrit("a.iso", "x").chemin(), bac + "a.iso.varnion-2.part"); }
  EXPECT_EQ(contenu(reste), "a moi");
  // A run that goes on holds its file.
  marque(kMarque);
  {
    const Fichier tenu = plateforme::ouvre(bac + reste, Ouverture::lecture_ecriture);
    ASSERT_EQ(::flock(tenu.descripteur(), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(ecrit("a.iso", "x").chemin(), bac + "a.iso.varnion-2.part");
    EXPECT_EQ(contenu(reste), "a moi");
  }
  // A second name of it is somebody's.
  std::filesystem::create_hard_link(bac + reste, bac + "second");
  { EXPECT_EQ(ecrit("a.iso", "x").chemin(), bac + "a.iso.varnion-2.part"); }
  std::filesystem::remove(bac + "second");
  // Left and free: it goes.
  { EXPECT_EQ(ecrit("a.iso", "x").chemin(), bac + reste); }
  EXPECT_EQ(noms(), std::set<std::string>{});
  // Never through a link.
  pose("tresor", "or");
  ::chmod((bac + "tresor").c_str(), kMarque);
  std::filesystem::create_symlink("tresor", bac + reste);
  ASSERT_TRUE(fait("a.iso", "x"));
  EXPECT_EQ(contenu("tresor"), "or");
  EXPECT_EQ(noms(), (std::set<std::string>{"a.iso", reste, "tresor"}));
}

TEST_F(Voisin, what_is_no_plain_file_keeps_its_place) {
  pose_dossier("dossier");
  ASSERT_EQ(::mkfifo((bac + "tuyau").c_str(), 0600), 0);
  std::filesystem::create_symlink("boucle", bac + "boucle");
  std::filesystem::create_symlink("tuyau", bac + "vers_tuyau");
  const std::pair<const char *, int> cas[] = {
      {"dossier", EISDIR}, {"tuyau", ENXIO}, {"vers_tuyau", ENXIO}, {"boucle", ELOOP}, {"absent/a", ENOENT}};
  for (const auto &[nom, erreur] : cas) {
    EXPECT_FALSE(FichierVoisin::commence(bac + nom)) << nom;
    EXPECT_EQ(errno, erreur) << nom;
  }
  FichierVoisin voisin = ecrit("a", "x");
  pose_dossier("a");
  EXPECT_FALSE(voisin.pose(Ecrasement::toujours));
  EXPECT_EQ(errno, EISDIR);
  voisin.jette();
  EXPECT_EQ(noms(), (std::set<std::string>{"a", "boucle", "dossier", "tuyau", "vers_tuyau"}));
}

TEST_F(Voisin, a_link_leads_to_the_file_that_is_replaced) {
  pose_dossier("loin");
  pose("loin/vrai", "ancien");
  std::filesystem::create_symlink("loin/vrai", bac + "un");
  std::filesystem::create_symlink(bac + "un", bac + "deux");
  ASSERT_TRUE(fait("deux", "neuf"));
  EXPECT_EQ(contenu("loin/vrai"), "neuf");
  EXPECT_TRUE(std::filesystem::is_symlink(bac + "un") && std::filesystem::is_symlink(bac + "deux"));
  // One that leads to nothing yet gives the file its place.
  std::filesystem::create_symlink("loin/futur", bac + "trois");
  ASSERT_TRUE(ecrit("trois", "neuf").pose(Ecrasement::jamais));
  EXPECT_EQ(contenu("loin/futur"), "neuf");
  // In a folder held open names come from elsewhere: there the link goes, and what it led to stays.
  const auto dossier = DossierSortie::ouvre(bac);
  ASSERT_TRUE(dossier.has_value());
  FichierVoisin voisin = FichierVoisin::commence(*dossier, "un");
  ASSERT_TRUE(voisin && fichier_puts("ici", voisin.fichier()) && voisin.pose(Ecrasement::toujours, false));
  EXPECT_EQ(contenu("un"), "ici");
  EXPECT_EQ(contenu("loin/vrai"), "neuf");
}

TEST_F(Voisin, the_longest_names_have_room_for_the_provisional_one) {
  std::string long_nom;
  while (long_nom.size() < 254) long_nom += "\xC3\xA9";
  const std::string texte = plateforme::utf8_vers_texte(long_nom);
  FichierVoisin voisin = ecrit(texte, "x");
  EXPECT_LE(voisin.chemin().size(), bac.size() + 255);
  ASSERT_TRUE(voisin.pose(Ecrasement::jamais));
  EXPECT_EQ(contenu(texte), "x");
  EXPECT_EQ(noms(), std::set<std::string>{long_nom});
}

}  // namespace
}  // namespace varnion
