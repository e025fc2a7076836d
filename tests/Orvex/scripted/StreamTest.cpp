// SPDX-License-Identifier: Apache-2.0
// Choice, start and stop of streams.
#include "Fixture.h"
#include "GenApiCustom.h"

namespace {

using namespace Orvex;
using testing::ElementsAre;
using Feature = Scripted::Feature;

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

Calls StartCalls(int numBuffers) {
  Calls calls;
  for (int i = 0; i < numBuffers; ++i) {
    calls.push_back("DSAllocAndAnnounceBuffer" + sk_s + ", 16)");
    calls.push_back("DSQueueBuffer" + sk_s + ")");
  }
  return calls;
}

Calls RevokeCalls(int numBuffers) {
  Calls calls = {"DSFlushQueue" + sk_s + ", 4)"};
  for (int i = 0; i < numBuffers; ++i) {
    calls.push_back("DSGetBufferID" + sk_s + ", 0)");
    calls.push_back("DSRevokeBuffer" + sk_s + ")");
  }
  return calls;
}

using Starting = ScriptedTest;

TEST_F(Starting, CallsTheProducerInOrder) {
  auto& remote = m_world.Camera().remote;
  remote.Float("AcquisitionFrameRate", 30.5);
  remote.Integer("PacketResendWindowFrameCount", 3);
  remote.String("DeviceSerialNumber", "S0001");
  remote.String("DeviceFirmwareVersion", "1.9");
  OpenCamera();
  ForgetCalls();
  m_pCamera->StartStream(2);
  const Calls expected =
      StartCalls(2) + Calls{"DSSetupResendRetryParams" + sk_s + ", 3, 30.5, S0001, 1.9, 0, 0)",
                            "GCRegisterEvent" + sk_s + ", 1)",
                            "DSStartAcquisition" + sk_s + ", 0, 2)",
                            "GCWritePort(cam0.remote, TLParamsLocked=1)",
                            "GCWritePort(cam0.remote, AcquisitionStart=1)"};
  EXPECT_EQ(TakeCalls(), expected);
  m_pCamera->StopStream();
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

struct StartFailureRow {
  const char* name;
  const char* function;
  int skip;
  GenTL::GC_ERROR status;
  std::string thrown;
  Calls calls;  // from the first call of the start on
};
class StartFails : public ScriptedTest, public testing::WithParamInterface<StartFailureRow> {};

TEST_P(StartFails, WithItsMessageAndLeavesTheStreamIdle) {
  OpenCamera();
  ForgetCalls();
  m_world.Fail(GetParam().function, GetParam().status, GetParam().skip);
  // What a port throws may come with the node's name before it.
  const std::string thrown = Thrown([&] { m_pCamera->StartStream(2); });
  const std::string expected = GetParam().thrown + GetParam().function + " refused";
  const size_t description = expected.find(" | ") + 3;
  EXPECT_THAT(thrown, testing::StartsWith(expected.substr(0, description)));
  EXPECT_THAT(thrown, testing::EndsWith(expected.substr(description)));
  EXPECT_EQ(TakeCalls(), GetParam().calls);
  EXPECT_TRUE(m_world.CameraStream().buffers.empty());
  EXPECT_FALSE(m_world.CameraStream().grabbing);
  EXPECT_EQ(Thrown([&] { m_pCamera->GetBuffer(0); }).substr(0, 24), "InvalidArgumentException");
  m_pCamera->StartStream(2);  // works now
  m_pCamera->StopStream();
}

std::string StartError(const char* exceptionClass, const char* label, const char* whatFailed,
                       const char* gentlName) {
  return GenTLError(exceptionClass, label, whatFailed, "Device.cpp, StartStream", gentlName);
}

const Calls sk_resend = {"DSSetupResendRetryParams" + sk_s + ", 0, 0.0, , , 0, 0)"};
const Calls sk_register = {"GCRegisterEvent" + sk_s + ", 1)"};
const Calls sk_hostStart = {"DSStartAcquisition" + sk_s + ", 0, 2)"};
const Calls sk_unregister = {"GCUnregisterEvent" + sk_s + ", 1)"};
const Calls sk_lock = {"GCWritePort(cam0.remote, TLParamsLocked=1)"};
const Calls sk_unlock = {"GCWritePort(cam0.remote, TLParamsLocked=0)"};
const Calls sk_cameraStart = {"GCWritePort(cam0.remote, AcquisitionStart=1)"};
const Calls sk_hostStop = {"DSStopAcquisition" + sk_s + ", 0)"};

INSTANTIATE_TEST_SUITE_P(
    EachStep, StartFails,
    testing::Values(
        StartFailureRow{
            "SecondAnnounce", "DSAllocAndAnnounceBuffer", 1, GenTL::GC_ERR_OUT_OF_MEMORY,
            StartError("RuntimeException", "GC_ERR_OUT_OF_MEMORY",
                       "Unable to prepare internal buffer", "DSAllocAndAnnounceBuffer"),
            StartCalls(1) + Calls{"DSAllocAndAnnounceBuffer" + sk_s + ", 16)"} + RevokeCalls(1)},
        StartFailureRow{"FirstQueue", "DSQueueBuffer", 0, GenTL::GC_ERR_INVALID_HANDLE,
                        StartError("InvalidArgumentException", "GC_ERR_INVALID_HANDLE",
                                   "Unable to queue internal buffer", "DSQueueBuffer"),
                        StartCalls(1) + RevokeCalls(1)},
        StartFailureRow{"Event", "GCRegisterEvent", 0, GenTL::GC_ERR_RESOURCE_IN_USE,
                        StartError("LogicalErrorException", "GC_ERR_RESOURCE_IN_USE",
                                   "Unable to register new buffer events", "GCRegisterEvent"),
                        StartCalls(2) + sk_resend + sk_register + RevokeCalls(2)},
        StartFailureRow{"Host", "DSStartAcquisition", 0, GenTL::GC_ERR_INVALID_BUFFER,
                        StartError("InvalidArgumentException", "GC_ERR_INVALID_BUFFER",
                                   "Unable to start acquisition", "DSStartAcquisition"),
                        StartCalls(2) + sk_resend + sk_register + sk_hostStart + sk_unregister +
                            RevokeCalls(2)},
        StartFailureRow{
            "Camera", "GCWritePort", 1, GenTL::GC_ERR_IO,
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to write port: GCWritePort refused",
                       "Port.cpp, Write", "GCWritePort"),
            StartCalls(2) + sk_resend + sk_register + sk_hostStart + sk_lock + sk_cameraStart +
                sk_hostStop + sk_unregister + sk_unlock + RevokeCalls(2)}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Starting, ReportsTheCleanUpWhenThatFailsToo) {
  OpenCamera();
  m_world.Fail("DSQueueBuffer", GenTL::GC_ERR_IO);
  m_world.Fail("DSRevokeBuffer", GenTL::GC_ERR_BUSY);
  EXPECT_EQ(Thrown([&] { m_pCamera->StartStream(1); }),
            GenTLError("RuntimeException", "GC_ERR_BUSY", "Unable to revoke internal buffer",
                       "Device.cpp, CleanupAnnouncedBuffersOnStartFailure", "DSRevokeBuffer") +
                "DSRevokeBuffer refused");
  m_world.CameraStream().url = "file:/nowhere/stream.xml";
  DestroyCamera();
  m_world.Fail("DSQueueBuffer", GenTL::GC_ERR_IO);
  OpenCamera();
  EXPECT_EQ(Thrown([&] { m_pCamera->StartStream(1); }),
            GenTLError("InvalidArgumentException", "GC_ERR_INVALID_HANDLE",
                       "Unable to get TLDatastream nodemap, NULL returned",
                       "Device.cpp, GetNodeMap", "GetNodeMap") +
                "DSQueueBuffer refused");
}

// --- TCP

TEST_F(Starting, OverTcpForcesThePacketSizeAndStoppingRestoresIt) {
  auto& camera = m_world.Camera();
  camera.AddStream();
  camera.remote.Boolean("TCPEnable", true);
  camera.remote.Integer("DeviceStreamChannelPacketSize", 1500);
  Feature& packetSize = *camera.remote.Find("DeviceStreamChannelPacketSize");
  OpenCamera()->StartStream(1);
  EXPECT_TRUE(m_world.CameraStream(1).grabbing);
  EXPECT_EQ(packetSize.integer, 9000);
  m_pCamera->StopStream();
  EXPECT_EQ(packetSize.integer, 1500);
  // Kept on purpose: a start that fails leaves the size.
  m_world.Fail("DSStartAcquisition", GenTL::GC_ERR_IO);
  EXPECT_NE(Thrown([&] { m_pCamera->StartStream(1); }), "");
  EXPECT_EQ(packetSize.integer, 9000);
}

// --- stop

class Stopping : public ScriptedTest {
 protected:
  void OpenAndStart(size_t numBuffers) {
    OpenCamera()->StartStream(numBuffers);
    ForgetCalls();
  }
};

TEST_F(Stopping, CallsTheProducerInOrderAndTellsTheCameraLast) {
  OpenAndStart(2);
  m_pCamera->StopStream();
  EXPECT_EQ(TakeCalls(), (sk_hostStop + sk_unregister + sk_unlock + RevokeCalls(2) +
                          Calls{"GCWritePort(cam0.remote, AcquisitionStop=1)"}));
}

TEST_F(Stopping, OfAStreamThatDoesNotRunFails) {
  OpenCamera();
  EXPECT_EQ(
      Thrown([&] { m_pCamera->StopStream(); }),
      GenTLError("LogicalErrorException", "GC_ERR_RESOURCE_IN_USE", "Unable to stop acquisition",
                 "Device.cpp, StopStream", "DSStopAcquisition") +
          "DSStopAcquisition refused");
}

struct StopFailureRow {
  const char* function;
  const char* whatFailed;
};
class StopFails : public Stopping, public testing::WithParamInterface<StopFailureRow> {};

TEST_P(StopFails, WithItsMessage) {
  OpenAndStart(1);
  m_world.Fail(GetParam().function, GenTL::GC_ERR_IO);
  EXPECT_EQ(Thrown([&] { m_pCamera->StopStream(); }),
            GenTLError("RuntimeException", "GC_ERR_IO", GetParam().whatFailed,
                       "Device.cpp, StopStream", GetParam().function) +
                GetParam().function + " refused");
}

INSTANTIATE_TEST_SUITE_P(
    EachStep, StopFails,
    testing::Values(StopFailureRow{"DSStopAcquisition", "Unable to stop acquisition"},
                    StopFailureRow{"GCUnregisterEvent", "Unable to unregister new buffer events"},
                    StopFailureRow{"DSFlushQueue", "Unable to flush queue"},
                    StopFailureRow{"DSGetBufferID", "Unable to get internal buffer ID"},
                    StopFailureRow{"DSRevokeBuffer", "Unable to revoke internal buffer"}),
    [](const auto& info) { return std::string(info.param.function); });

TEST_F(Stopping, NeedsTheCamerasStopCommand) {
  m_world.Camera().remote.Remove("AcquisitionStop");
  OpenAndStart(1);
  EXPECT_EQ(Thrown([&] { m_pCamera->StopStream(); }),
            PlainError("RuntimeException",
                       "Unable to stop acquisition because Acquisition Stop node doesn't exist",
                       "Device.cpp, StopStream"));
  EXPECT_TRUE(m_world.CameraStream().buffers.empty());
}

// --- event-based sensors

class EventSensor : public ScriptedTest {
 protected:
  EventSensor() {
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

TEST_F(EventSensor, RegistersAndUnregistersBothEvents) {
  OpenCamera();
  ForgetCalls();
  m_pCamera->StartStream(1);
  const std::string s = "(cam0.stream3";
  EXPECT_THAT(TakeCalls(),
              ElementsAre("DSAllocAndAnnounceBuffer" + s + ", 16)", "DSQueueBuffer" + s + ")",
                          "DSSetupResendRetryParams" + s + ", 0, 0.0, , , 8, 2)",
                          "GCRegisterEvent" + s + ", 1)", "GCRegisterEvent" + s + ", 1001)",
                          "DSStartAcquisition" + s + ", 0, 1)",
                          "GCWritePort(cam0.remote, TLParamsLocked=1)",
                          "GCWritePort(cam0.remote, AcquisitionStart=1)"));
  m_pCamera->StopStream();
  EXPECT_THAT(
      TakeCalls(),
      ElementsAre("DSStopAcquisition" + s + ", 0)", "GCUnregisterEvent" + s + ", 1)",
                  "GCUnregisterEvent" + s + ", 1001)", "GCWritePort(cam0.remote, TLParamsLocked=0)",
                  "DSFlushQueue" + s + ", 4)", "DSGetBufferID" + s + ", 0)",
                  "DSRevokeBuffer" + s + ")", "GCWritePort(cam0.remote, AcquisitionStop=1)"));
}

TEST_F(EventSensor, NamesItsOperationsInMessages) {
  OpenCamera();
  m_world.Fail("GCRegisterEvent", GenTL::GC_ERR_IO, 1);
  EXPECT_EQ(Thrown([&] { m_pCamera->StartStream(1); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to register new buffer events",
                       "Device.cpp, StartStreamEVS", "GCRegisterEvent") +
                "GCRegisterEvent refused");
  EXPECT_TRUE(m_world.CameraStream(3).buffers.empty());
  m_pCamera->StartStream(1);
  m_world.Fail("GCUnregisterEvent", GenTL::GC_ERR_IO, 1);
  EXPECT_EQ(Thrown([&] { m_pCamera->StopStream(); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to unregister new buffer events",
                       "Device.cpp, StopStreamEVS", "GCUnregisterEvent") +
                "GCUnregisterEvent refused");
}

}  // namespace
