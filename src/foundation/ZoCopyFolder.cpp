#include <zoactor/foundation/ZoCopyFolder.h>

#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/foundation/ZoStringList.h>

#include <memory>
#include <new>

namespace {

bool CopyFile(ZoString const& from, ZoString const& to) {
  ZoFileHandle in = ZoPlatform::OpenRead(from, ZoAccessHint::Sequential);
  if (in == kZoInvalidFileHandle) return false;
  ZoFileHandle out = ZoPlatform::OpenWrite(to, ZoAccessHint::Sequential);
  if (out == kZoInvalidFileHandle) {
    ZoPlatform::Close(in);
    return false;
  }
  constexpr size_t kChunk = 64 * 1024;
  std::unique_ptr<char[]> chunk(new (std::nothrow) char[kChunk]);
  bool ok = chunk != nullptr;
  while (ok) {
    int64_t got = ZoPlatform::Read(in, chunk.get(), kChunk);
    if (got <= 0) {
      ok = got == 0;
      break;
    }
    ok = ZoPlatform::Write(out, chunk.get(), static_cast<size_t>(got)) == got;
  }
  ZoPlatform::Close(in);
  return ZoPlatform::Close(out) && ok;
}

bool CopyTree(ZoString const& from, ZoString const& to, bool recursive) {
  if (!ZoPlatform::CreateFolders(to)) return false;
  ZoStringList names;
  if (ZoPlatform::ListFolder(from, "*", names) < 0) return false;
  ZoDblListItem* cursor = nullptr;
  for (void* item = names.GetFirst(cursor); item != nullptr; item = names.GetNext(cursor)) {
    ZoString const& entry = *static_cast<ZoString*>(item);
    ZoString sourcePath = ZoPlatform::JoinPath(from, entry);
    ZoString targetPath = ZoPlatform::JoinPath(to, entry);
    if (ZoPlatform::IsFolder(sourcePath)) {
      if (recursive && !CopyTree(sourcePath, targetPath, true)) return false;
    } else if (!CopyFile(sourcePath, targetPath)) {
      return false;
    }
  }
  return true;
}

}  // namespace

ZoCopyFolder::ZoCopyFolder(ZoString const& sourceFolder, ZoString const& subFolder, ZoString const& destinationFolder)
    : source(sourceFolder), name(subFolder), destination(destinationFolder) {}

int ZoCopyFolder::Copy(int recursive) {
  ZoString from = ZoPlatform::JoinPath(source, name);
  ZoString to = ZoPlatform::JoinPath(destination, name);
  if (!ZoPlatform::IsFolder(from)) return ZoPlatform::CreateFolders(to) ? 1 : 0;
  return CopyTree(from, to, recursive != 0) ? 1 : 0;
}

int ZoCopyFolder::CreateFolder(ZoString const& path) {
  return ZoPlatform::CreateFolder(path) != ZoFolderResult::Failed ? 1 : 0;
}

int ZoCopyFolder::Exists(ZoString const& path) { return ZoPlatform::Exists(path) ? 1 : 0; }
