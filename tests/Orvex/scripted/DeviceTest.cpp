// SPDX-License-Identifier: Apache-2.0
// Opening and destroying of cameras, their node maps, and what the system does to their network
// configuration.
#include <arpa/inet.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "Fixture.h"
#include "GenApiCustom.h"
#include "Orvex/NodeMapUtility.h"

namespace {

using namespace Orvex;
using testing::ElementsAre;

struct FailureRow {
  const char* name;
  const char* function;
  int skip;  // calls of the function that go through before
  GenTL::GC_ERROR status;
  std::string thrown;
};

std::string Name(const testing::TestParamInfo<FailureRow>& info) {
  return info.param.name;
}

class CameraOpeningFails : public ScriptedTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(CameraOpeningFails, WithItsMessageAndLeavesNothingOpen) {
  m_world.Camera().AddStream();
  Open();
  auto infos = m_pSystem->GetDevices();
  m_world.Fail(GetParam().function, GetParam().status, GetParam().skip);
  ForgetCalls();
  EXPECT_EQ(Thrown([&] { m_pSystem->CreateDevice(infos.at(0)); }),
            GetParam().thrown + GetParam().function + " refused");
  EXPECT_THAT(TakeCalls(), testing::Contains("DevClose(cam0)"));
  for (const auto& stream : m_world.Camera().streams) EXPECT_FALSE(stream->open) << stream->id;
  EXPECT_EQ(Thrown([&] { OpenCamera(); }), "");  // usable by the next caller
}

std::string UrlError(const char* what, const char* command) {
  return GenTLError("RuntimeException", "GC_ERR_IO", std::string("Unable to get port URL") + what,
                    "NodeMapUtility.cpp, GetUrlInfo", std::string("GCGetPortURLInfo, ") + command);
}

INSTANTIATE_TEST_SUITE_P(
    EachStep, CameraOpeningFails,
    testing::Values(
        FailureRow{"RemotePort", "DevGetPort", 0, GenTL::GC_ERR_IO,
                   GenTLError("RuntimeException", "GC_ERR_IO", "Unable to get remote device",
                              "NodeMapUtility.cpp, GetRemotePort", "DevGetPort")},
        FailureRow{"Url", "GCGetPortURLInfo", 0, GenTL::GC_ERR_IO, UrlError("", "URL_INFO_URL")},
        FailureRow{"SchemaMajor", "GCGetPortURLInfo", 1, GenTL::GC_ERR_IO,
                   UrlError(" schema version major", "URL_INFO_SCHEMA_VER_MAJOR")},
        FailureRow{"SchemaMinor", "GCGetPortURLInfo", 2, GenTL::GC_ERR_IO,
                   UrlError(" schema version minor", "URL_INFO_SCHEMA_VER_MINOR")},
        FailureRow{"FileMajor", "GCGetPortURLInfo", 3, GenTL::GC_ERR_IO,
                   UrlError(" file version major", "URL_INFO_FILE_VER_MAJOR")},
        FailureRow{"FileMinor", "GCGetPortURLInfo", 4, GenTL::GC_ERR_IO,
                   UrlError(" file version minor", "URL_INFO_FILE_VER_MINOR")},
        FailureRow{"FileSubMinor", "GCGetPortURLInfo", 5, GenTL::GC_ERR_IO,
                   UrlError(" file version subminor", "URL_INFO_FILE_VER_SUBMINOR")},
        FailureRow{"Description", "GCReadPort", 3, GenTL::GC_ERR_IO,
                   GenTLError("RuntimeException", "GC_ERR_IO", "Unable to read port",
                              "NodeMapUtility.cpp, ReadXML", "GCReadPort")},
        FailureRow{"StreamCount", "DevGetNumDataStreams", 0, GenTL::GC_ERR_INVALID_HANDLE,
                   GenTLError("InvalidArgumentException", "GC_ERR_INVALID_HANDLE",
                              "Unable to get number of datastreams", "Device.cpp, EnumerateStreams",
                              "DevGetNumDataStreams")},
        FailureRow{
            "SecondStreamId", "DevGetDataStreamID", 1, GenTL::GC_ERR_INVALID_INDEX,
            GenTLError("OutOfRangeException", "GC_ERR_INVALID_INDEX", "Unable to open datastream",
                       "Device.cpp, EnumerateStreams", "DevGetDataStreamID")},
        FailureRow{
            "SecondStream", "DevOpenDataStream", 1, GenTL::GC_ERR_NOT_AVAILABLE,
            GenTLError("LogicalErrorException", "GC_ERR_NOT_AVAILABLE", "Unable to open datastream",
                       "Device.cpp, EnumerateStreams", "DevOpenDataStream")}),
    Name);

using CameraOpening = ScriptedTest;

TEST_F(CameraOpening, CallsTheProducerInOrder) {
  Open();
  auto infos = m_pSystem->GetDevices();
  ForgetCalls();
  m_pCamera = dynamic_cast<Device*>(m_pSystem->CreateDevice(infos.at(0)));
  EXPECT_THAT(
      TakeCalls(),
      ElementsAre("IFOpenDevice(cam0, 3)", "GCGetPortURL(cam0)", "DevGetPort(cam0)",
                  "GCGetNumPortURLs(cam0.remote)", "GCGetPortURLInfo(cam0.remote, 0, 0)",
                  "GCGetPortURLInfo(cam0.remote, 0, 1)", "GCGetPortURLInfo(cam0.remote, 0, 2)",
                  "GCGetPortURLInfo(cam0.remote, 0, 3)", "GCGetPortURLInfo(cam0.remote, 0, 4)",
                  "GCGetPortURLInfo(cam0.remote, 0, 5)", "DevGetNumDataStreams(cam0)",
                  "DevGetDataStreamID(cam0, 0)", "DevOpenDataStream(cam0, stream0)",
                  "GCGetPortURL(cam0.stream0)"));
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

TEST_F(CameraOpening, AsksForTheUrlTheOldWayWhenThereIsNoList) {
  m_world.Camera().remote.numUrls = 0;
  OpenCamera();
  EXPECT_THAT(TakeCalls(), testing::Contains("GCGetPortURL(cam0.remote)"));
  DestroyCamera();
  m_world.Fail("GCGetPortURL", GenTL::GC_ERR_IO, 1);
  EXPECT_EQ(Thrown([&] { OpenCamera(); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to get port",
                       "NodeMapUtility.cpp, GetUrlInfo", "GCGetPortURL") +
                "GCGetPortURL refused");
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

TEST_F(Destroying, ClosesStreamsBeforeTheDevice) {
  m_world.Camera().AddStream();
  OpenCamera();
  ForgetCalls();
  DestroyCamera();
  EXPECT_THAT(TakeCalls(),
              ElementsAre("DSStopAcquisition(cam0.stream0, 0)", "DSClose(cam0.stream0)",
                          "DSClose(cam0.stream1)", "DevClose(cam0)"));
  Close();
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

// --- network configuration

using NetworkConfiguration = ScriptedTest;

TEST_F(NetworkConfiguration, ForcesAnAddressOnEveryInterface) {
  m_world.AddInterface("if1", 2, 0x0B000001);
  Open();
  ForgetCalls();
  m_pSystem->ForceIp(0x0012AB34CD56, 0x0A000005, 0xFFFFFF00, 0);
  EXPECT_THAT(TakeCalls(), ElementsAre("TLUpdateInterfaceList(infinite)",
                                       "IFForceIp(if0, 80181775702, 167772165, 4294967040, 0)",
                                       "IFForceIp(if1, 80181775702, 167772165, 4294967040, 0)"));
  m_world.Fail("IFForceIp", GenTL::GC_ERR_IO);
  EXPECT_EQ(Thrown([&] { m_pSystem->ForceIp(1, 2, 3, 4); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to force ip of device",
                       "System.cpp, ForceIp", "IFForceIP") +
                "IFForceIp refused");
  EXPECT_THAT(TakeCalls(), testing::Not(testing::Contains("IFForceIp(if1, 1, 2, 3, 4)")));
}

TEST_F(NetworkConfiguration, TakesNoAddressAsText) {
  Open();
  for (const char* mac : {"00:11:22:33:44:55", "", "hello", "00:11:22:33:44"}) {
    EXPECT_EQ(Thrown([&] { m_pSystem->ForceIp(mac, "10.0.0.5", "255.255.255.0", "0.0.0.0"); }),
              PlainError("InvalidArgumentException", "Bad MAC address", "System.cpp, ForceIp"));
  }
}

TEST_F(NetworkConfiguration, AddsUnicastAddressesOnTheInterfaceThatRoutesThere) {
  m_world.AddInterface("lo", 0, 0x7F000001);
  Open();
  ForgetCalls();
  const uint32_t networkOrder = ::inet_addr("127.0.0.9");
  const std::string argument = std::to_string(networkOrder);
  m_pSystem->AddUnicastDiscoveryDevice("127.0.0.9");
  EXPECT_THAT(TakeCalls(), ElementsAre("IFAddUnicastDiscoveryDevice(lo, " + argument + ")"));
  EXPECT_THAT(m_pSystem->GetUnicastDiscoveryDevices(), ElementsAre(networkOrder));
  m_pSystem->RemoveUnicastDiscoveryDevice("127.0.0.9");
  EXPECT_TRUE(m_pSystem->GetUnicastDiscoveryDevices().empty());

  // Both operations name the removal.
  for (const char* name : {"AddUnicastDiscoveryDevice", "RemoveUnicastDiscoveryDevice"}) {
    m_world.Fail(std::string("IF") + name, GenTL::GC_ERR_IO);
    EXPECT_EQ(Thrown([&] {
                if (name[0] == 'A') m_pSystem->AddUnicastDiscoveryDevice("127.0.0.9");
                if (name[0] == 'R') m_pSystem->RemoveUnicastDiscoveryDevice("127.0.0.9");
              }),
              PlainError("RuntimeException",
                         "GenTL::System::RemoveUnicastDiscoveryDevice() failed. Error: [-1010].",
                         std::string("System.cpp, ") + name));
  }
  m_world.Fail("IFGetUnicastDiscoveryDevices", GenTL::GC_ERR_IO);
  EXPECT_EQ(Thrown([&] { m_pSystem->GetUnicastDiscoveryDevices(); }),
            PlainError("RuntimeException",
                       "GenTL::System::GetUnicastDiscoveryDevices() failed. Error: [-1010].",
                       "System.cpp, GetUnicastDiscoveryDevices"));
}

TEST_F(NetworkConfiguration, RefusesAddressesThatNoCameraCanHave) {
  Open();
  for (const char* ip : {"0.0.0.0", "255.255.255.255"}) {
    EXPECT_EQ(Thrown([&] { m_pSystem->AddUnicastDiscoveryDevice(ip); }),
              PlainError("InvalidArgumentException", "Invalid IP address specified.",
                         "System.cpp, GetBestRouteInterface"));
  }
  EXPECT_THAT(
      Thrown([&] { m_pSystem->RemoveUnicastDiscoveryDevice("10.0.0"); }),
      testing::MatchesRegex("InvalidArgumentException . InvalidArgumentException: Unable to "
                            "parse remote IP address. Error: .[0-9]+. .System.cpp, "
                            "GetBestRouteInterface."));
}

}  // namespace
