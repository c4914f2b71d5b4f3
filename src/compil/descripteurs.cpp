#include "compil/descripteurs.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>

#include "compil/repertoires.hpp"
#include "IO/ecarts.hpp"
#include "IO/octets.hpp"
#include "IO/plateforme.hpp"
#include "noms/iso.hpp"

namespace varnion {

namespace {

template <std::size_t N>
using Octets = std::array<std::uint8_t, N>;

/// Date and time in digits (ECMA-119 8.4.26.1).
struct DateDescripteur {
  Octets<16> chiffres;
  std::uint8_t fuseau = 0;
};

/// Primary and supplementary volume descriptor (ECMA-119 8.4 and 8.5).
struct Descripteur {
  std::uint8_t type;                          // 0
  Octets<5> identifiant;                      // 1
  std::uint8_t version;                       // 6
  std::uint8_t drapeaux;                      // 7
  Octets<32> systeme;                         // 8
  Octets<32> volume;                          // 40
  Octets<8> reserve1;                         // 72
  DoubleOrdre<std::uint32_t> taille_volume;   // 80
  Octets<32> echappement;                     // 88
  DoubleOrdre<std::uint16_t> taille_jeu;      // 120
  DoubleOrdre<std::uint16_t> sequence;        // 124
  DoubleOrdre<std::uint16_t> taille_bloc;     // 128
  DoubleOrdre<std::uint32_t> taille_chemins;  // 132
  le32 chemins_l;                             // 140
  le32 chemins_l_option;                      // 144
  be32 chemins_m;                             // 148
  be32 chemins_m_option;                      // 152
  FicheRepertoire racine;                     // 156
  std::uint8_t nom_racine;                    // 189
  Octets<128> jeu;                            // 190
  Octets<128> editeur;                        // 318
  Octets<128> preparateur;                    // 446
  Octets<128> application;                    // 574
  Octets<37> copyright;                       // 702
  Octets<37> resume;                          // 739
  Octets<37> biblio;                          // 776
  DateDescripteur creation;                   // 813
  DateDescripteur modification;               // 830
  DateDescripteur expiration;                 // 847
  DateDescripteur effet;                      // 864
  std::uint8_t version_structure;             // 881
  Octets<1166> reste;                         // 882
};
static_assert(sizeof(Descripteur) == kSecteurIso && offsetof(Descripteur, racine) == 156 &&
              offsetof(Descripteur, jeu) == 190 && offsetof(Descripteur, creation) == 813);

constexpr std::size_t kLabelClassique = 12;  ///< characters of the volume identifier; the field holds 32
constexpr std::size_t kLabelJoliet = 16;
constexpr std::size_t kNomFichierDescripteur = 12;

template <std::size_t N>
void pose(Octets<N> &champ, std::string_view texte) {
  std::copy_n(texte.begin(), std::min(texte.size(), N), champ.begin());
}

template <std::size_t N>
void pose_d(Octets<N> &champ, std::string_view texte) {
  pose(champ, champ_d(texte, N));
}

/// A file identifier: upper case without accents, all else as it is.
template <std::size_t N>
void pose_fichier(Octets<N> &champ, std::string_view texte) {
  champ.fill(' ');
  std::string nom;
  for (const char c : texte) {
    const std::string d = nom_d(std::string_view(&c, 1));
    nom += d == "_" || d.empty() ? std::string(1, c) : d;
  }
  pose(champ, std::string_view(nom).substr(0, kNomFichierDescripteur));
}

template <std::size_t N>
void pose_ucs2(Octets<N> &champ, std::string_view texte, std::size_t limite = N / 2) {
  const auto octets = champ_ucs2(plateforme::texte_vers_large(texte.substr(0, limite)), N);
  std::copy_n(octets.begin(), std::min(octets.size(), N), champ.begin());
}

/// In universal time. Under the classic rule minutes and seconds stay zero.
DateDescripteur date_heure(std::int64_t secondes) {
  const auto d = plateforme::date_utc(secondes);
  const bool entiere = publie(Ecart::annees_iso);
  std::array<char, 40> texte{};
  std::snprintf(texte.data(), texte.size(), "%04d%02d%02d%02d%02d%02d00", d.annee % 10000, d.mois, d.jour,
                d.heure, entiere ? d.minute : 0, entiere ? d.seconde : 0);
  DateDescripteur date{};
  pose(date.chiffres, std::string_view(texte.data(), 16));
  return date;
}

DateDescripteur date_absente() {
  DateDescripteur date{};
  date.chiffres.fill('0');
  return date;
}

SecteurDescripteur en_secteur(const Descripteur &d) {
  SecteurDescripteur secteur;
  std::memcpy(secteur.data(), &d, sizeof d);
  return secteur;
}

FicheRepertoire fiche_racine(std::uint32_t extent) {
  FicheRepertoire fiche;
  fiche.longueur = 34;
  fiche.extent = extent;
  fiche.taille = kSecteurIso;
  fiche.date = date_repertoire(plateforme::maintenant());
  fiche.drapeaux = kDrapeauDossier;
  fiche.longueur_nom = 1;
  return fiche;
}

}  // namespace

std::string signature_produit() {
  return "Varnion - " VARNION_VERSION;
}

SecteurDescripteur descripteur_primaire(const EnteteProjet &entete, const PlanIso &plan,
                                        const std::string &label) {
  Descripteur d{};
  d.type = 1;
  pose(d.identifiant, "CD001");
  d.version = 1;
  const std::string systeme = lit_champ(entete.id_systeme);
  d.systeme.fill(' ');
  if (systeme.empty()) {
    pose(d.systeme, signature_produit());
  } else {
    pose_d(d.systeme, systeme);
  }
  d.volume.fill(' ');
  pose(d.volume, nom_d(label).substr(0, publie(Ecart::labels_longs) ? d.volume.size() : kLabelClassique));
  d.taille_volume = static_cast<std::uint32_t>(plan.taille_volume);
  d.taille_jeu = std::uint16_t{1};
  d.sequence = std::uint16_t{1};
  d.taille_bloc = static_cast<std::uint16_t>(kSecteurIso);
  d.chemins_l = plan.chemins_iso_l;
  d.chemins_m = plan.chemins_iso_m;
  d.racine = fiche_racine(plan.racine_iso);
  for (auto *champ : {&d.jeu, &d.editeur, &d.preparateur, &d.application}) champ->fill(' ');
  for (auto *champ : {&d.copyright, &d.resume, &d.biblio}) champ->fill(' ');
  // An empty System field gates all the others: they stay blank whatever the project holds.
  if (!systeme.empty()) {
    pose_d(d.jeu, lit_champ(entete.id_jeu_volumes));
    pose_d(d.editeur, lit_champ(entete.id_editeur));
    pose_d(d.preparateur, lit_champ(entete.id_preparateur));
    pose_d(d.application, lit_champ(entete.id_application));
    pose_fichier(d.copyright, lit_champ(entete.fichier_copyright));
    pose_fichier(d.resume, lit_champ(entete.fichier_resume));
    pose_fichier(d.biblio, lit_champ(entete.fichier_biblio));
  }
  d.creation = date_heure(plateforme::maintenant());
  d.modification = d.expiration = d.effet = date_absente();
  d.version_structure = 1;
  return en_secteur(d);
}

SecteurDescripteur descripteur_joliet(const SecteurDescripteur &primaire, const EnteteProjet &entete,
                                      const PlanIso &plan, const std::string &label) {
  Descripteur d;
  std::memcpy(&d, primaire.data(), sizeof d);
  d.type = 2;
  const std::string systeme = lit_champ(entete.id_systeme);
  pose_ucs2(d.systeme, systeme.empty() ? std::string("Varnion") : systeme);
  pose_ucs2(d.volume, label, kLabelJoliet);
  pose(d.echappement, "%/@");
  d.chemins_l = plan.chemins_joliet_l;
  d.chemins_m = plan.chemins_joliet_m;
  d.racine = fiche_racine(plan.racine_joliet);
  // Only the four long identifiers are made anew: the three of files behind them stay as the primary
  // descriptor has them, in 8-bit characters.
  for (auto *champ : {&d.jeu, &d.editeur, &d.preparateur, &d.application}) champ->fill(0);
  if (!systeme.empty()) {
    pose_ucs2(d.jeu, lit_champ(entete.id_jeu_volumes));
    pose_ucs2(d.editeur, lit_champ(entete.id_editeur));
    pose_ucs2(d.preparateur, lit_champ(entete.id_preparateur));
    pose_ucs2(d.application, lit_champ(entete.id_application));
  }
  return en_secteur(d);
}

SecteurDescripteur descripteur_fin() {
  Descripteur d{};
  d.racine.sequence = std::uint16_t{0};
  d.type = 255;
  pose(d.identifiant, "CD001");
  d.version = 1;
  return en_secteur(d);
}

void termine_descripteur(SecteurDescripteur &descripteur, std::uint32_t taille_racine,
                         std::uint32_t taille_chemins, std::uint32_t taille_volume) {
  auto *d = vue_modifiable<Descripteur>(descripteur, 0);
  d->racine.taille = taille_racine;
  d->taille_chemins = taille_chemins;
  d->taille_volume = taille_volume;
}

}  // namespace varnion
