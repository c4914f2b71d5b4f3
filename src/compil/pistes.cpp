#include "compil/pistes.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string_view>
#include <vector>

#include "compil/secteur_brut.hpp"
#include "IO/octets.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kSecteur = 2048;
constexpr std::size_t kLot = 64;  // raw sectors a transfer
constexpr std::size_t kLotRedocking = 16;
constexpr std::uint32_t kBlocsParSecteur = 4;
constexpr std::uint32_t kSecteurTable = 151;
constexpr std::uint32_t kSecteurDescripteur = 16;
constexpr std::size_t kTableDebut = 12;
constexpr std::size_t kEntreesMax = (kSecteur - kTableDebut) / 4;
constexpr std::uint32_t kSecteursVides = 150;
constexpr std::size_t kLigneMax = 4096;

constexpr int kEtatPatience = 1059;
constexpr int kEtatHybridation = 1094;
constexpr int kEtatPisteIso = 1345;
constexpr int kEtatPistesVideo = 1346;

// Sector 16 among raw sectors, by where its data lie; and 0x91C8, which is no multiple of any sector size:
// it is looked at all the same, and redocking refuses what has nothing at the other two.
constexpr std::int64_t kIsoCuit = 0x8000;
constexpr std::int64_t kIsoAncien = 0x91C8;
constexpr std::int64_t kIsoMode2 = kSecteurDescripteur * std::int64_t{kSecteurBrut} + kDonneesMode2;
constexpr std::int64_t kIsoMode1 = kSecteurDescripteur * std::int64_t{kSecteurBrut} + kDonneesMode1;

bool descripteur_a(const Fichier &fichier, std::int64_t position) {
  std::array<std::uint8_t, 7> lu{};
  constexpr std::string_view marque = "CD001";
  return fichier.lire_a(lu, static_cast<std::uint64_t>(position)) == static_cast<std::int64_t>(lu.size()) &&
         std::equal(marque.begin(), marque.end(), lu.begin() + 1);
}

bool porte_carte(std::span<const std::uint8_t> o) {
  return o.size() >= 0x600 && o[0] == 'E' && o[1] == 'R' && o[0x200] == 'P' && o[0x201] == 'M' &&
         o[0x400] == 'P' && o[0x401] == 'M';
}

// The map counts 512-byte blocks, four to a raw sector: the device ends with the track, and the partition
// begins `decalage` raw sectors behind its place in the image.
void fixe_carte(std::span<std::uint8_t> secteur0, std::uint32_t total, std::uint32_t decalage) {
  *vue_modifiable<be32>(secteur0, 4) = total * kBlocsParSecteur;
  auto *debut = vue_modifiable<be32>(secteur0, 0x408);
  *debut = *debut + decalage * kBlocsParSecteur;
}

// Raw sectors on their way to a file.
class SortieBrute {
 public:
  explicit SortieBrute(const Fichier &cible) : cible_(cible) { tampon_.reserve(kLot * kSecteurBrut); }

  bool ajoute(const SecteurBrut &secteur) {
    tampon_.insert(tampon_.end(), secteur.begin(), secteur.end());
    ++secteurs_;
    return tampon_.size() < kLot * kSecteurBrut || vide();
  }
  bool vide() {
    const bool fait = cible_.ecrire(tampon_);
    tampon_.clear();
    return fait;
  }
  [[nodiscard]] std::uint32_t secteurs() const { return secteurs_; }

 private:
  const Fichier &cible_;
  std::vector<std::uint8_t> tampon_;
  std::uint32_t secteurs_ = 0;
};

// The data of an image, sector by sector, `change` applied to the first; zeros behind its end.
template <typename Change>
int verse_image(const Fichier &iso, std::uint32_t nombre, std::uint8_t mode, SortieBrute &sortie,
                Change change) {
  std::vector<std::uint8_t> tampon(kLot * kSecteur);
  SecteurBrut secteur{};
  for (std::uint32_t numero = 0; numero < nombre; ++numero) {
    const std::size_t rang = numero % kLot;
    if (rang == 0) {
      if (operations().arret_demande()) return kPisteArret;
      const std::int64_t lus = iso.lire_a(tampon, numero * kSecteur);
      if (lus < 0) return kPisteEcriture;
      std::fill(tampon.begin() + lus, tampon.end(), std::uint8_t{0});
    }
    const auto donnees = std::span(tampon).subspan(rang * kSecteur, kSecteur);
    if (numero == 0) change(donnees);
    forme_secteur(secteur, donnees, sortie.secteurs(), mode, kSousModeDonnees);
    if (!sortie.ajoute(secteur)) return kPisteEcriture;
  }
  return kPisteFaite;
}

std::string avec_extension(const std::string &chemin, std::string_view extension) {
  const std::size_t nom = chemin.find_last_of("/\\") + 1;
  const std::size_t point = chemin.rfind('.');
  const bool a_point = point != std::string::npos && point > nom;
  return chemin.substr(0, a_point ? point : chemin.size()) + "." + std::string(extension);
}

// --- Video CD
// -------------------------------------------------------------------------------------------------

struct PlanVideo {
  std::uint32_t iso = 0;      // sectors of the ISO track: the first video entry
  std::uint32_t ajout = 0;    // sectors put behind it, without the empty ones
  std::uint32_t ancien = 0;   // sectors of the image before
  std::uint32_t entrees = 0;  // of the table
  [[nodiscard]] std::uint32_t decalage() const { return ajout + kSecteursVides; }
  [[nodiscard]] std::uint32_t total() const { return ancien + decalage(); }
};

bool lit_secteur(const Fichier &fichier, std::uint32_t numero, SecteurBrut &secteur) {
  return fichier.lire_a(secteur, std::uint64_t{numero} * kSecteurBrut) ==
         static_cast<std::int64_t>(secteur.size());
}

bool secteur_mode2(const SecteurBrut &secteur) {
  return std::equal(kSynchro.begin(), kSynchro.end(), secteur.begin()) && secteur[15] == 2;
}

std::uint32_t nombre_entrees(const SecteurBrut &table) {
  return *vue<be16>(table, kDonneesMode2 + 10);
}

std::span<std::uint8_t> temps_entree(SecteurBrut &table, std::uint32_t rang) {
  return std::span(table).subspan(kDonneesMode2 + kTableDebut + 4 * std::size_t{rang} + 1, 3);
}

int planifie(const Fichier &video, std::uint64_t longueur, PlanVideo &plan) {
  const std::int64_t taille = fichier_taille(video);
  SecteurBrut table{};
  if (taille < 0 || !lit_secteur(video, kSecteurTable, table) || !secteur_mode2(table)) return kPisteTable;
  const std::uint64_t ancien = static_cast<std::uint64_t>(taille) / kSecteurBrut;
  const std::uint64_t ajout = quotient_haut(longueur, kSecteur);
  plan.entrees = nombre_entrees(table);
  if (plan.entrees == 0 || plan.entrees > kEntreesMax) return kPisteTable;
  const std::uint32_t premiere = secteurs_bcd(temps_entree(table, 0));
  if (premiere <= kSecteurTable + kAvantPiste || premiere - kAvantPiste > ancien) return kPisteTable;
  plan.iso = premiere - kAvantPiste;
  if (ancien + ajout + kSecteursVides + kAvantPiste > kAdressesMax) return kPisteLongue;
  plan.ancien = static_cast<std::uint32_t>(ancien);
  plan.ajout = static_cast<std::uint32_t>(ajout);
  return kPisteFaite;
}

// The sectors of the ISO track that change, as they pass.
void met_a_jour(SecteurBrut &secteur, std::uint32_t numero, const PlanVideo &plan) {
  if (numero == kSecteurDescripteur) {
    *vue_modifiable<DoubleOrdre<std::uint32_t>>(secteur, kDonneesMode2 + 80) = plan.total();
  } else if (numero == kSecteurTable) {
    for (std::uint32_t rang = 0; rang < plan.entrees; ++rang) {
      const auto temps = temps_entree(secteur, rang);
      const auto nouveau = temps_bcd(secteurs_bcd(temps) + plan.decalage());
      std::copy(nouveau.begin(), nouveau.end(), temps.begin());
    }
    secteur[18] = secteur[22] = kSousModeDonnees | kSousModeFin;
  } else {
    return;
  }
  pose_controles(secteur);
}

int copie_secteurs(const Fichier &video, std::uint32_t debut, std::uint32_t fin, const PlanVideo &plan,
                   SortieBrute &sortie) {
  SecteurBrut secteur{};
  for (std::uint32_t numero = debut; numero < fin; ++numero) {
    if (numero % 1024 == 0 && operations().arret_demande()) return kPisteArret;
    if (!lit_secteur(video, numero, secteur)) return kPisteEcriture;
    if (numero < plan.iso)
      met_a_jour(secteur, numero, plan);
    else
      pose_adresse(secteur, sortie.secteurs(), secteur[15]);
    if (!sortie.ajoute(secteur)) return kPisteEcriture;
  }
  return kPisteFaite;
}

int ecrit_video(const Fichier &iso, const Fichier &video, const Fichier &cible, const PlanVideo &plan) {
  SortieBrute sortie(cible);
  operations().afficher_etat(charger_chaine(kEtatPatience), charger_chaine(kEtatPisteIso));
  const auto fixe = [&](std::span<std::uint8_t> donnees) { fixe_carte(donnees, plan.total(), plan.iso); };
  int resultat = verse_image(iso, 1, 2, sortie, fixe);
  if (resultat == kPisteFaite) resultat = copie_secteurs(video, 1, plan.iso, plan, sortie);
  if (resultat == kPisteFaite) resultat = verse_image(iso, plan.ajout, 2, sortie, [](auto) {});
  SecteurBrut secteur{};
  constexpr std::array<std::uint8_t, kSecteur> zeros{};
  for (std::uint32_t i = 0; resultat == kPisteFaite && i < kSecteursVides; ++i) {
    forme_secteur(secteur, zeros, sortie.secteurs(), 2, kSousModeDonnees);
    if (!sortie.ajoute(secteur)) resultat = kPisteEcriture;
  }
  operations().afficher_etat(charger_chaine(kEtatPatience), charger_chaine(kEtatPistesVideo));
  if (resultat == kPisteFaite) resultat = copie_secteurs(video, plan.iso, plan.ancien, plan, sortie);
  if (resultat == kPisteFaite && (!sortie.vide() || !fichier_vider(cible))) resultat = kPisteEcriture;
  return resultat;
}

// The sheet of three lines, then three a track: the third of each, the index of the video, gets its new time.
bool ecrit_feuille(const Fichier &ancienne, const Fichier &nouvelle, SecteurBrut table,
                   const PlanVideo &plan) {
  const auto recopie = [&](int lignes) {
    while (lignes-- > 0) {
      const auto ligne = fichier_gets(kLigneMax, ancienne);
      if (!ligne) return true;
      if (!fichier_puts(*ligne, nouvelle)) return false;
    }
    return true;
  };
  if (!recopie(3)) return false;
  for (std::uint32_t rang = 0; rang < plan.entrees; ++rang) {
    if (!recopie(2)) return false;
    if (!fichier_gets(kLigneMax, ancienne)) break;  // more entries than tracks
    const auto t = temps_bcd(secteurs_bcd(temps_entree(table, rang)) + plan.decalage() - kAvantPiste);
    const auto c = [&](std::size_t i, int bits) {
      return std::string(1, static_cast<char>('0' + (t[i] >> bits & 15)));
    };
    const std::string ligne =
        "    INDEX 01 " + c(0, 4) + c(0, 0) + ":" + c(1, 4) + c(1, 0) + ":" + c(2, 4) + c(2, 0) + "\r\n";
    if (!fichier_puts(ligne, nouvelle)) return false;
  }
  return true;
}

// The cue sheet beside an image, under the name that it has.
std::string feuille_de(const std::string &cible) {
  const auto trouvee = plateforme::cherche_fichier(avec_extension(cible, "CUE"));
  if (!trouvee || trouvee->est_dossier()) return {};
  return cible.substr(0, cible.find_last_of("/\\") + 1) + trouvee->nom_long;
}

// The new image and the new cue sheet are both whole before either takes its place.
int refait_video(const Fichier &source, const std::string &cible, SecteurBrut table, const PlanVideo &plan) {
  const std::string chemin_feuille = feuille_de(cible);
  const bool a_feuille = !chemin_feuille.empty();
  const Fichier ancienne = plateforme::ouvre(cible, Ouverture::lecture);
  FichierVoisin image = FichierVoisin::commence(cible);
  if (!ancienne || !image) return kPisteCible;
  Fichier ancienne_feuille;
  FichierVoisin feuille;
  if (a_feuille) {
    ancienne_feuille = plateforme::ouvre(chemin_feuille, Ouverture::lecture);
    feuille = FichierVoisin::commence(chemin_feuille);
    if (!ancienne_feuille || !feuille) return kPisteCible;
  }
  const int resultat = ecrit_video(source, ancienne, image.fichier(), plan);
  if (resultat != kPisteFaite) return resultat;
  if (a_feuille && !ecrit_feuille(ancienne_feuille, feuille.fichier(), table, plan)) return kPisteEcriture;
  if (a_feuille && !feuille.pose_en_gardant("BAC")) return kPisteCible;
  if (image.pose_en_gardant("BAK")) return kPisteFaite;
  const int erreur = errno;
  if (a_feuille)
    static_cast<void>(plateforme::renomme(avec_extension(chemin_feuille, "BAC"), chemin_feuille));
  errno = erreur;
  return kPisteCible;
}

}  // namespace

std::int64_t position_iso(const Fichier &fichier) {
  for (const std::int64_t position : {kIsoCuit, kIsoAncien, kIsoMode2, kIsoMode1})
    if (descripteur_a(fichier, position)) return position;
  return -1;
}

bool redocking_possible(const Fichier &fichier, std::int64_t position) {
  return position <= kIsoCuit || descripteur_a(fichier, kIsoMode2) || descripteur_a(fichier, kIsoMode1);
}

std::uint64_t debut_donnees(const Fichier &fichier, std::int64_t position) {
  if (position <= kIsoCuit) return 0;
  const bool mode1 = position == kIsoMode1 || (position == kIsoAncien && !descripteur_a(fichier, kIsoMode2));
  return mode1 ? kDonneesMode1 : kDonneesMode2;
}

std::int64_t redocking(const Fichier &fichier, std::uint64_t longueur, std::int64_t position) {
  const auto donnees = static_cast<std::size_t>(debut_donnees(fichier, position));
  std::vector<std::uint8_t> lot(kLotRedocking * kSecteurBrut), cuit(kLotRedocking * kSecteur);
  const std::uint64_t total = longueur / kSecteurBrut;
  operations().progression_debut(total / kLotRedocking + 1);
  for (std::uint64_t fait = 0; fait < total;) {
    const auto nombre = static_cast<std::size_t>(std::min<std::uint64_t>(kLotRedocking, total - fait));
    const auto brut = std::span(lot).first(nombre * kSecteurBrut);
    if (fichier.lire_a(brut, fait * kSecteurBrut) != static_cast<std::int64_t>(brut.size())) return -1;
    for (std::size_t i = 0; i < nombre; ++i)
      std::copy_n(brut.begin() + static_cast<std::ptrdiff_t>(i * kSecteurBrut + donnees), kSecteur,
                  cuit.begin() + static_cast<std::ptrdiff_t>(i * kSecteur));
    if (!fichier.ecrire_a(std::span(cuit).first(nombre * kSecteur), fait * kSecteur)) return -1;
    fait += nombre;
    operations().progression_pas(1);
  }
  operations().progression_fin();
  return static_cast<std::int64_t>(total * kSecteur);
}

int piste_brute(const std::string &iso, const std::string &cible, int mode, std::uint64_t longueur,
                Ecrasement ecrasement) {
  const Fichier source = plateforme::ouvre(iso, Ouverture::lecture);
  if (!source) return kPisteSource;
  const std::uint64_t nombre = quotient_haut(longueur, kSecteur);
  if (nombre + kAvantPiste > kAdressesMax) return kPisteLongue;
  if (plateforme::meme_fichier(iso, cible)) {
    errno = EEXIST;
    return kPisteCible;
  }
  FichierVoisin sortie = FichierVoisin::commence(cible);
  if (!sortie) return kPisteCible;
  operations().afficher_etat_seul(charger_chaine(kEtatHybridation));
  SortieBrute brute(sortie.fichier());
  const auto secteurs = static_cast<std::uint32_t>(nombre);
  int resultat =
      verse_image(source, secteurs, static_cast<std::uint8_t>(mode), brute, [&](std::span<std::uint8_t> d) {
        if (porte_carte(d)) fixe_carte(d, secteurs, 0);
      });
  if (resultat == kPisteFaite && !brute.vide()) resultat = kPisteEcriture;
  if (resultat == kPisteFaite && !sortie.pose(ecrasement)) resultat = kPisteCible;
  const int erreur = errno;
  operations().afficher_etat_seul("");
  errno = erreur;
  return resultat;
}

int piste_video(const std::string &iso, std::uint64_t longueur, const std::string &cible) {
  const Fichier source = plateforme::ouvre(iso, Ouverture::lecture);
  if (!source) return kPisteSource;
  std::array<std::uint8_t, kSecteur> tete{};
  if (source.lire_a(tete, 0) != static_cast<std::int64_t>(tete.size()) || !porte_carte(tete))
    return kPisteSansCarte;
  PlanVideo plan;
  SecteurBrut table{};
  {
    const Fichier video = plateforme::ouvre(cible, Ouverture::lecture);
    if (!video) return kPisteCible;
    const int examen = planifie(video, longueur, plan);
    if (examen != kPisteFaite) return examen;
    if (!lit_secteur(video, kSecteurTable, table)) return kPisteEcriture;
  }
  const int resultat = refait_video(source, cible, table, plan);
  const int erreur = errno;
  operations().afficher_etat_seul("");
  errno = erreur;
  return resultat;
}

}  // namespace varnion
