#include "fichiers/nom_pc.hpp"

#include <array>
#include <cstdio>

#include "IO/montrable.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"

namespace varnion {

namespace {

constexpr std::size_t kExtensionGardee = 16;  // bytes of an extension that a cut spares

bool est_blanc(char16_t c) {
  return c == u' ' || c == 0xA0;
}

// True for the unit at `rang`; of a pair both count.
bool unite_trompeuse(std::u16string_view nom, std::size_t rang) {
  constexpr char16_t kHautEtiquettes = 0xDB40;  // ahead of the tags U+E0000 to U+E007F
  const char16_t unite = nom[rang];
  const auto etiquette = [](char16_t bas) { return bas >= 0xDC00 && bas <= 0xDC7F; };
  if (unite == kHautEtiquettes) return rang + 1 < nom.size() && etiquette(nom[rang + 1]);
  if (etiquette(unite)) return rang > 0 && nom[rang - 1] == kHautEtiquettes;
  return caractere_trompeur(unite) || liant_trompeur(rang > 0 ? nom[rang - 1] : 0, unite);
}

std::u16string sans_trompeurs(std::u16string_view nom) {
  std::u16string resultat = remplace_interdits(nom);
  const std::u16string tel = resultat;
  for (std::size_t i = 0; i < tel.size(); ++i)
    if (unite_trompeuse(tel, i)) resultat[i] = u'_';
  return resultat;
}

std::u16string sans_blancs(std::u16string_view nom) {
  while (!nom.empty() && est_blanc(nom.front())) nom.remove_prefix(1);
  while (!nom.empty() && est_blanc(nom.back())) nom.remove_suffix(1);
  return std::u16string(nom);
}

// Windows reserves the names CON, PRN, AUX, NUL, COM1 and so on as whole stems. Here every base that begins
// with one of them, in capitals, gets a "_" behind it: "CONTENTS" as well.
void ecarte_peripheriques(std::u16string &base) {
  constexpr std::array<std::u16string_view, 11> kReserves = {
      u"CON", u"PRN", u"AUX", u"NUL", u"COM1", u"COM2", u"COM3", u"COM4", u"LPT1", u"LPT2", u"LPT3"};
  for (const std::u16string_view reserve : kReserves)
    if (base.starts_with(reserve)) {
      base += u'_';
      return;
    }
}

// Bytes of the longest whole characters of `utf8` that fit.
std::size_t coupe_utf8(std::string_view utf8, std::size_t limite) {
  if (utf8.size() <= limite) return utf8.size();
  std::size_t fin = limite;
  while (fin > 0 && (static_cast<unsigned char>(utf8[fin]) & 0xC0) == 0x80) --fin;
  return fin;
}

// Stem and extension with its dot; the extension is empty where a cut need not spare it.
std::pair<std::string_view, std::string_view> tronc_et_extension(std::string_view nom) {
  const std::size_t point = nom.rfind('.');
  if (point == std::string_view::npos || point == 0 || nom.size() - point > kExtensionGardee)
    return {nom, {}};
  return {nom.substr(0, point), nom.substr(point)};
}

std::string coupe_tronc(std::string_view nom, std::string_view suffixe, std::size_t limite) {
  const auto [tronc, extension] = tronc_et_extension(nom);
  const std::size_t reste = limite - suffixe.size() - extension.size();
  return std::string(tronc.substr(0, coupe_utf8(tronc, reste))).append(suffixe).append(extension);
}

}  // namespace

ModeNommage mode_nommage(unsigned options) {
  switch (options & 7U) {
    case 2:
      return ModeNommage::saisie;
    case 4:
      return ModeNommage::garde;
    case 6:
      return ModeNommage::entier;
    default:
      return ModeNommage::longs;
  }
}

bool nom_trompeur(std::u16string_view nom) {
  for (std::size_t i = 0; i < nom.size(); ++i)
    if (unite_trompeuse(nom, i)) return true;
  return false;
}

std::u16string nom_dossier_pc(std::u16string_view nom) {
  std::u16string resultat = sans_trompeurs(nom);
  for (char16_t &c : resultat)
    if (c == u'.') c = u'_';
  return sans_blancs(resultat);
}

std::u16string nom_sans_interdits(std::u16string_view nom) {
  return sans_trompeurs(nom);
}

std::u16string nom_fichier_pc(std::u16string_view nom, std::string_view signature, ModeNommage mode,
                              const ExtensionDeSignature &extension) {
  const std::u16string propre = sans_blancs(sans_trompeurs(nom));
  const std::size_t point = propre.rfind(u'.');
  std::u16string base = propre.substr(0, point);
  std::u16string suffixe = point == std::u16string::npos ? std::u16string() : propre.substr(point);
  ecarte_peripheriques(base);
  const bool cherche = mode == ModeNommage::entier || (mode != ModeNommage::garde && suffixe.size() <= 1);
  if (mode == ModeNommage::garde || mode == ModeNommage::entier) base += suffixe;
  if (mode == ModeNommage::entier) suffixe.clear();
  const auto trouvee = cherche && extension ? extension(signature) : std::nullopt;
  if (trouvee) suffixe = u"." + plateforme::texte_vers_large(*trouvee);
  if (base.empty() && suffixe.empty()) return u"_";
  return base + suffixe;
}

std::string nom_disque(std::u16string_view nom, std::size_t limite, bool &coupe) {
  std::string utf8 = plateforme::large_vers_utf8(nom);
  coupe = utf8.size() > limite;
  if (coupe) utf8 = coupe_tronc(utf8, {}, limite);
  if (utf8.empty() || utf8 == "." || utf8 == "..") utf8.assign(utf8.empty() ? 1 : utf8.size(), '_');
  return utf8;
}

std::string nom_disque_numerote(std::string_view nom, unsigned numero, std::size_t limite) {
  std::array<char, 16> suffixe{};
  std::snprintf(suffixe.data(), suffixe.size(), "-%03u", numero);
  return coupe_tronc(nom, suffixe.data(), limite);
}

}  // namespace varnion
