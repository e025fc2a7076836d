// SPDX-License-Identifier: Apache-2.0
#include "primitives/SampleKernels.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "primitives/SampleKernels.cpp"
// Its byte permutations make lookup tables as fast as copying.
#define HWY_WANT_AVX3_DL 1
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::SampleKernels::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<uint16_t>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;

HWY_INLINE V16 LoadWords(const uint8_t* p) {
  return hn::BitCast(D16(), hn::LoadU(D8(), p));
}

HWY_INLINE uint32_t LoadWord(const uint8_t* p) {
  uint16_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

// The low bytes of two vectors of words.
HWY_INLINE V8 LowBytes(V16 low, V16 high) {
  return hn::ConcatEven(D8(), hn::BitCast(D8(), high), hn::BitCast(D8(), low));
}

// Turns words into bytes by a rule for vectors and the same rule for one.
template <class VectorRule, class ScalarRule>
HWY_INLINE void WordsToBytes(const uint8_t* HWY_RESTRICT pSrc, size_t n, uint8_t* HWY_RESTRICT pDst,
                             VectorRule vectorRule, ScalarRule scalarRule) {
  const size_t words = hn::Lanes(D16());
  size_t i = 0;
  for (; i + 2 * words <= n; i += 2 * words) {
    const V16 low = vectorRule(LoadWords(pSrc + 2 * i));
    const V16 high = vectorRule(LoadWords(pSrc + 2 * (i + words)));
    hn::StoreU(LowBytes(low, high), D8(), pDst + i);
  }
  for (; i < n; ++i) pDst[i] = static_cast<uint8_t>(scalarRule(LoadWord(pSrc + 2 * i)));
}

void ShiftWords(uint16_t* pWords, size_t n, unsigned right) {
  const D16 d;
  const size_t words = hn::Lanes(d);
  const int shift = static_cast<int>(right);
  size_t i = 0;
  for (; i + words <= n; i += words) {
    hn::StoreU(hn::ShiftRightSame(hn::LoadU(d, pWords + i), shift), d, pWords + i);
  }
  for (; i < n; ++i) pWords[i] = static_cast<uint16_t>(pWords[i] >> shift);
}

void NarrowWords(const uint8_t* pSrc, size_t n, unsigned right, uint8_t* pDst) {
  const int shift = static_cast<int>(right);
  WordsToBytes(
      pSrc, n, pDst, [=](V16 v) { return hn::ShiftRightSame(v, shift); },
      [=](uint32_t v) { return v >> shift; });
}

void ScaleWords(const uint8_t* pSrc, size_t n, int right, uint8_t* pDst) {
  const V16 top = hn::Set(D16(), 255);
  if (right >= 0) {
    WordsToBytes(
        pSrc, n, pDst, [=](V16 v) { return hn::Min(hn::ShiftRightSame(v, right), top); },
        [=](uint32_t v) { return std::min(v >> right, 255u); });
  } else {
    // The smallest value that is out of range when it is shifted stands for all larger ones.
    const V16 outside = hn::Set(D16(), static_cast<uint16_t>((255u >> -right) + 1));
    WordsToBytes(
        pSrc, n, pDst,
        [=](V16 v) { return hn::Min(hn::ShiftLeftSame(hn::Min(v, outside), -right), top); },
        [=](uint32_t v) { return std::min(v << -right, 255u); });
  }
}

void ScaleBytes(const uint8_t* HWY_RESTRICT pSrc, size_t n, int right, uint8_t* HWY_RESTRICT pDst) {
  const size_t bytes = hn::Lanes(D8());
  size_t i = 0;
  if (right >= 0) {
    const V8 mask = hn::Set(D8(), static_cast<uint8_t>(0xFFu >> right));
    for (; i + bytes <= n; i += bytes) {
      const V16 v = hn::ShiftRightSame(LoadWords(pSrc + i), right);
      hn::StoreU(hn::And(hn::BitCast(D8(), v), mask), D8(), pDst + i);
    }
    for (; i < n; ++i) pDst[i] = static_cast<uint8_t>(pSrc[i] >> right);
  } else {
    for (; i + bytes <= n; i += bytes) {
      V8 v = hn::LoadU(D8(), pSrc + i);
      for (int k = right; k < 0; ++k) v = hn::SaturatedAdd(v, v);
      hn::StoreU(v, D8(), pDst + i);
    }
    for (; i < n; ++i) pDst[i] = static_cast<uint8_t>(std::min(uint32_t{pSrc[i]} << -right, 255u));
  }
}

void PickOfThree(const uint8_t* HWY_RESTRICT pSrc, size_t n, unsigned which,
                 uint8_t* HWY_RESTRICT pDst) {
  const size_t bytes = hn::Lanes(D8());
  size_t i = 0;
  for (; i + bytes <= n; i += bytes) {
    V8 v0, v1, v2;
    hn::LoadInterleaved3(D8(), pSrc + 3 * i, v0, v1, v2);
    hn::StoreU(which == 0 ? v0 : which == 1 ? v1 : v2, D8(), pDst + i);
  }
  for (; i < n; ++i) pDst[i] = pSrc[3 * i + which];
}

// ---- Separating channels -----------------------------------------------------------------------

template <typename T>
HWY_INLINE void Separate(const T* HWY_RESTRICT pSrc, size_t n, size_t channels,
                         uint8_t* HWY_RESTRICT pDst, size_t plane) {
  const hn::ScalableTag<T> d;
  using V = hn::VFromD<decltype(d)>;
  const size_t lanes = hn::Lanes(d), each = n / channels, planeBytes = plane * sizeof(T);
  size_t i = 0;
  for (; i + lanes <= each; i += lanes) {
    V v[4];
    switch (channels) {
      case 2:
        hn::LoadInterleaved2(d, pSrc + i * 2, v[0], v[1]);
        break;
      case 3:
        hn::LoadInterleaved3(d, pSrc + i * 3, v[0], v[1], v[2]);
        break;
      default:
        hn::LoadInterleaved4(d, pSrc + i * 4, v[0], v[1], v[2], v[3]);
        break;
    }
    for (size_t c = 0; c < channels; ++c) {
      hn::StoreU(hn::BitCast(D8(), v[c]), D8(), pDst + c * planeBytes + i * sizeof(T));
    }
  }
  for (; i < each; ++i) {
    for (size_t c = 0; c < channels; ++c) {
      std::memcpy(pDst + c * planeBytes + i * sizeof(T), pSrc + i * channels + c, sizeof(T));
    }
  }
}

void SeparateBytes(const uint8_t* pSrc, size_t n, size_t channels, uint8_t* pDst, size_t plane) {
  Separate(pSrc, n, channels, pDst, plane);
}

void SeparateWords(const uint16_t* pSrc, size_t n, size_t channels, uint8_t* pDst, size_t plane) {
  Separate(pSrc, n, channels, pDst, plane);
}

// ---- Lookup tables -----------------------------------------------------------------------------

#if HWY_TARGET == HWY_AVX3_DL
// A table of 256 bytes in four registers.
struct Table {
  explicit Table(const uint8_t* p)
      : q0(_mm512_loadu_si512(p)),
        q1(_mm512_loadu_si512(p + 64)),
        q2(_mm512_loadu_si512(p + 128)),
        q3(_mm512_loadu_si512(p + 192)) {}
  HWY_INLINE __m512i operator()(__m512i v) const {
    const __m512i low = _mm512_permutex2var_epi8(q0, v, q1);
    const __m512i high = _mm512_permutex2var_epi8(q2, v, q3);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(v), low, high);
  }
  __m512i q0, q1, q2, q3;
};
#endif

void LookUpBytes(const uint8_t* HWY_RESTRICT pSrc, size_t n, const uint8_t* HWY_RESTRICT pTable,
                 uint8_t* HWY_RESTRICT pDst) {
  size_t i = 0;
#if HWY_TARGET == HWY_AVX3_DL
  const Table table(pTable);
  for (; i + 64 <= n; i += 64) {
    _mm512_storeu_si512(pDst + i, table(_mm512_loadu_si512(pSrc + i)));
  }
#else
  // Eight at a time: one load and one store for eight lookups.
  for (; i + 8 <= n; i += 8) {
    uint64_t in, out = 0;
    std::memcpy(&in, pSrc + i, 8);
    for (unsigned k = 0; k < 64; k += 8) out |= uint64_t{pTable[in >> k & 0xFF]} << k;
    std::memcpy(pDst + i, &out, 8);
  }
#endif
  for (; i < n; ++i) pDst[i] = pTable[pSrc[i]];
}

void LookUpBytesInPattern(const uint8_t* HWY_RESTRICT pSrc, size_t n,
                          const uint8_t* HWY_RESTRICT pTables, const uint8_t* pPattern,
                          size_t length, uint8_t* HWY_RESTRICT pDst) {
  size_t i = 0;
#if HWY_TARGET == HWY_AVX3_DL
  // Every table is asked about all 64 samples; masks take from each what is its own. The pattern
  // stands differently in each vector, until it comes round after `length` of them.
  constexpr size_t sk_maxTables = 4, sk_maxLength = 6;
  const size_t tables = *std::max_element(pPattern, pPattern + length) + size_t{1};
  uint64_t masks[sk_maxLength][sk_maxTables] = {};
  for (size_t at = 0; at < length * 64; ++at) {
    masks[at / 64][pPattern[at % length]] |= uint64_t{1} << at % 64;
  }
  const size_t round = length * 64;
  for (; i + round <= n; i += round) {
    for (size_t v = 0; v < length; ++v) {
      const __m512i in = _mm512_loadu_si512(pSrc + i + v * 64);
      __m512i out = Table(pTables)(in);
      for (size_t k = 1; k < tables; ++k) {
        out = _mm512_mask_blend_epi8(masks[v][k], out, Table(pTables + 256 * k)(in));
      }
      _mm512_storeu_si512(pDst + i + v * 64, out);
    }
  }
#endif
  size_t at = 0;
  for (; i < n; ++i) {
    pDst[i] = pTables[size_t{256} * pPattern[at] + pSrc[i]];
    if (++at == length) at = 0;
  }
}

}  // namespace Orvex::Primitives::SampleKernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvex::Primitives::SampleKernels {

HWY_EXPORT(ShiftWords);
HWY_EXPORT(NarrowWords);
HWY_EXPORT(ScaleWords);
HWY_EXPORT(ScaleBytes);
HWY_EXPORT(PickOfThree);
HWY_EXPORT(SeparateBytes);
HWY_EXPORT(SeparateWords);
HWY_EXPORT(LookUpBytes);
HWY_EXPORT(LookUpBytesInPattern);

void ShiftWords(uint16_t* pWords, size_t n, unsigned right) {
  HWY_DYNAMIC_DISPATCH(ShiftWords)(pWords, n, right);
}
void NarrowWords(const uint8_t* pSrc, size_t n, unsigned right, uint8_t* pDst) {
  HWY_DYNAMIC_DISPATCH(NarrowWords)(pSrc, n, right, pDst);
}
void ScaleWords(const uint8_t* pSrc, size_t n, int right, uint8_t* pDst) {
  HWY_DYNAMIC_DISPATCH(ScaleWords)(pSrc, n, right, pDst);
}
void ScaleBytes(const uint8_t* pSrc, size_t n, int right, uint8_t* pDst) {
  HWY_DYNAMIC_DISPATCH(ScaleBytes)(pSrc, n, right, pDst);
}
void PickOfThree(const uint8_t* pSrc, size_t n, unsigned which, uint8_t* pDst) {
  HWY_DYNAMIC_DISPATCH(PickOfThree)(pSrc, n, which, pDst);
}
void SeparateBytes(const uint8_t* pSrc, size_t n, size_t channels, uint8_t* pDst, size_t plane) {
  HWY_DYNAMIC_DISPATCH(SeparateBytes)(pSrc, n, channels, pDst, plane);
}
void SeparateWords(const uint16_t* pSrc, size_t n, size_t channels, uint8_t* pDst, size_t plane) {
  HWY_DYNAMIC_DISPATCH(SeparateWords)(pSrc, n, channels, pDst, plane);
}
void LookUpBytes(const uint8_t* pSrc, size_t n, const uint8_t* pTable, uint8_t* pDst) {
  HWY_DYNAMIC_DISPATCH(LookUpBytes)(pSrc, n, pTable, pDst);
}
void LookUpBytesInPattern(const uint8_t* pSrc, size_t n, const uint8_t* pTables,
                          const uint8_t* pPattern, size_t length, uint8_t* pDst) {
  HWY_DYNAMIC_DISPATCH(LookUpBytesInPattern)(pSrc, n, pTables, pPattern, length, pDst);
}

}  // namespace Orvex::Primitives::SampleKernels
#endif
