#pragma once
// SPDX-License-Identifier: Apache-2.0
// A frame with pixels. Ownership and threads as for IBuffer.

#include "IBuffer.h"

namespace Orvex {

/// Byte order of pixels whose components are wider than 8 bits.
enum _EPixelEndianness : int32_t {
  PixelEndiannessUnknown = 0,
  PixelEndiannessLittle = 1,
  PixelEndiannessBig = 2
};

class ORVEX_API IImage : public IBuffer {
 public:
  /// Width and height in pixels.
  virtual size_t GetWidth() = 0;
  virtual size_t GetHeight() = 0;
  /// Position of the first pixel on the sensor, in pixels.
  virtual size_t GetOffsetX() = 0;
  virtual size_t GetOffsetY() = 0;
  /// Bytes after each line, and after the last one.
  virtual size_t GetPaddingX() = 0;
  virtual size_t GetPaddingY() = 0;
  /// A PFNC value, see PFNC.h.
  virtual uint64_t GetPixelFormat() = 0;
  /// Bits that a pixel takes in memory, padding included.
  virtual size_t GetBitsPerPixel() = 0;
  virtual _EPixelEndianness GetPixelEndianness() = 0;
  /// Time of the frame in nanoseconds of the camera's clock; both give the same number.
  virtual uint64_t GetTimestamp() = 0;
  virtual uint64_t GetTimestampNs() = 0;
};

}  // namespace Orvex
