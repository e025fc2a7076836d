// SPDX-License-Identifier: Apache-2.0
#include "tools/RunOptions.h"

namespace OrvexTools {

void AddRunOptions(CLI::App& command, RunOptions& options) {
  command.add_option("--seconds", options.seconds, "Stop after so many seconds")
      ->check(CLI::Range(0.1, 1e7));
  command.add_option("--frames", options.frames, "Stop after so many frames")
      ->check(CLI::PositiveNumber);
  command.add_option("--format", options.format,
                     "Pixel format that the camera is to send; it gets its own back after");
  command
      .add_option("--timeout", options.patienceSeconds,
                  "Seconds without a frame after which to give up")
      ->check(CLI::Range(0.1, 86'400.0))
      ->capture_default_str();
}

}  // namespace OrvexTools
