// SPDX-License-Identifier: Apache-2.0
// Texts that people and files bring: addresses, lines of saved settings, picture files that are not
// what they say.
#include <gmock/gmock.h>
#include <tiffio.h>

#include <filesystem>
#include <fstream>

#include "tools/Addresses.h"
#include "tools/Failure.h"
#include "tools/PictureFile.h"
#include "tools/PictureReader.h"
#include "tools/SettingsFile.h"

namespace OrvexTools {
namespace {

TEST(Addresses, AreReadInTheFormsThatPeopleWrite) {
  EXPECT_EQ(ParseIp("192.168.0.10"), 0xC0A8000AU);
  EXPECT_EQ(ParseMac("02:00:7F:00:09:02"), 0x02007F000902U);
  EXPECT_EQ(ParseMac("02-00-7f-00-09-02"), ParseMac("02007f000902"));
  EXPECT_EQ(ParseMask("24"), 0xFFFFFF00U);
  EXPECT_EQ(ParseMask("/0"), 0U);
  EXPECT_EQ(ParseMask("255.255.240.0"), 0xFFFFF000U);
}

TEST(Addresses, AreRefusedOtherwise) {
  for (const char* pText : {"", "1.2.3", "1.2.3.256", "1.2.3.4.5", "host"})
    EXPECT_THROW(ParseIp(pText), Misuse) << pText;
  for (const char* pText : {"", "02:00:7f:00:09", "02:00:7f:00:09:0g", "0:0:0:0:0:0",
                            "02:00:7f:00:09:+2", "-2007f000902", "02007f00:09:02"}) {
    EXPECT_THROW(ParseMac(pText), Misuse) << pText;
  }
  for (const char* pText : {"33", "255.0.255.0", "0.0.0.255", "-1"})
    EXPECT_THROW(ParseMask(pText), Misuse) << pText;
}

TEST(SettingsFile, HoldsOneSettingALineAndTheLastOneCounts) {
  const auto lines = ParseSettings(
      "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n# "
      "comment\tx\nSel\t0\r\nGain\t1\nSel\t1\nGain\t{Sel=1}\t7\nUser\ta\tb\n\t3\nbad");
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[3].value, "a\tb");
  const auto last = LastOfEach(lines);
  ASSERT_EQ(last.size(), 3U);
  EXPECT_EQ(last[1].feature, "Sel");
  EXPECT_EQ(last[1].value, "1");
}

TEST(SettingsFile, ComparesNumbersAsNumbersAndTextsAsTexts) {
  EXPECT_TRUE(SameValue("5000", "5000.00"));
  EXPECT_TRUE(SameValue("0.333333", "0.33333333333"));
  EXPECT_FALSE(SameValue("1280", "1296"));
  EXPECT_FALSE(SameValue("Mono8", "Mono80"));
  EXPECT_FALSE(SameValue("1", "1x"));
}

class PictureFiles : public testing::Test {
 protected:
  PictureFiles() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvex-read-XXXXXX").string();
    m_folder = ::mkdtemp(pattern.data());
  }
  ~PictureFiles() override { std::filesystem::remove_all(m_folder); }

  std::filesystem::path File(const char* name, const std::string& content) const {
    std::ofstream(m_folder / name, std::ios::binary) << content;
    return m_folder / name;
  }

  std::filesystem::path m_folder;
};

TEST_F(PictureFiles, ComeBackAsTheyWereWritten) {
  std::vector<std::uint8_t> bytes(5 * 4 * 6);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 37);
  const Picture picture{5, 4, 3, 16, 30, bytes};
  WritePng(m_folder / "a.png", picture);
  WriteTiff(m_folder / "a.tiff", picture);
  WriteRaw(m_folder / "a.raw", bytes, {{"width", 5}, {"height", 4}, {"pixel_format", "RGB16"}});
  for (const char* name : {"a.png", "a.tiff", "a.raw"}) {
    const LoadedPicture loaded = ReadPicture(m_folder / name);
    EXPECT_EQ(loaded.width, 5U) << name;
    EXPECT_EQ(loaded.height, 4U) << name;
    EXPECT_EQ(loaded.format, "RGB16") << name;
    EXPECT_EQ(loaded.bytes, bytes) << name;
  }
}

TEST_F(PictureFiles, ThatLieAreRefused) {
  const std::vector<std::uint8_t> bytes(64 * 64);
  const Picture picture{64, 64, 1, 8, 64, bytes};
  WritePng(m_folder / "cut.png", picture);
  std::filesystem::resize_file(m_folder / "cut.png",
                               std::filesystem::file_size(m_folder / "cut.png") - 30);
  WriteTiff(m_folder / "cut.tiff", picture);
  std::filesystem::resize_file(m_folder / "cut.tiff", 1000);
  File("none.png", "no picture");
  File("none.tiff", "no picture");
  File("facts.raw", "1234");
  File("facts.raw.json", R"({"width": "wide", "height": 2, "pixel_format": "Mono8"})");
  File("huge.raw", "1234");
  File("huge.raw.json", R"({"width": 1048576, "height": 1048576, "pixel_format": "Mono8"})");
  File("alone.raw", "1234");
  for (const char* name : {"cut.png", "cut.tiff", "none.png", "none.tiff", "facts.raw", "huge.raw",
                           "alone.raw", "missing.png", "missing.tiff"}) {
    EXPECT_THROW(ReadPicture(m_folder / name), Failure) << name;
  }
}

TEST_F(PictureFiles, AnnouncingMoreThanMemoryHoldsAreRefusedBeforeItIsTaken) {
  TIFF* pTiff = TIFFOpen((m_folder / "huge.tiff").c_str(), "w");
  TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, 1'000'000);
  TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, 1'000'000);
  TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, 16);
  TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, 3);
  TIFFSetField(pTiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, 1);
  std::vector<std::uint8_t> row(6'000'000);
  TIFFWriteScanline(pTiff, row.data(), 0, 0);
  TIFFClose(pTiff);
  EXPECT_THROW(ReadPicture(m_folder / "huge.tiff"), Failure);
}

}  // namespace
}  // namespace OrvexTools
