#pragma once
// SPDX-License-Identifier: Apache-2.0
// An event sensor before which a bright disc moves in a circle, once in two seconds. A block holds
// the events of one frame period as EVT 3.0 words, begun by the edge of an external trigger. Blocks
// are raw payload of varying size, never above PayloadSize. Threads as for Model.

#include "simulator/RegionModel.h"

namespace OrvexSim {

class EventModel : public RegionModel {
 public:
  EventModel();
  std::string Name() const override { return "VirtualCamera Event"; }
  void AddFeatures(CameraCore& camera) override;
  size_t PayloadBytes() const override;
  void TakeSettings() override;
  void Paint(uint64_t frameNumber, Frame& frame) override;

  // The columns of row y that the disc covers at this time (microseconds); first = last when it
  // covers none.
  struct Span {
    int64_t first = 0, last = 0;
  };
  static Span Disc(uint64_t time, int64_t y);

 protected:
  std::vector<EnumEntry> FormatEntries() const override;

 private:
  Feature* m_frameRate = nullptr;
  Feature* m_limitEnable = nullptr;
  Feature* m_limit = nullptr;
  // Taken under the lock, used by the streaming thread.
  uint64_t m_periodUs = 0;
  size_t m_maxEvents = 0;
  GigEVision::ImageFields m_fields;
};

}  // namespace OrvexSim
