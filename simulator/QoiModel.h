#pragma once
// SPDX-License-Identifier: Apache-2.0
// An area camera that compresses its pictures. Blocks are of the payload type image with one of the
// compressed pixel formats, and shorter than PayloadSize, which is the largest size possible.
// Threads as for Model.

#include "simulator/AreaModel.h"

namespace OrvexSim {

// Null for a format of other models.
const char* QoiFormatName(uint32_t value);

class QoiModel : public AreaModel {
 public:
  using AreaModel::AreaModel;
  std::string Name() const override { return "VirtualCamera Qoi"; }
  size_t PayloadBytes() const override;
  void Paint(uint64_t frameNumber, Frame& frame) override;

 protected:
  std::vector<EnumEntry> FormatEntries() const override;
  const PixelFormat* PaintedFormat() const override;

 private:
  Frame m_plain;  // streaming thread only
};

}  // namespace OrvexSim
