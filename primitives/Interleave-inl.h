// SPDX-License-Identifier: Apache-2.0
// Three channels between vectors and memory, compiled per instruction set. Included after
// hwy/highway.h.

#if defined(ORVEX_INTERLEAVE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_INTERLEAVE_INL_H
#undef ORVEX_INTERLEAVE_INL_H
#else
#define ORVEX_INTERLEAVE_INL_H
#endif

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_AVX3_DL
// Two permutations of whole vectors make a vector of three others: the first takes from two of
// them, the second adds what the third has.
struct ThreeTables {
  alignas(64) uint8_t storeFirst[3][64] = {};
  alignas(64) uint8_t storeThird[3][64] = {};
  uint64_t storeMask[3] = {};
  alignas(64) uint8_t loadFirst[3][64] = {};
  alignas(64) uint8_t loadThird[3][64] = {};
  uint64_t loadMask[3] = {};

  constexpr ThreeTables() {
    for (unsigned i = 0; i < 192; ++i) {
      const unsigned channel = i % 3, pixel = i / 3, vector = i / 64, at = i % 64;
      if (channel == 2) {
        storeThird[vector][at] = uint8_t(pixel);
        storeMask[vector] |= uint64_t(1) << at;
      } else {
        storeFirst[vector][at] = uint8_t(pixel | channel << 6);
      }
      if (vector == 2) {
        loadThird[channel][pixel] = uint8_t(at);
        loadMask[channel] |= uint64_t(1) << pixel;
      } else {
        loadFirst[channel][pixel] = uint8_t(at | vector << 6);
      }
    }
  }
};
inline constexpr ThreeTables sk_three;
#endif

// As StoreInterleaved3.
template <class D, class V, class T>
HWY_INLINE void StoreThree(V a, V b, V c, D d, T* HWY_RESTRICT p) {
#if HWY_TARGET == HWY_AVX3_DL
  if constexpr (sizeof(T) == 1 && hn::MaxLanes(D()) == 64) {
    for (int i = 0; i < 3; ++i) {
      const __m512i two =
          _mm512_permutex2var_epi8(a.raw, _mm512_load_si512(sk_three.storeFirst[i]), b.raw);
      _mm512_storeu_si512(p + 64 * i, _mm512_mask_permutexvar_epi8(
                                          two, sk_three.storeMask[i],
                                          _mm512_load_si512(sk_three.storeThird[i]), c.raw));
    }
    return;
  }
#endif
  hn::StoreInterleaved3(a, b, c, d, p);
}

// As LoadInterleaved3.
template <class D, class V, class T>
HWY_INLINE void LoadThree(D d, const T* HWY_RESTRICT p, V& a, V& b, V& c) {
#if HWY_TARGET == HWY_AVX3_DL
  if constexpr (sizeof(T) == 1 && hn::MaxLanes(D()) == 64) {
    const __m512i in[3] = {_mm512_loadu_si512(p), _mm512_loadu_si512(p + 64),
                           _mm512_loadu_si512(p + 128)};
    __m512i* const out[3] = {&a.raw, &b.raw, &c.raw};
    for (int i = 0; i < 3; ++i) {
      const __m512i two =
          _mm512_permutex2var_epi8(in[0], _mm512_load_si512(sk_three.loadFirst[i]), in[1]);
      *out[i] = _mm512_mask_permutexvar_epi8(two, sk_three.loadMask[i],
                                             _mm512_load_si512(sk_three.loadThird[i]), in[2]);
    }
    return;
  }
#endif
  hn::LoadInterleaved3(d, p, a, b, c);
}

}  // namespace Orvex::Primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
