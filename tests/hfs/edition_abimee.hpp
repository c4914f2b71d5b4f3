#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hfs/carte_volume.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/creation.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/extents.hpp"
#include "hfs/garde.hpp"
#include "hfs/operations_catalogue.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/memoire_secteurs.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"

// Editing on a damaged volume, told by a string of bytes, so that a test and a fuzzer can play the same game:
//   0      bit 0 the format, bits 1-6 the number of damages, 5 bytes each
//   damage zone, offset (2), how, value
//   rest   the commands, 3 bytes each

namespace varnion::essai {

/// A small volume with files, folders, and records in its extents tree, and the places where damage tells.
struct VolumeSain {
  struct Zone {
    std::uint64_t place = 0;  // bytes
    std::uint32_t longueur = 0;
  };
  std::vector<std::uint8_t> octets;
  std::vector<Zone> zones;
};

class FabriqueVolume {
 public:
  static VolumeSain fabrique(bool plus) {
    VolumeSain sain;
    Fichier fichier = plateforme::fichier_anonyme();
    ParametresImage p;
    p.fichier = &fichier;
    p.nom = "Sain";
    p.taille_mo = 1;
    p.hfsplus = plus;
    if (!creation_image(p)) return sain;
    support().image = std::move(fichier);
    if (analyse_volume() == 0 || !chargement_carte()) return sain;
    remplit(plus);
    if (!ecriture_structures()) return sain;
    note_zones(sain);
    sain.octets.resize(static_cast<std::size_t>(fichier_taille(support().image)));
    if (support().image.lire_a(sain.octets, 0) < 0) sain.octets.clear();
    fermer_partition();
    return sain;
  }

  static std::uint32_t ajoute(std::uint32_t parent, const std::string &nom, std::size_t taille) {
    const std::vector<std::uint8_t> octets(taille, 0xA5);
    return insere_fichier(parent, nom_item(nom), {}, source_octets(octets),
                          source_octets(std::span(octets).first(taille / 3)));
  }

 private:
  static void remplit(bool plus) {
    std::uint32_t parent = kIdRacine;
    for (int i = 0; i < 90; ++i) {
      if (i % 9 == 0)
        parent = cree_dossier(nom_item("d" + std::to_string(i)), i % 27 == 0 ? kIdRacine : parent);
      (void)ajoute(i % 2 == 0 ? parent : kIdRacine, "f" + std::to_string(i), i % 10 == 0 ? 3000 : 40);
    }
    for (std::uint32_t id = 17; id < 40; ++id) {
      if (plus) (void)ajoute_extents_hfsplus({500 - id, 1}, id, 8, kFourcheDonnees);
      if (!plus) (void)ajoute_extents_hfs({static_cast<std::uint16_t>(2000 - id), 1}, id, 3, kFourcheDonnees);
    }
  }

  static void note_zones(VolumeSain &sain) {
    const VolumeCourant &v = volume_courant();
    const std::uint64_t entete = (v.est_hfsplus ? v.debut_allocation : v.debut_volume) + 2;
    const std::uint64_t carte =
        v.est_hfsplus ? secteur_de_bloc(v.vhb->allocationFile.extents[0].startBlock) : entete + 1;
    for (int fois = 0; fois < 6; ++fois) sain.zones.push_back({entete * kTailleSecteur, 512});
    sain.zones.push_back({carte * kTailleSecteur, 512});
    sain.zones.push_back({2 * std::uint64_t{kTailleSecteur}, 96});  // the map entry of the volume
    for (const DescripteurArbre *arbre : {&v.extents, &v.catalogue, &v.catalogue, &v.catalogue})
      sain.zones.push_back({position_noeud(*arbre, 0) * kTailleSecteur, 160});
    sain.zones.push_back({position_noeud(v.extents, 1) * kTailleSecteur, v.extents.taille_noeud});
    const std::uint32_t noeuds = v.catalogue.fiche().totalNodes - v.catalogue.fiche().freeNodes;
    for (std::uint32_t n = 1; n < noeuds; ++n)
      sain.zones.push_back({position_noeud(v.catalogue, n) * kTailleSecteur, v.catalogue.taille_noeud});
  }
};

class EditionAbimee {
 public:
  /// Plays it: "" or what went wrong. `sains` are the healthy volumes, HFS and HFS+.
  static std::string joue(const VolumeSain (&sains)[2], std::span<const std::uint8_t> recette) {
    if (recette.empty()) return {};
    const VolumeSain &sain = sains[recette[0] & 1];
    std::vector<std::uint8_t> image = sain.octets;
    std::size_t nombre = recette[0] >> 1 & 63;
    for (recette = recette.subspan(1); nombre > 0 && recette.size() >= 5; --nombre) {
      abime(sain, image, recette.first(5));
      recette = recette.subspan(5);
    }
    fermer_partition();
    Support &medium = support();
    medium.image = plateforme::fichier_anonyme();
    medium.lecture_seule = false;
    medium.echec_ecriture = 0;
    if (!medium.image.ecrire_a(image, 0)) return "no image";
    reponses_volume() = {2, 2};
    agrandissements() = 0;
    edite(recette.first(std::min<std::size_t>(recette.size(), 120)));
    const auto taille = static_cast<std::size_t>(fichier_taille(medium.image));
    fermer_partition();
    const std::size_t admis = image.size() + (1U << 20U) * (1 + 4 * agrandissements());
    return taille > admis ? "written past the end of the image" : "";
  }

 private:
  /// Resizings asked for, each of up to 2 MiB and the leeway.
  static std::size_t &agrandissements() {
    static std::size_t nombre = 0;
    return nombre;
  }

  static void abime(const VolumeSain &sain, std::vector<std::uint8_t> &image,
                    std::span<const std::uint8_t> r) {
    const VolumeSain::Zone zone = sain.zones[r[0] % sain.zones.size()];
    std::uint32_t place = (std::uint32_t{r[1]} << 8 | r[2]);
    if ((r[3] & 0x30) == 0x10) place %= 16;                             // a node descriptor
    if ((r[3] & 0x30) == 0x20) place = zone.longueur - 1 - place % 40;  // the table of offsets
    std::uint8_t &octet = image[static_cast<std::size_t>(zone.place + place % zone.longueur)];
    switch (r[3] & 7) {
      case 0:
        octet = static_cast<std::uint8_t>(octet + 1);
        break;
      case 1:
        octet = static_cast<std::uint8_t>(octet - 1);
        break;
      case 2:
        octet = 0xFF;
        break;
      case 3:
        octet = static_cast<std::uint8_t>(octet ^ (1U << (r[4] & 7U)));
        break;
      default:
        octet = r[4];
    }
  }

  static void edite(std::span<const std::uint8_t> script) {
    for (int tour = 0; tour < 2; ++tour) {
      // What is damaged is refused; a user who knows may go on.
      if (analyse_volume() == 0) return;
      force_abimes();
      if (!chargement_carte()) return;
      // The second time with sectors kept in memory, as while files are put into a volume.
      std::optional<MemoireSecteurs> memoire;
      if (tour == 1) memoire.emplace();
      const std::size_t moitie = script.size() / 2;
      const auto part = tour == 0 ? script.first(moitie) : script.subspan(moitie);
      for (std::size_t i = 0; i + 3 <= part.size(); i += 3) commande(part.subspan(i, 3));
      (void)ecriture_structures();
      (void)parcours_volume([](const ElementMac &element) { return element.id != 0; });
      liberation_carte();
      support().echec_ecriture = 0;
    }
  }

  static std::uint32_t dossier(std::uint8_t octet) { return octet < 128 ? kIdRacine : 2U + octet % 110; }

  static void commande(std::span<const std::uint8_t> c) {
    const std::uint8_t n = c[1];
    const NomItem nom = nom_item((n % 4 == 0 ? "d" : "f") + std::to_string(n % 4 == 0 ? n % 10 * 9 : n % 90));
    const std::string court = "n" + std::to_string(c[2]);
    const std::string neuf = c[2] % 3 == 0 ? court + std::string(26, 'x') : court;
    switch (c[0] % 12) {
      case 0:
      case 1:
        (void)FabriqueVolume::ajoute(dossier(n), neuf, std::size_t{c[2]} * 40);
        break;
      case 2:
        (void)cree_dossier(nom_item(neuf), dossier(n));
        break;
      case 3:
      case 4:
        (void)renomme_par_nom(nom, nom_item(neuf), kIdRacine);
        break;
      case 5:
        (void)deplace(nom, kIdRacine, dossier(static_cast<std::uint8_t>(c[2] | 128U)));
        break;
      case 6:
        (void)supprime_par_nom(nom, kIdRacine);
        break;
      case 7:
        (void)supprime_par_id(dossier(static_cast<std::uint8_t>(n | 128U)), dossier(c[2]));
        break;
      case 8:
        (void)echange_fourches(nom, kIdRacine);
        (void)chargement_carte();
        break;
      case 9: {
        AttributsItem attributs;
        attributs.type = {'T', 'E', 'X', 'T'};
        attributs.verrouille = true;
        (void)change_attributs(nom, kIdRacine, attributs);
        break;
      }
      case 10:
        (void)nom_volume_change(nom_item(neuf));
        (void)renomme_masque("f*", "g*", dossier(n));
        break;
      default:
        if (n % 8 == 0 && ++agrandissements() != 0) (void)redimensionne(1, 1 + c[2] % 3U);
        if (n % 8 != 0) (void)remplace_signature({}, {'T', 'E', 'X', 'T', 't', 't', 'x', 't'});
        (void)chargement_carte();
    }
  }
};

}  // namespace varnion::essai
