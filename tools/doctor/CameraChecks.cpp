// SPDX-License-Identifier: Apache-2.0
// Checks that look at cameras: do they answer, what comes through, how do they stream?
#include <fmt/format.h>

#include <algorithm>

#include "tools/doctor/Checks.h"

namespace OrvexTools {
namespace {

constexpr std::int64_t sk_breakpointMs = 10'000;
constexpr std::int64_t sk_longHeartbeatMs = 60'000;
// Below so many lost packets the counters of the interface, which count other traffic too, do not
// tell where.
constexpr std::int64_t sk_tellingLoss = 20;

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
  std::vector<std::string> larger;
  if (stream.bufferWanted > 0)
    larger = {fmt::format("sysctl -w net.core.rmem_max={}", stream.bufferWanted)};
  const Remedy remedies[] = {
      {"socket", larger,
       larger.empty()
           ? "its buffer was as large as the stream wanted, so the program came too seldom "
             "to a processor: let fewer programs run, or lower the frame rate"
           : "and let fewer programs run"},
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
