#pragma once
// SPDX-License-Identifier: Apache-2.0
// Walks the samples of an image in blocks that fit the first-level cache: unpacks a block to 8-,
// 16- or 32-bit values, hands it to the caller, goes on; large images are shared by several
// threads. Reads no byte past the end of the data: what is missing there counts as zero. Any
// thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "primitives/BitDepth.h"
#include "primitives/RowThreads.h"
#include "primitives/SampleKernels.h"

namespace Orvex {

using Primitives::Packing;
namespace SampleKernels = Primitives::SampleKernels;

/// Significant bits of a sample.
constexpr unsigned BitsOf(Packing packing) {
  switch (packing) {
    case Packing::U8:
      return 8;
    case Packing::U10:
    case Packing::U10p:
    case Packing::U10Packed:
      return 10;
    case Packing::U12:
    case Packing::U12p:
    case Packing::U12Packed:
      return 12;
    case Packing::U16:
      return 16;
    default:
      return 24;
  }
}

constexpr bool IsPacked(Packing packing) {
  return packing == Packing::U10p || packing == Packing::U10Packed || packing == Packing::U12p ||
         packing == Packing::U12Packed;
}

/// Bytes of `count` samples, rounded up, without overflow for any count that an image can have.
constexpr size_t SampleBytes(Packing packing, size_t count) {
  const Primitives::Group group = Primitives::GroupOf(packing);
  const size_t rest = count % group.samples;
  return count / group.samples * group.bytes +
         (rest * group.bytes + group.samples - 1) / group.samples;
}

/// Bytes in front of sample `first`, which begins a group.
constexpr size_t SampleOffset(Packing packing, size_t first) {
  const Primitives::Group group = Primitives::GroupOf(packing);
  return first / group.samples * group.bytes;
}

/// Samples of one block: whole groups and whole pixels of every layout (a multiple of 2, 3, 4, 6),
/// small enough that raw bytes, values and results stay in the cache.
inline constexpr size_t sk_blockSamples = 3072;

/// Packed samples are unpacked to the top of 16-bit words; below them stand so many zero bits.
constexpr unsigned ZeroBits(Packing packing) {
  return IsPacked(packing) ? 16 - BitsOf(packing) : 0;
}

/// A packing whose samples are whole bytes: that of the unpacked samples.
constexpr Packing Unpacked(Packing packing) {
  return IsPacked(packing) ? Packing::U16 : packing;
}

/// Unpacks count <= sk_blockSamples samples of a packed layout to words.
template <Packing packing>
void UnpackBlock(const uint8_t* pSrc, size_t count, uint16_t* pWords) {
  static_assert(IsPacked(packing));
  Primitives::FindDepthKernel(packing, Packing::U16)(pSrc, reinterpret_cast<uint8_t*>(pWords),
                                                     static_cast<uint32_t>(count), 1);
}

/// The way back, into exactly SampleBytes bytes.
template <Packing packing>
void PackBlock(const uint16_t* pWords, size_t count, uint8_t* pDst) {
  static_assert(IsPacked(packing));
  Primitives::FindDepthKernel(Packing::U16, packing)(reinterpret_cast<const uint8_t*>(pWords), pDst,
                                                     static_cast<uint32_t>(count), 1);
}

/// Samples of 24 bits, low byte first.
inline uint32_t Load24(const uint8_t* p) {
  return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16;
}
inline void Store24(uint8_t* p, uint32_t value) {
  p[0] = static_cast<uint8_t>(value);
  p[1] = static_cast<uint8_t>(value >> 8);
  p[2] = static_cast<uint8_t>(value >> 16);
}

inline uint16_t LoadWord(const uint8_t* p) {
  uint16_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

/// Calls work(first, count) for all blocks of `samples` samples, on several threads when the
/// `bytes` that are read and written are worth it.
template <class Work>
void ForSampleBlocks(size_t samples, size_t bytes, Work&& work) {
  const size_t blocks = samples / sk_blockSamples + (samples % sk_blockSamples != 0);
  Primitives::SplitRows(blocks, bytes, [&](size_t firstBlock, size_t lastBlock) {
    for (size_t block = firstBlock; block < lastBlock; ++block) {
      const size_t first = block * sk_blockSamples;
      work(first, std::min(sk_blockSamples, samples - first));
    }
  });
}

/// The bytes of `count` samples from sample `first` on, which begins a block. Where the data end
/// before, they are moved to pPadded, which takes a whole block, and zeros put after them.
template <Packing packing>
const uint8_t* BlockBytes(const uint8_t* pData, size_t dataSize, size_t first, size_t count,
                          uint8_t* pPadded) {
  const size_t offset = SampleOffset(packing, first);
  const size_t wanted = SampleBytes(packing, count);
  if (offset <= dataSize && wanted <= dataSize - offset) return pData + offset;
  const size_t there = offset < dataSize ? dataSize - offset : 0;
  std::copy_n(pData + (there ? offset : 0), there, pPadded);
  std::fill(pPadded + there, pPadded + wanted, uint8_t{0});
  return pPadded;
}

/// Calls work(pUnpacked, first, count) for each block: bytes, words or three bytes a sample, as
/// Unpacked(packing) says. dataSize is what may be read at pData, bytes what is read and written.
template <Packing packing, class Work>
void ForSamples(const uint8_t* pData, size_t dataSize, size_t samples, size_t bytes, Work&& work) {
  ForSampleBlocks(samples, bytes, [&](size_t first, size_t count) {
    alignas(64) uint8_t padded[SampleBytes(packing, sk_blockSamples)];
    const uint8_t* const pRaw = BlockBytes<packing>(pData, dataSize, first, count, padded);
    if constexpr (IsPacked(packing)) {
      alignas(64) uint16_t words[sk_blockSamples];
      UnpackBlock<packing>(pRaw, count, words);
      work(reinterpret_cast<const uint8_t*>(words), first, count);
    } else {
      work(pRaw, first, count);
    }
  });
}

}  // namespace Orvex
