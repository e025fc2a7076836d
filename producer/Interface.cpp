// SPDX-License-Identifier: Apache-2.0
#include "producer/Interface.h"

#include <algorithm>
#include <cstdio>

#include "gentl/GenTLExtensions.h"
#include "gigevision/Bootstrap.h"
#include "producer/ControlChannel.h"
#include "producer/Device.h"
#include "producer/Limits.h"
#include "producer/System.h"

namespace OrvexGev {

using namespace GenTL;
namespace Reg = GigEVision::Bootstrap;

namespace {

constexpr uint16_t sk_eventDeviceListChanged = 0x0001;
constexpr uint16_t sk_eventInterfaceLost = 0x0002;
constexpr auto sk_statusPatience = 100ms;

bool Answers(const DeviceRecord& record, const std::string& name) {
  if (name.empty()) return false;
  char mac[24];
  const auto byte = [&](int i) { return static_cast<unsigned>(record.mac >> 8 * i & 0xFF); };
  std::snprintf(mac, sizeof mac, "%02x:%02x:%02x:%02x:%02x:%02x", byte(5), byte(4), byte(3),
                byte(2), byte(1), byte(0));
  return record.id == name || record.serial == name || record.userName == name ||
         AddressText(record.ip) == name || name == mac;
}

}  // namespace

Interface::Interface(std::shared_ptr<System> parent, const HostInterface& host)
    : Module(sk_kind, MakeFeatures(*this)), m_parent(parent), m_host(host) {}

std::shared_ptr<Interface> Interface::Create(std::shared_ptr<System> parent,
                                             const HostInterface& host) {
  std::shared_ptr<Interface> interface(new Interface(std::move(parent), host));
  HandleTable::Instance().Add(interface);
  return interface;
}

void Interface::Close() {
  HandleTable::Instance().Remove(*this);
  for (;;) {
    std::shared_ptr<Device> device;
    {
      const std::lock_guard lock(m_mutex);
      if (m_open.empty()) break;
      device = m_open.begin()->second;
    }
    device->Close();
  }
  UnregisterAllEvents();
  if (const auto parent = m_parent.lock()) parent->Forget(*this);
}

PortIdentity Interface::Identity() const {
  return {m_host.id, sk_vendor, sk_model, TLInterfaceModuleName, "1.0.0", "InterfacePort"};
}

void Interface::NoteLost() {
  FireModule(sk_eventInterfaceLost);
}

void Interface::AddEvents(FeatureTable& table, Interface* self) {
  AddEventControl(
      table, self,
      {{"DeviceListChanged", sk_eventDeviceListChanged}, {"InterfaceLost", sk_eventInterfaceLost}});
}

bool Interface::UpdateDeviceList(uint64_t timeoutMs) {
  const auto window = std::chrono::milliseconds(std::min(
      timeoutMs, static_cast<uint64_t>(std::chrono::milliseconds(sk_discoveryWindow).count())));
  const std::vector<uint32_t> unicast = Unicast();
  std::vector<DeviceRecord> found = Discover(m_host, unicast, window);
  {
    const std::lock_guard lock(m_mutex);
    // A camera that is open and connected stays listed, also when its answer was lost.
    for (const auto& [id, device] : m_open) {
      const bool listed = std::ranges::find(found, id, &DeviceRecord::id) != found.end();
      if (!listed && device->Connected()) found.push_back(device->Record());
    }
    std::ranges::sort(found, {}, &DeviceRecord::id);
    if (found == m_devices) return false;
    m_devices = std::move(found);
    if (m_selected >= static_cast<int64_t>(m_devices.size())) m_selected = 0;
  }
  FireModule(sk_eventDeviceListChanged);
  return true;
}

uint32_t Interface::DeviceCount() const {
  const std::lock_guard lock(m_mutex);
  return static_cast<uint32_t>(m_devices.size());
}

std::string Interface::DeviceId(uint32_t index) const {
  const std::lock_guard lock(m_mutex);
  Require(index < m_devices.size(), GC_ERR_INVALID_INDEX, "There is no device with this index");
  return m_devices[index].id;
}

DeviceRecord Interface::Selected() const {
  const std::lock_guard lock(m_mutex);
  return m_selected < static_cast<int64_t>(m_devices.size())
             ? m_devices[static_cast<size_t>(m_selected)]
             : DeviceRecord();
}

std::optional<DeviceRecord> Interface::FindListed(const std::string& id) const {
  const std::lock_guard lock(m_mutex);
  // The true id goes before all other names.
  auto found = std::ranges::find(m_devices, id, &DeviceRecord::id);
  if (found == m_devices.end()) {
    found = std::ranges::find_if(m_devices,
                                 [&](const DeviceRecord& record) { return Answers(record, id); });
  }
  if (found == m_devices.end()) return std::nullopt;
  return *found;
}

DeviceRecord Interface::FindDevice(const std::string& id) {
  if (const auto listed = FindListed(id)) return *listed;
  std::chrono::milliseconds window = sk_discoveryWindow;
  if (const auto ip = ParseAddress(id); ip && m_host.loopback == IsLoopback(*ip)) {
    // An address can be asked itself, also behind a router.
    if (auto record = DiscoverAt(m_host, *ip)) return *record;
    window = sk_discoveryQuiet;  // it has had time enough
  }
  UpdateDeviceList(static_cast<uint64_t>(window.count()));
  const auto listed = FindListed(id);
  Require(listed.has_value(), GC_ERR_INVALID_ID, "There is no device with this id");
  return *listed;
}

std::shared_ptr<Device> Interface::OpenedDevice(const std::string& id) const {
  const std::lock_guard lock(m_mutex);
  const auto found = m_open.find(id);
  return found == m_open.end() ? nullptr : found->second;
}

DEVICE_ACCESS_STATUS Interface::AccessStatus(const DeviceRecord& record) const {
  if (record.id.empty()) return DEVICE_ACCESS_STATUS_UNKNOWN;
  if (const auto device = OpenedDevice(record.id)) return device->AccessStatus();
  const auto privilege = Privilege(record);
  if (!privilege) return DEVICE_ACCESS_STATUS_NOACCESS;
  // A camera that is held exclusively refuses even this question.
  const bool held = (*privilege & (Reg::sk_ccpControl | Reg::sk_ccpExclusive)) != 0;
  return held ? DEVICE_ACCESS_STATUS_BUSY : DEVICE_ACCESS_STATUS_READWRITE;
}

std::optional<uint32_t> Interface::Privilege(const DeviceRecord& record) const {
  const std::vector<uint32_t> unicast = Unicast();
  const bool sameSubnet = ((record.ip ^ m_host.ip) & m_host.mask) == 0;
  if (!sameSubnet && std::ranges::find(unicast, record.ip) == unicast.end()) return std::nullopt;
  ControlChannel channel(m_host.ip, record.ip);
  return channel.Probe(Reg::sk_ccp, sk_statusPatience, sk_statusPatience);
}

void Interface::DeviceInfo(const char* id, DEVICE_INFO_CMD command, InfoQuery query) {
  Require(id != nullptr, GC_ERR_INVALID_PARAMETER, "The device id is null");
  const DeviceRecord record = FindDevice(id);
  if (const auto device = OpenedDevice(record.id)) return device->Info(command, query);
  switch (command) {
    case DEVICE_INFO_ACCESS_STATUS:
      return query.Int32(AccessStatus(record));
    case DEVICE_INFO_ORVEX_CONNECTED:
      return query.Bool(AccessStatus(record) != DEVICE_ACCESS_STATUS_NOACCESS);
    case DEVICE_INFO_TIMESTAMP_FREQUENCY:
      InfoQuery::NotAvailable();
    default:
      return AnswerDeviceInfo(record, command, query);
  }
}

std::shared_ptr<Device> Interface::OpenDevice(const char* id, DEVICE_ACCESS_FLAGS flags) {
  Require(id != nullptr, GC_ERR_INVALID_PARAMETER, "The device id is null");
  const DeviceRecord record = FindDevice(id);
  Require(OpenedDevice(record.id) == nullptr, GC_ERR_RESOURCE_IN_USE, "The device is already open");
  auto device =
      Device::Create(std::static_pointer_cast<Interface>(shared_from_this()), record, flags);
  {
    const std::lock_guard lock(m_mutex);
    if (m_open.emplace(record.id, device).second) return device;
  }
  device->Close();  // another thread was faster
  throw GcError(GC_ERR_RESOURCE_IN_USE, "The device is already open");
}

void Interface::Forget(const Device& device) {
  const std::lock_guard lock(m_mutex);
  std::erase_if(m_open, [&](const auto& entry) { return entry.second.get() == &device; });
}

void Interface::ForceIp(const ForceIpSettings& settings) {
  Require(ForceIpOn(m_host, settings) != ForceIpAnswer::Refused, GC_ERR_ACCESS_DENIED,
          "The camera refuses to change its address");
}

void Interface::AddUnicast(uint32_t ip) {
  const std::lock_guard lock(m_mutex);
  if (std::ranges::find(m_unicast, ip) != m_unicast.end()) return;
  Require(m_unicast.size() < sk_maxUnicastDevices, GC_ERR_RESOURCE_EXHAUSTED,
          "The list of unicast discovery addresses is full");
  m_unicast.push_back(ip);
}

void Interface::RemoveUnicast(uint32_t ip) {
  const std::lock_guard lock(m_mutex);
  std::erase(m_unicast, ip);
}

std::vector<uint32_t> Interface::Unicast() const {
  const std::lock_guard lock(m_mutex);
  return m_unicast;
}

void AnswerDeviceInfo(const DeviceRecord& record, DEVICE_INFO_CMD command, InfoQuery query) {
  switch (command) {
    case DEVICE_INFO_ID:
      return query.String(record.id);
    case DEVICE_INFO_VENDOR:
      return query.String(record.vendor);
    case DEVICE_INFO_MODEL:
      return query.String(record.model);
    case DEVICE_INFO_TLTYPE:
      return query.String(TLTypeGEVName);
    case DEVICE_INFO_DISPLAYNAME:
      return query.String(record.DisplayName());
    // Kept on purpose: an empty name, serial number or version is an answer. Consumers list cameras
    // that have none.
    case DEVICE_INFO_USER_DEFINED_NAME:
      return query.String(record.userName);
    case DEVICE_INFO_SERIAL_NUMBER:
      return query.String(record.serial);
    case DEVICE_INFO_VERSION:
      return query.String(record.version);
    case DEVICE_INFO_ORVEX_CURRENT_IP:
      return query.UInt32(record.ip);
    case DEVICE_INFO_ORVEX_SUBNET_MASK:
      return query.UInt32(record.mask);
    case DEVICE_INFO_ORVEX_MAC:
      return query.UInt64(record.mac);
    case DEVICE_INFO_ORVEX_GATEWAY:
      return query.UInt32(record.gateway);
    case DEVICE_INFO_ORVEX_DHCP_ENABLED:
      return query.Bool((record.ipConfiguration & Reg::sk_ipDhcp) != 0);
    case DEVICE_INFO_ORVEX_PERSISTENT_IP_ENABLED:
      return query.Bool((record.ipConfiguration & Reg::sk_ipPersistent) != 0);
    case DEVICE_INFO_ORVEX_LINK_LOCAL_ENABLED:
      return query.Bool((record.ipConfiguration & Reg::sk_ipLinkLocal) != 0);
    default:
      InfoQuery::NotImplemented();
  }
}

}  // namespace OrvexGev
