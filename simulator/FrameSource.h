#pragma once
// SPDX-License-Identifier: Apache-2.0
// Frames made elsewhere that a camera replays in place of a model's own: the seam for recordings
// and for programs that bring their own pictures. Give one to CameraOptions::source. A source
// belongs to one camera. After the camera was made, frames are asked for by its streaming thread
// alone; the numbers of them and of their bytes may be asked for by any thread and never change.

#include <cstddef>
#include <cstdint>
#include <span>

namespace OrvexSim {

struct SourceFrame {
  uint32_t pixelFormat = 0;  // any value of the naming convention, also compressed or own ones
  uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0;
  uint16_t paddingX = 0, paddingY = 0;
  uint64_t timestamp = 0;  // ns; only differences count, they set the pace
  // The image proper, without chunks: at most LargestFrame() bytes, valid until the next call.
  std::span<const uint8_t> data;
};

class FrameSource {
 public:
  virtual ~FrameSource() = default;
  virtual size_t Count() const = 0;         // at least 1
  virtual size_t LargestFrame() const = 0;  // bytes of data
  // The frame with this number, from 0 on; usually asked for in order. An empty frame (no data)
  // stands for one that cannot be had and is left out. Never throws.
  virtual SourceFrame At(size_t index) = 0;
  // Whether the bytes of a frame stay as they are and where they are: a camera need not take them
  // again then.
  virtual bool Immutable() const { return false; }
};

}  // namespace OrvexSim
