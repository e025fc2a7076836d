// SPDX-License-Identifier: Apache-2.0
#include "Orvex/Qoi.h"
#include "Orvex/Limits.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

namespace Orvex {

namespace {

struct FreeDeleter {
  void operator()(uint8_t* p) const { std::free(p); }
};
using Bytes = std::unique_ptr<uint8_t, FreeDeleter>;

Bytes Allocate(size_t size) {
  return Bytes(static_cast<uint8_t*>(std::malloc(size)));
}

// The published tags. Those of eight bits go before those of two.
constexpr uint8_t sk_tagRgb = 0xFE;
constexpr uint8_t sk_tagRgba = 0xFF;
constexpr uint8_t sk_tagIndex = 0x00;
constexpr uint8_t sk_tagDiff = 0x40;
constexpr uint8_t sk_tagLuma = 0x80;
constexpr uint8_t sk_tagRun = 0xC0;
constexpr uint8_t sk_tagMask = 0xC0;
constexpr uint8_t sk_countMask = 0x3F;
// Longer runs would collide with the tags of eight bits.
constexpr size_t sk_maxColourRun = 62;

// The tags of the grey variant, told apart by their two top bits.
constexpr uint8_t sk_greyDiff = 0x00;
constexpr uint8_t sk_greyLiteral = 0x40;
constexpr uint8_t sk_greyPairs = 0x80;
constexpr uint8_t sk_greyRun = 0xC0;
constexpr size_t sk_maxGreyCount = 64;

constexpr uint8_t sk_padding[Qoi::sk_paddingSize] = {0, 0, 0, 0, 0, 0, 0, 1};

// The most pixels that one byte of a stream can stand for.
constexpr size_t sk_maxPixelsPerByte = 64;

uint32_t ReadBigEndian(const uint8_t* p) {
  return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

void WriteBigEndian(uint8_t* p, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) *p++ = static_cast<uint8_t>(value >> shift);
}

// Whether the description is one that may be coded: sizes and colour space.
bool IsPlausible(const qoi_desc& desc) {
  return desc.width != 0 && desc.height != 0 && desc.colorspace <= 1 &&
         uint64_t{desc.width} * desc.height < sk_maxQoiPixels;
}

// The chunks of a stream, after its header has been read and checked.
struct Chunks {
  const uint8_t* p = nullptr;
  const uint8_t* pEnd = nullptr;
};

// False when there is no valid header, or when the chunks are too few bytes for the pixels.
bool OpenStream(const void* pData, int size, qoi_desc* pDesc, Chunks& chunks) {
  constexpr size_t sk_minSize = Qoi::sk_headerSize + Qoi::sk_paddingSize;
  if (!pData || !pDesc || size < static_cast<int>(sk_minSize)) return false;
  const auto* const p = static_cast<const uint8_t*>(pData);
  const qoi_desc desc{ReadBigEndian(p + 4), ReadBigEndian(p + 8), p[Qoi::sk_channelsOffset],
                      p[Qoi::sk_channelsOffset + 1]};
  if (ReadBigEndian(p) != Qoi::sk_magic || !IsPlausible(desc)) return false;
  const size_t chunkSize = static_cast<size_t>(size) - sk_minSize;
  if (uint64_t{desc.width} * desc.height > uint64_t{chunkSize} * sk_maxPixelsPerByte) return false;
  *pDesc = desc;
  chunks = {p + Qoi::sk_headerSize, p + Qoi::sk_headerSize + chunkSize};
  return true;
}

uint8_t* WriteHeader(uint8_t* p, const qoi_desc& desc) {
  WriteBigEndian(p, Qoi::sk_magic);
  WriteBigEndian(p + 4, desc.width);
  WriteBigEndian(p + 8, desc.height);
  p[Qoi::sk_channelsOffset] = desc.channels;
  p[Qoi::sk_channelsOffset + 1] = desc.colorspace;
  return p + Qoi::sk_headerSize;
}

// ---- Colour ------------------------------------------------------------------------------------

struct Pixel {
  uint8_t r, g, b, a;
};

unsigned IndexOf(const Pixel& pixel) {
  return (pixel.r * 3u + pixel.g * 5u + pixel.b * 7u + pixel.a * 11u) % 64;
}

template <size_t channels>
void Store(uint8_t*& pOut, const Pixel& pixel) {
  pOut[0] = pixel.r;
  pOut[1] = pixel.g;
  pOut[2] = pixel.b;
  if constexpr (channels == 4) pOut[3] = pixel.a;
  pOut += channels;
}

// False when the chunks end before the pixels do.
template <size_t channels>
bool DecodeColour(Chunks chunks, uint8_t* pOut, uint8_t* const pOutEnd) {
  const uint8_t* p = chunks.p;
  Pixel index[64] = {};
  Pixel pixel{0, 0, 0, 255};
  while (pOut < pOutEnd) {
    if (p >= chunks.pEnd) return false;
    // What follows the first byte lies within the stream: at most four bytes, and the padding has
    // eight. Whether it lay within the chunks is asked by the next round or at the end.
    const uint8_t tag = *p++;
    if (tag == sk_tagRgb) {
      pixel = {p[0], p[1], p[2], pixel.a};
      p += 3;
    } else if (tag == sk_tagRgba) {
      pixel = {p[0], p[1], p[2], p[3]};
      p += 4;
    } else if ((tag & sk_tagMask) == sk_tagIndex) {
      pixel = index[tag];
    } else if ((tag & sk_tagMask) == sk_tagDiff) {
      pixel.r = static_cast<uint8_t>(pixel.r + (tag >> 4 & 3) - 2);
      pixel.g = static_cast<uint8_t>(pixel.g + (tag >> 2 & 3) - 2);
      pixel.b = static_cast<uint8_t>(pixel.b + (tag & 3) - 2);
    } else if ((tag & sk_tagMask) == sk_tagLuma) {
      const uint8_t second = *p++;
      const int green = (tag & sk_countMask) - 32;
      pixel.r = static_cast<uint8_t>(pixel.r + green + (second >> 4) - 8);
      pixel.g = static_cast<uint8_t>(pixel.g + green);
      pixel.b = static_cast<uint8_t>(pixel.b + green + (second & 15) - 8);
    } else {
      const size_t room = static_cast<size_t>(pOutEnd - pOut) / channels;
      size_t run = std::min<size_t>((tag & sk_countMask) + size_t{1}, room);
      for (; run > 1; --run) Store<channels>(pOut, pixel);
    }
    index[IndexOf(pixel)] = pixel;
    Store<channels>(pOut, pixel);
  }
  return p <= chunks.pEnd;
}

// A pixel in one register: red in the low byte, alpha in the high one. The encoder compares whole
// pixels all the time.
template <size_t channels>
uint32_t LoadPixel(const uint8_t* p) {
  if constexpr (channels == 4) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
  } else {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | 0xFF000000u;
  }
}

unsigned IndexOf(uint32_t pixel) {
  return ((pixel & 0xFF) * 3 + (pixel >> 8 & 0xFF) * 5 + (pixel >> 16 & 0xFF) * 7 +
          (pixel >> 24) * 11) %
         64;
}

uint8_t* PutRun(uint8_t* p, size_t run) {
  for (; run > sk_maxColourRun; run -= sk_maxColourRun) *p++ = sk_tagRun | (sk_maxColourRun - 1);
  if (run != 0) *p++ = static_cast<uint8_t>(sk_tagRun | (run - 1));
  return p;
}

// A pixel of the same alpha as the one before it.
uint8_t* PutColour(uint8_t* p, uint32_t pixel, uint32_t previous) {
  const auto difference = [=](int shift) {
    return static_cast<int8_t>((pixel >> shift) - (previous >> shift));
  };
  const int red = difference(0), green = difference(8), blue = difference(16);
  const int redToGreen = static_cast<int8_t>(red - green);
  const int blueToGreen = static_cast<int8_t>(blue - green);
  // All in range at once: one branch for three numbers, whose signs no processor can foresee.
  const auto small = static_cast<unsigned>((red + 2) | (green + 2) | (blue + 2));
  const auto chroma = static_cast<unsigned>((redToGreen + 8) | (blueToGreen + 8));
  if (small < 4) {
    *p++ = static_cast<uint8_t>(sk_tagDiff | (red + 2) << 4 | (green + 2) << 2 | (blue + 2));
  } else if (chroma < 16 && static_cast<unsigned>(green + 32) < 64) {
    *p++ = static_cast<uint8_t>(sk_tagLuma | (green + 32));
    *p++ = static_cast<uint8_t>((redToGreen + 8) << 4 | (blueToGreen + 8));
  } else {
    *p++ = sk_tagRgb;
    *p++ = static_cast<uint8_t>(pixel);
    *p++ = static_cast<uint8_t>(pixel >> 8);
    *p++ = static_cast<uint8_t>(pixel >> 16);
  }
  return p;
}

template <size_t channels>
uint8_t* EncodeColour(const uint8_t* pIn, size_t pixels, uint8_t* p) {
  const uint8_t* const pEnd = pIn + pixels * channels;
  uint32_t index[64] = {};
  uint32_t previous = 0xFF000000u;
  while (pIn < pEnd) {
    const uint32_t pixel = LoadPixel<channels>(pIn);
    if (pixel == previous) {
      const uint8_t* const pRun = pIn;
      while (pIn < pEnd && LoadPixel<channels>(pIn) == previous) pIn += channels;
      p = PutRun(p, static_cast<size_t>(pIn - pRun) / channels);
      continue;
    }
    pIn += channels;
    const unsigned at = IndexOf(pixel);
    if (index[at] == pixel) {
      *p++ = static_cast<uint8_t>(sk_tagIndex | at);
    } else {
      index[at] = pixel;
      if (channels == 3 || pixel >> 24 == previous >> 24) {
        p = PutColour(p, pixel, previous);
      } else {
        *p++ = sk_tagRgba;
        for (int shift = 0; shift < 32; shift += 8) *p++ = static_cast<uint8_t>(pixel >> shift);
      }
    }
    previous = pixel;
  }
  return p;
}

// ---- Grey --------------------------------------------------------------------------------------

// Sixteen pixels at once. What is too much of them, and of the copies of whole chunks, lands in the
// room behind the last pixel or is overwritten by the next chunk.
using Pixels = uint8_t __attribute__((vector_size(16)));
using Halves = uint64_t __attribute__((vector_size(16)));
constexpr size_t sk_greyRoom = sk_maxGreyCount;

// Each byte plus all before it.
Pixels Summed(Pixels v) {
  const Pixels zero = {};
  v += __builtin_shufflevector(zero, v, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29,
                               30);
  v += __builtin_shufflevector(zero, v, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28,
                               29);
  v += __builtin_shufflevector(zero, v, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26,
                               27);
  v += __builtin_shufflevector(zero, v, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                               23);
  return v;
}

// Writes `count` (1 to 16) pixels, each the one before plus its difference; returns the last.
[[gnu::always_inline]] inline uint8_t PutDifferences(Pixels differences, size_t count,
                                                     uint8_t pixel, uint8_t* pOut) {
  const Pixels sums = Summed(differences), pixels = sums + pixel;
  std::memcpy(pOut, &pixels, sizeof pixels);
  // Not read back from the pixels: the next chunk would wait for their store.
  const auto halves = reinterpret_cast<Halves>(sums);
  const size_t last = count - 1;
  return static_cast<uint8_t>(pixel + ((last < 8 ? halves[0] : halves[1]) >> last % 8 * 8));
}

Pixels Bytes8(uint64_t bytes) {
  return reinterpret_cast<Pixels>(Halves{bytes, 0});
}

// False when the chunks end before the pixels do, or hold more than the image. Behind the chunks
// stands the padding, so eight bytes may be read wherever a chunk has one; behind the pixels there
// is sk_greyRoom.
bool DecodeGrey(Chunks chunks, uint8_t* pOut, uint8_t* const pOutEnd) {
  static_assert(sizeof(uint64_t) <= Qoi::sk_paddingSize);
  const uint8_t* p = chunks.p;
  uint8_t pixel = 0;
  while (pOut < pOutEnd) {
    if (p >= chunks.pEnd) return false;
    const auto room = static_cast<size_t>(pOutEnd - pOut);
    uint64_t next;
    std::memcpy(&next, p, sizeof next);
    const auto tag = static_cast<uint8_t>(next);
    if ((tag & sk_tagMask) == sk_greyDiff) {
      // As many differences as follow each other.
      const uint64_t others = next & 0x0101010101010101u * sk_tagMask;
      const size_t follow = others ? static_cast<size_t>(__builtin_ctzll(others)) / 8 : 8;
      const size_t count = std::min({follow, room, static_cast<size_t>(chunks.pEnd - p)});
      pixel = PutDifferences(Bytes8(next) - uint8_t{32}, count, pixel, pOut);
      pOut += count;
      p += count;
      continue;
    }
    ++p;
    const size_t count = (tag & sk_countMask) + size_t{1};
    const auto bytes = static_cast<size_t>(chunks.pEnd - p);
    switch (tag & sk_tagMask) {
      case sk_greyLiteral:
        if (count > bytes || count > room) return false;
        std::memcpy(pOut, p, bytes >= sk_maxGreyCount ? sk_maxGreyCount : count);
        p += count;
        pOut += count;
        pixel = p[-1];
        break;
      case sk_greyPairs:
        if (count > bytes || count * 2 > room) return false;
        for (size_t i = 0; i < count; i += 8) {
          std::memcpy(&next, p + i, sizeof next);
          const Pixels high = Bytes8(next >> 4 & 0x0F0F0F0F0F0F0F0Fu);
          const Pixels low = Bytes8(next & 0x0F0F0F0F0F0F0F0Fu);
          const Pixels pairs = __builtin_shufflevector(high, low, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20,
                                                       5, 21, 6, 22, 7, 23);
          const size_t pixels = std::min<size_t>(count - i, 8) * 2;
          pixel = PutDifferences(pairs - uint8_t{8}, pixels, pixel, pOut);
          pOut += pixels;
        }
        p += count;
        break;
      default:
        if (count > room) return false;
        std::memset(pOut, pixel, sk_maxGreyCount);
        pOut += count;
        break;
    }
  }
  return true;
}

// Encodes the pixels from left to right; at each place what takes the fewest bits for a pixel.
class GreyEncoder {
 public:
  GreyEncoder(const uint8_t* pIn, size_t pixels, uint8_t* p)
      : m_pIn(pIn), m_pEnd(pIn + pixels), m_p(p) {}

  uint8_t* Run() {
    while (m_pIn < m_pEnd) {
      if (PutRun() || PutPairs() || PutDiff()) continue;
      PutLiterals();
    }
    return m_p;
  }

 private:
  static int Difference(uint8_t from, uint8_t to) { return static_cast<int8_t>(to - from); }
  static bool FitsNibble(int difference) { return difference >= -8 && difference < 8; }
  static bool FitsDiff(int difference) { return difference >= -32 && difference < 32; }

  // Whether the two pixels at p, coming after `before`, make a pair.
  bool IsPair(const uint8_t* p, uint8_t before) const {
    return m_pEnd - p >= 2 && FitsNibble(Difference(before, p[0])) &&
           FitsNibble(Difference(p[0], p[1]));
  }

  void Advance(size_t pixels) {
    m_pIn += pixels;
    m_before = m_pIn[-1];
  }

  // A run has to beat pairs, which take half a byte for a pixel.
  bool PutRun() {
    constexpr size_t sk_minRun = 3;
    const size_t most = std::min<size_t>(sk_maxGreyCount, static_cast<size_t>(m_pEnd - m_pIn));
    size_t run = 0;
    while (run < most && m_pIn[run] == m_before) ++run;
    if (run < sk_minRun && run != static_cast<size_t>(m_pEnd - m_pIn)) return false;
    if (run == 0) return false;
    *m_p++ = static_cast<uint8_t>(sk_greyRun | (run - 1));
    m_pIn += run;
    return true;
  }

  bool PutPairs() {
    size_t pairs = 0;
    const uint8_t* p = m_pIn;
    uint8_t before = m_before;
    while (pairs < sk_maxGreyCount && IsPair(p, before)) {
      // A longer run is worth leaving the pairs for.
      if (pairs != 0 && m_pEnd - p >= 8 && IsFlat(p, before)) break;
      m_p[1 + pairs++] =
          static_cast<uint8_t>((Difference(before, p[0]) + 8) << 4 | (Difference(p[0], p[1]) + 8));
      before = p[1];
      p += 2;
    }
    if (pairs == 0) return false;
    *m_p = static_cast<uint8_t>(sk_greyPairs | (pairs - 1));
    m_p += 1 + pairs;
    Advance(pairs * 2);
    return true;
  }

  static bool IsFlat(const uint8_t* p, uint8_t value) {
    return std::all_of(p, p + 8, [value](uint8_t pixel) { return pixel == value; });
  }

  bool PutDiff() {
    const int difference = Difference(m_before, *m_pIn);
    if (!FitsDiff(difference)) return false;
    *m_p++ = static_cast<uint8_t>(sk_greyDiff | (difference + 32));
    Advance(1);
    return true;
  }

  // A literal takes no more than a difference; only what begins two pairs is worth another tag.
  void PutLiterals() {
    const size_t most = std::min<size_t>(sk_maxGreyCount, static_cast<size_t>(m_pEnd - m_pIn));
    size_t count = 1;
    while (count < most && !BeginsTwoPairs(m_pIn + count)) ++count;
    *m_p++ = static_cast<uint8_t>(sk_greyLiteral | (count - 1));
    std::memcpy(m_p, m_pIn, count);
    m_p += count;
    Advance(count);
  }

  // p is not the first pixel.
  bool BeginsTwoPairs(const uint8_t* p) const {
    return FitsNibble(Difference(p[-1], p[0])) && m_pEnd - p >= 4 && IsPair(p, p[-1]) &&
           IsPair(p + 2, p[1]);
  }

  const uint8_t* m_pIn;
  const uint8_t* const m_pEnd;
  uint8_t* m_p;
  uint8_t m_before = 0;
};

// Room for the worst stream: no chunk takes more than channels + 1 bytes for a pixel.
size_t WorstSize(const qoi_desc& desc) {
  return size_t{desc.width} * desc.height * (desc.channels + size_t{1}) + Qoi::sk_headerSize +
         Qoi::sk_paddingSize;
}

// Ends the stream. What it did not need stays allocated: shrinking costs more than it gives.
uint8_t* Finish(Bytes bytes, uint8_t* p, int* pSize) {
  std::memcpy(p, sk_padding, sizeof sk_padding);
  const auto size = static_cast<size_t>(p + sizeof sk_padding - bytes.get());
  if (size > static_cast<size_t>(std::numeric_limits<int>::max())) return nullptr;
  *pSize = static_cast<int>(size);
  return bytes.release();
}

}  // namespace

uint8_t* qoi_colour_decode(const void* pData, int size, qoi_desc* pDesc, int channels) {
  qoi_desc desc;
  Chunks chunks;
  if (!pDesc || (channels != 0 && channels != 3 && channels != 4)) return nullptr;
  if (!OpenStream(pData, size, &desc, chunks)) return nullptr;
  if (desc.channels != 3 && desc.channels != 4) return nullptr;
  const size_t outChannels = channels == 0 ? desc.channels : static_cast<size_t>(channels);
  const size_t outSize = size_t{desc.width} * desc.height * outChannels;
  Bytes pixels = Allocate(outSize);
  if (!pixels) return nullptr;
  uint8_t* const pEnd = pixels.get() + outSize;
  const bool complete = outChannels == 3 ? DecodeColour<3>(chunks, pixels.get(), pEnd)
                                         : DecodeColour<4>(chunks, pixels.get(), pEnd);
  if (!complete) return nullptr;
  *pDesc = desc;
  return pixels.release();
}

uint8_t* qoi_grey_decode(const void* pData, int size, qoi_desc* pDesc, int channels) {
  qoi_desc desc;
  Chunks chunks;
  if (!pDesc || (channels != 0 && channels != 1)) return nullptr;
  if (!OpenStream(pData, size, &desc, chunks) || desc.channels != 1) return nullptr;
  const size_t outSize = size_t{desc.width} * desc.height;
  Bytes pixels = Allocate(outSize + sk_greyRoom);
  if (!pixels || !DecodeGrey(chunks, pixels.get(), pixels.get() + outSize)) return nullptr;
  *pDesc = desc;
  return pixels.release();
}

uint8_t* qoi_decode(const void* pData, int size, qoi_desc* pDesc, int channels) {
  if (uint8_t* pPixels = qoi_colour_decode(pData, size, pDesc, channels)) return pPixels;
  return qoi_grey_decode(pData, size, pDesc, channels);
}

uint8_t* qoi_colour_encode(const void* pData, const qoi_desc* pDesc, int* pSize) {
  if (!pData || !pDesc || !pSize || !IsPlausible(*pDesc)) return nullptr;
  if (pDesc->channels != 3 && pDesc->channels != 4) return nullptr;
  Bytes bytes = Allocate(WorstSize(*pDesc));
  if (!bytes) return nullptr;
  uint8_t* const p = WriteHeader(bytes.get(), *pDesc);
  const auto* const pIn = static_cast<const uint8_t*>(pData);
  const size_t pixels = size_t{pDesc->width} * pDesc->height;
  uint8_t* const pEnd =
      pDesc->channels == 3 ? EncodeColour<3>(pIn, pixels, p) : EncodeColour<4>(pIn, pixels, p);
  return Finish(std::move(bytes), pEnd, pSize);
}

uint8_t* qoi_grey_encode(const void* pData, const qoi_desc* pDesc, int* pSize) {
  if (!pData || !pDesc || !pSize || !IsPlausible(*pDesc) || pDesc->channels != 1) return nullptr;
  // A block of pairs is tried behind its tag before it is known whether there is one.
  Bytes bytes = Allocate(WorstSize(*pDesc) + 1 + sk_maxGreyCount);
  if (!bytes) return nullptr;
  uint8_t* const p = WriteHeader(bytes.get(), *pDesc);
  const size_t pixels = size_t{pDesc->width} * pDesc->height;
  uint8_t* const pEnd = GreyEncoder(static_cast<const uint8_t*>(pData), pixels, p).Run();
  return Finish(std::move(bytes), pEnd, pSize);
}

uint8_t* qoi_encode(const void* pData, const qoi_desc* pDesc, int* pSize) {
  return pDesc && pDesc->channels == 1 ? qoi_grey_encode(pData, pDesc, pSize)
                                       : qoi_colour_encode(pData, pDesc, pSize);
}

}  // namespace Orvex
