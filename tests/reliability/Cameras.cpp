// SPDX-License-Identifier: Apache-2.0
#include "Cameras.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace Reliability {
namespace {

std::size_t Entries(const char* folder) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

}  // namespace

Holdings Holdings::Now() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;  // the second number: resident
  return {Entries("/proc/self/task"), Entries("/proc/self/fd"),
          pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))};
}

std::string AddressOf(std::size_t index) {
  return "127.0.11." + std::to_string(index + 2);
}

Cameras StartCameras(std::size_t count) {
  Cameras cameras;
  for (std::size_t i = 0; i < count; ++i) {
    OrvexSim::CameraOptions options;
    options.address = AddressOf(i);
    options.width = 320;
    options.height = 240;
    options.frameRate = 100;
    cameras.push_back(std::make_unique<OrvexSim::VirtualCamera>(options));
    cameras.back()->Start();
  }
  return cameras;
}

Orvex::IDevice* OpenAt(Orvex::ISystem& system, const std::string& address) {
  for (Orvex::DeviceInfo info : system.GetDevices()) {
    if (info.IpAddressStr() == address.c_str()) return system.CreateDevice(info);
  }
  return nullptr;
}

}  // namespace Reliability
