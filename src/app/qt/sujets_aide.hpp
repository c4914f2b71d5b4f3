#pragma once

#include <span>
#include <string_view>

// The topics of the help: numbers that the pages of src/res/aide carry as heading ids ("t1101"). No Qt.

namespace varnion::sujet {

constexpr int kAideSurAide = 1098;
constexpr int kSommaire = 1099;

// --- to learn
constexpr int kPremiersPas = 1001;
constexpr int kDisqueHybride = 1002;
constexpr int kFichiersMac = 1003;
constexpr int kGlossaire = 1004;
constexpr int kDepannage = 1005;
constexpr int kLigneCommande = 1006;
constexpr int kAssistance = 1007;
constexpr int kModeProjet = 1010;
constexpr int kModePartition = 1011;
constexpr int kModeIsop = 1012;
constexpr int kFenetre = 1013;
constexpr int kMenus = 1014;
constexpr int kVues = 1015;
constexpr int kGraver = 1016;
constexpr int kAssistantProjet = 1991;
constexpr int kAssistantPartition = 1992;
constexpr int kAssistantIsop = 1993;

// --- settings
constexpr int kPreferences = 1101;
constexpr int kJournal = 1102;
constexpr int kTypesFichiers = 1103;
constexpr int kColonnes = 1104;
constexpr int kImpression = 1105;
constexpr int kMessages = 1106;
constexpr int kAPropos = 1107;

// --- properties
constexpr int kProprietesFichier = 1110;
constexpr int kProprietesDossier = 1111;
constexpr int kProprietesVolume = 1112;
constexpr int kProprietesElement = 1113;
constexpr int kProprietesElements = 1114;  ///< several items of a project
constexpr int kProprietesIsop = 1115;      ///< item of an ISO+ project
constexpr int kProprietesProjet = 1116;    ///< hybrid and ISO+ projects as a whole
constexpr int kAlias = 1117;

// --- names
constexpr int kNouvelleImage = 1120;
constexpr int kNouveauDossier = 1121;
constexpr int kNomsVolume = 1122;
constexpr int kRenommer = 1123;
constexpr int kNomPc = 1124;
constexpr int kTroncature = 1125;
constexpr int kCheminAcces = 1126;
constexpr int kCheminLong = 1127;
constexpr int kChoixPartition = 1128;
constexpr int kChoixFichier = 1129;

// --- copies
constexpr int kCopieVersPc = 1130;
constexpr int kCopieVersMac = 1131;
constexpr int kModesCopie = 1132;
constexpr int kAjoutProjet = 1133;
constexpr int kImageCompressee = 1134;
constexpr int kRecherche = 1140;
constexpr int kFichiersTrouves = 1141;

// --- images
constexpr int kCompilation = 1150;
constexpr int kSuiviCompilation = 1151;
constexpr int kDescripteurIso = 1152;
constexpr int kHybridation = 1153;
constexpr int kDispositionRacine = 1154;  ///< the .DS_Store form
constexpr int kIcones = 1155;

// --- upkeep of projects
constexpr int kRafraichir = 1160;
constexpr int kReconstruire = 1161;
constexpr int kExtensions = 1162;

// --- signatures
constexpr int kSignatures = 1170;
constexpr int kFichierSignatures = 1171;
constexpr int kEditeurSignatures = 1172;
constexpr int kEditionSignature = 1173;
constexpr int kRemplaceSignatures = 1174;
constexpr int kTableSignatures = 1175;

// --- inspection
constexpr int kVidage = 1180;
constexpr int kChercheSecteur = 1181;
constexpr int kRessources = 1182;
constexpr int kAnalyseurs = 3003;

}  // namespace varnion::sujet

namespace varnion {

/// Topic of a window by its objectName.
struct SujetForme {
  const char *forme;
  int sujet;
};
[[nodiscard]] std::span<const SujetForme> sujets_formes();
/// 0 when the name has no row.
[[nodiscard]] int sujet_forme(std::string_view forme);

}  // namespace varnion
