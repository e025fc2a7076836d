// SPDX-License-Identifier: Apache-2.0
#include "simulator/Scene.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <numbers>
#include <string>
#include <utility>

#include "simulator/Font.h"

namespace OrvexSim {
namespace {

constexpr double sk_pi = std::numbers::pi;
constexpr int64_t sk_ballRadius = 52;
constexpr Rect sk_ballArea{70, 70, 1140, 860};  // where the ball's middle goes
constexpr Rect sk_counter{936, 744, 312, 72};   // the frame counter's plate
constexpr int64_t sk_counterScale = 5;

constexpr Rgb16 FromByte(uint8_t r, uint8_t g, uint8_t b) {
  return {static_cast<uint16_t>(r * 257), static_cast<uint16_t>(g * 257),
          static_cast<uint16_t>(b * 257)};
}

// Six by four patches: skin, foliage and sky tones, primaries and secondaries, greys.
constexpr Rgb16 sk_patches[24] = {
    FromByte(120, 80, 66),   FromByte(200, 150, 130), FromByte(90, 120, 160),
    FromByte(84, 110, 62),   FromByte(130, 128, 180), FromByte(96, 190, 176),
    FromByte(220, 124, 40),  FromByte(66, 88, 172),   FromByte(198, 82, 96),
    FromByte(92, 56, 110),   FromByte(160, 192, 56),  FromByte(230, 164, 40),
    FromByte(0, 0, 230),     FromByte(0, 200, 0),     FromByte(230, 0, 0),
    FromByte(240, 220, 0),   FromByte(200, 0, 200),   FromByte(0, 190, 220),
    FromByte(245, 245, 245), FromByte(200, 200, 200), FromByte(160, 160, 160),
    FromByte(120, 120, 120), FromByte(80, 80, 80),    FromByte(40, 40, 40),
};
constexpr Rgb16 sk_white = FromByte(240, 240, 240);
constexpr Rgb16 sk_black = FromByte(16, 16, 16);

bool Inside(const Rect& rect, int64_t x, int64_t y) {
  return x >= rect.x && y >= rect.y && x < rect.x + rect.width && y < rect.y + rect.height;
}

Rgb16 Hue(double turn) {
  Rgb16 colour;
  for (size_t c = 0; c < 3; ++c) {
    const double phase = 6 * (turn + 1.0 - static_cast<double>(c) / 3.0);
    const double wave =
        std::abs(std::fmod(phase + 3, 6) - 3) - 1;  // 2 at the colour's own hue, 0 opposite
    colour[c] = static_cast<uint16_t>(65535 * (1 - std::clamp(wave, 0.0, 1.0)));
  }
  return colour;
}

Rgb16 ChartColour(int64_t x, int64_t y) {
  // Colour patches.
  constexpr Rect sk_patchArea{64, 64, 816, 544};
  if (Inside(sk_patchArea, x, y)) {
    const int64_t column = (x - sk_patchArea.x) / 136, row = (y - sk_patchArea.y) / 136;
    const bool frame = (x - sk_patchArea.x) % 136 >= 124 || (y - sk_patchArea.y) % 136 >= 124;
    return frame ? sk_black : sk_patches[row * 6 + column];
  }
  // A square turned by five degrees: its edges show what interpolation does.
  constexpr Rect sk_edgeArea{936, 64, 312, 296};
  if (Inside(sk_edgeArea, x, y)) {
    const double dx = static_cast<double>(x - 1092), dy = static_cast<double>(y - 212);
    const double angle = 5 * sk_pi / 180;
    const double u = dx * std::cos(angle) + dy * std::sin(angle),
                 v = dy * std::cos(angle) - dx * std::sin(angle);
    return std::abs(u) < 100 && std::abs(v) < 100 ? sk_black : sk_white;
  }
  // A star of 36 rays.
  constexpr Rect sk_starArea{936, 392, 312, 320};
  if (Inside(sk_starArea, x, y)) {
    const double dx = static_cast<double>(x - 1092), dy = static_cast<double>(y - 552);
    if (std::hypot(dx, dy) > 148) return sk_white;
    const double turn = std::atan2(dy, dx) / (2 * sk_pi) + 0.5;
    return static_cast<int64_t>(turn * 72) % 2 == 0 ? sk_black : sk_white;
  }
  // Line pairs, from one pixel to twelve.
  constexpr Rect sk_lineArea{64, 640, 816, 72};
  if (Inside(sk_lineArea, x, y)) {
    constexpr int64_t sk_widths[] = {1, 2, 3, 4, 6, 8, 10, 12};
    const int64_t group = (x - sk_lineArea.x) / 102, at = (x - sk_lineArea.x) % 102;
    return at < 96 && at / sk_widths[group] % 2 == 0 ? sk_black : sk_white;
  }
  // Sixteen grey steps.
  constexpr Rect sk_greyArea{64, 744, 816, 72};
  if (Inside(sk_greyArea, x, y)) {
    const auto level = static_cast<uint8_t>((x - sk_greyArea.x) / 51 * 17);
    return FromByte(level, level, level);
  }
  constexpr Rect sk_hueArea{64, 848, 1184, 48};
  if (Inside(sk_hueArea, x, y)) return Hue(static_cast<double>(x - sk_hueArea.x) / 1184.0);
  if (TextDot("ORVEX VIRTUAL CAMERA", 6, x - 64, y - 928)) return sk_white;
  if (TextDot("0123456789 ABCDEFGHIJKLMNOPQRSTUVWXYZ", 2, x - 800, y - 928)) return sk_white;
  if (TextDot("THE QUICK BROWN FOX JUMPS OVER THE LAZY DOG", 1, x - 800, y - 960)) return sk_white;
  // Outside of the default region: a chess board, which shows where one is.
  if (x >= 1280 || y >= 1024)
    return (x / 64 + y / 64) % 2 == 0 ? FromByte(60, 70, 80) : FromByte(150, 160, 170);
  const double shade =
      0.75 + 0.25 * std::sin(static_cast<double>(x) / 400) * std::cos(static_cast<double>(y) / 300);
  return {static_cast<uint16_t>(13000 * shade), static_cast<uint16_t>(16500 * shade),
          static_cast<uint16_t>(22000 * shade)};
}

}  // namespace

Scene::Scene(uint32_t width, uint32_t height, std::vector<uint16_t> rgb, bool movingParts)
    : m_width(width), m_height(height), m_rgb(std::move(rgb)), m_movingParts(movingParts) {}

std::shared_ptr<const Scene> Scene::Chart(uint32_t width, uint32_t height) {
  static std::mutex mutex;
  static std::map<std::pair<uint32_t, uint32_t>, std::weak_ptr<const Scene>> charts;
  const std::lock_guard lock(mutex);
  std::weak_ptr<const Scene>& known = charts[{width, height}];
  if (std::shared_ptr<const Scene> chart = known.lock()) return chart;
  std::vector<uint16_t> rgb(size_t{3} * width * height);
  uint16_t* out = rgb.data();
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) out = std::copy_n(ChartColour(x, y).begin(), 3, out);
  }
  auto chart = std::make_shared<const Scene>(width, height, std::move(rgb), true);
  known = chart;
  return chart;
}

MovingParts::MovingParts(uint64_t frame) {
  const double t = static_cast<double>(frame % 3600) / 3600 * 2 * sk_pi;
  const double u = 0.5 + 0.5 * std::sin(25 * t), v = 0.5 + 0.5 * std::sin(36 * t + 1);
  m_ballX = sk_ballArea.x + static_cast<int64_t>(u * sk_ballArea.width);
  m_ballY = sk_ballArea.y + static_cast<int64_t>(v * sk_ballArea.height);
  for (size_t i = m_digits.size(); i-- > 0; frame /= 10)
    m_digits[i] = static_cast<char>('0' + frame % 10);
}

std::array<Rect, 2> MovingParts::Areas() const {
  constexpr int64_t sk_size = 2 * sk_ballRadius + 1;
  return {Rect{m_ballX - sk_ballRadius, m_ballY - sk_ballRadius, sk_size, sk_size}, sk_counter};
}

void MovingParts::Shade(int64_t x, int64_t y, Rgb16& colour) const {
  if (Inside(sk_counter, x, y)) {
    const bool dot = TextDot({m_digits.data(), m_digits.size()}, sk_counterScale,
                             x - sk_counter.x - 20, y - sk_counter.y - 18);
    colour = dot ? FromByte(255, 200, 60) : sk_black;
  }
  const int64_t offX = x - m_ballX, offY = y - m_ballY;
  if (offX * offX + offY * offY > sk_ballRadius * sk_ballRadius) return;
  // Lit from the upper left, with a highlight.
  const double dx = static_cast<double>(offX) / sk_ballRadius,
               dy = static_cast<double>(offY) / sk_ballRadius;
  const double height = std::sqrt(std::max(0.0, 1 - dx * dx - dy * dy));
  const double light = std::clamp(0.25 + 0.75 * (height * 0.7 - dx * 0.5 - dy * 0.5), 0.05, 1.0);
  const double shine = light > 0.93 ? (light - 0.93) / 0.07 : 0;
  colour = {static_cast<uint16_t>(65535 * std::min(1.0, light * 0.95 + shine)),
            static_cast<uint16_t>(65535 * std::min(1.0, light * 0.30 + shine)),
            static_cast<uint16_t>(65535 * std::min(1.0, light * 0.12 + shine))};
}

}  // namespace OrvexSim
