// SPDX-License-Identifier: Apache-2.0
// What the bytes of registers mean.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <tuple>

#include "engine/Builder.h"
#include "engine/Registers.h"

namespace OrvexGenApi {

// ---- integers ----

bool IntRegNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  // Far outside of any register is as wrong as it stands, and fits.
  const auto bit = [&] {
    return static_cast<int>(std::clamp<int64_t>(builder.Int(*this, element), -1, 9999));
  };
  switch (id) {
    case Element::Sign:
      m_signed = builder.Text(element) == "Signed";
      return true;
    case Element::Bit:
      m_lsb = m_msb = bit();
      return true;
    case Element::LSB:
      m_lsb = bit();
      return true;
    case Element::MSB:
      m_msb = bit();
      return true;
    default:
      return WithRegister::Take(id, element, builder);
  }
}

void IntRegNode::Finish(Builder& builder) {
  WithRegister::Finish(builder);
  if (m_lsb < 0) m_lsb = m_msb;
  if (m_msb < 0) m_msb = m_lsb;
  if (m_core.HasConstantLength()) m_field = FieldOf(m_core.Length());
}

IntRegNode::Field IntRegNode::FieldOf(int64_t length) const {
  if (length < 1 || length > 8) {
    GENAPI_RAISE(PropertyException, *this, "an integer register has 1 to 8 bytes, not %lld",
                 static_cast<long long>(length));
  }
  const int bits = static_cast<int>(length) * 8;
  const auto bytes = static_cast<uint8_t>(length);
  if (!m_masked) return {bytes, 0, static_cast<uint8_t>(bits)};
  // Some files exchange the two.
  int low = std::min(m_lsb, m_msb);
  int high = std::max(m_lsb, m_msb);
  if (low < 0 || high >= bits) {
    GENAPI_RAISE(PropertyException, *this, "the field's bits do not lie inside the register");
  }
  // Big-endian registers count bits from the most significant one.
  if (m_core.IsBigEndian()) std::tie(low, high) = std::pair(bits - 1 - high, bits - 1 - low);
  return {bytes, static_cast<uint8_t>(low), static_cast<uint8_t>(high - low + 1)};
}

uint64_t IntRegNode::Assemble(const uint8_t* pBytes, unsigned count) const {
  uint64_t raw = 0;
  for (unsigned i = 0; i < count; ++i) {
    raw = raw << 8 | pBytes[m_core.IsBigEndian() ? i : count - 1 - i];
  }
  return raw;
}

void IntRegNode::Disassemble(uint64_t raw, uint8_t* pBytes, unsigned count) const {
  for (unsigned i = 0; i < count; ++i, raw >>= 8) {
    pBytes[m_core.IsBigEndian() ? count - 1 - i : i] = static_cast<uint8_t>(raw);
  }
}

int64_t IntRegNode::Fetch(ReadMode mode) {
  uint8_t bytes[8];
  const Field field = Now();
  m_core.Read(bytes, field.bytes, mode);
  uint64_t raw = Assemble(bytes, field.bytes) >> field.low;
  if (field.width < 64) {
    raw &= (uint64_t{1} << field.width) - 1;
    if (m_signed && (raw >> (field.width - 1)) != 0) raw |= ~uint64_t{0} << field.width;
  }
  return static_cast<int64_t>(raw);
}

void IntRegNode::Store(int64_t value, bool verify) {
  uint8_t bytes[8];
  const Field field = Now();
  uint64_t raw = static_cast<uint64_t>(value);
  if (field.width < field.bytes * 8) {
    // The bits beside the field stay as they are, as far as they can be known.
    uint64_t old = 0;
    if (IsReadable(InternalAccess()) || m_core.IsCacheValid()) {
      m_core.Read(bytes, field.bytes, {verify, false});
      old = Assemble(bytes, field.bytes);
    }
    const uint64_t mask = ((uint64_t{1} << field.width) - 1) << field.low;
    raw = (old & ~mask) | ((raw << field.low) & mask);
  }
  Disassemble(raw, bytes, field.bytes);
  m_core.Write(bytes, field.bytes, verify);
}

int64_t IntRegNode::OwnMin() {
  const unsigned width = Now().width;
  if (!m_signed) return 0;
  return width >= 64 ? INT64_MIN : -(int64_t{1} << (width - 1));
}

int64_t IntRegNode::OwnMax() {
  const unsigned width = Now().width;
  if (width >= 64) return INT64_MAX;
  return m_signed ? (int64_t{1} << (width - 1)) - 1
                  : static_cast<int64_t>((uint64_t{1} << width) - 1);
}

// ---- floats ----

void FloatRegNode::Finish(Builder& builder) {
  WithRegister::Finish(builder);
  if (m_core.HasConstantLength()) CheckedBytes(m_core.Length());
}

size_t FloatRegNode::CheckedBytes(int64_t length) const {
  if (length != 4 && length != 8) {
    GENAPI_RAISE(PropertyException, *this, "a float register has 4 or 8 bytes, not %lld",
                 static_cast<long long>(length));
  }
  return static_cast<size_t>(length);
}

double FloatRegNode::Fetch(ReadMode mode) {
  uint8_t bytes[8];
  const size_t length = Bytes();
  m_core.Read(bytes, static_cast<int64_t>(length), mode);
  if (m_core.IsBigEndian()) std::reverse(bytes, bytes + length);
  if (length == 4) {
    float value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
  double value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

void FloatRegNode::Store(double value, bool verify) {
  uint8_t bytes[8];
  const size_t length = Bytes();
  if (length == 4) {
    const auto narrow = static_cast<float>(value);
    std::memcpy(bytes, &narrow, sizeof narrow);
  } else {
    std::memcpy(bytes, &value, sizeof value);
  }
  if (m_core.IsBigEndian()) std::reverse(bytes, bytes + length);
  m_core.Write(bytes, static_cast<int64_t>(length), verify);
}

double FloatRegNode::OwnMin() {
  return Bytes() == 4 ? -3.4028234663852886e38 : sk_lowest;
}

// ---- texts and plain bytes ----

std::string StringRegNode::FetchText(ReadMode mode) {
  std::string text(m_core.CheckedLength(), '\0');
  m_core.Read(reinterpret_cast<uint8_t*>(text.data()), static_cast<int64_t>(text.size()), mode);
  text.resize(std::strlen(text.c_str()));
  return text;
}

void StringRegNode::StoreText(const std::string& text, bool verify) {
  std::string bytes = text;
  bytes.resize(m_core.CheckedLength(), '\0');
  m_core.Write(reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<int64_t>(bytes.size()),
               verify);
}

std::string RegisterNode::ReadText(ReadMode mode) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  std::vector<uint8_t> bytes(m_core.CheckedLength());
  m_core.Read(bytes.data(), static_cast<int64_t>(bytes.size()), mode);
  std::string text = "0x";
  constexpr char sk_digits[] = "0123456789abcdef";
  for (const uint8_t byte : bytes) {
    text += sk_digits[byte >> 4];
    text += sk_digits[byte & 15];
  }
  return text;
}

namespace {
int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}
}  // namespace

void RegisterNode::WriteText(const std::string& text, bool verify) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckWritable();
  std::string_view digits = Trim(text);
  if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    const int high = HexDigit(digits[i]);
    const int low = HexDigit(digits[i + 1]);
    if (high < 0 || low < 0) break;
    bytes.push_back(static_cast<uint8_t>(high << 4 | low));
  }
  if (digits.empty() || bytes.size() * 2 != digits.size()) {
    GENAPI_RAISE(InvalidArgumentException, *this, "'%.64s' is no list of bytes", text.c_str());
  }
  m_core.Write(bytes.data(), static_cast<int64_t>(bytes.size()), verify);
  if (verify) CheckErrors();
}

}  // namespace OrvexGenApi
