#pragma once
// SPDX-License-Identifier: Apache-2.0
// A camera that sends the frames of a source, in their size and format and at their pace, again and
// again or once. Threads as for Model.

#include "simulator/FrameSource.h"
#include "simulator/Model.h"

namespace OrvexSim {

class Feature;

class ReplayModel : public Model {
 public:
  explicit ReplayModel(std::shared_ptr<FrameSource> source);
  std::string Name() const override { return "VirtualCamera Replay"; }
  void AddFeatures(CameraCore& camera) override;
  size_t PayloadBytes() const override { return m_source->LargestFrame(); }
  void TakeSettings() override {}
  void Paint(uint64_t frameNumber, Frame& frame) override;
  double PeriodUs(uint64_t frameNumber) override;
  uint64_t FrameLimit() const override;

 private:
  const std::shared_ptr<FrameSource> m_source;
  SourceFrame m_first;  // without its data
  Feature* m_timing = nullptr;
  Feature* m_loop = nullptr;
};

}  // namespace OrvexSim
