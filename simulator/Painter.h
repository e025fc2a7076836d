#pragma once
// SPDX-License-Identifier: Apache-2.0
// Paints frames: region of interest, binning, exposure and gain, pixel format. What stands still is
// painted once for each setting; after that a frame costs only its moving parts. Belongs to one
// thread.

#include <memory>
#include <span>
#include <vector>

#include "simulator/PixelFormat.h"
#include "simulator/Scene.h"
#include "simulator/Tone.h"

namespace OrvexSim {

enum class TestPattern : uint8_t {
  Off,  // the scene
  Black,
  White,
  GreyHorizontalRamp,
  GreyVerticalRamp,
  GreyHorizontalRampMoving,
  GreyVerticalRampMoving,
  HorizontalLineMoving,
  VerticalLineMoving,
  ColorBar,
};

bool MovesByItself(TestPattern pattern);

struct PaintSettings {
  uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0;  // output pixels
  uint32_t binningX = 1, binningY = 1;
  bool sumX = false, sumY = false;  // binning adds up instead of averaging
  double brightness = 1.0;
  TestPattern pattern = TestPattern::Off;
  const PixelFormat* format = nullptr;
  std::shared_ptr<const ToneTable> tone;  // null: samples stay as they are
  bool operator==(const PaintSettings&) const = default;
};

// What a frame buffer holds from its last use, so that only differences are painted.
struct CanvasState {
  uint64_t generation = 0;  // of the still picture in it
  std::vector<Rect> painted;
};

class Painter {
 public:
  explicit Painter(std::shared_ptr<const Scene> scene) : m_scene(std::move(scene)) {}

  void SetScene(std::shared_ptr<const Scene> scene);  // counts from the next Configure on
  void Configure(const PaintSettings& settings);
  const PaintSettings& Settings() const { return m_settings; }
  size_t FrameBytes() const;
  // Paints frame number `frame` into `out` (FrameBytes() long).
  void Paint(uint64_t frame, std::span<uint8_t> out, CanvasState& state);

 private:
  void PaintRows(Rect area, uint64_t frame, const MovingParts* moving, std::span<uint8_t> out);
  void SceneRow(int64_t x, int64_t y, int64_t width, const MovingParts* moving,
                uint16_t* rgb) const;
  void PatternRow(int64_t x, int64_t y, int64_t width, uint64_t frame, uint16_t* rgb) const;
  std::vector<Rect> MovingAreas(const MovingParts& moving) const;

  std::shared_ptr<const Scene> m_scene;
  PaintSettings m_settings;
  bool m_changed = true;  // the scene, since the last Configure
  uint64_t m_generation = 0;
  std::vector<uint8_t> m_still;
};

}  // namespace OrvexSim
