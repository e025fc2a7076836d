// SPDX-License-Identifier: Apache-2.0
// Choice, start and stop of streams.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Fixture.h"
#include "GenApiCustom.h"
#include "TavikLog/ITavikLog.h"

namespace {

using namespace Orvex;

const std::string sk_s = "(cam0.stream0";

// --- choice of the stream

struct ChoiceRow {
  const char* name;
  size_t numStreams;
  int tcpEnable;         // -1: no such node
  const char* protocol;  // "": no such node
  int locked;
  const char* eventFormat;  // "": no such node
  std::string result;       // index or message
  const char* protocolAfter = "";
};

class StreamChoice : public ScriptedTest, public testing::WithParamInterface<ChoiceRow> {};

TEST_P(StreamChoice, FollowsTheNodes) {
  const ChoiceRow& row = GetParam();
  auto& camera = m_world.Camera();
  camera.streams.clear();
  for (size_t i = 0; i < row.numStreams; ++i) camera.AddStream();
  const std::vector<std::string> protocols = {"UDP", "TCP", "RDMA", "SCTP"};
  if (row.tcpEnable >= 0) camera.remote.Boolean("TCPEnable", row.tcpEnable != 0);
  if (*row.protocol != 0) {
    const auto current = std::find(protocols.begin(), protocols.end(), row.protocol);
    camera.remote.Enumeration("TransportStreamProtocol", protocols, current - protocols.begin());
  }
  if (*row.eventFormat != 0) camera.remote.Enumeration("EventFormat", {row.eventFormat}, 0);
  camera.remote.Find("TLParamsLocked")->integer = row.locked;
  OpenCamera();
  int stream = -1;
  const std::string thrown =
      Thrown([&] { stream = ChooseStream(m_pCamera->GetNodeMap(), row.numStreams); });
  if (stream >= 0) {
    EXPECT_EQ(std::to_string(stream), row.result);
  } else {
    EXPECT_EQ(thrown, PlainError("RuntimeException", row.result, "Device.cpp, ChooseStream"));
  }
  if (*row.protocolAfter != 0) {
    EXPECT_EQ(
        protocols.at(static_cast<size_t>(camera.remote.Find("TransportStreamProtocol")->integer)),
        row.protocolAfter);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cameras, StreamChoice,
    testing::Values(
        ChoiceRow{"Plain", 1, -1, "", 0, "", "0"},
        ChoiceRow{"PlainWithProtocol", 4, -1, "TCP", 0, "", "0"},
        ChoiceRow{"TcpOn", 2, 1, "", 0, "", "1"}, ChoiceRow{"TcpOnOneStream", 1, 1, "", 0, "", "0"},
        ChoiceRow{"TcpOnSwitchesProtocol", 2, 1, "UDP", 0, "", "1", "TCP"},
        ChoiceRow{"TcpOnLockedKeepsProtocol", 2, 1, "UDP", 1, "", "1", "UDP"},
        ChoiceRow{"TcpOnOneStreamKeepsProtocol", 1, 1, "UDP", 0, "", "0", "UDP"},
        ChoiceRow{"TcpOff", 2, 0, "", 0, "", "0"}, ChoiceRow{"OffUdp", 1, 0, "UDP", 0, "", "0"},
        ChoiceRow{"OffTcp", 2, 0, "TCP", 0, "", "1"},
        ChoiceRow{"OffRdma", 3, 0, "RDMA", 0, "", "2"},
        ChoiceRow{"OffTcpOneStream", 1, 0, "TCP", 0, "",
                  "Unsupported Transport Stream Protocol: TCP"},
        ChoiceRow{"OffRdmaTwoStreams", 2, 0, "RDMA", 0, "",
                  "Unsupported Transport Stream Protocol: RDMA"},
        ChoiceRow{"OffUnknown", 4, 0, "SCTP", 0, "", "Unsupported Transport Stream Protocol: SCTP"},
        ChoiceRow{"Evs", 4, -1, "", 0, "EVT3_0", "3"},
        ChoiceRow{"EvsBeatsTcp", 4, 1, "TCP", 0, "EVT3_0", "3"},
        ChoiceRow{"EvsThreeStreams", 3, -1, "", 0, "EVT3_0",
                  "Unsupported Event Format type: EVT3_0"},
        ChoiceRow{"EvsOther", 4, -1, "", 0, "EVT2_1", "Unsupported Event Format type: EVT2_1"}),
    [](const auto& info) { return std::string(info.param.name); });

struct CountRow {
  const char* name;
  int64_t throughput;  // -1: no such node
  uint64_t payloadSize;
  uint64_t milliseconds;
  uint64_t count;
};
class AutomaticCount : public ScriptedTest, public testing::WithParamInterface<CountRow> {};

TEST_P(AutomaticCount, HoldsTheTimeWithinBounds) {
  if (GetParam().throughput >= 0)
    m_world.Camera().remote.Integer("DeviceMaxThroughput", GetParam().throughput);
  OpenCamera();
  EXPECT_EQ(AutomaticBufferCount(m_pCamera->GetNodeMap(), GetParam().payloadSize,
                                 GetParam().milliseconds),
            GetParam().count);
}

INSTANTIATE_TEST_SUITE_P(Bounds, AutomaticCount,
                         testing::Values(CountRow{"Zero", 1000000, 100000, 40, 10},
                                         CountRow{"Ten", 250000, 1000, 40, 10},
                                         CountRow{"Eleven", 275000, 1000, 40, 11},
                                         CountRow{"JustInside", 24975000, 1000, 40, 999},
                                         CountRow{"TooMany", 1000000, 10, 40, 1000},
                                         CountRow{"Event", 1000000, 10000, 1000, 100},
                                         CountRow{"NotTold", -1, 1000, 40, 10},
                                         CountRow{"NoPayload", 1000000, 0, 40, 10}),
                         [](const auto& info) { return std::string(info.param.name); });

// --- start

Calls RevokeCalls(const std::string& stream, int numBuffers) {
  Calls calls = {"DSFlushQueue" + stream + ", 4)"};
  for (int i = 0; i < numBuffers; ++i) {
    calls.push_back("DSGetBufferID" + stream + ", 0)");
    calls.push_back("DSRevokeBuffer" + stream + ")");
  }
  return calls;
}

// Of a start of two buffers: each is announced and queued; when one is refused, all before it go.
Steps AnnounceSteps(const std::string& stream, const std::string& place, int size) {
  Steps steps;
  for (int i = 0; i < 2; ++i) {
    steps.push_back(Checked("DSAllocAndAnnounceBuffer" + stream + ", " + std::to_string(size) + ")",
                            "Unable to prepare internal buffer", place, RevokeCalls(stream, i)));
    steps.push_back(Checked("DSQueueBuffer" + stream + ")", "Unable to queue internal buffer",
                            place, RevokeCalls(stream, i + 1)));
  }
  return steps;
}

// From the start of the host's side on; `ended` are the calls that end the events.
Steps HostSteps(const std::string& stream, const std::string& place, const Calls& ended) {
  const Calls undone = Calls{"DSStopAcquisition" + stream + ", 0)"} + ended +
                       Calls{"GCWritePort(cam0.remote, TLParamsLocked=0)"} + RevokeCalls(stream, 2);
  return {Checked("DSStartAcquisition" + stream + ", 0, 2)", "Unable to start acquisition", place,
                  ended + RevokeCalls(stream, 2)),
          PortAccess("GCWritePort(cam0.remote, TLParamsLocked=1)", undone),
          PortAccess("GCWritePort(cam0.remote, AcquisitionStart=1)", undone)};
}

Steps StopSteps(const std::string& stream, const std::string& place, bool evs) {
  const char* const sk_unregister = "Unable to unregister new buffer events";
  Steps steps = {
      Checked("DSStopAcquisition" + stream + ", 0)", "Unable to stop acquisition", place),
      Checked("GCUnregisterEvent" + stream + ", 1)", sk_unregister, place)};
  if (evs) steps.push_back(Checked("GCUnregisterEvent" + stream + ", 1001)", sk_unregister, place));
  steps.push_back(PortAccess("GCWritePort(cam0.remote, TLParamsLocked=0)"));
  steps.push_back(Checked("DSFlushQueue" + stream + ", 4)", "Unable to flush queue", place));
  for (int i = 0; i < 2; ++i) {
    steps.push_back(
        Checked("DSGetBufferID" + stream + ", 0)", "Unable to get internal buffer ID", place));
    steps.push_back(
        Checked("DSRevokeBuffer" + stream + ")", "Unable to revoke internal buffer", place));
  }
  steps.push_back(PortAccess("GCWritePort(cam0.remote, AcquisitionStop=1)"));
  return steps;
}

class Starting : public ScriptedTest {
 protected:
  // Nothing of a refused start stays: the stream is idle and can be started.
  void ExpectIdle(size_t stream) {
    EXPECT_TRUE(m_world.CameraStream(stream).buffers.empty());
    EXPECT_FALSE(m_world.CameraStream(stream).grabbing);
    EXPECT_EQ(Thrown([&] { m_pCamera->GetBuffer(0); }).substr(0, 24), "InvalidArgumentException");
    EXPECT_EQ(Thrown([&] { m_pCamera->StartStream(2); }), "");
    EXPECT_EQ(Thrown([&] { m_pCamera->StopStream(); }), "");
  }
};

TEST_F(Starting, FollowsItsStepsOrLeavesTheStreamIdle) {
  const char* const sk_place = "Device.cpp, StartStream";
  Operation start;
  start.prepare = [this] {
    auto& remote = m_world.Camera().remote;
    remote.Float("AcquisitionFrameRate", 30.5);
    remote.Integer("PacketResendWindowFrameCount", 3);
    remote.String("DeviceSerialNumber", "S0001");
    remote.String("DeviceFirmwareVersion", "1.9");
    OpenCamera();
  };
  start.act = [this] { m_pCamera->StartStream(2); };
  start.steps =
      AnnounceSteps(sk_s, sk_place, 16) +
      Steps{PassedOver("DSSetupResendRetryParams" + sk_s + ", 3, 30.5, S0001, 1.9, 0, 0)"),
            Checked("GCRegisterEvent" + sk_s + ", 1)", "Unable to register new buffer events",
                    sk_place, RevokeCalls(sk_s, 2))} +
      HostSteps(sk_s, sk_place, {"GCUnregisterEvent" + sk_s + ", 1)"});
  // The size is read afresh for each buffer.
  start.reads = {PortAccess("GCReadPort(cam0.remote, PayloadSize)", RevokeCalls(sk_s, 0)),
                 PortAccess("GCReadPort(cam0.remote, PayloadSize)", RevokeCalls(sk_s, 1))};
  start.after = [this](const Step& step) {
    if (!step.thrown.empty()) ExpectIdle(0);
  };
  Drive(start);
}

TEST_F(Starting, TakesDefaultsForResendParametersThatCannotBeRead) {
  auto& remote = m_world.Camera().remote;
  remote.Float("AcquisitionFrameRate", 30.5).available = false;
  remote.Float("PacketResendWindowFrameCount", 3);  // of the wrong kind
  m_world.FailAlways("DSSetupResendRetryParams", GenTL::GC_ERR_NOT_IMPLEMENTED);
  OpenCamera()->StartStream(1);
  EXPECT_THAT(TakeCalls(),
              testing::Contains("DSSetupResendRetryParams" + sk_s + ", 0, 0.0, , , 0, 0)"));
}

TEST_F(Starting, ChoosesTheBufferCountWhenAsked) {
  m_world.Camera().remote.Integer("DeviceMaxThroughput", 8000);  // 20 buffers of 16 bytes
  OpenCamera()->StartStream(static_cast<size_t>(-1));
  EXPECT_EQ(m_world.CameraStream().buffers.size(), 20u);
}

struct AccessRow {
  const char* name;
  int remoteStatus;     // -1: no such node; index into the entries below
  int transportStatus;  // of the transport layer's device, as above
  bool told;
};
class CameraStart : public ScriptedTest, public testing::WithParamInterface<AccessRow> {};

TEST_P(CameraStart, IsSentToCamerasThatAreOurs) {
  const std::vector<std::string> entries = {"ReadWrite", "ReadOnly", "OpenReadWrite",
                                            "OpenReadOnly"};
  auto& camera = m_world.Camera();
  camera.Remove("DeviceAccessStatus");
  if (GetParam().remoteStatus >= 0)
    camera.remote.Enumeration("DeviceAccessStatus", entries, GetParam().remoteStatus);
  if (GetParam().transportStatus >= 0)
    camera.Enumeration("DeviceAccessStatus", entries, GetParam().transportStatus);
  OpenCamera()->StartStream(1);
  EXPECT_EQ(camera.remote.Find("AcquisitionStart")->integer, GetParam().told ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Status, CameraStart,
                         testing::Values(AccessRow{"CameraReadWrite", 0, 3, true},
                                         AccessRow{"CameraReadOnly", 1, 2, false},
                                         AccessRow{"CameraOther", 2, 2, false},
                                         AccessRow{"TransportOpenReadWrite", -1, 2, true},
                                         AccessRow{"TransportReadWrite", -1, 0, true},
                                         AccessRow{"TransportOpenReadOnly", -1, 3, false},
                                         AccessRow{"NobodyTells", -1, -1, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Starting, RefusesNoBuffersAndNoStreams) {
  OpenCamera();
  ForgetCalls();
  EXPECT_EQ(
      Thrown([&] { m_pCamera->StartStream(0); }),
      PlainError("InvalidArgumentException", "Number of acquisition buffers must be 1 or greater",
                 "Device.cpp, StartStream"));
  EXPECT_TRUE(TakeCalls().empty());
  Device empty;
  EXPECT_EQ(Thrown([&] { empty.StartStream(1); }),
            PlainError("LogicalErrorException", "Device has no available streams",
                       "Device.cpp, StartStream"));
  EXPECT_EQ(Thrown([&] { empty.StopStream(); }),
            PlainError("LogicalErrorException",
                       "Failure stopping stream due to device not having been streaming",
                       "Device.cpp, StopStream"));
}

TEST_F(Starting, ReportsTheCleanUpWhenThatFailsToo) {
  const std::pair<const char*, const char*> sk_steps[] = {
      {"DSFlushQueue", "Unable to flush queue"},
      {"DSGetBufferID", "Unable to get internal buffer ID"},
      {"DSRevokeBuffer", "Unable to revoke internal buffer"}};
  for (const auto& [function, whatFailed] : sk_steps) {
    Restart();
    OpenCamera();
    m_world.Fail("DSQueueBuffer", GenTL::GC_ERR_IO);
    m_world.Fail(function, GenTL::GC_ERR_BUSY);
    EXPECT_EQ(Thrown([&] { m_pCamera->StartStream(1); }),
              GenTLError("RuntimeException", "GC_ERR_BUSY", whatFailed,
                         "Device.cpp, CleanupAnnouncedBuffersOnStartFailure", function) +
                  function + " refused");
  }
  Restart();
  m_world.CameraStream().url = "file:/nowhere/stream.xml";
  OpenCamera();
  m_world.Fail("DSQueueBuffer", GenTL::GC_ERR_IO);
  EXPECT_EQ(Thrown([&] { m_pCamera->StartStream(1); }),
            GenTLError("InvalidArgumentException", "GC_ERR_INVALID_HANDLE",
                       "Unable to get TLDatastream nodemap, NULL returned",
                       "Device.cpp, GetNodeMap", "GetNodeMap") +
                "DSQueueBuffer refused");
}

// --- TCP

TEST_F(Starting, OverTcpForcesThePacketSizeAndStoppingRestoresIt) {
  const std::string s = "(cam0.stream1";
  const auto packetSize = [](const char* value) {
    return PortAccess(std::string("GCWritePort(cam0.remote, DeviceStreamChannelPacketSize=") +
                      value + ")");
  };
  Operation start;
  start.prepare = [this] {
    auto& camera = m_world.Camera();
    camera.AddStream();
    camera.remote.Boolean("TCPEnable", true);
    camera.remote.Integer("DeviceStreamChannelPacketSize", 1500);
    OpenCamera();
  };
  start.act = [this] { m_pCamera->StartStream(2); };
  start.steps =
      Steps{packetSize("9000")} + AnnounceSteps(s, "Device.cpp, StartStream", 16) +
      Steps{PassedOver("DSSetupResendRetryParams" + s + ", 0, 0.0, , , 0, 0)"),
            Checked("GCRegisterEvent" + s + ", 1)", "Unable to register new buffer events",
                    "Device.cpp, StartStream", RevokeCalls(s, 2))} +
      HostSteps(s, "Device.cpp, StartStream", {"GCUnregisterEvent" + s + ", 1)"});
  start.after = [this](const Step& step) {
    // Kept on purpose: a start that fails leaves the size.
    const bool forced = step.call != "GCWritePort(cam0.remote, DeviceStreamChannelPacketSize=9000)";
    EXPECT_EQ(m_world.Camera().remote.Find("DeviceStreamChannelPacketSize")->integer,
              forced ? 9000 : 1500);
  };
  Drive(start);

  Operation stop;
  stop.prepare = [&] {
    start.prepare();
    start.act();
  };
  stop.act = [this] { m_pCamera->StopStream(); };
  stop.steps = StopSteps(s, "Device.cpp, StopStream", false) + Steps{packetSize("1500")};
  Drive(stop);
}

// --- stop

using Stopping = ScriptedTest;

TEST_F(Stopping, FollowsItsStepsAndTellsTheCameraLast) {
  Operation stop;
  stop.prepare = [this] { OpenCamera()->StartStream(2); };
  stop.act = [this] { m_pCamera->StopStream(); };
  stop.steps = StopSteps(sk_s, "Device.cpp, StopStream", false);
  Drive(stop);
}

TEST_F(Stopping, OfAStreamThatDoesNotRunFails) {
  OpenCamera();
  EXPECT_EQ(
      Thrown([&] { m_pCamera->StopStream(); }),
      GenTLError("LogicalErrorException", "GC_ERR_RESOURCE_IN_USE", "Unable to stop acquisition",
                 "Device.cpp, StopStream", "DSStopAcquisition") +
          "DSStopAcquisition refused");
}

TEST_F(Stopping, NeedsTheCamerasStopCommand) {
  m_world.Camera().remote.Remove("AcquisitionStop");
  OpenCamera()->StartStream(1);
  EXPECT_EQ(Thrown([&] { m_pCamera->StopStream(); }),
            PlainError("RuntimeException",
                       "Unable to stop acquisition because Acquisition Stop node doesn't exist",
                       "Device.cpp, StopStream"));
  EXPECT_TRUE(m_world.CameraStream().buffers.empty());
}

// --- event-based sensors

class EventSensor : public Starting {
 protected:
  void MakeEventSensor() {
    auto& camera = m_world.Camera();
    for (int i = 0; i < 3; ++i) camera.AddStream();
    camera.remote.Enumeration("EventFormat", {"EVT3_0"}, 0);
    m_world.CameraStream(3).Enumeration(
        "StreamEvsOutputFormat", {"RawFrameEncoded", "RawFrameDecoded", "XYTPFrame", "CDFrame"}, 0);
    m_world.CameraStream(3).Enumeration("StreamEvsBitDepth", {"Bits8", "Bits24"}, 0);
  }
};

struct SizeRow {
  const char* name;
  int format;
  int bitDepth;
  int64_t width, height;
  size_t bytes;
};
class EventFrame : public EventSensor, public testing::WithParamInterface<SizeRow> {};

TEST_P(EventFrame, HasTheSizeOfItsFormat) {
  MakeEventSensor();
  auto& camera = m_world.Camera();
  camera.remote.Find("Width")->integer = GetParam().width;
  camera.remote.Find("Height")->integer = GetParam().height;
  camera.remote.Find("PayloadSize")->integer = 1000;
  m_world.CameraStream(3).Find("StreamEvsOutputFormat")->integer = GetParam().format;
  m_world.CameraStream(3).Find("StreamEvsBitDepth")->integer = GetParam().bitDepth;
  OpenCamera()->StartStream(1);
  EXPECT_EQ(m_world.CameraStream(3).buffers.at(0)->memory.size(), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Formats, EventFrame,
                         testing::Values(SizeRow{"Encoded", 0, 0, 1280, 720, 1000},
                                         SizeRow{"Decoded", 1, 0, 1280, 720, 2000},
                                         SizeRow{"Xytp", 2, 0, 1280, 720, 14745600},
                                         SizeRow{"Cd8", 3, 0, 640, 480, 307200},
                                         SizeRow{"Cd24", 3, 1, 640, 480, 921600}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(EventSensor, FollowsItsStepsOrLeavesTheStreamIdle) {
  const std::string s = "(cam0.stream3";
  const char* const sk_place = "Device.cpp, StartStreamEVS";
  const char* const sk_register = "Unable to register new buffer events";
  const Calls ended = {"GCUnregisterEvent" + s + ", 1)", "GCUnregisterEvent" + s + ", 1001)"};
  Operation start;
  start.prepare = [this] {
    MakeEventSensor();
    OpenCamera();
  };
  start.act = [this] { m_pCamera->StartStream(2); };
  start.steps =
      AnnounceSteps(s, sk_place, 16) +
      Steps{PassedOver("DSSetupResendRetryParams" + s + ", 0, 0.0, , , 8, 2)"),
            Checked("GCRegisterEvent" + s + ", 1)", sk_register, sk_place, RevokeCalls(s, 2)),
            Checked("GCRegisterEvent" + s + ", 1001)", sk_register, sk_place,
                    RevokeCalls(s, 2) + Calls{ended[0]})} +
      HostSteps(s, sk_place, ended);
  start.after = [this](const Step& step) {
    if (!step.thrown.empty()) ExpectIdle(3);
  };
  Drive(start);

  Operation stop;
  stop.prepare = [this] {
    MakeEventSensor();
    OpenCamera()->StartStream(2);
  };
  stop.act = [this] { m_pCamera->StopStream(); };
  stop.steps = StopSteps(s, "Device.cpp, StopStreamEVS", true);
  Drive(stop);
}

// --- what is logged

// Sees every record on its way out and lets none go.
class LogRecorder : public TavikLog::IFilterOut {
 public:
  int OnFilterOut(const std::string& text) override {
    const auto record = nlohmann::json::parse(text);
    records.push_back(std::to_string(record.at("level").get<int>()) + " " +
                      record.at("message").get<std::string>());
    return 0;
  }
  Calls records;
};

TEST_F(EventSensor, TellsItsBuffersAndWhatIsNotSupportedToTheLog) {
  namespace fs = std::filesystem;
  const fs::path before = fs::current_path();
  const fs::path folder =
      fs::temp_directory_path() / ("orvex-stream-log-" + std::to_string(::getpid()));
  fs::create_directory(folder);
  fs::current_path(folder);
  std::ofstream("tavik_log.conf")
      << R"({"ports": {"orvex_in": 0, "orvex_out": 0, "qx_in": 0}, "levels": {"orvex": 400},
           "logging": {"console": false, "json": false, "file": false}})";
  LogRecorder recorder;
  MakeEventSensor();
  OpenCamera();
  TavikLog::Init()->RegisterFilterOut(&recorder);
  m_pCamera->StartStream(10);
  m_pCamera->StopStream();
  EXPECT_NE(Thrown([&] { ChooseStream(m_pCamera->GetNodeMap(), 3); }), "");
  DestroyCamera();
  m_world.Camera().remote.Enumeration("EventFormat", {"EVT2_1"}, 0);
  OpenCamera();
  EXPECT_NE(Thrown([&] { m_pCamera->StartStream(1); }), "");
  EXPECT_THAT(recorder.records,
              testing::ElementsAre("400 Orvex::Device(): Using 10 image buffers of size 16 bytes.",
                                   "200 Unsupported Event Format Detected: EVT3_0",
                                   "200 Unsupported Event Format Detected(2): EVT2_1"));
  Restart();
  fs::current_path(before);
  fs::remove_all(folder);
}

}  // namespace
