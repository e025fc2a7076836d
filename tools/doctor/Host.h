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

// A station of a link that says it has an address.
struct AddressClaim {
  std::uint32_t ip = 0;
  std::string mac;  // "02:00:00:00:00:01"

  bool operator==(const AddressClaim&) const = default;
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

  // Who claims these addresses when the link is asked, in less than a second; nothing without the
  // right to ask, or where the link has no such question.
  virtual std::optional<std::vector<AddressClaim>> WhoHas(
      const std::string& link, const std::vector<std::uint32_t>& addresses) const = 0;
};

// This computer.
class LinuxHost final : public Host {
 public:
  std::optional<std::string> ReadFile(const std::string& path) const override;
  std::vector<HostLink> Links() const override;
  LinkTuning Tuning(const std::string& link) const override;
  std::optional<std::string> FilterRules() const override;
  std::optional<std::vector<AddressClaim>> WhoHas(
      const std::string& link, const std::vector<std::uint32_t>& addresses) const override;
};

// The first whole number in a file, such as those under /proc/sys and /sys/class/net.
std::optional<std::int64_t> ReadNumber(const Host& host, const std::string& path);

// "192.168.0.10"
std::string IpText(std::uint32_t address);

}  // namespace OrvexTools
