#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// A frame with compressed pixels.

#include "IBuffer.h"

namespace Orvex {

/// A frame whose pixels are compressed; ImageFactory::DecompressImage makes an image of it.
/// Ownership, threads and failures as for IBuffer.
class ORVEX_API ICompressedImage : public IBuffer {
 public:
  /// @return A PFNC value that names the compression and the format of the pixels within (QOI_...).
  virtual uint64_t GetPixelFormat() = 0;
  /// @return Time of the frame in nanoseconds of the camera's clock, as GetTimestampNs.
  virtual uint64_t GetTimestamp() = 0;
  /// @return Time of the frame in nanoseconds of the camera's clock.
  virtual uint64_t GetTimestampNs() = 0;
};

}  // namespace Orvex
