// SPDX-License-Identifier: Apache-2.0
// Every depth kernel on every instruction set against the plain loop: each size, odd addresses,
// buffers that end where memory ends, and what must stay untouched.
#include "primitives/BitDepth.h"

#include "PlainDepth.h"
#include "Targets.h"

namespace {

using namespace Orvex::Primitives;
using Bytes = std::vector<uint8_t>;

class DepthKernels : public testing::TestWithParam<DepthKernelRow> {};

TEST_P(DepthKernels, GiveTheBytesOfThePlainLoopForEverySize) {
  const DepthKernelRow& kernel = GetParam();
  const Bytes noise = Targets::Noise(BytesOf(kernel.from, 200), 1);
  Targets::Edged source(noise.size()), destination(BytesOf(kernel.to, 200));
  Targets::ForEach([&] {
    for (uint32_t n = 0; n <= 200; ++n) {
      const size_t in = BytesOf(kernel.from, n), out = BytesOf(kernel.to, n);
      const uint8_t* src = source.Fill(in, noise.data());
      uint8_t* dst = destination.Fill(out);
      Bytes expected(out, 0xC5);
      Plain::Run(kernel.from, kernel.to, src, expected.data(), n, 1);
      kernel.run(src, dst, n, 1);
      ASSERT_EQ(Bytes(dst, dst + out), expected) << n << " samples";
      ASSERT_TRUE(Targets::Edged::FrontIsUntouched(dst)) << n << " samples";
    }
  });
}

TEST_P(DepthKernels, TakeAnyAddress) {
  const DepthKernelRow& kernel = GetParam();
  const Bytes noise = Targets::Noise(BytesOf(kernel.from, 67 * 35) + 16, 2);
  Targets::ForEach([&] {
    for (size_t offset = 0; offset < 16; ++offset) {
      const size_t out = BytesOf(kernel.to, 67 * 35);
      Bytes expected(out + 32, 0xC5), got(out + 32, 0xC5);
      Plain::Run(kernel.from, kernel.to, noise.data() + offset, expected.data() + 15 - offset, 67,
                 35);
      kernel.run(noise.data() + offset, got.data() + 15 - offset, 67, 35);
      ASSERT_EQ(got, expected) << "offset " << offset;
    }
  });
}

TEST_P(DepthKernels, GiveTheSameBytesForAnyNumberOfThreads) {
  const DepthKernelRow& kernel = GetParam();
  const Targets::Restore restore;
  const uint32_t width = 1021, height = 1027;
  const Bytes noise = Targets::Noise(BytesOf(kernel.from, width * height), 3);
  Bytes expected(BytesOf(kernel.to, width * height), 0xC5);
  SetRowThreads(1);
  kernel.run(noise.data(), expected.data(), width, height);
  for (const unsigned threads : {2u, 3u, 8u}) {
    SetRowThreads(threads);
    Bytes got(expected.size(), 0xC5);
    kernel.run(noise.data(), got.data(), width, height);
    EXPECT_TRUE(got == expected) << threads << " threads";
  }
}

INSTANTIATE_TEST_SUITE_P(All, DepthKernels, testing::ValuesIn(sk_depthKernels),
                         [](const auto& info) { return std::string(info.param.name); });

// Values by hand, so that the plain loop cannot be wrong in the same way.
struct HandCase {
  DepthKernel kernel;
  Bytes source, expected;
};

TEST(DepthKernelsByHand, FollowTheLayouts) {
  const HandCase cases[] = {
      // 0x3FF, 0x001, 0x200, 0x155 from the least significant bit.
      {Unpack10pTo16,
       {0xFF, 0x07, 0x00, 0x60, 0x55},
       {0xC0, 0xFF, 0x40, 0x00, 0x00, 0x80, 0x40, 0x55}},
      {Unpack10pTo8, {0xFF, 0x07, 0x00, 0x60, 0x55}, {0xFF, 0x00, 0x80, 0x55}},
      {Pack16To10p,
       {0xC0, 0xFF, 0x40, 0x00, 0x00, 0x80, 0x40, 0x55},
       {0xFF, 0x07, 0x00, 0x60, 0x55}},
      {Pack8To10p, {0xFF, 0x01, 0x80, 0x55}, {0xFC, 0x13, 0x00, 0x20, 0x55}},
      {Unpack12pTo16, {0xBC, 0x3A, 0x12}, {0xC0, 0xAB, 0x30, 0x12}},
      {Pack16To12p, {0xC0, 0xAB, 0x30, 0x12}, {0xBC, 0x3A, 0x12}},
      {Unpack12pTo8, {0xBC, 0x3A, 0x12}, {0xAB, 0x12}},
      {Pack8To12p, {0xAB, 0x12}, {0xB0, 0x0A, 0x12}},
      {Unpack12PackedTo16, {0xAB, 0x3C, 0x12}, {0xC0, 0xAB, 0x30, 0x12}},
      {Pack16To12Packed, {0xC0, 0xAB, 0x30, 0x12}, {0xAB, 0x3C, 0x12}},
      {Unpack10PackedTo16, {0xAB, 0x31, 0x12}, {0x40, 0xAB, 0xC0, 0x12}},
      {Pack16To10Packed, {0x40, 0xAB, 0xC0, 0x12}, {0xAB, 0x31, 0x12}},
      {Pack8To10Packed, {0xAB, 0x12}, {0xAB, 0xC5, 0x12}},
      {Unpack10To8, {0xFF, 0x03}, {0xFF}},
      {Unpack12To8, {0xFF, 0x0A}, {0xAF}},
      {Pack8To12, {0xAB}, {0xB0, 0x0A}},
      {Unpack16To8, {0xFF, 0x12}, {0x12}},
      {Pack8To16, {0x12}, {0xC5, 0x12}},
      {Unpack24To8, {1, 2, 3}, {3}},
      {Pack8To24, {3}, {0xC5, 0xC5, 3}},
  };
  for (const HandCase& hand : cases) {
    for (const DepthKernelRow& row : sk_depthKernels) {
      if (row.run != hand.kernel) continue;
      Bytes got(hand.expected.size(), 0xC5);
      hand.kernel(
          hand.source.data(), got.data(),
          uint32_t(hand.source.size() * GroupOf(row.from).samples / GroupOf(row.from).bytes), 1);
      EXPECT_EQ(got, hand.expected) << row.name;
    }
  }
  const Bytes groups = {10, 1, 2, 20, 3, 4};
  Bytes wide(8);
  RegroupUYYVYYToUYVY(groups.data(), wide.data(), 4, 1);
  EXPECT_EQ(wide, (Bytes{10, 1, 20, 2, 10, 3, 20, 4}));
}

}  // namespace
