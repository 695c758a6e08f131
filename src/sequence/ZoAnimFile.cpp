#include <zoactor/sequence/ZoAnimFile.h>

#include <zoactor/foundation/ZoPlatform.h>

#include <cinttypes>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

enum ErrorCode { kOk = 0, kNotOpen = 1, kIoFailure = 4 };

// The frame size of a motion file that has no frame yet.
constexpr int32_t kNoFrameYet = -1;

}  // namespace

ZoAnimFile::ZoAnimFile()
    : numFrames(0), frameSize(kNoFrameYet), headerPos(0), dataStart(0), dataEnd(0), windowStart(0), windowLength(0) {}

ZoAnimFile::~ZoAnimFile() {
  if (IsOpen()) ZoAnimFile::Close();
}

// --- Opening and closing -------------------------------------------------------------

int ZoAnimFile::Open(ZoString const& filePath, int openMode) {
  if (IsOpen()) Close();
  if (ZoFile::Open(filePath, openMode) == 0) return 0;
  filePath.SplitPath(nullptr, nullptr, &name, nullptr);
  if ((openMode == 1 ? WriteMotionHeader() : ReadMotionHeader()) != 0) return SetError(kOk);
  int error = lastError;
  ZoFile::Close();
  SetError(error);
  return 0;
}

int ZoAnimFile::WriteMotionHeader() {
  SetType(ZoFileType(fileType));
  SetVersion(fileVersion);
  frameSize = kNoFrameYet;
  numFrames = 0;
  int64_t at = GetFilePointer();
  if (at < 0 || Write(name) == 0 || Write(frameSize) == 0 || Write(numFrames) == 0)
    return Fail(kIoFailure, "the motion header could not be written");
  headerPos = static_cast<uint32_t>(at);
  dataStart = dataEnd = static_cast<uint32_t>(GetFilePointer());
  return 1;
}

int ZoAnimFile::ReadMotionHeader() {
  frameSize = 0;
  name = NULL_STRING;
  int64_t at = GetFilePointer();
  if (at < 0) return Fail(kIoFailure, "the motion file's position is unknown");
  headerPos = static_cast<uint32_t>(at);
  if (Read(name) == 0) return Fail(kIoFailure, "the motion header's name cannot be read");
  if (Read(frameSize) == 0 || Read(numFrames) == 0) return Fail(kIoFailure, "the motion header is cut short");
  int64_t start = GetFilePointer();
  int64_t end = SetFilePointer(0, 2);
  if (start < 0 || end < start) return Fail(kIoFailure, "the motion file's size cannot be had");
  if (end > static_cast<int64_t>(UINT32_MAX)) return Fail(kIoFailure, "the motion file is larger than 4 GiB");
  dataStart = static_cast<uint32_t>(start);
  dataEnd = static_cast<uint32_t>(end);
  if (SetFilePointer(dataStart, 0) != start) return Fail(kIoFailure, "the motion file cannot seek to its frames");
  if (frameSize == kNoFrameYet) {
    numFrames = 0;
    return 1;
  }
  if (frameSize < 1) return Fail(kIoFailure, "frame size %d is neither -1 nor positive", frameSize);
  uint64_t frameBytes = static_cast<uint64_t>(frameSize) * kTransformSize;
  numFrames = static_cast<int32_t>((dataEnd - dataStart) / frameBytes);
  return 1;
}

int ZoAnimFile::Close() {
  if (IsOpen() && GetMode() == 1 && numFrames >= 1 && FinishHeader() == 0) return 0;
  numFrames = 0;
  frameSize = 0;
  window.reset();
  windowLength = 0;
  return ZoFile::Close();
}

int ZoAnimFile::FinishHeader() {
  if (SetFilePointer(headerPos, 0) != headerPos) return Fail(kIoFailure, "the motion header cannot be reached");
  if (Write(name) == 0 || Write(frameSize) == 0 || Write(numFrames) == 0)
    return Fail(kIoFailure, "the motion header could not be rewritten");
  if (SetFilePointer(0, 2) < 0) return Fail(kIoFailure, "the motion file cannot seek to its end");
  return 1;
}

// --- Bytes ---------------------------------------------------------------------------

uint32_t ZoAnimFile::ReadBytes(uint32_t wanted, void* destination) {
  if (isOpen == 0 || mode != 0) {
    Fail(kNotOpen, "the motion file is not open for reading");
    return 0;
  }
  if (inMemory != 0) return ZoFile::ReadBytes(wanted, destination);
  if (wanted == 0) {
    SetError(kOk);
    return 0;
  }
  int64_t got = ZoPlatform::Read(handle, destination, wanted);
  if (got > 0) {
    SetError(kOk);
    return static_cast<uint32_t>(got);
  }
  if (got < 0) {
    Fail(kIoFailure, "the motion file could not be read");
  } else {
    Fail(kIoFailure, "the motion file ends %u bytes short", wanted);
  }
  return 0;
}

bool ZoAnimFile::RecordPosition(uint64_t index, uint64_t& at) const {
  uint64_t offset = 0;
  return !__builtin_mul_overflow(index, uint64_t{kTransformSize}, &offset) &&
         !__builtin_add_overflow(uint64_t{dataStart}, offset, &at);
}

int ZoAnimFile::ReadAt(uint64_t at, uint32_t bytes, void* destination) {
  if (SetFilePointer(static_cast<int64_t>(at), 0) != static_cast<int64_t>(at))
    return Fail(kIoFailure, "the motion file cannot seek to byte %" PRIu64, at);
  uint32_t got = ReadBytes(bytes, destination);
  if (got == bytes) return 1;
  return Fail(kIoFailure, "%u of %u bytes came at byte %" PRIu64, got, bytes, at);
}

bool ZoAnimFile::UseWindow() {
  if (static_cast<uint64_t>(frameSize) * kTransformSize * 4 > kWindowSize) return false;
  if (window == nullptr) window.reset(new (std::nothrow) char[kWindowSize]);
  return window != nullptr;
}

int ZoAnimFile::ReadThroughWindow(uint64_t at, void* destination) {
  if (at < windowStart || at + kTransformSize > windowStart + windowLength) {
    uint64_t left = dataEnd - at;
    uint32_t length = left < kWindowSize ? static_cast<uint32_t>(left) : kWindowSize;
    windowLength = 0;
    if (ReadAt(at, length, window.get()) == 0) return 0;
    windowStart = at;
    windowLength = length;
  }
  std::memcpy(destination, window.get() + (at - windowStart), kTransformSize);
  return 1;
}

// --- Frames --------------------------------------------------------------------------

int ZoAnimFile::WriteFrameData(ZoTransform3 const* transforms, int transformCount) {
  if (isOpen == 0 || mode != 1) return Fail(kNotOpen, "the motion file is not open for writing");
  if (transforms == nullptr || transformCount < 1) return 0;
  uint64_t bytes = static_cast<uint64_t>(transformCount) * kTransformSize;
  if (uint64_t{dataEnd} + bytes > UINT32_MAX) return Fail(kIoFailure, "the motion file would pass 4 GiB");
  if (frameSize == kNoFrameYet) frameSize = transformCount;
  if (WriteBytes(static_cast<uint32_t>(bytes), transforms) != bytes) return 0;
  dataEnd += static_cast<uint32_t>(bytes);
  ++numFrames;
  return 1;
}

int ZoAnimFile::ReadOneFrame(int frame, ZoTransform3* out, int transformCount) {
  if (isOpen == 0) return Fail(kNotOpen, "the motion file is not open");
  if (transformCount != frameSize || transformCount < 1 || out == nullptr || frame < 0) return 0;
  uint64_t at = 0;
  if (!RecordPosition(static_cast<uint64_t>(frame) * static_cast<uint64_t>(frameSize), at) ||
      at >= dataEnd)
    return 0;
  uint64_t bytes = static_cast<uint64_t>(transformCount) * kTransformSize;
  if (at + bytes > dataEnd)
    return Fail(kIoFailure, "frame %d is torn: the data ends %" PRIu64 " bytes into it", frame, dataEnd - at);
  return ReadAt(at, static_cast<uint32_t>(bytes), out);
}

int ZoAnimFile::ReadNodeFrames(int node, ZoTransform3* out, int frames, int& rotationChanges, int& positionChanges) {
  if (isOpen == 0) return Fail(kNotOpen, "the motion file is not open");
  if (node < 0 || node >= frameSize) return 0;
  rotationChanges = 0;
  positionChanges = 0;
  if (frames < 1) return 1;
  if (out == nullptr) return 0;
  ZoTransform3 current;
  bool windowed = UseWindow();
  windowLength = 0;  // the file may have changed since the last call
  int f = 0;
  for (; f < frames; ++f) {
    uint64_t at = 0;
    uint64_t index = static_cast<uint64_t>(f) * static_cast<uint64_t>(frameSize) + static_cast<uint64_t>(node);
    if (!RecordPosition(index, at) || at >= dataEnd) break;
    if (at + kTransformSize > dataEnd) return Fail(kIoFailure, "node %d of frame %d is torn", node, f);
    if ((windowed ? ReadThroughWindow(at, &current) : ReadAt(at, kTransformSize, &current)) == 0) return 0;
    out[f] = current;
    if (f == 0) continue;
    ZoTransform3 const& previous = out[f - 1];
    if (rotationChanges == 0 && previous.rotation != current.rotation) rotationChanges = 1;
    if (positionChanges == 0 && previous.translation != current.translation) positionChanges = 1;
  }
  // Frames past the data repeat the last one read.
  for (; f < frames; ++f) out[f] = current;
  return 1;
}
