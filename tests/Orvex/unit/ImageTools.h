#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the tests of images share: exceptions as text, images with an owner, samples laid out bit by
// bit.

#include <Base/GCException.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <typeinfo>
#include <vector>

#include "ImageFactory.h"
#include "Orvex/ImageFactoryInternal.h"

namespace Orvex::Testing {

using Bytes = std::vector<uint8_t>;

// The description of the E that `act` throws; anything else is a failure of the test.
template <class E>
std::string Thrown(const std::function<void()>& act) {
  try {
    act();
  } catch (const GenICam::GenericException& e) {
    EXPECT_EQ(typeid(e), typeid(E)) << e.GetDescription();
    return e.GetDescription();
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

// "CLASS: MESSAGE (UNIT, FUNCTION)"
inline std::string Plain(const std::string& className, const std::string& message,
                         const std::string& unit, const std::string& function) {
  return className + ": " + message + " (" + unit + ", " + function + ")";
}

// Opens the factory for the time of a test.
class WithFactory : public testing::Test {
 protected:
  void SetUp() override { OpenImageFactory(); }
  void TearDown() override { CloseImageFactory(); }
};

struct ImageDestroyer {
  void operator()(IImage* p) const { ImageFactory::Destroy(p); }
  void operator()(ICompressedImage* p) const { ImageFactory::DestroyCompressedImage(p); }
};
using ImagePtr = std::unique_ptr<IImage, ImageDestroyer>;
using CompressedPtr = std::unique_ptr<ICompressedImage, ImageDestroyer>;

inline Bytes DataOf(IImage* pImage) {
  return Bytes(pImage->GetData(), pImage->GetData() + pImage->GetSizeFilled());
}

inline Bytes RandomBytes(size_t size, unsigned seed = 1) {
  std::minstd_rand random(seed);
  Bytes bytes(size);
  for (size_t i = 0; i < size; i += 2) {
    const auto value = static_cast<uint32_t>(random());
    bytes[i] = static_cast<uint8_t>(value >> 8);
    if (i + 1 < size) bytes[i + 1] = static_cast<uint8_t>(value >> 16);
  }
  return bytes;
}

// An image of the format over a copy of the bytes, of which it takes as many as it needs.
inline ImagePtr MakeImage(uint64_t format, size_t width, size_t height, const Bytes& bytes) {
  const size_t size = ImageBytes(width, height, format);
  EXPECT_LE(size, bytes.size());
  return ImagePtr(ImageFactory::Create(bytes.data(), size, width, height, format));
}

inline ImagePtr RandomImage(uint64_t format, size_t width, size_t height, unsigned seed = 1) {
  return MakeImage(format, width, height, RandomBytes(ImageBytes(width, height, format), seed));
}

// How samples lie in memory, one bit after the other: bit k of sample i is bit At(i, k) of the
// data, bit 0 being the lowest of the first byte.
struct BitLayout {
  unsigned bits;
  size_t (*At)(size_t i, unsigned k);
};

inline constexpr BitLayout sk_bits8{8, [](size_t i, unsigned k) { return 8 * i + k; }};
inline constexpr BitLayout sk_bits10{10, [](size_t i, unsigned k) { return 16 * i + k; }};
inline constexpr BitLayout sk_bits12{12, [](size_t i, unsigned k) { return 16 * i + k; }};
inline constexpr BitLayout sk_bits16{16, [](size_t i, unsigned k) { return 16 * i + k; }};
inline constexpr BitLayout sk_bits24{24, [](size_t i, unsigned k) { return 24 * i + k; }};
inline constexpr BitLayout sk_bits10p{10, [](size_t i, unsigned k) { return 10 * i + k; }};
inline constexpr BitLayout sk_bits12p{12, [](size_t i, unsigned k) { return 12 * i + k; }};
// Pairs in three bytes: high bits, low bits of both in the middle byte's nibbles, high bits.
inline constexpr BitLayout sk_bits10Packed{
    10, [](size_t i, unsigned k) {
      return i / 2 * 24 + (k < 2 ? 8 + i % 2 * 4 + k : i % 2 * 16 + k - 2);
    }};
inline constexpr BitLayout sk_bits12Packed{
    12, [](size_t i, unsigned k) {
      return i / 2 * 24 + (k < 4 ? 8 + i % 2 * 4 + k : i % 2 * 16 + k - 4);
    }};

// Sample i; bits beyond the end of the data are 0.
inline uint32_t Sample(const BitLayout& layout, const Bytes& data, size_t i) {
  uint32_t value = 0;
  for (unsigned k = 0; k < layout.bits; ++k) {
    const size_t at = layout.At(i, k);
    if (at / 8 < data.size()) value |= (uint32_t{data[at / 8]} >> at % 8 & 1) << k;
  }
  return value;
}

inline void PutSample(const BitLayout& layout, Bytes& data, size_t i, uint32_t value) {
  for (unsigned k = 0; k < layout.bits; ++k) {
    const size_t at = layout.At(i, k);
    if (at / 8 >= data.size()) continue;
    const auto mask = static_cast<uint8_t>(1u << at % 8);
    data[at / 8] = static_cast<uint8_t>((data[at / 8] & ~mask) | ((value >> k & 1) ? mask : 0));
  }
}

}  // namespace Orvex::Testing
