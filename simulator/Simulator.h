#pragma once
// SPDX-License-Identifier: Apache-2.0
// The program around virtual cameras: makes a row of them, prints what it made, runs until told to
// stop.

#include <atomic>
#include <iosfwd>

#include "simulator/CameraOptions.h"

namespace OrvexSim {

struct SimulatorOptions {
  // The first camera; the others have the following addresses, and serial number and user name with
  // "-2", "-3", ... behind.
  CameraOptions camera;
  unsigned cameras = 1;
  bool json = false;   // print one JSON object instead of lines
  double seconds = 0;  // run this long; 0 = until `stop`
};

// Returns when `stop` becomes true (from any thread or signal handler; noticed within 100 ms) or
// the time is over. Returns 0, or 1 after one line on `err` when a camera cannot be made.
int RunSimulator(const SimulatorOptions& options, std::ostream& out, std::ostream& err,
                 const std::atomic<bool>& stop);

}  // namespace OrvexSim
