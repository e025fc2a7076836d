// SPDX-License-Identifier: Apache-2.0
#include "producer/FrameInfo.h"

#include <algorithm>

namespace OrvexGev {

namespace Gev = GigEVision;

namespace {

// Bytes of an image, 0 when the format has no size.
uint64_t ImageBytes(const Gev::ImageFields& image) {
  const uint64_t bits = image.pixelFormat >> 16 & 0xFF;
  const uint64_t lines = image.sizeY;
  if (image.paddingX == 0) return (uint64_t{image.sizeX} * lines * bits + 7) / 8 + image.paddingY;
  return ((uint64_t{image.sizeX} * bits + 7) / 8 + image.paddingX) * lines + image.paddingY;
}

uint64_t TakeParts(FrameInfo& info, const Gev::Leader& leader) {
  uint64_t end = 0;
  info.partCount = 0;
  for (size_t i = 0; i < leader.PartCount(); ++i) {
    const auto part = Gev::DecodePart(leader, i);
    if (!part || part->length > sk_maxBufferBytes) break;
    const auto length = static_cast<size_t>(part->length);
    if (part->type == Gev::PartType::Chunk) {
      info.chunkOffset = static_cast<size_t>(end);
      info.chunkSize = info.hasTrailer ? std::min(info.chunkSize, length) : length;
    } else if (info.partCount < info.parts.size()) {
      FramePart& told = info.parts[info.partCount++];
      told.offset = static_cast<size_t>(end);
      told.part = *part;
      told.sent = info.hasTrailer ? std::min(told.sent, length) : length;
      if (!info.hasTrailer) told.deliveredHeight = part->image.sizeY;
    }
    end += part->length;
  }
  return end;
}

// No part can be longer than announced: those behind it would be told twice.
void TakePartTrailers(FrameInfo& info, const Gev::Trailer& trailer) {
  size_t next = 0;
  for (size_t i = 0; i < trailer.PartCount(); ++i) {
    const auto part = Gev::DecodePartTrailer(trailer, i);
    if (!part) break;
    const auto length = static_cast<size_t>(part->length);
    if (part->type == Gev::PartType::Chunk) {
      info.chunkSize = info.hasLeader ? std::min(info.chunkSize, length) : length;
    } else if (next < info.parts.size()) {
      FramePart& told = info.parts[next++];
      told.sent = info.hasLeader ? std::min(told.sent, length) : length;
      told.deliveredHeight = part->sizeY;
    }
  }
}

}  // namespace

uint64_t TakeLeader(FrameInfo& info, const Gev::Leader& leader) {
  info.hasLeader = true;
  info.wireType = leader.payloadType;
  info.timestamp = leader.timestamp;
  info.pixelFormat = leader.image.pixelFormat;
  info.width = leader.image.sizeX;
  info.height = leader.image.sizeY;
  if (!info.hasTrailer) info.deliveredHeight = info.height;
  info.offsetX = leader.image.offsetX;
  info.offsetY = leader.image.offsetY;
  info.paddingX = leader.image.paddingX;
  info.paddingY = leader.image.paddingY;
  const size_t length = std::min(leader.fileName.size(), info.fileName.size() - 1);
  std::copy_n(leader.fileName.begin(), length, info.fileName.begin());
  if (leader.Type() == Gev::PayloadType::MultiPart) return TakeParts(info, leader);
  const bool plainImage = leader.Type() == Gev::PayloadType::Image && !leader.HasChunks() &&
                          !IsCompressedFormat(leader.image.pixelFormat);
  return plainImage ? ImageBytes(leader.image) : leader.payloadSize;
}

void TakeTrailer(FrameInfo& info, const Gev::Trailer& trailer) {
  const Gev::PayloadType type = trailer.Type();
  info.hasTrailer = true;
  if (type == Gev::PayloadType::MultiPart) return TakePartTrailers(info, trailer);
  if (trailer.HasChunkLength()) {
    info.chunkSize = trailer.chunkLength;
    info.chunkLayoutId = trailer.chunkLayoutId;
  }
  if (type == Gev::PayloadType::Image || type == Gev::PayloadType::ExtendedChunk)
    info.deliveredHeight = trailer.sizeY;
}

size_t DataSizeOf(const FrameInfo& info, uint64_t announced, uint64_t sent) {
  const bool chunks =
      info.chunkSize != 0 && Gev::BaseType(info.wireType) != Gev::PayloadType::MultiPart;
  const uint64_t size = chunks ? info.chunkSize : announced;
  return static_cast<size_t>(size != 0 ? size : sent);
}

std::optional<uint64_t> PlaceOf(const FrameInfo& info, Gev::PacketFormat format,
                                std::span<const uint8_t> bytes, size_t dataSize) {
  const auto header = Gev::DecodeZoneHeader(bytes);
  if (!header) return std::nullopt;
  if (format == Gev::PacketFormat::PayloadMultiZone) return header->offset;
  const bool chunk = info.chunkSize != 0 && header->partId == info.partCount;
  if (header->partId >= info.partCount && !chunk) return std::nullopt;
  const size_t base = chunk ? info.chunkOffset : info.parts[header->partId].offset;
  const uint64_t length = chunk ? info.chunkSize : info.parts[header->partId].part.length;
  if (header->offset > length || dataSize > length - header->offset) return std::nullopt;
  return base + header->offset;
}

}  // namespace OrvexGev
