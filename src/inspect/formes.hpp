#pragma once

#include "inspect/analyse.hpp"

// One function for each form, for the sources of this folder: they fill what the form shows.

namespace varnion::formes {

void hfsplus(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void mdb(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void pilotes(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void partition(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void tetes_mac(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void entete_arbre(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void feuille(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void index(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void descripteur_iso(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void table_chemins(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void repertoire(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void mbr(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void fat(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void gpt(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void partitions_gpt(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void macbinaire(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void applesingle(const ContexteAnalyse &contexte, FicheAnalyse &fiche);
void appledouble(const ContexteAnalyse &contexte, FicheAnalyse &fiche);

/// The only tab of a form that shows none, made at first use.
[[nodiscard]] Onglet &page(FicheAnalyse &fiche);
/// A new tab with a title of the string table.
Onglet &onglet(FicheAnalyse &fiche, const char *nom, int titre);
/// `taille` bytes from the sector on screen on: the sector itself, then what follows in the source; zeros
/// where there is nothing.
[[nodiscard]] std::vector<std::uint8_t> octets_depuis(const ContexteAnalyse &contexte, std::size_t taille);

}  // namespace varnion::formes
