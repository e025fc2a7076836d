// SPDX-License-Identifier: Apache-2.0
// The loop of every kernel that turns a run of samples into another, compiled per instruction set.
// Included after hwy/highway.h.

#if defined(ORVEX_STREAM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_STREAM_INL_H
#undef ORVEX_STREAM_INL_H
#else
#define ORVEX_STREAM_INL_H
#endif

#include <cstring>

#include "primitives/BitDepth.h"

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Runs B::Run(src, dst) on blocks of B::Samples() samples. A block may read up to B::sk_read bytes
// and write up to B::sk_written, more than its samples take: inside the run what it writes too much
// is overwritten by the next block, and the blocks at the end work on copies, so that not a byte
// outside the n samples is touched.
template <class B, Packing From, Packing To>
HWY_INLINE void Stream(const uint8_t* HWY_RESTRICT src, uint8_t* HWY_RESTRICT dst, size_t n) {
  const size_t step = B::Samples(), stepIn = BytesOf(From, step), stepOut = BytesOf(To, step);
  const uint8_t *srcEnd = src + BytesOf(From, n), *dstEnd = dst + BytesOf(To, n);
  while (size_t(srcEnd - src) >= B::sk_read && size_t(dstEnd - dst) >= B::sk_written) {
    B::Run(src, dst);
    src += stepIn;
    dst += stepOut;
    n -= step;
  }
  while (n > 0) {
    uint8_t in[B::sk_read + 64] = {}, out[B::sk_written + 64];
    const size_t part = n < step ? n : step;
    std::memcpy(in, src, BytesOf(From, part));
    std::memcpy(out, dst, BytesOf(To, part));
    B::Run(in, out);
    std::memcpy(dst, out, BytesOf(To, part));
    src += stepIn;
    dst += stepOut;
    n -= part;
  }
}

}  // namespace Orvex::Primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
