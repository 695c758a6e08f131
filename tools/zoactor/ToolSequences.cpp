#include "ToolSequences.h"

#include "ToolJson.h"
#include "ToolLoad.h"

#include <zoactor/zoactor.h>

#include <fmt/format.h>

#include <cmath>
#include <cstring>
#include <fstream>

namespace zotool {

namespace {

constexpr int64_t kTransformSize = ZoAnimFile::kTransformSize;
constexpr int64_t kIntSize = 4;
// The smallest actor record: two empty strings.
constexpr int64_t kSmallestRecord = 8;
// The smallest event: type, frame time and an empty name.
constexpr uint32_t kSmallestEvent = 12;
// How far a recorded rotation's squared length may stray from 1.
constexpr float kUnitTolerance = 1e-3f;
// The most transforms dump lists of one motion file.
constexpr int64_t kMaxListedTransforms = int64_t{1} << 20;

bool IsPlainName(std::string const& name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos;
}

// The issue of a container that failed: unreadable when it could not be
// opened, truncated when its data ran out, malformed otherwise.
Issue IssueOfContainer(ZoFile const& file, char const* fallback) {
  Issue issue{"malformed", file.HasFailure() ? file.FailureReason() : fallback, file.FailureOffset()};
  if (file.GetLastError() == 1) issue.code = "unreadable";
  std::string const& reason = issue.message;
  for (char const* shortage : {"short", "left", "cannot be read"})
    if (reason.find(shortage) != std::string::npos) issue.code = "truncated";
  return issue;
}

// The int32 at `offset` of a file, or `otherwise`.
int32_t WordOfFile(fs::path const& path, int64_t offset, int32_t otherwise) {
  std::ifstream in(path, std::ios::binary);
  int32_t word = otherwise;
  if (in.seekg(offset) && in.read(reinterpret_cast<char*>(&word), sizeof word)) return word;
  return otherwise;
}

bool Finite(ZoTransform3 const& t) {
  float const* f = &t.translation.x;
  for (int i = 0; i < 7; ++i)
    if (!std::isfinite(f[i])) return false;
  return true;
}

float SquaredLength(ZoRotation3 const& q) { return q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z; }

// What the files of one record hold.
struct RecordFiles {
  ZoRef<ZoProtoActor> prototype;
  Issue prototypeFailure;
  bool motionRead = false;
  MotionFacts motion;
  Issue motionFailure;
};

RecordFiles ExamineRecord(SequenceRecord const& record) {
  RecordFiles files;
  if (record.prototypeFile.empty()) {
    files.prototypeFailure = Issue{"missing-prototype",
                                   fmt::format("record \"{}\": no prototype file for the actor \"{}\"", record.name,
                                               record.prototype),
                                   record.offset};
  } else {
    files.prototype = LoadActor(record.prototypeFile, files.prototypeFailure);
  }
  if (record.motionFile.empty()) {
    files.motionFailure =
        Issue{"missing-motion", fmt::format("record \"{}\": no motion file", record.name), record.offset};
  } else {
    files.motionRead = ReadMotion(record.motionFile, files.motion, files.motionFailure);
  }
  return files;
}

int JointsOf(ZoProtoActor const& actor) { return actor.GeomTraversal() != nullptr ? actor.GeomTraversal()->NumNodes() : 0; }
int NodesOf(ZoProtoActor const& actor) { return actor.NodeTraversal() != nullptr ? actor.NodeTraversal()->NumNodes() : 0; }

Json PathJson(fs::path const& path, fs::path const& folder) {
  return path.empty() ? Json(nullptr) : Json(path.lexically_relative(folder).generic_string());
}

Json RecordJson(SequenceRecord const& record, RecordFiles const& files, fs::path const& folder) {
  Json json{{"name", record.name}, {"prototype", record.prototype}, {"offset", record.offset}};
  json["prototypeFile"] = PathJson(record.prototypeFile, folder);
  json["joints"] = files.prototype ? Json(JointsOf(*files.prototype)) : Json(nullptr);
  json["nodes"] = files.prototype ? Json(NodesOf(*files.prototype)) : Json(nullptr);
  json["motionFile"] = PathJson(record.motionFile, folder);
  json["motion"] = files.motionRead ? SummaryOfMotion(files.motion) : Json(nullptr);
  return json;
}

// The records, each with what its files hold.
Json RecordsJson(SequenceFacts const& facts, fs::path const& folder) {
  Json records = Json::array();
  for (SequenceRecord const& record : facts.records) records.push_back(RecordJson(record, ExamineRecord(record), folder));
  return records;
}

bool ReadEvents(fs::path const& file, int64_t at, SequenceFacts& facts, Issue& failure) {
  std::vector<char> bytes;
  if (!ReadWholeFile(file, bytes) || at > static_cast<int64_t>(bytes.size())) {
    failure = Issue{"unreadable", "the sequence file cannot be read again", -1};
    return false;
  }
  ZoMemoryStream in(bytes.data() + at, static_cast<int32_t>(static_cast<int64_t>(bytes.size()) - at));
  in.version = kZoCurrentVersion;
  for (int list = 0; list < kEventLists; ++list) {
    int32_t count = 0;
    if (!in.ReadCount(count, kSmallestEvent, sizeof(SequenceEvent))) break;
    for (int32_t i = 0; i < count && in.Status() == ZoStreamOk; ++i) {
      ZoAnimEvent event;
      if ((in >> event).Status() != ZoStreamOk) break;
      facts.events[list].push_back(SequenceEvent{event.GetType(), event.GetFrameTime(), event.GetActorName().c_str()});
    }
    if (in.Status() != ZoStreamOk) break;
  }
  if (in.Status() != ZoStreamOk || in.HasFailure()) {
    ZoReadReport report;
    report.TakeFrom(in, "the event lists cannot be read");
    failure = IssueOfRead(report);
    if (failure.offset >= 0) failure.offset += at;
    return false;
  }
  facts.end = at + in.Position();
  return true;
}

}  // namespace

char const* EventListName(int list) {
  static char const* const names[kEventLists] = {"addActor", "removeActor", "sound", "material"};
  return list >= 0 && list < kEventLists ? names[list] : "";
}

// --- Reading --------------------------------------------------------------------------

bool ReadMotion(fs::path const& file, MotionFacts& facts, Issue& failure,
                std::vector<std::vector<ZoTransform3>>* frames) {
  ZoAnimFile motion;
  if (motion.Open(file.string().c_str(), 0) == 0) {
    failure = IssueOfContainer(motion, "the motion file cannot be opened");
    return false;
  }
  facts.name = motion.GetName().c_str();
  facts.frameSize = motion.GetFrameSize();
  facts.frames = motion.GetNumFrames();
  facts.dataStart = motion.GetDataStart();
  facts.dataBytes = static_cast<int64_t>(motion.GetDataEnd()) - motion.GetDataStart();
  facts.storedFrames = WordOfFile(file, facts.dataStart - kIntSize, 0);
  int64_t const frameBytes = facts.frameSize > 0 ? facts.frameSize * kTransformSize : 0;
  facts.tornBytes = frameBytes > 0 ? facts.dataBytes - facts.frames * frameBytes : 0;
  if (frames == nullptr || facts.frameSize < 1) return true;
  std::vector<ZoTransform3> frame(static_cast<size_t>(facts.frameSize));
  for (int32_t f = 0; f < facts.frames && (f + 1) * int64_t{facts.frameSize} <= kMaxListedTransforms; ++f) {
    if (motion.ReadOneFrame(f, frame.data(), facts.frameSize) == 0) {
      failure = IssueOfContainer(motion, "a frame cannot be read");
      return false;
    }
    frames->push_back(frame);
  }
  return true;
}

bool ReadSequence(fs::path const& file, SequenceFacts& facts, Issue& failure) {
  ZoFile container;
  if (container.Open(file.string().c_str(), 0) == 0) {
    failure = IssueOfContainer(container, "the sequence file cannot be opened");
    return false;
  }
  std::error_code error;
  facts.size = static_cast<int64_t>(fs::file_size(file, error));
  int64_t at = ZoFile::kHeaderSize;
  facts.end = at;
  if (facts.size == at) return true;  // the header alone: nothing was recorded
  int32_t count = 0;
  if (container.Read(facts.frames) == 0 || container.Read(count) == 0) {
    failure = IssueOfContainer(container, "the frame or actor count cannot be read");
    return false;
  }
  facts.recorded = true;
  at += 2 * kIntSize;
  if (facts.frames < 0 || count < 0 || count * kSmallestRecord > facts.size - at) {
    failure = Issue{"malformed",
                    facts.frames < 0 ? fmt::format("frame count {} is negative", facts.frames)
                                     : fmt::format("actor count {} does not fit in the {} bytes left", count, facts.size - at),
                    at - (facts.frames < 0 ? 2 : 1) * kIntSize};
    return false;
  }
  facts.folder = file.parent_path().empty() ? fs::path(".") : file.parent_path();
  fs::path actors = FindIgnoringCase(facts.folder, "Actors"), motion = FindIgnoringCase(facts.folder, "Motion");
  for (int32_t i = 0; i < count; ++i) {
    SequenceRecord record;
    record.offset = at;
    ZoString name, prototype;
    if (container.Read(name) == 0 || container.Read(prototype) == 0) {
      failure = IssueOfContainer(container, "an actor record cannot be read");
      return false;
    }
    record.name = name.c_str();
    record.prototype = prototype.c_str();
    at += 2 * kIntSize + static_cast<int64_t>(record.name.size() + record.prototype.size());
    if (IsPlainName(record.prototype) && !actors.empty())
      record.prototypeFile = FindIgnoringCase(FindIgnoringCase(actors, record.prototype), record.prototype + ".act");
    if (IsPlainName(record.name) && !motion.empty()) record.motionFile = FindIgnoringCase(motion, record.name + ".anm");
    facts.records.push_back(record);
  }
  return ReadEvents(file, at, facts, failure);
}

// --- JSON -------------------------------------------------------------------------------

Json SummaryOfMotion(MotionFacts const& facts) {
  return Json{{"name", facts.name},       {"frameSize", facts.frameSize}, {"frames", facts.frames},
              {"storedFrames", facts.storedFrames}, {"dataStart", facts.dataStart}, {"dataBytes", facts.dataBytes},
              {"tornBytes", facts.tornBytes}};
}

Json SummaryOfSequence(SequenceFacts const& facts) {
  Json events = Json::object();
  for (int list = 0; list < kEventLists; ++list) events[EventListName(list)] = facts.events[list].size();
  return Json{{"recorded", facts.recorded}, {"frames", facts.frames},
              {"actors", RecordsJson(facts, facts.folder)}, {"events", events}};
}

Json DumpOfSequence(SequenceFacts const& facts) {
  Json json = SummaryOfSequence(facts);
  for (int list = 0; list < kEventLists; ++list) {
    Json events = Json::array();
    for (SequenceEvent const& e : facts.events[list])
      events.push_back(Json{{"type", e.type}, {"frameTime", e.frameTime}, {"actor", e.actor}});
    json["events"][EventListName(list)] = events;
  }
  return json;
}

Json DumpOfMotion(MotionFacts const& facts, std::vector<std::vector<ZoTransform3>> const& frames) {
  Json json = SummaryOfMotion(facts);
  json["framesListed"] = frames.size();
  Json list = Json::array();
  for (std::vector<ZoTransform3> const& frame : frames) {
    Json transforms = Json::array();
    for (ZoTransform3 const& t : frame) transforms.push_back(JsonOf(t));
    list.push_back(transforms);
  }
  json["frameData"] = list;
  return json;
}

// --- Checks -------------------------------------------------------------------------------

namespace {

void CheckRecord(SequenceRecord const& record, int32_t frames, FileReport& report) {
  RecordFiles files = ExamineRecord(record);
  if (!files.prototype) {
    Issue const& f = files.prototypeFailure;
    report.Error("missing-prototype", record.offset,
                 f.code == "missing-prototype" ? f.message
                                               : fmt::format("record \"{}\": the prototype {} cannot be read: {}",
                                                             record.name, Shown(record.prototypeFile), f.message));
  }
  if (!files.motionRead) {
    Issue const& f = files.motionFailure;
    report.Error("missing-motion", record.offset,
                 f.code == "missing-motion" ? f.message
                                            : fmt::format("record \"{}\": the motion file {} cannot be read: {}",
                                                          record.name, Shown(record.motionFile), f.message));
    return;
  }
  MotionFacts const& motion = files.motion;
  if (motion.name != record.name)
    report.Error("motion-name-mismatch", record.offset,
                 fmt::format("record \"{}\": its motion file is named \"{}\" inside, so its frames are not found by the "
                             "record's name",
                             record.name, motion.name));
  if (motion.frames != frames)
    report.Warning("frame-count-mismatch", record.offset,
                   fmt::format("record \"{}\": the sequence has {} frames, its motion file {}", record.name, frames,
                               motion.frames));
  if (files.prototype && motion.frameSize > 0 && motion.frameSize != JointsOf(*files.prototype) &&
      motion.frameSize != NodesOf(*files.prototype))
    report.Warning("frame-size-mismatch", record.offset,
                   fmt::format("record \"{}\": frames of {} transforms, but the prototype has {} joints and {} nodes",
                               record.name, motion.frameSize, JointsOf(*files.prototype), NodesOf(*files.prototype)));
}

// Collects the library's messages while it opens a sequence (the checks
// above say the same with offsets).
int IgnoreMessage(ZoString const&, ZoString const&, int, void*) { return kZoMessageOk; }

void CheckOpensForPlaying(fs::path const& path, FileReport& report) {
  ZoMessageHandler::Set(&IgnoreMessage, nullptr);
  ZoAnimSequence sequence;
  bool opened = sequence.Open(path.string().c_str(), 0) == 1;
  ZoMessageHandler::Set(nullptr, nullptr);
  if (opened) return;
  Issue issue = IssueOfContainer(sequence, "the sequence cannot be opened for playing");
  report.Error(issue.code, issue.offset, "the library cannot open it for playing: " + issue.message);
}

}  // namespace

void CheckSequence(fs::path const& path, FileReport& report) {
  SequenceFacts facts;
  Issue failure;
  if (!ReadSequence(path, facts, failure)) {
    report.Error(failure.code, failure.offset, failure.message);
    return;
  }
  if (!facts.recorded) {
    report.Error("no-frames", ZoFile::kHeaderSize,
                 "the sequence holds its header alone (closed before a frame was counted): it cannot be played");
    return;
  }
  if (facts.end < facts.size)
    report.Error("trailing-bytes", facts.end, fmt::format("{} bytes follow the event lists", facts.size - facts.end));
  for (SequenceRecord const& record : facts.records) CheckRecord(record, facts.frames, report);
  if (!report.Failed()) CheckOpensForPlaying(path, report);
}

void CheckMotion(fs::path const& path, FileReport& report) {
  MotionFacts facts;
  Issue failure;
  if (!ReadMotion(path, facts, failure)) {
    report.Error(failure.code, failure.offset, failure.message);
    return;
  }
  int64_t const frameBytes = facts.frameSize * kTransformSize;
  if (facts.tornBytes > 0)
    report.Error("torn-frame", facts.dataStart + facts.frames * frameBytes,
                 fmt::format("the last {} bytes of data make no whole frame of {} transforms ({} bytes)", facts.tornBytes,
                             facts.frameSize, frameBytes));
  if (facts.frameSize == -1 && facts.dataBytes > 0)
    report.Warning("unused-bytes", facts.dataStart,
                   fmt::format("{} bytes follow a header that records no frame size; they are not frames", facts.dataBytes));
  if (facts.frameSize > 0 && facts.storedFrames != facts.frames)
    report.Warning("stored-frames-differ", facts.dataStart - kIntSize,
                   fmt::format("the header says {} frames, the data holds {}; the data counts", facts.storedFrames,
                               facts.frames));
  if (!SameIgnoringCase(facts.name, BaseName(path)))
    report.Warning("motion-name-mismatch", ZoFile::kHeaderSize,
                   fmt::format("the motion file is named \"{}\" inside but \"{}\" on disk", facts.name,
                               path.filename().string()));
  if (facts.frameSize < 1) return;
  ZoAnimFile motion;
  motion.Open(path.string().c_str(), 0);
  std::vector<ZoTransform3> frame(static_cast<size_t>(facts.frameSize));
  for (int32_t f = 0; f < facts.frames && motion.ReadOneFrame(f, frame.data(), facts.frameSize) == 1; ++f) {
    for (int32_t n = 0; n < facts.frameSize; ++n) {
      int64_t const at = facts.dataStart + (int64_t{f} * facts.frameSize + n) * kTransformSize;
      ZoTransform3 const& t = frame[static_cast<size_t>(n)];
      if (!Finite(t)) {
        report.Error("non-finite", at, fmt::format("frame {}, transform {}: a value is not finite", f, n));
      } else if (std::fabs(SquaredLength(t.rotation) - 1.0f) > kUnitTolerance) {
        report.Error("non-unit-rotation", at,
                     fmt::format("frame {}, transform {}: the rotation has length {:.4f}", f, n,
                                 std::sqrt(SquaredLength(t.rotation))));
      }
    }
  }
}

}  // namespace zotool
