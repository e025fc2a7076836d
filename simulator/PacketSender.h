#pragma once
// SPDX-License-Identifier: Apache-2.0
// Sends stream packets through one UDP socket: runs of data packets with segmentation offload where
// the path allows it, and single packets for leaders, trailers, resends and refusals. SendFrame
// belongs to the streaming thread; SendPacket, SendRefusal and SendTest may be called from the
// control thread at the same time (the socket takes care of that).

#include <atomic>

#include "simulator/Faults.h"
#include "simulator/Network.h"

namespace OrvexSim {

// Where packets go and how; a copy is taken for each frame.
struct Route {
  Endpoint destination;
  uint32_t packetSize = 1500;  // IP datagram
  bool doNotFragment = false;
  uint32_t packetDelayNs = 0;   // least time from packet to packet
  uint64_t bytesPerSecond = 0;  // 0 = as fast as possible
  bool segmentation = true;     // let the kernel cut runs of packets
};

class PacketSender {
 public:
  // Binds to the address; packets larger than `pathLimit` (0 = none) vanish, as on a path with a
  // smaller MTU.
  PacketSender(uint32_t ip, uint32_t mtu, uint32_t pathLimit);

  uint16_t Port() const { return LocalPort(m_fd.Get()); }
  void Rebind(uint32_t ip, uint32_t mtu);  // throws std::system_error; the port changes

  // Leader, data and trailer, paced. Gives up between packets when `stop` becomes true.
  void SendFrame(Frame& frame, const Route& route, const std::atomic<bool>& stop);
  // The same packet by packet, with faults.
  void SendFaulty(Frame& frame, const Route& route, const FaultSettings& faults,
                  const std::atomic<bool>& stop);
  // One packet of the frame; `resent` marks it as the answer to a request, `status` goes into a
  // standard header.
  void SendPacket(const Frame& frame, uint32_t packetId, const Route& route, Status status,
                  bool resent);
  // A header without data, which says why a packet cannot come again.
  void SendRefusal(uint64_t blockId, uint32_t packetId, bool extendedIds, const Route& route,
                   Status status, bool rangeError = false);
  // A test packet of this IP datagram size, never fragmented; false when it cannot leave.
  bool SendTest(uint32_t size, const Endpoint& destination);
  // Sleeps until `next` where the route has a limit.
  static void Wait(const Route& route, Clock::time_point next);
  static void Sleep(Clock::time_point until);

 private:
  void SetDoNotFragment(bool on);
  void SendCorrupt(const Frame& frame, uint32_t packetId, const Route& route, FaultDice& dice);
  size_t SendRun(const Frame& frame, uint32_t firstPacket, size_t count, const Route& route);
  bool SendSegmented(const Frame& frame, uint32_t firstPacket, size_t count, const Route& route);
  void SendEach(const Frame& frame, uint32_t firstPacket, size_t count, const Route& route);

  UniqueFd m_fd;
  std::atomic<uint32_t> m_mtu;
  const uint32_t m_pathLimit;
  std::atomic<bool> m_segmentation = true;  // as far as the interface can
  std::atomic<int> m_doNotFragment = -1;
};

}  // namespace OrvexSim
