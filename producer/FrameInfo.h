#pragma once
// SPDX-License-Identifier: Apache-2.0
// What is known about one received frame; a value that the receiver fills and the buffer keeps
// until it is queued again.

#include <array>
#include <cstddef>
#include <cstdint>

namespace OrvexGev {

// Pixel formats of Orvex' own range whose block is a QOI stream: the size of its data follows from
// no geometry.
constexpr bool IsCompressedFormat(uint32_t pixelFormat) {
  const uint32_t family = pixelFormat & 0xFF00;
  return (pixelFormat & 0x80000000) != 0 && (family == 0x0A00 || family == 0x0B00);
}

struct FrameInfo {
  bool newData = false;
  bool hasLeader = false;
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
  size_t chunkSize = 0;
  uint32_t chunkLayoutId = 0;
  std::array<char, 128> fileName{};
};

}  // namespace OrvexGev
