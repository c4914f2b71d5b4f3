#include "IO/montrable.hpp"

#include <gtest/gtest.h>

namespace varnion {
namespace {

TEST(EssaiMontrable, WhatDeceivesIsShownAndAllElseStays) {
  struct {
    std::string_view texte, montre;
  } const cas[] = {
      {"été – « Œuvre »\u00A0: 12\u202F000 €", "été – « Œuvre »\u00A0: 12\u202F000 €"},
      {"日本語 שלום e\u0301 \U0001F468\u200D\U0001F469", "日本語 שלום e\u0301 \U0001F468\u200D\U0001F469"},
      {"\x1B[2J\x07\x7F", "\\x1B[2J\\x07\\x7F"},
      {std::string_view("a\0b", 3), "a\\x00b"},
      {"\u009B31m\u0085", "\\u009B31m\\u0085"},
      {"\u202Efdp.exe\u202C", "\\u202Efdp.exe\\u202C"},
      {"\u2066a\u2069\u200E\u200F\u061C", "\\u2066a\\u2069\\u200E\\u200F\\u061C"},
      {"a\u2028b\u2029", "a\\u2028b\\u2029"},
      {"pay\u200Bpal\u00AD\u2060\uFEFFx", "pay\\u200Bpal\\u00AD\\u2060\\uFEFFx"},
      {"pay\u200Dpal, \u0645\u06CC\u200C\u062E", "pay\\u200Dpal, \u0645\u06CC\u200C\u062E"},
      {"a\U000E0041b", "a\\U000E0041b"},
      {"caf\xE9 \x9B", "caf\\xE9 \\x9B"},
      {"", ""},
  };
  for (const auto &[texte, montre] : cas) {
    EXPECT_EQ(texte_sur(texte), montre);
    EXPECT_EQ(montrable(texte), montre);
  }
}

TEST(EssaiMontrable, LineBreaksAndTabsBelongToTextsNotToNames) {
  EXPECT_EQ(texte_sur("a\n\tb\r\nc\rd\r"), "a\n\tb\r\nc\\rd\\r");
  EXPECT_EQ(montrable("a\n\tb\r\nIcon\r"), "a\\n\\tb\\r\\nIcon\\r");
  EXPECT_EQ(texte_montrable("\xE9t\xE9\n"), "été\\n");
}

// However the text is cut into pieces, the result is the same.
TEST(EssaiMontrable, PiecesOfAStream) {
  const std::string texte = "é\u202E\r\n\U000E0041 日\x1B\r\xC3";
  const std::string voulu = texte_sur(texte);
  for (std::size_t a = 0; a <= texte.size(); ++a)
    for (std::size_t b = a; b <= texte.size(); ++b) {
      FiltreTexte filtre;
      std::string sortie;
      filtre.ajoute(std::string_view(texte).substr(0, a), sortie);
      filtre.ajoute(std::string_view(texte).substr(a, b - a), sortie);
      filtre.ajoute(std::string_view(texte).substr(b), sortie);
      filtre.finit(sortie);
      EXPECT_EQ(sortie, voulu) << a << " " << b;
    }
}

}  // namespace
}  // namespace varnion
