// SPDX-License-Identifier: Apache-2.0
#include "producer/FeatureTable.h"

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "producer/GcError.h"

namespace OrvexGev {

using namespace GenTL;

static_assert(std::endian::native == std::endian::little, "registers are copied in host order");

Feature Feature::Integer(const char* name, IntGetter get, IntSetter set) {
  Feature f(name, FeatureType::Integer);
  f.m_getInt = std::move(get);
  f.m_setInt = std::move(set);
  return f;
}

Feature Feature::Float(const char* name, FloatGetter get, FloatSetter set) {
  Feature f(name, FeatureType::Float);
  f.m_getFloat = std::move(get);
  f.m_setFloat = std::move(set);
  return f;
}

Feature Feature::Boolean(const char* name, IntGetter get, IntSetter set) {
  Feature f(name, FeatureType::Boolean);
  f.m_getInt = std::move(get);
  f.m_setInt = std::move(set);
  f.m_hasRange = true;
  f.m_max = 1;
  return f;
}

Feature Feature::String(const char* name, StringGetter get, StringSetter set) {
  Feature f(name, FeatureType::String);
  f.m_getString = std::move(get);
  f.m_setString = std::move(set);
  return f;
}

Feature Feature::Enumeration(const char* name, std::vector<EnumEntry> entries, IntGetter get,
                             IntSetter set) {
  Feature f(name, FeatureType::Enumeration);
  f.m_entries = std::move(entries);
  f.m_getInt = std::move(get);
  f.m_setInt = std::move(set);
  return f;
}

Feature Feature::Command(const char* name, std::function<void()> execute) {
  Feature f(name, FeatureType::Command);
  f.m_setInt = [run = std::move(execute)](int64_t value) {
    if (value != 0) run();
  };
  return f;
}

Feature Feature::In(const char* category) && {
  return m_category = category, std::move(*this);
}
Feature Feature::Expert() && {
  return m_visibility = Visibility::Expert, std::move(*this);
}
Feature Feature::Guru() && {
  return m_visibility = Visibility::Guru, std::move(*this);
}
Feature Feature::Hidden() && {
  return m_visibility = Visibility::Invisible, std::move(*this);
}
Feature Feature::Tip(const char* text) && {
  return m_tip = text, std::move(*this);
}
Feature Feature::Unit(const char* text) && {
  return m_unit = text, std::move(*this);
}
Feature Feature::Shown(const char* text) && {
  return m_representation = text, std::move(*this);
}
Feature Feature::SelectedBy(const char* name) && {
  return m_selector = name, std::move(*this);
}
Feature Feature::Constant() && {
  return m_constant = true, std::move(*this);
}

Feature Feature::Range(int64_t min, int64_t max, int64_t increment) && {
  m_min = min;
  m_max = max;
  m_increment = increment;
  m_hasRange = true;
  return std::move(*this);
}

Feature Feature::Max(IntGetter max) && {
  m_getMax = std::move(max);
  m_hasRange = m_dynamicMax = true;
  return std::move(*this);
}

Feature Feature::FloatRange(double min, double max) && {
  m_floatMin = min;
  m_floatMax = max;
  m_hasFloatRange = true;
  return std::move(*this);
}

FeatureTable::FeatureTable(std::string model, std::string portName)
    : m_model(std::move(model)), m_portName(std::move(portName)) {}

void FeatureTable::Add(Feature feature) {
  if (feature.m_dynamicMax) {
    // The bound is a row of its own in front of the feature that it bounds.
    Feature bound = Feature::Integer("", feature.m_getMax).Hidden();
    bound.m_name = feature.m_name + "Max";
    bound.m_category.clear();
    m_features.push_back(std::move(bound));
  }
  m_features.push_back(std::move(feature));
}

uint64_t FeatureTable::AddressOf(const std::string& name) const {
  for (size_t i = 0; i < m_features.size(); ++i) {
    if (m_features[i].m_name == name) return AddressAt(i);
  }
  return 0;
}

std::string FeatureTable::Url() const {
  char numbers[64];
  std::snprintf(numbers, sizeof numbers, ";%" PRIX64 ";%zX", sk_xmlAddress, m_xml.size());
  return "local:" + FileName() + numbers;
}

// The part of an access that falls into one register, or into the XML.
struct FeatureTable::Piece {
  const Feature* feature;  // null: the XML
  size_t offset;
  size_t length;
};

namespace {

size_t RegisterBytes(FeatureType type) {
  return type == FeatureType::String ? FeatureTable::sk_stringBytes : 8;
}

}  // namespace

FeatureTable::Piece FeatureTable::Locate(uint64_t address, size_t wanted) const {
  if (address >= sk_xmlAddress && address - sk_xmlAddress < m_xml.size()) {
    const auto offset = static_cast<size_t>(address - sk_xmlAddress);
    return {nullptr, offset, std::min(wanted, m_xml.size() - offset)};
  }
  Require(address >= sk_firstRegister &&
              (address - sk_firstRegister) / sk_registerStride < m_features.size(),
          GC_ERR_INVALID_ADDRESS, "There is no register at this address");
  const Feature& feature = m_features[(address - sk_firstRegister) / sk_registerStride];
  const auto offset = static_cast<size_t>((address - sk_firstRegister) % sk_registerStride);
  const size_t size = RegisterBytes(feature.m_type);
  Require(offset < size, GC_ERR_INVALID_ADDRESS, "There is no register at this address");
  return {&feature, offset, std::min(wanted, size - offset)};
}

std::vector<uint8_t> FeatureTable::ReadRegister(const Feature& feature) const {
  std::vector<uint8_t> bytes(RegisterBytes(feature.m_type), 0);
  if (feature.m_type == FeatureType::String) {
    const std::string text = feature.m_getString();
    std::copy_n(text.begin(), std::min(text.size(), bytes.size() - 1), bytes.begin());
  } else if (feature.m_type == FeatureType::Float) {
    const double value = feature.m_getFloat();
    std::memcpy(bytes.data(), &value, sizeof value);
  } else {
    // A command that was executed is done: its register reads 0.
    const int64_t value = feature.m_type == FeatureType::Command ? 0 : feature.m_getInt();
    std::memcpy(bytes.data(), &value, sizeof value);
  }
  return bytes;
}

void FeatureTable::CheckRange(const Feature& feature, int64_t value) const {
  if (feature.m_type == FeatureType::Enumeration) {
    Require(std::ranges::any_of(feature.m_entries,
                                [&](const EnumEntry& e) { return e.value == value; }),
            GC_ERR_INVALID_VALUE, "The value is no entry of the enumeration");
  } else if (feature.m_hasRange) {
    const int64_t max = feature.m_dynamicMax ? feature.m_getMax() : feature.m_max;
    Require(value >= feature.m_min && value <= max &&
                (value - feature.m_min) % feature.m_increment == 0,
            GC_ERR_INVALID_VALUE, "The value is out of range");
  }
}

void FeatureTable::WriteRegister(const Feature& feature, std::span<const uint8_t> bytes) const {
  if (feature.m_type == FeatureType::String) {
    const auto* text = reinterpret_cast<const char*>(bytes.data());
    feature.m_setString(std::string(text, strnlen(text, bytes.size())));
  } else if (feature.m_type == FeatureType::Float) {
    double value;
    std::memcpy(&value, bytes.data(), sizeof value);
    Require(
        !feature.m_hasFloatRange || (value >= feature.m_floatMin && value <= feature.m_floatMax),
        GC_ERR_INVALID_VALUE, "The value is out of range");
    feature.m_setFloat(value);
  } else {
    int64_t value;
    std::memcpy(&value, bytes.data(), sizeof value);
    CheckRange(feature, value);
    feature.m_setInt(value);
  }
}

void FeatureTable::Read(uint64_t address, std::span<uint8_t> target) const {
  while (!target.empty()) {
    const Piece piece = Locate(address, target.size());
    if (piece.feature == nullptr) {
      std::memcpy(target.data(), m_xml.data() + piece.offset, piece.length);
    } else {
      Require(piece.feature->Readable(), GC_ERR_ACCESS_DENIED, "The register cannot be read");
      const std::vector<uint8_t> bytes = ReadRegister(*piece.feature);
      std::memcpy(target.data(), bytes.data() + piece.offset, piece.length);
    }
    target = target.subspan(piece.length);
    address += piece.length;
  }
}

void FeatureTable::Write(uint64_t address, std::span<const uint8_t> source) {
  while (!source.empty()) {
    const Piece piece = Locate(address, source.size());
    Require(piece.feature != nullptr && piece.feature->Writable(), GC_ERR_ACCESS_DENIED,
            "The register cannot be written");
    // A write that covers the register in part keeps the rest; a string that is shorter than its
    // register ends there.
    std::vector<uint8_t> bytes(RegisterBytes(piece.feature->m_type), 0);
    if (piece.offset != 0 && piece.feature->Readable()) bytes = ReadRegister(*piece.feature);
    std::memcpy(bytes.data() + piece.offset, source.data(), piece.length);
    WriteRegister(*piece.feature, bytes);
    source = source.subspan(piece.length);
    address += piece.length;
  }
}

}  // namespace OrvexGev
