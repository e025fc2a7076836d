#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the doctor may look at on this computer. The checks read it through this interface alone, so
// that tests can make up a host. Implementations are read-only and free of state; used by one
// thread.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OrvexTools {

// One IPv4 address of one network interface that is up; addresses in host byte order.
struct HostLink {
  std::string name;
  std::uint32_t ip = 0;
  std::uint32_t mask = 0;
  std::uint32_t mtu = 0;
  bool loopback = false;

  bool Contains(std::uint32_t address) const { return ((address ^ ip) & mask) == 0; }
};

// How a network card is set; what its driver does not tell is empty.
struct LinkTuning {
  std::optional<unsigned> rxRing;
  std::optional<unsigned> rxRingMax;
  std::optional<unsigned> coalesceUsecs;
  std::optional<unsigned> coalesceFrames;
  bool adaptive = false;
};

class Host {
 public:
  virtual ~Host() = default;

  // The file's text, at most sk_maxHostFile bytes of it; nothing when it cannot be read.
  virtual std::optional<std::string> ReadFile(const std::string& path) const = 0;
  virtual std::vector<HostLink> Links() const = 0;
  virtual LinkTuning Tuning(const std::string& link) const = 0;

  // The packet filter's rules as `nft --json` prints them; nothing without the right to read them.
  virtual std::optional<std::string> FilterRules() const = 0;
};

// This computer.
class LinuxHost final : public Host {
 public:
  std::optional<std::string> ReadFile(const std::string& path) const override;
  std::vector<HostLink> Links() const override;
  LinkTuning Tuning(const std::string& link) const override;
  std::optional<std::string> FilterRules() const override;
};

// The first whole number in a file, such as those under /proc/sys and /sys/class/net.
std::optional<std::int64_t> ReadNumber(const Host& host, const std::string& path);

// "192.168.0.10"
std::string IpText(std::uint32_t address);

}  // namespace OrvexTools
