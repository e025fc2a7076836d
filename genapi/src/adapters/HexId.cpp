// SPDX-License-Identifier: Apache-2.0
// Chunk and event ids.

#include "adapters/HexId.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "adapters/Limits.h"

namespace OrvexGenApi {

namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::optional<std::vector<uint8_t>> ParseHexId(const GenICam::gcstring& text) {
  constexpr std::string_view sk_blanks = " \t\r\n";
  std::string_view digits(text.c_str(), text.size());
  digits.remove_prefix(std::min(digits.find_first_not_of(sk_blanks), digits.size()));
  digits.remove_suffix(digits.size() -
                       std::min(digits.find_last_not_of(sk_blanks) + 1, digits.size()));
  if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
  if (digits.empty() || digits.size() > 2 * sk_maxIdBytes) return std::nullopt;
  std::vector<uint8_t> id((digits.size() + 1) / 2);
  size_t nibble = digits.size() % 2;
  for (const char c : digits) {
    const int digit = HexDigit(c);
    if (digit < 0) return std::nullopt;
    id[nibble / 2] = uint8_t(id[nibble / 2] << 4 | digit);
    ++nibble;
  }
  return id;
}

bool SameId(const std::vector<uint8_t>& id, const uint8_t* pBytes, size_t length) {
  const auto isZero = [](uint8_t byte) { return byte == 0; };
  if (id.empty() || !pBytes || length == 0) return false;
  const auto left = std::find_if_not(id.begin(), id.end(), isZero);
  return std::equal(left, id.end(), std::find_if_not(pBytes, pBytes + length, isZero),
                    pBytes + length);
}

bool SameId(const std::vector<uint8_t>& id, uint64_t number) {
  std::array<uint8_t, 8> bytes;
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(number >> (56 - 8 * i));
  return SameId(id, bytes.data(), bytes.size());
}

}  // namespace OrvexGenApi
