#pragma once
// SPDX-License-Identifier: Apache-2.0
// Finding cameras on one host interface and giving them a temporary address. Blocking calls without
// state: any thread.

#include <chrono>
#include <span>
#include <string>
#include <vector>

#include "producer/Network.h"

namespace OrvexGev {

// What a camera told about itself.
struct DeviceRecord {
  std::string id;  // "GEV_" and the MAC, or the address of a camera that tells none
  std::string vendor, model, version, manufacturerInfo, serial, userName;
  uint64_t mac = 0;
  uint32_t ip = 0, mask = 0, gateway = 0;
  uint32_t ipCapability = 0, ipConfiguration = 0;
  uint32_t deviceMode = 0;
  uint16_t versionMajor = 0, versionMinor = 0;
  bool operator==(const DeviceRecord&) const = default;
  std::string DisplayName() const;
};

// Broadcasts on the interface, asks the listed addresses (host order) directly and collects the
// answers until nobody has answered for a while, at most for the given time. Sorted by id, one
// record per camera.
std::vector<DeviceRecord> Discover(const HostInterface& host, std::span<const uint32_t> unicast,
                                   std::chrono::milliseconds window);

// One question to one address, repeated; nothing when nobody answers in time.
std::optional<DeviceRecord> DiscoverAt(const HostInterface& host, uint32_t ip);

struct ForceIpSettings {
  uint64_t mac = 0;
  uint32_t ip = 0, mask = 0, gateway = 0;
};

enum class ForceIpAnswer { Acknowledged, Refused, None };

// Broadcasts the settings and waits for the camera's answer. None is no failure by itself: the
// camera may sit behind another interface.
ForceIpAnswer ForceIpOn(const HostInterface& host, const ForceIpSettings& settings);

}  // namespace OrvexGev
