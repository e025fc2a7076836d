// SPDX-License-Identifier: Apache-2.0
#include "simulator/Feature.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace OrvexSim {

using GigEVision::LoadBe32;
using GigEVision::LoadBe64;
using GigEVision::StoreBe32;
using GigEVision::StoreBe64;

Feature::Feature(Kind kind, std::string name, std::string category)
    : m_kind(kind),
      m_name(std::move(name)),
      m_category(std::move(category)),
      m_ints(1, 0),
      m_reals(1, 0.0) {
  if (kind == Kind::Boolean) m_max = 1;
  if (kind == Kind::Command) {
    m_access = Access::WriteOnly;
    m_max = 1;
    m_transient = true;
  }
}

Feature& Feature::Docu(std::string text) {
  return m_docu = std::move(text), *this;
}
Feature& Feature::Expert() {
  return m_visibility = Visibility::Expert, *this;
}
Feature& Feature::Guru() {
  return m_visibility = Visibility::Guru, *this;
}
Feature& Feature::Invisible() {
  return m_visibility = Visibility::Invisible, *this;
}
Feature& Feature::Custom() {
  return m_standard = false, *this;
}
Feature& Feature::Unit(std::string unit) {
  return m_unit = std::move(unit), *this;
}
Feature& Feature::Representation(std::string text) {
  return m_representation = std::move(text), *this;
}
Feature& Feature::ReadOnly() {
  return m_access = Access::ReadOnly, *this;
}
Feature& Feature::WriteOnly() {
  return m_access = Access::WriteOnly, *this;
}
Feature& Feature::Locked() {
  return m_locked = true, *this;
}
Feature& Feature::Transient() {
  return m_transient = true, *this;
}
Feature& Feature::Volatile() {
  return m_volatile = true, *this;
}

Feature& Feature::Polled(int64_t milliseconds) {
  return m_pollingMs = milliseconds, *this;
}

Feature& Feature::DependsOn(std::initializer_list<const char*> features) {
  m_dependsOn.insert(m_dependsOn.end(), features.begin(), features.end());
  return *this;
}
Feature& Feature::Selects(std::initializer_list<const char*> features) {
  m_selects.insert(m_selects.end(), features.begin(), features.end());
  return *this;
}
Feature& Feature::SelectedBy(std::string selector, size_t count) {
  m_selector = std::move(selector);
  m_count = count;
  m_ints.assign(count, m_ints[0]);
  m_reals.assign(count, m_reals[0]);
  return *this;
}
Feature& Feature::Range(int64_t min, int64_t max, int64_t increment) {
  m_min = min;
  m_max = max;
  m_increment = increment;
  if (m_ints[0] < min) std::fill(m_ints.begin(), m_ints.end(), min);
  return *this;
}
Feature& Feature::Max(std::function<int64_t()> max) {
  return m_maxInt = std::move(max), *this;
}
Feature& Feature::RealRange(double min, double max) {
  m_realMin = min;
  m_realMax = max;
  if (m_reals[0] < min) std::fill(m_reals.begin(), m_reals.end(), min);
  return *this;
}
Feature& Feature::RealMax(std::function<double()> max) {
  return m_maxReal = std::move(max), *this;
}
Feature& Feature::Entries(std::vector<EnumEntry> entries) {
  m_entries = std::move(entries);
  if (!m_entries.empty()) Default(m_entries.front().value);
  return *this;
}
Feature& Feature::Size(uint32_t bytes) {
  return m_size = bytes, *this;
}
Feature& Feature::AtBootstrap(uint32_t address, uint32_t mask) {
  m_address = address;
  m_mask = mask;
  m_transient = true;
  return *this;
}
Feature& Feature::AvailableIf(std::function<bool()> available) {
  return m_available = std::move(available), *this;
}
Feature& Feature::Default(int64_t value) {
  std::fill(m_ints.begin(), m_ints.end(), value);
  return *this;
}
Feature& Feature::DefaultReal(double value) {
  std::fill(m_reals.begin(), m_reals.end(), value);
  return *this;
}
Feature& Feature::DefaultText(std::string value) {
  return m_text = std::move(value), *this;
}
Feature& Feature::Get(std::function<int64_t()> get) {
  return m_getInt = std::move(get), *this;
}
Feature& Feature::GetReal(std::function<double()> get) {
  return m_getReal = std::move(get), *this;
}
Feature& Feature::GetText(std::function<std::string()> get) {
  return m_getText = std::move(get), *this;
}
Feature& Feature::GetBytes(std::function<void(std::span<uint8_t>)> get) {
  return m_getBytes = std::move(get), *this;
}
Feature& Feature::OnSet(std::function<Status(int64_t, size_t)> check) {
  return m_onSet = std::move(check), *this;
}
Feature& Feature::OnSetReal(std::function<Status(double)> check) {
  return m_onSetReal = std::move(check), *this;
}
Feature& Feature::OnSetText(std::function<Status(const std::string&)> check) {
  return m_onSetText = std::move(check), *this;
}
Feature& Feature::OnSetBytes(std::function<Status(std::span<const uint8_t>)> set) {
  return m_onSetBytes = std::move(set), *this;
}
Feature& Feature::Then(std::function<void()> consequence) {
  return m_then = std::move(consequence), *this;
}

bool Feature::Stored() const {
  const bool computed = m_getInt || m_getReal || m_getText || m_getBytes;
  return m_access == Access::ReadWrite && !m_transient && !computed && m_kind != Kind::Bytes;
}

bool Feature::Allows(int64_t value) const {
  if (m_kind == Kind::Enumeration) {
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&](const EnumEntry& entry) { return entry.value == value; });
  }
  return value >= m_min && value <= m_max && (value - m_min) % m_increment == 0;
}

Status Feature::SetInt(int64_t value, size_t index) {
  if (!Writable()) return Status::WriteProtect;
  if (m_available && !m_available()) return Status::AccessDenied;
  if (m_lockHolds && m_lockHolds()) return Status::AccessDenied;
  if (!Allows(value) || (m_kind != Kind::Enumeration && value > MaxInt()))
    return Status::InvalidParameter;
  if (m_onSet) {
    if (const Status status = m_onSet(value, index); IsError(status)) return status;
  }
  if (m_kind != Kind::Command && index < m_ints.size()) m_ints[index] = value;
  if (m_then) m_then();
  return Status::Success;
}

Status Feature::SetReal(double value, size_t index) {
  if (!Writable()) return Status::WriteProtect;
  if (m_available && !m_available()) return Status::AccessDenied;
  if (m_lockHolds && m_lockHolds()) return Status::AccessDenied;
  if (std::isnan(value) || value < m_realMin || value > MaxReal()) return Status::InvalidParameter;
  if (m_onSetReal) {
    if (const Status status = m_onSetReal(value); IsError(status)) return status;
  }
  if (index < m_reals.size()) m_reals[index] = value;
  if (m_then) m_then();
  return Status::Success;
}

Status Feature::SetText(const std::string& value) {
  if (!Writable()) return Status::WriteProtect;
  if (m_onSetText) {
    if (const Status status = m_onSetText(value); IsError(status)) return status;
  }
  m_text = value;
  if (m_then) m_then();
  return Status::Success;
}

Status Feature::SetFromText(const std::string& text) {
  if (m_kind == Kind::String) return SetText(text);
  if (m_kind == Kind::Enumeration) {
    for (const EnumEntry& entry : m_entries) {
      if (entry.name == text) return SetInt(entry.value);
    }
    return Status::InvalidParameter;
  }
  if (m_kind == Kind::Boolean && (text == "true" || text == "false"))
    return SetInt(text == "true" ? 1 : 0);
  if (m_kind == Kind::Command) return SetInt(1);
  try {
    size_t used = 0;
    if (m_kind == Kind::Float) {
      const double value = std::stod(text, &used);
      return used == text.size() ? SetReal(value) : Status::InvalidParameter;
    }
    const int64_t value = std::stoll(text, &used, 0);
    return used == text.size() ? SetInt(value) : Status::InvalidParameter;
  } catch (const std::exception&) {
    return Status::InvalidParameter;  // no number, or one out of all range
  }
}

std::string Feature::ToText() const {
  switch (m_kind) {
    case Kind::Float: {
      char text[40];
      return std::string(text, std::to_chars(text, text + sizeof text, Real()).ptr);
    }
    case Kind::Boolean:
      return Bool() ? "true" : "false";
    case Kind::Enumeration:
      for (const EnumEntry& entry : m_entries) {
        if (entry.value == Int()) return entry.name;
      }
      return {};
    case Kind::String:
      return Text();
    case Kind::Bytes:
    case Kind::Command:
      return {};
    default:
      return std::to_string(Int());
  }
}

uint32_t Feature::RegisterLength() const {
  switch (m_kind) {
    case Kind::Float:
      return 8;
    case Kind::String:
    case Kind::Bytes:
      return m_size;
    default:
      return m_size == 8 ? 8 : 4;
  }
}

void Feature::ReadRegister(size_t index, std::span<uint8_t> out) const {
  switch (m_kind) {
    case Kind::Float:
      StoreBe64(out.data(), std::bit_cast<uint64_t>(Real(index)));
      break;
    case Kind::String: {
      GigEVision::ByteWriter writer(out);
      writer.Text(Text(), out.size());
      break;
    }
    case Kind::Bytes:
      if (m_getBytes) m_getBytes(out);
      break;
    default:
      if (out.size() == 8) {
        StoreBe64(out.data(), static_cast<uint64_t>(Int(index)));
      } else {
        StoreBe32(out.data(), static_cast<uint32_t>(Int(index)));
      }
  }
}

Status Feature::WriteRegister(size_t index, std::span<const uint8_t> bytes) {
  switch (m_kind) {
    case Kind::Float:
      return SetReal(std::bit_cast<double>(LoadBe64(bytes.data())), index);
    case Kind::String:
      return SetText(std::string(GigEVision::FieldText(bytes)));
    case Kind::Bytes:
      return m_onSetBytes ? m_onSetBytes(bytes) : Status::WriteProtect;
    default:
      if (bytes.size() == 8) return SetInt(static_cast<int64_t>(LoadBe64(bytes.data())), index);
      // Registers of values that can be negative are declared as signed.
      const uint32_t word = LoadBe32(bytes.data());
      return SetInt(m_min < 0 ? int64_t{static_cast<int32_t>(word)} : int64_t{word}, index);
  }
}

FeatureValues FeatureValues::Of(const std::vector<std::unique_ptr<Feature>>& features) {
  FeatureValues result;
  for (const auto& feature : features) {
    if (feature->Stored())
      result.values[feature->m_name] = {feature->m_ints, feature->m_reals, feature->m_text};
  }
  return result;
}

void FeatureValues::ApplyTo(const std::vector<std::unique_ptr<Feature>>& features) const {
  for (const auto& feature : features) {
    const auto it = values.find(feature->m_name);
    if (it == values.end() || !feature->Stored()) continue;
    if (it->second.ints.size() == feature->m_ints.size()) feature->m_ints = it->second.ints;
    if (it->second.reals.size() == feature->m_reals.size()) feature->m_reals = it->second.reals;
    feature->m_text = it->second.text;
  }
  // Consequences see all values in place.
  for (const auto& feature : features) {
    if (feature->Stored() && feature->m_then) feature->m_then();
  }
}

void FeatureValues::Take(const FeatureValues& other,
                         const std::vector<std::unique_ptr<Feature>>& features) {
  for (const auto& feature : features) {
    const auto it = other.values.find(feature->Name());
    const auto own = values.find(feature->Name());
    if (it == other.values.end() || own == values.end()) continue;
    const Value& value = it->second;
    const auto allowed = [&](auto number) { return feature->Allows(number); };
    const bool real = feature->m_kind == Feature::Kind::Float;
    if (!real && value.ints.size() == own->second.ints.size() &&
        std::all_of(value.ints.begin(), value.ints.end(), allowed))
      own->second.ints = value.ints;
    if (real && value.reals.size() == own->second.reals.size() &&
        std::all_of(value.reals.begin(), value.reals.end(), allowed))
      own->second.reals = value.reals;
    const bool text =
        feature->m_kind == Feature::Kind::String && value.text.size() <= feature->m_size;
    if (text && (!feature->m_onSetText || !IsError(feature->m_onSetText(value.text))))
      own->second.text = value.text;
  }
}

void FeatureTable::Category(std::string name, std::string docu, std::string parent) {
  for (size_t i = 0; i < m_categories.size(); ++i) {
    if (m_categories[i].name == name) {
      m_current = i;
      return;
    }
  }
  m_current = m_categories.size();
  m_categories.push_back({std::move(name), std::move(docu), std::move(parent), {}});
}

Feature& FeatureTable::Add(Feature::Kind kind, std::string name) {
  CategoryRow& category = m_categories.at(m_current);
  category.members.push_back(name);
  Feature& feature = *m_features.emplace_back(std::make_unique<Feature>(kind, name, category.name));
  if (!m_byName.emplace(std::move(name), &feature).second) {
    throw std::logic_error("feature listed twice: " + feature.m_name);
  }
  return feature;
}

Feature& FeatureTable::Integer(std::string name) {
  return Add(Feature::Kind::Integer, std::move(name));
}
Feature& FeatureTable::Float(std::string name) {
  return Add(Feature::Kind::Float, std::move(name));
}
Feature& FeatureTable::Boolean(std::string name) {
  return Add(Feature::Kind::Boolean, std::move(name));
}
Feature& FeatureTable::Enumeration(std::string name, std::vector<EnumEntry> entries) {
  return Add(Feature::Kind::Enumeration, std::move(name)).Entries(std::move(entries));
}
Feature& FeatureTable::Command(std::string name) {
  return Add(Feature::Kind::Command, std::move(name));
}
Feature& FeatureTable::String(std::string name, uint32_t size) {
  return Add(Feature::Kind::String, std::move(name)).Size(size);
}
Feature& FeatureTable::Bytes(std::string name, uint32_t size) {
  return Add(Feature::Kind::Bytes, std::move(name)).Size(size);
}

void FeatureTable::Node(std::string feature, std::string xml) {
  if (!feature.empty()) m_categories.at(m_current).members.push_back(std::move(feature));
  m_rawNodes.push_back(std::move(xml));
}

Feature* FeatureTable::Find(const std::string& name) const {
  const auto it = m_byName.find(name);
  return it == m_byName.end() ? nullptr : it->second;
}

const std::vector<EnumEntry>& FeatureTable::EntriesOf(const std::string& enumeration) const {
  return m_byName.at(enumeration)->m_entries;
}

uint32_t FeatureTable::Allocate(uint32_t bytes) {
  const uint32_t alignment = bytes >= 8 ? 8 : 4;
  m_next = (m_next + alignment - 1) / alignment * alignment;
  const uint32_t address = m_next;
  m_next += (bytes + 3) / 4 * 4;
  return address;
}

void FeatureTable::AddRegisters(Feature& feature, RegisterMap& registers) {
  Feature* row = &feature;
  if (feature.m_mask == 0) {
    const uint32_t length = feature.RegisterLength();
    feature.m_address = Allocate(length * static_cast<uint32_t>(feature.m_count));
    for (size_t i = 0; i < feature.m_count; ++i) {
      Register reg{feature.m_address + length * static_cast<uint32_t>(i), length, {}, {}};
      if (feature.m_access != Feature::Access::WriteOnly) {
        reg.read = [row, i](std::span<uint8_t> out) { row->ReadRegister(i, out); };
      }
      if (feature.Writable()) {
        reg.write = [row, i](std::span<const uint8_t> in) { return row->WriteRegister(i, in); };
      }
      registers.Add(std::move(reg));
    }
  }
  if (feature.m_maxInt || feature.m_maxReal) {
    feature.m_maxAddress = Allocate(8);
    registers.Add({feature.m_maxAddress,
                   8,
                   [row](std::span<uint8_t> out) {
                     StoreBe64(out.data(), row->m_maxReal ? std::bit_cast<uint64_t>(row->MaxReal())
                                                          : static_cast<uint64_t>(row->MaxInt()));
                   },
                   {}});
  }
  if (feature.m_available) {
    feature.m_availableAddress = Allocate(4);
    registers.AddWord(feature.m_availableAddress, [row] { return row->m_available() ? 1u : 0u; });
  }
}

void FeatureTable::Build(RegisterMap& registers, uint32_t base) {
  m_next = base;
  for (const auto& feature : m_features) {
    if (feature->m_locked) feature->m_lockHolds = m_lockHolds;
    AddRegisters(*feature, registers);
  }
}

}  // namespace OrvexSim
