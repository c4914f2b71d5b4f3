#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "compil/contexte.hpp"
#include "projet/fichier_projet.hpp"

// What stands before a compile, step by step: a batch run takes the steps one after the other, a desktop puts
// its dialogs between them. Whatever is refused here was told to the user.

namespace varnion {

/// What the user asks of a project. A hybrid compile of a project with one empty view becomes a pure one.
enum class GenreDemande { hybride, iso, mac };

/// Counts the project anew, stores the estimate and the counts of both views, and gives the kind of image:
/// messages 1550 to 1553 where a view is empty.
[[nodiscard]] std::optional<Nature> nature_demandee(FichierProjet &projet, GenreDemande genre);

/// False after a message: the image would take the place of what the project is made from or needs: itself,
/// its backup copy, the signature table in use, a source or the companion of one, by whatever path or link.
/// Costs one look at each source where a file has the target's name.
[[nodiscard]] bool cible_permise(const FichierProjet &projet, const std::string &cible);

/// The same, and false where the target is a folder, the image would be longer than its file system takes
/// (1474), or the disk has not the room (1073).
[[nodiscard]] bool cible_possible(const FichierProjet &projet, const std::string &cible);

/// The same for what only the disk can tell: a file can be made beside the target. Nothing is left of it.
[[nodiscard]] bool cible_accessible(const std::string &cible);

/// Allocation block in bytes: the first multiple of 2048 that classic HFS can number the blocks of; 2048 for
/// every other kind. `borne_fourches`: in a hybrid, no fork of 32,767 blocks or more either. nullopt when
/// none does.
[[nodiscard]] std::optional<std::uint32_t> taille_bloc_demandee(const FichierProjet &projet, Nature nature,
                                                                bool borne_fourches);

/// Turns a project that classic HFS cannot hold into an HFS+ one, names included, and says so.
[[nodiscard]] bool impose_hfsplus(FichierProjet &projet);

/// "Untitled" never reaches the disc: a label that still says so, or nothing, becomes the name of the target.
/// Each label is looked at for itself, so that one the user typed stays where the other was left alone.
[[nodiscard]] bool nomme_labels(FichierProjet &projet, const std::string &cible);

/// Payload of an image in 2048-byte sectors, without its postgap. `secteurs`: as `compte_projet` gives it.
[[nodiscard]] std::uint64_t charge_image(const FichierProjet &projet, Nature nature, std::uint64_t secteurs);

/// "CD-ROM of 12 MB (3 folders and 40 files)."; `secteurs` of 2048 bytes, postgap included.
[[nodiscard]] std::string texte_disque(std::uint64_t secteurs, std::uint64_t dossiers,
                                       std::uint64_t fichiers);

/// Tells that the image cannot be written, with the text of a system error. Always false.
bool erreur_image(const std::string &cible, int numero);

}  // namespace varnion
