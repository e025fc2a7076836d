#pragma once
// SPDX-License-Identifier: Apache-2.0
// Bounded access to big-endian bytes. A ByteReader never reads beyond its span, a ByteWriter never
// writes beyond it: after the first violation every further operation does nothing (reads give 0)
// and Ok() stays false, so a decoder checks once, at its end. Values, not owners; each object
// belongs to one thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace GigEVision {

inline uint16_t LoadBe16(const uint8_t* p) {
  return static_cast<uint16_t>(p[0] << 8 | p[1]);
}
inline uint32_t LoadBe32(const uint8_t* p) {
  uint32_t value;
  std::memcpy(&value, p, sizeof value);
  return __builtin_bswap32(value);
}
inline uint64_t LoadBe64(const uint8_t* p) {
  uint64_t value;
  std::memcpy(&value, p, sizeof value);
  return __builtin_bswap64(value);
}
inline void StoreBe16(uint8_t* p, uint16_t value) {
  p[0] = static_cast<uint8_t>(value >> 8);
  p[1] = static_cast<uint8_t>(value);
}
inline void StoreBe32(uint8_t* p, uint32_t value) {
  value = __builtin_bswap32(value);
  std::memcpy(p, &value, sizeof value);
}
inline void StoreBe64(uint8_t* p, uint64_t value) {
  value = __builtin_bswap64(value);
  std::memcpy(p, &value, sizeof value);
}

class ByteReader {
 public:
  explicit ByteReader(std::span<const uint8_t> data) : m_data(data) {}

  uint8_t U8() { return Take(1) ? m_data[m_pos - 1] : uint8_t{0}; }
  uint16_t U16() { return Take(2) ? LoadBe16(&m_data[m_pos - 2]) : uint16_t{0}; }
  uint32_t U32() { return Take(4) ? LoadBe32(&m_data[m_pos - 4]) : 0; }
  uint64_t U48() {
    const uint64_t high = U16();
    return high << 32 | U32();
  }
  uint64_t U64() { return Take(8) ? LoadBe64(&m_data[m_pos - 8]) : 0; }
  std::span<const uint8_t> Bytes(size_t count) {
    return Take(count) ? m_data.subspan(m_pos - count, count) : std::span<const uint8_t>{};
  }
  void Skip(size_t count) { Take(count); }
  std::span<const uint8_t> Rest() { return Bytes(m_data.size() - m_pos); }

  size_t Remaining() const { return m_data.size() - m_pos; }
  bool Ok() const { return m_ok; }

 private:
  bool Take(size_t count) {
    if (!m_ok || m_data.size() - m_pos < count) {
      m_ok = false;
      return false;
    }
    m_pos += count;
    return true;
  }

  std::span<const uint8_t> m_data;
  size_t m_pos = 0;
  bool m_ok = true;
};

class ByteWriter {
 public:
  explicit ByteWriter(std::span<uint8_t> data) : m_data(data) {}

  void U8(uint8_t value) {
    if (Take(1)) m_data[m_pos - 1] = value;
  }
  void U16(uint16_t value) {
    if (Take(2)) StoreBe16(&m_data[m_pos - 2], value);
  }
  void U32(uint32_t value) {
    if (Take(4)) StoreBe32(&m_data[m_pos - 4], value);
  }
  void U48(uint64_t value) {
    U16(static_cast<uint16_t>(value >> 32));
    U32(static_cast<uint32_t>(value));
  }
  void U64(uint64_t value) {
    if (Take(8)) StoreBe64(&m_data[m_pos - 8], value);
  }
  void Bytes(std::span<const uint8_t> bytes) {
    if (!bytes.empty() && Take(bytes.size()))
      std::memcpy(&m_data[m_pos - bytes.size()], bytes.data(), bytes.size());
  }
  void Zeros(size_t count) {
    if (count != 0 && Take(count)) std::memset(&m_data[m_pos - count], 0, count);
  }
  // A text in a field of fixed size: cut to the field, padded with NUL, without a terminator when
  // it fills the field.
  void Text(std::string_view text, size_t fieldSize) {
    const size_t used = std::min(text.size(), fieldSize);
    Bytes({reinterpret_cast<const uint8_t*>(text.data()), used});
    Zeros(fieldSize - used);
  }

  // Bytes written so far, 0 after an overflow.
  size_t Size() const { return m_ok ? m_pos : 0; }
  bool Ok() const { return m_ok; }

 private:
  bool Take(size_t count) {
    if (!m_ok || m_data.size() - m_pos < count) {
      m_ok = false;
      return false;
    }
    m_pos += count;
    return true;
  }

  std::span<uint8_t> m_data;
  size_t m_pos = 0;
  bool m_ok = true;
};

// The text of a fixed-size field: up to its first NUL, or the whole field.
inline std::string_view FieldText(std::span<const uint8_t> field) {
  const std::string_view text(reinterpret_cast<const char*>(field.data()), field.size());
  return text.substr(0, text.find('\0'));
}

// Big-endian items of equal size, seen in place (the address list of a READREG, for instance).
class WordView {
 public:
  WordView() = default;
  explicit WordView(std::span<const uint8_t> bytes) : m_bytes(bytes) {}
  size_t size() const { return m_bytes.size() / 4; }
  uint32_t operator[](size_t index) const { return LoadBe32(m_bytes.data() + 4 * index); }

 private:
  std::span<const uint8_t> m_bytes;
};

}  // namespace GigEVision
