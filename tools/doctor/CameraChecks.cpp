// SPDX-License-Identifier: Apache-2.0
// Checks that look at cameras: their addresses, the way to them, the test stream.
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
constexpr std::int64_t sk_breakpointMs = 10'000;
constexpr std::int64_t sk_longHeartbeatMs = 60'000;
// Below so many lost packets the counters of the interface, which count other traffic too, do not
// tell where.
constexpr std::int64_t sk_tellingLoss = 20;
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

// A camera, whose address has been compared already, or an interface of this computer, which may
// answer for its other ones.
bool IsKnown(const Situation& situation, const std::string& mac) {
  const std::vector<HostLink> links = situation.host.Links();
  return std::any_of(situation.cameras.begin(), situation.cameras.end(),
                     [&mac](const CameraFacts& camera) { return IsExactly(camera, mac); }) ||
         std::any_of(links.begin(), links.end(), [&](const HostLink& link) {
           const auto own = situation.host.ReadFile("/sys/class/net/" + link.name + "/address");
           return own && own->starts_with(mac);
         });
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

std::string Sizes(const std::vector<ProbedSize>& probed, bool arrived) {
  std::string list;
  for (const ProbedSize& size : probed) {
    if (size.arrived != arrived) continue;
    list += list.empty() ? "" : ", ";
    list += std::to_string(size.bytes);
  }
  return list;
}

}  // namespace

std::vector<Outcome> CheckDiscovery(const Situation& situation) {
  if (situation.cameras.empty()) {
    return {{Level::Problem,
             "no camera answers",
             {},
             "check the camera's power and cable, then what is told below; for a camera behind a "
             "router use --unicast IP"}};
  }
  std::vector<Outcome> outcomes{{Level::Ok,
                                 situation.cameras.size() == 1
                                     ? Describe(situation.cameras.front()) + " answers"
                                     : fmt::format("{} answer", situation.cameras.size()),
                                 {},
                                 ""}};
  if (!situation.trouble.empty()) outcomes.push_back({Level::Problem, situation.trouble, {}, ""});
  return outcomes;
}

std::vector<Outcome> CheckPath(const Situation& situation) {
  if (situation.probed.empty() || !situation.camera || !situation.link) return {};
  const auto& probed = situation.probed;
  unsigned largest = 0;
  unsigned tried = 0;
  for (const ProbedSize& size : probed) {
    tried = std::max(tried, size.bytes);
    if (size.arrived) largest = std::max(largest, size.bytes);
  }
  if (largest == 0) {
    const bool streams = situation.stream && situation.stream->frames > 0;
    return {{streams ? Level::Unknown : Level::Problem,
             streams ? "the camera sends no test packets"
                     : fmt::format("no test packet arrives, not even one of {} bytes",
                                   probed.front().bytes),
             {},
             streams ? "" : "look at the firewall and the reverse-path filter"}};
  }
  if (largest == tried) {
    return {{Level::Ok, fmt::format("packets of {} bytes arrive", Sizes(probed, true)), {}, ""}};
  }
  Outcome outcome{
      Level::Note,
      fmt::format("packets of {} bytes arrive, of {} do not; {} takes {}", Sizes(probed, true),
                  Sizes(probed, false), situation.link->name, situation.link->mtu),
      {},
      "let the switches on the way take jumbo frames, or keep to small packets"};
  if (situation.packetSize.value_or(0) > largest) {
    outcome.level = Level::Problem;
    outcome.measured += fmt::format(", the camera is set to {}", *situation.packetSize);
    outcome.commands = {
        fmt::format("orvex set {} GevSCPSPacketSize {}", situation.camera->serial, largest)};
  }
  return {outcome};
}

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
    for (const HostLink& link : links) {
      if (!link.loopback && IpText(link.ip) == cameras[i].ip)
        add(cameras[i], fmt::format("{} has the address of this computer's {}",
                                    Describe(cameras[i]), link.name));
    }
  }
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

std::vector<Outcome> CheckHeartbeat(const Situation& situation) {
  if (!situation.heartbeatMs || !situation.camera) return {};
  Outcome outcome{Level::Ok, fmt::format("{} ms", *situation.heartbeatMs), {}, ""};
  if (*situation.heartbeatMs < sk_breakpointMs) {
    outcome.level = Level::Note;
    outcome.commands = {fmt::format("orvex set {} GevHeartbeatTimeout {}", situation.camera->serial,
                                    sk_longHeartbeatMs)};
    outcome.advice = "only while debugging: a long time also delays the next user after a crash";
  }
  return {outcome};
}

std::string PlaceOfLoss(const TestStream& stream) {
  const std::int64_t gone = stream.lostPackets + stream.resentPackets;
  if (stream.socketDrops > 0) return "socket";
  if (stream.backlogDrops > 0) return "backlog";
  if (stream.linkDrops > 0 || stream.linkErrors > 0) return "interface";
  if (gone == 0) return stream.missingFrames > 0 ? "before the host" : "";
  // An interface that hands over packets merged counts fewer of them than arrive.
  if (!stream.linkPackets || *stream.linkPackets < stream.seenPackets || gone < sk_tellingLoss)
    return "unknown";
  return *stream.linkPackets - stream.seenPackets >= gone / 2 ? "host" : "before the host";
}

std::vector<Outcome> CheckTestStream(const Situation& situation) {
  if (!situation.stream) return {};
  const TestStream& stream = *situation.stream;
  if (!stream.failure.empty()) return {{Level::Problem, stream.failure, {}, ""}};
  const std::string place = PlaceOfLoss(stream);
  Outcome outcome;
  outcome.measured = fmt::format("{} frames in {:.1f} s, {} incomplete, {} missing", stream.frames,
                                 stream.seconds, stream.incompleteFrames, stream.missingFrames);
  const std::int64_t gone = stream.lostPackets + stream.resentPackets;
  if (gone > 0) {
    outcome.measured += fmt::format("; {} packets lost on the way, {} of them brought by resends",
                                    gone, stream.resentPackets);
  }
  if (stream.framesWithoutBuffer > 0)
    outcome.measured += fmt::format("; {} frames found no buffer", stream.framesWithoutBuffer);
  if (!place.empty()) outcome.measured += "; place of loss: " + place;
  const bool frames = stream.incompleteFrames + stream.missingFrames > 0 || stream.frames == 0 ||
                      stream.framesWithoutBuffer > 0;
  outcome.level = frames ? Level::Problem : place.empty() ? Level::Ok : Level::Note;

  struct Remedy {
    const char* place;
    std::vector<std::string> commands;
    const char* advice;
  };
  const Remedy remedies[] = {
      {"socket",
       {fmt::format("sysctl -w net.core.rmem_max={}",
                    std::max<std::int64_t>(stream.bufferWanted, 64 << 20))},
       "and let fewer programs run"},
      {"backlog", {"sysctl -w net.core.netdev_max_backlog=10000"}, ""},
      {"interface",
       {},
       "lengthen the receive ring; `ethtool -S` tells errors, which mean a bad cable or port"},
      {"host",
       {},
       "a packet filter of this computer takes packets away: look at `nft list ruleset`"},
      {"before the host",
       {},
       "look at cables and switches, and lower DeviceLinkThroughputLimit where cameras share a "
       "link"},
  };
  for (const Remedy& remedy : remedies) {
    if (place != remedy.place) continue;
    outcome.commands = remedy.commands;
    outcome.advice = remedy.advice;
  }
  if (stream.frames == 0) outcome.advice = "look at the firewall, the packet sizes and the trigger";
  return {outcome};
}

}  // namespace OrvexTools
