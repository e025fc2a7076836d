// SPDX-License-Identifier: Apache-2.0
#include "gigevision/Gvcp.h"

#include <iterator>

namespace GigEVision {
namespace {

struct StatusRow {
  Status status;
  std::string_view name;
};
constexpr StatusRow sk_statusRows[] = {
    {Status::Success, "SUCCESS"},
    {Status::PacketResend, "PACKET_RESEND"},
    {Status::NotImplemented, "NOT_IMPLEMENTED"},
    {Status::InvalidParameter, "INVALID_PARAMETER"},
    {Status::InvalidAddress, "INVALID_ADDRESS"},
    {Status::WriteProtect, "WRITE_PROTECT"},
    {Status::BadAlignment, "BAD_ALIGNMENT"},
    {Status::AccessDenied, "ACCESS_DENIED"},
    {Status::Busy, "BUSY"},
    {Status::LocalProblem, "LOCAL_PROBLEM"},
    {Status::MessageMismatch, "MSG_MISMATCH"},
    {Status::InvalidProtocol, "INVALID_PROTOCOL"},
    {Status::NoMessage, "NO_MSG"},
    {Status::PacketUnavailable, "PACKET_UNAVAILABLE"},
    {Status::DataOverrun, "DATA_OVERRUN"},
    {Status::InvalidHeader, "INVALID_HEADER"},
    {Status::WrongConfig, "WRONG_CONFIG"},
    {Status::PacketNotYetAvailable, "PACKET_NOT_YET_AVAILABLE"},
    {Status::PacketAndPreviousRemoved, "PACKET_AND_PREV_REMOVED_FROM_MEMORY"},
    {Status::PacketRemoved, "PACKET_REMOVED_FROM_MEMORY"},
    {Status::NoReferenceTime, "NO_REF_TIME"},
    {Status::PacketTemporarilyUnavailable, "PACKET_TEMPORARILY_UNAVAILABLE"},
    {Status::Overflow, "OVERFLOW"},
    {Status::ActionLate, "ACTION_LATE"},
    {Status::LeaderTrailerOverflow, "LEADER_TRAILER_OVERFLOW"},
    {Status::Error, "ERROR"},
};

ByteWriter BeginCommand(std::span<uint8_t> out, Command command, uint8_t flags, uint16_t requestId,
                        size_t length) {
  ByteWriter writer(requestId == 0 || length > sk_gvcpMaxPayload ? std::span<uint8_t>{} : out);
  writer.U8(sk_gvcpKey);
  writer.U8(flags);
  writer.U16(static_cast<uint16_t>(command));
  writer.U16(static_cast<uint16_t>(length));
  writer.U16(requestId);
  return writer;
}

ByteWriter BeginAck(std::span<uint8_t> out, Status status, Ack ack, uint16_t ackId, size_t length) {
  ByteWriter writer(length > sk_gvcpMaxPayload ? std::span<uint8_t>{} : out);
  writer.U16(static_cast<uint16_t>(status));
  writer.U16(static_cast<uint16_t>(ack));
  writer.U16(static_cast<uint16_t>(length));
  writer.U16(ackId);
  return writer;
}

std::optional<WordView> DecodeWords(std::span<const uint8_t> payload) {
  if (payload.empty() || payload.size() % 4 != 0) return std::nullopt;
  return WordView(payload);
}

std::optional<Memory> DecodeMemory(std::span<const uint8_t> payload) {
  ByteReader reader(payload);
  Memory memory;
  memory.address = reader.U32();
  memory.data = reader.Rest();
  if (!reader.Ok()) return std::nullopt;
  return memory;
}

}  // namespace

std::string_view StatusName(Status status) {
  for (const StatusRow& row : sk_statusRows) {
    if (row.status == status) return row.name;
  }
  return "UNKNOWN";
}

std::optional<CommandHeader> PeekCommand(std::span<const uint8_t> datagram) {
  if (datagram.size() < sk_gvcpHeaderSize || datagram[0] != sk_gvcpKey) return std::nullopt;
  CommandHeader header;
  header.flags = datagram[1];
  header.command = static_cast<Command>(LoadBe16(&datagram[2]));
  header.length = LoadBe16(&datagram[4]);
  header.requestId = LoadBe16(&datagram[6]);
  return header;
}

std::optional<CommandPacket> DecodeCommand(std::span<const uint8_t> datagram) {
  const std::optional<CommandHeader> header = PeekCommand(datagram);
  if (!header || header->length > datagram.size() - sk_gvcpHeaderSize) return std::nullopt;
  return CommandPacket{*header, datagram.subspan(sk_gvcpHeaderSize, header->length)};
}

std::optional<AckPacket> DecodeAck(std::span<const uint8_t> datagram) {
  if (datagram.size() < sk_gvcpHeaderSize) return std::nullopt;
  AckHeader header;
  header.status = static_cast<Status>(LoadBe16(&datagram[0]));
  header.ack = static_cast<Ack>(LoadBe16(&datagram[2]));
  header.length = LoadBe16(&datagram[4]);
  header.ackId = LoadBe16(&datagram[6]);
  if (header.length > datagram.size() - sk_gvcpHeaderSize) return std::nullopt;
  return AckPacket{header, datagram.subspan(sk_gvcpHeaderSize, header.length)};
}

size_t EncodeCommand(std::span<uint8_t> out, Command command, uint8_t flags, uint16_t requestId,
                     std::span<const uint8_t> payload) {
  ByteWriter writer = BeginCommand(out, command, flags, requestId, payload.size());
  writer.Bytes(payload);
  return writer.Size();
}

size_t EncodeAck(std::span<uint8_t> out, Status status, Ack ack, uint16_t ackId,
                 std::span<const uint8_t> payload) {
  ByteWriter writer = BeginAck(out, status, ack, ackId, payload.size());
  writer.Bytes(payload);
  return writer.Size();
}

size_t EncodeDiscovery(std::span<uint8_t> out, uint16_t requestId, bool allowBroadcastAck) {
  const uint8_t flags = sk_flagAckRequired | (allowBroadcastAck ? sk_flagBroadcastAck : 0);
  return EncodeCommand(out, Command::Discovery, flags, requestId);
}

std::optional<DiscoveryAck> DecodeDiscoveryAck(std::span<const uint8_t> payload) {
  ByteReader reader(payload);
  DiscoveryAck ack;
  ack.versionMajor = reader.U16();
  ack.versionMinor = reader.U16();
  ack.deviceMode = reader.U32();
  reader.Skip(2);
  ack.mac = reader.U48();
  ack.ipCapability = reader.U32();
  ack.ipConfiguration = reader.U32();
  reader.Skip(12);
  ack.ip = reader.U32();
  reader.Skip(12);
  ack.subnetMask = reader.U32();
  reader.Skip(12);
  ack.gateway = reader.U32();
  ack.manufacturer = FieldText(reader.Bytes(32));
  ack.model = FieldText(reader.Bytes(32));
  ack.version = FieldText(reader.Bytes(32));
  ack.manufacturerInfo = FieldText(reader.Bytes(48));
  ack.serial = FieldText(reader.Bytes(16));
  ack.userName = FieldText(reader.Bytes(16));
  if (!reader.Ok()) return std::nullopt;
  return ack;
}

size_t EncodeDiscoveryAck(std::span<uint8_t> out, uint16_t ackId, const DiscoveryAck& ack) {
  ByteWriter writer = BeginAck(out, Status::Success, Ack::Discovery, ackId, sk_discoveryAckSize);
  writer.U16(ack.versionMajor);
  writer.U16(ack.versionMinor);
  writer.U32(ack.deviceMode);
  writer.Zeros(2);
  writer.U48(ack.mac);
  writer.U32(ack.ipCapability);
  writer.U32(ack.ipConfiguration);
  writer.Zeros(12);
  writer.U32(ack.ip);
  writer.Zeros(12);
  writer.U32(ack.subnetMask);
  writer.Zeros(12);
  writer.U32(ack.gateway);
  writer.Text(ack.manufacturer, 32);
  writer.Text(ack.model, 32);
  writer.Text(ack.version, 32);
  writer.Text(ack.manufacturerInfo, 48);
  writer.Text(ack.serial, 16);
  writer.Text(ack.userName, 16);
  return writer.Size();
}

size_t EncodeForceIp(std::span<uint8_t> out, uint16_t requestId, uint8_t flags,
                     const ForceIp& forceIp) {
  ByteWriter writer = BeginCommand(out, Command::ForceIp, flags, requestId, 56);
  writer.Zeros(2);
  writer.U48(forceIp.mac);
  writer.Zeros(12);
  writer.U32(forceIp.ip);
  writer.Zeros(12);
  writer.U32(forceIp.subnetMask);
  writer.Zeros(12);
  writer.U32(forceIp.gateway);
  return writer.Size();
}

std::optional<ForceIp> DecodeForceIp(std::span<const uint8_t> payload) {
  ByteReader reader(payload);
  ForceIp forceIp;
  reader.Skip(2);
  forceIp.mac = reader.U48();
  reader.Skip(12);
  forceIp.ip = reader.U32();
  reader.Skip(12);
  forceIp.subnetMask = reader.U32();
  reader.Skip(12);
  forceIp.gateway = reader.U32();
  if (!reader.Ok()) return std::nullopt;
  return forceIp;
}

size_t EncodeReadReg(std::span<uint8_t> out, uint16_t requestId,
                     std::span<const uint32_t> addresses) {
  if (addresses.empty()) return 0;
  ByteWriter writer =
      BeginCommand(out, Command::ReadReg, sk_flagAckRequired, requestId, 4 * addresses.size());
  for (const uint32_t address : addresses) writer.U32(address);
  return writer.Size();
}

std::optional<WordView> DecodeReadReg(std::span<const uint8_t> payload) {
  return DecodeWords(payload);
}

size_t EncodeReadRegAck(std::span<uint8_t> out, Status status, uint16_t ackId,
                        std::span<const uint32_t> values) {
  ByteWriter writer = BeginAck(out, status, Ack::ReadReg, ackId, 4 * values.size());
  for (const uint32_t value : values) writer.U32(value);
  return writer.Size();
}

std::optional<WordView> DecodeReadRegAck(std::span<const uint8_t> payload) {
  return DecodeWords(payload);
}

size_t EncodeWriteReg(std::span<uint8_t> out, uint16_t requestId,
                      std::span<const RegisterWrite> writes, bool ackRequired) {
  if (writes.empty()) return 0;
  const uint8_t flags = ackRequired ? sk_flagAckRequired : uint8_t{0};
  ByteWriter writer = BeginCommand(out, Command::WriteReg, flags, requestId, 8 * writes.size());
  for (const RegisterWrite& write : writes) {
    writer.U32(write.address);
    writer.U32(write.value);
  }
  return writer.Size();
}

std::optional<RegisterWriteView> DecodeWriteReg(std::span<const uint8_t> payload) {
  if (payload.empty() || payload.size() % 8 != 0) return std::nullopt;
  return RegisterWriteView(payload);
}

size_t EncodeIndexAck(std::span<uint8_t> out, Status status, Ack ack, uint16_t ackId,
                      uint16_t index) {
  ByteWriter writer = BeginAck(out, status, ack, ackId, 4);
  writer.U16(0);
  writer.U16(index);
  return writer.Size();
}

std::optional<uint16_t> DecodeIndexAck(std::span<const uint8_t> payload) {
  ByteReader reader(payload);
  reader.Skip(2);
  const uint16_t index = reader.U16();
  if (!reader.Ok()) return std::nullopt;
  return index;
}

size_t EncodeReadMem(std::span<uint8_t> out, uint16_t requestId, const ReadMem& read) {
  ByteWriter writer = BeginCommand(out, Command::ReadMem, sk_flagAckRequired, requestId, 8);
  writer.U32(read.address);
  writer.U16(0);
  writer.U16(read.count);
  return writer.Size();
}

std::optional<ReadMem> DecodeReadMem(std::span<const uint8_t> payload) {
  if (payload.size() != 8) return std::nullopt;
  return ReadMem{LoadBe32(&payload[0]), LoadBe16(&payload[6])};
}

size_t EncodeReadMemAck(std::span<uint8_t> out, Status status, uint16_t ackId,
                        const Memory& memory) {
  ByteWriter writer = BeginAck(out, status, Ack::ReadMem, ackId, 4 + memory.data.size());
  writer.U32(memory.address);
  writer.Bytes(memory.data);
  return writer.Size();
}

std::optional<Memory> DecodeReadMemAck(std::span<const uint8_t> payload) {
  return DecodeMemory(payload);
}

size_t EncodeWriteMem(std::span<uint8_t> out, uint16_t requestId, const Memory& memory) {
  ByteWriter writer =
      BeginCommand(out, Command::WriteMem, sk_flagAckRequired, requestId, 4 + memory.data.size());
  writer.U32(memory.address);
  writer.Bytes(memory.data);
  return writer.Size();
}

std::optional<Memory> DecodeWriteMem(std::span<const uint8_t> payload) {
  return DecodeMemory(payload);
}

size_t EncodePendingAck(std::span<uint8_t> out, uint16_t ackId, uint16_t timeToCompletionMs) {
  return EncodeIndexAck(out, Status::Success, Ack::Pending, ackId, timeToCompletionMs);
}

std::optional<uint16_t> DecodePendingAck(std::span<const uint8_t> payload) {
  return DecodeIndexAck(payload);
}

size_t EncodePacketResend(std::span<uint8_t> out, uint16_t requestId, const PacketResend& resend) {
  if (resend.blockId == 0) return 0;
  if (!resend.extendedIds) {
    if (resend.blockId > 0xFFFF || resend.firstPacket > sk_toLastPacket) return 0;
    ByteWriter writer = BeginCommand(out, Command::PacketResend, 0, requestId, 12);
    writer.U16(resend.channel);
    writer.U16(static_cast<uint16_t>(resend.blockId));
    writer.U32(resend.firstPacket);
    writer.U32(std::min(resend.lastPacket, sk_toLastPacket));
    return writer.Size();
  }
  ByteWriter writer = BeginCommand(out, Command::PacketResend, sk_flagExtendedIds, requestId, 20);
  writer.U16(resend.channel);
  writer.U16(0);
  writer.U32(resend.firstPacket);
  writer.U32(resend.lastPacket);
  writer.U64(resend.blockId);
  return writer.Size();
}

std::optional<PacketResend> DecodePacketResend(const CommandPacket& packet) {
  ByteReader reader(packet.payload);
  PacketResend resend;
  resend.extendedIds = (packet.header.flags & sk_flagExtendedIds) != 0;
  resend.channel = reader.U16();
  resend.blockId = reader.U16();
  resend.firstPacket = reader.U32();
  resend.lastPacket = reader.U32();
  if (resend.extendedIds) {
    resend.blockId = reader.U64();
  } else {
    resend.firstPacket &= sk_toLastPacket;
    resend.lastPacket &= sk_toLastPacket;
    if (resend.lastPacket == sk_toLastPacket) resend.lastPacket = sk_toLastPacketExtended;
  }
  if (!reader.Ok() || resend.blockId == 0) return std::nullopt;
  return resend;
}

size_t EncodeAction(std::span<uint8_t> out, uint16_t requestId, uint8_t flags,
                    const Action& action) {
  const bool scheduled = action.time != 0;
  flags = static_cast<uint8_t>(scheduled ? flags | sk_flagScheduledAction
                                         : flags & ~sk_flagScheduledAction);
  ByteWriter writer = BeginCommand(out, Command::Action, flags, requestId, scheduled ? 20 : 12);
  writer.U32(action.deviceKey);
  writer.U32(action.groupKey);
  writer.U32(action.groupMask);
  if (scheduled) writer.U64(action.time);
  return writer.Size();
}

std::optional<Action> DecodeAction(const CommandPacket& packet) {
  ByteReader reader(packet.payload);
  Action action;
  action.deviceKey = reader.U32();
  action.groupKey = reader.U32();
  action.groupMask = reader.U32();
  if ((packet.header.flags & sk_flagScheduledAction) != 0) action.time = reader.U64();
  if (!reader.Ok()) return std::nullopt;
  return action;
}

}  // namespace GigEVision
