#include "app/qt/catalogue.hpp"

#include "fichiers/mode_copie.hpp"
#include "projet/format.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

using C = Condition;
using O = Operation;
using L = LieuCommandes;
constexpr unsigned P = kDansProjet;
constexpr unsigned V = kDansPartition;
constexpr unsigned I = kDansIsop;
constexpr unsigned PI = kDansProjets;
constexpr unsigned T = kPartout;

constexpr ConteneurCommandes kConteneurs[] = {
    {"Projets1", L::menu, 2000, 2200, P},       {"Partitions1", L::menu, 2015, 2215, V},
    {"IsoPlus1", L::menu, 2030, 2230, I},       {"Fichiers", L::menu, 2045, 2245, T},
    {"Special1", L::menu, 2060, 2260, T},       {"Options1", L::menu, 2080, 2280, T},
    {"Aide1", L::menu, 2100, 2300, T},          {"BarreProj", L::outils, 0, 0, P},
    {"BarrePart", L::outils, 0, 0, V},          {"BarreIso", L::outils, 0, 0, I},
    {"PopProj", L::contextuel_liste, 0, 0, P},  {"PopPart", L::contextuel_liste, 0, 0, V},
    {"PopIsop", L::contextuel_liste, 0, 0, I},  {"TPopProj", L::contextuel_arbre, 0, 0, P},
    {"TPopPart", L::contextuel_arbre, 0, 0, V}, {"TPopIsop", L::contextuel_arbre, 0, 0, I},
};

// clang-format off: one command a line
constexpr Commande kCommandes[] = {
    // --- Project
    {"Nouveau1", "Projets1", 2001, 2201, "", P, C::toujours, O::nouveau},
    {"Ouvrir1", "Projets1", 2002, 2202, "", P, C::toujours, O::ouvrir, 0, "ouvrir"},
    {"Enregistrer1", "Projets1", 2003, 2203, "Ctrl+S", P, C::document_nomme, O::enregistrer},
    {"EnregistrerAs1", "Projets1", 2004, 2204, "", P, C::document, O::enregistrer_sous},
    {"Fermer1", "Projets1", 2007, 2207, "", P, C::document, O::fermer},
    {"Info1", "Projets1", 2009, 2209, "", P, C::document, O::proprietes_document},
    {"Label", "Projets1", 2010, 2210, "", P, C::document, O::etiquette},
    {"Compil1", "Projets1", 2005, 2205, "", P, C::document, O::compiler, 0, "compiler"},
    {"Reop1", "Projets1", 2008, 2208, "", P, C::recent, O::sous_menu, 0, "", true},
    {"R11", "Reop1", 0, 2208, "", P, C::recent, O::recent, 0},
    {"R12", "Reop1", 0, 2208, "", P, C::recent, O::recent, 1},
    {"R13", "Reop1", 0, 2208, "", P, C::recent, O::recent, 2},
    {"R14", "Reop1", 0, 2208, "", P, C::recent, O::recent, 3},
    {"R15", "Reop1", 0, 2208, "", P, C::recent, O::recent, 4},
    {"P1", "Projets1", 2011, 0, "Ctrl+P", P, C::document, O::imprimer},
    {"Quitter1", "Projets1", 2006, 2206, "", P, C::toujours, O::quitter, 0, "", true},

    // --- Partition
    {"Nouvelle1", "Partitions1", 2016, 2216, "", V, C::toujours, O::nouvelle_image},
    {"Ouvrir2", "Partitions1", 2017, 2217, "", V, C::toujours, O::ouvrir, 0, "ouvrir"},
    {"Enr2", "Partitions1", 2018, 2218, "Ctrl+S", V, C::document_ecriture, O::enregistrer_volume},
    {"EnrAs2", "Partitions1", 2019, 2219, "", V, C::document_copiable, O::enregistrer_volume_sous},
    {"Fermer2", "Partitions1", 2024, 2224, "", V, C::document, O::fermer},
    {"PropVol1", "Partitions1", 2023, 2223, "", V, C::document, O::proprietes_document},
    {"AffImage", "Partitions1", 7222, 7223, "", V, C::document, O::afficher_image},
    {"Hybrid1", "Partitions1", 2020, 2220, "", V, C::hybridation, O::hybrider},
    {"Reop2", "Partitions1", 2025, 2225, "", V, C::recent, O::sous_menu, 0, "", true},
    {"R21", "Reop2", 0, 2225, "", V, C::recent, O::recent, 0},
    {"R22", "Reop2", 0, 2225, "", V, C::recent, O::recent, 1},
    {"R23", "Reop2", 0, 2225, "", V, C::recent, O::recent, 2},
    {"R24", "Reop2", 0, 2225, "", V, C::recent, O::recent, 3},
    {"R25", "Reop2", 0, 2225, "", V, C::recent, O::recent, 4},
    {"P2", "Partitions1", 2026, 0, "Ctrl+P", V, C::document, O::imprimer},
    {"Q21", "Partitions1", 2006, 2206, "", V, C::toujours, O::quitter, 0, "", true},

    // --- ISO+
    {"No1", "IsoPlus1", 2031, 2231, "", I, C::toujours, O::nouveau},
    {"Ou1", "IsoPlus1", 2032, 2232, "", I, C::toujours, O::ouvrir, 0, "ouvrir"},
    {"En1", "IsoPlus1", 2033, 2233, "Ctrl+S", I, C::document_nomme, O::enregistrer},
    {"Sa1", "IsoPlus1", 2034, 2234, "", I, C::document, O::enregistrer_sous},
    {"Fe1", "IsoPlus1", 2035, 2235, "", I, C::document, O::fermer},
    {"In1", "IsoPlus1", 2037, 2237, "", I, C::document, O::proprietes_document},
    {"La1", "IsoPlus1", 2038, 2238, "", I, C::document, O::etiquette},
    {"CompISOP", "IsoPlus1", 2036, 2236, "", I, C::document, O::compiler, 0, "compiler"},
    {"Re1", "IsoPlus1", 2039, 2239, "", I, C::recent, O::sous_menu, 0, "", true},
    {"R31", "Re1", 0, 2239, "", I, C::recent, O::recent, 0},
    {"R32", "Re1", 0, 2239, "", I, C::recent, O::recent, 1},
    {"R33", "Re1", 0, 2239, "", I, C::recent, O::recent, 2},
    {"R34", "Re1", 0, 2239, "", I, C::recent, O::recent, 3},
    {"R35", "Re1", 0, 2239, "", I, C::recent, O::recent, 4},
    {"P3", "IsoPlus1", 2041, 0, "Ctrl+P", I, C::document, O::imprimer},
    {"Qu1", "IsoPlus1", 2040, 2240, "", I, C::toujours, O::quitter, 0, "", true},

    // --- File
    {"MPC1", "Fichiers", 2049, 2249, "", V, C::selection, O::copier_vers_pc, 0, "vers_pc"},
    {"PCM1", "Fichiers", 2050, 2250, "", V, C::document_ecriture, O::copier_vers_mac, 0, "vers_mac"},
    {"DrExpl", "Fichiers", 2055, 2255, "Ctrl+V", T, C::collage, O::coller},
    {"Supp1", "Fichiers", 2046, 2246, "Del", T, C::selection_ecriture, O::supprimer},
    {"Ren1", "Fichiers", 2047, 2247, "", T, C::selection_ecriture, O::renommer},
    {"MD", "Fichiers", 2051, 2251, "Ctrl+N", T, C::creation_menu, O::creer_dossier},
    {"Aff1", "Fichiers", 2052, 2252, "", V, C::selection, O::afficher_contenu},
    {"Prop1", "Fichiers", 2048, 2248, "", T, C::selection, O::proprietes},
    {"Rech1", "Fichiers", 2054, 2254, "", T, C::document, O::rechercher},
    {"RSig", "Fichiers", 2059, 2259, "", PI, C::document, O::remplacer_signatures},
    {"SignGen", "Fichiers", 7156, 7157, "", V, C::document_ecriture, O::signatures_generiques},
    {"SAll", "Fichiers", 2057, 2257, "Ctrl+A", T, C::toujours, O::tout_selectionner, 0, "", true},
    {"Inv", "Fichiers", 2058, 2258, "", T, C::toujours, O::inverser},

    // --- Special
    {"Refr", "Special1", 2064, 2264, "", PI, C::document, O::comparer},
    {"Clean1", "Special1", 2063, 2263, "", PI, C::document, O::reconstruire},
    {"DelExt", "Special1", 2066, 2266, "", P, C::document, O::masquer_extensions},
    {"Path1", "Special1", 2068, 2268, "", PI, C::document, O::changer_chemin},
    {"Explo1", "Special1", 2084, 2284, "", T, C::toujours, O::explorateur},
    {"Sign1", "Special1", 2086, 2286, "", T, C::toujours, O::editer_signatures},
    {"EdIcon", "Special1", 2069, 2269, "", T, C::toujours, O::composer_icones},
    {"RFT", "Special1", 2065, 2265, "", T, C::toujours, O::enregistrer_types},
    {"Desh1", "Special1", 2071, 2271, "", V, C::toujours, O::deshybrider},
    {"dsstor", "Special1", 2072, 2272, "", P, C::document, O::creer_ds_store},

    // --- Options
    {"Proj1", "Options1", 2081, 2281, "", T, C::toujours, O::sous_menu},
    {"ModeProj1", "Proj1", 1274, 2281, "", T, C::toujours, O::choisir_mode, 0},
    {"ModePart1", "Proj1", 1275, 2281, "", T, C::toujours, O::choisir_mode, 1},
    {"ModeIsop1", "Proj1", 1276, 2281, "", T, C::toujours, O::choisir_mode, 2},
    {"ChangementMode", "", 0, 0, "Ctrl+M", T, C::toujours, O::mode_suivant},
    {"Maff1", "Options1", 2082, 2282, "", P, C::toujours, O::sous_menu},
    {"VI1", "Maff1", 1270, 2282, "", P, C::toujours, O::choisir_vue, kVueIso, "vue_iso"},
    {"VH1", "Maff1", 1271, 2282, "", P, C::toujours, O::choisir_vue, kVueRacine, "vue_hybride"},
    {"VM1", "Maff1", 1272, 2282, "", P, C::toujours, O::choisir_vue, kVueHfs, "vue_hfs"},
    {"CachBarre", "Options1", 2092, 2292, "", T, C::toujours, O::barre_outils},
    {"Mod", "Options1", 2087, 2287, "", V, C::toujours, O::sous_menu, 0, "", true},
    {"Da", "Mod", 2110, 2287, "", V, C::toujours, O::choisir_copie, kCopieData},
    {"Re", "Mod", 2111, 2287, "", V, C::toujours, O::choisir_copie, kCopieRessource},
    {"Bo", "Mod", 2112, 2287, "", V, C::toujours, O::choisir_copie, kCopieMacBinaire},
    {"Ad", "Mod", 2113, 2287, "", V, C::toujours, O::choisir_copie, kCopieAppleDouble},
    {"As", "Mod", 2114, 2287, "", V, C::toujours, O::choisir_copie, kCopieAppleSingle},
    {"SW1", "Options1", 2088, 2288, "", V, C::selection, O::permuter},
    {"Langue1", "Options1", 2083, 2283, "", T, C::toujours, O::sous_menu, 0, "", true},
    {"En2", "Langue1", 1267, 2283, "", T, C::toujours, O::choisir_langue, kLangueAnglais},
    {"Fr1", "Langue1", 1268, 2283, "", T, C::toujours, O::choisir_langue, kLangueFrancais},
    {"Log1", "Options1", 2089, 2289, "", T, C::toujours, O::journal},
    {"Registre1", "Options1", 2085, 2285, "", T, C::toujours, O::table_signatures},
    {"Col", "Options1", 2090, 2290, "", T, C::toujours, O::colonnes},
    {"Pref1", "Options1", 2091, 2291, "", T, C::toujours, O::preferences},

    // --- Help
    {"AideUtil1", "Aide1", 2103, 2303, "F1", T, C::toujours, O::aide, 1099, "aide"},
    {"HH1", "Aide1", 2102, 2302, "", T, C::toujours, O::aide, 1098},
    {"HS", "Aide1", 2106, 2309, "", T, C::toujours, O::aide_recherche},
    {"HI", "Aide1", 2105, 2305, "", T, C::toujours, O::aide_index},
    {"WH1", "Aide1", 2104, 2304, "", T, C::toujours, O::aide_support},
    {"Aproposde1", "Aide1", 2101, 0, "", T, C::toujours, O::a_propos},

    // --- tool bar of Project Mode
    {"OuvProj", "BarreProj", 7000, 7011, "", P, C::toujours, O::ouvrir, 0, "ouvrir"},
    {"CompProj", "BarreProj", 7008, 7012, "", P, C::document, O::compiler, 0, "compiler"},
    {"MkDirProj", "BarreProj", 7005, 2320, "", P, C::document, O::creer_dossier, 0, "nouveau_dossier"},
    {"DelProj", "BarreProj", 7006, 2313, "", P, C::suppression_bouton, O::supprimer, 0, "supprimer"},
    {"RechProj", "BarreProj", 7007, 2312, "", P, C::document, O::rechercher, 0, "rechercher"},
    {"PereProj", "BarreProj", 7001, 2314, "", P, C::hors_racine, O::dossier_pere, 0, "pere"},
    {"ModeVue", "BarreProj", 7002, 2317, "", P, C::toujours, O::vue_suivante, 0, "vue_hybride", true},
    {"HelpProj", "BarreProj", 7009, 2315, "", P, C::toujours, O::aide, 1099, "aide"},
    {"WizProj", "BarreProj", 7010, 2321, "", P, C::toujours, O::aide, 1991, "assistant"},

    // --- tool bar of Partition Mode
    {"OuvPart", "BarrePart", 7000, 7011, "", V, C::toujours, O::ouvrir, 0, "ouvrir"},
    {"Mac2PC", "BarrePart", 7003, 2310, "", V, C::selection_liste, O::copier_vers_pc, 0, "vers_pc"},
    {"PC2Mac", "BarrePart", 7004, 2311, "", V, C::document_ecriture, O::copier_vers_mac, 0, "vers_mac"},
    {"MkDirPart", "BarrePart", 7005, 2320, "", V, C::document_ecriture, O::creer_dossier, 0,
     "nouveau_dossier"},
    {"DelPart", "BarrePart", 7006, 2313, "", V, C::suppression_bouton, O::supprimer, 0, "supprimer"},
    {"RechPart", "BarrePart", 7007, 2312, "", V, C::document, O::rechercher, 0, "rechercher"},
    {"PerePart", "BarrePart", 7001, 2314, "", V, C::hors_racine, O::dossier_pere, 0, "pere"},
    {"HelpPart", "BarrePart", 7009, 2315, "", V, C::toujours, O::aide, 1099, "aide"},
    {"WizPart", "BarrePart", 7010, 2321, "", V, C::toujours, O::aide, 1992, "assistant"},

    // --- tool bar of ISO+ Mode
    {"OuvIso", "BarreIso", 7000, 7011, "", I, C::toujours, O::ouvrir, 0, "ouvrir"},
    {"CompIso", "BarreIso", 7008, 7012, "", I, C::document, O::compiler, 0, "compiler"},
    {"MkDirIso", "BarreIso", 7005, 2320, "", I, C::document, O::creer_dossier, 0, "nouveau_dossier"},
    {"DelIso", "BarreIso", 7006, 2313, "", I, C::suppression_bouton, O::supprimer, 0, "supprimer"},
    {"RechIso", "BarreIso", 7007, 2312, "", I, C::document, O::rechercher, 0, "rechercher"},
    {"PereIso", "BarreIso", 7001, 2314, "", I, C::hors_racine, O::dossier_pere, 0, "pere"},
    {"HelpIso", "BarreIso", 7009, 2315, "", I, C::toujours, O::aide, 1099, "aide"},
    {"WizIso", "BarreIso", 7010, 2321, "", I, C::toujours, O::aide, 1993, "assistant"},

    // --- popups of the list
    {"PopSup", "PopProj", 2046, 2246, "", P, C::selection_liste, O::supprimer},
    {"PopRen", "PopProj", 2047, 2247, "", P, C::selection_liste, O::renommer},
    {"PopProp", "PopProj", 2053, 2253, "", P, C::selection_liste, O::proprietes},
    {"DrProj", "PopProj", 2055, 2255, "", P, C::collage_menu, O::coller},
    {"MdProj1", "PopProj", 2051, 2251, "", P, C::document, O::creer_dossier},
    {"CPC1", "PopPart", 2049, 2249, "", V, C::selection_liste, O::copier_vers_pc, 0, "vers_pc"},
    {"SuppPart", "PopPart", 2046, 2246, "", V, C::selection_liste, O::supprimer},
    {"RenPart", "PopPart", 2047, 2247, "", V, C::selection_liste, O::renommer},
    {"AffPart", "PopPart", 2052, 2252, "", V, C::selection_liste, O::afficher_contenu},
    {"AttrPart", "PopPart", 2053, 2253, "", V, C::selection_liste, O::proprietes},
    {"DrPart", "PopPart", 2055, 2255, "", V, C::collage_menu, O::coller},
    {"MdPart1", "PopPart", 2051, 2251, "", V, C::document, O::creer_dossier},
    {"Isup1", "PopIsop", 2046, 2246, "", I, C::selection_liste, O::supprimer},
    {"Iren1", "PopIsop", 2047, 2247, "", I, C::selection_liste, O::renommer},
    {"Iprop1", "PopIsop", 2053, 2253, "", I, C::selection_liste, O::proprietes},
    {"DrIso", "PopIsop", 2055, 2255, "", I, C::collage_menu, O::coller},
    {"MdIsop1", "PopIsop", 2051, 2251, "", I, C::document, O::creer_dossier},

    // --- popups of the tree
    {"TPopSup", "TPopProj", 2046, 2246, "", P, C::suppression_arbre, O::supprimer},
    {"TPopRen", "TPopProj", 2047, 2247, "", P, C::selection_arbre, O::renommer},
    {"TPopProp", "TPopProj", 2053, 2253, "", P, C::selection_arbre, O::proprietes},
    {"TDrProj", "TPopProj", 2055, 2255, "", P, C::collage_menu, O::coller},
    {"TCPC1", "TPopPart", 2049, 2249, "", V, C::selection_arbre, O::copier_vers_pc, 0, "vers_pc"},
    {"TSuppPart", "TPopPart", 2046, 2246, "", V, C::selection_arbre, O::supprimer},
    {"TRenPart", "TPopPart", 2047, 2247, "", V, C::selection_arbre, O::renommer},
    {"TAttrPart", "TPopPart", 2053, 2253, "", V, C::selection_arbre, O::proprietes},
    {"TDrPart", "TPopPart", 2055, 2255, "", V, C::collage_menu, O::coller},
    {"TIsup1", "TPopIsop", 2046, 2246, "", I, C::suppression_arbre, O::supprimer},
    {"TIren1", "TPopIsop", 2047, 2247, "", I, C::selection_arbre, O::renommer},
    {"TIprop1", "TPopIsop", 2053, 2253, "", I, C::selection_arbre, O::proprietes},
    {"TDrIso", "TPopIsop", 2055, 2255, "", I, C::collage_menu, O::coller},

    // --- keys alone
    {"F5", "", 0, 0, "F5", T, C::toujours, O::actualiser},
};
// clang-format on

}  // namespace

std::span<const ConteneurCommandes> conteneurs_commandes() {
  return kConteneurs;
}

std::span<const Commande> commandes() {
  return kCommandes;
}

const Commande *commande_nommee(std::string_view nom) {
  for (const Commande &commande : kCommandes)
    if (nom == commande.nom) return &commande;
  return nullptr;
}

bool permise(Condition condition, const EtatCommandes &etat) {
  const bool ecriture = etat.document && !etat.lecture_seule;
  const bool selection = etat.selection_arbre || etat.selection_liste;
  switch (condition) {
    case C::toujours:
      return true;
    case C::document:
      return etat.document;
    case C::document_nomme:
      return etat.document && etat.nomme;
    case C::document_ecriture:
    case C::creation_menu:
      return ecriture;
    case C::document_copiable:
      return ecriture || (etat.document && etat.copie);
    case C::hybridation:
      return etat.document && etat.hybridation;
    case C::selection:
      return etat.document && selection;
    case C::selection_ecriture:
      return ecriture && selection;
    case C::selection_liste:
      return etat.document && etat.selection_liste;
    case C::selection_arbre:
      return etat.document && etat.selection_arbre;
    case C::suppression_arbre:
      return etat.document && etat.selection_arbre && !etat.noeud_racine;
    case C::suppression_bouton:
      return ecriture && (etat.selection_liste || (etat.selection_arbre && !etat.noeud_racine));
    case C::collage:
      return ecriture && etat.presse_papiers;
    case C::collage_menu:
      return etat.document && etat.presse_papiers;
    case C::hors_racine:
      return etat.document && !etat.dossier_racine;
    case C::recent:
      return etat.recents;
  }
  return false;
}

bool exige_ecriture(Condition condition) {
  EtatCommandes etat;
  etat.document = etat.nomme = etat.hybridation = etat.recents = true;
  etat.selection_arbre = etat.selection_liste = etat.presse_papiers = true;
  etat.dossier_racine = false;
  if (!permise(condition, etat)) return false;
  etat.lecture_seule = etat.copie = true;
  return !permise(condition, etat);
}

}  // namespace varnion
