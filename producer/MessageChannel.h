#pragma once
// SPDX-License-Identifier: Apache-2.0
// The camera's message channel: a socket and a thread that acknowledge event commands and hand each
// event to the Device. Owned by its Device. Open and Close may come from any thread, one at a time.

#include <atomic>
#include <mutex>
#include <thread>

#include "producer/Network.h"

namespace OrvexGev {

class Device;

class MessageChannel {
 public:
  explicit MessageChannel(Device& device) : m_device(device) {}
  ~MessageChannel() { Close(); }

  // Tells the camera where to send events. Throws GC_ERR_NOT_AVAILABLE when it has no message
  // channel.
  void Open();
  void Close();

 private:
  void Run();
  void Handle(std::span<const uint8_t> datagram, Endpoint from);

  Device& m_device;
  std::mutex m_mutex;
  UdpSocket m_socket;
  WakeFd m_wake;
  std::thread m_thread;
  std::atomic<bool> m_stop{false};
  uint16_t m_lastId = 0;  // thread only: the camera repeats a command whose acknowledge was lost
};

}  // namespace OrvexGev
