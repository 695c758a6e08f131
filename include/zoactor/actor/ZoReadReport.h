// Why a file was not read, or a skill not taken into an actor's cache, in a
// form a tool can print ("Walk.skl: byte 1234: count 2147483647 exceeds the
// 812 bytes left"). The file readers of ZoProtoActor fill a ZoReadReport
// from the stream's first failure; the skill cache fills a
// ZoSkillLoadReport for every skill file it reads.
#ifndef ZOACTOR_ACTOR_ZOREADREPORT_H
#define ZOACTOR_ACTOR_ZOREADREPORT_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoStream.h>

#include <cstdint>

struct ZOACTOR_API ZoReadReport {
  // ZoStreamOk when the read succeeded; otherwise the status it failed with
  // (ZoStreamFormatError for a refusal of the reader's own, such as a file
  // that holds no object of the expected class).
  ZoStreamError status = ZoStreamOk;
  // The byte offset of the failure from the start of the file, or -1.
  int64_t offset = -1;
  // The reason; empty when the read succeeded.
  char reason[kZoMaxFailureReason] = {};

  bool Failed() const { return status != ZoStreamOk || reason[0] != '\0'; }
  // Back to "succeeded".
  void Clear();
  // Records a failure with a printf-style reason (cut to fit).
  void Set(ZoStreamError error, int64_t at, char const* format, ...) __attribute__((format(printf, 4, 5)));
  // Records the stream's first failure (a kept reason with status
  // ZoStreamOk, an unknown frame, counts as ZoStreamFormatError); when it
  // kept none, its status (or ZoStreamFormatError) at its position with
  // the reason `fallback`.
  void TakeFrom(ZoStream& stream, char const* fallback);
};

// What happened to one skill file the cache read.
enum class ZoSkillLoadStatus : int32_t {
  Loaded,         // read and taken into the cache
  AlreadyCached,  // read, but the cache held a skill of that name (the one read was destroyed)
  NoName,         // no file name was given
  Unreadable,     // the file could not be opened or held no readable skill
  OtherSkeleton   // the skill's joint count differs from the actor's joints (destroyed)
};

struct ZOACTOR_API ZoSkillLoadReport {
  ZoSkillLoadStatus status = ZoSkillLoadStatus::Loaded;
  // The path of the skill file.
  ZoString file;
  // For Unreadable, the read's failure; for OtherSkeleton, the status
  // ZoStreamOk with a reason naming both joint counts; otherwise empty.
  ZoReadReport detail;
};

#endif
