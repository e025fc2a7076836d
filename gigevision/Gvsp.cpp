// SPDX-License-Identifier: Apache-2.0
#include "gigevision/Gvsp.h"

namespace GigEVision {
namespace {

constexpr size_t sk_partSize = 48;
constexpr size_t sk_partTrailerSize = 16;

void ReadImage(ByteReader& reader, ImageFields& image) {
  image.pixelFormat = reader.U32();
  image.sizeX = reader.U32();
  image.sizeY = reader.U32();
  image.offsetX = reader.U32();
  image.offsetY = reader.U32();
  image.paddingX = reader.U16();
  image.paddingY = reader.U16();
}

void WriteImage(ByteWriter& writer, const ImageFields& image) {
  writer.U32(image.pixelFormat);
  writer.U32(image.sizeX);
  writer.U32(image.sizeY);
  writer.U32(image.offsetX);
  writer.U32(image.offsetY);
  writer.U16(image.paddingX);
  writer.U16(image.paddingY);
}

// Reads a leader and leaves the reader behind it, which all-in packets need.
bool ReadLeader(ByteReader& reader, Leader& leader, bool allIn) {
  const uint8_t field = reader.U8();
  leader.fieldId = field >> 4;
  leader.fieldCount = field & 0x0F;
  reader.Skip(1);
  leader.payloadType = reader.U16();
  if (leader.Type() == PayloadType::H264) {
    leader.payloadSize = reader.U64();
    reader.Skip(1);
    leader.h264PacketizationMode = reader.U8();
    leader.h264PacketSize = reader.U16();
    reader.Skip(1);
    leader.h264Profile = reader.U8();
    leader.h264Constraints = reader.U8();
    leader.h264Level = reader.U8();
    reader.Skip(12);
    return reader.Ok();
  }
  leader.timestamp = reader.U64();
  switch (leader.Type()) {
    case PayloadType::Image:
    case PayloadType::ExtendedChunk:
      ReadImage(reader, leader.image);
      break;
    case PayloadType::Raw:
      leader.payloadSize = reader.U64();
      break;
    case PayloadType::File: {
      leader.payloadSize = reader.U64();
      if (allIn) return false;  // the name's end is the packet's end, so nothing can follow it
      leader.fileName = FieldText(reader.Rest());
      break;
    }
    case PayloadType::Jpeg:
    case PayloadType::Jpeg2000:
      leader.payloadSize = reader.U64();
      leader.tickFrequency = reader.U64();
      leader.dataFormat = reader.U32();
      break;
    case PayloadType::MultiZone:
      leader.zoneDirections = reader.U32();
      ReadImage(reader, leader.image);
      break;
    case PayloadType::MultiPart:
      if (allIn) return false;
      leader.parts = reader.Bytes(reader.Remaining() / sk_partSize * sk_partSize);
      break;
    case PayloadType::GenDc:
      if (allIn) return false;
      leader.payloadSize = reader.U64();
      leader.genDcFlags = reader.U8();
      reader.Skip(3);
      leader.genDcDescriptorSize = reader.U32();
      break;
    default:
      break;
  }
  return reader.Ok();
}

bool ReadTrailer(ByteReader& reader, Trailer& trailer, bool allIn) {
  reader.Skip(2);
  trailer.payloadType = reader.U16();
  switch (trailer.Type()) {
    case PayloadType::Image:
    case PayloadType::MultiZone:
      trailer.sizeY = reader.U32();
      break;
    case PayloadType::Chunk:
      trailer.chunkLength = reader.U32();
      break;
    case PayloadType::ExtendedChunk:  // kept on purpose: this one has its length before the lines
      trailer.chunkLength = reader.U32();
      trailer.sizeY = reader.U32();
      trailer.chunkLayoutId = reader.U32();
      break;
    case PayloadType::MultiPart:
      if (allIn) return false;
      trailer.parts = reader.Bytes(reader.Remaining() / sk_partTrailerSize * sk_partTrailerSize);
      break;
    default:
      break;
  }
  if (trailer.HasChunkLength() && HasChunkMode(trailer.payloadType)) {
    trailer.chunkLength = reader.U32();
    trailer.chunkLayoutId = reader.U32();
  }
  return reader.Ok();
}

void WriteLeader(ByteWriter& writer, const Leader& leader) {
  writer.U8(static_cast<uint8_t>(leader.fieldId << 4 | (leader.fieldCount & 0x0F)));
  writer.U8(0);
  writer.U16(leader.payloadType);
  writer.U64(leader.timestamp);
  switch (leader.Type()) {
    case PayloadType::Image:
    case PayloadType::ExtendedChunk:
      WriteImage(writer, leader.image);
      break;
    case PayloadType::Raw:
      writer.U64(leader.payloadSize);
      break;
    case PayloadType::File:
      writer.U64(leader.payloadSize);
      writer.Text(leader.fileName, leader.fileName.size() + 1);
      break;
    case PayloadType::Jpeg:
    case PayloadType::Jpeg2000:
      writer.U64(leader.payloadSize);
      writer.U64(leader.tickFrequency);
      writer.U32(leader.dataFormat);
      break;
    case PayloadType::MultiZone:
      writer.U32(leader.zoneDirections);
      WriteImage(writer, leader.image);
      break;
    case PayloadType::GenDc:
      writer.U64(leader.payloadSize);
      writer.U8(leader.genDcFlags);
      writer.Zeros(3);
      writer.U32(leader.genDcDescriptorSize);
      break;
    default:
      break;
  }
}

void WriteTrailer(ByteWriter& writer, const Trailer& trailer) {
  writer.U16(0);
  writer.U16(trailer.payloadType);
  switch (trailer.Type()) {
    case PayloadType::Image:
    case PayloadType::MultiZone:
      writer.U32(trailer.sizeY);
      break;
    case PayloadType::Chunk:
      writer.U32(trailer.chunkLength);
      break;
    case PayloadType::ExtendedChunk:
      writer.U32(trailer.chunkLength);
      writer.U32(trailer.sizeY);
      writer.U32(trailer.chunkLayoutId);
      break;
    default:
      break;
  }
  if (HasChunkMode(trailer.payloadType)) {
    writer.U32(trailer.chunkLength);
    writer.U32(trailer.chunkLayoutId);
  }
}

}  // namespace

size_t EncodePacketHeader(std::span<uint8_t> out, const PacketHeader& header) {
  ByteWriter writer(out);
  const uint8_t format = static_cast<uint8_t>(header.format) & 0x0F;
  writer.U16(static_cast<uint16_t>(header.status));
  if (!header.extendedIds) {
    writer.U16(static_cast<uint16_t>(header.blockId));
    writer.U32(static_cast<uint32_t>(format) << 24 | (header.packetId & 0x00FFFFFF));
    return writer.Size();
  }
  writer.U16(header.flags);
  writer.U8(0x80 | format);
  writer.U16(0);
  writer.U8(header.partCount);
  writer.U64(header.blockId);
  writer.U32(header.packetId);
  return writer.Size();
}

std::optional<Leader> DecodeLeader(std::span<const uint8_t> content) {
  ByteReader reader(content);
  Leader leader;
  if (!ReadLeader(reader, leader, false)) return std::nullopt;
  return leader;
}

size_t EncodeLeader(std::span<uint8_t> out, const Leader& leader) {
  if (leader.Type() == PayloadType::MultiPart || leader.Type() == PayloadType::H264) return 0;
  ByteWriter writer(out);
  WriteLeader(writer, leader);
  return writer.Size();
}

std::optional<Part> DecodePart(const Leader& leader, size_t index) {
  if (index >= leader.PartCount()) return std::nullopt;
  ByteReader reader(leader.parts.subspan(index * sk_partSize, sk_partSize));
  Part part;
  part.type = static_cast<PartType>(reader.U16());
  part.length = reader.U48();
  part.image.pixelFormat = reader.U32();
  reader.Skip(2);
  part.sourceId = reader.U8();
  part.additionalZones = reader.U8() & 0x1F;
  part.zoneDirections = reader.U32();
  part.purposeId = reader.U16();
  part.regionId = reader.U16();
  // JPEG parts carry other things in these 24 bytes.
  if (part.type != PartType::Jpeg && part.type != PartType::Jpeg2000) {
    part.image.sizeX = reader.U32();
    part.image.sizeY = reader.U32();
    part.image.offsetX = reader.U32();
    part.image.offsetY = reader.U32();
    part.image.paddingX = reader.U16();
    part.image.paddingY = reader.U16();
  }
  return part;
}

size_t EncodeMultiPartLeader(std::span<uint8_t> out, uint64_t timestamp,
                             std::span<const Part> parts) {
  ByteWriter writer(out);
  writer.U16(0);
  writer.U16(static_cast<uint16_t>(PayloadType::MultiPart));
  writer.U64(timestamp);
  for (const Part& part : parts) {
    writer.U16(static_cast<uint16_t>(part.type));
    writer.U48(part.length);
    writer.U32(part.image.pixelFormat);
    writer.Zeros(2);
    writer.U8(part.sourceId);
    writer.U8(part.additionalZones & 0x1F);
    writer.U32(part.zoneDirections);
    writer.U16(part.purposeId);
    writer.U16(part.regionId);
    writer.U32(part.image.sizeX);
    writer.U32(part.image.sizeY);
    writer.U32(part.image.offsetX);
    writer.U32(part.image.offsetY);
    writer.U16(part.image.paddingX);
    writer.U16(part.image.paddingY);
    writer.Zeros(4);
  }
  return writer.Size();
}

std::optional<Trailer> DecodeTrailer(std::span<const uint8_t> content) {
  ByteReader reader(content);
  Trailer trailer;
  if (!ReadTrailer(reader, trailer, false)) return std::nullopt;
  return trailer;
}

size_t EncodeTrailer(std::span<uint8_t> out, const Trailer& trailer) {
  if (trailer.Type() == PayloadType::MultiPart) return 0;
  ByteWriter writer(out);
  WriteTrailer(writer, trailer);
  return writer.Size();
}

std::optional<PartTrailer> DecodePartTrailer(const Trailer& trailer, size_t index) {
  if (index >= trailer.PartCount()) return std::nullopt;
  ByteReader reader(trailer.parts.subspan(index * sk_partTrailerSize, sk_partTrailerSize));
  PartTrailer part;
  part.type = static_cast<PartType>(reader.U16());
  part.length = reader.U48();
  part.sizeY = reader.U32();
  return part;
}

size_t EncodeMultiPartTrailer(std::span<uint8_t> out, std::span<const PartTrailer> parts) {
  ByteWriter writer(out);
  writer.U16(0);
  writer.U16(static_cast<uint16_t>(PayloadType::MultiPart));
  for (const PartTrailer& part : parts) {
    writer.U16(static_cast<uint16_t>(part.type));
    writer.U48(part.length);
    writer.U32(part.sizeY);
    writer.Zeros(4);
  }
  return writer.Size();
}

std::optional<AllIn> DecodeAllIn(std::span<const uint8_t> content) {
  ByteReader reader(content);
  AllIn block;
  if (!ReadLeader(reader, block.leader, true) || !ReadTrailer(reader, block.trailer, true))
    return std::nullopt;
  block.data = reader.Rest();
  return block;
}

size_t EncodeAllIn(std::span<uint8_t> out, const Leader& leader, const Trailer& trailer,
                   std::span<const uint8_t> data) {
  const PayloadType type = leader.Type();
  if (type == PayloadType::MultiPart || type == PayloadType::GenDc || type == PayloadType::File ||
      type == PayloadType::H264) {
    return 0;
  }
  ByteWriter writer(out);
  WriteLeader(writer, leader);
  WriteTrailer(writer, trailer);
  writer.Bytes(data);
  return writer.Size();
}

std::optional<ZoneHeader> DecodeZoneHeader(std::span<const uint8_t> content) {
  ByteReader reader(content);
  ZoneHeader header;
  header.partId = reader.U8();
  const uint8_t info = reader.U8();
  header.endOfPart = (info & 0x40) != 0;
  header.zoneId = info >> 1 & 0x1F;
  header.endOfZone = (info & 0x01) != 0;
  header.offset = reader.U48();
  if (!reader.Ok()) return std::nullopt;
  return header;
}

size_t EncodeZoneHeader(std::span<uint8_t> out, const ZoneHeader& header) {
  ByteWriter writer(out);
  writer.U8(header.partId);
  writer.U8(static_cast<uint8_t>((header.endOfPart ? 0x40 : 0) | (header.zoneId & 0x1F) << 1 |
                                 (header.endOfZone ? 0x01 : 0)));
  writer.U48(header.offset);
  return writer.Size();
}

std::optional<GenDcHeader> DecodeGenDcHeader(std::span<const uint8_t> content) {
  ByteReader reader(content);
  GenDcHeader header;
  header.dataSize = reader.U32();
  header.destinationOffset = reader.U64();
  const uint8_t dataFlags = reader.U8();
  const uint8_t flowFlags = reader.U8();
  header.descriptorPresent = (dataFlags & 0xC0) != 0;
  header.descriptorStart = (dataFlags & 0x20) != 0;
  header.descriptorEnd = (dataFlags & 0x10) != 0;
  header.firstOfFlow = (flowFlags & 0x80) != 0;
  header.lastOfFlow = (flowFlags & 0x40) != 0;
  header.flowId = reader.U16();
  if (!reader.Ok()) return std::nullopt;
  return header;
}

size_t EncodeGenDcHeader(std::span<uint8_t> out, const GenDcHeader& header) {
  ByteWriter writer(out);
  writer.U32(header.dataSize);
  writer.U64(header.destinationOffset);
  writer.U8(static_cast<uint8_t>((header.descriptorPresent ? 0xC0 : 0) |
                                 (header.descriptorStart ? 0x20 : 0) |
                                 (header.descriptorEnd ? 0x10 : 0)));
  writer.U8(static_cast<uint8_t>((header.firstOfFlow ? 0x80 : 0) | (header.lastOfFlow ? 0x40 : 0)));
  writer.U16(header.flowId);
  return writer.Size();
}

}  // namespace GigEVision
