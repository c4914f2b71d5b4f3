#pragma once

#include <map>
#include <unordered_map>
#include <unordered_set>

#include "outils/arbre_b.hpp"

namespace varnion::outils {

struct SuiteLue {
  std::uint32_t debut = 0, nombre = 0;
};

struct FourcheLue {
  std::uint64_t longueur = 0, physique = 0;
  std::uint32_t debut = 0, blocs = 0;  ///< its first extent
  bool seule = true;                   ///< no further extent
  std::vector<SuiteLue> suites;        ///< all extents of its record
};

/// A file or folder of a Macintosh volume.
struct ObjetMac {
  std::string nom;     ///< HFS: Mac Roman bytes; HFS+: UTF-8, decomposed as on the disk
  std::string chemin;  ///< components from the root joined by "/"; a "/" within a name reads ":"
  std::uint32_t parent = 0, cnid = 0, valence = 0;
  bool dossier = false;
  std::string type, createur;
  std::uint16_t drapeaux = 0;
  std::uint32_t creation = 0, modification = 0, sauvegarde = 0;
  bool fil_annonce = false;  ///< HFS+: the record says that it has a thread
  FourcheLue data, rsrc;
};

/// A thread record: where its object lies.
struct FilLu {
  std::uint32_t parent = 0;
  std::string nom;
  bool dossier = false;
};

struct VolumeLu {
  std::string label;
  std::uint64_t debut = 0, taille = 0;  ///< bytes in the image
  std::uint32_t taille_bloc = 0, blocs = 0, blocs_libres = 0;
  std::uint64_t bloc_zero = 0;  ///< byte in the image of allocation block 0
  std::uint32_t prochain_cnid = 0;
  std::string carte;  ///< allocation bitmap
  std::vector<ObjetMac> objets;
  std::unordered_map<std::uint32_t, FilLu> fils;
  std::vector<Plage> plages;  ///< all but the forks of the files
  ArbreBLu catalogue, extents;
  Octets entete;
  Fautes fautes;
  bool edite = false;  ///< the volume has been changed: files and catalog may lie in pieces
  std::unordered_set<std::uint32_t> blocs_pris;    ///< blocks of files and of the volume's own structures
  std::vector<std::vector<std::uint8_t>> tampons;  ///< files in pieces, joined

  [[nodiscard]] const ObjetMac *trouve(const std::string &chemin) const {
    const auto place = par_chemin.find(chemin);
    return place == par_chemin.end() ? nullptr : &objets[place->second];
  }
  [[nodiscard]] std::uint64_t octet(std::uint32_t bloc) const {
    return bloc_zero + std::uint64_t{bloc} * taille_bloc;
  }
  [[nodiscard]] bool marque(std::uint32_t bloc) const {
    return bloc / 8 < carte.size() && (static_cast<std::uint8_t>(carte[bloc / 8]) & 0x80U >> bloc % 8) != 0;
  }
  [[nodiscard]] std::string contenu(Octets image, const FourcheLue &f) const {
    std::string tout;
    for (const SuiteLue &s : f.suites)
      tout += image.texte(octet(s.debut), std::uint64_t{s.nombre} * taille_bloc);
    return tout.substr(0, f.longueur);
  }
  /// The bytes of all runs, one behind the other.
  [[nodiscard]] Octets joint(Octets image, const std::vector<SuiteLue> &suites) {
    std::vector<std::uint8_t> tout;
    for (const SuiteLue &s : suites) {
      const std::string morceau = image.texte(octet(s.debut), std::uint64_t{s.nombre} * taille_bloc);
      tout.insert(tout.end(), morceau.begin(), morceau.end());
    }
    tampons.push_back(std::move(tout));
    return Octets(tampons.back());
  }
  /// Blocks marked in the bitmap, among those of the volume.
  [[nodiscard]] std::size_t blocs_marques() const {
    std::size_t n = 0;
    for (std::uint32_t b = 0; b < blocs; ++b) n += marque(b) ? 1 : 0;
    return n;
  }
  std::unordered_map<std::string, std::size_t> par_chemin;
};

/// The checks that do not depend on the format: threads, paths, valences, extents, bits.
class VerificateurVolume {
 public:
  explicit VerificateurVolume(VolumeLu &volume) : v_(volume), f_(volume.fautes) {}

  void verifie(bool fils_de_fichiers) {
    for (std::size_t i = 0; i < v_.objets.size(); ++i)
      f_.exige(par_cnid_.emplace(v_.objets[i].cnid, i).second,
               "two objects have the id " + std::to_string(v_.objets[i].cnid));
    verifie_fils(fils_de_fichiers);
    nomme();
    for (const ObjetMac &o : v_.objets) {
      f_.exige(!o.dossier || o.valence == enfants_[o.cnid],
               o.chemin + ": valence " + std::to_string(o.valence) + ", " + std::to_string(enfants_[o.cnid]) +
                   " items found");
      if (!o.dossier) {
        verifie_fourche(o, o.data, "data fork");
        verifie_fourche(o, o.rsrc, "resource fork");
      }
      f_.exige(o.cnid == 2 || (o.cnid >= 16 && (o.cnid < v_.prochain_cnid || v_.prochain_cnid == 0)),
               o.chemin + ": id " + std::to_string(o.cnid));
    }
    f_.exige(blocs_fichiers_.size() == blocs_comptes_, "forks share blocks");
  }

 private:
  void verifie_fils(bool fils_de_fichiers) {
    std::size_t attendus = 0;
    for (const ObjetMac &o : v_.objets) {
      if (!o.dossier && !fils_de_fichiers) continue;
      ++attendus;
      const auto fil = v_.fils.find(o.cnid);
      f_.exige(fil != v_.fils.end() && fil->second.parent == o.parent && fil->second.nom == o.nom &&
                   fil->second.dossier == o.dossier,
               "thread of " + o.nom + " (" + std::to_string(o.cnid) + ")");
      f_.exige(!fils_de_fichiers || o.dossier || o.fil_annonce, o.nom + " does not announce its thread");
    }
    f_.exige(attendus == v_.fils.size(), "threads without an object");
  }

  void nomme() {
    for (ObjetMac &o : v_.objets) {
      if (o.cnid != 2) ++enfants_[o.parent];
      std::string chemin;
      const ObjetMac *ici = &o;
      for (int n = 0; ici->cnid != 2; ++n) {
        std::string nom = ici->nom;
        std::replace(nom.begin(), nom.end(), '/', ':');
        chemin = chemin.empty() ? nom : nom + "/" + chemin;
        const auto pere = par_cnid_.find(ici->parent);
        if (!f_.exige(n < 1100 && pere != par_cnid_.end() && v_.objets[pere->second].dossier,
                      o.nom + " hangs on no folder"))
          break;
        ici = &v_.objets[pere->second];
      }
      o.chemin = chemin;
    }
    for (std::size_t i = 0; i < v_.objets.size(); ++i)
      f_.exige(v_.par_chemin.emplace(v_.objets[i].chemin, i).second, "twice: " + v_.objets[i].chemin);
  }

  void verifie_fourche(const ObjetMac &o, const FourcheLue &f, const char *quoi) {
    const std::string qui = o.chemin + ": " + quoi;
    f_.exige(f.seule || v_.edite, qui + " has more than one extent");
    const std::uint64_t blocs = (f.longueur + v_.taille_bloc - 1) / v_.taille_bloc;
    std::uint64_t trouves = 0;
    for (const SuiteLue &s : f.suites) trouves += s.nombre;
    // More blocks than the bytes need are allowed: a source that grew leaves such forks.
    f_.exige(trouves >= blocs && f.physique == trouves * v_.taille_bloc,
             qui + ": " + std::to_string(f.longueur) + " bytes in " + std::to_string(trouves) + " blocks");
    for (const SuiteLue &s : f.suites) {
      if (!f_.exige(std::uint64_t{s.debut} + s.nombre <= v_.blocs, qui + " leaves the volume")) return;
      for (std::uint32_t b = s.debut; b < s.debut + s.nombre; ++b) {
        if (!v_.marque(b)) f_.note(qui + ": block " + std::to_string(b) + " is not marked");
        blocs_fichiers_.insert(b);
        if (!v_.blocs_pris.insert(b).second)
          f_.note(qui + ": block " + std::to_string(b) + " has two owners");
      }
      blocs_comptes_ += s.nombre;
    }
  }

  VolumeLu &v_;
  Fautes &f_;
  std::unordered_map<std::uint32_t, std::size_t> par_cnid_;
  std::unordered_map<std::uint32_t, std::uint32_t> enfants_;
  std::unordered_set<std::uint32_t> blocs_fichiers_;
  std::size_t blocs_comptes_ = 0;
};

}  // namespace varnion::outils
