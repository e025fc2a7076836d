// SPDX-License-Identifier: Apache-2.0
// Commands that measure, record and transfer, as a user runs them against virtual cameras.
#include <signal.h>

#include <fstream>
#include <map>
#include <set>

#include "WithCameras.h"

namespace OrvexTest {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

class Recordings : public WithCameras {
 protected:
  void StartSmallCamera() {
    m_simOptions = {"--width", "320", "--height", "240", "--frame-rate", "60", "--format", "Mono8"};
    StartCameras();
  }
};

TEST_F(Recordings, AreReplayedAsPicturesAndByAVirtualCamera) {
  StartSmallCamera();
  const json made = OrvexJson({"record", Serial(), "--frames", "20", "-o", "a.rec"});
  EXPECT_EQ(made["frames"], 20);
  EXPECT_EQ(made["dropped_frames"], 0);
  EXPECT_THAT(Orvex({"record", Serial(), "--frames", "1", "-o", "a.rec"}),
              FailsWith(1, "choose another name"));
  const json told = OrvexJson({"replay", "a.rec", "-o", "pictures", "--kind", "raw"});
  EXPECT_EQ(told["frames"], 20);
  EXPECT_EQ(told["serial"], Serial());
  EXPECT_EQ(told["features"]["PixelFormat"], "Mono8");
  EXPECT_EQ(told["whole"], true);
  EXPECT_EQ(told["saved"], 20);
  EXPECT_EQ(OrvexJson({"replay", "a.rec", "-o", "p", "--first", "3", "-n", "2"})["saved"], 2);
  EXPECT_TRUE(std::filesystem::exists(m_folder / "p/frame-000004.png"));
  EXPECT_EQ(OrvexJson({"replay", "a.rec", "--list"})[7]["width"], 320);

  // The camera of a recording sends exactly its pixels.
  m_pCameras.reset();
  m_simOptions = {"--replay", (m_folder / "a.rec").string()};
  StartCameras();
  OrvexJson({"record", Serial(), "--frames", "30", "-o", "b.rec"});
  ASSERT_EQ(Orvex({"replay", "b.rec", "-o", "again", "--kind", "raw"}).code, 0);
  const auto content = [this](const char* pFolder, int index) {
    char name[32];
    std::snprintf(name, sizeof name, "%s/frame-%06d.raw", pFolder, index);
    std::ifstream file(m_folder / name, std::ios::binary);
    return std::string{std::istreambuf_iterator<char>(file), {}};
  };
  std::set<std::string> originals;
  for (int i = 0; i < 20; ++i) originals.insert(content("pictures", i));
  for (int i = 0; i < 30; ++i) EXPECT_EQ(originals.count(content("again", i)), 1U) << i;
}

TEST_F(Recordings, SurviveAKilledRecorderAndSayWhatIsWrong) {
  StartSmallCamera();
  Process recorder(OrvexProgram(), {"record", Serial(), "-o", "cut.rec"}, m_folder);
  const auto file = m_folder / "cut.rec";
  for (int i = 0; i < 400 && recorder.Wait(Seconds(0.05)) < 0; ++i) {
    std::error_code ignored;
    if (std::filesystem::exists(file) && std::filesystem::file_size(file, ignored) > 2'000'000)
      break;
  }
  recorder.Signal(SIGKILL);
  recorder.Wait(Seconds(5));
  const json told = OrvexJson({"replay", "cut.rec"});
  EXPECT_EQ(told["whole"], false);
  EXPECT_GT(told["frames"], 10);
  EXPECT_EQ(told["damaged_frames"], 0);
  EXPECT_THAT(Orvex({"replay", "none.rec"}), FailsWith(1, "No such file"));
  EXPECT_THAT(Orvex({"replay", "cut.rec", "--first", "100000"}), FailsWith(2, "counted from 0"));
  std::ofstream(m_folder / "text.rec") << "no recording";
  EXPECT_THAT(Orvex({"replay", "text.rec"}), FailsWith(1, "is no recording"));
  EXPECT_THAT(Orvex({"sim", "--replay", "text.rec"}), FailsWith(1, "is no recording"));
}

TEST_F(Recordings, EndCleanlyWithCtrlCAndTellAFullDisk) {
  StartSmallCamera();
  Process recorder(OrvexProgram(), {"record", Serial(), "-o", "c.rec", "--json"}, m_folder);
  for (int i = 0; i < 400 && !std::filesystem::exists(m_folder / "c.rec"); ++i)
    ASSERT_EQ(recorder.Wait(Seconds(0.05)), -1) << recorder.Err();
  EXPECT_EQ(recorder.Wait(Seconds(1)), -1);
  recorder.Signal(SIGINT);
  EXPECT_EQ(recorder.Wait(Seconds(10)), 0) << recorder.Err();
  EXPECT_EQ(OrvexJson({"replay", "c.rec"})["whole"], true);
  std::filesystem::create_symlink("/dev/full", m_folder / "full.rec");
  EXPECT_THAT(Orvex({"record", Serial(), "-o", "full.rec"}), FailsWith(1, "No space left"));
}

TEST_F(Recordings, PreviewIsPlainTextWithoutATerminal) {
  StartSmallCamera();
  const Result result = Orvex({"grab", Serial(), "--preview"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out.find('\n'), 64U) << "24 lines of a picture of 4 to 3";
  EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
  EXPECT_THAT(Orvex({"grab", Serial(), "--preview", "--json"}), FailsWith(2, "--json"));
}

TEST_F(Recordings, BenchTellsWhatHostAndCameraDoTogether) {
  StartSmallCamera();
  std::set<std::string> figures;
  for (const json& row : OrvexJson({"bench", Serial(), "--seconds", "3"})) {
    figures.insert(row["figure"]);
    if (row["figure"] == "packets of 1500 bytes: rate") {
      EXPECT_GT(row["value"], 10);
    }
    if (row["figure"] == "packets of 1500 bytes: losses") {
      EXPECT_EQ(row["value"], 0);
    }
  }
  for (const char* pFigure : {"feature read from the camera", "packets of 9000 bytes: processor",
                              "packets of 4000 bytes: time between frames",
                              "software trigger to frame", "conversion Mono8 to RGB8"})
    EXPECT_EQ(figures.count(pFigure), 1U) << pFigure;
  // The camera is left as it was.
  EXPECT_EQ(Orvex({"get", Serial(), "TriggerMode"}).out, "Off\n");
  EXPECT_EQ(Orvex({"get", Serial(), "AcquisitionFrameRate"}).out.substr(0, 2), "60");
}

// Lost datagrams are allowed on this way; that they are counted is not left to chance.
TEST_F(Recordings, AThousandPicturesOfAMegabyteGoFromOneProcessToAnother) {
  constexpr int sk_count = 1000;
  std::string pixels(1'000'000, '\0');
  for (std::size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = static_cast<char>((i * 2654435761U) >> 13);
  std::ofstream(m_folder / "big.raw", std::ios::binary) << pixels;
  std::ofstream(m_folder / "big.raw.json")
      << R"({"width": 1000, "height": 1000, "pixel_format": "Mono8"})";
  const std::string count = std::to_string(sk_count);
  Process receiver(OrvexProgram(),
                   {"receive", "--port", "39563", "-n", count, "--timeout", "3", "--json"},
                   m_folder);
  const auto isListening = [] {
    std::ifstream table("/proc/net/udp");
    const std::string text{std::istreambuf_iterator<char>(table), {}};
    return text.find(":9A8B ") != std::string::npos;
  };
  for (int i = 0; i < 200 && !isListening(); ++i) ASSERT_EQ(receiver.Wait(Seconds(0.05)), -1);
  const Result sender =
      Orvex({"send", "big.raw", "--port", "39563", "-n", count, "--json"}, Seconds(150));
  ASSERT_EQ(sender.code, 0) << sender.err;
  const json sent = json::parse(sender.out);
  EXPECT_EQ(sent[0]["sent"], sk_count);
  const int code = receiver.Wait(Seconds(60));
  ASSERT_GE(code, 0);
  const json got = json::parse(receiver.Out());
  const std::size_t received = got["received"];
  std::size_t intact = 0;
  for (const json& row : got["pictures"]) intact += row["crc32"] == sent[0]["crc32"] ? 1 : 0;
  RecordProperty("received", static_cast<int>(received));
  RecordProperty("intact", static_cast<int>(intact));
  EXPECT_GT(intact, 0U);
  // A loss damages pictures, and none is damaged or missing without one.
  const std::int64_t lost = got["lost_datagrams"];
  if (lost == 0) {
    EXPECT_EQ(intact, static_cast<std::size_t>(sk_count));
  }
  if (intact < sk_count) {
    EXPECT_GT(lost, 0);
  }
  EXPECT_EQ(code, received == sk_count ? 0 : 1) << receiver.Err();
  if (received < sk_count) {
    EXPECT_THAT(receiver.Err(),
                AllOf(HasSubstr(std::to_string(received) + " of " + count), HasSubstr("--rate")));
  }
}

class Doctor : public WithCameras {
 protected:
  // Runs with --json whatever it finds; by the key of the check.
  std::multimap<std::string, json> Findings(const std::filesystem::path& program,
                                            std::vector<std::string> arguments) {
    const Result result = RunToEnd(program, std::move(arguments), Seconds(60), m_folder);
    std::multimap<std::string, json> findings;
    const json rows = json::parse(result.out, nullptr, false);
    EXPECT_TRUE(rows.is_array()) << result.out << result.err;
    for (const json& row : rows) findings.emplace(row["check"], row);
    return findings;
  }
};

TEST_F(Doctor, MeasuresTheWayAndTheStreamAndLeavesTheCameraAsItWas) {
  m_simOptions = {"--path-limit", "4000"};
  StartCameras();
  const json before = OrvexJson({"features", Serial(), "--category", "TransportLayerControl"});
  auto findings = Findings(OrvexProgram(), {"doctor", Serial(), "--seconds", "1", "--json"});
  const json path = findings.find("path")->second;
  EXPECT_THAT(path["measured"],
              HasSubstr("packets of 576, 1500, 4000 bytes arrive, of 8192, 9000"));
  EXPECT_EQ(findings.find("stream")->second["level"], "ok");
  EXPECT_THAT(findings.find("stream")->second["measured"], HasSubstr("0 incomplete, 0 missing"));
  EXPECT_EQ(findings.find("heartbeat")->second["level"], "note");
  const json after = OrvexJson({"features", Serial(), "--category", "TransportLayerControl"});
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (before[i]["name"] == "GevSCPSPacketSize") {
      EXPECT_EQ(before[i]["value"], after[i]["value"]);
    }
  }
}

TEST_F(Doctor, TellsThatACameraIsMissingOrHeld) {
  StartCameras();
  EXPECT_THAT(Orvex({"doctor", "nobody" + m_serial}).out, HasSubstr("problem  Cameras"));
  Process stream(OrvexProgram(), {"stream", Serial()});
  ASSERT_TRUE(stream.WaitForOutput("frames/s", Seconds(10))) << stream.Err();
  const Result held = Orvex({"doctor", Serial()});
  EXPECT_EQ(held.code, 1);
  EXPECT_THAT(held.out, HasSubstr("held by another application"));
  EXPECT_THAT(Orvex({"doctor", "--fix", "--json"}), FailsWith(2, "--fix asks"));
}

// Every question is answered no but the one that only concerns the camera.
TEST_F(Doctor, FixesOnlyAfterAYes) {
  StartCameras();
  const auto fix = [this](const std::string& answers) {
    const std::string line = "printf '" + answers + "' | '" + OrvexProgram().string() +
                             "' doctor " + Serial() + " --seconds 0.5 --fix";
    return RunToEnd("/bin/sh", {"-c", line}, Seconds(60), m_folder);
  };
  const auto heartbeat = [this] { return Orvex({"get", Serial(), "GevHeartbeatTimeout"}).out; };
  const std::string before = heartbeat();
  const std::string asked = fix("").out;
  EXPECT_EQ(heartbeat(), before) << "the end of the input is no yes";
  const std::size_t question = asked.find("GevHeartbeatTimeout 60000`? [y/N]");
  ASSERT_NE(question, std::string::npos) << asked;
  std::string answers;
  const std::size_t first = asked.find("run `");
  for (std::size_t at = asked.find("run `", first + 1); at < question;
       at = asked.find("run `", at + 1))
    answers += "n\\n";
  EXPECT_EQ(fix(answers + "Yes\\n").code, 0);
  EXPECT_EQ(heartbeat(), before) << "only y and yes are";
  EXPECT_EQ(fix(answers + "y\\n").code, 0);
  EXPECT_EQ(heartbeat(), "60000\n");
}

// Two hosts in this one: the camera's namespace and the application's, with a cable between them.
class DoctorInANetwork : public Doctor {
 protected:
  DoctorInANetwork() : m_host("orvexh" + m_serial), m_far("orvexc" + m_serial) {}
  ~DoctorInANetwork() override {
    m_pCameras.reset();
    Shell("ip netns del " + m_host + "; ip netns del " + m_far);
  }

  int Shell(const std::string& line) {
    return RunToEnd("/bin/sh", {"-c", "PATH=$PATH:/usr/sbin:/sbin; " + line}, Seconds(20)).code;
  }

  // False when such things cannot be made here.
  bool Make(int mtuOfTheHost, int mtuOfTheCamera) {
    const std::string line =
        "set -e; H=" + m_host + " C=" + m_far + "; ip netns add $H; ip netns add $C; " +
        "ip link add va netns $H type veth peer name vb netns $C; " +
        "for n in $H $C; do ip -n $n link set lo up; done; " +
        "ip -n $H addr add 10.77.0.1/24 brd + dev va; ip -n $C addr add 10.77.0.2/24 brd + dev vb; "
        "ip -n $H link set va mtu " +
        std::to_string(mtuOfTheHost) + " up; ip -n $C link set vb mtu " +
        std::to_string(mtuOfTheCamera) + " up; " +
        "ip netns exec $H sysctl -qw net.ipv4.conf.all.rp_filter=0";
    return Shell(line) == 0;
  }

  void StartCamera() {
    m_pCameras = std::make_unique<Process>(
        "/bin/sh", std::vector<std::string>{
                       "-c", "exec ip netns exec " + m_far + " '" + OrvexProgram().string() +
                                 "' sim --address 10.77.0.2 --width 320 --height 240 "
                                 "--frame-rate 50 --set SimSegmentationOffload=0 "
                                 "--serial " +
                                 m_serial});
    ASSERT_TRUE(m_pCameras->WaitForOutput("ready", Seconds(20))) << m_pCameras->Err();
  }

  std::multimap<std::string, json> Examine() {
    return Findings("/bin/sh",
                    {"-c", "exec ip netns exec " + m_host + " '" + OrvexProgram().string() +
                               "' doctor " + Serial() + " --seconds 3 --json"});
  }

  const std::string m_host, m_far;
};

TEST_F(DoctorInANetwork, NamesTheMtuThatIsTooSmall) {
  if (!Make(9000, 1500)) GTEST_SKIP() << "network namespaces cannot be made here";
  StartCamera();
  auto findings = Examine();
  EXPECT_THAT(findings.find("path")->second["measured"],
              HasSubstr("packets of 576, 1500 bytes arrive, of 4000, 8192, 9000 do not"));
  EXPECT_EQ(findings.find("mtu")->second["measured"], "va takes 9000 bytes");
}

TEST_F(DoctorInANetwork, TellsLossOnTheWayFromLossInTheHost) {
  if (!Make(1500, 1500) || Shell("command -v nft") != 0)
    GTEST_SKIP() << "network namespaces cannot be made here, or nft is not installed";
  StartCamera();
  const std::string onTheWay =
      "nft add table netdev t; nft 'add chain netdev t c { type filter hook egress device vb "
      "priority 0; }'; nft 'add rule netdev t c udp sport != 3956 numgen random mod 100 < 3 drop'";
  ASSERT_EQ(Shell("ip netns exec " + m_far + " sh -c \"" + onTheWay + "\""), 0);
  auto findings = Examine();
  EXPECT_THAT(findings.find("stream")->second["measured"],
              HasSubstr("place of loss: before the host"));

  ASSERT_EQ(Shell("ip netns exec " + m_far + " nft flush ruleset"), 0);
  const std::string inTheHost =
      "nft add table ip t; nft 'add chain ip t c { type filter hook input priority 0; }'; nft 'add "
      "rule ip t c udp sport != 3956 numgen random mod 100 < 3 drop'";
  ASSERT_EQ(Shell("ip netns exec " + m_host + " sh -c \"" + inTheHost + "\""), 0);
  findings = Examine();
  EXPECT_THAT(findings.find("stream")->second["measured"], HasSubstr("place of loss: host"));
  EXPECT_THAT(findings.find("firewall")->second["measured"],
              HasSubstr("ip t c has rules that drop"));
}

}  // namespace
}  // namespace OrvexTest
