// SPDX-License-Identifier: Apache-2.0
// QOI streams as a camera sends them: whatever the bytes are, only they are read. What decodes is
// encoded again and has to come back the same.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Orvex/Qoi.h"

namespace {

struct FreeDeleter {
  void operator()(uint8_t* p) const { std::free(p); }
};
using Bytes = std::unique_ptr<uint8_t, FreeDeleter>;

void CheckRoundTrip(const uint8_t* pPixels, const Orvex::qoi_desc& desc) {
  int size = 0;
  const Bytes stream(Orvex::qoi_encode(pPixels, &desc, &size));
  Orvex::qoi_desc again;
  const Bytes pixels(stream ? Orvex::qoi_decode(stream.get(), size, &again, 0) : nullptr);
  const size_t bytes = size_t{desc.width} * desc.height * desc.channels;
  if (!pixels || std::memcmp(pixels.get(), pPixels, bytes) != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  for (const int channels : {0, 1, 3, 4}) {
    Orvex::qoi_desc desc;
    const Bytes pixels(Orvex::qoi_decode(pData, static_cast<int>(size), &desc, channels));
    if (!pixels) continue;
    if (channels != 0) desc.channels = static_cast<uint8_t>(channels);
    CheckRoundTrip(pixels.get(), desc);
  }
  return 0;
}
