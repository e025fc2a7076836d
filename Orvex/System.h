#pragma once
// SPDX-License-Identifier: Apache-2.0
// The one system of the process. Made by OpenSystem over the opened producer, deleted by
// CloseSystem. Lock order: m_updateDevsMtx before m_ifaceListMtx.
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ISystem.h"
#include "Orvex/ALogger.h"
#include "Orvex/DeviceCbManager.h"
#include "Orvex/Interface.h"
#include "Orvex/Port.h"
#include "Orvex/TLSystem.h"

namespace Orvex {

class System : public ISystem {
 public:
  // Takes the wrapper, whose module is open. When this throws, the module has been closed and the
  // wrapper deleted.
  explicit System(TLSystem* pSystem);
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  std::vector<InterfaceInfo> GetInterfaces() override;
  bool UpdateDevices(uint64_t timeout) override;
  bool UpdateDevices(InterfaceInfo info, uint64_t timeout) override;
  std::vector<DeviceInfo> GetDevices() override;
  IDevice* CreateDevice(DeviceInfo info) override;
  void DestroyDevice(IDevice* pDevice) override;
  GenApi::INodeMap* GetTLSystemNodeMap() override { return m_pSystemNodeMap; }
  GenApi::INodeMap* GetTLInterfaceNodeMap(DeviceInfo info) override;
  void ForceIp(uint64_t macAddress, uint64_t ipAddress, uint64_t subnetMask,
               uint64_t defaultGateway) override;
  void ForceIp(const GenICam::gcstring& macAddress, const GenICam::gcstring& ipAddress,
               const GenICam::gcstring& subnetMask,
               const GenICam::gcstring& defaultGateway) override;
  void RegisterDeviceDisconnectCallback(IDevice* pDevice, IDisconnectCallback* pCallback) override;
  void DeregisterDeviceDisconnectCallback(IDisconnectCallback* pCallback) override;
  void DeregisterAllDeviceDisconnectCallbacks() override;
  void AddUnicastDiscoveryDevice(const GenICam::gcstring& deviceIp) override;
  void RemoveUnicastDiscoveryDevice(const GenICam::gcstring& deviceIp) override;
  std::vector<uint32_t> GetUnicastDiscoveryDevices() override;
  ~System() override;

 private:
  // Reads the interfaces anew; those that the producer still reports stay the objects they are.
  void EnumerateInterfaces();
  // Closes and deletes all interfaces, last first.
  void CleanupInterfaces();
  // What the destructor and a failed construction share.
  void Release() noexcept;
  // Whether the interfaces changed; checked under the given function's name.
  bool UpdateInterfaceList(const char* function);
  // First interface with these addresses (the IPv4 one in host order); null when there is none.
  static Interface* FindInterface(const std::vector<Interface*>& interfaces, uint64_t mac,
                                  uint32_t ip);
  DeviceInfo QueryDevice(TLInterface* pInterface, const std::string& id);
  using UnicastOperation = GenTL::GC_ERROR (TLInterface::*)(uint32_t);
  void ForEachInterfaceTowards(const GenICam::gcstring& deviceIp, UnicastOperation operation,
                               const char* function);

  TLSystem* m_pSystem;                           // owned
  std::vector<Interface*> m_interfaces;          // owned, in the producer's order
  GenApi::INodeMap* m_pSystemNodeMap = nullptr;  // owned
  Port m_pPort;
  std::mutex m_ifaceListMtx;   // guards m_interfaces
  std::mutex m_updateDevsMtx;  // one device update at a time
  ALogger m_logger;
  DeviceCbManager m_devCbManager;
};

}  // namespace Orvex
