// SPDX-License-Identifier: Apache-2.0
// Bit selection, with and without scaling, against samples read bit by bit.
#include <gmock/gmock.h>

#include <cmath>

#include "ImageTools.h"
#include "PixelFormat.h"
#include "primitives/RowThreads.h"

namespace Orvex::Testing {
namespace {

using GenICam::InvalidArgumentException;

// One format: how its samples lie, n / d samples a pixel, the outputs of both operations.
struct SelectCase {
  PfncFormat_ format;
  BitLayout layout;
  size_t n, d;
  PfncFormat_ output;
};

// The words of unpacked formats are taken whole when they are scaled.
constexpr SelectCase sk_cases[] = {
    {Mono8, sk_bits8, 1, 1, Mono8},
    {BayerGR10, sk_bits16, 1, 1, BayerGR8},
    {Mono10p, sk_bits10p, 1, 1, Mono8},
    {BayerBG12, sk_bits16, 1, 1, BayerBG8},
    {BayerRG12p, sk_bits12p, 1, 1, BayerRG8},
    {PolarizeMono12Packed, sk_bits12Packed, 1, 1, PolarizeMono8},
    {Mono16, sk_bits16, 1, 1, Mono8},
    {BayerGB24, sk_bits24, 1, 1, BayerGB8},
    {RGB8, sk_bits8, 3, 1, RGB8},
    {RGB12, sk_bits16, 3, 1, RGB8},
    {BGR12p, sk_bits12p, 3, 1, BGR8},
    {RGB16, sk_bits16, 3, 1, RGB8},
    {BGR24, sk_bits24, 3, 1, BGR8},
    {RGBa8, sk_bits8, 4, 1, RGBa8},
    {BGRa16, sk_bits16, 4, 1, BGRa8},
    {YCbCr411_8, sk_bits8, 3, 2, YCbCr411_8},
    {YCbCr411_16_CbYYCrYY, sk_bits16, 3, 2, YCbCr411_8_CbYYCrYY},
    {YCbCr411_24_CbYYCrYY, sk_bits24, 3, 2, YCbCr411_8_CbYYCrYY},
    {YUV422_8_UYVY, sk_bits8, 2, 1, YUV422_8_UYVY},
    {YCbCr422_16_CbYCrY, sk_bits16, 2, 1, YCbCr422_8_CbYCrY},
    {YCbCr422_24_CbYCrY, sk_bits24, 2, 1, YCbCr422_8_CbYCrY},
    {PolarizedAolp_Mono12, sk_bits16, 1, 1, PolarizedAolp_Mono8},
    {PolarizedDolpAolp_BayerRG12p, sk_bits12p, 2, 1, PolarizedDolpAolp_BayerRG8},
    {PolarizedStokes_S0_S1_S2_Mono12p, sk_bits12p, 3, 1, PolarizedStokes_S0_S1_S2_Mono8},
    {PolarizedStokes_S0_S1_S2_S3_Mono16, sk_bits16, 4, 1, PolarizedStokes_S0_S1_S2_S3_Mono8},
    {PolarizedAngles_0d_45d_90d_135d_Mono12p, sk_bits12p, 4, 1,
     PolarizedAngles_0d_45d_90d_135d_Mono8},
    {DualMono10, sk_bits16, 1, 1, DualMono8},
    {QuadBayerGB16, sk_bits16, 1, 1, QuadBayerGB8},
};

unsigned DepthOf(PfncFormat_ format, const BitLayout& layout) {
  switch (format) {
    case BayerGR10:
    case DualMono10:
      return 10;
    case BayerBG12:
    case RGB12:
    case PolarizedAolp_Mono12:
      return 12;
    default:
      return layout.bits;
  }
}

Bytes Scaled(const SelectCase& row, const Bytes& data, size_t pixels, double scale) {
  const double factor = std::pow(2.0, 7.0 - ((DepthOf(row.format, row.layout) - 1.0) - scale));
  Bytes expected(pixels * row.n / row.d);
  for (size_t i = 0; i < expected.size(); ++i) {
    const double product = Sample(row.layout, data, i) * factor;
    expected[i] = product > 255.0 ? 255 : static_cast<uint8_t>(product);
  }
  return expected;
}

class EachSelectCase : public WithFactory, public testing::WithParamInterface<SelectCase> {};

TEST_P(EachSelectCase, ScalesEverySampleAndSaturates) {
  const SelectCase& row = GetParam();
  for (const auto& [width, height] :
       {std::pair<size_t, size_t>{1, 1}, {2, 1}, {3, 3}, {4, 3}, {7, 5}, {67, 35}, {129, 65}}) {
    // Many small samples, which large factors tell apart.
    Bytes data = RandomBytes(ImageBytes(width, height, row.format));
    for (size_t i = 0; i < data.size(); ++i) data[i] = i / 5 % 2 ? data[i] : data[i] >> 7;
    const ImagePtr image = MakeImage(row.format, width, height, data);
    for (const double scale : {0.0, 1.0, 4.0, -1.0, 40.0, -40.0, 0.5, -2.25, 1e9, -1e9}) {
      const ImagePtr result(ImageFactory::SelectBitsAndScale(image.get(), 8, scale));
      ASSERT_EQ(DataOf(result.get()), Scaled(row, data, width * height, scale))
          << width << "x" << height << " scale " << scale;
      EXPECT_EQ(result->GetPixelFormat(), row.output);
      EXPECT_EQ(result->GetWidth(), width);
      EXPECT_EQ(result->GetHeight(), height);
    }
    EXPECT_EQ(DataOf(image.get()), data);
  }
}

TEST_P(EachSelectCase, KeepsTheBitsFromTheLowestOn) {
  const SelectCase& row = GetParam();
  const int depth = static_cast<int>(DepthOf(row.format, row.layout));
  for (const auto& [width, height] : {std::pair<size_t, size_t>{1, 1}, {5, 3}, {67, 35}}) {
    const ImagePtr image = RandomImage(row.format, width, height);
    const Bytes data = DataOf(image.get());
    for (int lowest = 0; lowest <= depth - 8; ++lowest) {
      Bytes expected(ImageFactory::SelectBitsLen(image.get(), 8, lowest));
      ASSERT_EQ(expected.size(), width * height * row.n / row.d);
      for (size_t i = 0; i < expected.size(); ++i) {
        expected[i] = static_cast<uint8_t>(Sample(row.layout, data, i) >> lowest);
      }
      const ImagePtr deep(ImageFactory::SelectBits(image.get(), 8, lowest));
      ASSERT_EQ(DataOf(deep.get()), expected) << width << "x" << height << " lowest " << lowest;
      EXPECT_EQ(deep->GetPixelFormat(), row.output);

      Bytes buffer(expected.size() + 2, 0xA5);
      const ImagePtr shallow(ImageFactory::SelectBitsShallow(buffer.data() + 1, expected.size(),
                                                             image.get(), 8, lowest));
      ASSERT_EQ(DataOf(shallow.get()), expected);
      EXPECT_EQ(buffer.front(), 0xA5);
      EXPECT_EQ(buffer.back(), 0xA5);
    }
    for (const int outside : {-1, depth - 7, 1000}) {
      EXPECT_THAT(Thrown<InvalidArgumentException>(
                      [&] { ImageFactory::SelectBits(image.get(), 8, outside); }),
                  testing::HasSubstr("lowest bit " + std::to_string(outside) + " not available"));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, EachSelectCase, testing::ValuesIn(sk_cases),
                         [](const auto& info) { return "Format" + std::to_string(info.index); });

class BitSelection : public WithFactory {};

TEST_F(BitSelection, TakesTheLowBitsOfPackedTenFromWhereTheyStandForScaling) {
  // Two samples in three bytes; while scaling, the low bits are bits 3..2 and 7..6 of the middle
  // byte. 0x40 << 2 | 2 and 0x20 << 2 | 1.
  const ImagePtr image = MakeImage(BayerRG10Packed, 2, 1, {0x40, 0b01001000, 0x20});
  const ImagePtr result(ImageFactory::SelectBitsAndScale(image.get(), 8, 2.0));
  EXPECT_THAT(DataOf(result.get()), testing::ElementsAre(255, 0x81));
  const ImagePtr same(ImageFactory::SelectBitsAndScale(image.get(), 8, 1.0));
  EXPECT_THAT(DataOf(same.get()), testing::ElementsAre(0x81, 0x40));
  // Without scaling they stand where the format has them: bits 1..0 and 5..4.
  const ImagePtr low(ImageFactory::SelectBits(image.get(), 8, 0));
  EXPECT_THAT(DataOf(low.get()), testing::ElementsAre(0x00, 0x80));
}

TEST_F(BitSelection, TreatsOneChannelOfTwoInTheEightBitDolpAolpFormats) {
  const ImagePtr image = MakeImage(PolarizedDolpAolp_Mono8, 2, 1, {1, 2, 3, 4});
  const ImagePtr scaled(ImageFactory::SelectBitsAndScale(image.get(), 8, 0));
  EXPECT_EQ(scaled->GetPixelFormat(), PolarizedDolpAolp_Mono8);
  EXPECT_THAT(DataOf(scaled.get()), testing::ElementsAre(1, 2));
  const ImagePtr whole(ImageFactory::SelectBits(image.get(), 8, 0));
  EXPECT_THAT(DataOf(whole.get()), testing::ElementsAre(1, 2, 3, 4));
}

TEST_F(BitSelection, MakesNothingOfAScaleThatIsNoNumber) {
  for (const PfncFormat_ format : {Mono8, Mono12p, Mono24}) {
    const ImagePtr image = RandomImage(format, 4, 2);
    const ImagePtr result(ImageFactory::SelectBitsAndScale(image.get(), 8, std::nan("")));
    EXPECT_THAT(DataOf(result.get()), testing::Each(0));
  }
}

TEST_F(BitSelection, LabelsScaledBGR12AsItself) {
  const ImagePtr image = RandomImage(BGR12, 2, 2);
  EXPECT_EQ(ImagePtr(ImageFactory::SelectBitsAndScale(image.get(), 8, 0))->GetPixelFormat(), BGR12);
  EXPECT_EQ(ImagePtr(ImageFactory::SelectBits(image.get(), 8, 4))->GetPixelFormat(), BGR8);
}

TEST_F(BitSelection, SaysWhatItCannotDo) {
  const ImagePtr coordinates = RandomImage(Coord3D_ABC16, 2, 2), mono = RandomImage(Mono12p, 2, 2);
  EXPECT_EQ(Thrown<InvalidArgumentException>(
                [&] { ImageFactory::SelectBitsAndScale(coordinates.get(), 8, 0); }),
            Plain("InvalidArgumentException",
                  "Bit selection attempted but unavailable on pixel format Coord3D_ABC16",
                  "SelectBitsAndScaleImpl.cpp", "SelectBitsAndScale_NoImpl"));
  // Asked directly, a descriptor may see no image at all.
  const std::unique_ptr<IImplementation> descriptor(GetPixelFormat(Coord3D_C16));
  EXPECT_EQ(
      Thrown<InvalidArgumentException>([&] { descriptor->SelectBitsAndScale(nullptr, 8, 0); }),
      Plain("InvalidArgumentException", "Bit selection not available", "SelectBitsAndScaleImpl.cpp",
            "SelectBitsAndScale_NoImpl"));
  for (const int outside : {-1, 5}) {
    EXPECT_EQ(
        Thrown<InvalidArgumentException>([&] { ImageFactory::SelectBits(mono.get(), 8, outside); }),
        Plain("InvalidArgumentException",
              "lowest bit " + std::to_string(outside) + " not available for pixel format Mono12p",
              "ImageFactorySelectBits.cpp", "CheckLowestBit"));
  }
}

TEST_F(BitSelection, GivesTheSameBytesOnOneThreadAndOnMany) {
  const ImagePtr image = RandomImage(Mono12p, 2049, 1023);
  Primitives::SetRowThreads(1);
  const ImagePtr alone(ImageFactory::SelectBits(image.get(), 8, 3));
  Primitives::SetRowThreads(Primitives::sk_maxRowThreads);
  const ImagePtr shared(ImageFactory::SelectBits(image.get(), 8, 3));
  Primitives::SetRowThreads(0);
  EXPECT_EQ(DataOf(alone.get()), DataOf(shared.get()));
}

}  // namespace
}  // namespace Orvex::Testing
