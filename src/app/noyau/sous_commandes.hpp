#pragma once

#include <span>
#include <string>
#include <string_view>

#include "app/noyau/ligne_commande.hpp"

namespace varnion {

/// One readable command: "compile", "project add". Its texts are strings of the table.
struct SousCommande {
  std::string_view groupe;  ///< first word where there are two
  std::string_view nom;
  std::size_t positions_min;
  std::size_t positions_max;
  std::span<const OptionCli> options;
  int (*execute)(ContexteCli &);
  int synopsis;
  int resume;

  [[nodiscard]] std::string mots() const;
};

/// All of them, in the order of the help text.
[[nodiscard]] std::span<const SousCommande> sous_commandes();

// The work of each, an exit status. A position is there as the row says.
[[nodiscard]] int commande_projet_new(ContexteCli &contexte);
[[nodiscard]] int commande_projet_add(ContexteCli &contexte);
[[nodiscard]] int commande_projet_mkdir(ContexteCli &contexte);
[[nodiscard]] int commande_projet_label(ContexteCli &contexte);
[[nodiscard]] int commande_projet_ls(ContexteCli &contexte);
[[nodiscard]] int commande_projet_info(ContexteCli &contexte);
[[nodiscard]] int commande_projet_options(ContexteCli &contexte);
[[nodiscard]] int commande_projet_rm(ContexteCli &contexte);
[[nodiscard]] int commande_projet_rename(ContexteCli &contexte);
[[nodiscard]] int commande_projet_set(ContexteCli &contexte);
[[nodiscard]] int commande_projet_refresh(ContexteCli &contexte);
[[nodiscard]] int commande_projet_rebuild(ContexteCli &contexte);
[[nodiscard]] int commande_projet_move_path(ContexteCli &contexte);
[[nodiscard]] int commande_compile(ContexteCli &contexte);
[[nodiscard]] int commande_master(ContexteCli &contexte);
[[nodiscard]] int commande_unpack(ContexteCli &contexte);
[[nodiscard]] int commande_hybrid(ContexteCli &contexte);
[[nodiscard]] int commande_dehybrid(ContexteCli &contexte);
[[nodiscard]] int commande_track_raw(ContexteCli &contexte);
[[nodiscard]] int commande_track_video(ContexteCli &contexte);
[[nodiscard]] int commande_info(ContexteCli &contexte);
[[nodiscard]] int commande_ls(ContexteCli &contexte);
[[nodiscard]] int commande_get(ContexteCli &contexte);
[[nodiscard]] int commande_find(ContexteCli &contexte);
[[nodiscard]] int commande_cat(ContexteCli &contexte);
[[nodiscard]] int commande_dump(ContexteCli &contexte);
[[nodiscard]] int commande_analyze(ContexteCli &contexte);
[[nodiscard]] int commande_rsrc(ContexteCli &contexte);
[[nodiscard]] int commande_alias(ContexteCli &contexte);
[[nodiscard]] int commande_convert(ContexteCli &contexte);
[[nodiscard]] int commande_new(ContexteCli &contexte);
[[nodiscard]] int commande_mkdir(ContexteCli &contexte);
[[nodiscard]] int commande_rm(ContexteCli &contexte);
[[nodiscard]] int commande_rename(ContexteCli &contexte);
[[nodiscard]] int commande_mv(ContexteCli &contexte);
[[nodiscard]] int commande_attr(ContexteCli &contexte);
[[nodiscard]] int commande_swap(ContexteCli &contexte);
[[nodiscard]] int commande_label(ContexteCli &contexte);
[[nodiscard]] int commande_signature(ContexteCli &contexte);
[[nodiscard]] int commande_resize(ContexteCli &contexte);
[[nodiscard]] int commande_put(ContexteCli &contexte);
[[nodiscard]] int commande_layout(ContexteCli &contexte);
[[nodiscard]] int commande_rules(ContexteCli &contexte);

/// View of "iso", "hfs" or "both".
[[nodiscard]] int vue_nommee(std::string_view nom);

}  // namespace varnion
