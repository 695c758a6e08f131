#include <zoactor/serialization/ZoStream.h>

#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include <cstdio>

namespace {

constexpr int32_t kNullTag = -2;
constexpr int32_t kSizedTag = -1;

}  // namespace

ZoStream::ZoStream()
    : version(0),
      currentType(0),
      currentSize(0),
      cursor(nullptr),
      readLimit(nullptr),
      writeLimit(nullptr),
      status(ZoStreamOk),
      callBack(nullptr),
      depth(0),
      failureOffset(-1),
      failureStatus(ZoStreamOk),
      failureReason{} {}

ZoStream::~ZoStream() { delete callBack; }

int64_t ZoStream::BytesLeft() { return -1; }

int64_t ZoStream::Position() { return -1; }

int64_t ZoStream::PositionBack(int32_t back) {
  int64_t position = Position();
  return position >= back ? position - back : -1;
}

void ZoStream::SetStatus(ZoStreamError newStatus) {
  if (newStatus != ZoStreamOk && !HasFailure()) {
    FailAt(Position(), newStatus, "status %d set by the caller", static_cast<int>(newStatus));
  }
  status = newStatus;
}

// --- Why a read failed -------------------------------------------------------------

void ZoStream::KeepFailure(int64_t offset, ZoStreamError error, char const* format, va_list arguments) {
  if (HasFailure()) return;
  std::vsnprintf(failureReason, sizeof failureReason, format, arguments);
  // A reason must never read as "no failure".
  if (failureReason[0] == '\0') std::snprintf(failureReason, sizeof failureReason, "status %d", static_cast<int>(error));
  failureOffset = offset >= 0 ? offset : -1;
  failureStatus = error;
}

ZoStreamError ZoStream::Fail(ZoStreamError error, char const* format, ...) {
  if (!HasFailure()) {
    va_list arguments;
    va_start(arguments, format);
    KeepFailure(Position(), error, format, arguments);
    va_end(arguments);
  }
  status = error;
  return error;
}

ZoStreamError ZoStream::FailAt(int64_t offset, ZoStreamError error, char const* format, ...) {
  if (!HasFailure()) {
    va_list arguments;
    va_start(arguments, format);
    KeepFailure(offset, error, format, arguments);
    va_end(arguments);
  }
  status = error;
  return error;
}

void ZoStream::ResetFailure() {
  failureReason[0] = '\0';
  failureOffset = -1;
  failureStatus = ZoStreamOk;
}

void ZoStream::SetCallBack(ZoCallBack* newCallBack) {
  if (newCallBack == callBack) return;
  delete callBack;
  callBack = newCallBack;
}

ZoStream& ZoStream::operator>>(bool& value) {
  char byte = 0;
  if (Get(&byte, 1).status == ZoStreamOk) value = byte != 0;
  return *this;
}

ZoStream& ZoStream::operator<<(ZoString const& text) {
  int32_t length = text.Length();
  if ((*this << length).status == ZoStreamOk && length > 0) WriteBytes(static_cast<uint32_t>(length), text.c_str());
  return *this;
}

ZoStream& ZoStream::operator>>(ZoString& text) {
  int32_t length = 0;
  if ((*this >> length).status != ZoStreamOk) return *this;
  if (length == 0) {
    text = NULL_STRING;
  } else if (length < 0 || length > kZoMaxStreamString) {
    FailAt(PositionBack(4), ZoStreamFormatError, "string length %d is outside 0 to %d", length, kZoMaxStreamString);
  } else {
    char scratch[kZoMaxStreamString + 1];
    if (ReadBytes(static_cast<uint32_t>(length), scratch) == ZoStreamOk) text = ZoString(scratch, length);
  }
  return *this;
}

ZoStream& ZoStream::operator<<(ZoStreamObject const& object) {
  status = object.WriteToStream(*this);
  return *this;
}

ZoStream& ZoStream::operator>>(ZoStreamObject& object) {
  status = object.ReadFromStream(*this);
  return *this;
}

// --- Framing -------------------------------------------------------------------

ZoStreamError ZoStreamObject::WriteAsObject(ZoStream& stream) const {
  stream << StreamType();
  return WriteToStream(stream);
}

ZoStreamError ZoStreamSizedObject::WriteAsObject(ZoStream& stream) const {
  int32_t size = StreamSize();
  int32_t type = StreamType();
  stream << kSizedTag << type << size;
  return WriteToStream(stream);
}

ZoStreamObject::~ZoStreamObject() = default;

ZoStreamError ZoStream::WriteObject(ZoStreamObject const* object) {
  if (object == nullptr) {
    *this << kNullTag;
    return status;
  }
  currentType = object->StreamType();
  object->WriteAsObject(*this);
  currentType = 0;
  return status;
}

ZoStreamObject* ZoStream::ReadObject(ZoStreamObject* (*fallback)()) {
  int32_t tag = 0;
  if ((*this >> tag).status != ZoStreamOk) return nullptr;
  return ReadObjectAfterTag(tag, fallback);
}

ZoStreamObject* ZoStream::ReadObjectAfterTag(int32_t tag, ZoStreamObject* (*fallback)()) {
  if (tag == kNullTag) return nullptr;

  int32_t type = 0;
  int32_t size = 0;
  ZoStreamCreateFunction create;
  if (tag == kSizedTag) {
    *this >> type >> size;
    if (status != ZoStreamOk) return nullptr;
    create = ZoStreamConstructorEntry::Find(type);
    if (create == nullptr) {
      if (fallback == nullptr) {
        Seek(size);
        return nullptr;
      }
      create = fallback;
    }
  } else {
    // An unsized frame of an unknown class cannot be skipped: its body stays
    // in the stream and the status stays as it is.
    type = tag;
    create = ZoStreamConstructorEntry::Find(type);
    if (create == nullptr) {
      // Not a failure of the status, but what follows is this body's bytes.
      NoteUnknownFrame(type);
      return nullptr;
    }
  }

  if (depth >= ZoReadLimits::MaxDepth()) {
    Fail(ZoStreamFormatError, "nesting deeper than %d", ZoReadLimits::MaxDepth());
    return nullptr;
  }
  int32_t savedType = currentType;
  int32_t savedSize = currentSize;
  currentType = type;
  currentSize = size;
  ZoStreamObject* object = create();
  if (object != nullptr) {
    ++depth;
    *this >> *object;
    --depth;
  }
  currentType = savedType;
  currentSize = savedSize;
  return object;
}

void ZoStream::NoteUnknownFrame(int32_t type) {
  if (HasFailure()) return;
  ZoStreamError kept = status;
  // The offset names the type code itself, read just before.
  FailAt(PositionBack(4), ZoStreamFormatError, "unknown type code 0x%08X", static_cast<uint32_t>(type));
  failureStatus = ZoStreamOk;
  status = kept;
}

ZoStreamObject* ZoStream::CreateObject(int32_t type) {
  ZoStreamCreateFunction create = ZoStreamConstructorEntry::Find(type);
  return create != nullptr ? create() : nullptr;
}

// --- Untrusted counts ------------------------------------------------------------

bool ZoStream::CheckCount(int64_t count, uint32_t encodedSize, uint32_t memorySize) {
  return CheckCountAt(count, encodedSize, memorySize, 0);
}

// `back` is how many bytes behind the position the count stands, so that a
// refusal names the count's own offset.
bool ZoStream::CheckCountAt(int64_t count, uint32_t encodedSize, uint32_t memorySize, int32_t back) {
  if (status != ZoStreamOk) return false;
  if (count < 0) {
    FailAt(PositionBack(back), ZoStreamFormatError, "count %lld is negative", static_cast<long long>(count));
    return false;
  }
  // count < 2^63 and sizes < 2^32: compare by division so nothing overflows.
  int64_t left = BytesLeft();
  if (left >= 0 && encodedSize > 0 && count > left / static_cast<int64_t>(encodedSize)) {
    if (encodedSize == 1) {
      FailAt(PositionBack(back), ZoStreamReadError, "count %lld exceeds the %lld bytes left", static_cast<long long>(count),
             static_cast<long long>(left));
    } else {
      FailAt(PositionBack(back), ZoStreamReadError, "count %lld of %u-byte elements exceeds the %lld bytes left",
             static_cast<long long>(count), encodedSize, static_cast<long long>(left));
    }
    return false;
  }
  uint64_t element = encodedSize > memorySize ? encodedSize : memorySize;
  if (element > 0 && static_cast<uint64_t>(count) > ZoReadLimits::MaxAllocation() / element) {
    FailAt(PositionBack(back), ZoStreamFormatError, "count %lld of %llu-byte elements passes the %llu-byte allocation cap",
           static_cast<long long>(count), static_cast<unsigned long long>(element),
           static_cast<unsigned long long>(ZoReadLimits::MaxAllocation()));
    return false;
  }
  return true;
}

bool ZoStream::ReadCount(int32_t& count, uint32_t encodedSize, uint32_t memorySize) {
  int32_t value = 0;
  if ((*this >> value).status != ZoStreamOk) return false;
  if (!CheckCountAt(value, encodedSize, memorySize, 4)) return false;
  count = value;
  return true;
}

bool ZoStream::ReadLoopCount(int32_t& count, uint32_t encodedSize, uint32_t memorySize) {
  int32_t value = 0;
  if ((*this >> value).status != ZoStreamOk) return false;
  if (value < 0) value = 0;
  if (!CheckCountAt(value, encodedSize, memorySize, 4)) return false;
  count = value;
  return true;
}

// --- Nesting ---------------------------------------------------------------------

ZoStreamNesting::ZoStreamNesting(ZoStream& nested) : stream(nested), entered(false) {
  if (stream.depth >= ZoReadLimits::MaxDepth()) {
    stream.Fail(ZoStreamFormatError, "nesting deeper than %d", ZoReadLimits::MaxDepth());
    return;
  }
  ++stream.depth;
  entered = true;
}

ZoStreamNesting::~ZoStreamNesting() {
  if (entered) --stream.depth;
}
