// SPDX-License-Identifier: Apache-2.0
// Clock and files of virtual cameras.
#include <gtest/gtest.h>

#include <fstream>

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

TEST_F(Service, TheClockTellsHowFarItIsFromItsMaster) {
  host.Write(B::sk_gvcpConfiguration, B::sk_cfgIeee1588);
  host.Set("PtpDataSetLatch", 1);
  EXPECT_EQ(host.GetWide("PtpOffsetFromMaster"), 0) << "no master yet";
  for (int tries = 0; tries < 100 && host.Read(B::sk_ieee1588Status) != 9u; ++tries)
    host.stream.Receive(20);
  host.Set("PtpDataSetLatch", 1);
  const int64_t first = host.GetWide("PtpOffsetFromMaster");
  EXPECT_GT(first, 0);
  EXPECT_EQ(host.GetWide("PtpOffsetFromMaster"), first) << "as latched";
  EXPECT_EQ(host.GetWide("PtpMeanPropagationDelay"), 480);
  EXPECT_NE(host.GetWide("PtpParentClockID"), host.GetWide("PtpClockID"));
}

TEST_F(Service, LinesTriggerAndTell) {
  host.OpenStream();
  host.Set("TriggerMode", 1);
  host.Set("TriggerSource", 6);
  host.Set("LineSource", 2, 1);  // Line1 tells that a trigger is awaited
  host.Start();
  EXPECT_EQ(host.Get("LineStatusAll"), 2);
  running.camera.Set("SimLine0", "true");
  EXPECT_TRUE(host.NextFrame());
  EXPECT_EQ(host.Get("LineStatusAll") & 1, 1);
  running.camera.Set("SimLine0", "false");
  EXPECT_FALSE(host.NextFrame(100)) << "the falling edge";
  host.Set("TriggerActivation", 2);
  running.camera.Set("SimLine0", "true");
  running.camera.Set("SimLine0", "false");
  EXPECT_TRUE(host.NextFrame());
  EXPECT_TRUE(host.NextFrame());
  host.Set("LineInverter", 1, 0);
  EXPECT_EQ(host.Get("LineStatusAll") & 1, 1);
}

TEST_F(Service, SamplesGoThroughTheTable) {
  host.OpenStream();
  host.Set("Width", 32);
  host.Set("Height", 8);
  const Bytes plain = host.Grab(1).front().data;
  Bytes table(8192);
  for (size_t i = 0; i < 4096; ++i)
    GigEVision::StoreBe16(&table[2 * i], static_cast<uint16_t>(4095 - i));
  const uint32_t all = host.Address("LUTValueAll", "");
  for (uint32_t at = 0; at < table.size(); at += 512) {
    EXPECT_EQ(host.WriteMem(all + at, Bytes(table.begin() + at, table.begin() + at + 512)),
              Status::Success);
  }
  host.Set("LUTIndex", 1000);
  EXPECT_EQ(host.Get("LUTValue"), 3095);
  EXPECT_TRUE(host.Grab(1).front().data == plain) << "not yet enabled";
  host.Set("LUTEnable", 1);
  const Bytes turned = host.Grab(1).front().data;
  ASSERT_EQ(turned.size(), plain.size());
  for (size_t i = 0; i < plain.size(); ++i) EXPECT_NEAR(turned[i], 255 - plain[i], 1);
  host.Set("LUTEnable", 0);
  host.SetReal("BlackLevel", 160);
  const Bytes lifted = host.Grab(1).front().data;
  for (size_t i = 0; i < plain.size(); ++i) EXPECT_NEAR(lifted[i], std::min(plain[i] + 10, 255), 1);
}

TEST(State, OutlivesTheCamera) {
  char path[] = "/tmp/orvex-state-XXXXXX";
  const int fd = ::mkstemp(path);
  ASSERT_GE(fd, 0);
  ::close(fd);
  ::unlink(path);
  OrvexSim::CameraOptions options;
  options.stateFile = path;
  {
    RunningCamera running(options);
    running.camera.Set("Width", "640");
    running.camera.Set("Gain", "2.5");
    running.camera.Set("PixelFormat", "BayerRG12p");
    running.camera.Set("UserSetSelector", "UserSet1");
    running.camera.Set("UserSetSave");
    running.camera.Set("UserSetDefault", "UserSet1");
    running.camera.Set("DeviceUserID", "left eye");
  }
  {
    RunningCamera running(options);
    EXPECT_EQ(running.camera.Get("Width"), "640");
    EXPECT_EQ(running.camera.Get("Gain"), "2.5");
    EXPECT_EQ(running.camera.Get("PixelFormat"), "BayerRG12p");
    EXPECT_EQ(running.camera.Get("DeviceUserID"), "left eye");
    running.camera.Set("UserSetDefault", "Default");
  }
  EXPECT_EQ(RunningCamera(options).camera.Get("Width"), "1280");
  std::ofstream(path) << "orvex virtual camera, state 1\nset 1 Width i 7\nset 1 Height i 100\n"
                         "set 1 Nothing i 1\nset 1 PixelFormat i 5\ndefault 1\n";
  {
    RunningCamera running(options);
    EXPECT_EQ(running.camera.Get("Width"), "1280") << "no width that it could have";
    EXPECT_EQ(running.camera.Get("Height"), "100");
    EXPECT_EQ(running.camera.Get("PixelFormat"), "Mono8");
  }
  for (const char* bad : {"", "something", "orvex virtual camera, state 1\nset 99 Width i 1\n",
                          "orvex virtual camera, state 1\nset 1 Width i 1x\n"}) {
    std::ofstream(path) << bad;
    EXPECT_THROW(OrvexSim::VirtualCamera{options}, std::invalid_argument) << bad;
  }
  ::unlink(path);
}

}  // namespace
