// ZoRef<T>: an owning handle of one reference of a reference-counted object
// (ZoProtoActor, ZoProtoSkill), for C++ callers that want the reference
// released on every path. The raw AddRef/Release calls remain the API; this
// only pairs them.
//
// Construction from a raw pointer adopts the reference the caller holds
// (what a constructor, ReadActorFile or Duplicate hands out); Share takes a
// new one (for a borrowed pointer, such as GetPrototype's). Copies AddRef,
// moves transfer, destruction and reset Release.
#ifndef ZOACTOR_ACTOR_ZOREF_H
#define ZOACTOR_ACTOR_ZOREF_H

#include <utility>

template <class T>
class ZoRef {
 public:
  ZoRef() = default;
  // Adopts the reference the caller holds on `fresh` (null allowed).
  explicit ZoRef(T* fresh) : object(fresh) {}
  ZoRef(ZoRef const& other) : object(other.object) {
    if (object != nullptr) object->AddRef();
  }
  ZoRef(ZoRef&& other) noexcept : object(other.object) { other.object = nullptr; }
  ~ZoRef() { reset(); }

  ZoRef& operator=(ZoRef other) noexcept {
    std::swap(object, other.object);
    return *this;
  }

  // Takes a new reference on a borrowed pointer (null allowed).
  static ZoRef Share(T* borrowed) {
    if (borrowed != nullptr) borrowed->AddRef();
    return ZoRef(borrowed);
  }

  T* get() const { return object; }
  T* operator->() const { return object; }
  T& operator*() const { return *object; }
  explicit operator bool() const { return object != nullptr; }

  // Releases the held reference (if any) and adopts `fresh`.
  void reset(T* fresh = nullptr) {
    T* old = object;
    object = fresh;
    if (old != nullptr) old->Release();
  }
  // Hands the held reference to the caller, leaving the handle empty.
  T* release() {
    T* held = object;
    object = nullptr;
    return held;
  }

 private:
  T* object = nullptr;
};

#endif
