// SPDX-License-Identifier: Apache-2.0
#include "simulator/Pictures.h"

#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "simulator/Limits.h"

namespace OrvexSim {
namespace {

namespace fs = std::filesystem;

struct Size {
  uint32_t width = 0, height = 0;
  bool Allowed() const {
    return width > 0 && height > 0 && uint64_t{width} * height <= sk_maxPicturePixels;
  }
};

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

void Ignore(png_structp, png_const_charp) {}
[[noreturn]] void Leave(png_structp pPng, png_const_charp) {
  png_longjmp(pPng, 1);
}

// The steps of reading a PNG. Nothing in here has a destructor, because the decoder leaves by
// longjmp when it fails. Samples become 16 bits, red-green-blue; transparency is left out.
bool ReadPngHeader(png_structp pPng, png_infop pInfo, std::FILE* pFile, Size& size) {
  if (setjmp(png_jmpbuf(pPng))) return false;
  png_init_io(pPng, pFile);
  png_set_user_limits(pPng, sk_maxPictureSide, sk_maxPictureSide);
  png_read_info(pPng, pInfo);
  size = {png_get_image_width(pPng, pInfo), png_get_image_height(pPng, pInfo)};
  return true;
}
bool ReadPngRows(png_structp pPng, png_infop pInfo, const Size& size, png_bytep* pRows) {
  if (setjmp(png_jmpbuf(pPng))) return false;
  png_set_expand_16(pPng);
  png_set_strip_alpha(pPng);
  png_set_gray_to_rgb(pPng);
  if (std::endian::native == std::endian::little) png_set_swap(pPng);
  png_set_interlace_handling(pPng);
  png_read_update_info(pPng, pInfo);
  if (png_get_rowbytes(pPng, pInfo) != size_t{size.width} * 6) return false;
  png_read_image(pPng, pRows);
  return true;
}

// Fills `pRgb` if it is given.
bool ReadPng(const std::string& path, Size& size, std::vector<uint16_t>* pRgb) {
  const File file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) return false;
  png_structp pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, &Leave, &Ignore);
  png_infop pInfo = pPng != nullptr ? png_create_info_struct(pPng) : nullptr;
  bool good = pInfo != nullptr && ReadPngHeader(pPng, pInfo, file.get(), size) && size.Allowed();
  if (good && pRgb != nullptr) {
    pRgb->resize(size_t{3} * size.width * size.height);
    std::vector<png_bytep> rows(size.height);
    for (size_t y = 0; y < rows.size(); ++y)
      rows[y] = reinterpret_cast<png_bytep>(&(*pRgb)[3 * size.width * y]);
    good = ReadPngRows(pPng, pInfo, size, rows.data());
  }
  png_destroy_read_struct(&pPng, &pInfo, nullptr);
  return good;
}

int Silent(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

// Grey or red-green-blue of 16 bits, row by row; all else goes through the library's own
// conversion to 8 bits.
bool ReadDeepRows(TIFF* pTiff, const Size& size, uint16_t samples, uint16_t* pRgb) {
  const auto rowBytes = static_cast<size_t>(TIFFScanlineSize(pTiff));
  if (rowBytes < size_t{2} * samples * size.width) return false;
  std::vector<uint16_t> row((rowBytes + 1) / 2);
  for (uint32_t y = 0; y < size.height; ++y) {
    if (TIFFReadScanline(pTiff, row.data(), y, 0) < 0) return false;
    for (size_t x = 0; x < size.width; ++x) {
      for (size_t c = 0; c < 3; ++c) *pRgb++ = row[x * samples + (samples < 3 ? 0 : c)];
    }
  }
  return true;
}
bool ReadShallow(TIFF* pTiff, const Size& size, uint16_t* pRgb) {
  std::vector<uint32_t> pixels(size_t{size.width} * size.height);
  if (TIFFReadRGBAImageOriented(pTiff, size.width, size.height, pixels.data(), ORIENTATION_TOPLEFT,
                                1) == 0)
    return false;
  for (const uint32_t pixel : pixels) {
    *pRgb++ = static_cast<uint16_t>(TIFFGetR(pixel) * 257);
    *pRgb++ = static_cast<uint16_t>(TIFFGetG(pixel) * 257);
    *pRgb++ = static_cast<uint16_t>(TIFFGetB(pixel) * 257);
  }
  return true;
}

bool ReadTiff(const std::string& path, Size& size, std::vector<uint16_t>* pRgb) {
  const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                             &TIFFOpenOptionsFree);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &Silent, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &Silent, nullptr);
  const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpenExt(path.c_str(), "r", options.get()),
                                                    &TIFFClose);
  if (!tiff) return false;
  TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &size.width);
  TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &size.height);
  if (!size.Allowed()) return false;
  if (pRgb == nullptr) return true;
  pRgb->resize(size_t{3} * size.width * size.height);
  uint16_t bits = 1, samples = 1, planar = PLANARCONFIG_CONTIG, meaning = 0;
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &meaning);
  const bool plain = meaning == PHOTOMETRIC_MINISBLACK || meaning == PHOTOMETRIC_RGB;
  const bool deep = bits == 16 && planar == PLANARCONFIG_CONTIG && plain && samples >= 1 &&
                    samples <= 4 && samples != 2 && TIFFIsTiled(tiff.get()) == 0;
  return deep ? ReadDeepRows(tiff.get(), size, samples, pRgb->data())
              : ReadShallow(tiff.get(), size, pRgb->data());
}

bool EndsLike(const fs::path& path, std::initializer_list<const char*> endings) {
  std::string own = path.extension().string();
  std::transform(own.begin(), own.end(), own.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return std::any_of(endings.begin(), endings.end(), [&](const char* e) { return own == e; });
}

bool Read(const std::string& path, Size& size, std::vector<uint16_t>* pRgb) {
  return EndsLike(path, {".png"}) ? ReadPng(path, size, pRgb) : ReadTiff(path, size, pRgb);
}

}  // namespace

std::shared_ptr<const Scene> LoadPicture(const std::string& path) {
  Size size;
  std::vector<uint16_t> rgb;
  if (!Read(path, size, &rgb))
    throw std::invalid_argument("cannot read the picture '" + path + "'");
  return std::make_shared<const Scene>(size.width, size.height, std::move(rgb));
}

PictureFolder::PictureFolder(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (EndsLike(entry.path(), {".png", ".tif", ".tiff"})) m_files.push_back(entry.path().string());
    if (m_files.size() > sk_maxPictures)
      throw std::invalid_argument("too many pictures in '" + folder + "'");
  }
  if (error) throw std::invalid_argument("cannot read the folder '" + folder + "'");
  if (m_files.empty()) throw std::invalid_argument("no PNG or TIFF pictures in '" + folder + "'");
  std::sort(m_files.begin(), m_files.end());
  for (const std::string& path : m_files) {
    Size size;
    if (!Read(path, size, nullptr))
      throw std::invalid_argument("cannot read the picture '" + path + "'");
    m_width = std::max(m_width, size.width);
    m_height = std::max(m_height, size.height);
  }
}

std::shared_ptr<const Scene> PictureFolder::At(size_t index) {
  const auto it = m_kept.find(index);
  if (it != m_kept.end()) return it->second;
  std::shared_ptr<const Scene> scene;
  try {
    scene = LoadPicture(m_files[index]);
  } catch (const std::exception&) {
    scene = std::make_shared<const Scene>(1u, 1u, std::vector<uint16_t>(3, 0));
  }
  const size_t bytes = size_t{6} * scene->Width() * scene->Height();
  if (m_keptBytes + bytes <= sk_maxPictureBytesKept) {
    m_keptBytes += bytes;
    m_kept[index] = scene;
  }
  return scene;
}

}  // namespace OrvexSim
