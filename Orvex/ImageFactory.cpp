// SPDX-License-Identifier: Apache-2.0
// The front end: checks in their fixed order, then the operation.
#include "ImageFactory.h"

#include <cstring>
#include <memory>
#include <string>

#include "Orvex/Check.h"
#include "Orvex/CompressedImageExtendedChunk.h"
#include "Orvex/ImageExtendedChunk.h"
#include "Orvex/ImageFactoryConvert.h"
#include "Orvex/ImageFactoryDeinterleaveChannels.h"
#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/ImageFactoryQOI.h"
#include "Orvex/ImageFactorySelectBits.h"
#include "Orvex/PixelFormatName.h"
#include "PixelFormat.h"

namespace Orvex {

namespace {

constexpr const char* sk_neverInitialized =
    "Orvex SDK never initialized, open system (Orvex::OpenSystem) to initialize";

// ---- The checks. The operation's name is part of the message. ----------------------------------

std::string In(const char* operation) {
  return std::string(" (") + operation + ")";
}

void CheckInit(const char* operation) {
  CHECK_ARG(HasImageFactoryInit(), RuntimeException, sk_neverInitialized + In(operation));
}

void CheckParam(const IImage* pImage, const char* operation) {
  CHECK_ARG(pImage, InvalidArgumentException, "Image is null" + In(operation));
}

void CheckParam(const ICompressedImage* pImage, const char* operation) {
  CHECK_ARG(pImage, InvalidArgumentException, "Image is null" + In(operation));
}

void CheckParam(const uint8_t* pData, const char* operation) {
  CHECK_ARG(pData, InvalidArgumentException, "Data is null" + In(operation));
}

void CheckParam(uint8_t* pBuffer, const char* operation) {
  // Kept on purpose: callers match this text.
  CHECK_ARG(pBuffer, InvalidArgumentException, "Ddata is null" + In(operation));
}

void CheckParam(size_t size, const char* operation) {
  CHECK_ARG(size != 0, InvalidArgumentException, "Param is 0" + In(operation));
}

void CheckLen(size_t given, size_t expected, const char* operation) {
  CHECK_ARG(given == expected, InvalidArgumentException,
            "Buffer length " + std::to_string(given) + " does not match expected " +
                std::to_string(expected) + In(operation));
}

// ---- Pixel formats -----------------------------------------------------------------------------

// Releases the descriptor on every way out.
struct PixelFormatDeleter {
  void operator()(IImplementation* pImplementation) const { DestroyPixelFormat(pImplementation); }
};
using PixelFormatPtr = std::unique_ptr<IImplementation, PixelFormatDeleter>;

PixelFormatPtr PixelFormatOf(IImage* pImage) {
  return PixelFormatPtr(GetPixelFormat(AsPixelFormat(pImage->GetPixelFormat())));
}

void CheckNumBits(size_t numBits, const char* operation) {
  CHECK_ARG_FN(numBits == 8, InvalidArgumentException,
               "not implemented for " + std::to_string(numBits) + " number of bits", operation);
}

// ---- Copies ------------------------------------------------------------------------------------

// Asks everything that a copy will ask, in the same order. Afterwards the copying cannot fail
// half-way, where its data would have no owner.
void AskAll(Buffer* pBuffer) {
  pBuffer->GetSizeFilled();
  pBuffer->GetPayloadSize();
  pBuffer->GetSizeOfBuffer();
  pBuffer->GetData();
  pBuffer->HasChunkData();
  pBuffer->GetPayloadType();
  pBuffer->IsIncomplete();
  pBuffer->GetFrameId();
  pBuffer->HasImageData();
  pBuffer->DataLargerThanBuffer();
}

void AskAll(Image* pImage) {
  AskAll(static_cast<Buffer*>(pImage));
  pImage->GetWidth();
  pImage->GetHeight();
  pImage->GetOffsetX();
  pImage->GetOffsetY();
  pImage->GetPixelFormat();
  pImage->GetPaddingX();
  pImage->GetPaddingY();
  pImage->GetPixelEndianness();
  pImage->GetTimestampNs();
}

void AskAll(CompressedImage* pImage) {
  AskAll(static_cast<Buffer*>(pImage));
  pImage->GetPixelFormat();
  pImage->GetTimestampNs();
}

// A copy as the class T, null when the frame is of another class.
template <class T, class I>
T* CopyAs(I* pFrame) {
  auto* const pSource = dynamic_cast<T*>(pFrame);
  if (!pSource) return nullptr;
  AskAll(pSource);
  return new T(pSource);
}

template <class I>
void DestroyFrame(I* pFrame, Buffer* pBuffer) {
  if (!FrameCells::IsUserProvided(pBuffer)) FrameCells::FreeData(pBuffer);
  delete pFrame;
}

}  // namespace

// ---- Making ------------------------------------------------------------------------------------

IImage* ImageFactory::Create(const uint8_t* pData, size_t dataSize, size_t width, size_t height,
                             uint64_t pixelFormat) {
  CheckInit(__func__);
  CheckParam(pData, __func__);
  CheckParam(dataSize, __func__);
  CheckParam(width, __func__);
  CheckParam(height, __func__);
  CheckLen(dataSize, ImageBytes(width, height, pixelFormat), __func__);
  auto pImage = std::make_unique<Image>();
  auto data = AllocateBytes(dataSize);
  std::memcpy(data.get(), pData, dataSize);
  FrameCells::FillImageProps(pImage.get(), data.get(), dataSize, width, height, pixelFormat);
  FrameCells::SetUserProvided(pImage.get(), false);
  data.release();
  return pImage.release();
}

IImage* ImageFactory::CreateEmpty(size_t dataSize, size_t width, size_t height,
                                  uint64_t pixelFormat) {
  CheckInit(__func__);
  CheckParam(dataSize, __func__);
  CheckParam(width, __func__);
  CheckParam(height, __func__);
  const size_t expected = ImageBytes(width, height, pixelFormat);
  CheckLen(dataSize, expected, __func__);
  auto pImage = std::make_unique<Image>();
  auto data = AllocateZeroedBytes(dataSize);
  FrameCells::FillImageProps(pImage.get(), data.get(), expected, width, height, pixelFormat);
  FrameCells::SetUserProvided(pImage.get(), false);
  data.release();
  return pImage.release();
}

IImage* ImageFactory::Shallow(const uint8_t* pData, size_t dataSize, size_t width, size_t height,
                              uint64_t pixelFormat) {
  CheckInit(__func__);
  CheckParam(pData, __func__);
  CheckParam(dataSize, __func__);
  CheckParam(width, __func__);
  CheckParam(height, __func__);
  CheckLen(dataSize, ImageBytes(width, height, pixelFormat), __func__);
  auto pImage = std::make_unique<Image>();
  FrameCells::FillImageProps(pImage.get(), pData, dataSize, width, height, pixelFormat);
  FrameCells::SetUserProvided(pImage.get(), true);
  return pImage.release();
}

ICompressedImage* ImageFactory::CreateCompressedImage(const uint8_t* pData, size_t dataSize,
                                                      uint64_t pixelFormat) {
  CheckInit(__func__);
  CheckParam(pData, __func__);
  CheckParam(dataSize, __func__);
  CHECK_ARG(IsQOI(pixelFormat), InvalidArgumentException,
            std::string("Param is not a compressed pixel format (") +
                GetPixelFormatName(AsPixelFormat(pixelFormat)) + ")");
  auto pImage = std::make_unique<CompressedImage>();
  auto data = AllocateBytes(dataSize);
  std::memcpy(data.get(), pData, dataSize);
  FrameCells::FillCompressedImageProps(pImage.get(), data.get(), dataSize, pixelFormat);
  FrameCells::SetUserProvided(pImage.get(), false);
  data.release();
  return pImage.release();
}

IImage* ImageFactory::Copy(IImage* pImage) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  IImage* pCopy = nullptr;
  switch (pImage->GetPayloadType()) {
    case BufferPayloadTypeImage:
      pCopy = CopyAs<Image>(pImage);
      break;
    case BufferPayloadTypeImageExtendedChunk:
      pCopy = CopyAs<ImageExtendedChunk>(pImage);
      break;
    case BufferPayloadTypeChunkData:
      THROW_PLAIN(InvalidArgumentException, "Chunk data copy not implemented");
    default:
      break;
  }
  CHECK_ARG(pCopy, InvalidArgumentException, "Unknown payload type");
  return pCopy;
}

ICompressedImage* ImageFactory::CopyCompressedImage(ICompressedImage* pImage) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  ICompressedImage* pCopy = nullptr;
  switch (pImage->GetPayloadType()) {
    case BufferPayloadTypeCompressedImage:
      pCopy = CopyAs<CompressedImage>(pImage);
      break;
    case BufferPayloadTypeCompressedImageExtendedChunk:
      pCopy = CopyAs<CompressedImageExtendedChunk>(pImage);
      break;
    default:
      break;
  }
  CHECK_ARG(pCopy, InvalidArgumentException, "Unknown payload type");
  return pCopy;
}

// ---- Transforming ------------------------------------------------------------------------------

IImage* ImageFactory::Convert(IImage* pImage, uint64_t pixelFormat,
                              _EBayerAlgorithm bayerAlgorithm) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  return ImageFactoryConvert(pixelFormat, bayerAlgorithm).Process(pImage);
}

IImage* ImageFactory::ConvertShallow(uint8_t* pBuffer, size_t bufferSize, IImage* pImage,
                                     uint64_t pixelFormat, _EBayerAlgorithm bayerAlgorithm) {
  CheckInit(__func__);
  CheckParam(pBuffer, __func__);
  CheckParam(bufferSize, __func__);
  CheckParam(pImage, __func__);
  return ImageFactoryConvert(pBuffer, bufferSize, pixelFormat, bayerAlgorithm).Shallow(pImage);
}

size_t ImageFactory::ConvertLen(IImage* pImage, uint64_t pixelFormat) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  return ImageFactoryConvert(nullptr, 0, pixelFormat, _UndefinedAlgorithm).Len(pImage);
}

IImage* ImageFactory::SelectBits(IImage* pImage, size_t numBits, int lowestBit) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  CheckNumBits(numBits, __func__);
  return ImageFactorySelectBits(numBits, lowestBit).Process(pImage);
}

IImage* ImageFactory::SelectBitsShallow(uint8_t* pBuffer, size_t bufferSize, IImage* pImage,
                                        size_t numBits, int lowestBit) {
  CheckInit(__func__);
  CheckParam(pBuffer, __func__);
  CheckParam(bufferSize, __func__);
  // Kept on purpose: unlike the other shallow operations this one wants exactly the needed size.
  CheckLen(bufferSize, SelectBitsLen(pImage, numBits, lowestBit), __func__);
  CheckParam(pImage, __func__);
  CheckNumBits(numBits, __func__);
  return ImageFactorySelectBits(pBuffer, bufferSize, numBits, lowestBit).Shallow(pImage);
}

size_t ImageFactory::SelectBitsLen(IImage* pImage, size_t numBits, int lowestBit) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  CheckNumBits(numBits, __func__);
  return ImageFactorySelectBits(numBits, lowestBit).Len(pImage);
}

IImage* ImageFactory::SelectBitsAndScale(IImage* pImage, size_t numBits, double scale) {
  CHECK_ARG(pImage, InvalidArgumentException, "Image is null when selecting bits");
  CHECK_ARG(numBits == 8, InvalidArgumentException,
            "Bit selection only available for 8-bit transformation");
  return PixelFormatOf(pImage)->SelectBitsAndScale(pImage, numBits, scale);
}

IImage* ImageFactory::ProcessSoftwareLUT(IImage* pImage, const uint8_t* pLut, size_t lutLength) {
  CHECK_ARG(pImage, InvalidArgumentException, "Image is null when processing software LUT");
  return PixelFormatOf(pImage)->ProcessSoftwareLUT(pImage, pLut, lutLength);
}

IImage* ImageFactory::DecompressImage(ICompressedImage* pImage) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  CHECK_ARG(IsQOIImage(pImage), RuntimeException, "Buffer provided is not of type QOI");
  return QOIDecompressImage(pImage);
}

IImage* ImageFactory::DeinterleaveChannels(IImage* pImage) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  return ImageFactoryDeinterleaveChannels().Process(pImage);
}

IImage* ImageFactory::DeinterleaveChannelsShallow(uint8_t* pBuffer, size_t bufferSize,
                                                  IImage* pImage) {
  CheckInit(__func__);
  CheckParam(pBuffer, __func__);
  CheckParam(bufferSize, __func__);
  CheckParam(pImage, __func__);
  return ImageFactoryDeinterleaveChannels(pBuffer, bufferSize).Shallow(pImage);
}

size_t ImageFactory::DeinterleaveChannelsLen(IImage* pImage) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  return ImageFactoryDeinterleaveChannels().Len(pImage);
}

std::vector<IImage*> ImageFactory::SplitChannels(IImage* pImage) {
  CheckInit(__func__);
  CheckParam(pImage, __func__);
  const auto destroy = [](IImage* p) {
    ImageFactoryDeinterleaveChannels::destroyUnpackedImages({&p, 1});
  };
  const std::unique_ptr<IImage, decltype(destroy)> planes(DeinterleaveChannels(pImage), destroy);
  return ImageFactoryDeinterleaveChannels::createUnpackedImages(
      planes.get(), GetNumChannels(pImage->GetPixelFormat()));
}

// ---- Freeing -----------------------------------------------------------------------------------

void ImageFactory::Destroy(IImage* pImage) {
  CHECK_ARG(HasImageFactoryInit(), RuntimeException, sk_neverInitialized);
  CHECK_ARG(pImage, InvalidArgumentException, "Image is null");
  auto* const pBuffer = dynamic_cast<Buffer*>(pImage);
  CHECK_ARG(pBuffer && !FrameCells::HasStream(pBuffer), InvalidArgumentException,
            "Failure destroying image because image not from factory (probably due to image being "
            "from device)");
  switch (pImage->GetPayloadType()) {
    case BufferPayloadTypeImage:
    case BufferPayloadTypeImageExtendedChunk:
      return DestroyFrame(pImage, pBuffer);
    case BufferPayloadTypeChunkData:
      THROW_PLAIN(InvalidArgumentException, "Chunk data destroy not implemented");
    default:
      THROW_PLAIN(InvalidArgumentException, "Unknown payload type");
  }
}

void ImageFactory::DestroyCompressedImage(ICompressedImage* pImage) {
  CHECK_ARG(HasImageFactoryInit(), RuntimeException, sk_neverInitialized);
  CHECK_ARG(pImage, InvalidArgumentException, "Image is null");
  auto* const pBuffer = dynamic_cast<Buffer*>(pImage);
  CHECK_ARG(pBuffer && !FrameCells::HasStream(pBuffer), InvalidArgumentException,
            "Failure destroying compressed image because compressed image not from factory "
            "(probably due to compressed image being from device)");
  switch (pImage->GetPayloadType()) {
    case BufferPayloadTypeCompressedImage:
    case BufferPayloadTypeCompressedImageExtendedChunk:
      return DestroyFrame(pImage, pBuffer);
    default:
      THROW_PLAIN(InvalidArgumentException, "Unknown payload type");
  }
}

}  // namespace Orvex
