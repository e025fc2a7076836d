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
};

// Null for an unknown name.
std::unique_ptr<Model> MakeModel(const std::string& name);
std::vector<std::string> ModelNames();

}  // namespace OrvexSim
