#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// A frame with pixels.

#include "IBuffer.h"

namespace Orvex {

/// Byte order of pixels whose components are wider than 8 bits.
enum _EPixelEndianness : int32_t {
  PixelEndiannessUnknown = 0,  ///< Not told.
  PixelEndiannessLittle = 1,   ///< Low byte first.
  PixelEndiannessBig = 2       ///< High byte first.
};

/// A frame with pixels. Ownership, threads and failures as for IBuffer.
class ORVEX_API IImage : public IBuffer {
 public:
  /// @return Width in pixels.
  virtual size_t GetWidth() = 0;
  /// @return Height in pixels.
  virtual size_t GetHeight() = 0;
  /// @return Column of the first pixel on the sensor.
  virtual size_t GetOffsetX() = 0;
  /// @return Line of the first pixel on the sensor.
  virtual size_t GetOffsetY() = 0;
  /// @return Bytes after each line.
  virtual size_t GetPaddingX() = 0;
  /// @return Bytes after the last line.
  virtual size_t GetPaddingY() = 0;
  /// @return A PFNC value, see PFNC.h.
  virtual uint64_t GetPixelFormat() = 0;
  /// @return Bits that a pixel takes in memory, padding included.
  virtual size_t GetBitsPerPixel() = 0;
  /// @return Byte order of the pixels' components.
  virtual _EPixelEndianness GetPixelEndianness() = 0;
  /// @return Time of the frame in nanoseconds of the camera's clock, as GetTimestampNs.
  virtual uint64_t GetTimestamp() = 0;
  /// @return Time of the frame in nanoseconds of the camera's clock.
  virtual uint64_t GetTimestampNs() = 0;
};

}  // namespace Orvex
