// Sequence and motion files for the commands: what a sequence file holds
// (its frame count, its actor records with the prototype and motion file
// each names, its four event lists), what a motion file holds (its header
// and frames), read through the library's container, motion-file and event
// readers; their JSON for info and dump; and the checks of validate.
//
// Paths: a record's prototype is Actors/<prototype>/<prototype>.act and its
// motion file Motion/<record>.anm in the sequence file's folder, each
// component found without regard to case as the library finds them. A name
// that is not a plain file name (empty, ".", "..", or holding a separator)
// names no file.
//
// Edge cases:
// - A sequence file that holds its header alone (closed before a frame was
//   counted) cannot be opened for playing back: info and dump show it with
//   no frames, validate fails it ("no-frames").
// - Event lists are read to find where the file ends; bytes after them are
//   trailing bytes.
// - A motion file's frames are counted from its data; bytes that do not
//   make a whole frame are a torn frame, reported at the offset where the
//   torn frame starts.
#ifndef ZOACTOR_TOOLS_TOOLSEQUENCES_H
#define ZOACTOR_TOOLS_TOOLSEQUENCES_H

#include "ToolReport.h"

#include <zoactor/foundation/ZoTransform3.h>

#include <cstdint>
#include <string>
#include <vector>

namespace zotool {

// A motion file's header as stored, and its data as the reader counts it.
struct MotionFacts {
  std::string name;
  int32_t frameSize = -1;
  int32_t storedFrames = 0;
  int64_t frames = 0;
  int64_t dataStart = 0;
  int64_t dataBytes = 0;
  // Bytes after the last whole frame.
  int64_t tornBytes = 0;
};

// Opens `file` with the library's motion-file reader; false with `failure`
// when it cannot. `frames`, when given, receives every whole frame.
bool ReadMotion(fs::path const& file, MotionFacts& facts, Issue& failure,
                std::vector<std::vector<ZoTransform3>>* frames = nullptr);

// One actor record of a sequence file.
struct SequenceRecord {
  std::string name;
  std::string prototype;
  // The offset of the record's name in the sequence file.
  int64_t offset = 0;
  // The files it names (empty when its name is not a plain file name, or
  // the folder holds no such file).
  fs::path prototypeFile;
  fs::path motionFile;
};

struct SequenceEvent {
  int32_t type = 0;
  uint32_t frameTime = 0;
  std::string actor;
};

// The event lists in file order: add-actor, remove-actor, sound, material.
constexpr int kEventLists = 4;
char const* EventListName(int list);

struct SequenceFacts {
  // The folder of the sequence file.
  fs::path folder;
  // False for a file that holds its header alone.
  bool recorded = false;
  int32_t frames = 0;
  std::vector<SequenceRecord> records;
  std::vector<SequenceEvent> events[kEventLists];
  // Where the last event list ends, and the file's size.
  int64_t end = 0;
  int64_t size = 0;
};

// Reads `file`; false with `failure` (its offset and reason) when its
// records or events cannot be read.
bool ReadSequence(fs::path const& file, SequenceFacts& facts, Issue& failure);

// "sequence" of info: frames, records with their prototypes and motion
// summaries, event counts.
Json SummaryOfSequence(SequenceFacts const& facts);
// "motion" of info: the header, the frames counted and the data.
Json SummaryOfMotion(MotionFacts const& facts);
// "sequence" of dump: the summary with every event.
Json DumpOfSequence(SequenceFacts const& facts);
// "motion" of dump: the summary with every frame.
Json DumpOfMotion(MotionFacts const& facts, std::vector<std::vector<ZoTransform3>> const& frames);

// The checks of validate for a sequence file and for a motion file.
void CheckSequence(fs::path const& path, FileReport& report);
void CheckMotion(fs::path const& path, FileReport& report);

}  // namespace zotool

#endif
