// SPDX-License-Identifier: Apache-2.0
#include "simulator/CommandHandler.h"

#include <algorithm>

#include "gigevision/Bootstrap.h"
#include "simulator/Limits.h"

namespace OrvexSim {

namespace B = GigEVision::Bootstrap;
using GigEVision::Ack;
using GigEVision::Command;
using GigEVision::CommandHeader;
using GigEVision::CommandPacket;

namespace {

bool Aligned(uint32_t address) {
  return address % 4 == 0;
}

}  // namespace

CommandHandler::Outcome CommandHandler::Handle(std::span<const uint8_t> datagram,
                                               const Endpoint& from, bool broadcast) {
  Outcome outcome;
  Reply& reply = outcome.reply;
  const std::optional<CommandHeader> header = GigEVision::PeekCommand(datagram);
  if (!header) return outcome;
  outcome.requestId = header->requestId;
  const bool whole = header->length == datagram.size() - GigEVision::sk_gvcpHeaderSize;
  const std::lock_guard lock(m_camera.Mutex());
  if (Clock::now() < m_camera.silentUntil) return outcome;
  if (!whole || header->requestId == 0) {
    if (!header->AckRequired() || broadcast) return outcome;
    reply.size =
        EncodeAck(reply.bytes, Status::InvalidHeader, AckOf(header->command), header->requestId);
    return outcome;
  }
  ControlState& control = m_camera.control;
  const bool counts =
      header->command != Command::Discovery && header->command != Command::PacketResend;
  if (counts && control.owner == from) control.lastHeard = Clock::now();
  // Once control has ended the answer no longer holds.
  if (counts && control.owner == from && m_answered.from == from &&
      std::ranges::equal(m_answered.command, datagram)) {
    if (header->AckRequired())
      reply = m_answered.reply;  // our answer was lost: the command must not take effect twice
    return outcome;
  }
  m_camera.caller = from;
  const bool owned = control.owner == from;
  const CommandPacket packet = *GigEVision::DecodeCommand(datagram);
  Execute(packet, broadcast, reply);
  outcome.delayMs = std::min(m_camera.TakeAnswerDelay(), sk_maxRegisterDelayMs);
  outcome.askForTime =
      header->AckRequired() && (control.gvcpConfiguration & B::sk_cfgPendingAck) != 0;
  if (counts && reply.size != 0 && (owned || control.owner == from)) {
    m_answered.from = from;
    m_answered.command.assign(datagram.begin(), datagram.end());
    m_answered.reply = reply;
  }
  if (SwallowsAnswer(packet) || !header->AckRequired()) reply.size = 0;
  return outcome;
}

bool CommandHandler::MayRead() const {
  const ControlState& control = m_camera.control;
  return !control.owner || *control.owner == m_camera.caller ||
         (control.privilege & B::sk_ccpExclusive) == 0;
}

bool CommandHandler::MayWrite(uint32_t address) const {
  return address == B::sk_ccp ||
         (m_camera.control.owner && *m_camera.control.owner == m_camera.caller);
}

Status CommandHandler::Probe(uint32_t address, size_t bytes) {
  if (Touches(m_camera.deniedRegisters, address, bytes)) return Status::AccessDenied;
  if (Touches(m_camera.slowRegisters, address, bytes)) {
    m_camera.DelayAnswer(static_cast<uint32_t>(m_camera.F("SimSlowTime").Int()));
  }
  return Status::Success;
}

bool CommandHandler::SwallowsAnswer(const CommandPacket& packet) {
  FaultSettings draws;
  draws.seed = static_cast<uint64_t>(m_camera.F("SimSeed").Int());
  if (FaultDice(draws, ++m_commands).Hit(m_camera.F("SimDropAckRate").Real() / 100)) return true;
  if (packet.header.command != Command::ReadReg || !m_camera.F("SimIgnoreHeartbeat").Bool())
    return false;
  return packet.payload.size() == 4 && GigEVision::LoadBe32(packet.payload.data()) == B::sk_ccp;
}

void CommandHandler::Execute(const CommandPacket& packet, bool broadcast, Reply& reply) {
  const CommandHeader& header = packet.header;
  switch (header.command) {
    case Command::Discovery:
      return Discovery(header, reply);
    case Command::ForceIp:
      return ForceIp(packet, reply);
    case Command::Action:
      return Action(packet, reply);
    case Command::PacketResend:
      return Resend(packet);
    default:
      break;
  }
  if (broadcast) return;  // registers are never reached by broadcast
  switch (header.command) {
    case Command::ReadReg:
      return ReadReg(packet, reply);
    case Command::WriteReg:
      return WriteReg(packet, reply);
    case Command::ReadMem:
      return ReadMem(packet, reply);
    case Command::WriteMem:
      return WriteMem(packet, reply);
    default:
      reply.size =
          EncodeAck(reply.bytes, Status::NotImplemented, AckOf(header.command), header.requestId);
  }
}

void CommandHandler::Discovery(const CommandHeader& header, Reply& reply) {
  uint8_t content[GigEVision::sk_discoveryAckSize];
  m_camera.Registers().ReadBytes(0,
                                 content);  // the acknowledge is the start of the bootstrap memory
  reply.size = EncodeAck(reply.bytes, Status::Success, Ack::Discovery, header.requestId, content);
}

void CommandHandler::ForceIp(const CommandPacket& packet, Reply& reply) {
  const std::optional<GigEVision::ForceIp> force = GigEVision::DecodeForceIp(packet.payload);
  NetworkState& network = m_camera.network;
  if (!force || force->mac != network.mac || m_camera.control.owner) return;
  if (force->ip == 0)
    return;  // restart of the address configuration: it would choose the same address again
  if (moveTo) moveTo(force->ip);
  if (network.ip != force->ip) return;
  network.mask = force->subnetMask;
  network.gateway = force->gateway;
  reply.size = EncodeAck(reply.bytes, Status::Success, Ack::ForceIp, packet.header.requestId);
}

void CommandHandler::ReadReg(const CommandPacket& packet, Reply& reply) {
  const auto finish = [&](Status status, std::span<const uint32_t> values) {
    reply.size = EncodeReadRegAck(reply.bytes, status, packet.header.requestId, values);
  };
  const std::optional<GigEVision::WordView> addresses = GigEVision::DecodeReadReg(packet.payload);
  if (!addresses || addresses->size() > GigEVision::sk_maxReadRegs)
    return finish(Status::InvalidParameter, {});
  if (!MayRead()) return finish(Status::AccessDenied, {});
  std::array<uint32_t, GigEVision::sk_maxReadRegs> values;
  for (size_t i = 0; i < addresses->size(); ++i) {
    const uint32_t address = (*addresses)[i];
    Status status = Aligned(address) ? Probe(address, 4) : Status::BadAlignment;
    if (!IsError(status)) status = m_camera.Registers().ReadWord(address, values[i]);
    if (IsError(status)) return finish(status, {values.data(), i});
  }
  finish(Status::Success, {values.data(), addresses->size()});
}

void CommandHandler::WriteReg(const CommandPacket& packet, Reply& reply) {
  const auto finish = [&](Status status, size_t index) {
    reply.size = EncodeIndexAck(reply.bytes, status, Ack::WriteReg, packet.header.requestId,
                                static_cast<uint16_t>(index));
  };
  const std::optional<GigEVision::RegisterWriteView> writes =
      GigEVision::DecodeWriteReg(packet.payload);
  if (!writes || writes->size() > GigEVision::sk_maxWriteRegs)
    return finish(Status::InvalidParameter, 0);
  for (size_t i = 0; i < writes->size(); ++i) {
    const auto [address, value] = (*writes)[i];
    Status status = Status::BadAlignment;
    if (Aligned(address)) {
      status = MayWrite(address) ? Probe(address, 4) : Status::AccessDenied;
      if (!IsError(status)) status = m_camera.Registers().WriteWord(address, value);
    }
    if (IsError(status)) return finish(status, i);
  }
  finish(Status::Success, writes->size());
}

void CommandHandler::ReadMem(const CommandPacket& packet, Reply& reply) {
  const std::optional<GigEVision::ReadMem> read = GigEVision::DecodeReadMem(packet.payload);
  Status status = Status::InvalidParameter;
  std::array<uint8_t, GigEVision::sk_maxMemBytes> bytes;
  if (read && (!Aligned(read->address) || read->count % 4 != 0)) {
    status = Status::BadAlignment;
  } else if (read && !MayRead()) {
    status = Status::AccessDenied;
  } else if (read && read->count > 0 && read->count <= bytes.size()) {
    status = Probe(read->address, read->count);
    if (!IsError(status)) {
      status = m_camera.Registers().ReadBytes(read->address, {bytes.data(), read->count});
    }
  }
  if (IsError(status)) {
    reply.size = EncodeAck(reply.bytes, status, Ack::ReadMem, packet.header.requestId);
    return;
  }
  reply.size = EncodeReadMemAck(reply.bytes, status, packet.header.requestId,
                                {read->address, {bytes.data(), read->count}});
}

void CommandHandler::WriteMem(const CommandPacket& packet, Reply& reply) {
  const std::optional<GigEVision::Memory> write = GigEVision::DecodeWriteMem(packet.payload);
  size_t written = 0;
  Status status = Status::InvalidParameter;
  if (write && (!Aligned(write->address) || write->data.size() % 4 != 0)) {
    status = Status::BadAlignment;
  } else if (write && !write->data.empty() && write->data.size() <= GigEVision::sk_maxMemBytes) {
    const bool allowed =
        MayWrite(write->address) && (write->address != B::sk_ccp || write->data.size() == 4);
    status = allowed ? Probe(write->address, write->data.size()) : Status::AccessDenied;
    if (!IsError(status)) {
      status = m_camera.Registers().WriteBytes(write->address, write->data, written);
    }
  }
  reply.size = EncodeIndexAck(reply.bytes, status, Ack::WriteMem, packet.header.requestId,
                              static_cast<uint16_t>(written));
}

void CommandHandler::Resend(const CommandPacket& packet) {
  const std::optional<GigEVision::PacketResend> request = GigEVision::DecodePacketResend(packet);
  const ControlState& control = m_camera.control;
  // From any port of the application in control.
  if (!request || request->channel != 0 || !control.owner ||
      control.owner->ip != m_camera.caller.ip)
    return;
  const StreamState& stream = m_camera.stream;
  Route route;
  const bool toSender = (stream.configuration & B::sk_sccfgResendDestination) != 0;
  route.destination =
      toSender ? m_camera.caller : Endpoint{stream.address, static_cast<uint16_t>(stream.port)};
  if (route.destination.port == 0) return;
  if (resend) {
    resend(*request, route, (control.gvcpConfiguration & B::sk_cfgExtendedStatus11) != 0,
           TakeFaults(m_camera.Features()));
  }
}

void CommandHandler::Action(const CommandPacket& packet, Reply& reply) {
  const std::optional<GigEVision::Action> action = GigEVision::DecodeAction(packet);
  if (!action) return;
  const bool open = m_camera.control.owner ||
                    (m_camera.control.gvcpConfiguration & B::sk_cfgUnconditionalAction) != 0;
  uint32_t signals = 0;
  for (uint32_t i = 0; i < std::size(m_camera.action.groupKey); ++i) {
    const bool match = action->deviceKey == m_camera.action.deviceKey &&
                       action->groupKey == m_camera.action.groupKey[i] &&
                       (action->groupMask & m_camera.action.groupMask[i]) != 0;
    if (match) signals |= 1u << i;
  }
  if (!open || signals == 0) return;  // not meant for this camera: silence
  Status status = Status::Success;
  if (action->time == 0) {
    FireAction(signals);
  } else if (action->time <= m_camera.Now()) {
    FireAction(signals);
    status = Status::ActionLate;
    m_camera.QueueEvent({sk_actionLateEventId, 0, m_camera.Now(), {}});
  } else if (m_actions.size() >= sk_maxScheduledActions) {
    status = Status::Overflow;
  } else {
    m_actions.push_back({action->time, signals});
  }
  const bool extended = (m_camera.control.gvcpConfiguration & B::sk_cfgExtendedStatus20) != 0;
  if (IsError(status) && !extended)
    status = status == Status::ActionLate ? Status::Success : Status::Error;
  reply.size = EncodeAck(reply.bytes, status, Ack::Action, packet.header.requestId);
}

// Called with the camera's lock held.
void CommandHandler::FireAction(uint32_t signals) {
  const int64_t action = m_camera.F("TriggerSource").Int() - sk_firstActionTrigger;
  if (action >= 0 && action < 4 && (signals >> action & 1) != 0) m_camera.Trigger();
}

void CommandHandler::RunScheduledActions() {
  if (m_actions.empty()) return;
  const std::lock_guard lock(m_camera.Mutex());
  const uint64_t now = m_camera.Now();
  std::erase_if(m_actions, [&](const ScheduledAction& action) {
    if (action.time > now) return false;
    FireAction(action.signals);
    return true;
  });
}

std::optional<uint64_t> CommandHandler::NextActionTime() const {
  const auto next = std::ranges::min_element(m_actions, {}, &ScheduledAction::time);
  return next == m_actions.end() ? std::nullopt : std::optional(next->time);
}

}  // namespace OrvexSim
