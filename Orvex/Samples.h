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
#include <type_traits>

#include "primitives/BitDepth.h"
#include "primitives/RowThreads.h"

namespace Orvex {

using Primitives::Packing;

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

/// The unpacked value of a sample, least significant bit first.
template <Packing packing>
using SampleValue =
    std::conditional_t<packing == Packing::U8, uint8_t,
                       std::conditional_t<packing == Packing::U24, uint32_t, uint16_t>>;

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

/// Unpacks count <= sk_blockSamples samples to LSB-aligned values. 10- and 12-bit words keep
/// whatever stands above their significant bits.
template <Packing packing>
void UnpackBlock(const uint8_t* pSrc, size_t count, SampleValue<packing>* pValues) {
  if constexpr (packing == Packing::U24) {
    for (size_t i = 0; i < count; ++i) {
      pValues[i] =
          uint32_t{pSrc[3 * i]} | uint32_t{pSrc[3 * i + 1]} << 8 | uint32_t{pSrc[3 * i + 2]} << 16;
    }
  } else if constexpr (IsPacked(packing)) {
    constexpr auto sk_unpack = Primitives::FindDepthKernel(packing, Packing::U16);
    sk_unpack(pSrc, reinterpret_cast<uint8_t*>(pValues), static_cast<uint32_t>(count), 1);
    for (size_t i = 0; i < count; ++i) {
      pValues[i] = static_cast<uint16_t>(pValues[i] >> (16 - BitsOf(packing)));
    }
  } else {
    std::memcpy(pValues, pSrc, SampleBytes(packing, count));
  }
}

/// Packs count <= sk_blockSamples LSB-aligned values, whose bits above the significant ones are
/// zero for packed layouts, into exactly SampleBytes bytes. The values are used up.
template <Packing packing>
void PackBlock(SampleValue<packing>* pValues, size_t count, uint8_t* pDst) {
  if constexpr (packing == Packing::U24) {
    for (size_t i = 0; i < count; ++i) {
      pDst[3 * i] = static_cast<uint8_t>(pValues[i]);
      pDst[3 * i + 1] = static_cast<uint8_t>(pValues[i] >> 8);
      pDst[3 * i + 2] = static_cast<uint8_t>(pValues[i] >> 16);
    }
  } else if constexpr (IsPacked(packing)) {
    for (size_t i = 0; i < count; ++i) {
      pValues[i] = static_cast<uint16_t>(pValues[i] << (16 - BitsOf(packing)));
    }
    constexpr auto sk_pack = Primitives::FindDepthKernel(Packing::U16, packing);
    sk_pack(reinterpret_cast<const uint8_t*>(pValues), pDst, static_cast<uint32_t>(count), 1);
  } else {
    std::memcpy(pDst, pValues, SampleBytes(packing, count));
  }
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

/// Unpacks all samples and calls work(values, first, count) for each block; the values may be
/// changed. dataSize is what may be read at pData.
template <Packing packing, class Work>
void ForSamples(const uint8_t* pData, size_t dataSize, size_t samples, size_t bytes, Work&& work) {
  ForSampleBlocks(samples, bytes, [&](size_t first, size_t count) {
    alignas(64) uint8_t padded[SampleBytes(packing, sk_blockSamples)];
    alignas(64) SampleValue<packing> values[sk_blockSamples];
    UnpackBlock<packing>(BlockBytes<packing>(pData, dataSize, first, count, padded), count, values);
    work(values, first, count);
  });
}

}  // namespace Orvex
