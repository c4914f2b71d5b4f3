#include <gtest/gtest.h>

#include <algorithm>

#include "app/noyau/actions_copie.hpp"
#include "app/noyau/reglages.hpp"
#include "IO/etat.hpp"
#include "projet/signatures.hpp"

namespace varnion {
namespace {

EntreeSignature entree(std::string_view extension, std::string_view signature) {
  EntreeSignature ligne;
  std::copy(extension.begin(), extension.end(), ligne.extension.begin());
  std::copy(signature.begin(), signature.end(), ligne.signature.begin());
  return ligne;
}

TEST(ExtensionCopie, TheStoredDefaultStandsForWhatNoRowHas) {
  EtatProgramme::courant().reinitialise();
  TableSignatures &table = table_signatures();
  table.chargee = true;
  table.lignes[0] = entree("___", kSignatureGenerique);
  table.lignes[1] = entree("GIF", "GIFf8BIM");
  reglages().ext = "DAT";
  const struct {
    bool defaut;
    std::string_view signature;
    std::optional<std::string> extension;
  } cas[] = {
      {false, "GIFf8BIM", "GIF"}, {false, "TEXTzzzz", "___"}, {false, "QQQQQQQQ", std::nullopt},
      {true, "GIFf8BIM", "GIF"},  {true, "TEXTzzzz", "___"},  {true, "QQQQQQQQ", "DAT"},
  };
  for (const auto &c : cas) {
    etat<OptionsProgramme>().options = c.defaut ? kOptionExtensionDefaut : 0;
    EXPECT_EQ(extension_copie(c.signature), c.extension) << c.signature << " " << c.defaut;
  }
  reglages().ext.clear();
  EXPECT_EQ(extension_copie("QQQQQQQQ"), "___");
  EtatProgramme::courant().reinitialise();
}

}  // namespace
}  // namespace varnion
