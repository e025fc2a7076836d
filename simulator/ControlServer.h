#pragma once
// SPDX-License-Identifier: Apache-2.0
// The control side of a camera: one thread that receives GVCP commands on the camera's own address
// and on the broadcast addresses, answers them, watches the heartbeat, sends events over the
// message channel and accepts stream connections. Owned by VirtualCamera; Start and Stop from the
// owner's thread.

#include <atomic>
#include <thread>

#include "simulator/CommandHandler.h"
#include "simulator/EventSender.h"
#include "simulator/Streamer.h"
#include "simulator/TcpChannel.h"

namespace OrvexSim {

class ControlServer {
 public:
  // Binds; throws std::system_error.
  ControlServer(CameraCore& camera, Streamer& streamer, TcpChannel& tcp);
  ~ControlServer();

  void Start();
  void Stop();
  void Wake();  // something is queued; any thread

 private:
  // An answer that a slow register holds back. Other commands are answered meanwhile.
  struct Late {
    Reply reply;
    Endpoint to;
    uint16_t requestId = 0;
    bool askForTime = false;
    Clock::time_point due;
  };

  void Run();
  void OpenSockets();
  void Receive(int fd, bool broadcast);
  void Hold(const CommandHandler::Outcome& outcome, const Endpoint& to);
  bool IsHeld(std::span<const uint8_t> datagram, const Endpoint& from);
  void AskForTime(const Late& late);
  void SendLate();
  void Send(const Reply& reply, const Endpoint& to);
  void MoveTo(uint32_t ip);
  int NextTimeoutMs();
  void CheckHeartbeat();
  void ChangeAddress();

  CameraCore& m_camera;
  Streamer& m_streamer;
  TcpChannel& m_tcp;
  CommandHandler m_handler;
  EventSender m_events;
  UniqueFd m_own, m_allBroadcast, m_netBroadcast, m_wake;
  std::thread m_thread;
  std::atomic<bool> m_stop = false;
  std::vector<Late> m_late;  // control thread only
};

}  // namespace OrvexSim
