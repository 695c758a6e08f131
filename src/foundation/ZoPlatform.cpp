#include <zoactor/foundation/ZoPlatform.h>

#include <zoactor/foundation/ZoStringList.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

std::atomic<ZoIoObserver> gObserver{nullptr};
// Per fault kind: how many more calls until the injected failure (0: none).
std::atomic<int> gFaultCountdown[3] = {{0}, {0}, {0}};

// True when this call of `kind` is the one chosen to fail.
bool FaultNow(ZoFault kind) {
  std::atomic<int>& countdown = gFaultCountdown[static_cast<int>(kind)];
  int left = countdown.load(std::memory_order_relaxed);
  while (left > 0) {
    if (countdown.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) return left == 1;
  }
  return false;
}
std::atomic<void*> gObserverContext{nullptr};

void Report(ZoIoEvent::Kind kind, ZoFileHandle handle, int64_t requested, int64_t result) {
  ZoIoObserver observer = gObserver.load(std::memory_order_acquire);
  if (observer != nullptr) observer(ZoIoEvent{kind, handle, requested, result}, gObserverContext.load());
}

bool PathExists(std::string const& path) {
  struct stat info;
  return !path.empty() && ::stat(path.c_str(), &info) == 0;
}

bool EqualsNoCase(std::string const& a, char const* b) {
  size_t i = 0;
  for (; i < a.size() && b[i] != '\0'; ++i) {
    char x = a[i], y = b[i];
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
    if (x != y) return false;
  }
  return i == a.size() && b[i] == '\0';
}

// The names in a folder, in byte order; empty when it cannot be read.
std::vector<std::string> SortedEntries(std::string const& folder) {
  std::vector<std::string> names;
  DIR* dir = ::opendir(folder.empty() ? "." : folder.c_str());
  if (dir == nullptr) return names;
  while (dirent* entry = ::readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(std::move(name));
  }
  ::closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::string> SplitComponents(std::string const& path) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    if (end > start) parts.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

// Resolves the components of `native` one by one without regard to case.
// Returns how many components were found on disk; `resolved` holds them
// followed by the remaining components as given.
size_t ResolveComponents(std::string const& native, std::string& resolved) {
  bool absolute = !native.empty() && native[0] == '/';
  std::vector<std::string> parts = SplitComponents(native);
  std::string base = absolute ? "/" : "";
  size_t found = 0;
  bool matching = true;
  for (std::string const& part : parts) {
    std::string next;
    if (matching) {
      std::string exact = base + part;
      if (PathExists(exact)) {
        next = part;
      } else if (part != "." && part != "..") {
        for (std::string const& entry : SortedEntries(base.empty() ? "." : base))
          if (EqualsNoCase(part, entry.c_str())) {
            next = entry;
            break;
          }
      }
      if (next.empty()) matching = false; else ++found;
    }
    base += matching ? next : part;
    base += '/';
  }
  if (!base.empty() && base.back() == '/' && !(absolute && base.size() == 1)) base.pop_back();
  resolved = base;
  return found;
}

// The existing path whose components match `native`'s without regard to
// case; empty when some component has no match.
std::string MatchingPath(std::string const& native) {
  std::string resolved;
  size_t found = ResolveComponents(native, resolved);
  return found == SplitComponents(native).size() ? resolved : std::string();
}

}  // namespace

// --- Descriptors -------------------------------------------------------------

namespace {

int OpenForReading(std::string const& path) {
  int fd;
  do fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  while (fd < 0 && errno == EINTR);
  return fd;
}

}  // namespace

ZoFileHandle ZoPlatform::OpenRead(ZoString const& path, ZoAccessHint hint) {
  // The path as given is tried first: a file named exactly so costs one
  // lookup instead of a lookup to find it and another to open it.
  std::string native = NativePath(path);
  if (native.empty()) return kZoInvalidFileHandle;
  int fd = OpenForReading(native);
  if (fd < 0 && (errno == ENOENT || errno == ENOTDIR)) {
    std::string resolved = MatchingPath(native);
    if (!resolved.empty()) fd = OpenForReading(resolved);
  }
  if (fd < 0) return kZoInvalidFileHandle;
  struct stat info;
  if (::fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
    ::close(fd);
    return kZoInvalidFileHandle;
  }
  ::posix_fadvise(fd, 0, 0, hint == ZoAccessHint::Sequential ? POSIX_FADV_SEQUENTIAL : POSIX_FADV_RANDOM);
  return fd;
}

ZoFileHandle ZoPlatform::OpenWrite(ZoString const& path, ZoAccessHint hint) {
  std::string resolved = ResolveForCreate(path);
  if (resolved.empty()) return kZoInvalidFileHandle;
  int fd;
  do fd = ::open(resolved.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  while (fd < 0 && errno == EINTR);
  if (fd < 0) return kZoInvalidFileHandle;
  ::posix_fadvise(fd, 0, 0, hint == ZoAccessHint::Sequential ? POSIX_FADV_SEQUENTIAL : POSIX_FADV_RANDOM);
  return fd;
}

int64_t ZoPlatform::Read(ZoFileHandle handle, void* destination, size_t count) {
  auto* out = static_cast<char*>(destination);
  size_t done = 0;
  int64_t result = 0;
  while (done < count) {
    ssize_t got = ::read(handle, out + done, count - done);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      result = -1;
      break;
    }
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  if (result == 0) result = static_cast<int64_t>(done);
  Report(ZoIoEvent::Read, handle, static_cast<int64_t>(count), result);
  return result;
}

int64_t ZoPlatform::Write(ZoFileHandle handle, void const* source, size_t count) {
  if (FaultNow(ZoFault::Write)) {
    Report(ZoIoEvent::Write, handle, static_cast<int64_t>(count), -1);
    return -1;
  }
  auto const* in = static_cast<char const*>(source);
  size_t done = 0;
  int64_t result = 0;
  while (done < count) {
    ssize_t put = ::write(handle, in + done, count - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) {
      result = -1;
      break;
    }
    done += static_cast<size_t>(put);
  }
  if (result == 0) result = static_cast<int64_t>(done);
  Report(ZoIoEvent::Write, handle, static_cast<int64_t>(count), result);
  return result;
}

int64_t ZoPlatform::Seek(ZoFileHandle handle, int64_t offset, int origin) {
  int whence = origin == 0 ? SEEK_SET : origin == 1 ? SEEK_CUR : SEEK_END;
  off_t position = ::lseek(handle, static_cast<off_t>(offset), whence);
  int64_t result = position < 0 ? -1 : static_cast<int64_t>(position);
  Report(ZoIoEvent::Seek, handle, offset, result);
  return result;
}

int64_t ZoPlatform::Position(ZoFileHandle handle) {
  off_t position = ::lseek(handle, 0, SEEK_CUR);
  return position < 0 ? -1 : static_cast<int64_t>(position);
}

bool ZoPlatform::Truncate(ZoFileHandle handle, int64_t length) {
  int rc;
  do rc = ::ftruncate(handle, static_cast<off_t>(length));
  while (rc != 0 && errno == EINTR);
  Report(ZoIoEvent::Truncate, handle, length, rc == 0 ? 0 : -1);
  return rc == 0;
}

int64_t ZoPlatform::FileSize(ZoFileHandle handle) {
  struct stat info;
  if (::fstat(handle, &info) != 0 || !S_ISREG(info.st_mode)) return -1;
  return static_cast<int64_t>(info.st_size);
}

bool ZoPlatform::Close(ZoFileHandle handle) {
  if (handle < 0) return false;
  // A close interrupted by a signal has still released the descriptor on
  // Linux; retrying could close a descriptor another thread just opened.
  return ::close(handle) == 0 || errno == EINTR;
}

// --- Paths and folders ---------------------------------------------------------

std::string ZoPlatform::NativePath(ZoString const& path) {
  std::string native(path.c_str(), static_cast<size_t>(path.Length()));
  char first = native.empty() ? '\0' : native[0];
  if (native.size() >= 2 && native[1] == ':' && ((first >= 'A' && first <= 'Z') || (first >= 'a' && first <= 'z')))
    native.erase(0, 2);
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

std::string ZoPlatform::ResolveExisting(ZoString const& path) {
  std::string native = NativePath(path);
  if (native.empty()) return {};
  return PathExists(native) ? native : MatchingPath(native);
}

std::string ZoPlatform::ResolveForCreate(ZoString const& path) {
  std::string native = NativePath(path);
  if (native.empty() || PathExists(native)) return native;
  std::string resolved;
  ResolveComponents(native, resolved);
  return resolved;
}

bool ZoPlatform::Exists(ZoString const& path) { return !ResolveExisting(path).empty(); }

bool ZoPlatform::IsFolder(ZoString const& path) {
  std::string resolved = ResolveExisting(path);
  struct stat info;
  return !resolved.empty() && ::stat(resolved.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

ZoFolderResult ZoPlatform::CreateFolder(ZoString const& path) {
  if (IsFolder(path)) return ZoFolderResult::AlreadyExists;
  std::string resolved = ResolveForCreate(path);
  if (resolved.empty()) return ZoFolderResult::Failed;
  if (::mkdir(resolved.c_str(), 0755) == 0) return ZoFolderResult::Created;
  return errno == EEXIST ? ZoFolderResult::AlreadyExists : ZoFolderResult::Failed;
}

bool ZoPlatform::CreateFolders(ZoString const& path) {
  std::string resolved = ResolveForCreate(path);
  if (resolved.empty()) return false;
  std::string partial;
  if (resolved[0] == '/') partial = "/";
  for (std::string const& part : SplitComponents(resolved)) {
    partial += part;
    if (::mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST) return false;
    partial += '/';
  }
  struct stat info;
  return ::stat(resolved.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool ZoPlatform::DeleteFile(ZoString const& path) {
  std::string resolved = ResolveExisting(path);
  return !resolved.empty() && ::unlink(resolved.c_str()) == 0;
}

namespace {

bool RemoveTree(std::string const& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return false;
  if (S_ISDIR(info.st_mode)) {
    for (std::string const& entry : SortedEntries(path)) RemoveTree(path + "/" + entry);
    return ::rmdir(path.c_str()) == 0;
  }
  return ::unlink(path.c_str()) == 0;
}

}  // namespace

bool ZoPlatform::DeleteFolder(ZoString const& path) {
  std::string resolved = ResolveExisting(path);
  return !resolved.empty() && RemoveTree(resolved);
}

bool ZoPlatform::Rename(ZoString const& from, ZoString const& to) {
  std::string source = ResolveExisting(from);
  std::string target = ResolveForCreate(to);
  if (source.empty() || target.empty() || FaultNow(ZoFault::Rename)) return false;
  return ::rename(source.c_str(), target.c_str()) == 0;
}

int ZoPlatform::ListFolder(ZoString const& folder, char const* pattern, ZoStringList& names) {
  std::string resolved = folder.IsEmpty() ? std::string(".") : ResolveExisting(folder);
  if (resolved.empty()) return -1;
  DIR* dir = ::opendir(resolved.c_str());
  if (dir == nullptr) return -1;
  ::closedir(dir);
  int appended = 0;
  for (std::string const& name : SortedEntries(resolved)) {
    if (pattern != nullptr && ::fnmatch(pattern, name.c_str(), FNM_CASEFOLD) != 0) continue;
    if (names.AppendString(ZoString(name.c_str())) != nullptr) ++appended;
  }
  return appended;
}

// --- Replacing a file atomically --------------------------------------------------

namespace {

// The folder part of a native path ("." for a bare name).
std::string FolderOf(std::string const& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool SyncFolder(std::string const& folder) {
  int fd;
  do fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  while (fd < 0 && errno == EINTR);
  if (fd < 0) return false;
  bool ok = ::fsync(fd) == 0;
  ::close(fd);
  return ok;
}

}  // namespace

ZoFileHandle ZoPlatform::CreateTemporary(ZoString const& target, std::string& temporaryPath) {
  temporaryPath.clear();
  std::string resolved = ResolveForCreate(target);
  if (resolved.empty() || resolved.back() == '/') return kZoInvalidFileHandle;
  std::string folder = FolderOf(resolved);
  size_t slash = resolved.rfind('/');
  std::string base = slash == std::string::npos ? resolved : resolved.substr(slash + 1);
  std::string pattern = (folder == "/" ? std::string("/") : folder + "/") + "." + base + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) return kZoInvalidFileHandle;
  // mkostemp makes the file private; give it the mode OpenWrite gives files.
  ::fchmod(fd, 0644);
  temporaryPath = name.data();
  return fd;
}

bool ZoPlatform::SyncFile(ZoFileHandle handle) {
  if (handle < 0 || FaultNow(ZoFault::Sync)) return false;
  int rc;
  do rc = ::fsync(handle);
  while (rc != 0 && errno == EINTR);
  return rc == 0;
}

bool ZoPlatform::ReplaceFile(std::string const& temporaryPath, ZoString const& target) {
  std::string resolved = ResolveForCreate(target);
  if (temporaryPath.empty() || resolved.empty() || FaultNow(ZoFault::Rename)) return false;
  if (::rename(temporaryPath.c_str(), resolved.c_str()) != 0) return false;
  SyncFolder(FolderOf(resolved));
  return true;
}

bool ZoPlatform::RemoveExactPath(std::string const& path) { return !path.empty() && ::unlink(path.c_str()) == 0; }

void ZoPlatform::InjectFault(ZoFault kind, int nth) {
  gFaultCountdown[static_cast<int>(kind)].store(nth > 0 ? nth : 0, std::memory_order_relaxed);
}

ZoString ZoPlatform::JoinPath(ZoString const& folder, ZoString const& name) {
  if (folder.IsEmpty()) return name;
  char lastChar = folder[folder.Length() - 1];
  ZoString joined(folder);
  if (lastChar != '/' && lastChar != '\\') joined << kZoPathSeparator;
  joined << name;
  return joined;
}

void ZoPlatform::SetIoObserver(ZoIoObserver observer, void* context) {
  gObserverContext.store(context);
  gObserver.store(observer, std::memory_order_release);
}
