// SPDX-License-Identifier: Apache-2.0
// Whole streams over two network namespaces joined by a cable, with loss, disorder, a slow link and
// a pulled plug. Skipped with a reason where namespaces cannot be made.
#include <gtest/gtest.h>

#include "tests/network/Cases.h"

namespace NetworkLab {

static void PrintTo(const Outcome& o, std::ostream* out) {
  *out << o.frames << " frames, " << o.incomplete << " incomplete, " << o.wrong << " wrong, "
       << o.missedFrames << " missed, " << o.lostFrames << " without buffer, " << o.timeouts
       << " timeouts, " << o.requests << " requests for " << o.requestedPackets << " packets, "
       << o.resent << " resent, " << o.duplicates << " duplicate, " << o.reordered << " reordered, "
       << o.late << " late, " << o.lostPackets << " lost, " << o.refused << " refused, "
       << o.socketDrops << " dropped, engine " << o.engine << ", packets of " << o.packetSize
       << ", " << o.seconds << " s " << o.failure;
}

static void PrintTo(const FaultCase& row, std::ostream* out) {
  *out << row.name;
}

namespace {

class OverACable : public testing::Test {
 protected:
  void SetUp() override {
    static const std::string s_reason = Cable::Unavailable();
    if (!s_reason.empty()) GTEST_SKIP() << s_reason;
  }
  // Every frame came, whole and one after another.
  static void ExpectWhole(const Outcome& outcome, unsigned frames) {
    SCOPED_TRACE(testing::PrintToString(outcome));
    EXPECT_FALSE(outcome.failed);
    EXPECT_EQ(outcome.frames, frames);
    EXPECT_EQ(outcome.incomplete, 0u);
    EXPECT_EQ(outcome.wrong, 0u);
    EXPECT_EQ(outcome.missedFrames + outcome.lostFrames, 0);
    EXPECT_EQ(outcome.lastId - outcome.firstId + 1, frames);
  }
};

class Faults : public OverACable, public testing::WithParamInterface<FaultCase> {};

TEST_P(Faults, EveryFrameIsComplete) {
#ifdef __SANITIZE_THREAD__
  if (GetParam().packetSize > 1500)
    GTEST_SKIP() << "100 MB/s are more than the thread sanitizer lets one core take";
#endif
  const unsigned frames = GetParam().needlessRequests != 0 ? 400 : 40;
  const Outcome outcome = RunFaultCase(GetParam(), frames);
  ExpectWhole(outcome, frames);
  // What was asked for although it was on its way comes twice.
  if (GetParam().needlessRequests != 0) {
    const double most = GetParam().needlessRequests * frames / 100;
    EXPECT_LE(static_cast<double>(outcome.duplicates), most) << testing::PrintToString(outcome);
  }
}

INSTANTIATE_TEST_SUITE_P(Network, Faults, testing::ValuesIn(FaultCases()),
                         [](const auto& info) { return std::string(info.param.name); });

// 50 frames of 2.3 MB a second are what a gigabit holds.
TEST_F(OverACable, AGigabitLinkIsFilledWithoutLoss) {
  const Cable cable;
  cable.Shape("1gbit");
  const Outcome outcome = RunSlowLink(cable, 50, false);
  ExpectWhole(outcome, 50);
  EXPECT_EQ(outcome.firstId, 1u);
  EXPECT_NEAR(outcome.frames / outcome.seconds, 50, 5);
}

TEST_F(OverACable, APulledCableIsNoticedTornDownAndStreamsAgain) {
  const Pull pull = PullCable(2.5);
  EXPECT_TRUE(pull.whole) << pull.failure;
  EXPECT_LT(pull.secondsToNotice, 1.2);
  EXPECT_LT(pull.secondsToTearDown, 2);
}

}  // namespace
}  // namespace NetworkLab
