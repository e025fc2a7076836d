#pragma once
// SPDX-License-Identifier: Apache-2.0
// Pixels laid out by hand for tests of conversions, and buffers that end at a page nobody may
// touch.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace ConvertPixels {

using Bytes = std::vector<uint8_t>;

#define CONVERT_TEST_SINGLE(X, family) \
  X(family##8)                         \
  X(family##10)                        \
  X(family##10p)                       \
  X(family##10Packed)                  \
  X(family##12) X(family##12p) X(family##12Packed) X(family##16) X(family##24)

#define CONVERT_TEST_COLOUR(X)                                                                  \
  X(RGB8)                                                                                       \
  X(RGB12)                                                                                      \
  X(RGB12p)                                                                                     \
  X(RGB16) X(RGB24) X(RGBa8) X(RGBa16) X(BGR8) X(BGR12) X(BGR12p) X(BGR16) X(BGR24) X(BGRa8)    \
      X(BGRa16) X(YCbCr8) X(YCbCr8_CbYCr) X(YUV8_UYV) X(YCbCr16_CbYCr) X(YCbCr24_CbYCr)         \
          X(YCbCr422_8) X(YCbCr422_8_CbYCrY) X(YUV422_8) X(YUV422_8_UYVY) X(YCbCr422_16_CbYCrY) \
              X(YCbCr422_24_CbYCrY) X(YCbCr411_8) X(YCbCr411_8_CbYYCrYY) X(YUV411_8_UYYVYY)     \
                  X(YCbCr411_16_CbYYCrYY) X(YCbCr411_24_CbYYCrYY)

inline Bytes Noise(size_t size, unsigned seed) {
  std::minstd_rand random(seed + 1);
  Bytes bytes(size);
  for (uint8_t& b : bytes) b = uint8_t(random() >> 11);
  return bytes;
}

inline Bytes Repeat(const Bytes& part, size_t times) {
  Bytes all;
  for (size_t i = 0; i < times; ++i) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// Values of the depth's own width in its packing.
inline Bytes PackBits(const std::string& depth, const std::vector<int>& values) {
  Bytes out;
  const auto add = [&out](int v) { out.push_back(uint8_t(v)); };
  if (depth == "10" || depth == "12" || depth == "16") {
    for (const int v : values) add(v), add(v >> 8);
  } else if (depth == "10p") {
    for (size_t i = 0; i + 3 < values.size(); i += 4) {
      const int a = values[i], b = values[i + 1], c = values[i + 2], d = values[i + 3];
      add(a), add(a >> 8 | b << 2), add(b >> 6 | c << 4), add(c >> 4 | d << 6), add(d >> 2);
    }
  } else if (depth == "12p") {
    for (size_t i = 0; i + 1 < values.size(); i += 2) {
      const int a = values[i], b = values[i + 1];
      add(a), add(a >> 8 | b << 4), add(b >> 4);
    }
  } else if (depth == "10Packed") {
    for (size_t i = 0; i + 1 < values.size(); i += 2) {
      const int a = values[i], b = values[i + 1];
      add(a >> 2), add((a & 3) | (b & 3) << 4), add(b >> 2);
    }
  } else if (depth == "12Packed") {
    for (size_t i = 0; i + 1 < values.size(); i += 2) {
      const int a = values[i], b = values[i + 1];
      add(a >> 4), add((a & 15) | (b & 15) << 4), add(b >> 4);
    }
  } else {
    throw std::invalid_argument(depth);
  }
  return out;
}

// 8-bit values at the top of a deeper format; 16 bits as value * 257.
inline Bytes Pack(const std::string& depth, const std::vector<int>& values) {
  if (depth == "8") return Bytes(values.begin(), values.end());
  if (depth == "24") {
    Bytes out;
    for (const int v : values) out.insert(out.end(), {3, 250, uint8_t(v)});
    return out;
  }
  std::vector<int> wide;
  for (const int v : values)
    wide.push_back(depth == "16" ? v * 257 : depth.rfind("10", 0) == 0 ? v << 2 : v << 4);
  return PackBits(depth, wide);
}

// Bytes that end where a page begins that may not be read or written.
class Edged {
 public:
  explicit Edged(const Bytes& bytes) {
    const size_t page = size_t(sysconf(_SC_PAGESIZE));
    m_size = (bytes.size() + page - 1) / page * page + page;
    m_pMap = static_cast<uint8_t*>(
        mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (m_pMap == MAP_FAILED || mprotect(m_pMap + m_size - page, page, PROT_NONE) != 0) {
      throw std::runtime_error("no memory for a guarded buffer");
    }
    m_pData = m_pMap + m_size - page - bytes.size();
    if (!bytes.empty()) std::memcpy(m_pData, bytes.data(), bytes.size());
  }
  ~Edged() { munmap(m_pMap, m_size); }
  Edged(const Edged&) = delete;
  Edged& operator=(const Edged&) = delete;

  uint8_t* Data() const { return m_pData; }

 private:
  uint8_t* m_pMap;
  uint8_t* m_pData;
  size_t m_size;
};

}  // namespace ConvertPixels
