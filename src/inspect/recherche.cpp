#include "inspect/recherche.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace varnion {

namespace {

constexpr std::size_t kBloc = std::size_t{512} << 10;
constexpr std::size_t kEchantillon = 8192;  ///< bytes of a block that tell how often each byte stands in it
constexpr std::size_t kRare = 64;           ///< a byte seen less than once in so many is rare

int chiffre(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

std::optional<std::string> motif_hexadecimal(std::string_view texte) {
  std::string motif;
  for (std::size_t i = 0; i < texte.size();) {
    if (texte[i] == ' ') {
      ++i;
      continue;
    }
    const int haut = chiffre(texte[i]);
    const int bas = i + 1 < texte.size() ? chiffre(texte[i + 1]) : -1;
    if (haut < 0 || bas < 0) return std::nullopt;
    motif += static_cast<char>(haut << 4 | bas);
    i += 2;
  }
  if (motif.empty()) return std::nullopt;
  return motif;
}

/// Finds a string of bytes in block after block: by its rarest byte where there is one, else by the library's
/// search, which is slower but sure of its speed.
class Chercheur {
 public:
  explicit Chercheur(std::string_view motif) : motif_(motif) {}

  /// Chooses the way for a block.
  void prepare(std::span<const std::uint8_t> bloc) {
    std::array<std::uint32_t, 256> comptes{};
    const std::size_t n = std::min(bloc.size(), kEchantillon);
    for (std::size_t i = 0; i < n; ++i) ++comptes[bloc[i]];
    const auto compte = [&](char c) { return comptes[static_cast<unsigned char>(c)]; };
    const auto rare =
        std::min_element(motif_.begin(), motif_.end(), [&](char a, char b) { return compte(a) < compte(b); });
    rang_ = static_cast<std::size_t>(rare - motif_.begin());
    par_octet_ = motif_.size() == 1 || compte(*rare) <= n / kRare;
  }

  /// First match in the bytes from `debut` on, or their size.
  [[nodiscard]] std::size_t cherche(std::span<const std::uint8_t> octets, std::size_t debut) const {
    if (debut > octets.size() || octets.size() - debut < motif_.size()) return octets.size();
    return par_octet_ ? cherche_octet(octets, debut) : cherche_suite(octets, debut);
  }

 private:
  [[nodiscard]] std::size_t cherche_suite(std::span<const std::uint8_t> octets, std::size_t debut) const {
    const void *trouve = ::memmem(octets.data() + debut, octets.size() - debut, motif_.data(), motif_.size());
    return trouve == nullptr ? octets.size() : place(octets, trouve);
  }
  [[nodiscard]] std::size_t cherche_octet(std::span<const std::uint8_t> octets, std::size_t debut) const {
    const std::size_t fin = octets.size() - motif_.size() + rang_ + 1;
    std::size_t faux = 0;
    for (std::size_t i = debut + rang_; i < fin; ++i) {
      const void *trouve = std::memchr(octets.data() + i, motif_[rang_], fin - i);
      if (trouve == nullptr) return octets.size();
      i = place(octets, trouve);
      if (std::memcmp(octets.data() + i - rang_, motif_.data(), motif_.size()) == 0) return i - rang_;
      // The sample was wrong about this part of the block.
      if (++faux * kRare > (i - debut) + kEchantillon) return cherche_suite(octets, i - rang_ + 1);
    }
    return octets.size();
  }
  static std::size_t place(std::span<const std::uint8_t> octets, const void *trouve) {
    return static_cast<std::size_t>(static_cast<const std::uint8_t *>(trouve) - octets.data());
  }

  std::string_view motif_;
  std::size_t rang_ = 0;
  bool par_octet_ = true;
};

/// One search on its way.
class Recherche {
 public:
  Recherche(const SourceSecteurs &source, const DemandeRecherche &demande, const VisiteTrouvaille &visite,
            const SuiviRecherche &suivi)
      : source_(source), demande_(demande), visite_(visite), suivi_(suivi) {
    const std::uint64_t secteurs = source.nb_secteurs();
    const std::uint64_t voulus =
        demande.dernier < 0 ? secteurs : std::min(secteurs, static_cast<std::uint64_t>(demande.dernier) + 1);
    total_ = secteurs * source.taille_secteur();
    fin_ = voulus * source.taille_secteur();
  }

  ResultatRecherche partout() {
    const std::size_t suite = demande_.motif.size() - 1;
    std::vector<std::uint8_t> tampon(kBloc + suite);
    Chercheur chercheur(demande_.motif);
    // Each block is read with the start of the next one, which a match across the limit needs.
    for (std::uint64_t place = demande_.depuis; place < fin_ && va(place); place += kBloc) {
      const auto debuts = static_cast<std::size_t>(std::min<std::uint64_t>(kBloc, fin_ - place));
      const auto octets = std::span(tampon).first(
          static_cast<std::size_t>(std::min<std::uint64_t>(debuts + suite, total_ - place)));
      remplit(octets, place);
      chercheur.prepare(octets);
      for (std::size_t i = chercheur.cherche(octets, 0); i < octets.size() && i < debuts;
           i = chercheur.cherche(octets, i + 1))
        if (!donne(place + i)) return resultat_;
    }
    return conclut();
  }

  ResultatRecherche debuts() {
    const std::uint64_t pas = source_.taille_secteur();
    const std::size_t bloc = kBloc / pas * pas;
    std::vector<std::uint8_t> tampon(bloc == 0 ? pas : bloc);
    if (demande_.motif.size() > pas) return conclut();
    std::uint64_t place = demande_.depuis / pas * pas;
    if (place < demande_.depuis) place += pas;
    for (; place < fin_ && va(place); place += tampon.size()) {
      const auto octets = std::span(tampon).first(
          static_cast<std::size_t>(std::min<std::uint64_t>(tampon.size(), fin_ - place)));
      remplit(octets, place);
      for (std::size_t i = 0; i < octets.size(); i += pas)
        if (std::memcmp(octets.data() + i, demande_.motif.data(), demande_.motif.size()) == 0 &&
            !donne(place + i))
          return resultat_;
    }
    return conclut();
  }

 private:
  bool va(std::uint64_t place) {
    if (!suivi_ || suivi_(place / source_.taille_secteur())) return true;
    arrete_ = true;
    return false;
  }
  void remplit(std::span<std::uint8_t> octets, std::uint64_t place) {
    const std::uint64_t longueur = source_.longueur();
    const auto voulus = static_cast<std::size_t>(
        place >= longueur ? 0 : std::min<std::uint64_t>(octets.size(), longueur - place));
    const std::size_t lus = voulus == 0 ? 0 : std::min(voulus, source_.lire(octets.first(voulus), place));
    if (lus < voulus) illisible_ = true;
    std::fill(octets.begin() + static_cast<std::ptrdiff_t>(lus), octets.end(), std::uint8_t{0});
  }
  bool donne(std::uint64_t position) {
    if (resultat_.nombre++ == 0) resultat_.position = position;
    resultat_.etat = EtatRecherche::trouve;
    return visite_(position);
  }
  ResultatRecherche conclut() {
    if (arrete_)
      resultat_.etat = EtatRecherche::arrete;
    else if (illisible_ && resultat_.nombre == 0)
      resultat_.etat = EtatRecherche::illisible;
    return resultat_;
  }

  const SourceSecteurs &source_;
  const DemandeRecherche &demande_;
  const VisiteTrouvaille &visite_;
  const SuiviRecherche &suivi_;
  std::uint64_t total_ = 0;  ///< bytes, the last sector whole
  std::uint64_t fin_ = 0;    ///< behind the last byte where a match may begin
  bool arrete_ = false, illisible_ = false;
  ResultatRecherche resultat_;
};

}  // namespace

std::optional<std::string> motif_recherche(std::string_view texte) {
  if (texte.starts_with("0x") || texte.starts_with("0X")) return motif_hexadecimal(texte.substr(2));
  if (texte.empty()) return std::nullopt;
  return std::string(texte);
}

std::uint64_t depart_recherche(const SourceSecteurs &source, std::int64_t courant, std::int64_t trouvee,
                               bool debut_secteur) {
  const std::uint64_t pas = source.taille_secteur();
  const std::uint64_t secteur = courant < 0 ? 0 : static_cast<std::uint64_t>(courant);
  if (debut_secteur) return (secteur + 1) * pas;
  const auto apres = static_cast<std::uint64_t>(trouvee) + 1;
  return trouvee >= 0 && static_cast<std::uint64_t>(trouvee) / pas == secteur ? apres : secteur * pas;
}

ResultatRecherche cherche(const SourceSecteurs &source, const DemandeRecherche &demande,
                          const VisiteTrouvaille &visite, const SuiviRecherche &suivi) {
  if (demande.motif.empty()) return {};
  Recherche recherche(source, demande, visite, suivi);
  return demande.debut_secteur ? recherche.debuts() : recherche.partout();
}

ResultatRecherche cherche_premier(const SourceSecteurs &source, const DemandeRecherche &demande,
                                  const SuiviRecherche &suivi) {
  return cherche(
      source, demande, [](std::uint64_t) { return false; }, suivi);
}

}  // namespace varnion
