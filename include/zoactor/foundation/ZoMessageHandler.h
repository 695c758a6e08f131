// ZoMessageHandler: where the library's messages to a person go. The library
// shows messages only where it has no other way to tell its caller (the
// sequence recorder). By default a message is printed to
// standard error and answered "OK"; a host installs its own handler to show
// or collect them, and tests install one to check the exact text.
#ifndef ZOACTOR_FOUNDATION_ZOMESSAGEHANDLER_H
#define ZOACTOR_FOUNDATION_ZOMESSAGEHANDLER_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

// Returns the button the user chose (kZoMessageOk for the default handler).
using ZoMessageFunction = int (*)(ZoString const& text, ZoString const& caption, int flags, void* context);

constexpr int kZoMessageOk = 1;

class ZOACTOR_API ZoMessageHandler {
 public:
  // Shows one message through the current handler and returns its answer.
  static int Show(ZoString const& text, ZoString const& caption, int flags);
  // Installs `handler` (null restores the standard-error handler).
  static void Set(ZoMessageFunction handler, void* context);
};

#endif
