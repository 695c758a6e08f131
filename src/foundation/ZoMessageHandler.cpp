#include <zoactor/foundation/ZoMessageHandler.h>

#include <cstdio>
#include <mutex>

namespace {

std::mutex& HandlerMutex() {
  static std::mutex mutex;
  return mutex;
}

ZoMessageFunction gHandler = nullptr;
void* gContext = nullptr;

int PrintToStandardError(ZoString const& text, ZoString const& caption, int, void*) {
  std::fprintf(stderr, "%s: %s\n", caption.c_str(), text.c_str());
  return kZoMessageOk;
}

}  // namespace

int ZoMessageHandler::Show(ZoString const& text, ZoString const& caption, int flags) {
  ZoMessageFunction handler;
  void* context;
  {
    std::lock_guard<std::mutex> hold(HandlerMutex());
    handler = gHandler != nullptr ? gHandler : PrintToStandardError;
    context = gContext;
  }
  // The handler may block on a user; it runs outside the lock.
  return handler(text, caption, flags, context);
}

void ZoMessageHandler::Set(ZoMessageFunction handler, void* context) {
  std::lock_guard<std::mutex> hold(HandlerMutex());
  gHandler = handler;
  gContext = context;
}
