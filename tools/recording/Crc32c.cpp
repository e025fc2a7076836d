// SPDX-License-Identifier: Apache-2.0
#include "tools/recording/Crc32c.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace OrvexTools {
namespace {

constexpr std::uint32_t sk_polynomial = 0x82F63B78;
using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr Tables MakeTables() {
  Tables tables{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t value = i;
    for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ ((value & 1) != 0 ? sk_polynomial : 0);
    tables[0][i] = value;
  }
  for (std::size_t t = 1; t < tables.size(); ++t) {
    for (std::size_t i = 0; i < 256; ++i)
      tables[t][i] = (tables[t - 1][i] >> 8) ^ tables[0][tables[t - 1][i] & 255];
  }
  return tables;
}

constexpr Tables sk_tables = MakeTables();

#if defined(__x86_64__)
__attribute__((target("sse4.2"))) std::uint32_t ByInstruction(std::span<const std::uint8_t> bytes,
                                                              std::uint32_t before) {
  std::uint64_t crc = ~before;
  const std::uint8_t* pNext = bytes.data();
  std::size_t left = bytes.size();
  for (; left >= 8; left -= 8, pNext += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, pNext, sizeof word);
    crc = _mm_crc32_u64(crc, word);
  }
  auto narrow = static_cast<std::uint32_t>(crc);
  for (; left > 0; --left) narrow = _mm_crc32_u8(narrow, *pNext++);
  return ~narrow;
}
#endif

}  // namespace

std::uint32_t Crc32cByTable(std::span<const std::uint8_t> bytes, std::uint32_t before) {
  std::uint32_t crc = ~before;
  const std::uint8_t* pNext = bytes.data();
  std::size_t left = bytes.size();
  for (; left >= 8; left -= 8, pNext += 8) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      value ^= sk_tables[7 - i][(pNext[i] ^ (crc >> (8 * i))) & 255];
      value ^= sk_tables[3 - i][pNext[4 + i]];
    }
    crc = value;
  }
  for (; left > 0; --left) crc = (crc >> 8) ^ sk_tables[0][(crc ^ *pNext++) & 255];
  return ~crc;
}

std::uint32_t Crc32c(std::span<const std::uint8_t> bytes, std::uint32_t before) {
#if defined(__x86_64__)
  static const bool sk_hasInstruction = __builtin_cpu_supports("sse4.2") != 0;
  if (sk_hasInstruction) return ByInstruction(bytes, before);
#endif
  return Crc32cByTable(bytes, before);
}

}  // namespace OrvexTools
