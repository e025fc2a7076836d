// SPDX-License-Identifier: Apache-2.0
// The PNG face of PictureFile.h.
#include <fmt/format.h>
#include <png.h>

#include <bit>
#include <csetjmp>
#include <cstring>

#include "tools/Failure.h"
#include "tools/PictureFile.h"
#include "tools/WholeFile.h"

namespace OrvexTools {
namespace {

// What the encoder's callbacks need.
struct PngTarget {
  WholeFile* pFile = nullptr;
  char error[200] = {};
};

// A failed write is remembered by the file, so the encoder simply runs to its end.
void OnPngWrite(png_structp pPng, png_bytep pBytes, png_size_t count) {
  static_cast<PngTarget*>(png_get_io_ptr(pPng))->pFile->Write(pBytes, count);
}

void OnPngFlush(png_structp) {}

[[noreturn]] void OnPngError(png_structp pPng, png_const_charp pText) {
  auto& target = *static_cast<PngTarget*>(png_get_error_ptr(pPng));
  std::strncpy(target.error, pText, sizeof target.error - 1);
  png_longjmp(pPng, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

// Nothing in here has a destructor, because the encoder leaves by longjmp when it fails.
bool Encode(png_structp pPng, png_infop pInfo, PngTarget& target, const Picture& picture) {
  if (setjmp(png_jmpbuf(pPng))) return false;
  png_set_write_fn(pPng, &target, &OnPngWrite, &OnPngFlush);
  // Camera pictures are noisy: more effort costs much time and saves little space.
  png_set_compression_level(pPng, 3);
  png_set_IHDR(pPng, pInfo, picture.width, picture.height, static_cast<int>(picture.bitsPerSample),
               picture.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(pPng, pInfo);
  if (picture.bitsPerSample == 16 && std::endian::native == std::endian::little) png_set_swap(pPng);
  for (std::uint32_t row = 0; row < picture.height; ++row) {
    png_write_row(pPng, picture.data.data() + row * picture.stride);
  }
  png_write_end(pPng, pInfo);
  return true;
}

}  // namespace

void WritePng(const std::filesystem::path& name, const Picture& picture) {
  WholeFile file(name);
  PngTarget target{&file, {}};
  png_structp pPng =
      png_create_write_struct(PNG_LIBPNG_VER_STRING, &target, &OnPngError, &OnPngWarning);
  png_infop pInfo = pPng != nullptr ? png_create_info_struct(pPng) : nullptr;
  const bool encoded = pInfo != nullptr && Encode(pPng, pInfo, target, picture);
  png_destroy_write_struct(&pPng, &pInfo);
  if (!encoded) {
    const char* pReason = target.error[0] != '\0' ? target.error : "out of memory";
    throw Failure(fmt::format("cannot write {}: {}", name.string(), pReason));
  }
  file.Commit();
}

}  // namespace OrvexTools
