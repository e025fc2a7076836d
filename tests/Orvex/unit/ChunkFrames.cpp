// SPDX-License-Identifier: Apache-2.0
// Chunk data of frames, with a real chunk node map over payloads laid by hand.
#include <GenApi/GenApi.h>
#include <GenApi/NodeMapFactory.h>
#include <gmock/gmock.h>

#include <cstring>
#include <type_traits>

#include "ImageTools.h"
#include "Orvex/CompressedImageExtendedChunk.h"
#include "Orvex/ImageExtendedChunk.h"

namespace Orvex::Testing {
namespace {

using GenICam::LogicalErrorException;
using testing::HasSubstr;

constexpr const char* sk_description = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Chunks" VendorName="Test" ToolTip="" StandardNameSpace="None"
  SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1"
  MinorVersion="0" SubMinorVersion="0" ProductGuid="00000000-0000-0000-0000-000000000001"
  VersionGuid="00000000-0000-0000-0000-000000000002"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root"><pFeature>ChunkCRC</pFeature><pFeature>ChunkGain</pFeature></Category>
  <IntReg Name="ChunkCRC">
    <Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>CrcPort</pPort>
    <Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>
  </IntReg>
  <IntReg Name="ChunkGain">
    <Address>0</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>GainPort</pPort>
    <Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>
  </IntReg>
  <Port Name="CrcPort"><ChunkID>1001</ChunkID></Port>
  <Port Name="GainPort"><ChunkID>1002</ChunkID></Port>
</RegisterDescription>)";

GenApi::INodeMap* ChunkNodeMap() {
  GenApi::CNodeMapFactory factory(GenApi::ContentType_Xml, sk_description,
                                  std::strlen(sk_description));
  return factory.CreateNodeMap("Device");
}

void Put32(Bytes& bytes, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(uint8_t(value >> shift));
}

// Each chunk is its data, its id and its length.
void PutChunk(Bytes& payload, uint32_t id, const Bytes& data) {
  payload.insert(payload.end(), data.begin(), data.end());
  Put32(payload, id);
  Put32(payload, static_cast<uint32_t>(data.size()));
}

// CRC-32 one bit at a time.
uint32_t Crc32(const uint8_t* p, size_t size) {
  uint32_t crc = 0xFFFFFFFF;
  for (size_t i = 0; i < size; ++i) {
    crc ^= p[i];
    for (int k = 0; k < 8; ++k) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
  }
  return ~crc;
}

// A frame of class T over the payload, as if a stream had delivered it. Images are Mono16, 4 x 2.
template <class T>
class Frame {
 public:
  explicit Frame(Bytes payload) : m_payload(std::move(payload)) {
    if constexpr (std::is_base_of_v<Image, T>) {
      FrameCells::FillImageProps(&m_frame, m_payload.data(), m_payload.size(), 4, 2, Mono16);
    }
    FrameCells::SetData(&m_frame, m_payload.data());
    FrameCells::SetIncomplete(&m_frame, false);
    FrameCells::SetPayloadType(&m_frame, BufferPayloadTypeImageExtendedChunk);
    SetFilled(m_payload.size());
  }
  T* operator->() { return &m_frame; }
  T& operator*() { return m_frame; }
  void SetFilled(size_t size) { FrameCells::SetSizes(&m_frame, size, size, m_payload.size()); }
  void Break() { m_payload.at(3) ^= 0x10; }

 private:
  Bytes m_payload;
  T m_frame{nullptr, nullptr, ChunkNodeMap()};
};

Bytes Payload(const Bytes& image, uint32_t crc) {
  Bytes payload;
  PutChunk(payload, 1, image);
  PutChunk(payload, 0x1002, {0x01, 0x02});
  Bytes crcBytes;
  Put32(crcBytes, crc);
  PutChunk(payload, 0x1001, crcBytes);
  return payload;
}

TEST(ChunkFrames, ReadChunksOfTheirOwnBuffer) {
  Frame<ChunkData> first(Payload(Bytes(16), 5));
  Bytes other;
  PutChunk(other, 0x1002, {0xAB, 0xCD});
  Frame<ChunkData> second(other);
  const auto gain = [](IChunkData& frame) {
    return GenApi::CIntegerPtr(frame.GetChunk("ChunkGain"))->GetValue();
  };
  EXPECT_EQ(gain(*first), 0x0102);
  EXPECT_EQ(gain(*second), 0xABCD);
  EXPECT_EQ(GenApi::CIntegerPtr(first->GetChunk("ChunkCRC"))->GetValue(), 5);
  EXPECT_FALSE(GenApi::IsReadable(second->GetChunk("ChunkCRC")));
  EXPECT_EQ(first->GetChunk("ChunkNothing"), nullptr);
}

TEST(ChunkFrames, GiveNoChunkWhenThePayloadHasNoChunkLayout) {
  Frame<ChunkData> frame(Bytes(32, 0xFF));
  EXPECT_EQ(frame->GetChunk("ChunkGain"), nullptr);
  EXPECT_EQ(frame->GetChunk("ChunkGain"), nullptr);
}

TEST(ChunkFrames, CompareTheirPixelsWithTheChecksumOfTheCamera) {
  const Bytes pixels = RandomBytes(16);
  Frame<ImageExtendedChunk> frame(Payload(pixels, Crc32(pixels.data(), 16)));
  EXPECT_TRUE(frame->VerifyCRC());
  EXPECT_TRUE(frame->AsImage()->VerifyCRC());
  EXPECT_TRUE(frame->AsChunkData()->VerifyCRC());
  frame.Break();
  EXPECT_FALSE(frame->VerifyCRC()) << "each call computes anew";
}

TEST(ChunkFrames, CompareTheWholeFilledPayloadOfCompressedImages) {
  const Bytes compressed = RandomBytes(9);
  Frame<CompressedImageExtendedChunk> frame(Payload(compressed, Crc32(compressed.data(), 9)));
  // The chunk is found in the whole payload; then the filled size decides what is checked.
  ASSERT_NE(frame->GetChunk("ChunkCRC"), nullptr);
  EXPECT_FALSE(frame->VerifyCRC());
  frame.SetFilled(9);
  EXPECT_TRUE(frame->VerifyCRC());
}

TEST(ChunkFrames, CannotBeVerifiedWithoutChecksum) {
  Bytes payload;
  PutChunk(payload, 1, Bytes(16));
  Frame<ImageExtendedChunk> none(payload), broken(Bytes(32, 0xFF));
  for (auto* pFrame : {&none, &broken}) {
    EXPECT_EQ(Thrown<LogicalErrorException>([&] { (*pFrame)->VerifyCRC(); }),
              Plain("LogicalErrorException", "Cannot read 'ChunkCRC'", "ImageExtendedChunk.cpp",
                    "VerifyCRC"));
  }
}

class CopiedChunkFrames : public WithFactory {};

TEST_F(CopiedChunkFrames, KeepTheirPixelsButNotTheirChunks) {
  const Bytes payload = Payload(RandomBytes(16), 1);
  Frame<ImageExtendedChunk> frame(payload);
  const ImagePtr copy(ImageFactory::Copy(frame->AsImage()));
  EXPECT_EQ(DataOf(copy.get()), payload);
  ASSERT_NE(copy->AsChunkData(), nullptr);
  EXPECT_EQ(copy->AsChunkData()->GetChunk("ChunkGain"), nullptr);
}

}  // namespace
}  // namespace Orvex::Testing
