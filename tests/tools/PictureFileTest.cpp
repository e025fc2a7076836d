// SPDX-License-Identifier: Apache-2.0
// Pictures on disk: what is written is read back with the format's own library, and a failed write
// leaves nothing.
#include "tools/PictureFile.h"

#include <gmock/gmock.h>
#include <png.h>
#include <signal.h>
#include <sys/resource.h>
#include <tiffio.h>
#include <unistd.h>

#include <fstream>
#include <numeric>
#include <vector>

#include "tools/Failure.h"

namespace OrvexTools {
namespace {

using testing::HasSubstr;

class Pictures : public testing::Test {
 protected:
  Pictures() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orvex-pictures-XXXXXX").string();
    m_folder = ::mkdtemp(pattern.data());
  }
  ~Pictures() override { std::filesystem::remove_all(m_folder); }

  std::filesystem::path In(const char* name) const { return m_folder / name; }

  std::size_t FilesInFolder() const {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(m_folder), {}));
  }

  std::filesystem::path m_folder;
};

// Rows of noise, which no encoder can shorten, with three bytes of padding after each, which no
// file may hold.
struct Sample {
  Sample(std::uint32_t width, std::uint32_t height, unsigned channels, unsigned bits) {
    const std::size_t line = std::size_t{width} * channels * (bits / 8);
    picture = {width, height, channels, bits, line + 3, {}};
    bytes.resize(picture.stride * height, 0xEE);
    std::uint32_t seed = 1;
    for (std::uint32_t row = 0; row < height; ++row) {
      for (std::size_t i = 0; i < line; ++i) {
        seed = seed * 1'664'525 + 1'013'904'223;
        bytes[row * picture.stride + i] = static_cast<std::uint8_t>(seed >> 24);
        tight.push_back(bytes[row * picture.stride + i]);
      }
    }
    picture.data = bytes;
  }

  Picture picture;
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint8_t> tight;
};

std::vector<std::uint8_t> ReadPng(const std::filesystem::path& name, const Sample& sample) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  EXPECT_NE(png_image_begin_read_from_file(&image, name.c_str()), 0) << image.message;
  EXPECT_EQ(image.width, sample.picture.width);
  EXPECT_EQ(image.height, sample.picture.height);
  EXPECT_EQ(PNG_IMAGE_SAMPLE_CHANNELS(image.format), sample.picture.channels);
  std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
  EXPECT_NE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr), 0) << image.message;
  return bytes;
}

std::vector<std::uint8_t> ReadTiff(const std::filesystem::path& name, const Sample& sample) {
  TIFF* pTiff = TIFFOpen(name.c_str(), "r");
  EXPECT_NE(pTiff, nullptr);
  if (pTiff == nullptr) return {};
  std::uint32_t height = 0;
  std::uint16_t bits = 0;
  TIFFGetField(pTiff, TIFFTAG_IMAGELENGTH, &height);
  TIFFGetField(pTiff, TIFFTAG_BITSPERSAMPLE, &bits);
  EXPECT_EQ(height, sample.picture.height);
  EXPECT_EQ(bits, sample.picture.bitsPerSample);
  const auto line = static_cast<std::size_t>(TIFFScanlineSize(pTiff));
  std::vector<std::uint8_t> bytes(line * height);
  for (std::uint32_t row = 0; row < height; ++row)
    EXPECT_EQ(TIFFReadScanline(pTiff, bytes.data() + row * line, row, 0), 1);
  TIFFClose(pTiff);
  return bytes;
}

TEST_F(Pictures, PngOfEightBitsHoldsThePixels) {
  for (const unsigned channels : {1U, 3U}) {
    const Sample sample(7, 5, channels, 8);
    WritePng(In("a.png"), sample.picture);
    EXPECT_EQ(ReadPng(In("a.png"), sample), sample.tight) << channels << " channels";
  }
}

TEST_F(Pictures, PngOfSixteenBitsStoresTheHighByteFirst) {
  const Sample sample(1, 1, 1, 16);
  WritePng(In("a.png"), sample.picture);
  // The decoder hands out 16-bit samples in file order when asked for nothing else.
  std::FILE* pFile = std::fopen(In("a.png").c_str(), "rb");
  png_structp pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop pInfo = png_create_info_struct(pPng);
  png_init_io(pPng, pFile);
  png_read_info(pPng, pInfo);
  EXPECT_EQ(png_get_bit_depth(pPng, pInfo), 16);
  std::uint8_t row[2] = {};
  png_read_row(pPng, row, nullptr);
  EXPECT_EQ(row[0], sample.bytes[1]);
  EXPECT_EQ(row[1], sample.bytes[0]);
  EXPECT_NE(row[0], row[1]);
  png_destroy_read_struct(&pPng, &pInfo, nullptr);
  std::fclose(pFile);
}

TEST_F(Pictures, TiffHoldsThePixelsAtEveryDepth) {
  for (const unsigned bits : {8U, 16U}) {
    for (const unsigned channels : {1U, 3U}) {
      const Sample sample(300, 90, channels, bits);  // several strips
      WriteTiff(In("a.tiff"), sample.picture);
      EXPECT_EQ(ReadTiff(In("a.tiff"), sample), sample.tight)
          << channels << " channels of " << bits << " bits";
    }
  }
}

TEST_F(Pictures, RawKeepsTheBytesAndTellsTheFactsBeside) {
  const Sample sample(4, 4, 1, 8);
  WriteRaw(In("a.raw"), sample.bytes, Record{{"width", 4}});
  std::ifstream raw(In("a.raw"), std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(raw)), {});
  EXPECT_EQ(std::vector<std::uint8_t>(bytes.begin(), bytes.end()), sample.bytes);
  std::ifstream facts(In("a.raw.json"));
  EXPECT_EQ(Record::parse(facts)["width"], 4);
}

TEST_F(Pictures, NothingButThePictureIsLeftInTheFolder) {
  const Sample sample(8, 8, 3, 8);
  WritePng(In("a.png"), sample.picture);
  WriteTiff(In("a.tiff"), sample.picture);
  EXPECT_EQ(FilesInFolder(), 2U);
}

using Writer = void (*)(const std::filesystem::path&, const Picture&);

void WriteRawPixels(const std::filesystem::path& name, const Picture& picture) {
  WriteRaw(name, picture.data, Record());
}

struct WriterCase {
  const char* name;
  Writer write;
};

class FailedWrite : public Pictures, public testing::WithParamInterface<WriterCase> {
 protected:
  std::string MessageWhenWriting(const std::filesystem::path& name, const Picture& picture) {
    try {
      GetParam().write(name, picture);
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "no failure";
  }
};

TEST_P(FailedWrite, LeavesTheOldPictureAndNoPartOfTheNewOne) {
  const std::filesystem::path name = In("picture");
  std::ofstream(name) << "old";
  const Sample sample(400, 400, 3, 16);
  // The file size limit stands for a full disk: writing stops in the middle.
  rlimit before = {};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{10'000, before.rlim_max};
  const auto oldHandler = ::signal(SIGXFSZ, SIG_IGN);
  ::setrlimit(RLIMIT_FSIZE, &small);
  const std::string message = MessageWhenWriting(name, sample.picture);
  ::setrlimit(RLIMIT_FSIZE, &before);
  ::signal(SIGXFSZ, oldHandler);
  EXPECT_THAT(message, HasSubstr("cannot write " + name.string() + ": File too large"));
  EXPECT_EQ(FilesInFolder(), 1U);
  std::string content;
  std::ifstream(name) >> content;
  EXPECT_EQ(content, "old");
}

TEST_P(FailedWrite, SaysThatTheFolderIsMissing) {
  const Sample sample(4, 4, 1, 8);
  EXPECT_THAT(MessageWhenWriting(In("none") / "a.png", sample.picture),
              HasSubstr("No such file or directory; make the folder"));
}

INSTANTIATE_TEST_SUITE_P(Kinds, FailedWrite,
                         testing::Values(WriterCase{"Png", &WritePng},
                                         WriterCase{"Tiff", &WriteTiff},
                                         WriterCase{"Raw", &WriteRawPixels}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(FullDisk, IsSaidWithAdvice) {
  const Sample sample(64, 64, 1, 8);
  for (const Writer write : {&WritePng, &WriteTiff}) {
    try {
      write("/dev/full", sample.picture);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const Failure& failure) {
      EXPECT_THAT(failure.what(), HasSubstr("No space left on device; free some space"));
    }
  }
}

TEST(PictureNames, TellTheKindByTheEnding) {
  EXPECT_EQ(KindOf("a/b.PNG"), PictureKind::Png);
  EXPECT_EQ(KindOf("x.tif"), PictureKind::Tiff);
  EXPECT_EQ(KindOf("x.raw"), PictureKind::Raw);
  EXPECT_THROW(KindOf("x.jpg"), Misuse);
  EXPECT_THROW(KindOf("png"), Misuse);
}

TEST(PictureNames, NumberSeveralSoThatTheySort) {
  EXPECT_EQ(NumberedName("d/a.png", 0, 1), "d/a.png");
  EXPECT_EQ(NumberedName("d/a.png", 7, 10), "d/a-7.png");
  EXPECT_EQ(NumberedName("d/a.b.png", 7, 11), "d/a.b-07.png");
}

}  // namespace
}  // namespace OrvexTools
