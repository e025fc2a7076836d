// SPDX-License-Identifier: Apache-2.0
// Lookup tables, bit selection and deinterleaving over images of any format and size.
#include <stdexcept>
#include <vector>

#include "fuzz/FuzzImages.h"

using Orvex::ImageFactory;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  OrvexFuzz::WithFactory();
  OrvexFuzz::Input input(pData, size);
  // Every length that some layout takes, up to those of 16 bits, and one that none does.
  static const size_t sk_lengths[] = {256,   512,   768,    1024,   2048,   8192, 16384,
                                      24576, 32768, 131072, 393216, 524288, 100};
  const size_t length = sk_lengths[input.Take<uint8_t>() % std::size(sk_lengths)];
  const auto lowestBit = input.Take<int8_t>();
  const auto scale = input.Take<double>();
  const std::vector<uint8_t> table(length, input.Take<uint8_t>());
  OrvexFuzz::ForeignImage image(input);
  OrvexFuzz::Try(
      [&] { return ImageFactory::ProcessSoftwareLUT(image.Get(), table.data(), length); });
  OrvexFuzz::Try([&] { return ImageFactory::SelectBits(image.Get(), 8, lowestBit); });
  OrvexFuzz::Try([&] { return ImageFactory::SelectBitsAndScale(image.Get(), 8, scale); });
  OrvexFuzz::Try([&] { return ImageFactory::DeinterleaveChannels(image.Get()); });
  return 0;
}
