#pragma once

#include "outils/volume_lu.hpp"

// HFS volumes by Inside Macintosh: Files, chapter 2.

namespace varnion::outils {

/// Order of two HFS names as far as plain ASCII goes: letters without regard to case. nullopt where the first
/// difference lies in characters whose place the published table gives by accent.
inline std::optional<int> ordre_ascii(const std::string &a, const std::string &b) {
  const auto simple = [](char c) { return c >= 0x20 && c < 0x7F && c != '`'; };
  const auto grand = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (a[i] == b[i]) continue;
    if (!simple(a[i]) || !simple(b[i])) return std::nullopt;
    if (grand(a[i]) != grand(b[i])) return grand(a[i]) < grand(b[i]) ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

class LecteurHfs {
 public:
  /// `debut` and `taille`: the volume in the image, bytes.
  LecteurHfs(Octets image, std::uint64_t debut, std::uint64_t taille, bool edite = false) : image_(image) {
    v_.debut = debut;
    v_.taille = taille;
    v_.edite = edite;
  }

  VolumeLu lit() {
    const Octets mdb = image_.partie(v_.debut + 1024, 512);
    v_.entete = mdb;
    if (!exige(mdb.texte(0, 2) == "BD", "no master directory block")) return std::move(v_);
    lit_mdb(mdb);
    lit_arbres(mdb);
    lit_catalogue();
    VerificateurVolume(v_).verifie(false);
    verifie_comptes(mdb);
    return std::move(v_);
  }

 private:
  bool exige(bool vrai, const std::string &texte) { return v_.fautes.exige(vrai, "HFS: " + texte); }

  void lit_mdb(Octets mdb) {
    const std::uint32_t vbm = mdb.be16(0x0E);
    v_.blocs = mdb.be16(0x12);
    v_.taille_bloc = mdb.be32(0x14);
    v_.bloc_zero = v_.debut + 512 * std::uint64_t{mdb.be16(0x1C)};
    v_.prochain_cnid = mdb.be32(0x1E);
    v_.blocs_libres = mdb.be16(0x22);
    v_.label = mdb.texte(0x25, mdb.u8(0x24));
    exige(mdb.u8(0x24) >= 1 && mdb.u8(0x24) <= 27, "length of the volume name");
    exige(v_.taille_bloc != 0 && v_.taille_bloc % 512 == 0, "allocation block size");
    exige(vbm == 3, "bitmap sector");
    exige(mdb.be32(0x18) % std::max(v_.taille_bloc, 1U) == 0 && mdb.be32(0x18) != 0, "clump size");
    v_.carte = image_.texte(v_.debut + vbm * 512, (v_.blocs + 7) / 8);
    const std::uint64_t fin_carte = v_.debut + vbm * 512 + (v_.blocs + 4095) / 4096 * 512;
    exige(fin_carte <= v_.bloc_zero, "the bitmap runs into the first allocation block");
    v_.plages.push_back({v_.debut, v_.debut + 1024, "HFS boot blocks"});
    v_.plages.push_back({v_.debut + 1024, v_.debut + 1536, "HFS master directory block"});
    v_.plages.push_back({v_.debut + vbm * 512, v_.bloc_zero, "HFS bitmap"});
    // The alternate block is the last but one of the volume.
    const std::uint64_t double_ = v_.debut + v_.taille - 1024;
    v_.plages.push_back({double_, double_ + 512, "HFS alternate block"});
    exige(image_.texte(double_, 512) == mdb.tout(), "the alternate block differs from the first one");
    exige(image_.contient(v_.octet(v_.blocs), 0), "allocation blocks leave the image");
  }

  static std::vector<SuiteLue> suites(Octets o, std::uint64_t p) {
    std::vector<SuiteLue> liste;
    for (int i = 0; i < 3; ++i, p += 4)
      if (o.be16(p + 2) != 0) liste.push_back({o.be16(p), o.be16(p + 2)});
    return liste;
  }

  // Further runs of a file, from the leaves of the extents tree: data fork alone.
  void ajoute_suites(std::vector<SuiteLue> &liste, std::uint32_t id) {
    for (const auto &e : v_.extents.feuilles) {
      std::uint32_t avant = 0;
      for (const SuiteLue &s : liste) avant += s.nombre;
      if (e.cle.u8(1) != 0 || e.cle.be32(2) != id) continue;
      exige(e.cle.be16(6) == avant, "start block of a record of the extents tree");
      for (const SuiteLue &s : suites(e.donnees, 0)) liste.push_back(s);
    }
  }

  Octets fichier(Octets mdb, std::uint64_t taille, std::uint64_t extents, const std::string &nom,
                 std::uint32_t id) {
    std::vector<SuiteLue> liste = suites(mdb, extents);
    ajoute_suites(liste, id);
    exige(v_.edite || liste.size() == 1, nom + " has more than one extent");
    std::uint64_t nombre = 0;
    for (const SuiteLue &s : liste) {
      nombre += s.nombre;
      for (std::uint32_t b = s.debut; b < s.debut + s.nombre; ++b) {
        if (!v_.marque(b)) exige(false, nom + ": block " + std::to_string(b) + " is not marked");
        if (!v_.blocs_pris.insert(b).second) exige(false, nom + ": block " + std::to_string(b) + " taken");
      }
      v_.plages.push_back({v_.octet(s.debut), v_.octet(s.debut + s.nombre), "HFS " + nom});
    }
    exige(nombre * v_.taille_bloc == mdb.be32(taille), nom + ": size and extents disagree");
    if (liste.size() == 1) return image_.partie(v_.octet(liste[0].debut), mdb.be32(taille));
    return v_.joint(image_, liste);
  }

  void lit_arbres(Octets mdb) {
    GenreArbre genre;
    genre.cle_max = 7;
    genre.compare = [](Octets a, Octets b) -> std::optional<int> {
      return a.texte(1, 7).compare(b.texte(1, 7));
    };
    v_.extents =
        LecteurArbreB(fichier(mdb, 0x82, 0x86, "extents tree", 3), genre, "extents tree", v_.fautes).lit();
    exige(v_.edite || v_.extents.feuilles.empty(), "the extents tree is not empty");
    genre.cle_max = 0x25;
    genre.compare = [](Octets a, Octets b) -> std::optional<int> {
      if (a.be32(2) != b.be32(2)) return a.be32(2) < b.be32(2) ? -1 : 1;
      return ordre_ascii(a.texte(7, a.u8(6)), b.texte(7, b.u8(6)));
    };
    v_.catalogue = LecteurArbreB(fichier(mdb, 0x92, 0x96, "catalog", 4), genre, "catalog", v_.fautes).lit();
  }

  FourcheLue fourche(Octets r, std::uint64_t longueurs, std::uint64_t extents) {
    FourcheLue f;
    f.longueur = r.be32(longueurs);
    f.physique = r.be32(longueurs + 4);
    f.debut = r.be16(extents);
    f.blocs = r.be16(extents + 2);
    f.seule = r.rempli(extents + 4, 8);
    f.suites = suites(r, extents);
    return f;
  }

  void lit_catalogue() {
    for (const auto &e : v_.catalogue.feuilles) {
      const std::uint64_t lg = e.cle.u8(6);
      exige(lg <= 31 && e.cle.u8(0) >= 6 + lg && e.cle.u8(0) <= 7 + lg, "length of a key");
      const Octets r = e.donnees;
      ObjetMac o;
      o.parent = e.cle.be32(2);
      o.nom = e.cle.texte(7, lg);
      const std::uint8_t type = r.u8(0);
      const bool nomme = !o.nom.empty() && o.nom.find(':') == std::string::npos;
      if (type == 3) {
        exige(r.taille() == 46 && lg == 0, "thread record");
        v_.fils[o.parent] = {r.be32(10), r.texte(15, r.u8(14)), true};
        continue;
      }
      exige(nomme, "name of an object: \"" + o.nom + "\"");
      if (type == 1) {
        exige(r.taille() == 70, "length of a folder record");
        o.dossier = true;
        o.valence = r.be16(4);
        o.cnid = r.be32(6);
        o.creation = r.be32(10);
        o.modification = r.be32(14);
        o.sauvegarde = r.be32(18);
        o.drapeaux = r.be16(22 + 8);
      } else if (exige(type == 2 && r.taille() == 102, "record type " + std::to_string(type))) {
        o.type = r.texte(4, 4);
        o.createur = r.texte(8, 4);
        o.drapeaux = r.be16(12);
        o.cnid = r.be32(20);
        o.data = fourche(r, 26, 74);
        o.rsrc = fourche(r, 36, 86);
        o.creation = r.be32(44);
        o.modification = r.be32(48);
        o.sauvegarde = r.be32(52);
      }
      v_.objets.push_back(std::move(o));
    }
  }

  void verifie_comptes(Octets mdb) {
    std::uint32_t fichiers = 0, dossiers = 0, fichiers_racine = 0, dossiers_racine = 0;
    bool racine = false;
    for (const ObjetMac &o : v_.objets) {
      if (o.cnid == 2) {
        racine = o.dossier && o.parent == 1 && o.nom == v_.label;
        continue;
      }
      ++(o.dossier ? dossiers : fichiers);
      if (o.parent == 2) ++(o.dossier ? dossiers_racine : fichiers_racine);
    }
    exige(racine, "the root folder");
    exige(mdb.be32(0x54) == fichiers, "drFilCnt");
    exige(mdb.be32(0x58) == dossiers, "drDirCnt");
    exige(mdb.be16(0x0C) == (fichiers_racine & 0xFFFF), "drNmFls");
    exige(mdb.be16(0x52) == (dossiers_racine & 0xFFFF), "drNmRtDirs");
  }

  Octets image_;
  VolumeLu v_;
};

inline VolumeLu lit_hfs(Octets image, std::uint64_t debut, std::uint64_t taille, bool edite = false) {
  return LecteurHfs(image, debut, taille, edite).lit();
}

}  // namespace varnion::outils
