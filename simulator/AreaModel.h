#pragma once
// SPDX-License-Identifier: Apache-2.0
// The area-scan camera: a global-shutter sensor that looks at the chart, or at pictures, whose size
// it then has. Threads as for Model.

#include "simulator/Pictures.h"
#include "simulator/RegionModel.h"

namespace OrvexSim {

class AreaModel : public RegionModel {
 public:
  explicit AreaModel(std::unique_ptr<PictureFolder> pictures = nullptr);
  std::string Name() const override { return "VirtualCamera Area"; }
  void AddFeatures(CameraCore& camera) override;
  size_t PayloadBytes() const override;
  void TakeSettings() override;
  void Paint(uint64_t frameNumber, Frame& frame) override;

 protected:
  std::vector<EnumEntry> FormatEntries() const override;
  void AddFormatFeatures(CameraCore& camera) override;
  // The format that frames are painted in.
  virtual const PixelFormat* PaintedFormat() const;

 private:
  Feature* m_pattern = nullptr;
  Feature* m_exposure = nullptr;
  Feature* m_gain = nullptr;
  Tone m_tone;
  PaintSettings m_settings;  // taken under the lock, used by the streaming thread
  GigEVision::ImageFields m_fields;
  // Streaming thread only.
  void PaintPicture(uint64_t frameNumber, Frame& frame);
  std::unique_ptr<PictureFolder> m_pictures;  // null: the chart
  Painter m_painter;
  std::map<size_t, std::vector<uint8_t>> m_painted;  // of pictures, with the painter's settings
  size_t m_paintedBytes = 0;
};

}  // namespace OrvexSim
