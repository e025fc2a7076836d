// SPDX-License-Identifier: Apache-2.0
// Pictures as text: proportions, colours, depths.
#include "tools/Preview.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace OrvexTools {
namespace {

Picture Over(const std::vector<std::uint8_t>& data, std::uint32_t width, std::uint32_t height,
             unsigned channels = 1, unsigned bits = 8) {
  return {width, height, channels, bits, width * channels * bits / 8, data};
}

TEST(Preview, ShowsTwoPixelsInOneCharacterInColour) {
  const std::vector<std::uint8_t> data = {255, 0, 0, 0, 0, 255, 0, 255, 0, 9, 9, 9};
  EXPECT_EQ(PreviewText(Over(data, 2, 2, 3), {80, 24, true}),
            "\x1b[38;2;255;0;0m\x1b[48;2;0;255;0m\u2580"
            "\x1b[38;2;0;0;255m\x1b[48;2;9;9;9m\u2580\x1b[0m\n");
}

TEST(Preview, RepeatsNoColourThatIsSet) {
  const std::vector<std::uint8_t> data(8, 77);
  EXPECT_EQ(PreviewText(Over(data, 4, 2), {80, 24, true}),
            "\x1b[38;2;77;77;77m\x1b[48;2;77;77;77m\u2580\u2580\u2580\u2580\x1b[0m\n");
}

TEST(Preview, WithoutColourIsBrightnessAndNothingElse) {
  const std::vector<std::uint8_t> samples = {0, 0, 0xFF, 0xFF};  // 16 bits: black, white
  EXPECT_EQ(PreviewText(Over(samples, 2, 1, 1, 16), {80, 24, false}), " @\n");
}

struct Fit {
  std::uint32_t width, height;
  unsigned columns, lines;  // room
  std::size_t expectColumns, expectLines;
};

class PreviewFits : public testing::TestWithParam<Fit> {};

TEST_P(PreviewFits, AndKeepsItsProportions) {
  const Fit& fit = GetParam();
  const std::vector<std::uint8_t> data(std::size_t{fit.width} * fit.height, 200);
  const std::string text =
      PreviewText(Over(data, fit.width, fit.height), {fit.columns, fit.lines, false});
  EXPECT_EQ(text.find('\n'), fit.expectColumns);
  EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')), fit.expectLines);
}

INSTANTIATE_TEST_SUITE_P(Rooms, PreviewFits,
                         testing::Values(Fit{1280, 1024, 80, 24, 60, 24},
                                         Fit{4000, 10, 80, 24, 80, 1}, Fit{3, 3000, 80, 24, 1, 24},
                                         Fit{6, 4, 80, 24, 6, 2}, Fit{640, 480, 80, 100, 80, 30}));

}  // namespace
}  // namespace OrvexTools
