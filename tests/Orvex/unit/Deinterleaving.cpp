// SPDX-License-Identifier: Apache-2.0
// Channels as planes, against samples read bit by bit.
#include <gmock/gmock.h>

#include "ImageTools.h"
#include "PixelFormat.h"

namespace Orvex::Testing {
namespace {

using testing::ElementsAre;

struct PlaneCase {
  PfncFormat_ format;
  BitLayout layout;
  size_t channels;
  PfncFormat_ output;
  // A pixel is one sample, and the sensors alternate along the line.
  bool alternate;
};

constexpr PlaneCase sk_cases[] = {
    {PolarizedAngles_0d_45d_90d_135d_Mono8, sk_bits8, 4, Mono8, false},
    {PolarizedAngles_0d_45d_90d_135d_BayerRG12p, sk_bits12p, 4, BayerRG12, false},
    {PolarizedAngles_0d_45d_90d_135d_Mono16, sk_bits16, 4, Mono16, false},
    {PolarizedAngles_0d_45d_90d_135d_Mono12, sk_bits16, 4, Mono12, false},
    {PolarizedStokes_S0_S1_S2_BayerRG8, sk_bits8, 3, BayerRG8, false},
    {PolarizedStokes_S0_S1_S2_Mono12p, sk_bits12p, 3, Mono12, false},
    {PolarizedStokes_S0_S1_S2_Mono16, sk_bits16, 3, Mono16, false},
    {PolarizedStokes_S0_S1_S2_S3_Mono8, sk_bits8, 4, Mono8, false},
    {PolarizedDolpAolp_Mono8, sk_bits8, 2, Mono8, false},
    {PolarizedDolpAolp_BayerRG12, sk_bits16, 2, BayerRG12, false},
    {PolarizedDolpAngle_Mono12p, sk_bits12p, 2, Mono12, false},
    {DualMono8, sk_bits8, 2, Mono8, true},
    {DualBayerRG10, sk_bits16, 2, BayerRG10, true},
    {DualMono10p, sk_bits10p, 2, Mono10, true},
    {DualBayerGR10Packed, sk_bits10Packed, 2, BayerGR10, true},
    {DualBayerGB12p, sk_bits12p, 2, BayerGB12, true},
    {DualBayerBG12Packed, sk_bits12Packed, 2, BayerBG12, true},
    {QuadMono8, sk_bits8, 4, Mono8, true},
    {QuadBayerRG10p, sk_bits10p, 4, BayerRG10, true},
    {QuadMono12Packed, sk_bits12Packed, 4, Mono12, true},
    {QuadBayerGB16, sk_bits16, 4, BayerGB16, true},
};

class EachPlaneCase : public WithFactory, public testing::WithParamInterface<PlaneCase> {
 protected:
  Bytes Planes(const Bytes& data, size_t width, size_t height) const {
    const PlaneCase& row = GetParam();
    const size_t step = row.layout.bits == 8 ? 1 : 2;
    const size_t planeWidth = row.alternate ? width / row.channels : width;
    Bytes expected(planeWidth * height * row.channels * step);
    for (size_t c = 0, out = 0; c < row.channels; ++c) {
      for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < planeWidth; ++x, out += step) {
          const size_t samplesOfLine = row.alternate ? width : width * row.channels;
          const uint32_t value = Sample(row.layout, data, y * samplesOfLine + x * row.channels + c);
          expected[out] = static_cast<uint8_t>(value);
          if (step == 2) expected[out + 1] = static_cast<uint8_t>(value >> 8);
        }
      }
    }
    return expected;
  }
};

TEST_P(EachPlaneCase, StacksTheChannels) {
  const PlaneCase& row = GetParam();
  for (const auto& [width, height] :
       {std::pair<size_t, size_t>{4, 1}, {8, 2}, {12, 5}, {6, 5}, {7, 3}, {67, 35}, {132, 64}}) {
    SCOPED_TRACE(testing::Message() << width << "x" << height);
    const ImagePtr image = RandomImage(row.format, width, height);
    const Bytes expected = Planes(DataOf(image.get()), width, height);
    ASSERT_EQ(ImageFactory::DeinterleaveChannelsLen(image.get()), expected.size());
    const ImagePtr deep(ImageFactory::DeinterleaveChannels(image.get()));
    ASSERT_EQ(DataOf(deep.get()), expected);
    EXPECT_EQ(deep->GetPixelFormat(), row.output);
    EXPECT_EQ(deep->GetHeight(), height * row.channels);
    EXPECT_EQ(deep->GetWidth(), row.alternate ? width / row.channels : width);

    Bytes buffer(expected.size() + 3, 0xA5);
    const ImagePtr shallow(ImageFactory::DeinterleaveChannelsShallow(
        buffer.data() + 1, expected.size() + 1, image.get()));
    EXPECT_EQ(Bytes(buffer.begin() + 1, buffer.end() - 2), expected);
    EXPECT_EQ(buffer.front(), 0xA5);
    EXPECT_EQ(buffer.back(), 0xA5);
    EXPECT_EQ(buffer.end()[-2], 0xA5);
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, EachPlaneCase, testing::ValuesIn(sk_cases),
                         [](const auto& info) { return "Format" + std::to_string(info.index); });

class Deinterleaving : public WithFactory {};

TEST_F(Deinterleaving, TakesSeparatedPlanesAsTheyStand) {
  const ImagePtr image = RandomImage(QuadBayerGR12_4ch, 5, 3);
  const ImagePtr planes(ImageFactory::DeinterleaveChannels(image.get()));
  EXPECT_EQ(DataOf(planes.get()), DataOf(image.get()));
  EXPECT_EQ(planes->GetPixelFormat(), BayerGR12);
  EXPECT_EQ(planes->GetWidth(), 5u);
  EXPECT_EQ(planes->GetHeight(), 12u);
}

TEST_F(Deinterleaving, SplitsChannelsIntoImages) {
  const ImagePtr image =
      MakeImage(PolarizedAngles_0d_45d_90d_135d_Mono8, 2, 1, {1, 2, 3, 4, 5, 6, 7, 8});
  const std::vector<IImage*> channels = ImageFactory::SplitChannels(image.get());
  ASSERT_EQ(channels.size(), 4u);
  for (size_t i = 0; i < 4; ++i) {
    const ImagePtr channel(channels[i]);
    EXPECT_THAT(DataOf(channel.get()), ElementsAre(i + 1, i + 5));
    EXPECT_EQ(channel->GetHeight(), 1u);
    EXPECT_EQ(channel->GetPixelFormat(), Mono8);
  }
}

TEST_F(Deinterleaving, DoesNotSplitWhereTheNumberOfChannelsIsNotKnown) {
  const ImagePtr image = RandomImage(PolarizedAngles_0d_45d_90d_135d_Mono16, 2, 2);
  EXPECT_EQ(
      Thrown<GenICam::InvalidArgumentException>([&] { ImageFactory::SplitChannels(image.get()); }),
      "GetNumChannels not implemented for PolarizedAngles_0d_45d_90d_135d_Mono16");
}

}  // namespace
}  // namespace Orvex::Testing
