#include "sequence/ZoSequenceFolder.h"

#include <zoactor/foundation/ZoCopyFolder.h>
#include <zoactor/foundation/ZoPlatform.h>

namespace zosequence {

int TestExistence(ZoString const& path) {
  if (ZoPlatform::IsFolder(path)) return kAccessDenied;
  return ZoPlatform::Exists(path) ? kFound : kNotFound;
}

ZoString FolderOf(ZoString const& file) {
  ZoString drive;
  ZoString directory;
  file.SplitPath(&drive, &directory, nullptr, nullptr);
  return drive + directory;
}

ZoString SubFolder(ZoString const& folder, char const* name) {
  ZoString joined(folder);
  joined << name << kZoPathSeparator;
  return joined;
}

bool IsPlainName(ZoString const& name) {
  if (name.IsEmpty() || name == "." || name == "..") return false;
  return name.Find('/') < 0 && name.Find('\\') < 0;
}

bool CopyTextures(ZoString const& actorFolder, ZoString const& destination) {
  if (actorFolder.IsEmpty()) return ZoCopyFolder::CreateFolder(SubFolder(destination, "Textures")) != 0;
  return ZoCopyFolder(actorFolder, "Textures", destination).Copy(1) != 0;
}

}  // namespace zosequence
