#pragma once
// SPDX-License-Identifier: Apache-2.0
// Bytes as they stand in a table: "42 01 0080". Blanks are ignored; "(00 x 12)" repeats a byte.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

inline std::vector<uint8_t> Hex(std::string_view text) {
  std::vector<uint8_t> bytes;
  const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
  for (size_t i = 0; i < text.size();) {
    if (text[i] == ' ') {
      ++i;
    } else if (text[i] == '(') {
      const size_t end = text.find(')', i);
      const auto value = static_cast<uint8_t>(digit(text[i + 1]) << 4 | digit(text[i + 2]));
      bytes.insert(bytes.end(), std::stoul(std::string(text.substr(i + 6, end - i - 6))), value);
      i = end + 1;
    } else {
      bytes.push_back(static_cast<uint8_t>(digit(text[i]) << 4 | digit(text[i + 1])));
      i += 2;
    }
  }
  return bytes;
}
