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
    if (!f_.exige(i_.iso.entrees.size() == joliet.size(), "the two trees differ in size")) return;
    for (std::size_t i = 0; i < joliet.size(); ++i) {
      (joliet[i].associe() ? ressources_ : autres_)[joliet[i].chemin] = i;
      const EntreeIso &e = i_.iso.entrees[i];
      const bool pareils = e.dossier == joliet[i].dossier && e.drapeaux == joliet[i].drapeaux &&
                           e.date == joliet[i].date && e.pere == joliet[i].pere && e.type == joliet[i].type &&
                           e.createur == joliet[i].createur &&
                           (e.dossier || (e.extent == joliet[i].extent && e.taille == joliet[i].taille));
      if (!pareils) f_.note("the trees disagree about " + joliet[i].chemin);
    }
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
    verifie_nom_iso(f, rsrc->second, true);
    const EntreeIso &r = i_.iso.entrees[rsrc->second];
    const std::uint32_t fin = r.extent + (r.taille + 2047) / 2048;
    f_.exige(f.mac.data.empty() || i_.iso.entrees[data->second].extent == fin,
             f.chemin + ": the data fork does not follow the resource fork");
    return 2;
  }

  void verifie_fiche(const FichierSource &f, std::size_t rang, const std::string &octets, const char *quoi) {
    const EntreeIso &e = i_.iso.entrees[rang];
    const auto exige = [&](bool vrai, const char *faute) {
      if (!vrai) f_.note(f.chemin + ": " + faute + " of the " + quoi);
    };
    exige(i_.vue.texte(e.extent * kSecteurLu, e.taille) == octets, "content");
    exige(e.type == f.mac.type && e.createur == f.mac.createur, "type and creator");
    exige(e.cache() == f.cache, "flags");
    exige(e.date == date(f), "date");
  }

  // The source name in upper case, cut at 12: a name out of ASCII may stand there in its short form, which
  // the data record of a pair has anyway.
  void verifie_nom_iso(const FichierSource &f, std::size_t rang, bool de_la_source) {
    std::string nom = ArbreSource::feuille(f.chemin).substr(0, 12);
    const bool ascii = std::all_of(f.chemin.begin(), f.chemin.end(), [](char c) { return c > 0; });
    if (!de_la_source || !ascii) return;
    std::transform(nom.begin(), nom.end(), nom.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    f_.exige(i_.iso.entrees[rang].nom() == nom + ";1", f.chemin + ": ISO name " + i_.iso.entrees[rang].nom());
  }

  static std::array<std::uint8_t, 7> date(const FichierSource &f) {
    if (f.forme == Forme::simple) return date_iso(f.date);
    const std::uint32_t depuis_1904 = f.forme == Forme::macbinary ? f.mac.modification
                                      : f.forme == Forme::binhex  ? date_mac_locale(f.date)
                                                                  : 0;
    auto d = date_iso(static_cast<std::int64_t>(depuis_1904) - kEcart1904);
    d[0] %= 100;
    return d;
  }

  const ImageLue &i_;
  ArbreSource &s_;
  Fautes &f_;
  std::unordered_map<std::string, std::size_t> autres_, ressources_;
};

}  // namespace varnion::outils
