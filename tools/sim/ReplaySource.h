#pragma once
// SPDX-License-Identifier: Apache-2.0
// A recording as the frames of a virtual camera. Threads as for FrameSource.

#include <array>
#include <string>
#include <vector>

#include "simulator/FrameSource.h"
#include "tools/recording/RecordingReader.h"

namespace OrvexTools {

class ReplaySource final : public OrvexSim::FrameSource {
 public:
  // Throws Failure when the file is no recording or holds no image.
  explicit ReplaySource(const std::string& file);

  std::size_t Count() const override { return m_images.size(); }
  std::size_t LargestFrame() const override { return m_largest; }
  OrvexSim::SourceFrame At(std::size_t index) override;

 private:
  // A frame and the next are looked at in turns, so two are kept.
  struct Loaded {
    std::size_t index = 0;
    bool valid = false;
    RecordHeader header;
    std::vector<std::uint8_t> data;
  };

  RecordingReader m_reader;
  std::vector<std::size_t> m_images;  // frames of the recording that a virtual camera can send
  std::size_t m_largest = 0;
  std::array<Loaded, 2> m_loaded;
};

}  // namespace OrvexTools
