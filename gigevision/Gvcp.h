#pragma once
// SPDX-License-Identifier: Apache-2.0
// The control protocol of GigE Vision (GVCP): headers, every command and acknowledge, status codes.
// Decoders take one whole datagram or one payload and give nothing when it is malformed; encoders
// return the bytes written, 0 when the span is too small or an argument cannot be expressed. All
// values are in host order. Views point into the caller's bytes. Stateless: any thread.

#include <array>
#include <optional>
#include <span>

#include "gigevision/Bytes.h"

namespace GigEVision {

inline constexpr uint16_t sk_gvcpPort = 3956;
inline constexpr size_t sk_gvcpHeaderSize = 8;
inline constexpr size_t sk_gvcpMaxPayload =
    540;  // 576 octets of IP datagram, less IP, UDP and GVCP headers
inline constexpr size_t sk_gvcpMaxDatagram = sk_gvcpHeaderSize + sk_gvcpMaxPayload;
inline constexpr uint8_t sk_gvcpKey = 0x42;
inline constexpr size_t sk_maxReadRegs = 135;
inline constexpr size_t sk_maxWriteRegs = 67;
inline constexpr size_t sk_maxMemBytes = 536;

enum class Command : uint16_t {
  Discovery = 0x0002,
  ForceIp = 0x0004,
  PacketResend = 0x0040,
  ReadReg = 0x0080,
  WriteReg = 0x0082,
  ReadMem = 0x0084,
  WriteMem = 0x0086,
  Event = 0x00C0,
  EventData = 0x00C2,
  Action = 0x0100,
};

// Codes of acknowledges; all but PendingAck are their command's code plus one.
enum class Ack : uint16_t {
  Discovery = 0x0003,
  ForceIp = 0x0005,
  ReadReg = 0x0081,
  WriteReg = 0x0083,
  ReadMem = 0x0085,
  WriteMem = 0x0087,
  Pending = 0x0089,
  Event = 0x00C1,
  EventData = 0x00C3,
  Action = 0x0101,
};
constexpr Ack AckOf(Command command) {
  return static_cast<Ack>(static_cast<uint16_t>(command) + 1);
}

// Flags byte of a command.
inline constexpr uint8_t sk_flagAckRequired = 0x01;
inline constexpr uint8_t sk_flagBroadcastAck = 0x10;     // DISCOVERY, FORCEIP
inline constexpr uint8_t sk_flagExtendedIds = 0x10;      // PACKETRESEND, EVENT, EVENTDATA
inline constexpr uint8_t sk_flagScheduledAction = 0x80;  // ACTION: a time follows

// Status of acknowledges and of stream packets. Values that are not listed occur (device-specific
// ones have 0x4000 set).
enum class Status : uint16_t {
  Success = 0x0000,
  PacketResend = 0x0100,  // stream only: this packet is a resent one
  NotImplemented = 0x8001,
  InvalidParameter = 0x8002,
  InvalidAddress = 0x8003,
  WriteProtect = 0x8004,
  BadAlignment = 0x8005,
  AccessDenied = 0x8006,
  Busy = 0x8007,
  LocalProblem = 0x8008,
  MessageMismatch = 0x8009,
  InvalidProtocol = 0x800A,
  NoMessage = 0x800B,
  PacketUnavailable = 0x800C,
  DataOverrun = 0x800D,
  InvalidHeader = 0x800E,
  WrongConfig = 0x800F,
  PacketNotYetAvailable = 0x8010,
  PacketAndPreviousRemoved = 0x8011,
  PacketRemoved = 0x8012,
  NoReferenceTime = 0x8013,
  PacketTemporarilyUnavailable = 0x8014,
  Overflow = 0x8015,
  ActionLate = 0x8016,
  LeaderTrailerOverflow = 0x8017,
  Error = 0x8FFF,
};
constexpr bool IsError(Status status) {
  return (static_cast<uint16_t>(status) & 0x8000) != 0;
}
// The status' name in the standard ("ACCESS_DENIED"); "UNKNOWN" for others.
std::string_view StatusName(Status status);

struct CommandHeader {
  uint8_t flags = 0;
  Command command{};
  uint16_t length = 0;     // of the payload
  uint16_t requestId = 0;  // never 0 on the wire
  bool AckRequired() const { return (flags & sk_flagAckRequired) != 0; }
};
struct AckHeader {
  Status status = Status::Success;
  Ack ack{};
  uint16_t length = 0;
  uint16_t ackId = 0;
};
struct CommandPacket {
  CommandHeader header;
  std::span<const uint8_t> payload;
};
struct AckPacket {
  AckHeader header;
  std::span<const uint8_t> payload;
};

// The header alone: nothing when the datagram is shorter than a header or does not start with the
// key. Its length field is not compared with the datagram, so that a receiver can answer
// INVALID_HEADER.
std::optional<CommandHeader> PeekCommand(std::span<const uint8_t> datagram);
// Also nothing when the announced length exceeds the datagram; bytes beyond the announced length
// are dropped.
std::optional<CommandPacket> DecodeCommand(std::span<const uint8_t> datagram);
std::optional<AckPacket> DecodeAck(std::span<const uint8_t> datagram);
// A header and a ready payload. The request id 0 is refused (result 0).
size_t EncodeCommand(std::span<uint8_t> out, Command command, uint8_t flags, uint16_t requestId,
                     std::span<const uint8_t> payload = {});
size_t EncodeAck(std::span<uint8_t> out, Status status, Ack ack, uint16_t ackId,
                 std::span<const uint8_t> payload = {});

// The request id after `id`: counts up, skipping 0.
constexpr uint16_t NextRequestId(uint16_t id) {
  return id == 0xFFFF ? uint16_t{1} : static_cast<uint16_t>(id + 1);
}

// ---- DISCOVERY ----
inline constexpr size_t sk_discoveryAckSize = 248;
struct DiscoveryAck {
  uint16_t versionMajor = 0, versionMinor = 0;
  uint32_t deviceMode = 0;
  uint64_t mac = 0;  // low 48 bits
  uint32_t ipCapability = 0, ipConfiguration = 0;
  uint32_t ip = 0, subnetMask = 0, gateway = 0;
  std::string_view manufacturer, model, version, manufacturerInfo, serial, userName;
};
size_t EncodeDiscovery(std::span<uint8_t> out, uint16_t requestId, bool allowBroadcastAck);
std::optional<DiscoveryAck> DecodeDiscoveryAck(std::span<const uint8_t> payload);
size_t EncodeDiscoveryAck(std::span<uint8_t> out, uint16_t ackId, const DiscoveryAck& ack);

// ---- FORCEIP ----
struct ForceIp {
  uint64_t mac = 0;
  uint32_t ip = 0, subnetMask = 0, gateway = 0;
};
size_t EncodeForceIp(std::span<uint8_t> out, uint16_t requestId, uint8_t flags,
                     const ForceIp& forceIp);
std::optional<ForceIp> DecodeForceIp(std::span<const uint8_t> payload);

// ---- READREG, WRITEREG, READMEM, WRITEMEM ----
struct RegisterWrite {
  uint32_t address = 0;
  uint32_t value = 0;
};
// The address/value pairs of a WRITEREG command, seen in place.
class RegisterWriteView {
 public:
  RegisterWriteView() = default;
  explicit RegisterWriteView(std::span<const uint8_t> bytes) : m_words(bytes) {}
  size_t size() const { return m_words.size() / 2; }
  RegisterWrite operator[](size_t index) const {
    return {m_words[2 * index], m_words[2 * index + 1]};
  }

 private:
  WordView m_words;
};
struct ReadMem {
  uint32_t address = 0;
  uint16_t count = 0;
};
struct Memory {  // WRITEMEM command and READMEM acknowledge
  uint32_t address = 0;
  std::span<const uint8_t> data;
};

size_t EncodeReadReg(std::span<uint8_t> out, uint16_t requestId,
                     std::span<const uint32_t> addresses);
std::optional<WordView> DecodeReadReg(
    std::span<const uint8_t> payload);  // at least one address, whole words
size_t EncodeReadRegAck(std::span<uint8_t> out, Status status, uint16_t ackId,
                        std::span<const uint32_t> values);
std::optional<WordView> DecodeReadRegAck(std::span<const uint8_t> payload);

size_t EncodeWriteReg(std::span<uint8_t> out, uint16_t requestId,
                      std::span<const RegisterWrite> writes, bool ackRequired = true);
std::optional<RegisterWriteView> DecodeWriteReg(std::span<const uint8_t> payload);
// The index of WRITEREG and WRITEMEM acknowledges: registers or bytes written.
size_t EncodeIndexAck(std::span<uint8_t> out, Status status, Ack ack, uint16_t ackId,
                      uint16_t index);
std::optional<uint16_t> DecodeIndexAck(std::span<const uint8_t> payload);

size_t EncodeReadMem(std::span<uint8_t> out, uint16_t requestId, const ReadMem& read);
std::optional<ReadMem> DecodeReadMem(std::span<const uint8_t> payload);
size_t EncodeReadMemAck(std::span<uint8_t> out, Status status, uint16_t ackId,
                        const Memory& memory);
std::optional<Memory> DecodeReadMemAck(std::span<const uint8_t> payload);
size_t EncodeWriteMem(std::span<uint8_t> out, uint16_t requestId, const Memory& memory);
std::optional<Memory> DecodeWriteMem(std::span<const uint8_t> payload);

size_t EncodePendingAck(std::span<uint8_t> out, uint16_t ackId, uint16_t timeToCompletionMs);
std::optional<uint16_t> DecodePendingAck(std::span<const uint8_t> payload);  // ms

// ---- PACKETRESEND ----
inline constexpr uint32_t sk_toLastPacket = 0x00FFFFFF;          // standard ids
inline constexpr uint32_t sk_toLastPacketExtended = 0xFFFFFFFF;  // extended ids
struct PacketResend {
  uint16_t channel = 0;
  bool extendedIds = false;
  uint64_t blockId = 0;
  uint32_t firstPacket = 0;
  uint32_t lastPacket = 0;  // inclusive; both "to the end" values decode to sk_toLastPacketExtended
};
size_t EncodePacketResend(std::span<uint8_t> out, uint16_t requestId, const PacketResend& resend);
std::optional<PacketResend> DecodePacketResend(
    const CommandPacket& packet);  // the layout depends on the flags

// ---- ACTION ----
struct Action {
  uint32_t deviceKey = 0, groupKey = 0, groupMask = 0;
  uint64_t time = 0;  // device clock; 0 = now (no time on the wire)
};
size_t EncodeAction(std::span<uint8_t> out, uint16_t requestId, uint8_t flags,
                    const Action& action);
std::optional<Action> DecodeAction(const CommandPacket& packet);

}  // namespace GigEVision
