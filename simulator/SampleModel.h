#pragma once
// SPDX-License-Identifier: Apache-2.0
// Cameras whose pixels are no plain picture: polarised sensors, several sensors behind one another,
// 3D. One row a kind of camera: its formats and a function that computes the samples of a pixel
// from a scene that is known exactly. A cycle of frames is computed for each setting and then
// repeated. Threads as for Model.

#include <string>

#include "simulator/RegionModel.h"

namespace OrvexSim {

struct SampleFormat {
  std::string name;
  uint32_t value = 0;
  uint8_t bits = 0;  // of each sample
  Packing packing = Packing::Bits8;
  uint8_t samples = 1;  // of each pixel
  uint16_t kind = 0;    // what they are, for the model's own function
};

// Writes the samples (16-bit full scale) of one pixel. `phase` counts the frames of the cycle.
using SampleFunction = void (*)(const SampleFormat& format, uint32_t phase, uint32_t x, uint32_t y,
                                uint16_t* samples);

struct SampleModelRow {
  const char* option;  // name among the models
  const char* name;    // as the camera reports it
  uint32_t sensorWidth, sensorHeight, width, height;
  std::vector<SampleFormat> (*formats)();
  SampleFunction sample;
  void (*addFeatures)(CameraCore& camera);  // or null
};
inline constexpr uint32_t sk_samplePhases = 8;

// The kinds of camera: PolarisedModel.cpp, MultiSensorModel.cpp, DepthModel.cpp.
extern const SampleModelRow sk_polarisedModel, sk_dualModel, sk_quadModel, sk_depthModel;

class SampleModel : public RegionModel {
 public:
  explicit SampleModel(const SampleModelRow& row);
  std::string Name() const override { return m_row.name; }
  void AddFeatures(CameraCore& camera) override;
  size_t PayloadBytes() const override;
  void TakeSettings() override;
  void Paint(uint64_t frameNumber, Frame& frame) override;

 protected:
  std::vector<EnumEntry> FormatEntries() const override;

 private:
  const SampleFormat& Format(uint32_t value) const;

  const SampleModelRow& m_row;
  const std::vector<SampleFormat> m_formats;
  GigEVision::ImageFields m_fields;   // taken under the lock, used by the streaming thread
  GigEVision::ImageFields m_painted;  // what the cycle was computed for
  std::vector<uint8_t> m_cycle[sk_samplePhases];
};

}  // namespace OrvexSim
