// ZoStreamError: the result of every stream operation and the stream's
// sticky status.
#ifndef ZOACTOR_SERIALIZATION_ZOSTREAMERROR_H
#define ZOACTOR_SERIALIZATION_ZOSTREAMERROR_H

#include <cstdint>

enum ZoStreamError : int32_t {
  ZoStreamOk = 0,
  ZoStreamOpenError = 1,    // a file stream could not open or adopt its file
  ZoStreamFormatError = 2,  // malformed data: a bad string length, count, nesting or class
  ZoStreamReadError = 3,    // fewer bytes could be read than were asked for
  ZoStreamWriteError = 4,   // fewer bytes could be written than were given
  ZoStreamSeekError = 5     // a memory stream was asked to seek outside its buffer
};

#endif
