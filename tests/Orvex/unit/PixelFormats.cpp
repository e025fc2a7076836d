// SPDX-License-Identifier: Apache-2.0
// Identifiers, names, layout facts and descriptors.
#include <gmock/gmock.h>

#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "ImageTools.h"
#include "Orvex/PixelFormatName.h"
#include "PixelFormat.h"

namespace Orvex::Testing {
namespace {

struct Named {
  const char* name;
  uint32_t value;
};
constexpr Named sk_formats[] = {
#define ORVEX_TEST_ROW(name, value) {#name, value},
    ORVEX_PFNC_ALL(ORVEX_TEST_ROW)
#undef ORVEX_TEST_ROW
};

std::vector<std::string> Expand(const std::string& prefix, const std::vector<std::string>& ends) {
  std::vector<std::string> names;
  for (const std::string& end : ends) names.push_back(prefix + end);
  return names;
}

uint64_t ValueOf(const std::string& name) {
  for (const Named& format : sk_formats) {
    if (name == format.name) return format.value;
  }
  ADD_FAILURE() << name << " is no format";
  return 0;
}

TEST(PixelFormats, AreOneListWithoutDoubles) {
  EXPECT_EQ(std::size(sk_formats), 276u + 81 + 40 + 40 + 20 + 20);
  std::set<std::string> names;
  std::set<uint32_t> values;
  for (const Named& format : sk_formats) {
    EXPECT_TRUE(names.insert(format.name).second) << format.name;
    EXPECT_TRUE(values.insert(format.value).second) << format.name;
    EXPECT_STREQ(GetPixelFormatName(static_cast<PfncFormat_>(format.value)), format.name);
  }
  EXPECT_STREQ(GetPixelFormatName(InvalidPixelFormat), "InvalidPixelFormat");
  EXPECT_STREQ(GetPixelFormatName(static_cast<PfncFormat_>(0x12345678)), "UnknownPixelFormat");
}

TEST(PixelFormats, HaveTheValuesThatCamerasSend) {
  const Named values[] = {{"Mono8", 0x01080001},
                          {"BayerRG12p", 0x010C0059},
                          {"RGB8", 0x02180014},
                          {"YCbCr411_8_CbYYCrYY", 0x020C003C},
                          {"R10", 0x01100120},
                          {"R10_Deprecated", 0x010A00CA},
                          {"RGB12V1Packed", 0x02240034},
                          {"PolarizedDolp_Mono16", 0xAA10AAAA},
                          {"PolarizedDolp_BayerRG16", 0xBB10BBBB},
                          {"TavikXYTP128f", 0x82804556},
                          {"QOI_BayerBG8", 0x81080B03},
                          {"DualMono8", 0x81081001},
                          {"DualBayerRG12p", 0x810C1059},
                          {"DualBayerGR10Packed", 0x810C1026},
                          {"QuadBayerGB16", 0x81103030},
                          {"DualMono8_2ch", 0x81101001},
                          {"DualMono10_2ch", 0x81201003},
                          {"DualBayerBG12_2ch", 0x81201013},
                          {"QuadMono8_4ch", 0x81203001},
                          {"QuadMono16_4ch", 0x81403007}};
  for (const Named& row : values) EXPECT_EQ(ValueOf(row.name), row.value) << row.name;
}

// The facts as the format documents give them: channels, bits of a channel, bytes and pixels of a
// step, then the formats that have them.
struct Facts {
  size_t channels, bits, bytes, pixels;
  bool operator==(const Facts&) const = default;
};

std::map<std::string, Facts> ExpectedFacts() {
  std::map<std::string, Facts> expected;
  const auto add = [&](Facts facts, const std::vector<std::string>& names) {
    for (const std::string& name : names) expected[name] = facts;
  };
  for (const std::string family : {"Mono", "BayerBG", "BayerGB", "BayerGR", "BayerRG"}) {
    add({1, 8, 1, 1}, {family + "8"});
    add({1, 10, 2, 1}, {family + "10"});
    add({1, 10, 5, 4}, {family + "10p"});
    add({1, 10, 3, 2}, {family + "10Packed"});
    add({1, 12, 2, 1}, {family + "12"});
    add({1, 12, 3, 2}, {family + "12p", family + "12Packed"});
    add({1, 16, 2, 1}, {family + "16"});
    add({1, 24, 3, 1}, {family + "24"});
  }
  for (const std::string sensor : {"Mono", "BayerRG"}) {
    add({1, 8, 1, 1}, {"PolarizedAolp_" + sensor + "8", "PolarizedDolp_" + sensor + "8"});
    add({1, 12, 3, 2}, {"PolarizedAolp_" + sensor + "12p", "PolarizedDolp_" + sensor + "12p"});
    add({2, 8, 2, 1}, {"PolarizedDolpAolp_" + sensor + "8"});
    add({2, 12, 3, 1}, {"PolarizedDolpAolp_" + sensor + "12p"});
    add({3, 8, 3, 3}, {"PolarizedStokes_S0_S1_S2_" + sensor + "8"});
    add({3, 12, 9, 2}, {"PolarizedStokes_S0_S1_S2_" + sensor + "12p"});
    add({4, 8, 4, 1}, {"PolarizedAngles_0d_45d_90d_135d_" + sensor + "8",
                       "PolarizedStokes_S0_S1_S2_S3_" + sensor + "8"});
    add({4, 12, 6, 1}, {"PolarizedAngles_0d_45d_90d_135d_" + sensor + "12p",
                        "PolarizedStokes_S0_S1_S2_S3_" + sensor + "12p"});
  }
  add({1, 8, 1, 1}, {"PolarizeMono8"});
  add({1, 12, 2, 1}, {"PolarizeMono12"});
  add({1, 12, 3, 2}, {"PolarizeMono12p", "PolarizeMono12Packed"});
  add({1, 16, 2, 1}, {"PolarizeMono16", "Coord3D_C16", "Coord3D_C16s", "Confidence16"});
  add({3, 8, 3, 1}, {"RGB8", "BGR8", "YCbCr8", "YCbCr8_CbYCr", "YUV8_UYV"});
  add({3, 12, 9, 2}, {"RGB12p", "BGR12p"});
  add({3, 16, 6, 1},
      {"RGB16", "BGR16", "Coord3D_ABC16", "Coord3D_ABC16s", "PolarizedStokes_S0_S1_S2_Mono16"});
  add({3, 24, 9, 1}, {"RGB24", "BGR24"});
  add({3, 8, 6, 4}, {"YCbCr411_8", "YCbCr411_8_CbYYCrYY", "YUV411_8_UYYVYY"});
  add({3, 8, 4, 2}, {"YCbCr422_8", "YCbCr422_8_CbYCrY", "YUV422_8", "YUV422_8_UYVY"});
  add({3, 16, 8, 2}, {"YCbCr422_16_CbYCrY"});
  add({3, 24, 12, 2}, {"YCbCr422_24_CbYCrY"});
  add({3, 16, 12, 4}, {"YCbCr411_16_CbYYCrYY"});
  add({3, 24, 18, 4}, {"YCbCr411_24_CbYYCrYY"});
  add({4, 8, 4, 1}, {"RGBa8", "BGRa8"});
  add({4, 16, 8, 1}, {"RGBa16", "BGRa16", "Coord3D_ABCY16", "Coord3D_ABCY16s",
                      "PolarizedStokes_S0_S1_S2_S3_Mono16"});
  return expected;
}

TEST(PixelFormats, KnowTheirLayoutOrSayThatTheyDoNot) {
  const std::map<std::string, Facts> expected = ExpectedFacts();
  for (const Named& format : sk_formats) {
    SCOPED_TRACE(format.name);
    const uint64_t value = format.value;
    EXPECT_EQ(GetBitsPerPixel(value), value >> 16 & 0xFF);
    const std::string name = format.name;
    const bool separated = name.find("ch") != std::string::npos;
    const auto refused = [&](size_t (*function)(uint64_t), const std::string& functionName) {
      EXPECT_EQ(Thrown<GenICam::InvalidArgumentException>([&] { function(value); }),
                functionName + " not implemented for " + name);
    };
    if (const auto found = expected.find(name); found != expected.end()) {
      EXPECT_EQ((Facts{GetNumChannels(value), GetBitsPerChannel(value), GetBytesPerStep(value),
                       GetPixelsPerStep(value)}),
                found->second);
      continue;
    }
    if (!separated && name.starts_with("Dual")) {
      EXPECT_EQ(GetNumChannels(value), 2u);
    } else if (!separated && name.starts_with("Quad")) {
      EXPECT_EQ(GetNumChannels(value), 4u);
    } else {
      refused(&GetNumChannels, "GetNumChannels");
    }
    refused(&GetBitsPerChannel, "GetBitsPerChannel");
    refused(&GetBytesPerStep, "GetBytesPerStep");
    refused(&GetPixelsPerStep, "GetPixelsPerStep");
  }
}

TEST(PixelFormats, RefuseWhatIsNoFormat) {
  EXPECT_EQ(GetBitsPerPixel(0), 0u);
  EXPECT_EQ(Thrown<GenICam::InvalidArgumentException>([] { GetNumChannels(0); }),
            "GetNumChannels not implemented for InvalidPixelFormat");
  // The low half is that of Mono8.
  EXPECT_EQ(Thrown<GenICam::InvalidArgumentException>([] { GetNumChannels(0x101080001); }),
            "GetNumChannels not implemented for UnknownPixelFormat");
}

std::set<std::string> ExpectedDescriptors() {
  std::set<std::string> names;
  const auto add = [&](const std::string& prefix, const std::vector<std::string>& ends) {
    for (const std::string& name : Expand(prefix, ends)) names.insert(name);
  };
  for (const std::string family : {"Mono", "BayerBG", "BayerGB", "BayerGR", "BayerRG"}) {
    add(family, {"8", "10", "10p", "10Packed", "12", "12p", "12Packed", "16", "24"});
    add("Dual" + family, {"8", "10", "12", "16"});
    add("Quad" + family, {"8", "10", "12", "16"});
  }
  add("RGB", {"8", "12", "12p", "16", "24", "a8", "a16"});
  add("BGR", {"8", "12", "12p", "16", "24", "a8", "a16"});
  add("YCbCr", {"8", "8_CbYCr", "411_8", "411_8_CbYYCrYY", "411_16_CbYYCrYY", "411_24_CbYYCrYY",
                "422_8", "422_8_CbYCrY", "422_16_CbYCrY", "422_24_CbYCrY"});
  add("YUV", {"8_UYV", "411_8_UYYVYY", "422_8", "422_8_UYVY"});
  add("Coord3D_", {"C16", "C16s", "ABC16", "ABC16s", "ABCY16", "ABCY16s"});
  add("", {"Confidence16"});
  add("PolarizeMono", {"8", "12", "12p", "12Packed", "16"});
  for (const std::string sensor : {"Mono", "BayerRG"}) {
    for (const std::string kind : {"Aolp_", "Dolp_", "DolpAolp_"}) {
      add("Polarized" + kind + sensor, {"8", "12", "12p"});
    }
    for (const std::string kind :
         {"Angles_0d_45d_90d_135d_", "Stokes_S0_S1_S2_", "Stokes_S0_S1_S2_S3_"}) {
      add("Polarized" + kind + sensor, {"8", "12p"});
    }
  }
  add("PolarizedStokes_S0_S1_S2_", {"Mono16", "S3_Mono16"});
  add("QOI_", {"Mono8", "BayerGR8", "BayerRG8", "BayerGB8", "BayerBG8", "RGB8", "BGR8", "YCbCr8",
               "YCbCr8_CbYCr"});
  return names;
}

TEST(PixelFormats, HaveDescriptorsOrSayThatTheyDoNot) {
  const std::set<std::string> expected = ExpectedDescriptors();
  ASSERT_EQ(expected.size(), 166u);
  for (const Named& format : sk_formats) {
    const auto value = static_cast<PfncFormat_>(format.value);
    try {
      DestroyPixelFormat(GetPixelFormat(value));
      EXPECT_TRUE(expected.contains(format.name)) << format.name;
    } catch (const std::logic_error& e) {
      EXPECT_EQ(e.what(), "pixel format " + std::string(format.name) + " not implemented");
      EXPECT_FALSE(expected.contains(format.name)) << format.name;
    }
  }
  DestroyPixelFormat(nullptr);
}

}  // namespace
}  // namespace Orvex::Testing
