#pragma once
// SPDX-License-Identifier: Apache-2.0
// Encodes pictures as QOI streams: the published format with three channels, and the one-channel
// variant that the SDK reads for monochrome and Bayer pixels. Stateless: any thread.

#include <cstdint>
#include <span>
#include <vector>

namespace OrvexSim {

// Bytes that a stream never exceeds.
constexpr size_t QoiWorstSize(size_t pixels, size_t channels) {
  return 14 + 8 + (channels == 1 ? pixels + pixels / 64 + 1 : pixels * 4);
}
// Appends the stream to `out`. `channels` is 1 or 3; `pixels` holds width * height * channels
// bytes.
void EncodeQoi(std::span<const uint8_t> pixels, uint32_t width, uint32_t height, uint8_t channels,
               std::vector<uint8_t>& out);

}  // namespace OrvexSim
