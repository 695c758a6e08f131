// Private helpers of the sequence recorder for its folder: where a sequence
// folder is, what an existence test answers, and which names may become
// parts of a path.
#ifndef ZOACTOR_SRC_SEQUENCE_ZOSEQUENCEFOLDER_H
#define ZOACTOR_SRC_SEQUENCE_ZOSEQUENCEFOLDER_H

#include <zoactor/foundation/ZoString.h>

namespace zosequence {

// The flags of a message with an OK button only.
constexpr int kOkButtonOnly = 0;

// What testing a path for existence answers, as a file opener would: a file
// is found; a folder cannot be opened as a file and answers "access
// denied" (which is how an existing folder is told apart); anything else is
// not found.
constexpr int kFound = 0;
constexpr int kNotFound = 2;
constexpr int kAccessDenied = 5;
int TestExistence(ZoString const& path);

// The drive and directory of a file path (the directory keeps its
// separator).
ZoString FolderOf(ZoString const& file);
// `folder` + `name` + a separator.
ZoString SubFolder(ZoString const& folder, char const* name);
// True when `name` can stand as one part of a path: not empty, not "." or
// "..", and without a separator.
bool IsPlainName(ZoString const& name);
// Gives the actor folder `destination` a copy of the "Textures" folder of
// `actorFolder`; an actor without a folder gets an empty one.
bool CopyTextures(ZoString const& actorFolder, ZoString const& destination);

}  // namespace zosequence

#endif
