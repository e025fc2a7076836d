// SPDX-License-Identifier: Apache-2.0
// Who has an address? Asked with ARP probes (RFC 5227): requests without a sender's address, which
// enter nobody's table.
#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/if_ether.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>

#include <fmt/format.h>

#include "tools/doctor/Host.h"

namespace OrvexTools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int sk_probes = 3;
constexpr std::chrono::milliseconds sk_probeWait{200};
// More answers than this tell nothing more.
constexpr std::size_t sk_maxClaims = 64;

// A socket for the ARP packets of one link; not open without the right, or where there is no ARP.
class ArpSocket {
 public:
  explicit ArpSocket(const std::string& link)
      : m_fd(::socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC, htons(ETH_P_ARP))) {
    ifreq request = {};
    link.copy(request.ifr_name, sizeof request.ifr_name - 1);
    const bool ethernet = m_fd >= 0 && ::ioctl(m_fd, SIOCGIFHWADDR, &request) == 0 &&
                          request.ifr_hwaddr.sa_family == ARPHRD_ETHER;
    if (ethernet) std::memcpy(m_mac, request.ifr_hwaddr.sa_data, sizeof m_mac);
    m_link.sll_family = AF_PACKET;
    m_link.sll_protocol = htons(ETH_P_ARP);
    m_link.sll_halen = ETH_ALEN;
    m_link.sll_ifindex = static_cast<int>(::if_nametoindex(link.c_str()));
    std::memset(m_link.sll_addr, 0xFF, ETH_ALEN);
    m_open = ethernet && ::bind(m_fd, Address(), sizeof m_link) == 0;
  }
  ~ArpSocket() {
    if (m_fd >= 0) ::close(m_fd);
  }
  ArpSocket(const ArpSocket&) = delete;
  ArpSocket& operator=(const ArpSocket&) = delete;

  bool IsOpen() const { return m_open; }

  void Ask(std::uint32_t ip) {
    ether_arp packet = {};
    packet.arp_hrd = htons(ARPHRD_ETHER);
    packet.arp_pro = htons(ETHERTYPE_IP);
    packet.arp_hln = ETH_ALEN;
    packet.arp_pln = sizeof ip;
    packet.arp_op = htons(ARPOP_REQUEST);
    std::memcpy(packet.arp_sha, m_mac, sizeof m_mac);
    ip = htonl(ip);
    std::memcpy(packet.arp_tpa, &ip, sizeof ip);
    ::sendto(m_fd, &packet, sizeof packet, 0, Address(), sizeof m_link);
  }

  // The sender of the next ARP packet, be it an answer or not; nothing when none comes until `end`.
  std::optional<AddressClaim> Next(Clock::time_point end) {
    while (true) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
      pollfd readable{m_fd, POLLIN, 0};
      if (left.count() <= 0 || ::poll(&readable, 1, static_cast<int>(left.count())) <= 0)
        return std::nullopt;
      ether_arp packet = {};
      const ssize_t size = ::recv(m_fd, &packet, sizeof packet, MSG_DONTWAIT);
      if (size < static_cast<ssize_t>(sizeof packet) || packet.arp_hln != ETH_ALEN ||
          packet.arp_pln != sizeof(std::uint32_t))
        continue;
      std::uint32_t ip = 0;
      std::memcpy(&ip, packet.arp_spa, sizeof ip);
      const auto& mac = packet.arp_sha;
      return AddressClaim{ntohl(ip), fmt::format("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}",
                                                 mac[0], mac[1], mac[2], mac[3], mac[4], mac[5])};
    }
  }

 private:
  const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&m_link); }

  int m_fd;
  bool m_open = false;
  sockaddr_ll m_link = {};
  std::uint8_t m_mac[ETH_ALEN] = {};
};

}  // namespace

std::optional<std::vector<AddressClaim>> LinuxHost::WhoHas(
    const std::string& link, const std::vector<std::uint32_t>& addresses) const {
  ArpSocket socket(link);
  if (!socket.IsOpen()) return std::nullopt;
  std::vector<AddressClaim> claims;
  for (int i = 0; i < sk_probes; ++i) {
    for (const std::uint32_t ip : addresses) socket.Ask(ip);
    const auto end = Clock::now() + sk_probeWait;
    while (const auto claim = socket.Next(end)) {
      const bool asked =
          std::find(addresses.begin(), addresses.end(), claim->ip) != addresses.end();
      const bool known = std::find(claims.begin(), claims.end(), *claim) != claims.end();
      if (asked && !known && claims.size() < sk_maxClaims) claims.push_back(*claim);
    }
  }
  return claims;
}

}  // namespace OrvexTools
