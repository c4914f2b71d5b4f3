// Build tool: turns the string files of both languages into one source with a sorted table.
// genere_chaines <output.cpp> <english.txt> <french.txt>
// A fault is told as "file:line: error: ..." and leaves no output; the exit status is then 1 (2 for wrong
// usage). It stands alone, since the core needs what it makes.

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kEcartFrancais = 10000;

struct Ligne {
  int id = 0;
  std::size_t numero = 0;
  std::string texte;
};

struct FichierChaines {
  std::string chemin;
  std::vector<Ligne> lignes;
  bool fautif = false;

  void faute(std::size_t numero, const std::string &motif) {
    std::cerr << chemin << ':' << numero << ": error: " << motif << '\n';
    fautif = true;
  }
};

/// The text with its escapes resolved; nullopt for an escape that is none of \n \r \t \\.
std::optional<std::string> sans_echappements(std::string_view brut) {
  std::string texte;
  for (std::size_t i = 0; i < brut.size(); ++i) {
    if (brut[i] != '\\') {
      texte += brut[i];
      continue;
    }
    constexpr std::string_view lettres = "nrt\\";
    constexpr std::string_view valeurs = "\n\r\t\\";
    const std::size_t rang = i + 1 < brut.size() ? lettres.find(brut[i + 1]) : std::string_view::npos;
    if (rang == std::string_view::npos) return std::nullopt;
    texte += valeurs[rang];
    ++i;
  }
  return texte;
}

/// The conversions of a text, each as it is written, in order; nullopt when a "%" begins none.
std::optional<std::vector<std::string>> conversions(std::string_view texte) {
  std::vector<std::string> trouvees;
  for (std::size_t i = texte.find('%'); i != std::string_view::npos; i = texte.find('%', i)) {
    std::size_t fin = texte.find_first_not_of("-0123456789.", i + 1);
    if (fin == std::string_view::npos) return std::nullopt;
    for (const std::string_view longueur : {"I64", "I32", "ll", "l", "L", "h"}) {
      if (texte.substr(fin).starts_with(longueur)) {
        fin += longueur.size();
        break;
      }
    }
    if (fin >= texte.size() || std::string_view("sdiuxX%").find(texte[fin]) == std::string_view::npos) {
      return std::nullopt;
    }
    trouvees.emplace_back(texte.substr(i, fin + 1 - i));
    i = fin + 1;
  }
  return trouvees;
}

void lire_ligne(FichierChaines &fichier, std::size_t numero, std::string_view ligne) {
  const std::size_t tabulation = ligne.find('\t');
  int id = 0;
  const auto lu = std::from_chars(ligne.data(), ligne.data() + std::min(tabulation, ligne.size()), id);
  if (tabulation == std::string_view::npos || lu.ec != std::errc() || lu.ptr != ligne.data() + tabulation) {
    fichier.faute(numero, "not of the form id, tab, text");
    return;
  }
  const auto texte = sans_echappements(ligne.substr(tabulation + 1));
  if (!texte) {
    fichier.faute(numero, "unknown escape (known: \\n \\r \\t \\\\)");
    return;
  }
  if (!conversions(*texte))
    fichier.faute(numero, "a % that begins no conversion (%% stands for the character)");
  if (!fichier.lignes.empty() && fichier.lignes.back().id >= id) {
    const bool double_id = fichier.lignes.back().id == id;
    fichier.faute(numero, double_id ? "id " + std::to_string(id) + " stands twice"
                                    : "id " + std::to_string(id) + " is out of order");
    return;
  }
  fichier.lignes.push_back({id, numero, *texte});
}

FichierChaines lire(const char *chemin) {
  FichierChaines fichier{chemin, {}, false};
  std::ifstream flux(chemin, std::ios::binary);
  if (!flux) fichier.faute(0, "cannot be read");
  std::string ligne;
  for (std::size_t numero = 1; std::getline(flux, ligne); ++numero) {
    if (!ligne.empty() && ligne.back() == '\r') ligne.pop_back();
    if (!ligne.empty() && ligne.front() != '#') lire_ligne(fichier, numero, ligne);
  }
  return fichier;
}

/// Every string of `un` must have its counterpart in `autre`, whose ids are those of `un` plus `ecart`.
void confronter(FichierChaines &un, const FichierChaines &autre, int ecart) {
  for (const Ligne &ligne : un.lignes) {
    const auto jumelle = std::ranges::lower_bound(autre.lignes, ligne.id + ecart, {}, &Ligne::id);
    if (jumelle == autre.lignes.end() || jumelle->id != ligne.id + ecart) {
      un.faute(ligne.numero, "id " + std::to_string(ligne.id) + " has no counterpart " +
                                 std::to_string(ligne.id + ecart) + " in " + autre.chemin);
    } else if (ecart < 0 && conversions(ligne.texte) != conversions(jumelle->texte)) {
      un.faute(ligne.numero, "the % conversions of id " + std::to_string(ligne.id) +
                                 " differ from those of id " + std::to_string(jumelle->id) + " in " +
                                 autre.chemin);
    }
  }
}

/// The text as a C++ literal. Octal escapes have three digits, so that no digit behind one joins it.
std::string litteral(std::string_view texte) {
  std::string sortie = "\"";
  for (const char c : texte) {
    const unsigned valeur = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      sortie += '\\';
      sortie += c;
    } else if (valeur >= 0x20 && valeur < 0x7F) {
      sortie += c;
    } else {
      sortie += '\\';
      for (const unsigned decalage : {6U, 3U, 0U})
        sortie += static_cast<char>('0' + ((valeur >> decalage) & 7U));
    }
  }
  return sortie + '"';
}

bool ecrire(const char *chemin, const FichierChaines &anglais, const FichierChaines &francais) {
  std::ofstream flux(chemin, std::ios::binary | std::ios::trunc);
  flux << "// Made from chaines.en.txt and chaines.fr.txt by genere_chaines.\n"
          "#include \"res/table_chaines.hpp\"\n\nnamespace varnion {\nnamespace {\n\n"
          "constexpr EntreeChaine kTable[] = {\n";
  for (const FichierChaines *fichier : {&anglais, &francais}) {
    for (const Ligne &ligne : fichier->lignes)
      flux << "    {" << ligne.id << ", " << litteral(ligne.texte) << "},\n";
  }
  flux << "};\n\n}  // namespace\n\nstd::span<const EntreeChaine> table_chaines() { return kTable; }\n\n"
          "}  // namespace varnion\n";
  flux.close();
  return flux.good();
}

}  // namespace

int main(int nombre, char **arguments) {
  if (nombre != 4) {
    std::cerr << "usage: genere_chaines <output.cpp> <english.txt> <french.txt>\n";
    return 2;
  }
  FichierChaines anglais = lire(arguments[2]);
  FichierChaines francais = lire(arguments[3]);
  // One ascending table is made by putting French behind English.
  if (!anglais.lignes.empty() && anglais.lignes.back().id >= kEcartFrancais) {
    anglais.faute(anglais.lignes.back().numero, "English ids end below " + std::to_string(kEcartFrancais));
  }
  confronter(anglais, francais, kEcartFrancais);
  confronter(francais, anglais, -kEcartFrancais);
  if (!anglais.fautif && !francais.fautif) {
    if (anglais.lignes.empty()) {
      anglais.faute(0, "holds no string");
    } else if (ecrire(arguments[1], anglais, francais)) {
      return 0;
    } else {
      std::cerr << arguments[1] << ": error: cannot be written\n";
    }
  }
  std::error_code sans_suite;
  std::filesystem::remove(arguments[1], sans_suite);
  return 1;
}
