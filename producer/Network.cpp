// SPDX-License-Identifier: Apache-2.0
#include "producer/Network.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <system_error>

#include "producer/Limits.h"

namespace OrvexGev {
namespace {

[[noreturn]] void ThrowErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in ToSockaddr(Endpoint endpoint) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(endpoint.port);
  address.sin_addr.s_addr = htonl(endpoint.ip);
  return address;
}

uint32_t HostOrder(const sockaddr* address) {
  if (address == nullptr || address->sa_family != AF_INET) return 0;
  return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

uint64_t MacOf(const ifaddrs* list, const std::string& name) {
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_PACKET ||
        name != entry->ifa_name)
      continue;
    const auto* link = reinterpret_cast<const sockaddr_ll*>(entry->ifa_addr);
    uint64_t mac = 0;
    for (size_t i = 0; i < 6 && i < link->sll_halen; ++i) mac = mac << 8 | link->sll_addr[i];
    return mac;
  }
  return 0;
}

uint32_t MtuOf(const std::string& name) {
  const UniqueFd fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  ifreq request{};
  name.copy(request.ifr_name, IFNAMSIZ - 1);
  if (!fd || ioctl(fd.Get(), SIOCGIFMTU, &request) != 0) return 1500;
  return static_cast<uint32_t>(request.ifr_mtu);
}

// Default gateway of a network device, from the kernel's routing table; 0 when there is none.
uint32_t GatewayOf(const std::string& name) {
  std::ifstream table("/proc/net/route");
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    std::string device;
    uint32_t destination = 0, gateway = 0;  // as stored: network order read as a host number
    if (fields >> device >> std::hex >> destination >> gateway && device == name &&
        destination == 0) {
      return ntohl(gateway);
    }
  }
  return 0;
}

}  // namespace

// A name, "#" and two digits.
static_assert(IFNAMSIZ - 1 + 3 < sk_maxInterfaceId);

std::vector<HostInterface> ListHostInterfaces() {
  ifaddrs* raw = nullptr;
  if (getifaddrs(&raw) != 0) ThrowErrno("Unable to list network interfaces");
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(raw, &freeifaddrs);
  std::vector<HostInterface> interfaces;
  for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    if ((entry->ifa_flags & IFF_UP) == 0) continue;
    HostInterface host;
    host.name = entry->ifa_name;
    host.name = host.name.substr(0, host.name.find(':'));  // aliases carry a label behind a colon
    host.loopback = (entry->ifa_flags & IFF_LOOPBACK) != 0;
    host.ip = HostOrder(entry->ifa_addr);
    host.mask = HostOrder(entry->ifa_netmask);
    host.broadcast = host.ip | ~host.mask;
    host.index = if_nametoindex(host.name.c_str());
    host.mac = MacOf(list.get(), host.name);
    host.mtu = MtuOf(host.name);
    host.gateway = GatewayOf(host.name);
    const auto earlier = std::ranges::count(interfaces, host.name, &HostInterface::name);
    host.id = earlier == 0 ? host.name : host.name + "#" + std::to_string(earlier + 1);
    interfaces.push_back(std::move(host));
  }
  return interfaces;
}

std::string AddressText(uint32_t ip) {
  char text[INET_ADDRSTRLEN] = {};
  const in_addr address{htonl(ip)};
  inet_ntop(AF_INET, &address, text, sizeof text);
  return text;
}

std::optional<uint32_t> ParseAddress(const std::string& text) {
  in_addr address{};
  if (inet_pton(AF_INET, text.c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
  if (this != &other) {
    Reset();
    m_fd = std::exchange(other.m_fd, -1);
  }
  return *this;
}

void UniqueFd::Reset() {
  if (m_fd >= 0) close(m_fd);
  m_fd = -1;
}

UdpSocket UdpSocket::Bound(Endpoint local) {
  UdpSocket result;
  result.m_fd = UniqueFd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!result.m_fd) ThrowErrno("Unable to create a UDP socket");
  const sockaddr_in address = ToSockaddr(local);
  if (bind(result.Fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ThrowErrno(("Unable to bind a UDP socket to " + AddressText(local.ip)).c_str());
  }
  return result;
}

uint16_t UdpSocket::LocalPort() const {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  if (getsockname(Fd(), reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
  return ntohs(address.sin_port);
}

void UdpSocket::Connect(Endpoint peer) {
  const sockaddr_in address = ToSockaddr(peer);
  if (connect(Fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ThrowErrno(("Unable to reach " + AddressText(peer.ip)).c_str());
  }
}

void UdpSocket::AllowBroadcast() {
  const int on = 1;
  if (setsockopt(Fd(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0)
    ThrowErrno("Unable to allow broadcasts");
}

bool UdpSocket::Send(std::span<const uint8_t> data) {
  // The first call may report an error that an earlier datagram caused; that one is asked again,
  // not this one lost.
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (send(Fd(), data.data(), data.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(data.size()))
      return true;
  }
  return false;
}

bool UdpSocket::SendTo(std::span<const uint8_t> data, Endpoint peer) {
  const sockaddr_in address = ToSockaddr(peer);
  return sendto(Fd(), data.data(), data.size(), MSG_NOSIGNAL,
                reinterpret_cast<const sockaddr*>(&address),
                sizeof address) == static_cast<ssize_t>(data.size());
}

std::optional<size_t> UdpSocket::Receive(std::span<uint8_t> target, Endpoint* from) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  const ssize_t received = recvfrom(Fd(), target.data(), target.size(), MSG_DONTWAIT,
                                    reinterpret_cast<sockaddr*>(&address), &length);
  if (received < 0) return std::nullopt;
  if (from != nullptr) *from = {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
  return static_cast<size_t>(received);
}

bool WaitReadable(std::span<const int> descriptors, Clock::time_point deadline) {
  pollfd polled[8];
  const size_t count = std::min(descriptors.size(), std::size(polled));
  for (size_t i = 0; i < count; ++i) polled[i] = {descriptors[i], POLLIN, 0};
  for (;;) {
    const auto left = std::max(Clock::duration::zero(), deadline - Clock::now());
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
    const timespec wait{static_cast<time_t>(nanoseconds / 1000000000),
                        static_cast<long>(nanoseconds % 1000000000)};
    const int ready = ppoll(polled, count, &wait, nullptr);
    if (ready > 0) return true;
    if (ready == 0 || errno != EINTR) return false;
  }
}

WakeFd::WakeFd() : m_fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!m_fd) ThrowErrno("Unable to create an event descriptor");
}

void WakeFd::Wake() {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(Fd(), &one, sizeof one);
}

void WakeFd::Drain() {
  uint64_t count;
  [[maybe_unused]] const ssize_t taken = read(Fd(), &count, sizeof count);
}

}  // namespace OrvexGev
