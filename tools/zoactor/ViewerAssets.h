// The files of the browser viewer that `zoactor view` copies: its page
// (index.html, viewer.js) and the three.js modules the page imports, listed
// one path a line (relative to the three package) in three-files.txt.
//
// Where they are found: an installed tool takes them from its installed
// share folder (<prefix>/share/zoactor/viewer, found from the executable's
// own path), whose three.js files lie in three/; a tool run from its build
// tree takes them from the source tree's tools/viewer, whose three.js
// files lie in node_modules/three/ (installed by scripts/setup.sh with
// `npm ci`). The source path is fixed when the tool is built.
#ifndef ZOACTOR_TOOLS_VIEWERASSETS_H
#define ZOACTOR_TOOLS_VIEWERASSETS_H

#include "ToolFiles.h"

#include <string>
#include <vector>

namespace zotool {

struct ViewerAssets {
  // The folder of index.html, viewer.js and three-files.txt.
  fs::path page;
  // The root of the three package.
  fs::path three;
  // The three.js files the page needs, relative to `three`.
  std::vector<std::string> threeFiles;
};

// The viewer's files; false with `problem` saying what is missing.
bool FindViewerAssets(ViewerAssets& assets, std::string& problem);

// Copies the page and the three.js files (to `folder`/three/) into
// `folder`, which must exist; false with `problem` set on failure.
bool CopyViewerAssets(ViewerAssets const& assets, fs::path const& folder, std::string& problem);

}  // namespace zotool

#endif
