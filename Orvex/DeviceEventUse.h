#pragma once
// SPDX-License-Identifier: Apache-2.0
// A call that waits on an event of a device, so that the event lives until the call is back. One
// thread each, on its stack.
#include "Orvex/Device.h"

namespace Orvex {

class Device::EventUse {
 public:
  // `take` fetches what is used, under the lock that guards it.
  template <typename Take>
  EventUse(Device& device, int& users, Take take) : m_device(device), m_users(users) {
    const std::lock_guard lock(device.m_eventUseMtx);
    take();
    ++m_users;
  }
  EventUse(const EventUse&) = delete;
  EventUse& operator=(const EventUse&) = delete;
  ~EventUse() {
    const std::lock_guard lock(m_device.m_eventUseMtx);
    if (--m_users == 0) m_device.m_eventUnused.notify_all();
  }

 private:
  Device& m_device;
  int& m_users;  // by m_eventUseMtx
};

}  // namespace Orvex
