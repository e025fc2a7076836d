// SPDX-License-Identifier: Apache-2.0
// Conversions between any two formats, of images of any size, deep and into a buffer of exactly the
// length that they ask for.
#include <stdexcept>
#include <vector>

#include "fuzz/FuzzImages.h"

using Orvex::ImageFactory;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  OrvexFuzz::WithFactory();
  OrvexFuzz::Input input(pData, size);
  const uint64_t format = input.TakeFormat();
  const auto algorithm = static_cast<Orvex::_EBayerAlgorithm>(input.Take<uint8_t>() % 3);
  OrvexFuzz::ForeignImage image(input);
  OrvexFuzz::Try([&]() -> Orvex::IImage* {
    // Not every byte of a result is written: some rules leave them as they were.
    ImageFactory::Destroy(ImageFactory::Convert(image.Get(), format, algorithm));
    return nullptr;
  });
  std::vector<uint8_t> buffer;
  OrvexFuzz::Try([&] {
    constexpr size_t sk_most = 1 << 20;
    const size_t length = ImageFactory::ConvertLen(image.Get(), format);
    buffer.resize(length < sk_most ? length : sk_most);
    return buffer.empty() ? nullptr
                          : ImageFactory::ConvertShallow(buffer.data(), buffer.size(), image.Get(),
                                                         format, algorithm);
  });
  return 0;
}
