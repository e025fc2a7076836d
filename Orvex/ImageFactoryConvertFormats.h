#pragma once
// SPDX-License-Identifier: Apache-2.0
// The formats that convert, one row each, and the rules by which pairs of them have shortcuts.
// Constants only.

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "PFNC.h"
#include "primitives/BitDepth.h"
#include "primitives/Ipp.h"

namespace Orvex {

using Primitives::Packing;

// What the samples of a pixel mean, and in which order they lie.
enum class Family : uint8_t {
  Mono,
  BayerRG,
  BayerGR,
  BayerGB,
  BayerBG,
  RGB,
  BGR,
  RGBa,
  BGRa,
  UYV411,
  UYV422,
  UYV444,
  YUV411,
  YUV422,
  YUV444
};

struct ConvertFormat {
  PfncFormat_ format;
  Family family;
  Packing packing;
  // The kernels' names in messages.
  const char* from;
  const char* to;
};

// clang-format off
#define ORVEX_CONVERT_SINGLE(X, family, kernel)                                                \
  X(family##8, family, U8, kernel##8) X(family##10, family, U10, kernel##10)                   \
  X(family##10p, family, U10p, kernel##10p)                                                    \
  X(family##10Packed, family, U10Packed, kernel##10Packed) X(family##12, family, U12, kernel##12) \
  X(family##12p, family, U12p, kernel##12p)                                                    \
  X(family##12Packed, family, U12Packed, kernel##12Packed) X(family##16, family, U16, kernel##16) \
  X(family##24, family, U24, kernel##24)

#define ORVEX_CONVERT_COLOUR(X, family)                                                        \
  X(family##8, family, U8, family##8) X(family##12, family, U12, family##12)                   \
  X(family##12p, family, U12p, family##12p) X(family##16, family, U16, family##16)             \
  X(family##24, family, U24, family##24)                                                       \
  X(family##a8, family##a, U8, family##a8) X(family##a16, family##a, U16, family##a16)

// ORVEX_CONVERT_FORMATS(X): X(format, family, packing, kernel)
#define ORVEX_CONVERT_FORMATS(X)                              \
  ORVEX_CONVERT_SINGLE(X, Mono, Mono)                         \
  ORVEX_CONVERT_SINGLE(X, BayerRG, Bayer)                     \
  ORVEX_CONVERT_SINGLE(X, BayerGR, Bayer)                     \
  ORVEX_CONVERT_SINGLE(X, BayerGB, Bayer)                     \
  ORVEX_CONVERT_SINGLE(X, BayerBG, Bayer)                     \
  ORVEX_CONVERT_COLOUR(X, RGB)                                \
  ORVEX_CONVERT_COLOUR(X, BGR)                                \
  X(PolarizeMono8, Mono, U8, Mono8)                           \
  X(PolarizeMono12, Mono, U12, Mono12)                        \
  X(PolarizeMono12p, Mono, U12p, Mono12p)                     \
  X(PolarizeMono12Packed, Mono, U12Packed, Mono12Packed)      \
  X(PolarizeMono16, Mono, U16, Mono16)                        \
  X(YCbCr411_8_CbYYCrYY, UYV411, U8, UYV411)                  \
  X(YUV411_8_UYYVYY, UYV411, U8, UYV411)                      \
  X(YCbCr411_16_CbYYCrYY, UYV411, U16, UYV41116)              \
  X(YCbCr411_24_CbYYCrYY, UYV411, U24, UYV41124)              \
  X(YCbCr422_8_CbYCrY, UYV422, U8, UYV422)                    \
  X(YUV422_8_UYVY, UYV422, U8, UYV422)                        \
  X(YCbCr422_16_CbYCrY, UYV422, U16, UYV42216)                \
  X(YCbCr422_24_CbYCrY, UYV422, U24, UYV42224)                \
  X(YCbCr8_CbYCr, UYV444, U8, UYV444)                         \
  X(YUV8_UYV, UYV444, U8, UYV444)                             \
  X(YCbCr16_CbYCr, UYV444, U16, UYV44416)                     \
  X(YCbCr24_CbYCr, UYV444, U24, UYV44424)                     \
  X(YCbCr411_8, YUV411, U8, YUV411)                           \
  X(YCbCr422_8, YUV422, U8, YUV422)                           \
  X(YUV422_8, YUV422, U8, YUV422)                             \
  X(YCbCr8, YUV444, U8, YUV444)
// clang-format on

#define ORVEX_ROW(format, family, packing, kernel) \
  {format, Family::family, Packing::packing, "from" #kernel, "to" #kernel},
inline constexpr ConvertFormat sk_convertFormats[] = {ORVEX_CONVERT_FORMATS(ORVEX_ROW)};
#undef ORVEX_ROW

// The row of a format, null when the format does not convert.
constexpr const ConvertFormat* FindConvertFormat(uint64_t format) {
  for (const ConvertFormat& row : sk_convertFormats) {
    if (uint64_t(row.format) == format) return &row;
  }
  return nullptr;
}

constexpr bool IsBayer(Family family) {
  return family >= Family::BayerRG && family <= Family::BayerBG;
}

constexpr IppiBayerGrid GridOf(Family family) {
  switch (family) {
    case Family::BayerGR:
      return ippiBayerGRBG;
    case Family::BayerGB:
      return ippiBayerGBRG;
    case Family::BayerBG:
      return ippiBayerBGGR;
    default:
      return ippiBayerRGGB;
  }
}

// Samples of n pixels.
constexpr size_t SamplesOf(Family family, size_t n) {
  switch (family) {
    case Family::RGB:
    case Family::BGR:
    case Family::UYV444:
    case Family::YUV444:
      return 3 * n;
    case Family::RGBa:
    case Family::BGRa:
      return 4 * n;
    case Family::UYV422:
    case Family::YUV422:
      return 2 * n;
    case Family::UYV411:
    case Family::YUV411:
      return (3 * n + 1) / 2;
    default:
      return n;
  }
}

// Bytes that the kernels touch for n pixels: whole samples, and the last byte even when it is
// filled in part.
constexpr size_t WholeBytes(const ConvertFormat& row, size_t n) {
  return Primitives::BytesOf(row.packing, SamplesOf(row.family, n));
}

// ---- Shortcuts

// Formats of polarised pixels and of 24 bits convert, but have no shortcuts.
constexpr bool HasShortcuts(const ConvertFormat& row) {
  return row.packing <= Packing::U16 && (uint32_t(row.format) & 0x80000000u) == 0;
}

// Between 10 and 16 bits.
constexpr bool IsDeepMono(const ConvertFormat& row) {
  return HasShortcuts(row) && row.family == Family::Mono && row.packing != Packing::U8;
}

constexpr bool IsRgb16(const ConvertFormat& row) {
  return (row.family == Family::RGB || row.family == Family::BGR) && row.packing == Packing::U16;
}

constexpr bool IsGeneralShortcut(const ConvertFormat& from, const ConvertFormat& to) {
  if (from.format == to.format) return false;
  return (IsDeepMono(from) && (IsDeepMono(to) || IsRgb16(to))) || (IsRgb16(from) && IsDeepMono(to));
}

// Mosaics go to grey of the same or a later packing; 16 bits also to the narrower ones, but not
// to 8.
constexpr bool IsBayerShortcut(const ConvertFormat& from, const ConvertFormat& to) {
  if (!IsBayer(from.family) || !HasShortcuts(from) || !HasShortcuts(to)) return false;
  if (IsRgb16(to)) return from.packing != Packing::U8;
  return to.family == Family::Mono && (to.packing >= from.packing ||
                                       (from.packing == Packing::U16 && to.packing != Packing::U8));
}

constexpr size_t CountPairs(bool (*rule)(const ConvertFormat&, const ConvertFormat&)) {
  size_t count = 0;
  for (const ConvertFormat& from : sk_convertFormats) {
    for (const ConvertFormat& to : sk_convertFormats) count += rule(from, to);
  }
  return count;
}
static_assert(CountPairs(IsGeneralShortcut) == 70);
static_assert(CountPairs(IsBayerShortcut) == 224);

}  // namespace Orvex
