#pragma once
// SPDX-License-Identifier: Apache-2.0
// Programs run as a user runs them: started with arguments, their output and exit code collected,
// ended by a signal. Each object owns one process and ends it when it goes out of scope.

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace OrvexTest {

using Seconds = std::chrono::duration<double>;

class Process {
 public:
  // Starts `program` in `folder`; its output goes to files that are read below.
  Process(const std::filesystem::path& program, std::vector<std::string> arguments,
          const std::filesystem::path& folder = std::filesystem::temp_directory_path());
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // True when standard output holds the text before the time is over or the process ends.
  bool WaitForOutput(const std::string& text, Seconds patience);

  // Exit code, 128 + the signal that ended it, or -1 when it still runs after that time.
  int Wait(Seconds patience);

  void Signal(int signalNumber);

  std::string Out() const;
  std::string Err() const;

 private:
  std::filesystem::path m_outName;
  std::filesystem::path m_errName;
  pid_t m_id = -1;
  int m_exitCode = -1;
};

// What a finished program left.
struct Result {
  int code = -1;
  std::string out;
  std::string err;
  Seconds time{};
};

// Runs to the end, at most `patience`.
Result RunToEnd(const std::filesystem::path& program, std::vector<std::string> arguments,
                Seconds patience = Seconds(30),
                const std::filesystem::path& folder = std::filesystem::temp_directory_path());

}  // namespace OrvexTest
