// SPDX-License-Identifier: Apache-2.0
#include "Orvex/ImageFactoryInternal.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "Orvex/Check.h"
#include "Orvex/Limits.h"
#include "Orvex/PixelFormatName.h"
#include "PixelFormat.h"

namespace Orvex {

std::atomic<bool> g_factoryInit{false};
std::mutex g_factoryMutex;
uint8_t* g_pPoolA = nullptr;
uint8_t* g_pPoolB = nullptr;
uint8_t* g_pPoolC = nullptr;
uint64_t g_poolSizeA = 0;
uint64_t g_poolSizeB = 0;
uint64_t g_poolSizeC = 0;

void OpenImageFactory() {
  g_factoryInit = true;
  const std::lock_guard lock(g_factoryMutex);
  // Kept on purpose: a second opening without closing forgets the old pools instead of freeing
  // them, since after a closing the pointers still hold what was freed.
  g_pPoolA = g_pPoolB = g_pPoolC = nullptr;
  g_poolSizeA = g_poolSizeB = g_poolSizeC = 0;
}

void CloseImageFactory() {
  {
    const std::lock_guard lock(g_factoryMutex);
    delete[] g_pPoolA;
    delete[] g_pPoolB;
    delete[] g_pPoolC;
  }
  g_factoryInit = false;
}

bool HasImageFactoryInit() {
  return g_factoryInit;
}

size_t CheckedProduct(size_t width, size_t height, size_t factor) {
  size_t product = 0;
  CHECK_ARG(!__builtin_mul_overflow(width, height, &product) &&
                !__builtin_mul_overflow(product, factor, &product),
            InvalidArgumentException, "Image size is out of range");
  return product;
}

size_t ImageBytes(size_t width, size_t height, uint64_t pixelFormat) {
  return CheckedProduct(width, height, GetBitsPerPixel(pixelFormat)) >> 3;
}

void CheckImageData(IImage* pImage) {
  const size_t needed =
      ImageBytes(pImage->GetWidth(), pImage->GetHeight(), pImage->GetPixelFormat());
  CHECK_ARG(pImage->GetSizeOfBuffer() >= needed, InvalidArgumentException,
            "Image data is smaller than width, height and pixel format require");
}

std::unique_ptr<uint8_t[]> AllocateBytes(size_t size) {
  uint8_t* pBytes =
      size <= sk_maxImageBytes ? new (std::nothrow) uint8_t[std::max<size_t>(size, 1)] : nullptr;
  CHECK_ARG(pBytes, BadAllocException,
            "Unable to allocate " + std::to_string(size) + " bytes for image");
  return std::unique_ptr<uint8_t[]>(pBytes);
}

std::unique_ptr<uint8_t[]> AllocateZeroedBytes(size_t size) {
  auto bytes = AllocateBytes(size);
  std::fill_n(bytes.get(), size, uint8_t{0});
  return bytes;
}

// ---- FrameCells --------------------------------------------------------------------------------

namespace {

template <typename T, typename V>
void Set(std::unique_ptr<T>& cell, V value) {
  cell = std::make_unique<T>(static_cast<T>(value));
}

}  // namespace

void FrameCells::FillImageProps(Image* pImage, const uint8_t* pData, size_t size, size_t width,
                                size_t height, uint64_t pixelFormat) {
  pImage->m_pStream = nullptr;
  pImage->m_pData = pData;
  Set(pImage->m_pHeight, height);
  Set(pImage->m_pWidth, width);
  Set(pImage->m_pPixelFormat, pixelFormat);
  Set(pImage->m_pTimestampNs, 0);
  Set(pImage->m_pPaddingX, 0);
  Set(pImage->m_pPaddingY, 0);
  Set(pImage->m_pPixelEndianness, PixelEndiannessUnknown);
  Set(pImage->m_pSizeFilled, size);
  Set(pImage->m_pPayloadSize, size);
  Set(pImage->m_pSizeOfBuffer, size);
  Set(pImage->m_pIsIncomplete, false);
  Set(pImage->m_pPayloadType, BufferPayloadTypeImage);
  Set(pImage->m_pHasChunkData, false);
  Set(pImage->m_pFrameId, 0);
  Set(pImage->m_pHasImageData, true);
  Set(pImage->m_pDataLargerThanBuffer, false);
  Set(pImage->m_pOffsetX, 0);
  Set(pImage->m_pOffsetY, 0);
}

void FrameCells::FillImageProps(IImage* pSrc, Image* pImage, uint64_t pixelFormat,
                                const uint8_t* pData, size_t size, size_t width, size_t height) {
  pImage->m_pData = pData;
  Set(pImage->m_pWidth, width);
  Set(pImage->m_pHeight, height);
  Set(pImage->m_pPixelFormat, pixelFormat);
  Set(pImage->m_pOffsetX, pSrc->GetOffsetX());
  Set(pImage->m_pOffsetY, pSrc->GetOffsetY());
  Set(pImage->m_pTimestampNs, pSrc->GetTimestampNs());
  Set(pImage->m_pPaddingX, pSrc->GetPaddingX());
  Set(pImage->m_pPaddingY, pSrc->GetPaddingY());
  Set(pImage->m_pPixelEndianness, pSrc->GetPixelEndianness());
  Set(pImage->m_pSizeFilled, size);
  Set(pImage->m_pPayloadSize, size);
  Set(pImage->m_pSizeOfBuffer, size);
  Set(pImage->m_pHasChunkData, pSrc->HasChunkData());
  Set(pImage->m_pFrameId, pSrc->GetFrameId());
  Set(pImage->m_pHasImageData, pSrc->HasImageData());
  Set(pImage->m_pDataLargerThanBuffer, pSrc->DataLargerThanBuffer());
  Set(pImage->m_pIsIncomplete, false);
  Set(pImage->m_pPayloadType, BufferPayloadTypeImage);
}

void FrameCells::FillCompressedImageProps(CompressedImage* pImage, const uint8_t* pData,
                                          size_t size, uint64_t pixelFormat) {
  pImage->m_pData = pData;
  Set(pImage->m_pPixelFormat, pixelFormat);
  Set(pImage->m_pTimestampNs, 0);
  Set(pImage->m_pSizeFilled, size);
  Set(pImage->m_pPayloadSize, size);
  Set(pImage->m_pSizeOfBuffer, size);
  Set(pImage->m_pIsIncomplete, false);
  Set(pImage->m_pHasImageData, true);
  Set(pImage->m_pPayloadType, BufferPayloadTypeCompressedImage);
  Set(pImage->m_pHasChunkData, false);
  Set(pImage->m_pDataLargerThanBuffer, false);
  Set(pImage->m_pFrameId, 0);
}

void FrameCells::FreeData(Buffer* pBuffer) {
  delete[] pBuffer->m_pData;
  pBuffer->m_pData = nullptr;
}

// ---- PixelFormatContractSelection --------------------------------------------------------------

namespace {

// A half-made output image. Frees it, and its data unless they are the caller's, when the
// operation fails.
class OutputGuard {
 public:
  OutputGuard(Image* pImage, bool ownsData) : m_pImage(pImage), m_ownsData(ownsData) {}
  ~OutputGuard() {
    if (!m_pImage) return;
    if (m_ownsData) FrameCells::FreeData(m_pImage);
    delete m_pImage;
  }
  OutputGuard(const OutputGuard&) = delete;
  OutputGuard& operator=(const OutputGuard&) = delete;

  Image* Get() const { return m_pImage; }
  IImage* Release() { return std::exchange(m_pImage, nullptr); }

 private:
  Image* m_pImage;
  bool m_ownsData;
};

bool HasHandler(uint64_t pixelFormat) {
  switch (pixelFormat) {
#define ORVEX_CONTRACT_CASE(format) case format:
    ORVEX_CONTRACT_FORMATS(ORVEX_CONTRACT_CASE)
#undef ORVEX_CONTRACT_CASE
    return true;
    default:
      return false;
  }
}

}  // namespace

IImage* PixelFormatContractSelection::Process(IImage* pSrc) {
  CHECK_ARG(pSrc, InvalidArgumentException, "Image is null");
  const uint64_t pixelFormat = pSrc->GetPixelFormat();
  CheckImageData(pSrc);
  // A format of no bits makes any size plausible: refused before memory is asked for.
  if (!HasHandler(pixelFormat)) implNone(pSrc, nullptr);
  OutputGuard output(createDeep(pSrc), true);
  Dispatch(pixelFormat, pSrc, output.Get());
  CHECK_ARG(output.Get(), InvalidArgumentException, "Unexpected image type");
  FrameCells::SetUserProvided(output.Get(), false);
  return output.Release();
}

IImage* PixelFormatContractSelection::Shallow(IImage* pSrc) {
  CHECK_ARG(pSrc, InvalidArgumentException, "Image is null");
  const uint64_t pixelFormat = pSrc->GetPixelFormat();
  CheckImageData(pSrc);
  OutputGuard output(createShallow(pSrc), false);
  Dispatch(pixelFormat, pSrc, output.Get());
  CHECK_ARG(output.Get(), InvalidArgumentException, "Unexpected image type");
  FrameCells::SetUserProvided(output.Get(), true);
  return output.Release();
}

Image* PixelFormatContractSelection::createDeep(IImage* pSrc) {
  const size_t size = Len(pSrc);
  auto pImage = std::make_unique<Image>();
  auto data = AllocateBytes(size);
  FrameCells::FillImageProps(pSrc, pImage.get(), PixelFormat(pSrc), data.get(), size, Width(pSrc),
                             Height(pSrc));
  data.release();
  return pImage.release();
}

Image* PixelFormatContractSelection::createShallow(IImage* pSrc) {
  CHECK_ARG(m_bufferSize >= Len(pSrc), AccessException, "insufficient buffer");
  auto pImage = std::make_unique<Image>();
  FrameCells::FillImageProps(pSrc, pImage.get(), PixelFormat(pSrc), m_pBuffer, m_bufferSize,
                             Width(pSrc), Height(pSrc));
  return pImage.release();
}

void PixelFormatContractSelection::Dispatch(uint64_t pixelFormat, IImage* pSrc, Image* pDst) {
  switch (pixelFormat) {
#define ORVEX_CONTRACT_CASE(format) \
  case format:                      \
    return Process##format(pSrc, pDst);
    ORVEX_CONTRACT_FORMATS(ORVEX_CONTRACT_CASE)
#undef ORVEX_CONTRACT_CASE
    default:
      return implNone(pSrc, pDst);
  }
}

void PixelFormatContractSelection::implNone(IImage* pSrc, Image*) {
  const PfncFormat_ format = AsPixelFormat(pSrc->GetPixelFormat());
  THROW_PLAIN(InvalidArgumentException, std::string(algorithmName()) +
                                            " algorithm not available for pixel format " +
                                            GetPixelFormatName(format));
}

}  // namespace Orvex
