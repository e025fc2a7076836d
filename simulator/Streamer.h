#pragma once
// SPDX-License-Identifier: Apache-2.0
// The streaming side of a camera: one thread that takes frames at their time, paints and sends
// them, and a ring of the last frames from which resend requests are answered. Owned by
// VirtualCamera. Start and Stop from the owner's thread; Resend from the control thread, without
// the camera's lock.

#include <thread>

#include "simulator/PacketSender.h"
#include "simulator/TcpChannel.h"

namespace OrvexSim {

class Streamer {
 public:
  Streamer(CameraCore& camera, TcpChannel& tcp);
  ~Streamer();

  void Start();
  void Stop();
  uint16_t Port() const { return m_sender.Port(); }
  void Rebind(uint32_t ip, uint32_t mtu) { m_sender.Rebind(ip, mtu); }
  bool SendTest(uint32_t size, const Endpoint& destination) {
    return m_sender.SendTest(size, destination);
  }

  // Sends packets again, or says that they cannot be. `extendedStatus`: the host has enabled the
  // finer status codes.
  void Resend(const GigEVision::PacketResend& request, const Route& route, bool extendedStatus,
              const FaultSettings& faults);

 private:
  void Run();
  bool WaitForFrame(std::unique_lock<std::mutex>& lock);
  Route TakeRoute() const;
  Clock::duration Period(const Route& route) const;
  void TakeFrame(std::unique_lock<std::mutex>& lock);
  uint64_t SkipMissed(Clock::duration period);
  void SendOverTcp(TcpConnection& tcp, const Frame& frame, const Route& route,
                   bool previousDropped);
  void FinishFrame();
  Frame& NextSlot();
  static void FillLeaderAndTrailer(Frame& frame, uint32_t chunkLayout);

  CameraCore& m_camera;
  TcpChannel& m_tcp;
  PacketSender m_sender;
  std::thread m_thread;
  std::atomic<bool> m_stop = false;  // the thread is to end

  // Streaming thread only.
  uint64_t m_session = 0, m_openCount = 0;
  uint64_t m_frameNumber = 0, m_blockId = 0;
  Clock::time_point m_start;  // of the frame's exposure
  Clock::time_point m_nextStart;
  size_t m_slot = 0;
  bool m_tcpWaited = false;  // the last frame had to wait for its host

  uint64_t m_resends = 0;  // control thread only: draws of lost resends

  std::mutex m_ringMutex;  // guards which frames the ring holds; taken after nothing, nothing is
                           // taken inside
  std::vector<std::unique_ptr<Frame>> m_ring;
};

}  // namespace OrvexSim
