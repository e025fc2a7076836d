#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a camera remembers when it is switched off: user sets and their default, its name, its
// persistent address. A text file, one value a line; not trusted when it is read.

#include <string>
#include <vector>

#include "simulator/Feature.h"

namespace OrvexSim {

struct CameraState {
  std::vector<FeatureValues> userSets;  // without the factory's; lacking ones stay as they are
  std::string userName;
  int64_t defaultSet = 0;
  uint32_t ipConfiguration = 0, persistentIp = 0, persistentMask = 0, persistentGateway = 0;
};

// False when there is no such file. Throws std::invalid_argument when it is no state of a camera.
bool ReadState(const std::string& path, CameraState& state);
// Replaces the file as a whole. False when it cannot be written.
bool WriteState(const std::string& path, const CameraState& state);

}  // namespace OrvexSim
