#pragma once

#include "outils/image_lue.hpp"

namespace varnion::outils {

/// Holds the image of an ISO+ project against the tree it was made from: one record for a plain file, two for
/// one with a resource fork, type and creator in both.
class ConfrontationApple {
 public:
  ConfrontationApple(const ImageLue &image, ArbreSource &source, Fautes &fautes)
      : i_(image), s_(source), f_(fautes) {}

  void verifie() {
    const auto &joliet = i_.joliet.entrees;
    rangs_ = rangs_iso(i_.iso, i_.joliet, f_);
    if (rangs_.empty()) return;
    for (std::size_t i = 0; i < joliet.size(); ++i)
      (joliet[i].associe() ? ressources_ : autres_)[joliet[i].chemin] = i;
    for (const DossierSource &d : s_.dossiers())
      if (autres_.count(s_.chemin_dans(&DossierSource::nom_joliet, d.chemin, d.nom_joliet)) == 0)
        f_.note("no folder " + d.chemin);
    std::size_t attendus = s_.dossiers().size() + 1;
    for (const FichierSource &f : s_.fichiers()) attendus += verifie_fichier(f);
    f_.exige(joliet.size() == attendus,
             std::to_string(joliet.size()) + " records instead of " + std::to_string(attendus));
  }

  /// Last component in the Joliet tree, without version: MacBinary and BinHex carry a name of their own.
  static const std::string &nom(const FichierSource &f) {
    return f.forme == Forme::macbinary || f.forme == Forme::binhex ? f.nom_mac : f.nom_joliet;
  }

 private:
  std::size_t verifie_fichier(const FichierSource &f) {
    const std::string chemin = s_.chemin_dans(&DossierSource::nom_joliet, f.chemin, nom(f) + ";1");
    const auto data = autres_.find(chemin);
    if (f.forme == Forme::flux) {
      f_.exige(data == autres_.end(), f.chemin + " has a record");
      return 0;
    }
    if (!f_.exige(data != autres_.end(), "no record " + chemin)) return 1;
    const bool paire = f.forme != Forme::simple && !f.mac.rsrc.empty();
    verifie_fiche(f, data->second, f.mac.data, "data fork");
    verifie_nom_iso(f, data->second, f.forme == Forme::simple);
    if (!paire) return 1;
    const auto rsrc = ressources_.find(chemin);
    if (!f_.exige(rsrc != ressources_.end() && rsrc->second + 1 == data->second,
                  "no resource record ahead of " + chemin))
      return 1;
    verifie_fiche(f, rsrc->second, f.mac.rsrc, "resource fork");
    f_.exige(regle() == Regle::classique ||
                 i_.iso.entrees[rangs_[rsrc->second]].nom() == i_.iso.entrees[rangs_[data->second]].nom(),
             f.chemin + ": the two forks have no name in common");
    verifie_nom_iso(f, rsrc->second, true);
    const EntreeIso &r = i_.joliet.entrees[rsrc->second];
    const std::uint32_t fin = r.extent + (r.taille + 2047) / 2048;
    f_.exige(f.mac.data.empty() || i_.joliet.entrees[data->second].extent == fin,
             f.chemin + ": the data fork does not follow the resource fork");
    return 2;
  }

  void verifie_fiche(const FichierSource &f, std::size_t rang, const std::string &octets, const char *quoi) {
    const EntreeIso &e = i_.joliet.entrees[rang];
    const auto exige = [&](bool vrai, const char *faute) {
      if (!vrai) f_.note(f.chemin + ": " + faute + " of the " + quoi);
    };
    exige(i_.vue.texte(e.extent * kSecteurLu, e.taille) == octets, "content");
    exige(e.type == f.mac.type && e.createur == f.mac.createur, "type and creator");
    exige(e.cache() == f.cache, "flags");
    exige(e.date == date(f), "date");
    exige(regle() == Regle::classique || e.drapeaux_finder == drapeaux(f), "Finder flags");
  }

  static std::uint16_t drapeaux(const FichierSource &f) {
    const bool tete = f.forme == Forme::macbinary || f.forme == Forme::binhex;
    const bool apple = f.forme == Forme::applesingle || f.forme == Forme::appledouble;
    return static_cast<std::uint16_t>((f.cache ? 0x4000 : 0) | (tete ? f.mac.drapeaux : 0) |
                                      (apple ? f.mac.drapeaux & 0x0400 : 0));
  }

  // Under the classic rule the source name in upper case, cut at 12: a name out of ASCII may stand there in
  // its short form, which the data record of a pair has anyway.
  void verifie_nom_iso(const FichierSource &f, std::size_t rang, bool de_la_source) {
    if (regle() == Regle::publiee) return;
    std::string nom = ArbreSource::feuille(f.chemin).substr(0, 12);
    const bool ascii = std::all_of(f.chemin.begin(), f.chemin.end(), [](char c) { return c > 0; });
    if (!de_la_source || !ascii) return;
    std::transform(nom.begin(), nom.end(), nom.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    const std::string vu = i_.iso.entrees[rangs_[rang]].nom();
    f_.exige(vu == nom + ";1", f.chemin + ": ISO name " + vu);
  }

  static std::array<std::uint8_t, 7> date(const FichierSource &f) {
    if (f.forme == Forme::simple) return date_iso(f.date);
    const std::uint32_t depuis_1904 = f.forme == Forme::macbinary ? f.mac.modification
                                      : f.forme == Forme::binhex  ? date_mac_locale(f.date)
                                                                  : 0;
    const std::int64_t secondes = static_cast<std::int64_t>(depuis_1904) - kEcart1904;
    if (regle() == Regle::publiee) {  // a container without a date leaves that of its file
      const std::time_t maintenant = std::time(nullptr);
      std::tm local{};
      return date_iso(depuis_1904 == 0 ? f.date : secondes - ::localtime_r(&maintenant, &local)->tm_gmtoff);
    }
    auto d = date_iso(secondes);
    d[0] %= 100;
    return d;
  }

  const ImageLue &i_;
  ArbreSource &s_;
  Fautes &f_;
  std::unordered_map<std::string, std::size_t> autres_, ressources_;
  std::vector<std::size_t> rangs_;  ///< in the ISO tree, of the entries of the Joliet tree
};

}  // namespace varnion::outils
