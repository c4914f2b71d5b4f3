#include "hfs/suppression.hpp"

#include "hfs/division.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/traits.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"

namespace varnion {
namespace {

template <typename Traits>
struct ArbreCatalogue {
  using Cle = CleGardee<Traits>;
  static constexpr bool peut_vider = false;  // the root folder's record is always there

  static DescripteurArbre &descripteur() { return volume_courant().catalogue; }
  static OctetsNoeud lit(std::uint32_t noeud) { return lecture_noeud(noeud); }
  static void ecrit(std::uint32_t noeud, std::span<const std::uint8_t> octets) {
    ecriture_noeud(noeud, octets);
  }
  static void ecrit_entete() { ecriture_entete_arbre(); }
  static void libere(std::uint32_t noeud) { libere_noeud(descripteur(), noeud); }
  static std::uint32_t fils(std::span<const std::uint8_t> fiche) { return Traits::fils(fiche); }
  static OctetsNoeud index_de(std::uint8_t niveau, std::uint32_t enfant, const Cle &cle) {
    return index_de_fils<Traits>(niveau, enfant, cle.lue());
  }
  static void corrige(std::uint16_t niveau, std::uint32_t enfant, const Cle &ancienne, const Cle &nouvelle) {
    corrige_premieres_cles<Traits>(niveau, enfant, ancienne, nouvelle);
  }
};

bool journalise_refus(bool fait) {
  if (!fait) operations().journal(GenreJournal::erreur, "catalog: record not deleted");
  return fait;
}

}  // namespace

bool supprime_hfs(std::int32_t index) {
  return journalise_refus(SuppressionArbre<ArbreCatalogue<TraitsHfs>>::retire(index));
}
bool supprime_hfsplus(std::int32_t index) {
  return journalise_refus(SuppressionArbre<ArbreCatalogue<TraitsHfsPlus>>::retire(index));
}

}  // namespace varnion
