#include <zoactor/actor/ZoReadReport.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

void ZoReadReport::Clear() {
  status = ZoStreamOk;
  offset = -1;
  reason[0] = '\0';
}

void ZoReadReport::Set(ZoStreamError error, int64_t at, char const* format, ...) {
  status = error;
  offset = at >= 0 ? at : -1;
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(reason, sizeof reason, format, arguments);
  va_end(arguments);
}

void ZoReadReport::TakeFrom(ZoStream& stream, char const* fallback) {
  if (stream.HasFailure()) {
    status = stream.FailureStatus() != ZoStreamOk ? stream.FailureStatus() : ZoStreamFormatError;
    offset = stream.FailureOffset();
    std::snprintf(reason, sizeof reason, "%s", stream.FailureReason());
    return;
  }
  Set(stream.Status() != ZoStreamOk ? stream.Status() : ZoStreamFormatError, stream.Position(), "%s", fallback);
}
