// SPDX-License-Identifier: Apache-2.0
#include "primitives/BitDepth.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "primitives/BitDepth.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "primitives/Stream-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::HWY_NAMESPACE {

// Packed samples are handled eight at a time in 128 bits, which all instruction sets shuffle alike.
// In between they stand in the top bits of 16, whatever their packing.
using D8 = hn::CappedTag<uint8_t, 16>;
using D16 = hn::CappedTag<uint16_t, 8>;
using D32 = hn::CappedTag<uint32_t, 4>;
using D64 = hn::CappedTag<uint64_t, 2>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;

// Takes the bytes of the given positions; 0x80 gives zero.
#define ORVEX_SHUFFLE(v, ...)                                    \
  Shuffle(v, [] {                                                \
    alignas(16) static constexpr uint8_t at[16] = {__VA_ARGS__}; \
    return at;                                                   \
  }())
HWY_INLINE V8 Shuffle(V8 v, const uint8_t* at) {
  return hn::TableLookupBytesOr0(v, hn::Load(D8(), at));
}

// Two constants for the even and the odd sample of a pair.
HWY_INLINE V16 Pairwise(uint16_t even, uint16_t odd) {
  return hn::BitCast(D16(), hn::Set(D32(), uint32_t(odd) << 16 | even));
}

// Writes the bytes of the given positions; where the table says 0x80, dst stays as it is.
HWY_INLINE void MergeBytes(V8 v, const uint8_t* at, uint8_t* dst) {
  const V8 positions = hn::Load(D8(), at);
  const V8 kept = hn::IfThenElseZero(hn::Eq(positions, hn::Set(D8(), 0x80)), hn::LoadU(D8(), dst));
  hn::StoreU(hn::Or(kept, hn::TableLookupBytesOr0(v, positions)), D8(), dst);
}

template <Packing>
struct Coder;

template <>
struct Coder<Packing::U10p> {
  static HWY_INLINE V16 ToTop(V8 raw) {
    // Sample k begins at bit 2 (k mod 4) of its first byte.
    const V16 words =
        hn::BitCast(D16(), ORVEX_SHUFFLE(raw, 0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9));
    const V16 weights = hn::BitCast(D16(), hn::Set(D64(), 0x0001000400100040u));
    return hn::And(hn::Mul(words, weights), hn::Set(D16(), 0xFFC0));
  }
  static HWY_INLINE V8 FromTop(V16 top) {
    const auto ten = hn::BitCast(D32(), hn::ShiftRight<6>(top));
    const auto twenty =
        hn::BitCast(D64(), hn::Or(hn::And(ten, hn::Set(D32(), 0x3FFu)),
                                  hn::And(hn::ShiftRight<6>(ten), hn::Set(D32(), 0xFFC00u))));
    const auto forty = hn::Or(hn::And(twenty, hn::Set(D64(), 0xFFFFFu)),
                              hn::And(hn::ShiftRight<12>(twenty), hn::Set(D64(), 0xFFFFF00000u)));
    return ORVEX_SHUFFLE(hn::BitCast(D8(), forty), 0, 1, 2, 3, 4, 8, 9, 10, 11, 12, 0x80, 0x80,
                         0x80, 0x80, 0x80, 0x80);
  }
};

template <>
struct Coder<Packing::U12p> {
  static HWY_INLINE V16 ToTop(V8 raw) {
    const V16 words =
        hn::BitCast(D16(), ORVEX_SHUFFLE(raw, 0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11));
    return hn::And(hn::Mul(words, Pairwise(16, 1)), hn::Set(D16(), 0xFFF0));
  }
  static HWY_INLINE V8 FromTop(V16 top) {
    const auto twelve = hn::BitCast(D32(), hn::ShiftRight<4>(top));
    const auto pairs = hn::Or(hn::And(twelve, hn::Set(D32(), 0xFFFu)),
                              hn::And(hn::ShiftRight<4>(twelve), hn::Set(D32(), 0xFFF000u)));
    return ORVEX_SHUFFLE(hn::BitCast(D8(), pairs), 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80,
                         0x80, 0x80, 0x80);
  }
};

// Both GigE Vision packings: the low bits of the pair stand in the nibbles of the byte between the
// high ones.
template <int Bits>
struct PairCoder {
  static constexpr uint16_t sk_low = (1 << (Bits - 8)) - 1;

  static HWY_INLINE V16 ToTop(V8 raw) {
    const V16 words =
        hn::BitCast(D16(), ORVEX_SHUFFLE(raw, 1, 0, 1, 2, 4, 3, 4, 5, 7, 6, 7, 8, 10, 9, 10, 11));
    const V16 low = hn::Mul(hn::And(words, Pairwise(sk_low, sk_low << 4)),
                            Pairwise(1 << (16 - Bits), 1 << (12 - Bits)));
    return hn::Or(hn::And(words, hn::Set(D16(), 0xFF00)), low);
  }
  static HWY_INLINE V8 FromTop(V16 top) {
    const V16 even = hn::And(hn::ShiftRight<16 - Bits>(top), Pairwise(sk_low, 0));
    const V16 odd = hn::And(hn::ShiftRight<12 - Bits>(top), Pairwise(0, sk_low << 4));
    const auto low = hn::BitCast(D32(), hn::Or(even, odd));
    const auto middle = hn::And(hn::Or(low, hn::ShiftRight<16>(low)), hn::Set(D32(), 0xFFu));
    const auto bytes =
        hn::Or(hn::BitCast(D8(), hn::And(top, hn::Set(D16(), 0xFF00))), hn::BitCast(D8(), middle));
    return ORVEX_SHUFFLE(bytes, 1, 0, 3, 5, 4, 7, 9, 8, 11, 13, 12, 15, 0x80, 0x80, 0x80, 0x80);
  }
};
template <>
struct Coder<Packing::U10Packed> : PairCoder<10> {};
template <>
struct Coder<Packing::U12Packed> : PairCoder<12> {};

// Bytes of eight samples.
constexpr size_t EightOf(Packing packing) {
  return BytesOf(packing, 8);
}

// ---- Blocks for Stream

template <Packing From, Packing To>
struct Block;

// Packed to 16 bits, and back.
template <Packing P>
struct Block<P, Packing::U16> {
  static size_t Samples() { return 8; }
  static constexpr size_t sk_read = 16, sk_written = 16;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    hn::StoreU(hn::BitCast(D8(), Coder<P>::ToTop(hn::LoadU(D8(), src))), D8(), dst);
  }
};
template <Packing P>
struct Block<Packing::U16, P> {
  static size_t Samples() { return 8; }
  static constexpr size_t sk_read = 16, sk_written = 16;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    hn::StoreU(Coder<P>::FromTop(hn::BitCast(D16(), hn::LoadU(D8(), src))), D8(), dst);
  }
};

// Packed to 8 bits, and back.
template <Packing P>
struct Block<P, Packing::U8> {
  static size_t Samples() { return 16; }
  static constexpr size_t sk_read = EightOf(P) + 16, sk_written = 16;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    const V8 low = hn::BitCast(D8(), Coder<P>::ToTop(hn::LoadU(D8(), src)));
    const V8 high = hn::BitCast(D8(), Coder<P>::ToTop(hn::LoadU(D8(), src + EightOf(P))));
    hn::StoreU(hn::ConcatOdd(D8(), high, low), D8(), dst);
  }
};
template <Packing P>
struct Block<Packing::U8, P> {
  static size_t Samples() { return 16; }
  static constexpr size_t sk_read = 16, sk_written = EightOf(P) + 16;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    const V8 v = hn::LoadU(D8(), src), zero = hn::Zero(D8());
    hn::StoreU(Coder<P>::FromTop(hn::BitCast(D16(), hn::InterleaveLower(D8(), zero, v))), D8(),
               dst);
    hn::StoreU(Coder<P>::FromTop(hn::BitCast(D16(), hn::InterleaveUpper(D8(), zero, v))), D8(),
               dst + EightOf(P));
  }
};

// From 8 bits the byte between the high ones stays as it is.
struct Outer8 {
  static size_t Samples() { return 32; }
  static constexpr size_t sk_read = 32, sk_written = 48;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    constexpr uint8_t z = 0x80;
    alignas(16) static constexpr uint8_t sk_outer[3][16] = {
        {0, z, 1, 2, z, 3, 4, z, 5, 6, z, 7, 8, z, 9, 10},
        {z, 3, 4, z, 5, 6, z, 7, 8, z, 9, 10, z, 11, 12, z},
        {5, 6, z, 7, 8, z, 9, 10, z, 11, 12, z, 13, 14, z, 15}};
    for (int i = 0; i < 3; ++i) MergeBytes(hn::LoadU(D8(), src + 8 * i), sk_outer[i], dst + 16 * i);
  }
};
template <>
struct Block<Packing::U8, Packing::U10Packed> : Outer8 {};
template <>
struct Block<Packing::U8, Packing::U12Packed> : Outer8 {};

// Unpacked samples are shifted in full vectors.
using W8 = hn::ScalableTag<uint8_t>;
using W16 = hn::ScalableTag<uint16_t>;
constexpr size_t sk_wide = hn::MaxLanes(W8());

template <int Shift>
struct Narrow {
  static size_t Samples() { return hn::Lanes(W8()); }
  static constexpr size_t sk_read = 2 * sk_wide, sk_written = sk_wide;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    const W8 d;
    const auto low = hn::LoadU(d, src), high = hn::LoadU(d, src + hn::Lanes(d));
    if constexpr (Shift == 8) {
      hn::StoreU(hn::ConcatOdd(d, high, low), d, dst);
    } else {
      const auto shifted = [&](auto v) HWY_ATTR {
        return hn::BitCast(d, hn::ShiftRight<Shift>(hn::BitCast(W16(), v)));
      };
      hn::StoreU(hn::ConcatEven(d, shifted(high), shifted(low)), d, dst);
    }
  }
};
template <int Shift>
struct Widen {
  static size_t Samples() { return hn::Lanes(W16()); }
  static constexpr size_t sk_read = sk_wide / 2, sk_written = sk_wide;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    const W16 d;
    const auto v = hn::PromoteTo(d, hn::LoadU(hn::Rebind<uint8_t, W16>(), src));
    hn::StoreU(hn::BitCast(W8(), hn::ShiftLeft<Shift>(v)), W8(), dst);
  }
};
template <int Left, int Right>
struct Shift16 {
  static size_t Samples() { return hn::Lanes(W16()); }
  static constexpr size_t sk_read = sk_wide, sk_written = sk_wide;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    const auto v = hn::BitCast(W16(), hn::LoadU(W8(), src));
    hn::StoreU(hn::BitCast(W8(), hn::ShiftRight<Right>(hn::ShiftLeft<Left>(v))), W8(), dst);
  }
};
template <>
struct Block<Packing::U10, Packing::U8> : Narrow<2> {};
template <>
struct Block<Packing::U12, Packing::U8> : Narrow<4> {};
template <>
struct Block<Packing::U16, Packing::U8> : Narrow<8> {};
template <>
struct Block<Packing::U8, Packing::U10> : Widen<2> {};
template <>
struct Block<Packing::U8, Packing::U12> : Widen<4> {};
template <>
struct Block<Packing::U10, Packing::U16> : Shift16<6, 0> {};
template <>
struct Block<Packing::U12, Packing::U16> : Shift16<4, 0> {};
template <>
struct Block<Packing::U16, Packing::U10> : Shift16<0, 6> {};
template <>
struct Block<Packing::U16, Packing::U12> : Shift16<0, 4> {};

// The low byte of each value stays as it is.
template <>
struct Block<Packing::U8, Packing::U16> {
  static size_t Samples() { return hn::Lanes(W16()); }
  static constexpr size_t sk_read = sk_wide / 2, sk_written = sk_wide;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    const W16 d;
    const auto v = hn::ShiftLeft<8>(hn::PromoteTo(d, hn::LoadU(hn::Rebind<uint8_t, W16>(), src)));
    const auto kept = hn::And(hn::BitCast(d, hn::LoadU(W8(), dst)), hn::Set(d, 0x00FF));
    hn::StoreU(hn::BitCast(W8(), hn::Or(v, kept)), W8(), dst);
  }
};

template <>
struct Block<Packing::U24, Packing::U8> {
  static size_t Samples() { return 16; }
  static constexpr size_t sk_read = 48, sk_written = 16;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    constexpr uint8_t z = 0x80;
    const V8 a =
        ORVEX_SHUFFLE(hn::LoadU(D8(), src), 2, 5, 8, 11, 14, z, z, z, z, z, z, z, z, z, z, z);
    const V8 b =
        ORVEX_SHUFFLE(hn::LoadU(D8(), src + 16), z, z, z, z, z, 1, 4, 7, 10, 13, z, z, z, z, z, z);
    const V8 c =
        ORVEX_SHUFFLE(hn::LoadU(D8(), src + 32), z, z, z, z, z, z, z, z, z, z, 0, 3, 6, 9, 12, 15);
    hn::StoreU(hn::Or(hn::Or(a, b), c), D8(), dst);
  }
};

// The lower two bytes of each value stay as they are.
template <>
struct Block<Packing::U8, Packing::U24> {
  static size_t Samples() { return 16; }
  static constexpr size_t sk_read = 16, sk_written = 48;
  static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {
    constexpr uint8_t z = 0x80;
    alignas(16) static constexpr uint8_t sk_top[3][16] = {
        {z, z, 0, z, z, 1, z, z, 2, z, z, 3, z, z, 4, z},
        {z, 5, z, z, 6, z, z, 7, z, z, 8, z, z, 9, z, z},
        {10, z, z, 11, z, z, 12, z, z, 13, z, z, 14, z, z, 15}};
    const V8 v = hn::LoadU(D8(), src);
    for (int i = 0; i < 3; ++i) MergeBytes(v, sk_top[i], dst + 16 * i);
  }
};

// ---- YCbCr regrouping, two groups of four pixels a block

#define ORVEX_REGROUP(from, to, ...)                                           \
  template <>                                                                  \
  struct Block<Packing::from, Packing::to> {                                   \
    static size_t Samples() { return 8; }                                      \
    static constexpr size_t sk_read = 16, sk_written = 16;                     \
    static HWY_INLINE void Run(const uint8_t* src, uint8_t* dst) {             \
      hn::StoreU(ORVEX_SHUFFLE(hn::LoadU(D8(), src), __VA_ARGS__), D8(), dst); \
    }                                                                          \
  };
ORVEX_REGROUP(UYYVYY, UYVY, 0, 1, 3, 2, 0, 4, 3, 5, 6, 7, 9, 8, 6, 10, 9, 11)
ORVEX_REGROUP(YYUYYV, YUYV, 0, 2, 1, 5, 3, 2, 4, 5, 6, 8, 7, 11, 9, 8, 10, 11)
ORVEX_REGROUP(UYVY, UYYVYY, 0, 1, 3, 2, 5, 7, 8, 9, 11, 10, 13, 15, 0x80, 0x80, 0x80, 0x80)
ORVEX_REGROUP(YUYV, YYUYYV, 0, 2, 1, 4, 6, 3, 8, 10, 9, 12, 14, 11, 0x80, 0x80, 0x80, 0x80)
#undef ORVEX_REGROUP

#define ORVEX_RANGE(name, from, to)                                                     \
  void name##Range(const uint8_t* src, uint8_t* dst, size_t n) {                        \
    Stream<Block<Packing::from, Packing::to>, Packing::from, Packing::to>(src, dst, n); \
  }
ORVEX_DEPTH_KERNELS(ORVEX_RANGE)
#undef ORVEX_RANGE

}  // namespace Orvex::Primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <algorithm>

#include "primitives/RowThreads.h"

namespace Orvex::Primitives {
namespace {

using Range = void (*)(const uint8_t* src, uint8_t* dst, size_t n);

// Samples that a thread takes at once; whole groups of every packing.
constexpr size_t sk_unit = 4096;

constexpr bool IsYuv(Packing packing) {
  return packing >= Packing::UYVY;
}

// Of n samples, those that a kernel writes. Kept on purpose: these two stop early.
constexpr size_t Written(Packing from, Packing to, size_t n) {
  if (to != Packing::U8 || n == 0) return n;
  if (from == Packing::U10Packed) return n < 5 ? 1 : (n - 3) / 2 * 2 + 1;
  if (from == Packing::U12Packed) return n < 3 ? 1 : (n - 1) / 2 * 2 + 1;
  return n;
}

// The last one to three pixels of a YCbCr image, whose group lacks chroma bytes: those of the group
// before stand in, or grey.
void FinishYuv(Packing from, Packing to, Range range, const uint8_t* src, uint8_t* dst,
               size_t first, size_t n) {
  const Group in = GroupOf(from);
  uint8_t group[8], out[8];
  const uint8_t* rest = src + first / 4 * in.bytes;
  if (first > 0)
    std::copy_n(rest - in.bytes, in.bytes, group);
  else
    std::fill_n(group, in.bytes, uint8_t(128));
  std::copy_n(rest, BytesOf(from, n - first), group);
  range(group, out, 4);
  std::copy_n(out, BytesOf(to, n - first), dst + first / 4 * GroupOf(to).bytes);
}

void Run(Packing from, Packing to, Range range, const uint8_t* src, uint8_t* dst, uint32_t width,
         uint32_t height) {
  const uint32_t pixels = width * height;
  const size_t n = Written(from, to, pixels);
  const size_t whole = IsYuv(from) ? n / 4 * 4 : n;
  SplitRows((whole + sk_unit - 1) / sk_unit, BytesOf(from, n) + BytesOf(to, n),
            [&](size_t first, size_t last) {
              const size_t begin = first * sk_unit, end = std::min(last * sk_unit, whole);
              range(src + BytesOf(from, begin), dst + BytesOf(to, begin), end - begin);
            });
  if (whole < n) FinishYuv(from, to, range, src, dst, whole, n);
}

}  // namespace

#define ORVEX_DEFINE(name, from, to)                                                             \
  HWY_EXPORT(name##Range);                                                                       \
  void name(const uint8_t* src, uint8_t* dst, uint32_t width, uint32_t height) {                 \
    Run(Packing::from, Packing::to, HWY_DYNAMIC_DISPATCH(name##Range), src, dst, width, height); \
  }
ORVEX_DEPTH_KERNELS(ORVEX_DEFINE)
#undef ORVEX_DEFINE

}  // namespace Orvex::Primitives

#endif  // HWY_ONCE
