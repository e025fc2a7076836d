// SPDX-License-Identifier: Apache-2.0
#include "simulator/Painter.h"

#include <algorithm>
#include <cstring>

namespace OrvexSim {
namespace {

constexpr uint64_t sk_rampPeriod = 65536;

}  // namespace

bool MovesByItself(TestPattern pattern) {
  return pattern == TestPattern::GreyHorizontalRampMoving ||
         pattern == TestPattern::GreyVerticalRampMoving ||
         pattern == TestPattern::HorizontalLineMoving || pattern == TestPattern::VerticalLineMoving;
}

size_t Painter::FrameBytes() const {
  return m_settings.format == nullptr
             ? 0
             : RowBytes(*m_settings.format, m_settings.width) * m_settings.height;
}

void Painter::SetScene(std::shared_ptr<const Scene> scene) {
  m_changed = m_changed || scene != m_scene;
  m_scene = std::move(scene);
}

void Painter::Configure(const PaintSettings& settings) {
  if (settings == m_settings && !m_changed) return;
  m_changed = false;
  m_settings = settings;
  ++m_generation;
  m_still.resize(FrameBytes());
  if (!MovesByItself(settings.pattern))
    PaintRows({0, 0, settings.width, settings.height}, 0, nullptr, m_still);
}

void Painter::SceneRow(int64_t x, int64_t y, int64_t width, const MovingParts* moving,
                       uint16_t* rgb) const {
  const uint32_t binX = m_settings.binningX, binY = m_settings.binningY;
  // Averaging divides by the number of pixels, adding up does not.
  const double scale =
      m_settings.brightness / ((m_settings.sumX ? 1 : binX) * (m_settings.sumY ? 1 : binY));
  const auto factor = static_cast<uint64_t>(std::min(scale, 1e6) * 65536);
  const uint32_t top = (m_settings.offsetY + static_cast<uint32_t>(y)) * binY;
  const uint32_t left = (m_settings.offsetX + static_cast<uint32_t>(x)) * binX;
  const uint32_t sceneWidth = m_scene->Width();
  for (int64_t i = 0; i < width; ++i) {
    uint64_t sum[3] = {0, 0, 0};
    for (uint32_t dy = 0; dy < binY; ++dy) {
      const uint16_t* row = m_scene->Row(top + dy);
      for (uint32_t dx = 0; dx < binX; ++dx) {
        uint32_t column = left + static_cast<uint32_t>(i) * binX + dx;
        if (column >= sceneWidth) column %= sceneWidth;
        Rgb16 colour{row[3 * column], row[3 * column + 1], row[3 * column + 2]};
        if (moving != nullptr) moving->Shade(column, top + dy, colour);
        for (int c = 0; c < 3; ++c) sum[c] += colour[c];
      }
    }
    for (int c = 0; c < 3; ++c) {
      rgb[3 * i + c] = static_cast<uint16_t>(std::min<uint64_t>(sum[c] * factor >> 16, 65535));
    }
  }
  if (!m_settings.tone) return;
  for (int64_t i = 0; i < 3 * width; ++i) rgb[i] = ApplyTone(*m_settings.tone, rgb[i]);
}

void Painter::PatternRow(int64_t x, int64_t y, int64_t width, uint64_t frame, uint16_t* rgb) const {
  const auto columns = static_cast<uint64_t>(m_settings.width),
             rows = static_cast<uint64_t>(m_settings.height);
  const auto row = static_cast<uint64_t>(y);
  const uint64_t shift = frame * 512;
  for (int64_t i = 0; i < width; ++i) {
    const auto column = static_cast<uint64_t>(x + i);
    Rgb16 colour{0, 0, 0};
    switch (m_settings.pattern) {
      case TestPattern::White:
        colour.fill(65535);
        break;
      case TestPattern::GreyHorizontalRamp:
        colour.fill(static_cast<uint16_t>(column * 65535 / std::max<uint64_t>(columns - 1, 1)));
        break;
      case TestPattern::GreyVerticalRamp:
        colour.fill(static_cast<uint16_t>(row * 65535 / std::max<uint64_t>(rows - 1, 1)));
        break;
      case TestPattern::GreyHorizontalRampMoving:
        colour.fill(static_cast<uint16_t>((column * 256 + shift) % sk_rampPeriod));
        break;
      case TestPattern::GreyVerticalRampMoving:
        colour.fill(static_cast<uint16_t>((row * 256 + shift) % sk_rampPeriod));
        break;
      case TestPattern::HorizontalLineMoving:
        if (row == frame % rows) colour.fill(65535);
        break;
      case TestPattern::VerticalLineMoving:
        if (column == frame % columns) colour.fill(65535);
        break;
      case TestPattern::ColorBar: {  // white, yellow, cyan, green, magenta, red, blue, black
        const uint64_t bar = 7 - column * 8 / columns;
        colour = {static_cast<uint16_t>(bar & 2 ? 65535 : 0),
                  static_cast<uint16_t>(bar & 4 ? 65535 : 0),
                  static_cast<uint16_t>(bar & 1 ? 65535 : 0)};
        break;
      }
      default:
        break;
    }
    std::copy(colour.begin(), colour.end(), rgb + 3 * i);
  }
}

void Painter::PaintRows(Rect area, uint64_t frame, const MovingParts* moving,
                        std::span<uint8_t> out) {
  std::vector<uint16_t> rgb(3 * static_cast<size_t>(area.width));
  const size_t rowBytes = RowBytes(*m_settings.format, m_settings.width);
  const size_t first = RowBytes(*m_settings.format, static_cast<size_t>(area.x));
  for (int64_t y = area.y; y < area.y + area.height; ++y) {
    if (m_settings.pattern == TestPattern::Off) {
      SceneRow(area.x, y, area.width, moving, rgb.data());
    } else {
      PatternRow(area.x, y, area.width, frame, rgb.data());
    }
    PackRow(*m_settings.format, rgb.data(), static_cast<size_t>(area.width), static_cast<size_t>(y),
            static_cast<size_t>(area.x), &out[static_cast<size_t>(y) * rowBytes + first]);
  }
}

std::vector<Rect> Painter::MovingAreas(const MovingParts& moving) const {
  std::vector<Rect> areas;
  if (MovesByItself(m_settings.pattern)) {
    areas.push_back({0, 0, m_settings.width, m_settings.height});
  } else if (m_settings.pattern == TestPattern::Off && m_scene->HasMovingParts()) {
    const int64_t binX = m_settings.binningX, binY = m_settings.binningY;
    for (const Rect& rect : moving.Areas()) {
      // From sensor to output pixels, widened to whole packing steps, cut to the frame.
      int64_t left = rect.x / binX - m_settings.offsetX,
              right = (rect.x + rect.width) / binX + 1 - m_settings.offsetX;
      int64_t top = rect.y / binY - m_settings.offsetY,
              bottom = (rect.y + rect.height) / binY + 1 - m_settings.offsetY;
      left = std::max<int64_t>(left, 0) / sk_widthStep * sk_widthStep;
      right = std::min<int64_t>((right + sk_widthStep - 1) / sk_widthStep * sk_widthStep,
                                m_settings.width);
      top = std::max<int64_t>(top, 0);
      bottom = std::min<int64_t>(bottom, m_settings.height);
      if (left < right && top < bottom) areas.push_back({left, top, right - left, bottom - top});
    }
  }
  return areas;
}

void Painter::Paint(uint64_t frame, std::span<uint8_t> out, CanvasState& state) {
  const size_t rowBytes = RowBytes(*m_settings.format, m_settings.width);
  const bool moves = MovesByItself(m_settings.pattern);
  if (state.generation != m_generation) {
    if (!moves) std::memcpy(out.data(), m_still.data(), m_still.size());
    state.generation = m_generation;
  } else if (!moves) {
    for (const Rect& rect : state.painted) {
      const size_t first = RowBytes(*m_settings.format, static_cast<size_t>(rect.x));
      const size_t count = RowBytes(*m_settings.format, static_cast<size_t>(rect.width));
      for (int64_t y = rect.y; y < rect.y + rect.height; ++y) {
        const size_t at = static_cast<size_t>(y) * rowBytes + first;
        std::memcpy(&out[at], &m_still[at], count);
      }
    }
  }
  const MovingParts moving(frame);
  state.painted = MovingAreas(moving);
  for (const Rect& rect : state.painted) PaintRows(rect, frame, &moving, out);
}

}  // namespace OrvexSim
