// SPDX-License-Identifier: Apache-2.0
#include "simulator/Network.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace OrvexSim {

void UniqueFd::Reset() {
  if (m_fd >= 0) ::close(m_fd);
  m_fd = -1;
}

sockaddr_in SocketAddress(uint32_t ip, uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(ip);
  address.sin_port = htons(port);
  return address;
}

Endpoint ToEndpoint(const sockaddr_in& address) {
  return {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

std::string AddressText(uint32_t ip) {
  return std::to_string(ip >> 24) + "." + std::to_string(ip >> 16 & 255) + "." +
         std::to_string(ip >> 8 & 255) + "." + std::to_string(ip & 255);
}

uint32_t ParseAddress(const std::string& text) {
  in_addr address{};
  if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
    throw std::invalid_argument("'" + text + "' is not an IPv4 address");
  }
  return ntohl(address.s_addr);
}

UniqueFd BindUdp(uint32_t ip, uint16_t port, bool shared) {
  UniqueFd fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!fd) throw std::system_error(errno, std::generic_category(), "Unable to open a socket");
  const int on = 1;
  if (shared) ::setsockopt(fd.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  ::setsockopt(fd.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
  const sockaddr_in address = SocketAddress(ip, port);
  if (::bind(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::system_error(errno, std::generic_category(),
                            "Unable to use " + AddressText(ip) + " port " + std::to_string(port));
  }
  return fd;
}

uint16_t LocalPort(int fd) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  return ntohs(address.sin_port);
}

void FindInterface(uint32_t ip, NetworkState& network) {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0)
    throw std::system_error(errno, std::generic_category(), "Unable to list interfaces");
  const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(list, ::freeifaddrs);
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_netmask == nullptr ||
        entry->ifa_addr->sa_family != AF_INET)
      continue;
    const auto ipOf = [](const sockaddr* address) {
      return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
    };
    const uint32_t own = ipOf(entry->ifa_addr), mask = ipOf(entry->ifa_netmask);
    const bool loopback = (entry->ifa_flags & IFF_LOOPBACK) != 0;
    if (own != ip && !(loopback && (own & mask) == (ip & mask))) continue;
    network.ip = ip;
    network.mask = mask;
    network.broadcast = ip | ~mask;
    const UniqueFd fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    std::strncpy(request.ifr_name, entry->ifa_name, IFNAMSIZ - 1);
    if (fd && ::ioctl(fd.Get(), SIOCGIFMTU, &request) == 0)
      network.mtu = static_cast<uint32_t>(request.ifr_mtu);
    return;
  }
  throw std::invalid_argument("no network interface of this machine has the address " +
                              AddressText(ip));
}

}  // namespace OrvexSim
