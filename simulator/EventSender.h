#pragma once
// SPDX-License-Identifier: Apache-2.0
// The message channel of a camera: sends events one after another, each repeated until the host
// acknowledges it or the retries are used up. Owned by the control server and used by its thread.

#include <array>

#include "simulator/Network.h"

namespace OrvexSim {

class EventSender {
 public:
  explicit EventSender(CameraCore& camera) : m_camera(camera) {}
  void Open(uint32_t ip) { m_socket = BindUdp(ip, 0, false); }  // throws std::system_error
  int Descriptor() const { return m_socket.Get(); }
  uint16_t Port() const { return LocalPort(m_socket.Get()); }

  void Send();        // what is queued, as far as acknowledges allow
  void ReceiveAck();  // the descriptor is readable
  std::optional<Clock::time_point> Deadline() const;  // of the acknowledge that is waited for

 private:
  struct Pending {
    std::array<uint8_t, GigEVision::sk_gvcpMaxDatagram> bytes;
    size_t size = 0;
    uint16_t id = 0;
    uint32_t retriesLeft = 0;
    Clock::time_point deadline;
  };
  struct Channel {
    Endpoint to;
    std::chrono::milliseconds timeout{0};
    uint32_t retries = 0;
    bool extendedIds = false;
  };
  Channel TakeChannel();
  Pending Encode(const DeviceEvent& event, const Channel& channel);
  void SendTo(const Pending& event, const Endpoint& to);

  CameraCore& m_camera;
  UniqueFd m_socket;
  uint16_t m_lastId = 0;
  std::optional<Pending> m_pending;
  std::deque<DeviceEvent> m_events;
};

}  // namespace OrvexSim
