// SPDX-License-Identifier: Apache-2.0
// Demosaicing on every instruction set: against a plain loop, at every size, at the edges, in parts
// and on threads.
#include "PlainDemosaic.h"
#include "Targets.h"
#include "primitives/Ipp.h"

namespace {

using namespace Orvex::Primitives;

constexpr IppiBayerGrid sk_grids[] = {ippiBayerBGGR, ippiBayerRGGB, ippiBayerGBRG, ippiBayerGRBG};

// One of the four functions, on bytes at any address.
struct Function {
  const char* name;
  bool adaptive;
  size_t bytes;  // of a sample

  IppStatus operator()(const uint8_t* src, IppiRect region, IppiSize size, int srcStep,
                       uint8_t* dst, int dstStep, IppiBayerGrid grid) const {
    std::vector<uint16_t> tmp(size_t(region.width + 6) * 30);
    const int tmpStep = (region.width + 6) * int(bytes);
    Ipp8u* tmp8 = reinterpret_cast<Ipp8u*>(tmp.data());
    const Ipp16u* src16 = reinterpret_cast<const Ipp16u*>(src);
    Ipp16u* dst16 = reinterpret_cast<Ipp16u*>(dst);
    if (adaptive) {
      return bytes == 1 ? ippiDemosaicAHD_8u_C1C3R(src, region, size, srcStep, dst, dstStep, grid,
                                                   tmp8, tmpStep)
                        : ippiDemosaicAHD_16u_C1C3R(src16, region, size, srcStep, dst16, dstStep,
                                                    grid, tmp.data(), tmpStep);
    }
    return bytes == 1
               ? ippiCFAToRGB_8u_C1C3R(src, region, size, srcStep, dst, dstStep, grid, 0)
               : ippiCFAToRGB_16u_C1C3R(src16, region, size, srcStep, dst16, dstStep, grid, 0);
  }
};

constexpr Function sk_functions[] = {{"Directional8", false, 1},
                                     {"Directional16", false, 2},
                                     {"Adaptive8", true, 1},
                                     {"Adaptive16", true, 2}};

class Demosaicing : public testing::TestWithParam<Function> {};

TEST_P(Demosaicing, GivesTheBytesOfThePlainLoopOnEveryInstructionSetAtEverySize) {
  const Function& function = GetParam();
  const std::vector<uint8_t> noise = Targets::Noise(70 * 40 * 2, 1);
  Targets::Edged source(noise.size()), destination(3 * noise.size());
  for (const auto& [width, height] : {std::pair{1, 1},
                                      {1, 7},
                                      {2, 1},
                                      {2, 2},
                                      {3, 5},
                                      {5, 3},
                                      {8, 8},
                                      {15, 4},
                                      {16, 9},
                                      {17, 2},
                                      {31, 33},
                                      {32, 16},
                                      {33, 6},
                                      {63, 5},
                                      {64, 3},
                                      {65, 12},
                                      {67, 35}}) {
    for (const IppiBayerGrid grid : sk_grids) {
      const size_t size = size_t(width) * size_t(height) * function.bytes;
      const uint8_t* src = source.Fill(size, noise.data());
      const Plain::Mosaic mosaic(src, function.bytes, width, height, grid);
      std::vector<uint8_t> expected;
      for (const int value :
           function.adaptive ? Plain::Adaptive(mosaic) : Plain::Directional(mosaic)) {
        expected.push_back(uint8_t(value));
        if (function.bytes == 2) expected.push_back(uint8_t(value >> 8));
      }
      Targets::ForEachWay([&] {
        uint8_t* dst = destination.Fill(3 * size);
        const int step = width * int(function.bytes);
        ASSERT_EQ(function(src, {0, 0, width, height}, {width, height}, step, dst, 3 * step, grid),
                  ippStsNoErr);
        const std::vector<uint8_t> got(dst, dst + 3 * size);
        ASSERT_EQ(got, expected) << width << " x " << height << " grid " << grid;
        ASSERT_TRUE(Targets::Edged::FrontIsUntouched(dst));
      });
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}

TEST_P(Demosaicing, WritesEveryPixelWhateverWasThere) {
  const Function& function = GetParam();
  const std::vector<uint8_t> noise = Targets::Noise(21 * 13 * function.bytes, 2);
  std::vector<uint8_t> first(3 * noise.size(), 0x00), second(3 * noise.size(), 0xFF);
  const int step = 21 * int(function.bytes);
  for (auto* out : {&first, &second}) {
    function(noise.data(), {0, 0, 21, 13}, {21, 13}, step, out->data(), 3 * step, ippiBayerGRBG);
  }
  EXPECT_EQ(first, second);
}

TEST_P(Demosaicing, MakesPartsAsTheWholeAtAnyAddressWithAnyStep) {
  const Function& function = GetParam();
  const int width = 61, height = 47;
  const size_t in = size_t(width) * function.bytes + 5;
  const std::vector<uint8_t> noise = Targets::Noise(in * height + 1, 3);
  const size_t pixel = 3 * function.bytes;
  std::vector<uint8_t> whole(size_t(width) * height * pixel);
  function(noise.data() + 1, {0, 0, width, height}, {width, height}, int(in), whole.data(),
           width * int(pixel), ippiBayerRGGB);
  for (const IppiRect& part :
       {IppiRect{0, 0, 61, 5}, {7, 3, 33, 20}, {20, 30, 41, 17}, {60, 46, 1, 1}, {13, 0, 2, 47}}) {
    const size_t out = size_t(part.width) * pixel + 3;
    std::vector<uint8_t> got(out * size_t(part.height) + 1, 0xC5), expected = got;
    for (int y = 0; y < part.height; ++y) {
      std::copy_n(&whole[(size_t(part.y + y) * width + size_t(part.x)) * pixel],
                  size_t(part.width) * pixel, &expected[1 + size_t(y) * out]);
    }
    ASSERT_EQ(function(noise.data() + 1, part, {width, height}, int(in), got.data() + 1, int(out),
                       ippiBayerRGGB),
              ippStsNoErr);
    EXPECT_EQ(got, expected) << part.x << "," << part.y;
  }
}

TEST_P(Demosaicing, GivesTheSameBytesForAnyNumberOfThreads) {
  const Function& function = GetParam();
  const Targets::Restore restore;
  const int width = 803, height = 611;
  const std::vector<uint8_t> noise = Targets::Noise(size_t(width) * height * function.bytes, 4);
  std::vector<std::vector<uint8_t>> results;
  for (const unsigned threads : {1u, 2u, 5u}) {
    SetRowThreads(threads);
    results.emplace_back(3 * noise.size());
    const int step = width * int(function.bytes);
    function(noise.data(), {0, 0, width, height}, {width, height}, step, results.back().data(),
             3 * step, ippiBayerGBRG);
  }
  EXPECT_TRUE(results[1] == results[0]);
  EXPECT_TRUE(results[2] == results[0]);
}

TEST_P(Demosaicing, RefusesWhatItCannotDo) {
  const Function& function = GetParam();
  uint8_t src[256] = {}, dst[768] = {};
  const IppiRect all{0, 0, 8, 8};
  EXPECT_EQ(function(nullptr, all, {8, 8}, 16, dst, 48, ippiBayerRGGB), ippStsNullPtrErr);
  EXPECT_EQ(function(src, all, {8, 8}, 16, nullptr, 48, ippiBayerRGGB), ippStsNullPtrErr);
  EXPECT_EQ(function(src, all, {8, 0}, 16, dst, 48, ippiBayerRGGB), ippStsSizeErr);
  EXPECT_EQ(function(src, {1, 0, 8, 8}, {8, 8}, 16, dst, 48, ippiBayerRGGB), ippStsSizeErr);
  EXPECT_EQ(function(src, {0, -1, 8, 8}, {8, 8}, 16, dst, 48, ippiBayerRGGB), ippStsSizeErr);
  EXPECT_EQ(function(src, {0, 0, 0, 8}, {8, 8}, 16, dst, 48, ippiBayerRGGB), ippStsSizeErr);
  EXPECT_EQ(function(src, all, {8, 8}, 0, dst, 48, ippiBayerRGGB), ippStsStepErr);
  EXPECT_EQ(function(src, all, {8, 8}, 16, dst, 48, IppiBayerGrid(4)), ippStsBadArgErr);
}

TEST(DemosaicingArguments, TakesNoOtherInterpolationAndNeedsItsTemporaryImage) {
  uint8_t src[64] = {}, dst[192];
  EXPECT_EQ(ippiCFAToRGB_8u_C1C3R(src, {0, 0, 8, 8}, {8, 8}, 8, dst, 24, ippiBayerRGGB, 1),
            ippStsBadArgErr);
  EXPECT_EQ(
      ippiDemosaicAHD_8u_C1C3R(src, {0, 0, 8, 8}, {8, 8}, 8, dst, 24, ippiBayerRGGB, nullptr, 14),
      ippStsNullPtrErr);
  EXPECT_EQ(ippiDemosaicAHD_8u_C1C3R(src, {0, 0, 8, 8}, {8, 8}, 8, dst, 24, ippiBayerRGGB, src, 0),
            ippStsStepErr);
}

INSTANTIATE_TEST_SUITE_P(All, Demosaicing, testing::ValuesIn(sk_functions),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
