// SPDX-License-Identifier: Apache-2.0
#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

#include <fmt/format.h>

#include "tools/doctor/Host.h"

namespace OrvexTools {
namespace {

constexpr std::size_t sk_maxHostFile = std::size_t{1} << 20;
constexpr std::size_t sk_maxFilterRules = std::size_t{16} << 20;
constexpr const char* sk_readFilterRules =
    "PATH=$PATH:/usr/sbin:/sbin nft --json list ruleset 2>/dev/null";

// Asks the driver of a card; false when it does not know the question.
template <class Question>
bool AskDriver(const std::string& link, Question& question) {
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  ifreq request = {};
  link.copy(request.ifr_name, sizeof request.ifr_name - 1);
  request.ifr_data = reinterpret_cast<char*>(&question);
  const bool answered = ::ioctl(fd, SIOCETHTOOL, &request) == 0;
  ::close(fd);
  return answered;
}

std::uint32_t AddressOf(const sockaddr* pAddress) {
  sockaddr_in address = {};
  if (pAddress != nullptr) std::memcpy(&address, pAddress, sizeof address);
  return ntohl(address.sin_addr.s_addr);
}

}  // namespace

std::optional<std::string> LinuxHost::ReadFile(const std::string& path) const {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::string text(sk_maxHostFile, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  // Some files under /sys open but cannot be read, as the speed of a link that is down.
  if (file.bad() || (file.gcount() == 0 && !file.eof())) return std::nullopt;
  text.resize(static_cast<std::size_t>(file.gcount()));
  return text;
}

std::vector<HostLink> LinuxHost::Links() const {
  std::vector<HostLink> links;
  ifaddrs* pFirst = nullptr;
  if (::getifaddrs(&pFirst) != 0) return links;
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(pFirst, &::freeifaddrs);
  for (const ifaddrs* pNext = pFirst; pNext != nullptr; pNext = pNext->ifa_next) {
    const bool up = (pNext->ifa_flags & IFF_UP) != 0;
    if (!up || pNext->ifa_addr == nullptr || pNext->ifa_addr->sa_family != AF_INET) continue;
    HostLink link;
    link.name = pNext->ifa_name;
    link.ip = AddressOf(pNext->ifa_addr);
    link.mask = AddressOf(pNext->ifa_netmask);
    link.loopback = (pNext->ifa_flags & IFF_LOOPBACK) != 0;
    link.mtu = static_cast<std::uint32_t>(
        ReadNumber(*this, "/sys/class/net/" + link.name + "/mtu").value_or(0));
    links.push_back(std::move(link));
  }
  return links;
}

LinkTuning LinuxHost::Tuning(const std::string& link) const {
  LinkTuning tuning;
  // Interfaces without a card, such as tunnels, answer as well, but there is nothing to tune.
  if (!ReadFile("/sys/class/net/" + link + "/device/uevent")) return tuning;
  ethtool_ringparam ring = {};
  ring.cmd = ETHTOOL_GRINGPARAM;
  if (AskDriver(link, ring) && ring.rx_max_pending > 0) {
    tuning.rxRing = ring.rx_pending;
    tuning.rxRingMax = ring.rx_max_pending;
  }
  ethtool_coalesce coalesce = {};
  coalesce.cmd = ETHTOOL_GCOALESCE;
  if (AskDriver(link, coalesce)) {
    tuning.coalesceUsecs = coalesce.rx_coalesce_usecs;
    tuning.coalesceFrames = coalesce.rx_max_coalesced_frames;
    tuning.adaptive = coalesce.use_adaptive_rx_coalesce != 0;
  }
  return tuning;
}

std::optional<std::string> LinuxHost::FilterRules() const {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(sk_readFilterRules, "r"), &::pclose);
  if (!pipe) return std::nullopt;
  std::string text;
  char part[4096];
  std::size_t count = 0;
  while ((count = std::fread(part, 1, sizeof part, pipe.get())) > 0) {
    if (text.size() < sk_maxFilterRules) text.append(part, count);
  }
  return text.empty() ? std::nullopt : std::optional(std::move(text));
}

std::optional<std::int64_t> ReadNumber(const Host& host, const std::string& path) {
  const std::optional<std::string> text = host.ReadFile(path);
  std::int64_t value = 0;
  if (!text || std::from_chars(text->data(), text->data() + text->size(), value).ec != std::errc())
    return std::nullopt;
  return value;
}

std::string IpText(std::uint32_t address) {
  return fmt::format("{}.{}.{}.{}", address >> 24, (address >> 16) & 255, (address >> 8) & 255,
                     address & 255);
}

}  // namespace OrvexTools
