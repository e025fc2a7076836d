#pragma once
// SPDX-License-Identifier: Apache-2.0
// The host's side of the network: its IPv4 interfaces and UDP sockets. Addresses are in host order
// unless a name says otherwise. Values and owners; each socket belongs to whoever holds it.

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace OrvexGev {

using Clock = std::chrono::steady_clock;

// One IPv4 address of the host. Its id is the name of the network device, with "#2", "#3", ... for
// further addresses of the same device.
struct HostInterface {
  std::string id;
  std::string name;
  unsigned index = 0;
  uint32_t ip = 0;
  uint32_t mask = 0;
  uint32_t broadcast = 0;
  uint32_t gateway = 0;
  uint64_t mac = 0;
  uint32_t mtu = 1500;
  bool loopback = false;
  bool operator==(const HostInterface&) const = default;
};

// All interfaces that are up and have an IPv4 address, in the kernel's order.
std::vector<HostInterface> ListHostInterfaces();

std::string AddressText(uint32_t ip);
std::optional<uint32_t> ParseAddress(const std::string& text);
constexpr bool IsLoopback(uint32_t ip) {
  return ip >> 24 == 127;
}

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : m_fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept;
  ~UniqueFd() { Reset(); }
  int Get() const { return m_fd; }
  explicit operator bool() const { return m_fd >= 0; }
  void Reset();

 private:
  int m_fd = -1;
};

struct Endpoint {
  uint32_t ip = 0;
  uint16_t port = 0;
  bool operator==(const Endpoint&) const = default;
};

// A UDP socket. Failures to create, bind and connect throw std::system_error; sending and receiving
// report by result.
class UdpSocket {
 public:
  UdpSocket() = default;
  // Bound to the address; port 0 takes any.
  static UdpSocket Bound(Endpoint local);

  int Fd() const { return m_fd.Get(); }
  explicit operator bool() const { return static_cast<bool>(m_fd); }
  uint16_t LocalPort() const;
  void Connect(Endpoint peer);
  void AllowBroadcast();
  bool Send(std::span<const uint8_t> data);
  bool SendTo(std::span<const uint8_t> data, Endpoint peer);
  // Without waiting; nothing when there is nothing (or the kernel reported an error, as for an
  // unreachable port).
  std::optional<size_t> Receive(std::span<uint8_t> target, Endpoint* from = nullptr);

 private:
  UniqueFd m_fd;
};

// Waits until one of the descriptors is readable or the deadline has passed; false in the latter
// case.
bool WaitReadable(std::span<const int> descriptors, Clock::time_point deadline);

// A descriptor that can be made readable to wake a waiting thread.
class WakeFd {
 public:
  WakeFd();
  int Fd() const { return m_fd.Get(); }
  void Wake();
  void Drain();

 private:
  UniqueFd m_fd;
};

}  // namespace OrvexGev
