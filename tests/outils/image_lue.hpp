#pragma once

#include <gtest/gtest.h>
#include <iconv.h>
#include <utf8proc.h>

#include <cstdlib>
#include <ctime>

#include "outils/arbre_source.hpp"
#include "outils/carte.hpp"
#include "outils/lecteur_hfs.hpp"
#include "outils/lecteur_hfsplus.hpp"
#include "outils/lecteur_iso.hpp"

namespace varnion::outils {

constexpr std::int64_t kEcart1904 = 2'082'844'800;  ///< seconds from 1904 to 1970

/// What a kind of image holds.
struct Cotes {
  bool iso = true, mac = true, hfsplus = false;
  bool apple = false;   ///< the ISO side has Apple's fields and pairs of forks
  bool jointe = false;  ///< the volume was put behind an ISO image, whose volume space size stays
};

/// Everything the independent readers find in an image.
struct ImageLue {
  std::vector<std::uint8_t> octets;
  Octets vue;
  Cotes cotes;
  ArbreIso iso, joliet;
  CarteLue carte;
  VolumeLu volume;
  Fautes fautes;
};

inline std::string mac_vers_utf8(const std::string &mac) {
  std::string entree = mac, sortie(4 * mac.size() + 4, '\0');
  iconv_t c = ::iconv_open("UTF-8", "MACINTOSH");
  if (c == reinterpret_cast<iconv_t>(-1)) return mac;
  char *e = entree.data();
  char *s = sortie.data();
  std::size_t reste_e = entree.size(), reste_s = sortie.size();
  ::iconv(c, &e, &reste_e, &s, &reste_s);
  ::iconv_close(c);
  sortie.resize(sortie.size() - reste_s);
  return sortie;
}

inline std::string compose(const std::string &utf8) {
  utf8proc_uint8_t *nfc = utf8proc_NFC(reinterpret_cast<const utf8proc_uint8_t *>(utf8.c_str()));
  std::string resultat = nfc == nullptr ? utf8 : reinterpret_cast<const char *>(nfc);
  std::free(nfc);
  return resultat;
}

/// Reads all sides of an image; their faults and the overlaps between them are gathered in `fautes`.
inline ImageLue lit_image(const std::string &chemin, Cotes cotes) {
  ImageLue image;
  image.cotes = cotes;
  image.octets = lit_fichier(chemin);
  image.vue = Octets(image.octets);
  const auto recueille = [&](const Fautes &f) {
    for (const std::string &faute : f.liste()) image.fautes.note(faute);
  };
  std::vector<Plage> plages;
  std::unordered_map<std::uint64_t, std::uint64_t> fichiers_iso;  // start of the data, end of its sectors
  if (cotes.iso) {
    image.iso = lit_iso(image.vue, false, cotes.apple, regle(), !cotes.jointe);
    image.joliet = lit_iso(image.vue, true, cotes.apple, regle(), !cotes.jointe);
    for (const ArbreIso *arbre : {&image.iso, &image.joliet}) {
      recueille(arbre->fautes);
      plages.insert(plages.end(), arbre->plages.begin(), arbre->plages.end());
    }
    for (const EntreeIso &e : image.iso.entrees) {
      if (e.dossier || e.taille == 0) continue;
      plages.push_back({e.extent * kSecteurLu, e.extent * kSecteurLu + e.taille, e.chemin});
      fichiers_iso[e.extent * kSecteurLu] =
          (e.extent + (e.taille + kSecteurLu - 1) / kSecteurLu) * kSecteurLu;
      image.fautes.exige(e.extent + (e.taille + kSecteurLu - 1) / kSecteurLu <= image.iso.taille_volume,
                         e.chemin + " lies behind the volume space size");
    }
  } else {
    image.fautes.exige(image.vue.rempli(2048, 15 * 2048), "sectors 1 to 15 are not zero");
  }
  if (cotes.mac) {
    image.carte = lit_carte(image.vue);
    recueille(image.carte.fautes);
    const Partition *p = image.carte.volume();
    if (!image.fautes.exige(p != nullptr, "no volume in the partition map")) return image;
    image.volume = cotes.hfsplus ? lit_hfsplus(image.vue, p->debut * 512, p->nombre * 512)
                                 : lit_hfs(image.vue, p->debut * 512, p->nombre * 512);
    recueille(image.volume.fautes);
    plages.push_back({0, 2048, "sector 0"});
    plages.insert(plages.end(), image.volume.plages.begin(), image.volume.plages.end());
    for (const ObjetMac &o : image.volume.objets) {
      for (const FourcheLue *f : {&o.data, &o.rsrc}) {
        const std::uint64_t debut = image.volume.octet(f->debut);
        const auto partage = fichiers_iso.find(debut);
        const bool commun = partage != fichiers_iso.end() && debut + f->longueur <= partage->second;
        if (f->blocs == 0 || commun) continue;
        plages.push_back({debut, debut + f->physique, o.chemin + (f == &o.data ? " data" : " rsrc")});
      }
    }
  } else {
    image.fautes.exige(image.vue.rempli(0, 16 * 2048), "the system area is not empty");
  }
  verifie_plages(std::move(plages), image.vue.taille(), image.fautes);
  return image;
}

inline std::array<std::uint8_t, 7> date_iso(std::int64_t secondes) {
  const std::time_t t = secondes;
  std::tm d{};
  ::gmtime_r(&t, &d);
  const auto o = [](int v) { return static_cast<std::uint8_t>(v); };
  return {o(d.tm_year), o(d.tm_mon + 1), o(d.tm_mday), o(d.tm_hour), o(d.tm_min), o(d.tm_sec), 0};
}

/// Seconds since 1904 in local time, as a classic volume keeps them.
inline std::uint32_t date_mac_locale(std::int64_t secondes) {
  const std::time_t t = secondes;
  std::tm d{};
  ::localtime_r(&t, &d);
  return static_cast<std::uint32_t>(secondes + d.tm_gmtoff + kEcart1904);
}

/// Holds an image against the tree it was made from.
class Confrontation {
 public:
  Confrontation(const ImageLue &image, ArbreSource &source, Fautes &fautes)
      : i_(image), s_(source), f_(fautes) {}

  void verifie() {
    if (i_.cotes.iso) verifie_iso();
    if (i_.cotes.mac) verifie_mac();
  }

 private:
  void verifie_iso() {
    const auto &joliet = i_.joliet.entrees;
    const auto &iso = i_.iso.entrees;
    const std::size_t attendus = s_.fichiers().size() + s_.dossiers().size() + 1;
    f_.exige(joliet.size() == attendus,
             "Joliet: " + std::to_string(joliet.size()) + " entries instead of " + std::to_string(attendus));
    rangs_ = rangs_iso(i_.iso, i_.joliet, f_);
    if (rangs_.empty()) return;
    for (std::size_t i = 0; i < joliet.size(); ++i) par_joliet_[joliet[i].chemin] = i;
    for (const DossierSource &d : s_.dossiers()) {
      const EntreeIso *e = entree(s_.chemin_dans(&DossierSource::nom_joliet, d.chemin, d.nom_joliet), joliet);
      if (e != nullptr && !(e->dossier && e->cache() == d.cache)) f_.note("Joliet: folder " + d.chemin);
    }
    for (const FichierSource &f : s_.fichiers()) {
      const std::string chemin = s_.chemin_dans(&DossierSource::nom_joliet, f.chemin, f.nom_joliet + ";1");
      const EntreeIso *e = entree(chemin, joliet);
      if (e == nullptr) continue;
      if (i_.vue.texte(e->extent * kSecteurLu, e->taille) != f.octets)
        f_.note("Joliet: content of " + f.chemin);
      if (e->dossier || e->cache() != f.cache) f_.note("Joliet: flags of " + f.chemin);
      if (e->date != date_iso(f.date)) f_.note("Joliet: date of " + f.chemin);
      const std::string nom = iso[rangs_[par_joliet_[chemin]]].nom();
      if (!f.nom_iso.empty() && nom != f.nom_iso + ";1") f_.note("ISO: " + f.chemin + " is named " + nom);
    }
  }

  const EntreeIso *entree(const std::string &chemin, const std::vector<EntreeIso> &arbre) {
    const auto place = par_joliet_.find(chemin);
    if (place != par_joliet_.end()) return &arbre[place->second];
    f_.note("Joliet: no entry " + chemin);
    return nullptr;
  }

  void verifie_mac() {
    const std::size_t attendus = s_.fichiers().size() + s_.dossiers().size() + 1;
    f_.exige(i_.volume.objets.size() == attendus, "volume: " + std::to_string(i_.volume.objets.size()) +
                                                      " objects instead of " + std::to_string(attendus));
    for (const ObjetMac &o : i_.volume.objets)
      par_mac_[i_.cotes.hfsplus ? compose(o.chemin) : mac_vers_utf8(o.chemin)] = &o;
    for (const DossierSource &d : s_.dossiers()) {
      const ObjetMac *o = objet(d.chemin, i_.cotes.hfsplus ? d.nom_plus : d.nom_mac);
      if (o != nullptr && !(o->dossier && ((o->drapeaux & 0x4000) != 0) == d.cache))
        f_.note("volume: folder " + d.chemin);
    }
    for (const FichierSource &f : s_.fichiers())
      if (const ObjetMac *o = objet(f.chemin, i_.cotes.hfsplus ? f.nom_plus : f.nom_mac))
        verifie_fichier(f, *o);
  }

  const ObjetMac *objet(const std::string &chemin, const std::string &nom) {
    const std::string ou =
        s_.chemin_dans(i_.cotes.hfsplus ? &DossierSource::nom_plus : &DossierSource::nom_mac, chemin, nom);
    const auto place = par_mac_.find(ou);
    if (place != par_mac_.end()) return place->second;
    f_.note("volume: no object " + ou);
    return nullptr;
  }

  void verifie_fichier(const FichierSource &f, const ObjetMac &o) {
    const auto exige = [&](bool vrai, const char *quoi) {
      if (!vrai) f_.note("volume: " + std::string(quoi) + " of " + f.chemin);
    };
    exige(!o.dossier, "kind");
    exige(i_.volume.contenu(i_.vue, o.data) == f.mac.data, "data fork");
    exige(i_.volume.contenu(i_.vue, o.rsrc) == f.mac.rsrc, "resource fork");
    if (!f.mac.type.empty()) exige(o.type == f.mac.type && o.createur == f.mac.createur, "type and creator");
    const bool tete = f.forme == Forme::macbinary || f.forme == Forme::binhex;
    const bool apple = f.forme == Forme::applesingle || f.forme == Forme::appledouble;
    std::uint16_t drapeaux = f.cache ? 0x4000 : 0;
    if (tete) drapeaux |= f.mac.drapeaux;
    if (apple) drapeaux |= f.mac.drapeaux & 0x0400;  // the custom icon alone is taken over
    exige(o.drapeaux == drapeaux, "flags");
    // No date entry of an Apple container is read.
    const auto universelle = static_cast<std::uint32_t>(f.date + kEcart1904);
    const std::uint32_t modification = f.forme == Forme::macbinary ? f.mac.modification
                                       : apple                     ? 0
                                       : i_.cotes.hfsplus          ? universelle
                                                                   : date_mac_locale(f.date);
    exige(o.modification == modification, "modification date");
    if (f.forme == Forme::macbinary) exige(o.creation == f.mac.creation, "creation date");
    exige(o.creation <= o.modification, "creation date");
    if (!i_.cotes.iso || f.octets.empty() || tete || f.forme == Forme::applesingle) return;
    const auto place =
        par_joliet_.find(s_.chemin_dans(&DossierSource::nom_joliet, f.chemin, f.nom_joliet + ";1"));
    exige(place != par_joliet_.end() &&
              i_.joliet.entrees[place->second].extent * kSecteurLu == i_.volume.octet(o.data.debut),
          "shared place");
  }

  const ImageLue &i_;
  ArbreSource &s_;
  Fautes &f_;
  std::unordered_map<std::string, std::size_t> par_joliet_;
  std::vector<std::size_t> rangs_;  ///< in the ISO tree, of the entries of the Joliet tree
  std::unordered_map<std::string, const ObjetMac *> par_mac_;
};

}  // namespace varnion::outils
