#pragma once
// SPDX-License-Identifier: Apache-2.0
// Fixture for tests that run `orvex` and the examples against virtual cameras started by `orvex
// sim`. Serial numbers hold the process number, so that cameras of other programs on this host do
// no harm.

#include <gmock/gmock.h>
#include <unistd.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "Processes.h"
#include "tests/Places.h"

namespace OrvexTest {

class WithCameras : public testing::Test {
 protected:
  WithCameras() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvex-tools-XXXXXX").string();
    m_folder = ::mkdtemp(pattern.data());
  }
  ~WithCameras() override { std::filesystem::remove_all(m_folder); }

  static std::filesystem::path OrvexProgram() {
    return std::filesystem::path(places::sk_binaryDir) / "bin/orvex";
  }

  // Starts cameras, with m_simOptions besides; returns when they answer.
  void StartCameras(int count = 1) {
    std::vector<std::string> arguments{
        "sim", "--cameras", std::to_string(count), "--address", "127.0.9.2", "--serial", m_serial};
    arguments.insert(arguments.end(), m_simOptions.begin(), m_simOptions.end());
    m_pCameras = std::make_unique<Process>(OrvexProgram(), arguments);
    ASSERT_TRUE(m_pCameras->WaitForOutput("ready", Seconds(20))) << m_pCameras->Err();
  }

  // Serial number of camera `index`, as `orvex sim` numbers several.
  std::string Serial(int index = 0) const {
    return index == 0 ? m_serial : m_serial + "-" + std::to_string(index + 1);
  }

  Result Orvex(std::vector<std::string> arguments, Seconds patience = Seconds(30)) {
    return RunToEnd(OrvexProgram(), std::move(arguments), patience, m_folder);
  }

  // Runs with --json, expects success and returns what was printed.
  nlohmann::json OrvexJson(std::vector<std::string> arguments) {
    arguments.emplace_back("--json");
    const Result result = Orvex(std::move(arguments));
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return nlohmann::json::parse(result.out, nullptr, false);
  }

  Result Example(const char* pName, std::vector<std::string> arguments) {
    return RunToEnd(std::filesystem::path(places::sk_binaryDir) / "examples" / pName,
                    std::move(arguments), Seconds(30), m_folder);
  }

  std::filesystem::path m_folder;
  std::vector<std::string> m_simOptions;
  std::string m_serial = "T" + std::to_string(::getpid());
  std::unique_ptr<Process> m_pCameras;
};

// One line on standard error, nothing on standard output, and that exit code.
MATCHER_P2(FailsWith, code, text, "") {
  *result_listener << "code " << arg.code << ", error text: " << arg.err;
  return arg.code == code && arg.err.starts_with("orvex: ") &&
         arg.err.find(text) != std::string::npos &&
         std::count(arg.err.begin(), arg.err.end(), '\n') == 1;
}

}  // namespace OrvexTest
