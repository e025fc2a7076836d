// SPDX-License-Identifier: Apache-2.0
// From packets to frames: order, gaps, resends, refusals, late and duplicate packets, over
// hand-laid bytes and a clock that the cases move.
#include "producer/FrameAssembler.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>

#include "Packets.h"
#include "producer/StreamBuffer.h"

namespace OrvexGev {
namespace {

using Packets::Bytes;

constexpr size_t sk_data = 64;  // bytes per data packet
constexpr size_t sk_packetSize =
    sk_data + 8 + 28;                             // with the headers that the size register counts
constexpr uint32_t sk_width = 64, sk_height = 8;  // eight data packets
constexpr uint32_t sk_trailer = 9;

class Assembler : public ::testing::Test, public FrameSink {
 protected:
  struct Delivered {
    FrameInfo info;
    Bytes bytes;
  };

  void Build(AssemblerSettings settings = {}) {
    settings.packetSize = sk_packetSize;
    settings.largestBuffer = bufferSize;
    assembler = std::make_unique<FrameAssembler>(settings, *this);
  }
  static AssemblerSettings NoResend() {
    AssemblerSettings settings;
    settings.resend = false;
    return settings;
  }

  // FrameSink
  bool Take(FrameTarget& target) override {
    if (freeBuffers == 0) return false;
    --freeBuffers;
    memory.emplace_back(bufferSize, uint8_t{0xEE});
    target = {memory.back().data(), bufferSize, &memory.back()};
    return true;
  }
  void Deliver(const FrameTarget& target, const FrameInfo& info) override {
    delivered.push_back({info, *static_cast<Bytes*>(target.cookie)});
  }
  void LeaderSeen(uint64_t) override { ++leaders; }
  void RequestResend(const GigEVision::PacketResend& resend) override {
    requests.push_back(resend);
  }

  // Verbs
  void Send(const Bytes& packet) { assembler->OnPacket(packet, now); }
  void SendData(uint64_t block, uint32_t packet) {
    Send(stream.Data(block, packet, sk_data, static_cast<uint8_t>(block * 16 + packet)));
  }
  void SendLeader(uint64_t block) {
    Send(stream.LeaderOf(block, sk_width, sk_height, 1000 + block));
  }
  void SendTrailer(uint64_t block) { Send(stream.TrailerOf(block, sk_trailer, sk_height)); }
  // A whole frame but for the packets that are left out; 0 is the leader.
  void SendFrame(uint64_t block, std::initializer_list<uint32_t> without = {}) {
    const auto sent = [&](uint32_t packet) {
      return std::ranges::find(without, packet) == without.end();
    };
    if (sent(0)) SendLeader(block);
    for (uint32_t packet = 1; packet < sk_trailer; ++packet) {
      if (sent(packet)) SendData(block, packet);
    }
    if (sent(sk_trailer)) SendTrailer(block);
  }
  void Pass(Clock::duration time) {
    // In the steps in which the receiver thread would call.
    const auto end = now + time;
    while (now < end) {
      now = std::min(end, std::max(now + 100us, assembler->OnTimer(now)));
    }
    assembler->OnTimer(now);
  }
  const AssemblerStatistics& Statistics() const { return assembler->Statistics(); }

  void ExpectWhole(const Delivered& frame, uint64_t block) {
    EXPECT_EQ(frame.info.blockId, block);
    EXPECT_FALSE(frame.info.incomplete);
    EXPECT_EQ(frame.info.filled, sk_width * sk_height);
    for (uint32_t packet = 1; packet < sk_trailer; ++packet) {
      EXPECT_EQ(frame.bytes[(packet - 1) * sk_data], static_cast<uint8_t>(block * 16 + packet));
      EXPECT_EQ(frame.bytes[packet * sk_data - 1], static_cast<uint8_t>(block * 16 + packet));
    }
  }

  Packets::Stream stream;
  size_t bufferSize = sk_width * sk_height;
  size_t freeBuffers = 100;
  std::deque<Bytes> memory;
  std::vector<Delivered> delivered;
  std::vector<GigEVision::PacketResend> requests;
  int leaders = 0;
  Clock::time_point now{1s};
  std::unique_ptr<FrameAssembler> assembler;
};

TEST_F(Assembler, DeliversAWholeFrameWithTheLeadersFieldsAtOnce) {
  for (const bool extended : {false, true}) {
    stream.extended = extended;
    delivered.clear();
    AssemblerSettings settings;
    Build(settings);
    // The extended header is twelve bytes longer, so that the same register holds fewer bytes of
    // data.
    const size_t data = extended ? sk_data - 12 : sk_data;
    Send(stream.LeaderOf(7, 13, 4, 0x1122334455667788));
    Send(stream.Data(7, 1, data, 0xA1));
    Send(stream.TrailerOf(7, 2, 3));
    ASSERT_EQ(delivered.size(), 1u);
    const FrameInfo& info = delivered[0].info;
    EXPECT_TRUE(info.newData);
    EXPECT_FALSE(info.incomplete);
    EXPECT_EQ(info.blockId, 7u);
    EXPECT_EQ(info.timestamp, 0x1122334455667788u);
    EXPECT_EQ(info.pixelFormat, 0x01080001u);
    EXPECT_EQ(info.width, 13u);
    EXPECT_EQ(info.height, 4u);
    EXPECT_EQ(info.deliveredHeight, 3u);
    EXPECT_EQ(info.offsetX, 3u);
    EXPECT_EQ(info.offsetY, 5u);
    EXPECT_EQ(info.filled, 52u);  // the camera filled its last packet beyond the image
    EXPECT_EQ(info.dataSize, 52u);
    EXPECT_EQ(delivered[0].bytes[51], 0xA1);
    EXPECT_EQ(delivered[0].bytes[52], 0xEE);
  }
}

TEST_F(Assembler, PutsPacketsInTheirPlacesInWhateverOrderTheyCome) {
  Build();
  SendTrailer(1);
  for (const uint32_t packet : {8u, 1u, 7u, 2u, 6u, 3u, 5u, 4u}) SendData(1, packet);
  EXPECT_TRUE(delivered.empty());
  SendLeader(1);
  ASSERT_EQ(delivered.size(), 1u);
  ExpectWhole(delivered[0], 1);
  EXPECT_TRUE(requests.empty());
}

TEST_F(Assembler, AsksForEachGapOnceItIsOlderThanTheReorderWindow) {
  Build();
  SendFrame(5, {3, 4, 7});
  Pass(300us);
  EXPECT_TRUE(requests.empty());
  Pass(1ms);
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].blockId, 5u);
  EXPECT_EQ(requests[0].firstPacket, 3u);
  EXPECT_EQ(requests[0].lastPacket, 4u);
  EXPECT_EQ(requests[1].firstPacket, 7u);
  EXPECT_EQ(requests[1].lastPacket, 7u);
  for (const uint32_t packet : {3u, 4u, 7u}) SendData(5, packet);
  ASSERT_EQ(delivered.size(), 1u);
  ExpectWhole(delivered[0], 5);
  EXPECT_EQ(Statistics().resentPackets, 3u);
  EXPECT_EQ(Statistics().lostPackets, 0u);
}

TEST_F(Assembler, AsksForALostLeaderAndForALostEnd) {
  Build();
  SendFrame(1, {0});
  SendFrame(2, {8, sk_trailer});
  SendLeader(3);
  Pass(3ms);
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].blockId, 1u);
  EXPECT_EQ(requests[0].firstPacket, 0u);
  EXPECT_EQ(requests[0].lastPacket, 0u);
  EXPECT_EQ(requests[1].blockId, 2u);
  EXPECT_EQ(requests[1].firstPacket, 8u);
  EXPECT_EQ(requests[1].lastPacket, 0x00FFFFFFu);  // to the end
  SendLeader(1);
  SendData(2, 8);
  SendTrailer(2);
  ASSERT_EQ(delivered.size(), 2u);
  ExpectWhole(delivered[0], 1);
  ExpectWhole(delivered[1], 2);
}

TEST_F(Assembler, AsksForTheEndOfTheNewestFrameAfterAPause) {
  Build();
  SendFrame(1, {sk_trailer});
  Pass(5ms);
  EXPECT_TRUE(requests.empty());
  Pass(20ms);
  ASSERT_FALSE(requests.empty());
  EXPECT_EQ(requests[0].firstPacket, sk_trailer);
}

TEST_F(Assembler, AsksForOnePacketToTellAPauseFromALostEnd) {
  const auto begin = [this](uint64_t block) {
    Build();
    requests.clear();
    SendLeader(block);
    SendData(block, 1);
    Pass(14ms);
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].firstPacket, 2u);
    EXPECT_EQ(requests[0].lastPacket, 2u);
  };
  begin(1);
  stream.status = 0x0100;  // the camera sends it again: it was lost
  SendData(1, 2);
  Pass(1ms);
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[1].firstPacket, 3u);
  EXPECT_EQ(requests[1].lastPacket, 0xFFFFFFu);
  for (uint32_t packet = 3; packet < sk_trailer; ++packet) SendData(1, packet);
  Pass(1ms);
  SendTrailer(1);
  EXPECT_EQ(requests.size(), 2u);
  EXPECT_EQ(Statistics().resentPackets, 8u);
  stream.status = 0;
  begin(2);
  for (uint32_t packet = 2; packet < sk_trailer; ++packet) SendData(2, packet);
  SendTrailer(2);  // it had only paused
  begin(3);
  Send(stream.Refusal(3, 2, 0x8010));  // not yet available
  Pass(8ms);
  EXPECT_EQ(requests.size(), 1u);
  for (uint32_t packet = 2; packet < sk_trailer; ++packet) SendData(3, packet);
  SendTrailer(3);
  EXPECT_EQ(delivered.size(), 3u);
  EXPECT_EQ(Statistics().resentPackets, 0u);
}

TEST_F(Assembler, RepeatsRequestsAFewTimesAndThenGivesTheFrameUp) {
  AssemblerSettings settings;
  settings.resendTries = 3;
  Build(settings);
  SendFrame(1, {4});
  Pass(500ms);
  EXPECT_EQ(requests.size(), 3u);
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_TRUE(delivered[0].info.incomplete);
  EXPECT_EQ(delivered[0].info.filled, 7 * sk_data);
  EXPECT_EQ(delivered[0].info.dataSize, 8 * sk_data);
  EXPECT_EQ(delivered[0].bytes[3 * sk_data], 0xEE);
  EXPECT_EQ(Statistics().lostPackets, 1u);
  // What comes after the frame was given up is late, and does not start it anew.
  SendData(1, 4);
  EXPECT_EQ(Statistics().latePackets, 1u);
  EXPECT_EQ(delivered.size(), 1u);
  EXPECT_EQ(requests.size(), 3u);
}

TEST_F(Assembler, NeverAsksForMoreThanItsShareOfAFrame) {
  AssemblerSettings settings;
  settings.resendTries = 100;
  settings.resendShare = 0.5;
  Build(settings);
  SendFrame(1, {1, 2, 3, 4, 5, 6});
  Pass(5s);
  uint32_t asked = 0;
  for (const auto& request : requests) asked += request.lastPacket - request.firstPacket + 1;
  EXPECT_LE(asked, 64u + 5u + 6u);
  EXPECT_EQ(delivered.size(), 1u);
}

TEST_F(Assembler, WithoutResendDeliversIncompleteSoonAfterTheNextFrameStarts) {
  Build(NoResend());
  SendFrame(1, {2, sk_trailer});
  SendFrame(2);
  EXPECT_TRUE(delivered.empty());  // order is kept
  Pass(10ms);
  ASSERT_EQ(delivered.size(), 2u);
  EXPECT_TRUE(delivered[0].info.incomplete);
  EXPECT_EQ(delivered[0].info.filled, 7 * sk_data);
  ExpectWhole(delivered[1], 2);
  EXPECT_TRUE(requests.empty());
}

TEST_F(Assembler, HoldsNewerFramesUntilTheOlderOneIsWhole) {
  Build();
  SendFrame(1, {5});
  SendFrame(2);
  SendFrame(3);
  EXPECT_TRUE(delivered.empty());
  SendData(1, 5);
  ASSERT_EQ(delivered.size(), 3u);
  for (uint64_t block = 1; block <= 3; ++block) ExpectWhole(delivered[block - 1], block);
}

TEST_F(Assembler, RefusalsEndTheHopeForAFrameAtOnce) {
  struct Case {
    const char* name;
    uint16_t reason;
    uint32_t refused;
    bool givenUp;
  };
  for (const Case& c :
       {Case{"unavailable", 0x800C, 5, true}, Case{"removed with all before", 0x8011, 6, true},
        Case{"not yet available", 0x8010, 5, false}}) {
    SCOPED_TRACE(c.name);
    delivered.clear();
    Build();
    SendFrame(1, {5});
    Pass(2ms);
    Send(stream.Refusal(1, c.refused, c.reason));
    Pass(2ms);
    EXPECT_EQ(delivered.size(), c.givenUp ? 1u : 0u);
    EXPECT_EQ(Statistics().refusedPackets, 1u);
  }
}

TEST_F(Assembler, AsksOnlyForFramesThatTheCameraStillRemembers) {
  AssemblerSettings settings;
  settings.resendWindow = 2;
  Build(settings);
  SendFrame(1, {5});
  SendFrame(2, {5});
  SendFrame(3, {5});
  Pass(5ms);
  for (const auto& request : requests) EXPECT_NE(request.blockId, 1u);
  EXPECT_FALSE(requests.empty());
  ASSERT_GE(delivered.size(), 1u);
  EXPECT_EQ(delivered[0].info.blockId, 1u);
  EXPECT_TRUE(delivered[0].info.incomplete);
}

TEST_F(Assembler, CountsDuplicatesAndLatePacketsWithoutWritingThem) {
  Build();
  SendLeader(1);
  SendData(1, 1);
  Send(stream.Data(1, 1, sk_data, 0x55));
  EXPECT_EQ(Statistics().duplicatePackets, 1u);
  for (uint32_t packet = 2; packet < sk_trailer; ++packet) SendData(1, packet);
  SendTrailer(1);
  Send(stream.Data(1, 2, sk_data, 0x55));
  EXPECT_EQ(Statistics().latePackets, 1u);
  ASSERT_EQ(delivered.size(), 1u);
  ExpectWhole(delivered[0], 1);
}

TEST_F(Assembler, LearnsHowLateReorderedPacketsAre) {
  Build();
  for (uint64_t block = 1; block <= 20; ++block) {
    SendFrame(block, {3});
    Pass(3ms);
    SendData(block, 3);  // the original, late
    if (requests.size() > 0 && requests.back().blockId == block)
      SendData(block, 3);  // and what was asked for
    Pass(1ms);
  }
  EXPECT_EQ(delivered.size(), 20u);
  EXPECT_LE(requests.size(), 6u);
  EXPECT_GT(assembler->ReorderWindow(), 3ms);
}

TEST_F(Assembler, AsksForNothingWhileTheSenderPausesWithinTheKnownDisorder) {
  Build();
  SendFrame(1, {2});
  SendData(1, 2);  // seven packets have overtaken it
  for (const uint32_t packet : {0u, 1u, 2u, 4u, 5u})
    packet == 0 ? SendLeader(2) : SendData(2, packet);
  Pass(8ms);  // far beyond the window, yet only two packets after the gap
  EXPECT_TRUE(requests.empty());
  Pass(8ms);  // a pause that long tells of a loss
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].firstPacket, 3u);
  for (const uint32_t packet : {3u, 6u, 7u, 8u}) SendData(2, packet);
  SendTrailer(2);
  EXPECT_EQ(delivered.size(), 2u);
}

TEST_F(Assembler, DropsAFrameWholeWhenNoBufferIsFree) {
  Build();
  freeBuffers = 0;
  SendLeader(1);
  SendData(1, 1);
  freeBuffers = 1;  // too late for frame 1, which must not be adopted half way
  SendData(1, 2);
  SendFrame(2);
  ASSERT_EQ(delivered.size(), 1u);
  ExpectWhole(delivered[0], 2);
  EXPECT_EQ(Statistics().framesUnderrun, 1u);
  EXPECT_EQ(Statistics().packetsWithoutBuffer, 3u);
  EXPECT_TRUE(requests.empty());
}

TEST_F(Assembler, CountsBlockIdsOfWhichNothingCame) {
  Build();
  SendFrame(1);
  SendFrame(4);
  EXPECT_EQ(Statistics().framesMissed, 2u);
  EXPECT_EQ(delivered.size(), 2u);
}

TEST_F(Assembler, FollowsStandardIdsOverTheirWrapWhichLeavesOutZero) {
  Build();
  SendFrame(65534);
  SendFrame(65535);
  SendFrame(1);
  SendFrame(2);
  ASSERT_EQ(delivered.size(), 4u);
  EXPECT_EQ(delivered[2].info.blockId, 1u);
  EXPECT_EQ(Statistics().framesMissed, 0u);
}

TEST_F(Assembler, FollowsACameraThatStartsCountingAnew) {
  Build();
  SendFrame(40);
  SendFrame(41, {5});
  // The same id range again, with younger leaders.
  Send(stream.LeaderOf(1, sk_width, sk_height, 900000));
  for (uint32_t packet = 1; packet < sk_trailer; ++packet) SendData(1, packet);
  SendTrailer(1);
  ASSERT_EQ(delivered.size(), 3u);
  EXPECT_TRUE(delivered[1].info.incomplete);
  ExpectWhole(delivered[2], 1);
}

TEST_F(Assembler, ALeaderThatComesAfterItsFrameWasGivenUpBeginsNothing) {
  Build();
  SendFrame(1);
  SendFrame(2, {0});
  Pass(3s);
  ASSERT_EQ(delivered.size(), 2u);
  SendLeader(2);  // younger than every leader before
  EXPECT_EQ(Statistics().latePackets, 1u);
  SendFrame(3);
  Pass(3s);
  ASSERT_EQ(delivered.size(), 3u);
  ExpectWhole(delivered[2], 3);
}

TEST_F(Assembler, CutsWhatDoesNotFitTheBufferAndSaysSo) {
  bufferSize = 3 * sk_data + 10;
  Build();
  SendFrame(1);
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_TRUE(delivered[0].info.largerThanBuffer);
  EXPECT_TRUE(delivered[0].info.incomplete);
  EXPECT_EQ(delivered[0].info.filled, bufferSize);
  EXPECT_EQ(delivered[0].info.dataSize, 8 * sk_data);
}

TEST_F(Assembler, KeepsTheGeometryWhenALeaderIsLostForGood) {
  Build(NoResend());
  SendFrame(1);
  SendFrame(2, {0});
  SendFrame(3);
  Pass(10ms);
  ASSERT_EQ(delivered.size(), 3u);
  EXPECT_TRUE(delivered[1].info.incomplete);
  EXPECT_EQ(delivered[1].info.width, sk_width);
  EXPECT_EQ(delivered[1].info.filled, 8 * sk_data);
  EXPECT_EQ(delivered[1].info.blockId, 2u);
}

TEST_F(Assembler, TakesChunkLengthAndLayoutFromTheTrailer) {
  Build();
  Send(stream.LeaderOf(1, 16, 2, 5, 0x4001));
  Send(stream.Data(1, 1, 48, 0x11));
  Send(stream.ChunkTrailerOf(1, 2, 2, 48, 77));
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_FALSE(delivered[0].info.incomplete);
  EXPECT_EQ(delivered[0].info.wireType, 0x4001);
  EXPECT_EQ(delivered[0].info.chunkSize, 48u);
  EXPECT_EQ(delivered[0].info.chunkLayoutId, 77u);
  EXPECT_EQ(delivered[0].info.dataSize, 48u);
  EXPECT_EQ(delivered[0].info.filled, 48u);
}

TEST_F(Assembler, TakesTheLengthOfACompressedImageFromWhatComes) {
  Build();
  Bytes leader = stream.LeaderOf(1, 4, 2);
  leader[8 + 12] = 0x82, leader[8 + 13] = 0x18, leader[8 + 14] = 0x0A,
             leader[8 + 15] = 0x01;  // QOI_RGB8
  Send(leader);
  Send(stream.Data(1, 1, sk_data, 1));
  Send(stream.Data(1, 2, 10, 2));
  Send(stream.TrailerOf(1, 3, 2));
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_FALSE(delivered[0].info.incomplete);
  EXPECT_EQ(delivered[0].info.filled, sk_data + 10);
  EXPECT_EQ(delivered[0].info.dataSize, sk_data + 10);
}

TEST_F(Assembler, TakesAFrameThatComesInOnePacket) {
  Build();
  Bytes packet = stream.Header(9, Packets::AllIn, 0);
  Packets::Stream::ImageLeader(packet, 1, 55, 16, 2);
  Packets::Put(packet, 0, 2);
  Packets::Put(packet, 1, 2);
  Packets::Put(packet, 2, 4);
  packet.insert(packet.end(), 32, 0x77);
  Send(packet);
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_FALSE(delivered[0].info.incomplete);
  EXPECT_EQ(delivered[0].info.filled, 32u);
  EXPECT_EQ(delivered[0].bytes[31], 0x77);
}

// Two parts of 96 and 40 bytes and a chunk part of 16; the leader may be lost at first.
TEST_F(Assembler, PutsThePartsOfAFrameOneBehindTheOther) {
  stream.extended = true;
  const auto part = [](Bytes& out, uint16_t type, uint64_t length, uint32_t width) {
    Packets::Put(out, type, 2), Packets::Put(out, length, 6);
    Packets::Put(out, 0x01080001, 4), Packets::Put(out, 0, 2);
    out.push_back(7), out.push_back(0);                    // source, zones
    Packets::Put(out, 0, 4);                               // directions
    Packets::Put(out, 4, 2), Packets::Put(out, 9, 2);      // purpose, region
    Packets::Put(out, width, 4), Packets::Put(out, 4, 4);  // sizes
    Packets::Put(out, 1, 4), Packets::Put(out, 2, 4);      // offsets
    Packets::Put(out, 0, 8);                               // paddings, reserved
  };
  const auto piece = [this](uint64_t block, uint32_t packet, uint8_t id, uint64_t offset,
                            size_t count) {
    Bytes out = stream.Header(block, static_cast<Packets::Format>(7), packet);
    out.push_back(id), out.push_back(0);
    Packets::Put(out, offset, 6);
    out.insert(out.end(), count, static_cast<uint8_t>(packet));
    return out;
  };
  Build();
  for (const uint64_t block : {1, 2}) {
    Bytes leader = stream.Header(block, Packets::Leader, 0);
    Packets::Put(leader, 10, 4), Packets::Put(leader, 77, 8);
    part(leader, 1, 96, 24), part(leader, 0x000B, 40, 10), part(leader, 10, 16, 0);
    Bytes trailer = stream.Header(block, Packets::Trailer, 6);
    Packets::Put(trailer, 10, 4);
    for (const auto& [type, length] : {std::pair{1, 96}, {11, 33}, {10, 16}})
      Packets::Put(trailer, static_cast<uint64_t>(type), 2),
          Packets::Put(trailer, static_cast<uint64_t>(length), 6),
          Packets::Put(trailer, uint64_t{4} << 32, 8);
    if (block == 1) Send(leader);
    Send(piece(block, 1, 0, 0, 48));
    Send(piece(block, 3, 1, 0, 33));
    Send(piece(block, 2, 0, 48, 48));
    Send(piece(block, 4, 2, 0, 16));
    Send(piece(block, 5, 0, 90, 7));  // over the end of its part
    Send(piece(block, 5, 3, 0, 1));   // no such part
    Send(piece(block, 5, 1, 39, 1));
    Send(trailer);
    if (block == 2) Send(leader);
  }
  ASSERT_EQ(delivered.size(), 2u);
  EXPECT_EQ(Statistics().malformedPackets, 4u);
  for (const Delivered& frame : delivered) {
    EXPECT_FALSE(frame.info.incomplete);
    ASSERT_EQ(frame.info.partCount, 2u);
    EXPECT_EQ(frame.info.dataSize, 152u);
    EXPECT_EQ(frame.info.chunkOffset, 136u);
    EXPECT_EQ(frame.info.chunkSize, 16u);
    EXPECT_EQ(frame.info.parts[1].offset, 96u);
    EXPECT_EQ(frame.info.parts[1].sent, 33u);
    for (const auto& [at, value] : {std::pair{0, 1},
                                    {47, 1},
                                    {48, 2},
                                    {95, 2},
                                    {96, 3},
                                    {128, 3},
                                    {135, 5},
                                    {136, 4},
                                    {151, 4}})
      EXPECT_EQ(frame.bytes[static_cast<size_t>(at)], value) << at;
  }
  StreamBuffer buffer(nullptr, delivered[0].bytes.data(), delivered[0].bytes.size(), nullptr);
  buffer.frame = delivered[0].info;
  ASSERT_EQ(buffer.PartCount(), 2u);
  const auto ask = [&](uint32_t index, GenTL::BUFFER_PART_INFO_CMD command) {
    uint64_t value = 0;
    size_t size = sizeof value;
    GenTL::INFO_DATATYPE type;
    buffer.PartInfo(index, command, InfoQuery(&type, &value, &size));
    return value;
  };
  using namespace GenTL;
  const struct {
    uint32_t part;
    BUFFER_PART_INFO_CMD command;
    uint64_t value;
  } rows[] = {{0, BUFFER_PART_INFO_DATA_TYPE, 1},
              {1, BUFFER_PART_INFO_DATA_TYPE, PART_DATATYPE_JPEG},
              {1, BUFFER_PART_INFO_BASE, reinterpret_cast<uint64_t>(buffer.Base()) + 96},
              {1, BUFFER_PART_INFO_DATA_SIZE, 33},
              {0, BUFFER_PART_INFO_WIDTH, 24},
              {0, BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT, 4},
              {0, BUFFER_PART_INFO_YOFFSET, 2},
              {0, BUFFER_PART_INFO_DATA_FORMAT, 0x01080001},
              {0, BUFFER_PART_INFO_SOURCE_ID, 7},
              {0, BUFFER_PART_INFO_DATA_PURPOSE_ID, 4},
              {0, BUFFER_PART_INFO_REGION_ID, 9}};
  for (const auto& row : rows) EXPECT_EQ(ask(row.part, row.command), row.value) << row.command;
  EXPECT_EQ(Guard([&] { ask(2, BUFFER_PART_INFO_BASE); }), GC_ERR_INVALID_INDEX);
  EXPECT_EQ(Guard([&] { ask(1, BUFFER_PART_INFO_WIDTH); }), GC_ERR_NOT_AVAILABLE);
}

TEST_F(Assembler, AdoptsTheDataSizeOfACameraThatRoundedItUp) {
  bufferSize = 1024;
  Build();
  Send(stream.LeaderOf(1, 80, 3));
  Send(stream.Data(1, 1, 80, 1));
  Send(stream.Data(1, 2, 80, 2));
  Send(stream.Data(1, 3, 80, 3));
  Send(stream.TrailerOf(1, 4, 3));
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_FALSE(delivered[0].info.incomplete);
  EXPECT_EQ(delivered[0].bytes[80], 2);
  EXPECT_EQ(delivered[0].bytes[239], 3);
}

TEST_F(Assembler, SurvivesWhateverIsNoPacketOfThisStream) {
  Build(NoResend());
  SendLeader(1);
  const std::vector<Bytes> strange = {
      {},
      {0, 0, 0},
      Bytes(8, 0),                                            // test packet
      Bytes{0, 0, 0, 1, 0x83, 0, 0, 1},                       // extended ids, cut short
      stream.Header(1, Packets::Leader, 0),                   // a leader without content
      stream.Header(1, static_cast<Packets::Format>(15), 4),  // no such format
      stream.Data(1, 0xFFFFFF, sk_data, 9),                   // beyond any buffer
      stream.Data(1, 3, 4 * sk_data, 9),                      // larger than the first packet
      stream.Header(1, Packets::Trailer, 0),
  };
  SendData(1, 1);
  for (const Bytes& packet : strange) Send(packet);
  for (uint32_t packet = 2; packet < sk_trailer; ++packet) SendData(1, packet);
  SendTrailer(1);
  ASSERT_EQ(delivered.size(), 1u);
  ExpectWhole(delivered[0], 1);
  EXPECT_GE(Statistics().malformedPackets, 6u);
  EXPECT_EQ(Statistics().testPackets, 1u);
}

TEST_F(Assembler, KeepsAFrameOpenWhilePacketsComeSlowly) {
  Build();
  SendLeader(1);
  for (uint32_t packet = 1; packet < sk_trailer; ++packet) {
    Pass(150ms);
    SendData(1, packet);
  }
  EXPECT_TRUE(delivered.empty());
  SendTrailer(1);
  ASSERT_EQ(delivered.size(), 1u);
  ExpectWhole(delivered[0], 1);
}

TEST_F(Assembler, AbortDeliversWhatIsBegunAndDrainStartsNothingNew) {
  Build();
  SendFrame(1, {3});
  assembler->Drain();
  SendFrame(2);
  assembler->Abort();
  ASSERT_EQ(delivered.size(), 1u);
  EXPECT_TRUE(delivered[0].info.incomplete);
  EXPECT_TRUE(assembler->Idle());
}

}  // namespace
}  // namespace OrvexGev
