#pragma once
// SPDX-License-Identifier: Apache-2.0
// Layout facts of pixel formats, and the descriptor that routes the per-format operations of an
// image. The layout functions are pure lookups: any thread may call them.

#include <cstddef>
#include <cstdint>

#include "OrvexExport.h"
#include "PFNC.h"

namespace Orvex {

class IImage;

/// Bits 23..16 of the identifier: what a pixel takes in memory. Never fails, for any value.
ORVEX_API size_t GetBitsPerPixel(uint64_t pixelFormat);

/// Components of a pixel.
/// This function and the three below throw GenICam::InvalidArgumentException ("GetNumChannels not
/// implemented for ..." and alike) for formats whose facts are not known.
ORVEX_API size_t GetNumChannels(uint64_t pixelFormat);

/// Significant bits of one component.
ORVEX_API size_t GetBitsPerChannel(uint64_t pixelFormat);

/// A step is the smallest run of whole pixels that fills whole bytes; this is its size in bytes.
ORVEX_API size_t GetBytesPerStep(uint64_t pixelFormat);

/// Pixels in one step.
ORVEX_API size_t GetPixelsPerStep(uint64_t pixelFormat);

/// What the ImageFactory can do with images of one pixel format without a conversion. Holds no
/// state; any thread may use it.
class ORVEX_API IImplementation {
 public:
  virtual ~IImplementation() = default;

  /// A new image of 8-bit samples: each sample of pSrc times 2 to the power (scale - T + 7), T
  /// being the index of its top bit, at most 255. The caller owns the result
  /// (ImageFactory::Destroy).
  /// @throws GenICam::InvalidArgumentException when the format has no such operation.
  virtual IImage* SelectBitsAndScale(IImage* pSrc, size_t numBits, double scale) = 0;

  /// A new image whose samples are those that the table at pLut (lutLength bytes) holds for the
  /// samples of pSrc. The caller owns the result (ImageFactory::Destroy).
  /// @throws GenICam::InvalidArgumentException when the format has no such operation or the
  /// length does not fit the format.
  virtual IImage* ProcessSoftwareLUT(IImage* pSrc, const uint8_t* pLut, size_t lutLength) = 0;
};

/// A new descriptor of the format; the caller hands it to DestroyPixelFormat.
/// @throws std::logic_error "pixel format NAME not implemented" for a format without descriptor.
ORVEX_API IImplementation* GetPixelFormat(PfncFormat_ pixelFormat);

/// Deletes a descriptor; null is ignored.
ORVEX_API void DestroyPixelFormat(IImplementation* pImplementation);

}  // namespace Orvex
