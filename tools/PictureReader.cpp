// SPDX-License-Identifier: Apache-2.0
#include "tools/PictureReader.h"

#include <fmt/format.h>
#include <png.h>
#include <tiffio.h>

#include <cstring>
#include <fstream>
#include <memory>

#include "tools/Failure.h"
#include "tools/Limits.h"
#include "tools/PictureFile.h"

namespace OrvexTools {
namespace {

[[noreturn]] void Refuse(const std::filesystem::path& name, const std::string& reason) {
  throw Failure(fmt::format("cannot read {}: {}", name.string(), reason));
}

const char* FormatOf(unsigned channels, unsigned bits) {
  if (bits == 16) return channels == 1 ? "Mono16" : "RGB16";
  return channels == 1 ? "Mono8" : "RGB8";
}

void CheckSize(const std::filesystem::path& name, std::uint64_t width, std::uint64_t height,
               std::uint64_t bytesPerPixel) {
  if (width == 0 || height == 0 || width > sk_maxPictureSide || height > sk_maxPictureSide ||
      width * height * bytesPerPixel > sk_maxPictureBytes) {
    Refuse(name, fmt::format("{} x {} pixels are none or too many", width, height));
  }
}

struct FileCloser {
  void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};

// What OnPngReadError leaves behind.
struct PngSource {
  char error[200] = {};
};

[[noreturn]] void OnPngReadError(png_structp pPng, png_const_charp pText) {
  std::strncpy(static_cast<PngSource*>(png_get_error_ptr(pPng))->error, pText,
               sizeof(PngSource::error) - 1);
  png_longjmp(pPng, 1);
}

void OnPngReadWarning(png_structp, png_const_charp) {}

// Header of a PNG after the transformations that leave grey or red-green-blue. Nothing in here has
// a destructor.
bool BeginPng(png_structp pPng, png_infop pInfo, std::FILE* pFile) {
  if (setjmp(png_jmpbuf(pPng))) return false;
  png_init_io(pPng, pFile);
  png_read_info(pPng, pInfo);
  png_set_expand(pPng);
  png_set_strip_alpha(pPng);
  if (png_get_bit_depth(pPng, pInfo) == 16) png_set_swap(pPng);
  png_set_interlace_handling(pPng);
  png_read_update_info(pPng, pInfo);
  return true;
}

bool ReadPngRows(png_structp pPng, png_bytepp ppRows) {
  if (setjmp(png_jmpbuf(pPng))) return false;
  png_read_image(pPng, ppRows);
  return true;
}

LoadedPicture ReadPng(const std::filesystem::path& name) {
  const std::unique_ptr<std::FILE, FileCloser> pFile(std::fopen(name.c_str(), "rb"));
  if (pFile == nullptr) Refuse(name, std::strerror(errno));
  PngSource source;
  struct Reader {
    png_structp pPng = nullptr;
    png_infop pInfo = nullptr;
    ~Reader() { png_destroy_read_struct(&pPng, &pInfo, nullptr); }
  } reader;
  reader.pPng =
      png_create_read_struct(PNG_LIBPNG_VER_STRING, &source, &OnPngReadError, &OnPngReadWarning);
  reader.pInfo = png_create_info_struct(reader.pPng);
  if (!BeginPng(reader.pPng, reader.pInfo, pFile.get())) Refuse(name, source.error);

  LoadedPicture picture;
  picture.width = png_get_image_width(reader.pPng, reader.pInfo);
  picture.height = png_get_image_height(reader.pPng, reader.pInfo);
  const unsigned channels = png_get_channels(reader.pPng, reader.pInfo);
  const unsigned bits = png_get_bit_depth(reader.pPng, reader.pInfo);
  CheckSize(name, picture.width, picture.height, channels * bits / 8);
  picture.format = FormatOf(channels, bits);
  const std::size_t line = png_get_rowbytes(reader.pPng, reader.pInfo);
  picture.bytes.resize(line * picture.height);
  std::vector<png_bytep> rows(picture.height);
  for (std::size_t row = 0; row < rows.size(); ++row) rows[row] = picture.bytes.data() + row * line;
  if (!ReadPngRows(reader.pPng, rows.data())) Refuse(name, source.error);
  return picture;
}

struct TiffCloser {
  void operator()(TIFF* pTiff) const { TIFFClose(pTiff); }
};

LoadedPicture ReadTiff(const std::filesystem::path& name) {
  TIFFSetErrorHandler(nullptr);
  TIFFSetWarningHandler(nullptr);
  const std::unique_ptr<TIFF, TiffCloser> pTiff(TIFFOpen(name.c_str(), "r"));
  if (pTiff == nullptr) Refuse(name, "it is missing or no TIFF file");
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t channels = 1;
  std::uint16_t bits = 8;
  std::uint16_t planes = PLANARCONFIG_CONTIG;
  TIFFGetField(pTiff.get(), TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(pTiff.get(), TIFFTAG_IMAGELENGTH, &height);
  TIFFGetFieldDefaulted(pTiff.get(), TIFFTAG_SAMPLESPERPIXEL, &channels);
  TIFFGetFieldDefaulted(pTiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(pTiff.get(), TIFFTAG_PLANARCONFIG, &planes);
  const bool known = (channels == 1 || channels == 3) && (bits == 8 || bits == 16) &&
                     planes == PLANARCONFIG_CONTIG && TIFFIsTiled(pTiff.get()) == 0;
  if (!known) Refuse(name, "only grey and red-green-blue of 8 or 16 bits are read");
  CheckSize(name, width, height, std::uint64_t{channels} * bits / 8);

  LoadedPicture picture{width, height, FormatOf(channels, bits), {}};
  const std::size_t line = std::size_t{width} * channels * bits / 8;
  if (TIFFScanlineSize(pTiff.get()) != static_cast<tmsize_t>(line))
    Refuse(name, "its rows have an unexpected length");
  picture.bytes.resize(line * height);
  for (std::uint32_t row = 0; row < height; ++row) {
    if (TIFFReadScanline(pTiff.get(), picture.bytes.data() + row * line, row, 0) != 1)
      Refuse(name, "it ends too early");
  }
  return picture;
}

constexpr const char* sk_noFacts =
    "it does not tell width, height and pixel_format as `orvex grab` writes them";

std::filesystem::path FactsBeside(std::filesystem::path name) {
  name += ".json";
  return name;
}

LoadedPicture ReadRaw(const std::filesystem::path& name) {
  const std::filesystem::path factsName = FactsBeside(name);
  std::ifstream factsFile(factsName);
  if (!factsFile)
    Refuse(factsName, "raw bytes need the facts beside them, as `orvex grab` writes them");
  LoadedPicture picture;
  try {
    const Record facts = Record::parse(factsFile);
    picture.width = facts.at("width").get<std::uint64_t>();
    picture.height = facts.at("height").get<std::uint64_t>();
    picture.format = facts.at("pixel_format").get<std::string>();
    if (facts.value("padding_x", 0) != 0) Refuse(name, "its rows are padded");
  } catch (const Record::exception&) {
    Refuse(factsName, sk_noFacts);
  }
  CheckSize(name, picture.width, picture.height, 1);
  picture.bytes = ReadBytes(name, sk_maxPictureBytes);
  return picture;
}

}  // namespace

std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& name, std::uint64_t most) {
  if (std::filesystem::is_directory(name)) Refuse(name, "it is a folder");
  std::ifstream file(name, std::ios::binary | std::ios::ate);
  if (!file) Refuse(name, std::strerror(errno));
  const auto size = static_cast<std::uint64_t>(file.tellg());
  if (size > most) Refuse(name, "it is too large");
  std::vector<std::uint8_t> bytes(size);
  file.seekg(0);
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  if (!file) Refuse(name, "it ends too early");
  return bytes;
}

std::string FormatBeside(const std::filesystem::path& name) {
  const std::filesystem::path factsName = FactsBeside(name);
  std::ifstream factsFile(factsName);
  if (!factsFile) return {};
  try {
    return Record::parse(factsFile).at("pixel_format").get<std::string>();
  } catch (const Record::exception&) {
    Refuse(factsName, sk_noFacts);
  }
}

LoadedPicture ReadPicture(const std::filesystem::path& name) {
  switch (KindOf(name)) {
    case PictureKind::Png:
      return ReadPng(name);
    case PictureKind::Tiff:
      return ReadTiff(name);
    default:
      return ReadRaw(name);
  }
}

}  // namespace OrvexTools
