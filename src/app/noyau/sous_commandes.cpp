#include "app/noyau/sous_commandes.hpp"

#include <limits>

#include "projet/format.hpp"

namespace varnion {

namespace {

constexpr const char *kVues = "iso|hfs|both";
constexpr const char *kVuesOuAucune = "iso|hfs|both|none";
constexpr const char *kOuiNon = "on|off";
constexpr const char *kNatures = "hybrid|iso|hfs";
constexpr std::size_t kSansFin = std::numeric_limits<std::size_t>::max();

constexpr OptionCli kNew[] = {{"hfsplus", '\0', 6700}, {"hfs", '\0', 6701}, {"force", 'f', 6702}};
constexpr OptionCli kAdd[] = {{"view", '\0', 6710, kVues},
                              {"into", '\0', 6711, ""},
                              {"list", '\0', 6712, ""},
                              {"signatures", '\0', 6704, ""}};
constexpr OptionCli kMkdir[] = {{"view", '\0', 6713, kVues}};
constexpr OptionCli kLabel[] = {{"iso", '\0', 6714, ""}, {"hfs", '\0', 6715, ""}};
constexpr OptionCli kLs[] = {{"recursive", 'R', 6716}, {"view", '\0', 6717, kVues}, {"json", '\0', 6718}};
constexpr OptionCli kInfo[] = {{"json", '\0', 6718}};
constexpr OptionCli kInfoImage[] = {{"force", 'f', 7902}, {"json", '\0', 6718}};
constexpr OptionCli kOptionsProjet[] = {{"system", '\0', 6802, ""},
                                        {"volume", '\0', 6803, ""},
                                        {"volume-set", '\0', 6804, ""},
                                        {"publisher", '\0', 6805, ""},
                                        {"preparer", '\0', 6806, ""},
                                        {"application", '\0', 6807, ""},
                                        {"copyright-file", '\0', 6808, ""},
                                        {"abstract-file", '\0', 6809, ""},
                                        {"bibliographic-file", '\0', 6810, ""},
                                        {"open-root", '\0', 6811, kOuiNon},
                                        {"rebuild", '\0', 6812, kOuiNon},
                                        {"custom-icon", '\0', 6813, kOuiNon},
                                        {"format", '\0', 6814, "hfs|hfsplus"},
                                        {"force", 'f', 7756},
                                        {"json", '\0', 6718}};
constexpr OptionCli kRm[] = {{"recursive", 'r', 6719}, {"view", '\0', 6720, kVues}};
constexpr OptionCli kRename[] = {{"view", '\0', 6721, kVues}};
constexpr OptionCli kSet[] = {{"type", '\0', 6722, ""},
                              {"creator", '\0', 6723, ""},
                              {"hide", '\0', 6724, kVuesOuAucune},
                              {"views", '\0', 6725, kVuesOuAucune},
                              {"hidden-ext", '\0', 6726, kOuiNon},
                              {"custom-icon", '\0', 6727, kOuiNon},
                              {"missing", '\0', 6821, kOuiNon},
                              {"refresh", '\0', 6822, kOuiNon},
                              {"recursive", 'R', 6728}};
constexpr OptionCli kRefresh[] = {{"accept", '\0', 6766, "all|deletions|additions|modifications"},
                                  {"additions", '\0', 6767},
                                  {"signatures", '\0', 6704, ""}};
constexpr OptionCli kRebuild[] = {
    {"log", '\0', 6768, ""}, {"signatures", '\0', 6704, ""}, {"siblings", '\0', 7751}, {"force", 'f', 7752}};
constexpr OptionCli kCompile[] = {{"output", 'o', 6730, ""},
                                  {"kind", '\0', 6731, kNatures},
                                  {"no-postgap", '\0', 6732},
                                  {"signatures", '\0', 6704, ""},
                                  {"force", 'f', 6702}};
constexpr OptionCli kMaster[] = {{"output", 'o', 6733, ""},      {"label", '\0', 6734, ""},
                                 {"hfsplus", '\0', 6700},        {"hfs", '\0', 6701},
                                 {"kind", '\0', 6731, kNatures}, {"no-postgap", '\0', 6732},
                                 {"signatures", '\0', 6704, ""}, {"force", 'f', 6702}};
constexpr OptionCli kHybrid[] = {{"output", 'o', 7785, ""}, {"force", 'f', 7786}};
constexpr OptionCli kDehybrid[] = {{"output", 'o', 7787, ""}, {"force", 'f', 7788}};
constexpr OptionCli kTrackRaw[] = {{"mode", '\0', 6754, "1|2"}, {"force", 'f', 6702}};
constexpr OptionCli kUnpack[] = {{"usual", '\0', 6703}, {"force", 'f', 6702}};
constexpr const char *kFormes = "data|resource|macbinary|appledouble|applesingle";
constexpr OptionCli kListe[] = {{"long", 'l', 6900},
                                {"recursive", 'R', 6902},
                                {"all", 'a', 6901},
                                {"force", 'f', 7902},
                                {"json", '\0', 6718}};
constexpr OptionCli kGet[] = {{"to", '\0', 6903, ""},
                              {"mode", '\0', 6904, kFormes},
                              {"names", '\0', 6905, "long|keep|whole"},
                              {"overwrite", '\0', 6906, "ask|yes|no"},
                              {"fonts", '\0', 6907, "yes|no"},
                              {"force", 'f', 7901},
                              {"signatures", '\0', 6704, ""}};
constexpr OptionCli kFind[] = {
    {"signature", '\0', 6908, ""}, {"long", 'l', 6900}, {"force", 'f', 7902}, {"json", '\0', 6718}};
constexpr OptionCli kRsrc[] = {{"extract", '\0', 6940, ""},
                               {"output", 'o', 6941, ""},
                               {"hex", '\0', 6942},
                               {"force", 'f', 6702},
                               {"json", '\0', 6718}};
constexpr OptionCli kImage[] = {{"size", '\0', 7450, ""},
                                {"hfsplus", '\0', 7451},
                                {"label", '\0', 7452, ""},
                                {"zero", '\0', 7453},
                                {"force", 'f', 6702}};
constexpr OptionCli kModifie[] = {{"force", 'f', 7873}};
constexpr OptionCli kSupprime[] = {{"recursive", 'r', 7454}, {"force", 'f', 7873}};
constexpr OptionCli kAttr[] = {{"type", '\0', 6722, ""},
                               {"creator", '\0', 6723, ""},
                               {"created", '\0', 7455, ""},
                               {"modified", '\0', 7456, ""},
                               {"locked", '\0', 7457, kOuiNon},
                               {"invisible", '\0', 7458, kOuiNon},
                               {"alias", '\0', 7458, kOuiNon},
                               {"bundle", '\0', 7458, kOuiNon},
                               {"custom-icon", '\0', 7458, kOuiNon},
                               {"stationery", '\0', 7458, kOuiNon},
                               {"name-locked", '\0', 7458, kOuiNon},
                               {"shared", '\0', 7458, kOuiNon},
                               {"inited", '\0', 7458, kOuiNon},
                               {"no-inits", '\0', 7458, kOuiNon},
                               {"on-desk", '\0', 7458, kOuiNon},
                               {"color", '\0', 7459, "0|1|2|3|4|5|6|7"},
                               {"force", 'f', 7873}};
constexpr OptionCli kSignature[] = {{"replace", '\0', 7460, ""}, {"force", 'f', 7873}};
constexpr OptionCli kTaille[] = {{"size", '\0', 7450, ""}, {"force", 'f', 7873}};
constexpr OptionCli kPut[] = {{"into", '\0', 6952, ""},
                              {"mode", '\0', 6953, "data|resource"},
                              {"replace", '\0', 6954, "ask|yes|no"},
                              {"containers", '\0', 6955, "ask|yes|no"},
                              {"fonts", '\0', 6956, "yes|no"},
                              {"truncate", '\0', 6957, "auto|crc|ask"},
                              {"signatures", '\0', 6704, ""},
                              {"force", 'f', 7873}};
constexpr OptionCli kFenetre[] = {{"window", '\0', 7463, ""},
                                  {"icon-size", '\0', 7464, "16|32|48|64|80|96|112|128"},
                                  {"text-size", '\0', 7465, "10|12|14|16"},
                                  {"spacing", '\0', 7466, "0|1|2|3|4|5|6|7"},
                                  {"background", '\0', 7467, ""},
                                  {"no-background", '\0', 7468},
                                  {"place", '\0', 7469, ""},
                                  {"output", 'o', 7470, ""},
                                  {"signatures", '\0', 6704, ""},
                                  {"force", 'f', 6702},
                                  {"json", '\0', 6718}};
constexpr const char *kGenresSecteur =
    "hfsplus-header|hfs-mdb|driver-map|partition-entry|btree-header|btree-leaf|btree-index|iso-descriptor|"
    "iso-path-table|iso-directory|mbr|fat-boot|gpt-header|gpt-entries|macbinary|applesingle|appledouble|"
    "mac-headers";
constexpr OptionCli kDump[] = {{"resource", '\0', 6909},
                               {"sector", '\0', 6970, ""},
                               {"radix", '\0', 6971, "10|16"},
                               {"table", '\0', 6972, "mac|windows|dos|ebcdic"},
                               {"search", '\0', 6973, ""},
                               {"save", '\0', 6974, ""},
                               {"hex", '\0', 6975},
                               {"force", 'f', 6702}};
constexpr OptionCli kAnalyze[] = {
    {"resource", '\0', 6909}, {"sector", '\0', 6976, ""}, {"as", '\0', 6977, kGenresSecteur},
    {"tree", '\0', 6987},     {"force", 'f', 7902},       {"json", '\0', 6718}};
constexpr OptionCli kRegles[] = {{"markdown", '\0', 7942}, {"json", '\0', 6718}};
constexpr OptionCli kCat[] = {{"resource", '\0', 6909}, {"force", 'f', 7902}};

constexpr SousCommande kCommandes[] = {
    {"project", "new", 1, 1, kNew, commande_projet_new, 6610, 6660},
    {"project", "add", 1, kSansFin, kAdd, commande_projet_add, 6611, 6661},
    {"project", "mkdir", 2, kSansFin, kMkdir, commande_projet_mkdir, 6612, 6662},
    {"project", "label", 1, 1, kLabel, commande_projet_label, 6613, 6663},
    {"project", "ls", 1, 2, kLs, commande_projet_ls, 6614, 6664},
    {"project", "info", 1, 1, kInfo, commande_projet_info, 6615, 6665},
    {"project", "options", 1, 1, kOptionsProjet, commande_projet_options, 6800, 6801},
    {"project", "rm", 2, kSansFin, kRm, commande_projet_rm, 6616, 6666},
    {"project", "rename", 3, 3, kRename, commande_projet_rename, 6617, 6667},
    {"project", "set", 2, kSansFin, kSet, commande_projet_set, 6618, 6668},
    {"project", "refresh", 1, 1, kRefresh, commande_projet_refresh, 6760, 6763},
    {"project", "rebuild", 1, 1, kRebuild, commande_projet_rebuild, 6761, 6764},
    {"project", "move-path", 3, 3, {}, commande_projet_move_path, 6762, 6765},
    {"", "layout", 1, kSansFin, kFenetre, commande_layout, 7461, 7462},
    {"", "compile", 1, 1, kCompile, commande_compile, 6619, 6669},
    {"", "master", 1, kSansFin, kMaster, commande_master, 6620, 6670},
    {"", "unpack", 2, 2, kUnpack, commande_unpack, 6705, 6706},
    {"", "hybrid", 2, 2, kHybrid, commande_hybrid, 6746, 6750},
    {"", "dehybrid", 1, 1, kDehybrid, commande_dehybrid, 6747, 6751},
    {"track", "raw", 2, 2, kTrackRaw, commande_track_raw, 6748, 6752},
    {"track", "video", 2, 2, {}, commande_track_video, 6749, 6753},
    {"", "info", 1, 1, kInfoImage, commande_info, 6880, 6890},
    {"", "ls", 1, 2, kListe, commande_ls, 6881, 6891},
    {"", "get", 2, kSansFin, kGet, commande_get, 6882, 6892},
    {"", "find", 1, 2, kFind, commande_find, 6883, 6893},
    {"", "cat", 2, 2, kCat, commande_cat, 6884, 6894},
    {"", "dump", 1, 2, kDump, commande_dump, 6966, 6968},
    {"", "analyze", 1, 2, kAnalyze, commande_analyze, 6967, 6969},
    {"", "rsrc", 1, 2, kRsrc, commande_rsrc, 6930, 6935},
    {"", "alias", 1, 2, kInfoImage, commande_alias, 6931, 6936},
    {"", "convert", 1, kSansFin, kGet, commande_convert, 6932, 6937},
    {"", "new", 1, 1, kImage, commande_new, 7430, 7440},
    {"", "mkdir", 2, kSansFin, kModifie, commande_mkdir, 7431, 7441},
    {"", "rm", 2, kSansFin, kSupprime, commande_rm, 7432, 7442},
    {"", "rename", 3, 3, kModifie, commande_rename, 7433, 7443},
    {"", "mv", 3, kSansFin, kModifie, commande_mv, 7434, 7444},
    {"", "attr", 2, kSansFin, kAttr, commande_attr, 7435, 7445},
    {"", "swap", 2, kSansFin, kModifie, commande_swap, 7436, 7446},
    {"", "label", 2, 2, kModifie, commande_label, 7437, 7447},
    {"", "signature", 1, 2, kSignature, commande_signature, 7438, 7448},
    {"", "resize", 1, 1, kTaille, commande_resize, 7439, 7449},
    {"", "put", 2, kSansFin, kPut, commande_put, 6950, 6951},
    {"", "rules", 0, 0, kRegles, commande_rules, 7940, 7941},
};

}  // namespace

std::string SousCommande::mots() const {
  return groupe.empty() ? std::string(nom) : std::string(groupe) + " " + std::string(nom);
}

std::span<const SousCommande> sous_commandes() {
  return kCommandes;
}

int vue_nommee(std::string_view nom) {
  if (nom == "iso") return kVueIso;
  return nom == "hfs" ? kVueHfs : kVueRacine;
}

}  // namespace varnion
