// SPDX-License-Identifier: Apache-2.0
// Opening and closing of the library, interfaces and devices that it finds, and what the system
// does to their network configuration.
#include <arpa/inet.h>

#include "Fixture.h"
#include "ISystem.h"
#include "ImageFactory.h"
#include "PFNC.h"

namespace {

using namespace Orvex;
using testing::ElementsAre;

const char* const sk_opening = "Orvex.cpp, OpenSystem";
const char* const sk_enumerating = "System.cpp, EnumerateInterfaces";

const std::string sk_alreadyOpen =
    GenTLError("RuntimeException", "GenTL::GC_ERR_RESOURCE_IN_USE",
               "Library already initialized (must initialize only once)", sk_opening, "GCInitLib") +
    "GCInitLib refused";

// What each interface that is new to the library takes, and what follows when that is refused.
Steps OpeningSteps(const std::string& id, int index, const Calls& then) {
  return {Checked("TLGetInterfaceID(" + std::to_string(index) + ", 20)",
                  "Unable to get interface ID", sk_enumerating, then),
          Checked("TLOpenInterface(" + id + ")", "Unable to open interface", sk_enumerating, then),
          UrlStep(id, Calls{"IFClose(" + id + ")"} + then)};
}

Step UpdateStep(const char* function) {
  return Checked("TLUpdateInterfaceList(infinite)", "Unable to update list of interfaces",
                 std::string("System.cpp, ") + function);
}

Step CountStep(const Calls& then = {}) {
  return Checked("TLGetNumInterfaces()", "Unable to get number of interfaces", sk_enumerating,
                 then);
}

class Library : public ScriptedTest {
 protected:
  void OpenWithTwoInterfaces() {
    m_world.AddInterface("if1", 2, 0x0B000001);
    Open();
  }
  // What the next update finds beside the interface that is open.
  void OpenAndPlugIn() {
    OpenCamera();
    m_world.AddInterface("if1", 2, 0x0B000001);
    m_world.interfacesChanged = true;
  }
};

TEST_F(Library, OpensOrLeavesNothingOpen) {
  const Calls close = {"TLClose(system)", "GCCloseLib()"};
  Operation open;
  open.prepare = [this] { m_world.AddInterface("if1", 2, 0x0B000001); };
  open.act = [this] { Open(); };
  open.steps = Steps{Checked("GCInitLib()", "Unable to initialize library", sk_opening),
                     Checked("TLOpen()", "Unable to open system", sk_opening), CountStep(close)} +
               OpeningSteps("if0", 0, close) +
               OpeningSteps("if1", 1, Calls{"IFClose(if0)"} + close) +
               Steps{UrlStep("system", Calls{"IFClose(if1)", "IFClose(if0)"} + close)};
  // The read is not looked at, what the parser makes of it is.
  open.reads = {{"GCReadPort(system, 1048576)", "RuntimeException | *",
                 Calls{"IFClose(if1)", "IFClose(if0)"} + close}};
  open.after = [this](const Step& step) {
    EXPECT_FALSE(m_world.open);
    for (const auto& it : m_world.interfaces) EXPECT_FALSE(it->open) << it->id;
    // Kept on purpose: after a refused TLOpen the producer stays initialised.
    EXPECT_EQ(Thrown([&] { Open(); }), step.call == "TLOpen()" ? sk_alreadyOpen : "");
  };
  Drive(open);
}

TEST_F(Library, IsOpenOnce) {
  Open();
  ASSERT_NE(m_pSystem->GetTLSystemNodeMap()->GetNode("TLVendorName"), nullptr);
  EXPECT_EQ(Thrown([] { OpenSystem(); }), sk_alreadyOpen);
  EXPECT_EQ(m_pSystem->GetInterfaces().size(), 1u);
}

TEST_F(Library, ClosesInterfacesLastFirstThenSystemThenLibrary) {
  Operation close;
  close.prepare = [this] { OpenWithTwoInterfaces(); };
  close.act = [this] { Close(); };
  close.steps = {PassedOver("IFClose(if1)"), PassedOver("IFClose(if0)"),
                 PassedOver("TLClose(system)"),
                 Checked("GCCloseLib()", "Unable to close library", "Orvex.cpp, CloseSystem")};
  close.after = [this](const Step&) { m_world.initialised = m_world.open = false; };
  Drive(close);
  EXPECT_EQ(Thrown([] { CloseSystem(nullptr); }),
            PlainError("InvalidArgumentException", "System is null", "Orvex.cpp, CloseSystem"));
}

// The image factory's working memory belongs to the system that is open.
TEST_F(Library, FailsToOpenWithoutTouchingWhatTheLastSystemFreed) {
  Open();
  IImage* pImage = ImageFactory::CreateEmpty(64, 8, 8, BayerRG8);
  ImageFactory::Destroy(ImageFactory::Convert(pImage, BGRa8));
  ImageFactory::Destroy(pImage);
  Close();
  for (int i = 0; i < 2; ++i) {
    m_world.Fail("TLGetNumInterfaces", GenTL::GC_ERR_IO);
    EXPECT_NE(Thrown([&] { Open(); }), "");
  }
  Open();
}

TEST_F(Library, RefusesAnInterfaceIdOfTwentyCharacters) {
  m_world.interfaces[0]->id = std::string(20, 'x');
  EXPECT_EQ(Thrown([&] { Open(); }),
            GenTLError("InvalidArgumentException", "GC_ERR_BUFFER_TOO_SMALL",
                       "Unable to get interface ID", sk_enumerating, "TLGetInterfaceID") +
                "TLGetInterfaceID refused");
  m_world.interfaces[0]->id = std::string(19, 'x');
  Open();
}

TEST_F(Library, GivesNoNodeMapForADescriptionFileThatIsNotThere) {
  m_world.url = "file:/nowhere/GenTLSystem.xml?SchemaVersion=1.1.0";
  Open();
  EXPECT_EQ(m_pSystem->GetTLSystemNodeMap(), nullptr);
  Close();
  m_world.url = "file:/dev/null?";  // there, but empty: the parser's business
  EXPECT_NE(Thrown([&] { Open(); }), "");
}

// --- interfaces

TEST_F(Library, DescribesInterfacesAfterAnUpdate) {
  const auto info = [](const std::string& call) {
    return Checked("IFGetInfo(" + call + ", 8)", "Unable to get buffer information",
                   "InfoQuery.h, GetInfo");
  };
  Operation get;
  get.prepare = [this] { OpenAndPlugIn(); };
  get.act = [this] { m_pSystem->GetInterfaces(); };
  get.steps =
      Steps{UpdateStep("GetInterfaces"), CountStep(),
            Checked("TLGetInterfaceID(0, 20)", "Unable to get interface ID", sk_enumerating)} +
      OpeningSteps("if1", 1, {}) + Steps{info("if0, 1002"), info("if0, 1001"), info("if0, 1003"),
                                         info("if1, 1002"), info("if1, 1001"), info("if1, 1003")};
  get.after = [this](const Step&) {
    // What was known lives on, whatever was refused.
    EXPECT_GE(m_pSystem->GetInterfaces().size(), 1u);
    EXPECT_NE(m_pCamera->GetTLInterfaceNodeMap(), nullptr);
  };
  Drive(get);

  auto infos = m_pSystem->GetInterfaces();
  EXPECT_EQ(infos[0].IpAddressStr(), "10.0.0.1");
  EXPECT_EQ(infos[0].SubnetMaskStr(), "255.255.255.0");
  EXPECT_EQ(infos[0].MacAddressStr(), "02:00:00:00:00:01");
  InterfaceInfo copy = infos[0];
  infos.clear();
  EXPECT_EQ(copy.IpAddress(), 0x0A000001u);  // copies own their record
}

TEST_F(Library, DropsInterfacesThatAreGoneUnclosedAndTheirDevicesLiveOn) {
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

// The status comes from another thread, so the producer's text for this one says nothing of it.
Step DevicesStep(int timeout) {
  return {"IFUpdateDeviceList(if0, " + std::to_string(timeout) + ")",
          GenTLError("AccessException", "GC_ERR_ACCESS_DENIED", "Unable to update list of devices",
                     "System.cpp, UpdateDevices", "IFUpdateDeviceList") +
              "*"};
}

TEST_F(Library, LooksForDevicesOnEveryInterface) {
  Operation update;
  update.prepare = [this] { Open(); };
  update.act = [this] { EXPECT_FALSE(m_pSystem->UpdateDevices(20)); };
  update.steps = {UpdateStep("UpdateDevices"), DevicesStep(20)};
  Drive(update);

  m_world.AddInterface("if1", 2, 0x0B000001);
  m_world.interfacesChanged = true;
  EXPECT_TRUE(m_pSystem->UpdateDevices(20));
  ForgetCalls();
  EXPECT_FALSE(m_pSystem->UpdateDevices(30));
  EXPECT_THAT(TakeCalls(), testing::UnorderedElementsAre("TLUpdateInterfaceList(infinite)",
                                                         "IFUpdateDeviceList(if0, 30)",
                                                         "IFUpdateDeviceList(if1, 30)"));
  // One interface's success and one's news are enough.
  m_world.interfaces[1]->devicesChanged = true;
  m_world.Fail("IFUpdateDeviceList(if0, 30)", GenTL::GC_ERR_TIMEOUT);
  EXPECT_TRUE(m_pSystem->UpdateDevices(30));
  // Where all fail, it is the last one's failure.
  m_world.Fail("IFUpdateDeviceList(if0, 30)", GenTL::GC_ERR_TIMEOUT);
  m_world.Fail("IFUpdateDeviceList(if1, 30)", GenTL::GC_ERR_BUSY);
  EXPECT_THAT(Thrown([&] { m_pSystem->UpdateDevices(30); }),
              testing::StartsWith("RuntimeException | RuntimeException (GC_ERR_BUSY): "));
}

TEST_F(Library, RebuildsAllInterfacesToLookOnOne) {
  InterfaceInfo info;
  Operation update;
  update.prepare = [&] {
    OpenCamera();
    info = m_pSystem->GetInterfaces().at(0);
  };
  update.act = [&] { EXPECT_FALSE(m_pSystem->UpdateDevices(info, 30)); };
  update.steps = Steps{PassedOver("IFClose(if0)"), UpdateStep("UpdateDevices"), CountStep()} +
                 OpeningSteps("if0", 0, {}) +
                 Steps{Checked("IFUpdateDeviceList(if0, 30)", "Unable to update list of devices",
                               "System.cpp, UpdateDevices")};
  // The interface that will not close cannot be opened again either.
  update.steps[0].thrown = "LogicalErrorException | *TLOpenInterface refused";
  update.steps[0].then = Calls{"TLUpdateInterfaceList(infinite)", "TLGetNumInterfaces()",
                               "TLGetInterfaceID(0, 20)", "TLOpenInterface(if0)"};
  update.after = [this](const Step&) {
    EXPECT_EQ(m_pCamera->GetTLInterfaceNodeMap(), nullptr);  // the device has forgotten it
    m_world.interfaces[0]->open = false;
  };
  Drive(update);

  Restart();
  Open();
  info = m_pSystem->GetInterfaces().at(0);
  m_world.interfaces[0]->Find("GevInterfaceSubnetIPAddress")->integer = 0x0A000009;
  EXPECT_EQ(Thrown([&] { m_pSystem->UpdateDevices(info, 1); }),
            PlainError("LogicalErrorException", "Matching Interface not found",
                       "System.cpp, UpdateDevices"));
  m_world.interfaces[0]->url = "file:/nowhere/GenTLInterface.xml";
  EXPECT_EQ(
      Thrown([&] { m_pSystem->UpdateDevices(info, 1); }),
      PlainError("RuntimeException", "TL Interface nodemap is null.", "System.cpp, operator()"));
}

// Queries of one device, after its id.
Calls DeviceQueries(const std::string& id) {
  const auto ask = [&](const char* command) { return "IFGetDeviceInfo(" + id + command; };
  return {ask(", 2, 256)"),          ask(", 1, 256)"),  ask(", 7, 256)"),
          ask(", 1002, 4)"),         ask(", 1004, 8)"), ask(", 1003, 4)"),
          ask(", 6, 256)"),          ask(", 1005, 4)"), ask(", 1006, 1)"),
          ask(", 1007, 1)"),         ask(", 1008, 1)"), "IFGetInfo(if0, 1001, 8)",
          "IFGetInfo(if0, 1002, 8)", ask(", 8, 256)")};
}

TEST_F(Library, DescribesDevicesByTheirQueriesAndLeavesOutThoseThatFail) {
  size_t found = 0;
  const Calls second = Calls{"IFGetDeviceID(if0, 1, 50)"} + DeviceQueries("cam1");
  Operation get;
  get.prepare = [this] {
    m_world.interfaces[0]->AddDevice("cam1");
    Open();
  };
  get.act = [&] {
    found = 0;
    found = m_pSystem->GetDevices().size();
  };
  get.steps = {
      Checked("IFGetNumDevices(if0)", "Unable to get number of devices", "System.cpp, GetDevices")};
  for (const std::string& call : Calls{"IFGetDeviceID(if0, 0, 50)"} + DeviceQueries("cam0"))
    get.steps.push_back({call, "", second});
  for (const std::string& call : second) get.steps.push_back({call, "", Calls()});
  get.after = [&](const Step& step) { EXPECT_EQ(found, step.thrown.empty() ? 1u : 0u); };
  Drive(get);

  DeviceInfo info = m_pSystem->GetDevices().at(0);
  const std::string texts[] = {info.ModelName().c_str(),     info.VendorName().c_str(),
                               info.SerialNumber().c_str(),  info.UserDefinedName().c_str(),
                               info.DeviceVersion().c_str(), info.IpAddressStr().c_str(),
                               info.SubnetMaskStr().c_str(), info.DefaultGatewayStr().c_str(),
                               info.MacAddressStr().c_str()};
  EXPECT_THAT(texts, ElementsAre("Scripted", "Orvex", "S0001", "left", "2.7", "10.0.0.2",
                                 "255.255.255.0", "10.0.0.254", "00:12:ab:34:cd:56"));
  EXPECT_TRUE(info.IsDHCPConfigurationEnabled());
  EXPECT_FALSE(info.IsPersistentIpConfigurationEnabled());
  EXPECT_TRUE(info.IsLLAConfigurationEnabled());
  m_world.infoType = GenTL::INFO_DATATYPE_UINT32;  // texts that are none
  EXPECT_TRUE(m_pSystem->GetDevices().empty());
}

// --- network configuration

TEST_F(Library, ForcesAnAddressOnEveryInterface) {
  const std::string arguments = ", 80181775702, 167772165, 4294967040, 0)";
  const auto force = [&](const std::string& id) {
    return Checked("IFForceIp(" + id + arguments, "Unable to force ip of device",
                   "System.cpp, ForceIp", {}, "IFForceIP");
  };
  Operation operation;
  operation.prepare = [this] { OpenAndPlugIn(); };
  operation.act = [this] { m_pSystem->ForceIp(0x0012AB34CD56, 0x0A000005, 0xFFFFFF00, 0); };
  operation.steps =
      Steps{UpdateStep("ForceIp"), CountStep(),
            Checked("TLGetInterfaceID(0, 20)", "Unable to get interface ID", sk_enumerating)} +
      OpeningSteps("if1", 1, {}) + Steps{force("if0"), force("if1")};
  Drive(operation);

  for (const char* mac : {"00:11:22:33:44:55", "", "hello", "00:11:22:33:44"}) {
    EXPECT_EQ(Thrown([&] { m_pSystem->ForceIp(mac, "10.0.0.5", "255.255.255.0", "0.0.0.0"); }),
              PlainError("InvalidArgumentException", "Bad MAC address", "System.cpp, ForceIp"));
  }
}

TEST_F(Library, KeepsUnicastAddressesOnTheInterfaceThatRoutesThere) {
  const uint32_t networkOrder = ::inet_addr("127.0.0.9");
  const std::string argument = "(lo, " + std::to_string(networkOrder) + ")";
  const auto refused = [](const char* named, const char* function) {
    return PlainError("RuntimeException",
                      std::string("GenTL::System::") + named + "() failed. Error: [-1005].",
                      std::string("System.cpp, ") + function);
  };
  const char* const sk_remove = "RemoveUnicastDiscoveryDevice";
  Operation operation;
  operation.prepare = [this] {
    m_world.AddInterface("lo", 0, 0x7F000001);
    Open();
  };
  operation.act = [&] {
    m_pSystem->AddUnicastDiscoveryDevice("127.0.0.9");
    EXPECT_THAT(m_pSystem->GetUnicastDiscoveryDevices(), ElementsAre(networkOrder));
    m_pSystem->RemoveUnicastDiscoveryDevice("127.0.0.9");
  };
  // Both operations name the removal.
  operation.steps = {
      {"IFAddUnicastDiscoveryDevice" + argument, refused(sk_remove, "AddUnicastDiscoveryDevice")},
      {"IFGetUnicastDiscoveryDevices(if0, 256)",
       refused("GetUnicastDiscoveryDevices", "GetUnicastDiscoveryDevices")},
      {"IFGetUnicastDiscoveryDevices(lo, 256)",
       refused("GetUnicastDiscoveryDevices", "GetUnicastDiscoveryDevices")},
      {"IFRemoveUnicastDiscoveryDevice" + argument, refused(sk_remove, sk_remove)}};
  Drive(operation);
  EXPECT_EQ(m_world.interfaces[1]->unicast.size(), 1u);  // the last refusal left it

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
