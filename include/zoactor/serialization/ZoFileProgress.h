// ZoFileProgress: a process-wide stack of progress messages with a change
// callback, which long operations use to report what they are doing. Every
// member takes `lock`; the lock is re-entrant, so the callback may read the
// progress while UpdateProgress holds it.
#ifndef ZOACTOR_SERIALIZATION_ZOFILEPROGRESS_H
#define ZOACTOR_SERIALIZATION_ZOFILEPROGRESS_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoCriticalSection.h>
#include <zoactor/foundation/ZoString.h>

class ZOACTOR_API ZoFileProgress {
 public:
  // Progress codes with a fixed meaning; callers give any other code their own.
  static constexpr int kPop = 2;    // drop the most recent entry
  static constexpr int kClear = 3;  // drop every entry

  // Guards the stack and the callback.
  static ZoCriticalSection lock;

  // kPop drops the most recent entry (if any), kClear all of them; any other
  // code pushes {text, code}. Then calls UpdateProgress.
  static void SetProgress(int code, ZoString const& text);
  // The most recent entry; code kPop and the null string when the stack is empty.
  static void GetProgress(int& code, ZoString& text);
  // Stores the change callback (null removes it).
  static void SetProgressCB(void (*callback)());
  // Calls the callback, if one is set, while holding the lock.
  static void UpdateProgress();
  // The number of entries on the stack.
  static int Depth();
};

#endif
