#include <cstdlib>
#include <map>
#include <random>

#include "image_essai.hpp"

// Seeded random editing, held against a model and the independent readers. VARNION_TORTURE multiplies the
// number of steps.

namespace varnion::essai {
namespace {

struct Objet {
  std::uint32_t parent = 0;
  std::string nom;
  bool dossier = false;
  std::string data, rsrc, type = "TEXT";
};

template <typename Format>
class Torture : public VolumeEdite<Format> {
 protected:
  using Base = VolumeEdite<Format>;

  void torture(std::uint32_t graine, std::uint32_t taille_mo, int pas, std::size_t octets_max,
               int part_ajouts) {
    SCOPED_TRACE("seed " + std::to_string(graine));
    hasard.seed(graine);
    octets_max_ = octets_max;
    objets.clear();
    this->cree(taille_mo);
    const char *facteur = std::getenv("VARNION_TORTURE");
    if (facteur != nullptr) pas *= std::max(1, std::atoi(facteur));
    for (int i = 0; i < pas && !this->HasFailure(); ++i) {
      un_pas(part_ajouts);
      if (i % 97 == 0) verifie("step " + std::to_string(i));
      if (i % 211 == 0) this->remonte();
    }
    verifie("end");
    // All must go again, and leave the volume as it was.
    for (const Objet &o : enfants(kIdRacine))
      EXPECT_EQ(supprime_par_nom(nom_item(o.nom), kIdRacine), 1) << o.nom;
    objets.clear();
    verifie("emptied");
  }

  std::uint32_t tire(std::uint32_t n) { return static_cast<std::uint32_t>(hasard() % std::max(1U, n)); }

  std::string nom_hasard() {
    static const std::string lettres = "abcdefghijklmnopqrstuvwxyzABCDEFG 0123456789-";
    const std::size_t longueur = tire(8) == 0 ? Format::kNomMax : 1 + tire(Format::kNomMax / 2);
    std::string nom;
    for (std::size_t i = 0; i < longueur; ++i)
      nom += lettres[tire(static_cast<std::uint32_t>(lettres.size()))];
    return nom;
  }
  std::string contenu() {
    std::string texte(tire(4) == 0 ? 0 : tire(static_cast<std::uint32_t>(octets_max_)), ' ');
    for (char &c : texte) c = static_cast<char>(hasard());
    return texte;
  }

  std::vector<Objet> enfants(std::uint32_t parent) {
    std::vector<Objet> liste;
    for (const auto &[id, o] : objets)
      if (o.parent == parent) liste.push_back(o);
    return liste;
  }
  std::uint32_t un_dossier() {
    std::vector<std::uint32_t> ids{kIdRacine};
    for (const auto &[id, o] : objets)
      if (o.dossier) ids.push_back(id);
    return ids[tire(static_cast<std::uint32_t>(ids.size()))];
  }
  std::uint32_t un_objet(bool fichier = false) {
    std::vector<std::uint32_t> ids;
    for (const auto &[id, o] : objets)
      if (!fichier || !o.dossier) ids.push_back(id);
    return ids.empty() ? 0 : ids[tire(static_cast<std::uint32_t>(ids.size()))];
  }
  std::uint32_t nomme(const std::string &nom, std::uint32_t parent) {
    const auto egal = [](char a, char b) { return std::tolower(a) == std::tolower(b); };
    for (const auto &[id, o] : objets)
      if (o.parent == parent && std::equal(o.nom.begin(), o.nom.end(), nom.begin(), nom.end(), egal))
        return id;
    return 0;
  }
  bool sous(std::uint32_t id, std::uint32_t ancetre) {
    for (; id > kIdRacine; id = objets.at(id).parent)
      if (id == ancetre) return true;
    return false;
  }
  void oublie(std::uint32_t id) {
    objets.erase(id);
    std::vector<std::uint32_t> dedans;
    for (const auto &[autre, o] : objets)
      if (o.parent == id) dedans.push_back(autre);
    for (const std::uint32_t autre : dedans) oublie(autre);
  }

  void un_pas(int part_ajouts) {
    const auto sorte = static_cast<int>(tire(100));
    this->ops.erreurs.clear();
    if (sorte < part_ajouts) return ajoute_un();
    switch (tire(7)) {
      case 0:
        return cree_un();
      case 1:
        return renomme_un();
      case 2:
        return deplace_un();
      case 3:
        return remplace_un();
      case 4:
        return retouche_un();
      default:
        return supprime_un();
    }
  }
  void ajoute_un() {
    Objet o{un_dossier(), nom_hasard(), false, contenu(), contenu()};
    if (nomme(o.nom, o.parent) != 0) return;
    const std::uint32_t id = this->ajoute(o.parent, o.nom, o.data, o.rsrc);
    // A refusal is fine when it tells why; the volume must then be as before.
    EXPECT_TRUE(id != 0 || !this->ops.erreurs.empty());
    if (id != 0) objets[id] = o;
    refus_ += id == 0 ? 1 : 0;
  }
  void cree_un() {
    Objet o{un_dossier(), nom_hasard(), true, {}, {}};
    const bool libre = nomme(o.nom, o.parent) == 0;
    const std::uint32_t id = cree_dossier(nom_item(o.nom), o.parent);
    EXPECT_TRUE(id != 0 || !this->ops.erreurs.empty());
    EXPECT_TRUE(id == 0 || libre);
    if (id != 0) objets[id] = o;
  }
  void renomme_un() {
    const std::uint32_t id = un_objet();
    if (id == 0) return;
    Objet &o = objets[id];
    std::string nom = nom_hasard();
    if (tire(4) == 0) {
      nom = o.nom;
      for (char &c : nom) c = static_cast<char>(std::toupper(c));
    }
    const std::uint32_t autre = nomme(nom, o.parent);
    const int fait = o.dossier && tire(2) == 0 ? renomme_par_id(nom_item(nom), id, o.parent)
                                               : renomme_par_nom(nom_item(o.nom), nom_item(nom), o.parent);
    EXPECT_TRUE(fait == 1 || !this->ops.erreurs.empty());
    EXPECT_TRUE(fait == 0 || autre == 0 || autre == id);
    if (fait == 1) o.nom = nom;
  }
  void deplace_un() {
    const std::uint32_t id = un_objet();
    const std::uint32_t vers = un_dossier();
    if (id == 0) return;
    Objet &o = objets[id];
    const bool peut = vers != o.parent && nomme(o.nom, vers) == 0 && !sous(vers, id);
    const int fait = deplace(nom_item(o.nom), o.parent, vers);
    EXPECT_TRUE(fait == 0 || peut);
    EXPECT_TRUE(fait == 1 || !peut || !this->ops.erreurs.empty());
    if (fait == 1) o.parent = vers;
  }
  void remplace_un() {
    const std::uint32_t id = un_objet(true);
    if (id == 0) return;
    Objet o = objets[id];
    EXPECT_EQ(remplacer_si_existe(nom_item(o.nom), o.parent), 0);
    objets.erase(id);
    o.data = contenu();
    o.type = "TEXT";
    const std::uint32_t neuf = this->ajoute(o.parent, o.nom, o.data, o.rsrc);
    if (neuf != 0) objets[neuf] = o;
  }
  void retouche_un() {
    const std::uint32_t id = un_objet(true);
    if (id == 0) return;
    Objet &o = objets[id];
    if (tire(2) == 0) {
      EXPECT_EQ(echange_fourches(nom_item(o.nom), o.parent), 0);
      EXPECT_TRUE(chargement_carte());
      std::swap(o.data, o.rsrc);
    } else {
      AttributsItem a;
      o.type = "PICT";
      a.type = {'P', 'I', 'C', 'T'};
      EXPECT_EQ(change_attributs(nom_item(o.nom), o.parent, a), 1);
    }
  }
  void supprime_un() {
    const std::uint32_t id = un_objet();
    if (id == 0) return;
    const Objet o = objets[id];
    EXPECT_EQ(o.dossier && tire(2) == 0 ? supprime_par_id(id, o.parent)
                                        : supprime_par_nom(nom_item(o.nom), o.parent),
              1);
    oublie(id);
  }

  void verifie(const std::string &quand) {
    SCOPED_TRACE(quand);
    const outils::VolumeLu lu = this->lit();
    profondeur = std::max(profondeur, lu.catalogue.profondeur);
    noeuds = std::max(noeuds, lu.catalogue.total);
    ASSERT_TRUE(lu.fautes.vide()) << lu.fautes.texte();
    ASSERT_EQ(lu.objets.size(), objets.size() + 1);
    const outils::Octets octets{std::span<const std::uint8_t>(this->image())};
    for (const auto &o : lu.objets) {
      if (o.cnid == kIdRacine) continue;
      const auto place = objets.find(o.cnid);
      ASSERT_NE(place, objets.end()) << o.chemin;
      ASSERT_EQ(o.parent, place->second.parent) << o.chemin;
      ASSERT_EQ(o.nom, place->second.nom);
      if (o.dossier) continue;
      ASSERT_EQ(o.type, place->second.type) << o.chemin;
      ASSERT_EQ(lu.contenu(octets, o.data), place->second.data) << o.chemin;
      ASSERT_EQ(lu.contenu(octets, o.rsrc), place->second.rsrc) << o.chemin;
    }
  }

  std::mt19937 hasard;
  std::map<std::uint32_t, Objet> objets;
  std::size_t octets_max_ = 0;
  std::uint32_t profondeur = 0, noeuds = 0;
  int refus_ = 0;
};
TYPED_TEST_SUITE(Torture, DeuxFormats);

TYPED_TEST(Torture, KeepsAVolumeThatFillsUpWhole) {
  for (const std::uint32_t graine : {1U, 2U, 3U}) this->torture(graine, 1, 2500, 9000, 60);
  EXPECT_GT(this->refus_, 0);
}

TYPED_TEST(Torture, KeepsADeepAndGrowingCatalogWhole) {
  this->torture(7, 8, 4000, 900, 75);
  EXPECT_GE(this->profondeur, 3U);
  this->torture(8, 3, 4000, 200, 90);
  EXPECT_GT(this->noeuds, TypeParam::kPlus ? 128U : 256U);
}

}  // namespace
}  // namespace varnion::essai
