// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ImageFactoryConvert.h"

#include <atomic>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "Orvex/Check.h"
#include "Orvex/ContractFormats.h"
#include "Orvex/ImageFactoryConvertRoutes.h"
#include "Orvex/PixelFormatName.h"
#include "PixelFormat.h"

namespace Orvex {
namespace {

// Taken for the whole of every conversion, before g_factoryMutex.
std::mutex g_engineMutex;
std::atomic<bool> g_ippInit{false};

struct Shortcut {
  const ConvertFormat* from;
  const ConvertFormat* to;
};

// Keyed by source and destination format.
using ShortcutTable = std::map<std::pair<uint32_t, uint32_t>, Shortcut>;

ShortcutTable MakeTable(bool (*rule)(const ConvertFormat&, const ConvertFormat&)) {
  ShortcutTable table;
  for (const ConvertFormat& from : sk_convertFormats) {
    for (const ConvertFormat& to : sk_convertFormats) {
      if (rule(from, to)) table[{uint32_t(from.format), uint32_t(to.format)}] = {&from, &to};
    }
  }
  return table;
}

const ShortcutTable g_generalShortcuts = MakeTable(IsGeneralShortcut);
const ShortcutTable g_bayerShortcuts = MakeTable(IsBayerShortcut);

std::string Name(uint64_t format) {
  return GetPixelFormatName(AsPixelFormat(format));
}

// Formats that the library works with; of those some have no way into colour yet.
bool IsKnown(uint64_t format) {
  switch (format) {
#define ORVEX_CASE(name) case name:
    ORVEX_CONTRACT_FORMATS(ORVEX_CASE)
#undef ORVEX_CASE
    return true;
    default:
      return false;
  }
}

// Formats whose pixels hold several values that only deinterleaving can tell apart.
bool IsMultiChannel(uint64_t format) {
  const std::string name = Name(format);
  return name.rfind("Polarized", 0) == 0 || name.rfind("Dual", 0) == 0 ||
         name.rfind("Quad", 0) == 0;
}

bool IsBayerName(uint64_t format) {
  return Name(format).rfind("Bayer", 0) == 0;
}

// The source as whole bytes. An image may end within a byte, whose rest is then 0.
class WholeSource {
 public:
  WholeSource(IImage* pSrc, size_t wholeBytes) : m_pData(pSrc->GetData()) {
    const size_t size = pSrc->GetSizeFilled();
    if (size >= wholeBytes) return;
    m_copy = AllocateZeroedBytes(wholeBytes);
    std::memcpy(m_copy.get(), m_pData, size);
    m_pData = m_copy.get();
  }
  const uint8_t* Data() const { return m_pData; }

 private:
  const uint8_t* m_pData;
  std::unique_ptr<uint8_t[]> m_copy;
};

// The destination as whole bytes, of which only those that the image has are kept.
class WholeDestination {
 public:
  WholeDestination(uint8_t* pDst, size_t bytes, size_t wholeBytes) : m_pDst(pDst), m_bytes(bytes) {
    if (bytes >= wholeBytes) return;
    m_copy = AllocateZeroedBytes(wholeBytes);
    std::memcpy(m_copy.get(), pDst, bytes);
  }
  uint8_t* Data() const { return m_copy ? m_copy.get() : m_pDst; }
  void Finish() const {
    if (m_copy) std::memcpy(m_pDst, m_copy.get(), m_bytes);
  }

 private:
  uint8_t* m_pDst;
  size_t m_bytes;
  std::unique_ptr<uint8_t[]> m_copy;
};

IppiSize SizeOf(size_t width, size_t height) {
  return {int(width), int(height)};
}

// The primitives count in 32 bits.
bool FitsPrimitives(size_t width, size_t height) {
  constexpr size_t sk_maxSide = size_t(std::numeric_limits<int>::max()) / 8;
  return width <= sk_maxSide && height <= sk_maxSide &&
         width * height <= std::numeric_limits<uint32_t>::max() / 4;
}

}  // namespace

void ThrowConversionError(const char* kernel, const char* message) {
  THROW_PLAIN_FN(RuntimeException, message, kernel);
}

size_t ImageFactoryConvert::Len(IImage* pSrc) {
  return ImageBytes(pSrc->GetWidth(), pSrc->GetHeight(), m_pf);
}
uint64_t ImageFactoryConvert::PixelFormat(IImage*) {
  return m_pf;
}
size_t ImageFactoryConvert::Width(IImage* pSrc) {
  return pSrc->GetWidth();
}
size_t ImageFactoryConvert::Height(IImage* pSrc) {
  return pSrc->GetHeight();
}
const char* ImageFactoryConvert::algorithmName() {
  return "convert";
}
void ImageFactoryConvert::StandardProcess(IImage* pSrc, Image* pDst) {
  convert(pSrc, pDst, m_pf, m_bayerAlgorithm);
}
void ImageFactoryConvert::StandardShallow(IImage* pSrc, Image* pDst) {
  convert(pSrc, pDst, m_pf, m_bayerAlgorithm);
}

size_t ImageFactoryConvert::calcSize(size_t width, size_t height, uint64_t pixelFormat) {
  const uint32_t pixels = uint32_t(width) * uint32_t(height);
  const size_t bits = GetBitsPerPixel(pixelFormat);
  return size_t(pixels) * bits / 8 + (bits % 8 != 0 || pixels % 8 != 0);
}

void ImageFactoryConvert::convert(IImage* pSrc, Image* pDst, uint64_t pixelFormat,
                                  _EBayerAlgorithm bayerAlgorithm) {
  std::lock_guard lock(g_engineMutex);
  if (!g_ippInit) {
    CHECK_ARG(ippInit() >= 0, RuntimeException, "Error initializing conversion engine");
    g_ippInit = true;
  }
  CheckImageData(pSrc);
  const size_t width = pSrc->GetWidth(), height = pSrc->GetHeight();
  const uint64_t srcFormat = pSrc->GetPixelFormat();
  const size_t dstBytes = ImageBytes(width, height, pixelFormat);
  if (pixelFormat == srcFormat) {
    std::memcpy(FrameCells::WritableData(pDst), pSrc->GetData(), dstBytes);
    return;
  }
  CHECK_ARG(FitsPrimitives(width, height), InvalidArgumentException,
            "Image is too large to convert");
  const size_t pixels = width * height;
  const ConvertFormat* pFrom = FindConvertFormat(srcFormat);
  const ConvertFormat* pTo = FindConvertFormat(pixelFormat);
  const WholeSource source(pSrc, pFrom ? WholeBytes(*pFrom, pixels) : 0);
  const WholeDestination destination(FrameCells::WritableData(pDst), dstBytes,
                                     pTo ? WholeBytes(*pTo, pixels) : 0);
  if (pixelFormat == BGRa8) {
    fromPixelFormat(pSrc, source.Data(), destination.Data(), bayerAlgorithm);
  } else if (!runShortcut(srcFormat, pixelFormat, source.Data(), destination.Data(), width, height,
                          // Kept on purpose: shortcuts demosaic directionally, whatever the caller
                          // asked for.
                          DirectionalInterpolation) &&
             !(pFrom != nullptr && pTo != nullptr &&
               RunDirect(*pFrom, *pTo, {SizeOf(width, height), pFrom->from}, source.Data(),
                         destination.Data(), bayerAlgorithm))) {
    const auto bgra = AllocateBytes(pixels * 4);
    fromPixelFormat(pSrc, source.Data(), bgra.get(), bayerAlgorithm);
    toPixelFormat(pSrc, destination.Data(), bgra.get(), pixelFormat);
  }
  destination.Finish();
}

bool ImageFactoryConvert::runShortcut(uint64_t srcFormat, uint64_t dstFormat, const uint8_t* pSrc,
                                      uint8_t* pDst, size_t width, size_t height,
                                      _EBayerAlgorithm bayerAlgorithm) {
  const ConvertFormat* pFrom = FindConvertFormat(srcFormat);
  const bool bayer = pFrom != nullptr && IsBayer(pFrom->family);
  const ShortcutTable& table = bayer ? g_bayerShortcuts : g_generalShortcuts;
  const auto found =
      table.find({uint32_t(AsPixelFormat(srcFormat)), uint32_t(AsPixelFormat(dstFormat))});
  if (found == table.end()) return false;
  const ConvertJob job{SizeOf(width, height), __func__};
  const Shortcut& pair = found->second;
  if (bayer) {
    RunBayerShortcut(*pair.from, *pair.to, job, pSrc, pDst, bayerAlgorithm);
  } else {
    RunGeneralShortcut(*pair.from, *pair.to, job, pSrc, pDst);
  }
  return true;
}

void ImageFactoryConvert::fromPixelFormat(IImage* pSrc, const uint8_t* pData, uint8_t* pBgra,
                                          _EBayerAlgorithm bayerAlgorithm) {
  const uint64_t format = pSrc->GetPixelFormat();
  const std::string conversion = "Pixel format conversion from " + Name(format);
  const ConvertFormat* pRow = FindConvertFormat(format);
  CHECK_ARG(!IsMultiChannel(format), LogicalErrorException,
            conversion + " not supported due to multiple-channel ambiguity");
  CHECK_ARG(pRow != nullptr || !IsKnown(format), LogicalErrorException,
            conversion + " not yet implemented");
  CHECK_ARG(pRow != nullptr, LogicalErrorException, conversion + " not supported");
  FromFormat(*pRow, {SizeOf(pSrc->GetWidth(), pSrc->GetHeight()), pRow->from}, pData, pBgra,
             bayerAlgorithm);
}

void ImageFactoryConvert::toPixelFormat(IImage* pSrc, uint8_t* pData, const uint8_t* pBgra,
                                        uint64_t pixelFormat) {
  const std::string name = Name(pixelFormat);
  const ConvertFormat* pRow = FindConvertFormat(pixelFormat);
  CHECK_ARG(pixelFormat != BGRa8, LogicalErrorException,
            "To Pixel Format BGRa8 should never be called");
  CHECK_ARG(!IsBayerName(pixelFormat), LogicalErrorException,
            "Pixel format conversion to " + name +
                " not available, reverse bayer interpolation not supported");
  // Kept on purpose: callers match this text, which says "from" although this is the destination.
  CHECK_ARG(
      !IsMultiChannel(pixelFormat), LogicalErrorException,
      "Pixel format conversion from " + name + " not supported due to multiple-channel ambiguity");
  CHECK_ARG(pRow != nullptr || !IsKnown(pixelFormat), LogicalErrorException,
            "Pixel format conversion to " + name + " not yet implemented");
  CHECK_ARG(pRow != nullptr, LogicalErrorException, "To pixel format " + name + " not supported");
  ToFormat(*pRow, {SizeOf(pSrc->GetWidth(), pSrc->GetHeight()), pRow->to}, pBgra, pData);
}

}  // namespace Orvex
