// SPDX-License-Identifier: Apache-2.0
// The node map of an interface module.
#include <algorithm>
#include <array>

#include "gigevision/Bootstrap.h"
#include "gigevision/Gvcp.h"
#include "producer/Device.h"
#include "producer/Interface.h"
#include "producer/System.h"

namespace OrvexGev {

using namespace GenTL;
namespace Gev = GigEVision;
namespace Reg = GigEVision::Bootstrap;

namespace {

constexpr int64_t sk_dhcp = 0, sk_persistentIp = 1, sk_linkLocal = 2;
constexpr int64_t sk_controlOpen = 0, sk_controlHeld = 1, sk_controlExclusive = 2,
                  sk_controlNone = 3;

// Where the camera's address comes from. Of the ways that it has switched on it takes the first
// that gives it one, and only a link-local address shows what it is.
int64_t ConfigurationOf(const DeviceRecord& record) {
  if (record.ip >> 16 == 0xA9FE) return sk_linkLocal;
  return (record.ipConfiguration & Reg::sk_ipPersistent) != 0 ? sk_persistentIp : sk_dhcp;
}

}  // namespace

int64_t Interface::ControlModeOf(const DeviceRecord& record) const {
  const auto privilege = Privilege(record);
  if (!privilege) return sk_controlNone;
  if ((*privilege & Reg::sk_ccpExclusive) != 0) return sk_controlExclusive;
  return (*privilege & Reg::sk_ccpControl) != 0 ? sk_controlHeld : sk_controlOpen;
}

std::vector<EnumEntry> AccessStatusEntries() {
  return {{"Unknown", DEVICE_ACCESS_STATUS_UNKNOWN},
          {"ReadWrite", DEVICE_ACCESS_STATUS_READWRITE},
          {"ReadOnly", DEVICE_ACCESS_STATUS_READONLY},
          {"NoAccess", DEVICE_ACCESS_STATUS_NOACCESS},
          {"Busy", DEVICE_ACCESS_STATUS_BUSY},
          {"OpenReadWrite", DEVICE_ACCESS_STATUS_OPEN_READWRITE},
          {"OpenReadOnly", DEVICE_ACCESS_STATUS_OPEN_READONLY}};
}

void Interface::AddDeviceFeatures(FeatureTable& table, Interface* self) {
  const char* list = "DeviceEnumeration";
  const char* selector = "DeviceSelector";
  const auto text = [self](std::string DeviceRecord::*member) {
    return [self, member] { return self->Selected().*member; };
  };
  const auto number = [self](auto DeviceRecord::*member) {
    return [self, member] { return static_cast<int64_t>(self->Selected().*member); };
  };
  const auto get = [self](int64_t Interface::*member) {
    return [self, member] {
      const std::lock_guard lock(self->m_mutex);
      return self->*member;
    };
  };
  const auto set = [self](int64_t Interface::*member) {
    return [self, member](int64_t value) {
      const std::lock_guard lock(self->m_mutex);
      self->*member = value;
    };
  };
  table.Add(Feature::Command(
                "DeviceUpdateList",
                [self] { self->UpdateDeviceList(static_cast<uint64_t>(self->m_updateTimeout)); })
                .In(list)
                .Expert());
  table.Add(Feature::Integer("DeviceUpdateTimeout", get(&Interface::m_updateTimeout),
                             set(&Interface::m_updateTimeout))
                .In(list)
                .Expert()
                .Unit("ms")
                .Range(0, 60000));
  table.Add(Feature::Integer(selector, get(&Interface::m_selected), set(&Interface::m_selected))
                .In(list)
                .Expert()
                .Max([self] { return std::max<int64_t>(0, int64_t{self->DeviceCount()} - 1); }));
  table.Add(
      Feature::String("DeviceID", text(&DeviceRecord::id)).In(list).Expert().SelectedBy(selector));
  table.Add(Feature::String("DeviceVendorName", text(&DeviceRecord::vendor))
                .In(list)
                .Expert()
                .SelectedBy(selector));
  table.Add(Feature::String("DeviceModelName", text(&DeviceRecord::model))
                .In(list)
                .Expert()
                .SelectedBy(selector));
  table.Add(Feature::Enumeration("DeviceAccessStatus", AccessStatusEntries(),
                                 [self] { return int64_t{self->AccessStatus(self->Selected())}; })
                .In(list)
                .Expert()
                .SelectedBy(selector));
  table.Add(Feature::String("DeviceSerialNumber", text(&DeviceRecord::serial))
                .In(list)
                .Expert()
                .SelectedBy(selector));
  table.Add(Feature::String("DeviceUserID", text(&DeviceRecord::userName))
                .In(list)
                .Expert()
                .SelectedBy(selector));
  table.Add(Feature::Integer("DeviceTLVersionMajor", number(&DeviceRecord::versionMajor))
                .In(list)
                .Expert()
                .SelectedBy(selector));
  table.Add(Feature::Integer("DeviceTLVersionMinor", number(&DeviceRecord::versionMinor))
                .In(list)
                .Expert()
                .SelectedBy(selector));
  table.Add(Feature::Integer("GevDeviceIPAddress", number(&DeviceRecord::ip))
                .In(list)
                .Expert()
                .Shown("IPV4Address")
                .SelectedBy(selector));
  table.Add(Feature::Integer("GevDeviceSubnetMask", number(&DeviceRecord::mask))
                .In(list)
                .Expert()
                .Shown("IPV4Address")
                .SelectedBy(selector));
  table.Add(Feature::Integer("GevDeviceGateway", number(&DeviceRecord::gateway))
                .In(list)
                .Expert()
                .Shown("IPV4Address")
                .SelectedBy(selector));
  table.Add(Feature::Integer("GevDeviceMACAddress", number(&DeviceRecord::mac))
                .In(list)
                .Expert()
                .Shown("MACAddress")
                .SelectedBy(selector));
  table.Add(Feature::Enumeration(
                "GevDeviceIPConfigurationStatus",
                {{"DHCP", sk_dhcp}, {"PersistentIP", sk_persistentIp}, {"LinkLocal", sk_linkLocal}},
                [self] { return ConfigurationOf(self->Selected()); })
                .In(list)
                .Expert()
                .SelectedBy(selector));
  table.Add(Feature::Enumeration("GevDeviceCurrentControlMode",
                                 {{"Open", sk_controlOpen},
                                  {"ControlAccess", sk_controlHeld},
                                  {"ExclusiveAccess", sk_controlExclusive},
                                  {"NoAccess", sk_controlNone}},
                                 [self] { return self->ControlModeOf(self->Selected()); })
                .In(list)
                .Expert()
                .SelectedBy(selector)
                .Tip("Who controls the camera, as it answers now."));
  table.Add(Feature::Integer("GevDeviceForceIPAddress", get(&Interface::m_forceIp),
                             set(&Interface::m_forceIp))
                .In(list)
                .Expert()
                .Shown("IPV4Address")
                .Range(0, 0xFFFFFFFF));
  table.Add(Feature::Integer("GevDeviceForceSubnetMask", get(&Interface::m_forceMask),
                             set(&Interface::m_forceMask))
                .In(list)
                .Expert()
                .Shown("IPV4Address")
                .Range(0, 0xFFFFFFFF));
  table.Add(Feature::Integer("GevDeviceForceGateway", get(&Interface::m_forceGateway),
                             set(&Interface::m_forceGateway))
                .In(list)
                .Expert()
                .Shown("IPV4Address")
                .Range(0, 0xFFFFFFFF));
  table.Add(Feature::Command("GevDeviceForceIP",
                             [self] {
                               const DeviceRecord record = self->Selected();
                               Require(record.mac != 0, GC_ERR_NOT_AVAILABLE,
                                       "No device is selected");
                               ForceIpSettings settings{record.mac, 0, 0, 0};
                               {
                                 const std::lock_guard lock(self->m_mutex);
                                 settings.ip = static_cast<uint32_t>(self->m_forceIp);
                                 settings.mask = static_cast<uint32_t>(self->m_forceMask);
                                 settings.gateway = static_cast<uint32_t>(self->m_forceGateway);
                               }
                               self->ForceIp(settings);
                             })
                .In(list)
                .Expert());
}

void Interface::AddActionFeatures(FeatureTable& table, Interface* self) {
  const char* actions = "ActionControl";
  const auto variable = [&](const char* name, int64_t Interface::*member, int64_t max) {
    return Feature::Integer(
               name,
               [self, member] {
                 const std::lock_guard lock(self->m_mutex);
                 return self->*member;
               },
               [self, member](int64_t value) {
                 const std::lock_guard lock(self->m_mutex);
                 self->*member = value;
               })
        .In(actions)
        .Expert()
        .Range(0, max);
  };
  constexpr int64_t word = 0xFFFFFFFF;
  table.Add(Feature::Command("ActionCommand", [self] { self->SendActionCommand(); })
                .In(actions)
                .Expert());
  table.Add(variable("ActionDeviceKey", &Interface::m_actionDeviceKey, word));
  table.Add(variable("ActionGroupKey", &Interface::m_actionGroupKey, word));
  table.Add(variable("ActionGroupMask", &Interface::m_actionGroupMask, word));
  table.Add(Feature::Boolean(
                "ActionScheduledTimeEnable",
                [self] {
                  const std::lock_guard lock(self->m_mutex);
                  return self->m_actionTimeEnable;
                },
                [self](int64_t value) {
                  const std::lock_guard lock(self->m_mutex);
                  self->m_actionTimeEnable = value;
                })
                .In(actions)
                .Expert());
  table.Add(variable("ActionScheduledTime", &Interface::m_actionTime,
                     std::numeric_limits<int64_t>::max()));
  table.Add(variable("GevActionDestinationIPAddress", &Interface::m_actionDestination, word)
                .Shown("IPV4Address"));
}

void Interface::SendActionCommand() {
  Gev::Action action;
  uint32_t destination;
  {
    const std::lock_guard lock(m_mutex);
    action = {static_cast<uint32_t>(m_actionDeviceKey), static_cast<uint32_t>(m_actionGroupKey),
              static_cast<uint32_t>(m_actionGroupMask),
              m_actionTimeEnable != 0 ? static_cast<uint64_t>(m_actionTime) : 0};
    destination = static_cast<uint32_t>(m_actionDestination);
  }
  // Nobody is asked to acknowledge: with a broadcast the number of cameras that do is not known.
  std::array<uint8_t, Gev::sk_gvcpMaxDatagram> packet;
  const size_t size = Gev::EncodeAction(packet, 1, 0, action);
  UdpSocket socket = UdpSocket::Bound({m_host.ip, 0});
  socket.AllowBroadcast();
  Require(socket.SendTo(std::span(packet).first(size), {destination, Gev::sk_gvcpPort}), GC_ERR_IO,
          "The action command cannot be sent");
}

std::unique_ptr<FeatureTable> Interface::MakeFeatures(Interface& interface) {
  auto table = std::make_unique<FeatureTable>("GenTLInterface", "InterfacePort");
  Interface* self = &interface;
  const char* about = "InterfaceInformation";
  const auto host = [self](auto HostInterface::*member) {
    return [self, member] { return static_cast<int64_t>(self->m_host.*member); };
  };
  table->Add(Feature::String("InterfaceID", [self] { return self->m_host.id; })
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(
      Feature::String("InterfaceDisplayName", [self] { return InterfaceDisplayName(self->m_host); })
          .In(about)
          .Expert()
          .Constant());
  table->Add(Feature::Enumeration("InterfaceType", TransportLayerEntries(),
                                  [] { return sk_gigEVisionEntry; })
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(Feature::Integer("InterfaceTLVersionMajor", [] { return int64_t{2}; })
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(Feature::Integer("InterfaceTLVersionMinor", [] { return int64_t{0}; })
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(Feature::Integer(
                 "GevInterfaceGatewaySelector",
                 [self] {
                   const std::lock_guard lock(self->m_mutex);
                   return self->m_gatewaySelector;
                 },
                 [self](int64_t value) {
                   const std::lock_guard lock(self->m_mutex);
                   self->m_gatewaySelector = value;
                 })
                 .In(about)
                 .Expert()
                 .Range(0, 0));
  table->Add(Feature::Integer("GevInterfaceGateway", host(&HostInterface::gateway))
                 .In(about)
                 .Expert()
                 .Shown("IPV4Address")
                 .SelectedBy("GevInterfaceGatewaySelector"));
  table->Add(Feature::Integer("GevInterfaceMACAddress", host(&HostInterface::mac))
                 .In(about)
                 .Expert()
                 .Shown("MACAddress")
                 .Constant());
  table->Add(Feature::Integer(
                 "GevInterfaceSubnetSelector",
                 [self] {
                   const std::lock_guard lock(self->m_mutex);
                   return self->m_subnetSelector;
                 },
                 [self](int64_t value) {
                   const std::lock_guard lock(self->m_mutex);
                   self->m_subnetSelector = value;
                 })
                 .In(about)
                 .Expert()
                 .Range(0, 0));
  table->Add(Feature::Integer("GevInterfaceSubnetIPAddress", host(&HostInterface::ip))
                 .In(about)
                 .Expert()
                 .Shown("IPV4Address")
                 .SelectedBy("GevInterfaceSubnetSelector"));
  table->Add(Feature::Integer("GevInterfaceSubnetMask", host(&HostInterface::mask))
                 .In(about)
                 .Expert()
                 .Shown("IPV4Address")
                 .SelectedBy("GevInterfaceSubnetSelector"));
  AddDeviceFeatures(*table, self);
  AddActionFeatures(*table, self);
  AddEvents(*table, self);
  table->Finish();
  return table;
}

}  // namespace OrvexGev
