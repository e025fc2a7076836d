#pragma once
// SPDX-License-Identifier: Apache-2.0
// The pixel formats that virtual cameras send, one row each, and the packing of rendered rows into
// them. Names and values are those of the GenICam Pixel Format Naming Convention. Stateless: any
// thread.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace OrvexSim {

// Which samples a pixel has. Sequences are given in wire order.
enum class Colour : uint8_t {
  Mono,
  BayerRG,
  BayerGB,
  BayerGR,
  BayerBG,
  Rgb,
  Bgr,
  Rgba,
  Bgra,
  YCbCr,
  CbYCr,
  Y0CbY1Cr,
  CbY0CrY1,
  YYCbYYCr,
  CbYYCrYY,
};

// How samples become bytes.
enum class Packing : uint8_t {
  Bits8,
  Bits16,     // two bytes, little-endian, value in the low bits
  Bits24,     // three bytes, little-endian
  LsbPacked,  // the "p" formats: without gaps, least significant bit first
  Packed10,   // two samples in three bytes, high bits first
  Packed12,
};

struct PixelFormat {
  std::string_view name;
  uint32_t value;
  uint8_t bits;  // significant bits of a sample
  Colour colour;
  Packing packing;
  constexpr uint32_t BitsPerPixel() const { return value >> 16 & 0xFF; }
};

std::span<const PixelFormat> AllPixelFormats();
const PixelFormat* FindPixelFormat(uint32_t value);  // null when unknown

// Widths that all formats can express in whole bytes for each row.
inline constexpr uint32_t sk_widthStep = 8, sk_minWidth = 16;
constexpr size_t RowBytes(const PixelFormat& format, size_t width) {
  return width * format.BitsPerPixel() / 8;
}

// Packs one row of RGB samples (three 16-bit full-scale values each pixel, `width` pixels, a
// multiple of sk_widthStep). `row` and `column` are the position of the first pixel, for the colour
// filter. Writes RowBytes(format, width) bytes.
void PackRow(const PixelFormat& format, const uint16_t* rgb, size_t width, size_t row,
             size_t column, uint8_t* out);
// Packs samples that are ready (16-bit full-scale), for formats that are no pictures of a colour
// scene.
void PackSamples(Packing packing, uint8_t bits, const uint16_t* samples, size_t count,
                 uint8_t* out);

}  // namespace OrvexSim
