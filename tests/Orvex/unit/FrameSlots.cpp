// SPDX-License-Identifier: Apache-2.0
// The order of virtual functions is part of the binary interface: frames, descriptors, contract.
#include <gtest/gtest.h>

#include <cstring>

#include "IChunkData.h"
#include "ICompressedImage.h"
#include "Orvex/CompressedImage.h"
#include "Orvex/Image.h"
#include "Orvex/ImageFactoryInternal.h"
#include "PixelFormat.h"

namespace Orvex::Testing {
namespace {

// Place of a virtual function in its class's table, as the Itanium C++ ABI keeps it in a pointer to
// member.
template <class Member>
size_t Slot(Member member) {
  uintptr_t raw;
  std::memcpy(&raw, &member, sizeof raw);
  return (raw - 1) / sizeof(void*);
}

// The given functions stand one after the other from `first` on.
template <class... Members>
void ExpectOrder(size_t first, Members... members) {
  const size_t slots[] = {Slot(members)...};
  for (size_t i = 0; i < std::size(slots); ++i) EXPECT_EQ(slots[i], first + i);
}

// After its functions IBuffer has two entries for its destructor.
constexpr size_t sk_afterBuffer = 17;

TEST(FrameSlots, KeepTheOrderOfTheInterfaces) {
  ExpectOrder(0, &IBuffer::GetData, &IBuffer::GetSizeFilled, &IBuffer::GetPayloadSize,
              &IBuffer::GetSizeOfBuffer, &IBuffer::GetFrameId, &IBuffer::GetPayloadType,
              &IBuffer::HasImageData, &IBuffer::HasChunkData, &IBuffer::IsCompressedImage,
              &IBuffer::AsImage, &IBuffer::AsChunkData, &IBuffer::AsCompressedImage,
              &IBuffer::IsIncomplete, &IBuffer::DataLargerThanBuffer, &IBuffer::VerifyCRC);
  ExpectOrder(sk_afterBuffer, &IImage::GetWidth, &IImage::GetHeight, &IImage::GetOffsetX,
              &IImage::GetOffsetY, &IImage::GetPaddingX, &IImage::GetPaddingY,
              &IImage::GetPixelFormat, &IImage::GetBitsPerPixel, &IImage::GetPixelEndianness,
              &IImage::GetTimestamp, &IImage::GetTimestampNs);
  ExpectOrder(sk_afterBuffer, &IChunkData::GetChunk);
  ExpectOrder(sk_afterBuffer, &ICompressedImage::GetPixelFormat, &ICompressedImage::GetTimestamp,
              &ICompressedImage::GetTimestampNs);
  ExpectOrder(2, &IImplementation::SelectBitsAndScale, &IImplementation::ProcessSoftwareLUT);
}

TEST(FrameSlots, PutWhatClassesAddBehindTheirInterfaces) {
  ExpectOrder(sk_afterBuffer, &Buffer::GetBufferHandle);
  ExpectOrder(sk_afterBuffer + 11, &Image::GetNumChannels, &Image::GetBitsPerChannel,
              &Image::GetBytesPerStep, &Image::GetPixelsPerStep);
  ExpectOrder(sk_afterBuffer + 3, &CompressedImage::GetNumChannels);
}

TEST(FrameSlots, BeginTheContractWithSizesAndEndItWithTheRefusal) {
  using C = IPixelFormatContract;
  ExpectOrder(0, &C::Len, &C::PixelFormat, &C::Width, &C::Height, &C::ProcessMono8,
              &C::ProcessMono10, &C::ProcessMono10p, &C::ProcessMono10Packed, &C::ProcessMono12,
              &C::ProcessMono12p, &C::ProcessMono12Packed, &C::ProcessMono16, &C::ProcessMono24,
              &C::ProcessBayerRG8);
  ExpectOrder(Slot(&C::ProcessBayerRG24), &C::ProcessBayerRG24, &C::ProcessBayerGR8);
  ExpectOrder(Slot(&C::ProcessBayerGR24), &C::ProcessBayerGR24, &C::ProcessBayerBG8);
  ExpectOrder(Slot(&C::ProcessBayerBG24), &C::ProcessBayerBG24, &C::ProcessBayerGB8);
  ExpectOrder(Slot(&C::ProcessBayerGB24), &C::ProcessBayerGB24, &C::ProcessRGB8, &C::ProcessRGB12p,
              &C::ProcessRGB12, &C::ProcessRGB16, &C::ProcessRGB24, &C::ProcessRGBa8,
              &C::ProcessBGR8);
  ExpectOrder(Slot(&C::ProcessBGRa8), &C::ProcessBGRa8, &C::ProcessYCbCr8, &C::ProcessYCbCr8_CbYCr,
              &C::ProcessYUV422_8);
  ExpectOrder(Slot(&C::ProcessQuadBayerBG8) - 8, &C::ProcessQuadBayerGB8);
  ExpectOrder(Slot(&C::algorithmName), &C::algorithmName, &C::implNone,
              &PixelFormatContractStandardImpl::StandardProcess,
              &PixelFormatContractStandardImpl::StandardShallow);
}

}  // namespace
}  // namespace Orvex::Testing
