// SPDX-License-Identifier: Apache-2.0
// Commands that reach further than one camera: log records of other processes, action commands, and
// cameras that are asked directly.
#include <arpa/inet.h>
#include <signal.h>
#include <sys/socket.h>

#include <fstream>
#include <sstream>

#include "WithCameras.h"

namespace OrvexTest {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class LogCommand : public WithCameras {
 protected:
  static constexpr int sk_port = 45341;

  // For programs of this folder; records go to `orvex log`.
  void Configure() {
    const json configuration{
        {"ports", {{"orvex_in", sk_port + 1}, {"orvex_out", sk_port + 2}, {"qx_in", sk_port}}},
        {"levels", {{"orvex", 600}}},
        {"logging", {{"console", false}, {"json", false}, {"file", true}}}};
    std::ofstream(m_folder / "tavik_log.conf") << configuration;
  }

  static void Send(const std::string& datagram) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(sk_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::sendto(fd, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&address),
             sizeof(address));
    ::close(fd);
  }
  static std::string RecordOf(int level, const std::string& message) {
    return json{{"userid", "S7"},
                {"message", message},
                {"level", level},
                {"module", "Test"},
                {"timestamp", "1700000000123"}}
        .dump();
  }
  // Datagrams to a port that nobody has opened yet are lost, so it is sent until the reader ends.
  static void SendUntilEnd(Process& reader, const std::vector<std::string>& datagrams) {
    for (int i = 0; i < 300 && reader.Wait(Seconds(0.1)) < 0; ++i) {
      for (const std::string& datagram : datagrams) Send(datagram);
    }
  }
};

TEST_F(LogCommand, ShowsRecordsUpToALevelAndNothingElse) {
  Process reader(OrvexProgram(),
                 {"log", "--port", std::to_string(sk_port), "--level", "warning", "-n", "2"});
  SendUntilEnd(reader, {"", "[[[[", std::string(60000, '{'), RecordOf(400, "too much"),
                        RecordOf(300, "a \x1b[31mtrick\nof two lines")});
  ASSERT_EQ(reader.Wait(Seconds(5)), 0) << reader.Err();
  std::istringstream lines(reader.Out());
  for (int i = 0; i < 2; ++i) {
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_THAT(line, HasSubstr(".123 ] :: [ WARNING ] :: [ .....Test ] ||>  (S7) a "
                                "\\x1b[31mtrick\\nof two lines"));
  }
  EXPECT_THAT(reader.Out(), Not(HasSubstr("too much")));
}

TEST_F(LogCommand, ShowsWhatTheLibrarySaysInAnotherProcess) {
  Configure();
  m_simOptions = {"--model", "event"};
  StartCameras();
  Process reader(OrvexProgram(), {"log", "--json", "-n", "1"}, m_folder);
  for (int i = 0; i < 20 && reader.Wait(Seconds(0)) < 0; ++i) {
    EXPECT_EQ(Orvex({"stream", Serial(), "--frames", "3"}).code, 0);
  }
  ASSERT_EQ(reader.Wait(Seconds(5)), 0) << reader.Err();
  const json record = json::parse(reader.Out());
  EXPECT_EQ(record["level_name"], "INFO");
  EXPECT_EQ(record["module"], "Orvex");
  EXPECT_THAT(record["message"].get<std::string>(), HasSubstr("image buffers of size"));
}

TEST_F(LogCommand, NeedsAPortThatIsFree) {
  EXPECT_THAT(Orvex({"log"}), FailsWith(2, "there is none here"));
  std::ofstream(m_folder / "tavik_log.conf") << "{\"ports\": {\"qx_in\": 70000}}";
  EXPECT_THAT(Orvex({"log"}), FailsWith(2, "the one here does not"));
  EXPECT_THAT(Orvex({"log", "--port", "1", "--level", "loud"}), FailsWith(2, "no level 'loud'"));
  Process reader(OrvexProgram(), {"log", "--port", std::to_string(sk_port)});
  for (int i = 0; i < 300 && reader.Out().empty(); ++i) {
    Send(RecordOf(100, "here"));
    EXPECT_EQ(reader.Wait(Seconds(0.1)), -1);
  }
  EXPECT_THAT(Orvex({"log", "--port", std::to_string(sk_port)}), FailsWith(1, "is taken"));
  reader.Signal(SIGINT);
  EXPECT_EQ(reader.Wait(Seconds(10)), 0);
}

class ActionCommand : public WithCameras {};

TEST_F(ActionCommand, MakesTheCamerasThatAreMeantTakeAFrame) {
  m_simOptions = {"--set", "TriggerSource=Action0", "--set", "TriggerMode=On"};
  StartCameras();
  for (const auto& [feature, value] :
       {std::pair{"ActionDeviceKey", "17"}, {"ActionGroupKey", "34"}, {"ActionGroupMask", "3"}})
    ASSERT_EQ(Orvex({"set", Serial(), feature, value}).code, 0) << feature;
  const auto act = [this](const char* deviceKey, const char* mask) {
    return Orvex(
        {"action", Serial(), "--device-key", deviceKey, "--group-key", "34", "--group-mask", mask});
  };
  EXPECT_EQ(act("17", "2").code, 0);
  EXPECT_THAT(act("18", "3"), FailsWith(1, "did not obey"));
  EXPECT_THAT(act("17", "4"), FailsWith(1, "did not obey"));
  // Whoever sends may hold a camera for a moment that the stream is about to open: then once more.
  int code = 1;
  for (int attempt = 0; attempt < 5 && code != 0; ++attempt) {
    Process stream(OrvexProgram(), {"stream", Serial(), "--frames", "2", "--timeout", "60"});
    for (int i = 0; i < 50 && (code = stream.Wait(Seconds(0.5))) < 0; ++i) {
      const Result all = Orvex({"action", Serial(), "--all", "--device-key", "17", "--group-key",
                                "34", "--group-mask", "1"});
      EXPECT_THAT(all.out, HasSubstr("sent: device key 0x11")) << all.err;
    }
  }
  EXPECT_EQ(code, 0);
}

class UnicastCommand : public WithCameras {};

TEST_F(UnicastCommand, TellsWhoAnswers) {
  StartCameras();
  const json rows = OrvexJson({"unicast", "127.0.9.2"});
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0]["serial"], Serial());
  EXPECT_THAT(Orvex({"unicast", "127.0.9.2", "127.0.9.99"}), AllOf(FailsWith(1, "1 of 2")));
  EXPECT_THAT(Orvex({"unicast", "0.0.0.0"}), FailsWith(2, "no address of a single camera"));
  EXPECT_THAT(Orvex({"unicast", "camera"}), FailsWith(2, "no IPv4 address"));
}

}  // namespace
}  // namespace OrvexTest
