// SPDX-License-Identifier: Apache-2.0
#include "producer/Discovery.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <random>
#include <system_error>

#include "gigevision/Gvcp.h"
#include "producer/GcError.h"
#include "producer/Limits.h"

namespace OrvexGev {

namespace Gev = GigEVision;

namespace {

constexpr uint32_t sk_limitedBroadcast = 0xFFFFFFFF;

uint16_t FirstRequestId() {
  thread_local std::minstd_rand t_random(std::random_device{}());
  return static_cast<uint16_t>(1 + t_random() % 0xFFFE);
}

DeviceRecord ToRecord(const Gev::DiscoveryAck& ack) {
  DeviceRecord record;
  record.vendor = ack.manufacturer;
  record.model = ack.model;
  record.version = ack.version;
  record.manufacturerInfo = ack.manufacturerInfo;
  record.serial = ack.serial;
  record.userName = ack.userName;
  record.mac = ack.mac;
  record.ip = ack.ip;
  record.mask = ack.subnetMask;
  record.gateway = ack.gateway;
  record.ipCapability = ack.ipCapability;
  record.ipConfiguration = ack.ipConfiguration;
  record.deviceMode = ack.deviceMode;
  record.versionMajor = ack.versionMajor;
  record.versionMinor = ack.versionMinor;
  // The MAC is what never changes and never repeats; a camera without one is known by its address.
  char id[sk_maxDeviceId];
  if (record.mac != 0) {
    std::snprintf(id, sizeof id, "GEV_%012llX",
                  static_cast<unsigned long long>(record.mac & 0xFFFFFFFFFFFF));
  } else {
    std::snprintf(id, sizeof id, "GEV_%s", AddressText(record.ip).c_str());
  }
  record.id = id;
  return record;
}

// The sockets of one request: one bound to the interface, and one that hears answers that are
// broadcast because the camera has no address in this subnet.
struct Sockets {
  UdpSocket direct;
  UdpSocket broadcast;

  explicit Sockets(const HostInterface& host) : direct(UdpSocket::Bound({host.ip, 0})) {
    direct.AllowBroadcast();
    try {
      broadcast = UdpSocket::Bound({sk_limitedBroadcast, direct.LocalPort()});
    } catch (const std::system_error&) {
      // Another interface has the same port at present: only broadcast answers are missed.
    }
  }

  bool Wait(Clock::time_point deadline) const {
    const std::array<int, 2> fds{direct.Fd(), broadcast.Fd()};
    return WaitReadable(std::span(fds).first(broadcast ? 2 : 1), deadline);
  }

  std::optional<size_t> Receive(std::span<uint8_t> target, Endpoint* from) {
    if (auto size = direct.Receive(target, from)) return size;
    return broadcast ? broadcast.Receive(target, from) : std::nullopt;
  }

  void SendEverywhere(const HostInterface& host, std::span<const uint8_t> packet) {
    direct.SendTo(packet, {host.broadcast, Gev::sk_gvcpPort});
    direct.SendTo(packet, {sk_limitedBroadcast, Gev::sk_gvcpPort});
  }
};

// A host that runs cameras on its loopback addresses hears broadcasts of every interface there;
// each camera belongs to the interface that leads to it.
bool BelongsTo(const HostInterface& host, const DeviceRecord& record,
               std::span<const uint32_t> unicast) {
  if (std::ranges::find(unicast, record.ip) != unicast.end()) return true;
  return host.loopback == IsLoopback(record.ip);
}

}  // namespace

std::string DeviceRecord::DisplayName() const {
  const std::string name = userName.empty() ? id : userName;
  return vendor + " " + model + " (" + name + ")";
}

std::vector<DeviceRecord> Discover(const HostInterface& host, std::span<const uint32_t> unicast,
                                   std::chrono::milliseconds window) {
  Sockets sockets(host);
  std::array<uint8_t, Gev::sk_gvcpMaxDatagram> packet;
  const uint16_t id = FirstRequestId();
  const auto send = [&] {
    size_t size = Gev::EncodeDiscovery(packet, id, true);
    sockets.SendEverywhere(host, std::span(packet).first(size));
    size = Gev::EncodeDiscovery(packet, id, false);
    for (const uint32_t ip : unicast)
      sockets.direct.SendTo(std::span(packet).first(size), {ip, Gev::sk_gvcpPort});
  };

  const auto start = Clock::now();
  const auto end = start + window;
  // The cameras of this machine answer at once; any other may take as long as the caller grants.
  const std::chrono::milliseconds patience = host.loopback ? sk_discoveryQuiet : window;
  auto quietEnd = std::min(end, start + patience);
  bool repeated = false;
  std::map<std::string, DeviceRecord> found;
  send();
  for (;;) {
    const auto now = Clock::now();
    if (now >= quietEnd) break;
    if (!repeated && now >= start + sk_discoveryRepeat) {
      repeated = true;
      send();
    }
    if (!sockets.Wait(repeated ? quietEnd : std::min(quietEnd, start + sk_discoveryRepeat)))
      continue;
    std::array<uint8_t, Gev::sk_gvcpMaxDatagram> answer;
    const std::optional<size_t> size = sockets.Receive(answer, nullptr);
    if (!size) continue;
    const auto ack = Gev::DecodeAck(std::span(answer).first(*size));
    if (!ack || ack->header.ack != Gev::Ack::Discovery || ack->header.ackId != id ||
        Gev::IsError(ack->header.status)) {
      continue;
    }
    const auto fields = Gev::DecodeDiscoveryAck(ack->payload);
    if (!fields || found.size() >= sk_maxDevicesPerInterface) continue;
    DeviceRecord record = ToRecord(*fields);
    if (!BelongsTo(host, record, unicast)) continue;
    if (found.insert_or_assign(record.id, record).second) {
      quietEnd = std::min(end, Clock::now() + patience);
    }
  }
  std::vector<DeviceRecord> records;
  for (auto& [key, record] : found) records.push_back(std::move(record));
  return records;
}

std::optional<DeviceRecord> DiscoverAt(const HostInterface& host, uint32_t ip) {
  UdpSocket socket = UdpSocket::Bound({host.ip, 0});
  std::array<uint8_t, Gev::sk_gvcpMaxDatagram> packet;
  const uint16_t id = FirstRequestId();
  for (int attempt = 0; attempt <= sk_commandRetries; ++attempt) {
    const size_t size = Gev::EncodeDiscovery(packet, id, false);
    socket.SendTo(std::span(packet).first(size), {ip, Gev::sk_gvcpPort});
    const auto deadline = Clock::now() + sk_commandTimeout;
    const int fd = socket.Fd();
    while (WaitReadable({&fd, 1}, deadline)) {
      std::array<uint8_t, Gev::sk_gvcpMaxDatagram> answer;
      Endpoint from;
      const auto received = socket.Receive(answer, &from);
      if (!received || from.ip != ip) continue;
      const auto ack = Gev::DecodeAck(std::span(answer).first(*received));
      if (!ack || ack->header.ack != Gev::Ack::Discovery || ack->header.ackId != id) continue;
      if (const auto fields = Gev::DecodeDiscoveryAck(ack->payload)) return ToRecord(*fields);
    }
  }
  return std::nullopt;
}

ForceIpAnswer ForceIpOn(const HostInterface& host, const ForceIpSettings& settings) {
  Sockets sockets(host);
  std::array<uint8_t, Gev::sk_gvcpMaxDatagram> packet;
  const uint16_t id = FirstRequestId();
  const size_t size =
      Gev::EncodeForceIp(packet, id, Gev::sk_flagAckRequired | Gev::sk_flagBroadcastAck,
                         {settings.mac, settings.ip, settings.mask, settings.gateway});
  for (int attempt = 0; attempt < sk_forceIpAttempts; ++attempt) {
    sockets.SendEverywhere(host, std::span(packet).first(size));
    const auto deadline = Clock::now() + sk_forceIpTimeout;
    while (sockets.Wait(deadline)) {
      std::array<uint8_t, Gev::sk_gvcpMaxDatagram> answer;
      const auto received = sockets.Receive(answer, nullptr);
      if (!received) continue;
      const auto ack = Gev::DecodeAck(std::span(answer).first(*received));
      if (ack && ack->header.ack == Gev::Ack::ForceIp && ack->header.ackId == id) {
        return Gev::IsError(ack->header.status) ? ForceIpAnswer::Refused
                                                : ForceIpAnswer::Acknowledged;
      }
    }
  }
  return ForceIpAnswer::None;
}

}  // namespace OrvexGev
