#include "ViewerAssets.h"

#include <fstream>
#include <system_error>

#ifndef ZOACTOR_VIEWER_SOURCE_DIR
#define ZOACTOR_VIEWER_SOURCE_DIR ""
#endif
#ifndef ZOACTOR_VIEWER_SHARE_FROM_BIN
#define ZOACTOR_VIEWER_SHARE_FROM_BIN "../share/zoactor/viewer"
#endif

namespace zotool {

namespace {

char const* const kPageFiles[] = {"index.html", "viewer.js"};
constexpr char const* kThreeList = "three-files.txt";

bool Exists(fs::path const& path) {
  std::error_code error;
  return fs::exists(path, error);
}

std::vector<std::string> ReadList(fs::path const& file) {
  std::vector<std::string> lines;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);)
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  return lines;
}

// The installed share folder beside the running executable, or empty.
fs::path InstalledPageFolder() {
  std::error_code error;
  fs::path self = fs::read_symlink("/proc/self/exe", error);
  if (error) return {};
  return (self.parent_path() / ZOACTOR_VIEWER_SHARE_FROM_BIN).lexically_normal();
}

}  // namespace

bool FindViewerAssets(ViewerAssets& assets, std::string& problem) {
  fs::path installed = InstalledPageFolder();
  fs::path source = ZOACTOR_VIEWER_SOURCE_DIR;
  if (!installed.empty() && Exists(installed / kThreeList)) {
    assets.page = installed;
    assets.three = installed / "three";
  } else if (!source.empty() && Exists(source / kThreeList)) {
    assets.page = source;
    assets.three = source / "node_modules" / "three";
  } else {
    problem = "the viewer's files are in neither " + installed.string() + " nor " + source.string();
    return false;
  }
  assets.threeFiles = ReadList(assets.page / kThreeList);
  for (std::string const& file : assets.threeFiles) {
    if (!Exists(assets.three / file)) {
      problem = "missing " + (assets.three / file).string() +
                " (run scripts/setup.sh, which installs three.js with npm ci in tools/viewer)";
      return false;
    }
  }
  return true;
}

bool CopyViewerAssets(ViewerAssets const& assets, fs::path const& folder, std::string& problem) {
  std::error_code error;
  auto copy = [&](fs::path const& from, fs::path const& to) {
    fs::create_directories(to.parent_path(), error);
    if (!error) fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
    if (error) problem = "cannot copy " + from.string() + " to " + to.string() + ": " + error.message();
    return !error;
  };
  for (char const* file : kPageFiles)
    if (!copy(assets.page / file, folder / file)) return false;
  for (std::string const& file : assets.threeFiles)
    if (!copy(assets.three / file, folder / "three" / file)) return false;
  return true;
}

}  // namespace zotool
