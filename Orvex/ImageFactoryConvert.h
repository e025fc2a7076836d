#pragma once
// SPDX-License-Identifier: Apache-2.0
// The conversion engine: the pixels of one image in another pixel format. One object serves one
// call of the image factory.
//
// Every conversion of the process runs alone, under the engine lock; those that need scratch space
// take the pool mutex (g_factoryMutex) inside it. A conversion goes one of four ways: a copy when
// the formats are equal, straight into BGRa8, a shortcut that is registered for the pair, or
// through a BGRa8 intermediate. Failures are GenICam exceptions and leave the output half written.

#include <cstddef>
#include <cstdint>

#include "ImageFactory.h"
#include "Orvex/ImageFactoryInternal.h"

namespace Orvex {

class ImageFactoryConvert : public PixelFormatContractStandardImpl {
 public:
  // Deep: the output image has data of its own.
  ImageFactoryConvert(uint64_t pixelFormat, _EBayerAlgorithm bayerAlgorithm)
      : m_pf(pixelFormat), m_bayerAlgorithm(bayerAlgorithm) {}
  // Shallow: the output image lies over the caller's buffer.
  ImageFactoryConvert(uint8_t* pBuffer, size_t bufferSize, uint64_t pixelFormat,
                      _EBayerAlgorithm bayerAlgorithm)
      : PixelFormatContractStandardImpl(pBuffer, bufferSize),
        m_pf(pixelFormat),
        m_bayerAlgorithm(bayerAlgorithm) {}

  size_t Len(IImage* pSrc) override;
  uint64_t PixelFormat(IImage* pSrc) override;
  size_t Width(IImage* pSrc) override;
  size_t Height(IImage* pSrc) override;
  const char* algorithmName() override;
  void StandardProcess(IImage* pSrc, Image* pDst) override;
  void StandardShallow(IImage* pSrc, Image* pDst) override;

  /// Fills the data of pDst, which has room for Len bytes, with the pixels of pSrc in the format.
  /// @throws GenICam::LogicalErrorException when there is no way between the formats,
  /// GenICam::InvalidArgumentException when the source holds fewer bytes than its size and format
  /// need or is too large, GenICam::RuntimeException "Conversion error" when a primitive fails.
  static void convert(IImage* pSrc, Image* pDst, uint64_t pixelFormat,
                      _EBayerAlgorithm bayerAlgorithm);

  /// Whether the pair has a shortcut; if so it has run. Needs whole bytes at both ends.
  static bool runShortcut(uint64_t srcFormat, uint64_t dstFormat, const uint8_t* pSrc,
                          uint8_t* pDst, size_t width, size_t height,
                          _EBayerAlgorithm bayerAlgorithm);

  /// Bytes of an image, the last one rounded up (and one more when neither bits nor pixels fill
  /// whole bytes).
  static size_t calcSize(size_t width, size_t height, uint64_t pixelFormat);

 private:
  static void fromPixelFormat(IImage* pSrc, const uint8_t* pData, uint8_t* pBgra,
                              _EBayerAlgorithm bayerAlgorithm);
  static void toPixelFormat(IImage* pSrc, uint8_t* pData, const uint8_t* pBgra,
                            uint64_t pixelFormat);

  uint64_t m_pf;
  _EBayerAlgorithm m_bayerAlgorithm;
};

}  // namespace Orvex
