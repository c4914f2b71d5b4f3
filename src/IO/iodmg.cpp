#include "IO/iodmg.hpp"

#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include <zlib.h>

#include "IO/iodmg_morceaux.hpp"
#include "IO/iodmg_plan.hpp"
#include "IO/octets.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"

namespace varnion {

namespace {

constexpr int kPasOuvert = -2;
constexpr int kEparse = -1;
constexpr int kConverti = 1;

struct ControleTable {
  std::uint32_t garde = 0, publie = 0;  // running checksums of the two ways of ADC
  bool ecart = false;
};

// One run from plan to plain image.
class Conversion {
 public:
  Conversion(const Fichier &source, const Fichier &cible, const OptionsDmg &options)
      : source_(source),
        cible_(cible),
        options_(options),
        plan_(options.usuelle ? plan_usuel(source) : plan_entier(source)),
        controles_(plan_.tables.size()) {}

  ResultatDmg execute() {
    resultat_.tables = plan_.fin.tables;
    resultat_.octets = plan_.octets;
    resultat_.octets_nus = plan_.octets_nus;
    resultat_.pleins = plan_.pleins;
    resultat_.partages = plan_.partages;
    if (!plan_.morceaux.empty() || plan_.fin.reussi()) deroule();
    if (!resultat_.reussi()) return resultat_;
    if (!plan_.fin.reussi()) return plan_.fin;
    if (!options_.usuelle) controle();
    return resultat_;
  }

 private:
  bool echoue(EtatDmg etat, int code = -1) {
    resultat_.etat = etat;
    resultat_.code = code;
    if (etat == EtatDmg::ecriture) resultat_.erreur = errno;
    return false;
  }

  // Chunks of zeros are the holes of a file that is first cut to nothing and then given its length.
  void deroule() {
    // A new file is not cut: some file systems write one that was out to the disk when it is closed.
    const bool neuve = fichier_taille(cible_) == 0;
    if ((!neuve && !fichier_tronquer(cible_, 0)) || !fichier_tronquer(cible_, plan_.octets)) {
      echoue(EtatDmg::ecriture);
      return;
    }
    if (plan_.morceaux.empty() || !place_suffit()) return;
    AtelierDmg atelier(source_, plan_.morceaux, !options_.usuelle, options_.fils);
    if (!atelier.pret()) {
      echoue(EtatDmg::memoire);
      return;
    }
    while (PieceDmg *piece = atelier.prend()) {
      if (!recoit(*piece)) return;
      atelier.rend();
    }
  }

  // The room that the file system promises now. Where it tells none, the writing finds out.
  bool place_suffit() {
    struct statvfs fiche {};
    if (::fstatvfs(cible_.descripteur(), &fiche) != 0 || fiche.f_blocks == 0) return true;
    resultat_.libres = std::uint64_t{fiche.f_bavail} * fiche.f_frsize;
    return plan_.pleins <= resultat_.libres || echoue(EtatDmg::place);
  }

  bool recoit(PieceDmg &piece) {
    const MorceauDmg &morceau = plan_.morceaux[piece.morceau];
    if (piece.etat != EtatDmg::bon) {
      resultat_.table = morceau.table + 1;
      return echoue(piece.etat, piece.code);
    }
    if (piece.longueur != 0 &&
        !cible_.ecrire_a(piece.sortie.debut(piece.longueur), morceau.cible + piece.decalage))
      return echoue(EtatDmg::ecriture);
    const std::uint64_t longueur = morceau.nul() ? morceau.longueur : piece.longueur;
    if (!options_.usuelle) compte(morceau, piece, longueur);
    faits_ += longueur;
    if (options_.progression && !options_.progression(faits_, plan_.octets)) return echoue(EtatDmg::arret);
    return true;
  }

  // Sectors that a table tells to ignore are not in its checksum.
  void compte(const MorceauDmg &morceau, const PieceDmg &piece, std::uint64_t longueur) {
    ControleTable &table = controles_[morceau.table];
    if (piece.ecart) {
      table.ecart = true;
      ecarts_.push_back(piece.morceau);
    }
    if (morceau.type == kDmgIgnore) return;
    const auto joint = [&](std::uint32_t avant, std::uint32_t crc) {
      return static_cast<std::uint32_t>(::crc32_combine(avant, crc, static_cast<z_off_t>(longueur)));
    };
    const bool memes = table.garde == table.publie && piece.crc == piece.crc_publie;
    table.garde = joint(table.garde, piece.crc);
    table.publie = memes ? table.garde : joint(table.publie, piece.crc_publie);
  }

  void controle() {
    bool toutes = !plan_.tables.empty(), publiee = false;
    for (std::size_t i = 0; i < plan_.tables.size(); ++i) {
      const TableDmg &table = plan_.tables[i];
      toutes = toutes && table.controle;
      if (!table.controle || controles_[i].garde == table.crc) continue;
      resultat_.table = static_cast<std::uint32_t>(i + 1);
      if (!controles_[i].ecart || controles_[i].publie != table.crc) {
        echoue(EtatDmg::controle_table);
        return;
      }
      publiee = true;
    }
    if (publiee && !reprend_publiee()) return;
    if (!publiee) resultat_.copies_douteuses = copies_sans_controle();
    if (!toutes) {
      controle_donnees();
    } else if (plan_.controle) {
      controle_image();
    }
  }

  // Where tables carry no checksum, that of the chunks as they lie in the file tells of damage at least.
  void controle_donnees() {
    if (!plan_.donnees.controle) return;
    constexpr std::uint64_t kPart = 1U << 20;
    std::vector<std::uint8_t> octets(kPart);
    std::uint64_t reste = plan_.donnees.longueur, position = plan_.donnees.debut;
    uLong crc = 0;
    while (reste != 0) {
      const auto part = static_cast<std::size_t>(std::min(reste, kPart));
      if (source_.lire_a({octets.data(), part}, position) != static_cast<std::int64_t>(part)) break;
      crc = ::crc32_z(crc, octets.data(), part);
      position += part;
      reste -= part;
      if (options_.progression && !options_.progression(faits_, plan_.octets)) {
        echoue(EtatDmg::arret);
        return;
      }
    }
    if (reste != 0 || crc != plan_.donnees.crc) echoue(EtatDmg::controle_donnees);
  }

  [[nodiscard]] bool copies_sans_controle() const {
    for (const std::size_t rang : ecarts_)
      if (!plan_.tables[plan_.morceaux[rang].table].controle) return true;
    return false;
  }

  // The checksums speak for the published copy: it replaces the other wherever these do not forbid it.
  bool reprend_publiee() {
    if (options_.accepte_copie_publiee && !options_.accepte_copie_publiee())
      return echoue(EtatDmg::controle_table);
    TamponDmg entree;
    PieceDmg piece;
    for (const std::size_t rang : ecarts_) {
      const MorceauDmg &morceau = plan_.morceaux[rang];
      const TableDmg &table = plan_.tables[morceau.table];
      if (table.controle && controles_[morceau.table].garde == table.crc) continue;
      piece.longueur = static_cast<std::size_t>(morceau.longueur);
      decode_publiee(source_, morceau, entree, piece);
      if (piece.etat != EtatDmg::bon) return echoue(piece.etat, piece.code);
      if (!cible_.ecrire_a(piece.sortie.debut(piece.longueur), morceau.cible))
        return echoue(EtatDmg::ecriture);
      if (options_.progression && !options_.progression(faits_, plan_.octets)) return echoue(EtatDmg::arret);
    }
    resultat_.table = 0;
    resultat_.copie_publiee = true;
    return true;
  }

  // The checksum of the whole is that of the checksums of the tables, which agree by now.
  void controle_image() {
    uLong crc = 0;
    for (const TableDmg &table : plan_.tables) {
      const be32 valeur(table.crc);
      crc = ::crc32(crc, valeur.octets.data(), sizeof valeur);
    }
    if (crc != plan_.crc) {
      echoue(EtatDmg::controle_image);
    } else {
      resultat_.controle_fait = true;
    }
  }

  const Fichier &source_;
  const Fichier &cible_;
  const OptionsDmg &options_;
  const PlanDmg plan_;
  std::vector<ControleTable> controles_;
  std::vector<std::size_t> ecarts_;  // chunks that the two ways of ADC give differently
  std::uint64_t faits_ = 0;
  ResultatDmg resultat_;
};

bool memes_morceaux(const PlanDmg &a, const PlanDmg &b) {
  const auto meme = [](const MorceauDmg &x, const MorceauDmg &y) {
    return x.type == y.type && x.cible == y.cible && x.longueur == y.longueur && x.source == y.source &&
           x.comprime == y.comprime;
  };
  return a.octets == b.octets &&
         std::equal(a.morceaux.begin(), a.morceaux.end(), b.morceaux.begin(), b.morceaux.end(), meme);
}

bool a_convertir(const Fichier &image, int genre) {
  if (genre >= kImagePM && genre <= kImageKoly) return true;
  // A disk image whose first chunk is raw may begin with a boot sector.
  return (genre == kImageGpt || genre == kImageMbr) && a_fin_dmg(image);
}

int echoue_fichier(ResultatDmg &resultat, EtatDmg etat, int code) {
  resultat.etat = etat;
  resultat.code = code;
  resultat.erreur = errno;
  return code;
}

}  // namespace

ApercuDmg apercu_dmg(const Fichier &source) {
  const PlanDmg entier = plan_entier(source);
  const PlanDmg usuel = plan_usuel(source);
  ApercuDmg apercu;
  apercu.etat = entier.fin.etat;
  apercu.tables = entier.fin.tables;
  apercu.tables_usuelles = usuel.fin.reussi() ? usuel.fin.tables : 0;
  apercu.usuelle_entiere = usuel.fin.reussi() && entier.fin.reussi() && memes_morceaux(usuel, entier);
  apercu.octets = entier.octets;
  apercu.pleins = entier.pleins;
  return apercu;
}

ResultatDmg decompresse_image(const Fichier &source, const Fichier &cible, const OptionsDmg &options) {
  return Conversion(source, cible, options).execute();
}

int decompresse_fichier(std::string_view source, std::string_view cible, const OptionsDmg &options,
                        ResultatDmg *resultat) {
  ResultatDmg perdu;
  ResultatDmg &details = resultat != nullptr ? *resultat : perdu;
  details = {};
  const Fichier image = plateforme::ouvre(source, Ouverture::lecture);
  if (!image) return echoue_fichier(details, EtatDmg::lecture, kPasOuvert);
  const int genre = type_image(image);
  if (!a_convertir(image, genre))
    return echoue_fichier(details, EtatDmg::sans_fin, genre == kImageEparse ? kEparse : kPasOuvert);
  FichierVoisin neuf = FichierVoisin::commence(cible);
  if (!neuf) return echoue_fichier(details, EtatDmg::ecriture, kPasOuvert);
  neuf.comme(image);
  details = decompresse_image(image, neuf.fichier(), options);
  if (details.reussi() && !neuf.pose(options.ecrasement)) echoue_fichier(details, EtatDmg::ecriture, -1);
  return details.reussi() ? kConverti : details.code;
}

}  // namespace varnion
