// SPDX-License-Identifier: Apache-2.0
#include "simulator/Qoi.h"

#include <algorithm>
#include <array>

namespace OrvexSim {
namespace {

constexpr uint8_t sk_index = 0x00, sk_diff = 0x40, sk_luma = 0x80, sk_run = 0xC0, sk_rgb = 0xFE;
constexpr size_t sk_maxRun = 62;  // 63 and 64 would look like the two tags of whole pixels
// The one-channel variant.
constexpr uint8_t sk_greyDiff = 0x00, sk_greyLiteral = 0x40, sk_greyRun = 0xC0;
constexpr size_t sk_maxGreyCount = 64;

void PutWord(std::vector<uint8_t>& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(value >> shift));
}

using Pixel = std::array<uint8_t, 3>;

void PutPixel(std::vector<uint8_t>& out, const Pixel& pixel, const Pixel& before) {
  const auto difference = [&](size_t c) { return static_cast<int8_t>(pixel[c] - before[c]); };
  const int dr = difference(0), dg = difference(1), db = difference(2);
  const auto small = [](int d) { return d >= -2 && d <= 1; };
  if (small(dr) && small(dg) && small(db)) {
    out.push_back(static_cast<uint8_t>(sk_diff | (dr + 2) << 4 | (dg + 2) << 2 | (db + 2)));
    return;
  }
  const int dgr = static_cast<int8_t>(dr - dg), dgb = static_cast<int8_t>(db - dg);
  if (dg >= -32 && dg <= 31 && dgr >= -8 && dgr <= 7 && dgb >= -8 && dgb <= 7) {
    out.push_back(static_cast<uint8_t>(sk_luma | (dg + 32)));
    out.push_back(static_cast<uint8_t>((dgr + 8) << 4 | (dgb + 8)));
    return;
  }
  out.push_back(sk_rgb);
  out.insert(out.end(), pixel.begin(), pixel.end());
}

void EncodeColour(std::span<const uint8_t> pixels, std::vector<uint8_t>& out) {
  // Entries start as transparent black, which no opaque pixel equals.
  struct Entry {
    Pixel pixel{};
    bool used = false;
  };
  std::array<Entry, 64> seen{};
  Pixel before{};
  size_t run = 0;
  const auto flush = [&] {
    if (run > 0) out.push_back(static_cast<uint8_t>(sk_run | (run - 1)));
    run = 0;
  };
  for (size_t at = 0; at + 3 <= pixels.size(); at += 3) {
    const Pixel pixel{pixels[at], pixels[at + 1], pixels[at + 2]};
    if (pixel == before) {
      if (++run == sk_maxRun) flush();
      continue;
    }
    flush();
    const size_t slot = (pixel[0] * 3 + pixel[1] * 5 + pixel[2] * 7 + 255 * 11) % 64;
    if (seen[slot].used && seen[slot].pixel == pixel) {
      out.push_back(static_cast<uint8_t>(sk_index | slot));
    } else {
      seen[slot] = {pixel, true};
      PutPixel(out, pixel, before);
    }
    before = pixel;
  }
  flush();
}

void EncodeGrey(std::span<const uint8_t> pixels, std::vector<uint8_t>& out) {
  uint8_t before = 0;
  const auto fits = [&](size_t at) {
    const int difference =
        static_cast<int8_t>(pixels[at] - (at == 0 ? uint8_t{0} : pixels[at - 1]));
    return difference >= -32 && difference < 32;
  };
  for (size_t at = 0; at < pixels.size();) {
    const size_t most = std::min(sk_maxGreyCount, pixels.size() - at);
    size_t count = 0;
    while (count < most && pixels[at + count] == before) ++count;
    if (count > 0) {
      out.push_back(static_cast<uint8_t>(sk_greyRun | (count - 1)));
    } else if (fits(at)) {
      count = 1;
      out.push_back(
          static_cast<uint8_t>(sk_greyDiff | (static_cast<int8_t>(pixels[at] - before) + 32)));
    } else {
      count = 1;
      while (count < most && !fits(at + count)) ++count;
      out.push_back(static_cast<uint8_t>(sk_greyLiteral | (count - 1)));
      out.insert(out.end(), pixels.begin() + static_cast<ptrdiff_t>(at),
                 pixels.begin() + static_cast<ptrdiff_t>(at + count));
    }
    at += count;
    before = pixels[at - 1];
  }
}

}  // namespace

void EncodeQoi(std::span<const uint8_t> pixels, uint32_t width, uint32_t height, uint8_t channels,
               std::vector<uint8_t>& out) {
  PutWord(out, 0x716F6966);
  PutWord(out, width);
  PutWord(out, height);
  out.push_back(channels);
  out.push_back(0);
  if (channels == 1) {
    EncodeGrey(pixels, out);
  } else {
    EncodeColour(pixels, out);
  }
  out.insert(out.end(), {0, 0, 0, 0, 0, 0, 0, 1});
}

}  // namespace OrvexSim
