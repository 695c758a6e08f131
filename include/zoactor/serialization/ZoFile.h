// ZoFile: the chunked container, a file (or a memory block) holding typed
// records behind a 16-byte header:
//
//   bytes 0-3    magic 0x424F5A20 (20 5A 4F 42 in the file)
//   bytes 4-5    the container's format version, written as 2, not checked
//   bytes 6-7    the caller's version (SetVersion)
//   bytes 8-11   the file's ZoFileType (SetType)
//   bytes 12-15  reserved, written 0, ignored
//
// Memory containers have no header. Records are little-endian int32 and
// 16-bit integers, floats as their four bytes, strings as an int32 length and
// that many characters, and objects as their ZoFileType followed by their
// data.
//
// Every operation reports through its result (1 or a count on success, 0 on
// failure) and sets GetLastError() afresh:
//   0 no error; 1 not open, not open in the mode needed, the file could not be
//   opened, or a memory read was given no block; 2 invalid mode or wrong
//   magic; 3 already open; 4 read or write failure (short read, read past the
//   end, a string longer than 255 characters, short write, failure to
//   truncate, rewrite the header or close); 5 the next object's type is not
//   the type of the object being read.
//
// Why an operation failed: besides the last error, the container keeps its
// first failure since it was opened (or ResetFailure): the position in the
// container where it happened and a reason text. Keeping it allocates nothing.
//
// Files are read through a 2048-byte buffer and written straight through; a
// written file gets its header twice, provisionally at Open and finally at
// Close (so a type or version set after opening reaches the file). The
// container is not copyable: two containers never share a handle or buffer.
#ifndef ZOACTOR_SERIALIZATION_ZOFILE_H
#define ZOACTOR_SERIALIZATION_ZOFILE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoFileObject.h>
#include <zoactor/serialization/ZoFileType.h>

#include <cstdint>

// Creates an object of a registered type, reading its data from the file.
using ZoFileCreateFunction = ZoFileObject* (*)(ZoFile& file);

class ZOACTOR_API ZoFile {
 public:
  static constexpr int32_t kMagic = 0x424F5A20;
  static constexpr uint16_t kFormatVersion = 2;
  static constexpr int32_t kHeaderSize = 16;
  static constexpr uint32_t kBufferSize = 2048;
  // The longest string Read(ZoString&) accepts.
  static constexpr int32_t kMaxString = 255;

  ZoFile();
  // Closes the container if it is open.
  virtual ~ZoFile();
  ZoFile(ZoFile const&) = delete;
  ZoFile& operator=(ZoFile const&) = delete;

  // Opens a memory container: mode 0 reads the caller's `size` bytes at
  // `block` (which stays the caller's), mode 1 writes into a block of the
  // container's own that starts at 2048 bytes and doubles as needed.
  virtual int Open(int mode, char* block, int size);
  // Opens a file: mode 0 reads an existing file and its header, mode 1
  // creates or truncates it and writes a provisional header. The name is
  // matched without regard to case.
  virtual int Open(ZoString const& name, int mode);
  // Closes the container. A written file is truncated at the current
  // position and its header rewritten first (on failure it stays open). A
  // memory container's own block is released.
  virtual int Close();
  // Reads up to `count` bytes; returns the bytes delivered. A file returns 0
  // with error 4 when its end comes before `count` bytes (what was read stays
  // in `destination`); a memory container returns what it had.
  virtual uint32_t ReadBytes(uint32_t count, void* destination);
  // Writes `count` bytes; returns the bytes written.
  virtual uint32_t WriteBytes(uint32_t count, void const* source);

  ZoFileType GetType() const { return type; }
  void SetType(ZoFileType newType) { type = newType; }
  uint16_t GetVersion() const { return version; }
  void SetVersion(uint16_t newVersion) { version = newVersion; }
  uint16_t GetFormatVersion() const { return formatVersion; }
  ZoString const& Filename() const { return fileName; }
  ZoFileType GetObjectType() const { return objectType; }
  int GetLastError() const { return lastError; }
  // The first failure since the container was opened: true while one is kept.
  bool HasFailure() const { return failureReason[0] != '\0'; }
  // Its position in the container, or -1 when unknown.
  int64_t FailureOffset() const { return failureOffset; }
  // Its reason, or the empty string.
  char const* FailureReason() const { return failureReason; }
  void ResetFailure();
  bool IsOpen() const { return isOpen != 0; }
  bool IsInMemory() const { return inMemory != 0; }
  int GetMode() const { return mode; }
  // The block and, in `length`, the position (for a memory container being
  // written, the bytes written so far). The block stays the container's and
  // is released by Close: take a copy first.
  char* GetBuffer(int& length);
  // 1 when open on memory, else 0; nothing is compressed.
  int Compress();
  int Uncompress();

  // Primitive reads and writes, 1 on success.
  int Read(int16_t& value);
  int Read(int32_t& value);
  int Read(float& value);
  int ReadType(ZoFileType& value);
  // An int32 length, then that many characters; 0 gives the null string.
  // A negative length or one above 255 fails with error 4, reading nothing more.
  int Read(ZoString& value);
  int Write(int16_t value);
  int Write(int32_t value);
  int Write(float value);
  int Write(ZoFileType value);
  int Write(ZoString const& value);

  // Reads the next type; when it is `object.TypeInFile()` returns 1 if the
  // object's ReadFromFile is positive, else 0. Another type is left unread
  // (the position goes back to where it began) with error 5.
  int Read(ZoFileObject& object);
  // Reads `count` objects in order, stopping at the first failure; returns
  // how many were read.
  int Read(int count, ZoFileObject* const* objects);
  // Reads a type into GetObjectType() and returns what its registered
  // creation function makes of the data behind it; null when the type is
  // not registered (the type stays consumed) or the read fails.
  ZoFileObject* ReadObject();
  // Writes the object's type and then its data; needs mode 1.
  int Write(ZoFileObject& object);
  // Writes `count` objects in order, stopping at the first failure; returns
  // how many were written.
  int Write(int count, ZoFileObject* const* objects);
  // Reads the next four bytes as a type without consuming them.
  int PeekType(ZoFileType& value);
  // Writes only the object's type.
  int WriteTypeOf(ZoFileObject& object);

  // Appends a registration; registering a type again adds a second entry
  // and the first one registered wins. Register before containers are read;
  // the list is not locked.
  static void RegisterClass(ZoFileCreateFunction create, ZoFileType type);
  // The registrations, in order: entries of {ZoFileType, ZoFileCreateFunction}.
  static ZoDblList& lRegisteredClasses();

 protected:
  // The creation function of the first registration of `type`, or null.
  static ZoFileCreateFunction FindConstructor(ZoFileType type);

  int ReadHeader();
  int WriteHeader();
  // The logical position in the container (bytes from its start), or -1.
  int64_t GetFilePointer();
  // Moves the logical position; origin 0 from the start, 1 from the current
  // position, 2 from the end. A memory container takes `offset` as the new
  // position whatever the origin. Buffered bytes are dropped, so the next
  // read starts exactly there. Returns the new position, or -1.
  int64_t SetFilePointer(int64_t offset, int origin);
  // Stores `code` as the last error; returns 1 when it is 0.
  int SetError(int code);
  // Stores a failing `code` and keeps it as the first failure with the reason
  // formatted from `format` when none is kept yet; returns 0.
  int Fail(int code, char const* format, ...) __attribute__((format(printf, 3, 4)));

  ZoFileHandle handle;
  int isOpen;
  int inMemory;
  int lastError;
  int64_t failureOffset;
  char failureReason[96];
  int mode;
  ZoFileType type;
  uint16_t formatVersion;
  uint16_t version;
  ZoString fileName;
  ZoFileType objectType;
  // Files: the 2048-byte read buffer. Memory: the caller's block (reading) or
  // the container's own growing block (writing).
  char* buffer;
  // Files: valid bytes in the read buffer. Memory: the block's size (reading)
  // or capacity (writing).
  uint32_t count;
  // The next byte of the buffer or block.
  uint32_t position;

 private:
  // Moves the read position back by `bytes` just read, without a platform
  // call when they are still in the buffer.
  void Unread(uint32_t bytes);
  // Releases the buffer and handle of a file and marks the container closed.
  void Release();
  uint32_t ReadFromFileBuffer(uint32_t count, char* destination);
  uint32_t ReadFromMemory(uint32_t count, char* destination);
  uint32_t WriteToMemory(uint32_t count, char const* source);
  int ReadExactly(uint32_t count, void* destination);
};

#endif
