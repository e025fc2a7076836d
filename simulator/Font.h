#pragma once
// SPDX-License-Identifier: Apache-2.0
// Letters, figures and a few signs of five by seven dots, for the text in rendered scenes.
// Stateless: any thread.

#include <cstdint>
#include <string_view>

namespace OrvexSim {

inline constexpr int64_t sk_glyphWidth = 5, sk_glyphHeight = 7, sk_glyphPitch = 6;

// Whether the dot (column 0..4, row 0..6) of the glyph is set; unknown characters are empty.
bool GlyphDot(char character, int64_t column, int64_t row);
// Whether the point lies on a dot of the text whose top left is at (0, 0), each dot being `scale`
// pixels.
bool TextDot(std::string_view text, int64_t scale, int64_t x, int64_t y);

}  // namespace OrvexSim
