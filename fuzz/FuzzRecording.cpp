// SPDX-License-Identifier: Apache-2.0
// Recordings, foreign until parsed: opening one fails by Failure alone, and whatever frames it
// gives lie inside it.
#include <cstdlib>
#include <cstring>

#include "tests/tools/MemoryBytes.h"
#include "tools/Failure.h"
#include "tools/recording/Crc32c.h"
#include "tools/recording/RecordingReader.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

template <std::size_t Size>
void SealAt(std::vector<std::uint8_t>& bytes, std::size_t at) {
  const std::uint32_t crc = OrvexTools::Crc32c(std::span(bytes).subspan(at, Size - 4));
  std::memcpy(&bytes[at + Size - 4], &crc, sizeof crc);
}

// Checksums that fit wherever one is expected, which no mutation would find.
std::vector<std::uint8_t> Sealed(std::span<const std::uint8_t> input) {
  using namespace OrvexTools;
  std::vector<std::uint8_t> bytes(input.begin(), input.end());
  if (bytes.size() >= sk_fileHeadSize) SealAt<sk_fileHeadSize>(bytes, 0);
  if (bytes.size() >= sk_fileHeadSize + sk_fileTailSize)
    SealAt<sk_fileTailSize>(bytes, bytes.size() - sk_fileTailSize);
  for (std::size_t at = sk_fileHeadSize; at + sk_recordHeaderSize <= bytes.size();
       at += sk_recordAlignment) {
    if (std::memcmp(&bytes[at], sk_recordMark.data(), sk_recordMark.size()) != 0) continue;
    const std::size_t left = bytes.size() - at - sk_recordHeaderSize;
    const std::uint64_t length = GetU64(&bytes[at + 8]);
    if (length <= left) {
      const std::uint32_t crc =
          Crc32c(std::span(bytes).subspan(at + sk_recordHeaderSize, static_cast<size_t>(length)));
      std::memcpy(&bytes[at + 120], &crc, sizeof crc);
    }
    SealAt<sk_recordHeaderSize>(bytes, at);
  }
  return bytes;
}

void ReadAll(std::vector<std::uint8_t> bytes) {
  const std::size_t size = bytes.size();
  try {
    OrvexTools::RecordingReader reader(std::make_unique<OrvexTest::MemoryBytes>(std::move(bytes)),
                                       "input");
    Require(reader.LostBytes() <= size && reader.Camera().size() <= size);
    std::vector<std::uint8_t> data;
    for (std::size_t i = 0; i < reader.Count(); ++i) {
      const auto header = reader.Header(i);
      const auto frame = reader.Frame(i, data);
      Require(!frame || (header && data.size() == header->payloadBytes &&
                         header->frame.imageBytes <= data.size()));
      Require(data.size() <= size);
    }
  } catch (const OrvexTools::Failure&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  ReadAll({pData, pData + size});
  ReadAll(Sealed({pData, size}));
  return 0;
}
