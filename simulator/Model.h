#pragma once
// SPDX-License-Identifier: Apache-2.0
// What distinguishes one kind of camera from another: its own features and the frames it makes. A
// model is owned by its camera. AddFeatures, PayloadBytes and TakeSettings run under the camera's
// lock, Paint on the streaming thread without it.

#include <memory>
#include <string>
#include <vector>

#include "simulator/Frame.h"

namespace OrvexSim {

class CameraCore;
struct CameraOptions;

class Model {
 public:
  virtual ~Model() = default;
  virtual std::string Name() const = 0;  // as the camera reports it
  virtual void AddFeatures(CameraCore& camera) = 0;
  virtual size_t PayloadBytes() const = 0;  // of one frame, without chunks
  // Copies what Paint needs out of the features; called before each frame.
  virtual void TakeSettings() = 0;
  // Fills data (resized to fit), imageBytes, payloadType and image.
  virtual void Paint(uint64_t frameNumber, Frame& frame) = 0;
  // Time from this frame to the next where the model itself sets the pace, else 0; under the lock.
  virtual double PeriodUs(uint64_t /*frameNumber*/) { return 0; }
  // Frames after which an acquisition ends by itself; 0 = never.
  virtual uint64_t FrameLimit() const { return 0; }
};

// Null for an unknown name. Throws std::invalid_argument for options that the model cannot follow.
std::unique_ptr<Model> MakeModel(const CameraOptions& options);
std::vector<std::string> ModelNames();
// The name of any format that some model sends; "Format" and the number for others.
std::string PixelFormatName(uint32_t value);

}  // namespace OrvexSim
