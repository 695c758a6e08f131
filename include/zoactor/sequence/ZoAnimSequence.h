// ZoAnimSequence: records what a group of actors did over a run, and plays
// it back without the actor folders it came from.
//
// A sequence lives in a folder of its own; the sequence file F names it
// (the folder is F's drive and directory, so F lies inside it):
//
//   <folder>/            created by Open for writing; must not exist yet
//   F                    the sequence file (chunked container "Sequ", version 1)
//   Actors/<A>/<A>.act   a copy of each prototype A (its Name()), with
//   Actors/<A>/Textures  a copy of the prototype's own "Textures" folder
//   Sounds/              created empty
//   Motion/<R>.anm       the motion file of each actor record R (ZoAnimFile)
//
// Sequence file, after its 16-byte header (written at Close, and only when
// at least one frame was counted with NextFrame; otherwise the file holds
// the header alone):
//   int32 numFrames
//   int32 actor count, then per record: string record name, string actor name
//   four event list bodies (ZoAnimEventList): add-actor, remove-actor,
//   sound, material
// Strings are the container's (int32 length, characters; at most 255 are
// read back). The time step is handed back to the caller, never stored.
//
// Writing: Open(F, 1), PostAddActorEvent for each actor, then per frame
// WriteFrameData for each actor and NextFrame; Close writes the sequence
// file, copies each prototype once into Actors/ and finishes every motion
// file's header. Reading: Open(F, 0) reads the actor list, loads each
// prototype from Actors/ (records of one prototype name share it) and opens
// each motion file; frames are then read by record name.
//
// Messages: the folder set-up and the loading of prototypes tell a person
// through ZoMessageHandler (no caption, an OK button only):
//   "The selected sequence folder already exists.\nPlease choose another sequence name."
//   "Could not create folder for sequence files."
//   "Could not create Actors folder within sequence folder." (and Sounds, Motion)
//   "Couldn't create actor 'Textures' folder"
//   "Unable to load ProtoActor: " followed by the actor name
// Why an open failed is kept in the container's first-failure record too.
//
// Edge cases:
// - The prototypes a sequence loads while reading are released by Close
//   (one reference each, taken by the load); a caller that keeps one past
//   Close takes a reference of its own. Prototypes given to
//   PostAddActorEvent stay the caller's and must outlive the sequence's
//   Close.
// - Record names must be plain file names (see below) when they are added.
// - A record or actor name read from a sequence file that is not a plain
//   file name (empty, ".", "..", or holding a separator) is never used to
//   build a path: such an actor is left out (with the "Unable to load
//   ProtoActor: " message for an actor name).
// - A negative frame count or actor count fails the open (error 4); so does
//   an actor count larger than the bytes left in the file can hold (each
//   entry takes at least 8 bytes). Nothing is allocated from either count.
// - A prototype without a folder of its own (empty Path()) gets an empty
//   "Textures" folder in the sequence.
// - A prototype shared by two records is saved once; the second attempt
//   finds its folder and fails quietly, as every failure to save a
//   prototype does (Close does not report them).
// - The file type is not checked on reading.
#ifndef ZOACTOR_SEQUENCE_ZOANIMSEQUENCE_H
#define ZOACTOR_SEQUENCE_ZOANIMSEQUENCE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/sequence/ZoActorRecordList.h>
#include <zoactor/sequence/ZoAnimEventList.h>
#include <zoactor/sequence/ZoAnimFile.h>
#include <zoactor/serialization/ZoFile.h>
#include <zoactor/serialization/ZoFileType.h>

#include <cstdint>

class ZoProtoActor;

class ZOACTOR_API ZoAnimSequence : public ZoFile {
 public:
  // "Sequ", the characters in file order.
  static constexpr int32_t fileType = 0x75716553;
  static constexpr uint16_t fileVersion = 1;
  // The time step of a new sequence.
  static constexpr uint32_t kDefaultTimeStep = 50;

  ZoAnimSequence();
  // Closes an open sequence.
  ~ZoAnimSequence() override;

  using ZoFile::Open;
  // Mode 1 creates a new sequence whose sequence file is `path` (setting up
  // its folder first); any other mode opens an existing sequence for
  // reading. Returns 1, or 0 with the sequence closed.
  int Open(ZoString const& path, int mode) override;
  // Finishes a written sequence (when a frame was counted), closes every
  // motion file and the sequence file, and empties every list. 1 when all
  // of it succeeded; failures to save a prototype are not counted.
  int Close() override;

  // Adds an actor to a sequence being written and creates its motion file.
  // 0 when the sequence is not open for writing, the name is taken or is
  // not a plain file name, or the motion file cannot be created. `actor` is
  // borrowed.
  int PostAddActorEvent(ZoProtoActor* actor, ZoString const& name);
  // Accepted and not recorded; return 1.
  int PostRemoveActorEvent(ZoString const& name);
  int PostSoundEvent(ZoString const& sound, ZoString const& actorName, ZoVector3 const& position);
  // Counts one frame more; returns the new count.
  int NextFrame();

  // The frame operations of the named actor's motion file (see ZoAnimFile);
  // 0 when the sequence is not open or no motion file bears that name.
  int WriteFrameData(ZoString const& name, ZoTransform3 const* transforms, int count);
  int ReadOneFrame(ZoString const& name, int frame, ZoTransform3* out, int count);
  int ReadNodeFrames(ZoString const& name, int node, ZoTransform3* out, int numFrames, int& rotationChanges,
                     int& positionChanges);

  // The sequence folder: ending in a doubled separator when written, in one
  // when read.
  ZoString const& GetPath() const { return path; }
  int GetNumFrames() const { return numFrames; }
  uint32_t GetTimeStep() const { return timeStep; }
  void SetTimeStep(uint32_t step) { timeStep = step; }
  ZoActorRecordList const& GetActorList() const { return actorRecords; }
  ZoAnimEventList const& GetAddActorEvents() const { return addActorEvents; }
  ZoAnimEventList const& GetRemoveActorEvents() const { return removeActorEvents; }
  ZoAnimEventList const& GetSoundEvents() const { return soundEvents; }
  ZoAnimEventList const& GetMaterialEvents() const { return materialEvents; }
  // The motion file of the named record, or null.
  ZoAnimFile* GetAnimFile(ZoString const& name) const { return _GetAnimFile(name); }

 private:
  static ZoFileType ClassTypeInFile();

  int _SetupSequenceFolder(ZoString& file);
  int _InitWriteSequence();
  int _FinishWriteSequence();
  int _WriteActorList();
  int _WriteEvents();
  int _SaveProtoActors();
  int _SaveProtoActor(ZoProtoActor* actor);
  ZoAnimFile* _GetAnimFile(ZoString const& name) const;
  int _InitReadSequence();
  int _ReadActorList();
  int _ReadEvents();
  ZoProtoActor* _LoadProtoActor(ZoString const& actorName);

  // Shows a message and records it as the reason an open failed; returns 0.
  int Refuse(int code, char const* message);
  // Destroys every motion file and releases the prototypes loaded for reading.
  void DropFilesAndPrototypes();

  int32_t numFrames;
  uint32_t timeStep;
  ZoString path;
  ZoActorRecordList actorRecords;
  ZoAnimEventList addActorEvents;
  ZoAnimEventList removeActorEvents;
  ZoAnimEventList soundEvents;
  ZoAnimEventList materialEvents;
  // ZoAnimFile*, owned: one open motion file per actor record.
  ZoDblList animFiles;
  // ZoProtoActor*, one reference each: the prototypes loaded while reading.
  ZoDblList loadedPrototypes;
};

#endif
