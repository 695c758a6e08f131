// ZoLogger: where the library's diagnostics go. The library logs only
// failures, with level 0, the caption "Orvanta", the name of the object
// concerned and a message. By default they are printed to standard error; a
// host installs its own sink to route them elsewhere.
#ifndef ZOACTOR_FOUNDATION_ZOLOGGER_H
#define ZOACTOR_FOUNDATION_ZOLOGGER_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

using ZoLogSink = void (*)(int level, ZoString const& caption, ZoString const& subject, ZoString const& message,
                           void* context);

class ZOACTOR_API ZoLogger {
 public:
  // Records one diagnostic through the current sink. Thread-safe.
  static void Log(int level, ZoString const& caption, ZoString const& subject, ZoString const& message);
  // Installs `sink` (null restores the standard-error sink).
  static void SetSink(ZoLogSink sink, void* context);
};

#endif
