// SPDX-License-Identifier: Apache-2.0
#include "Orvex/StoppableMutex.h"

#include <system_error>

namespace Orvex {

void StoppableMutex::lock() {
  std::unique_lock gate(m_gate);
  if (m_owner == std::this_thread::get_id())
    throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
  ++m_waiting;
  m_changed.wait(gate, [this] { return m_owner == std::thread::id(); });
  --m_waiting;
  m_owner = std::this_thread::get_id();
}

void StoppableMutex::unlock() {
  {
    const std::lock_guard gate(m_gate);
    m_owner = std::thread::id();
  }
  m_changed.notify_all();
}

bool StoppableMutex::LockUnlessStopped(const std::atomic<bool>& run) {
  std::unique_lock gate(m_gate);
  m_changed.wait(gate, [&] { return !run || (m_owner == std::thread::id() && m_waiting == 0); });
  if (!run) return false;
  m_owner = std::this_thread::get_id();
  return true;
}

void StoppableMutex::PauseUnlessStopped(const std::atomic<bool>& run,
                                        std::chrono::milliseconds duration) {
  std::unique_lock gate(m_gate);
  m_changed.wait_for(gate, duration, [&] { return !run; });
}

void StoppableMutex::Stop(std::atomic<bool>& run) {
  {
    const std::lock_guard gate(m_gate);
    run = false;
  }
  m_changed.notify_all();
}

bool StoppableMutex::IsHeldByThisThread() const {
  const std::lock_guard gate(m_gate);
  return m_owner == std::this_thread::get_id();
}

}  // namespace Orvex
