// SPDX-License-Identifier: Apache-2.0
// The engines over sockets of this machine: whatever order and company packets come in, each byte
// gets to its place as if they had come one by one.
#include "producer/PacketSource.h"

#include <gtest/gtest.h>
#include <netinet/udp.h>
#include <sys/socket.h>

#include <deque>
#include <random>

#include "Packets.h"
#include "producer/FrameAssembler.h"

namespace OrvexGev {
namespace {

using Packets::Bytes;

constexpr size_t sk_packetSize = 1500;
constexpr uint32_t sk_width = 1000, sk_height = 97;

// Frames as they are delivered, one behind the other.
struct Collector final : FrameSink {
  bool Take(FrameTarget& target) override {
    memory.emplace_back(size_t{sk_width} * sk_height, uint8_t{0});
    target = {memory.back().data(), memory.back().size(), &memory.back()};
    return true;
  }
  void Deliver(const FrameTarget& target, const FrameInfo& info) override {
    if (!info.incomplete) frames.push_back(*static_cast<Bytes*>(target.cookie));
    blocks.push_back(info.incomplete ? 0 : info.blockId);
  }
  void LeaderSeen(uint64_t) override {}
  void RequestResend(const GigEVision::PacketResend&) override {}

  std::deque<Bytes> memory;
  std::vector<Bytes> frames;
  std::vector<uint64_t> blocks;
};

AssemblerSettings Settings() {
  AssemblerSettings settings;
  settings.packetSize = sk_packetSize;
  settings.largestBuffer = size_t{sk_width} * sk_height;
  return settings;
}

std::vector<Bytes> FrameOf(uint64_t block, bool extended) {
  Packets::Stream stream;
  stream.extended = extended;
  const size_t data = sk_packetSize - 28 - (extended ? 20 : 8);
  const size_t bytes = size_t{sk_width} * sk_height;
  std::vector<Bytes> packets{stream.LeaderOf(block, sk_width, sk_height, 1000 * block)};
  for (size_t at = 0; at < bytes; at += data) {
    const auto id = static_cast<uint32_t>(packets.size());
    packets.push_back(
        stream.Data(block, id, std::min(data, bytes - at), static_cast<uint8_t>(block * 37 + id)));
  }
  packets.push_back(stream.TrailerOf(block, static_cast<uint32_t>(packets.size()), sk_height));
  return packets;
}

struct Company {
  const char* name;
  Engine engine;
  bool extended;
  size_t train;  // packets that the sender joins
};
void PrintTo(const Company& company, std::ostream* out) {
  *out << company.name;
}

class Engines : public testing::TestWithParam<Company> {
 protected:
  // Neighbours of equal length as one message.
  void Send(const std::vector<Bytes>& packets) {
    for (size_t at = 0; at < packets.size();) {
      Bytes joined = packets[at];
      size_t count = 1;
      while (count < GetParam().train && at + count < packets.size() &&
             packets[at + count].size() == packets[at].size() &&
             joined.size() + packets[at].size() < 65000) {
        joined.insert(joined.end(), packets[at + count].begin(), packets[at + count].end());
        ++count;
      }
      const int segment = count > 1 ? static_cast<int>(packets[at].size()) : 0;
      ASSERT_EQ(setsockopt(m_sender.Fd(), SOL_UDP, UDP_SEGMENT, &segment, sizeof segment), 0);
      ASSERT_EQ(send(m_sender.Fd(), joined.data(), joined.size(), 0),
                static_cast<ssize_t>(joined.size()));
      at += count;
    }
  }

  UdpSocket m_receiver = UdpSocket::Bound({0x7F000001, 0});
  UdpSocket m_sender = UdpSocket::Bound({0x7F000001, 0});
};

TEST_P(Engines, PutEveryByteWhereItBelongs) {
  SetReceiveBuffer(m_receiver, 8 << 20);
  m_sender.Connect({0x7F000001, m_receiver.LocalPort()});
  const auto source = GetParam().engine == Engine::Offload
                          ? MakeOffloadSource(m_receiver)
                          : MakeSocketSource(m_receiver, sk_packetSize + 512);
  ASSERT_NE(source, nullptr);
  Collector taken, expected;
  FrameAssembler assembler(Settings(), taken), judge(Settings(), expected);
  std::mt19937 random(1);
  const auto now = Clock::now();
  uint64_t sent = 0;
  const auto drain = [&] {
    while (source->Drain(assembler) != Drained::Nothing) {
    }
  };
  for (uint64_t block = 1; block <= 60; ++block) {
    std::vector<Bytes> packets = FrameOf(block, GetParam().extended);
    // From no disorder at all to a good deal; what was lost comes after the rest.
    for (uint64_t i = 0; i < block % 5 * 3; ++i) {
      const size_t from = 1 + random() % (packets.size() - 2),
                   to = 1 + random() % (packets.size() - 2);
      if (i % 3 == 0) std::swap(packets[from], packets[to]);
      if (i % 3 == 1) packets.insert(packets.begin() + static_cast<ptrdiff_t>(to), packets[from]);
      if (i % 3 == 2) {
        packets.push_back(packets[from]);
        packets.erase(packets.begin() + static_cast<ptrdiff_t>(from));
      }
    }
    for (const Bytes& packet : packets) judge.OnPacket(packet, now);
    sent += packets.size();
    const auto part = packets.begin() + 1 + static_cast<ptrdiff_t>(random() % (packets.size() - 1));
    Send({packets.begin(), part});
    if (block % 3 == 0) drain();  // several frames wait at once, and parts of them
    Send({part, packets.end()});
    if (block % 4 == 0) drain();
  }
  drain();
  EXPECT_EQ(assembler.Statistics().packets, sent);
  EXPECT_EQ(taken.blocks, expected.blocks);
  EXPECT_EQ(taken.frames.size(), 60u);
  EXPECT_TRUE(taken.frames == expected.frames);
  EXPECT_EQ(assembler.Statistics().duplicatePackets, judge.Statistics().duplicatePackets);
}

INSTANTIATE_TEST_SUITE_P(Companies, Engines,
                         testing::Values(Company{"SocketsOneByOne", Engine::Sockets, false, 1},
                                         Company{"OffloadOneByOne", Engine::Offload, false, 1},
                                         Company{"OffloadShortTrains", Engine::Offload, true, 7},
                                         Company{"OffloadTrains", Engine::Offload, false, 44}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace OrvexGev
