#pragma once

#include <string>
#include <string_view>

#include "fichiers/ecriture.hpp"
#include "fichiers/ressources.hpp"
#include "IO/dossier_sortie.hpp"

namespace varnion {

enum class FormeRessource { binaire, hexadecimale };

/// What a list of resources shows of one: id in hexadecimal and length.
[[nodiscard]] std::string legende_ressource(const RessourceMac &ressource);
/// File name, type and caption as one line; what a PC name cannot hold is "_" in it. `nom_fichier` is
/// working text.
[[nodiscard]] std::string titre_ressource(std::string_view nom_fichier, const RessourceMac &ressource);
/// The name that a saved resource is offered: the title up to its first comma, and the extension of the form.
[[nodiscard]] std::string nom_propose(std::string_view titre, FormeRessource forme);

/// Writes one resource of an open fork to an empty open file: its bytes, or the title as a line and then its
/// bytes in rows of 16, the last row filled up with zeros. Lines end in CR LF.
[[nodiscard]] ResultatEcriture ecrit_ressource(const Fichier &fourche, const RessourceMac &ressource,
                                               FormeRessource forme, std::string_view titre,
                                               const Fichier &cible);
/// The same to a file of a folder (UTF-8 name), in the place of one of that name. A failure is told to the
/// user and leaves no file.
[[nodiscard]] bool enregistre_ressource(const Fichier &fourche, const RessourceMac &ressource,
                                        FormeRessource forme, std::string_view titre,
                                        const DossierSortie &dossier, const std::string &nom);

}  // namespace varnion
