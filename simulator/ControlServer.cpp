// SPDX-License-Identifier: Apache-2.0
#include "simulator/ControlServer.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "gigevision/Bootstrap.h"
#include "gigevision/Event.h"
#include "simulator/Limits.h"

namespace OrvexSim {

namespace B = GigEVision::Bootstrap;
using GigEVision::Ack;
using GigEVision::Command;
using GigEVision::CommandHeader;
using GigEVision::CommandPacket;

namespace {

constexpr uint32_t sk_limitedBroadcast = 0xFFFFFFFF;

bool Aligned(uint32_t address) {
  return address % 4 == 0;
}

}  // namespace

ControlServer::ControlServer(CameraCore& camera, Streamer& streamer)
    : m_camera(camera), m_streamer(streamer) {
  OpenSockets();
  m_wake = UniqueFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!m_wake)
    throw std::system_error(errno, std::generic_category(), "Unable to make an event descriptor");
  m_camera.wakeControl = [this] { Wake(); };
  m_camera.messageSourcePort = [this] { return uint32_t{LocalPort(m_messages.Get())}; };
}

ControlServer::~ControlServer() {
  Stop();
  m_camera.wakeControl = {};
}

void ControlServer::OpenSockets() {
  const NetworkState& network = m_camera.network;
  m_own = BindUdp(network.ip, GigEVision::sk_gvcpPort, false);
  m_messages = BindUdp(network.ip, 0, false);
  // Shared, because every camera of this machine needs its own copy of each broadcast.
  m_allBroadcast = BindUdp(sk_limitedBroadcast, GigEVision::sk_gvcpPort, true);
  if (network.broadcast != network.ip)
    m_netBroadcast = BindUdp(network.broadcast, GigEVision::sk_gvcpPort, true);
}

void ControlServer::Start() {
  m_stop = false;
  m_thread = std::thread(&ControlServer::Run, this);
}

void ControlServer::Stop() {
  m_stop = true;
  Wake();
  if (m_thread.joinable()) m_thread.join();
}

void ControlServer::Wake() {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(m_wake.Get(), &one, sizeof one);
}

void ControlServer::Run() {
  pthread_setname_np(pthread_self(), "camera-control");
  while (!m_stop) {
    pollfd polls[] = {{m_own.Get(), POLLIN, 0},
                      {m_allBroadcast.Get(), POLLIN, 0},
                      {m_netBroadcast.Get(), POLLIN, 0},  // ignored by poll when there is none
                      {m_messages.Get(), POLLIN, 0},
                      {m_wake.Get(), POLLIN, 0}};
    ::poll(polls, std::size(polls), NextTimeoutMs());
    if ((polls[4].revents & POLLIN) != 0) {
      uint64_t count = 0;
      [[maybe_unused]] const ssize_t got = ::read(m_wake.Get(), &count, sizeof count);
    }
    if ((polls[0].revents & POLLIN) != 0) Receive(polls[0].fd, false);
    if ((polls[1].revents & POLLIN) != 0) Receive(polls[1].fd, true);
    if ((polls[2].revents & POLLIN) != 0) Receive(polls[2].fd, true);
    if ((polls[3].revents & POLLIN) != 0) ReceiveEventAck();
    CheckHeartbeat();
    ChangeAddress();
    RunScheduledActions();
    SendEvents();
  }
}

void ControlServer::Receive(int fd, bool broadcast) {
  uint8_t bytes[2048];
  sockaddr_in from{};
  socklen_t fromSize = sizeof from;
  const ssize_t size = ::recvfrom(fd, bytes, sizeof bytes, MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr*>(&from), &fromSize);
  if (size > 0) Handle({bytes, static_cast<size_t>(size)}, ToEndpoint(from), broadcast);
}

void ControlServer::Send(const Reply& reply, const Endpoint& to) {
  const sockaddr_in address = SocketAddress(to.ip, to.port);
  ::sendto(m_own.Get(), reply.bytes.data(), reply.size, 0,
           reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

void ControlServer::Handle(std::span<const uint8_t> datagram, const Endpoint& from,
                           bool broadcast) {
  const std::optional<CommandHeader> header = GigEVision::PeekCommand(datagram);
  if (!header) return;
  Reply reply;
  const bool whole = header->length == datagram.size() - GigEVision::sk_gvcpHeaderSize;
  if (!whole || header->requestId == 0) {
    if (!header->AckRequired() || broadcast) return;
    reply.size =
        EncodeAck(reply.bytes, Status::InvalidHeader, AckOf(header->command), header->requestId);
    Send(reply, from);
    return;
  }
  uint32_t delayMs = 0;
  bool swallow = false;
  {
    const std::lock_guard lock(m_camera.Mutex());
    if (Clock::now() < m_camera.silentUntil) return;
    ControlState& control = m_camera.control;
    const bool counts =
        header->command != Command::Discovery && header->command != Command::PacketResend;
    if (counts && control.owner == from) control.lastHeard = Clock::now();
    if (counts && m_answered.from == from && std::ranges::equal(m_answered.command, datagram)) {
      Send(m_answered.reply, from);  // our answer was lost: the command must not take effect twice
      return;
    }
    m_camera.caller = from;
    const bool owned = control.owner == from;
    Execute(*GigEVision::DecodeCommand(datagram), broadcast, reply);
    delayMs = m_camera.TakeAnswerDelay();
    swallow = SwallowsAnswer(*GigEVision::DecodeCommand(datagram));
    if (counts && reply.size != 0 && (owned || control.owner == from)) {
      m_answered.from = from;
      m_answered.command.assign(datagram.begin(), datagram.end());
      m_answered.reply = reply;
    }
  }
  if (delayMs != 0) AnswerLate(*header, delayMs, from);
  if (reply.size != 0 && header->AckRequired() && !swallow) Send(reply, from);
}

// Asks for time where the host allows it, then lets it pass.
void ControlServer::AnswerLate(const CommandHeader& header, uint32_t delayMs, const Endpoint& to) {
  bool allowed = false;
  {
    const std::lock_guard lock(m_camera.Mutex());
    allowed = (m_camera.control.gvcpConfiguration & B::sk_cfgPendingAck) != 0;
  }
  if (allowed && header.AckRequired()) {
    Reply pending;
    pending.size = GigEVision::EncodePendingAck(pending.bytes, header.requestId,
                                                static_cast<uint16_t>(std::min(delayMs, 0xFFFFu)));
    Send(pending, to);
  }
  const Clock::time_point until =
      Clock::now() + std::chrono::milliseconds(std::min(delayMs, sk_maxRegisterDelayMs));
  while (!m_stop) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    if (left <= 0) return;
    pollfd poll{m_wake.Get(), POLLIN, 0};
    if (::poll(&poll, 1, static_cast<int>(left)) > 0) {
      uint64_t count = 0;
      [[maybe_unused]] const ssize_t got = ::read(m_wake.Get(), &count, sizeof count);
    }
  }
}

bool ControlServer::MayRead() const {
  const ControlState& control = m_camera.control;
  return !control.owner || *control.owner == m_camera.caller ||
         (control.privilege & B::sk_ccpExclusive) == 0;
}

bool ControlServer::MayWrite(uint32_t address) const {
  return address == B::sk_ccp ||
         (m_camera.control.owner && *m_camera.control.owner == m_camera.caller);
}

Status ControlServer::Probe(uint32_t address) {
  const int64_t at = address;
  if (address != 0 && m_camera.F("SimDenyAddress").Int() == at) return Status::AccessDenied;
  if (address != 0 && m_camera.F("SimSlowAddress").Int() == at) {
    m_camera.DelayAnswer(static_cast<uint32_t>(m_camera.F("SimSlowTime").Int()));
  }
  return Status::Success;
}

bool ControlServer::SwallowsAnswer(const CommandPacket& packet) {
  FaultSettings draws;
  draws.seed = static_cast<uint64_t>(m_camera.F("SimSeed").Int());
  if (FaultDice(draws, ++m_commands).Hit(m_camera.F("SimDropAckRate").Real() / 100)) return true;
  if (packet.header.command != Command::ReadReg || !m_camera.F("SimIgnoreHeartbeat").Bool())
    return false;
  return packet.payload.size() == 4 && GigEVision::LoadBe32(packet.payload.data()) == B::sk_ccp;
}

// Called with the camera's lock held.
void ControlServer::MoveTo(uint32_t ip) {
  NetworkState& network = m_camera.network;
  const NetworkState before = network;
  try {
    FindInterface(ip, network);
    if (network.ip == before.ip) return;
    OpenSockets();
    m_streamer.Rebind(ip, network.mtu);
  } catch (const std::exception&) {
    network = before;  // an address that this machine does not have: the camera stays where it is
  }
}

void ControlServer::Execute(const CommandPacket& packet, bool broadcast, Reply& reply) {
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

void ControlServer::Discovery(const CommandHeader& header, Reply& reply) {
  uint8_t content[GigEVision::sk_discoveryAckSize];
  m_camera.Registers().ReadBytes(0,
                                 content);  // the acknowledge is the start of the bootstrap memory
  reply.size = EncodeAck(reply.bytes, Status::Success, Ack::Discovery, header.requestId, content);
}

void ControlServer::ForceIp(const CommandPacket& packet, Reply& reply) {
  const std::optional<GigEVision::ForceIp> force = GigEVision::DecodeForceIp(packet.payload);
  NetworkState& network = m_camera.network;
  if (!force || force->mac != network.mac || m_camera.control.owner) return;
  if (force->ip == 0)
    return;  // restart of the address configuration: it would choose the same address again
  MoveTo(force->ip);
  if (network.ip != force->ip) return;
  network.mask = force->subnetMask;
  network.gateway = force->gateway;
  reply.size = EncodeAck(reply.bytes, Status::Success, Ack::ForceIp, packet.header.requestId);
}

void ControlServer::ReadReg(const CommandPacket& packet, Reply& reply) {
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
    Status status = Aligned(address) ? Probe(address) : Status::BadAlignment;
    if (!IsError(status)) status = m_camera.Registers().ReadWord(address, values[i]);
    if (IsError(status)) return finish(status, {values.data(), i});
  }
  finish(Status::Success, {values.data(), addresses->size()});
}

void ControlServer::WriteReg(const CommandPacket& packet, Reply& reply) {
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
      status = MayWrite(address) ? Probe(address) : Status::AccessDenied;
      if (!IsError(status)) status = m_camera.Registers().WriteWord(address, value);
    }
    if (IsError(status)) return finish(status, i);
  }
  finish(Status::Success, writes->size());
}

void ControlServer::ReadMem(const CommandPacket& packet, Reply& reply) {
  const std::optional<GigEVision::ReadMem> read = GigEVision::DecodeReadMem(packet.payload);
  Status status = Status::InvalidParameter;
  std::array<uint8_t, GigEVision::sk_maxMemBytes> bytes;
  if (read && (!Aligned(read->address) || read->count % 4 != 0)) {
    status = Status::BadAlignment;
  } else if (read && !MayRead()) {
    status = Status::AccessDenied;
  } else if (read && read->count > 0 && read->count <= bytes.size()) {
    status = Probe(read->address);
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

void ControlServer::WriteMem(const CommandPacket& packet, Reply& reply) {
  const std::optional<GigEVision::Memory> write = GigEVision::DecodeWriteMem(packet.payload);
  size_t written = 0;
  Status status = Status::InvalidParameter;
  if (write && (!Aligned(write->address) || write->data.size() % 4 != 0)) {
    status = Status::BadAlignment;
  } else if (write && !write->data.empty() && write->data.size() <= GigEVision::sk_maxMemBytes) {
    const bool allowed =
        MayWrite(write->address) && (write->address != B::sk_ccp || write->data.size() == 4);
    status = allowed ? Probe(write->address) : Status::AccessDenied;
    if (!IsError(status)) {
      status = m_camera.Registers().WriteBytes(write->address, write->data, written);
    }
  }
  reply.size = EncodeIndexAck(reply.bytes, status, Ack::WriteMem, packet.header.requestId,
                              static_cast<uint16_t>(written));
}

void ControlServer::Resend(const CommandPacket& packet) {
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
  m_streamer.Resend(*request, route, (control.gvcpConfiguration & B::sk_cfgExtendedStatus11) != 0,
                    TakeFaults(m_camera.Features()));
}

void ControlServer::Action(const CommandPacket& packet, Reply& reply) {
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
void ControlServer::FireAction(uint32_t signals) {
  const int64_t source = m_camera.F("TriggerSource").Int();  // Action0 is 2, Action1 is 3
  if ((source == 2 && (signals & 1) != 0) || (source == 3 && (signals & 2) != 0))
    m_camera.Trigger();
}

void ControlServer::RunScheduledActions() {
  if (m_actions.empty()) return;
  const std::lock_guard lock(m_camera.Mutex());
  const uint64_t now = m_camera.Now();
  std::erase_if(m_actions, [&](const ScheduledAction& action) {
    if (action.time > now) return false;
    FireAction(action.signals);
    return true;
  });
}

void ControlServer::ChangeAddress() {
  const std::lock_guard lock(m_camera.Mutex());
  if (!m_camera.nextAddress) return;
  m_camera.CloseControl();
  MoveTo(*std::exchange(m_camera.nextAddress, std::nullopt));
}

void ControlServer::CheckHeartbeat() {
  const std::lock_guard lock(m_camera.Mutex());
  const ControlState& control = m_camera.control;
  if (!control.owner || (control.gvcpConfiguration & B::sk_cfgHeartbeatDisable) != 0) return;
  if (Clock::now() - control.lastHeard > std::chrono::milliseconds(control.heartbeatMs))
    m_camera.CloseControl();
}

int ControlServer::NextTimeoutMs() {
  const std::lock_guard lock(m_camera.Mutex());
  Clock::time_point next = Clock::now() + std::chrono::seconds(10);
  const ControlState& control = m_camera.control;
  const bool watched =
      control.owner && (control.gvcpConfiguration & B::sk_cfgHeartbeatDisable) == 0;
  if (watched)
    next = std::min(next, control.lastHeard + std::chrono::milliseconds(control.heartbeatMs + 1));
  if (m_pendingEvent) next = std::min(next, m_pendingEvent->deadline);
  const uint64_t deviceNow = m_camera.Now();
  for (const ScheduledAction& action : m_actions) {
    const uint64_t wait = action.time > deviceNow ? action.time - deviceNow : 0;
    next = std::min(
        next, Clock::now() + std::chrono::nanoseconds(std::min<uint64_t>(wait, 10'000'000'000)));
  }
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now()).count();
  return static_cast<int>(std::clamp<int64_t>(left, 0, 10000));
}

void ControlServer::SendEvents() {
  Endpoint to;
  uint32_t timeoutMs = 0, retries = 0;
  bool extended = false;
  {
    const std::lock_guard lock(m_camera.Mutex());
    for (DeviceEvent& event : m_camera.TakeEvents()) m_events.push_back(std::move(event));
    to = {m_camera.message.address, static_cast<uint16_t>(m_camera.message.port)};
    timeoutMs = m_camera.message.timeoutMs;
    retries = m_camera.message.retries;
    extended = m_camera.stream.extendedIds;
  }
  if (to.port == 0) {
    m_events.clear();
    m_pendingEvent.reset();
    return;
  }
  const sockaddr_in address = SocketAddress(to.ip, to.port);
  const auto send = [&](const PendingEvent& event) {
    ::sendto(m_messages.Get(), event.bytes.data(), event.size, 0,
             reinterpret_cast<const sockaddr*>(&address), sizeof address);
  };
  for (;;) {
    if (m_pendingEvent) {
      if (Clock::now() < m_pendingEvent->deadline) return;
      if (m_pendingEvent->retriesLeft == 0) {
        m_pendingEvent.reset();
      } else {
        --m_pendingEvent->retriesLeft;
        m_pendingEvent->deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
        send(*m_pendingEvent);
        return;
      }
    }
    if (m_events.empty()) return;
    const DeviceEvent event = std::move(m_events.front());
    m_events.pop_front();
    PendingEvent pending;
    pending.id = m_eventId = GigEVision::NextRequestId(m_eventId);
    pending.retriesLeft = retries;
    pending.deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    GigEVision::EventItem item;
    item.id = event.id;
    item.channel = event.blockId == 0 ? GigEVision::sk_noStreamChannel : uint16_t{0};
    item.blockId = event.blockId;
    item.timestamp = event.timestamp;
    item.data = event.data;
    const bool ack = timeoutMs != 0;
    pending.size =
        event.data.empty()
            ? GigEVision::EncodeEvents(pending.bytes, pending.id, extended, ack, {&item, 1})
            : GigEVision::EncodeEventData(pending.bytes, pending.id, extended, ack, item);
    send(pending);
    if (ack) m_pendingEvent = pending;
  }
}

void ControlServer::ReceiveEventAck() {
  uint8_t bytes[64];
  const ssize_t size = ::recv(m_messages.Get(), bytes, sizeof bytes, MSG_DONTWAIT);
  if (size <= 0) return;
  const auto ack = GigEVision::DecodeAck({bytes, static_cast<size_t>(size)});
  const bool event = ack && (ack->header.ack == Ack::Event || ack->header.ack == Ack::EventData);
  if (event && m_pendingEvent && ack->header.ackId == m_pendingEvent->id) m_pendingEvent.reset();
}

}  // namespace OrvexSim
