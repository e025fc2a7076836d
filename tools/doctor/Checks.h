#pragma once
// SPDX-License-Identifier: Apache-2.0
// What makes real installations fail, one row of a table each. A check is a function from what was
// seen (the host, the cameras that answer, measurements with one of them) to outcomes; it changes
// nothing and needs no library, so that tests can make up any situation. Used by one thread.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/DeviceMatcher.h"
#include "tools/Report.h"
#include "tools/doctor/Host.h"

namespace OrvexTools {

// Test packets that the camera was asked to send: size with IP and UDP headers.
struct ProbedSize {
  unsigned bytes = 0;
  bool arrived = false;
};

// Counts of a short test stream; those of the interface and the kernel are differences over it.
struct TestStream {
  double seconds = 0;
  std::uint64_t frames = 0;
  std::uint64_t incompleteFrames = 0;
  std::uint64_t missingFrames = 0;  // by their numbers
  std::int64_t seenPackets = 0;
  std::int64_t lostPackets = 0;  // for good
  std::int64_t resentPackets = 0;
  std::int64_t socketDrops = 0;
  std::int64_t framesWithoutBuffer = 0;
  std::int64_t backlogDrops = 0;
  std::optional<std::int64_t> linkPackets;
  std::int64_t linkDrops = 0;
  std::int64_t linkErrors = 0;
  std::int64_t bufferWanted = 0;  // of the socket, when it got less
  std::int64_t bufferGranted = 0;
  std::string failure;  // why there is none
};

struct Situation {
  const Host& host;
  std::vector<CameraFacts> cameras;   // all that answer
  std::optional<CameraFacts> camera;  // the one that is looked at
  std::optional<HostLink> link;       // through which it was found
  std::string trouble;                // why it cannot be opened, or was not found
  std::optional<std::int64_t> heartbeatMs;
  std::optional<std::int64_t> packetSize;  // that the camera is set to
  std::vector<ProbedSize> probed;
  std::optional<TestStream> stream;
};

enum class Level {
  Ok,
  Note,     // costs speed or will surprise some day
  Problem,  // loses frames or cameras
  Unknown,  // could not be looked at
};
const char* LevelName(Level level);

struct Outcome {
  Level level = Level::Ok;
  std::string measured;
  std::vector<std::string> commands;  // that mend it, for a shell of the administrator
  std::string advice;                 // where no command mends it
};

struct Check {
  const char* key;
  const char* title;
  const char* why;
  // No outcome: does not apply here.
  std::vector<Outcome> (*look)(const Situation& situation);
};

// In the order in which they are told.
std::span<const Check> AllChecks();

struct Finding {
  const Check* pCheck = nullptr;
  Outcome outcome;
};
std::vector<Finding> Examine(const Situation& situation);

Record DescribeFinding(const Finding& finding);

// Where the packets of a test stream were lost: "socket", "backlog", "interface", "host" (behind
// the interface, before the socket), "before the host", "unknown"; empty when none were.
std::string PlaceOfLoss(const TestStream& stream);

// The checks, by what they look at.
std::vector<Outcome> CheckDiscovery(const Situation& situation);
std::vector<Outcome> CheckReceiveBuffer(const Situation& situation);
std::vector<Outcome> CheckLinkMtu(const Situation& situation);
std::vector<Outcome> CheckPath(const Situation& situation);
std::vector<Outcome> CheckReversePath(const Situation& situation);
std::vector<Outcome> CheckFirewall(const Situation& situation);
std::vector<Outcome> CheckSharedSubnet(const Situation& situation);
std::vector<Outcome> CheckCameraSubnet(const Situation& situation);
std::vector<Outcome> CheckLinkLocal(const Situation& situation);
std::vector<Outcome> CheckDuplicateIp(const Situation& situation);
std::vector<Outcome> CheckHeartbeat(const Situation& situation);
std::vector<Outcome> CheckGovernor(const Situation& situation);
std::vector<Outcome> CheckLinkSpeed(const Situation& situation);
std::vector<Outcome> CheckCoalescing(const Situation& situation);
std::vector<Outcome> CheckRing(const Situation& situation);
std::vector<Outcome> CheckTestStream(const Situation& situation);

// The interfaces that concern the situation: the camera's, or all but loopback, each name once.
std::vector<HostLink> ConcernedLinks(const Situation& situation);

}  // namespace OrvexTools
