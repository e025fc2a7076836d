// SPDX-License-Identifier: Apache-2.0
#include "gigevision/Gvsp.h"

#include <gtest/gtest.h>

#include <ostream>

#include "Hex.h"
#include "gigevision/Chunk.h"

using namespace GigEVision;
using Bytes = std::vector<uint8_t>;

namespace {

template <typename Encode>
Bytes Encoded(const Encode& encode) {
  Bytes out(1000, 0xAA);
  out.resize(encode(std::span<uint8_t>(out)));
  return out;
}

// ---- packet headers ----
struct HeaderRow {
  const char* name;
  const char* bytes;
  PacketHeader header;
};
void PrintTo(const HeaderRow& row, std::ostream* out) {
  *out << row.name;
}

const HeaderRow sk_headers[] = {
    {"Leader", "0000 0001 01 000000", {Status::Success, PacketFormat::Leader, false, 0, 0, 1, 0}},
    {"LastStandardIds",
     "0000 FFFF 03 FFFFFF",
     {Status::Success, PacketFormat::Payload, false, 0, 0, 0xFFFF, 0xFFFFFF}},
    {"Resent",
     "0100 0004 03 000006",
     {Status::PacketResend, PacketFormat::Payload, false, 0, 0, 4, 6}},
    {"Unavailable",
     "800C 0004 03 000006",
     {Status::PacketUnavailable, PacketFormat::Payload, false, 0, 0, 4, 6}},
    {"ExtendedTrailer",
     "0000 0000 82 000000 0000000100000002 01000003",
     {Status::Success, PacketFormat::Trailer, true, 0, 0, 0x100000002, 0x01000003}},
    {"ExtendedResentLeaderOfThreeParts",
     "0000 0003 81 000003 0000000000000001 00000000",
     {Status::Success, PacketFormat::Leader, true, 3, 3, 1, 0}},
};

class GvspHeader : public testing::TestWithParam<HeaderRow> {};

TEST_P(GvspHeader, HasItsLayoutBothWays) {
  const Bytes bytes = Hex(GetParam().bytes);
  const PacketHeader& want = GetParam().header;
  EXPECT_EQ(Encoded([&](auto out) { return EncodePacketHeader(out, want); }), bytes);
  const auto got = DecodePacketHeader(bytes);
  ASSERT_TRUE(got);
  EXPECT_EQ(got->status, want.status);
  EXPECT_EQ(got->format, want.format);
  EXPECT_EQ(got->extendedIds, want.extendedIds);
  EXPECT_EQ(got->flags, want.flags);
  EXPECT_EQ(got->partCount, want.partCount);
  EXPECT_EQ(got->blockId, want.blockId);
  EXPECT_EQ(got->packetId, want.packetId);
  EXPECT_EQ(got->Size(), bytes.size());
  for (size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(DecodePacketHeader({bytes.data(), size})) << size;
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, GvspHeader, testing::ValuesIn(sk_headers),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(GvspHeaderMarks, TellResentPacketsApart) {
  EXPECT_TRUE(DecodePacketHeader(Hex("0100 0004 03 000006"))->Resent());
  EXPECT_TRUE(DecodePacketHeader(Hex("0000 0001 83 000000 (00 x 7) 01 00000002"))->Resent());
  EXPECT_FALSE(DecodePacketHeader(Hex("0000 0001 03 000001"))->Resent())
      << "with standard ids these bits are the block";
}

TEST(GvspIds, WrapWithoutZero) {
  EXPECT_EQ(NextBlockId(0xFFFF, false), 1u);
  EXPECT_EQ(NextBlockId(0xFFFF, true), 0x10000u);
  EXPECT_EQ(NextBlockId(0xFFFFFFFFFFFFFFFF, true), 1u);
}

TEST(GvspSizes, FollowFromThePacketSizeRegister) {
  EXPECT_EQ(DataPerPacket(1500, false), 1464u);
  EXPECT_EQ(DataPerPacket(1500, true), 1452u);
  EXPECT_EQ(DataPerPacket(1500, true, PacketFormat::PayloadMultiPart), 1444u);
  EXPECT_EQ(DataPerPacket(1500, true, PacketFormat::PayloadGenDc), 1436u);
  EXPECT_EQ(DataPerPacket(36, false), 0u);
}

// ---- leaders ----
const char* const sk_imageLeader =
    "0000 0001 0000000100000002 01080001 00000500 00000400 00000010 00000020 0003 0004";

struct LeaderRow {
  const char* name;
  const char* bytes;
  Leader leader;
};
void PrintTo(const LeaderRow& row, std::ostream* out) {
  *out << row.name;
}

Leader MakeLeader(
    uint16_t type, uint64_t timestamp, void (*more)(Leader&) = [](Leader&) {}) {
  Leader leader;
  leader.payloadType = type;
  leader.timestamp = timestamp;
  more(leader);
  return leader;
}
void Image(Leader& leader) {
  leader.image = {0x01080001, 1280, 1024, 16, 32, 3, 4};
}

const LeaderRow sk_leaders[] = {
    {"Image", sk_imageLeader, MakeLeader(1, 0x100000002, Image)},
    {"ImageWithChunks",
     "0000 4001 0000000100000002 01080001 00000500 00000400 00000010 00000020 0003 0004",
     MakeLeader(0x4001, 0x100000002, Image)},
    {"ExtendedChunk",
     "0000 0005 0000000100000002 01080001 00000500 00000400 00000010 00000020 0003 0004",
     MakeLeader(5, 0x100000002, Image)},
    {"Chunk", "0000 0004 0000000100000002", MakeLeader(4, 0x100000002)},
    {"Raw", "0000 0002 0000000000000007 0000000000001000",
     MakeLeader(2, 7, [](Leader& l) { l.payloadSize = 4096; })},
    {"File", "0000 0003 0000000000000007 0000000000001000 612E6200",
     MakeLeader(3, 7,
                [](Leader& l) {
                  l.payloadSize = 4096;
                  l.fileName = "a.b";
                })},
    {"Jpeg", "0000 0006 0000000000000007 0000000000001000 000000003B9ACA00 00000001",
     MakeLeader(6, 7,
                [](Leader& l) {
                  l.payloadSize = 4096;
                  l.tickFrequency = 1000000000;
                  l.dataFormat = 1;
                })},
    {"MultiZone",
     "0000 0009 0000000000000007 80000000 01080001 00000500 00000400 00000010 00000020 0003 0004",
     MakeLeader(9, 7,
                [](Leader& l) {
                  l.zoneDirections = 0x80000000;
                  Image(l);
                })},
    {"GenDc", "0000 000B 0000000000000007 0000000000002000 80 000000 00000120",
     MakeLeader(11, 7,
                [](Leader& l) {
                  l.payloadSize = 8192;
                  l.genDcFlags = 0x80;
                  l.genDcDescriptorSize = 288;
                })},
    {"InterlacedImage",
     "21 00 0001 0000000000000007 01080001 00000500 00000400 00000010 00000020 0003 0004",
     MakeLeader(1, 7,
                [](Leader& l) {
                  l.fieldId = 2;
                  l.fieldCount = 1;
                  Image(l);
                })},
};

class GvspLeader : public testing::TestWithParam<LeaderRow> {};

TEST_P(GvspLeader, HasItsLayoutBothWays) {
  const Bytes bytes = Hex(GetParam().bytes);
  const Leader& want = GetParam().leader;
  EXPECT_EQ(Encoded([&](auto out) { return EncodeLeader(out, want); }), bytes);
  const auto got = DecodeLeader(bytes);
  ASSERT_TRUE(got);
  EXPECT_EQ(got->payloadType, want.payloadType);
  EXPECT_EQ(got->timestamp, want.timestamp);
  EXPECT_EQ(got->image.pixelFormat, want.image.pixelFormat);
  EXPECT_EQ(got->image.sizeX, want.image.sizeX);
  EXPECT_EQ(got->image.sizeY, want.image.sizeY);
  EXPECT_EQ(got->image.offsetX, want.image.offsetX);
  EXPECT_EQ(got->image.offsetY, want.image.offsetY);
  EXPECT_EQ(got->image.paddingX, want.image.paddingX);
  EXPECT_EQ(got->image.paddingY, want.image.paddingY);
  EXPECT_EQ(got->payloadSize, want.payloadSize);
  EXPECT_EQ(got->fileName, want.fileName);
  EXPECT_EQ(got->tickFrequency, want.tickFrequency);
  EXPECT_EQ(got->dataFormat, want.dataFormat);
  EXPECT_EQ(got->zoneDirections, want.zoneDirections);
  EXPECT_EQ(got->genDcFlags, want.genDcFlags);
  EXPECT_EQ(got->genDcDescriptorSize, want.genDcDescriptorSize);
  EXPECT_EQ(got->fieldId, want.fieldId);
  EXPECT_EQ(got->fieldCount, want.fieldCount);
  // A file's name may end early, so only what comes before it is asked for.
  const size_t fixed = want.Type() == PayloadType::File ? 20 : bytes.size();
  for (size_t size = 0; size < fixed; ++size)
    EXPECT_FALSE(DecodeLeader({bytes.data(), size})) << size;
}

INSTANTIATE_TEST_SUITE_P(Layouts, GvspLeader, testing::ValuesIn(sk_leaders),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(GvspLeaderTypes, SeparateChunkModeFromTheType) {
  EXPECT_EQ(BaseType(0x4001), PayloadType::Image);
  EXPECT_TRUE(HasChunkMode(0x4006));
  EXPECT_FALSE(HasChunkMode(0xC001)) << "device-specific types use the bit as they like";
}

TEST(GvspMultiPart, HasItsLayoutBothWays) {
  const char* leaderBytes =
      "0000 000A 0000000000000007"
      "0005 000000000060 022000BB 0000 01 02 40000000 0003 0004 00000008 00000004 00000001 "
      "00000002 0005 0006 00000000"
      "0009 000000000020 010800C6 0000 00 00 00000000 0000 0000 00000008 00000004 00000000 "
      "00000000 0000 0000 00000000";
  Part parts[2];
  parts[0] = {PartType::Image3D, 0x60, 1, 2, 0x40000000, 3, 4, {0x022000BB, 8, 4, 1, 2, 5, 6}};
  parts[1] = {PartType::ConfidenceMap, 0x20, 0, 0, 0, 0, 0, {0x010800C6, 8, 4, 0, 0, 0, 0}};
  const Bytes bytes = Hex(leaderBytes);
  EXPECT_EQ(Encoded([&](auto out) { return EncodeMultiPartLeader(out, 7, parts); }), bytes);
  const auto leader = DecodeLeader(bytes);
  ASSERT_TRUE(leader);
  ASSERT_EQ(leader->PartCount(), 2u);
  const Part first = *DecodePart(*leader, 0);
  EXPECT_EQ(first.type, PartType::Image3D);
  EXPECT_EQ(first.length, 0x60u);
  EXPECT_EQ(first.sourceId, 1);
  EXPECT_EQ(first.additionalZones, 2);
  EXPECT_EQ(first.purposeId, 3);
  EXPECT_EQ(first.regionId, 4);
  EXPECT_EQ(first.image.paddingY, 6);
  EXPECT_EQ(DecodePart(*leader, 1)->image.pixelFormat, 0x010800C6u);
  EXPECT_FALSE(DecodePart(*leader, 2));

  const Bytes trailerBytes =
      Hex("0000 000A 0005 000000000060 00000004 00000000 0009 000000000020 00000004 00000000");
  const PartTrailer ends[] = {{PartType::Image3D, 0x60, 4}, {PartType::ConfidenceMap, 0x20, 4}};
  EXPECT_EQ(Encoded([&](auto out) { return EncodeMultiPartTrailer(out, ends); }), trailerBytes);
  const auto trailer = DecodeTrailer(trailerBytes);
  ASSERT_EQ(trailer->PartCount(), 2u);
  EXPECT_EQ(DecodePartTrailer(*trailer, 1)->length, 0x20u);
}

// ---- trailers ----
struct TrailerRow {
  const char* name;
  const char* bytes;
  Trailer trailer;
};
void PrintTo(const TrailerRow& row, std::ostream* out) {
  *out << row.name;
}
const TrailerRow sk_trailers[] = {
    {"Image", "0000 0001 00000400", {1, 0x400, 0, 0, {}}},
    {"Raw", "0000 0002", {2, 0, 0, 0, {}}},
    {"Chunk", "0000 0004 00000030", {4, 0, 0x30, 0, {}}},
    {"ExtendedChunk", "0000 0005 00000030 00000400 00000009", {5, 0x400, 0x30, 9, {}}},
    {"ImageWithChunks", "0000 4001 00000400 00000030 00000009", {0x4001, 0x400, 0x30, 9, {}}},
    {"JpegWithChunks", "0000 4006 00000030 00000009", {0x4006, 0, 0x30, 9, {}}},
};

class GvspTrailer : public testing::TestWithParam<TrailerRow> {};

TEST_P(GvspTrailer, HasItsLayoutBothWays) {
  const Bytes bytes = Hex(GetParam().bytes);
  const Trailer& want = GetParam().trailer;
  EXPECT_EQ(Encoded([&](auto out) { return EncodeTrailer(out, want); }), bytes);
  const auto got = DecodeTrailer(bytes);
  ASSERT_TRUE(got);
  EXPECT_EQ(got->sizeY, want.sizeY);
  EXPECT_EQ(got->chunkLength, want.chunkLength);
  EXPECT_EQ(got->chunkLayoutId, want.chunkLayoutId);
  for (size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(DecodeTrailer({bytes.data(), size})) << size;
}

INSTANTIATE_TEST_SUITE_P(Layouts, GvspTrailer, testing::ValuesIn(sk_trailers),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(GvspAllIn, HoldsLeaderTrailerAndData) {
  const Bytes bytes = Hex(std::string(sk_imageLeader) + "0000 0001 00000400 01020304");
  const auto block = DecodeAllIn(bytes);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->leader.image.sizeX, 1280u);
  EXPECT_EQ(block->trailer.sizeY, 1024u);
  EXPECT_EQ(Bytes(block->data.begin(), block->data.end()), Hex("01020304"));
  EXPECT_EQ(Encoded([&](auto out) {
              return EncodeAllIn(out, block->leader, block->trailer, block->data);
            }),
            bytes);
  EXPECT_FALSE(DecodeAllIn(Hex("0000 000A (00 x 100)")))
      << "several parts never come in one packet";
}

TEST(GvspDataHeaders, HaveTheirLayout) {
  const ZoneHeader zone{2, true, 5, true, 0x010203040506};
  EXPECT_EQ(Encoded([&](auto out) { return EncodeZoneHeader(out, zone); }),
            Hex("02 4B 010203040506"));
  const auto zoneBack = DecodeZoneHeader(Hex("02 4B 010203040506"));
  EXPECT_TRUE(zoneBack->endOfPart && zoneBack->endOfZone);
  EXPECT_EQ(zoneBack->zoneId, 5);
  EXPECT_EQ(zoneBack->offset, 0x010203040506u);
  GenDcHeader flow;
  flow.dataSize = 16;
  flow.destinationOffset = 0x100000000;
  flow.descriptorPresent = flow.descriptorEnd = flow.lastOfFlow = true;
  flow.flowId = 3;
  const Bytes bytes = Hex("00000010 0000000100000000 D0 40 0003");
  EXPECT_EQ(Encoded([&](auto out) { return EncodeGenDcHeader(out, flow); }), bytes);
  EXPECT_EQ(DecodeGenDcHeader(bytes)->destinationOffset, 0x100000000u);
  EXPECT_TRUE(DecodeGenDcHeader(bytes)->lastOfFlow);
  EXPECT_FALSE(DecodeGenDcHeader(bytes)->firstOfFlow);
}

// ---- chunks ----
TEST(Chunks, AreWalkedFromTheEnd) {
  const Bytes block =
      Hex("01020304 05060708 0000A5A5 00000008  0A0B0C0D 0000A5A6 00000004  0000A5A7 00000000");
  ChunkWalker walker(block);
  const auto empty = walker.Next(), word = walker.Next(), image = walker.Next();
  ASSERT_TRUE(empty && word && image);
  EXPECT_EQ(empty->id, 0xA5A7u);
  EXPECT_EQ(empty->data.size(), 0u);
  EXPECT_EQ(word->id, 0xA5A6u);
  EXPECT_EQ(word->offset, 16u);
  EXPECT_EQ(image->offset, 0u);
  EXPECT_EQ(image->data.size(), 8u);
  EXPECT_FALSE(walker.Next());
  EXPECT_TRUE(walker.Valid());
}

TEST(Chunks, ThatDoNotFillTheBlockAreInvalid) {
  for (const char* bytes : {"0A0B0C0D 0000A5A6 00000005", "FF 0A0B0C0D 0000A5A6 00000004",
                            "0000A5A6 000000", "0A0B0C0D 0000A5A6 FFFFFFFF"}) {
    const Bytes block = Hex(bytes);
    ChunkWalker walker(block);
    while (walker.Next()) {
    }
    EXPECT_FALSE(walker.Valid()) << bytes;
  }
  ChunkWalker none({});
  EXPECT_FALSE(none.Next());
  EXPECT_TRUE(none.Valid());
}

}  // namespace
