#pragma once
// SPDX-License-Identifier: Apache-2.0
// Small owners and helpers around sockets and addresses. A UniqueFd is moved, not shared; the
// functions are stateless.

#include <netinet/in.h>

#include <string>
#include <utility>

#include "simulator/CameraCore.h"

namespace OrvexSim {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : m_fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      Reset();
      m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
  }
  ~UniqueFd() { Reset(); }
  int Get() const { return m_fd; }
  explicit operator bool() const { return m_fd >= 0; }
  void Reset();

 private:
  int m_fd = -1;
};

sockaddr_in SocketAddress(uint32_t ip, uint16_t port);
Endpoint ToEndpoint(const sockaddr_in& address);
std::string AddressText(uint32_t ip);
// Host order; throws std::invalid_argument when the text is no IPv4 address.
uint32_t ParseAddress(const std::string& text);

// A UDP socket bound to the address; port 0 = any. Throws std::system_error that names address and
// port.
UniqueFd BindUdp(uint32_t ip, uint16_t port, bool shared);
uint16_t LocalPort(int fd);

// Fills ip, mask, broadcast and mtu from the interface that holds the address (or, on loopback,
// whose network contains it). Throws std::invalid_argument when this machine has no such interface.
void FindInterface(uint32_t ip, NetworkState& network);

}  // namespace OrvexSim
