// SPDX-License-Identifier: Apache-2.0
#include "producer/System.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>

#include "gentl/GenTLExtensions.h"
#include "producer/Interface.h"
#include "producer/Limits.h"

#ifndef ORVEX_GEV_VERSION
#define ORVEX_GEV_VERSION "0.0.0"
#endif

namespace OrvexGev {

using namespace GenTL;

namespace {

constexpr uint16_t sk_eventInterfaceListChanged = 0x0001;

// The file that contains this code.
std::string ProducerFile() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&ProducerFile), &info) == 0 || info.dli_fname == nullptr)
    return {};
  std::error_code error;
  const std::filesystem::path path = std::filesystem::canonical(info.dli_fname, error);
  return error ? info.dli_fname : path.string();
}

std::string FileName() {
  return std::filesystem::path(ProducerFile()).filename().string();
}

}  // namespace

std::vector<EnumEntry> TransportLayerEntries() {
  return {{"GigEVision", sk_gigEVisionEntry},
          {"CameraLink", 1},
          {"CameraLinkHS", 2},
          {"CoaXPress", 3},
          {"USB3Vision", 4},
          {"Custom", 5}};
}

void System::Info(TL_INFO_CMD command, InfoQuery query) {
  switch (command) {
    case TL_INFO_ID:
      return query.String(ProducerFile());
    case TL_INFO_VENDOR:
      return query.String(sk_vendor);
    case TL_INFO_MODEL:
      return query.String(sk_model);
    case TL_INFO_VERSION:
      return query.String(ORVEX_GEV_VERSION);
    case TL_INFO_TLTYPE:
      return query.String(TLTypeGEVName);
    case TL_INFO_NAME:
      return query.String(FileName());
    case TL_INFO_PATHNAME:
      return query.String(ProducerFile());
    case TL_INFO_DISPLAYNAME:
      return query.String(sk_displayName);
    case TL_INFO_CHAR_ENCODING:
      return query.Int32(TL_CHAR_ENCODING_UTF8);
    case TL_INFO_GENTL_VER_MAJOR:
      return query.UInt32(GenTLMajorVersion);
    case TL_INFO_GENTL_VER_MINOR:
      return query.UInt32(GenTLMinorVersion);
    default:
      InfoQuery::NotImplemented();
  }
}

std::unique_ptr<FeatureTable> System::MakeFeatures(System& self) {
  auto table = std::make_unique<FeatureTable>("GenTLSystem", "TLPort");
  const char* about = "SystemInformation";
  const auto text = [](std::string value) { return [value = std::move(value)] { return value; }; };
  const auto number = [](int64_t value) { return [value] { return value; }; };
  table->Add(Feature::String("TLID", text(ProducerFile())).In(about).Expert().Constant());
  table->Add(Feature::String("TLVendorName", text(sk_vendor)).In(about).Constant());
  table->Add(Feature::String("TLModelName", text(sk_model)).In(about).Constant());
  table->Add(Feature::String("TLVersion", text(ORVEX_GEV_VERSION)).In(about).Constant());
  table->Add(Feature::String("TLFileName", text(FileName())).In(about).Expert().Constant());
  table->Add(Feature::String("TLDisplayName", text(sk_displayName)).In(about).Constant());
  table->Add(Feature::String("TLPath", text(ProducerFile())).In(about).Expert().Constant());
  table->Add(Feature::Enumeration("TLType", TransportLayerEntries(), number(sk_gigEVisionEntry))
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(Feature::Integer("GenTLVersionMajor", number(GenTLMajorVersion))
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(Feature::Integer("GenTLVersionMinor", number(GenTLMinorVersion))
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(Feature::Integer("GenTLSFNCVersionMajor", number(1)).In(about).Expert().Constant());
  table->Add(Feature::Integer("GenTLSFNCVersionMinor", number(2)).In(about).Expert().Constant());

  const char* list = "InterfaceEnumeration";
  const char* selector = "InterfaceSelector";
  System* system = &self;
  table->Add(Feature::Command("InterfaceUpdateList", [system] {
               system->UpdateInterfaceList();
             }).In(list));
  table->Add(Feature::Integer(
                 "InterfaceUpdateTimeout",
                 [system] {
                   const std::lock_guard lock(system->m_mutex);
                   return system->m_updateTimeout;
                 },
                 [system](int64_t value) {
                   const std::lock_guard lock(system->m_mutex);
                   system->m_updateTimeout = value;
                 })
                 .In(list)
                 .Expert()
                 .Unit("ms")
                 .Range(0, 60000));
  table->Add(
      Feature::Integer(
          selector,
          [system] {
            const std::lock_guard lock(system->m_mutex);
            return system->m_selected;
          },
          [system](int64_t value) {
            const std::lock_guard lock(system->m_mutex);
            system->m_selected = value;
          })
          .In(list)
          .Max([system] { return std::max<int64_t>(0, int64_t{system->InterfaceCount()} - 1); }));
  table->Add(Feature::String("InterfaceID", [system] { return system->Selected().id; })
                 .In(list)
                 .SelectedBy(selector));
  table->Add(Feature::String("InterfaceDisplayName",
                             [system] { return InterfaceDisplayName(system->Selected()); })
                 .In(list)
                 .SelectedBy(selector));
  table->Add(Feature::Integer("GevInterfaceMACAddress",
                              [system] { return static_cast<int64_t>(system->Selected().mac); })
                 .In(list)
                 .Expert()
                 .Shown("MACAddress")
                 .SelectedBy(selector));
  table->Add(Feature::Integer("GevInterfaceDefaultIPAddress",
                              [system] { return int64_t{system->Selected().ip}; })
                 .In(list)
                 .Expert()
                 .Shown("IPV4Address")
                 .SelectedBy(selector));
  table->Add(Feature::Integer("GevInterfaceDefaultSubnetMask",
                              [system] { return int64_t{system->Selected().mask}; })
                 .In(list)
                 .Expert()
                 .Shown("IPV4Address")
                 .SelectedBy(selector));
  table->Add(Feature::Integer("GevInterfaceDefaultGateway",
                              [system] { return int64_t{system->Selected().gateway}; })
                 .In(list)
                 .Expert()
                 .Shown("IPV4Address")
                 .SelectedBy(selector));
  AddEventControl(*table, system, {{"InterfaceListChanged", sk_eventInterfaceListChanged}});
  table->Finish();
  return table;
}

System::System() : Module(sk_kind, MakeFeatures(*this)), m_interfaces(ListHostInterfaces()) {}

std::shared_ptr<System> System::Create() {
  std::shared_ptr<System> system(new System);
  HandleTable::Instance().Add(system);
  return system;
}

void System::Close() {
  HandleTable::Instance().Remove(*this);
  for (;;) {
    std::shared_ptr<Interface> interface;
    {
      const std::lock_guard lock(m_mutex);
      if (m_open.empty()) break;
      interface = m_open.begin()->second;
    }
    interface->Close();
  }
  UnregisterAllEvents();
}

PortIdentity System::Identity() const {
  return {ProducerFile(), sk_vendor, sk_model, TLSystemModuleName, ORVEX_GEV_VERSION, "TLPort"};
}

bool System::UpdateInterfaceList() {
  std::vector<HostInterface> now = ListHostInterfaces();
  std::vector<std::shared_ptr<Interface>> lost;
  {
    const std::lock_guard lock(m_mutex);
    if (now == m_interfaces) return false;
    for (const auto& [id, interface] : m_open) {
      const bool was =
          std::ranges::find(m_interfaces, id, &HostInterface::id) != m_interfaces.end();
      if (was && std::ranges::find(now, id, &HostInterface::id) == now.end())
        lost.push_back(interface);
    }
    m_interfaces = std::move(now);
    if (m_selected >= static_cast<int64_t>(m_interfaces.size())) m_selected = 0;
  }
  for (const auto& interface : lost) interface->NoteLost();
  FireModule(sk_eventInterfaceListChanged);
  return true;
}

uint32_t System::InterfaceCount() const {
  const std::lock_guard lock(m_mutex);
  return static_cast<uint32_t>(m_interfaces.size());
}

std::string System::InterfaceId(uint32_t index) const {
  const std::lock_guard lock(m_mutex);
  Require(index < m_interfaces.size(), GC_ERR_INVALID_INDEX,
          "There is no interface with this index");
  return m_interfaces[index].id;
}

HostInterface System::Selected() const {
  const std::lock_guard lock(m_mutex);
  return m_selected < static_cast<int64_t>(m_interfaces.size())
             ? m_interfaces[static_cast<size_t>(m_selected)]
             : HostInterface();
}

HostInterface System::FindInterface(const std::string& id) const {
  const auto matches = [&id](const HostInterface& host) {
    return host.id == id || AddressText(host.ip) == id;
  };
  {
    const std::lock_guard lock(m_mutex);
    const auto found = std::ranges::find_if(m_interfaces, matches);
    if (found != m_interfaces.end()) return *found;
  }
  // An id that the consumer knew beforehand works without a list update.
  const std::vector<HostInterface> fresh = ListHostInterfaces();
  const auto found = std::ranges::find_if(fresh, matches);
  Require(found != fresh.end(), GC_ERR_INVALID_ID, "There is no interface with this id");
  return *found;
}

void System::InterfaceInfo(const char* id, INTERFACE_INFO_CMD command, InfoQuery query) const {
  Require(id != nullptr, GC_ERR_INVALID_PARAMETER, "The interface id is null");
  AnswerInterfaceInfo(FindInterface(id), command, query);
}

std::shared_ptr<Interface> System::OpenInterface(const char* id) {
  Require(id != nullptr, GC_ERR_INVALID_PARAMETER, "The interface id is null");
  const HostInterface host = FindInterface(id);
  const std::lock_guard lock(m_mutex);
  Require(!m_open.contains(host.id), GC_ERR_RESOURCE_IN_USE, "The interface is already open");
  auto interface = Interface::Create(std::static_pointer_cast<System>(shared_from_this()), host);
  m_open.emplace(host.id, interface);
  return interface;
}

void System::Forget(const Interface& interface) {
  const std::lock_guard lock(m_mutex);
  std::erase_if(m_open, [&](const auto& entry) { return entry.second.get() == &interface; });
}

std::string InterfaceDisplayName(const HostInterface& host) {
  return host.name + " (" + AddressText(host.ip) + ")";
}

void AnswerInterfaceInfo(const HostInterface& host, INTERFACE_INFO_CMD command, InfoQuery query) {
  switch (command) {
    case INTERFACE_INFO_ID:
      return query.String(host.id);
    case INTERFACE_INFO_DISPLAYNAME:
      return query.String(InterfaceDisplayName(host));
    case INTERFACE_INFO_TLTYPE:
      return query.String(TLTypeGEVName);
    case INTERFACE_INFO_ORVEX_MAC:
      return query.UInt64(host.mac);
    case INTERFACE_INFO_ORVEX_IP:
      return query.UInt64(host.ip);
    case INTERFACE_INFO_ORVEX_SUBNET_MASK:
      return query.UInt64(host.mask);
    default:
      InfoQuery::NotImplemented();
  }
}

}  // namespace OrvexGev
