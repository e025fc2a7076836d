#pragma once
// SPDX-License-Identifier: Apache-2.0
// The stream protocol of GigE Vision (GVSP): packet headers with standard and extended ids,
// leaders, trailers and the small headers of data packets. Decoders give nothing for malformed
// bytes; encoders return the bytes written, 0 when the span is too small. All values are in host
// order. Views point into the caller's bytes. Stateless: any thread.

#include <optional>
#include <span>

#include "gigevision/Gvcp.h"

namespace GigEVision {

inline constexpr size_t sk_gvspHeaderSize = 8;
inline constexpr size_t sk_gvspExtendedHeaderSize = 20;
inline constexpr size_t sk_ipUdpOverhead =
    28;  // the packet size register counts IP and UDP headers
inline constexpr size_t sk_maxLeaderPacket =
    576;  // IP datagram of leaders and trailers, unless large ones are enabled
inline constexpr size_t sk_maxParts = 255;

enum class PacketFormat : uint8_t {
  Leader = 1,
  Trailer = 2,
  Payload = 3,
  AllIn = 4,
  PayloadH264 = 5,
  PayloadMultiZone = 6,
  PayloadMultiPart = 7,
  PayloadGenDc = 8,
};
constexpr bool IsDataFormat(PacketFormat format) {
  return format == PacketFormat::Payload ||
         (format >= PacketFormat::PayloadH264 && format <= PacketFormat::PayloadGenDc);
}

// Flags of the extended header.
inline constexpr uint16_t sk_gvspFlagRangeError = 0x0004;
inline constexpr uint16_t sk_gvspFlagPreviousDropped = 0x0002;
inline constexpr uint16_t sk_gvspFlagResent = 0x0001;

struct PacketHeader {
  Status status = Status::Success;
  PacketFormat format{};
  bool extendedIds = false;
  uint16_t flags = 0;     // extended ids only
  uint8_t partCount = 0;  // extended leaders only: number of parts, or of additional zones
  uint64_t blockId = 0;   // 0 = test packet; 16 bits with standard ids
  uint32_t packetId = 0;  // 24 bits with standard ids
  size_t Size() const { return extendedIds ? sk_gvspExtendedHeaderSize : sk_gvspHeaderSize; }
  bool Resent() const { return status == Status::PacketResend || (flags & sk_gvspFlagResent) != 0; }
};

// Inline: this runs once for every packet received.
inline std::optional<PacketHeader> DecodePacketHeader(std::span<const uint8_t> datagram) {
  if (datagram.size() < sk_gvspHeaderSize) return std::nullopt;
  PacketHeader header;
  header.status = static_cast<Status>(LoadBe16(&datagram[0]));
  const uint32_t word = LoadBe32(&datagram[4]);
  header.format = static_cast<PacketFormat>(word >> 24 & 0x0F);
  if ((word & 0x80000000) == 0) {
    header.blockId = LoadBe16(&datagram[2]);
    header.packetId = word & 0x00FFFFFF;
    return header;
  }
  if (datagram.size() < sk_gvspExtendedHeaderSize) return std::nullopt;
  header.extendedIds = true;
  header.flags = LoadBe16(&datagram[2]);
  header.partCount = static_cast<uint8_t>(word);
  header.blockId = LoadBe64(&datagram[8]);
  header.packetId = LoadBe32(&datagram[16]);
  return header;
}
size_t EncodePacketHeader(std::span<uint8_t> out, const PacketHeader& header);

// Bytes of block data in every full data packet of this size register value; 0 when the size holds
// no data.
constexpr size_t DataPerPacket(size_t packetSize, bool extendedIds,
                               PacketFormat format = PacketFormat::Payload) {
  size_t overhead =
      sk_ipUdpOverhead + (extendedIds ? sk_gvspExtendedHeaderSize : sk_gvspHeaderSize);
  if (format == PacketFormat::PayloadMultiZone || format == PacketFormat::PayloadMultiPart)
    overhead += 8;
  if (format == PacketFormat::PayloadGenDc) overhead += 16;
  return packetSize > overhead ? packetSize - overhead : 0;
}
// The block id after `id`; 0 is never used.
constexpr uint64_t NextBlockId(uint64_t id, bool extendedIds) {
  const uint64_t next = id + 1;
  return next == 0 || (!extendedIds && next > 0xFFFF) ? 1 : next;
}

// ---- payload types ----
enum class PayloadType : uint16_t {
  Image = 0x0001,
  Raw = 0x0002,
  File = 0x0003,
  Chunk = 0x0004,
  ExtendedChunk = 0x0005,
  Jpeg = 0x0006,
  Jpeg2000 = 0x0007,
  H264 = 0x0008,
  MultiZone = 0x0009,
  MultiPart = 0x000A,
  GenDc = 0x000B,
};
inline constexpr uint16_t sk_payloadChunkMode = 0x4000;  // any type with chunks behind its data
inline constexpr uint16_t sk_payloadDeviceSpecific = 0x8000;
constexpr uint16_t WithChunks(PayloadType type) {
  return static_cast<uint16_t>(type) | sk_payloadChunkMode;
}
constexpr bool HasChunkMode(uint16_t type) {
  return (type & sk_payloadChunkMode) != 0 && (type & sk_payloadDeviceSpecific) == 0;
}
constexpr PayloadType BaseType(uint16_t type) {
  return static_cast<PayloadType>(HasChunkMode(type) ? type & ~sk_payloadChunkMode : type);
}

// ---- leaders and trailers; all decode functions take the bytes behind the packet header ----
struct ImageFields {
  uint32_t pixelFormat = 0;
  uint32_t sizeX = 0, sizeY = 0, offsetX = 0, offsetY = 0;
  uint16_t paddingX = 0, paddingY = 0;
};

// The union of all leaders; which fields count follows from the payload type.
struct Leader {
  uint16_t payloadType = 0;  // as sent, chunk mode bit included
  uint8_t fieldId = 0, fieldCount = 0;
  uint64_t timestamp = 0;    // not for H.264, whose data packets carry it
  ImageFields image;         // image, extended chunk, multi-zone; all 0 otherwise
  uint64_t payloadSize = 0;  // raw, file, JPEG, H.264; GenDC: container size
  std::string_view fileName;
  uint64_t tickFrequency = 0;  // JPEG
  uint32_t dataFormat = 0;     // JPEG
  uint32_t zoneDirections = 0;
  uint8_t genDcFlags = 0;
  uint32_t genDcDescriptorSize = 0;
  uint8_t h264PacketizationMode = 0, h264Profile = 0, h264Constraints = 0, h264Level = 0;
  uint16_t h264PacketSize = 0;
  std::span<const uint8_t> parts;  // multi-part: whole 48-byte entries

  PayloadType Type() const { return BaseType(payloadType); }
  bool HasChunks() const { return HasChunkMode(payloadType); }
  size_t PartCount() const { return parts.size() / 48; }
};
// Unknown types decode to their common start (type and timestamp).
std::optional<Leader> DecodeLeader(std::span<const uint8_t> content);
// Image, extended chunk, chunk, raw, file, JPEG and multi-zone leaders, each with or without chunk
// mode.
size_t EncodeLeader(std::span<uint8_t> out, const Leader& leader);

enum class PartType : uint16_t {
  Image2D = 0x0001,
  Plane2DBiplanar = 0x0002,
  Plane2DTriplanar = 0x0003,
  Plane2DQuadplanar = 0x0004,
  Image3D = 0x0005,
  Plane3DBiplanar = 0x0006,
  Plane3DTriplanar = 0x0007,
  Plane3DQuadplanar = 0x0008,
  ConfidenceMap = 0x0009,
  Chunk = 0x000A,
  Jpeg = 0x000B,
  Jpeg2000 = 0x000C,
};
struct Part {
  PartType type{};
  uint64_t length = 0;
  uint8_t sourceId = 0, additionalZones = 0;
  uint32_t zoneDirections = 0;
  uint16_t purposeId = 0, regionId = 0;
  ImageFields image;
};
std::optional<Part> DecodePart(const Leader& leader, size_t index);
// A whole multi-part leader.
size_t EncodeMultiPartLeader(std::span<uint8_t> out, uint64_t timestamp,
                             std::span<const Part> parts);

struct Trailer {
  uint16_t payloadType = 0;
  uint32_t sizeY = 0;  // lines sent: image, extended chunk, multi-zone
  uint32_t chunkLength = 0, chunkLayoutId = 0;
  std::span<const uint8_t> parts;  // multi-part: whole 16-byte entries

  PayloadType Type() const { return BaseType(payloadType); }
  bool HasChunkLength() const {
    return HasChunkMode(payloadType) || Type() == PayloadType::Chunk ||
           Type() == PayloadType::ExtendedChunk;
  }
  size_t PartCount() const { return parts.size() / 16; }
};
struct PartTrailer {
  PartType type{};
  uint64_t length = 0;  // sent
  uint32_t sizeY = 0;
};
std::optional<Trailer> DecodeTrailer(std::span<const uint8_t> content);
size_t EncodeTrailer(std::span<uint8_t> out, const Trailer& trailer);  // all but multi-part
std::optional<PartTrailer> DecodePartTrailer(const Trailer& trailer, size_t index);
size_t EncodeMultiPartTrailer(std::span<uint8_t> out, std::span<const PartTrailer> parts);

// A block in one packet: leader, trailer and data one after another.
struct AllIn {
  Leader leader;
  Trailer trailer;
  std::span<const uint8_t> data;
};
std::optional<AllIn> DecodeAllIn(std::span<const uint8_t> content);
size_t EncodeAllIn(std::span<uint8_t> out, const Leader& leader, const Trailer& trailer,
                   std::span<const uint8_t> data);

// ---- small headers of data packets ----
inline constexpr size_t sk_zoneHeaderSize = 8;
struct ZoneHeader {  // multi-zone and multi-part data packets
  uint8_t partId = 0;
  bool endOfPart = false;
  uint8_t zoneId = 0;
  bool endOfZone = false;
  uint64_t offset = 0;  // 48 bits, inside the zone's image or the part
};
std::optional<ZoneHeader> DecodeZoneHeader(std::span<const uint8_t> content);
size_t EncodeZoneHeader(std::span<uint8_t> out, const ZoneHeader& header);

inline constexpr size_t sk_genDcHeaderSize = 16;
struct GenDcHeader {
  uint32_t dataSize = 0;
  uint64_t destinationOffset = 0;
  bool descriptorPresent = false;  // the two highest bits, set together
  bool descriptorStart = false, descriptorEnd = false;
  bool firstOfFlow = false, lastOfFlow = false;
  uint16_t flowId = 0;
};
std::optional<GenDcHeader> DecodeGenDcHeader(std::span<const uint8_t> content);
size_t EncodeGenDcHeader(std::span<uint8_t> out, const GenDcHeader& header);

}  // namespace GigEVision
