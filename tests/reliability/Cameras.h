#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the reliability programs share: virtual cameras in this process, the library over real
// sockets, and the measure of what a process holds.

#include <Orvex.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "simulator/VirtualCamera.h"

namespace Reliability {

// Threads and open files of this process, and the memory that it occupies.
struct Holdings {
  std::size_t threads = 0;
  std::size_t files = 0;
  std::size_t bytes = 0;

  static Holdings Now();
  bool SameHandles(const Holdings& other) const {
    return threads == other.threads && files == other.files;
  }
};

using Cameras = std::vector<std::unique_ptr<OrvexSim::VirtualCamera>>;

// That many small and fast cameras, at 127.0.11.2 and after, started.
Cameras StartCameras(std::size_t count);

// "127.0.11.2" for camera 0.
std::string AddressOf(std::size_t index);

// The device of the camera at that address among those found; null when it was not found.
Orvex::IDevice* OpenAt(Orvex::ISystem& system, const std::string& address);

}  // namespace Reliability
