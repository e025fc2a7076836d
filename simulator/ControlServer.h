#pragma once
// SPDX-License-Identifier: Apache-2.0
// The control side of a camera: one thread that answers GVCP commands on the camera's own address
// and on the broadcast addresses, watches the heartbeat, and sends events over the message channel.
// Owned by VirtualCamera; Start and Stop from the owner's thread.

#include <array>
#include <atomic>
#include <thread>

#include "simulator/Network.h"
#include "simulator/Streamer.h"

namespace OrvexSim {

class ControlServer {
 public:
  ControlServer(CameraCore& camera, Streamer& streamer);  // binds; throws std::system_error
  ~ControlServer();

  void Start();
  void Stop();
  void Wake();  // something is queued; any thread

 private:
  using Buffer = std::array<uint8_t, GigEVision::sk_gvcpMaxDatagram>;
  struct Reply {
    Buffer bytes;
    size_t size = 0;
  };
  struct Answered {  // the last command of the application in control, to be answered again but not
                     // executed again
    Endpoint from;
    std::vector<uint8_t> command;
    Reply reply;
  };

  void Run();
  void OpenSockets();
  void Receive(int fd, bool broadcast);
  void Handle(std::span<const uint8_t> datagram, const Endpoint& from, bool broadcast);
  // Fills the reply; nothing is sent when it stays empty.
  void Execute(const GigEVision::CommandPacket& packet, bool broadcast, Reply& reply);
  void Discovery(const GigEVision::CommandHeader& header, Reply& reply);
  void ForceIp(const GigEVision::CommandPacket& packet, Reply& reply);
  void ReadReg(const GigEVision::CommandPacket& packet, Reply& reply);
  void WriteReg(const GigEVision::CommandPacket& packet, Reply& reply);
  void ReadMem(const GigEVision::CommandPacket& packet, Reply& reply);
  void WriteMem(const GigEVision::CommandPacket& packet, Reply& reply);
  void Resend(const GigEVision::CommandPacket& packet);
  void Action(const GigEVision::CommandPacket& packet, Reply& reply);
  bool MayRead() const;
  // Faults that the address is to have.
  Status Probe(uint32_t address);
  bool SwallowsAnswer(const GigEVision::CommandPacket& packet);
  void MoveTo(uint32_t ip);
  bool MayWrite(uint32_t address) const;
  void Send(const Reply& reply, const Endpoint& to);
  void AnswerLate(const GigEVision::CommandHeader& header, uint32_t delayMs, const Endpoint& to);

  int NextTimeoutMs();
  void CheckHeartbeat();
  void ChangeAddress();
  void RunScheduledActions();
  void FireAction(uint32_t signals);
  void SendEvents();
  void ReceiveEventAck();

  CameraCore& m_camera;
  Streamer& m_streamer;
  UniqueFd m_own, m_allBroadcast, m_netBroadcast, m_messages, m_wake;
  std::thread m_thread;
  std::atomic<bool> m_stop = false;

  // Control thread only.
  Answered m_answered;
  struct ScheduledAction {
    uint64_t time;
    uint32_t signals;
  };
  std::vector<ScheduledAction> m_actions;
  uint16_t m_eventId = 0;
  uint64_t m_commands = 0;  // draws of lost answers
  struct PendingEvent {
    Buffer bytes;
    size_t size = 0;
    uint16_t id = 0;
    uint32_t retriesLeft = 0;
    Clock::time_point deadline;
  };
  std::optional<PendingEvent> m_pendingEvent;
  std::deque<DeviceEvent> m_events;
};

}  // namespace OrvexSim
