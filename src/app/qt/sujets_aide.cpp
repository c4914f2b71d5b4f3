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
    SujetForme{"TPropProjet", kProprietesElement},
    SujetForme{"TPropProjetMulti", kProprietesElements},
    SujetForme{"TPropIsop", kProprietesIsop},
    SujetForme{"TPropIsopMulti", kProprietesElements},
    SujetForme{"TInfoProjet", kProprietesProjet},
    SujetForme{"TInfoIsop", kProprietesProjet},
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
    // Copies, searches
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
    SujetForme{"TChoixSignatures", kFichierSignatures},
    SujetForme{"TSignEdit", kEditeurSignatures},
    SujetForme{"TSignature", kEditionSignature},
    SujetForme{"TTableSignatures", kTableSignatures},
    // Inspection
    SujetForme{"TMacDump", kVidage},
    SujetForme{"TSSegm", kVidage},
    SujetForme{"TSelCorps", kVidage},
    SujetForme{"TFiche", kAnalyseurs},
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
