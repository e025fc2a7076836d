// SPDX-License-Identifier: Apache-2.0
// Chunks behind the image and events over the message channel.
#include <gtest/gtest.h>

#include <bit>

#include "../gigevision/Hex.h"
#include "TestHost.h"
#include "gigevision/Chunk.h"
#include "gigevision/Event.h"

namespace {

uint32_t Crc32(std::span<const uint8_t> bytes) {
  uint32_t crc = 0xFFFFFFFF;
  for (const uint8_t byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320 : 0);
  }
  return ~crc;
}

class Side : public testing::Test {
 protected:
  static OrvexSim::CameraOptions Options() {
    OrvexSim::CameraOptions options;
    options.width = 24;
    options.height = 6;
    options.frameRate = 50;
    return options;
  }
  void SetUp() override {
    host.TakeControl();
    host.OpenStream();
  }
  RunningCamera running{Options()};
  Host host{running.camera};
};

class Chunks : public Side {};
class Events : public Side {};

TEST_F(Chunks, DescribeTheFrameTheyCameWith) {
  host.Set("ChunkModeActive", 1);
  host.Set("OffsetX", 64);
  host.Set("OffsetY", 100);
  host.SetReal("ExposureTime", 1234.5);
  host.SetReal("Gain", 3);
  running.camera.Set("CounterEventSource", "ExposureStart");
  const int64_t payload = host.GetWide("PayloadSize");
  const auto frame = host.Grab(3).back();
  ASSERT_TRUE(frame.complete);
  EXPECT_EQ(frame.leader.payloadType, 0x4001);
  EXPECT_EQ(frame.trailer.payloadType, 0x4001);
  EXPECT_EQ(frame.trailer.sizeY, 6u);
  EXPECT_EQ(frame.trailer.chunkLength, frame.data.size());
  EXPECT_EQ(payload, static_cast<int64_t>(frame.data.size()));
  std::map<uint32_t, Bytes> chunks;
  GigEVision::ChunkWalker walker(frame.data);
  while (const auto chunk = walker.Next())
    chunks[chunk->id] = Bytes(chunk->data.begin(), chunk->data.end());
  ASSERT_TRUE(walker.Valid());
  EXPECT_EQ(chunks.size(), 20u);
  const Bytes& image = chunks[0x00C10000];
  EXPECT_EQ(image.size(), 24u * 6);
  EXPECT_EQ(chunks[0x00C10001], Hex("00000040"));
  EXPECT_EQ(chunks[0x00C10002], Hex("00000064"));
  EXPECT_EQ(chunks[0x00C10003], Hex("00000018"));
  EXPECT_EQ(chunks[0x00C10004], Hex("00000006"));
  EXPECT_EQ(chunks[0x00C10005], Hex("01080001"));
  EXPECT_EQ(GigEVision::LoadBe64(chunks[0x00C10006].data()), frame.leader.timestamp);
  EXPECT_EQ(GigEVision::LoadBe64(chunks[0x00C10007].data()), frame.blockId);
  EXPECT_EQ(std::bit_cast<double>(GigEVision::LoadBe64(chunks[0x00C10008].data())), 1234.5);
  EXPECT_EQ(std::bit_cast<double>(GigEVision::LoadBe64(chunks[0x00C10009].data())), 3.0);
  EXPECT_EQ(GigEVision::LoadBe32(chunks[0x00C1000B].data()), Crc32(image));
  EXPECT_EQ(chunks[0x00C1000C], Hex("00000018"));
  EXPECT_EQ(chunks[0x00C1000E], Hex("000000FF"));
  EXPECT_EQ(chunks[0x00C1000F], Hex("00000001"));
  EXPECT_EQ(chunks[0x00C10012], Hex("00000002")) << "exposures before this one";
}

TEST_F(Chunks, CanBeSwitchedOffOneByOne) {
  host.Set("ChunkModeActive", 1);
  const uint32_t before = host.Grab(1).front().trailer.chunkLayoutId;
  for (uint32_t i = 1; i < 20; ++i) EXPECT_EQ(host.Set("ChunkEnable", 0, i), Status::Success) << i;
  EXPECT_EQ(host.Set("ChunkEnable", 0, 0), Status::AccessDenied) << "not the image";
  const auto frame = host.Grab(1).front();
  EXPECT_EQ(frame.data.size(), 24u * 6 + 8);
  EXPECT_EQ(Bytes(frame.data.end() - 8, frame.data.end()), Hex("00C10000 00000090"));
  EXPECT_NE(frame.trailer.chunkLayoutId, before);
  host.Set("ChunkModeActive", 0);
  EXPECT_EQ(host.Grab(1).front().data.size(), 24u * 6);
}

TEST_F(Chunks, ComeInThePayloadTypesOfOlderCamerasToo) {
  host.Set("ChunkModeActive", 1);
  host.Set("SimChunkPayload", 4);
  auto frame = host.Grab(1).front();
  EXPECT_EQ(frame.leader.payloadType, 4);
  EXPECT_EQ(frame.raw.at(0).size(), 8u + 12);
  EXPECT_EQ(frame.trailer.chunkLength, frame.data.size());
  host.Set("SimChunkPayload", 5);
  frame = host.Grab(1).front();
  EXPECT_EQ(frame.leader.payloadType, 5);
  EXPECT_EQ(frame.leader.image.sizeX, 24u);
  EXPECT_EQ(frame.trailer.chunkLength, frame.data.size());
}

TEST_F(Chunks, AreWholeWordsInEveryPacking) {
  host.Set("PixelFormat", 0x010A0046);
  host.Set("Width", 16);
  host.Set("Height", 2);
  host.Set("PixelFormat", 0x020C005A);
  host.Set("ChunkModeActive", 1);
  for (const uint32_t format : {0x010A0046u, 0x01080001u, 0x020C005Au}) {
    host.Set("PixelFormat", format);
    const auto frame = host.Grab(1).front();
    GigEVision::ChunkWalker walker(frame.data);
    while (walker.Next()) {
    }
    EXPECT_TRUE(walker.Valid());
    EXPECT_EQ(frame.data.size() % 4, 0u);
  }
}

TEST_F(Events, TellTheStagesOfAFrame) {
  host.OpenMessages();
  for (uint32_t i = 0; i < 8; ++i) host.Set("EventNotification", 1, i);
  host.Set("AcquisitionMode", 1);
  host.Start();
  const auto frame = host.NextFrame();
  ASSERT_TRUE(frame);
  std::vector<uint16_t> ids;
  std::map<uint16_t, uint64_t> times;
  for (Bytes bytes = host.messages.Receive(500); !bytes.empty();
       bytes = host.messages.Receive(100)) {
    const auto packet = GigEVision::DecodeCommand(bytes);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->header.command, GigEVision::Command::EventData);
    EXPECT_FALSE(packet->header.AckRequired()) << "no timeout is set";
    GigEVision::EventWalker walker(*packet);
    const auto event = walker.Next();
    ids.push_back(event->id);
    const bool ofFrame = event->id >= 0x9005;
    EXPECT_EQ(event->blockId, ofFrame ? frame->blockId : 0u);
    EXPECT_EQ(event->channel, ofFrame ? 0 : 0xFFFF);
    EXPECT_EQ(GigEVision::LoadBe64(event->data.data()), event->blockId);
    times[event->id] = event->timestamp;
  }
  EXPECT_EQ(ids, (std::vector<uint16_t>{0x9001, 0x9005, 0x9006, 0x9007, 0x9008, 0x9002}));
  EXPECT_EQ(times[0x9005], frame->leader.timestamp);
  EXPECT_EQ(times[0x9006], frame->leader.timestamp + 2'000'000) << "the exposure";
}

TEST_F(Events, OnlyComeWhenAskedFor) {
  host.OpenMessages();
  host.Set("EventNotification", 1, 7);  // FrameEnd
  host.Set("AcquisitionMode", 1);
  host.Start();
  ASSERT_TRUE(host.NextFrame());
  const Bytes bytes = host.messages.Receive(500);
  ASSERT_EQ(bytes.size(), 32u);
  EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 16),
            Hex("42 00 00C2 0018 0001 0000 9008 0000 0001"));
  EXPECT_TRUE(host.messages.Receive(50).empty());
}

TEST_F(Events, AreRepeatedUntilAcknowledged) {
  host.OpenMessages(60, 2);
  EXPECT_EQ(host.Set("TestEventGenerate", 1), Status::Success);
  sockaddr_in from{};
  const Bytes first = host.messages.Receive(500, &from);
  ASSERT_EQ(first.size(), 32u);
  EXPECT_EQ(Bytes(first.begin(), first.begin() + 16),
            Hex("42 01 00C2 0018 0001 0000 9FFF FFFF 0000"));
  EXPECT_EQ(Bytes(first.end() - 8, first.end()), Hex("0000000000000001"));
  EXPECT_EQ(ntohs(from.sin_port), host.Read(B::sk_mcsp));
  EXPECT_EQ(host.messages.Receive(500), first);
  EXPECT_EQ(host.messages.Receive(500), first);
  EXPECT_TRUE(host.messages.Receive(150).empty()) << "two repetitions were allowed";
  host.Set("TestEventGenerate", 1);
  ASSERT_EQ(host.messages.Receive(500).size(), 32u);
  host.messages.Send(Hex("0000 00C3 0000 0002"), 0x7F000002, ntohs(from.sin_port));
  EXPECT_TRUE(host.messages.Receive(150).empty()) << "acknowledged";
}

TEST_F(Events, UseTheLongLayoutWithLongIds) {
  host.Write(B::sk_gvspConfiguration, B::sk_gvspCfgExtendedIds);
  host.OpenMessages();
  host.Set("TestEventGenerate", 1);
  const Bytes bytes = host.messages.Receive(500);
  ASSERT_EQ(bytes.size(), 40u);
  EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 24),
            Hex("42 10 00C2 0020 0001 0020 9FFF FFFF 0000 0000000000000000"));
}

TEST_F(Events, TellTheOldOwnerOfASwitch) {
  host.OpenMessages();
  host.Write(B::sk_switchoverKey, 7);
  host.Write(B::sk_ccp, B::sk_ccpControl | B::sk_ccpSwitchover);
  Host other(running.camera);
  EXPECT_EQ(other.Write(B::sk_ccp, 0x00070000 | B::sk_ccpControl), Status::Success);
  const Bytes bytes = host.messages.Receive(500);
  ASSERT_EQ(bytes.size(), 24u);
  EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 16),
            Hex("42 00 00C0 0010 0001 0000 0007 FFFF 0000"));
}

TEST_F(Side, AsksForTimeWhenItIsSlow) {
  EXPECT_EQ(host.Write(B::sk_gvcpConfiguration, B::sk_cfgPendingAck), Status::Success);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(host.Set("TestPendingAck", 300), Status::Success);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(290));
  EXPECT_EQ(host.pendingAcks, 1u);
  host.Write(B::sk_gvcpConfiguration, 0);
  EXPECT_EQ(host.Set("TestPendingAck", 50), Status::Success);
  EXPECT_EQ(host.pendingAcks, 1u) << "not where the host did not allow it";
}

}  // namespace
