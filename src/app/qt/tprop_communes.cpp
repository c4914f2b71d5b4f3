// The properties of several items.

#include <algorithm>

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

#include "app/qt/champs_signature.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tprop_rubrique.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1018;
constexpr int kSignature = 1023;
constexpr int kDansIso = 1024;
constexpr int kDansHfs = 1025;
constexpr int kCache = 1335;
constexpr int kCacheIso = 1336;
constexpr int kCacheHfs = 1337;
constexpr int kNomImpossible = 6546;
constexpr int kChoisis = 7155;
constexpr const char *kAuDebut = "auDebut";  // state of a box when the form opened

using Elements = std::span<const ElementTrouve>;

class TPropCommunes final : public Forme {
 public:
  TPropCommunes(QWidget *parent, ModeProjet mode, Elements elements)
      : Forme(parent, mode == ModeProjet::isop ? "TPropIsopMulti" : "TPropProjetMulti", kTitre,
              sujet::kProprietesElements) {
    corps()->addWidget(new QLabel(vers_qt(message(kChoisis, {elements.size()}))));
    if (mode == ModeProjet::hybride) {
      dans_iso_ = ajoute(kDansIso, "DansIso", elements, [](const RubriqueProjet &r) { return r.dans_iso(); });
      dans_hfs_ = ajoute(kDansHfs, "DansHfs", elements, [](const RubriqueProjet &r) { return r.dans_hfs(); });
    }
    cache_iso_ = ajoute(mode == ModeProjet::isop ? kCache : kCacheIso, "CacheIso", elements,
                        [](const RubriqueProjet &r) { return r.cache_iso() != 0; });
    if (mode == ModeProjet::hybride)
      cache_hfs_ =
          ajoute(kCacheHfs, "CacheHfs", elements, [](const RubriqueProjet &r) { return r.cache_hfs() != 0; });
    auto *champs = new QFormLayout;
    signature_ = new ChampsSignature;
    signature_->montre(commune(elements));
    champs->addRow(chaine_qt(kSignature), signature_);
    corps()->addLayout(champs);
    signature_->setEnabled(std::any_of(elements.begin(), elements.end(), [](const ElementTrouve &element) {
      return !element.rubrique.est_dossier();
    }));
    boutons();
  }

  [[nodiscard]] ChangementsRubrique changements() const {
    ChangementsRubrique c;
    c.dans_iso = etat(dans_iso_);
    c.dans_hfs = etat(dans_hfs_);
    c.cache_iso = etat(cache_iso_);
    c.cache_hfs = etat(cache_hfs_);
    c.type = signature_->type();
    c.createur = signature_->createur();
    return c;
  }

  void accept() override {
    const QString code = signature_->impossible();
    if (code.isEmpty()) return Forme::accept();
    operations().afficher_erreur(message(kNomImpossible, {de_qt(code)}));
  }

 private:
  template <typename Test>
  QCheckBox *ajoute(int legende, const char *nom, Elements elements, Test test) {
    std::size_t oui = 0;
    for (const ElementTrouve &element : elements)
      if (test(element.rubrique)) ++oui;
    auto *boite = new QCheckBox(chaine_qt(legende));
    boite->setObjectName(nom);
    boite->setTristate(true);
    const Qt::CheckState ensemble = oui == elements.size() ? Qt::Checked : Qt::Unchecked;
    boite->setCheckState(oui != 0 && oui != elements.size() ? Qt::PartiallyChecked : ensemble);
    boite->setProperty(kAuDebut, static_cast<int>(boite->checkState()));
    corps()->addWidget(boite);
    return boite;
  }

  // The signature that all files have, "" when they differ.
  static std::string commune(Elements elements) {
    std::optional<std::string> signature;
    for (const ElementTrouve &element : elements) {
      if (element.rubrique.est_dossier()) continue;
      const std::string une(element.rubrique.signature.data(), element.rubrique.signature.size());
      if (signature && *signature != une) return {};
      signature = une;
    }
    return signature.value_or(std::string());
  }

  static std::optional<bool> etat(const QCheckBox *boite) {
    if (boite == nullptr || boite->checkState() == Qt::PartiallyChecked) return std::nullopt;
    if (boite->property(kAuDebut).toInt() == boite->checkState()) return std::nullopt;
    return boite->isChecked();
  }

  QCheckBox *dans_iso_ = nullptr, *dans_hfs_ = nullptr, *cache_iso_ = nullptr, *cache_hfs_ = nullptr;
  ChampsSignature *signature_ = nullptr;
};

}  // namespace

std::optional<ChangementsRubrique> saisit_proprietes_communes(QWidget *parent, ModeProjet mode,
                                                              std::span<const ElementTrouve> elements) {
  TPropCommunes forme(parent, mode, elements);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.changements();
}

}  // namespace varnion
