#pragma once
// SPDX-License-Identifier: Apache-2.0
// An interface module: one IPv4 address of the host, the cameras that were found there and those
// that are open. Owned by its System. Any thread may call.

#include <map>

#include "producer/Discovery.h"
#include "producer/Module.h"

namespace OrvexGev {

class Device;
class System;

class Interface final : public Module {
 public:
  static constexpr Kind sk_kind = Kind::Interface;

  static std::shared_ptr<Interface> Create(std::shared_ptr<System> parent,
                                           const HostInterface& host);
  void Close();

  const HostInterface& Host() const { return m_host; }
  std::shared_ptr<System> Parent() const { return m_parent.lock(); }
  PortIdentity Identity() const override;

  // The host has this interface no longer.
  void NoteLost();

  // True when the list differs from the one before.
  bool UpdateDeviceList(uint64_t timeoutMs);
  uint32_t DeviceCount() const;
  std::string DeviceId(uint32_t index) const;
  void DeviceInfo(const char* id, GenTL::DEVICE_INFO_CMD command, InfoQuery query);
  std::shared_ptr<Device> OpenDevice(const char* id, GenTL::DEVICE_ACCESS_FLAGS flags);
  void Forget(const Device& device);

  GenTL::DEVICE_ACCESS_STATUS AccessStatus(const DeviceRecord& record) const;
  // The camera's control channel privilege register as it answers now, nothing when it does not.
  std::optional<uint32_t> Privilege(const DeviceRecord& record) const;

  void ForceIp(const ForceIpSettings& settings);
  // Addresses in host order.
  void AddUnicast(uint32_t ip);
  void RemoveUnicast(uint32_t ip);
  std::vector<uint32_t> Unicast() const;

 private:
  Interface(std::shared_ptr<System> parent, const HostInterface& host);
  static std::unique_ptr<FeatureTable> MakeFeatures(Interface& self);
  static void AddDeviceFeatures(FeatureTable& table, Interface* self);
  static void AddActionFeatures(FeatureTable& table, Interface* self);
  static void AddEvents(FeatureTable& table, Interface* self);
  DeviceRecord Selected() const;
  int64_t ControlModeOf(const DeviceRecord& record) const;  // an entry of the feature
  // A camera of the list, or one that is looked for now; alternatives to the id are the serial
  // number, the user-defined name, the address and the MAC.
  DeviceRecord FindDevice(const std::string& id);
  std::optional<DeviceRecord> FindListed(const std::string& id) const;
  std::shared_ptr<Device> OpenedDevice(const std::string& id) const;
  void SendActionCommand();

  const std::weak_ptr<System> m_parent;
  const HostInterface m_host;

  mutable std::mutex m_mutex;
  std::vector<DeviceRecord> m_devices;
  std::map<std::string, std::shared_ptr<Device>> m_open;
  std::vector<uint32_t> m_unicast;
  int64_t m_selected = 0;
  int64_t m_gatewaySelector = 0;
  int64_t m_subnetSelector = 0;
  int64_t m_updateTimeout = 1000;
  int64_t m_forceIp = 0, m_forceMask = 0, m_forceGateway = 0;
  int64_t m_actionDeviceKey = 0, m_actionGroupKey = 0, m_actionGroupMask = 1,
          m_actionDestination = 0xFFFFFFFF;
  int64_t m_actionTimeEnable = 0, m_actionTime = 0;
};

// The answers that IFGetDeviceInfo and DevGetInfo share; the others are the caller's.
void AnswerDeviceInfo(const DeviceRecord& record, GenTL::DEVICE_INFO_CMD command, InfoQuery query);
std::vector<EnumEntry> AccessStatusEntries();

}  // namespace OrvexGev
