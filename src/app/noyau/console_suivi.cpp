// The progress of a compile on a console.

#include <algorithm>
#include <array>

#include "app/noyau/console.hpp"
#include "app/noyau/interruption.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kPourcent = 6530;
constexpr int kDebit = 6531;
constexpr int kReste = 6532;
constexpr double kPasBarre = 0.1;  // seconds between two bars
constexpr double kPasLigne = 5.0;  // and between two plain lines
constexpr double kMesure = 0.5;    // before a rate means anything
constexpr int kLargeurBarre = 30;
constexpr std::size_t kNomMin = 8;  // columns worth showing a name in
constexpr std::uint64_t kSecteur = kSecteurIso;

}  // namespace

std::string texte_avancement(const Avancement &a) {
  const std::uint64_t faits = std::min(a.faits, a.total);
  std::string texte = message(kPourcent, {a.total == 0 ? 100 : faits * 100 / a.total});
  if (a.secondes < kMesure || faits == 0) return texte;
  const double debit = static_cast<double>(a.faits) / a.secondes;
  texte += message(kDebit, {taille_lisible(static_cast<std::uint64_t>(debit))});
  const auto reste = static_cast<std::uint64_t>(static_cast<double>(a.total - faits) / debit);
  return texte + message(kReste, {reste / 60, reste % 60});
}

std::string barre_avancement(const Avancement &a, std::string_view nom, int colonnes) {
  const auto large = static_cast<std::uint64_t>(std::clamp(colonnes - 50, 0, kLargeurBarre));
  std::string barre;
  if (large > 0) {
    const std::uint64_t pleines = a.total == 0 ? large : std::min(a.faits, a.total) * large / a.total;
    barre = "[" + std::string(pleines, '#') + std::string(large - pleines, '-') + "] ";
  }
  barre += texte_avancement(a);
  // The last column stays free: some terminals break the line there.
  const std::size_t place = static_cast<std::size_t>(std::max(colonnes - 1, 0));
  if (barre.size() + 2 + kNomMin <= place && !nom.empty())
    barre += "  " + coupe_nom(nom, place - barre.size() - 2);
  barre.resize(std::min(barre.size(), place));
  return barre;
}

void Console::progression_debut(std::uint64_t pas) {
  const double maintenant = plateforme::chronometre();
  jauge_ = {0, pas, maintenant, maintenant};
}

void Console::progression_pas(std::uint64_t pas) {
  constexpr std::uint64_t kOctetsPas = 64 * 512;
  jauge_.faits += pas;
  const double maintenant = plateforme::chronometre();
  if (!options.terminal || options.silencieux || maintenant - jauge_.dernier < kPasBarre) return;
  jauge_.dernier = maintenant;
  barre(barre_avancement({jauge_.faits * kOctetsPas, jauge_.total * kOctetsPas, maintenant - jauge_.debut},
                         {}, options.colonnes));
}

void Console::progression_fin() {
  if (jauge_.dernier > jauge_.debut) barre({});
}

SuiviConsole::SuiviConsole(Console &console, std::uint64_t total)
    : console_(console), total_(total), debut_(plateforme::chronometre()), dernier_(debut_) {}

SuiviConsole::~SuiviConsole() {
  console_.barre({});
}

void SuiviConsole::montre() {
  const double maintenant = plateforme::chronometre();
  const bool terminal = console_.options.terminal;
  if (console_.options.silencieux || maintenant - dernier_ < (terminal ? kPasBarre : kPasLigne)) return;
  dernier_ = maintenant;
  const Avancement avancement{faits_ * kSecteur, total_ * kSecteur, maintenant - debut_};
  if (terminal)
    console_.barre(barre_avancement(avancement, nom_, console_.options.colonnes));
  else
    console_.ligne(texte_avancement(avancement));
}

bool SuiviConsole::debut_fichier(std::uint64_t /*tranches*/, std::string_view nom, std::uint64_t /*taille*/) {
  const std::size_t barre = nom.find_last_of("/\\");
  nom_ = std::string(barre == std::string_view::npos ? nom : nom.substr(barre + 1));
  std::replace_if(
      nom_.begin(), nom_.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
  return !interruption_demandee();
}

bool SuiviConsole::avance_fichier(std::uint64_t secteurs) {
  faits_ += secteurs;
  montre();
  return !interruption_demandee();
}

bool SuiviConsole::fin_fichier(std::uint64_t secteurs) {
  nom_.clear();
  return avance_fichier(secteurs);
}

// A run from the command line is not traced: the phases are for who asked to see them.
bool SuiviConsole::trace(std::string_view texte) {
  if (console_.options.bavard) console_.ligne(texte);
  return !interruption_demandee();
}

bool SuiviConsole::texte(std::string_view /*texte*/) {
  return !interruption_demandee();
}

}  // namespace varnion
