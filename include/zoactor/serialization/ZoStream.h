// ZoStream: the abstract byte stream every persistent object is written to
// and read from, with a sticky status, typed primitive operators, and the
// framing of objects by type code.
//
// Byte order: every multi-byte value is little-endian on the stream (an int32
// is its four bytes, least significant first; floats and doubles are their
// IEEE-754 bit patterns). The library only builds on little-endian hosts.
//
// Status: every operation leaves its result in the stream's status and a run
// of operations can be checked once at the end. What clears an error depends
// on the stream: a successful memory read, a successful file-stream flush,
// and the object operators (which store the object's own result). Readers
// of untrusted data therefore act on an error where it happens: they check
// Status() after each count and each bulk block (CheckCount does both).
//
// Reading untrusted data: counts are checked with CheckCount before anything
// is allocated from them, nested framed objects are bounded by
// ZoReadLimits::MaxDepth(), and strings are bounded at 512 characters.
//
// Why a read failed: beside the status, which a later good read may clear,
// the stream keeps its first failure until ResetFailure(): the byte offset
// where it happened and a reason text ("count 2147483647 exceeds the 812
// bytes left"). Recording it allocates nothing; the text lives in the stream.
// An unsized frame of an unknown class is recorded too, although the status
// stays ZoStreamOk: its body stays unread and explains what goes wrong next.
#ifndef ZOACTOR_SERIALIZATION_ZOSTREAM_H
#define ZOACTOR_SERIALIZATION_ZOSTREAM_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoStreamError.h>
#include <zoactor/serialization/ZoStreamObject.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the stream format is little-endian; so must the host be");

class ZoCallBack;

// The format version that current bodies carry. Streams start at version 0,
// which selects the oldest layouts of nested bodies: code that streams a
// nested object on its own sets the version it means (usually this) first.
constexpr int32_t kZoCurrentVersion = 106;

// The longest string a stream reads back (longer ones are written but fail
// to read with ZoStreamFormatError).
constexpr int32_t kZoMaxStreamString = 512;

// The room a stream keeps for the reason of its first failure, terminator
// included.
constexpr int32_t kZoMaxFailureReason = 96;

class ZOACTOR_API ZoStream {
 public:
  // The format version of the data being read or written (see
  // kZoCurrentVersion). Neither framing operation changes it.
  int32_t version;
  // The type code of the object ReadObject or WriteObject is handling; 0
  // outside them.
  int32_t currentType;
  // The declared body size of the object ReadObject is creating (0 for an
  // object framed without a size).
  int32_t currentSize;

  ZoStream();
  // Destroys the owned callback, if any.
  virtual ~ZoStream();
  ZoStream(ZoStream const&) = delete;
  ZoStream& operator=(ZoStream const&) = delete;

  // --- The medium -------------------------------------------------------------

  // Copies the next `count` bytes into `destination`; updates and returns the status.
  virtual ZoStreamError ReadBytes(uint32_t count, void* destination) = 0;
  // Appends `count` bytes at the current position; updates and returns the status.
  virtual ZoStreamError WriteBytes(uint32_t count, void const* source) = 0;
  // Makes buffered data reach the medium; returns the status.
  virtual ZoStreamError Flush() = 0;
  // Moves the position by `offset` bytes relative to the current position.
  virtual ZoStreamError Seek(int32_t offset) = 0;
  // How many bytes can still be read, or -1 when the stream cannot tell.
  virtual int64_t BytesLeft();

  // --- Status -----------------------------------------------------------------

  ZoStreamError Status() const { return status; }
  // Stores a status (callers use it to clear or force an error). Forcing an
  // error records it as a failure without a reason of its own.
  void SetStatus(ZoStreamError newStatus);

  // --- Why a read failed --------------------------------------------------------

  // Sets the status to `error` and, when no failure is kept yet, keeps this
  // one: the current position and the reason formatted from `format` (printf
  // rules, cut at kZoMaxFailureReason − 1 characters). Returns `error`.
  ZoStreamError Fail(ZoStreamError error, char const* format, ...) __attribute__((format(printf, 3, 4)));
  // The same with an explicit byte offset (-1 when unknown).
  ZoStreamError FailAt(int64_t offset, ZoStreamError error, char const* format, ...)
      __attribute__((format(printf, 4, 5)));
  // True while a failure is kept.
  bool HasFailure() const { return failureReason[0] != '\0'; }
  // The kept failure's byte offset from the start of the stream (-1 when the
  // stream cannot tell, or no failure is kept).
  int64_t FailureOffset() const { return failureOffset; }
  // The kept failure's reason, or the empty string.
  char const* FailureReason() const { return failureReason; }
  // The kept failure's status (ZoStreamOk for a recorded unknown frame).
  ZoStreamError FailureStatus() const { return failureStatus; }
  // Forgets the kept failure (the status is left as it is).
  void ResetFailure();
  // The byte offset of the position from the start of the data, or -1 when
  // the stream cannot tell. Used when a failure is recorded.
  virtual int64_t Position();
  // Takes ownership of `newCallBack` (null allowed), destroying the one held
  // so far. Only file streams raise notifications through it.
  void SetCallBack(ZoCallBack* newCallBack);
  ZoCallBack* GetCallBack() const { return callBack; }

  // --- Primitives ---------------------------------------------------------------
  // Each writer is one WriteBytes of the value's bytes and returns the stream
  // for chaining; each reader is one ReadBytes straight into the variable,
  // which stays unchanged when the read fails. Results are in Status().

  ZoStream& operator<<(char value) { return Put(&value, 1); }
  ZoStream& operator<<(bool value) { return Put(&value, 1); }
  ZoStream& operator<<(int16_t value) { return Put(&value, 2); }
  ZoStream& operator<<(int32_t value) { return Put(&value, 4); }
  ZoStream& operator<<(uint32_t value) { return Put(&value, 4); }
  ZoStream& operator<<(float value) { return Put(&value, 4); }
  ZoStream& operator<<(double value) { return Put(&value, 8); }

  // Widths the stream format has no primitive for are refused at compile
  // time rather than silently promoted to another width.
  ZoStream& operator<<(signed char) = delete;
  ZoStream& operator<<(unsigned char) = delete;
  ZoStream& operator<<(uint16_t) = delete;
  ZoStream& operator<<(long) = delete;
  ZoStream& operator<<(unsigned long) = delete;
  ZoStream& operator<<(long long) = delete;
  ZoStream& operator<<(unsigned long long) = delete;
  ZoStream& operator<<(char const*) = delete;

  ZoStream& operator>>(char& value) { return Get(&value, 1); }
  // A byte other than 0 reads as true.
  ZoStream& operator>>(bool& value);
  ZoStream& operator>>(int16_t& value) { return Get(&value, 2); }
  ZoStream& operator>>(int32_t& value) { return Get(&value, 4); }
  ZoStream& operator>>(uint32_t& value) { return Get(&value, 4); }
  ZoStream& operator>>(float& value) { return Get(&value, 4); }
  ZoStream& operator>>(double& value) { return Get(&value, 8); }

  // Writes the length (int32, characters without terminator) and then, when
  // that succeeded, the characters. No limit on writing.
  ZoStream& operator<<(ZoString const& text);
  // Reads a length and that many characters. Length 0 gives the null string;
  // a negative length or one above 512 sets ZoStreamFormatError and reads
  // nothing more. On any failure the string is unchanged. Thread-safe: no
  // buffer is shared between streams.
  ZoStream& operator>>(ZoString& text);

  // Writes the body of `object` (no frame); the status becomes its result.
  ZoStream& operator<<(ZoStreamObject const& object);
  // Reads a body into an existing object; the status becomes its result.
  ZoStream& operator>>(ZoStreamObject& object);

  // --- Framed objects -------------------------------------------------------------

  // Writes `object` framed: -2 for null; a sized object as -1, its type code,
  // its declared StreamSize and the body; any other object as its type code
  // and the body. Returns the status.
  ZoStreamError WriteObject(ZoStreamObject const* object);
  // Reads a framed object and returns a new object owned by the caller, or
  // null: for the null marker, for an unknown code (a sized body is skipped
  // unless `fallback` creates an object for it; an unsized body stays unread
  // and the status stays ZoStreamOk), when a creation function returns null,
  // when the nesting is deeper than ZoReadLimits::MaxDepth() (status
  // ZoStreamFormatError), and when the frame cannot be read. An object whose
  // body failed to read is still returned; its failure is in Status().
  ZoStreamObject* ReadObject(ZoStreamObject* (*fallback)());
  // ReadObject for a frame whose first int32, `tag`, the caller has read
  // already (a reader that handles some classes itself looks at the tag
  // first): everything ReadObject does after reading it.
  ZoStreamObject* ReadObjectAfterTag(int32_t tag, ZoStreamObject* (*fallback)());

  // Reads a framed object that must be a T. A null frame returns null with
  // the status unchanged; an object of another class is destroyed and the
  // read fails with ZoStreamFormatError.
  template <class T>
  T* ReadObjectAs(ZoStreamObject* (*fallback)() = nullptr);

  // The object for `type` from the registry's creation function, or null
  // when the code is not registered. Reads nothing.
  static ZoStreamObject* CreateObject(int32_t type);

  // Where the next `count` bytes lie when the stream's window holds them all
  // and the status is ZoStreamOk: the stream moves past them, exactly as a
  // ReadBytes of them would, without a copy or a virtual call. Otherwise
  // null, with nothing read (the caller reads with ReadBytes instead). The
  // bytes stay valid until the stream is next used.
  char const* TakeFromWindow(uint32_t count) {
    if (status != ZoStreamOk || readLimit - cursor < static_cast<ptrdiff_t>(count)) return nullptr;
    char const* at = cursor;
    cursor += count;
    return at;
  }

  // --- Reading untrusted counts -------------------------------------------------

  // True when `count` elements of at least `encodedSize` bytes each may be
  // read and allocated: the status is ZoStreamOk, the count is not negative
  // (ZoStreamFormatError), count × encodedSize fits in BytesLeft() when the
  // stream knows it (ZoStreamReadError), and count × max(encodedSize,
  // memorySize) is within ZoReadLimits::MaxAllocation() (ZoStreamFormatError).
  // On refusal the status says why and nothing should be allocated.
  bool CheckCount(int64_t count, uint32_t encodedSize, uint32_t memorySize = 0);
  // Reads an int32 count and checks it as CheckCount does.
  bool ReadCount(int32_t& count, uint32_t encodedSize, uint32_t memorySize = 0);
  // Reads the int32 count of a loop of elements: a negative count reads as
  // 0 (the loop it counts runs no times), any other is checked as
  // CheckCount does.
  bool ReadLoopCount(int32_t& count, uint32_t encodedSize, uint32_t memorySize = 0);

  // The nesting depth of framed objects (and bare bodies that nest, see
  // ZoStreamNesting) being read now.
  int32_t Depth() const { return depth; }

  // --- Sizes ---------------------------------------------------------------------
  // The number of bytes the matching writer produces.

  static int32_t SizeOf(char) { return 1; }
  static int32_t SizeOf(bool) { return 1; }
  static int32_t SizeOf(int16_t) { return 2; }
  static int32_t SizeOf(int32_t) { return 4; }
  static int32_t SizeOf(uint32_t) { return 4; }
  static int32_t SizeOf(float) { return 4; }
  static int32_t SizeOf(double) { return 8; }
  static int32_t SizeOf(ZoString const& text) { return text.Length() + 4; }
  // The object's declared body size, without the 12 bytes of its frame.
  static int32_t SizeOf(ZoStreamSizedObject const& object) { return object.StreamSize(); }

 protected:
  // Streams that keep their bytes in memory expose a window onto them so
  // that primitives move without a virtual call: while the status is
  // ZoStreamOk, `count` bytes may be read from `cursor` when they lie below
  // `readLimit`, and written when they lie below `writeLimit`; otherwise the
  // virtual ReadBytes/WriteBytes run. A stream without a window leaves all
  // three null. A stream that keeps a window must behave exactly as its
  // ReadBytes/WriteBytes would for the reads and writes the window serves.
  char* cursor;
  char* readLimit;
  char* writeLimit;

  ZoStreamError status;
  ZoCallBack* callBack;

 private:
  friend class ZoStreamNesting;

  // Keeps "unknown type code" as the failure while the status stays as it is.
  void NoteUnknownFrame(int32_t type);
  // The position `back` bytes ago, or -1 when the stream cannot tell.
  int64_t PositionBack(int32_t back);
  void KeepFailure(int64_t offset, ZoStreamError error, char const* format, va_list arguments)
      __attribute__((format(printf, 4, 0)));
  bool CheckCountAt(int64_t count, uint32_t encodedSize, uint32_t memorySize, int32_t back);

  ZoStream& Put(void const* value, uint32_t count) {
    if (status == ZoStreamOk && writeLimit - cursor >= static_cast<ptrdiff_t>(count)) {
      std::memcpy(cursor, value, count);
      cursor += count;
    } else {
      WriteBytes(count, value);
    }
    return *this;
  }

  // Primitives land in their variable only when the whole value was read,
  // even on streams whose ReadBytes delivers part of a short read.
  ZoStream& Get(void* value, uint32_t count) {
    if (status == ZoStreamOk && readLimit - cursor >= static_cast<ptrdiff_t>(count)) {
      std::memcpy(value, cursor, count);
      cursor += count;
    } else {
      char scratch[8];
      if (ReadBytes(count, scratch) == ZoStreamOk) std::memcpy(value, scratch, count);
    }
    return *this;
  }

  int32_t depth;
  int64_t failureOffset;
  ZoStreamError failureStatus;
  char failureReason[kZoMaxFailureReason];
};

// Counts one level of nesting for a reader that recurses into bare bodies
// (node children, older tree records) while it is alive. When the level
// would pass ZoReadLimits::MaxDepth() the stream's status becomes
// ZoStreamFormatError and Entered() is false: the reader must stop.
class ZOACTOR_API ZoStreamNesting {
 public:
  explicit ZoStreamNesting(ZoStream& stream);
  ~ZoStreamNesting();
  ZoStreamNesting(ZoStreamNesting const&) = delete;
  ZoStreamNesting& operator=(ZoStreamNesting const&) = delete;

  bool Entered() const { return entered; }

 private:
  ZoStream& stream;
  bool entered;
};

template <class T>
T* ZoStream::ReadObjectAs(ZoStreamObject* (*fallback)()) {
  ZoStreamObject* object = ReadObject(fallback);
  if (object == nullptr) return nullptr;
  T* typed = dynamic_cast<T*>(object);
  if (typed == nullptr) {
    int32_t found = object->StreamType();
    delete object;
    Fail(ZoStreamFormatError, "an object of type code 0x%08X where another class belongs", static_cast<uint32_t>(found));
  }
  return typed;
}

#endif
