#include <algorithm>
#include <array>
#include <compare>
#include <optional>
#include <vector>

#include "hfs/ecriture.hpp"
#include "hfs/extents.hpp"
#include "hfs/noeud.hpp"
#include "hfs/suppression.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"

// Extents tree, write side: runs of the catalog beyond those in the volume header, and the records of files
// that are deleted. All keys have one length, so an index key is replaced in place.

namespace varnion {
namespace {

struct Cle {
  std::uint32_t fichier = 0;
  std::uint8_t fourche = 0;
  std::uint32_t debut = 0;
  auto operator<=>(const Cle &) const = default;  // NOLINT(modernize-use-nullptr)
};

struct FormatHfs {
  using Extents = ExtentsHfs;
  static constexpr std::size_t kTailleCle = 8;  // length byte 7 and its bytes
  static Cle cle(std::span<const std::uint8_t> f) { return {*vue<be32>(f, 2), f[1], *vue<be16>(f, 6)}; }
  static std::vector<std::uint8_t> octets_cle(const Cle &cle) {
    std::vector<std::uint8_t> f(kTailleCle);
    f[0] = 7;
    f[1] = cle.fourche;
    *vue_modifiable<be32>(f, 2) = cle.fichier;
    *vue_modifiable<be16>(f, 6) = static_cast<std::uint16_t>(cle.debut);
    return f;
  }
};

// By design a run on HFS+ is added in the shape of HFS, with values cut to 16 bits; no reader of HFS+, this
// one included, finds such a record, and the nodes of the catalog that it stands for would be lost. The
// record of TN1150 is written instead.
struct FormatHfsPlus {
  using Extents = ExtentsPlus;
  static constexpr std::size_t kTailleCle = 12;  // 16-bit length 10 and its bytes
  static Cle cle(std::span<const std::uint8_t> f) { return {*vue<be32>(f, 4), f[2], *vue<be32>(f, 8)}; }
  static std::vector<std::uint8_t> octets_cle(const Cle &cle) {
    std::vector<std::uint8_t> f(kTailleCle);
    f[1] = 10;
    f[2] = cle.fourche;
    *vue_modifiable<be32>(f, 4) = cle.fichier;
    *vue_modifiable<be32>(f, 8) = cle.debut;
    return f;
  }
};

DescripteurArbre &descripteur() {
  return volume_courant().extents;
}

// Clears a node's bit in the map of the header node. A node whose bit lies in a map node keeps it: the node
// is then out of use, not lost track of.
void libere_noeud_extents(std::uint32_t noeud) {
  const OctetsNoeud entete = descripteur().octets_entete();
  const std::size_t place = kDebutCarteEntete + noeud / 8;
  if (noeud == 0 || place >= entete.size() - 8) return;
  entete[place] &= static_cast<std::uint8_t>(~(0x80 >> (noeud & 7)));
  descripteur().fiche().freeNodes = descripteur().fiche().freeNodes + 1;
}

template <typename Format>
struct ArbreExtents {
  static constexpr bool peut_vider = true;

  struct Cle {
    varnion::Cle valeur{};
    Cle() = default;
    explicit Cle(std::span<const std::uint8_t> fiche) {
      if (fiche.size() >= Format::kTailleCle) valeur = Format::cle(fiche);
    }
    explicit Cle(const varnion::Cle &v) : valeur(v) {}
  };

  static DescripteurArbre &descripteur() { return varnion::descripteur(); }
  static OctetsNoeud lit(std::uint32_t noeud) { return lecture_noeud_extents(noeud); }
  static void ecrit(std::uint32_t noeud, std::span<const std::uint8_t> octets) {
    if (!ecriture_noeud_extents(noeud, octets))
      operations().journal(GenreJournal::erreur, "extents tree: node not written");
  }
  static void ecrit_entete() { ecrit(0, descripteur().octets_entete()); }
  static void libere(std::uint32_t noeud) { libere_noeud_extents(noeud); }
  static std::uint32_t fils(std::span<const std::uint8_t> fiche) {
    const be32 *numero = vue<be32>(fiche, Format::kTailleCle);
    return numero != nullptr ? std::uint32_t{*numero} : 0;
  }

  /// Node of height `niveau` on the way to a key; `index` on the last record not above it, or the first.
  static OctetsNoeud descend(std::uint8_t niveau, const varnion::Cle &cle) {
    DescripteurArbre &arbre = descripteur();
    if (arbre.taille_noeud == 0 || arbre.fiche().treeDepth == 0) return {};
    OctetsNoeud noeud = lit(arbre.fiche().rootNode);
    for (int hauteur = 256; !noeud.empty();) {
      const EnteteNoeud *tete = entete_noeud(noeud);
      if (tete->height >= hauteur || tete->height < niveau || !noeud_sain(noeud)) return {};
      hauteur = tete->height;
      arbre.index = 0;
      for (std::int32_t i = 1; i < nb_enregistrements(noeud); ++i)
        if (Cle(enregistrement(noeud, i)).valeur <= cle) arbre.index = i;
      if (hauteur == niveau)
        return tete->kind == (niveau == 1 ? kNoeudFeuille : kNoeudIndex) ? noeud : OctetsNoeud{};
      const std::uint32_t enfant = fils(enregistrement(noeud, arbre.index));
      if (tete->kind != kNoeudIndex || enfant == 0) return {};
      noeud = lit(enfant);
    }
    return {};
  }

  static OctetsNoeud index_de(std::uint8_t niveau, std::uint32_t enfant, const Cle &cle) {
    const OctetsNoeud noeud = descend(niveau, cle.valeur);
    if (noeud.empty() || fils(enregistrement(noeud, descripteur().index)) != enfant) return {};
    return noeud;
  }

  static void corrige(std::uint16_t niveau, std::uint32_t enfant, const Cle &ancienne, const Cle &nouvelle) {
    for (; niveau <= descripteur().fiche().treeDepth; ++niveau) {
      const OctetsNoeud noeud = index_de(static_cast<std::uint8_t>(niveau), enfant, ancienne);
      if (noeud.empty()) return;
      const std::int32_t index = descripteur().index;
      const auto octets = Format::octets_cle(nouvelle.valeur);
      const auto fiche = enregistrement(noeud, index);
      if (fiche.size() < octets.size()) return;
      std::copy(octets.begin(), octets.end(), fiche.begin());
      enfant = descripteur().noeud;
      ecrit(enfant, noeud);
      if (index != 0) return;
    }
  }
};

// The tree has no leaf yet: node 1 becomes one.
template <typename Format>
bool premiere_feuille() {
  DescripteurArbre &arbre = descripteur();
  FicheEnteteArbre &fiche = arbre.fiche();
  std::uint8_t &carte = arbre.octets_entete()[kDebutCarteEntete];
  if (fiche.totalNodes < 2 || (carte & 0x40) != 0) return false;
  carte |= 0x40;
  fiche.rootNode = fiche.firstLeafNode = fiche.lastLeafNode = 1U;
  fiche.treeDepth = std::uint16_t{1};
  fiche.freeNodes = fiche.freeNodes - std::min<std::uint32_t>(fiche.freeNodes, 1);
  initialise_noeud(arbre.octets(), kNoeudFeuille, 1);
  arbre.noeud = 1;
  arbre.index = 0;
  return true;
}

// The record of this fork that ends where the new run begins, with an empty slot; its place stays in `index`.
template <typename Format>
bool complete_fiche(OctetsNoeud noeud, const Cle &cle, const typename Format::Extents::value_type &suite) {
  const auto fiche = enregistrement(noeud, descripteur().index);
  if (fiche.size() < Format::kTailleCle) return false;
  const Cle lue = Format::cle(fiche);
  auto *extents = vue_modifiable<typename Format::Extents>(fiche, Format::kTailleCle);
  if (extents == nullptr || lue.fichier != cle.fichier || lue.fourche != cle.fourche ||
      lue.debut >= cle.debut)
    return false;
  std::uint64_t fin = lue.debut;
  for (auto &extent : *extents) {
    if (extent.blockCount != 0) {
      fin += extent.blockCount;
    } else if (fin == cle.debut) {
      extent = suite;
      return ecriture_noeud_extents(descripteur().noeud, noeud);
    } else {
      return false;
    }
  }
  return false;
}

template <typename Format>
bool ajoute_extents(const typename Format::Extents::value_type &suite, const Cle &cle) {
  using Arbre = ArbreExtents<Format>;
  DescripteurArbre &arbre = descripteur();
  if (arbre.taille_noeud == 0) return false;
  const bool vide = arbre.fiche().treeDepth == 0;
  if (vide && !premiere_feuille<Format>()) return false;
  const OctetsNoeud noeud = vide ? arbre.octets() : Arbre::descend(1, cle);
  if (noeud.empty()) return false;
  if (!vide && complete_fiche<Format>(noeud, cle, suite)) return true;

  std::vector<std::uint8_t> fiche = Format::octets_cle(cle);
  fiche.resize(Format::kTailleCle + sizeof(typename Format::Extents));
  vue_modifiable<typename Format::Extents>(fiche, Format::kTailleCle)->front() = suite;
  const std::int32_t nombre = nb_enregistrements(noeud);
  const std::size_t pris = decalage(noeud, nombre) + 2 * static_cast<std::size_t>(nombre);
  if (pris + fiche.size() + 4 > noeud.size()) return false;  // this tree is not split
  const typename Arbre::Cle premiere(enregistrement(noeud, 0));
  std::int32_t rang = 0;
  while (rang < nombre && typename Arbre::Cle(enregistrement(noeud, rang)).valeur < cle) ++rang;
  const std::uint32_t numero = arbre.noeud;
  const auto place = ouvre_enregistrement(noeud, rang, fiche.size());
  std::copy(fiche.begin(), fiche.end(), place.begin());
  arbre.fiche().leafRecords = arbre.fiche().leafRecords + 1;
  if (!ecriture_noeud_extents(numero, noeud)) return false;
  if (rang == 0 && !vide) Arbre::corrige(2, numero, premiere, typename Arbre::Cle(cle));
  arbre.noeud = 0;  // look-ups of one fork after the other begin anew
  oublie_index_extents();
  return true;
}

template <typename Format>
bool retire(const Cle &cle) {
  using Arbre = ArbreExtents<Format>;
  DescripteurArbre &arbre = descripteur();
  const OctetsNoeud noeud = Arbre::descend(1, cle);
  if (noeud.empty()) return false;
  const auto fiche = enregistrement(noeud, arbre.index);
  if (fiche.size() < Format::kTailleCle || Format::cle(fiche) != cle) return false;
  arbre.fiche().leafRecords = arbre.fiche().leafRecords - 1;
  const bool fait = SuppressionArbre<Arbre>::retire(arbre.index);
  if (!fait) arbre.fiche().leafRecords = arbre.fiche().leafRecords + 1;
  arbre.noeud = 0;
  oublie_index_extents();
  return fait;
}

}  // namespace

bool ajoute_extents_hfs(ExtentHfs suite, std::uint32_t fichier, std::uint32_t debut, std::uint8_t fourche) {
  return debut <= 0xFFFF && ajoute_extents<FormatHfs>(suite, {fichier, fourche, debut});
}
bool ajoute_extents_hfsplus(ExtentPlus suite, std::uint32_t fichier, std::uint32_t debut,
                            std::uint8_t fourche) {
  return ajoute_extents<FormatHfsPlus>(suite, {fichier, fourche, debut});
}

bool retire_extents(std::uint32_t fichier, std::uint32_t debut, std::uint8_t fourche) {
  const Cle cle{fichier, fourche, debut};
  if (volume_courant().est_hfsplus) return retire<FormatHfsPlus>(cle);
  return debut <= 0xFFFF && retire<FormatHfs>(cle);
}

}  // namespace varnion
