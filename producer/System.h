#pragma once
// SPDX-License-Identifier: Apache-2.0
// The system module: what the producer says about itself, and the host's interfaces. Made by
// TLOpen, one at a time; owns the interfaces that are open. Any thread may call.

#include <map>

#include "producer/Module.h"
#include "producer/Network.h"

namespace OrvexGev {

class Interface;

inline constexpr const char* sk_vendor = "Orvex";
inline constexpr const char* sk_model = "orvex-gev";
inline constexpr const char* sk_displayName = "Orvex GigE Vision producer";

class System final : public Module {
 public:
  static constexpr Kind sk_kind = Kind::System;

  // TLGetInfo and GCGetInfo: needs no open system.
  static void Info(GenTL::TL_INFO_CMD command, InfoQuery query);

  static std::shared_ptr<System> Create();
  void Close();

  PortIdentity Identity() const override;

  // True when the list differs from the one before.
  bool UpdateInterfaceList();
  uint32_t InterfaceCount() const;
  std::string InterfaceId(uint32_t index) const;
  void InterfaceInfo(const char* id, GenTL::INTERFACE_INFO_CMD command, InfoQuery query) const;
  std::shared_ptr<Interface> OpenInterface(const char* id);
  void Forget(const Interface& interface);

 private:
  System();
  static std::unique_ptr<FeatureTable> MakeFeatures(System& self);
  HostInterface FindInterface(const std::string& id) const;
  HostInterface Selected() const;

  mutable std::mutex m_mutex;
  std::vector<HostInterface> m_interfaces;
  std::map<std::string, std::shared_ptr<Interface>> m_open;
  int64_t m_selected = 0;
  int64_t m_updateTimeout = 1000;
};

// The answers of TLGetInterfaceInfo and IFGetInfo.
void AnswerInterfaceInfo(const HostInterface& host, GenTL::INTERFACE_INFO_CMD command,
                         InfoQuery query);
std::string InterfaceDisplayName(const HostInterface& host);

// Entries of TLType, InterfaceType, DeviceType and StreamType.
std::vector<EnumEntry> TransportLayerEntries();
inline constexpr int64_t sk_gigEVisionEntry = 0;

}  // namespace OrvexGev
