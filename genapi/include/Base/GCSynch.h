#pragma once
// SPDX-License-Identifier: Apache-2.0
// The recursive lock of the base library. Its users are the node map and whoever shares the node
// map's lock.

#include <atomic>
#include <mutex>

#include <Base/GCTypes.h>

namespace GENICAM_NAMESPACE {

// A lock that its owner may take again. Meets the BasicLockable names of this interface, not those
// of the standard library.
class GCBASE_API CLock {
 public:
  CLock() = default;
  ~CLock() = default;
  CLock(const CLock&) = delete;
  CLock& operator=(const CLock&) = delete;

  // True when the lock was free or is held by this thread; it must then be released by Unlock.
  bool TryLock() {
    const bool taken = m_mutex.try_lock();
    if (taken) ++m_depth;
    return taken;
  }
  void Lock() {
    m_mutex.lock();
    ++m_depth;
  }
  // Only by the thread that holds the lock.
  void Unlock() {
    --m_depth;
    m_mutex.unlock();
  }

 protected:
  std::recursive_mutex m_mutex;
  int64_t m_depth = 0;  // how often the owner holds the lock; guarded by it
};

// A lock that tells how it is used; for tests and diagnosis.
class GCBASE_API CLockEx : public CLock {
 public:
  // Number of threads that hold or wait for the lock through this class.
  int64_t GetLockCount() const { return m_users.load(std::memory_order_relaxed); }
  // How often the calling thread, which must be the owner, holds the lock.
  int64_t GetRecursionCount() const { return m_depth; }

  bool TryLock() {
    const bool taken = CLock::TryLock();
    if (taken && m_depth == 1) ++m_users;
    return taken;
  }
  void Lock() {
    ++m_users;
    CLock::Lock();
    if (m_depth > 1) --m_users;
  }
  void Unlock() {
    if (m_depth == 1) --m_users;
    CLock::Unlock();
  }

 private:
  std::atomic<int64_t> m_users{0};
};

// Holds a lock for its own lifetime.
class GCBASE_API AutoLock {
 public:
  explicit AutoLock(CLock& lock) : m_lock(lock) { m_lock.Lock(); }
  ~AutoLock() { m_lock.Unlock(); }
  AutoLock(const AutoLock&) = delete;
  AutoLock& operator=(const AutoLock&) = delete;

 private:
  CLock& m_lock;
};

// A class that derives from this has one lock per object: Lock guard(*this);
template <class Object>
class LockableObject {
 public:
  LockableObject() = default;
  LockableObject(const LockableObject&) {}
  LockableObject& operator=(const LockableObject&) { return *this; }

  class Lock {
   public:
    explicit Lock(const LockableObject<Object>& obj) : m_pLock(&obj.m_lock) { m_pLock->Lock(); }
    Lock(Lock&& other) noexcept : m_pLock(other.m_pLock) { other.m_pLock = nullptr; }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() {
      if (m_pLock) m_pLock->Unlock();
    }

   private:
    CLock* m_pLock;
  };

  // Takes the object's lock; the result releases it.
  Lock GetLock() const { return Lock(*this); }

 private:
  mutable CLock m_lock;
};

}  // namespace GENICAM_NAMESPACE
