// Volume descriptors, path tables and directories of ISO 9660 (ECMA-119) and Joliet.

#include <algorithm>

#include "inspect/formes.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion::formes {

namespace {

constexpr int kTitreDescripteurJoliet = 3274;
constexpr int kTitreTableJoliet = 3330;
constexpr std::size_t kSecteurIso = 2048;
constexpr std::size_t kDebutNomChemin = 8;
constexpr std::size_t kDebutNomRepertoire = 33;
constexpr std::size_t kRepertoireMax = std::size_t{64} << 20;

constexpr DescriptionChamp kDescripteur[] = {
    {"cont_sysid", 3267, Format::octets, 8, 32},   {"cont_volid", 3268, Format::rogne, 40, 32},
    {"cont_long", 3269, Format::petit, 0x50, 4},   {"cont_lgpath", 3270, Format::petit, 0x84, 4},
    {"cont_pthtab", 3271, Format::petit, 0x8C, 4}, {"cont_pthtab2", 3272, Format::gros, 0x94, 4},
    {"cont_root", 3273, Format::petit, 0x9E, 4},
};
constexpr std::size_t kChampSysteme = 0, kChampVolume = 1;

struct BoutonIso {
  std::size_t champ;
  const char *nom;
};
constexpr BoutonIso kBoutons[] = {{4, "go_pthtab"}, {5, "go_pthtab2"}, {6, "go_root"}};

std::string nom_joliet(std::span<const std::uint8_t> octets) {
  return texte_utf16_gros(octets, 0, octets.size());
}

std::string nom_iso(std::span<const std::uint8_t> octets, bool joliet) {
  return joliet ? nom_joliet(octets) : texte_octets(octets, 0, octets.size());
}

/// Length of a path table record: 8 bytes and the name, padded to an even length (ECMA-119 9.4).
std::size_t pas_chemin(std::size_t longueur_nom) {
  const std::size_t pas = kDebutNomChemin + longueur_nom;
  return pas + pas % 2;
}

/// A table is taken for Joliet where byte 8 is 0, the upper half of a first two-byte character. The root
/// record has its one byte of 0 there in every table (ECMA-119 9.4.5), so that the test alone would call all
/// of them Joliet: the first record with a name of its own must pass it as well.
bool table_joliet(std::span<const std::uint8_t> octets) {
  const auto racine = static_cast<std::size_t>(nombre_gros(octets, 0, 1));
  const std::size_t second = pas_chemin(racine);
  return nombre_gros(octets, kDebutNomChemin, 1) == 0 && nombre_gros(octets, second, 1) != 0 &&
         nombre_gros(octets, second + kDebutNomChemin, 1) == 0;
}

/// Big-endian where byte 2, in the root's extent, is 0.
bool table_grosse(std::span<const std::uint8_t> octets) {
  return nombre_gros(octets, 2, 1) == 0;
}

/// A directory is taken for Joliet where the name of its third record begins with a zero byte.
bool repertoire_joliet(std::span<const std::uint8_t> octets) {
  const auto premier = static_cast<std::size_t>(nombre_gros(octets, 0, 1));
  const auto second = static_cast<std::size_t>(nombre_gros(octets, premier, 1));
  const std::size_t troisieme = premier + second;
  return premier != 0 && second != 0 && nombre_gros(octets, troisieme, 1) > kDebutNomRepertoire &&
         nombre_gros(octets, troisieme + kDebutNomRepertoire, 1) == 0;
}

/// A name of one byte stands for the parent (ECMA-119 6.8.2.2: the byte 1). A folder whose own name has one
/// letter shows as the parent, too. Kept as it stands.
bool montre_parent(std::size_t longueur_nom) {
  return longueur_nom == 1;
}

/// The sectors of the directory on screen, as many as its first record says.
std::vector<std::uint8_t> repertoire_entier(const ContexteAnalyse &contexte, bool &entier) {
  std::uint64_t taille = nombre_petit(contexte.secteur, 10, 4);
  if (taille == 0) taille = kSecteurIso;
  std::uint64_t present = contexte.secteur.size();
  if (contexte.source != nullptr && contexte.numero >= 0 &&
      contexte.numero <= contexte.source->dernier_secteur()) {
    const std::uint64_t debut = static_cast<std::uint64_t>(contexte.numero) * contexte.taille_secteur;
    present = std::max(present, contexte.source->longueur() - debut);
  }
  const std::uint64_t lu = std::min({taille, present, std::uint64_t{kRepertoireMax}});
  entier = lu == taille;
  return octets_depuis(contexte, static_cast<std::size_t>(lu));
}

/// One record of a directory; nothing is added for the one of the directory itself.
void ajoute_fiche(std::span<const std::uint8_t> fiche, bool joliet, std::uint64_t ici,
                  const ContexteAnalyse &contexte, std::vector<Ligne> &lignes) {
  const std::uint64_t extent = nombre_petit(fiche, 2, 4);
  if (extent == ici) return;
  const auto annonce = static_cast<std::size_t>(nombre_gros(fiche, 32, 1));
  const std::size_t place = fiche.size() > kDebutNomRepertoire ? fiche.size() - kDebutNomRepertoire : 0;
  const std::size_t longueur = std::min(annonce, place);
  const std::string nom = montre_parent(annonce)
                              ? charger_chaine(3283)
                              : nom_iso(longueur == 0 ? std::span<const std::uint8_t>()
                                                      : fiche.subspan(kDebutNomRepertoire, longueur),
                                        joliet);
  lignes.push_back({{nom, std::to_string(nombre_petit(fiche, 10, 4)), std::to_string(extent)},
                    cible_iso(contexte, extent)});
}

}  // namespace

void descripteur_iso(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  std::vector<Champ> &champs = page(fiche).champs;
  champs = lit_champs(kDescripteur, contexte.secteur);
  if (nombre_gros(contexte.secteur, 0, 1) == 2) {
    fiche.titre = charger_chaine(kTitreDescripteurJoliet);
    champs[kChampSysteme].valeur = texte_utf16_gros(contexte.secteur, 8, 32);
    champs[kChampVolume].valeur = std::string(sans_blancs_fin(texte_utf16_gros(contexte.secteur, 40, 32)));
  }
  for (const BoutonIso &b : kBoutons) {
    const DescriptionChamp &d = kDescripteur[b.champ];
    const std::uint64_t nombre = d.format == Format::gros ? nombre_gros(contexte.secteur, d.place, 4)
                                                          : nombre_petit(contexte.secteur, d.place, 4);
    champs[b.champ].bouton = bouton_aller(b.nom, cible_iso(contexte, nombre));
  }
}

void table_chemins(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  Onglet &liste = page(fiche);
  liste.colonnes = {3282, 3283, 3284};
  const std::vector<std::uint8_t> octets = octets_depuis(contexte, kSecteurIso);
  const bool joliet = table_joliet(octets);
  const auto nombre = table_grosse(octets) ? nombre_gros : nombre_petit;
  if (joliet) fiche.titre = charger_chaine(kTitreTableJoliet);
  for (std::size_t place = 0; place + kDebutNomChemin <= octets.size();) {
    const auto longueur = static_cast<std::size_t>(octets[place]);
    if (longueur == 0) break;
    const std::size_t debut = place + kDebutNomChemin;
    const auto brut = std::span(octets).subspan(debut, std::min(longueur, octets.size() - debut));
    const std::uint64_t extent = nombre(octets, place + 2, 4);
    const std::string nom = liste.lignes.empty() ? charger_chaine(3285) : nom_iso(brut, joliet);
    liste.lignes.push_back({{nom, std::to_string(nombre(octets, place + 6, 2)), std::to_string(extent)},
                            cible_iso(contexte, extent)});
    place += pas_chemin(longueur);
  }
}

void repertoire(const ContexteAnalyse &contexte, FicheAnalyse &fiche) {
  Onglet &liste = page(fiche);
  liste.colonnes = {3278, 3279, 3280};
  const std::vector<std::uint8_t> octets = repertoire_entier(contexte, fiche.entiere);
  const bool joliet = repertoire_joliet(octets);
  if (joliet) fiche.titre = charger_chaine(kTitreTableJoliet);
  const std::uint64_t ici =
      static_cast<std::uint64_t>(contexte.numero) / (contexte.taille_secteur == 512 ? 4 : 1);
  for (std::size_t place = 0; place < octets.size();) {
    const std::size_t longueur = octets[place];
    // What is shorter than any record ends the sector as a length of 0 does: were it stepped over, a damaged
    // directory would have a row for each of its bytes.
    if (longueur <= kDebutNomRepertoire) {
      fiche.entiere &= longueur == 0;
      place = (place / kSecteurIso + 1) * kSecteurIso;
      continue;
    }
    const auto reste = std::span(octets).subspan(place);
    ajoute_fiche(reste.first(std::min(longueur, reste.size())), joliet, ici, contexte, liste.lignes);
    place += longueur;
  }
}

}  // namespace varnion::formes
