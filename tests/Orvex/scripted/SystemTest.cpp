// SPDX-License-Identifier: Apache-2.0
// Opening and closing of the library, interfaces and devices that it finds.
#include "Fixture.h"
#include "ISystem.h"

namespace {

using namespace Orvex;
using testing::ElementsAre;

struct FailureRow {
  const char* name;
  const char* function;
  GenTL::GC_ERROR status;
  std::string thrown;
  std::string whenTriedAgain;  // "" when that succeeds
};

std::string Name(const testing::TestParamInfo<FailureRow>& info) {
  return info.param.name;
}

const std::string sk_alreadyOpen =
    GenTLError("RuntimeException", "GenTL::GC_ERR_RESOURCE_IN_USE",
               "Library already initialized (must initialize only once)", "Orvex.cpp, OpenSystem",
               "GCInitLib");

class OpeningFails : public ScriptedTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(OpeningFails, WithItsMessageAndReleasesWhatWasOpened) {
  m_world.Fail(GetParam().function, GetParam().status);
  EXPECT_EQ(Thrown([&] { Open(); }), GetParam().thrown);
  EXPECT_FALSE(m_world.open);
  EXPECT_FALSE(m_world.interfaces[0]->open);
  const std::string again = Thrown([&] { Open(); });
  EXPECT_EQ(again.substr(0, GetParam().whenTriedAgain.size()), GetParam().whenTriedAgain);
  EXPECT_EQ(again.empty(), GetParam().whenTriedAgain.empty()) << again;
}

INSTANTIATE_TEST_SUITE_P(
    EachStep, OpeningFails,
    testing::Values(
        FailureRow{"InitIo", "GCInitLib", GenTL::GC_ERR_IO,
                   GenTLError("RuntimeException", "GC_ERR_IO", "Unable to initialize library",
                              "Orvex.cpp, OpenSystem", "GCInitLib") +
                       "GCInitLib refused",
                   ""},
        FailureRow{"InitInUse", "GCInitLib", GenTL::GC_ERR_RESOURCE_IN_USE,
                   sk_alreadyOpen + "GCInitLib refused", ""},
        // Kept on purpose: the producer stays initialised.
        FailureRow{"Open", "TLOpen", GenTL::GC_ERR_ACCESS_DENIED,
                   GenTLError("AccessException", "GC_ERR_ACCESS_DENIED", "Unable to open system",
                              "Orvex.cpp, OpenSystem", "TLOpen") +
                       "TLOpen refused",
                   sk_alreadyOpen},
        FailureRow{
            "Count", "TLGetNumInterfaces", GenTL::GC_ERR_BUSY,
            GenTLError("RuntimeException", "GC_ERR_BUSY", "Unable to get number of interfaces",
                       "System.cpp, EnumerateInterfaces", "TLGetNumInterfaces") +
                "TLGetNumInterfaces refused",
            ""},
        FailureRow{
            "Id", "TLGetInterfaceID", GenTL::GC_ERR_INVALID_INDEX,
            GenTLError("OutOfRangeException", "GC_ERR_INVALID_INDEX", "Unable to get interface ID",
                       "System.cpp, EnumerateInterfaces", "TLGetInterfaceID") +
                "TLGetInterfaceID refused",
            ""},
        FailureRow{"OpenInterface", "TLOpenInterface", GenTL::GC_ERR_RESOURCE_IN_USE,
                   GenTLError("LogicalErrorException", "GC_ERR_RESOURCE_IN_USE",
                              "Unable to open interface", "System.cpp, EnumerateInterfaces",
                              "TLOpenInterface") +
                       "TLOpenInterface refused",
                   ""},
        FailureRow{"PortUrl", "GCGetPortURL", GenTL::GC_ERR_NOT_IMPLEMENTED,
                   "LogicalErrorException | LogicalErrorException (GC_ERR_NOT_IMPLEMENTED): "
                   "Unable to get port URL (NodeMapUtility.cpp, GetUrl)",
                   ""}),
    Name);

using Opening = ScriptedTest;

TEST_F(Opening, CallsTheProducerInOrder) {
  Open();
  EXPECT_THAT(TakeCalls(), ElementsAre("GCInitLib()", "TLOpen()", "TLGetNumInterfaces()",
                                       "TLGetInterfaceID(0, 20)", "TLOpenInterface(if0)",
                                       "GCGetPortURL(if0)", "GCGetPortURL(system)"));
  ASSERT_NE(m_pSystem->GetTLSystemNodeMap(), nullptr);
  EXPECT_NE(m_pSystem->GetTLSystemNodeMap()->GetNode("TLVendorName"), nullptr);
}

TEST_F(Opening, TwiceLeavesTheFirstSystemUsable) {
  Open();
  EXPECT_EQ(Thrown([] { OpenSystem(); }), sk_alreadyOpen + "GCInitLib refused");
  EXPECT_EQ(m_pSystem->GetInterfaces().size(), 1u);
}

TEST_F(Opening, FailsForAnInterfaceIdOfTwentyCharacters) {
  m_world.interfaces[0]->id = std::string(20, 'x');
  EXPECT_EQ(Thrown([&] { Open(); }),
            GenTLError("InvalidArgumentException", "GC_ERR_BUFFER_TOO_SMALL",
                       "Unable to get interface ID", "System.cpp, EnumerateInterfaces",
                       "TLGetInterfaceID") +
                "TLGetInterfaceID refused");
  m_world.interfaces[0]->id = std::string(19, 'x');
  Open();
}

TEST_F(Opening, GivesNoNodeMapForADescriptionFileThatIsNotThere) {
  m_world.url = "file:/nowhere/GenTLSystem.xml?SchemaVersion=1.1.0";
  Open();
  EXPECT_EQ(m_pSystem->GetTLSystemNodeMap(), nullptr);
}

using Closing = ScriptedTest;

TEST_F(Closing, ClosesInterfacesLastFirstThenSystemThenLibrary) {
  m_world.AddInterface("if1", 2, 0x0B000001);
  Open();
  ForgetCalls();
  Close();
  EXPECT_THAT(TakeCalls(),
              ElementsAre("IFClose(if1)", "IFClose(if0)", "TLClose(system)", "GCCloseLib()"));
  Open();  // and can be opened again
}

TEST_F(Closing, RefusesNullAndReportsTheLibrary) {
  EXPECT_EQ(Thrown([] { CloseSystem(nullptr); }),
            PlainError("InvalidArgumentException", "System is null", "Orvex.cpp, CloseSystem"));
  Open();
  m_world.Fail("GCCloseLib", GenTL::GC_ERR_ERROR);
  EXPECT_EQ(Thrown([&] { Close(); }),
            GenTLError("GenericException", "GC_ERR_ERROR", "Unable to close library",
                       "Orvex.cpp, CloseSystem", "GCCloseLib") +
                "GCCloseLib refused");
  m_world.initialised = false;
}

// --- interfaces

using Interfaces = ScriptedTest;

TEST_F(Interfaces, AreDescribedFromTheProducer) {
  Open();
  ForgetCalls();
  auto infos = m_pSystem->GetInterfaces();
  ASSERT_EQ(infos.size(), 1u);
  EXPECT_EQ(infos[0].IpAddressStr(), "10.0.0.1");
  EXPECT_EQ(infos[0].SubnetMaskStr(), "255.255.255.0");
  EXPECT_EQ(infos[0].MacAddressStr(), "02:00:00:00:00:01");
  EXPECT_THAT(TakeCalls(), ElementsAre("TLUpdateInterfaceList(infinite)", "IFGetInfo(if0, 1002, 8)",
                                       "IFGetInfo(if0, 1001, 8)", "IFGetInfo(if0, 1003, 8)"));
  InterfaceInfo copy = infos[0];
  infos.clear();
  EXPECT_EQ(copy.IpAddress(), 0x0A000001u);  // copies own their record
}

TEST_F(Interfaces, SurviveAnUpdateWhileTheProducerReportsThem) {
  OpenCamera();
  m_world.AddInterface("if1", 2, 0x0B000001);
  m_world.interfacesChanged = true;
  ForgetCalls();
  EXPECT_TRUE(m_pSystem->UpdateDevices(20));
  EXPECT_THAT(TakeCalls(), testing::Contains("TLOpenInterface(if1)").Times(1));
  EXPECT_NE(m_pCamera->GetTLInterfaceNodeMap(), nullptr);
}

TEST_F(Interfaces, SurviveAnUpdateThatFails) {
  OpenCamera();
  m_world.interfacesChanged = true;
  m_world.Fail("TLGetNumInterfaces", GenTL::GC_ERR_IO);
  EXPECT_NE(Thrown([&] { m_pSystem->GetInterfaces(); }), "");
  EXPECT_EQ(m_pSystem->GetInterfaces().size(), 1u);
  EXPECT_NE(m_pCamera->GetTLInterfaceNodeMap(), nullptr);
}

TEST_F(Interfaces, ThatAreGoneAreDroppedUnclosedAndTheirDevicesLiveOn) {
  OpenCamera();
  auto gone = std::move(m_world.interfaces[0]);
  m_world.interfaces.clear();
  m_world.AddInterface("if1", 2, 0x0B000001);
  m_world.interfacesChanged = true;
  ForgetCalls();
  EXPECT_EQ(m_pSystem->GetInterfaces().size(), 1u);
  EXPECT_THAT(TakeCalls(), testing::Not(testing::Contains("IFClose(if0)")));
  EXPECT_NE(m_pCamera->GetTLInterfaceNodeMap(), nullptr);
  DestroyCamera();
  m_world.goneInterfaces.push_back(std::move(gone));
}

// --- devices

using Discovery = ScriptedTest;

TEST_F(Discovery, AsksEachInterfaceAndTellsOfChanges) {
  m_world.AddInterface("if1", 2, 0x0B000001);
  Open();
  ForgetCalls();
  EXPECT_FALSE(m_pSystem->UpdateDevices(20));
  auto calls = TakeCalls();
  EXPECT_THAT(calls, testing::UnorderedElementsAre("TLUpdateInterfaceList(infinite)",
                                                   "IFUpdateDeviceList(if0, 20)",
                                                   "IFUpdateDeviceList(if1, 20)"));
  m_world.interfaces[1]->devicesChanged = true;
  EXPECT_TRUE(m_pSystem->UpdateDevices(20));
  m_world.interfacesChanged = true;
  EXPECT_TRUE(m_pSystem->UpdateDevices(20));
}

TEST_F(Discovery, FailsOnlyWhenEveryInterfaceFails) {
  m_world.AddInterface("if1", 2, 0x0B000001);
  Open();
  m_world.Fail("IFUpdateDeviceList", GenTL::GC_ERR_TIMEOUT);
  EXPECT_EQ(Thrown([&] { m_pSystem->UpdateDevices(20); }), "");
  m_world.FailAlways("IFUpdateDeviceList", GenTL::GC_ERR_IO);
  // The producer's text belongs to the thread that asked it, which is not this one.
  EXPECT_THAT(Thrown([&] { m_pSystem->UpdateDevices(20); }),
              testing::StartsWith(GenTLError("RuntimeException", "GC_ERR_IO",
                                             "Unable to update list of devices",
                                             "System.cpp, UpdateDevices", "IFUpdateDeviceList")));
}

TEST_F(Discovery, FailsWhenTheInterfaceListDoes) {
  Open();
  for (const char* function : {"UpdateDevices", "GetInterfaces", "ForceIp"}) {
    m_world.Fail("TLUpdateInterfaceList", GenTL::GC_ERR_IO);
    const std::string name = function;
    EXPECT_EQ(Thrown([&] {
                if (name == "UpdateDevices") m_pSystem->UpdateDevices(1);
                if (name == "GetInterfaces") m_pSystem->GetInterfaces();
                if (name == "ForceIp") m_pSystem->ForceIp(1, 2, 3, 4);
              }),
              GenTLError("RuntimeException", "GC_ERR_IO", "Unable to update list of interfaces",
                         "System.cpp, " + name, "TLUpdateInterfaceList") +
                  "TLUpdateInterfaceList refused");
  }
}

TEST_F(Discovery, OfOneInterfaceRebuildsAllOfThem) {
  OpenCamera();
  InterfaceInfo info = m_pSystem->GetInterfaces().at(0);
  ForgetCalls();
  EXPECT_FALSE(m_pSystem->UpdateDevices(info, 30));
  EXPECT_THAT(TakeCalls(),
              ElementsAre("IFClose(if0)", "TLUpdateInterfaceList(infinite)", "TLGetNumInterfaces()",
                          "TLGetInterfaceID(0, 20)", "TLOpenInterface(if0)", "GCGetPortURL(if0)",
                          "IFUpdateDeviceList(if0, 30)"));
  EXPECT_EQ(m_pCamera->GetTLInterfaceNodeMap(), nullptr);  // the device has forgotten its interface
}

TEST_F(Discovery, OfAnInterfaceThatIsNotThereFails) {
  Open();
  InterfaceInfo info = m_pSystem->GetInterfaces().at(0);
  m_world.interfaces[0]->Find("GevInterfaceSubnetIPAddress")->integer = 0x0A000009;
  EXPECT_EQ(Thrown([&] { m_pSystem->UpdateDevices(info, 1); }),
            PlainError("LogicalErrorException", "Matching Interface not found",
                       "System.cpp, UpdateDevices"));
  m_world.interfaces[0]->url = "file:/nowhere/GenTLInterface.xml";
  EXPECT_EQ(
      Thrown([&] { m_pSystem->UpdateDevices(info, 1); }),
      PlainError("RuntimeException", "TL Interface nodemap is null.", "System.cpp, operator()"));
}

TEST_F(Discovery, DescribesDevicesByTheirQueriesInOrder) {
  Open();
  ForgetCalls();
  auto devices = m_pSystem->GetDevices();
  ASSERT_EQ(devices.size(), 1u);
  DeviceInfo& info = devices[0];
  EXPECT_EQ(info.ModelName(), "Scripted");
  EXPECT_EQ(info.VendorName(), "Orvex");
  EXPECT_EQ(info.SerialNumber(), "S0001");
  EXPECT_EQ(info.UserDefinedName(), "left");
  EXPECT_EQ(info.DeviceVersion(), "2.7");
  EXPECT_EQ(info.IpAddressStr(), "10.0.0.2");
  EXPECT_EQ(info.SubnetMaskStr(), "255.255.255.0");
  EXPECT_EQ(info.DefaultGatewayStr(), "10.0.0.254");
  EXPECT_EQ(info.MacAddressStr(), "00:12:ab:34:cd:56");
  EXPECT_TRUE(info.IsDHCPConfigurationEnabled());
  EXPECT_FALSE(info.IsPersistentIpConfigurationEnabled());
  EXPECT_TRUE(info.IsLLAConfigurationEnabled());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("IFGetNumDevices(if0)", "IFGetDeviceID(if0, 0, 50)",
                          "IFGetDeviceInfo(cam0, 2, 256)", "IFGetDeviceInfo(cam0, 1, 256)",
                          "IFGetDeviceInfo(cam0, 7, 256)", "IFGetDeviceInfo(cam0, 1002, 4)",
                          "IFGetDeviceInfo(cam0, 1004, 8)", "IFGetDeviceInfo(cam0, 1003, 4)",
                          "IFGetDeviceInfo(cam0, 6, 256)", "IFGetDeviceInfo(cam0, 1005, 4)",
                          "IFGetDeviceInfo(cam0, 1006, 1)", "IFGetDeviceInfo(cam0, 1007, 1)",
                          "IFGetDeviceInfo(cam0, 1008, 1)", "IFGetInfo(if0, 1001, 8)",
                          "IFGetInfo(if0, 1002, 8)", "IFGetDeviceInfo(cam0, 8, 256)"));
}

TEST_F(Discovery, LeavesOutDevicesWhoseQueriesFail) {
  m_world.interfaces[0]->AddDevice("cam1");
  Open();
  m_world.Fail("IFGetDeviceInfo", GenTL::GC_ERR_INVALID_ID, 1);  // of the first camera
  EXPECT_EQ(m_pSystem->GetDevices().size(), 1u);
  m_world.infoType = GenTL::INFO_DATATYPE_UINT32;
  EXPECT_TRUE(m_pSystem->GetDevices().empty());
  m_world.Fail("IFGetNumDevices", GenTL::GC_ERR_IO);
  EXPECT_EQ(Thrown([&] { m_pSystem->GetDevices(); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to get number of devices",
                       "System.cpp, GetDevices", "IFGetNumDevices") +
                "IFGetNumDevices refused");
}

}  // namespace
