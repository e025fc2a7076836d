#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the colour primitives must do to one line, one pixel at a time.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace Plain {

inline unsigned Load16(const uint8_t* p) {
  return unsigned(p[0]) | unsigned(p[1]) << 8;
}
inline void Store16(uint8_t* p, unsigned v) {
  p[0] = uint8_t(v);
  p[1] = uint8_t(v >> 8);
}

// Eight bits of fraction, each product cut off.
inline unsigned Part(unsigned value, unsigned weight) {
  return (value << 8) * weight >> 16;
}
inline uint8_t Grey8(unsigned a, unsigned b, unsigned c) {
  return uint8_t((Part(a, 19595) + Part(b, 38470) + Part(c, 7471) + 129) >> 8);
}
inline unsigned Grey16(unsigned a, unsigned b, unsigned c) {
  return (19595 * a + 38470 * b + 7471 * c + 32768) >> 16;
}

// Chroma is asked for the sum of two equal or different pixels.
inline uint8_t Luma(unsigned r, unsigned g, unsigned b) {
  return uint8_t((Part(r, 16843) + Part(g, 33030) + Part(b, 6423) + 16 * 256 + 129) >> 8);
}
inline unsigned HalfPart(unsigned sum, unsigned weight) {
  return (sum << 7) * weight >> 16;
}
inline uint8_t Cb(unsigned r2, unsigned g2, unsigned b2) {
  return uint8_t((HalfPart(b2, 28770) + 128 * 257 - HalfPart(r2, 9699) - HalfPart(g2, 19071)) >> 8);
}
inline uint8_t Cr(unsigned r2, unsigned g2, unsigned b2) {
  return uint8_t((HalfPart(r2, 28770) + 128 * 257 - HalfPart(g2, 24117) - HalfPart(b2, 4653)) >> 8);
}

// Six bits of fraction.
inline void Rgb(int y, int cb, int cr, uint8_t& r, uint8_t& g, uint8_t& b) {
  const auto part = [](int value, int weight) { return value * 256 * weight >> 16; };
  const auto byte = [](int v) { return uint8_t(std::clamp(std::min(v, 32767) >> 6, 0, 255)); };
  const int light = (y * 256 * 19071 >> 16) - 1192 + 33;
  cb -= 128;
  cr -= 128;
  r = byte(light + part(cr, 26149));
  g = byte(light + part(cr, -13320) + part(cb, -6423));
  b = byte(light + cb * 128 + part(cb, 279));
}

template <bool LumaFirst>
void From422(const uint8_t* src, uint8_t* dst, size_t n, uint8_t alpha) {
  int cr = 128;
  for (size_t i = 0; i < n; ++i, dst += 4) {
    const uint8_t* group = src + i / 2 * 4;
    if ((i | 1) < n) cr = group[LumaFirst ? 3 : 2];
    Rgb(group[i % 2 * 2 + (LumaFirst ? 0 : 1)], group[LumaFirst ? 1 : 0], cr, dst[2], dst[1],
        dst[0]);
    dst[3] = alpha;
  }
}

template <bool LumaFirst>
void To422(const uint8_t* src, uint8_t* dst, size_t n) {
  constexpr int luma = LumaFirst ? 0 : 1, chroma = 1 - luma;
  for (size_t i = 0; i < n; i += 2, src += 8, dst += 4) {
    const uint8_t* second = i + 1 < n ? src + 4 : src;
    const unsigned b = src[0] + second[0], g = src[1] + second[1], r = src[2] + second[2];
    dst[luma] = Luma(src[2], src[1], src[0]);
    dst[chroma] = Cb(r, g, b);
    if (i + 1 == n) break;
    dst[luma + 2] = Luma(second[2], second[1], second[0]);
    dst[chroma + 2] = Cr(r, g, b);
  }
}

}  // namespace Plain
