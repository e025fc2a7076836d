#pragma once
// SPDX-License-Identifier: Apache-2.0
// How a virtual camera is to be: what it is called, where it lives, what it starts with. Plain
// values.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace OrvexSim {

class FrameSource;  // simulator/FrameSource.h

struct CameraOptions {
  std::string address = "127.0.0.2";  // IPv4, of loopback or of one of this machine's interfaces
  std::string model = "area";         // one of ModelNames()
  std::string serial;                 // empty: made of the address
  std::string userName;
  double frameRate = 30.0;         // Hz, the start value of AcquisitionFrameRate
  std::string pixelFormat;         // start value; empty: the model's own
  uint32_t width = 0, height = 0;  // start values; 0: the model's own
  uint32_t maxPacketSize = 9000;   // of GevSCPSPacketSize
  uint32_t pathLimit = 0;          // stream packets larger than this vanish on the way; 0 = none do
  uint64_t throughputLimit =
      400'000'000;          // bytes a second, start value of DeviceLinkThroughputLimit
  uint32_t framesKept = 8;  // for resends
  // A description file (.xml or .zip) to serve in place of the camera's own, as it is. All
  // registers but those of the standard are plain memory then.
  std::string descriptionFile;
  // A folder of PNG or TIFF pictures that the models area and qoi look at in place of the chart.
  std::string pictures;
  // A file that keeps user sets, the user-defined name and the persistent address while the camera
  // is off; made when something is to be kept. Empty: they are forgotten.
  std::string stateFile;
  // Frames to be replayed in place of the model's.
  std::shared_ptr<FrameSource> source;
  // Start values of any features, by name, as texts: {"SimDropRate", "1"}.
  std::vector<std::pair<std::string, std::string>> settings;
};

}  // namespace OrvexSim
