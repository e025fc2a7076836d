#pragma once
// SPDX-License-Identifier: Apache-2.0
// How a recording lies in its file; docs/recording.md tells it with all offsets. A file is a head,
// then records (a header of fixed size and a payload with a checksum each), then, when it was
// closed, an index and a tail that points to it. Numbers are little-endian, records begin at
// multiples of eight. Plain values and pure functions, any thread.

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace OrvexTools {

inline constexpr std::size_t sk_fileHeadSize = 64;
inline constexpr std::size_t sk_recordHeaderSize = 128;
inline constexpr std::size_t sk_fileTailSize = 32;
inline constexpr std::uint64_t sk_recordAlignment = 8;
inline constexpr std::array<std::uint8_t, 4> sk_recordMark = {'O', 'R', 'V', 'R'};

enum class RecordType : std::uint16_t {
  Camera = 1,  // payload: JSON about the camera
  Frame = 2,   // payload: the frame's bytes as they came
  Index = 3,   // payload: the places of all frames, 64 bits each
};

// What is known of a frame besides its bytes. Sizes in pixels, paddings in bytes.
struct FrameFacts {
  bool incomplete = false;
  std::uint64_t frameId = 0;
  std::uint64_t timestampNs = 0;  // of the camera's clock
  std::uint64_t hostTimeNs = 0;   // since 1970, when it was handed over
  std::uint64_t pixelFormat = 0;  // 0: no image
  std::uint64_t payloadType = 0;  // one of _EBufferPayloadType
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t offsetX = 0;
  std::uint32_t offsetY = 0;
  std::uint32_t paddingX = 0;
  std::uint32_t paddingY = 0;
  std::uint64_t imageBytes = 0;     // of the payload; chunks follow them
  std::uint64_t droppedBefore = 0;  // frames that found the ring full, since the beginning
};

struct RecordHeader {
  RecordType type = RecordType::Frame;
  std::uint64_t payloadBytes = 0;
  std::uint64_t sequence = 0;  // records before this one
  FrameFacts frame;
  std::uint32_t payloadCrc = 0;
};

struct FileTail {
  std::uint64_t indexOffset = 0;
  std::uint64_t frames = 0;
};

using FileHeadBytes = std::array<std::uint8_t, sk_fileHeadSize>;
using RecordHeaderBytes = std::array<std::uint8_t, sk_recordHeaderSize>;
using FileTailBytes = std::array<std::uint8_t, sk_fileTailSize>;

FileHeadBytes EncodeHead(std::uint64_t createdNs);
bool IsHead(std::span<const std::uint8_t> bytes);  // of this version

RecordHeaderBytes EncodeHeader(const RecordHeader& header);
// Nothing when the bytes are no header or their checksum does not fit.
std::optional<RecordHeader> DecodeHeader(std::span<const std::uint8_t> bytes);

FileTailBytes EncodeTail(const FileTail& tail);
std::optional<FileTail> DecodeTail(std::span<const std::uint8_t> bytes);

void PutU64(std::uint8_t* pTarget, std::uint64_t value);
std::uint64_t GetU64(const std::uint8_t* pSource);

// Bytes that a payload takes in the file.
constexpr std::uint64_t Padded(std::uint64_t bytes) {
  return (bytes + sk_recordAlignment - 1) / sk_recordAlignment * sk_recordAlignment;
}

}  // namespace OrvexTools
