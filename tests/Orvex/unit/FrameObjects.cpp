// SPDX-License-Identifier: Apache-2.0
// Frame objects over a stream that answers from a table and counts what it is asked.
#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <map>

#include "ImageTools.h"
#include "Orvex/CompressedImageExtendedChunk.h"
#include "Orvex/ImageExtendedChunk.h"
#include "Orvex/TLDataStream.h"

namespace Orvex::Testing {
namespace {

using GenICam::InvalidArgumentException;
using GenICam::LogicalErrorException;
using testing::HasSubstr;

class CountingStream : public TLDataStream {
 public:
  GenTL::GC_ERROR GetBufferInfo(GenTL::BUFFER_HANDLE, GenTL::BUFFER_INFO_CMD command,
                                GenTL::INFO_DATATYPE* pType, void* pBuffer,
                                size_t* pSize) override {
    ++asked[command];
    order.push_back(command);
    if (command == failing) return GenTL::GC_ERR_INVALID_BUFFER;
    *pType = GenTL::INFO_DATATYPE_UNKNOWN;
    if (command == GenTL::BUFFER_INFO_BASE) {
      const void* const pData = data.data();
      std::memcpy(pBuffer, &pData, *pSize);
      return GenTL::GC_ERR_SUCCESS;
    }
    const uint64_t value = answers.contains(command) ? answers[command] : 0;
    std::memcpy(pBuffer, &value, *pSize);
    sizes[command] = *pSize;
    return GenTL::GC_ERR_SUCCESS;
  }

  Bytes data = RandomBytes(64);
  std::map<GenTL::BUFFER_INFO_CMD, uint64_t> answers;
  std::map<GenTL::BUFFER_INFO_CMD, int> asked;
  std::vector<GenTL::BUFFER_INFO_CMD> order;
  std::map<GenTL::BUFFER_INFO_CMD, size_t> sizes;
  GenTL::BUFFER_INFO_CMD failing = -1;
};

class FrameObjects : public WithFactory {
 protected:
  FrameObjects() {
    // The standard's numbers of the questions: 1 size, 9 filled, 10 width ...
    m_stream.answers = {{1, 64}, {9, 40},  {10, 8},  {11, 5}, {12, 3},         {13, 4},
                        {14, 6}, {15, 7},  {16, 77}, {17, 1}, {19, m_payload}, {20, Mono8},
                        {26, 2}, {27, 44}, {28, 99}, {29, 1}, {30, 1},         {7, 1}};
  }
  uint64_t m_payload = 1;
  CountingStream m_stream;
  void* m_hBuffer = &m_stream;
};

TEST_F(FrameObjects, AskEachFactOnceUnderItsStandardNumber) {
  Image image(&m_stream, m_hBuffer);
  const std::pair<GenTL::BUFFER_INFO_CMD, std::function<uint64_t()>> questions[] = {
      {1, [&] { return image.GetSizeOfBuffer(); }},
      {7, [&] { return image.IsIncomplete(); }},
      {9, [&] { return image.GetSizeFilled(); }},
      {10, [&] { return image.GetWidth(); }},
      {11, [&] { return image.GetHeight(); }},
      {12, [&] { return image.GetOffsetX(); }},
      {13, [&] { return image.GetOffsetY(); }},
      {14, [&] { return image.GetPaddingX(); }},
      {15, [&] { return image.GetPaddingY(); }},
      {16, [&] { return image.GetFrameId(); }},
      {17, [&] { return image.HasImageData(); }},
      {19, [&] { return image.GetPayloadType(); }},
      {20, [&] { return image.GetPixelFormat(); }},
      {26, [&] { return uint64_t(image.GetPixelEndianness()); }},
      {27, [&] { return image.GetPayloadSize(); }},
      {28, [&] { return image.GetTimestampNs(); }},
      {29, [&] { return image.DataLargerThanBuffer(); }},
      {30, [&] { return image.HasChunkData(); }},
  };
  for (const auto& [command, question] : questions) {
    SCOPED_TRACE(command);
    EXPECT_EQ(question(), m_stream.answers[command]);
    EXPECT_EQ(question(), m_stream.answers[command]);
    EXPECT_EQ(m_stream.asked[command], 1);
  }
  EXPECT_EQ(image.GetTimestamp(), image.GetTimestampNs());
  EXPECT_EQ(m_stream.asked[28], 1);
  EXPECT_EQ(image.GetData(), m_stream.data.data());
  image.GetData();
  EXPECT_EQ(m_stream.asked[0], 1);
  EXPECT_EQ(image.GetBufferHandle(), m_hBuffer);
  EXPECT_EQ(m_stream.sizes[30], 1u);
  EXPECT_EQ(m_stream.sizes[26], 4u);
  EXPECT_EQ(m_stream.sizes[10], 8u);
  EXPECT_EQ(image.GetNumChannels(), 1u);
  EXPECT_EQ(image.GetBitsPerChannel(), 8u);
  EXPECT_EQ(image.GetBytesPerStep(), 1u);
  EXPECT_EQ(image.GetPixelsPerStep(), 1u);
}

TEST_F(FrameObjects, FailWithoutStreamOrHandleAndWhenTheProducerFails) {
  Image lost, noHandle(&m_stream, nullptr), image(&m_stream, m_hBuffer);
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { lost.GetWidth(); }),
            Plain("InvalidArgumentException", "DataStream is null", "Buffer.cpp", "GetInfo"));
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { noHandle.GetWidth(); }),
            Plain("InvalidArgumentException", "Buffer is null", "Buffer.cpp", "GetInfo"));
  EXPECT_THAT(Thrown<InvalidArgumentException>([&] { lost.GetData(); }), HasSubstr("DataStream"));
  m_stream.failing = 10;
  EXPECT_THAT(Thrown<InvalidArgumentException>([&] { image.GetWidth(); }),
              HasSubstr("InvalidArgumentException (GC_ERR_INVALID_BUFFER): Unable to get buffer "
                        "information (Buffer.cpp, GetInfo; GenTL::DSGetBufferInfo); "));
  // The question is not asked again.
  EXPECT_EQ(image.GetWidth(), 0u);
  EXPECT_EQ(m_stream.asked[10], 1);
}

TEST_F(FrameObjects, CopiesAreDetachedAndCarryTheWholeBuffer) {
  Image image(&m_stream, m_hBuffer);
  const ImagePtr copy(ImageFactory::Copy(&image));
  EXPECT_EQ(copy->GetSizeFilled(), 40u);
  EXPECT_EQ(copy->GetSizeOfBuffer(), 64u);
  EXPECT_EQ(Bytes(copy->GetData(), copy->GetData() + 64), m_stream.data);
  EXPECT_EQ(dynamic_cast<Image*>(copy.get())->GetBufferHandle(), nullptr);
  const int before = m_stream.asked[10];
  EXPECT_EQ(copy->GetWidth(), 8u);
  EXPECT_EQ(copy->GetOffsetY(), 4u);
  EXPECT_EQ(copy->GetFrameId(), 77u);
  EXPECT_EQ(copy->GetTimestamp(), 99u);
  EXPECT_EQ(copy->GetPixelEndianness(), PixelEndiannessBig);
  EXPECT_TRUE(copy->IsIncomplete());
  EXPECT_EQ(m_stream.asked[10], before);
}

TEST_F(FrameObjects, PassTheirFactsOnToTheImagesMadeOfThem) {
  m_stream.answers[19] = 16385;
  const Bytes table(256);
  struct Row {
    const char* name;
    std::function<IImage*(IImage*)> make;
    bool incomplete, hasChunks;
    size_t filled, payload, capacity;
  };
  const Row rows[] = {
      {"Convert", [](IImage* p) { return ImageFactory::Convert(p, Mono16); }, false, true, 80, 80,
       80},
      {"SelectBits", [](IImage* p) { return ImageFactory::SelectBits(p, 8, 0); }, false, true, 40,
       40, 40},
      {"SelectBitsAndScale", [](IImage* p) { return ImageFactory::SelectBitsAndScale(p, 8, 0); },
       true, false, 40, 40, 40},
      {"ProcessSoftwareLUT",
       [&](IImage* p) { return ImageFactory::ProcessSoftwareLUT(p, table.data(), 256); }, true,
       true, 40, 44, 64},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ImageExtendedChunk frame(&m_stream, m_hBuffer, nullptr);
    const ImagePtr made(row.make(frame.AsImage()));
    EXPECT_THAT((std::array{made->GetWidth(), made->GetHeight(), made->GetOffsetX(),
                            made->GetOffsetY(), made->GetPaddingX(), made->GetPaddingY()}),
                testing::ElementsAre(8, 5, 3, 4, 6, 7));
    EXPECT_THAT(
        (std::array{made->GetSizeFilled(), made->GetPayloadSize(), made->GetSizeOfBuffer()}),
        testing::ElementsAre(row.filled, row.payload, row.capacity));
    EXPECT_EQ(made->GetPixelEndianness(), PixelEndiannessBig);
    EXPECT_EQ(made->GetTimestampNs(), 99u);
    EXPECT_EQ(made->GetFrameId(), 77u);
    EXPECT_EQ(made->GetPayloadType(), 1u);
    EXPECT_EQ(made->IsIncomplete(), row.incomplete);
    EXPECT_EQ(made->HasChunkData(), row.hasChunks);
    EXPECT_TRUE(made->HasImageData());
    EXPECT_TRUE(made->DataLargerThanBuffer());
  }
}

TEST_F(FrameObjects, AreCopiedFactByFact) {
  const std::vector<GenTL::BUFFER_INFO_CMD> ofBuffer = {9, 27, 1, 0, 30, 19, 7, 16, 17, 29};
  auto ofImage = ofBuffer, ofCompressed = ofBuffer;
  for (const int command : {10, 11, 12, 13, 20, 14, 15, 26, 28}) ofImage.push_back(command);
  for (const int command : {20, 28}) ofCompressed.push_back(command);
  const auto expectOrder = [this]<typename Frame>(Frame* pFrame, const auto& expected) {
    m_stream.order.clear();
    Frame copy(pFrame);
    EXPECT_EQ(m_stream.order, expected);
    delete[] copy.GetData();  // which a frame's end leaves to the factory
  };
  Buffer buffer(&m_stream, m_hBuffer);
  Image image(&m_stream, m_hBuffer);
  CompressedImage compressed(&m_stream, m_hBuffer);
  ImageExtendedChunk both(&m_stream, m_hBuffer, nullptr);
  expectOrder(&buffer, ofBuffer);
  expectOrder(&image, ofImage);
  expectOrder(&compressed, ofCompressed);
  expectOrder(&both, ofImage);
}

TEST_F(FrameObjects, OfADeviceAreNotDestroyedByTheFactory) {
  Image image(&m_stream, m_hBuffer);
  CompressedImage compressed(&m_stream, m_hBuffer);
  EXPECT_THAT(Thrown<InvalidArgumentException>([&] { ImageFactory::Destroy(&image); }),
              HasSubstr(": Failure destroying image because image not from factory (probably due "
                        "to image being from device) ("));
  EXPECT_THAT(
      Thrown<InvalidArgumentException>([&] { ImageFactory::DestroyCompressedImage(&compressed); }),
      HasSubstr(": Failure destroying compressed image because compressed image not from factory "
                "(probably due to compressed image being from device) ("));
  EXPECT_EQ(image.GetWidth(), 8u);
}

TEST_F(FrameObjects, GiveTheirViewsOfOneFrame) {
  Buffer buffer(&m_stream, m_hBuffer);
  Image image(&m_stream, m_hBuffer);
  ChunkData chunk(&m_stream, m_hBuffer, nullptr);
  CompressedImage compressed(&m_stream, m_hBuffer);
  ImageExtendedChunk both(&m_stream, m_hBuffer, nullptr);
  CompressedImageExtendedChunk compressedBoth(&m_stream, m_hBuffer, nullptr);
  const auto views = [](IBuffer& frame) {
    return std::string(frame.AsImage() ? "I" : "-") + (frame.AsChunkData() ? "C" : "-") +
           (frame.AsCompressedImage() ? "Z" : "-");
  };
  EXPECT_EQ(views(buffer), "---");
  EXPECT_EQ(views(static_cast<IImage&>(image)), "I--");
  EXPECT_EQ(views(static_cast<IChunkData&>(chunk)), "-C-");
  EXPECT_EQ(views(static_cast<ICompressedImage&>(compressed)), "--Z");
  for (IBuffer* pView :
       {static_cast<IBuffer*>(both.AsImage()), static_cast<IBuffer*>(both.AsChunkData()),
        static_cast<IBuffer*>(static_cast<Buffer*>(&both))}) {
    EXPECT_EQ(views(*pView), "IC-");
    EXPECT_EQ(pView->GetData(), m_stream.data.data());
  }
  EXPECT_EQ(m_stream.asked[0], 1) << "the views share one buffer";
  EXPECT_EQ(both.AsChunkData()->AsImage(), both.AsImage());
  EXPECT_EQ(both.AsImage()->GetWidth(), 8u);
  EXPECT_EQ(views(*compressedBoth.AsCompressedImage()), "-CZ");
  EXPECT_EQ(views(*compressedBoth.AsChunkData()), "-CZ");
}

TEST_F(FrameObjects, AreCompressedForTwoPayloadTypesOnly) {
  for (const auto& [type, compressed] : {std::pair<uint64_t, bool>{1001, true},
                                         {1002, true},
                                         {1, false},
                                         {4, false},
                                         {16385, false},
                                         {1000, false},
                                         {1003, false}}) {
    m_stream.answers[19] = type;
    CompressedImageExtendedChunk frame(&m_stream, m_hBuffer, nullptr);
    EXPECT_EQ(frame.AsChunkData()->IsCompressedImage(), compressed) << type;
    EXPECT_EQ(frame.AsCompressedImage()->IsCompressedImage(), compressed) << type;
  }
}

TEST_F(FrameObjects, WithoutChunksHaveNoChecksum) {
  Buffer buffer(&m_stream, m_hBuffer);
  Image image(&m_stream, m_hBuffer);
  ChunkData chunk(&m_stream, m_hBuffer, nullptr);
  CompressedImage compressed(&m_stream, m_hBuffer);
  const auto text = [](const char* message, const char* unit) {
    return Plain("LogicalErrorException", message, unit, "VerifyCRC");
  };
  EXPECT_EQ(Thrown<LogicalErrorException>([&] { buffer.VerifyCRC(); }),
            text("CRC not available.", "Buffer.cpp"));
  EXPECT_EQ(Thrown<LogicalErrorException>([&] { image.VerifyCRC(); }),
            text("Chunk data was not enabled before grabbing Image", "Image.cpp"));
  EXPECT_EQ(Thrown<LogicalErrorException>([&] { chunk.VerifyCRC(); }),
            text("Validating CRC for ChunkData is not supported", "ChunkData.cpp"));
  EXPECT_EQ(
      Thrown<LogicalErrorException>([&] { compressed.VerifyCRC(); }),
      text("Chunk data was not enabled before grabbing CompressedImage", "CompressedImage.cpp"));
}

TEST_F(FrameObjects, SayWhyAChecksumCannotBeVerified) {
  ImageExtendedChunk incomplete(&m_stream, m_hBuffer, nullptr);
  EXPECT_EQ(Thrown<LogicalErrorException>([&] { incomplete.VerifyCRC(); }),
            Plain("LogicalErrorException", "Data received is incomplete", "ImageExtendedChunk.cpp",
                  "VerifyCRC"));
  m_stream.answers[7] = 0;
  ImageExtendedChunk image(&m_stream, m_hBuffer, nullptr);
  CompressedImageExtendedChunk compressed(&m_stream, m_hBuffer, nullptr);
  EXPECT_EQ(Thrown<LogicalErrorException>([&] { image.VerifyCRC(); }),
            Plain("LogicalErrorException", "Cannot read 'ChunkCRC'", "ImageExtendedChunk.cpp",
                  "VerifyCRC"));
  EXPECT_EQ(Thrown<LogicalErrorException>([&] { compressed.VerifyCRC(); }),
            Plain("LogicalErrorException", "Cannot read 'ChunkCRC'",
                  "CompressedImageExtendedChunk.cpp", "VerifyCRC"));
}

TEST(CRC32, HasThePublishedCheckValue) {
  const auto* const p = reinterpret_cast<const uint8_t*>("123456789");
  EXPECT_EQ(CalculateCRC32(p, 9), 0xCBF43926u);
  EXPECT_EQ(Thrown<InvalidArgumentException>([] { CalculateCRC32(nullptr, 0); }),
            Plain("InvalidArgumentException", "pData is nullptr.", "Buffer.cpp", "CalculateCRC32"));
  EXPECT_EQ(
      Thrown<InvalidArgumentException>([&] { CalculateCRC32(p, 0); }),
      Plain("InvalidArgumentException", "nBytes must be > 0.", "Buffer.cpp", "CalculateCRC32"));
}

}  // namespace
}  // namespace Orvex::Testing
