// SPDX-License-Identifier: Apache-2.0
// Conversion between pixel formats, through the image factory: which pairs convert, what they say
// if not, and what comes out.
#include <Base/GCException.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ImageFactory.h"
#include "Orvex/ImageFactoryConvert.h"
#include "PixelFormat.h"
#include "primitives/RowThreads.h"
#include "tests/Orvex/ConvertPixels.h"

namespace {

using namespace Orvex;
using namespace ConvertPixels;

struct Destroyer {
  void operator()(IImage* pImage) const { ImageFactory::Destroy(pImage); }
};
using Owned = std::unique_ptr<IImage, Destroyer>;

class Convert : public testing::Test {
 protected:
  static void SetUpTestSuite() { OpenImageFactory(); }
  static void TearDownTestSuite() { CloseImageFactory(); }

  static Owned Make(PfncFormat_ format, int width, int height, const Bytes& data) {
    return Owned(
        ImageFactory::Create(data.data(), data.size(), size_t(width), size_t(height), format));
  }

  // The converted bytes.
  static Bytes Run(PfncFormat_ from, PfncFormat_ to, int width, int height, const Bytes& data,
                   _EBayerAlgorithm algorithm = DirectionalInterpolation) {
    const Owned source = Make(from, width, height, data);
    const Owned result(ImageFactory::Convert(source.get(), to, algorithm));
    EXPECT_EQ(result->GetPixelFormat(), uint64_t(to));
    return Bytes(result->GetData(), result->GetData() + result->GetSizeFilled());
  }

  // The same over a buffer that holds 0xC5 everywhere before.
  static Bytes RunOver(PfncFormat_ from, PfncFormat_ to, int width, int height, const Bytes& data) {
    const Owned source = Make(from, width, height, data);
    Bytes out(ImageFactory::ConvertLen(source.get(), to), 0xC5);
    const Owned result(ImageFactory::ConvertShallow(out.data(), out.size(), source.get(), to));
    return out;
  }

  static std::string MessageOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const GenICam::GenericException& e) {
      return e.GetDescription();
    }
    return "no exception";
  }
};

// ---- Pairs

struct NamedFormat {
  const char* name;
  PfncFormat_ format;
};

constexpr NamedFormat sk_sources[] = {
#define ROW(name) {#name, name},
    CONVERT_TEST_SINGLE(ROW, Mono) CONVERT_TEST_SINGLE(ROW, BayerRG)
        CONVERT_TEST_SINGLE(ROW, BayerGR) CONVERT_TEST_SINGLE(ROW, BayerGB)
            CONVERT_TEST_SINGLE(ROW, BayerBG) CONVERT_TEST_COLOUR(ROW)};

constexpr NamedFormat sk_destinations[] = {CONVERT_TEST_SINGLE(ROW, Mono) CONVERT_TEST_COLOUR(ROW)};

// Raw mosaics of a polarised sensor are grey to a conversion.
constexpr NamedFormat sk_polarizeMono[] = {ROW(PolarizeMono8) ROW(PolarizeMono12) ROW(
    PolarizeMono12p) ROW(PolarizeMono12Packed) ROW(PolarizeMono16)};
#undef ROW

constexpr NamedFormat sk_allFormats[] = {{"InvalidPixelFormat", InvalidPixelFormat},
                                         {"UnknownPixelFormat", PfncFormat_(0x01089999)},
#define ORVEX_TEST_ROW(name, value) {#name, name},
                                         ORVEX_PFNC_ALL(ORVEX_TEST_ROW)
#undef ORVEX_TEST_ROW
};

// What there is to know of a format before it is converted.
struct Kind {
  explicit Kind(const NamedFormat& row) : name(row.name) {
    const auto among = [&](const auto& rows) {
      return std::any_of(std::begin(rows), std::end(rows),
                         [&](const NamedFormat& other) { return other.format == row.format; });
    };
    converts = among(sk_sources) || among(sk_polarizeMono);
    bayer = name.rfind("Bayer", 0) == 0;
    multiChannel =
        name.rfind("Polarized", 0) == 0 || name.rfind("Dual", 0) == 0 || name.rfind("Quad", 0) == 0;
    // The library's own formats, and those that it has a descriptor for.
    try {
      DestroyPixelFormat(GetPixelFormat(row.format));
      known = true;
    } catch (const std::logic_error&) {
      known = (uint32_t(row.format) & 0x80000000u) != 0;
    }
  }
  std::string name;
  bool converts, bayer, multiChannel, known;
};

// What a pair says when it does not convert; empty when it does.
std::string Refusal(const Kind& from, const Kind& to) {
  const auto logical = [](const std::string& text, const char* function) {
    return "LogicalErrorException: Pixel format conversion " + text +
           " (ImageFactoryConvert.cpp, " + function + ")";
  };
  if (!from.known)
    return "InvalidArgumentException: convert algorithm not available for pixel format " +
           from.name + " (ImageFactoryInternal.cpp, implNone)";
  if (from.name == to.name) return "";
  const char* const from_ = "fromPixelFormat";
  const char* const to_ = "toPixelFormat";
  const std::string ambiguous = " not supported due to multiple-channel ambiguity";
  if (from.multiChannel) return logical("from " + from.name + ambiguous, from_);
  if (!from.converts) return logical("from " + from.name + " not yet implemented", from_);
  if (to.bayer)
    return logical("to " + to.name + " not available, reverse bayer interpolation not supported",
                   to_);
  // Kept on purpose: "from", although it is the destination.
  if (to.multiChannel) return logical("from " + to.name + ambiguous, to_);
  if (to.converts) return "";
  if (to.known) return logical("to " + to.name + " not yet implemented", to_);
  return "LogicalErrorException: To pixel format " + to.name +
         " not supported (ImageFactoryConvert.cpp, toPixelFormat)";
}

TEST_F(Convert, EveryPairOfFormatsConvertsOrSaysWhyNot) {
  std::vector<Kind> kinds;
  for (const NamedFormat& row : sk_allFormats) kinds.emplace_back(row);
  // Eight pixels are whole bytes in every format.
  const Bytes data = Noise(8 * 32, 1);
  uint8_t out[8 * 32];
  size_t converted = 0;
  for (size_t i = 0; i < kinds.size(); ++i) {
    Image source;
    FrameCells::FillImageProps(&source, data.data(), GetBitsPerPixel(sk_allFormats[i].format), 4, 2,
                               sk_allFormats[i].format);
    for (size_t j = 0; j < kinds.size(); ++j) {
      const auto format = sk_allFormats[j].format;
      std::string message;
      try {
        const Owned result(ImageFactory::ConvertShallow(
            out, sizeof out, &source, format,
            kinds[i].bayer && j % 2 ? AdaptiveHomogeneityDirected : DirectionalInterpolation));
        EXPECT_EQ(result->GetPixelFormat(), uint64_t(format));
        EXPECT_EQ(ImageFactory::ConvertLen(&source, format), GetBitsPerPixel(format));
        ++converted;
      } catch (const GenICam::GenericException& e) {
        message = e.GetDescription();
      }
      ASSERT_EQ(message, Refusal(kinds[i], kinds[j])) << kinds[i].name << " to " << kinds[j].name;
    }
  }
  // 80 formats can be read, 44 of them written; the others only copied.
  EXPECT_GT(converted, 80u * 44);
}

TEST_F(Convert, EqualFormatsCopyTheBytes) {
  for (const PfncFormat_ format :
       {Mono12p, BayerGB10Packed, QuadMono8, Coord3D_ABC16, YCbCr411_8}) {
    const Bytes data = Noise(8 * 4 * GetBitsPerPixel(format) / 8, 2);
    EXPECT_EQ(Run(format, format, 8, 4, data), data);
  }
}

TEST_F(Convert, TakesNoFormatFromTheLowHalfOfAWiderNumber) {
  const uint64_t wide = uint64_t(1) << 32;
  const Bytes data = Noise(16, 3);
  const Owned mono10 = Make(Mono10, 4, 2, data);
  for (const PfncFormat_ low : {Mono16, BayerRG8, DualMono8, Confidence16, BGRa8, RGB8}) {
    EXPECT_EQ(MessageOf([&] { Owned(ImageFactory::Convert(mono10.get(), wide | low)); }),
              "LogicalErrorException: To pixel format UnknownPixelFormat not supported "
              "(ImageFactoryConvert.cpp, toPixelFormat)");
  }
  Image source;
  FrameCells::FillImageProps(&source, data.data(), data.size(), 4, 2, wide | Mono10);
  EXPECT_EQ(MessageOf([&] { Owned(ImageFactory::Convert(&source, Mono16)); }),
            "InvalidArgumentException: convert algorithm not available for pixel format "
            "UnknownPixelFormat (ImageFactoryInternal.cpp, implNone)");
}

TEST_F(Convert, UndefinedAlgorithmFailsOnlyWhereItIsAsked) {
  const Bytes data = Noise(8 * 8, 4);
  EXPECT_EQ(MessageOf([&] { Run(BayerRG8, RGB8, 8, 8, data, _UndefinedAlgorithm); }),
            "RuntimeException: Conversion error, unknown algorithm (ImageFactoryConvert.cpp, "
            "fromBayer8)");
  EXPECT_EQ(MessageOf([&] { Run(BayerRG8, BGRa8, 8, 8, data, _UndefinedAlgorithm); }),
            "RuntimeException: Conversion error, unknown algorithm (ImageFactoryConvert.cpp, "
            "fromBayer8)");
  EXPECT_NO_THROW(Run(BayerRG8, Mono8, 8, 8, data, _UndefinedAlgorithm));
  EXPECT_NO_THROW(Run(Mono8, RGB8, 8, 8, data, _UndefinedAlgorithm));
}

TEST_F(Convert, ShortcutsIgnoreTheAlgorithm) {
  const Bytes data = Noise(32 * 32, 5);
  EXPECT_EQ(Run(BayerRG8, Mono8, 32, 32, data, DirectionalInterpolation),
            Run(BayerRG8, Mono8, 32, 32, data, AdaptiveHomogeneityDirected));
  EXPECT_NE(Run(BayerRG8, RGB8, 32, 32, data, DirectionalInterpolation),
            Run(BayerRG8, RGB8, 32, 32, data, AdaptiveHomogeneityDirected));
}

TEST_F(Convert, RegistersExactlyTheShortcutPairs) {
  size_t general = 0, bayer = 0;
  const Bytes source(4096, 0x11);
  Bytes destination(4096);
  for (const NamedFormat& from : sk_sources) {
    for (const NamedFormat& to : sk_destinations) {
      const bool ran =
          ImageFactoryConvert::runShortcut(from.format, to.format, source.data(),
                                           destination.data(), 8, 8, DirectionalInterpolation);
      (std::string(from.name).rfind("Bayer", 0) == 0 ? bayer : general) += ran;
    }
  }
  EXPECT_EQ(general, 70u);
  EXPECT_EQ(bayer, 224u);
}

TEST_F(Convert, CountsBytesOfAnImage) {
  EXPECT_EQ(ImageFactoryConvert::calcSize(8, 2, Mono8), 16u);
  EXPECT_EQ(ImageFactoryConvert::calcSize(4, 2, Mono10p), 11u);
  EXPECT_EQ(ImageFactoryConvert::calcSize(3, 1, Mono12p), 5u);
  EXPECT_EQ(ImageFactoryConvert::calcSize(3, 1, Mono16), 7u);
}

// ---- Colours

constexpr const char* sk_patterns[] = {"RG", "GR", "GB", "BG"};

// A flat picture of one colour (of 8 bits) as a mosaic.
Bytes FlatMosaic(int pattern, const char* depth, const int (&rgb)[3], int width, int height) {
  std::vector<int> values;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int redColumn = pattern == 1 || pattern == 3, redRow = pattern >= 2;
      const bool red = (x & 1) == redColumn && (y & 1) == redRow,
                 blue = (x & 1) != redColumn && (y & 1) != redRow;
      values.push_back(red ? rgb[0] : blue ? rgb[2] : rgb[1]);
    }
  }
  return Pack(depth, values);
}

TEST_F(Convert, MosaicsOfEveryPatternAndDepthShowTheirColour) {
  const int rgb[3] = {200, 120, 40};
  const int grey = (200 * 299 + 120 * 587 + 40 * 114 + 500) / 1000;
  for (int pattern = 0; pattern < 4; ++pattern) {
    for (const char* depth : {"8", "10", "10p", "12", "12p", "16", "24"}) {
      const std::string name = std::string("Bayer") + sk_patterns[pattern] + depth;
      const auto* pSource = std::find_if(std::begin(sk_sources), std::end(sk_sources),
                                         [&](const NamedFormat& row) { return name == row.name; });
      ASSERT_NE(pSource, std::end(sk_sources));
      const PfncFormat_ format = pSource->format;
      const Bytes mosaic = FlatMosaic(pattern, depth, rgb, 12, 10);
      for (const auto algorithm : {DirectionalInterpolation, AdaptiveHomogeneityDirected}) {
        EXPECT_EQ(Run(format, RGB8, 12, 10, mosaic, algorithm), Repeat({200, 120, 40}, 120))
            << name;
        EXPECT_EQ(Run(format, BGR8, 12, 10, mosaic, algorithm), Repeat({40, 120, 200}, 120))
            << name;
        EXPECT_EQ(Run(format, BGRa8, 12, 10, mosaic, algorithm), Repeat({40, 120, 200, 0}, 120))
            << name;
      }
      // From 8 bits there is a shortcut that weighs red, green, blue; from the others the weights
      // fall on blue first.
      const int other = (40 * 299 + 120 * 587 + 200 * 114 + 500) / 1000;
      const bool shortcut = std::string(depth) == "8";
      EXPECT_EQ(Run(format, Mono8, 12, 10, mosaic), Repeat({uint8_t(shortcut ? grey : other)}, 120))
          << name;
    }
  }
}

TEST_F(Convert, BandsOfLinesMakeTheWholePictureOnAnyNumberOfThreads) {
  const Bytes data = Noise(701 * 523, 7);
  const Bytes rgb = Run(BayerGB8, RGB8, 701, 523, data);
  Bytes bgr(rgb.size()), bgra(rgb.size() / 3 * 4);
  for (size_t i = 0; i < rgb.size() / 3; ++i) {
    for (size_t c = 0; c < 3; ++c) bgr[i * 3 + c] = bgra[i * 4 + c] = rgb[i * 3 + 2 - c];
  }
  for (const unsigned threads : {1u, 2u, 5u}) {
    Primitives::SetRowThreads(threads);
    EXPECT_TRUE(Run(BayerGB8, BGR8, 701, 523, data) == bgr) << threads << " threads";
    EXPECT_TRUE(Run(BayerGB8, BGRa8, 701, 523, data) == bgra) << threads << " threads";
  }
  Primitives::SetRowThreads(0);
}

TEST_F(Convert, SixteenBitColourKeepsTheBitsOfTheSource) {
  // 12 bits of different values for each colour, in the top of 16.
  std::vector<int> values;
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x)
      values.push_back(y % 2 == 0 && x % 2 == 0 ? 0xABC : y % 2 && x % 2 ? 0x123 : 0x654);
  }
  const Bytes expected = Repeat({0xC0, 0xAB, 0x40, 0x65, 0x30, 0x12}, 64);
  const Bytes swapped = Repeat({0x30, 0x12, 0x40, 0x65, 0xC0, 0xAB}, 64);
  EXPECT_EQ(Run(BayerRG12, RGB16, 8, 8, PackBits("12", values)), expected);
  EXPECT_EQ(Run(BayerRG12p, RGB16, 8, 8, PackBits("12p", values)), expected);
  EXPECT_EQ(Run(BayerRG12Packed, BGR16, 8, 8, PackBits("12Packed", values)), swapped);
}

struct Sample {
  PfncFormat_ from, to;
  Bytes source, expected;
};

// One pixel, or one group, repeated over the image.
class Samples : public Convert, public testing::WithParamInterface<Sample> {};

TEST_P(Samples, Convert) {
  const Sample& sample = GetParam();
  const size_t pixels = 48;
  const size_t in = pixels * GetBitsPerPixel(sample.from) / 8,
               out = pixels * GetBitsPerPixel(sample.to) / 8;
  EXPECT_EQ(Run(sample.from, sample.to, 8, 6, Repeat(sample.source, in / sample.source.size())),
            Repeat(sample.expected, out / sample.expected.size()));
}

INSTANTIATE_TEST_SUITE_P(
    Orders, Samples,
    testing::Values(
        Sample{Mono8, RGB8, {77}, {77, 77, 77}}, Sample{Mono8, BGRa8, {77}, {77, 77, 77, 0}},
        Sample{Mono16, Mono8, {0xFF, 0x7F}, {127}},
        // Value / 257 to the nearest: 0x7FFF is 127.498.
        Sample{Mono16, BGRa8, {0x81, 0x7F}, {127, 127, 127, 0}},
        Sample{Mono24, Mono8, {1, 2, 200}, {200}}, Sample{Mono12, Mono8, {0xFF, 0x0A}, {0xAF}},
        Sample{Mono10, RGB8, {0xFF, 0x02}, {191, 191, 191}},
        Sample{RGB8, BGR8, {1, 2, 3}, {3, 2, 1}}, Sample{BGR8, RGBa8, {1, 2, 3}, {3, 2, 1, 0}},
        Sample{BGRa8, RGBa8, {1, 2, 3, 4}, {3, 2, 1, 4}},
        Sample{RGBa8, BGR8, {1, 2, 3, 4}, {3, 2, 1}},
        Sample{RGB16, BGRa8, {0, 1, 0, 128, 255, 255}, {255, 128, 1, 0}},
        Sample{RGB8, RGB16, {1, 128, 255}, {1, 1, 128, 128, 255, 255}},
        Sample{RGB8, BGR16, {1, 128, 255}, {255, 255, 128, 128, 1, 1}},
        Sample{BGRa8, BGRa16, {1, 2, 3, 4}, {1, 1, 2, 2, 3, 3, 4, 4}},
        Sample{RGB12, RGB8, {0xF0, 0x0F, 0x10, 0x00, 0x80, 0x08}, {255, 1, 136}},
        Sample{RGB8, RGB12, {255, 1, 136}, {0xF0, 0x0F, 0x10, 0x00, 0x80, 0x08}},
        Sample{BGR24, RGB8, {9, 9, 1, 9, 9, 2, 9, 9, 3}, {3, 2, 1}},
        // Red, green, blue are 0x12, 0x34, 0x56: twelve bits each, two pixels in nine bytes.
        Sample{RGB8,
               RGB12p,
               {0x12, 0x34, 0x56},
               {0x20, 0x01, 0x34, 0x60, 0x05, 0x12, 0x40, 0x03, 0x56}},
        Sample{BGR12p,
               RGB8,
               {0x20, 0x01, 0x34, 0x60, 0x05, 0x12, 0x40, 0x03, 0x56},
               {0x56, 0x34, 0x12}},
        // Kept on purpose: the weight of red falls on blue.
        Sample{RGB8, Mono8, {255, 0, 0}, {29}}, Sample{RGB8, Mono8, {0, 0, 255}, {76}},
        Sample{RGB16, Mono16, {0xFF, 0xFF, 0, 0, 0, 0}, {0x8B, 0x4C}},
        Sample{Mono16, BGR16, {0x34, 0x12}, {0x34, 0x12, 0x34, 0x12, 0x34, 0x12}},
        Sample{Mono10, RGB16, {0x01, 0x02}, {0x40, 0x80, 0x40, 0x80, 0x40, 0x80}}));

// White, black, and red as BT.601 puts them: (Y, Cb, Cr) of 235 128 128, 16 128 128, and 82 90 240.
INSTANTIATE_TEST_SUITE_P(
    LumaAndChroma, Samples,
    testing::Values(Sample{YCbCr8, RGB8, {235, 128, 128}, {255, 255, 255}},
                    Sample{YCbCr8, RGB8, {16, 128, 128}, {0, 0, 0}},
                    Sample{YCbCr8, RGB8, {82, 90, 240}, {255, 1, 0}},
                    Sample{YCbCr8_CbYCr, RGB8, {90, 82, 240}, {255, 1, 0}},
                    Sample{YUV8_UYV, BGR8, {90, 82, 240}, {0, 1, 255}},
                    Sample{YCbCr16_CbYCr, RGB8, {9, 90, 9, 82, 9, 240}, {255, 1, 0}},
                    Sample{YCbCr24_CbYCr, RGB8, {9, 9, 90, 9, 9, 82, 9, 9, 240}, {255, 1, 0}},
                    Sample{YCbCr422_8_CbYCrY, RGB8, {90, 82, 240, 82}, {255, 1, 0}},
                    Sample{YUV422_8_UYVY, BGRa8, {90, 82, 240, 82}, {0, 1, 255, 0}},
                    Sample{YCbCr422_8, RGB8, {82, 90, 82, 240}, {255, 1, 0}},
                    Sample{YUV422_8, RGB8, {82, 90, 16, 240}, {255, 1, 0, 179, 0, 0}},
                    Sample{YCbCr411_8_CbYYCrYY, RGB8, {90, 82, 82, 240, 82, 82}, {255, 1, 0}},
                    Sample{YUV411_8_UYYVYY, RGB8, {90, 82, 82, 240, 82, 82}, {255, 1, 0}},
                    Sample{YCbCr411_8, RGB8, {82, 82, 90, 82, 82, 240}, {255, 1, 0}},
                    Sample{YCbCr411_16_CbYYCrYY,
                           RGB8,
                           {9, 90, 9, 82, 9, 82, 9, 240, 9, 82, 9, 82},
                           {255, 1, 0}},
                    Sample{RGB8, YCbCr8, {255, 0, 0}, {82, 90, 240}},
                    Sample{RGB8, YCbCr8, {255, 255, 255}, {235, 128, 128}},
                    Sample{RGB8, YCbCr8_CbYCr, {255, 0, 0}, {90, 82, 240}},
                    Sample{RGB8, YCbCr422_8_CbYCrY, {255, 0, 0}, {90, 82, 240, 82}},
                    Sample{RGB8, YUV422_8, {255, 0, 0}, {82, 90, 82, 240}},
                    Sample{RGB8, YCbCr411_8_CbYYCrYY, {255, 0, 0}, {90, 82, 82, 240, 82, 82}},
                    Sample{RGB8, YCbCr411_8, {255, 0, 0}, {82, 82, 90, 82, 82, 240}}));

// ---- What is kept, and what is left alone

struct DeepFormat {
  PfncFormat_ format;
  const char* packing;
  int bits;
};

constexpr DeepFormat sk_deepFormats[] = {
    {Mono10, "10", 10}, {Mono10p, "10p", 10}, {Mono10Packed, "10Packed", 10},
    {Mono12, "12", 12}, {Mono12p, "12p", 12}, {Mono12Packed, "12Packed", 12},
    {Mono16, "16", 16}, {RGB16, nullptr, 16}, {BGR16, nullptr, 16}};

TEST_F(Convert, GreyComesBackUnchangedFromEveryFormatThatHasRoomForIt) {
  for (const DeepFormat& from : sk_deepFormats) {
    for (const DeepFormat& through : sk_deepFormats) {
      if (from.packing == nullptr || through.bits < from.bits) continue;
      for (const auto& [width, height] : {std::pair{10, 6}, {5, 4}}) {
        std::vector<int> values;
        for (int i = 0; i < width * height; ++i)
          values.push_back((i * 2477 + 5) % (1 << from.bits));
        values.front() = (1 << from.bits) - 1;
        const Bytes data = PackBits(from.packing, values);
        EXPECT_EQ(Run(through.format, from.format, width, height,
                      Run(from.format, through.format, width, height, data)),
                  data)
            << std::hex << from.format << " through " << through.format;
      }
    }
  }
}

TEST_F(Convert, ColourOrdersComeBackUnchanged) {
  const Bytes data = Noise(8 * 6 * 3, 6);
  for (const PfncFormat_ through :
       {BGR8, RGBa8, BGRa8, RGB12, RGB12p, RGB16, BGR16, RGB24, BGR24}) {
    EXPECT_EQ(Run(through, RGB8, 8, 6, Run(RGB8, through, 8, 6, data)), data) << through;
  }
}

TEST_F(Convert, LeavesTheLowBytesOfWidenedPixels) {
  EXPECT_EQ(RunOver(Mono8, Mono16, 4, 1, {1, 2, 3, 4}),
            (Bytes{0xC5, 1, 0xC5, 2, 0xC5, 3, 0xC5, 4}));
  EXPECT_EQ(RunOver(Mono8, Mono24, 2, 1, {1, 2}), (Bytes{0xC5, 0xC5, 1, 0xC5, 0xC5, 2}));
  EXPECT_EQ(RunOver(Mono8, Mono12Packed, 4, 1, {1, 2, 3, 4}), (Bytes{1, 0xC5, 2, 3, 0xC5, 4}));
}

TEST_F(Convert, LeavesTheLastPixelsOfUnpackedPairs) {
  const Bytes ten = {1, 0, 2, 3, 0, 4, 5, 0, 6, 7, 0, 8}, odd = {1, 0, 2, 3, 0, 4, 5};
  EXPECT_EQ(RunOver(Mono10Packed, Mono8, 4, 2, ten), (Bytes{1, 2, 3, 4, 5, 0xC5, 0xC5, 0xC5}));
  EXPECT_EQ(RunOver(Mono12Packed, Mono8, 4, 2, ten), (Bytes{1, 2, 3, 4, 5, 6, 7, 0xC5}));
  EXPECT_EQ(RunOver(Mono10Packed, Mono8, 5, 1, odd), (Bytes{1, 2, 3, 0xC5, 0xC5}));
}

// Images whose bits do not fill their last byte have one byte less than their pixels touch.
TEST_F(Convert, StaysInsideImagesThatEndWithinAByte) {
  for (const NamedFormat& from : sk_sources) {
    for (const NamedFormat& to : sk_destinations) {
      for (const int width : {1, 3, 5}) {
        const size_t in = size_t(width) * GetBitsPerPixel(from.format) / 8;
        const size_t out = size_t(width) * GetBitsPerPixel(to.format) / 8;
        if (in == 0 || out == 0) continue;
        const Edged source(Noise(in, unsigned(width))), destination(Bytes(out, 0));
        const Owned image(ImageFactory::Shallow(source.Data(), in, size_t(width), 1, from.format));
        EXPECT_NO_THROW(
            Owned(ImageFactory::ConvertShallow(destination.Data(), out, image.get(), to.format)));
      }
    }
  }
}

TEST_F(Convert, AsksForNoRoomForLinesThatAreNotThere) {
  // As a camera may announce it; the process has less memory than 30 such lines.
  const uint8_t byte = 0;
  Image source;
  FrameCells::FillImageProps(&source, &byte, 0, 200'000'000, 0, BayerRG8);
#ifndef ORVEX_SANITIZED  // sanitizers take all addresses that there are
  rlimit before{};
  getrlimit(RLIMIT_AS, &before);
  const rlimit small{rlim_t(5) << 30, before.rlim_max};
  setrlimit(RLIMIT_AS, &small);
#endif
  const std::string message =
      MessageOf([&] { Owned(ImageFactory::Convert(&source, BGRa8, AdaptiveHomogeneityDirected)); });
#ifndef ORVEX_SANITIZED
  setrlimit(RLIMIT_AS, &before);
#endif
  EXPECT_EQ(message, "RuntimeException: Conversion error (ImageFactoryConvert.cpp, fromBayer8)");
}

TEST_F(Convert, KeepsItsScratchRoomAndOnlyLetsItGrow) {
  const auto poolA = [] {
    const std::lock_guard lock(g_factoryMutex);
    return std::pair(g_pPoolA, g_poolSizeA);
  };
  const auto demosaic = [](int width, int height) {
    Run(BayerRG8, RGB16, width, height, Noise(size_t(width * height), 8));
  };
  CloseImageFactory();
  OpenImageFactory();
  demosaic(40, 30);
  const auto first = poolA();
  EXPECT_EQ(first.second, 40u * 30 * 3);
  demosaic(40, 30);
  demosaic(20, 10);
  EXPECT_EQ(poolA(), first);
  demosaic(50, 30);
  EXPECT_EQ(poolA().second, 50u * 30 * 3);
}

TEST_F(Convert, ServesManyThreadsAtOnce) {
  const std::pair<PfncFormat_, PfncFormat_> pairs[] = {
      {BayerRG8, BGRa8}, {BayerGB12p, RGB16}, {Mono10p, Mono12p}, {RGB8, YCbCr411_8}};
  std::vector<std::jthread> threads;
  for (const auto& [from, to] : pairs) {
    threads.emplace_back([from = from, to = to] {
      const Bytes data = Noise(64 * 32 * GetBitsPerPixel(from) / 8, unsigned(from));
      const Bytes first = Run(from, to, 64, 32, data);
      for (int i = 0; i < 20; ++i) EXPECT_EQ(Run(from, to, 64, 32, data), first);
    });
  }
}

TEST_F(Convert, RefusesSizesThatTheArithmeticCannotHold) {
  const Bytes byte(1);
  EXPECT_THROW(ImageFactory::Shallow(byte.data(), 1, size_t(1) << 40, size_t(1) << 40, Mono8),
               GenICam::GenericException);
  // 2^30 pixels: their bytes are there only in name, and none is touched.
  const size_t side = size_t(1) << 15;
  const Owned image(ImageFactory::Shallow(byte.data(), side * side, side, side, Mono8));
  EXPECT_EQ(
      MessageOf([&] {
        uint8_t out[1];
        Owned(ImageFactory::ConvertShallow(out, side * side * 4, image.get(), BGRa8));
      }),
      "InvalidArgumentException: Image is too large to convert (ImageFactoryConvert.cpp, convert)");
}

}  // namespace
