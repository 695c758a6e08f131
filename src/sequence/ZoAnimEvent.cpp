#include <zoactor/sequence/ZoAnimEvent.h>

#include <zoactor/serialization/ZoStream.h>

ZoAnimEvent::ZoAnimEvent() : type(0), frameTime(0) {}

ZoAnimEvent::ZoAnimEvent(ZoAnimEvent const& other)
    : ZoStreamObject(other), type(other.type), frameTime(other.frameTime), actorName(other.actorName) {}

ZoAnimEvent& ZoAnimEvent::operator=(ZoAnimEvent const& other) {
  type = other.type;
  frameTime = other.frameTime;
  actorName = other.actorName;
  return *this;
}

ZoAnimEvent::~ZoAnimEvent() = default;

ZoStreamError ZoAnimEvent::ReadFromStream(ZoStream& stream) {
  stream >> type >> frameTime >> actorName;
  return stream.Status();
}

ZoStreamError ZoAnimEvent::WriteToStream(ZoStream& stream) const {
  stream << type << frameTime << actorName;
  return stream.Status();
}
