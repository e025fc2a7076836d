#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Layout facts of pixel formats, and the descriptor that routes the per-format operations of an
/// image. The layout functions are pure lookups: any thread may call them.

#include <cstddef>
#include <cstdint>

#include "OrvexExport.h"
#include "PFNC.h"

namespace Orvex {

class IImage;

/// What a pixel takes in memory, padding included: bits 23..16 of the identifier.
/// @param pixelFormat A PFNC value, known or not.
/// @return Bits.
ORVEX_API size_t GetBitsPerPixel(uint64_t pixelFormat);

/// Components of a pixel.
/// @param pixelFormat A PFNC value.
/// @return Their number.
/// @throws GenICam::InvalidArgumentException "GetNumChannels not implemented for ..." for a format
/// whose facts are not known; the three functions below alike, under their names.
ORVEX_API size_t GetNumChannels(uint64_t pixelFormat);

/// Significant bits of one component.
/// @param pixelFormat A PFNC value.
/// @return Bits.
/// @throws GenICam::InvalidArgumentException for a format whose facts are not known.
ORVEX_API size_t GetBitsPerChannel(uint64_t pixelFormat);

/// Size of a step: the smallest run of whole pixels that fills whole bytes.
/// @param pixelFormat A PFNC value.
/// @return Bytes.
/// @throws GenICam::InvalidArgumentException for a format whose facts are not known.
ORVEX_API size_t GetBytesPerStep(uint64_t pixelFormat);

/// Pixels in one step.
/// @param pixelFormat A PFNC value.
/// @return Their number.
/// @throws GenICam::InvalidArgumentException for a format whose facts are not known.
ORVEX_API size_t GetPixelsPerStep(uint64_t pixelFormat);

/// What the ImageFactory can do with images of one pixel format without a conversion. Holds no
/// state; any thread may use it.
class ORVEX_API IImplementation {
 public:
  virtual ~IImplementation() = default;

  /// Reduces samples to 8 bits: each sample times 2 to the power (scale - T + 7), T being the index
  /// of its top bit, at most 255.
  /// @param pSrc An image of this format; stays the caller's.
  /// @param numBits Bits of a sample of the result: 8.
  /// @param scale The exponent above.
  /// @return A new image of 8-bit samples. The caller owns it (ImageFactory::Destroy).
  /// @throws GenICam::InvalidArgumentException when the format has no such operation.
  virtual IImage* SelectBitsAndScale(IImage* pSrc, size_t numBits, double scale) = 0;

  /// Replaces each sample by what a table holds for it.
  /// @param pSrc An image of this format; stays the caller's.
  /// @param pLut The table, see ImageFactory::ProcessSoftwareLUT.
  /// @param lutLength Its bytes.
  /// @return A new image of the same format. The caller owns it (ImageFactory::Destroy).
  /// @throws GenICam::InvalidArgumentException when the format has no such operation or the
  /// length does not fit the format.
  virtual IImage* ProcessSoftwareLUT(IImage* pSrc, const uint8_t* pLut, size_t lutLength) = 0;
};

/// Makes the descriptor of a format. Any thread may ask.
/// @param pixelFormat The format.
/// @return A new descriptor; the caller hands it to DestroyPixelFormat.
/// @throws std::logic_error "pixel format NAME not implemented" for a format without descriptor.
ORVEX_API IImplementation* GetPixelFormat(PfncFormat_ pixelFormat);

/// Deletes a descriptor.
/// @param pImplementation Null is ignored.
ORVEX_API void DestroyPixelFormat(IImplementation* pImplementation);

}  // namespace Orvex
