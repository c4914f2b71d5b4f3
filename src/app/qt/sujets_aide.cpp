#include "app/qt/sujets_aide.hpp"

#include <algorithm>
#include <array>

namespace varnion {

namespace {

using namespace sujet;

constexpr std::array kFormes{
    SujetForme{"TVarnion", kSommaire},
    SujetForme{"TAide", kAideSurAide},
    // Messages
    SujetForme{"TMessOK", kMessages},
    SujetForme{"TMessON", kMessages},
    SujetForme{"TMessONT", kMessages},
    SujetForme{"TMessAnn", kMessages},
    SujetForme{"TAPropos", kAPropos},
    // Settings
    SujetForme{"TVarPref", kPreferences},
    SujetForme{"TJournal", kJournal},
    SujetForme{"TTypesFichiers", kTypesFichiers},
    SujetForme{"TColonnes", kColonnes},
    // Properties
    SujetForme{"TPropFichier", kProprietesFichier},
    SujetForme{"TPropDossier", kProprietesDossier},
    SujetForme{"TPropVolume", kProprietesVolume},
    SujetForme{"TPropElement", kProprietesElement},
    SujetForme{"TPropElements", kProprietesElements},
    SujetForme{"TPropIsop", kProprietesIsop},
    SujetForme{"TPropElementsIsop", kProprietesElements},
    SujetForme{"TPropProjet", kProprietesProjet},
    SujetForme{"TPropProjetIsop", kProprietesProjet},
    SujetForme{"TAlias", kAlias},
    // Names
    SujetForme{"TNouvelleImage", kNouvelleImage},
    SujetForme{"TNouveauDossier", kNouveauDossier},
    SujetForme{"TLabels", kNomsVolume},
    SujetForme{"TLabelVolume", kNomsVolume},
    SujetForme{"TLabelIsop", kNomsVolume},
    SujetForme{"TRenommer", kRenommer},
    SujetForme{"TNomPC", kNomPc},
    SujetForme{"TTTronq", kTroncature},
    SujetForme{"TTroncature", kTroncature},
    SujetForme{"TCheminAcces", kCheminAcces},
    SujetForme{"TMaxPath", kCheminLong},
    SujetForme{"TChoixPartition", kChoixPartition},
    SujetForme{"TChoixFichier", kChoixFichier},
    // Copies
    SujetForme{"TDestSel", kCopieVersPc},
    SujetForme{"TWinVLV", kCopieVersMac},
    SujetForme{"TRechFich", kRecherche},
    SujetForme{"TSelFound", kFichiersTrouves},
    // Images
    SujetForme{"TCompilation", kCompilation},
    SujetForme{"TVarProgress", kSuiviCompilation},
    SujetForme{"TDescripteurIso", kDescripteurIso},
    SujetForme{"TDS_Store", kDispositionRacine},
    // Projects
    SujetForme{"TRefresh", kRafraichir},
    SujetForme{"TRRSig", kRemplaceSignatures},
    // Signatures
    SujetForme{"TRegistre", kFichierSignatures},
    SujetForme{"TSignEdit", kEditeurSignatures},
    SujetForme{"TSignElement", kEditionSignature},
    SujetForme{"TSignature", kEditionSignature},
    SujetForme{"TTableSignatures", kTableSignatures},
    // Inspection
    SujetForme{"TMacDump", kVidage},
    SujetForme{"TSelCorps", kVidage},
    SujetForme{"TChoixSecteur", kChercheSecteur},
    SujetForme{"TChercheChaine", kChercheSecteur},
    SujetForme{"TRessources", kRessources},
    SujetForme{"TBoot", kAnalyseurs},
    SujetForme{"TMBR", kAnalyseurs},
    SujetForme{"TSectPM", kAnalyseurs},
    SujetForme{"TSectISO", kAnalyseurs},
    SujetForme{"TRepISO", kAnalyseurs},
    SujetForme{"TPathISO", kAnalyseurs},
    SujetForme{"TSectBD", kAnalyseurs},
    SujetForme{"TSectHPP", kAnalyseurs},
    SujetForme{"TSectB", kAnalyseurs},
    SujetForme{"TSectND", kAnalyseurs},
    SujetForme{"TSectER", kAnalyseurs},
    SujetForme{"TTeteMac", kAnalyseurs},
    SujetForme{"TBranche", kAnalyseurs},
    SujetForme{"TMacBin", kAnalyseurs},
    SujetForme{"TAS", kAnalyseurs},
    SujetForme{"TAD", kAnalyseurs},
    SujetForme{"TSSegm", kAnalyseurs},
};

}  // namespace

std::span<const SujetForme> sujets_formes() {
  return kFormes;
}

int sujet_forme(std::string_view forme) {
  const auto *trouve =
      std::find_if(kFormes.begin(), kFormes.end(), [&](const SujetForme &f) { return forme == f.forme; });
  return trouve == kFormes.end() ? 0 : trouve->sujet;
}

}  // namespace varnion
