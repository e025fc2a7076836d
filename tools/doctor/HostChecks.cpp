// SPDX-License-Identifier: Apache-2.0
// Checks that look at this computer: its buffers, interfaces, filters, processors, cards.
#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <sstream>

#include "tools/doctor/Checks.h"

namespace OrvexTools {
namespace {

constexpr std::int64_t sk_goodReceiveLimit = 32 << 20;
constexpr std::uint32_t sk_jumboMtu = 9000;
constexpr std::uint32_t sk_nearlyJumboMtu = 8000;
constexpr std::int64_t sk_gigabit = 1000;
constexpr unsigned sk_goodCoalesceUsecs = 64;
constexpr unsigned sk_longCoalesceUsecs = 1000;
constexpr int sk_maxProcessors = 4096;
constexpr std::int64_t sk_strictReversePath = 1;
constexpr std::int64_t sk_looseReversePath = 2;

std::string Trimmed(std::string text) {
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

// True when a default route leads over the link, or over any for an empty name.
bool HasDefaultRoute(const Host& host, const std::string& link = "") {
  std::istringstream table(host.ReadFile("/proc/net/route").value_or(""));
  std::string line;
  while (std::getline(table, line)) {
    std::istringstream words(line);
    std::string name;
    std::string destination;
    words >> name >> destination;
    if ((link.empty() || name == link) && destination == "00000000") return true;
  }
  return false;
}

// The first 192.168.N.0/24 that no interface is in.
std::uint32_t FreeSubnet(const std::vector<HostLink>& links) {
  for (std::uint32_t third = 10; third < 255; ++third) {
    const std::uint32_t subnet = 0xC0A80000U + (third << 8);
    const bool taken = std::any_of(links.begin(), links.end(), [subnet](const HostLink& link) {
      return ((link.ip ^ subnet) & link.mask & 0xFFFFFF00U) == 0;
    });
    if (!taken) return subnet;
  }
  return 0;
}

// What the packet filter does with packets that come in.
struct Filter {
  struct Chain {
    std::string family;
    std::string table;
    std::string name;
    bool dropsByDefault = false;
    bool hasDroppingRule = false;
  };
  std::vector<Chain> chains;
  bool ufw = false;
  bool firewalld = false;
};

std::string TextIn(const Record& object, const char* pKey) {
  const auto entry = object.find(pKey);
  return entry != object.end() && entry->is_string() ? entry->get<std::string>() : std::string();
}

bool Drops(const Record& rule) {
  const auto expressions = rule.find("expr");
  if (expressions == rule.end() || !expressions->is_array()) return false;
  return std::any_of(expressions->begin(), expressions->end(), [](const Record& expression) {
    return expression.is_object() && (expression.contains("drop") || expression.contains("reject"));
  });
}

Filter ParseFilter(const std::string& text) {
  Filter filter;
  const Record rules = Record::parse(text, nullptr, false);
  if (!rules.is_object() || !rules.contains("nftables") || !rules["nftables"].is_array())
    return filter;
  for (const Record& entry : rules["nftables"]) {
    if (!entry.is_object()) continue;
    if (entry.contains("chain")) {
      const Record& chain = entry["chain"];
      const std::string hook = TextIn(chain, "hook");
      filter.ufw = filter.ufw || TextIn(chain, "name").starts_with("ufw");
      filter.firewalld = filter.firewalld || TextIn(chain, "table") == "firewalld";
      const std::string family = TextIn(chain, "family");
      const bool concerns = family == "ip" || family == "inet" || family == "netdev";
      if (concerns && (hook == "input" || hook == "prerouting" || hook == "ingress")) {
        filter.chains.push_back({family, TextIn(chain, "table"), TextIn(chain, "name"),
                                 TextIn(chain, "policy") == "drop"});
      }
    } else if (entry.contains("rule") && Drops(entry["rule"])) {
      const Record& rule = entry["rule"];
      for (Filter::Chain& chain : filter.chains) {
        if (chain.family == TextIn(rule, "family") && chain.table == TextIn(rule, "table") &&
            chain.name == TextIn(rule, "chain"))
          chain.hasDroppingRule = true;
      }
    }
  }
  return filter;
}

std::vector<std::string> CommandsToPass(const Filter& filter, const Filter::Chain& chain,
                                        const Situation& situation) {
  const std::string link = situation.link ? situation.link->name : "INTERFACE";
  const std::string camera = situation.camera ? situation.camera->ip : "CAMERA_IP";
  if (filter.ufw) return {fmt::format("ufw allow in on {} proto udp from {}", link, camera)};
  if (filter.firewalld)
    return {fmt::format("firewall-cmd --zone=trusted --change-interface={}", link)};
  const std::string way =
      chain.family == "netdev" ? std::string() : fmt::format("iifname \"{}\" ", link);
  return {fmt::format("nft insert rule {} {} {} {}ip saddr {} meta l4proto udp accept",
                      chain.family, chain.table, chain.name, way, camera)};
}

}  // namespace

std::vector<Outcome> CheckReceiveBuffer(const Situation& situation) {
  const auto limit = ReadNumber(situation.host, "/proc/sys/net/core/rmem_max");
  if (!limit) return {{Level::Unknown, "the limit cannot be read", {}, ""}};
  Outcome outcome{Level::Ok, fmt::format("limit {} bytes", *limit), {}, ""};
  std::int64_t wanted = sk_goodReceiveLimit;
  if (situation.stream && situation.stream->bufferWanted > 0) {
    wanted = situation.stream->bufferWanted;
    outcome.level = situation.stream->socketDrops > 0 ? Level::Problem : Level::Note;
    outcome.measured +=
        fmt::format(", the stream wanted {} and got {}", wanted, situation.stream->bufferGranted);
  } else if (*limit < wanted) {
    // An administrator's programs get what they ask for whatever the limit.
    const bool granted = situation.stream && situation.stream->failure.empty();
    outcome.level = granted ? Level::Ok : Level::Note;
    outcome.measured += granted ? ", the stream got all that it wanted" : "";
  }
  if (outcome.level != Level::Ok) {
    outcome.commands = {fmt::format("sysctl -w net.core.rmem_max={}", wanted),
                        fmt::format("sh -c 'echo net.core.rmem_max={} > "
                                    "/etc/sysctl.d/60-orvex.conf'",
                                    wanted)};
  }
  return {outcome};
}

std::vector<Outcome> CheckLinkMtu(const Situation& situation) {
  std::vector<Outcome> outcomes;
  for (const HostLink& link : ConcernedLinks(situation)) {
    Outcome outcome{Level::Ok, fmt::format("{} takes {} bytes", link.name, link.mtu), {}, ""};
    if (link.mtu < sk_nearlyJumboMtu && !link.loopback) {
      outcome.level = Level::Note;
      outcome.commands = {fmt::format("ip link set dev {} mtu {}", link.name, sk_jumboMtu)};
      outcome.advice = "switches between must take jumbo frames too";
    }
    outcomes.push_back(std::move(outcome));
  }
  return outcomes;
}

// The kernel goes by the larger of two settings: 0 is off, 1 strict, 2 loose. Loose lets in what
// any route leads back to.
std::vector<Outcome> CheckReversePath(const Situation& situation) {
  const Host& host = situation.host;
  const std::string folder = "/proc/sys/net/ipv4/conf/";
  const auto all = ReadNumber(host, folder + "all/rp_filter");
  const bool routeToAll = HasDefaultRoute(host);
  std::vector<Outcome> outcomes;
  for (const HostLink& link : ConcernedLinks(situation)) {
    const auto own = ReadNumber(host, folder + link.name + "/rp_filter");
    const std::int64_t value = std::max(all.value_or(0), own.value_or(0));
    const bool strict = value == sk_strictReversePath;
    if (!all || !own) {
      outcomes.push_back({Level::Unknown, link.name + ": cannot be read", {}, ""});
      continue;
    }
    Outcome outcome{Level::Ok,
                    link.name + (value == 0 ? ": off"
                                 : strict   ? ": strict"
                                            : ": loose"),
                    {},
                    ""};
    if (!link.loopback && (strict || (value != 0 && !routeToAll))) {
      const auto links = host.Links();
      const bool shared = std::any_of(links.begin(), links.end(), [&link](const HostLink& other) {
        return other.name != link.name && !other.loopback && other.Contains(link.ip);
      });
      outcome.level = strict && shared ? Level::Problem : Level::Note;
      if (!strict) outcome.measured += ", and no route leads to other subnets";
      if (!routeToAll && *all != 0)
        outcome.commands.emplace_back("sysctl -w net.ipv4.conf.all.rp_filter=0");
      outcome.commands.push_back(fmt::format("sysctl -w net.ipv4.conf.{}.rp_filter={}", link.name,
                                             routeToAll ? sk_looseReversePath : 0));
    }
    outcomes.push_back(std::move(outcome));
  }
  return outcomes;
}

std::vector<Outcome> CheckFirewall(const Situation& situation) {
  const bool passes = std::any_of(situation.probed.begin(), situation.probed.end(),
                                  [](const ProbedSize& probed) { return probed.arrived; }) ||
                      (situation.stream && situation.stream->frames > 0);
  const auto rules = situation.host.FilterRules();
  if (!rules) {
    if (passes) return {{Level::Ok, "the camera's packets pass", {}, ""}};
    return {{Level::Unknown,
             "the rules cannot be read",
             {},
             "run `orvex doctor` as administrator, with the package nftables installed"}};
  }
  const Filter filter = ParseFilter(*rules);
  std::vector<Outcome> outcomes;
  for (const Filter::Chain& chain : filter.chains) {
    if (!chain.dropsByDefault && !chain.hasDroppingRule) continue;
    Outcome outcome;
    outcome.measured =
        fmt::format("{} {} {} {}", chain.family, chain.table, chain.name,
                    chain.dropsByDefault ? "drops what no rule accepts" : "has rules that drop");
    const bool silent = situation.stream && situation.stream->frames == 0;
    outcome.level = passes ? Level::Ok : silent ? Level::Problem : Level::Note;
    if (passes) {
      outcome.measured += ", but the camera's packets pass";
    } else {
      outcome.commands = CommandsToPass(filter, chain, situation);
    }
    outcomes.push_back(std::move(outcome));
  }
  if (outcomes.empty()) outcomes.push_back({Level::Ok, "no rule drops incoming packets", {}, ""});
  return outcomes;
}

std::vector<Outcome> CheckSharedSubnet(const Situation& situation) {
  const std::vector<HostLink> links = situation.host.Links();
  std::vector<Outcome> outcomes;
  for (std::size_t i = 0; i < links.size(); ++i) {
    for (std::size_t j = i + 1; j < links.size(); ++j) {
      const HostLink& first = links[i];
      const HostLink& second = links[j];
      if (first.loopback || second.loopback || first.name == second.name) continue;
      if (!first.Contains(second.ip) && !second.Contains(first.ip)) continue;
      // The one that leads to the rest of the world stays: the person may sit there.
      const HostLink& moving = HasDefaultRoute(situation.host, second.name) ? first : second;
      const std::uint32_t subnet = FreeSubnet(links);
      const int bits = std::popcount(moving.mask);
      outcomes.push_back(
          {Level::Problem,
           fmt::format("{} has {}, {} has {}", first.name, IpText(first.ip), second.name,
                       IpText(second.ip)),
           {fmt::format("ip addr del {}/{} dev {}", IpText(moving.ip), bits, moving.name),
            fmt::format("ip addr add {}/24 dev {}", IpText(subnet + 1), moving.name)},
           fmt::format("its cameras then need addresses in {}/24", IpText(subnet))});
    }
  }
  if (outcomes.empty())
    outcomes.push_back({Level::Ok, "each interface has a subnet of its own", {}, ""});
  return outcomes;
}

std::vector<Outcome> CheckGovernor(const Situation& situation) {
  std::vector<std::string> slow;
  std::size_t count = 0;
  for (int i = 0; i < sk_maxProcessors; ++i) {
    const auto governor = situation.host.ReadFile(
        fmt::format("/sys/devices/system/cpu/cpu{}/cpufreq/scaling_governor", i));
    if (!governor) break;
    ++count;
    const std::string name = Trimmed(*governor);
    if (name != "performance" && std::find(slow.begin(), slow.end(), name) == slow.end())
      slow.push_back(name);
  }
  if (count == 0) return {{Level::Ok, "the frequency is not governed by this system", {}, ""}};
  if (slow.empty()) return {{Level::Ok, "governor performance", {}, ""}};
  return {{Level::Note,
           fmt::format("governor {}", fmt::join(slow, ", ")),
           {"sh -c 'echo performance | tee "
            "/sys/devices/system/cpu/cpu*/cpufreq/scaling_governor'"},
           ""}};
}

std::vector<Outcome> CheckLinkSpeed(const Situation& situation) {
  std::vector<Outcome> outcomes;
  for (const HostLink& link : ConcernedLinks(situation)) {
    const auto speed = ReadNumber(situation.host, "/sys/class/net/" + link.name + "/speed");
    if (!speed || *speed <= 0) continue;
    Outcome outcome{Level::Ok, fmt::format("{}: {} Mbit/s", link.name, *speed), {}, ""};
    const std::string duplex =
        situation.host.ReadFile("/sys/class/net/" + link.name + "/duplex").value_or("full");
    if (*speed < sk_gigabit || duplex.starts_with("half")) {
      outcome.level = Level::Problem;
      outcome.measured += duplex.starts_with("half") ? ", half duplex" : "";
      outcome.commands = {fmt::format("ethtool -s {} autoneg on", link.name)};
      outcome.advice = "if it stays so, change the cable (Cat 5e or better) or the switch port";
    }
    outcomes.push_back(std::move(outcome));
  }
  return outcomes;
}

std::vector<Outcome> CheckCoalescing(const Situation& situation) {
  std::vector<Outcome> outcomes;
  for (const HostLink& link : ConcernedLinks(situation)) {
    const LinkTuning tuning = situation.host.Tuning(link.name);
    if (!tuning.coalesceUsecs) continue;
    const unsigned usecs = *tuning.coalesceUsecs;
    Outcome outcome{
        Level::Ok,
        tuning.adaptive ? link.name + ": adaptive" : fmt::format("{}: {} us", link.name, usecs),
        {},
        ""};
    const bool each = usecs == 0 && tuning.coalesceFrames.value_or(0) <= 1;
    if (!tuning.adaptive && (each || usecs > sk_longCoalesceUsecs)) {
      outcome.level = Level::Note;
      outcome.commands = {
          fmt::format("ethtool -C {} rx-usecs {}", link.name, sk_goodCoalesceUsecs)};
    }
    outcomes.push_back(std::move(outcome));
  }
  return outcomes;
}

std::vector<Outcome> CheckRing(const Situation& situation) {
  std::vector<Outcome> outcomes;
  for (const HostLink& link : ConcernedLinks(situation)) {
    const LinkTuning tuning = situation.host.Tuning(link.name);
    if (!tuning.rxRing || !tuning.rxRingMax) continue;
    Outcome outcome{
        Level::Ok,
        fmt::format("{}: {} of {} entries", link.name, *tuning.rxRing, *tuning.rxRingMax),
        {},
        ""};
    if (*tuning.rxRing < *tuning.rxRingMax) {
      const bool dropped = situation.stream && situation.stream->linkDrops > 0;
      outcome.level = dropped ? Level::Problem : Level::Note;
      outcome.commands = {fmt::format("ethtool -G {} rx {}", link.name, *tuning.rxRingMax)};
    }
    outcomes.push_back(std::move(outcome));
  }
  return outcomes;
}

}  // namespace OrvexTools
