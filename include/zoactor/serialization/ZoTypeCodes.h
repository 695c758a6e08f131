// The type codes of every serialisable class. A type code is a 32-bit value
// whose four bytes spell a short tag; it travels little-endian, so the bytes
// in a file are the tag reversed (0x50726F70, "Prop", stands as "porP").
// Each class takes its STREAM_TYPE from here. Sized classes are framed with
// their declared body size; the others by their code alone.
#ifndef ZOACTOR_SERIALIZATION_ZOTYPECODES_H
#define ZOACTOR_SERIALIZATION_ZOTYPECODES_H

#include <cstdint>

namespace ZoTypeCode {

// Animation events (unsized; not registered: the sequence reads them itself).
constexpr int32_t AnimEvent = 0x416E4576;      // "vEnA" in the stream
constexpr int32_t AnimEventList = 0x416E454C;  // "LEnA"

// Render attributes.
constexpr int32_t Camera = 0x43616D32;    // "2maC", sized, declares 0
constexpr int32_t Color = 0x436F6C72;     // "rloC", sized, declares 16
constexpr int32_t Light = 0x4C697432;     // "2tiL", sized, declares 0
constexpr int32_t Material = 0x4D617432;  // "2taM", sized, declares 0

// Geometry and collision.
constexpr int32_t ColModel = 0x436F4D32;     // "2MoC", unsized
constexpr int32_t TriangleSet = 0x54725332;  // "2SrT", unsized; also every primitive shape

// Behaviour maps and proximity.
constexpr int32_t FSMSpaceToBhvr = 0x626D6170;  // "pamb", unsized
constexpr int32_t ProtoProxDef = 0x50507244;    // "DrPP", unsized

// Joint limits (unsized). The bare limit's code creates a limit of no kind.
constexpr int32_t JLimit = 0x6D694C4A;      // "JLim"
constexpr int32_t JLHinge = 0x6E484C4A;     // "JLHn"
constexpr int32_t JLEuler = 0x75454C4A;     // "JLEu"
constexpr int32_t JLLinear = 0x4A4C586C;    // "lXLJ"
constexpr int32_t JLTranslate = 0x4A4C5862; // "bXLJ"

// Keyframes and key lists (unsized). Joint key lists use the key list's code.
constexpr int32_t JointKeyframe = 0x79654B4A;  // "JKey"
constexpr int32_t Keyframe = 0x4B657966;       // "fyeK"
constexpr int32_t KeyList = 0x4B65794C;        // "LyeK"
constexpr int32_t JointKeyList = KeyList;

// Typed values (sized).
constexpr int32_t IntValue = 0x56496E74;         // "tnIV", declares 4
constexpr int32_t FloatValue = 0x56466C6F;       // "olFV", declares 4
constexpr int32_t StringValue = 0x56537472;      // "rtSV", declares length + 4
constexpr int32_t Vector3Value = 0x56566533;     // "3eVV", declares 12
constexpr int32_t Transform2Value = 0x56547232;  // "2rTV", declares 12
constexpr int32_t Transform3Value = 0x56547233;  // "3rTV", declares 28
constexpr int32_t ListValue = 0x564C6973;        // "siLV", declares 0
constexpr int32_t ArrayValue = 0x56417272;       // "rrAV", declares 0
// An opaque value carries this code when empty, otherwise the code it was
// read under. Not registered: readers pass its creation function as fallback.
constexpr int32_t OpaqueValue = 0x564F7071;      // "qpOV", declares its data size

// Properties (unsized).
constexpr int32_t Property = 0x50726F70;       // "porP"
constexpr int32_t PropertyList = 0x504C7374;   // "tsLP"
constexpr int32_t PropertyTable = 0x50546162;  // "baTP"

// Actors and nodes (unsized).
constexpr int32_t ProtoActor = 0x50746341;  // "ActP"
constexpr int32_t ProtoNode = 0x50724E6F;   // "oNrP"

// Skills and their annotation records (unsized).
constexpr int32_t ProtoTextureKeyframe = 0x5072544B;  // "KTrP"
constexpr int32_t ProtoSoundKeyframe = 0x5072534B;    // "KSrP"
constexpr int32_t ProtoEventKeyframe = 0x5072454B;    // "KErP"
constexpr int32_t ProtoFootData = 0x50724644;         // "DFrP"
constexpr int32_t ProtoHandData = 0x50724844;         // "DHrP"
constexpr int32_t ProtoAnchorData = 0x50724144;       // "DArP"
constexpr int32_t ProtoManipData = 0x50726D64;        // "dmrP"
constexpr int32_t ProtoSkill = 0x536B6C50;            // "PlkS"

// Splines (unsized).
constexpr int32_t Spline = 0x53706C69;  // "ilpS"

}  // namespace ZoTypeCode

#endif
