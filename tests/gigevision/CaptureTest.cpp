// SPDX-License-Identifier: Apache-2.0
// Decoders over recorded traffic of other implementations (tests/data/pcap).
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "gigevision/Bootstrap.h"
#include "gigevision/Gvsp.h"
#include "gigevision/XmlUrl.h"
#include "tests/Places.h"

using namespace GigEVision;
using Bytes = std::vector<uint8_t>;

namespace {

struct Datagram {
  uint16_t from = 0, to = 0;
  Bytes payload;
};

uint32_t Le32(const uint8_t* p) {
  uint32_t value;
  std::memcpy(&value, p, 4);
  return value;
}

// The UDP datagrams of a capture with Ethernet frames (little-endian pcapng, enhanced packet
// blocks).
std::vector<Datagram> ReadCapture(const std::string& name) {
  std::ifstream file(std::string(places::sk_sourceDir) + "/tests/data/pcap/" + name,
                     std::ios::binary);
  const Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<Datagram> result;
  for (size_t at = 0; at + 12 <= bytes.size();) {
    const uint32_t type = Le32(&bytes[at]), length = Le32(&bytes[at + 4]);
    if (length < 12 || length > bytes.size() - at) break;
    if (type == 6) {
      const uint8_t* ip = &bytes[at + 28 + 14];
      const uint8_t* udp = ip + (ip[0] & 15) * 4;
      if (ip[9] == 17)
        result.push_back(
            {LoadBe16(udp), LoadBe16(udp + 2), Bytes(udp + 8, udp + LoadBe16(udp + 4))});
    }
    at += length;
  }
  return result;
}

struct Frame {
  std::optional<Leader> leader;
  std::optional<Trailer> trailer;
  std::map<uint32_t, Bytes> packets;
  uint32_t trailerId = 0;
};

struct Summary {
  size_t commands = 0, acks = 0, undecoded = 0, tests = 0;
  std::set<std::pair<uint16_t, uint16_t>> answered;
  std::map<uint64_t, Frame> frames;
  std::vector<DiscoveryAck> found;
  std::vector<PacketResend> resends;
  std::map<uint32_t, Bytes> memory;
};

Summary Summarise(const std::vector<Datagram>& capture) {
  Summary summary;
  for (const Datagram& datagram : capture) {
    if (datagram.to == sk_gvcpPort) {
      const auto command = DecodeCommand(datagram.payload);
      if (!command) {
        ++summary.undecoded;
        continue;
      }
      ++summary.commands;
      bool good = true;
      switch (command->header.command) {
        case Command::ReadReg:
          good = DecodeReadReg(command->payload).has_value();
          break;
        case Command::WriteReg:
          good = DecodeWriteReg(command->payload).has_value();
          break;
        case Command::ReadMem:
          good = DecodeReadMem(command->payload).has_value();
          break;
        case Command::PacketResend:
          summary.resends.push_back(DecodePacketResend(*command).value());
          break;
        default:
          break;
      }
      summary.undecoded += !good;
    } else if (datagram.from == sk_gvcpPort) {
      const auto ack = DecodeAck(datagram.payload);
      if (!ack) {
        ++summary.undecoded;
        continue;
      }
      ++summary.acks;
      if (ack->header.ack == Ack::Discovery)
        summary.found.push_back(DecodeDiscoveryAck(ack->payload).value());
      if (ack->header.ack == Ack::ReadMem) {
        const Memory memory = DecodeReadMemAck(ack->payload).value();
        summary.memory[memory.address] = Bytes(memory.data.begin(), memory.data.end());
      }
    } else if (const auto header = DecodePacketHeader(datagram.payload)) {
      const auto content = std::span(datagram.payload).subspan(header->Size());
      // Camera B fills its test packet with a count from 0, header included: it reads as an all-in
      // packet.
      if (header->blockId == 0 || header->format == PacketFormat::AllIn) {
        ++summary.tests;
        continue;
      }
      Frame& frame = summary.frames[header->blockId];
      if (header->format == PacketFormat::Leader) frame.leader = DecodeLeader(content);
      if (header->format == PacketFormat::Payload)
        frame.packets[header->packetId] = Bytes(content.begin(), content.end());
      if (header->format == PacketFormat::Trailer) {
        frame.trailer = DecodeTrailer(content);
        frame.trailerId = header->packetId;
      }
    } else {
      ++summary.undecoded;
    }
  }
  return summary;
}

void ExpectWholeFrames(const Summary& summary, size_t count, uint32_t trailerLines) {
  EXPECT_EQ(summary.frames.size(), count);
  for (const auto& [id, frame] : summary.frames) {
    ASSERT_TRUE(frame.leader && frame.trailer) << id;
    EXPECT_EQ(frame.leader->Type(), PayloadType::Image);
    EXPECT_EQ(frame.leader->image.pixelFormat, 0x01080001u);
    EXPECT_EQ(frame.leader->image.sizeX, 64u);
    EXPECT_EQ(frame.leader->image.sizeY, 64u);
    EXPECT_EQ(frame.trailer->sizeY, trailerLines);
    EXPECT_EQ(frame.packets.size() + 1, frame.trailerId) << id;
    size_t bytes = 0;
    for (const auto& [packet, data] : frame.packets) bytes += data.size();
    EXPECT_EQ(bytes, 64u * 64u) << id;
  }
}

TEST(Capture, OfClientAndCameraA) {
  const auto capture = ReadCapture("client_a_camera_a_64x64.pcapng");  // the summary looks into it
  const Summary summary = Summarise(capture);
  EXPECT_EQ(summary.undecoded, 0u);
  EXPECT_EQ(summary.commands, 81u);
  EXPECT_EQ(summary.acks, 81u);
  ASSERT_EQ(summary.found.size(), 1u);
  EXPECT_EQ(summary.found[0].ip, 0xC0A84D02u);
  EXPECT_EQ(summary.found[0].serial, "GV02");
  ExpectWholeFrames(summary, 21, 0);  // this camera leaves the trailer's line count out
  // The description's place, then the description itself, came in 512-byte reads.
  const Bytes& urlField = summary.memory.at(Bootstrap::sk_firstUrl);
  const auto url = ParseXmlUrl(
      std::string_view(reinterpret_cast<const char*>(urlField.data()), urlField.size()));
  ASSERT_TRUE(url);
  EXPECT_EQ(url->address, 0x10000u);
  EXPECT_EQ(std::string(summary.memory.at(0x10000).begin(), summary.memory.at(0x10000).begin() + 5),
            "<?xml");
}

TEST(Capture, OfProducerAndCameraB) {
  const auto capture = ReadCapture("producer_b_camera_b.pcapng");  // the summary looks into it
  const Summary summary = Summarise(capture);
  EXPECT_EQ(summary.undecoded, 0u);
  EXPECT_EQ(summary.commands, 96u);
  EXPECT_EQ(summary.acks, 90u);
  ASSERT_EQ(summary.found.size(), 3u);
  EXPECT_EQ(summary.found[0].versionMajor, 2);
  EXPECT_EQ(summary.found[0].mac, 0x6A86AECBB7B2u);
  EXPECT_EQ(summary.found[0].serial, "P0001");
  EXPECT_EQ(summary.tests, 1u);
  ExpectWholeFrames(summary, 11, 64);
  ASSERT_EQ(summary.resends.size(), 5u);
  EXPECT_EQ(summary.resends[3].blockId, 4u);
  EXPECT_EQ(summary.resends[3].firstPacket, 9u);
  EXPECT_EQ(summary.resends[3].lastPacket, sk_toLastPacketExtended);
}

}  // namespace
