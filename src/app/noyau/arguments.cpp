#include "app/noyau/arguments.hpp"

#include <algorithm>

#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kOptionInconnue = 6511;
constexpr int kValeurManque = 6512;
constexpr int kValeurDeTrop = 6513;
constexpr int kValeurFausse = 6516;
constexpr std::size_t kLargeurAide = 79;
constexpr std::size_t kColonneOptions = 28;

// True when `valeur` is one of the words of "a|b|c".
bool permise(std::string_view valeurs, std::string_view valeur) {
  if (valeurs.empty()) return true;
  while (!valeurs.empty()) {
    const std::size_t fin = std::min(valeurs.find('|'), valeurs.size());
    if (valeurs.substr(0, fin) == valeur) return true;
    valeurs.remove_prefix(std::min(fin + 1, valeurs.size()));
  }
  return false;
}

class Analyse {
 public:
  Analyse(std::span<const std::string> mots, std::span<const std::span<const OptionCli>> tables, bool courtes,
          Arguments &arguments)
      : mots_(mots), tables_(tables), courtes_(courtes), arguments_(arguments) {}

  std::optional<std::string> fait() {
    while (rang_ < mots_.size()) {
      const std::string &mot = mots_[rang_++];
      if (mot == "--") {
        arguments_.positions.insert(arguments_.positions.end(),
                                    mots_.begin() + static_cast<std::ptrdiff_t>(rang_), mots_.end());
        return std::nullopt;
      }
      std::optional<std::string> erreur;
      if (mot.starts_with("--"))
        erreur = longue(std::string_view(mot).substr(2));
      else if (courtes_ && mot.size() > 1 && mot.front() == '-')
        erreur = lettres(std::string_view(mot).substr(1));
      else
        arguments_.positions.push_back(mot);
      if (erreur) return erreur;
    }
    return std::nullopt;
  }

 private:
  template <typename Test>
  const OptionCli *cherche(Test test) const {
    for (const auto table : tables_)
      for (const OptionCli &option : table)
        if (test(option)) return &option;
    return nullptr;
  }

  std::optional<std::string> longue(std::string_view mot) {
    const std::size_t egal = mot.find('=');
    const std::string_view nom = mot.substr(0, egal);
    const std::string montre = "--" + std::string(nom);
    const OptionCli *option = cherche([&](const OptionCli &o) { return o.nom == nom; });
    if (option == nullptr) return message(kOptionInconnue, {plateforme::utf8_vers_texte(montre)});
    if (egal == std::string_view::npos) return pose(*option, montre, std::nullopt);
    return pose(*option, montre, std::string(mot.substr(egal + 1)));
  }

  // "-rR" is two options, "-oOUT" one with its value.
  std::optional<std::string> lettres(std::string_view mot) {
    for (std::size_t i = 0; i < mot.size(); ++i) {
      const char lettre = mot[i];
      const std::string montre = {'-', lettre};
      const OptionCli *option = cherche([&](const OptionCli &o) { return o.courte == lettre; });
      if (option == nullptr)
        return message(kOptionInconnue, {plateforme::utf8_vers_texte("-" + std::string(mot))});
      const bool reste = option->valeurs != nullptr && i + 1 < mot.size();
      auto erreur =
          pose(*option, montre, reste ? std::optional(std::string(mot.substr(i + 1))) : std::nullopt);
      if (erreur || reste) return erreur;
    }
    return std::nullopt;
  }

  std::optional<std::string> pose(const OptionCli &option, const std::string &montre,
                                  std::optional<std::string> valeur) {
    if (option.valeurs == nullptr) {
      if (valeur) return message(kValeurDeTrop, {montre});
      valeur.emplace();
    } else if (!valeur) {
      if (rang_ >= mots_.size()) return message(kValeurManque, {montre});
      valeur = mots_[rang_++];
    }
    if (option.valeurs != nullptr && !permise(option.valeurs, *valeur))
      return message(kValeurFausse, {plateforme::utf8_vers_texte(*valeur), montre, option.valeurs});
    arguments_.suite.emplace_back(option.nom, *valeur);
    arguments_.options.insert_or_assign(std::string(option.nom), std::move(*valeur));
    return std::nullopt;
  }

  std::span<const std::string> mots_;
  std::span<const std::span<const OptionCli>> tables_;
  bool courtes_;
  Arguments &arguments_;
  std::size_t rang_ = 0;
};

}  // namespace

std::string Arguments::valeur(std::string_view option, std::string_view defaut) const {
  const auto trouvee = options.find(option);
  return std::string(trouvee == options.end() ? defaut : std::string_view(trouvee->second));
}

std::optional<std::string> analyse_arguments(std::span<const std::string> mots,
                                             std::span<const std::span<const OptionCli>> tables, bool courtes,
                                             Arguments &arguments) {
  return Analyse(mots, tables, courtes, arguments).fait();
}

std::string entree_aide(std::string_view gauche, std::string_view droite, std::size_t colonne) {
  std::string texte = "  " + std::string(gauche);
  std::size_t place = texte.size() + 2;  // column where the next word would stand
  if (place > colonne) {
    texte += '\n';
    place = 0;
  } else {
    place -= 2;
  }
  bool debut = true;
  while (!droite.empty()) {
    const std::size_t fin = std::min(droite.find(' '), droite.size());
    const std::string_view mot = droite.substr(0, fin);
    droite.remove_prefix(std::min(fin + 1, droite.size()));
    if (!debut && place + 1 + mot.size() > kLargeurAide) {
      texte += '\n';
      place = 0;
      debut = true;
    }
    texte.append(debut ? colonne - place : 1, ' ').append(mot);
    place = (debut ? colonne : place + 1) + mot.size();
    debut = false;
  }
  return texte + "\n";
}

std::string aide_options(std::span<const OptionCli> options) {
  std::string texte;
  for (const OptionCli &option : options) {
    const std::string aide = charger_chaine(option.aide);
    const std::size_t tab = std::min(aide.find('\t'), aide.size());
    std::string formes = option.courte != '\0' ? std::string{'-', option.courte} + ", --" : "    --";
    formes += option.nom;
    if (tab > 0) formes += " " + aide.substr(0, tab);
    texte +=
        entree_aide(formes, std::string_view(aide).substr(std::min(tab + 1, aide.size())), kColonneOptions);
  }
  return texte;
}

}  // namespace varnion
