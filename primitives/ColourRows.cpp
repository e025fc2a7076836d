// SPDX-License-Identifier: Apache-2.0
#include "primitives/ColourRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "primitives/ColourRows.cpp"
// Its byte permutations take three channels apart and together.
#define HWY_WANT_AVX3_DL 1
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "primitives/Interleave-inl.h"
#include "primitives/WriteAround-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Eight-bit colours lie two pixels to a 16-bit lane, the even pixel in the low byte. Arithmetic
// takes them in the high byte of a lane, where a multiplication that keeps the upper half yields
// eight bits of fraction.
using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<uint16_t>;
using DS = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<uint32_t>;
using Block8 = hn::CappedTag<uint8_t, 16>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;
using VS = hn::VFromD<DS>;

// The longest vector in bytes; blocks at the end of a line work on copies of at most eight of them.
constexpr size_t sk_vector = hn::MaxLanes(D8());

// Runs Op::Run on blocks of Op::Pixels() pixels of Op::sk_in and Op::sk_out bytes: the pixels
// [x, end) of a line of n, to dst. A block may read and write up to Op::Read() and Op::Write()
// bytes; what it writes too much, the next block overwrites, or lies in the `room` bytes after the
// last pixel. The last pixels go through copies, which Op::Complete may extend.
template <class Op>
HWY_INLINE void RunPart(const RowParams& params, const uint8_t* HWY_RESTRICT src, size_t n,
                        size_t x, size_t end, uint8_t* HWY_RESTRICT dst, size_t room) {
  const size_t step = Op::Pixels();
  // Blocks that lie inside the line with all that they read and write.
  const size_t readReach = (Op::Read() + Op::sk_in - 1) / Op::sk_in;
  const size_t writeReach = (Op::Write() + Op::sk_out - 1) / Op::sk_out;
  const size_t writeEnd = end + room / Op::sk_out;
  for (; x < end && x + readReach <= n && x + writeReach <= writeEnd; x += step) {
    Op::Run(params, src + x * Op::sk_in, dst);
    dst += step * Op::sk_out;
  }
  while (x < end) {
    uint8_t in[8 * sk_vector] = {}, out[8 * sk_vector];
    const size_t part = std::min(end - x, step);
    std::memcpy(in, src + x * Op::sk_in, part * Op::sk_in);
    std::memcpy(out, dst, part * Op::sk_out);
    if (x + part == n && part % 2 != 0) Op::Complete(in + part * Op::sk_in, src, n);
    Op::Run(params, in, out);
    std::memcpy(dst, out, part * Op::sk_out);
    x += part;
    dst += part * Op::sk_out;
  }
}

template <class Op>
HWY_INLINE void RunRow(const RowParams& params, const uint8_t* HWY_RESTRICT src,
                       uint8_t* HWY_RESTRICT dst, size_t n) {
  if (Op::RunWide(params, src, dst, n)) return;
  if (!params.around || Op::Keeps(params)) return RunPart<Op>(params, src, n, 0, n, dst, 0);
  constexpr size_t sk_pixels = 1280, sk_room = 8 * sk_vector;
  alignas(64) uint8_t line[sk_pixels * Op::sk_out + sk_room];
  for (size_t x = 0; x < n; x += sk_pixels) {
    const size_t end = std::min(x + sk_pixels, n);
    RunPart<Op>(params, src, n, x, end, line, sk_room);
    AroundCopy copy;
    copy.Begin(line, dst + x * Op::sk_out, (end - x) * Op::sk_out);
    copy.Finish();
  }
  hwy::FlushStream();
}

// Blocks of full vectors, that read and write exactly their pixels.
template <size_t In, size_t Out>
struct Exact {
  static constexpr size_t sk_in = In, sk_out = Out;
  static void Complete(uint8_t*, const uint8_t*, size_t) {}
  // Whether bytes of the destination stay as they were.
  static bool Keeps(const RowParams&) { return false; }
  // Does the whole line in a way of its own, or nothing.
  static bool RunWide(const RowParams&, const uint8_t*, uint8_t*, size_t) { return false; }
};

HWY_INLINE V16 EvenInHigh(V8 v) {
  return hn::ShiftLeft<8>(hn::BitCast(D16(), v));
}
HWY_INLINE V16 OddInHigh(V8 v) {
  return hn::And(hn::BitCast(D16(), v), hn::Set(D16(), 0xFF00));
}

// The high bytes of even and odd pixels, back in their order.
HWY_INLINE V8 JoinHigh(V16 even, V16 odd) {
  return hn::BitCast(D8(), hn::Or(hn::ShiftRight<8>(even), hn::And(odd, hn::Set(D16(), 0xFF00))));
}

HWY_INLINE V16 Times(V16 high, uint16_t weight) {
  return hn::MulHigh(high, hn::Set(D16(), weight));
}

// ---- Grey

template <size_t Channels>
struct GreyTo8 : Exact<1, Channels> {
  static size_t Pixels() { return hn::Lanes(D8()); }
  static size_t Read() { return Pixels(); }
  static size_t Write() { return Pixels() * Channels; }
  static HWY_INLINE void Run(const RowParams& params, const uint8_t* src, uint8_t* dst) {
    const V8 v = hn::LoadU(D8(), src);
    if constexpr (Channels == 3)
      StoreThree(v, v, v, D8(), dst);
    else
      hn::StoreInterleaved4(v, v, v, hn::Set(D8(), params.alpha), D8(), dst);
  }
};
using GreyToRgb8C3 = GreyTo8<3>;
using GreyToRgb8C4 = GreyTo8<4>;

// One lane of 16 bits for each pixel, at any address.
HWY_INLINE V16 Load16(const uint8_t* p) {
  return hn::BitCast(D16(), hn::LoadU(D8(), p));
}
HWY_INLINE void Store16(V16 v, uint8_t* p) {
  hn::StoreU(hn::BitCast(D8(), v), D8(), p);
}

struct GreyToRgb16C3 : Exact<2, 6> {
  static size_t Pixels() { return 8; }
  static size_t Read() { return 16; }
  static size_t Write() { return 48; }
  static HWY_INLINE void Run(const RowParams&, const uint8_t* src, uint8_t* dst) {
    alignas(16) static constexpr uint8_t sk_thrice[3][16] = {
        {0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 4, 5, 4, 5},
        {4, 5, 6, 7, 6, 7, 6, 7, 8, 9, 8, 9, 8, 9, 10, 11},
        {10, 11, 10, 11, 12, 13, 12, 13, 12, 13, 14, 15, 14, 15, 14, 15}};
    const Block8 d;
    const auto v = hn::LoadU(d, src);
    for (int i = 0; i < 3; ++i)
      hn::StoreU(hn::TableLookupBytes(v, hn::Load(d, sk_thrice[i])), d, dst + 16 * i);
  }
};

HWY_INLINE V16 GreyOf(V16 a, V16 b, V16 c) {
  const V16 sum = hn::Add(hn::Add(Times(a, 19595), Times(b, 38470)), Times(c, 7471));
  return hn::Add(sum, hn::Set(D16(), 129));
}

template <size_t Channels>
struct ToGrey8 : Exact<Channels, 1> {
  static size_t Pixels() { return hn::Lanes(D8()); }
  static size_t Read() { return Pixels() * Channels; }
  static size_t Write() { return Pixels(); }
  static HWY_INLINE void Run(const RowParams&, const uint8_t* src, uint8_t* dst) {
    V8 a, b, c, unused;
    if constexpr (Channels == 3)
      LoadThree(D8(), src, a, b, c);
    else
      hn::LoadInterleaved4(D8(), src, a, b, c, unused);
    const V16 even = GreyOf(EvenInHigh(a), EvenInHigh(b), EvenInHigh(c));
    const V16 odd = GreyOf(OddInHigh(a), OddInHigh(b), OddInHigh(c));
    hn::StoreU(JoinHigh(even, odd), D8(), dst);
  }
};
using RgbToGrey8C3 = ToGrey8<3>;
using RgbToGrey8C4 = ToGrey8<4>;

// The whole 32 bits of the weighted sum, in halves: the carries out of the lower one are counted.
struct RgbToGrey16C3 : Exact<6, 2> {
  static size_t Pixels() { return hn::Lanes(D16()); }
  static size_t Read() { return Pixels() * 6; }
  static size_t Write() { return Pixels() * 2; }
  static HWY_INLINE void Run(const RowParams&, const uint8_t* src, uint8_t* dst) {
    const D16 d;
    V16 a, b, c;
    LoadThree(d, reinterpret_cast<const uint16_t*>(src), a, b, c);
    const V16 wa = hn::Set(d, 19595), wb = hn::Set(d, 38470), wc = hn::Set(d, 7471);
    V16 high = hn::Add(hn::Add(hn::MulHigh(a, wa), hn::MulHigh(b, wb)), hn::MulHigh(c, wc));
    V16 low = hn::Set(d, 0x8000);
    for (const V16 part : {hn::Mul(a, wa), hn::Mul(b, wb), hn::Mul(c, wc)}) {
      low = hn::Add(low, part);
      high = hn::Sub(high, hn::VecFromMask(d, hn::Lt(low, part)));
    }
    Store16(high, dst);
  }
};

// ---- Channel order

// Moves bytes within pixels by a table: as many pixels as fit 16 bytes on both sides, four times.
template <size_t In, size_t Out>
struct Shuffle : Exact<In, Out> {
  static constexpr size_t sk_part = 16 / (In > Out ? In : Out);
  static size_t Pixels() { return 4 * sk_part; }
  static size_t Read() { return 3 * sk_part * In + 16; }
  static size_t Write() { return 3 * sk_part * Out + 16; }
  static bool Keeps(const RowParams& params) { return params.table->keepsAny; }
  static HWY_INLINE void Run(const RowParams& params, const uint8_t* src,
                             uint8_t* HWY_RESTRICT dst) {
    const Block8 d;
    const ShuffleTable& table = *params.table;
    const auto at = hn::Load(d, table.at), fill = hn::Load(d, table.fill),
               keep = hn::Load(d, table.keep);
    const auto part = [&](size_t i) HWY_ATTR {
      return hn::Or(hn::TableLookupBytesOr0(hn::LoadU(d, src + i * sk_part * In), at), fill);
    };
    if (HWY_UNLIKELY(table.keepsAny)) {
      for (size_t i = 0; i < 4; ++i) {
        uint8_t* out = dst + i * sk_part * Out;
        hn::StoreU(hn::Or(part(i), hn::And(hn::LoadU(d, out), keep)), d, out);
      }
      return;
    }
    const auto a = part(0), b = part(1), c = part(2), e = part(3);
    hn::StoreU(a, d, dst);
    hn::StoreU(b, d, dst + sk_part * Out);
    hn::StoreU(c, d, dst + 2 * sk_part * Out);
    hn::StoreU(e, d, dst + 3 * sk_part * Out);
  }

#if HWY_TARGET == HWY_AVX3_DL
  // 64 pixels at a time: each vector of the destination is permuted from two of the source, and
  // goes to memory at once.
  static HWY_INLINE bool RunWide(const RowParams& params, const uint8_t* HWY_RESTRICT src,
                                 uint8_t* HWY_RESTRICT dst, size_t n) {
    size_t x = 0;
    while (x < 64 && reinterpret_cast<uintptr_t>(dst + x * Out) % 64 != 0) ++x;
    if (Keeps(params) || n < 256 || x == 64) return false;
    RunPart<Shuffle>(params, src, n, 0, x, dst, 0);
    const Wide wide(*params.table);
    const D8 d;
    const V8 fill = hn::LoadDup128(d, params.table->fill);
    for (; x + 64 <= n; x += 64) {
      for (size_t v = 0; v < Out; ++v) {
        const uint8_t* in = src + x * In + wide.from[v];
        const V8 moved{_mm512_maskz_permutex2var_epi8(wide.taken[v], hn::LoadU(d, in).raw,
                                                      hn::Load(d, wide.at[v]).raw,
                                                      hn::LoadU(d, in + 64).raw)};
        uint8_t* out = dst + x * Out + 64 * v;
        if (params.around)
          hn::Stream(hn::Or(moved, fill), d, out);
        else
          hn::Store(hn::Or(moved, fill), d, out);
      }
    }
    RunPart<Shuffle>(params, src, n, x, n, dst + x * Out, 0);
    if (params.around) hwy::FlushStream();
    return true;
  }

 private:
  // Where the bytes of 64 pixels come from: of each vector of the destination, the position of 128
  // bytes among the source's, and those in them; not taken are those that `fill` has.
  struct Wide {
    alignas(64) uint8_t at[Out][64];
    uint64_t taken[Out] = {};
    size_t from[Out];

    explicit Wide(const ShuffleTable& table) {
      for (size_t v = 0; v < Out; ++v) {
        from[v] = std::min(v * 64 / Out * In, 64 * In - 128);
        for (size_t i = 0; i < 64; ++i) {
          const size_t pixel = (v * 64 + i) / Out, byte = table.at[(v * 64 + i) % Out];
          at[v][i] = uint8_t(pixel * In + byte - from[v]);
          taken[v] |= uint64_t(byte != 0x80) << i;
        }
      }
    }
  };
#endif
};
using Shuffle3To3 = Shuffle<3, 3>;
using Shuffle3To4 = Shuffle<3, 4>;
using Shuffle4To3 = Shuffle<4, 3>;
using Shuffle4To4 = Shuffle<4, 4>;
using Shuffle6To6 = Shuffle<6, 6>;
using Shuffle6To8 = Shuffle<6, 8>;
using Shuffle8To6 = Shuffle<8, 6>;

// ---- Range

// The last of each four samples is left alone when KeepFourth; 0xFF stands for it.
template <size_t Bytes>
HWY_INLINE V8 FourthMask() {
  if constexpr (Bytes == 1)
    return hn::BitCast(D8(), hn::Set(D32(), 0xFF000000u));
  else
    return hn::BitCast(D8(), hn::Set(hn::ScalableTag<uint64_t>(), 0xFFFF000000000000u));
}

template <size_t Channels>
struct Scale8To16 : Exact<Channels, 2 * Channels> {
  static size_t Pixels() { return hn::Lanes(D16()) / Channels; }
  static size_t Read() { return Pixels() * Channels; }
  static size_t Write() { return Pixels() * Channels * 2; }
  static bool Keeps(const RowParams&) { return Channels == 4; }
  static HWY_INLINE void Run(const RowParams&, const uint8_t* src, uint8_t* dst) {
    const V16 v = hn::PromoteTo(D16(), hn::LoadU(hn::Rebind<uint8_t, D16>(), src));
    V8 wide = hn::BitCast(D8(), hn::Or(v, hn::ShiftLeft<8>(v)));
    if constexpr (Channels == 4)
      wide = hn::IfVecThenElse(FourthMask<2>(), hn::LoadU(D8(), dst), wide);
    hn::StoreU(wide, D8(), dst);
  }
};
using Scale8To16C1 = Scale8To16<1>;
using Scale8To16AC4 = Scale8To16<4>;

// Value / 257 to the nearest is (t - t / 256) / 256 for t = value + 128; saturating t changes
// nothing.
HWY_INLINE V16 ScaledInHigh(V8 samples) {
  const V16 t = hn::SaturatedAdd(hn::BitCast(D16(), samples), hn::Set(D16(), 128));
  return hn::Sub(t, hn::ShiftRight<8>(t));
}

template <size_t Channels>
struct Scale16To8 : Exact<2 * Channels, Channels> {
  static size_t Pixels() { return hn::Lanes(D8()) / Channels; }
  static size_t Read() { return Pixels() * Channels * 2; }
  static size_t Write() { return Pixels() * Channels; }
  static bool Keeps(const RowParams&) { return Channels == 4; }
  static HWY_INLINE void Run(const RowParams&, const uint8_t* src, uint8_t* dst) {
    const V16 low = ScaledInHigh(hn::LoadU(D8(), src)),
              high = ScaledInHigh(hn::LoadU(D8(), src + hn::Lanes(D8())));
    V8 narrow = hn::ConcatOdd(D8(), hn::BitCast(D8(), high), hn::BitCast(D8(), low));
    if constexpr (Channels == 4)
      narrow = hn::IfVecThenElse(FourthMask<1>(), hn::LoadU(D8(), dst), narrow);
    hn::StoreU(narrow, D8(), dst);
  }
};
using Scale16To8C1 = Scale16To8<1>;
using Scale16To8AC4 = Scale16To8<4>;

// ---- YCbCr

// Y, Cb and Cr of colours in the high bytes, in the high bytes; the low ones hold fractions. The
// weights of each chroma add up to nothing, so that grey has none.
HWY_INLINE V16 LumaOf(V16 r, V16 g, V16 b) {
  const V16 sum = hn::Add(hn::Add(Times(r, 16843), Times(g, 33030)), Times(b, 6423));
  return hn::Add(sum, hn::Set(D16(), (16 << 8) + 129));
}
HWY_INLINE V16 CbOf(V16 r, V16 g, V16 b) {
  const V16 up = hn::Add(Times(b, 28770), hn::Set(D16(), (128 << 8) + 128));
  return hn::Sub(up, hn::Add(Times(r, 9699), Times(g, 19071)));
}
HWY_INLINE V16 CrOf(V16 r, V16 g, V16 b) {
  const V16 up = hn::Add(Times(r, 28770), hn::Set(D16(), (128 << 8) + 128));
  return hn::Sub(up, hn::Add(Times(g, 24117), Times(b, 4653)));
}

// Chroma around zero in the high byte.
HWY_INLINE VS Centred(V16 high) {
  return hn::BitCast(DS(), hn::Xor(high, hn::Set(D16(), 0x8000)));
}
HWY_INLINE VS TimesSigned(VS high, int16_t weight) {
  return hn::MulHigh(high, hn::Set(DS(), weight));
}

// What luma and chroma bring to each colour, with six bits of fraction.
HWY_INLINE VS LumaPart(V16 y) {
  return hn::Sub(hn::BitCast(DS(), Times(y, 19071)), hn::Set(DS(), 1192 - 33));
}
HWY_INLINE VS RedPart(VS cr) {
  return TimesSigned(cr, 26149);
}
HWY_INLINE VS GreenPart(VS cb, VS cr) {
  return hn::Add(TimesSigned(cr, -13320), TimesSigned(cb, -6423));
}
HWY_INLINE VS BluePart(VS cb) {
  return hn::Add(hn::ShiftRight<1>(cb), TimesSigned(cb, 279));
}

// The sums as bytes: even pixels low, odd pixels high.
HWY_INLINE V8 JoinColour(VS even, VS odd) {
  const auto byte = [](VS v) HWY_ATTR {
    return hn::BitCast(D16(),
                       hn::Min(hn::Max(hn::ShiftRight<6>(v), hn::Zero(DS())), hn::Set(DS(), 255)));
  };
  return hn::BitCast(D8(), hn::Or(byte(even), hn::ShiftLeft<8>(byte(odd))));
}

struct RgbToYCbCr : Exact<3, 3> {
  static size_t Pixels() { return hn::Lanes(D8()); }
  static size_t Read() { return Pixels() * 3; }
  static size_t Write() { return Pixels() * 3; }
  static HWY_INLINE void Run(const RowParams&, const uint8_t* src, uint8_t* dst) {
    V8 r, g, b;
    LoadThree(D8(), src, r, g, b);
    const V16 r0 = EvenInHigh(r), g0 = EvenInHigh(g), b0 = EvenInHigh(b);
    const V16 r1 = OddInHigh(r), g1 = OddInHigh(g), b1 = OddInHigh(b);
    StoreThree(JoinHigh(LumaOf(r0, g0, b0), LumaOf(r1, g1, b1)),
               JoinHigh(CbOf(r0, g0, b0), CbOf(r1, g1, b1)),
               JoinHigh(CrOf(r0, g0, b0), CrOf(r1, g1, b1)), D8(), dst);
  }
};

struct YCbCrToRgb : Exact<3, 3> {
  static size_t Pixels() { return hn::Lanes(D8()); }
  static size_t Read() { return Pixels() * 3; }
  static size_t Write() { return Pixels() * 3; }
  static HWY_INLINE void Run(const RowParams&, const uint8_t* src, uint8_t* dst) {
    V8 y, cb, cr;
    LoadThree(D8(), src, y, cb, cr);
    const VS y0 = LumaPart(EvenInHigh(y)), y1 = LumaPart(OddInHigh(y));
    const VS cb0 = Centred(EvenInHigh(cb)), cb1 = Centred(OddInHigh(cb));
    const VS cr0 = Centred(EvenInHigh(cr)), cr1 = Centred(OddInHigh(cr));
    const V8 r = JoinColour(hn::Add(y0, RedPart(cr0)), hn::Add(y1, RedPart(cr1)));
    const V8 g = JoinColour(hn::Add(y0, GreenPart(cb0, cr0)), hn::Add(y1, GreenPart(cb1, cr1)));
    const V8 b =
        JoinColour(hn::SaturatedAdd(y0, BluePart(cb0)), hn::SaturatedAdd(y1, BluePart(cb1)));
    StoreThree(r, g, b, D8(), dst);
  }
};

// Both pixels of a pair lie in one lane, their chroma in another.
template <bool LumaFirst>
struct From422 : Exact<2, 4> {
  static size_t Pixels() { return hn::Lanes(D8()); }
  static size_t Read() { return Pixels() * 2; }
  static size_t Write() { return Pixels() * 4; }
  // The half group at the end of an odd line takes the Cr of the group before, or none.
  static void Complete(uint8_t* end, const uint8_t* line, size_t n) {
    constexpr size_t sk_cr = LumaFirst ? 3 : 2;
    end[sk_cr - 2] = n >= 3 ? line[(n - 3) * 2 + sk_cr] : 128;
  }
  static HWY_INLINE void Run(const RowParams& params, const uint8_t* src, uint8_t* dst) {
    V8 first, second;
    hn::LoadInterleaved2(D8(), src, first, second);
    const V8 luma = LumaFirst ? first : second, chroma = LumaFirst ? second : first;
    const VS y0 = LumaPart(EvenInHigh(luma)), y1 = LumaPart(OddInHigh(luma));
    const VS cb = Centred(EvenInHigh(chroma)), cr = Centred(OddInHigh(chroma));
    const VS red = RedPart(cr), green = GreenPart(cb, cr), blue = BluePart(cb);
    hn::StoreInterleaved4(JoinColour(hn::SaturatedAdd(y0, blue), hn::SaturatedAdd(y1, blue)),
                          JoinColour(hn::Add(y0, green), hn::Add(y1, green)),
                          JoinColour(hn::Add(y0, red), hn::Add(y1, red)),
                          hn::Set(D8(), params.alpha), D8(), dst);
  }
};
using CbYCr422ToBgr = From422<false>;
using YCbCr422ToBgr = From422<true>;

template <bool LumaFirst>
struct To422 : Exact<4, 2> {
  static size_t Pixels() { return hn::Lanes(D8()); }
  static size_t Read() { return Pixels() * 4; }
  static size_t Write() { return Pixels() * 2; }
  // The mean of the last pixel of an odd line is its own colour.
  static void Complete(uint8_t* end, const uint8_t* line, size_t n) {
    std::memcpy(end, line + (n - 1) * 4, 4);
  }
  static HWY_INLINE void Run(const RowParams&, const uint8_t* src, uint8_t* dst) {
    V8 b, g, r, unused;
    hn::LoadInterleaved4(D8(), src, b, g, r, unused);
    const V16 r0 = EvenInHigh(r), g0 = EvenInHigh(g), b0 = EvenInHigh(b);
    const V16 r1 = OddInHigh(r), g1 = OddInHigh(g), b1 = OddInHigh(b);
    const auto mean = [](V16 even, V16 odd) HWY_ATTR {
      return hn::Add(hn::ShiftRight<1>(even), hn::ShiftRight<1>(odd));
    };
    const V16 rm = mean(r0, r1), gm = mean(g0, g1), bm = mean(b0, b1);
    const V8 luma = JoinHigh(LumaOf(r0, g0, b0), LumaOf(r1, g1, b1));
    const V8 chroma = JoinHigh(CbOf(rm, gm, bm), CrOf(rm, gm, bm));
    hn::StoreInterleaved2(LumaFirst ? luma : chroma, LumaFirst ? chroma : luma, D8(), dst);
  }
};
using BgrToCbYCr422 = To422<false>;
using BgrToYCbCr422 = To422<true>;

#define ORVEX_ROW(name, in, out, pairs)                                                 \
  static_assert(name::sk_in == in && name::sk_out == out);                              \
  void name##Row(const RowParams& params, const uint8_t* src, uint8_t* dst, size_t n) { \
    RunRow<name>(params, src, dst, n);                                                  \
  }
ORVEX_COLOUR_ROWS(ORVEX_ROW)
#undef ORVEX_ROW

}  // namespace Orvex::Primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Orvex::Primitives {

#define ORVEX_DEFINE(name, in, out, pairs)  \
  HWY_EXPORT(name##Row);                    \
  RowKernel name() {                        \
    return HWY_DYNAMIC_DISPATCH(name##Row); \
  }
ORVEX_COLOUR_ROWS(ORVEX_DEFINE)
#undef ORVEX_DEFINE

}  // namespace Orvex::Primitives

#endif  // HWY_ONCE
