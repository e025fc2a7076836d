// SPDX-License-Identifier: Apache-2.0
// Copying around the caches, compiled per instruction set. Included after hwy/highway.h.

#if defined(ORVEX_WRITE_AROUND_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_WRITE_AROUND_INL_H
#undef ORVEX_WRITE_AROUND_INL_H
#else
#define ORVEX_WRITE_AROUND_INL_H
#endif

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "primitives/WriteAround.h"

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Copies around the caches, a part at a time, so that memory takes what was written while the next
// is computed. Whoever hands the bytes to another thread calls hwy::FlushStream before.
class AroundCopy {
 public:
  static constexpr size_t sk_line = 64;  // of a cache; only whole ones go around it

  // Ends what was begun before.
  HWY_INLINE void Begin(const uint8_t* src, uint8_t* dst, size_t n) {
    Finish();
    const size_t head = std::min(n, size_t(-reinterpret_cast<uintptr_t>(dst)) % sk_line);
    std::memcpy(dst, src, head);
    m_src = src + head;
    m_dst = dst + head;
    m_left = n - head;
  }
  // Some lines more, when there are so many.
  template <size_t Lines>
  HWY_INLINE void Step() {
    if (m_left < Lines * sk_line) return;
    const D d;
    for (size_t i = 0; i < Lines * sk_line; i += hn::Lanes(d))
      hn::Stream(hn::LoadU(d, m_src + i), d, m_dst + i);
    m_src += Lines * sk_line;
    m_dst += Lines * sk_line;
    m_left -= Lines * sk_line;
  }
  HWY_INLINE void Finish() {
    while (m_left >= sk_line) Step<1>();
    if (m_left > 0) std::memcpy(m_dst, m_src, m_left);
    m_left = 0;
  }

 private:
  using D = hn::CappedTag<uint8_t, sk_line>;
  const uint8_t* m_src = nullptr;
  uint8_t* m_dst = nullptr;
  size_t m_left = 0;
};

}  // namespace Orvex::Primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
