#pragma once
// SPDX-License-Identifier: Apache-2.0
// The area-scan camera: a global-shutter sensor that looks at the chart. Also the base of models
// that differ only in what their pixels mean. Threads as for Model.

#include "simulator/Model.h"

namespace OrvexSim {

class Feature;

class AreaModel : public Model {
 public:
  AreaModel();
  std::string Name() const override { return "VirtualCamera Area"; }
  void AddFeatures(CameraCore& camera) override;
  size_t PayloadBytes() const override;
  void TakeSettings() override;
  void Paint(uint64_t frameNumber, Frame& frame) override;

 private:
  void AddFormatFeatures(CameraCore& camera);
  void KeepInside();  // after binning or a user set: sizes and offsets that fit
  int64_t WidthMax() const;
  int64_t HeightMax() const;

  Feature* m_width = nullptr;
  Feature* m_height = nullptr;
  Feature* m_offsetX = nullptr;
  Feature* m_offsetY = nullptr;
  Feature* m_binningX = nullptr;
  Feature* m_binningY = nullptr;
  Feature* m_binningXMode = nullptr;
  Feature* m_binningYMode = nullptr;
  Feature* m_pixelFormat = nullptr;
  Feature* m_pattern = nullptr;
  Feature* m_exposure = nullptr;
  Feature* m_gain = nullptr;
  PaintSettings m_settings;  // taken under the lock, used by the streaming thread
  Painter m_painter;
};

}  // namespace OrvexSim
