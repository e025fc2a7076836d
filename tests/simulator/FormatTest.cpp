// SPDX-License-Identifier: Apache-2.0
// Pixel layouts, with bytes worked out by hand from the pixels.
#include <gtest/gtest.h>

#include <ostream>

#include "../gigevision/Hex.h"
#include "simulator/Painter.h"

using namespace OrvexSim;

namespace {

struct LayoutRow {
  const char* format;
  const char* bytes;
  size_t row = 0;
};
void PrintTo(const LayoutRow& row, std::ostream* out) {
  *out << row.format;
}

// Eight grey pixels whose 12 high bits are 0x123, 0x456, 0x789, 0xABC, 0xDEF, 0x012, 0x345, 0x678.
const LayoutRow sk_greyRows[] = {
    {"Mono8", "12 45 78 AB DE 01 34 67"},
    {"Mono10", "4800 1501 E201 AF02 7B03 0400 D100 9E01"},
    // 10 bits: 048 115 1E2 2AF 37B 004 0D1 19E
    {"Mono10p", "48 54 24 DE AB 7B 13 10 8D 67"},
    {"Mono10Packed", "12 10 45  78 32 AB  DE 03 01  34 21 67"},
    {"Mono12", "2301 5604 8907 BC0A EF0D 1200 4503 7806"},
    {"Mono12p", "23 61 45  89 C7 AB  EF 2D 01  45 83 67"},
    {"Mono12Packed", "12 63 45  78 C9 AB  DE 2F 01  34 85 67"},
    {"Mono16", "3012 6045 9078 C0AB F0DE 2001 5034 8067"},
    {"Mono24", "123012 456045 789078 ABC0AB DEF0DE 012001 345034 678067"},
};
// Eight pixels that alternate between (0x1100, 0x2200, 0x3300) and (0x4400, 0x5500, 0x6600).
const LayoutRow sk_colourRows[] = {
    {"BayerRG8", "11 55 11 55 11 55 11 55", 0},
    {"BayerRG8", "22 66 22 66 22 66 22 66", 1},
    {"BayerGB8", "22 66 22 66 22 66 22 66", 0},
    {"BayerGB8", "11 55 11 55 11 55 11 55", 1},
    {"BayerGR8", "22 44 22 44 22 44 22 44", 0},
    {"BayerGR8", "33 55 33 55 33 55 33 55", 1},
    {"BayerBG8", "33 55 33 55 33 55 33 55", 0},
    {"BayerBG8", "22 44 22 44 22 44 22 44", 1},
    {"BayerRG12p", "10 01 55 10 01 55 10 01 55 10 01 55", 0},
    {"BayerRG16", "0011 0055 0011 0055 0011 0055 0011 0055", 0},
    {"BayerBG12Packed", "33 00 55  33 00 55  33 00 55  33 00 55", 0},
    {"BGR12p",
     "30 03 22 10 01 66  50 05 44 30 03 22 10 01 66 50 05 44"
     "30 03 22 10 01 66  50 05 44 30 03 22 10 01 66 50 05 44"},
    {"RGB8", "112233 445566 112233 445566 112233 445566 112233 445566"},
    {"BGR8", "332211 665544 332211 665544 332211 665544 332211 665544"},
    {"BGRa8", "332211FF 665544FF 332211FF 665544FF 332211FF 665544FF 332211FF 665544FF"},
};

class Layout : public testing::TestWithParam<LayoutRow> {};
class ColourLayout : public testing::TestWithParam<LayoutRow> {};

const PixelFormat& Format(std::string_view name) {
  for (const PixelFormat& format : AllPixelFormats()) {
    if (format.name == name) return format;
  }
  throw std::out_of_range(std::string(name));
}

std::vector<uint8_t> Pack(const LayoutRow& row, const std::vector<uint16_t>& rgb) {
  const PixelFormat& format = Format(row.format);
  std::vector<uint8_t> out(RowBytes(format, rgb.size() / 3));
  PackRow(format, rgb.data(), rgb.size() / 3, row.row, 0, out.data());
  return out;
}

TEST_P(Layout, OfGreyPixels) {
  std::vector<uint16_t> rgb;
  for (const uint16_t grey : {0x1230, 0x4560, 0x7890, 0xABC0, 0xDEF0, 0x0120, 0x3450, 0x6780}) {
    rgb.insert(rgb.end(), 3, grey);
  }
  EXPECT_EQ(Pack(GetParam(), rgb), Hex(GetParam().bytes));
}

TEST_P(ColourLayout, OfAlternatingPixels) {
  std::vector<uint16_t> rgb;
  for (int i = 0; i < 4; ++i)
    rgb.insert(rgb.end(), {0x1100, 0x2200, 0x3300, 0x4400, 0x5500, 0x6600});
  EXPECT_EQ(Pack(GetParam(), rgb), Hex(GetParam().bytes));
}

INSTANTIATE_TEST_SUITE_P(Mono, Layout, testing::ValuesIn(sk_greyRows),
                         [](const auto& info) { return std::string(info.param.format); });
INSTANTIATE_TEST_SUITE_P(Colour, ColourLayout, testing::ValuesIn(sk_colourRows),
                         [](const auto& info) {
                           return std::string(info.param.format) +
                                  (info.param.row == 0 ? "" : "SecondRow");
                         });

TEST(ColourDifferences, OfPureColours) {
  // Full red, full green: Y 76 and 149; Cb 85 and 44; Cr 255 and 21.
  std::vector<uint16_t> rgb;
  for (int i = 0; i < 4; ++i) rgb.insert(rgb.end(), {65535, 0, 0});
  for (int i = 0; i < 4; ++i) rgb.insert(rgb.end(), {0, 65535, 0});
  const auto one = [&](const char* format) { return Pack({format, ""}, rgb); };
  EXPECT_EQ(one("YCbCr8").front(), 76);
  const auto whole = one("YCbCr8");
  const std::vector<uint8_t> red(whole.begin(), whole.begin() + 3),
      green(whole.end() - 3, whole.end());
  EXPECT_NEAR(red[1], 85, 1);
  EXPECT_EQ(red[2], 255);
  EXPECT_NEAR(green[0], 149, 1);
  EXPECT_NEAR(green[1], 44, 1);
  EXPECT_NEAR(green[2], 21, 1);
  const auto order = [&](const char* format, size_t luma, size_t cb, size_t cr) {
    const auto bytes = one(format);
    EXPECT_EQ(bytes[luma], red[0]) << format;
    EXPECT_EQ(bytes[cb], red[1]) << format;
    EXPECT_EQ(bytes[cr], red[2]) << format;
  };
  order("YCbCr8_CbYCr", 1, 0, 2);
  order("YCbCr422_8", 2, 1, 3);
  order("YCbCr422_8_CbYCrY", 3, 0, 2);
  order("YCbCr411_8", 4, 2, 5);
  order("YCbCr411_8_CbYYCrYY", 5, 0, 3);
}

TEST(Painting, FramesDoNotDependOnWhatTheirMemoryHeldBefore) {
  PaintSettings settings;
  settings.width = 640;
  settings.height = 480;
  settings.format = &Format("BayerRG10p");
  Painter painter(Scene::Chart(1936, 1216));
  painter.Configure(settings);
  std::vector<uint8_t> reused(painter.FrameBytes()), fresh(painter.FrameBytes());
  CanvasState state;
  for (const uint64_t frame : {0, 1, 2, 40, 41}) {
    painter.Paint(frame, reused, state);
    CanvasState none;
    std::fill(fresh.begin(), fresh.end(), uint8_t{0xEE});
    painter.Paint(frame, fresh, none);
    EXPECT_EQ(reused, fresh) << frame;
  }
}

TEST(Painting, TheBallIsWhereItWasForetold) {
  PaintSettings settings;
  settings.width = 1280;
  settings.height = 1024;
  settings.format = &Format("RGB8");
  Painter painter(Scene::Chart(1936, 1216));
  painter.Configure(settings);
  std::vector<uint8_t> frame(painter.FrameBytes());
  CanvasState state;
  for (const uint64_t number : {0, 7, 100}) {
    painter.Paint(number, frame, state);
    const auto [x, y] = MovingParts(number).Ball();
    const uint8_t* pixel = &frame[(static_cast<size_t>(y) * 1280 + static_cast<size_t>(x)) * 3];
    EXPECT_GT(pixel[0], 150) << number;
    EXPECT_LT(pixel[2], 60) << number;
  }
}

}  // namespace
