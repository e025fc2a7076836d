// SPDX-License-Identifier: Apache-2.0
#include "producer/ControlChannel.h"

#include <algorithm>
#include <cstdio>
#include <random>

#include "gigevision/Bootstrap.h"
#include "producer/GcError.h"
#include "producer/Limits.h"

namespace OrvexGev {

using namespace GenTL;
namespace Gev = GigEVision;
namespace Reg = GigEVision::Bootstrap;

// One command that waits for its acknowledge.
struct ControlChannel::Request {
  uint16_t id = 0;
  Gev::Ack ack{};
  Clock::time_point deadline;
  Clock::time_point giveUp;  // however often the camera asks for more time
  bool done = false;
  Gev::Status status = Gev::Status::Success;
  Packet payload;
  size_t payloadSize = 0;
  std::span<const uint8_t> Payload() const { return std::span(payload).first(payloadSize); }
};

// Held by the feature access that is under way. The heartbeat waits for its turn only for a while.
class ControlChannel::FeatureTurn {
 public:
  explicit FeatureTurn(ControlChannel& channel) : m_channel(channel) {
    std::unique_lock lock(channel.m_mutex);
    channel.m_featureDone.wait(lock, [&] { return !channel.m_featureActive; });
    channel.m_featureActive = m_mine = true;
  }
  FeatureTurn(ControlChannel& channel, Clock::time_point deadline) : m_channel(channel) {
    std::unique_lock lock(channel.m_mutex);
    if (!channel.m_featureDone.wait_until(lock, deadline, [&] { return !channel.m_featureActive; }))
      return;
    channel.m_featureActive = m_mine = true;
  }
  ~FeatureTurn() {
    if (!m_mine) return;
    const std::lock_guard lock(m_channel.m_mutex);
    m_channel.m_featureActive = false;
    m_channel.m_featureDone.notify_one();
  }
  FeatureTurn(const FeatureTurn&) = delete;
  FeatureTurn& operator=(const FeatureTurn&) = delete;

 private:
  ControlChannel& m_channel;
  bool m_mine = false;
};

namespace {

GC_ERROR CodeOf(Gev::Status status) {
  switch (status) {
    case Gev::Status::NotImplemented:
      return GC_ERR_NOT_IMPLEMENTED;
    case Gev::Status::InvalidParameter:
      return GC_ERR_INVALID_VALUE;
    case Gev::Status::InvalidAddress:
    case Gev::Status::BadAlignment:
      return GC_ERR_INVALID_ADDRESS;
    case Gev::Status::WriteProtect:
    case Gev::Status::AccessDenied:
      return GC_ERR_ACCESS_DENIED;
    case Gev::Status::Busy:
      return GC_ERR_BUSY;
    default:
      return GC_ERR_IO;
  }
}

// The address that a command concerns, for messages; every command with an address has it first.
std::string Subject(std::span<const uint8_t> packet) {
  const auto header = Gev::PeekCommand(packet);
  if (!header) return "command";
  const auto command = static_cast<unsigned>(header->command);
  char text[64];
  if (header->command >= Gev::Command::ReadReg && header->command <= Gev::Command::WriteMem) {
    const bool read =
        header->command == Gev::Command::ReadReg || header->command == Gev::Command::ReadMem;
    std::snprintf(text, sizeof text, "%s at 0x%08X", read ? "read" : "write",
                  Gev::LoadBe32(&packet[8]));
  } else {
    std::snprintf(text, sizeof text, "command 0x%04X", command);
  }
  return text;
}

}  // namespace

ControlChannel::ControlChannel(uint32_t hostIp, uint32_t deviceIp)
    : m_socket(UdpSocket::Bound({hostIp, 0})), m_settings{sk_commandTimeout, sk_commandRetries} {
  m_socket.Connect({deviceIp, Gev::sk_gvcpPort});
  // A camera that remembers the last id of an earlier connection would take the same id for a
  // repetition.
  m_lastId = static_cast<uint16_t>(std::random_device{}());
}

ControlSettings ControlChannel::Settings() const {
  const std::lock_guard lock(m_mutex);
  return m_settings;
}

void ControlChannel::SetSettings(ControlSettings settings) {
  const std::lock_guard lock(m_mutex);
  m_settings = settings;
}

ControlChannel::Statistics ControlChannel::GetStatistics() const {
  const std::lock_guard lock(m_mutex);
  return m_statistics;
}

Clock::time_point ControlChannel::LastHeard() const {
  const std::lock_guard lock(m_mutex);
  return m_lastHeard;
}

void ControlChannel::Abort() {
  const std::lock_guard lock(m_mutex);
  m_aborted = true;
  m_wake.Wake();
  m_changed.notify_all();
}

void ControlChannel::Dispatch(std::span<const uint8_t> datagram) {
  const auto ack = Gev::DecodeAck(datagram);
  if (ack) m_lastHeard = Clock::now();
  const auto found =
      !ack ? m_requests.end() : std::ranges::find(m_requests, ack->header.ackId, &Request::id);
  if (found == m_requests.end() || (*found)->done) {
    ++m_statistics.strangers;
    return;
  }
  Request& request = **found;
  if (ack->header.ack == Gev::Ack::Pending) {
    if (const auto wait = Gev::DecodePendingAck(ack->payload)) {
      ++m_statistics.pendingAcks;
      const auto timeout = std::chrono::duration_cast<Clock::duration>(m_settings.timeout);
      request.deadline =
          std::min(request.giveUp, Clock::now() + std::chrono::milliseconds(*wait) + timeout);
    }
    return;
  }
  if (ack->header.ack != request.ack) {
    ++m_statistics.strangers;
    return;
  }
  request.status = ack->header.status;
  request.payloadSize = std::min(ack->payload.size(), request.payload.size());
  std::copy_n(ack->payload.begin(), request.payloadSize, request.payload.begin());
  request.done = true;
}

// Waits until the request is done or its deadline, which a pending acknowledge moves, has passed.
bool ControlChannel::Await(std::unique_lock<std::mutex>& lock, Request& request) {
  while (!request.done && !m_aborted && Clock::now() < request.deadline) {
    if (m_receiving) {
      m_changed.wait_until(lock, request.deadline);
      continue;
    }
    m_receiving = true;
    const auto deadline = request.deadline;
    lock.unlock();
    Packet datagram;
    const std::array<int, 2> fds{m_socket.Fd(), m_wake.Fd()};
    std::optional<size_t> size = m_socket.Receive(datagram);
    if (!size && WaitReadable(fds, deadline)) size = m_socket.Receive(datagram);
    lock.lock();
    m_receiving = false;
    if (size) Dispatch(std::span(datagram).first(*size));
    m_changed.notify_all();
  }
  return request.done;
}

void ControlChannel::Transact(Request& request, std::span<uint8_t> packet,
                              std::chrono::microseconds timeout, int retries) {
  std::unique_lock lock(m_mutex);
  m_lastId = Gev::NextRequestId(m_lastId);
  request.id = m_lastId;
  request.ack = Gev::AckOf(static_cast<Gev::Command>(Gev::LoadBe16(&packet[2])));
  request.giveUp = Clock::now() + sk_maxPendingTime;
  Gev::StoreBe16(&packet[6], request.id);
  m_requests.push_back(&request);
  ++m_statistics.commands;
  for (int attempt = 0; attempt <= retries && !request.done && !m_aborted; ++attempt) {
    if (attempt > 0) ++m_statistics.retries;
    m_socket.Send(packet);
    request.deadline = Clock::now() + timeout;
    Await(lock, request);
  }
  std::erase(m_requests, &request);
  m_changed.notify_all();  // somebody else may have to take over receiving
  if (!request.done) ++m_statistics.timeouts;
  Require(!m_aborted, GC_ERR_IO, "The connection to the camera is closed");
  if (!request.done)
    throw GcError(GC_ERR_IO, "The camera does not answer (" + Subject(packet) + ")");
}

ControlChannel::Request ControlChannel::Execute(std::span<uint8_t> packet, int mostRetries) {
  const FeatureTurn turn(*this);
  const ControlSettings settings = Settings();
  Request request;
  Transact(request, packet, settings.timeout, std::min(settings.retries, mostRetries));
  if (Gev::IsError(request.status)) {
    throw GcError(CodeOf(request.status),
                  "The camera refuses: " + std::string(Gev::StatusName(request.status)) + " (" +
                      Subject(packet) + ")");
  }
  return request;
}

std::optional<uint32_t> ControlChannel::Probe(uint32_t address, std::chrono::milliseconds patience,
                                              std::chrono::milliseconds answerWithin) {
  const FeatureTurn turn(*this, Clock::now() + patience);
  Packet packet;
  const size_t size = Gev::EncodeReadReg(packet, 1, std::span(&address, 1));
  Request request;
  try {
    Transact(request, std::span(packet).first(size), answerWithin, 0);
  } catch (const GcError&) {
    return std::nullopt;
  }
  const auto values = Gev::DecodeReadRegAck(request.Payload());
  // A camera that refuses the register answers all the same; all bits set is what no owner reads.
  if (Gev::IsError(request.status) || !values || values->size() == 0) return 0xFFFFFFFF;
  return (*values)[0];
}

uint32_t ControlChannel::ReadRegister(uint32_t address) {
  return ReadRegisters({&address, 1})[0];
}

void ControlChannel::WriteRegister(uint32_t address, uint32_t value) {
  const Gev::RegisterWrite write{address, value};
  WriteRegisters({&write, 1});
}

void ControlChannel::WriteRegisterBriefly(uint32_t address, uint32_t value) {
  const Gev::RegisterWrite write{address, value};
  Packet packet;
  Execute(std::span(packet).first(Gev::EncodeWriteReg(packet, 1, {&write, 1})), 1);
}

std::vector<uint32_t> ControlChannel::ReadRegisters(std::span<const uint32_t> addresses) {
  const size_t block =
      (m_capability & Reg::sk_capConcatenation) != 0 ? sk_maxRegistersPerCommand : 1;
  std::vector<uint32_t> result;
  result.reserve(addresses.size());
  while (!addresses.empty()) {
    const auto part = addresses.first(std::min(block, addresses.size()));
    Packet packet;
    const Request request = Execute(std::span(packet).first(Gev::EncodeReadReg(packet, 1, part)));
    const auto values = Gev::DecodeReadRegAck(request.Payload());
    Require(values && values->size() >= part.size(), GC_ERR_IO,
            "The camera answers with too few registers");
    for (size_t i = 0; i < part.size(); ++i) result.push_back((*values)[i]);
    addresses = addresses.subspan(part.size());
  }
  return result;
}

void ControlChannel::WriteRegisters(std::span<const Gev::RegisterWrite> writes) {
  const size_t block =
      (m_capability & Reg::sk_capConcatenation) != 0 ? sk_maxRegistersPerCommand : 1;
  while (!writes.empty()) {
    const auto part = writes.first(std::min(block, writes.size()));
    Packet packet;
    Execute(std::span(packet).first(Gev::EncodeWriteReg(packet, 1, part)));
    writes = writes.subspan(part.size());
  }
}

void ControlChannel::ReadMemory(uint32_t address, std::span<uint8_t> target) {
  while (!target.empty()) {
    const size_t count = std::min(target.size(), sk_memoryBlock);
    Packet packet;
    const Request request = Execute(std::span(packet).first(
        Gev::EncodeReadMem(packet, 1, {address, static_cast<uint16_t>(count)})));
    const auto memory = Gev::DecodeReadMemAck(request.Payload());
    Require(memory && memory->address == address && memory->data.size() >= count, GC_ERR_IO,
            "The camera answers with too little memory");
    std::copy_n(memory->data.begin(), count, target.begin());
    target = target.subspan(count);
    address += static_cast<uint32_t>(count);
  }
}

void ControlChannel::WriteMemory(uint32_t address, std::span<const uint8_t> source) {
  if ((m_capability & Reg::sk_capWriteMem) == 0) {
    std::vector<Gev::RegisterWrite> writes;
    for (size_t i = 0; i + 4 <= source.size(); i += 4) {
      writes.push_back({address + static_cast<uint32_t>(i), Gev::LoadBe32(&source[i])});
    }
    return WriteRegisters(writes);
  }
  while (!source.empty()) {
    const auto part = source.first(std::min(source.size(), sk_memoryBlock));
    Packet packet;
    Execute(std::span(packet).first(Gev::EncodeWriteMem(packet, 1, {address, part})));
    source = source.subspan(part.size());
    address += static_cast<uint32_t>(part.size());
  }
}

void ControlChannel::SendPacketResend(const Gev::PacketResend& resend) {
  Packet packet;
  uint16_t id;
  {
    const std::lock_guard lock(m_mutex);
    id = m_lastId = Gev::NextRequestId(m_lastId);
  }
  const size_t size = Gev::EncodePacketResend(packet, id, resend);
  m_socket.Send(std::span(packet).first(size));
}

void ControlChannel::SendAction(const Gev::Action& action) {
  Packet packet;
  Execute(std::span(packet).first(Gev::EncodeAction(packet, 1, Gev::sk_flagAckRequired, action)));
}

}  // namespace OrvexGev
