#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include <QString>

#include "hfs/catalogue.hpp"
#include "hfs/operations_catalogue.hpp"

// What the commands that change the mounted volume share.

namespace varnion {

class TVarnion;

/// False, after a message, when nothing may be changed: no volume, one that is only read, or an image whose
/// file has gone from the disk.
[[nodiscard]] bool volume_modifiable(TVarnion &fenetre);

/// Loads the bitmap, runs `change` and flushes the volume, whatever was done. False, after a message, when
/// the volume may not be changed or did not reach the disk. For what takes no time.
[[nodiscard]] bool modifie_volume(TVarnion &fenetre, const std::function<void()> &change);
/// The same on a worker.
[[nodiscard]] bool modifie_volume_en_fond(TVarnion &fenetre, const std::function<void()> &change);

/// True when the user asked to stop and meant it (1124).
[[nodiscard]] bool arret_confirme();

/// A name typed by the user; nullopt, after a message, when the volume cannot hold it.
[[nodiscard]] std::optional<NomItem> nom_saisi(const QString &texte);
/// True when another item than `sauf` has that name in the folder.
[[nodiscard]] bool nom_pris(const NomItem &nom, std::uint32_t dossier, std::uint32_t sauf = 0);
/// Characters that may be typed of a name.
[[nodiscard]] int longueur_nom_max();
/// The name as the panes show it.
[[nodiscard]] QString nom_montre(const ElementMac &element);

struct ComptesElements {
  std::uint64_t fichiers = 0, dossiers = 0;
};
/// Files and folders in and below the elements, these included; nullopt when the user stopped the count.
[[nodiscard]] std::optional<ComptesElements> compte_elements(const std::vector<ElementMac> &elements);

/// Ids in the list.
[[nodiscard]] std::vector<std::uint32_t> ids_montres(const TVarnion &fenetre);
/// Reads the panes anew, the tree only when `arbre`, and selects rows of the list.
void remontre_volume(TVarnion &fenetre, bool arbre, const std::vector<std::uint32_t> &choisis);

}  // namespace varnion
