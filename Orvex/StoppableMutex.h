#pragma once
// SPDX-License-Identifier: Apache-2.0
// A mutex between one background thread and those who stop and join that thread while they hold it.
// The thread takes it with LockUnlessStopped, which a stop ends, so that a join under the lock
// never deadlocks. Others come before the thread. Satisfies Lockable for std::lock_guard.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Orvex {

class StoppableMutex {
 public:
  // Throws std::system_error (resource_deadlock_would_occur) when this thread holds it already.
  void lock();
  void unlock();

  // For the background thread: waits for the lock while `run` is true. False, without the lock,
  // once `run` is cleared.
  bool LockUnlessStopped(const std::atomic<bool>& run);

  // For the background thread: sleeps, but not longer than `run` is true.
  void PauseUnlessStopped(const std::atomic<bool>& run, std::chrono::milliseconds duration);

  // Clears `run` and ends the waits above. The caller may or may not hold the lock.
  void Stop(std::atomic<bool>& run);

  bool IsHeldByThisThread() const;

 private:
  mutable std::mutex m_gate;  // guards the rest; never held while anything else runs
  std::condition_variable m_changed;
  std::thread::id m_owner;  // none when free
  int m_waiting = 0;        // in lock()
};

}  // namespace Orvex
