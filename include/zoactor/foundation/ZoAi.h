// Engine interfaces. ZoAi is the base of the objects of the engine that hosts
// the library: the library stores ZoAi pointers as user data, hands them back
// unchanged and calls Release when their owner is destroyed.
// ZoAiHookManager is the engine object through which the library offers some
// of its work (opening files, building sphere trees, loading actors) to the
// engine first; the engine registers it under "ZoAiHookManager" with
// ZoInterfaceRegistry::Register.
#ifndef ZOACTOR_FOUNDATION_ZOAI_H
#define ZOACTOR_FOUNDATION_ZOAI_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoTransform3.h>

#include <cstdint>

class ZoDblList;

// Engine types the library only passes on (an actor instance and one of its
// nodes); never defined or dereferenced here.
class ZoAiActor;
class ZoAiActorNode;

class ZOACTOR_API ZoAi {
 public:
  // Copies the interface's name into `buffer` (at most `size` bytes, with
  // its terminator) and its version into `major` and `minor`; returns the
  // length of the name.
  virtual int GetInterfaceName(char* buffer, int size, int& major, int& minor) = 0;
  // Takes one reference; returns the new count.
  virtual int32_t AddRef() = 0;
  // Drops one reference; the object destroys itself at zero. Returns the new count.
  virtual int32_t Release() = 0;

 protected:
  // Objects are released, not deleted through this base.
  virtual ~ZoAi();
};

class ZOACTOR_API ZoAiHookManager : public ZoAi {
 public:
  // The name under which the engine registers its hook manager.
  static char const* const INTERFACE_NAME;

  // Handles request `code` with the request record at `record` (one of the
  // ZoHook...Record structs). A result above 0 means the manager did the work
  // and filled the record's outputs; the library then skips its own.
  virtual int32_t HandleRequest(int32_t code, void* record) = 0;

  // Looks the hook manager up afresh and offers it the request. Returns the
  // manager's result, or 0 when no manager is registered. The library keeps
  // no pointer to the manager and never releases it.
  static int32_t Offer(int32_t code, void* record);

 protected:
  ~ZoAiHookManager() override;
};

// The engine's interface of a skill. The library's skill (ZoProtoSkill)
// implements it with empty answers; an engine-side subclass overrides what
// it plays. Times are the engine's unsigned 32-bit time units.
//
// The operations are declared in the engine's order: those of ZoAi, then
// the fifteen below. (ZoAi's virtual destructor sits behind Release, so the
// raw vtable positions of these follow it.)
class ZOACTOR_API ZoAiSkill : public ZoAi {
 public:
  // The skill's length in time units.
  virtual uint32_t GetDuration() = 0;
  // The time at which the skill starts.
  virtual uint32_t GetStartTime() = 0;
  // The next contact after `time` for `actor`: its time in `contactTime` and
  // the nodes concerned appended to `nodes`; non-zero when there is one.
  virtual int NextContact(uint32_t time, ZoAiActor const* actor, uint32_t& contactTime, ZoDblList& nodes) = 0;
  // Poses `actor` (every joint of the skill) at `time`; `trace` names the
  // engine's trace to follow.
  virtual void Sample(ZoAiActor const* actor, ZoString const& trace, uint32_t time) = 0;
  // The transform of the skill's root at `time` into `out`; non-zero when set.
  virtual int Sample(ZoTransform3& out, ZoAiActor const* actor, ZoString const& trace, uint32_t time) = 0;
  // Appends the foot (hand) nodes of `actor` that the skill places; returns
  // how many.
  virtual int GetFootNodes(ZoDblList& nodes, ZoAiActor const* actor) = 0;
  virtual int GetHandNodes(ZoDblList& nodes, ZoAiActor const* actor) = 0;
  // The index of the variant of the skill that suits `actor` best.
  virtual int BestMatchIndex(ZoAiActor const* actor) = 0;
  // Non-zero when `node` is in contact between `from` and `to`.
  virtual int CheckContact(ZoAiActorNode const* node, uint32_t from, uint32_t to) = 0;
  // As Sample, relative to the trace; non-zero when set.
  virtual int SampleWrtTrace(ZoTransform3& out, ZoAiActor const* actor, ZoString const& trace, uint32_t time) = 0;
  // The rotation from the skill's authoring frame to the engine's.
  virtual ZoRotation3& Conversion() = 0;
  // Plays the skill's extra tracks (events, sounds, textures) on `actor`
  // between `from` and `to`.
  virtual void UpdateExtraTracks(ZoAiActor* actor, int flags, uint32_t from, uint32_t to) = 0;
  virtual void SetRadius(float radius) = 0;
  virtual float GetRadius() = 0;
  // The transform of the skill's handle.
  virtual void GetHandleTransform(ZoTransform3& out) = 0;

 protected:
  ~ZoAiSkill() override;
};

#endif
