#pragma once

#include "outils/volume_lu.hpp"

// HFS+ volumes by TN1150.

namespace varnion::outils {

/// Lower case of one UTF-16 unit for the comparison of names (TN1150, "Unicode Subtleties"), 0 for a unit
/// that is ignored. Accented letters are stored decomposed and have no entry of their own; of the rare
/// letters the ones that names of tests use are here.
inline std::uint16_t plie_tn1150(std::uint16_t u) {
  const auto dans = [u](std::uint16_t a, std::uint16_t b) { return u >= a && u <= b; };
  const auto plus = [u](int n) { return static_cast<std::uint16_t>(u + n); };
  if (dans(0x200C, 0x200F) || dans(0x202A, 0x202E) || dans(0x206A, 0x206F) || u == 0xFEFF) return 0;
  if (u == 0) return 0xFFFF;
  if (dans('A', 'Z') || dans(0x0391, 0x03A1) || dans(0x03A3, 0x03A9) || dans(0x0410, 0x042F) ||
      dans(0xFF21, 0xFF3A))
    return plus(0x20);
  if (u == 0xC6 || u == 0xD0 || u == 0xD8 || u == 0xDE) return plus(0x20);
  if (u == 0x0110 || u == 0x0126 || u == 0x0132 || u == 0x013F || u == 0x0141 || u == 0x014A || u == 0x0152 ||
      u == 0x0166)
    return plus(1);
  if (u == 0x0402 || dans(0x0404, 0x0406) || dans(0x0408, 0x040B) || u == 0x040F) return plus(0x50);
  if (dans(0x0531, 0x0556) || dans(0x10A0, 0x10C5)) return plus(0x30);
  if (dans(0x2160, 0x216F)) return plus(0x10);
  return u;
}

/// Order of two names in UTF-16 big-endian: -1, 0, 1.
inline int ordre_tn1150(Octets a, Octets b) {
  std::uint64_t i = 0, j = 0;
  const auto suivant = [](Octets o, std::uint64_t &p) -> std::uint16_t {
    std::uint16_t u = 0;
    while (u == 0 && p + 1 < o.taille()) u = plie_tn1150(o.be16(std::exchange(p, p + 2)));
    return u;
  };
  for (;;) {
    const std::uint16_t x = suivant(a, i);
    const std::uint16_t y = suivant(b, j);
    if (x != y) return x < y ? -1 : 1;
    if (x == 0) return 0;
  }
}

class LecteurHfsplus {
 public:
  LecteurHfsplus(Octets image, std::uint64_t debut, std::uint64_t taille, bool edite = false)
      : image_(image) {
    v_.debut = debut;
    v_.taille = taille;
    v_.edite = edite;
  }

  VolumeLu lit() {
    const Octets e = image_.partie(v_.debut + 1024, 512);
    v_.entete = e;
    if (!exige(e.texte(0, 2) == "H+" && e.be16(2) == 4, "no volume header")) return std::move(v_);
    lit_entete(e);
    lit_arbres(e);
    lit_catalogue();
    VerificateurVolume(v_).verifie(true);
    verifie_comptes(e);
    return std::move(v_);
  }

 private:
  static constexpr std::uint64_t kFourcheAllocation = 0x70, kFourcheExtents = 0xC0, kFourcheCatalogue = 0x110;

  bool exige(bool vrai, const std::string &texte) { return v_.fautes.exige(vrai, "HFS+: " + texte); }

  void lit_entete(Octets e) {
    v_.taille_bloc = e.be32(0x28);
    v_.blocs = e.be32(0x2C);
    v_.blocs_libres = e.be32(0x30);
    v_.prochain_cnid = e.be32(0x40);
    v_.bloc_zero = v_.debut;
    exige(v_.taille_bloc >= 512 && (v_.taille_bloc & (v_.taille_bloc - 1)) == 0, "block size");
    exige((e.be32(4) & 0x100) != 0, "the volume is not marked as unmounted");
    exige(std::uint64_t{v_.blocs} * v_.taille_bloc <= v_.taille, "the blocks leave the partition");
    exige(image_.texte(v_.debut + v_.taille - 1024, 512) == e.tout(), "the alternate header differs");
    v_.plages.push_back({v_.debut, v_.debut + 1536, "HFS+ boot blocks and header"});
    v_.plages.push_back({v_.debut + v_.taille - 1024, v_.debut + v_.taille, "HFS+ alternate header"});
    const FourcheLue allocation = fourche(e, kFourcheAllocation);
    v_.carte = image_.texte(v_.octet(allocation.debut), allocation.longueur);
    exige(v_.carte.size() * 8 >= v_.blocs, "the allocation file is shorter than the volume");
    exige(v_.marque(0), "the block of the header is not marked");
    exige(v_.marque(static_cast<std::uint32_t>((v_.taille - 1024) / v_.taille_bloc)) || v_.taille_bloc == 0,
          "the block of the alternate header is not marked");
    const std::uint32_t queue = (1024 + v_.taille_bloc - 1) / std::max(v_.taille_bloc, 1U);
    for (std::uint32_t b = 0; std::uint64_t{b} * v_.taille_bloc < 1536 && v_.taille_bloc != 0; ++b)
      v_.blocs_pris.insert(b);
    for (std::uint32_t b = 1; b <= queue && b <= v_.blocs; ++b) v_.blocs_pris.insert(v_.blocs - b);
    special(e, kFourcheAllocation, "allocation file", 6);
    exige(e.rempli(0x160, 160), "attributes and startup file");
  }

  FourcheLue fourche(Octets o, std::uint64_t p) {
    FourcheLue f;
    f.longueur = o.be64(p);
    f.physique = std::uint64_t{o.be32(p + 12)} * v_.taille_bloc;
    f.debut = o.be32(p + 16);
    f.blocs = o.be32(p + 20);
    f.seule = o.rempli(p + 24, 56) && o.be32(p + 12) == f.blocs;
    f.suites = suites(o, p + 16);
    return f;
  }

  static std::vector<SuiteLue> suites(Octets o, std::uint64_t p) {
    std::vector<SuiteLue> liste;
    for (int i = 0; i < 8; ++i, p += 8)
      if (o.be32(p + 4) != 0) liste.push_back({o.be32(p), o.be32(p + 4)});
    return liste;
  }

  // Further runs of a file, from the leaves of the extents file: data fork alone.
  void ajoute_suites(std::vector<SuiteLue> &liste, std::uint32_t id) {
    for (const auto &e : v_.extents.feuilles) {
      std::uint32_t avant = 0;
      for (const SuiteLue &s : liste) avant += s.nombre;
      if (e.cle.u8(2) != 0 || e.cle.be32(4) != id) continue;
      exige(e.cle.be32(8) == avant, "start block of a record of the extents file");
      for (const SuiteLue &s : suites(e.donnees, 0)) liste.push_back(s);
    }
  }

  Octets special(Octets e, std::uint64_t p, const std::string &nom, std::uint32_t id) {
    FourcheLue f = fourche(e, p);
    ajoute_suites(f.suites, id);
    exige(v_.edite || f.seule, nom + ": fork in pieces");
    std::uint64_t nombre = 0;
    for (const SuiteLue &s : f.suites) {
      nombre += s.nombre;
      exige(std::uint64_t{s.debut} + s.nombre <= v_.blocs, nom + " leaves the volume");
      for (std::uint32_t b = s.debut; b < s.debut + s.nombre; ++b) {
        if (!v_.marque(b)) exige(false, nom + ": block " + std::to_string(b) + " is not marked");
        if (!v_.blocs_pris.insert(b).second) exige(false, nom + ": block " + std::to_string(b) + " taken");
      }
      v_.plages.push_back({v_.octet(s.debut), v_.octet(s.debut + s.nombre), "HFS+ " + nom});
    }
    exige(nombre != 0 && f.longueur == f.physique && f.physique == nombre * v_.taille_bloc, nom + ": fork");
    if (f.suites.size() == 1) return image_.partie(v_.octet(f.debut), f.longueur);
    return v_.joint(image_, f.suites);
  }

  void lit_arbres(Octets e) {
    GenreArbre genre;
    genre.taille_noeud = 0;
    genre.longueur_cle_16 = true;
    genre.index_fixes = false;
    genre.cle_max = 10;
    genre.compare = [](Octets a, Octets b) -> std::optional<int> { return a.tout().compare(b.tout()); };
    v_.extents =
        LecteurArbreB(special(e, kFourcheExtents, "extents file", 3), genre, "extents file", v_.fautes).lit();
    exige(v_.edite || v_.extents.feuilles.empty(), "the extents file is not empty");
    genre.cle_max = 0x204;
    genre.compare = [](Octets a, Octets b) -> std::optional<int> {
      if (a.be32(2) != b.be32(2)) return a.be32(2) < b.be32(2) ? -1 : 1;
      return ordre_tn1150(a.partie(8, 2 * a.be16(6)), b.partie(8, 2 * b.be16(6)));
    };
    v_.catalogue =
        LecteurArbreB(special(e, kFourcheCatalogue, "catalog", 4), genre, "catalog", v_.fautes).lit();
    exige(v_.catalogue.attributs == 6, "attributes of the catalog");
  }

  void lit_catalogue() {
    for (const auto &e : v_.catalogue.feuilles) {
      const std::uint64_t lg = e.cle.be16(6);
      exige(lg <= 255 && e.cle.be16(0) == 6 + 2 * lg, "length of a key");
      const Octets r = e.donnees;
      ObjetMac o;
      o.parent = e.cle.be32(2);
      o.nom = utf16be_vers_utf8(e.cle.partie(8, 2 * lg));
      const std::uint16_t type = r.be16(0);
      if (type == 3 || type == 4) {
        exige(lg == 0 && r.taille() == 10U + 2U * r.be16(8), "thread record");
        v_.fils[o.parent] = {r.be32(4), utf16be_vers_utf8(r.partie(10, 2 * std::uint64_t{r.be16(8)})),
                             type == 3};
        continue;
      }
      exige(lg != 0, "an object without a name");
      if (!exige((type == 1 && r.taille() == 88) || (type == 2 && r.taille() == 248),
                 "record of type " + std::to_string(type)))
        continue;
      o.dossier = type == 1;
      o.fil_annonce = (r.be16(2) & 2) != 0;
      o.cnid = r.be32(8);
      o.creation = r.be32(12);
      o.modification = r.be32(16);
      o.drapeaux = r.be16(48 + 8);
      if (o.dossier) {
        o.valence = r.be32(4);
      } else {
        o.type = r.texte(48, 4);
        o.createur = r.texte(52, 4);
        o.data = fourche(r, 88);
        o.rsrc = fourche(r, 168);
      }
      v_.objets.push_back(std::move(o));
    }
  }

  void verifie_comptes(Octets e) {
    std::uint32_t fichiers = 0, dossiers = 0;
    for (const ObjetMac &o : v_.objets) {
      if (o.cnid == 2) {
        exige(o.dossier && o.parent == 1, "the root folder");
        v_.label = o.nom;
      } else {
        ++(o.dossier ? dossiers : fichiers);
      }
    }
    exige(!v_.label.empty(), "the root folder has no name");
    exige(e.be32(0x20) == fichiers, "fileCount");
    exige(e.be32(0x24) == dossiers, "folderCount");
  }

  Octets image_;
  VolumeLu v_;
};

inline VolumeLu lit_hfsplus(Octets image, std::uint64_t debut, std::uint64_t taille, bool edite = false) {
  return LecteurHfsplus(image, debut, taille, edite).lit();
}

}  // namespace varnion::outils
