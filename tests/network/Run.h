#pragma once
// SPDX-License-Identifier: Apache-2.0
// One stream from a virtual camera to the whole library, each in a process of its own, and what
// came of it.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "simulator/CameraOptions.h"
#include "tests/network/Lab.h"

namespace Orvex {
class IDevice;
}

namespace NetworkLab {

// Cameras that answer until the child ends.
Child StartCameras(int nameSpace, const std::vector<OrvexSim::CameraOptions>& cameras);

// The camera at the other end, or at an address of loopback: Mono8 frames of a known pattern,
// ready made, so that making them costs next to nothing.
OrvexSim::CameraOptions PatternCamera(const std::string& address, uint32_t width, uint32_t height,
                                      double frameRate);

struct Plan {
  std::string address = Cable::sk_camera;  // of the camera
  unsigned frames = 100;
  double seconds = 1e9;  // at most, from the first frame on
  unsigned warmUp = 0;   // frames in front that do not count
  unsigned buffers = 20;
  int packetSize = 0;         // 0 = found out
  std::string engine;         // of StreamEngineMode, empty = its own choice
  bool latency = false;       // watch the packets' arrival as well; needs CAP_NET_RAW
  bool growth = false;        // watch the memory
  bool unprivileged = false;  // without any rights on the network
  bool compare = false;       // each frame with the pattern, byte by byte
  // Features of the camera and nodes of the stream, set before the start.
  std::vector<std::pair<std::string, std::string>> features, nodes;
};

// Trivially copyable, for the way between processes.
struct Outcome {
  bool failed = false;
  char failure[240] = "";
  unsigned frames = 0, incomplete = 0, wrong = 0, timeouts = 0;
  uint64_t bytes = 0;
  double seconds = 0;     // from the first to the last frame
  double cpuSeconds = 0;  // of the receiving process meanwhile
  // Nodes of the stream at the end.
  int64_t lostPackets = 0, requests = 0, requestedPackets = 0, resent = 0, duplicates = 0, late = 0,
          reordered = 0, missedFrames = 0, lostFrames = 0, refused = 0, socketDrops = 0,
          packets = 0, engine = 0, packetSize = 0;
  unsigned latencies = 0;
  double latencyMedian = 0, latencyHigh = 0;  // us; the second is the 99th percentile
  double memoryGrowth = 0;                    // bytes of the second half of the run
  uint64_t firstId = 0, lastId = 0;
};

// Receives in this process: for a child's body.
Outcome Receive(const Plan& plan);
// The same in a process of its own.
Outcome ReceiveAway(int nameSpace, const Plan& plan);

// Several cameras in one process, a thread each; the sum of what came, with the last one's nodes.
Outcome ReceiveMany(const std::vector<Plan>& plans);

// The seconds that so many reads of one register take, each over the wire.
double ReadRegisters(const std::string& address, unsigned count);

// A stream whose cable is pulled for a while.
struct Pull {
  bool whole = false;  // streamed before and after
  double secondsToNotice = 0, secondsToTearDown = 0;
  char failure[240] = "";
};
Pull PullCable(double seconds);

}  // namespace NetworkLab
