#include <zoactor/foundation/ZoLogger.h>

#include <cstdio>
#include <mutex>

namespace {

std::mutex& SinkMutex() {
  static std::mutex mutex;
  return mutex;
}

ZoLogSink gSink = nullptr;
void* gContext = nullptr;

void PrintToStandardError(int level, ZoString const& caption, ZoString const& subject, ZoString const& message,
                          void*) {
  std::fprintf(stderr, "[%s] level %d: %s: %s\n", caption.c_str(), level, subject.c_str(), message.c_str());
}

}  // namespace

void ZoLogger::Log(int level, ZoString const& caption, ZoString const& subject, ZoString const& message) {
  std::lock_guard<std::mutex> hold(SinkMutex());
  ZoLogSink sink = gSink != nullptr ? gSink : PrintToStandardError;
  sink(level, caption, subject, message, gContext);
}

void ZoLogger::SetSink(ZoLogSink sink, void* context) {
  std::lock_guard<std::mutex> hold(SinkMutex());
  gSink = sink;
  gContext = context;
}
