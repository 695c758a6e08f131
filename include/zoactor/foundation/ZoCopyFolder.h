// ZoCopyFolder: copies a sub-folder of one folder into another, and the two
// folder helpers the library uses. Paths are matched without regard to case
// (see ZoPlatform).
#ifndef ZOACTOR_FOUNDATION_ZOCOPYFOLDER_H
#define ZOACTOR_FOUNDATION_ZOCOPYFOLDER_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

class ZOACTOR_API ZoCopyFolder {
 public:
  // Prepares the copy of `source`/`name` to `destination`/`name`.
  ZoCopyFolder(ZoString const& source, ZoString const& name, ZoString const& destination);

  // Copies the files of the sub-folder, and its sub-folders too when
  // `recursive` is non-zero. Existing files of the same name are replaced.
  // A missing source sub-folder yields an empty one at the destination.
  // Non-zero on success; on failure what was copied so far stays.
  int Copy(int recursive);

  // Creates the folder; non-zero when it was created or already exists.
  static int CreateFolder(ZoString const& path);
  // Non-zero when the path exists (file or folder).
  static int Exists(ZoString const& path);

 private:
  ZoString source;
  ZoString name;
  ZoString destination;
};

#endif
