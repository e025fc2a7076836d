#pragma once
// SPDX-License-Identifier: Apache-2.0
// The chunk layout inside a block's data: data, id and length, one chunk after another, read from
// the end. Views point into the caller's bytes. A walker belongs to one thread.

#include <optional>
#include <span>

#include "gigevision/Bytes.h"

namespace GigEVision {

inline constexpr size_t sk_chunkTailSize = 8;  // id and length behind each chunk's data

struct Chunk {
  uint32_t id = 0;
  size_t offset = 0;  // of the data inside the block
  std::span<const uint8_t> data;
};

// Walks the chunks of a block from the last to the first. The span must end where the valid chunk
// data ends (the length in the trailer), not where the buffer ends.
class ChunkWalker {
 public:
  explicit ChunkWalker(std::span<const uint8_t> block) : m_rest(block) {}

  // The chunk before the last one given; nothing at the start of the block or when the layout is
  // broken.
  std::optional<Chunk> Next() {
    if (m_rest.empty()) return std::nullopt;
    if (m_rest.size() < sk_chunkTailSize) return Break();
    const size_t tail = m_rest.size() - sk_chunkTailSize;
    const uint32_t length = LoadBe32(&m_rest[tail + 4]);
    if (length > tail) return Break();
    Chunk chunk{LoadBe32(&m_rest[tail]), tail - length, m_rest.subspan(tail - length, length)};
    m_rest = m_rest.first(tail - length);
    return chunk;
  }
  // After the walk: the block was made of whole chunks exactly.
  bool Valid() const { return m_valid && m_rest.empty(); }

 private:
  std::optional<Chunk> Break() {
    m_valid = false;
    m_rest = {};
    return std::nullopt;
  }

  std::span<const uint8_t> m_rest;
  bool m_valid = true;
};

// Writes id and length behind data that lies already in place; `tail` is the 8 bytes behind it.
inline void EncodeChunkTail(std::span<uint8_t, sk_chunkTailSize> tail, uint32_t id,
                            uint32_t length) {
  StoreBe32(&tail[0], id);
  StoreBe32(&tail[4], length);
}

}  // namespace GigEVision
