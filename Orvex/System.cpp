// SPDX-License-Identifier: Apache-2.0
#include "Orvex/System.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <thread>
#include <utility>

#include "GenApiCustom.h"
#include "Orvex/Check.h"
#include "Orvex/Device.h"
#include "Orvex/DeviceInfoType.h"
#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/InfoQuery.h"
#include "Orvex/Limits.h"
#include "Orvex/NodeMapUtility.h"
#include "gentl/GenTLExtensions.h"

namespace Orvex {
namespace {

using GenICam::gcstring;

// The id of the module at an index, asked for with a buffer of the given size.
template <size_t Size, typename Module>
std::pair<GenTL::GC_ERROR, std::string> IdAt(
    Module* pModule, GenTL::GC_ERROR (Module::*query)(uint32_t, char*, size_t*), uint32_t index) {
  std::array<char, Size + 1> id{};  // one more than told, so that it always ends
  size_t size = Size;
  const GenTL::GC_ERROR status = (pModule->*query)(index, id.data(), &size);
  return {status, id.data()};
}

std::string GetDeviceID(TLInterface* pInterface, uint32_t index) {
  const auto [status, id] = IdAt<50>(pInterface, &TLInterface::GetDeviceID, index);
  CHECK_GENTL(status, "Unable to get device ID", "IFGetDeviceID");
  return id;
}

std::string ErrorNumberText() {
  return std::string("[").append(std::to_string(errno)).append("]");
}

// The local address (network order) from which the host would reach the given one.
uint32_t GetBestRouteInterface(const gcstring& deviceIp) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(9);
  CHECK_ARG(::inet_pton(AF_INET, deviceIp.c_str(), &address.sin_addr) == 1,
            InvalidArgumentException,
            "Unable to parse remote IP address. Error: " + ErrorNumberText());
  CHECK_ARG(address.sin_addr.s_addr != INADDR_ANY && address.sin_addr.s_addr != INADDR_BROADCAST,
            InvalidArgumentException, "Invalid IP address specified.");
  // Kept on purpose: the socket is not closed, neither here nor on a failure below.
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  CHECK_ARG(fd >= 0, RuntimeException,
            "Failed to create socket. Error: " + ErrorNumberText() + ".");
  CHECK_ARG(::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0,
            RuntimeException, "Failed to connect socket. Error: " + ErrorNumberText() + ".");
  sockaddr_in local{};
  socklen_t size = sizeof(local);
  CHECK_ARG(::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size) == 0, RuntimeException,
            "Unable to determine appropriate interface. Error: " + ErrorNumberText() + ".");
  return local.sin_addr.s_addr;
}

// The interfaces known so far, set aside while the producer is asked anew.
class OldInterfaces {
 public:
  explicit OldInterfaces(std::vector<Interface*>& current)
      : m_current(current), m_exceptions(std::uncaught_exceptions()) {
    m_interfaces.swap(current);
  }
  OldInterfaces(const OldInterfaces&) = delete;
  OldInterfaces& operator=(const OldInterfaces&) = delete;
  // Kept on purpose: what nobody took over is neither closed nor freed. Open devices on such an
  // interface keep working, however long they live. When the producer could not be asked, all stay
  // what they were.
  ~OldInterfaces() {
    static auto* sk_pDropped = new std::vector<Interface*>;
    const bool failed = std::uncaught_exceptions() > m_exceptions;
    std::vector<Interface*>& target = failed ? m_current : *sk_pDropped;
    target.insert(target.end(), m_interfaces.begin(), m_interfaces.end());
  }

  // Null when there was none of that id.
  Interface* Take(const gcstring& id) {
    const auto found =
        std::find_if(m_interfaces.begin(), m_interfaces.end(),
                     [&id](Interface* pInterface) { return pInterface->GetId() == id; });
    if (found == m_interfaces.end()) return nullptr;
    Interface* pInterface = *found;
    m_interfaces.erase(found);
    return pInterface;
  }

 private:
  std::vector<Interface*>& m_current;
  const int m_exceptions;
  std::vector<Interface*> m_interfaces;
};

uint32_t HostOrderOf(const gcstring& dotted) {
  return ntohl(::inet_addr(dotted.c_str()));
}

}  // namespace

System::System(TLSystem* pSystem) : m_pSystem(pSystem), m_pPort(pSystem) {
  const std::lock_guard lock(m_ifaceListMtx);
  try {
    EnumerateInterfaces();
    m_pSystemNodeMap = InitNodeMap(m_pSystem, m_pPort);
    OpenImageFactory();
  } catch (...) {
    Release();
    throw;
  }
}

System::~System() {
  try {
    m_devCbManager.DeregisterAllCallbacks();  // its thread asks devices, which ask the producer
  } catch (...) {
  }
  const std::lock_guard lock(m_ifaceListMtx);
  Release();
}

void System::Release() noexcept {
  try {
    CleanupInterfaces();
    DestroyNodeMap(m_pSystemNodeMap);
    m_pSystemNodeMap = nullptr;
    static_cast<void>(m_pSystem->Close());
    delete m_pSystem;
    m_pSystem = nullptr;
    if (HasImageFactoryInit()) CloseImageFactory();  // a failed construction did not open it
  } catch (...) {
  }
}

void System::CleanupInterfaces() {
  while (!m_interfaces.empty()) {
    Interface* pInterface = m_interfaces.back();
    TLInterface* pTLInterface = pInterface->GetTLInterface();
    static_cast<void>(pTLInterface->Close());
    m_interfaces.pop_back();
    // The node map reads through the wrapper's port, so the interface goes first.
    delete pInterface;
    delete pTLInterface;
  }
}

void System::EnumerateInterfaces() {
  OldInterfaces oldInterfaces(m_interfaces);
  uint32_t count = 0;
  CHECK_GENTL(m_pSystem->GetNumInterfaces(&count), "Unable to get number of interfaces",
              "TLGetNumInterfaces");
  for (uint32_t index = 0; index < count; ++index) {
    // Kept on purpose: ids of interfaces are at most 19 characters; longer ones fail here.
    const auto [status, text] = IdAt<20>(m_pSystem, &TLSystem::GetInterfaceID, index);
    CHECK_GENTL(status, "Unable to get interface ID", "TLGetInterfaceID");
    const gcstring id = text.c_str();
    if (Interface* pKnown = oldInterfaces.Take(id)) {
      m_interfaces.push_back(pKnown);
      continue;
    }
    GenTL::IF_HANDLE hInterface = nullptr;
    CHECK_GENTL(m_pSystem->OpenInterface(id.c_str(), &hInterface), "Unable to open interface",
                "TLOpenInterface");
    auto pTLInterface = std::make_unique<TLInterface>(hInterface);
    try {
      auto pInterface = std::make_unique<Interface>(pTLInterface.get(), id);
      m_interfaces.push_back(pInterface.get());
      static_cast<void>(pInterface.release());
    } catch (...) {
      static_cast<void>(pTLInterface->Close());
      throw;
    }
    static_cast<void>(pTLInterface.release());
  }
}

bool System::UpdateInterfaceList(const char* function) {
  bool8_t changed = false;
  // Kept on purpose: the list of interfaces is waited for without limit, whatever limit the caller
  // gave for the devices.
  CHECK_GENTL_FN(m_pSystem->UpdateInterfaceList(&changed, GENTL_INFINITE),
                 "Unable to update list of interfaces", "TLUpdateInterfaceList", function);
  return changed;
}

std::vector<InterfaceInfo> System::GetInterfaces() {
  const std::lock_guard lock(m_ifaceListMtx);
  if (UpdateInterfaceList(__func__) || m_interfaces.empty()) EnumerateInterfaces();
  std::vector<InterfaceInfo> infos;
  for (Interface* pInterface : m_interfaces) {
    TLInterface* pTLInterface = pInterface->GetTLInterface();
    InterfaceInfo info;
    info.m_pData->m_ip =
        static_cast<uint32_t>(GetInfo<int64_t>(pTLInterface, GenTL::INTERFACE_INFO_ORVEX_IP));
    info.m_pData->m_mac =
        static_cast<uint64_t>(GetInfo<int64_t>(pTLInterface, GenTL::INTERFACE_INFO_ORVEX_MAC));
    info.m_pData->m_mask = static_cast<uint32_t>(
        GetInfo<int64_t>(pTLInterface, GenTL::INTERFACE_INFO_ORVEX_SUBNET_MASK));
    infos.push_back(info);
  }
  return infos;
}

bool System::UpdateDevices(uint64_t timeout) {
  const std::lock_guard updateLock(m_updateDevsMtx);
  std::vector<Interface*> interfaces;
  bool interfacesChanged = false;
  {
    const std::lock_guard lock(m_ifaceListMtx);
    interfacesChanged = UpdateInterfaceList(__func__);
    if (interfacesChanged || m_interfaces.empty()) EnumerateInterfaces();
    interfaces = m_interfaces;
  }
  struct Result {
    bool8_t changed = false;
    GenTL::GC_ERROR status = 0;
  };
  std::vector<Result> results(interfaces.size());
  {
    std::vector<std::jthread> threads;  // joined in order when a later one cannot be started
    for (size_t i = 0; i < interfaces.size(); ++i) {
      threads.emplace_back(
          [pInterface = interfaces[i]->GetTLInterface(), &result = results[i], timeout] {
            result.status = pInterface->UpdateDeviceList(&result.changed, timeout);
          });
    }
    for (std::jthread& thread : threads) thread.join();
  }
  bool changed = interfacesChanged;
  GenTL::GC_ERROR status = 0;
  for (const Result& result : results) changed |= result.changed;
  for (const Result& result : results) {
    status = result.status;
    if (status == 0) break;
  }
  CHECK_GENTL(status, "Unable to update list of devices", "IFUpdateDeviceList");
  return changed;
}

Interface* System::FindInterface(const std::vector<Interface*>& interfaces, uint64_t mac,
                                 uint32_t ip) {
  const auto matches = [mac, ip](Interface* pInterface) {
    GenApi::INodeMap* pNodeMap = pInterface->GetNodeMap();
    CHECK_ARG(pNodeMap != nullptr, RuntimeException, "TL Interface nodemap is null.");
    return static_cast<uint64_t>(GetNodeValue<int64_t>(pNodeMap, "GevInterfaceMACAddress")) ==
               mac &&
           static_cast<uint32_t>(GetNodeValue<int64_t>(pNodeMap, "GevInterfaceSubnetIPAddress")) ==
               ip;
  };
  const auto found = std::find_if(interfaces.begin(), interfaces.end(), matches);
  return found == interfaces.end() ? nullptr : *found;
}

bool System::UpdateDevices(InterfaceInfo info, uint64_t timeout) {
  const std::lock_guard updateLock(m_updateDevsMtx);
  std::vector<Interface*> interfaces;
  bool interfacesChanged = false;
  {
    // Kept on purpose: this form closes and opens every interface, whatever has changed.
    const std::lock_guard lock(m_ifaceListMtx);
    CleanupInterfaces();
    interfacesChanged = UpdateInterfaceList(__func__);
    EnumerateInterfaces();
    interfaces = m_interfaces;
  }
  Interface* pInterface = FindInterface(interfaces, info.MacAddress(), info.IpAddress());
  CHECK_ARG(pInterface != nullptr, LogicalErrorException, "Matching Interface not found");
  bool8_t devicesChanged = false;
  CHECK_GENTL(pInterface->GetTLInterface()->UpdateDeviceList(&devicesChanged, timeout),
              "Unable to update list of devices", "IFUpdateDeviceList");
  return interfacesChanged || devicesChanged;
}

DeviceInfo System::QueryDevice(TLInterface* pInterface, const std::string& id) {
  const char* pId = id.c_str();
  const auto text = [&](GenTL::DEVICE_INFO_CMD command) {
    return std::string(GetInfoString(pInterface, pId, command).c_str());
  };
  const auto flag = [&](GenTL::DEVICE_INFO_CMD command) {
    return GetInfo<uint8_t>(pInterface, pId, command) != 0;
  };
  DeviceInfo info;
  DeviceInfo_t& data = *info.m_pData;
  data.m_modelName = text(GenTL::DEVICE_INFO_MODEL);
  data.m_vendorName = text(GenTL::DEVICE_INFO_VENDOR);
  data.m_serialNumber = text(GenTL::DEVICE_INFO_SERIAL_NUMBER);
  data.m_ip = GetInfo<uint32_t>(pInterface, pId, GenTL::DEVICE_INFO_ORVEX_CURRENT_IP);
  data.m_mac =
      static_cast<uint64_t>(GetInfo<int64_t>(pInterface, pId, GenTL::DEVICE_INFO_ORVEX_MAC));
  data.m_mask = GetInfo<uint32_t>(pInterface, pId, GenTL::DEVICE_INFO_ORVEX_SUBNET_MASK);
  data.m_userDefName = text(GenTL::DEVICE_INFO_USER_DEFINED_NAME);
  data.m_gateway = GetInfo<uint32_t>(pInterface, pId, GenTL::DEVICE_INFO_ORVEX_GATEWAY);
  data.m_dhcpEnabled = flag(GenTL::DEVICE_INFO_ORVEX_DHCP_ENABLED);
  data.m_persistentIpEnabled = flag(GenTL::DEVICE_INFO_ORVEX_PERSISTENT_IP_ENABLED);
  data.m_llaEnabled = flag(GenTL::DEVICE_INFO_ORVEX_LINK_LOCAL_ENABLED);
  data.m_id = id;
  data.m_ifaceMac = GetInfo<uint64_t>(pInterface, GenTL::INTERFACE_INFO_ORVEX_MAC);
  data.m_ifaceIp =
      static_cast<uint32_t>(GetInfo<uint64_t>(pInterface, GenTL::INTERFACE_INFO_ORVEX_IP));
  data.m_deviceVersion = text(GenTL::DEVICE_INFO_VERSION);
  return info;
}

std::vector<DeviceInfo> System::GetDevices() {
  const std::lock_guard lock(m_ifaceListMtx);
  std::vector<DeviceInfo> infos;
  for (Interface* pInterface : m_interfaces) {
    TLInterface* pTLInterface = pInterface->GetTLInterface();
    uint32_t count = 0;
    CHECK_GENTL(pTLInterface->GetNumDevices(&count), "Unable to get number of devices",
                "IFGetNumDevices");
    for (uint32_t index = 0; index < count; ++index) {
      try {
        infos.push_back(QueryDevice(pTLInterface, GetDeviceID(pTLInterface, index)));
      } catch (const GenICam::GenericException&) {  // gone since the last update
      }
    }
  }
  return infos;
}

IDevice* System::CreateDevice(DeviceInfo info) {
  const std::lock_guard updateLock(m_updateDevsMtx);
  const std::lock_guard lock(m_ifaceListMtx);
  const DeviceInfo_t& data = *info.m_pData;
  Interface* pInterface = FindInterface(m_interfaces, data.m_ifaceMac, data.m_ifaceIp);
  CHECK_ARG(pInterface != nullptr, LogicalErrorException, "Camera Interface not found");
  TLInterface* pTLInterface = pInterface->GetTLInterface();
  GenTL::DEV_HANDLE hDevice = nullptr;
  GenTL::GC_ERROR status =
      pTLInterface->OpenDevice(data.m_id.c_str(), GenTL::DEVICE_ACCESS_CONTROL, &hDevice);
  if (status != 0) {
    // Kept on purpose: callers get a camera that another application controls without a word, and
    // ask its "DeviceAccessStatus" what they may do.
    status = pTLInterface->OpenDevice(data.m_id.c_str(), GenTL::DEVICE_ACCESS_READONLY, &hDevice);
  }
  if (status == GenTL::GC_ERR_RESOURCE_IN_USE) {
    CHECK_GENTL(status, "Failure opening device due to device already being open", "IFOpenDevice");
  }
  CHECK_GENTL(status, "Unable to open device", "IFOpenDevice");

  auto pTLDevice = std::make_unique<TLDevice>(hDevice);
  std::unique_ptr<Device> pDevice;
  try {
    pDevice = std::make_unique<Device>(pTLDevice.get(), pInterface);
  } catch (...) {
    static_cast<void>(pTLDevice->Close());
    throw;
  }
  static_cast<void>(pTLDevice.release());  // the device closes and deletes it
  pInterface->AddDevice(pDevice.get());
  return pDevice.release();
}

void System::DestroyDevice(IDevice* pDevice) {
  const std::lock_guard lock(m_ifaceListMtx);
  auto* pConcrete = dynamic_cast<Device*>(pDevice);
  CHECK_ARG(pConcrete != nullptr, InvalidArgumentException, "Device is null");
  try {
    pDevice->StopStream();
  } catch (const GenICam::TimeoutException&) {
  } catch (const GenICam::GenericException& error) {
    // Not streaming, or the camera is gone: neither keeps the device from being destroyed.
    const char* sk_tolerated[] = {"RESOURCE_IN_USE", "Code:-1010", "GC_ERR_ABORT"};
    const std::string description = error.GetDescription();
    const bool tolerated =
        std::any_of(std::begin(sk_tolerated), std::end(sk_tolerated),
                    [&](const char* part) { return description.find(part) != std::string::npos; });
    if (!tolerated) throw;
  }
  // A stop that failed early has left the thread of the image callbacks running.
  pConcrete->DeregisterAllImageCallbacks();
  if (Interface* pInterface = pConcrete->GetInterface()) pInterface->RemoveDevice(pDevice);
  delete pConcrete;
}

GenApi::INodeMap* System::GetTLInterfaceNodeMap(DeviceInfo info) {
  const std::lock_guard lock(m_ifaceListMtx);
  Interface* pInterface =
      FindInterface(m_interfaces, info.m_pData->m_ifaceMac, info.m_pData->m_ifaceIp);
  CHECK_ARG(pInterface != nullptr, LogicalErrorException, "Camera Interface not found");
  return pInterface->GetNodeMap();
}

void System::ForceIp(uint64_t macAddress, uint64_t ipAddress, uint64_t subnetMask,
                     uint64_t defaultGateway) {
  const std::lock_guard lock(m_ifaceListMtx);
  if (UpdateInterfaceList(__func__) || m_interfaces.empty()) EnumerateInterfaces();
  for (Interface* pInterface : m_interfaces) {
    // Kept on purpose: callers match the function's name with a capital P.
    CHECK_GENTL(
        pInterface->GetTLInterface()->ForceIp(macAddress, ipAddress, subnetMask, defaultGateway),
        "Unable to force ip of device", "IFForceIP");
  }
}

void System::ForceIp(const gcstring& macAddress, const gcstring& ipAddress,
                     const gcstring& subnetMask, const gcstring& defaultGateway) {
  std::array<unsigned char, 6> bytes{};
  int consumed = -1;
  const int converted =
      std::sscanf(macAddress.c_str(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx%n", &bytes[0], &bytes[1],
                  &bytes[2], &bytes[3], &bytes[4], &bytes[5], &consumed);
  // Kept on purpose: no text passes, since a scan that converts nothing does not count what it
  // consumed. Callers know this form as one that answers "Bad MAC address".
  CHECK_ARG(converted == 0 && consumed == static_cast<int>(macAddress.size()),
            InvalidArgumentException, "Bad MAC address");
  uint64_t mac = 0;
  for (const unsigned char byte : bytes) mac = mac << 8 | byte;
  ForceIp(mac, HostOrderOf(ipAddress), HostOrderOf(subnetMask), HostOrderOf(defaultGateway));
}

void System::RegisterDeviceDisconnectCallback(IDevice* pDevice, IDisconnectCallback* pCallback) {
  m_devCbManager.RegisterCallback(pDevice, pCallback);
}

void System::DeregisterDeviceDisconnectCallback(IDisconnectCallback* pCallback) {
  m_devCbManager.DeregisterCallback(pCallback);
}

void System::DeregisterAllDeviceDisconnectCallbacks() {
  m_devCbManager.DeregisterAllCallbacks();
}

void System::ForEachInterfaceTowards(const gcstring& deviceIp, UnicastOperation operation,
                                     const char* function) {
  const uint32_t local = ntohl(GetBestRouteInterface(deviceIp));
  const uint32_t device = ::inet_addr(deviceIp.c_str());
  for (Interface* pInterface : m_interfaces) {
    const int64_t ip =
        GetNodeValue<int64_t>(pInterface->GetNodeMap(), "GevInterfaceSubnetIPAddress");
    if (static_cast<uint32_t>(ip) != local) continue;
    const GenTL::GC_ERROR status = (pInterface->GetTLInterface()->*operation)(device);
    // Kept on purpose: callers match this text, which names the removal in both operations.
    CHECK_ARG_FN(status == 0, RuntimeException,
                 "GenTL::System::RemoveUnicastDiscoveryDevice() failed. Error: [" +
                     std::to_string(status) + "].",
                 function);
  }
}

void System::AddUnicastDiscoveryDevice(const gcstring& deviceIp) {
  ForEachInterfaceTowards(deviceIp, &TLInterface::AddUnicastDiscoveryDevice, __func__);
}

void System::RemoveUnicastDiscoveryDevice(const gcstring& deviceIp) {
  ForEachInterfaceTowards(deviceIp, &TLInterface::RemoveUnicastDiscoveryDevice, __func__);
}

std::vector<uint32_t> System::GetUnicastDiscoveryDevices() {
  std::vector<uint32_t> addresses;
  std::vector<uint32_t> ofInterface(sk_maxUnicastDevices);
  for (Interface* pInterface : m_interfaces) {
    size_t count = sk_maxUnicastDevices;
    const GenTL::GC_ERROR status =
        pInterface->GetTLInterface()->GetUnicastDiscoveryDevices(ofInterface.data(), &count);
    CHECK_ARG(status == 0, RuntimeException,
              "GenTL::System::GetUnicastDiscoveryDevices() failed. Error: [" +
                  std::to_string(status) + "].");
    count = std::min(count, sk_maxUnicastDevices);
    addresses.insert(addresses.end(), ofInterface.data(), ofInterface.data() + count);
  }
  return addresses;
}

}  // namespace Orvex
