#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the operations of the image factory share: the switch and the scratch pools, filling of
// frames made in memory, sizes that cannot overflow, and the pixel-format contract, which finds the
// handler of an image's format and makes the output image. Objects of the contract live for one
// operation on one thread.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "Orvex/CompressedImage.h"
#include "Orvex/ContractFormats.h"
#include "Orvex/Image.h"
#include "PFNC.h"

namespace Orvex {

// The switch: on while a system is open. Read without a lock.
extern std::atomic<bool> g_factoryInit;

// The conversion engine's scratch pools. All six are guarded by g_factoryMutex, which is taken
// inside the engine lock, never around it. Allocated with new[].
extern std::mutex g_factoryMutex;
extern uint8_t* g_pPoolA;
extern uint8_t* g_pPoolB;
extern uint8_t* g_pPoolC;
extern uint64_t g_poolSizeA;
extern uint64_t g_poolSizeB;
extern uint64_t g_poolSizeC;

/// Turns the factory on and makes the pools empty. What they held is not freed: CloseImageFactory
/// has done that.
void OpenImageFactory();

/// Frees the pools and turns the factory off.
void CloseImageFactory();

/// Whether the factory is on.
bool HasImageFactoryInit();

/// width * height * bits per pixel of the format / 8, rounded down.
/// @throws GenICam::InvalidArgumentException when 64 bits cannot hold the number of bits.
size_t ImageBytes(size_t width, size_t height, uint64_t pixelFormat);

/// width * height * factor.
/// @throws GenICam::InvalidArgumentException when 64 bits cannot hold the product.
size_t CheckedProduct(size_t width, size_t height, size_t factor);

/// Fails unless the image's buffer holds the pixels that its width, height and format promise.
/// Every operation that reads pixels asks this first: a camera may announce anything.
/// @throws GenICam::InvalidArgumentException when the buffer is too small.
void CheckImageData(IImage* pImage);

/// Uninitialised bytes; at least one, so that the pointer is never null.
/// @throws GenICam::BadAllocException when there is no memory, or never could be.
std::unique_ptr<uint8_t[]> AllocateBytes(size_t size);

/// Zeroed bytes, otherwise as AllocateBytes.
std::unique_ptr<uint8_t[]> AllocateZeroedBytes(size_t size);

/// Fills the answers of frames made in memory; the one friend of the frame classes.
struct FrameCells {
  /// The properties of a new image over `size` bytes at pData.
  static void FillImageProps(Image* pImage, const uint8_t* pData, size_t size, size_t width,
                             size_t height, uint64_t pixelFormat);
  /// The properties of an image made from another: geometry and format as given; offsets,
  /// timestamp, padding, endianness and the flags of the source.
  static void FillImageProps(IImage* pSrc, Image* pImage, uint64_t pixelFormat,
                             const uint8_t* pData, size_t size, size_t width, size_t height);
  static void FillCompressedImageProps(CompressedImage* pImage, const uint8_t* pData, size_t size,
                                       uint64_t pixelFormat);
  static void SetHasChunkData(Buffer* pBuffer, bool hasChunkData) {
    pBuffer->m_pHasChunkData = std::make_unique<bool>(hasChunkData);
  }
  static void SetIncomplete(Buffer* pBuffer, bool incomplete) {
    pBuffer->m_pIsIncomplete = std::make_unique<bool>(incomplete);
  }
  static void SetPayloadType(Buffer* pBuffer, uint64_t payloadType) {
    pBuffer->m_pPayloadType = std::make_unique<uint64_t>(payloadType);
  }
  static void SetSizes(Buffer* pBuffer, size_t filled, size_t payload, size_t buffer) {
    pBuffer->m_pSizeFilled = std::make_unique<size_t>(filled);
    pBuffer->m_pPayloadSize = std::make_unique<size_t>(payload);
    pBuffer->m_pSizeOfBuffer = std::make_unique<size_t>(buffer);
  }
  static void SetData(Buffer* pBuffer, const uint8_t* pData) { pBuffer->m_pData = pData; }
  static void SetUserProvided(Buffer* pBuffer, bool provided) {
    pBuffer->m_bufferIsUserProvided = provided;
  }
  static bool IsUserProvided(const Buffer* pBuffer) { return pBuffer->m_bufferIsUserProvided; }
  static bool HasStream(const Buffer* pBuffer) { return pBuffer->m_pStream != nullptr; }
  /// The data of an image that is being made. Only its maker may write there.
  static uint8_t* WritableData(Buffer* pBuffer) { return const_cast<uint8_t*>(pBuffer->m_pData); }
  /// Frees data that the factory allocated.
  static void FreeData(Buffer* pBuffer);
};

/// The operations that an image operation answers for one input image. Slots: sizes and format of
/// the output, one handler for each format, name and refusal.
class IPixelFormatContract {
 public:
  /// Bytes of the output image.
  virtual size_t Len(IImage* pSrc) = 0;
  /// PFNC value of the output image.
  virtual uint64_t PixelFormat(IImage* pSrc) = 0;
  /// Width and height of the output image in pixels.
  virtual size_t Width(IImage* pSrc) = 0;
  virtual size_t Height(IImage* pSrc) = 0;

  // Fills pDst, whose data and properties are there, from pSrc of the named format.
#define ORVEX_CONTRACT_SLOT(format) virtual void Process##format(IImage* pSrc, Image* pDst) = 0;
  ORVEX_CONTRACT_FORMATS(ORVEX_CONTRACT_SLOT)
#undef ORVEX_CONTRACT_SLOT

  /// Names the operation in messages.
  virtual const char* algorithmName() = 0;
  /// The handler of formats that the operation does not know: always throws
  /// InvalidArgumentException.
  virtual void implNone(IImage* pSrc, Image* pDst) = 0;

 protected:
  ~IPixelFormatContract() = default;
};

/// Runs an operation: makes the output image, finds the handler, cleans up when it fails.
class PixelFormatContractSelection : public IPixelFormatContract {
 public:
  /// Deep: the output image has data of its own.
  PixelFormatContractSelection() = default;
  /// Shallow: the output image lies over the caller's buffer.
  PixelFormatContractSelection(uint8_t* pBuffer, size_t bufferSize)
      : m_pBuffer(pBuffer), m_bufferSize(bufferSize) {}

  /// The deep form. The caller owns the result.
  IImage* Process(IImage* pSrc);
  /// The shallow form. The caller owns the result; the buffer stays his.
  IImage* Shallow(IImage* pSrc);

#define ORVEX_CONTRACT_SLOT(format)                          \
  void Process##format(IImage* pSrc, Image* pDst) override { \
    implNone(pSrc, pDst);                                    \
  }
  ORVEX_CONTRACT_FORMATS(ORVEX_CONTRACT_SLOT)
#undef ORVEX_CONTRACT_SLOT

  void implNone(IImage* pSrc, Image* pDst) override;

 protected:
  ~PixelFormatContractSelection() = default;

  /// Empty for deep operations.
  uint8_t* m_pBuffer = nullptr;
  size_t m_bufferSize = 0;

 private:
  Image* createDeep(IImage* pSrc);
  Image* createShallow(IImage* pSrc);
  void Dispatch(uint64_t pixelFormat, IImage* pSrc, Image* pDst);
};

/// Leads every format to StandardProcess; an operation overrides what it treats on its own.
class PixelFormatContractStandardImpl : public PixelFormatContractSelection {
 public:
  using PixelFormatContractSelection::PixelFormatContractSelection;

#define ORVEX_CONTRACT_SLOT(format)                          \
  void Process##format(IImage* pSrc, Image* pDst) override { \
    StandardProcess(pSrc, pDst);                             \
  }
  ORVEX_CONTRACT_FORMATS(ORVEX_CONTRACT_SLOT)
#undef ORVEX_CONTRACT_SLOT

  /// Fills pDst from pSrc, whatever the format.
  virtual void StandardProcess(IImage* pSrc, Image* pDst) = 0;
  /// The same with an output image that lies over the caller's buffer.
  virtual void StandardShallow(IImage* pSrc, Image* pDst) = 0;

 protected:
  ~PixelFormatContractStandardImpl() = default;
};

}  // namespace Orvex
