#include <zoactor/actor/ZoSkillAnnotations.h>

#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoStreamIo.h"

#include <initializer_list>
#include <new>

using zostreamio::ReadBlock;
using zostreamio::ReadValue;
using zostreamio::WriteBlock;
using zostreamio::WriteValue;

namespace {

template <class T>
ZoStreamObject* CreateRecord() {
  return new (std::nothrow) T;
}

// Reads a run of int32 fields, stopping at the first failure.
ZoStreamError ReadInts(ZoStream& stream, std::initializer_list<int32_t*> fields) {
  for (int32_t* field : fields) ReadValue(stream, *field);
  return stream.Status();
}

ZoStreamError WriteInts(ZoStream& stream, std::initializer_list<int32_t> fields) {
  for (int32_t field : fields) WriteValue(stream, field);
  return stream.Status();
}

}  // namespace

// --- Foot, hand and anchor data --------------------------------------------------

ZoProtoFootData::~ZoProtoFootData() = default;
ZoStreamObject* ZoProtoFootData::Create() { return CreateRecord<ZoProtoFootData>(); }
ZoStreamError ZoProtoFootData::ReadFromStream(ZoStream& stream) { return ReadInts(stream, {&data0, &data1, &data2}); }
ZoStreamError ZoProtoFootData::WriteToStream(ZoStream& stream) const { return WriteInts(stream, {data0, data1, data2}); }

ZoProtoHandData::~ZoProtoHandData() = default;
ZoStreamObject* ZoProtoHandData::Create() { return CreateRecord<ZoProtoHandData>(); }
ZoStreamError ZoProtoHandData::ReadFromStream(ZoStream& stream) { return ReadInts(stream, {&data0}); }
ZoStreamError ZoProtoHandData::WriteToStream(ZoStream& stream) const { return WriteInts(stream, {data0}); }

ZoProtoAnchorData::~ZoProtoAnchorData() = default;
ZoStreamObject* ZoProtoAnchorData::Create() { return CreateRecord<ZoProtoAnchorData>(); }
ZoStreamError ZoProtoAnchorData::ReadFromStream(ZoStream& stream) { return ReadInts(stream, {&data0}); }
ZoStreamError ZoProtoAnchorData::WriteToStream(ZoStream& stream) const { return WriteInts(stream, {data0}); }

// --- Manipulation data -------------------------------------------------------------

ZoProtoManipData::~ZoProtoManipData() = default;
ZoStreamObject* ZoProtoManipData::Create() { return CreateRecord<ZoProtoManipData>(); }

ZoStreamError ZoProtoManipData::ReadFromStream(ZoStream& stream) {
  ReadValue(stream, data0);
  ReadBlock(stream, point);
  ReadBlock(stream, vector);
  return ReadBlock(stream, transform);
}

ZoStreamError ZoProtoManipData::WriteToStream(ZoStream& stream) const {
  WriteValue(stream, data0);
  WriteBlock(stream, point);
  WriteBlock(stream, vector);
  return WriteBlock(stream, transform);
}

// --- Event, sound and texture keys ---------------------------------------------------

ZoProtoEventKeyframe::~ZoProtoEventKeyframe() = default;
ZoStreamObject* ZoProtoEventKeyframe::Create() { return CreateRecord<ZoProtoEventKeyframe>(); }

ZoStreamError ZoProtoEventKeyframe::ReadFromStream(ZoStream& stream) {
  ReadValue(stream, time);
  ReadValue(stream, name);
  return ReadValue(stream, data0);
}

ZoStreamError ZoProtoEventKeyframe::WriteToStream(ZoStream& stream) const {
  WriteValue(stream, time);
  WriteValue(stream, name);
  return WriteValue(stream, data0);
}

ZoProtoSoundKeyframe::~ZoProtoSoundKeyframe() = default;
ZoStreamObject* ZoProtoSoundKeyframe::Create() { return CreateRecord<ZoProtoSoundKeyframe>(); }

ZoStreamError ZoProtoSoundKeyframe::ReadFromStream(ZoStream& stream) {
  ReadValue(stream, time);
  ReadValue(stream, name);
  return ReadBlock(stream, values);
}

ZoStreamError ZoProtoSoundKeyframe::WriteToStream(ZoStream& stream) const {
  WriteValue(stream, time);
  WriteValue(stream, name);
  return WriteBlock(stream, values);
}

ZoProtoTextureKeyframe::~ZoProtoTextureKeyframe() = default;
ZoStreamObject* ZoProtoTextureKeyframe::Create() { return CreateRecord<ZoProtoTextureKeyframe>(); }

ZoStreamError ZoProtoTextureKeyframe::ReadFromStream(ZoStream& stream) {
  if (ReadInts(stream, {&time, &data0, &data1}) != ZoStreamOk) return stream.Status();
  return (stream >> material).Status();
}

ZoStreamError ZoProtoTextureKeyframe::WriteToStream(ZoStream& stream) const {
  if (WriteInts(stream, {time, data0, data1}) != ZoStreamOk) return stream.Status();
  return (stream << material).Status();
}

static ZoStreamConstructorEntry const kRegisterFootData(ZoTypeCode::ProtoFootData, &ZoProtoFootData::Create);
static ZoStreamConstructorEntry const kRegisterHandData(ZoTypeCode::ProtoHandData, &ZoProtoHandData::Create);
static ZoStreamConstructorEntry const kRegisterAnchorData(ZoTypeCode::ProtoAnchorData, &ZoProtoAnchorData::Create);
static ZoStreamConstructorEntry const kRegisterManipData(ZoTypeCode::ProtoManipData, &ZoProtoManipData::Create);
static ZoStreamConstructorEntry const kRegisterEventKeyframe(ZoTypeCode::ProtoEventKeyframe,
                                                             &ZoProtoEventKeyframe::Create);
static ZoStreamConstructorEntry const kRegisterSoundKeyframe(ZoTypeCode::ProtoSoundKeyframe,
                                                             &ZoProtoSoundKeyframe::Create);
static ZoStreamConstructorEntry const kRegisterTextureKeyframe(ZoTypeCode::ProtoTextureKeyframe,
                                                               &ZoProtoTextureKeyframe::Create);
