// SPDX-License-Identifier: Apache-2.0
// QOI: streams laid by hand, round trips, streams that are broken or hostile, and the images that
// the factory makes of them.
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>

#include "ImageTools.h"
#include "Orvex/ImageFactoryQOI.h"
#include "Orvex/Qoi.h"

namespace Orvex::Testing {
namespace {

using GenICam::RuntimeException;

struct FreeDeleter {
  void operator()(uint8_t* p) const { std::free(p); }
};
using Decoded = std::unique_ptr<uint8_t, FreeDeleter>;

Bytes Stream(uint32_t width, uint32_t height, uint8_t channels, const Bytes& chunks,
             uint8_t colourSpace = 0) {
  Bytes stream = {'q', 'o', 'i', 'f'};
  for (const uint32_t side : {width, height}) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      stream.push_back(static_cast<uint8_t>(side >> shift));
    }
  }
  stream.push_back(channels);
  stream.push_back(colourSpace);
  stream.insert(stream.end(), chunks.begin(), chunks.end());
  stream.insert(stream.end(), {0, 0, 0, 0, 0, 0, 0, 1});
  return stream;
}

Decoded Decode(const Bytes& stream, qoi_desc& desc, int channels = 0) {
  return Decoded(qoi_decode(stream.data(), static_cast<int>(stream.size()), &desc, channels));
}

bool Decodes(const Bytes& stream, int channels = 0) {
  qoi_desc desc;
  return Decode(stream, desc, channels) != nullptr;
}

Bytes Pixels(const Bytes& stream, int channels = 0) {
  qoi_desc desc;
  const Decoded pixels = Decode(stream, desc, channels);
  if (!pixels) return {};
  const size_t each = channels ? static_cast<size_t>(channels) : desc.channels;
  return Bytes(pixels.get(), pixels.get() + size_t{desc.width} * desc.height * each);
}

Bytes Encode(const Bytes& pixels, uint32_t width, uint32_t height, uint8_t channels) {
  const qoi_desc desc{width, height, channels, 0};
  int size = 0;
  const Decoded stream(qoi_encode(pixels.data(), &desc, &size));
  if (!stream) return {};
  return Bytes(stream.get(), stream.get() + size);
}

struct StreamCase {
  const char* name;
  uint8_t channels;
  Bytes chunks;
  Bytes pixels;
};

// One row of pixels each. The first pixel follows (0, 0, 0, 255).
const StreamCase sk_streams[] = {
    {"Rgb", 3, {0xFE, 10, 20, 30}, {10, 20, 30}},
    {"RgbKeepsAlpha", 4, {0xFF, 1, 2, 3, 4, 0xFE, 5, 6, 7}, {1, 2, 3, 4, 5, 6, 7, 4}},
    {"RunOfTheFirstPixel", 3, {0xC2}, {0, 0, 0, 0, 0, 0, 0, 0, 0}},
    // dr -2, dg 1, db -1: 01 00 11 01
    {"DiffWraps", 3, {0x4D}, {254, 1, 255}},
    // dg -32, dr - dg = 7, db - dg = -8
    {"LumaWraps", 3, {0x80, 0xF0}, {231, 224, 216}},
    // dg 31, dr - dg = -8, db - dg = 7
    {"LumaUp", 3, {0xBF, 0x0F}, {23, 31, 38}},
    // (10, 20, 30, 255) lies at (30 + 100 + 210 + 2805) % 64 = 9.
    {"IndexOfRgb", 3, {0xFE, 10, 20, 30, 0xFE, 0, 0, 0, 0x09}, {10, 20, 30, 0, 0, 0, 10, 20, 30}},
    // A place that was never written holds transparent black, which then stands at its own place.
    {"IndexOfNothing", 4, {0x07, 0xFE, 9, 9, 9}, {0, 0, 0, 0, 9, 9, 9, 0}},
    // A run of the start pixel puts it at 2805 % 64 = 53.
    {"IndexOfRun", 4, {0xC0, 0xFF, 1, 1, 1, 1, 0x35}, {0, 0, 0, 255, 1, 1, 1, 1, 0, 0, 0, 255}},
    {"GreyRun", 1, {0xC3}, {0, 0, 0, 0}},
    {"GreyDiff", 1, {0x3F, 0x00, 0x21}, {31, 255, 0}},
    {"GreyLiterals", 1, {0x42, 9, 200, 7}, {9, 200, 7}},
    // 9: +1 and +1; 0F: -8 and +7; the sums wrap.
    {"GreyPairs", 1, {0x81, 0x99, 0x0F}, {1, 2, 250, 1}},
    {"GreyPairThenRun", 1, {0x80, 0xF8, 0xC1}, {7, 7, 7, 7}},
};

class EachStream : public testing::TestWithParam<StreamCase> {};

TEST_P(EachStream, DecodesToItsPixels) {
  const StreamCase& row = GetParam();
  const auto width = static_cast<uint32_t>(row.pixels.size() / row.channels);
  EXPECT_EQ(Pixels(Stream(width, 1, row.channels, row.chunks)), row.pixels);
}

TEST_P(EachStream, IsRefusedWhenAnyOfItsChunksIsMissing) {
  const StreamCase& row = GetParam();
  const auto width = static_cast<uint32_t>(row.pixels.size() / row.channels);
  for (size_t kept = 0; kept < row.chunks.size(); ++kept) {
    const Bytes chunks(row.chunks.begin(), row.chunks.begin() + static_cast<long>(kept));
    EXPECT_FALSE(Decodes(Stream(width, 1, row.channels, chunks))) << kept;
  }
}

INSTANTIATE_TEST_SUITE_P(ByHand, EachStream, testing::ValuesIn(sk_streams),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Qoi, EncodesAsPublished) {
  // Index, diff, luma, rgb, rgba and run, each where the format demands it.
  const Bytes pixels = {0,  0,   0,  255, 0,  0,   0,  255, 1,  1, 1, 255, 11, 12,
                        10, 255, 99, 3,   50, 255, 99, 3,   50, 7, 1, 1,   1,  255};
  EXPECT_EQ(Encode(pixels, 7, 1, 4),
            Stream(7, 1, 4, {0xC1, 0x7F, 0xAB, 0x76, 0xFE, 99, 3, 50, 0xFF, 99, 3, 50, 7, 0x04}));
}

TEST(Qoi, EndsRunsAtSixtyTwo) {
  EXPECT_EQ(Encode(Bytes(3 * 125, 0), 125, 1, 3), Stream(125, 1, 3, {0xFD, 0xFD, 0xC0}));
}

// Pictures of every kind of content: flat, ramps, noise of several strengths, steps.
Bytes Picture(size_t size, int kind) {
  Bytes noise = RandomBytes(size, static_cast<unsigned>(kind) + 1), picture(size);
  for (size_t i = 0; i < size; ++i) {
    switch (kind) {
      case 0:
        picture[i] = 77;
        break;
      case 1:
        picture[i] = static_cast<uint8_t>(i);
        break;
      case 2:
        picture[i] = noise[i];
        break;
      case 3:
        picture[i] = static_cast<uint8_t>(i / 5 + noise[i] % 7);
        break;
      case 4:
        picture[i] = static_cast<uint8_t>(i / 30 * 30 + noise[i] % 40);
        break;
      case 5:
        picture[i] = static_cast<uint8_t>(i / 100 % 2 * 200 + (noise[i] > 250));
        break;
      default:
        picture[i] = noise[i] > 200 ? noise[i] : 128;
        break;
    }
  }
  return picture;
}

TEST(Qoi, GivesBackWhatItEncoded) {
  for (const uint8_t channels : {1, 3, 4}) {
    for (int kind = 0; kind < 7; ++kind) {
      for (const auto& [width, height] : {std::pair<uint32_t, uint32_t>{1, 1},
                                          {2, 1},
                                          {3, 3},
                                          {64, 1},
                                          {65, 1},
                                          {127, 3},
                                          {131, 77}}) {
        const Bytes pixels = Picture(size_t{width} * height * channels, kind);
        const Bytes stream = Encode(pixels, width, height, channels);
        qoi_desc desc;
        const Decoded decoded = Decode(stream, desc);
        ASSERT_TRUE(decoded) << int{channels} << " kind " << kind << " " << width << "x" << height;
        EXPECT_EQ(desc.width, width);
        EXPECT_EQ(desc.height, height);
        EXPECT_EQ(desc.channels, channels);
        ASSERT_EQ(std::memcmp(decoded.get(), pixels.data(), pixels.size()), 0)
            << int{channels} << " kind " << kind << " " << width << "x" << height;
      }
    }
  }
}

TEST(Qoi, SpendsHalfAByteOnAGreyPixelOfWeakNoise) {
  const Bytes pixels = Picture(100000, 3);
  EXPECT_LT(Encode(pixels, 1000, 100, 1).size(), 55000u);
}

TEST(Qoi, ConvertsBetweenThreeAndFourChannels) {
  EXPECT_EQ(Pixels(Stream(1, 1, 3, {0xFE, 1, 2, 3}), 4), (Bytes{1, 2, 3, 255}));
  EXPECT_EQ(Pixels(Stream(1, 1, 4, {0xFF, 1, 2, 3, 4}), 3), (Bytes{1, 2, 3}));
}

TEST(Qoi, RefusesWhatItsHeaderForbids) {
  const Bytes pixel = {0xFE, 1, 2, 3};
  ASSERT_TRUE(Decodes(Stream(1, 1, 3, pixel)));
  EXPECT_TRUE(Decodes(Stream(1, 1, 3, pixel, 1)));
  EXPECT_FALSE(Decodes(Stream(1, 1, 3, pixel, 2)));
  EXPECT_FALSE(Decodes(Stream(0, 1, 3, pixel)));
  EXPECT_FALSE(Decodes(Stream(1, 0, 3, pixel)));
  EXPECT_FALSE(Decodes(Stream(1, 1, 2, pixel)));
  EXPECT_FALSE(Decodes(Stream(1, 1, 5, pixel)));
  EXPECT_FALSE(Decodes(Stream(1, 1, 3, pixel), 2));
  EXPECT_FALSE(Decodes(Stream(1, 1, 3, pixel), 1));
  EXPECT_FALSE(Decodes(Stream(1, 1, 1, {0xC0}), 3));
  Bytes wrongMagic = Stream(1, 1, 3, pixel);
  wrongMagic[3] = 'g';
  EXPECT_FALSE(Decodes(wrongMagic));
  qoi_desc desc;
  EXPECT_EQ(qoi_decode(nullptr, 30, &desc, 0), nullptr);
  EXPECT_EQ(qoi_decode(wrongMagic.data(), 21, &desc, 0), nullptr);
  EXPECT_EQ(qoi_decode(wrongMagic.data(), -1, &desc, 0), nullptr);
  EXPECT_EQ(qoi_decode(wrongMagic.data(), static_cast<int>(wrongMagic.size()), nullptr, 0),
            nullptr);
}

TEST(Qoi, AllocatesNothingThatTheStreamCannotAccountFor) {
  // Just below the limit of pixels, in three bytes of chunks.
  EXPECT_FALSE(Decodes(Stream(20000, 19999, 4, {0xFD, 0xFD, 0xFD})));
  EXPECT_FALSE(Decodes(Stream(20000, 20000, 1, Bytes(7000000, 0xFF))));
  EXPECT_FALSE(Decodes(Stream(0xFFFFFFFF, 0xFFFFFFFF, 3, {0xFD})));
}

TEST(Qoi, StaysWithinHostileStreams) {
  // Under the address sanitizer this is where a step too far shows.
  for (unsigned seed = 1; seed < 3000; ++seed) {
    const Bytes noise = RandomBytes(40 + seed % 60, seed);
    for (const uint8_t channels : {1, 3, 4}) {
      const Bytes stream = Stream(1 + noise[0] % 20, 1 + noise[1] % 20, channels, noise);
      const auto size = static_cast<int>(stream.size() - noise[2] % 30);
      const Decoded exact(static_cast<uint8_t*>(std::malloc(static_cast<size_t>(size))));
      std::memcpy(exact.get(), stream.data(), static_cast<size_t>(size));
      qoi_desc desc;
      const Decoded pixels(qoi_decode(exact.get(), size, &desc, 0));
    }
  }
}

class QoiImages : public WithFactory {
 protected:
  static CompressedPtr Compressed(const Bytes& stream, uint64_t format) {
    return CompressedPtr(ImageFactory::CreateCompressedImage(stream.data(), stream.size(), format));
  }
  static std::string Failure(const Bytes& stream, uint64_t format) {
    const CompressedPtr image = Compressed(stream, format);
    return Thrown<RuntimeException>([&] { ImageFactory::DecompressImage(image.get()); });
  }
  static std::string Text(const char* message) {
    return Plain("RuntimeException", message, "ImageFactory.cpp", "QOIDecompressImage");
  }
};

TEST_F(QoiImages, BecomeImagesOfTheFormatWithin) {
  const Bytes grey = Stream(2, 2, 1, {0x43, 1, 2, 3, 4}), rgb = Stream(1, 1, 3, {0xFE, 1, 2, 3});
  const std::pair<PfncFormat_, PfncFormat_> formats[] = {
      {QOI_Mono8, Mono8},       {QOI_BayerGR8, BayerGR8}, {QOI_BayerRG8, BayerRG8},
      {QOI_BayerGB8, BayerGB8}, {QOI_BayerBG8, BayerBG8}, {QOI_RGB8, RGB8},
      {QOI_BGR8, BGR8},         {QOI_YCbCr8, YCbCr8},     {QOI_YCbCr8_CbYCr, YCbCr8_CbYCr}};
  for (const auto& [compressed, plain] : formats) {
    const bool isGrey = (compressed >> 16 & 0xFF) == 8;
    const CompressedPtr image = Compressed(isGrey ? grey : rgb, compressed);
    const ImagePtr result(ImageFactory::DecompressImage(image.get()));
    EXPECT_EQ(result->GetPixelFormat(), plain);
    EXPECT_EQ(DataOf(result.get()), isGrey ? (Bytes{1, 2, 3, 4}) : (Bytes{1, 2, 3}));
    EXPECT_EQ(result->GetWidth(), isGrey ? 2u : 1u);
  }
}

TEST_F(QoiImages, SayWhyTheyCannotBeDecoded) {
  const Bytes rgb = Stream(1, 1, 3, {0xFE, 1, 2, 3});
  EXPECT_EQ(Failure({'q', 'o', 'i'}, QOI_RGB8), Text("QOI decode error -- buffer size too small!"));
  EXPECT_EQ(Failure({'q', 'o', 'i', 'g', 0}, QOI_RGB8), Text("QOI decode error -- no QOI magic!"));
  EXPECT_EQ(Failure({'q', 'o', 'i', 'f'}, QOI_RGB8), Text("QOI decode error!"));
  EXPECT_EQ(Failure(Stream(1, 1, 3, {}), QOI_RGB8), Text("QOI decode error!"));
  EXPECT_EQ(Failure(rgb, QOI_BayerRG8), Text("QOI decode error -- create image failed!"));
  EXPECT_EQ(Failure(Stream(1, 1, 4, {0xFF, 1, 2, 3, 4}), QOI_RGB8),
            Text("QOI decode error -- create image failed!"));

  CompressedImage plain;
  FrameCells::FillCompressedImageProps(&plain, rgb.data(), rgb.size(), RGB8);
  EXPECT_EQ(Thrown<RuntimeException>([&] { ImageFactory::DecompressImage(&plain); }),
            Plain("RuntimeException", "Buffer provided is not of type QOI", "ImageFactory.cpp",
                  "DecompressImage"));
  EXPECT_EQ(Thrown<RuntimeException>([&] { QOIDecompressImage(&plain); }),
            Plain("RuntimeException", "QOI decode error -- unsupported source pixel format!",
                  "ImageFactory.cpp", "UncompressedPixelFormat"));
}

}  // namespace
}  // namespace Orvex::Testing
