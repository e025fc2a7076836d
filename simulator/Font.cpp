// SPDX-License-Identifier: Apache-2.0
#include "simulator/Font.h"

namespace OrvexSim {
namespace {

// Seven rows of five dots each, the leftmost dot in bit 4.
struct Glyph {
  char character;
  uint8_t rows[7];
};
constexpr Glyph sk_glyphs[] = {
    {'0', {14, 17, 19, 21, 25, 17, 14}}, {'1', {4, 12, 4, 4, 4, 4, 14}},
    {'2', {14, 17, 1, 6, 8, 16, 31}},    {'3', {14, 17, 1, 6, 1, 17, 14}},
    {'4', {2, 6, 10, 18, 31, 2, 2}},     {'5', {31, 16, 30, 1, 1, 17, 14}},
    {'6', {6, 8, 16, 30, 17, 17, 14}},   {'7', {31, 1, 2, 4, 8, 8, 8}},
    {'8', {14, 17, 17, 14, 17, 17, 14}}, {'9', {14, 17, 17, 15, 1, 2, 12}},
    {'A', {4, 10, 17, 17, 31, 17, 17}},  {'B', {30, 17, 17, 30, 17, 17, 30}},
    {'C', {14, 17, 16, 16, 16, 17, 14}}, {'D', {30, 17, 17, 17, 17, 17, 30}},
    {'E', {31, 16, 16, 30, 16, 16, 31}}, {'F', {31, 16, 16, 30, 16, 16, 16}},
    {'G', {14, 17, 16, 23, 17, 17, 15}}, {'H', {17, 17, 17, 31, 17, 17, 17}},
    {'I', {14, 4, 4, 4, 4, 4, 14}},      {'J', {7, 2, 2, 2, 2, 18, 12}},
    {'K', {17, 18, 20, 24, 20, 18, 17}}, {'L', {16, 16, 16, 16, 16, 16, 31}},
    {'M', {17, 27, 21, 21, 17, 17, 17}}, {'N', {17, 25, 21, 21, 19, 17, 17}},
    {'O', {14, 17, 17, 17, 17, 17, 14}}, {'P', {30, 17, 17, 30, 16, 16, 16}},
    {'Q', {14, 17, 17, 17, 21, 18, 13}}, {'R', {30, 17, 17, 30, 20, 18, 17}},
    {'S', {15, 16, 16, 14, 1, 1, 30}},   {'T', {31, 4, 4, 4, 4, 4, 4}},
    {'U', {17, 17, 17, 17, 17, 17, 14}}, {'V', {17, 17, 17, 17, 17, 10, 4}},
    {'W', {17, 17, 17, 21, 21, 27, 17}}, {'X', {17, 17, 10, 4, 10, 17, 17}},
    {'Y', {17, 17, 10, 4, 4, 4, 4}},     {'Z', {31, 1, 2, 4, 8, 16, 31}},
    {'.', {0, 0, 0, 0, 0, 12, 12}},      {':', {0, 12, 12, 0, 12, 12, 0}},
    {'-', {0, 0, 0, 31, 0, 0, 0}},       {'/', {1, 1, 2, 4, 8, 16, 16}},
};

}  // namespace

bool GlyphDot(char character, int64_t column, int64_t row) {
  if (column < 0 || column >= sk_glyphWidth || row < 0 || row >= sk_glyphHeight) return false;
  for (const Glyph& glyph : sk_glyphs) {
    if (glyph.character == character) return (glyph.rows[row] >> (4 - column) & 1) != 0;
  }
  return false;
}

bool TextDot(std::string_view text, int64_t scale, int64_t x, int64_t y) {
  if (x < 0 || y < 0) return false;
  const int64_t column = x / scale;
  const auto index = static_cast<size_t>(column / sk_glyphPitch);
  return index < text.size() && GlyphDot(text[index], column % sk_glyphPitch, y / scale);
}

}  // namespace OrvexSim
