// SPDX-License-Identifier: Apache-2.0
// What converting images of one size again and again allocates: nothing, but an intermediate
// picture where the conversion goes by one, and what adaptive demosaicing takes for its call.
#include <gmock/gmock.h>

#include <cstdlib>

#include "ImageTools.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORVEX_OWN_MALLOC 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORVEX_OWN_MALLOC 0
#endif
#endif
#ifndef ORVEX_OWN_MALLOC
#define ORVEX_OWN_MALLOC 1
#endif

namespace {

// Blocks that are worth counting: image objects and texts are smaller.
constexpr size_t sk_large = 4096;
// What this thread asked for while it counts.
thread_local size_t t_sizes[16];
thread_local size_t t_count = 0;
thread_local bool t_counts = false;

}  // namespace

#if ORVEX_OWN_MALLOC
// In place of the C library's own for the whole program; operator new comes here as well.
extern "C" void* __libc_malloc(size_t size);
extern "C" void* malloc(size_t size) noexcept {
  if (t_counts && size >= sk_large && t_count < std::size(t_sizes)) t_sizes[t_count++] = size;
  return __libc_malloc(size);
}
#endif

namespace Orvex::Testing {
namespace {

constexpr size_t sk_width = 256, sk_height = 200, sk_pixels = sk_width * sk_height;
constexpr size_t sk_intermediate = sk_pixels * 4, sk_adaptive = (sk_width + 6) * 30;

struct Case {
  PfncFormat_ from, to;
  _EBayerAlgorithm algorithm;
  std::vector<size_t> blocks;
};

class RepeatedConversion : public WithFactory {};

TEST_F(RepeatedConversion, AllocatesNothingButWhatItNames) {
  if (!ORVEX_OWN_MALLOC) GTEST_SKIP() << "the sanitizer has its own malloc";
  const _EBayerAlgorithm directional = DirectionalInterpolation,
                         adaptive = AdaptiveHomogeneityDirected;
  const Case cases[] = {
      {Mono8, Mono8, directional, {}},
      {Mono8, BGRa8, directional, {}},
      {Mono12p, BGRa8, directional, {}},
      {BayerRG8, BGRa8, directional, {}},
      {BayerGB12Packed, BGRa8, directional, {}},
      {YCbCr422_8, BGRa8, directional, {}},
      {BayerGR8, BGRa8, adaptive, {sk_adaptive}},
      {Mono10p, Mono12Packed, directional, {}},
      {Mono12Packed, RGB16, directional, {}},
      {RGB16, Mono10p, directional, {}},
      {BayerBG10p, RGB16, directional, {}},
      {BayerRG8, Mono12p, adaptive, {}},
      {Mono8, YCbCr422_8, directional, {sk_intermediate}},
      {RGB8, YCbCr411_8_CbYYCrYY, directional, {sk_intermediate}},
      {BayerRG8, YCbCr422_8, adaptive, {sk_intermediate, sk_adaptive}},
  };
  const Bytes pixels = RandomBytes(sk_pixels * 8, 1);
  Bytes out(sk_pixels * 8);
  for (const Case& row : cases) {
    const auto sizeOf = [](PfncFormat_ format) { return sk_pixels * (format >> 16 & 0xFF) / 8; };
    const ImagePtr image(
        ImageFactory::Shallow(pixels.data(), sizeOf(row.from), sk_width, sk_height, row.from));
    const auto convert = [&] {
      const ImagePtr result(ImageFactory::ConvertShallow(out.data(), sizeOf(row.to), image.get(),
                                                         row.to, row.algorithm));
    };
    convert();
    t_count = 0;
    t_counts = true;
    convert();
    t_counts = false;
    EXPECT_THAT(std::vector<size_t>(t_sizes, t_sizes + t_count),
                testing::UnorderedElementsAreArray(row.blocks))
        << std::hex << row.from << " to " << row.to;
  }
}

}  // namespace
}  // namespace Orvex::Testing
