// The bases of every serialisable class. A class writes a body whose layout
// is its own; the stream frames it with its type code (ZoStream::WriteObject)
// so that a reader can create it through the registry. Sized objects also
// declare the size of their body in the frame, which lets a reader that does
// not know the class skip it.
#ifndef ZOACTOR_SERIALIZATION_ZOSTREAMOBJECT_H
#define ZOACTOR_SERIALIZATION_ZOSTREAMOBJECT_H

#include <zoactor/ZoExport.h>
#include <zoactor/serialization/ZoStreamError.h>

#include <cstdint>

class ZoStream;

class ZOACTOR_API ZoStreamObject {
 public:
  // The class's type code (its STREAM_TYPE).
  virtual int32_t StreamType() const = 0;
  // Reads the body into this object; returns the stream's status after it.
  virtual ZoStreamError ReadFromStream(ZoStream& stream) = 0;
  // Writes the body; returns the stream's status after it.
  virtual ZoStreamError WriteToStream(ZoStream& stream) const = 0;

  // Objects that ReadObject creates are owned by the caller and deleted
  // through this base.
  virtual ~ZoStreamObject();

 protected:
  friend class ZoStream;
  // Writes the frame and the body: the type code, then WriteToStream.
  virtual ZoStreamError WriteAsObject(ZoStream& stream) const;
};

class ZOACTOR_API ZoStreamSizedObject : public ZoStreamObject {
 public:
  // The number of bytes WriteToStream writes, as the class declares it (some
  // classes declare 0 for bodies that are not empty; the frame carries what
  // is declared).
  virtual int32_t StreamSize() const = 0;

 protected:
  // Writes -1, the type code, StreamSize() (asked first) and then the body.
  ZoStreamError WriteAsObject(ZoStream& stream) const override;
};

#endif
