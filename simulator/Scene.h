#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a virtual camera looks at: a still chart with colour patches, slanted edges, a star, line
// pairs, grey steps and text, and before it a ball and a frame counter that move with the frame
// number, so that a frame can be foretold. The chart is drawn once for each sensor size and shared
// by all cameras; it is immutable, any thread may read it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace OrvexSim {

using Rgb16 = std::array<uint16_t, 3>;  // full scale is 65535

struct Rect {
  int64_t x = 0, y = 0, width = 0, height = 0;
};

class Scene {
 public:
  static std::shared_ptr<const Scene> Chart(uint32_t width, uint32_t height);
  // A picture in place of the chart, three samples each pixel; it is repeated when the sensor is
  // larger.
  Scene(uint32_t width, uint32_t height, std::vector<uint16_t> rgb, bool movingParts = false);

  uint32_t Width() const { return m_width; }
  uint32_t Height() const { return m_height; }
  bool HasMovingParts() const { return m_movingParts; }  // before it: see MovingParts

  // A row of the chart, which repeats below its end.
  const uint16_t* Row(uint32_t y) const { return &m_rgb[3 * (size_t{y % m_height} * m_width)]; }

 private:
  uint32_t m_width, m_height;
  std::vector<uint16_t> m_rgb;
  bool m_movingParts;
};

// What is before the chart in one frame: the ball and the plate with the frame number.
class MovingParts {
 public:
  explicit MovingParts(uint64_t frame);

  // The areas covered, in sensor pixels.
  std::array<Rect, 2> Areas() const;
  // Changes `colour` where a moving part covers the sensor pixel.
  void Shade(int64_t x, int64_t y, Rgb16& colour) const;
  std::array<int64_t, 2> Ball() const { return {m_ballX, m_ballY}; }

 private:
  int64_t m_ballX, m_ballY;
  std::array<char, 9> m_digits;
};

}  // namespace OrvexSim
