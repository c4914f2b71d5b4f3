#include "projet/nom_autre_format.hpp"

#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/format.hpp"

namespace varnion {

namespace {

/// The byte behind the NUL of the name: what follows it is for the other format.
enum Marque : char {
  kRien = 0,
  kAutomatique = 1,  ///< nothing: the name was that of the source
  kEntier = 2,       ///< the whole name
  kMilieu = 3,       ///< what a cut took out; the marks behind it: with that many bytes of extension behind
};
constexpr std::size_t kExtensionMax = 5;

struct Reserve {
  char marque = kRien;
  std::string octets;
};

Reserve lit_reserve(const ChampNomHfs &champ) {
  const std::size_t nom = lit_champ(champ).size();
  if (nom + 1 >= champ.size()) return {};
  const char marque = champ[nom + 1];
  if (marque < kAutomatique || marque > static_cast<char>(kMilieu + kExtensionMax)) return {};
  std::string octets(champ.data() + nom + 2, champ.size() - nom - 2);
  octets.resize(std::min(octets.find('\0'), octets.size()));
  return {marque, std::move(octets)};
}

bool ecrit(ChampNomHfs &champ, std::string_view nom, const Reserve &reserve) {
  ecrit_champ_coupe(champ, nom);
  if (reserve.marque == kRien) return true;
  if (nom.size() + 2 + reserve.octets.size() > champ.size()) return false;
  champ[nom.size() + 1] = reserve.marque;
  reserve.octets.copy(champ.data() + nom.size() + 2, reserve.octets.size());
  return true;
}

class Conversion {
 public:
  Conversion(bool hfsplus, std::size_t limite_hfs, const OriginesNom &origines)
      : hfsplus_(hfsplus), limite_hfs_(limite_hfs), origines_(origines) {}

  // The name in the new format; nullopt when the user gives it up.
  std::optional<std::string> nom(const ChampNomHfs &champ, const Troncature &tronque) const {
    const std::string ancien = lit_champ(champ);
    const Reserve reserve = lit_reserve(champ);
    if (reserve.marque == kAutomatique && !origines_.source.empty()) return automatique(hfsplus_);
    if (reserve.marque == kEntier) return reserve.octets;
    if (reserve.marque >= kMilieu && hfsplus_)
      return avec_milieu(nom_windows(ancien), reserve.octets, reserve.marque - kMilieu);
    return sans_reserve(ancien, hfsplus_, tronque);
  }

  // What the field must hold beside the new name, so that the old one comes back.
  std::optional<Reserve> reserve(const std::string &ancien, const std::string &neuf) const {
    const auto coupe = [](std::string_view nom, std::size_t limite) -> std::optional<std::string> {
      return coupe_nom(nom, limite);
    };
    if (sans_reserve(neuf, !hfsplus_, coupe) == ancien) return Reserve{};
    if (!origines_.source.empty() && ancien == automatique(!hfsplus_)) return Reserve{kAutomatique, {}};
    if (neuf.size() + 2 + ancien.size() <= kChampNomHfs) return Reserve{kEntier, ancien};
    return hfsplus_ ? std::nullopt : milieu(ancien, nom_windows(neuf));
  }

 private:
  [[nodiscard]] std::size_t limite(bool hfsplus) const { return hfsplus ? kNomHfsplusMax : limite_hfs_; }

  [[nodiscard]] std::string automatique(bool hfsplus) const {
    const std::string nom = coupe_nom(origines_.source, limite(hfsplus));
    return hfsplus ? nom : nom_mac(nom);
  }

  // By the name alone, into the format `hfsplus`.
  [[nodiscard]] std::optional<std::string> sans_reserve(const std::string &nom, bool hfsplus,
                                                        const Troncature &tronque) const {
    std::string texte = hfsplus ? nom_windows(nom) : nom;
    const bool du_disque = !origines_.source.empty() && nom == automatique(!hfsplus);
    if (nom.empty() || du_disque) texte = hfsplus ? origines_.source : origines_.iso;
    if (texte.size() > limite(hfsplus)) {
      auto court = tronque(texte, limite(hfsplus));
      if (!court) return std::nullopt;
      texte = std::move(*court);
    }
    return hfsplus ? texte : nom_mac(texte);
  }

  static std::string avec_milieu(const std::string &texte, const std::string &octets, int extension) {
    const std::size_t tete = texte.size() - std::min(texte.size(), static_cast<std::size_t>(extension));
    return texte.substr(0, tete) + octets + texte.substr(tete);
  }

  // A name that was cut: its head, perhaps its extension, and between them what the cut took.
  static std::optional<Reserve> milieu(const std::string &entier, const std::string &coupe) {
    if (entier.size() <= coupe.size()) return std::nullopt;
    for (std::size_t fin = 0; fin <= kExtensionMax && fin <= coupe.size(); ++fin) {
      const std::string octets = entier.substr(coupe.size() - fin, entier.size() - coupe.size());
      if (avec_milieu(coupe, octets, static_cast<int>(fin)) != entier) continue;
      return Reserve{static_cast<char>(kMilieu + fin), octets};
    }
    return std::nullopt;
  }

  bool hfsplus_;
  std::size_t limite_hfs_;
  const OriginesNom &origines_;
};

}  // namespace

NomConverti convertit_nom(const ChampNomHfs &champ, bool hfsplus, std::size_t limite_hfs,
                          const OriginesNom &origines, const Troncature &tronque) {
  const Conversion conversion(hfsplus, limite_hfs, origines);
  const std::string ancien = lit_champ(champ);
  NomConverti resultat;
  const auto neuf = conversion.nom(champ, tronque);
  resultat.abandonne = !neuf || (neuf->empty() && !ancien.empty());
  const std::string nom = neuf ? neuf->substr(0, hfsplus ? kNomHfsplusMax : limite_hfs) : std::string();
  const auto reserve = conversion.reserve(ancien, nom);
  resultat.perdu = !reserve || !ecrit(resultat.champ, nom, *reserve);
  if (resultat.perdu) ecrit_champ_coupe(resultat.champ, nom);
  return resultat;
}

}  // namespace varnion
