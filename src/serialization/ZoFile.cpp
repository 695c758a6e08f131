#include <zoactor/serialization/ZoFile.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

enum ErrorCode { kOk = 0, kNotOpen = 1, kBadModeOrMagic = 2, kAlreadyOpen = 3, kIoFailure = 4, kWrongType = 5 };

struct Registration {
  ZoFileType type;
  ZoFileCreateFunction create;
};

}  // namespace

// --- ZoFileType and ZoFileObject ---------------------------------------------------

ZoFileType::ZoFileType(char const* text) : value(kEmpty) {
  unsigned char bytes[4] = {' ', ' ', ' ', ' '};
  for (int i = 0; i < 4 && text != nullptr && text[i] != '\0'; ++i) bytes[i] = static_cast<unsigned char>(text[i]);
  value = static_cast<int32_t>(bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<uint32_t>(bytes[3]) << 24));
}

ZoFileType::ZoFileType(ZoString const& text) : ZoFileType(text.c_str()) {}

ZoFileObject::~ZoFileObject() = default;
ZoFileType ZoFileObject::TypeInFile() const { return ClassTypeInFile(); }
ZoString ZoFileObject::NameInFile() const { return ZoString(); }
ZoFileType ZoFileObject::ClassTypeInFile() { return ZoFileType(); }
ZoFileObject* ZoFileObject::ConstructFromFile(ZoFile&) { return nullptr; }

// --- Registrations -----------------------------------------------------------------

ZoDblList& ZoFile::lRegisteredClasses() {
  // Kept for the life of the process, and reachable from here.
  static ZoDblList* registrations = new ZoDblList;
  return *registrations;
}

void ZoFile::RegisterClass(ZoFileCreateFunction create, ZoFileType fileType) {
  auto* registration = new (std::nothrow) Registration{fileType, create};
  if (registration != nullptr && lRegisteredClasses().Append(registration) == nullptr) delete registration;
}

ZoFileCreateFunction ZoFile::FindConstructor(ZoFileType fileType) {
  ZoDblList& list = lRegisteredClasses();
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor)) {
    auto* registration = static_cast<Registration*>(item);
    if (registration->type == fileType) return registration->create;
  }
  return nullptr;
}

// --- Opening and closing -------------------------------------------------------------

ZoFile::ZoFile()
    : handle(kZoInvalidFileHandle),
      isOpen(0),
      inMemory(0),
      lastError(kOk),
      failureOffset(-1),
      failureReason{},
      mode(0),
      formatVersion(0),
      version(0),
      buffer(nullptr),
      count(0),
      position(0) {}

ZoFile::~ZoFile() {
  if (isOpen != 0) ZoFile::Close();
}

int ZoFile::SetError(int code) {
  lastError = code;
  return code == kOk ? 1 : 0;
}

int ZoFile::Fail(int code, char const* format, ...) {
  if (failureReason[0] == '\0') {
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(failureReason, sizeof failureReason, format, arguments);
    va_end(arguments);
    if (failureReason[0] == '\0') std::snprintf(failureReason, sizeof failureReason, "error %d", code);
    failureOffset = GetFilePointer();
  }
  return SetError(code);
}

void ZoFile::ResetFailure() {
  failureReason[0] = '\0';
  failureOffset = -1;
}

int ZoFile::Open(int openMode, char* block, int size) {
  if (isOpen != 0) return Fail(kAlreadyOpen, "the container is already open");
  ResetFailure();
  if (openMode != 0 && openMode != 1) return Fail(kBadModeOrMagic, "open mode %d is neither 0 nor 1", openMode);
  if (openMode == 0) {
    if (block == nullptr) return Fail(kNotOpen, "no memory block to read");
    buffer = block;
    count = size > 0 ? static_cast<uint32_t>(size) : 0;
  } else {
    buffer = static_cast<char*>(::operator new(kBufferSize, std::nothrow));
    if (buffer == nullptr) return Fail(kIoFailure, "out of memory");
    count = kBufferSize;
  }
  mode = openMode;
  position = 0;
  inMemory = 1;
  isOpen = 1;
  return SetError(kOk);
}

int ZoFile::Open(ZoString const& name, int openMode) {
  if (isOpen != 0) return Fail(kAlreadyOpen, "the container is already open");
  ResetFailure();
  mode = openMode;
  fileName = name;
  inMemory = 0;
  if (openMode != 0 && openMode != 1) return Fail(kBadModeOrMagic, "open mode %d is neither 0 nor 1", openMode);
  handle = openMode == 1 ? ZoPlatform::OpenWrite(name, ZoAccessHint::Random)
                         : ZoPlatform::OpenRead(name, ZoAccessHint::Random);
  if (handle == kZoInvalidFileHandle) return Fail(kNotOpen, "the file could not be opened");
  buffer = static_cast<char*>(::operator new(kBufferSize, std::nothrow));
  if (buffer == nullptr) {
    Release();
    return Fail(kIoFailure, "out of memory");
  }
  isOpen = 1;
  count = position = 0;
  if (openMode == 0) {
    if (ReadHeader() == 0) {
      int error = lastError;
      Release();
      return SetError(error);
    }
  } else {
    formatVersion = kFormatVersion;
    type = ZoFileType();
    version = 0;
    if (WriteHeader() == 0) {
      Release();
      return Fail(kIoFailure, "the header could not be written");
    }
  }
  return SetError(kOk);
}

void ZoFile::Release() {
  if (handle != kZoInvalidFileHandle) ZoPlatform::Close(handle);
  handle = kZoInvalidFileHandle;
  ::operator delete(buffer);
  buffer = nullptr;
  count = position = 0;
  isOpen = 0;
}

int ZoFile::Close() {
  if (isOpen == 0) return Fail(kNotOpen, "the container is not open");
  if (inMemory != 0) {
    if (mode == 1) ::operator delete(buffer);
    buffer = nullptr;
    count = position = 0;
    isOpen = 0;
    inMemory = 0;
    return SetError(kOk);
  }
  if (mode == 1) {
    int64_t end = ZoPlatform::Position(handle);
    if (end < 0 || !ZoPlatform::Truncate(handle, end)) return Fail(kIoFailure, "the file could not be cut to its end");
    if (WriteHeader() == 0) return Fail(kIoFailure, "the header could not be rewritten");
  }
  bool closed = ZoPlatform::Close(handle);
  handle = kZoInvalidFileHandle;
  ::operator delete(buffer);
  buffer = nullptr;
  count = position = 0;
  isOpen = 0;
  return closed ? SetError(kOk) : Fail(kIoFailure, "the file could not be closed");
}

// --- Header ---------------------------------------------------------------------------

int ZoFile::ReadHeader() {
  unsigned char header[kHeaderSize];
  // Open has just reset the kept failure, so these reasons are the ones kept.
  if (ReadBytes(kHeaderSize, header) != static_cast<uint32_t>(kHeaderSize)) {
    ResetFailure();  // the header's own reason says more than the short read's
    return Fail(kIoFailure, "the file is shorter than the %d-byte header", kHeaderSize);
  }
  int32_t magic;
  std::memcpy(&magic, header, 4);
  if (magic != kMagic) {
    Fail(kBadModeOrMagic, "bad magic 0x%08X", static_cast<uint32_t>(magic));
    failureOffset = 0;  // where the magic stands
    return 0;
  }
  std::memcpy(&formatVersion, header + 4, 2);
  std::memcpy(&version, header + 6, 2);
  int32_t tag;
  std::memcpy(&tag, header + 8, 4);
  type = ZoFileType(tag);
  return SetError(kOk);
}

int ZoFile::WriteHeader() {
  unsigned char header[kHeaderSize] = {};
  int32_t magic = kMagic;
  int32_t tag = type;
  std::memcpy(header, &magic, 4);
  std::memcpy(header + 4, &formatVersion, 2);
  std::memcpy(header + 6, &version, 2);
  std::memcpy(header + 8, &tag, 4);
  if (ZoPlatform::Seek(handle, 0, 0) != 0 || ZoPlatform::Write(handle, header, kHeaderSize) != kHeaderSize)
    return Fail(kIoFailure, "the header could not be written");
  return SetError(kOk);
}

// --- Positions -------------------------------------------------------------------------

int64_t ZoFile::GetFilePointer() {
  if (isOpen == 0) return -1;
  if (inMemory != 0) return position;
  int64_t platform = ZoPlatform::Position(handle);
  if (platform < 0) return -1;
  return mode == 0 ? platform - (count - position) : platform;
}

int64_t ZoFile::SetFilePointer(int64_t offset, int origin) {
  if (isOpen == 0) return -1;
  if (inMemory != 0) {
    if (offset < 0 || offset > UINT32_MAX) return -1;
    position = static_cast<uint32_t>(offset);
    return position;
  }
  int64_t target = offset;
  if (origin == 1) {
    int64_t here = GetFilePointer();
    if (here < 0) return -1;
    target = here + offset;
    origin = 0;
  }
  count = position = 0;
  return ZoPlatform::Seek(handle, target, origin);
}

void ZoFile::Unread(uint32_t bytes) {
  if (inMemory != 0) {
    position = position >= bytes ? position - bytes : 0;
  } else if (position >= bytes) {
    position -= bytes;  // the bytes are still in the buffer
  } else {
    SetFilePointer(-static_cast<int64_t>(bytes), 1);
  }
}

// --- Bytes ------------------------------------------------------------------------------

uint32_t ZoFile::ReadFromFileBuffer(uint32_t wanted, char* destination) {
  uint32_t delivered = 0;
  while (delivered < wanted) {
    if (position == count) {
      int64_t got = ZoPlatform::Read(handle, buffer, kBufferSize);
      if (got < 0) {
        count = position = 0;
        Fail(kIoFailure, "the file could not be read");
        return delivered;
      }
      count = static_cast<uint32_t>(got);
      position = 0;
      if (count == 0) {
        Fail(kIoFailure, "the file ends %u bytes short", wanted - delivered);
        return 0;
      }
    }
    uint32_t take = count - position < wanted - delivered ? count - position : wanted - delivered;
    std::memcpy(destination + delivered, buffer + position, take);
    position += take;
    delivered += take;
  }
  SetError(kOk);
  return delivered;
}

uint32_t ZoFile::ReadFromMemory(uint32_t wanted, char* destination) {
  uint32_t available = position < count ? count - position : 0;
  uint32_t take = wanted < available ? wanted : available;
  if (take > 0) std::memcpy(destination, buffer + position, take);
  position += take;
  if (take < wanted) {
    Fail(kIoFailure, "%u bytes wanted, %u left", wanted, take);
  } else {
    SetError(kOk);
  }
  return take;
}

uint32_t ZoFile::ReadBytes(uint32_t wanted, void* destination) {
  if (isOpen == 0 || mode != 0) {
    Fail(kNotOpen, "the container is not open for reading");
    return 0;
  }
  if (wanted == 0) {
    SetError(kOk);
    return 0;
  }
  auto* out = static_cast<char*>(destination);
  return inMemory != 0 ? ReadFromMemory(wanted, out) : ReadFromFileBuffer(wanted, out);
}

uint32_t ZoFile::WriteToMemory(uint32_t wanted, char const* source) {
  uint64_t needed = static_cast<uint64_t>(position) + wanted;
  if (needed > count) {
    uint64_t grown = static_cast<uint64_t>(count) * 2;
    if (grown < needed) grown = needed;
    char* fresh = grown <= UINT32_MAX ? static_cast<char*>(::operator new(grown, std::nothrow)) : nullptr;
    if (fresh == nullptr) {
      Fail(kIoFailure, "out of memory");
      return 0;
    }
    if (position > 0) std::memcpy(fresh, buffer, position);
    ::operator delete(buffer);
    buffer = fresh;
    count = static_cast<uint32_t>(grown);
  }
  std::memcpy(buffer + position, source, wanted);
  position += wanted;
  SetError(kOk);
  return wanted;
}

uint32_t ZoFile::WriteBytes(uint32_t wanted, void const* source) {
  if (isOpen == 0 || mode != 1) {
    Fail(kNotOpen, "the container is not open for writing");
    return 0;
  }
  if (wanted == 0) {
    SetError(kOk);
    return 0;
  }
  if (inMemory != 0) return WriteToMemory(wanted, static_cast<char const*>(source));
  int64_t put = ZoPlatform::Write(handle, source, wanted);
  uint32_t written = put > 0 ? static_cast<uint32_t>(put) : 0;
  if (written < wanted) {
    Fail(kIoFailure, "the file took %u of %u bytes", written, wanted);
  } else {
    SetError(kOk);
  }
  return written;
}

int ZoFile::ReadExactly(uint32_t wanted, void* destination) {
  return ReadBytes(wanted, destination) == wanted && lastError == kOk ? 1 : 0;
}

char* ZoFile::GetBuffer(int& length) {
  length = static_cast<int>(position);
  return buffer;
}

int ZoFile::Compress() { return isOpen != 0 && inMemory != 0 ? 1 : 0; }
int ZoFile::Uncompress() { return isOpen != 0 && inMemory != 0 ? 1 : 0; }

// --- Primitives ----------------------------------------------------------------------------

int ZoFile::Read(int16_t& value) { return ReadExactly(2, &value); }
int ZoFile::Read(int32_t& value) { return ReadExactly(4, &value); }
int ZoFile::Read(float& value) { return ReadExactly(4, &value); }

int ZoFile::ReadType(ZoFileType& value) {
  int32_t tag;
  if (ReadExactly(4, &tag) == 0) return 0;
  value = ZoFileType(tag);
  return 1;
}

int ZoFile::Read(ZoString& value) {
  int32_t length = 0;
  if (Read(length) == 0) return 0;
  if (length == 0) {
    value = NULL_STRING;
    return 1;
  }
  if (length < 0 || length > kMaxString) return Fail(kIoFailure, "string length %d is outside 0 to %d", length, kMaxString);
  char scratch[kMaxString + 1];
  if (ReadExactly(static_cast<uint32_t>(length), scratch) == 0) return 0;
  value = ZoString(scratch, length);
  return 1;
}

int ZoFile::Write(int16_t value) { return WriteBytes(2, &value) == 2 ? 1 : 0; }
int ZoFile::Write(int32_t value) { return WriteBytes(4, &value) == 4 ? 1 : 0; }
int ZoFile::Write(float value) { return WriteBytes(4, &value) == 4 ? 1 : 0; }
int ZoFile::Write(ZoFileType value) { return Write(static_cast<int32_t>(value)); }

int ZoFile::Write(ZoString const& value) {
  int32_t length = value.Length();
  if (Write(length) == 0) return 0;
  if (length <= 0) return 1;
  return WriteBytes(static_cast<uint32_t>(length), value.c_str()) == static_cast<uint32_t>(length) ? 1 : 0;
}

// --- Objects -------------------------------------------------------------------------------

int ZoFile::Read(ZoFileObject& object) {
  if (isOpen == 0 || mode != 0) return Fail(kNotOpen, "the container is not open for reading");
  ZoFileType found;
  if (ReadType(found) == 0) return 0;
  if (found != object.TypeInFile()) {
    Unread(4);
    return Fail(kWrongType, "record type 0x%08X where 0x%08X belongs", static_cast<uint32_t>(static_cast<int32_t>(found)),
                static_cast<uint32_t>(static_cast<int32_t>(object.TypeInFile())));
  }
  return object.ReadFromFile(*this) > 0 ? 1 : 0;
}

int ZoFile::Read(int objectCount, ZoFileObject* const* objects) {
  int done = 0;
  for (; done < objectCount && objects != nullptr && objects[done] != nullptr; ++done)
    if (Read(*objects[done]) == 0) break;
  return done;
}

ZoFileObject* ZoFile::ReadObject() {
  if (ReadType(objectType) == 0) return nullptr;
  ZoFileCreateFunction create = FindConstructor(objectType);
  return create != nullptr ? create(*this) : nullptr;
}

int ZoFile::Write(ZoFileObject& object) {
  if (isOpen == 0 || mode != 1) return Fail(kNotOpen, "the container is not open for writing");
  if (Write(object.TypeInFile()) == 0) return 0;
  return object.WriteToFile(*this);
}

int ZoFile::Write(int objectCount, ZoFileObject* const* objects) {
  int done = 0;
  for (; done < objectCount && objects != nullptr && objects[done] != nullptr; ++done)
    if (Write(*objects[done]) <= 0) break;
  return done;
}

int ZoFile::PeekType(ZoFileType& value) {
  if (ReadType(value) == 0) return 0;
  Unread(4);
  return 1;
}

int ZoFile::WriteTypeOf(ZoFileObject& object) {
  if (isOpen == 0 || mode != 1) return Fail(kNotOpen, "the container is not open for writing");
  return Write(object.TypeInFile());
}
