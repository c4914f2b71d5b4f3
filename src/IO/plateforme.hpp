#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "IO/fichier.hpp"

// The border to the system: names, times, folders, streams, temporary files. Paths and names are working text
// (Windows-1252) unless a name says otherwise; "/" and "\" both separate. A path component that does not
// exist as it stands is resolved through its folder: a decomposed form, a short name, then a unique match but
// for case.

namespace varnion::plateforme {

// --- text
// ---------------------------------------------------------------------------------------------------

/// UTF-8 to working text: composed (NFC), what 1252 lacks and each invalid byte become "?".
[[nodiscard]] std::string utf8_vers_texte(std::string_view utf8);
/// Working text to UTF-8; the five bytes that 1252 leaves undefined become U+FFFD.
[[nodiscard]] std::string texte_vers_utf8(std::string_view texte);
/// Working text to UTF-16 in host order.
[[nodiscard]] std::u16string texte_vers_large(std::string_view texte);
/// UTF-8 to composed UTF-16; each invalid byte becomes U+FFFD.
[[nodiscard]] std::u16string utf8_vers_large(std::string_view utf8);
[[nodiscard]] std::string large_vers_utf8(std::u16string_view large);
/// UTF-16 to working text, "?" for what 1252 lacks.
[[nodiscard]] std::string large_vers_texte(std::u16string_view large);
/// Upper case of a working-text byte or text in the manner of a French or English Windows locale (a-z, à-þ
/// less ÷, š, œ, ž, ÿ).
[[nodiscard]] char majuscule(char c);
[[nodiscard]] std::string majuscules(std::string_view texte);
/// 16-bit CRC, polynomial 0x1021, most significant bit first, initial value 0.
[[nodiscard]] std::uint16_t crc16(std::string_view octets);

// --- folder entries
// -----------------------------------------------------------------------------------------

constexpr std::uint32_t kAttributCache = 0x02;
constexpr std::uint32_t kAttributDossier = 0x10;

/// What tells one file or folder from all others: two paths of the same identity lead to the same thing.
struct IdentiteFichier {
  std::uint64_t unite = 0, inode = 0;
  [[nodiscard]] bool operator==(const IdentiteFichier &) const = default;
};

/// One entry of a folder. Times are Unix seconds, UTC.
struct DonneesRecherche {
  std::uint32_t attributs = 0;
  std::int64_t creation = 0;
  std::int64_t acces = 0;
  std::int64_t modification = 0;
  std::uint64_t taille = 0;
  std::string nom_long;      ///< working text; "?" stands for each character that 1252 lacks
  std::string nom_court;     ///< 8.3 name; empty when the long name, in upper case, is one
  std::u16string nom_large;  ///< composed UTF-16
  IdentiteFichier identite;  ///< of what a link leads to; not filled in by `AccesFichiers`
  bool par_lien = false;     ///< a folder that a symbolic link leads to

  [[nodiscard]] bool est_dossier() const { return (attributs & kAttributDossier) != 0; }
  [[nodiscard]] bool est_cache() const { return (attributs & kAttributCache) != 0; }
};

/// The entry that a path names; nullopt when there is none (`errno` tells). Symbolic links are followed; a
/// special file (device, socket, pipe) is no entry. The short name follows from all names of the folder:
/// asking again after each file made there costs a pass over the folder every time.
[[nodiscard]] std::optional<DonneesRecherche> cherche_fichier(std::string_view chemin);

/// What a listing leaves out.
struct EntreeEcartee {
  std::string nom;    ///< working text, to be shown: it need not open
  bool lien = false;  ///< a link that leads nowhere, in a circle or where the user may not go; else a device,
                      ///< a pipe or a socket
};

/// The entries of a folder in byte order of their names on disk, without "." and ".."; special files and
/// dangling links are left out, and told in `ecartees`. nullopt when the folder cannot be read (`errno`
/// tells).
[[nodiscard]] std::optional<std::vector<DonneesRecherche>> liste_dossier(
    std::string_view dossier, std::vector<EntreeEcartee> *ecartees = nullptr);

[[nodiscard]] bool existe(std::string_view chemin);
[[nodiscard]] bool est_dossier(std::string_view chemin);

/// Opens a regular file; folders, devices and pipes are refused. A name with "?" is neither found nor
/// created. On failure the result is closed and `errno` tells.
[[nodiscard]] Fichier ouvre(std::string_view chemin, Ouverture mode);
/// Removes a file (not a folder). False on failure (`errno` tells), as for the functions that follow.
/// Opens, for reading, the file beside `chemin` whose name on the disk is `prefixe` (ASCII) and that file's
/// name there: it is found even where working text cannot spell the name. Closed on failure.
[[nodiscard]] Fichier ouvre_voisin(std::string_view chemin, std::string_view prefixe);
[[nodiscard]] bool supprime(std::string_view chemin);
/// A file that has the new name already is replaced.
[[nodiscard]] bool renomme(std::string_view ancien, std::string_view nouveau);
/// Makes one folder; its parent must exist.
[[nodiscard]] bool cree_dossier(std::string_view chemin);
/// Removes an empty folder.
[[nodiscard]] bool supprime_dossier(std::string_view chemin);
/// Sets the access and modification times (Unix seconds, UTC) of an open file, or of what a path names.
[[nodiscard]] bool fixe_dates(const Fichier &fichier, std::int64_t acces, std::int64_t modification);
[[nodiscard]] bool fixe_dates(std::string_view chemin, std::int64_t acces, std::int64_t modification);
/// Text of an errno value, in the system's language, as working text.
[[nodiscard]] std::string texte_erreur(int numero);

/// Absolute path, with "." and ".." resolved by text and "/" between its parts; "" for "". A "/" at the end
/// stays.
[[nodiscard]] std::string chemin_absolu(std::string_view chemin);
/// The path with each component replaced by its short name where that is needed to bring every character into
/// the code page or the whole under `limite` bytes (at most limite - 1); nullopt when it fits in neither
/// form. Components that do not exist yet stay as they are.
[[nodiscard]] std::optional<std::string> chemin_utilisable(std::string_view chemin, std::size_t limite);
/// The same for a path given in UTF-8 (command line): result working text.
[[nodiscard]] std::optional<std::string> chemin_utf8_utilisable(std::string_view utf8, std::size_t limite);

/// Bytes free for the user on the file system of a folder or file; nullopt when unknown.
[[nodiscard]] std::optional<std::uint64_t> espace_libre(std::string_view chemin);
/// True when the file system holds files above 4 GB (anything but a FAT file system).
[[nodiscard]] bool accepte_gros_fichiers(std::string_view chemin);
/// True when both paths name the same existing file.
[[nodiscard]] bool meme_fichier(std::string_view a, std::string_view b);
/// Identity of what a path, or an open file, leads to; nullopt when there is nothing. `prefixe` (ASCII): of the
/// file beside it whose name is that and this name, as `ouvre_voisin` finds it.
[[nodiscard]] std::optional<IdentiteFichier> identite(std::string_view chemin, std::string_view prefixe = {});
[[nodiscard]] std::optional<IdentiteFichier> identite(const Fichier &fichier);
/// True when the path names the open file.
[[nodiscard]] bool est_le_fichier(std::string_view chemin, const Fichier &fichier);
/// Absolute path of what is there, no component of it a link, in UTF-8; "" when there is nothing.
[[nodiscard]] std::string chemin_reel_utf8(std::string_view chemin);

// --- streams of a file
// ----------------------------------------------------------------------------------------

/// Content of the stream `nom` ("AFP_Resource", "AFP_AfpInfo") of a file, opened as "file:nom", failing that
/// the extended attribute "user.nom" copied to a temporary file. Closed when there is none (`errno` is
/// ENODATA then) or it cannot be read.
[[nodiscard]] Fichier ouvre_flux(std::string_view chemin, std::string_view nom);

// --- time
// -----------------------------------------------------------------------------------------------------

/// Now, Unix seconds UTC; SOURCE_DATE_EPOCH when that is set.
[[nodiscard]] std::int64_t maintenant();
/// True when SOURCE_DATE_EPOCH fixes the time of everything written.
[[nodiscard]] bool date_imposee();
/// Time-zone bias in seconds (UTC minus local time) in force at start.
[[nodiscard]] std::int64_t biais_fuseau();
/// A random 32-bit number; with SOURCE_DATE_EPOCH set, always the same one for the same value.
[[nodiscard]] std::uint32_t nombre_hasard();

struct DateCivile {
  int annee, mois, jour, heure, minute, seconde;
};
/// Broken-down UTC time (proleptic Gregorian calendar).
[[nodiscard]] DateCivile date_utc(std::int64_t secondes_unix);
/// Broken-down local time with hundredths dropped.
[[nodiscard]] DateCivile date_locale(std::int64_t secondes_unix);
/// Seconds since an arbitrary start, for elapsed times.
[[nodiscard]] double chronometre();

// --- temporary files
// ------------------------------------------------------------------------------------------

/// The private folder of this run, ending in "/", made at first use with mode 0700; "" when it cannot be
/// made.
[[nodiscard]] std::string dossier_temporaire();
/// A new file with a name beginning `prefixe` in the private folder, open for reading and writing; its path
/// comes back in `chemin`. It stays until it is removed or the private folder goes. Closed on failure.
[[nodiscard]] Fichier fichier_temporaire(std::string_view prefixe, std::string &chemin);
/// An unnamed temporary file that vanishes when closed.
[[nodiscard]] Fichier fichier_anonyme();
/// Removes the private folder with its content. Called at the end of the program.
void vide_dossier_temporaire();

/// Value of an environment variable as working text, "" when unset. An absolute path whose names the code
/// page cannot show comes in the short form that opens.
[[nodiscard]] std::string variable(std::string_view nom);

}  // namespace varnion::plateforme
