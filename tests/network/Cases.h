#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a bad network does to a stream over a cable, one row each. The test suite runs each row for
// a moment, the benchmarks for thousands of frames.

#include "tests/network/Run.h"

namespace NetworkLab {

struct FaultCase {
  const char* name;
  uint32_t size;  // of the square Mono8 frames
  double frameRate;
  int packetSize;
  unsigned loseStream;  // millionths, by the network
  unsigned loseAcknowledges;
  std::vector<std::pair<std::string, std::string>> faults;  // of the camera
  double needlessRequests;  // most of them in a hundred frames; 0 = no bound
};

inline const std::vector<FaultCase>& FaultCases() {
  static const std::vector<FaultCase> s_cases = {
      {"Loss01Percent", 1024, 50, 1500, 1000, 0, {}, 0},
      {"Loss1Percent", 1024, 50, 1500, 10000, 0, {}, 0},
      {"Loss5Percent", 1024, 50, 1500, 50000, 0, {}, 0},
      {"Loss01PercentJumbo", 2048, 25, 9000, 1000, 0, {}, 0},
      {"Loss1PercentJumbo", 2048, 25, 9000, 10000, 0, {}, 0},
      {"Loss5PercentJumbo", 2048, 25, 9000, 50000, 0, {}, 0},
      {"Loss1PercentLostResends",
       1024,
       50,
       1500,
       0,
       0,
       {{"SimDropRate", "1"}, {"SimDropResentRate", "20"}},
       0},
      {"Loss1PercentBursts",
       1024,
       50,
       1500,
       0,
       0,
       {{"SimDropRate", "1"}, {"SimDropBurst", "20"}},
       0},
      {"LostAcknowledges", 1024, 50, 1500, 10000, 100000, {}, 0},
      {"Reordered8",
       1024,
       50,
       1500,
       0,
       0,
       {{"SimReorderRate", "1"}, {"SimReorderDistance", "8"}},
       2.5},
      {"Reordered60",
       1024,
       50,
       1500,
       0,
       0,
       {{"SimReorderRate", "1"}, {"SimReorderDistance", "60"}},
       2.5},
  };
  return s_cases;
}

inline Outcome RunFaultCase(const FaultCase& row, unsigned frames) {
  const Cable cable;
  if (row.loseStream != 0) cable.LoseStream(row.loseStream);
  if (row.loseAcknowledges != 0) cable.LoseAcknowledges(row.loseAcknowledges);
  OrvexSim::CameraOptions camera =
      PatternCamera(Cable::sk_camera, row.size, row.size, row.frameRate);
  camera.framesKept = 16;  // also on a busy machine it is the network that is tried
  // The network loses packets, not trains of them.
  camera.settings.emplace_back("SimSegmentationOffload", "0");
  camera.settings.insert(camera.settings.end(), row.faults.begin(), row.faults.end());
  const Child cameras = StartCameras(cable.Camera(), {camera});
  Plan plan;
  plan.frames = frames;
  plan.packetSize = row.packetSize;
  plan.compare = true;
  return ReceiveAway(cable.Host(), plan);
}

// As much as a gigabit holds, over a cable that has been shaped to one; `stock` leaves the receiver
// without rights beyond those of any user.
inline Outcome RunSlowLink(const Cable& cable, unsigned frames, bool stock) {
  OrvexSim::CameraOptions camera = PatternCamera(Cable::sk_camera, 1920, 1200, 50);
  camera.settings.emplace_back("SimSegmentationOffload", "0");
  // Nor does its own port send faster, even after the camera was late.
  camera.settings.emplace_back("DeviceLinkThroughputLimit", "125000000");
  camera.settings.emplace_back("DeviceLinkThroughputLimitMode", "On");
  const Child cameras = StartCameras(cable.Camera(), {camera});
  Plan plan;
  plan.frames = frames;
  plan.packetSize = 9000;
  plan.unprivileged = stock;
  return ReceiveAway(cable.Host(), plan);
}

}  // namespace NetworkLab
