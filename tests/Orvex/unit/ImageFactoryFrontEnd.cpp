// SPDX-License-Identifier: Apache-2.0
// The front end of the image factory: checks and their order, making, copying, freeing.
#include <gmock/gmock.h>

#include <cstring>

#include "ImageTools.h"
#include "Orvex/ImageExtendedChunk.h"

namespace Orvex::Testing {
namespace {

using GenICam::InvalidArgumentException;
using GenICam::RuntimeException;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* sk_neverInitialized =
    "Orvex SDK never initialized, open system (Orvex::OpenSystem) to initialize";

// A call of an operation that fails, and the check that fails it.
struct Refusal {
  std::string operation;
  std::string message;
  std::function<void()> call;
};

std::string InvalidFrom(const std::string& message, const std::string& check) {
  return Plain("InvalidArgumentException", message, "ImageFactory.cpp", check);
}

TEST(ImageFactoryClosed, RefusesEverythingThatIsChecked) {
  ASSERT_FALSE(HasImageFactoryInit());
  const std::pair<const char*, std::function<void()>> calls[] = {
      {"Create", [] { ImageFactory::Create(nullptr, 0, 0, 0, 0); }},
      {"CreateEmpty", [] { ImageFactory::CreateEmpty(0, 0, 0, 0); }},
      {"Shallow", [] { ImageFactory::Shallow(nullptr, 0, 0, 0, 0); }},
      {"CreateCompressedImage", [] { ImageFactory::CreateCompressedImage(nullptr, 0, 0); }},
      {"Copy", [] { ImageFactory::Copy(nullptr); }},
      {"CopyCompressedImage", [] { ImageFactory::CopyCompressedImage(nullptr); }},
      {"Convert", [] { ImageFactory::Convert(nullptr, 0); }},
      {"ConvertShallow", [] { ImageFactory::ConvertShallow(nullptr, 0, nullptr, 0); }},
      {"ConvertLen", [] { ImageFactory::ConvertLen(nullptr, 0); }},
      {"SelectBits", [] { ImageFactory::SelectBits(nullptr, 0, 0); }},
      {"SelectBitsShallow", [] { ImageFactory::SelectBitsShallow(nullptr, 0, nullptr, 0, 0); }},
      {"SelectBitsLen", [] { ImageFactory::SelectBitsLen(nullptr, 0, 0); }},
      {"DecompressImage", [] { ImageFactory::DecompressImage(nullptr); }},
      {"DeinterleaveChannels", [] { ImageFactory::DeinterleaveChannels(nullptr); }},
      {"DeinterleaveChannelsShallow",
       [] { ImageFactory::DeinterleaveChannelsShallow(nullptr, 0, nullptr); }},
      {"DeinterleaveChannelsLen", [] { ImageFactory::DeinterleaveChannelsLen(nullptr); }},
      {"SplitChannels", [] { ImageFactory::SplitChannels(nullptr); }},
  };
  for (const auto& [operation, call] : calls) {
    EXPECT_EQ(Thrown<RuntimeException>(call),
              Plain("RuntimeException", sk_neverInitialized + std::string(" (") + operation + ")",
                    "ImageFactory.cpp", "CheckInit"));
  }
  EXPECT_EQ(Thrown<RuntimeException>([] { ImageFactory::Destroy(nullptr); }),
            Plain("RuntimeException", sk_neverInitialized, "ImageFactory.cpp", "Destroy"));
  EXPECT_EQ(
      Thrown<RuntimeException>([] { ImageFactory::DestroyCompressedImage(nullptr); }),
      Plain("RuntimeException", sk_neverInitialized, "ImageFactory.cpp", "DestroyCompressedImage"));
}

TEST(ImageFactoryClosed, StillSelectsBitsAndLooksUp) {
  OpenImageFactory();
  ImagePtr image = MakeImage(Mono8, 2, 1, {100, 200});
  CloseImageFactory();
  IImage* pScaled = ImageFactory::SelectBitsAndScale(image.get(), 8, 1);
  Bytes table(256, 7);
  IImage* pLooked = ImageFactory::ProcessSoftwareLUT(image.get(), table.data(), table.size());
  EXPECT_THAT(DataOf(pScaled), ElementsAre(200, 255));
  EXPECT_THAT(DataOf(pLooked), ElementsAre(7, 7));
  OpenImageFactory();
  ImageFactory::Destroy(pScaled);
  ImageFactory::Destroy(pLooked);
  image.reset();
  CloseImageFactory();
}

TEST(ImageFactorySwitch, ForgetsPoolsOnOpeningAndFreesThemOnClosing) {
  OpenImageFactory();
  {
    const std::lock_guard lock(g_factoryMutex);
    g_pPoolA = new uint8_t[16];
    g_poolSizeA = 16;
  }
  CloseImageFactory();
  EXPECT_FALSE(HasImageFactoryInit());
  OpenImageFactory();  // must not free again
  EXPECT_TRUE(HasImageFactoryInit());
  EXPECT_EQ(g_pPoolA, nullptr);
  EXPECT_EQ(g_poolSizeA, 0u);
  CloseImageFactory();
}

class ImageFactoryFrontEnd : public WithFactory {
 protected:
  const uint8_t m_bytes[64] = {1, 2, 3, 4};
  uint8_t m_buffer[64] = {};
};

TEST_F(ImageFactoryFrontEnd, ChecksArgumentsInTheirOrder) {
  const ImagePtr image = RandomImage(Mono12p, 4, 2);
  IImage* const p = image.get();
  const CompressedPtr compressed(ImageFactory::CreateCompressedImage(m_bytes, 30, QOI_RGB8));
  const uint64_t f = Mono8;
  const auto at = [](const char* message, const char* operation) {
    return std::string(message) + " (" + operation + ")";
  };
  const Refusal refusals[] = {
      // Each row passes the checks of the rows before it.
      {"Create", "Data is null", [&] { ImageFactory::Create(nullptr, 0, 0, 0, f); }},
      {"Create", "Param is 0", [&] { ImageFactory::Create(m_bytes, 0, 2, 2, f); }},
      {"Create", "Param is 0", [&] { ImageFactory::Create(m_bytes, 4, 0, 2, f); }},
      {"Create", "Param is 0", [&] { ImageFactory::Create(m_bytes, 4, 2, 0, f); }},
      {"Create", "Buffer length 5 does not match expected 4",
       [&] { ImageFactory::Create(m_bytes, 5, 2, 2, f); }},
      {"Create", "Buffer length 3 does not match expected 4",
       [&] { ImageFactory::Create(m_bytes, 3, 2, 2, f); }},
      // Nine samples of twelve bits: rounded down.
      {"Create", "Buffer length 14 does not match expected 13",
       [&] { ImageFactory::Create(m_bytes, 14, 3, 3, Mono12p); }},
      {"CreateEmpty", "Param is 0", [&] { ImageFactory::CreateEmpty(0, 2, 2, f); }},
      {"CreateEmpty", "Buffer length 5 does not match expected 4",
       [&] { ImageFactory::CreateEmpty(5, 2, 2, f); }},
      {"Shallow", "Data is null", [&] { ImageFactory::Shallow(nullptr, 4, 2, 2, f); }},
      {"Shallow", "Buffer length 8 does not match expected 4",
       [&] { ImageFactory::Shallow(m_bytes, 8, 2, 2, f); }},
      {"CreateCompressedImage", "Data is null",
       [&] { ImageFactory::CreateCompressedImage(nullptr, 0, f); }},
      {"CreateCompressedImage", "Param is 0",
       [&] { ImageFactory::CreateCompressedImage(m_bytes, 0, f); }},
      {"Copy", "Image is null", [] { ImageFactory::Copy(nullptr); }},
      {"CopyCompressedImage", "Image is null", [] { ImageFactory::CopyCompressedImage(nullptr); }},
      {"Convert", "Image is null", [&] { ImageFactory::Convert(nullptr, f); }},
      {"ConvertShallow", "Ddata is null",
       [&] { ImageFactory::ConvertShallow(nullptr, 0, nullptr, f); }},
      {"ConvertShallow", "Param is 0",
       [&] { ImageFactory::ConvertShallow(m_buffer, 0, nullptr, f); }},
      {"ConvertShallow", "Image is null",
       [&] { ImageFactory::ConvertShallow(m_buffer, 1, nullptr, f); }},
      {"ConvertLen", "Image is null", [&] { ImageFactory::ConvertLen(nullptr, f); }},
      {"SelectBits", "Image is null", [] { ImageFactory::SelectBits(nullptr, 9, 0); }},
      {"SelectBitsShallow", "Ddata is null",
       [] { ImageFactory::SelectBitsShallow(nullptr, 0, nullptr, 9, 0); }},
      {"SelectBitsShallow", "Param is 0",
       [&] { ImageFactory::SelectBitsShallow(m_buffer, 0, nullptr, 9, 0); }},
      // The needed length is asked before the image is looked at.
      {"SelectBitsLen", "Image is null",
       [&] { ImageFactory::SelectBitsShallow(m_buffer, 8, nullptr, 9, 0); }},
      {"SelectBitsShallow", "Buffer length 9 does not match expected 8",
       [&] { ImageFactory::SelectBitsShallow(m_buffer, 9, p, 8, 0); }},
      {"SelectBitsLen", "Image is null", [] { ImageFactory::SelectBitsLen(nullptr, 9, 0); }},
      {"DecompressImage", "Image is null", [] { ImageFactory::DecompressImage(nullptr); }},
      {"DeinterleaveChannels", "Image is null",
       [] { ImageFactory::DeinterleaveChannels(nullptr); }},
      {"DeinterleaveChannelsShallow", "Ddata is null",
       [] { ImageFactory::DeinterleaveChannelsShallow(nullptr, 0, nullptr); }},
      {"DeinterleaveChannelsShallow", "Param is 0",
       [&] { ImageFactory::DeinterleaveChannelsShallow(m_buffer, 0, nullptr); }},
      {"DeinterleaveChannelsShallow", "Image is null",
       [&] { ImageFactory::DeinterleaveChannelsShallow(m_buffer, 1, nullptr); }},
      {"DeinterleaveChannelsLen", "Image is null",
       [] { ImageFactory::DeinterleaveChannelsLen(nullptr); }},
      {"SplitChannels", "Image is null", [] { ImageFactory::SplitChannels(nullptr); }},
  };
  for (const Refusal& row : refusals) {
    const bool length = row.message.starts_with("Buffer length");
    EXPECT_EQ(Thrown<InvalidArgumentException>(row.call),
              InvalidFrom(at(row.message.c_str(), row.operation.c_str()),
                          length ? "CheckLen" : "CheckParam"));
  }
  const Refusal ownTexts[] = {
      {"CreateCompressedImage", "Param is not a compressed pixel format (Mono8)",
       [&] { ImageFactory::CreateCompressedImage(m_bytes, 4, f); }},
      {"CreateCompressedImage", "Param is not a compressed pixel format (UnknownPixelFormat)",
       [&] { ImageFactory::CreateCompressedImage(m_bytes, 4, uint64_t{1} << 32 | QOI_RGB8); }},
      {"SelectBits", "not implemented for 16 number of bits",
       [&] { ImageFactory::SelectBits(p, 16, 0); }},
      {"SelectBitsLen", "not implemented for 7 number of bits",
       [&] { ImageFactory::SelectBitsLen(p, 7, 0); }},
      {"SelectBitsLen", "not implemented for 7 number of bits",
       [&] { ImageFactory::SelectBitsShallow(m_buffer, 8, p, 7, 0); }},
      {"SelectBitsAndScale", "Image is null when selecting bits",
       [] { ImageFactory::SelectBitsAndScale(nullptr, 7, 0); }},
      {"SelectBitsAndScale", "Bit selection only available for 8-bit transformation",
       [&] { ImageFactory::SelectBitsAndScale(p, 7, 0); }},
      {"ProcessSoftwareLUT", "Image is null when processing software LUT",
       [] { ImageFactory::ProcessSoftwareLUT(nullptr, nullptr, 0); }},
      {"Destroy", "Image is null", [] { ImageFactory::Destroy(nullptr); }},
      {"DestroyCompressedImage", "Image is null",
       [] { ImageFactory::DestroyCompressedImage(nullptr); }},
  };
  for (const Refusal& row : ownTexts) {
    EXPECT_EQ(Thrown<InvalidArgumentException>(row.call), InvalidFrom(row.message, row.operation));
  }
}

TEST_F(ImageFactoryFrontEnd, NeverAllocatesLessThanASizeThatOverflows) {
  // 2^61 x 2 pixels of 64 bits are 2^68 bits, which wrap to 0; plus four bytes they wrap to four.
  for (const auto& [width, height] :
       {std::pair<size_t, size_t>{size_t{1} << 61, 2}, {size_t{1} << 32, (size_t{1} << 32) + 1}}) {
    for (const size_t length : {size_t{0x1000}, size_t{1}, size_t{1} << 29}) {
      EXPECT_THAT(Thrown<InvalidArgumentException>(
                      [&] { ImageFactory::CreateEmpty(length, width, height, RGBa16); }),
                  HasSubstr("Image size is out of range"));
      EXPECT_THAT(Thrown<InvalidArgumentException>(
                      [&] { ImageFactory::Shallow(m_bytes, length, width, height, RGBa16); }),
                  HasSubstr("Image size is out of range"));
    }
  }
  // A size that is right but that no machine has.
  EXPECT_THAT(Thrown<GenICam::BadAllocException>([] {
                ImageFactory::CreateEmpty(size_t{1} << 60, size_t{1} << 30, size_t{1} << 30, Mono8);
              }),
              HasSubstr("Unable to allocate"));
}

TEST_F(ImageFactoryFrontEnd, CreatesImagesWithPlainProperties) {
  const ImagePtr image(ImageFactory::Create(m_bytes, 4, 2, 2, Mono8));
  EXPECT_THAT(DataOf(image.get()), ElementsAre(1, 2, 3, 4));
  EXPECT_NE(image->GetData(), m_bytes);
  EXPECT_EQ(image->GetWidth(), 2u);
  EXPECT_EQ(image->GetHeight(), 2u);
  EXPECT_EQ(image->GetPixelFormat(), Mono8);
  EXPECT_EQ(image->GetBitsPerPixel(), 8u);
  EXPECT_EQ(image->GetTimestamp(), 0u);
  EXPECT_EQ(image->GetOffsetX() + image->GetOffsetY(), 0u);
  EXPECT_EQ(image->GetPaddingX() + image->GetPaddingY(), 0u);
  EXPECT_EQ(image->GetPixelEndianness(), PixelEndiannessUnknown);
  EXPECT_EQ(image->GetSizeFilled(), 4u);
  EXPECT_EQ(image->GetPayloadSize(), 4u);
  EXPECT_EQ(image->GetSizeOfBuffer(), 4u);
  EXPECT_EQ(image->GetFrameId(), 0u);
  EXPECT_EQ(image->GetPayloadType(), BufferPayloadTypeImage);
  EXPECT_TRUE(image->HasImageData());
  EXPECT_FALSE(image->HasChunkData());
  EXPECT_FALSE(image->IsIncomplete());
  EXPECT_FALSE(image->DataLargerThanBuffer());
  EXPECT_FALSE(image->IsCompressedImage());

  const ImagePtr empty(ImageFactory::CreateEmpty(9, 3, 1, RGB8));
  EXPECT_THAT(DataOf(empty.get()), Each(0));
}

TEST_F(ImageFactoryFrontEnd, LeavesTheBytesOfShallowImagesToTheCaller) {
  IImage* pImage = ImageFactory::Shallow(m_buffer, 4, 2, 2, Mono8);
  EXPECT_EQ(pImage->GetData(), m_buffer);
  ImageFactory::Destroy(pImage);  // the address sanitizer would tell if it freed the buffer
  m_buffer[0] = 9;
  EXPECT_EQ(m_buffer[0], 9);
}

TEST_F(ImageFactoryFrontEnd, CopiesImagesWithTheirProperties) {
  const ImagePtr image = RandomImage(Mono12p, 4, 2);
  const ImagePtr copy(ImageFactory::Copy(image.get()));
  EXPECT_EQ(DataOf(copy.get()), DataOf(image.get()));
  EXPECT_NE(copy->GetData(), image->GetData());
  EXPECT_EQ(copy->GetPixelFormat(), Mono12p);
  EXPECT_EQ(copy->GetWidth(), 4u);

  const CompressedPtr compressed(ImageFactory::CreateCompressedImage(m_bytes, 30, QOI_BGR8));
  const CompressedPtr compressedCopy(ImageFactory::CopyCompressedImage(compressed.get()));
  EXPECT_EQ(compressedCopy->GetSizeFilled(), 30u);
  EXPECT_EQ(compressedCopy->GetPixelFormat(), QOI_BGR8);
  EXPECT_EQ(compressedCopy->GetPayloadType(), BufferPayloadTypeCompressedImage);
  EXPECT_EQ(std::memcmp(compressedCopy->GetData(), m_bytes, 30), 0);
}

// An image of an arbitrary payload type.
class OddImage : public Image {
 public:
  explicit OddImage(uint64_t type) : m_type(type) {}
  uint64_t GetPayloadType() override { return m_type; }

 private:
  uint64_t m_type;
};

TEST_F(ImageFactoryFrontEnd, RefusesToCopyAndDestroyOtherPayloads) {
  OddImage chunkOnly(BufferPayloadTypeChunkData), compressed(BufferPayloadTypeCompressedImage);
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { ImageFactory::Copy(&chunkOnly); }),
            InvalidFrom("Chunk data copy not implemented", "Copy"));
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { ImageFactory::Copy(&compressed); }),
            InvalidFrom("Unknown payload type", "Copy"));
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { ImageFactory::Destroy(&chunkOnly); }),
            InvalidFrom("Chunk data destroy not implemented", "Destroy"));
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { ImageFactory::Destroy(&compressed); }),
            InvalidFrom("Unknown payload type", "Destroy"));
}

TEST_F(ImageFactoryFrontEnd, ConvertsIntoBuffersThatAreLargeEnough) {
  const ImagePtr image = RandomImage(Mono8, 4, 2);
  ASSERT_EQ(ImageFactory::ConvertLen(image.get(), Mono16), 16u);
  const ImagePtr larger(ImageFactory::ConvertShallow(m_buffer, 20, image.get(), Mono16));
  EXPECT_EQ(larger->GetData(), m_buffer);
  EXPECT_EQ(larger->GetSizeFilled(), 20u);
  EXPECT_EQ(
      Thrown<GenICam::AccessException>(
          [&] { ImageFactory::ConvertShallow(m_buffer, 15, image.get(), Mono16); }),
      Plain("AccessException", "insufficient buffer", "ImageFactoryInternal.cpp", "createShallow"));
}

TEST_F(ImageFactoryFrontEnd, NamesTheOperationForFormatsThatItDoesNotKnow) {
  const ImagePtr mono1p = RandomImage(Mono1p, 16, 2), mono8 = RandomImage(Mono8, 4, 2);
  const auto text = [](const std::string& operation, const std::string& format) {
    return Plain("InvalidArgumentException",
                 operation + " algorithm not available for pixel format " + format,
                 "ImageFactoryInternal.cpp", "implNone");
  };
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { ImageFactory::Convert(mono1p.get(), Mono8); }),
            text("convert", "Mono1p"));
  EXPECT_EQ(Thrown<InvalidArgumentException>([&] { ImageFactory::SelectBits(mono1p.get(), 8, 0); }),
            text("select bits", "Mono1p"));
  EXPECT_EQ(
      Thrown<InvalidArgumentException>([&] { ImageFactory::DeinterleaveChannels(mono8.get()); }),
      text("deinterleave channels", "Mono8"));
}

TEST_F(ImageFactoryFrontEnd, AsksForNoMemoryBeforeItKnowsTheFormat) {
  // A format of no bits per pixel needs no data, whatever its size.
  Image image;
  FrameCells::FillImageProps(&image, m_bytes, 64, size_t{1} << 30, size_t{1} << 24, 0x01000001);
  EXPECT_THAT(Thrown<InvalidArgumentException>([&] { ImageFactory::Convert(&image, RGBa16); }),
              HasSubstr("convert algorithm not available for pixel format UnknownPixelFormat"));
}

TEST_F(ImageFactoryFrontEnd, ReadsNoImageThatHoldsLessThanItAnnounces) {
  // As a camera may say: more pixels than the buffer holds, or than there are numbers for. The
  // last but one is 2^67 bits, the last 2^64 + 128, which wrap to none and to sixteen bytes.
  const size_t sides[][2] = {{1000, 1000},
                             {size_t{1} << 63, 3},
                             {size_t{1} << 32, size_t{1} << 32},
                             {(size_t{1} << 61) + 16, 1}};
  const Bytes table(256);
  for (const PfncFormat_ format : {Mono8, DualMono8, YCbCr422_8}) {
    for (const auto& [width, height] : sides) {
      Image image;
      FrameCells::FillImageProps(&image, m_bytes, 64, width, height, format);
      const std::function<void()> calls[] = {
          [&] { ImageFactory::Convert(&image, RGB8); },
          [&] { ImageFactory::Convert(&image, format); },
          [&] { ImageFactory::ConvertShallow(m_buffer, 64, &image, RGB8); },
          [&] { ImageFactory::SelectBits(&image, 8, 0); },
          [&] { ImageFactory::SelectBitsAndScale(&image, 8, 0); },
          [&] { ImageFactory::DeinterleaveChannels(&image); },
          [&] { ImageFactory::SplitChannels(&image); },
      };
      for (const auto& call : calls) {
        EXPECT_THAT(
            Thrown<InvalidArgumentException>(call),
            AnyOf(HasSubstr("Image data is smaller than"), HasSubstr("Image size is out of range")))
            << width << "x" << height << " of " << format;
      }
      // A table is applied to the bytes that there are.
      const ImagePtr looked(ImageFactory::ProcessSoftwareLUT(&image, table.data(), table.size()));
      EXPECT_EQ(looked->GetSizeFilled(), 64u);
      if (width == 1000) continue;
      EXPECT_THAT(
          Thrown<InvalidArgumentException>([&] { ImageFactory::ConvertLen(&image, RGBa16); }),
          HasSubstr("Image size is out of range"));
    }
  }
}

}  // namespace
}  // namespace Orvex::Testing
