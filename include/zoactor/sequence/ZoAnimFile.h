// ZoAnimFile: the motion file (".anm") of one actor in a recorded sequence:
// a chunked container of type "Aazo", version 1, holding a motion header and
// then one frame after another, each the same number of node transforms.
//
//   16 bytes   container header (magic, 2, 1, "Aazo", 0)
//   string     name (the actor's name in the sequence)
//   int32      frameSize: transforms per frame (-1 while no frame is written)
//   int32      numFrames
//   frames     numFrames × frameSize × 28 bytes; a transform is 7 float32,
//              translation x, y, z, then rotation w, x, y, z
//
// Writing (mode 1) appends frames at the end of the file; Close rewrites the
// motion header in place with the final frameSize and numFrames. Reading
// (mode 0) takes the header's name and frame size, and counts the frames
// from the size of the data (the stored count is replaced).
//
// Reads go straight to the file: ReadBytes keeps nothing buffered, so the
// container's position is always the file's own. ReadNodeFrames, which
// wants one 28-byte record per frame, reads the data in windows of 64 KiB
// (one platform read serves every record inside) when at least four frames
// fit in a window; the window is allocated once per file, at its first use. Failures keep their offset
// and reason in the container's first-failure record (FailureReason()).
//
// Edge cases:
// - A frame size read from a file must be -1 (no frame was ever written:
//   the file then has 0 frames, whatever follows the header) or at least 1;
//   any other value fails the open with error 4. A stored frame count is
//   never trusted: with frames, it is recounted from the data.
// - Trailing bytes that do not make a whole frame are not counted. A read
//   of that torn last frame (ReadOneFrame) fails rather than hand back part
//   of a frame; ReadNodeFrames reads a node's record whenever it lies whole
//   inside the data and fails on a torn record.
// - Positions are computed in 64 bits with overflow checks: a frame or node
//   whose position overflows lies beyond the data.
// - Files larger than 4 GiB are refused when opened for reading (positions
//   are 32-bit in this format).
// - WriteFrameData writes whatever count it is given after the first frame
//   (the caller keeps it equal to the frame size); a count whose bytes do
//   not fit in 32 bits is refused.
#ifndef ZOACTOR_SEQUENCE_ZOANIMFILE_H
#define ZOACTOR_SEQUENCE_ZOANIMFILE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/serialization/ZoFile.h>

#include <cstdint>
#include <memory>

class ZOACTOR_API ZoAnimFile : public ZoFile {
 public:
  // "Aazo", the characters in file order.
  static constexpr int32_t fileType = 0x6F7A6141;
  static constexpr uint16_t fileVersion = 1;
  // The bytes of one stored transform.
  static constexpr uint32_t kTransformSize = 28;
  // The bytes ReadNodeFrames reads at once when frames are small enough.
  static constexpr uint32_t kWindowSize = 64 * 1024;

  ZoAnimFile();
  // Closes the file if open (finishing the header of a written one).
  ~ZoAnimFile() override;

  using ZoFile::Open;
  // Mode 1 creates the file and writes the motion header (frame size -1, no
  // frames); any other mode opens an existing file and reads its header. The
  // name is the base name of `path` when writing, the stored name when
  // reading. Returns 1, or 0 with the file closed.
  int Open(ZoString const& path, int mode) override;
  // Rewrites the header of a written file that holds frames, then closes.
  // 1 on success; a failed header write returns 0 and leaves the file open.
  int Close() override;
  // Reads straight from the file, nothing buffered: returns the bytes read,
  // with error 0 when the platform read succeeded (even short), 4 when it
  // failed or nothing came, 1 when the file is not open for reading.
  uint32_t ReadBytes(uint32_t count, void* destination) override;

  // Appends one frame of `count` transforms. The first frame sets the frame
  // size. 0 when the file is not open for writing, `transforms` is null,
  // `count` is below 1, or the write was short.
  int WriteFrameData(ZoTransform3 const* transforms, int count);
  // Reads frame `frame` (from 0) into `out`, which holds `count` transforms.
  // 0 when the file is not open, `count` differs from the frame size, the
  // frame lies outside the data or is torn, or the read failed.
  int ReadOneFrame(int frame, ZoTransform3* out, int count);
  // Reads node `node`'s transform in frames 0 to `numFrames` − 1 into
  // `out`. Frames past the data repeat the last transform read (identity
  // when none was). `rotationChanges` (`positionChanges`) becomes 1 when
  // any rotation (translation) differs exactly from the previous frame's.
  // 0 when the file is not open, `node` is outside [0, frame size), `out`
  // is null, or a read failed; 1 otherwise (and for `numFrames` below 1,
  // with both flags 0).
  int ReadNodeFrames(int node, ZoTransform3* out, int numFrames, int& rotationChanges, int& positionChanges);

  ZoString const& GetName() const { return name; }
  int32_t GetFrameSize() const { return frameSize; }
  int32_t GetNumFrames() const { return numFrames; }
  uint32_t GetHeaderPos() const { return headerPos; }
  uint32_t GetDataStart() const { return dataStart; }
  uint32_t GetDataEnd() const { return dataEnd; }

 private:
  int WriteMotionHeader();
  int ReadMotionHeader();
  int FinishHeader();
  // The file position of `index` records of 28 bytes after dataStart, in
  // `position`; false when it overflows.
  bool RecordPosition(uint64_t index, uint64_t& position) const;
  // Reads `bytes` at `position` into `destination`; 1 when all came.
  int ReadAt(uint64_t position, uint32_t bytes, void* destination);
  // True when node tracks are read through the window (allocating it).
  bool UseWindow();
  // Copies the record at `position` (which lies whole inside the data) from
  // the window, refilling it there when it does not hold the record.
  int ReadThroughWindow(uint64_t position, void* destination);

  int32_t numFrames;
  ZoString name;
  int32_t frameSize;
  uint32_t headerPos;
  uint32_t dataStart;
  uint32_t dataEnd;
  std::unique_ptr<char[]> window;
  uint64_t windowStart;
  uint32_t windowLength;
};

#endif
