#pragma once
// SPDX-License-Identifier: Apache-2.0
// How long a command streams, in which format, and when it gives up: options that several commands
// share.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <string>

namespace OrvexTools {

struct RunOptions {
  double seconds = 0;        // 0: without limit
  std::uint64_t frames = 0;  // 0: without limit
  std::string format;        // empty: the camera's own
  double patienceSeconds = 5;

  std::chrono::milliseconds Patience() const {
    return std::chrono::milliseconds(static_cast<std::int64_t>(patienceSeconds * 1000));
  }
  // Whether a run that has lasted `time` and brought so many frames is at its end.
  bool AreOver(std::chrono::duration<double> time, std::uint64_t framesSoFar) const {
    return (seconds > 0 && time.count() >= seconds) || (frames > 0 && framesSoFar >= frames);
  }
};

// `--seconds`, `--frames`, `--format`, `--timeout`
void AddRunOptions(CLI::App& command, RunOptions& options);

}  // namespace OrvexTools
