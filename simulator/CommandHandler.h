#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a camera does with a GVCP datagram: the rules of the wire, who may do what, and the commands
// themselves, without any socket. Owned by the control server and used by its thread; takes the
// camera's lock itself.

#include <array>

#include "simulator/PacketSender.h"

namespace OrvexSim {

struct Reply {
  std::array<uint8_t, GigEVision::sk_gvcpMaxDatagram> bytes;
  size_t size = 0;  // 0: there is nothing to say
};

class CommandHandler {
 public:
  explicit CommandHandler(CameraCore& camera) : m_camera(camera) {}

  struct Outcome {
    Reply reply;
    uint32_t delayMs = 0;  // the reply is to wait that long
    uint16_t requestId = 0;
    bool askForTime = false;  // the host allows PENDING_ACK
  };
  Outcome Handle(std::span<const uint8_t> datagram, const Endpoint& from, bool broadcast);

  // ---- scheduled actions ----
  void RunScheduledActions();
  std::optional<uint64_t> NextActionTime() const;  // by the camera's clock

  // What only the servers can do. Called with the camera's lock held.
  std::function<void(const GigEVision::PacketResend&, const Route&, bool extendedStatus,
                     const FaultSettings&)>
      resend;
  std::function<void(uint32_t ip)> moveTo;

 private:
  // Fills the reply.
  void Execute(const GigEVision::CommandPacket& packet, bool broadcast, Reply& reply);
  void Discovery(const GigEVision::CommandHeader& header, Reply& reply);
  void ForceIp(const GigEVision::CommandPacket& packet, Reply& reply);
  void ReadReg(const GigEVision::CommandPacket& packet, Reply& reply);
  void WriteReg(const GigEVision::CommandPacket& packet, Reply& reply);
  void ReadMem(const GigEVision::CommandPacket& packet, Reply& reply);
  void WriteMem(const GigEVision::CommandPacket& packet, Reply& reply);
  void Resend(const GigEVision::CommandPacket& packet);
  void Action(const GigEVision::CommandPacket& packet, Reply& reply);
  void FireAction(uint32_t signals);
  bool MayRead() const;
  bool MayWrite(uint32_t address) const;
  // Faults that the addresses are to have.
  Status Probe(uint32_t address, size_t bytes);
  bool SwallowsAnswer(const GigEVision::CommandPacket& packet);

  struct Answered {  // the last command of the application in control, to be answered again but not
                     // executed again
    Endpoint from;
    std::vector<uint8_t> command;
    Reply reply;
  };
  struct ScheduledAction {
    uint64_t time;
    uint32_t signals;
  };

  CameraCore& m_camera;
  Answered m_answered;
  std::vector<ScheduledAction> m_actions;
  uint64_t m_commands = 0;  // draws of lost answers
};

}  // namespace OrvexSim
