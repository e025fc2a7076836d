// SPDX-License-Identifier: Apache-2.0
// The logger: which records leave, how they are written, and what its configuration starts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Orvex/ALogger.h"

namespace {

namespace fs = std::filesystem;
using namespace Orvex;

// A folder of its own as the current one, for configuration and files, and ports of its own: the
// cases run beside each other, each in a process.
class Logging : public testing::Test {
 protected:
  Logging()
      : m_before(fs::current_path()),
        m_folder(fs::temp_directory_path() / ("orvex-logger-" + std::to_string(::getpid()))) {
    fs::remove_all(m_folder);
    fs::create_directory(m_folder);
    fs::current_path(m_folder);
  }
  ~Logging() override {
    fs::current_path(m_before);
    fs::remove_all(m_folder);
  }

  static void Configure(bool console, bool json, bool file, int level = 400) {
    const auto text = [](bool value) { return value ? "true" : "false"; };
    const int port = 20000 + ::getpid() % 4000 * 3;
    std::ofstream("tavik_log.conf")
        << "{\"ports\": {\"orvex_in\": " << port << ", \"orvex_out\": " << port + 1
        << ", \"qx_in\": " << port + 2 << "},\n"
        << "\"levels\": {\"orvex\": " << level << "},\n"
        << "\"logging\": {\"console\": " << text(console) << ", \"json\": " << text(json)
        << ", \"file\": " << text(file) << "}}\n";
  }

  // The one file whose name matches; waits for it to hold the text.
  std::string FileWith(const std::string& name, const std::string& text) const {
    const testing::Matcher<std::string> wanted = testing::MatchesRegex(name);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    std::string content;
    do {
      for (const auto& entry : fs::directory_iterator(m_folder)) {
        if (!wanted.Matches(entry.path().filename().string())) continue;
        std::stringstream stream;
        stream << std::ifstream(entry.path()).rdbuf();
        content = stream.str();
      }
    } while (content.find(text) == std::string::npos &&
             std::chrono::steady_clock::now() < deadline);
    return content;
  }

  fs::path m_before, m_folder;
};

TEST_F(Logging, IsOffWithoutAConfiguration) {
  {
    ALogger logger;
    EXPECT_EQ(ALogger::SendLog({{"level", 100}}), 0);
  }
  EXPECT_TRUE(fs::is_empty(m_folder));
}

TEST_F(Logging, IsOffWithABadConfiguration) {
  Configure(false, false, false);
  const nlohmann::json good = nlohmann::json::parse(std::ifstream("tavik_log.conf"));
  std::vector<std::string> texts{"", "no json", "[1, 2]", "7"};
  for (const char* path : {"/ports", "/ports/orvex_in", "/ports/orvex_out", "/ports/qx_in",
                           "/levels/orvex", "/logging", "/logging/console"}) {
    for (const nlohmann::json& value :
         {nlohmann::json(), nlohmann::json("1"), nlohmann::json(1000000000000),
          nlohmann::json(-1000000000000)}) {
      nlohmann::json bad = good;
      bad[nlohmann::json::json_pointer(path)] = value;
      texts.push_back(bad.dump());
    }
  }
  for (const std::string& text : texts) {
    std::ofstream("tavik_log.conf", std::ios::trunc) << text;
    ALogger logger;
    EXPECT_EQ(ALogger::SendLog({{"level", 100}}), 0) << text;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(m_folder), {}), 1) << "only the configuration";
}

TEST_F(Logging, WritesTextAndJsonFiles) {
  Configure(false, true, true);
  {
    ALogger logger;
    ALogger::Info("S0001", "first");
    ALogger::Debug("kept back");
    ALogger::Error("second \"quoted\"");
    EXPECT_NE(FileWith("orvex_[0-9]{14}\\.log", "second").find("first"), std::string::npos);
    FileWith("orvex_[0-9]{14}\\.log\\.json", "second");
  }
  const std::string text = FileWith("orvex_[0-9]{14}\\.log", "second");
  EXPECT_THAT(text, testing::MatchesRegex(
                        "\\[ [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} \\] :: \\[ \\.\\.\\.INFO \\] :: "
                        "\\[ \\.\\.\\.\\.Orvex \\] \\|\\|>  \\(S0001\\) first\n"
                        "\\[ [0-9:]{8}\\.[0-9]{3} \\] :: \\[ \\.\\.ERROR \\] :: "
                        "\\[ \\.\\.\\.\\.Orvex \\] \\|\\|>  second \"quoted\"\n"));
  const auto json = nlohmann::json::parse(FileWith("orvex_[0-9]{14}\\.log\\.json", "second"));
  ASSERT_EQ(json.size(), 2u);
  EXPECT_EQ(json[0]["userid"], "S0001");
  EXPECT_EQ(json[0]["level"], 400);
  EXPECT_EQ(json[1]["module"], "Orvex");
  EXPECT_EQ(json[1]["message"], "second \"quoted\"");
}

// Two programs in one folder: the second finds the port taken, and still keeps its own log.
TEST_F(Logging, WritesItsOwnRecordsWhereAnotherProcessHasThePort) {
  Configure(false, false, true);
  const int port = nlohmann::json::parse(std::ifstream("tavik_log.conf"))["ports"]["orvex_in"];
  const int taken = ::socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(::bind(taken, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  {
    ALogger logger;
    for (int i = 0; i < 3000; ++i) ALogger::Info("record " + std::to_string(i) + ".");
    ALogger::Error("no UTF-8: \xFF");
  }
  ::close(taken);
  const std::string text = FileWith("orvex_[0-9]{14}\\.log", "no UTF-8");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3001);
  EXPECT_NE(text.find("record 2999.\n"), std::string::npos);
}

TEST_F(Logging, WritesTheLastWordsOfAProcessThatClosesNothing) {
  Configure(false, true, true);
  const auto speakAndEnd = [] {
    [[maybe_unused]] static const ALogger* volatile s_pLogger;
    s_pLogger = new ALogger;  // never destroyed, never lost to the leak checker either
    for (int i = 0; i < 500; ++i) ALogger::Info("word " + std::to_string(i) + ".");
    std::exit(3);
  };
  EXPECT_EXIT(speakAndEnd(), testing::ExitedWithCode(3), "");
  EXPECT_NE(FileWith("orvex_[0-9]{14}\\.log", "word 499.").find("word 0."), std::string::npos);
  const auto json = nlohmann::json::parse(FileWith("orvex_[0-9]{14}\\.log\\.json", "\n]"));
  EXPECT_EQ(json.back()["message"], "word 499.");
}

TEST_F(Logging, WritesToTheConsole) {
  Configure(true, false, false, 600);
  testing::internal::CaptureStdout();
  {
    ALogger logger;
    ALogger::Verbose("seen");
    // What the transport hands over is written; it need not be a record.
    logger.OnLog("{\"no\": \"record\"}");
    logger.OnLog(R"({"userid":"","message":"direct","level":7,"module":"M","timestamp":"1005"})");
  }
  const std::string text = testing::internal::GetCapturedStdout();
  EXPECT_NE(text.find(".005 ] :: [ ..NOLOG ] :: [ ........M ] ||>  direct\n"), std::string::npos)
      << text;
}

}  // namespace
