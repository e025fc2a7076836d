// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ImageFactoryQOI.h"

#include <cstdlib>
#include <memory>

#include "ImageFactory.h"
#include "Orvex/Check.h"
#include "Orvex/PixelFormatTable.h"
#include "Orvex/Qoi.h"
#include "PFNC.h"

namespace Orvex {

namespace {

// Kept on purpose: these failures name the front end, not this file.
constexpr CheckSite Site(const char* function, unsigned int line) {
  return {"ImageFactory.cpp", function, line};
}

void CheckQOI(bool condition, const char* message, const CheckSite& site) {
  if (!condition) ThrowPlain<GenICam::RuntimeException>("RuntimeException", message, site);
}

struct FreeDeleter {
  void operator()(uint8_t* p) const { std::free(p); }
};

}  // namespace

bool IsQOI(uint64_t pixelFormat) {
  switch (pixelFormat) {
#define ORVEX_QOI_CASE(format, select, output, lut, layout) case format:
    ORVEX_PF_QOI(ORVEX_QOI_CASE)
#undef ORVEX_QOI_CASE
    return true;
    default:
      return false;
  }
}

bool IsQOIImage(ICompressedImage* pImage) {
  return IsQOI(pImage->GetPixelFormat());
}

uint64_t UncompressedPixelFormat(uint64_t pixelFormat) {
  switch (pixelFormat) {
#define ORVEX_QOI_CASE(format, select, output, lut, layout) \
  case format:                                              \
    return output;
    ORVEX_PF_QOI(ORVEX_QOI_CASE)
#undef ORVEX_QOI_CASE
    default:
      CheckQOI(false, "QOI decode error -- unsupported source pixel format!",
               Site(__func__, __LINE__));
      return InvalidPixelFormat;
  }
}

IImage* QOIDecompressImage(ICompressedImage* pImage) {
  const size_t size = pImage->GetSizeFilled();
  CheckQOI(size >= 4, "QOI decode error -- buffer size too small!", Site(__func__, __LINE__));
  const uint8_t* const pData = pImage->GetData();
  const uint32_t magic = uint32_t{pData[0]} << 24 | uint32_t{pData[1]} << 16 |
                         uint32_t{pData[2]} << 8 | uint32_t{pData[3]};
  CheckQOI(magic == Qoi::sk_magic, "QOI decode error -- no QOI magic!", Site(__func__, __LINE__));

  qoi_desc desc;
  const int channels = size > Qoi::sk_channelsOffset ? pData[Qoi::sk_channelsOffset] : 0;
  const std::unique_ptr<uint8_t, FreeDeleter> pixels(
      qoi_decode(pData, static_cast<int>(static_cast<uint32_t>(size)), &desc, channels));
  CheckQOI(pixels != nullptr, "QOI decode error!", Site(__func__, __LINE__));

  const uint64_t format = UncompressedPixelFormat(pImage->GetPixelFormat());
  try {
    return ImageFactory::Create(pixels.get(), size_t{desc.channels} * desc.width * desc.height,
                                desc.width, desc.height, format);
  } catch (...) {
    CheckQOI(false, "QOI decode error -- create image failed!", Site(__func__, __LINE__));
    return nullptr;
  }
}

}  // namespace Orvex
