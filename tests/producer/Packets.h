#pragma once
// SPDX-License-Identifier: Apache-2.0
// Stream packets laid out by hand, byte by byte as the published standard says; shares nothing with
// the encoders.

#include <cstdint>
#include <vector>

namespace Packets {

using Bytes = std::vector<uint8_t>;

inline void Put(Bytes& out, uint64_t value, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(value >> 8 * i));
}

enum Format : uint8_t { Leader = 1, Trailer = 2, Payload = 3, AllIn = 4 };

struct Stream {
  bool extended = false;
  uint16_t status = 0;

  Bytes Header(uint64_t block, Format format, uint32_t packet) const {
    Bytes out;
    Put(out, status, 2);
    if (extended) {
      Put(out, 0, 2);  // flags
      Put(out, 0x80000000u | format << 24, 4);
      Put(out, block, 8);
      Put(out, packet, 4);
    } else {
      Put(out, block, 2);
      Put(out, uint64_t{format} << 24 | packet, 4);
    }
    return out;
  }

  static void ImageLeader(Bytes& out, uint16_t type, uint64_t timestamp, uint32_t width,
                          uint32_t height) {
    Put(out, 0, 2);
    Put(out, type, 2);
    Put(out, timestamp, 8);
    Put(out, 0x01080001, 4);  // Mono8
    Put(out, width, 4);
    Put(out, height, 4);
    Put(out, 3, 4);  // offset x
    Put(out, 5, 4);  // offset y
    Put(out, 0, 2);
    Put(out, 0, 2);
  }

  Bytes LeaderOf(uint64_t block, uint32_t width, uint32_t height, uint64_t timestamp = 1000,
                 uint16_t type = 1) const {
    Bytes out = Header(block, Leader, 0);
    ImageLeader(out, type, timestamp, width, height);
    return out;
  }
  Bytes TrailerOf(uint64_t block, uint32_t packet, uint32_t lines) const {
    Bytes out = Header(block, Trailer, packet);
    Put(out, 0, 2);
    Put(out, 1, 2);
    Put(out, lines, 4);
    return out;
  }
  Bytes ChunkTrailerOf(uint64_t block, uint32_t packet, uint32_t lines, uint32_t length,
                       uint32_t layout) const {
    Bytes out = Header(block, Trailer, packet);
    Put(out, 0, 2);
    Put(out, 0x4001, 2);
    Put(out, lines, 4);
    Put(out, length, 4);
    Put(out, layout, 4);
    return out;
  }
  Bytes Data(uint64_t block, uint32_t packet, size_t count, uint8_t value) const {
    Bytes out = Header(block, Payload, packet);
    out.insert(out.end(), count, value);
    return out;
  }
  // What a camera sends instead of a packet that it does not have any more.
  Bytes Refusal(uint64_t block, uint32_t packet, uint16_t reason) const {
    Stream refusing = *this;
    refusing.status = reason;
    return refusing.Header(block, Payload, packet);
  }
};

}  // namespace Packets
