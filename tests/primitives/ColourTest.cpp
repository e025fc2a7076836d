// SPDX-License-Identifier: Apache-2.0
// Every colour primitive on every instruction set against the plain loop and the published
// formulas.
#include <functional>
#include <string>

#include "PlainColour.h"
#include "Targets.h"
#include "primitives/Ipp.h"

namespace {

using Bytes = std::vector<uint8_t>;
using namespace Orvex::Primitives;

struct ColourCase {
  std::string name;
  size_t in, out;  // bytes of a pixel
  std::function<IppStatus(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, IppiSize roi)>
      run;
  std::function<void(const uint8_t* src, uint8_t* dst, size_t n)> plain;
};

const Ipp16u* As16(const uint8_t* p) {
  return reinterpret_cast<const Ipp16u*>(p);
}
Ipp16u* As16(uint8_t* p) {
  return reinterpret_cast<Ipp16u*>(p);
}

// The plain loop over single pixels.
template <class Pixel>
auto Each(size_t in, size_t out, Pixel pixel) {
  return [=](const uint8_t* src, uint8_t* dst, size_t n) {
    for (size_t i = 0; i < n; ++i) pixel(src + i * in, dst + i * out);
  };
}

// Channels of `size` bytes in the given order.
auto Reorder(size_t from, size_t to, size_t size, std::vector<int> order, unsigned value = 0) {
  return Each(from * size, to * size, [=](const uint8_t* s, uint8_t* d) {
    for (size_t c = 0; c < to; ++c) {
      for (size_t b = 0; b < size; ++b) {
        if (order[c] < int(from))
          d[c * size + b] = s[size_t(order[c]) * size + b];
        else if (order[c] == int(from))
          d[c * size + b] = uint8_t(value >> 8 * b);
      }
    }
  });
}

constexpr int sk_turn[] = {2, 1, 0, 3}, sk_roll[] = {1, 2, 0, 3}, sk_keep[] = {2, 4, 0, 1};

#define RUN8(call) [](const uint8_t* s, int ss, uint8_t* d, int ds, IppiSize roi) { return call; }

const std::vector<ColourCase>& Cases() {
  static const std::vector<ColourCase> cases = {
      {"GrayToRGB_8u_C1C3R", 1, 3, RUN8(ippiGrayToRGB_8u_C1C3R(s, ss, d, ds, roi)),
       Each(1, 3, [](const uint8_t* s, uint8_t* d) { d[0] = d[1] = d[2] = s[0]; })},
      {"GrayToRGB_8u_C1C4R", 1, 4, RUN8(ippiGrayToRGB_8u_C1C4R(s, ss, d, ds, roi, 77)),
       Each(1, 4, [](const uint8_t* s, uint8_t* d) { d[0] = d[1] = d[2] = s[0], d[3] = 77; })},
      {"GrayToRGB_16u_C1C3R", 2, 6, RUN8(ippiGrayToRGB_16u_C1C3R(As16(s), ss, As16(d), ds, roi)),
       Each(2, 6,
            [](const uint8_t* s, uint8_t* d) {
              d[0] = d[2] = d[4] = s[0], d[1] = d[3] = d[5] = s[1];
            })},
      {"RGBToGray_8u_C3C1R", 3, 1, RUN8(ippiRGBToGray_8u_C3C1R(s, ss, d, ds, roi)),
       Each(3, 1, [](const uint8_t* s, uint8_t* d) { d[0] = Plain::Grey8(s[0], s[1], s[2]); })},
      {"RGBToGray_8u_AC4C1R", 4, 1, RUN8(ippiRGBToGray_8u_AC4C1R(s, ss, d, ds, roi)),
       Each(4, 1, [](const uint8_t* s, uint8_t* d) { d[0] = Plain::Grey8(s[0], s[1], s[2]); })},
      {"RGBToGray_16u_C3C1R", 6, 2, RUN8(ippiRGBToGray_16u_C3C1R(As16(s), ss, As16(d), ds, roi)),
       Each(6, 2,
            [](const uint8_t* s, uint8_t* d) {
              Plain::Store16(
                  d, Plain::Grey16(Plain::Load16(s), Plain::Load16(s + 2), Plain::Load16(s + 4)));
            })},
      {"SwapChannels_8u_C3R", 3, 3, RUN8(ippiSwapChannels_8u_C3R(s, ss, d, ds, roi, sk_roll)),
       Reorder(3, 3, 1, {1, 2, 0})},
      {"SwapChannels_16u_C3R", 6, 6,
       RUN8(ippiSwapChannels_16u_C3R(As16(s), ss, As16(d), ds, roi, sk_roll)),
       Reorder(3, 3, 2, {1, 2, 0})},
      {"SwapChannels_8u_C4R", 4, 4, RUN8(ippiSwapChannels_8u_C4R(s, ss, d, ds, roi, sk_roll)),
       Reorder(4, 4, 1, {1, 2, 0, 3})},
      {"SwapChannels_8u_C3C4R", 3, 4,
       RUN8(ippiSwapChannels_8u_C3C4R(s, ss, d, ds, roi, sk_turn, 9)),
       Reorder(3, 4, 1, {2, 1, 0, 3}, 9)},
      {"SwapChannels_8u_C3C4R_keeping", 3, 4,
       RUN8(ippiSwapChannels_8u_C3C4R(s, ss, d, ds, roi, sk_keep, 9)),
       Reorder(3, 4, 1, {2, 4, 0, 1}, 9)},
      {"SwapChannels_8u_C4C3R", 4, 3, RUN8(ippiSwapChannels_8u_C4C3R(s, ss, d, ds, roi, sk_turn)),
       Reorder(4, 3, 1, {2, 1, 0})},
      {"SwapChannels_16u_C3C4R", 6, 8,
       RUN8(ippiSwapChannels_16u_C3C4R(As16(s), ss, As16(d), ds, roi, sk_turn, 0x1234)),
       Reorder(3, 4, 2, {2, 1, 0, 3}, 0x1234)},
      {"SwapChannels_16u_C4C3R", 8, 6,
       RUN8(ippiSwapChannels_16u_C4C3R(As16(s), ss, As16(d), ds, roi, sk_turn)),
       Reorder(4, 3, 2, {2, 1, 0})},
      {"Scale_8u16u_C1R", 1, 2, RUN8(ippiScale_8u16u_C1R(s, ss, As16(d), ds, roi)),
       Each(1, 2, [](const uint8_t* s, uint8_t* d) { Plain::Store16(d, s[0] * 257u); })},
      {"Scale_8u16u_AC4R", 4, 8, RUN8(ippiScale_8u16u_AC4R(s, ss, As16(d), ds, roi)),
       Each(4, 8,
            [](const uint8_t* s, uint8_t* d) {
              for (int c = 0; c < 3; ++c) Plain::Store16(d + 2 * c, s[c] * 257u);
            })},
      {"Scale_16u8u_C1R", 2, 1,
       RUN8(ippiScale_16u8u_C1R(As16(s), ss, d, ds, roi, ippAlgHintAccurate)),
       Each(2, 1,
            [](const uint8_t* s, uint8_t* d) { d[0] = uint8_t((Plain::Load16(s) + 128) / 257); })},
      {"Scale_16u8u_AC4R", 8, 4,
       RUN8(ippiScale_16u8u_AC4R(As16(s), ss, d, ds, roi, ippAlgHintAccurate)),
       Each(8, 4,
            [](const uint8_t* s, uint8_t* d) {
              for (int c = 0; c < 3; ++c) d[c] = uint8_t((Plain::Load16(s + 2 * c) + 128) / 257);
            })},
      {"RGBToYCbCr_8u_C3R", 3, 3, RUN8(ippiRGBToYCbCr_8u_C3R(s, ss, d, ds, roi)),
       Each(3, 3,
            [](const uint8_t* s, uint8_t* d) {
              const unsigned r = s[0], g = s[1], b = s[2];
              d[0] = Plain::Luma(r, g, b);
              d[1] = Plain::Cb(2 * r, 2 * g, 2 * b);
              d[2] = Plain::Cr(2 * r, 2 * g, 2 * b);
            })},
      {"YCbCrToRGB_8u_C3R", 3, 3, RUN8(ippiYCbCrToRGB_8u_C3R(s, ss, d, ds, roi)),
       Each(3, 3,
            [](const uint8_t* s, uint8_t* d) { Plain::Rgb(s[0], s[1], s[2], d[0], d[1], d[2]); })},
      {"CbYCr422ToBGR_8u_C2C4R", 2, 4, RUN8(ippiCbYCr422ToBGR_8u_C2C4R(s, ss, d, ds, roi, 5)),
       [](const uint8_t* s, uint8_t* d, size_t n) { Plain::From422<false>(s, d, n, 5); }},
      {"YCbCr422ToBGR_8u_C2C4R", 2, 4, RUN8(ippiYCbCr422ToBGR_8u_C2C4R(s, ss, d, ds, roi, 5)),
       [](const uint8_t* s, uint8_t* d, size_t n) { Plain::From422<true>(s, d, n, 5); }},
      {"BGRToCbYCr422_8u_AC4C2R", 4, 2, RUN8(ippiBGRToCbYCr422_8u_AC4C2R(s, ss, d, ds, roi)),
       Plain::To422<false>},
      {"BGRToYCbCr422_8u_AC4C2R", 4, 2, RUN8(ippiBGRToYCbCr422_8u_AC4C2R(s, ss, d, ds, roi)),
       Plain::To422<true>},
  };
  return cases;
}
#undef RUN8

class ColourPrimitives : public testing::TestWithParam<ColourCase> {};

TEST_P(ColourPrimitives, GiveTheBytesOfThePlainLoopForEveryWidth) {
  const ColourCase& c = GetParam();
  constexpr int sk_widest = 400;
  const Bytes noise = Targets::Noise(sk_widest * c.in, 1);
  Targets::Edged source(noise.size()), destination(sk_widest * c.out);
  Targets::ForEachWay([&] {
    for (int width = 1; width <= sk_widest; width += width < 200 ? 1 : 7) {
      const size_t in = size_t(width) * c.in, out = size_t(width) * c.out;
      const uint8_t* src = source.Fill(in, noise.data());
      uint8_t* dst = destination.Fill(out);
      Bytes expected(out, 0xC5);
      c.plain(src, expected.data(), size_t(width));
      ASSERT_EQ(c.run(src, int(in), dst, int(out), {width, 1}), ippStsNoErr);
      ASSERT_EQ(Bytes(dst, dst + out), expected) << width << " pixels";
      ASSERT_TRUE(Targets::Edged::FrontIsUntouched(dst)) << width << " pixels";
    }
  });
}

TEST_P(ColourPrimitives, LeaveTheGapsBetweenLines) {
  const ColourCase& c = GetParam();
  for (const int width : {1, 31, 66}) {
    for (const size_t gap : {0, 1, 7}) {
      const size_t in = size_t(width) * c.in + gap, out = size_t(width) * c.out + gap;
      const Bytes noise = Targets::Noise(5 * in + 1, 2);
      Bytes expected(5 * out + 1, 0xC5), got = expected;
      for (size_t y = 0; y < 5; ++y)
        c.plain(noise.data() + 1 + y * in, expected.data() + 1 + y * out, size_t(width));
      ASSERT_EQ(c.run(noise.data() + 1, int(in), got.data() + 1, int(out), {width, 5}),
                ippStsNoErr);
      EXPECT_EQ(got, expected) << "width " << width << " gap " << gap;
    }
  }
}

TEST_P(ColourPrimitives, GiveTheSameBytesForAnyNumberOfThreads) {
  const ColourCase& c = GetParam();
  const Targets::Restore restore;
  const int width = 1021, height = 1027;
  const Bytes noise = Targets::Noise(size_t(width) * height * c.in, 3);
  Bytes expected(size_t(width) * height * c.out, 0xC5);
  for (int y = 0; y < height; ++y) {
    c.plain(noise.data() + size_t(y) * width * c.in, expected.data() + size_t(y) * width * c.out,
            size_t(width));
  }
  for (const unsigned threads : {1u, 2u, 8u}) {
    SetRowThreads(threads);
    Bytes got(expected.size(), 0xC5);
    c.run(noise.data(), width * int(c.in), got.data(), width * int(c.out), {width, height});
    EXPECT_TRUE(got == expected) << threads << " threads";
  }
}

TEST_P(ColourPrimitives, RefuseWhatTheyCannotDo) {
  const ColourCase& c = GetParam();
  Bytes bytes(256, 0xC5);
  EXPECT_EQ(c.run(nullptr, 16, bytes.data(), 16, {1, 1}), ippStsNullPtrErr);
  EXPECT_EQ(c.run(bytes.data(), 16, nullptr, 16, {1, 1}), ippStsNullPtrErr);
  EXPECT_EQ(c.run(bytes.data(), 16, bytes.data() + 128, 16, {0, 1}), ippStsSizeErr);
  EXPECT_EQ(c.run(bytes.data(), 16, bytes.data() + 128, 16, {1, -1}), ippStsSizeErr);
  EXPECT_EQ(c.run(bytes.data(), 0, bytes.data() + 128, 16, {1, 1}), ippStsStepErr);
  EXPECT_EQ(c.run(bytes.data(), 16, bytes.data() + 128, -16, {1, 1}), ippStsStepErr);
  EXPECT_EQ(bytes, Bytes(256, 0xC5));
}

INSTANTIATE_TEST_SUITE_P(All, ColourPrimitives, testing::ValuesIn(Cases()),
                         [](const auto& info) { return info.param.name; });

TEST(SwapChannels, RefusesOrdersOutsideTheChannels) {
  uint8_t bytes[16] = {};
  const int wrong[] = {0, 3, 1}, negative[] = {0, -1, 1, 2};
  EXPECT_EQ(ippiSwapChannels_8u_C3R(bytes, 3, bytes + 8, 3, {1, 1}, wrong), ippStsChannelOrderErr);
  EXPECT_EQ(ippiSwapChannels_8u_C3C4R(bytes, 3, bytes + 8, 4, {1, 1}, negative, 0),
            ippStsChannelOrderErr);
  EXPECT_EQ(ippiSwapChannels_8u_C3R(bytes, 3, bytes + 8, 3, {1, 1}, nullptr), ippStsNullPtrErr);
}

// The published equations, in floating point.
TEST(ColourFormulas, HoldWithinOneStepForAllColours) {
  Bytes colours, luma, back, grey;
  for (int r = 0; r < 256; r += 5) {
    for (int g = 0; g < 256; g += 5) {
      for (int b = 0; b < 256; b += 5)
        colours.insert(colours.end(), {uint8_t(r), uint8_t(g), uint8_t(b)});
    }
  }
  const int n = int(colours.size() / 3);
  luma.resize(colours.size());
  back.resize(colours.size());
  grey.resize(size_t(n));
  ippiRGBToYCbCr_8u_C3R(colours.data(), 3 * n, luma.data(), 3 * n, {n, 1});
  ippiYCbCrToRGB_8u_C3R(colours.data(), 3 * n, back.data(), 3 * n, {n, 1});
  ippiRGBToGray_8u_C3C1R(colours.data(), 3 * n, grey.data(), n, {n, 1});
  const auto clamp = [](double v) { return std::clamp(v, 0.0, 255.0); };
  double total = 0;
  for (int i = 0; i < n; ++i) {
    const uint8_t* c = &colours[size_t(i) * 3];
    const double r = c[0], g = c[1], b = c[2], y = c[0], cb = c[1], cr = c[2];
    const double expected[] = {0.257 * r + 0.504 * g + 0.098 * b + 16,
                               -0.148 * r - 0.291 * g + 0.439 * b + 128,
                               0.439 * r - 0.368 * g - 0.071 * b + 128,
                               1.164 * (y - 16) + 1.596 * (cr - 128),
                               1.164 * (y - 16) - 0.813 * (cr - 128) - 0.392 * (cb - 128),
                               1.164 * (y - 16) + 2.017 * (cb - 128),
                               0.299 * r + 0.587 * g + 0.114 * b};
    for (int k = 0; k < 7; ++k) {
      const uint8_t got = k < 3   ? luma[size_t(i) * 3 + size_t(k)]
                          : k < 6 ? back[size_t(i) * 3 + size_t(k) - 3]
                                  : grey[size_t(i)];
      const double error = got - clamp(expected[k]);
      ASSERT_LE(std::abs(error), 0.56) << "colour " << r << "," << g << "," << b << " result " << k;
      total += error;
    }
  }
  EXPECT_LE(std::abs(total / (7.0 * n)), 0.02);
}

}  // namespace
