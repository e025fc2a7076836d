// SPDX-License-Identifier: Apache-2.0
// Checks of the addresses of cameras and interfaces: do they fit, are they given twice?
#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <sstream>

#include "tools/Addresses.h"
#include "tools/doctor/Checks.h"

namespace OrvexTools {
namespace {

constexpr std::uint32_t sk_linkLocalNet = 0xA9FE0000;
constexpr std::uint32_t sk_linkLocalMask = 0xFFFF0000;
constexpr std::size_t sk_askedCandidates = 16;

bool IsLinkLocal(std::uint32_t address) {
  return (address & sk_linkLocalMask) == sk_linkLocalNet;
}

std::string LinkText(const HostLink& link) {
  return fmt::format("{} has {}/{}", link.name, IpText(link.ip), std::popcount(link.mask));
}

struct Neighbour {
  std::string ip;
  std::string mac;
};

// The addresses that this computer has talked to lately.
std::vector<Neighbour> Neighbours(const Host& host) {
  std::vector<Neighbour> neighbours;
  std::istringstream table(host.ReadFile("/proc/net/arp").value_or(""));
  std::string line;
  std::getline(table, line);  // heading
  while (std::getline(table, line)) {
    std::istringstream words(line);
    std::string ip;
    std::string type;
    std::string flags;
    std::string mac;
    words >> ip >> type >> flags >> mac;
    // Flags of zero: nobody has answered.
    if (flags != "0x0" && !mac.empty()) neighbours.push_back({ip, mac});
  }
  return neighbours;
}

// An address in the link's subnet that nobody is known to have, nor claims when asked; 0 when there
// is none.
std::uint32_t FreeAddress(const Situation& situation, const HostLink& link) {
  const std::vector<HostLink> links = situation.host.Links();
  const std::vector<Neighbour> neighbours = Neighbours(situation.host);
  const std::uint32_t last = link.ip | ~link.mask;
  std::vector<std::uint32_t> candidates;
  for (std::uint32_t address = (link.ip & link.mask) + 10;
       address < last && candidates.size() < sk_askedCandidates; ++address) {
    const std::string text = IpText(address);
    const bool taken =
        std::any_of(links.begin(), links.end(),
                    [address](const HostLink& other) { return other.ip == address; }) ||
        std::any_of(situation.cameras.begin(), situation.cameras.end(),
                    [&text](const CameraFacts& camera) { return camera.ip == text; }) ||
        std::any_of(neighbours.begin(), neighbours.end(),
                    [&text](const Neighbour& other) { return other.ip == text; });
    if (!taken) candidates.push_back(address);
  }
  const auto claims =
      situation.host.WhoHas(link.name, candidates).value_or(std::vector<AddressClaim>());
  const auto free =
      std::find_if(candidates.begin(), candidates.end(), [&claims](std::uint32_t address) {
        return std::none_of(claims.begin(), claims.end(),
                            [address](const AddressClaim& claim) { return claim.ip == address; });
      });
  return free != candidates.end() ? *free : 0;
}

// The interface of a camera: the one it was found through, else the first that could be its own.
std::optional<HostLink> LinkOf(const Situation& situation, const CameraFacts& camera) {
  if (situation.camera && situation.camera->mac == camera.mac) return situation.link;
  const std::vector<HostLink> links = situation.host.Links();
  const std::uint32_t ip = ParseIp(camera.ip);
  for (const HostLink& link : links) {
    if (link.Contains(ip)) return link;
  }
  const auto outside =
      std::find_if(links.begin(), links.end(), [](const HostLink& link) { return !link.loopback; });
  return outside != links.end() ? std::optional(*outside) : std::nullopt;
}

std::vector<std::string> CommandsToMove(const Situation& situation, const CameraFacts& camera,
                                        const HostLink& link) {
  const std::uint32_t address = FreeAddress(situation, link);
  if (address == 0) return {};
  return {fmt::format("orvex forceip {} {} --mask {}", camera.mac, IpText(address),
                      std::popcount(link.mask))};
}

// Who answers for the addresses of the cameras and of this computer, and how that was found out.
struct Claims {
  std::vector<AddressClaim> stations;    // that answered
  std::vector<AddressClaim> neighbours;  // where nobody could be asked
  std::string how;
};

Claims ClaimsOf(const Situation& situation) {
  Claims claims;
  std::string asked;
  std::string unasked;
  for (const HostLink& link : situation.host.Links()) {
    if (link.loopback) continue;
    std::vector<std::uint32_t> addresses{link.ip};
    for (const CameraFacts& camera : situation.cameras) {
      const std::optional<HostLink> itsLink = LinkOf(situation, camera);
      if (itsLink && itsLink->name == link.name && ParseIp(camera.ip) != link.ip)
        addresses.push_back(ParseIp(camera.ip));
    }
    const auto answers = situation.host.WhoHas(link.name, addresses);
    std::string& list = answers ? asked : unasked;
    list += (list.empty() ? "" : ", ") + link.name;
    if (answers) claims.stations.insert(claims.stations.end(), answers->begin(), answers->end());
  }
  if (!asked.empty()) claims.how = "; asked on " + asked;
  if (!unasked.empty()) {
    claims.how += "; on " + unasked + " only looked at the neighbours known so far";
    for (const Neighbour& neighbour : Neighbours(situation.host))
      claims.neighbours.push_back({ParseIp(neighbour.ip), neighbour.mac});
  }
  return claims;
}

// The MAC addresses of this computer's interfaces, those without an IP address among them.
std::vector<std::string> OwnMacs(const Host& host) {
  std::vector<std::string> macs;
  std::istringstream table(host.ReadFile("/proc/net/dev").value_or(""));
  std::string line;
  while (std::getline(table, line)) {
    const std::size_t begin = line.find_first_not_of(' ');
    const std::size_t end = line.find(':');
    if (end == std::string::npos || begin >= end) continue;  // heading
    const auto mac =
        host.ReadFile("/sys/class/net/" + line.substr(begin, end - begin) + "/address");
    if (mac) macs.push_back(mac->substr(0, mac->find('\n')));
  }
  return macs;
}

// A camera, whose address has been compared already, or this computer, any interface of which may
// answer for another.
bool IsKnown(const Situation& situation, const std::string& mac) {
  const std::vector<std::string> own = OwnMacs(situation.host);
  return std::find(own.begin(), own.end(), mac) != own.end() ||
         std::any_of(situation.cameras.begin(), situation.cameras.end(),
                     [&mac](const CameraFacts& camera) { return IsExactly(camera, mac); });
}

std::vector<std::string> MacsOf(const std::vector<AddressClaim>& claims, std::uint32_t ip) {
  std::vector<std::string> macs;
  for (const AddressClaim& claim : claims) {
    if (claim.ip == ip) macs.push_back(claim.mac);
  }
  return macs;
}

Outcome HasOurAddress(const Situation& situation, const std::string& mac, const HostLink& link) {
  Outcome outcome{Level::Problem,
                  fmt::format("{} has {} too, the address of this computer's {}", mac,
                              IpText(link.ip), link.name),
                  {},
                  "or give the other device another one"};
  const std::uint32_t address = FreeAddress(situation, link);
  const int bits = std::popcount(link.mask);
  // In this order, for others of the subnet go with an interface's first address.
  if (address != 0)
    outcome.commands = {fmt::format("ip addr del {}/{} dev {}", IpText(link.ip), bits, link.name),
                        fmt::format("ip addr add {}/{} dev {}", IpText(address), bits, link.name)};
  return outcome;
}

constexpr const char* sk_untilPowerOff =
    "that lasts until the camera is powered off; give it a persistent address for good";

// Cameras that do not lie in their interface's subnet, with link-local addresses in the game or
// without.
std::vector<Outcome> Strangers(const Situation& situation, bool linkLocal) {
  std::vector<Outcome> outcomes;
  for (const CameraFacts& camera : situation.cameras) {
    const std::optional<HostLink> link = LinkOf(situation, camera);
    const std::uint32_t ip = ParseIp(camera.ip);
    if (!link || link->Contains(ip)) continue;
    if ((IsLinkLocal(ip) || IsLinkLocal(link->ip)) != linkLocal) continue;
    outcomes.push_back(
        {Level::Problem,
         fmt::format("{} has {}, {}", Describe(camera),
                     IsLinkLocal(ip) ? "a link-local address" : camera.ip, LinkText(*link)),
         CommandsToMove(situation, camera, *link), sk_untilPowerOff});
  }
  return outcomes;
}

}  // namespace

std::vector<Outcome> CheckCameraSubnet(const Situation& situation) {
  std::vector<Outcome> outcomes = Strangers(situation, false);
  if (outcomes.empty() && !situation.cameras.empty())
    outcomes.push_back({Level::Ok, "each camera lies in its interface's subnet", {}, ""});
  return outcomes;
}

std::vector<Outcome> CheckLinkLocal(const Situation& situation) {
  return Strangers(situation, true);
}

std::vector<Outcome> CheckDuplicateIp(const Situation& situation) {
  std::vector<Outcome> outcomes;
  const std::vector<CameraFacts>& cameras = situation.cameras;
  const std::vector<HostLink> links = situation.host.Links();
  const auto add = [&](const CameraFacts& camera, const std::string& measured) {
    const std::optional<HostLink> link = LinkOf(situation, camera);
    outcomes.push_back(
        {Level::Problem, measured,
         link ? CommandsToMove(situation, camera, *link) : std::vector<std::string>(),
         sk_untilPowerOff});
  };
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (cameras[j].ip == cameras[i].ip && cameras[j].mac != cameras[i].mac)
        add(cameras[i],
            fmt::format("{} and {} have one address", cameras[j].mac, Describe(cameras[i])));
    }
  }
  // A camera with an address of this computer is a virtual one on it: packets of any other would be
  // dropped as forged. That another device has such an address shows when it is asked for.
  const Claims claims = ClaimsOf(situation);
  for (const CameraFacts& camera : cameras) {
    // A single answer is that of the camera, whose MAC address a virtual one makes up.
    const std::vector<std::string> macs = MacsOf(claims.stations, ParseIp(camera.ip));
    std::string strangers;
    for (const std::string& mac : macs) {
      if (!IsKnown(situation, mac)) strangers += (strangers.empty() ? "" : " and ") + mac;
    }
    if (macs.size() > 1 && !strangers.empty())
      add(camera, fmt::format("{} shares its address with {}", Describe(camera), strangers));
  }
  for (const HostLink& link : links) {
    for (const std::string& mac : MacsOf(claims.stations, link.ip)) {
      if (!IsKnown(situation, mac)) outcomes.push_back(HasOurAddress(situation, mac, link));
    }
  }
  for (const AddressClaim& claim : claims.neighbours) {
    for (const CameraFacts& camera : cameras) {
      if (camera.ip != IpText(claim.ip) || IsKnown(situation, claim.mac)) continue;
      outcomes.push_back(
          {Level::Note,
           fmt::format("the address of {} has lately been that of {}", Describe(camera), claim.mac),
           {},
           "with the right CAP_NET_RAW the doctor asks who has it"});
    }
  }
  if (outcomes.empty())
    outcomes.push_back({Level::Ok, "no address is seen twice" + claims.how, {}, ""});
  return outcomes;
}

}  // namespace OrvexTools
