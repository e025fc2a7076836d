// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/Checks.h"

namespace OrvexTools {
namespace {

constexpr Check sk_checks[] = {
    {"discovery", "Cameras",
     "A camera that does not answer, or whose control another holds, can "
     "be neither set nor streamed.",
     &CheckDiscovery},
    {"receive_buffer", "Receive buffer",
     "Packets wait there while this computer is busy with "
     "something else; when it is full, they are lost.",
     &CheckReceiveBuffer},
    {"mtu", "MTU of the interface",
     "Large packets cost far less time for the same picture; a "
     "frame of 1 MB takes 700 packets of 1500 bytes or 116 of 9000.",
     &CheckLinkMtu},
    {"path", "Packets on the way",
     "A packet larger than any device on the way takes vanishes "
     "without a word, and with it every frame.",
     &CheckPath},
    {"reverse_path", "Reverse-path filter",
     "The kernel drops packets that come in by another "
     "interface than answers would leave by; a camera in another subnet is then not even listed.",
     &CheckReversePath},
    {"firewall", "Firewall",
     "The camera sends its stream unasked to a port that changes, which "
     "firewalls drop.",
     &CheckFirewall},
    {"shared_subnet", "Interfaces in one subnet",
     "This computer sends everything for a subnet "
     "through one interface; cameras behind the other do not get their commands.",
     &CheckSharedSubnet},
    {"camera_subnet", "Subnet of the camera",
     "A camera whose address lies outside the "
     "interface's subnet is listed but cannot be opened.",
     &CheckCameraSubnet},
    {"link_local", "Link-local addresses",
     "Without DHCP and without a fixed address a device "
     "takes one of 169.254.0.0/16; it then meets only devices that have done the same.",
     &CheckLinkLocal},
    {"duplicate_ip", "Duplicate addresses",
     "Two devices with one address take each other's "
     "packets, now and then.",
     &CheckDuplicateIp},
    {"heartbeat", "Heartbeat",
     "A camera that hears nothing for so long gives up its control; a "
     "program that stands at a breakpoint says nothing.",
     &CheckHeartbeat},
    {"governor", "CPU frequency",
     "A processor that sleeps deeply between frames wakes too late "
     "for the first packets of the next.",
     &CheckGovernor},
    {"link_speed", "Link speed",
     "A link that has fallen back to a lower speed cannot carry the "
     "camera's data.",
     &CheckLinkSpeed},
    {"coalescing", "Interrupt coalescing",
     "With an interrupt for every packet the processor does "
     "little else at high rates; with very long pauses resends come too late.",
     &CheckCoalescing},
    {"ring", "Receive ring",
     "The card puts packets there until the kernel takes them; a short "
     "ring overflows in bursts.",
     &CheckRing},
    {"stream", "Test stream", "The proof of all of the above: what is lost, and where.",
     &CheckTestStream},
};

}  // namespace

const char* LevelName(Level level) {
  switch (level) {
    case Level::Ok:
      return "ok";
    case Level::Note:
      return "note";
    case Level::Problem:
      return "problem";
    case Level::Unknown:
      return "unknown";
  }
  return "";
}

std::span<const Check> AllChecks() {
  return sk_checks;
}

std::vector<Finding> Examine(const Situation& situation) {
  std::vector<Finding> findings;
  for (const Check& check : sk_checks) {
    for (Outcome& outcome : check.look(situation)) findings.push_back({&check, std::move(outcome)});
  }
  return findings;
}

Record DescribeFinding(const Finding& finding) {
  return {{"check", finding.pCheck->key},    {"level", LevelName(finding.outcome.level)},
          {"title", finding.pCheck->title},  {"measured", finding.outcome.measured},
          {"why", finding.pCheck->why},      {"commands", finding.outcome.commands},
          {"advice", finding.outcome.advice}};
}

std::vector<HostLink> ConcernedLinks(const Situation& situation) {
  if (situation.link) return {*situation.link};
  std::vector<HostLink> links;
  for (const HostLink& link : situation.host.Links()) {
    if (!link.loopback && (links.empty() || links.back().name != link.name)) links.push_back(link);
  }
  return links;
}

}  // namespace OrvexTools
