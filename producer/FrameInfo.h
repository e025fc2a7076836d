#pragma once
// SPDX-License-Identifier: Apache-2.0
// What is known about one received frame; a value that the receiver fills and the buffer keeps
// until it is queued again.

#include <array>
#include <optional>

#include "gigevision/Gvsp.h"
#include "producer/Limits.h"

namespace OrvexGev {

// Pixel formats of Orvex' own range whose block is a QOI stream: the size of its data follows from
// no geometry.
constexpr bool IsCompressedFormat(uint32_t pixelFormat) {
  const uint32_t family = pixelFormat & 0xFF00;
  return (pixelFormat & 0x80000000) != 0 && (family == 0x0A00 || family == 0x0B00);
}

// One part of a multi-part frame.
struct FramePart {
  size_t offset = 0;  // in the buffer
  GigEVision::Part part;
  size_t sent = 0;  // bytes as the trailer tells, those of the leader before
  uint32_t deliveredHeight = 0;
};

struct FrameInfo {
  bool newData = false;
  bool hasLeader = false;
  bool hasTrailer = false;
  bool incomplete = false;
  bool largerThanBuffer = false;
  bool bigEndianPixels = false;
  uint16_t wireType = 0;  // payload type as sent, chunk bit included
  uint64_t blockId = 0;
  uint64_t timestamp = 0;  // device ticks
  size_t filled = 0;       // bytes written
  size_t dataSize = 0;     // bytes that should have been written
  uint32_t pixelFormat = 0;
  size_t width = 0, height = 0, offsetX = 0, offsetY = 0, paddingX = 0, paddingY = 0;
  size_t deliveredHeight = 0;
  size_t chunkOffset = 0;  // where the chunks begin
  size_t chunkSize = 0;
  uint32_t chunkLayoutId = 0;
  std::array<char, 128> fileName{};
  // Multi-part; a chunk part is not among them. More than the limit are received, not told.
  size_t partCount = 0;
  std::array<FramePart, sk_maxFrameParts> parts{};
};

// Fill in what leader and trailer tell, in either order; the trailer knows better. The leader's
// returns the bytes of data that are announced, 0 when none are.
uint64_t TakeLeader(FrameInfo& info, const GigEVision::Leader& leader);
void TakeTrailer(FrameInfo& info, const GigEVision::Trailer& trailer);

// The bytes that should have been received, once the trailer is taken; `sent` are those that were.
size_t DataSizeOf(const FrameInfo& info, uint64_t announced, uint64_t sent);

// Data packets whose own small header tells where their bytes go: of several parts or zones.
constexpr bool TellsItsPlace(GigEVision::PacketFormat format) {
  return format == GigEVision::PacketFormat::PayloadMultiPart ||
         format == GigEVision::PacketFormat::PayloadMultiZone;
}
// Where in the buffer. Nothing for a header that is cut, or a part that no leader has announced
// like that.
std::optional<uint64_t> PlaceOf(const FrameInfo& info, GigEVision::PacketFormat format,
                                std::span<const uint8_t> header, size_t dataSize);

}  // namespace OrvexGev
