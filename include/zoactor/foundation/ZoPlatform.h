// ZoPlatform: the library's one door to the operating system's files and
// folders. Everything above it speaks in these terms, so these rules live
// here only:
//
// - Files are POSIX descriptors (ZoFileHandle, invalid = -1). Reads and writes
//   loop over short counts and EINTR, so one call here is one platform
//   transfer of the whole count, short only at end of file or on error.
// - Paths may use '\' or '/' as separators; '\' is mapped to '/'. A leading
//   drive ("C:") is not meaningful here and is dropped.
// - Actor data is authored on a file system that folds case, so opening for
//   reading, testing existence, renaming, deleting and listing match names
//   without regard to case: when a path does not exist as spelled, each
//   component is matched case-insensitively (ASCII) against its folder's
//   entries, the first in byte order winning. Creating resolves the leading
//   components that exist the same way and creates the missing last part
//   with the caller's spelling.
#ifndef ZOACTOR_FOUNDATION_ZOPLATFORM_H
#define ZOACTOR_FOUNDATION_ZOPLATFORM_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

#include <cstddef>
#include <cstdint>
#include <string>

class ZoStringList;

using ZoFileHandle = int;
constexpr ZoFileHandle kZoInvalidFileHandle = -1;

// The separator used when the library joins paths.
constexpr char kZoPathSeparator = '/';

// One platform transfer, as reported to an I/O observer.
struct ZoIoEvent {
  enum Kind { Read, Write, Seek, Truncate };
  Kind kind;
  ZoFileHandle handle;
  int64_t requested;  // bytes asked for (Read, Write), offset (Seek), length (Truncate)
  int64_t result;     // bytes moved, new position, 0 on success; -1 on failure
};

// Receives every platform transfer; for diagnostics and tests.
using ZoIoObserver = void (*)(ZoIoEvent const& event, void* context);

// How a file will be read, passed to the system as an advice.
enum class ZoAccessHint { Sequential, Random };

// The platform calls a test can make fail (see ZoPlatform::InjectFault).
enum class ZoFault { Write, Sync, Rename };

// What CreateFolder did.
enum class ZoFolderResult { Created, AlreadyExists, Failed };

class ZOACTOR_API ZoPlatform {
 public:
  // --- Descriptors ---------------------------------------------------------

  // Opens an existing file for reading (path matched without regard to case).
  static ZoFileHandle OpenRead(ZoString const& path, ZoAccessHint hint);
  // Creates or truncates a file for writing; existing folders on the way are
  // matched without regard to case, and an existing file of another case is
  // reused rather than duplicated.
  static ZoFileHandle OpenWrite(ZoString const& path, ZoAccessHint hint);
  // Reads up to `count` bytes; returns the bytes read (less than `count` only
  // at end of file), or -1 on error.
  static int64_t Read(ZoFileHandle handle, void* destination, size_t count);
  // Writes `count` bytes; returns the bytes written, or -1 on error.
  static int64_t Write(ZoFileHandle handle, void const* source, size_t count);
  // Moves the file position; origin 0 start, 1 current, 2 end. Returns the
  // new position, or -1 on error.
  static int64_t Seek(ZoFileHandle handle, int64_t offset, int origin);
  // The current file position without moving it (not reported to the
  // observer), or -1.
  static int64_t Position(ZoFileHandle handle);
  // Sets the file's length; true on success.
  static bool Truncate(ZoFileHandle handle, int64_t length);
  // The file's size, or -1 when it is not a regular file or unknown.
  static int64_t FileSize(ZoFileHandle handle);
  static bool Close(ZoFileHandle handle);

  // --- Paths and folders ---------------------------------------------------

  // The path with '\' mapped to '/' and a leading drive dropped.
  static std::string NativePath(ZoString const& path);
  // The path as it exists on disk, matched without regard to case; empty
  // when it does not exist.
  static std::string ResolveExisting(ZoString const& path);
  // The path to create: the leading components that exist resolved without
  // regard to case, the rest as given.
  static std::string ResolveForCreate(ZoString const& path);
  static bool Exists(ZoString const& path);
  static bool IsFolder(ZoString const& path);
  // Creates one folder (its parent must exist). An existing folder answers
  // AlreadyExists, so that callers can tell it from a failure.
  static ZoFolderResult CreateFolder(ZoString const& path);
  // Creates a folder and any missing parents; true when it exists afterwards.
  static bool CreateFolders(ZoString const& path);
  static bool DeleteFile(ZoString const& path);
  // Deletes a folder and everything in it; true when it is gone.
  static bool DeleteFolder(ZoString const& path);
  // Renames a file or folder; the destination's folder is resolved without
  // regard to case and its last part keeps the caller's spelling.
  static bool Rename(ZoString const& from, ZoString const& to);
  // Appends to `names` the names (not paths) of the entries of `folder` that
  // match `pattern` ('*' and '?' wildcards, ASCII case ignored), in byte
  // order. Returns the number appended, or -1 when the folder cannot be read.
  static int ListFolder(ZoString const& folder, char const* pattern, ZoStringList& names);
  // Joins a folder and a name with one separator.
  static ZoString JoinPath(ZoString const& folder, ZoString const& name);

  // --- Replacing a file atomically ----------------------------------------
  // A file is replaced by writing a temporary file beside it, syncing it,
  // and renaming it over the target: readers see the old file or the new
  // one, never a mixture, and a failure leaves the old file as it was.

  // Creates an empty temporary file for writing in the folder of `target`
  // (the folder resolved without regard to case; it must exist), named
  // after the target's last part with a unique suffix. Sets `temporaryPath`
  // to its path; returns its handle, or kZoInvalidFileHandle.
  static ZoFileHandle CreateTemporary(ZoString const& target, std::string& temporaryPath);
  // Makes the file's data durable (fsync); true on success.
  static bool SyncFile(ZoFileHandle handle);
  // Renames the file at `temporaryPath` over `target` (resolved for
  // creation, so an existing file of another case is the one replaced) and
  // then syncs the folder. True when the rename succeeded: once it has,
  // the replacement is complete, and a failing folder sync (which weakens
  // only durability after a crash) is not reported.
  static bool ReplaceFile(std::string const& temporaryPath, ZoString const& target);
  // Removes the file at exactly `path` (no case folding); true when removed.
  static bool RemoveExactPath(std::string const& path);

  // --- Fault injection (tests) ----------------------------------------------

  // Makes the `nth` call of `kind` from now on fail once (1: the next one):
  // Write returns -1, SyncFile and the rename of ReplaceFile (and Rename)
  // return false. 0 disarms. Process-wide; tests that use it run alone.
  static void InjectFault(ZoFault kind, int nth);

  // --- Observation ---------------------------------------------------------

  // Installs (or, with null, removes) the observer of platform transfers.
  static void SetIoObserver(ZoIoObserver observer, void* context);
};

#endif
