// SPDX-License-Identifier: Apache-2.0
// What a virtual camera streams, received over real sockets.
#include <gtest/gtest.h>

#include <algorithm>

#include "../gigevision/Hex.h"
#include "TestHost.h"
#include "simulator/PixelFormat.h"

namespace {

OrvexSim::CameraOptions SmallFrames() {
  OrvexSim::CameraOptions options;
  options.width = 320;
  options.height = 240;
  options.frameRate = 100;
  return options;
}

class Stream : public testing::Test {
 protected:
  void SetUp() override {
    host.TakeControl();
    host.OpenStream();
  }
  RunningCamera running{SmallFrames()};
  Host host{running.camera};
};

TEST_F(Stream, SendsLeaderDataAndTrailerOfEveryFrame) {
  host.Set("OffsetX", 928);  // where the frame counter is
  host.Set("OffsetY", 700);
  const auto frames = host.Grab(5);
  ASSERT_EQ(frames.size(), 5u);
  uint64_t previous = 0;
  for (size_t i = 0; i < frames.size(); ++i) {
    const ReceivedFrame& frame = frames[i];
    EXPECT_EQ(frame.blockId, i + 1);
    EXPECT_TRUE(frame.complete);
    EXPECT_EQ(frame.leader.payloadType, 1);
    EXPECT_EQ(frame.leader.image.pixelFormat, 0x01080001u);
    EXPECT_EQ(frame.leader.image.sizeX, 320u);
    EXPECT_EQ(frame.leader.image.sizeY, 240u);
    EXPECT_EQ(frame.trailer.sizeY, 240u);
    EXPECT_EQ(frame.data.size(), 320u * 240u);
    EXPECT_EQ(frame.packets, (320 * 240 + 1463) / 1464u);
    EXPECT_EQ(frame.raw.at(1).size(), 1472u) << "IP datagrams of exactly the packet size";
    if (i > 0) {
      EXPECT_GE(frame.leader.timestamp - previous, 9'990'000u) << "never faster than asked";
    }
    previous = frame.leader.timestamp;
  }
  EXPECT_TRUE(frames[0].data != frames[4].data) << "the scene moves";
}

TEST_F(Stream, FollowsThePacketSize) {
  for (const uint32_t size : {576u, 1500u, 4000u, 9000u}) {
    host.Write(B::StreamRegister(B::Stream::Scps), size);
    const auto frames = host.Grab(1);
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_TRUE(frames[0].complete) << size;
    EXPECT_EQ(frames[0].data.size(), 76800u);
    EXPECT_EQ(frames[0].raw.at(1).size(), size - 28) << size;
  }
}

TEST_F(Stream, IsTheSameWithAndWithoutSegmentationOffload) {
  const auto with = host.Grab(2);
  host.Set("SimSegmentationOffload", 0);
  const auto without = host.Grab(2);
  ASSERT_EQ(with.size(), 2u);
  ASSERT_EQ(without.size(), 2u);
  EXPECT_TRUE(without[1].complete);
  EXPECT_TRUE(with[1].data == without[1].data);
  EXPECT_EQ(without[1].raw.at(1).size(), 1472u);
}

TEST_F(Stream, NumbersWithSixtyFourBitsWhenAsked) {
  EXPECT_EQ(host.Write(B::sk_gvspConfiguration, B::sk_gvspCfgExtendedIds), Status::Success);
  const auto frames = host.Grab(2);
  ASSERT_EQ(frames.size(), 2u);
  EXPECT_TRUE(frames[1].complete);
  EXPECT_EQ(frames[1].data.size(), 76800u);
  const Bytes& packet = frames[1].raw.at(1);
  EXPECT_EQ(packet.size(), 1472u);
  EXPECT_EQ(Bytes(packet.begin(), packet.begin() + 20),
            Hex("0000 0000 83 000000 0000000000000002 00000001"));
}

TEST_F(Stream, RestartsBlockIdsWhenTheChannelOpens) {
  EXPECT_EQ(host.Grab(2).back().blockId, 2u);
  EXPECT_GT(host.Grab(1).front().blockId, 2u) << "not at a mere start";
  host.Write(B::StreamRegister(B::Stream::Scp), 0);
  host.OpenStream();
  EXPECT_EQ(host.Grab(1).front().blockId, 1u);
}

TEST_F(Stream, SendsPacketsAgainByteByByte) {
  host.SetReal("AcquisitionFrameRate", 20);
  const auto frame = host.Grab(1).front();
  const uint64_t block = frame.blockId;
  const uint32_t trailer = frame.packets + 1;
  host.AskAgain(block, 2, 3);
  EXPECT_EQ(host.stream.Receive(500), frame.raw.at(2));
  EXPECT_EQ(host.stream.Receive(500), frame.raw.at(3));
  host.AskAgain(block, 0, 0);
  EXPECT_EQ(host.stream.Receive(500), frame.raw.at(0));
  host.AskAgain(block, trailer - 1, 0xFFFFFFFF);
  EXPECT_EQ(host.stream.Receive(500), frame.raw.at(trailer - 1));
  EXPECT_EQ(host.stream.Receive(500), frame.raw.at(trailer));
  EXPECT_TRUE(host.stream.Receive(50).empty());
}

TEST_F(Stream, MarksResentPacketsWhereTheHostUnderstandsIt) {
  host.Write(B::sk_gvcpConfiguration, B::sk_cfgExtendedStatus11);
  const auto frame = host.Grab(1).front();
  host.AskAgain(frame.blockId, 2, 2);
  Bytes packet = host.stream.Receive(500);
  ASSERT_GT(packet.size(), 8u);
  EXPECT_EQ(packet[0], 1);
  packet[0] = 0;
  EXPECT_EQ(packet, frame.raw.at(2));
}

TEST_F(Stream, RefusesPacketsItNoLongerHas) {
  const auto frame = host.Grab(1).front();
  host.AskAgain(frame.blockId + 300, 5, 6);
  EXPECT_EQ(host.stream.Receive(500), Hex("800C 012D 03 000005"));
  EXPECT_EQ(host.stream.Receive(500), Hex("800C 012D 03 000006"));
  host.Write(B::sk_gvcpConfiguration, B::sk_cfgExtendedStatus11);
  host.AskAgain(frame.blockId + 300, 5, 5);
  EXPECT_EQ(host.stream.Receive(500), Hex("8011 012D 03 000005"));
  Host stranger(running.camera);
  stranger.AskAgain(frame.blockId, 1, 1);
  // From the address of the application in control any port may ask.
  EXPECT_EQ(host.stream.Receive(500).size(), 1472u);
}

TEST_F(Stream, FiresOneTestPacketOfTheSizeAsked) {
  const uint32_t scps = B::StreamRegister(B::Stream::Scps);
  EXPECT_EQ(host.Write(scps, B::sk_scpsFireTestPacket | B::sk_scpsDoNotFragment | 8000),
            Status::Success);
  const Bytes packet = host.stream.Receive(500);
  EXPECT_EQ(packet.size(), 8000u - 28);
  EXPECT_EQ(Bytes(packet.begin(), packet.begin() + 8), Hex("0000 0000 01 000000"));
  EXPECT_TRUE(host.stream.Receive(50).empty());
  EXPECT_EQ(host.Read(scps), B::sk_scpsDoNotFragment | 8000);
}

TEST(StreamPath, LosesPacketsThatAreTooLargeForIt) {
  OrvexSim::CameraOptions options = SmallFrames();
  options.pathLimit = 4000;
  RunningCamera running(options);
  Host host(running.camera);
  host.TakeControl();
  host.OpenStream();
  const uint32_t scps = B::StreamRegister(B::Stream::Scps);
  host.Write(scps, B::sk_scpsFireTestPacket | 8000);
  EXPECT_TRUE(host.stream.Receive(100).empty());
  host.Write(scps, B::sk_scpsFireTestPacket | 4000);
  EXPECT_EQ(host.stream.Receive(500).size(), 4000u - 28);
}

TEST_F(Stream, EndsAfterTheFramesOfItsMode) {
  host.Set("AcquisitionMode", 1);
  host.Start();
  EXPECT_TRUE(host.NextFrame());
  EXPECT_FALSE(host.NextFrame(100));
  host.Set("AcquisitionMode", 2);
  host.Set("AcquisitionFrameCount", 3);
  host.Start();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(host.NextFrame());
  EXPECT_FALSE(host.NextFrame(100));
  EXPECT_EQ(host.Set("Width", 640), Status::Success) << "a finished acquisition locks nothing";
}

TEST_F(Stream, WaitsForEachTrigger) {
  EXPECT_EQ(host.Set("TriggerSoftware", 1), Status::AccessDenied);
  host.Set("TriggerMode", 1);
  host.Start();
  EXPECT_FALSE(host.NextFrame(100));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(host.Set("TriggerSoftware", 1), Status::Success);
    EXPECT_TRUE(host.NextFrame());
    EXPECT_FALSE(host.NextFrame(50));
  }
}

TEST_F(Stream, IsTriggeredByItsTimer) {
  host.Set("TriggerMode", 1);
  host.Set("TriggerSource", 1);  // Timer0End
  host.SetReal("TimerDuration", 40000);
  const auto frames = host.Grab(3);
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_GE(frames[2].leader.timestamp - frames[1].leader.timestamp, 39'900'000u);
}

TEST_F(Stream, IsTriggeredByActionsThatAreMeantForIt) {
  host.Set("TriggerMode", 1);
  host.Set("TriggerSource", 2);  // Action0
  host.Write(B::sk_actionDeviceKey, 0x11);
  host.Write(B::sk_actionGroupKey, 0x22);
  host.Write(B::sk_actionGroupMask, 0x03);
  host.Start();
  Host stranger(running.camera);
  const auto send = [&](const char* bytes) {
    stranger.control.Send(Hex(bytes), 0x7FFFFFFF);
    return stranger.control.Receive(100);
  };
  EXPECT_EQ(send("42 01 0100 000C 0001 00000012 00000022 00000001"), Bytes{})
      << "another device key";
  EXPECT_EQ(send("42 01 0100 000C 0002 00000011 00000023 00000001"), Bytes{})
      << "another group key";
  EXPECT_EQ(send("42 01 0100 000C 0003 00000011 00000022 00000004"), Bytes{}) << "no common bit";
  EXPECT_FALSE(host.NextFrame(50));
  EXPECT_EQ(send("42 01 0100 000C 0004 00000011 00000022 00000001"), Hex("0000 0101 0000 0004"));
  EXPECT_TRUE(host.NextFrame());
  // Late, with and without the finer status codes.
  EXPECT_EQ(send("42 81 0100 0014 0005 00000011 00000022 00000001 0000000000000001"),
            Hex("0000 0101 0000 0005"));
  EXPECT_TRUE(host.NextFrame());
  host.Write(B::sk_gvcpConfiguration, B::sk_cfgExtendedStatus20);
  EXPECT_EQ(send("42 81 0100 0014 0006 00000011 00000022 00000001 0000000000000001"),
            Hex("8016 0101 0000 0006"));
  EXPECT_TRUE(host.NextFrame());
  // In 150 ms of the camera's clock.
  host.Write(B::sk_timestampControl, B::sk_timestampLatch);
  Bytes time = host.ReadMem(B::sk_timestampHigh, 8);
  const uint64_t due = GigEVision::LoadBe64(time.data()) + 150'000'000;
  GigEVision::StoreBe64(time.data(), due);
  Bytes scheduled = Hex("42 81 0100 0014 0007 00000011 00000022 00000001");
  scheduled.insert(scheduled.end(), time.begin(), time.end());
  stranger.control.Send(scheduled, 0x7F000002);
  const auto frame = host.NextFrame();
  ASSERT_TRUE(frame);
  EXPECT_GE(frame->leader.timestamp, due);
  EXPECT_LT(frame->leader.timestamp, due + 50'000'000);
}

TEST_F(Stream, EveryFormatHasTheSizeOfItsLayout) {
  host.Set("TestPattern", 3);  // grey from left to right
  for (const OrvexSim::PixelFormat& format : OrvexSim::AllPixelFormats()) {
    ASSERT_EQ(host.Set("PixelFormat", format.value), Status::Success) << format.name;
    const size_t bytes = 320 * 240 * format.BitsPerPixel() / 8;
    EXPECT_EQ(host.GetWide("PayloadSize"), static_cast<int64_t>(bytes)) << format.name;
    const auto frames = host.Grab(1);
    ASSERT_EQ(frames.size(), 1u) << format.name;
    EXPECT_TRUE(frames[0].complete) << format.name;
    EXPECT_EQ(frames[0].leader.image.pixelFormat, format.value);
    EXPECT_EQ(frames[0].data.size(), bytes) << format.name;
  }
}

TEST_F(Stream, RegionAndBinningChooseThePixels) {
  host.Set("PixelFormat", 0x02180014);  // RGB8
  const auto pixel = [](const ReceivedFrame& frame, size_t x, size_t y) {
    const size_t at = (y * frame.leader.image.sizeX + x) * 3;
    return Bytes(frame.data.begin() + static_cast<ptrdiff_t>(at),
                 frame.data.begin() + static_cast<ptrdiff_t>(at) + 3);
  };
  const ReceivedFrame plain = host.Grab(1).front();
  host.Set("OffsetX", 64);
  host.Set("OffsetY", 64);
  const ReceivedFrame moved = host.Grab(1).front();
  EXPECT_EQ(moved.leader.image.offsetX, 64u);
  EXPECT_EQ(pixel(moved, 40, 40), pixel(plain, 104, 104));
  EXPECT_EQ(pixel(moved, 40, 40), Hex("785042")) << "the chart's first patch";
  host.Set("OffsetX", 0);
  host.Set("OffsetY", 0);
  host.Set("BinningHorizontal", 2);
  host.Set("BinningVertical", 2);
  EXPECT_EQ(host.Get("WidthMax"), 968);
  EXPECT_EQ(pixel(host.Grab(1).front(), 52, 52), Hex("785042")) << "averaging keeps the brightness";
  host.Set("BinningVerticalMode", 1);
  EXPECT_EQ(pixel(host.Grab(1).front(), 52, 52), Hex("F0A084")) << "adding up does not";
}

TEST_F(Stream, ExposureAndGainSetTheBrightness) {
  host.Set("OffsetX", 64);
  host.Set("OffsetY", 64);
  host.Set("PixelFormat", 0x02180014);
  const auto red = [&] { return host.Grab(1).front().data[(40 * 320 + 40) * 3]; };
  EXPECT_EQ(red(), 0x78);
  host.SetReal("ExposureTime", 1000);
  EXPECT_NEAR(red(), 0x3C, 1);
  host.SetReal("Gain", 6.0206);
  EXPECT_NEAR(red(), 0x78, 1);
  host.SetReal("Gain", 24);
  EXPECT_EQ(red(), 0xFF) << "clipped";
  EXPECT_EQ(host.SetReal("Gain", 25), Status::InvalidParameter);
}

TEST_F(Stream, LocksWhatChangesThePayload) {
  EXPECT_EQ(host.Set("TLParamsLocked", 1), Status::Success);
  EXPECT_EQ(host.Set("Width", 640), Status::AccessDenied);
  EXPECT_EQ(host.Set("PixelFormat", 0x02180014), Status::AccessDenied);
  EXPECT_EQ(host.Set("OffsetX", 8), Status::Success);
  host.Set("TLParamsLocked", 0);
  host.Start();
  EXPECT_EQ(host.Set("Height", 100), Status::AccessDenied)
      << "also without the host's lock while frames come";
  EXPECT_EQ(host.Write(B::StreamRegister(B::Stream::Scps), 1400), Status::AccessDenied);
  host.Stop();
  EXPECT_EQ(host.Set("Height", 100), Status::Success);
}

TEST_F(Stream, LimitsFollowTheOtherSizes) {
  EXPECT_EQ(host.Set("Width", 330), Status::InvalidParameter) << "not a step";
  EXPECT_EQ(host.GetWide("Width", "_Max"), 1936);
  host.Set("OffsetX", 800);
  EXPECT_EQ(host.GetWide("Width", "_Max"), 1136);
  EXPECT_EQ(host.Set("Width", 1144), Status::InvalidParameter);
  host.Set("Width", 1136);
  host.Set("BinningHorizontal", 4);
  EXPECT_EQ(host.Get("Width"), 480) << "binning makes it fit";
  EXPECT_EQ(host.Get("OffsetX"), 0);
}

TEST_F(Stream, UserSetsKeepSettings) {
  host.Set("Width", 640);
  host.SetReal("Gain", 3);
  host.Set("UserSetSelector", 1);
  EXPECT_EQ(host.Set("UserSetSave", 1), Status::Success);
  host.Set("UserSetSelector", 0);
  EXPECT_EQ(host.Set("UserSetSave", 1), Status::AccessDenied) << "factory values stay";
  EXPECT_EQ(host.Set("UserSetLoad", 1), Status::Success);
  EXPECT_EQ(host.Get("Width"), 320);
  EXPECT_EQ(host.GetReal("Gain"), 0);
  host.Set("UserSetSelector", 1);
  host.Set("UserSetLoad", 1);
  EXPECT_EQ(host.Get("Width"), 640);
  EXPECT_EQ(host.GetReal("Gain"), 3);
}

TEST_F(Stream, PacesPacketsByTheThroughputLimit) {
  host.Set("AcquisitionMode", 1);
  const uint32_t limit = host.Address("DeviceLinkThroughputLimit");
  EXPECT_EQ(host.WriteMem(limit, Hex("0000000000100000")),
            Status::Success);  // 1 MiB/s: 73 ms for the frame
  const auto start = std::chrono::steady_clock::now();
  host.Start();
  ASSERT_TRUE(host.NextFrame());
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_GT(took, std::chrono::milliseconds(70));
  EXPECT_LT(took, std::chrono::milliseconds(500));
}

TEST(Streams, OfSeveralCamerasComeAtOnce) {
  std::vector<std::unique_ptr<RunningCamera>> cameras;
  std::vector<std::unique_ptr<Host>> hosts;
  for (uint32_t i = 0; i < 4; ++i) {
    OrvexSim::CameraOptions options = SmallFrames();
    options.address = "127.0.0." + std::to_string(20 + i);
    cameras.push_back(std::make_unique<RunningCamera>(options));
    hosts.push_back(std::make_unique<Host>(cameras.back()->camera, 0x7F000014 + i));
    hosts.back()->TakeControl();
    hosts.back()->OpenStream();
    hosts.back()->Start();
  }
  for (int round = 0; round < 20; ++round) {
    for (const auto& host : hosts) {
      const auto frame = host->NextFrame();
      ASSERT_TRUE(frame && frame->complete);
    }
  }
}

}  // namespace
