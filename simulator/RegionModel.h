#pragma once
// SPDX-License-Identifier: Apache-2.0
// What all models with a rectangular picture share: size, offset, binning where the sensor has it,
// and the list of formats. Threads as for Model.

#include "simulator/Model.h"

namespace OrvexSim {

class Feature;
struct CameraOptions;
struct EnumEntry;

class RegionModel : public Model {
 public:
  struct Shape {
    uint32_t sensorWidth = 0, sensorHeight = 0;
    uint32_t width = 0, height = 0;  // start values
    bool binning = false;
  };
  void AddFeatures(CameraCore& camera) override;

 protected:
  explicit RegionModel(Shape shape) : m_shape(shape) {}
  // The formats offered; the first one is the start value.
  virtual std::vector<EnumEntry> FormatEntries() const = 0;
  // More rows for ImageFormatControl, behind PixelFormat.
  virtual void AddFormatFeatures(CameraCore& /*camera*/) {}

  int64_t WidthMax() const;
  int64_t HeightMax() const;
  uint32_t Width() const;
  uint32_t Height() const;
  uint32_t OffsetX() const;
  uint32_t OffsetY() const;
  uint32_t PixelFormatValue() const;
  // The position and size fields of a leader.
  GigEVision::ImageFields LeaderFields() const;

  const Shape m_shape;
  Feature* m_width = nullptr;
  Feature* m_height = nullptr;
  Feature* m_offsetX = nullptr;
  Feature* m_offsetY = nullptr;
  Feature* m_binningX = nullptr;  // null without binning
  Feature* m_binningY = nullptr;
  Feature* m_binningXMode = nullptr;
  Feature* m_binningYMode = nullptr;
  Feature* m_pixelFormat = nullptr;

 private:
  void AddBinning(CameraCore& camera);
  void TakeStartValues(const CameraOptions& options);
  void KeepInside();  // after binning or a user set: sizes and offsets that fit
};

}  // namespace OrvexSim
