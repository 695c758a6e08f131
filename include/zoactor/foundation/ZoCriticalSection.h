// ZoCriticalSection: a re-entrant lock. A thread that holds it may enter it
// again; it is released when every Enter has been matched by a Leave.
#ifndef ZOACTOR_FOUNDATION_ZOCRITICALSECTION_H
#define ZOACTOR_FOUNDATION_ZOCRITICALSECTION_H

#include <zoactor/ZoExport.h>

#include <mutex>

class ZOACTOR_API ZoCriticalSection {
 public:
  ZoCriticalSection() = default;
  ZoCriticalSection(ZoCriticalSection const&) = delete;
  ZoCriticalSection& operator=(ZoCriticalSection const&) = delete;

  void Enter() { mutex.lock(); }
  void Leave() { mutex.unlock(); }
  // Enters when the lock is free or already held by this thread; true if so.
  bool TryEnter() { return mutex.try_lock(); }

  // Satisfies BasicLockable, so std::lock_guard and std::unique_lock work.
  void lock() { Enter(); }
  void unlock() { Leave(); }

 private:
  std::recursive_mutex mutex;
};

// Holds a ZoCriticalSection for the lifetime of a scope.
class ZoCriticalSectionLock {
 public:
  explicit ZoCriticalSectionLock(ZoCriticalSection& section) : held(section) { held.Enter(); }
  ~ZoCriticalSectionLock() { held.Leave(); }
  ZoCriticalSectionLock(ZoCriticalSectionLock const&) = delete;
  ZoCriticalSectionLock& operator=(ZoCriticalSectionLock const&) = delete;

 private:
  ZoCriticalSection& held;
};

#endif
