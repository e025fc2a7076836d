// SPDX-License-Identifier: Apache-2.0
// Opening and destroying of cameras, and their node maps.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Fixture.h"
#include "GenApiCustom.h"
#include "IImageCallback.h"
#include "Orvex/NodeMapUtility.h"

namespace {

using namespace Orvex;
using testing::ElementsAre;

class CameraOpening : public ScriptedTest {
 protected:
  void OpenTwoStreams() {
    m_world.Camera().AddStream();
    Open();
    m_info = m_pSystem->GetDevices().at(0);
  }
  void Create() { m_pCamera = dynamic_cast<Device*>(m_pSystem->CreateDevice(m_info)); }

  DeviceInfo m_info;
};

TEST_F(CameraOpening, FollowsItsStepsOrLeavesNothingOpen) {
  const char* const sk_streams = "Device.cpp, EnumerateStreams";
  const Calls closeDevice = {"DevClose(cam0)"};
  const Calls closeFirst = Calls{"DSClose(cam0.stream0)"} + closeDevice;
  const Calls closeBoth = Calls{"DSClose(cam0.stream1)"} + closeFirst;
  struct {
    const char* what;
    const char* command;
  } const sk_urlInfos[] = {{"", "URL_INFO_URL"},
                           {" schema version major", "URL_INFO_SCHEMA_VER_MAJOR"},
                           {" schema version minor", "URL_INFO_SCHEMA_VER_MINOR"},
                           {" file version major", "URL_INFO_FILE_VER_MAJOR"},
                           {" file version minor", "URL_INFO_FILE_VER_MINOR"},
                           {" file version subminor", "URL_INFO_FILE_VER_SUBMINOR"}};
  Steps urlInfos;
  for (int i = 0; i < 6; ++i) {
    urlInfos.push_back(Checked("GCGetPortURLInfo(cam0.remote, 0, " + std::to_string(i) + ")",
                               std::string("Unable to get port URL") + sk_urlInfos[i].what,
                               "NodeMapUtility.cpp, GetUrlInfo", closeDevice,
                               std::string("GCGetPortURLInfo, ") + sk_urlInfos[i].command));
  }
  const Steps streams = {
      Checked("DevGetNumDataStreams(cam0)", "Unable to get number of datastreams", sk_streams,
              closeDevice),
      Checked("DevGetDataStreamID(cam0, 0)", "Unable to open datastream", sk_streams, closeDevice),
      Checked("DevOpenDataStream(cam0, stream0)", "Unable to open datastream", sk_streams,
              closeDevice),
      UrlStep("cam0.stream0", closeFirst),
      Checked("DevGetDataStreamID(cam0, 1)", "Unable to open datastream", sk_streams, closeFirst),
      Checked("DevOpenDataStream(cam0, stream1)", "Unable to open datastream", sk_streams,
              closeFirst),
      UrlStep("cam0.stream1", closeBoth)};
  const Steps remote = {Checked("DevGetPort(cam0)", "Unable to get remote device",
                                "NodeMapUtility.cpp, GetRemotePort", closeDevice),
                        PassedOver("GCGetNumPortURLs(cam0.remote)")};
  Operation create;
  create.prepare = [this] { OpenTwoStreams(); };
  create.act = [this] { Create(); };
  create.steps = Steps{PassedOver("IFOpenDevice(cam0, 3)"), UrlStep("cam0", closeDevice)} + remote +
                 urlInfos + streams;
  const auto callsOf = [](const Steps& steps) {
    Calls calls;
    for (const Step& step : steps) calls.push_back(step.call);
    return calls;
  };
  // Without control the camera is opened for reading, without a list of URLs the one is asked for.
  create.steps[0].then = Calls{"IFOpenDevice(cam0, 2)"} + callsOf(create.steps);
  create.steps[0].then->erase(create.steps[0].then->begin() + 1);
  create.steps[3].then = Calls{"GCGetPortURL(cam0.remote)"} + callsOf(streams);
  create.reads = {Checked("GCReadPort(cam0.remote, 1048576)", "Unable to read port",
                          "NodeMapUtility.cpp, ReadXML", closeDevice)};
  create.after = [this](const Step& step) {
    if (step.thrown.empty()) return;
    EXPECT_EQ(m_world.Camera().open, 0);
    for (const auto& stream : m_world.Camera().streams) EXPECT_FALSE(stream->open) << stream->id;
    EXPECT_EQ(Thrown([&] { Create(); }), "");  // usable by the next caller
  };
  Drive(create);
}

TEST_F(CameraOpening, GivesTheNodeMaps) {
  OpenCamera();
  auto infos = m_pSystem->GetDevices();
  EXPECT_EQ(GetNodeValue<int64_t>(m_pCamera->GetNodeMap(), "PayloadSize"), 16);
  EXPECT_EQ(GetNodeValue<GenICam::gcstring>(m_pCamera->GetTLDeviceNodeMap(), "DeviceType"),
            "GigEVision");
  EXPECT_FALSE(GetNodeValue<bool>(m_pCamera->GetTLStreamNodeMap(), "StreamIsGrabbing"));
  EXPECT_EQ(m_pCamera->GetTLInterfaceNodeMap(), m_pSystem->GetTLInterfaceNodeMap(infos.at(0)));
}

TEST_F(CameraOpening, FallsBackToReadOnlyForACameraThatAnotherHolds) {
  m_world.Camera().heldElsewhere = true;
  OpenCamera();
  EXPECT_EQ(m_world.Camera().open, GenTL::DEVICE_ACCESS_READONLY);
}

TEST_F(CameraOpening, OfAnOpenOneTellsSo) {
  OpenCamera();
  EXPECT_EQ(Thrown([&] { m_pSystem->CreateDevice(m_pSystem->GetDevices().at(0)); }),
            GenTLError("LogicalErrorException", "GC_ERR_RESOURCE_IN_USE",
                       "Failure opening device due to device already being open",
                       "System.cpp, CreateDevice", "IFOpenDevice") +
                "IFOpenDevice refused");
}

TEST_F(CameraOpening, ReportsTheSecondRefusal) {
  Open();
  m_world.Fail("IFOpenDevice", GenTL::GC_ERR_ACCESS_DENIED);
  m_world.Fail("IFOpenDevice", GenTL::GC_ERR_IO);
  EXPECT_EQ(Thrown([&] { OpenCamera(); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to open device",
                       "System.cpp, CreateDevice", "IFOpenDevice") +
                "IFOpenDevice refused");
}

TEST_F(CameraOpening, NeedsTheInterfaceThatSawIt) {
  Open();
  auto infos = m_pSystem->GetDevices();
  m_world.interfaces[0]->Find("GevInterfaceMACAddress")->integer = 77;
  EXPECT_EQ(Thrown([&] { m_pSystem->CreateDevice(infos.at(0)); }),
            PlainError("LogicalErrorException", "Camera Interface not found",
                       "System.cpp, CreateDevice"));
  EXPECT_EQ(Thrown([&] { m_pSystem->GetTLInterfaceNodeMap(infos.at(0)); }),
            PlainError("LogicalErrorException", "Camera Interface not found",
                       "System.cpp, GetTLInterfaceNodeMap"));
}

TEST_F(CameraOpening, AsksForTheUrlTheOldWayWhenTheListIsEmpty) {
  m_world.Camera().remote.numUrls = 0;
  m_world.Fail("GCGetPortURL(cam0.remote)", GenTL::GC_ERR_IO);
  EXPECT_EQ(Thrown([&] { OpenCamera(); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to get port",
                       "NodeMapUtility.cpp, GetUrlInfo", "GCGetPortURL") +
                "GCGetPortURL refused");
  OpenCamera();
}

TEST_F(CameraOpening, ReadsDescriptionsOutOfThePortWhateverTheirScheme) {
  EXPECT_EQ(
      Thrown([] { ReadXML(nullptr, {}); }),
      PlainError("InvalidArgumentException", "Module is null", "NodeMapUtility.cpp, ReadXML"));
  auto& remote = m_world.Camera().remote;
  OpenCamera();
  const std::string rest = remote.currentUrl.substr(remote.currentUrl.find(':'));
  DestroyCamera();
  remote.url = "http" + rest;
  EXPECT_EQ(Thrown([&] { OpenCamera(); }), "");
}

TEST_F(CameraOpening, PassesOnWhatTheParserSaysOfAPlainDescription) {
  m_world.Camera().remote.zipped = false;  // cameras' descriptions are zipped
  Open();
  EXPECT_NE(Thrown([&] { OpenCamera(); }), "");
  EXPECT_EQ(m_world.Camera().open, 0);
}

struct RateRow {
  const char* name;
  double limit;
  double expectedLimit;
};
class EventRateControl : public ScriptedTest, public testing::WithParamInterface<RateRow> {};

TEST_P(EventRateControl, IsCutToTheLinkAndSwitchedOn) {
  auto& remote = m_world.Camera().remote;
  remote.Enumeration("EventFormat", {"EVT3_0"}, 0);
  remote.Integer("DeviceLinkSpeed", 125000000);  // 20 million events a second
  remote.Float("ErcRateLimit", GetParam().limit);
  remote.Boolean("ErcEnable", false);
  OpenCamera();
  EXPECT_DOUBLE_EQ(remote.Find("ErcRateLimit")->real, GetParam().expectedLimit);
  EXPECT_EQ(remote.Find("ErcEnable")->integer, 1);
}

INSTANTIATE_TEST_SUITE_P(Limits, EventRateControl,
                         testing::Values(RateRow{"Above", 320, 20}, RateRow{"Equal", 20, 20},
                                         RateRow{"Below", 5, 5}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(CameraOpening, LeavesEventRatesOfOtherCamerasAlone) {
  auto& remote = m_world.Camera().remote;
  remote.Integer("DeviceLinkSpeed", 125000000);
  remote.Float("ErcRateLimit", 320);
  OpenCamera();
  EXPECT_DOUBLE_EQ(remote.Find("ErcRateLimit")->real, 320);
}

// --- destroying

using Destroying = ScriptedTest;

TEST_F(Destroying, StopsTheStreamThenClosesStreamsBeforeTheDevice) {
  const char* const sk_stopping = "Device.cpp, StopStream";
  Operation destroy;
  destroy.prepare = [this] {
    m_world.Camera().AddStream();
    OpenCamera()->StartStream(1);
  };
  destroy.act = [this] {
    m_pSystem->DestroyDevice(m_pCamera);
    m_pCamera = nullptr;
  };
  destroy.steps = {
      Checked("DSStopAcquisition(cam0.stream0, 0)", "Unable to stop acquisition", sk_stopping),
      Checked("GCUnregisterEvent(cam0.stream0, 1)", "Unable to unregister new buffer events",
              sk_stopping),
      PortAccess("GCWritePort(cam0.remote, TLParamsLocked=0)"),
      Checked("DSFlushQueue(cam0.stream0, 4)", "Unable to flush queue", sk_stopping),
      Checked("DSGetBufferID(cam0.stream0, 0)", "Unable to get internal buffer ID", sk_stopping),
      Checked("DSRevokeBuffer(cam0.stream0)", "Unable to revoke internal buffer", sk_stopping),
      PortAccess("GCWritePort(cam0.remote, AcquisitionStop=1)"),
      PassedOver("DSClose(cam0.stream0)"),
      PassedOver("DSClose(cam0.stream1)"),
      PassedOver("DevClose(cam0)")};
  destroy.after = [this](const Step& step) {
    EXPECT_EQ(m_pCamera == nullptr, step.thrown.empty());  // it lives on where that failed
    if (m_pCamera != nullptr) {
      EXPECT_NE(m_world.Camera().open, 0);
    }
  };
  Drive(destroy);
}

// The camera is gone, so that not even the stream can be chosen; the callbacks still run.
TEST_F(Destroying, EndsTheCallbackThreadThatAFailedStopLeft) {
  struct : IImageCallback {
    void OnImage(IImage*) override {}
  } callback;
  auto& remote = m_world.Camera().remote;
  remote.Boolean("TCPEnable", false);
  remote.Enumeration("TransportStreamProtocol", {"UDP"}, 0);
  m_world.CameraStream().freeRunning = true;
  OpenCamera()->RegisterImageCallback(&callback);
  m_pCamera->StartStream(3);
  m_world.Fail("GCReadPort(cam0.remote, TransportStreamProtocol)", GenTL::GC_ERR_IO);
  m_world.errorText = "Gone. Code:-1010";
  DestroyCamera();
  EXPECT_EQ(m_world.Camera().open, 0);
}

struct StopFailureRow {
  const char* name;
  GenTL::GC_ERROR status;
  const char* producerText;
  bool destroyed;
};
class DestroyingWithAFailingStop : public ScriptedTest,
                                   public testing::WithParamInterface<StopFailureRow> {};

TEST_P(DestroyingWithAFailingStop, LooksAtWhatFailed) {
  OpenCamera();
  m_world.Fail("DSStopAcquisition", GetParam().status);
  m_world.errorText = GetParam().producerText;
  const std::string thrown = Thrown([&] { m_pSystem->DestroyDevice(m_pCamera); });
  EXPECT_EQ(thrown.empty(), GetParam().destroyed) << thrown;
  EXPECT_EQ(m_world.Camera().open == 0, GetParam().destroyed);
  if (GetParam().destroyed) m_pCamera = nullptr;
}

INSTANTIATE_TEST_SUITE_P(
    Failures, DestroyingWithAFailingStop,
    testing::Values(StopFailureRow{"Timeout", GenTL::GC_ERR_TIMEOUT, "x", true},
                    StopFailureRow{"InUse", GenTL::GC_ERR_RESOURCE_IN_USE, "x", true},
                    StopFailureRow{"Abort", GenTL::GC_ERR_ABORT, "x", true},
                    StopFailureRow{"IoWithItsCode", GenTL::GC_ERR_IO, "Gone. Code:-1010", true},
                    StopFailureRow{"Io", GenTL::GC_ERR_IO, "Gone.", false},
                    StopFailureRow{"Denied", GenTL::GC_ERR_ACCESS_DENIED, "x", false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Destroying, RefusesNull) {
  Open();
  EXPECT_EQ(Thrown([&] { m_pSystem->DestroyDevice(nullptr); }),
            PlainError("InvalidArgumentException", "Device is null", "System.cpp, DestroyDevice"));
}

// --- the camera's description as a file

class XmlDownload : public ScriptedTest {
 protected:
  XmlDownload() : m_before(std::filesystem::current_path()) {
    m_folder = std::filesystem::temp_directory_path() /
               ("orvex-xml-download-" + std::to_string(::getpid()));
    std::filesystem::remove_all(m_folder);
    std::filesystem::create_directory(m_folder);
    std::filesystem::current_path(m_folder);
  }
  ~XmlDownload() override {
    std::filesystem::current_path(m_before);
    std::filesystem::remove_all(m_folder);
  }
  std::filesystem::path m_before, m_folder;
};

TEST_F(XmlDownload, IsNamedByTheSerialNumber) {
  OpenCamera()->DownloadXml();
  std::stringstream text;
  text << std::ifstream("S0001.xml").rdbuf();
  EXPECT_NE(text.str().find("AcquisitionStart"), std::string::npos);
}

TEST_F(XmlDownload, FailsWithoutASerialNumberOrWithOneThatLeadsElsewhere) {
  const std::string failure =
      PlainError("RuntimeException", "Unable to download XML", "Device.cpp, DownloadXml");
  OpenCamera();
  for (const char* serial : {"", "../S0001"}) {
    m_world.Camera().Find("DeviceSerialNumber")->text = serial;
    EXPECT_EQ(Thrown([&] { m_pCamera->DownloadXml(); }), failure);
  }
  m_world.Camera().Find("DeviceSerialNumber")->text = "S0001";
  std::filesystem::create_directory("S0001.xml");
  EXPECT_EQ(Thrown([&] { m_pCamera->DownloadXml(); }), failure);
}

}  // namespace
