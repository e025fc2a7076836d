// SPDX-License-Identifier: Apache-2.0
// Small things of the library's runtime: URLs of modules, texts of addresses, buffer counts, the
// lock that a stop ends, and the order of virtual operations.
#include <gtest/gtest.h>
#include <sys/sysinfo.h>

#include <cstring>
#include <thread>

#include "Base/GCException.h"
#include "DeviceInfo.h"
#include "FeatureStream.h"
#include "IDisconnectCallback.h"
#include "IImageCallback.h"
#include "InterfaceInfo.h"
#include "Orvex/Device.h"
#include "Orvex/DeviceInfoType.h"
#include "Orvex/NodeMapUtility.h"
#include "Orvex/StoppableMutex.h"
#include "Orvex/System.h"
#include "Orvex/TLSystem.h"
#include "OrvexEntry.h"

namespace {

using namespace Orvex;

// --- URLs

struct UrlRow {
  const char* name;
  const char* url;
  const char* fileName;
  const char* query;
  const char* prefix;
  bool local;
  uint64_t address;
  uint32_t length;
};
class ModuleUrls : public testing::TestWithParam<UrlRow> {};

TEST_P(ModuleUrls, AreTakenApart) {
  const ModuleUrl url = ParseModuleUrl(GetParam().url);
  EXPECT_EQ(url.fileName, GetParam().fileName);
  EXPECT_EQ(url.query, GetParam().query);
  EXPECT_EQ(url.prefix, GetParam().prefix);
  EXPECT_EQ(url.local, GetParam().local);
  EXPECT_EQ(url.address, GetParam().address);
  EXPECT_EQ(url.length, GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ModuleUrls,
    testing::Values(UrlRow{"Local", "local:GenTLDevice_x.xml;10000;4A2?SchemaVersion=1.1.0",
                           "GenTLDevice_x.xml", "SchemaVersion=1.1.0", "Device", true, 0x10000,
                           0x4A2},
                    // Without a query its place is the front: it is the whole URL.
                    UrlRow{"NoQuery", "local:GenTLSystem.xml;8;10", "GenTLSystem.xml",
                           "local:GenTLSystem.xml;8;10", "TL", true, 8, 0x10},
                    UrlRow{"Stream", "local:GenTLDataStream.xml;FFFFFFFF00000000;1?",
                           "GenTLDataStream.xml", "", "Stream", true, 0xFFFFFFFF00000000, 1},
                    UrlRow{"FirstNameWins", "local:GenTLInterface_GenTLDevice.xml;0;0?",
                           "GenTLInterface_GenTLDevice.xml", "", "Interface", true, 0, 0},
                    UrlRow{"File", "file:///opt/GenTLInterface.xml?SchemaVersion=1.0.0",
                           "///opt/GenTLInterface.xml", "SchemaVersion=1.0.0", "Interface", false,
                           0, 0},
                    UrlRow{"Other", "file:/opt/x.xml", "/opt/x.xml", "", "", false, 0, 0}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ModuleUrl, WithMalformedNumbersThrows) {
  EXPECT_THROW(ParseModuleUrl("local:x.xml;zz;10?"), std::invalid_argument);
  EXPECT_THROW(ParseModuleUrl("local:x.xml"), std::invalid_argument);
  EXPECT_THROW(ParseModuleUrl("local:x.xml;0;100000000?"), std::out_of_range);
  EXPECT_THROW(ParseModuleUrl("local:"), std::invalid_argument);
}

// --- texts and numbers

TEST(Addresses, HaveTheirTexts) {
  EXPECT_EQ(DottedQuadText(0xC0A80001), "192.168.0.1");
  const uint64_t mac = 0x0012AB34CD56, none = 0;
  EXPECT_EQ(MacText(reinterpret_cast<const uint8_t*>(&mac)), "00:12:ab:34:cd:56");
  EXPECT_EQ(MacText(reinterpret_cast<const uint8_t*>(&none)), "00:00:00:00:00:00");
  EXPECT_EQ(MacText(nullptr), "");
}

TEST(DeviceInfos, OwnTheirRecords) {
  DeviceInfo_t data;
  data.m_modelName = "model";
  auto pInfo = std::make_unique<DeviceInfo>(data);
  DeviceInfo copy(*pInfo), assigned;
  assigned = *pInfo;
  pInfo.reset();
  EXPECT_EQ(copy.ModelName(), "model");
  EXPECT_EQ(assigned.ModelName(), "model");
}

TEST(BufferCount, IsFourFifthsOfMemory) {
  struct sysinfo memory {};
  ASSERT_EQ(::sysinfo(&memory), 0);
  const uint64_t total = memory.totalram;
  EXPECT_EQ(CalculateMaximumNumberOfBuffers(1), total * 4 / 5);
  EXPECT_EQ(CalculateMaximumNumberOfBuffers(total / 5 * 4), 1u);
  const auto description = [](uint64_t size) -> std::string {
    try {
      CalculateMaximumNumberOfBuffers(size);
    } catch (const GenICam::RuntimeException& error) {
      return error.GetDescription();
    } catch (const GenICam::BadAllocException& error) {
      return error.GetDescription();
    }
    return "";
  };
  EXPECT_EQ(description(0), "Cannot calculate maximum number of buffers with a packet size of 0");
  EXPECT_EQ(description(total),
            "Insufficient memory found while calculating maximum number of buffers (maximum number "
            "of buffers is 0)");
  EXPECT_EQ(GetVersion(), "0.1.95.0");
}

// --- the lock

TEST(StoppableLock, EndsTheThreadsWaitUnderTheStoppersHands) {
  StoppableMutex mutex;
  std::atomic<bool> run{true};
  std::atomic<int> rounds{0};
  mutex.lock();
  std::thread thread([&] {
    while (run) {
      if (!mutex.LockUnlessStopped(run)) break;
      ++rounds;
      mutex.unlock();
    }
  });
  mutex.Stop(run);
  thread.join();  // with the lock held
  EXPECT_EQ(rounds, 0);
  EXPECT_TRUE(mutex.IsHeldByThisThread());
  EXPECT_THROW(mutex.lock(), std::system_error);
  mutex.unlock();
  EXPECT_FALSE(mutex.IsHeldByThisThread());
  mutex.PauseUnlessStopped(run, std::chrono::hours(1));  // stopped: returns at once
}

// --- slots

// Position of a virtual operation in its class' table, as the Itanium C++ ABI encodes it.
template <typename Class, typename Result, typename... Args>
size_t Slot(Result (Class::*operation)(Args...)) {
  uintptr_t encoded[2];
  static_assert(sizeof(operation) == sizeof(encoded));
  std::memcpy(encoded, &operation, sizeof(encoded));
  return (encoded[0] - 1) / sizeof(void*);
}
template <typename Class, typename Result, typename... Args>
size_t Slot(Result (Class::*operation)(Args...) const) {
  return Slot(reinterpret_cast<Result (Class::*)(Args...)>(operation));
}

#define SLOTS(...) (std::vector<size_t>{__VA_ARGS__})

std::vector<size_t> UpTo(size_t first, size_t count) {
  std::vector<size_t> slots(count);
  for (size_t i = 0; i < count; ++i) slots[i] = first + i;
  return slots;
}

TEST(Slots, OfSystem) {
  using S = ISystem;
  EXPECT_EQ(
      SLOTS(Slot(&S::GetInterfaces), Slot<S, bool, uint64_t>(&S::UpdateDevices),
            Slot<S, bool, InterfaceInfo, uint64_t>(&S::UpdateDevices), Slot(&S::GetDevices),
            Slot(&S::CreateDevice), Slot(&S::DestroyDevice), Slot(&S::GetTLSystemNodeMap),
            Slot(&S::GetTLInterfaceNodeMap),
            Slot<S, void, uint64_t, uint64_t, uint64_t, uint64_t>(&S::ForceIp),
            Slot<S, void, const GenICam::gcstring&, const GenICam::gcstring&,
                 const GenICam::gcstring&, const GenICam::gcstring&>(&S::ForceIp),
            Slot(&S::RegisterDeviceDisconnectCallback),
            Slot(&S::DeregisterDeviceDisconnectCallback),
            Slot(&S::DeregisterAllDeviceDisconnectCallbacks), Slot(&S::AddUnicastDiscoveryDevice),
            Slot(&S::RemoveUnicastDiscoveryDevice), Slot(&S::GetUnicastDiscoveryDevices)),
      UpTo(0, 16));
}

TEST(Slots, OfDevice) {
  using I = IDevice;
  EXPECT_EQ(
      SLOTS(Slot(&I::IsConnected), Slot(&I::StartStream), Slot(&I::StopStream), Slot(&I::GetImage),
            Slot(&I::GetCompressedImage), Slot(&I::GetBuffer), Slot(&I::RequeueBuffer),
            Slot(&I::WaitForNextLeader), Slot(&I::ResetWaitForNextLeader),
            Slot(&I::InitializeEvents), Slot(&I::DeinitializeEvents), Slot(&I::WaitOnEvent),
            Slot(&I::GetNodeMap), Slot(&I::GetTLDeviceNodeMap), Slot(&I::GetTLStreamNodeMap),
            Slot(&I::GetTLInterfaceNodeMap), Slot(&I::SendActionCommand),
            Slot(&I::RegisterImageCallback), Slot(&I::DeregisterImageCallback),
            Slot(&I::DeregisterAllImageCallbacks), Slot(&I::DownloadXml)),
      UpTo(0, 21));
  using D = Device;  // behind the destructor's pair
  EXPECT_EQ(SLOTS(Slot<D, GenApi::INodeMap*, int>(&D::GetTLStreamNodeMap),
                  Slot<D, void, int, size_t>(&D::StartStream), Slot<D, void, int>(&D::StopStream),
                  Slot<D, ICompressedImage*, int, uint64_t>(&D::GetCompressedImage),
                  Slot<D, IImage*, int, uint64_t>(&D::GetImage),
                  Slot<D, IBuffer*, int, uint64_t>(&D::GetBuffer),
                  Slot<D, void, int, IBuffer*>(&D::RequeueBuffer),
                  Slot<D, void, int, uint64_t>(&D::WaitForNextLeader),
                  Slot<D, void, int>(&D::ResetWaitForNextLeader), Slot(&D::ImageCallbackThread),
                  Slot(&D::ResetInterface), Slot(&D::GetInterface), Slot(&D::StartStreamEVS),
                  Slot(&D::StopStreamEVS)),
            UpTo(23, 14));
}

TEST(Slots, OfRecordsCallbacksAndFeatureStreams) {
  using D = DeviceInfo;
  EXPECT_EQ(
      SLOTS(Slot(&D::ModelName), Slot(&D::VendorName), Slot(&D::SerialNumber), Slot(&D::IpAddress),
            Slot(&D::IpAddressStr), Slot(&D::SubnetMask), Slot(&D::SubnetMaskStr),
            Slot(&D::DefaultGateway), Slot(&D::DefaultGatewayStr), Slot(&D::MacAddress),
            Slot(&D::MacAddressStr), Slot(&D::UserDefinedName),
            Slot(&D::IsDHCPConfigurationEnabled), Slot(&D::IsPersistentIpConfigurationEnabled),
            Slot(&D::IsLLAConfigurationEnabled), Slot(&D::DeviceVersion)),
      UpTo(0, 16));
  EXPECT_EQ(Slot(&D::operator=), 18u);
  using I = InterfaceInfo;
  EXPECT_EQ(SLOTS(Slot(&I::IpAddress), Slot(&I::IpAddressStr), Slot(&I::SubnetMask),
                  Slot(&I::SubnetMaskStr), Slot(&I::MacAddress), Slot(&I::MacAddressStr)),
            UpTo(0, 6));
  EXPECT_EQ(Slot(&I::operator=), 8u);
  using F = FeatureStream;
  EXPECT_EQ(SLOTS(Slot(&F::Write), Slot(&F::Read), Slot(&F::Select), Slot(&F::operator<<)),
            UpTo(0, 4));
  EXPECT_EQ(Slot(&IImageCallback::OnImage), 2u);
  EXPECT_EQ(Slot(&IDisconnectCallback::OnDeviceDisconnected), 2u);
}

TEST(Slots, OfModuleWrappers) {
  using B = TLBase;
  EXPECT_EQ(SLOTS(Slot(&B::ReadPort), Slot(&B::WritePort), Slot(&B::GetPortURL),
                  Slot(&B::GetPortInfo), Slot(&B::RegisterEvent), Slot(&B::UnregisterEvent),
                  Slot(&B::GetNumPortURLs), Slot(&B::GetPortURLInfo), Slot(&B::ReadPortStacked),
                  Slot(&B::WritePortStacked), Slot(&B::GetHandle)),
            UpTo(2, 11));
  using S = TLSystem;
  EXPECT_EQ(SLOTS(Slot(&S::Open), Slot(&S::Close), Slot(&S::GetInfo), Slot(&S::GetNumInterfaces),
                  Slot(&S::GetInterfaceID), Slot(&S::GetInterfaceInfo), Slot(&S::OpenInterface),
                  Slot(&S::UpdateInterfaceList)),
            UpTo(13, 8));
  using I = TLInterface;
  EXPECT_EQ(SLOTS(Slot(&I::Close), Slot(&I::UpdateDeviceList), Slot(&I::GetInfo),
                  Slot(&I::GetNumDevices), Slot(&I::GetDeviceID), Slot(&I::GetDeviceInfo),
                  Slot(&I::OpenDevice), Slot(&I::ForceIp), Slot(&I::AddUnicastDiscoveryDevice),
                  Slot(&I::RemoveUnicastDiscoveryDevice), Slot(&I::GetUnicastDiscoveryDevices)),
            UpTo(13, 11));
  using D = TLDevice;
  EXPECT_EQ(
      SLOTS(Slot(&D::Close), Slot(&D::GetInfo), Slot(&D::GetPort), Slot(&D::GetNumDataStreams),
            Slot(&D::GetDataStreamID), Slot(&D::OpenDataStream), Slot(&D::SendActionCommand)),
      UpTo(13, 7));
  using T = TLDataStream;
  EXPECT_EQ(
      SLOTS(Slot(&T::Close), Slot(&T::AnnounceBuffer), Slot(&T::AllocAndAnnounceBuffer),
            Slot(&T::QueueBuffer), Slot(&T::RevokeBuffer), Slot(&T::FlushQueue), Slot(&T::GetInfo),
            Slot(&T::GetBufferID), Slot(&T::GetBufferInfo), Slot(&T::StartAcquisition),
            Slot(&T::StopAcquisition), Slot(&T::GetBufferChunkData), Slot(&T::WaitForNextLeader),
            Slot(&T::ResetWaitForNextLeader), Slot(&T::SetupResendRetryParams)),
      UpTo(13, 15));
  using E = TLEvent;
  EXPECT_EQ(SLOTS(Slot(&E::GetData), Slot(&E::GetDataInfo), Slot(&E::GetInfo), Slot(&E::Flush),
                  Slot(&E::Kill)),
            UpTo(13, 5));
  using P = Port;
  EXPECT_EQ(SLOTS(Slot(&P::GetAccessMode), Slot(&P::Read), Slot(&P::Write)), SLOTS(0, 3, 4));
}

}  // namespace
