// SPDX-License-Identifier: Apache-2.0
#include "tools/recording/Layout.h"

#include <algorithm>

#include "tools/recording/Crc32c.h"

namespace OrvexTools {
namespace {

constexpr std::array<std::uint8_t, 8> sk_headMark = {'O', 'R', 'V', 'E', 'X', 'R', 'E', 'C'};
constexpr std::array<std::uint8_t, 8> sk_tailMark = {'O', 'R', 'V', 'E', 'X', 'E', 'N', 'D'};
constexpr std::uint32_t sk_version = 1;
constexpr std::uint16_t sk_incompleteFlag = 1;

void Put(std::uint8_t* pTarget, std::uint64_t value, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) pTarget[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint64_t Get(const std::uint8_t* pSource, std::size_t bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) value |= std::uint64_t{pSource[i]} << (8 * i);
  return value;
}

// The last four bytes of every fixed block are the checksum of those before.
template <std::size_t Size>
void Seal(std::array<std::uint8_t, Size>& bytes) {
  Put(&bytes[Size - 4], Crc32c(std::span(bytes).first(Size - 4)), 4);
}
bool IsSealed(std::span<const std::uint8_t> bytes) {
  return Get(&bytes[bytes.size() - 4], 4) == Crc32c(bytes.first(bytes.size() - 4));
}

// The numbers of a frame in a header: place, size, member.
template <class Facts, class Visit>
void VisitNumbers(Facts& facts, Visit visit) {
  visit(24, facts.frameId);
  visit(32, facts.timestampNs);
  visit(40, facts.hostTimeNs);
  visit(48, facts.pixelFormat);
  visit(56, facts.payloadType);
  visit(64, facts.width);
  visit(68, facts.height);
  visit(72, facts.offsetX);
  visit(76, facts.offsetY);
  visit(80, facts.paddingX);
  visit(84, facts.paddingY);
  visit(88, facts.imageBytes);
  visit(96, facts.droppedBefore);
}

}  // namespace

void PutU64(std::uint8_t* pTarget, std::uint64_t value) {
  Put(pTarget, value, 8);
}
std::uint64_t GetU64(const std::uint8_t* pSource) {
  return Get(pSource, 8);
}

FileHeadBytes EncodeHead(std::uint64_t createdNs) {
  FileHeadBytes bytes{};
  std::copy(sk_headMark.begin(), sk_headMark.end(), bytes.begin());
  Put(&bytes[8], sk_version, 4);
  Put(&bytes[12], sk_fileHeadSize, 4);
  Put(&bytes[16], createdNs, 8);
  Seal(bytes);
  return bytes;
}

bool IsHead(std::span<const std::uint8_t> bytes) {
  return bytes.size() == sk_fileHeadSize && IsSealed(bytes) &&
         std::equal(sk_headMark.begin(), sk_headMark.end(), bytes.begin()) &&
         Get(&bytes[8], 4) == sk_version;
}

RecordHeaderBytes EncodeHeader(const RecordHeader& header) {
  RecordHeaderBytes bytes{};
  std::copy(sk_recordMark.begin(), sk_recordMark.end(), bytes.begin());
  Put(&bytes[4], static_cast<std::uint16_t>(header.type), 2);
  Put(&bytes[6], header.frame.incomplete ? sk_incompleteFlag : 0, 2);
  Put(&bytes[8], header.payloadBytes, 8);
  Put(&bytes[16], header.sequence, 8);
  VisitNumbers(header.frame, [&bytes](std::size_t place, const auto& number) {
    Put(&bytes[place], number, sizeof number);
  });
  Put(&bytes[120], header.payloadCrc, 4);
  Seal(bytes);
  return bytes;
}

std::optional<RecordHeader> DecodeHeader(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != sk_recordHeaderSize ||
      !std::equal(sk_recordMark.begin(), sk_recordMark.end(), bytes.begin()) || !IsSealed(bytes))
    return std::nullopt;
  RecordHeader header;
  header.type = static_cast<RecordType>(Get(&bytes[4], 2));
  header.frame.incomplete = (Get(&bytes[6], 2) & sk_incompleteFlag) != 0;
  header.payloadBytes = Get(&bytes[8], 8);
  header.sequence = Get(&bytes[16], 8);
  VisitNumbers(header.frame, [&bytes](std::size_t place, auto& number) {
    number =
        static_cast<std::remove_reference_t<decltype(number)>>(Get(&bytes[place], sizeof number));
  });
  header.payloadCrc = static_cast<std::uint32_t>(Get(&bytes[120], 4));
  return header;
}

FileTailBytes EncodeTail(const FileTail& tail) {
  FileTailBytes bytes{};
  std::copy(sk_tailMark.begin(), sk_tailMark.end(), bytes.begin());
  Put(&bytes[8], tail.indexOffset, 8);
  Put(&bytes[16], tail.frames, 8);
  Seal(bytes);
  return bytes;
}

std::optional<FileTail> DecodeTail(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != sk_fileTailSize ||
      !std::equal(sk_tailMark.begin(), sk_tailMark.end(), bytes.begin()) || !IsSealed(bytes))
    return std::nullopt;
  return FileTail{Get(&bytes[8], 8), Get(&bytes[16], 8)};
}

}  // namespace OrvexTools
