// SPDX-License-Identifier: Apache-2.0
#include "gigevision/TcpStream.h"

#include <gtest/gtest.h>

#include <array>

#include "Hex.h"

using namespace GigEVision;

TEST(TcpStream, GreetingsStandAsWrittenDown) {
  const auto hello = Hex("4F545331 0001 0000 DEADBEEF 0000 0000");
  const auto decoded = DecodeTcpHello(hello);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->major, 1);
  EXPECT_EQ(decoded->key, 0xDEADBEEF);
  EXPECT_EQ(decoded->channel, 0);
  std::vector<uint8_t> out(sk_tcpGreetingSize);
  EXPECT_EQ(EncodeTcpHello(out, {1, 0, 0xDEADBEEF, 0}), 16u);
  EXPECT_EQ(out, hello);

  const auto welcome = Hex("4F545331 0001 0002 8006 0000 00010000");
  const auto answer = DecodeTcpWelcome(welcome);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->minor, 2);
  EXPECT_EQ(answer->status, Status::AccessDenied);
  EXPECT_EQ(answer->maxContent, 0x10000u);
  EXPECT_EQ(EncodeTcpWelcome(out, {1, 2, Status::AccessDenied, 0x10000}), 16u);
  EXPECT_EQ(out, welcome);

  EXPECT_FALSE(DecodeTcpHello(Hex("4F545332 0001 0000 DEADBEEF 0000 0000")));
  EXPECT_FALSE(DecodeTcpWelcome(Hex("4F545331 0001 0000 0000 0000 0000")));
}

TEST(TcpStream, RecordHeadersStandAsWrittenDown) {
  // 20 bytes of header and 36 of an image leader, block 0x0102030405060708.
  const auto bytes = Hex("00000038 0000 0002 81 000000 0102030405060708 00000000");
  const auto header = DecodeTcpRecordHeader(bytes);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->packet.format, PacketFormat::Leader);
  EXPECT_EQ(header->packet.flags, sk_gvspFlagPreviousDropped);
  EXPECT_EQ(header->packet.blockId, 0x0102030405060708u);
  EXPECT_EQ(header->contentSize, 36u);
  std::vector<uint8_t> out(sk_tcpRecordHeaderSize);
  EXPECT_EQ(EncodeTcpRecordHeader(out, *header), 24u);
  EXPECT_EQ(out, bytes);
}

TEST(TcpStream, RefusesRecordsThatCannotBeFollowed) {
  for (const char* text : {
           "00000013 0000 0000 83 000000 0000000000000001 00000001",  // shorter than its header
           "00100015 0000 0000 83 000000 0000000000000001 00000001",  // more than a record holds
           "00000038 0000 0000 03 000000 0000000000000001 00000001",  // standard ids
           "00000038 0000 0000 83 000000 0000000000000001 0000",
       }) {
    EXPECT_FALSE(DecodeTcpRecordHeader(Hex(text))) << text;
  }
  EXPECT_TRUE(DecodeTcpRecordHeader(Hex("00100014 0000 0000 83 000000 0000000000000001 00000001")));
  std::array<uint8_t, sk_tcpRecordHeaderSize> out;
  EXPECT_EQ(EncodeTcpRecordHeader(out, {{}, sk_tcpMaxContent + 1}), 0u);
}
