// SPDX-License-Identifier: Apache-2.0
// Clock and files of virtual cameras.
#include <gtest/gtest.h>

#include <chrono>

#include "../gigevision/Hex.h"
#include "TestHost.h"

namespace {

class Service : public testing::Test {
 protected:
  void SetUp() override { host.TakeControl(); }
  uint64_t Now() {
    host.Write(B::sk_timestampControl, B::sk_timestampLatch);
    return GigEVision::LoadBe64(host.ReadMem(B::sk_timestampHigh, 8).data());
  }
  RunningCamera running;
  Host host{running.camera};
};

TEST_F(Service, TheClockCountsNanosecondsAndStartsAgain) {
  EXPECT_EQ(host.Read(B::sk_tickFrequencyLow), 1'000'000'000u);
  const uint64_t first = Now();
  host.control.Receive(50);
  const uint64_t second = Now();
  EXPECT_GE(second - first, 50'000'000u);
  EXPECT_LT(second - first, 5'000'000'000u);
  host.Write(B::sk_timestampControl, B::sk_timestampReset);
  EXPECT_LT(Now(), second);
}

TEST_F(Service, TheClockFollowsAMasterWhenAsked) {
  EXPECT_EQ(host.Read(B::sk_ieee1588Status), 3u) << "disabled";
  host.Write(B::sk_gvcpConfiguration, B::sk_cfgIeee1588);
  EXPECT_EQ(host.Read(B::sk_ieee1588Status), 4u) << "listening";
  const auto utc = std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::system_clock::now().time_since_epoch());
  EXPECT_NEAR(static_cast<double>(Now()), static_cast<double>(utc.count()) + 37e9, 1e9);
  EXPECT_EQ(host.Write(B::sk_timestampControl, B::sk_timestampReset), Status::AccessDenied);
  uint32_t state = 0;
  for (int i = 0; i < 100 && state != 9; ++i) {
    host.stream.Receive(20);
    state = host.Read(B::sk_ieee1588Status).value_or(0);
  }
  EXPECT_EQ(state, 9u) << "slave";
  EXPECT_EQ(host.GetWide("PtpClockID"), 0x02567FFFFE000002);
  host.Write(B::sk_gvcpConfiguration, 0);
  EXPECT_EQ(host.Read(B::sk_ieee1588Status), 3u);
}

TEST_F(Service, FilesKeepWhatWasWritten) {
  enum { Open, Close, Read, Write, Delete };
  const auto execute = [&](int operation) {
    host.Set("FileOperationSelector", operation);
    host.Set("FileOperationExecute", 1);
    return host.Get("FileOperationStatus");
  };
  const uint32_t buffer = host.Address("FileAccessBuffer", "");
  host.Set("FileOpenMode", 0);
  EXPECT_EQ(execute(Open), 2) << "there is no file yet";
  EXPECT_EQ(execute(Read), 1) << "not open";
  host.Set("FileOpenMode", 1);
  ASSERT_EQ(execute(Open), 0);
  EXPECT_EQ(execute(Open), 1) << "open already";
  ASSERT_EQ(host.WriteMem(buffer, Hex("0102030405060708")), Status::Success);
  host.Set("FileAccessLength", 6);
  ASSERT_EQ(execute(Write), 0);
  EXPECT_EQ(host.Get("FileOperationResult"), 6);
  host.Set("FileAccessOffset", 4);
  ASSERT_EQ(execute(Write), 0);
  EXPECT_EQ(host.Get("FileSize"), 10);
  host.Set("FileAccessOffset", 11);
  EXPECT_EQ(execute(Write), 1) << "no gaps";
  EXPECT_EQ(execute(Close), 0);
  host.Set("FileOpenMode", 0);
  ASSERT_EQ(execute(Open), 0);
  host.Set("FileAccessOffset", 2);
  host.Set("FileAccessLength", 100);
  ASSERT_EQ(execute(Read), 0);
  EXPECT_EQ(host.Get("FileOperationResult"), 8);
  EXPECT_EQ(host.ReadMem(buffer, 8), Hex("0304 010203040506"));
  host.Set("FileSelector", 1);
  EXPECT_EQ(host.Get("FileSize"), 0) << "the other file";
  host.Set("FileSelector", 0);
  EXPECT_EQ(execute(Delete), 0);
  EXPECT_EQ(execute(Open), 2);
}

}  // namespace
