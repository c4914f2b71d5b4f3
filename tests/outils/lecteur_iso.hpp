#pragma once

#include <array>
#include <deque>
#include <optional>
#include <regex>
#include <set>
#include <tuple>

#include "IO/ecarts.hpp"
#include "outils/octets_lus.hpp"

namespace varnion::outils {

constexpr std::uint64_t kSecteurLu = 2048;

/// A file or directory of an ISO 9660 (ECMA-119) or Joliet tree.
struct EntreeIso {
  std::string chemin;  ///< components joined by "/"; Joliet in UTF-8; the version of a file stays
  bool dossier = false;
  std::uint32_t extent = 0, taille = 0;
  std::uint8_t drapeaux = 0;
  std::array<std::uint8_t, 7> date{};
  std::size_t pere = 0;               ///< rank of the directory that holds it
  std::string type, createur;         ///< of the Apple system-use field
  std::uint16_t drapeaux_finder = 0;  ///< likewise

  [[nodiscard]] bool cache() const { return (drapeaux & 1) != 0; }
  [[nodiscard]] bool associe() const { return (drapeaux & 4) != 0; }
  [[nodiscard]] std::string nom() const { return chemin.substr(chemin.rfind('/') + 1); }
};

struct ArbreIso {
  bool joliet = false;
  std::uint32_t taille_volume = 0, taille_chemins = 0, chemins_l = 0, chemins_m = 0;
  Octets descripteur;
  /// Entry 0 is the root, with the path ""; then directory by directory, in the order of their records.
  std::vector<EntreeIso> entrees;
  std::vector<Plage> plages;  ///< descriptor, path tables, directories
  std::size_t dossiers = 0;
  Fautes fautes;

  [[nodiscard]] const EntreeIso *trouve(const std::string &chemin) const {
    for (const EntreeIso &e : entrees)
      if (e.chemin == chemin) return &e;
    return nullptr;
  }
};

/// Reads one tree and checks what the standard asks of it. Bounded by the size of the image. An image of the
/// classic rule may depart in this alone: no pad byte in Joliet records, any order of the records and of the
/// folders of one parent, any volume space size.
class LecteurIso {
 public:
  /// `apple`: each file has Apple's system-use field, and forks may lie in pairs of records.
  /// `entiere`: the volume space is all of the image.
  LecteurIso(Octets image, bool joliet, bool apple, Regle regle, bool entiere)
      : image_(image), apple_(apple), publiee_(regle == Regle::publiee), entiere_(entiere && publiee_) {
    arbre_.joliet = joliet;
  }

  ArbreIso lit() {
    const std::uint64_t p = descripteur();
    if (p == 0) return std::move(arbre_);
    lit_descripteur(p);
    for (std::size_t i = 0; i < arbre_.entrees.size() && arbre_.entrees.size() < 2'000'000; ++i)
      if (arbre_.entrees[i].dossier) lit_dossier(i);
    verifie_chemins(arbre_.chemins_l, false);
    verifie_chemins(arbre_.chemins_m, true);
    return std::move(arbre_);
  }

 private:
  bool exige(bool vrai, const std::string &texte) {
    return arbre_.fautes.exige(vrai, (arbre_.joliet ? "Joliet: " : "ISO: ") + texte);
  }
  // Numbers in both orders (ECMA-119 7.2.3, 7.3.3).
  std::uint32_t double32(std::uint64_t p, const std::string &quoi) {
    exige(image_.le32(p) == image_.be32(p + 4), quoi + ": the two orders differ");
    return image_.le32(p);
  }
  std::uint32_t double16(std::uint64_t p, const std::string &quoi) {
    exige(image_.le16(p) == image_.be16(p + 2), quoi + ": the two orders differ");
    return image_.le16(p);
  }

  std::uint64_t descripteur() {
    bool fin = false;
    std::uint64_t trouve = 0;
    for (std::uint64_t s = 16; s < 32 && !fin; ++s) {
      const std::uint64_t p = s * kSecteurLu;
      if (!exige(image_.texte(p + 1, 5) == "CD001" && image_.u8(p + 6) == 1,
                 "sector " + std::to_string(s) + " is no descriptor"))
        return 0;
      const std::uint8_t type = image_.u8(p);
      fin = type == 255;
      const std::string echappement = image_.texte(p + 88, 3);
      const bool est_joliet =
          type == 2 && (echappement == "%/@" || echappement == "%/C" || echappement == "%/E");
      if (trouve == 0 && (arbre_.joliet ? est_joliet : type == 1)) trouve = p;
    }
    exige(fin, "the descriptors have no terminator");
    exige(trouve != 0, "no descriptor");
    return trouve;
  }

  void lit_descripteur(std::uint64_t p) {
    arbre_.descripteur = image_.partie(p, kSecteurLu);
    arbre_.taille_volume = double32(p + 80, "volume space size");
    exige(double16(p + 120, "set size") == 1 && double16(p + 124, "sequence number") == 1, "volume set");
    exige(double16(p + 128, "block size") == kSecteurLu, "logical block size");
    arbre_.taille_chemins = double32(p + 132, "path table size");
    arbre_.chemins_l = image_.le32(p + 140);
    arbre_.chemins_m = image_.be32(p + 148);
    exige(image_.u8(p + 881) == 1, "file structure version");
    exige(entiere_ ? std::uint64_t{arbre_.taille_volume} * kSecteurLu == image_.taille()
                   : arbre_.taille_volume > 0,
          "volume space size " + std::to_string(arbre_.taille_volume) + ", image of " +
              std::to_string(image_.taille()) + " bytes");
    if (arbre_.joliet) exige(image_.rempli(p + 91, 29), "escape sequences");
    plage(p, kSecteurLu, "descriptor");
    const std::uint64_t chemins = (arbre_.taille_chemins + kSecteurLu - 1) / kSecteurLu * kSecteurLu;
    plage(arbre_.chemins_l * kSecteurLu, chemins, "path table L");
    plage(arbre_.chemins_m * kSecteurLu, chemins, "path table M");
    EntreeIso racine = lit_fiche(p + 156);
    exige(image_.u8(p + 156) == 34 && image_.u8(p + 156 + 32) == 1 && image_.u8(p + 156 + 33) == 0,
          "root record");
    racine.chemin.clear();
    arbre_.entrees.push_back(racine);
  }

  void plage(std::uint64_t debut, std::uint64_t longueur, const std::string &qui) {
    arbre_.plages.push_back({debut, debut + longueur, (arbre_.joliet ? "Joliet " : "ISO ") + qui});
  }

  EntreeIso lit_fiche(std::uint64_t p) {
    EntreeIso e;
    e.extent = double32(p + 2, "extent of a record");
    e.taille = double32(p + 10, "size of a record");
    for (std::size_t i = 0; i < e.date.size(); ++i) e.date[i] = image_.u8(p + 18 + i);
    exige(e.date[1] >= 1 && e.date[1] <= 12 && e.date[2] >= 1 && e.date[2] <= 31 && e.date[3] < 24 &&
              e.date[4] < 60 && e.date[5] < 60,
          "date of a record");
    e.drapeaux = image_.u8(p + 25);
    e.dossier = (e.drapeaux & 2) != 0;
    exige(double16(p + 28, "sequence of a record") == 1, "volume sequence of a record");
    return e;
  }

  // ECMA-119 6.8: a chain of records, none across a sector border, the rest of a sector zero.
  void lit_dossier(std::size_t rang) {
    const EntreeIso ici = arbre_.entrees[rang];
    const std::uint64_t debut = ici.extent * kSecteurLu;
    const std::string ou = "directory \"" + ici.chemin + "\"";
    if (!exige(ici.taille != 0 && ici.taille % kSecteurLu == 0, ou + ": size " + std::to_string(ici.taille)))
      return;
    if (!exige(image_.contient(debut, ici.taille), ou + " leaves the image")) return;
    if (!exige(vus_.insert(ici.extent).second, ou + " is met twice")) return;
    ++arbre_.dossiers;
    plage(debut, ici.taille, ou);
    std::set<std::string> noms;
    std::size_t fiches = 0;
    avant_.reset();
    for (std::uint64_t s = debut; s < debut + ici.taille; s += kSecteurLu) {
      std::uint64_t p = s;
      while (p < s + kSecteurLu && image_.u8(p) != 0) {
        const std::uint64_t longueur = image_.u8(p);
        if (!exige(longueur >= 34 && p + longueur <= s + kSecteurLu, ou + ": a record crosses a sector"))
          return;
        exige(p + longueur != s + kSecteurLu, ou + ": a record ends exactly at a sector end");
        fiche(rang, ici, p, fiches++, noms);
        p += longueur;
      }
      exige(image_.rempli(p, s + kSecteurLu - p), ou + ": the rest of a sector is not zero");
      exige(p != s, ou + ": an empty sector");
    }
    exige(fiches >= 2, ou + " lacks its two first records");
  }

  void fiche(std::size_t rang, const EntreeIso &ici, std::uint64_t p, std::size_t numero,
             std::set<std::string> &noms) {
    const std::string ou = "directory \"" + ici.chemin + "\"";
    const std::uint64_t longueur = image_.u8(p);
    const std::uint64_t lg_nom = image_.u8(p + 32);
    const std::string brut = image_.texte(p + 33, lg_nom);
    EntreeIso e = lit_fiche(p);
    e.pere = rang;
    // A pad byte behind a name of even length (ECMA-119 9.1.12); the Joliet tree of the classic rule goes
    // without.
    const std::uint64_t suite = (publiee_ || !arbre_.joliet) && lg_nom % 2 == 0 ? 1 : 0;
    exige(!publiee_ || longueur % 2 == 0, ou + ": a record of odd length");
    const bool signe = apple_ && numero >= 2 && !e.dossier;
    exige(longueur == 33 + lg_nom + suite + (signe ? 14 : 0), ou + ": length of a record");
    if (signe) lit_apple(p + 33 + lg_nom + suite, e, ou);
    exige(suite == 0 || image_.u8(p + 33 + lg_nom) == 0, ou + ": pad byte");
    if (numero < 2) {
      const EntreeIso &qui = numero == 0 ? ici : arbre_.entrees[ici.pere];
      exige(brut == std::string(1, static_cast<char>(numero)), ou + ": the first two records");
      exige(e.dossier && e.extent == qui.extent && e.taille == qui.taille,
            ou + (numero == 0 ? ": record \".\"" : ": record \"..\""));
      return;
    }
    const std::string nom = arbre_.joliet ? utf16be_vers_utf8(image_.partie(p + 33, lg_nom)) : brut;
    CleLue cle = cle_de(p, lg_nom, e.dossier, e.associe());
    exige(!publiee_ || !avant_ || *avant_ < cle, ou + ": " + nom + " is out of order");
    avant_ = std::move(cle);
    exige(noms.insert(e.associe() ? nom + "/rsrc" : nom).second, ou + ": two records named " + nom);
    exige(!e.associe() || (signe && e.taille != 0), ou + ": an associated file " + nom);
    exige(nom.find('/') == std::string::npos, ou + ": a name with a separator");
    const bool version = nom.size() > 2 && nom.ends_with(";1");
    exige(version != e.dossier, ou + ": version of " + nom);
    if (publiee_) {
      exige(arbre_.joliet ? nom_joliet(nom, e.dossier, lg_nom) : identifiant(nom, e.dossier),
            ou + ": name " + nom);
    } else if (apple_ && !arbre_.joliet && !e.dossier) {
      exige(nom.size() <= 12 + 2, ou + ": name " + nom);
    } else if (!arbre_.joliet)
      exige(nom_83(e.dossier ? nom : nom.substr(0, nom.size() - 2)), ou + ": name " + nom);
    e.chemin = ici.chemin.empty() ? nom : ici.chemin + "/" + nom;
    if (!e.dossier) {
      exige((e.extent == 0) == (e.taille == 0), ou + ": extent of " + nom);
      exige(image_.contient(e.extent * kSecteurLu, e.taille), ou + ": " + nom + " leaves the image");
    }
    arbre_.entrees.push_back(std::move(e));
  }

  /// Characters of an identifier, in the two numbers of an order: what fills the shorter comes before all.
  using Caracteres = std::vector<int>;
  /// ECMA-119 9.3: name, extension, version downwards (all have 1 here), associated file first. A folder's
  /// identifier has no parts.
  using CleLue = std::tuple<Caracteres, Caracteres, int>;

  // Padding with spaces (zeros in Joliet) comes to dropping them at the end where no character is smaller.
  Caracteres caracteres(std::uint64_t p, std::uint64_t lg) {
    Caracteres c;
    for (std::uint64_t i = 0; i < lg; i += arbre_.joliet ? 2 : 1)
      c.push_back(arbre_.joliet ? image_.be16(p + i) : image_.u8(p + i));
    while (!c.empty() && c.back() == (arbre_.joliet ? 0 : ' ')) c.pop_back();
    return c;
  }

  CleLue cle_de(std::uint64_t p, std::uint64_t lg, bool dossier, bool associe) {
    Caracteres nom = caracteres(p + 33, lg);
    Caracteres extension;
    if (!dossier) {
      nom.erase(std::find(nom.rbegin(), nom.rend(), ';').base() - 1, nom.end());
      const auto point = std::find(nom.rbegin(), nom.rend(), '.');
      if (point != nom.rend()) {
        extension.assign(point.base(), nom.end());
        nom.erase(point.base() - 1, nom.end());
      }
    }
    return {std::move(nom), std::move(extension), associe ? 0 : 1};
  }

  // Apple's field for a file of a Macintosh disk: signature, length, version, type, creator, Finder flags.
  void lit_apple(std::uint64_t p, EntreeIso &e, const std::string &ou) {
    exige(image_.texte(p, 2) == "AA" && image_.u8(p + 2) == 14 && image_.u8(p + 3) == 2,
          ou + ": Apple field of a record");
    e.type = image_.texte(p + 4, 4);
    e.createur = image_.texte(p + 8, 4);
    e.drapeaux_finder = image_.be16(p + 12);
    exige(publiee_ || e.drapeaux_finder == 0, ou + ": Finder flags of a record");
  }

  // ECMA-119 7.5 and 7.6 at level 1: d-characters, in a file name a dot whatever there is behind it.
  static bool identifiant(const std::string &nom, bool dossier) {
    static const std::regex fichier("[A-Z0-9_]{0,8}\\.[A-Z0-9_]{0,3};1"), repertoire("[A-Z0-9_]{1,8}");
    return nom != ".;1" && std::regex_match(nom, dossier ? repertoire : fichier);
  }

  // What the Joliet specification lets into a name, of 64 units at most.
  static bool nom_joliet(const std::string &nom, bool dossier, std::uint64_t octets) {
    const std::string seul = dossier ? nom : nom.substr(0, nom.size() - 2);
    return octets <= 128 && octets % 2 == 0 && std::none_of(seul.begin(), seul.end(), [](char c) {
             return (c >= 0 && c < ' ') || std::string_view("*/:;?\\").find(c) != std::string_view::npos;
           });
  }

  // Eight characters, one dot, three: what a PC without long names can open.
  static bool nom_83(const std::string &nom) {
    const std::size_t point = nom.find('.');
    const std::string base = nom.substr(0, point);
    const std::string suite = point == std::string::npos ? "" : nom.substr(point + 1);
    return !base.empty() && base.size() <= 8 && suite.size() <= 3 && suite.find('.') == std::string::npos &&
           std::none_of(nom.begin(), nom.end(),
                        [](char c) { return (c >= 'a' && c <= 'z') || c == ' ' || c == '*' || c == '?'; });
  }

  // ECMA-119 9.4 and 6.9.1: one entry for each directory, by level, parent and name, both byte orders alike.
  void verifie_chemins(std::uint32_t secteur, bool gros) {
    const std::string ou = gros ? "path table M" : "path table L";
    const Octets table = image_.partie(secteur * kSecteurLu, arbre_.taille_chemins);
    std::vector<const EntreeIso *> dossiers;
    std::vector<std::size_t> peres;
    std::uint64_t p = 0;
    std::set<std::pair<std::uint32_t, std::string>> attendus;
    for (const EntreeIso &e : arbre_.entrees)
      if (e.dossier) attendus.insert({e.extent, e.chemin});
    std::vector<std::string> chemins;
    std::size_t dernier_pere = 1;
    Caracteres dernier_nom;
    std::vector<std::size_t> niveaux;
    while (p < table.taille()) {
      const std::uint64_t lg = table.u8(p);
      const std::uint32_t extent = gros ? table.be32(p + 2) : table.le32(p + 2);
      const std::size_t pere = gros ? table.be16(p + 6) : table.le16(p + 6);
      if (!exige(lg != 0 && table.contient(p, 8 + lg), ou + ": an entry is cut")) return;
      if (!exige(pere >= 1 && pere <= std::max<std::size_t>(chemins.size(), 1), ou + ": parent number"))
        return;
      exige(pere >= dernier_pere, ou + ": parents out of order");
      niveaux.push_back(niveaux.empty() ? 1 : niveaux[pere - 1] + 1);
      exige(niveaux.size() < 2 || niveaux.back() >= niveaux[niveaux.size() - 2],
            ou + ": levels out of order");
      Caracteres nom_lu = caracteres(secteur * kSecteurLu + p + 8, lg);
      if (niveaux.size() > 2 && pere == dernier_pere)
        exige(!publiee_ || dernier_nom < nom_lu, ou + ": names out of order");
      dernier_nom = std::move(nom_lu);
      dernier_pere = pere;
      std::string chemin;
      if (!chemins.empty()) {
        const std::string nom =
            arbre_.joliet ? utf16be_vers_utf8(table.partie(p + 8, lg)) : table.texte(p + 8, lg);
        chemin = chemins[pere - 1].empty() ? nom : chemins[pere - 1] + "/" + nom;
      }
      exige(attendus.erase({extent, chemin}) == 1, ou + ": no directory \"" + chemin + "\" there");
      chemins.push_back(std::move(chemin));
      p += 8 + lg + lg % 2;
    }
    exige(attendus.empty(), ou + ": " + std::to_string(attendus.size()) + " directories are missing");
    exige(table.taille() == arbre_.taille_chemins, ou + " leaves the image");
  }

  Octets image_;
  bool apple_, publiee_, entiere_;
  ArbreIso arbre_;
  std::optional<CleLue> avant_;  ///< of the record before, in one directory
  std::set<std::uint32_t> vus_;
};

inline ArbreIso lit_iso(Octets image, bool joliet, bool apple = false, Regle regle = varnion::regle(),
                        bool entiere = true) {
  return LecteurIso(image, joliet, apple, regle, entiere).lit();
}

/// For each entry of the Joliet tree the one of the ISO tree that is the same file or folder, by all but the
/// name: the two are sorted apart. A fault where they are not the same tree.
inline std::vector<std::size_t> rangs_iso(const ArbreIso &iso, const ArbreIso &joliet, Fautes &fautes) {
  struct Cote {
    const ArbreIso &arbre;
    std::vector<std::vector<std::size_t>> enfants;
    std::vector<std::string> marques;  ///< of an entry and all that is in it

    explicit Cote(const ArbreIso &a) : arbre(a), enfants(a.entrees.size()), marques(a.entrees.size()) {
      for (std::size_t i = 1; i < a.entrees.size(); ++i) enfants[a.entrees[i].pere].push_back(i);
      for (std::size_t i = a.entrees.size(); i-- > 0;) {  // what a folder holds stands behind it
        const EntreeIso &e = a.entrees[i];
        std::string &m = marques[i];
        m = std::to_string(e.drapeaux) + e.type + e.createur + std::to_string(e.drapeaux_finder) +
            std::string(e.date.begin(), e.date.end());
        if (!e.dossier) m += "/" + std::to_string(e.extent) + "/" + std::to_string(e.taille);
        std::vector<std::size_t> &ici = enfants[i];
        std::sort(ici.begin(), ici.end(),
                  [&](std::size_t x, std::size_t y) { return marques[x] < marques[y]; });
        std::size_t somme = ici.size();
        for (const std::size_t n : ici) somme = somme * 31 + std::hash<std::string>{}(marques[n]);
        m += "/" + std::to_string(somme);
      }
    }
  };
  std::vector<std::size_t> rangs(joliet.entrees.size(), 0);
  if (!fautes.exige(iso.entrees.size() == joliet.entrees.size() && !iso.entrees.empty(),
                    "the two trees differ in size"))
    return {};
  const Cote a(iso), b(joliet);
  for (std::size_t i = 0; i < rangs.size(); ++i) {
    const auto &ici = a.enfants[rangs[i]];
    if (!fautes.exige(a.marques[rangs[i]] == b.marques[i] && ici.size() == b.enfants[i].size(),
                      "the trees disagree about " + joliet.entrees[i].chemin))
      return {};
    for (std::size_t n = 0; n < ici.size(); ++n) rangs[b.enfants[i][n]] = ici[n];
  }
  return rangs;
}

}  // namespace varnion::outils
