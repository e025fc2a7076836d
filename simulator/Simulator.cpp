// SPDX-License-Identifier: Apache-2.0
#include "simulator/Simulator.h"

#include <chrono>
#include <exception>
#include <ostream>
#include <stdexcept>
#include <thread>

#include "simulator/Limits.h"
#include "simulator/Network.h"
#include "simulator/VirtualCamera.h"

namespace OrvexSim {
namespace {

CameraOptions OptionsOf(const SimulatorOptions& options, unsigned index) {
  CameraOptions camera = options.camera;
  if (index == 0) return camera;
  camera.address = AddressText(ParseAddress(camera.address) + index);
  const std::string suffix = "-" + std::to_string(index + 1);
  if (!camera.serial.empty()) camera.serial += suffix;
  if (!camera.userName.empty()) camera.userName += suffix;
  return camera;
}

}  // namespace

int RunSimulator(const SimulatorOptions& options, std::ostream& out, std::ostream& err,
                 const std::atomic<bool>& stop) {
  std::vector<std::unique_ptr<VirtualCamera>> cameras;
  try {
    if (options.cameras == 0 || options.cameras > sk_maxCameras) {
      throw std::invalid_argument("the number of cameras must be from 1 to " +
                                  std::to_string(sk_maxCameras));
    }
    for (unsigned i = 0; i < options.cameras; ++i) {
      cameras.push_back(std::make_unique<VirtualCamera>(OptionsOf(options, i)));
    }
    for (const auto& camera : cameras) camera->Start();
  } catch (const std::exception& error) {
    err << "orvex sim: " << error.what() << "\n";
    return 1;
  }
  if (options.json) {
    out << "{\"cameras\":[";
    for (size_t i = 0; i < cameras.size(); ++i) {
      out << (i == 0 ? "" : ",") << "{\"address\":\"" << cameras[i]->Address() << "\",\"serial\":\""
          << cameras[i]->Serial() << "\",\"model\":\"" << cameras[i]->ModelName() << "\"}";
    }
    out << "]}\n";
  } else {
    for (const auto& camera : cameras) {
      out << camera->ModelName() << " " << camera->Serial() << " at " << camera->Address() << "\n";
    }
  }
  out.flush();
  const auto start = std::chrono::steady_clock::now();
  // A flag set by a signal handler cannot wake a condition variable, hence the short naps.
  while (!stop.load()) {
    if (options.seconds > 0 &&
        std::chrono::steady_clock::now() - start > std::chrono::duration<double>(options.seconds)) {
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return 0;
}

}  // namespace OrvexSim
