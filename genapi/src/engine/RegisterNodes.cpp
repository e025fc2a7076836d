// SPDX-License-Identifier: Apache-2.0
// What the bytes of registers mean.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "engine/Builder.h"
#include "engine/Registers.h"

namespace OrvexGenApi {

// ---- integers ----

bool IntRegNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Sign:
      m_signed = builder.Text(element) == "Signed";
      return true;
    case Element::Unit:
      return true;
    case Element::Representation:
      if (!ERepresentationClass::FromString(std::string(builder.Text(element)).c_str(),
                                            &m_representation)) {
        builder.Bad(*this, element, "is no representation");
      }
      return true;
    case Element::Bit:
      m_low = m_high = static_cast<int>(builder.Int(*this, element));
      return true;
    case Element::LSB:
      m_low = static_cast<int>(builder.Int(*this, element));
      return true;
    case Element::MSB:
      m_high = static_cast<int>(builder.Int(*this, element));
      return true;
    default:
      return WithRegister::Take(id, element, builder);
  }
}

void IntRegNode::Finish(Builder& builder) {
  WithRegister::Finish(builder);
  const int64_t length = m_core.ConstantLength();
  if (length < 1 || length > 8) {
    GENAPI_RAISE(PropertyException, *this, "an integer register has 1 to 8 bytes, not %lld",
                 static_cast<long long>(length));
  }
  m_bytes = static_cast<uint8_t>(length);
  if (!m_masked) return;
  const int bits = m_bytes * 8;
  if (m_low < 0) m_low = m_high;
  if (m_high < 0) m_high = m_low;
  if (m_low < 0 || m_low >= bits || m_high >= bits) {
    GENAPI_RAISE(PropertyException, *this, "the field's bits do not lie inside the register");
  }
  // Big-endian registers count bits from the most significant one.
  if (m_core.IsBigEndian()) {
    m_low = bits - 1 - m_low;
    m_high = bits - 1 - m_high;
  }
  if (m_low > m_high) std::swap(m_low, m_high);
}

uint64_t IntRegNode::Assemble(const uint8_t* pBytes) const {
  uint64_t raw = 0;
  if (m_core.IsBigEndian()) {
    for (int i = 0; i < m_bytes; ++i) raw = raw << 8 | pBytes[i];
  } else {
    for (int i = m_bytes - 1; i >= 0; --i) raw = raw << 8 | pBytes[i];
  }
  return raw;
}

void IntRegNode::Disassemble(uint64_t raw, uint8_t* pBytes) const {
  for (int i = 0; i < m_bytes; ++i) {
    const int at = m_core.IsBigEndian() ? m_bytes - 1 - i : i;
    pBytes[at] = static_cast<uint8_t>(raw >> (8 * i));
  }
}

int64_t IntRegNode::FetchInt(ReadMode mode) {
  uint8_t bytes[8];
  m_core.Read(bytes, m_bytes, mode);
  uint64_t raw = Assemble(bytes);
  const unsigned width = Width();
  if (m_masked) raw >>= m_low;
  if (width < 64) {
    raw &= (uint64_t{1} << width) - 1;
    if (m_signed && (raw >> (width - 1)) != 0) raw |= ~uint64_t{0} << width;
  }
  return static_cast<int64_t>(raw);
}

void IntRegNode::StoreInt(int64_t value, bool verify) {
  uint8_t bytes[8];
  uint64_t raw = static_cast<uint64_t>(value);
  const unsigned width = Width();
  if (m_masked && width < m_bytes * 8u) {
    // The bits beside the field stay as they are, as far as they can be known.
    uint64_t old = 0;
    if (IsReadable(InternalAccess()) || m_core.IsCacheValid()) {
      m_core.Read(bytes, m_bytes, {verify, false});
      old = Assemble(bytes);
    }
    const uint64_t mask = ((uint64_t{1} << width) - 1) << m_low;
    raw = (old & ~mask) | ((raw << m_low) & mask);
  }
  Disassemble(raw, bytes);
  m_core.Write(bytes, m_bytes, verify);
}

int64_t IntRegNode::OwnMin() {
  const unsigned width = Width();
  if (!m_signed) return 0;
  return width >= 64 ? INT64_MIN : -(int64_t{1} << (width - 1));
}

int64_t IntRegNode::OwnMax() {
  const unsigned width = Width();
  if (width >= 64) return INT64_MAX;
  return m_signed ? (int64_t{1} << (width - 1)) - 1
                  : static_cast<int64_t>((uint64_t{1} << width) - 1);
}

// ---- floats ----

bool FloatRegNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Unit:
    case Element::Sign:
      return true;
    case Element::Representation:
      if (!ERepresentationClass::FromString(std::string(builder.Text(element)).c_str(),
                                            &m_representation)) {
        builder.Bad(*this, element, "is no representation");
      }
      return true;
    case Element::DisplayNotation:
      if (!EDisplayNotationClass::FromString(std::string(builder.Text(element)).c_str(),
                                             &m_notation)) {
        builder.Bad(*this, element, "is no notation");
      }
      return true;
    case Element::DisplayPrecision:
      m_precision = builder.Int(*this, element);
      return true;
    default:
      return WithRegister::Take(id, element, builder);
  }
}

void FloatRegNode::Finish(Builder& builder) {
  WithRegister::Finish(builder);
  const int64_t length = m_core.ConstantLength();
  if (length != 4 && length != 8) {
    GENAPI_RAISE(PropertyException, *this, "a float register has 4 or 8 bytes, not %lld",
                 static_cast<long long>(length));
  }
}

double FloatRegNode::FetchFloat(ReadMode mode) {
  uint8_t bytes[8];
  const auto length = static_cast<size_t>(m_core.ConstantLength());
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

void FloatRegNode::StoreFloat(double value, bool verify) {
  uint8_t bytes[8];
  const auto length = static_cast<size_t>(m_core.ConstantLength());
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
  return m_core.ConstantLength() == 4 ? -3.4028234663852886e38 : -sk_max;
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
