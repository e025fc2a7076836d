// SPDX-License-Identifier: Apache-2.0
// Chunks of frames laid out by hand (GigE Vision: data, id, length, all big-endian), read through
// nodes.
#include <GenApi/ChunkAdapterDcam.h>
#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/ChunkAdapterGenDC.h>
#include <GenApi/ChunkAdapterGeneric.h>
#include <GenApi/ChunkAdapterU3V.h>
#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "SmallMap.h"

namespace {

using GenApi::AttachStatistics_t;
using GenApi::CChunkAdapterGEV;
using GenApi::IInteger;
using OrvexTest::SmallMap;
using Bytes = std::vector<uint8_t>;

std::string Register(const char* pName, const char* pPort, int64_t address, int length) {
  return "<IntReg Name=\"" + std::string(pName) + "\"><Address>" + std::to_string(address) +
         "</Address><Length>" + std::to_string(length) +
         "</Length><AccessMode>RO</AccessMode><pPort>" + pPort +
         "</pPort><Endianess>BigEndian</Endianess></IntReg>\n";
}

const std::string sk_nodes =
    "<Category Name=\"Root\"><pFeature>Exposure</pFeature></Category>\n"
    "<Port Name=\"ExposurePort\"><ChunkID>a5</ChunkID></Port>\n"
    "<Port "
    "Name=\"GainPort\"><ChunkID>0xBEEF0001</ChunkID><CacheChunkData>Yes</CacheChunkData></Port>\n"
    "<Port Name=\"GuidPort\"><ChunkID>00112233445566778899aabbccddeeff</ChunkID></Port>\n"
    "<Port Name=\"NamedPort\"><pChunkID>IdText</pChunkID></Port>\n"
    "<String Name=\"IdText\"><Value>77</Value></String>\n"
    "<Port Name=\"Device\"/>\n" +
    Register("Exposure", "ExposurePort", 0, 4) + Register("ExposureLast", "ExposurePort", -2, 2) +
    Register("Outside", "ExposurePort", 4, 4) + Register("Before", "ExposurePort", -9, 4) +
    Register("ExposureLength", "ExposurePort", INT64_MAX - 15, 8) +
    Register("Gain", "GainPort", 0, 2) + Register("Guid", "GuidPort", 0, 1) +
    Register("Named", "NamedPort", 0, 1) + Register("Plain", "Device", 0, 4);

void Add(Bytes& to, std::initializer_list<int> bytes) {
  for (const int byte : bytes) to.push_back(uint8_t(byte));
}

// Image of 4 bytes with an id that no port has, then exposure, then gain.
Bytes Frame(int exposure = 0x55) {
  Bytes frame;
  Add(frame, {1, 2, 3, 4, /*id*/ 0, 0, 0, 1, /*length*/ 0, 0, 0, 4});
  Add(frame, {0, 0, 0x12, exposure, 0xEE, 0xFF, 0, 0, /*id*/ 0, 0, 0, 0xA5, /*length*/ 0, 0, 0, 8});
  Add(frame, {0x01, 0x02, 0, 0, /*id*/ 0xBE, 0xEF, 0, 1, /*length*/ 0, 0, 0, 4});
  return frame;
}

class ChunkAdapter : public testing::Test {
 protected:
  int64_t Value(const char* pName) { return map.Get<IInteger>(pName).GetValue(); }
  GenApi::EAccessMode Access(const char* pName) { return map.Get<IInteger>(pName).GetAccessMode(); }

  SmallMap map{sk_nodes};
};

TEST_F(ChunkAdapter, ReadsChunksOfAFrameAndCountsThem) {
  CChunkAdapterGEV adapter(map.Map._Ptr);
  EXPECT_EQ(Access("Exposure"), GenApi::NA);
  Bytes frame = Frame();
  AttachStatistics_t statistics{};
  adapter.AttachBuffer(frame.data(), int64_t(frame.size()), &statistics);
  EXPECT_EQ(statistics.NumChunkPorts, 4);
  EXPECT_EQ(statistics.NumChunks, 3);
  EXPECT_EQ(statistics.NumAttachedChunks, 2);
  EXPECT_EQ(Access("Exposure"), GenApi::RO);
  EXPECT_EQ(Value("Exposure"), 0x1255);
  EXPECT_EQ(Value("Gain"), 0x0102);
  EXPECT_EQ(Access("Guid"), GenApi::NA);
}

TEST_F(ChunkAdapter, CountsNegativeAddressesFromTheBackAndHoldsBounds) {
  CChunkAdapterGEV adapter(map.Map._Ptr);
  Bytes frame = Frame();
  adapter.AttachBuffer(frame.data(), int64_t(frame.size()));
  EXPECT_EQ(Value("ExposureLast"), 0);
  EXPECT_EQ(Value("Outside"), 0xEEFF0000);
  EXPECT_THROW(Value("Before"), GenICam::OutOfRangeException);
  Bytes shorter;
  Add(shorter, {0, 0, 0, 9, 0, 0, 0, 0xA5, 0, 0, 0, 4});
  adapter.AttachBuffer(shorter.data(), int64_t(shorter.size()));
  EXPECT_EQ(Value("Exposure"), 9);
  EXPECT_THROW(Value("Outside"), GenICam::OutOfRangeException);
}

TEST_F(ChunkAdapter, PseudoRegistersTellPlaceAndLength) {
  CChunkAdapterGEV adapter(map.Map._Ptr);
  Bytes frame = Frame();
  adapter.AttachBuffer(frame.data(), int64_t(frame.size()));
  auto& port = map.Get<GenApi::IPort>("ExposurePort");
  int64_t place = 0;
  int64_t length = 0;
  port.Read(&place, INT64_MAX, 8);
  port.Read(&length, INT64_MAX - 15, 8);
  EXPECT_EQ(reinterpret_cast<uint8_t*>(place), frame.data() + 12);
  EXPECT_EQ(length, 8);
  EXPECT_THROW(port.Read(&length, INT64_MAX - 15, 4), GenICam::InvalidArgumentException);
  EXPECT_THROW(port.Write(&length, 0, 4), GenICam::AccessException);
}

TEST_F(ChunkAdapter, TheNextFrameDropsCachesFiresCallbacksAndDetachesMissingChunks) {
  CChunkAdapterGEV adapter(map.Map._Ptr);
  Bytes first = Frame(0x55);
  Bytes second = Frame(0x66);
  int calls = 0;
  GenApi::Register(map.Map._GetNode("Exposure"), [&](GenApi::INode*) { ++calls; });
  adapter.AttachBuffer(first.data(), int64_t(first.size()));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(Value("Exposure"), 0x1255);
  adapter.AttachBuffer(second.data(), 28);  // without the gain chunk
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(Value("Exposure"), 0x1266);
  adapter.UpdateBuffer(first.data());
  EXPECT_EQ(Value("Exposure"), 0x1255);
  adapter.DetachBuffer();
  EXPECT_EQ(Access("Exposure"), GenApi::NA);
}

TEST_F(ChunkAdapter, CachedChunksSurviveTheBufferUntilCleared) {
  CChunkAdapterGEV adapter(map.Map._Ptr);
  {
    Bytes frame = Frame();
    adapter.AttachBuffer(frame.data(), int64_t(frame.size()));
    adapter.DetachBuffer();
  }
  EXPECT_EQ(Value("Gain"), 0x0102);
  EXPECT_EQ(Access("Exposure"), GenApi::NA);
  adapter.ClearCaches();
  EXPECT_EQ(Access("Gain"), GenApi::NA);
}

TEST_F(ChunkAdapter, ChunksAboveTheCacheSizeAreNotKept) {
  CChunkAdapterGEV adapter(map.Map._Ptr, 3);
  Bytes frame = Frame();
  adapter.AttachBuffer(frame.data(), int64_t(frame.size()));
  adapter.DetachBuffer();
  EXPECT_EQ(Access("Gain"), GenApi::NA);
}

TEST_F(ChunkAdapter, IdsFromANodeAreReadAnewForEveryBuffer) {
  CChunkAdapterGEV adapter(map.Map._Ptr);
  Bytes frame;
  Add(frame, {9, 0, 0, 0, 0, 0, 0, 0x78, 0, 0, 0, 4});
  adapter.AttachBuffer(frame.data(), int64_t(frame.size()));
  EXPECT_EQ(Access("Named"), GenApi::NA);
  map.Set("IdText", "0078");
  adapter.AttachBuffer(frame.data(), int64_t(frame.size()));
  EXPECT_EQ(Value("Named"), 9);
}

TEST_F(ChunkAdapter, ReadersInOtherThreadsSeeOneFrameOrTheOther) {
  CChunkAdapterGEV adapter(map.Map._Ptr);
  Bytes frames[] = {Frame(0x55), Frame(0x66)};
  adapter.AttachBuffer(frames[0].data(), int64_t(frames[0].size()));
  std::atomic<bool> isOver{false};
  std::thread reader([&] {
    while (!isOver) {
      const int64_t value = Value("Exposure");
      EXPECT_TRUE(value == 0x1255 || value == 0x1266) << value;
      EXPECT_EQ(Value("Gain"), 0x0102);
    }
  });
  for (int i = 0; i < 2000; ++i)
    adapter.AttachBuffer(frames[i % 2].data(), int64_t(frames[0].size()));
  isOver = true;
  reader.join();
}

TEST_F(ChunkAdapter, LeavesTheMapWithoutPortsWhenItGoes) {
  Bytes frame = Frame();
  {
    CChunkAdapterGEV adapter(map.Map._Ptr);
    adapter.AttachBuffer(frame.data(), int64_t(frame.size()));
  }
  EXPECT_FALSE(GenApi::IsAvailable(&map.Get<IInteger>("Gain")));
  EXPECT_THROW(Value("Exposure"), GenICam::AccessException);
}

struct Layout {
  const char* Name;
  Bytes Frame;
};

class BadChunkLayout : public testing::TestWithParam<Layout> {};

TEST_P(BadChunkLayout, IsRefusedAndDetachesWhatWasAttached) {
  SmallMap map(sk_nodes);
  CChunkAdapterGEV adapter(map.Map._Ptr);
  Bytes good = Frame();
  adapter.AttachBuffer(good.data(), int64_t(good.size()));
  Bytes bad = GetParam().Frame;
  EXPECT_FALSE(adapter.CheckBufferLayout(bad.data(), int64_t(bad.size())));
  try {
    adapter.AttachBuffer(bad.data(), int64_t(bad.size()));
    FAIL();
  } catch (const GenICam::RuntimeException& error) {
    EXPECT_STREQ(error.GetDescription(), "Invalid layout of buffer attached to chunk parser!");
  }
  EXPECT_EQ(map.Get<IInteger>("Exposure").GetAccessMode(), GenApi::NA);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, BadChunkLayout,
    testing::Values(Layout{"Empty", {}}, Layout{"ShorterThanATrailer", {0, 0, 0, 0xA5, 0, 0, 0}},
                    Layout{"LengthBeyondTheBegin", {1, 2, 3, 4, 0, 0, 0, 0xA5, 0, 0, 0, 5}},
                    Layout{"LengthOf4GiB", {1, 2, 3, 4, 0, 0, 0, 0xA5, 0xFF, 0xFF, 0xFF, 0xFF}},
                    Layout{"BytesLeftOver", {7, 7, 1, 2, 3, 4, 0, 0, 0, 0xA5, 0, 0, 0, 4}},
                    Layout{"LittleEndianLength", {1, 2, 3, 4, 0xA5, 0, 0, 0, 4, 0, 0, 0}},
                    Layout{"MoreChunksThanTheLimit", Bytes(8 * 65537)}),
    [](const auto& info) { return std::string(info.param.Name); });

TEST_F(ChunkAdapter, NullBuffersAreABadLayout) {
  CChunkAdapterGEV adapter(map.Map._Ptr);
  EXPECT_THROW(adapter.AttachBuffer(nullptr, 100), GenICam::RuntimeException);
  Bytes frame = Frame();
  EXPECT_THROW(adapter.AttachBuffer(frame.data(), -1), GenICam::RuntimeException);
}

TEST_F(ChunkAdapter, Usb3VisionAndGenDcTrailersAreLittleEndian) {
  Bytes frame;
  Add(frame, {0,        0, 0, 9, /*id*/ 0xA5,  0, 0, 0, /*length*/ 4, 0, 0, 0,
              /*id*/ 1, 0, 0, 0, /*length*/ 0, 0, 0, 0});
  GenApi::CChunkAdapterU3V usb(map.Map._Ptr);
  AttachStatistics_t statistics{};
  usb.AttachBuffer(frame.data(), int64_t(frame.size()), &statistics);
  EXPECT_EQ(statistics.NumChunks, 2);
  EXPECT_EQ(Value("Exposure"), 9);
  usb.DetachNodeMap();
  GenApi::CChunkAdapterGenDC genDc(map.Map._Ptr);
  genDc.AttachBuffer(frame.data(), int64_t(frame.size()));
  EXPECT_EQ(Value("Exposure"), 9);
}

TEST_F(ChunkAdapter, IidcTrailersCarryAnIdOfSixteenBytesAndACheckedLength) {
  Bytes frame;
  Add(frame, {7,
              8,
              /*id*/ 0x00,
              0x11,
              0x22,
              0x33,
              0x44,
              0x55,
              0x66,
              0x77,
              0x88,
              0x99,
              0xAA,
              0xBB,
              0xCC,
              0xDD,
              0xEE,
              0xFF,
              /*length*/ 2,
              0,
              0,
              0,
              /*its complement*/ 0xFD,
              0xFF,
              0xFF,
              0xFF});
  GenApi::CChunkAdapterDcam adapter(map.Map._Ptr);
  adapter.AttachBuffer(frame.data(), int64_t(frame.size()));
  EXPECT_EQ(Value("Guid"), 7);
  frame[frame.size() - 4] = 0xFC;
  EXPECT_FALSE(adapter.CheckBufferLayout(frame.data(), int64_t(frame.size())));
}

TEST_F(ChunkAdapter, GenericTakesPlacesThatAreKnown) {
  GenApi::CChunkAdapterGeneric adapter(map.Map._Ptr);
  Bytes buffer = {9, 9, 0, 0, 0, 5, 3};
  GenApi::SingleChunkData_t byNumber[] = {{0xA5, 2, 4}, {0x77, 6, 1}, {0x99, 0, 1}};
  AttachStatistics_t statistics{};
  adapter.AttachBuffer(buffer.data(), byNumber, 3, &statistics);
  EXPECT_EQ(statistics.NumAttachedChunks, 2);
  EXPECT_EQ(Value("Exposure"), 5);
  EXPECT_EQ(Value("Named"), 3);
  GenApi::SingleChunkDataStr_t byText[] = {{"00112233445566778899AABBCCDDEEFF", 6, 1}};
  adapter.AttachBuffer(buffer.data(), byText, 1);
  EXPECT_EQ(Value("Guid"), 3);
  EXPECT_EQ(Access("Exposure"), GenApi::NA);
  byText[0].ChunkID = "no id";
  EXPECT_THROW(adapter.AttachBuffer(buffer.data(), byText, 1), GenICam::InvalidArgumentException);
  byNumber[1].ChunkOffset = -1;
  EXPECT_THROW(adapter.AttachBuffer(buffer.data(), byNumber, 3), GenICam::InvalidArgumentException);
  EXPECT_THROW(adapter.AttachBuffer(buffer.data(), 7), GenICam::RuntimeException);
}

}  // namespace
