// SPDX-License-Identifier: Apache-2.0
// The doctor's checks over made-up hosts and cameras: one row a finding.
#include <gmock/gmock.h>

#include <functional>
#include <map>

#include "tools/Addresses.h"
#include "tools/doctor/Checks.h"

namespace OrvexTools {
namespace {

using testing::HasSubstr;

constexpr const char* sk_strict = "1\n";

// A host on which nothing is wrong: one card in 192.168.1.0/24, everything readable.
class MadeUpHost final : public Host {
 public:
  std::optional<std::string> ReadFile(const std::string& path) const override {
    const auto file = files.find(path);
    return file != files.end() ? std::optional(file->second) : std::nullopt;
  }
  std::vector<HostLink> Links() const override { return links; }
  LinkTuning Tuning(const std::string&) const override { return tuning; }
  std::optional<std::string> FilterRules() const override { return rules; }
  std::optional<std::vector<AddressClaim>> WhoHas(
      const std::string&, const std::vector<std::uint32_t>& addresses) const override {
    if (!claims) return std::nullopt;
    std::vector<AddressClaim> answers;
    for (const std::uint32_t ip : addresses) {
      const auto [begin, end] = claims->equal_range(ip);
      for (auto claim = begin; claim != end; ++claim) answers.push_back({ip, claim->second});
    }
    return answers;
  }

  static HostLink Link(const char* pName, const char* pIp, std::uint32_t mtu = 9000) {
    return {pName, ParseIp(pIp), ParseMask("24"), mtu, false};
  }

  std::map<std::string, std::string> files = {
      {"/proc/sys/net/core/rmem_max", "67108864\n"},
      {"/proc/sys/net/ipv4/conf/all/rp_filter", "0\n"},
      {"/proc/sys/net/ipv4/conf/eth1/rp_filter", "0\n"},
      {"/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor", "performance\n"},
      {"/sys/class/net/eth1/speed", "10000\n"},
      {"/proc/net/route", "Iface Destination\neth0 00000000\n"},
      {"/proc/net/arp", "IP address HW type Flags HW address Mask Device\n"},
  };
  std::vector<HostLink> links = {{"lo", ParseIp("127.0.0.1"), ParseMask("8"), 65536, true},
                                 Link("eth1", "192.168.1.1")};
  LinkTuning tuning{4096, 4096, 50, 1, false};
  std::optional<std::string> rules = R"({"nftables": []})";
  // What stations answer when they are asked for an address.
  std::optional<std::multimap<std::uint32_t, std::string>> claims{std::in_place};
};

CameraFacts Camera(const char* pIp, const char* pMac = "02:00:00:00:00:01") {
  CameraFacts facts;
  facts.serial = "S1";
  facts.model = "M";
  facts.ip = pIp;
  facts.mac = pMac;
  return facts;
}

// A healthy camera on that host, tested.
struct World {
  World() {
    TestStream good;
    good.seconds = 10;
    good.frames = 300;
    good.seenPackets = 30'000;
    good.linkPackets = 30'100;
    Become(Camera("192.168.1.20"));
    situation.link = host.links[1];
    situation.heartbeatMs = 60'000;
    situation.packetSize = 9000;
    situation.probed = {{576, true}, {1500, true}, {9000, true}};
    situation.stream = good;
  }
  void Become(const CameraFacts& camera) {
    situation.cameras = {camera};
    situation.camera = camera;
  }
  void Replace(const char* pPath, const char* pContent) { host.files[pPath] = pContent; }
  void LoseAt(std::int64_t TestStream::*place, std::int64_t count) {
    situation.stream->lostPackets = 100;
    situation.stream->incompleteFrames = 10;
    (*situation.stream).*place = count;
  }

  MadeUpHost host;
  Situation situation{host, {}, {}, {}, "", {}, {}, {}, {}};
};

TEST(Doctor, FindsNothingWhereNothingIsWrong) {
  World world;
  std::vector<std::string> checks;
  for (const Finding& finding : Examine(world.situation)) {
    EXPECT_EQ(finding.outcome.level, Level::Ok)
        << finding.pCheck->key << ": " << finding.outcome.measured;
    EXPECT_TRUE(finding.outcome.commands.empty());
    checks.emplace_back(finding.pCheck->key);
  }
  EXPECT_GE(checks.size(), AllChecks().size() - 1) << "only link-local has nothing to tell";
}

struct Case {
  const char* name;
  std::function<void(World&)> spoil;
  const char* check;
  Level level;
  const char* measured;
  const char* command;  // part of the first one, empty for none
};

class DoctorFinds : public testing::TestWithParam<Case> {};

TEST_P(DoctorFinds, WithItsRemedy) {
  World world;
  GetParam().spoil(world);
  std::string others;
  for (const auto& [pCheck, outcome] : Examine(world.situation)) {
    const Record row = DescribeFinding({pCheck, outcome});
    others += row.dump() + "\n";
    if (GetParam().check != std::string(pCheck->key) || outcome.level != GetParam().level) continue;
    EXPECT_THAT(outcome.measured, HasSubstr(GetParam().measured));
    if (*GetParam().command == '\0') {
      EXPECT_THAT(outcome.commands, testing::IsEmpty());
    } else {
      ASSERT_THAT(outcome.commands, testing::Not(testing::IsEmpty()));
      EXPECT_THAT(outcome.commands.front(), HasSubstr(GetParam().command));
    }
    return;
  }
  FAIL() << "not found among\n" << others;
}

constexpr const char* sk_dropPolicy =
    R"({"nftables": [{"chain": {"family": "inet", "table": "filter", "name": "input",
        "hook": "input", "policy": "drop"}}]})";
constexpr const char* sk_dropRule =
    R"({"nftables": [{"chain": {"family": "ip", "table": "t", "name": "c", "hook": "input",
        "policy": "accept"}}, {"rule": {"family": "ip", "table": "t", "chain": "c",
        "expr": [{"match": {}}, {"drop": null}]}}, {"chain": {"name": "ufw-user"}}]})";

const Case sk_cases[] = {
    {"NoCamera", [](World& w) { w.situation.cameras.clear(), w.situation.camera.reset(); },
     "discovery", Level::Problem, "no camera answers", ""},
    {"HeldByAnother", [](World& w) { w.situation.trouble = "held by another application"; },
     "discovery", Level::Problem, "held by", ""},
    {"SmallBufferLimit",
     [](World& w) {
       w.Replace("/proc/sys/net/core/rmem_max", "212992\n");
       w.situation.stream.reset();
     },
     "receive_buffer", Level::Note, "212992", "sysctl -w net.core.rmem_max=33554432"},
    {"BufferNotGranted",
     [](World& w) {
       w.situation.stream->bufferWanted = 50'000'000;
       w.situation.stream->bufferGranted = 425'984;
       w.situation.stream->socketDrops = 3;
     },
     "receive_buffer", Level::Problem, "wanted 50000000 and got 425984", "rmem_max=50000000"},
    {"SmallMtu", [](World& w) { w.situation.link->mtu = 1500; }, "mtu", Level::Note,
     "eth1 takes 1500", "ip link set dev eth1 mtu 9000"},
    {"SwitchWithoutJumbo",
     [](World& w) {
       w.situation.probed = {{1500, true}, {9000, false}};
       w.situation.packetSize = 1500;
     },
     "path", Level::Note, "packets of 1500 bytes arrive, of 9000 do not", ""},
    {"PacketSizeAboveThePath",
     [](World& w) {
       w.situation.probed = {{1500, true}, {9000, false}};
     },
     "path", Level::Problem, "the camera is set to 9000", "orvex set S1 GevSCPSPacketSize 1500"},
    {"NothingArrives",
     [](World& w) {
       w.situation.probed = {{576, false}, {1500, false}};
       w.situation.stream->frames = 0;
     },
     "path", Level::Problem, "not even one of 576", ""},
    {"StrictReversePath",
     [](World& w) { w.Replace("/proc/sys/net/ipv4/conf/all/rp_filter", sk_strict); },
     "reverse_path", Level::Note, "eth1: strict", "sysctl -w net.ipv4.conf.eth1.rp_filter=2"},
    {"LooseReversePathWithoutAWayBack",
     [](World& w) {
       w.Replace("/proc/sys/net/ipv4/conf/eth1/rp_filter", "2\n");
       w.Replace("/proc/net/route", "Iface Destination\n");
     },
     "reverse_path", Level::Note, "eth1: loose, and no route", "net.ipv4.conf.eth1.rp_filter=0"},
    {"StrictReversePathOfTwoInOneSubnet",
     [](World& w) {
       w.Replace("/proc/sys/net/ipv4/conf/eth1/rp_filter", sk_strict);
       w.host.links.push_back(MadeUpHost::Link("eth2", "192.168.1.2"));
     },
     "reverse_path", Level::Problem, "strict", "rp_filter=2"},
    {"FirewallThatLetsNothingIn",
     [](World& w) {
       w.host.rules = sk_dropPolicy;
       w.situation.probed.clear();
       w.situation.stream->frames = 0;
     },
     "firewall", Level::Problem, "inet filter input drops what no rule accepts",
     "nft insert rule inet filter input iifname \"eth1\" ip saddr 192.168.1.20"},
    {"FirewallOfUfw",
     [](World& w) {
       w.host.rules = sk_dropRule;
       w.situation.probed.clear();
       w.situation.stream.reset();
     },
     "firewall", Level::Note, "has rules that drop",
     "ufw allow in on eth1 proto udp from 192.168.1.20"},
    {"FirewallThatLetsTheCameraIn", [](World& w) { w.host.rules = sk_dropPolicy; }, "firewall",
     Level::Ok, "the camera's packets pass", ""},
    {"FirewallUnreadable",
     [](World& w) {
       w.host.rules.reset();
       w.situation.probed.clear();
       w.situation.stream.reset();
     },
     "firewall", Level::Unknown, "cannot be read", ""},
    {"TwoInOneSubnet",
     [](World& w) {
       w.host.links.push_back(MadeUpHost::Link("eth2", "192.168.1.2"));
       w.Replace("/proc/net/route", "Iface Destination\neth2 00000000\n");
     },
     "shared_subnet", Level::Problem, "eth1 has 192.168.1.1, eth2 has 192.168.1.2",
     "ip addr del 192.168.1.1/24 dev eth1"},
    {"CameraElsewhere",
     [](World& w) {
       w.Become(Camera("10.0.0.5"));
       // Neither this host's own address nor one that a neighbour has is offered.
       w.host.links[1].ip = ParseIp("192.168.1.10");
       w.situation.link = w.host.links[1];
       w.host.files["/proc/net/arp"] += "192.168.1.11 0x1 0x2 02:00:00:00:00:99 * eth1\n";
       w.host.claims->emplace(ParseIp("192.168.1.12"), "02:00:00:00:00:98");
     },
     "camera_subnet", Level::Problem, "10.0.0.5, eth1 has 192.168.1.10/24",
     "orvex forceip 02:00:00:00:00:01 192.168.1.13 --mask 24"},
    {"CameraLinkLocal", [](World& w) { w.Become(Camera("169.254.7.8")); }, "link_local",
     Level::Problem, "a link-local address, eth1 has 192.168.1.1/24", "orvex forceip"},
    {"HostLinkLocal",
     [](World& w) {
       w.host.links[1].ip = ParseIp("169.254.1.1");
       w.situation.link = w.host.links[1];
     },
     "link_local", Level::Problem, "192.168.1.20, eth1 has 169.254.1.1", "orvex forceip"},
    {"TwoCamerasOneAddress",
     [](World& w) { w.situation.cameras.push_back(Camera("192.168.1.20", "02:00:00:00:00:02")); },
     "duplicate_ip", Level::Problem, "02:00:00:00:00:01 and S1 (M, 192.168.1.20) have one address",
     "forceip 02:00:00:00:00:02"},
    {"AnotherDeviceAnswersForTheCamera",
     [](World& w) {
       for (const char* pMac : {"02:00:00:00:00:01", "02:00:00:00:00:77"})
         w.host.claims->emplace(ParseIp("192.168.1.20"), pMac);
     },
     "duplicate_ip", Level::Problem, "192.168.1.20) shares its address with 02:00:00:00:00:77",
     "forceip"},
    {"NeighbourThatMayBeAnother",
     [](World& w) {
       w.host.claims.reset();
       w.host.files["/proc/net/arp"] += "192.168.1.20 0x1 0x2 02:00:00:00:00:77 * eth1\n";
     },
     "duplicate_ip", Level::Note, "has lately been that of 02:00:00:00:00:77", ""},
    {"AnInterfaceOfOursAnswersForAnother",
     [](World& w) {
       w.host.files["/proc/net/dev"] = "Inter-| Receive\n  eth7: 1 2\n";
       w.host.files["/sys/class/net/eth7/address"] = "02:00:00:00:00:07\n";
       w.host.claims->emplace(ParseIp("192.168.1.1"), "02:00:00:00:00:07");
     },
     "duplicate_ip", Level::Ok, "no address is seen twice", ""},
    {"AVirtualCameraAnswersAsItsHost",
     [](World& w) { w.host.claims->emplace(ParseIp("192.168.1.20"), "02:00:00:00:00:77"); },
     "duplicate_ip", Level::Ok, "no address is seen twice; asked on eth1", ""},
    {"NobodyCanBeAsked", [](World& w) { w.host.claims.reset(); }, "duplicate_ip", Level::Ok,
     "on eth1 only looked at the neighbours known so far", ""},
    {"AnotherDeviceHasTheHostsAddress",
     [](World& w) { w.host.claims->emplace(ParseIp("192.168.1.1"), "02:00:00:00:00:77"); },
     "duplicate_ip", Level::Problem, "02:00:00:00:00:77 has 192.168.1.1 too",
     "ip addr del 192.168.1.1/24 dev eth1"},
    {"VirtualCameraAtAnAddressOfTheHost", [](World& w) { w.Become(Camera("192.168.1.1")); },
     "duplicate_ip", Level::Ok, "no address is seen twice", ""},
    {"ShortHeartbeat", [](World& w) { w.situation.heartbeatMs = 3000; }, "heartbeat", Level::Note,
     "3000 ms", "orvex set S1 GevHeartbeatTimeout 60000"},
    {"SleepyProcessor",
     [](World& w) {
       w.Replace("/sys/devices/system/cpu/cpu1/cpufreq/scaling_governor", "powersave\n");
     },
     "governor", Level::Note, "powersave", "scaling_governor"},
    {"SlowLink", [](World& w) { w.Replace("/sys/class/net/eth1/speed", "100\n"); }, "link_speed",
     Level::Problem, "100 Mbit/s", "ethtool -s eth1 autoneg on"},
    {"InterruptForEveryPacket", [](World& w) { w.host.tuning.coalesceUsecs = 0; }, "coalescing",
     Level::Note, "0 us", "ethtool -C eth1 rx-usecs"},
    {"ShortRing", [](World& w) { w.host.tuning.rxRing = 256; }, "ring", Level::Note, "256 of 4096",
     "ethtool -G eth1 rx 4096"},
    {"ShortRingThatDrops",
     [](World& w) {
       w.host.tuning.rxRing = 256;
       w.LoseAt(&TestStream::linkDrops, 5);
     },
     "ring", Level::Problem, "256 of 4096", "ethtool -G eth1 rx 4096"},
    {"LossInTheSocket", [](World& w) { w.LoseAt(&TestStream::socketDrops, 100); }, "stream",
     Level::Problem, "place of loss: socket", ""},
    {"LossInASocketThatIsTooSmall",
     [](World& w) {
       w.LoseAt(&TestStream::socketDrops, 100);
       w.situation.stream->bufferWanted = 50'000'000;
     },
     "stream", Level::Problem, "place of loss: socket", "net.core.rmem_max=50000000"},
    {"LossInTheBacklog", [](World& w) { w.LoseAt(&TestStream::backlogDrops, 100); }, "stream",
     Level::Problem, "place of loss: backlog", "netdev_max_backlog"},
    {"LossInTheInterface", [](World& w) { w.LoseAt(&TestStream::linkErrors, 100); }, "stream",
     Level::Problem, "place of loss: interface", ""},
    {"LossBeforeTheHost", [](World& w) { w.LoseAt(&TestStream::lostPackets, 500); }, "stream",
     Level::Problem,
     "500 packets lost on the way, 0 of them brought by resends; place of loss: before", ""},
    {"RepairedLossBeforeTheHost", [](World& w) { w.situation.stream->resentPackets = 1000; },
     "stream", Level::Note, "1000 of them brought by resends; place of loss: before the host", ""},
    {"LossBehindTheInterface",
     [](World& w) {
       w.situation.stream->resentPackets = 1000;
       w.situation.stream->linkPackets = 31'050;
     },
     "stream", Level::Note, "place of loss: host", ""},
    {"LossOnAnInterfaceThatMergesPackets",
     [](World& w) {
       w.situation.stream->resentPackets = 1000;
       w.situation.stream->linkPackets = 900;
     },
     "stream", Level::Note, "place of loss: unknown", ""},
    {"StreamThatFails", [](World& w) { w.situation.stream->failure = "the camera was lost"; },
     "stream", Level::Problem, "the camera was lost", ""},
};

INSTANTIATE_TEST_SUITE_P(Cases, DoctorFinds, testing::ValuesIn(sk_cases),
                         [](const auto& info) { return std::string(info.param.name); });

// The rules come from a program's output: anything may stand there.
TEST(Doctor, TakesRulesThatAreNotWhatTheyShouldBe) {
  World world;
  world.situation.probed.clear();
  world.situation.stream.reset();
  for (const char* pRules : {"", "[]", "{", R"({"nftables": 1})", R"({"nftables": [1, {}]})",
                             R"({"nftables": [{"chain": 7}, {"rule": {"expr": {}}}]})"}) {
    world.host.rules = pRules;
    EXPECT_EQ(CheckFirewall(world.situation).front().level, Level::Ok) << pRules;
  }
}

}  // namespace
}  // namespace OrvexTools
