// SPDX-License-Identifier: Apache-2.0
// Software lookup tables: lengths, messages, and every layout against samples read bit by bit.
#include <gmock/gmock.h>

#include <cstring>

#include "ImageTools.h"
#include "PixelFormat.h"

namespace Orvex::Testing {
namespace {

using GenICam::InvalidArgumentException;

struct LutCase {
  const char* variant;
  PfncFormat_ format;
  BitLayout layout;
  // Which table each sample of a repeating group uses when the channels differ.
  std::vector<size_t> pattern;
  size_t shared, each;
  const char* message;
};

constexpr const char* sk_8_3 =
    "8-bit 3-channel LUT requires 256-byte (channels same) or 768-byte (channels differ) length (";
constexpr const char* sk_16_3 =
    "16-bit 3-channel LUT requires 131,072-byte (65,536 values, 2 bytes per value, channels same) "
    "or 393,216-byte (channels differ) length (";
constexpr const char* sk_24_3 =
    "24-bit 3-channel LUT requires 50,331,648-byte (16,777,216 values, 3 bytes per value, channels "
    "same) or 150,994,994-byte (channels differ) length (";
constexpr const char* sk_12 =
    "12-bit LUT requires 8192-byte (4096 values, 2 bytes per value) length (";

const std::vector<LutCase>& Cases() {
  static const std::vector<LutCase> sk_cases = {
      {"8Bits", BayerRG8, sk_bits8, {0}, 256, 0, "8-bit LUT requires 256-byte length ("},
      {"10Bits",
       Mono10,
       sk_bits10,
       {0},
       2048,
       0,
       "10-bit LUT requires 2048 (1024 values, 2 bytes per value) length ("},
      {"10pBits",
       BayerGB10p,
       sk_bits10p,
       {0},
       2048,
       0,
       "10-bit LUT requires 2048 (1024 values, 2 bytes per value) length ("},
      {"12Bits", Mono12, sk_bits12, {0}, 8192, 0, sk_12},
      {"12pBits", BayerGR12p, sk_bits12p, {0}, 8192, 0, sk_12},
      {"16Bits",
       Coord3D_C16s,
       sk_bits16,
       {0},
       131072,
       0,
       "16-bit LUT requires 131,072-byte (65,536 values, 2 bytes per value) length ("},
      {"24Bits",
       BayerBG24,
       sk_bits24,
       {0},
       50331648,
       0,
       "24-bit LUT requires 50,331,648-byte (16,777,216 values, 3 bytes per value) length ("},
      {"8Bits2Ch",
       PolarizedDolpAolp_BayerRG8,
       sk_bits8,
       {0, 1},
       256,
       512,
       "8-bit 2-channel LUT requires 256-byte (channels same) or 512-byte (channels differ) length "
       "("},
      {"12pBits2Ch",
       PolarizedDolpAolp_BayerRG12p,
       sk_bits12p,
       {0, 1},
       8192,
       16384,
       "12-bit 2-channel LUT requires 8192-byte (4096 values, 2 bytes per value, channels same) or "
       "16384 (channels differ) length ("},
      {"8Bits3Ch", RGB8, sk_bits8, {0, 1, 2}, 256, 768, sk_8_3},
      {"12pBits3Ch",
       BGR12p,
       sk_bits12p,
       {0, 1, 2},
       8192,
       24576,
       "12-bit 3-channel LUT requires 8192-byte (4096 values, 2 bytes per value, channels same) or "
       "24,567-byte (channels differ) length ("},
      {"16Bits3Ch", RGB16, sk_bits16, {0, 1, 2}, 131072, 393216, sk_16_3},
      {"24Bits3Ch", BGR24, sk_bits24, {0, 1, 2}, 50331648, 150994994, sk_24_3},
      {"8Bits4Ch",
       BGRa8,
       sk_bits8,
       {0, 1, 2, 3},
       256,
       1024,
       "8-bit 4-channel LUT requires 256-byte (channels same) or 1024-byte (channels differ) "
       "length ("},
      {"12pBits4Ch",
       PolarizedStokes_S0_S1_S2_S3_Mono12p,
       sk_bits12p,
       {0, 1, 2, 3},
       8192,
       32768,
       "12-bit 4-channel LUT requires 8192-byte (4096 values, 2 bytes per value, channels same) or "
       "32,768-byte (channels differ) length ("},
      {"16Bits4Ch",
       RGBa16,
       sk_bits16,
       {0, 1, 2, 3},
       131072,
       524288,
       "16-bit 4-channel LUT requires 524,288-byte (65,536 values, 2 bytes per value, channels "
       "same) or 524,288-byte (channels differ) length ("},
      {"8Bits411", YCbCr411_8, sk_bits8, {0, 0, 1, 0, 0, 2}, 256, 768, sk_8_3},
      {"8Bits411", YUV411_8_UYYVYY, sk_bits8, {1, 0, 0, 2, 0, 0}, 256, 768, sk_8_3},
      {"8Bits422", YUV422_8, sk_bits8, {0, 1, 0, 2}, 256, 768, sk_8_3},
      {"8Bits422", YCbCr422_8_CbYCrY, sk_bits8, {1, 0, 2, 0}, 256, 768, sk_8_3},
      {"16Bits411", YCbCr411_16_CbYYCrYY, sk_bits16, {1, 0, 0, 2, 0, 0}, 131072, 393216, sk_16_3},
      {"16Bits422", YCbCr422_16_CbYCrY, sk_bits16, {1, 0, 2, 0}, 131072, 393216, sk_16_3},
      {"24Bits411",
       YCbCr411_24_CbYYCrYY,
       sk_bits24,
       {1, 0, 0, 2, 0, 0},
       50331648,
       150994994,
       sk_24_3},
      {"24Bits422", YCbCr422_24_CbYCrY, sk_bits24, {1, 0, 2, 0}, 50331648, 150994994, sk_24_3},
  };
  return sk_cases;
}

// The lookup, one bit at a time. An entry of a packed format gives as many bits as there is room.
Bytes LookedUp(const LutCase& row, const Bytes& data, const Bytes& table, bool shared) {
  const size_t entryBytes = row.layout.bits == 8 ? 1 : row.layout.bits == 24 ? 3 : 2;
  const bool packed = row.layout.At(1, 0) < 16 && row.layout.bits != 8;
  // Words keep all bits of the entry.
  const BitLayout out =
      packed || row.layout.bits == 24 || row.layout.bits == 8 ? row.layout : sk_bits16;
  Bytes result = data;
  for (size_t i = 0; row.layout.At(i, 0) / 8 < data.size(); ++i) {
    const uint32_t value = Sample(row.layout, data, i);
    const size_t channel = shared ? 0 : row.pattern[i % row.pattern.size()];
    const size_t at = ((channel << row.layout.bits) + value) * entryBytes;
    uint32_t entry = 0;
    for (size_t k = 0; k < entryBytes; ++k) entry |= uint32_t{table[at + k]} << 8 * k;
    PutSample(out, result, i, entry);
  }
  return result;
}

class EachLutCase : public WithFactory, public testing::WithParamInterface<LutCase> {};

TEST_P(EachLutCase, ReplacesEverySampleByItsEntry) {
  const LutCase& row = GetParam();
  for (const bool shared : {true, false}) {
    if (!shared && row.each == 0) continue;
    const Bytes table = RandomBytes(shared ? row.shared : row.each, 7);
    for (const auto& [width, height] :
         {std::pair<size_t, size_t>{1, 1}, {3, 1}, {4, 2}, {7, 5}, {67, 35}, {97, 33}}) {
      const ImagePtr image = RandomImage(row.format, width, height);
      if (!image) continue;
      const Bytes data = DataOf(image.get());
      const ImagePtr result(
          ImageFactory::ProcessSoftwareLUT(image.get(), table.data(), table.size()));
      ASSERT_EQ(DataOf(result.get()), LookedUp(row, data, table, shared))
          << width << "x" << height << (shared ? " shared" : " each");
      EXPECT_EQ(result->GetPixelFormat(), row.format);
      EXPECT_EQ(result->GetWidth(), width);
      EXPECT_EQ(DataOf(image.get()), data) << "the input changed";
    }
  }
}

TEST_P(EachLutCase, TakesItsLengthsAndNoOther) {
  const LutCase& row = GetParam();
  const ImagePtr image = RandomImage(row.format, 4, 2);
  const uint8_t none = 0;
  std::vector<size_t> wrong = {0, row.shared - 1, row.shared + 1, row.shared * 5};
  if (row.each != 0) wrong.insert(wrong.end(), {row.each - 1, row.each + 1});
  // Three 24-bit tables end to end are not what is asked for.
  if (row.shared == 50331648) wrong.push_back(150994944);
  for (const size_t length : wrong) {
    EXPECT_EQ(
        Thrown<InvalidArgumentException>(
            [&] { ImageFactory::ProcessSoftwareLUT(image.get(), &none, length); }),
        Plain("InvalidArgumentException", row.message + std::to_string(length) + " input)",
              "ProcessSoftwareLUTImpl.cpp", std::string("ProcessSoftwareLUT_") + row.variant));
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, EachLutCase, testing::ValuesIn(Cases()), [](const auto& info) {
  return std::string(info.param.variant) + "_" + std::to_string(info.index);
});

class SoftwareLut : public WithFactory {};

TEST_F(SoftwareLut, IsNotAvailableForSomeFormats) {
  const Bytes table(8192);
  for (const auto& [format, name] :
       {std::pair<PfncFormat_, const char*>{Mono10Packed, "Mono10Packed"},
        {BayerRG12Packed, "BayerRG12Packed"},
        {PolarizeMono12Packed, "PolarizeMono12Packed"},
        {RGB12, "RGB12"},
        {BGR12, "BGR12"},
        {PolarizedDolpAolp_BayerRG12, "PolarizedDolpAolp_BayerRG12"}}) {
    const ImagePtr image = RandomImage(format, 4, 2);
    EXPECT_EQ(
        Thrown<InvalidArgumentException>(
            [&] { ImageFactory::ProcessSoftwareLUT(image.get(), table.data(), table.size()); }),
        Plain("InvalidArgumentException",
              std::string("Process software LUT attempted but unavailable on pixel format ") + name,
              "ProcessSoftwareLUTImpl.cpp", "ProcessSoftwareLUT_NoImpl"));
  }
  // Asked directly, a descriptor may see no image at all.
  const std::unique_ptr<IImplementation> descriptor(GetPixelFormat(RGB12));
  EXPECT_EQ(Thrown<InvalidArgumentException>(
                [&] { descriptor->ProcessSoftwareLUT(nullptr, table.data(), table.size()); }),
            Plain("InvalidArgumentException", "Process software LUT not available",
                  "ProcessSoftwareLUTImpl.cpp", "ProcessSoftwareLUT_NoImpl"));
}

TEST_F(SoftwareLut, FollowsTheFormatsThatDepartFromTheRule) {
  // The mono formats of two channels take one table only.
  const Bytes two(512), one(256);
  const ImagePtr image = RandomImage(PolarizedDolpAolp_Mono8, 4, 2);
  EXPECT_THAT(Thrown<InvalidArgumentException>(
                  [&] { ImageFactory::ProcessSoftwareLUT(image.get(), two.data(), two.size()); }),
              testing::HasSubstr("8-bit LUT requires 256-byte length (512 input)"));
  const ImagePtr result(ImageFactory::ProcessSoftwareLUT(image.get(), one.data(), one.size()));
  EXPECT_THAT(DataOf(result.get()), testing::Each(0));
}

TEST_F(SoftwareLut, KeepsTheSizesOfAPartlyFilledBuffer) {
  const Bytes data = RandomBytes(64);
  Image image;
  FrameCells::FillImageProps(&image, data.data(), 64, 4, 8, Mono16);
  FrameCells::SetSizes(&image, 41, 50, 64);
  const Bytes table(131072, 0x11);
  const ImagePtr result(ImageFactory::ProcessSoftwareLUT(&image, table.data(), table.size()));
  EXPECT_EQ(result->GetSizeFilled(), 41u);
  EXPECT_EQ(result->GetPayloadSize(), 50u);
  EXPECT_EQ(result->GetSizeOfBuffer(), 64u);
  Bytes expected(64, 0);
  std::fill_n(expected.begin(), 41, 0x11);
  EXPECT_EQ(Bytes(result->GetData(), result->GetData() + 64), expected);
}

}  // namespace
}  // namespace Orvex::Testing
