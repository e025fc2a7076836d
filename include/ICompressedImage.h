#pragma once
// SPDX-License-Identifier: Apache-2.0
// A frame whose pixels are compressed; ImageFactory::DecompressImage makes an image of it.
// Ownership and threads as for IBuffer.

#include "IBuffer.h"

namespace Orvex {

class ORVEX_API ICompressedImage : public IBuffer {
 public:
  /// A PFNC value that names the compression and the format of the pixels within (QOI_...).
  virtual uint64_t GetPixelFormat() = 0;
  /// Time of the frame in nanoseconds of the camera's clock; both give the same number.
  virtual uint64_t GetTimestamp() = 0;
  virtual uint64_t GetTimestampNs() = 0;
};

}  // namespace Orvex
