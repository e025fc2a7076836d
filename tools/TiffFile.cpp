// SPDX-License-Identifier: Apache-2.0
// The TIFF face of PictureFile.h.
#include <fmt/format.h>
#include <tiffio.h>

#include <cstdarg>
#include <cstdio>
#include <memory>

#include "tools/Failure.h"
#include "tools/PictureFile.h"
#include "tools/WholeFile.h"

namespace OrvexTools {
namespace {

// The library reports through one process-wide handler; the text of this thread's last error is
// kept here.
thread_local std::string t_tiffError;

void OnTiffError(const char*, const char* pFormat, va_list arguments) {
  char text[256];
  std::vsnprintf(text, sizeof text, pFormat, arguments);
  t_tiffError = text;
}

WholeFile& FileOf(thandle_t handle) {
  return *static_cast<WholeFile*>(handle);
}

tmsize_t OnRead(thandle_t handle, void* pBytes, tmsize_t count) {
  return FileOf(handle).Read(pBytes, static_cast<std::size_t>(count));
}

tmsize_t OnWrite(thandle_t handle, void* pBytes, tmsize_t count) {
  return FileOf(handle).Write(pBytes, static_cast<std::size_t>(count)) ? count : -1;
}

toff_t OnSeek(thandle_t handle, toff_t offset, int whence) {
  return static_cast<toff_t>(FileOf(handle).Seek(static_cast<off_t>(offset), whence));
}

int OnClose(thandle_t) {
  return 0;
}

toff_t OnSize(thandle_t handle) {
  WholeFile& file = FileOf(handle);
  const off_t place = file.Seek(0, SEEK_CUR);
  const off_t size = file.Seek(0, SEEK_END);
  file.Seek(place, SEEK_SET);
  return static_cast<toff_t>(size);
}

int OnMap(thandle_t, void**, toff_t*) {
  return 0;
}

void OnUnmap(thandle_t, void*, toff_t) {}

struct TiffCloser {
  void operator()(TIFF* pTiff) const { TIFFClose(pTiff); }
};

bool Encode(TIFF* pTiff, const Picture& picture) {
  const auto channels = static_cast<int>(picture.channels);
  TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, picture.width);
  TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, picture.height);
  TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(picture.bitsPerSample));
  TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, channels);
  TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC,
               channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  TIFFSetField(pTiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(pTiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(pTiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(pTiff, 0));
  for (std::uint32_t row = 0; row < picture.height; ++row) {
    // The library only reads the row: nothing is swapped or compressed in place when writing in
    // host order.
    auto* pRow = const_cast<std::uint8_t*>(picture.data.data() + row * picture.stride);
    if (TIFFWriteScanline(pTiff, pRow, row, 0) != 1) return false;
  }
  return TIFFFlush(pTiff) == 1;
}

}  // namespace

void WriteTiff(const std::filesystem::path& name, const Picture& picture) {
  TIFFSetErrorHandler(&OnTiffError);
  TIFFSetWarningHandler(nullptr);
  t_tiffError.clear();
  WholeFile file(name);
  bool encoded = false;
  {
    std::unique_ptr<TIFF, TiffCloser> pTiff(TIFFClientOpen(
        name.c_str(), "w", &file, &OnRead, &OnWrite, &OnSeek, &OnClose, &OnSize, &OnMap, &OnUnmap));
    encoded = pTiff != nullptr && Encode(pTiff.get(), picture);
  }
  // A failed write carries the system's reason, which says more than the encoder's.
  file.Commit();
  if (!encoded) throw Failure(fmt::format("cannot write {}: {}", name.string(), t_tiffError));
}

}  // namespace OrvexTools
