// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstring>

#include "engine/Builder.h"
#include "engine/Features.h"

namespace OrvexGenApi {

bool EntryValue(pugi::xml_node enumeration, std::string_view entry, int64_t& value) {
  for (const auto child : enumeration.children("EnumEntry")) {
    if (entry == child.attribute("Name").value()) {
      return ParseInt(ElementText(child.child("Value")), value);
    }
  }
  return false;
}

// ---- entry ----

bool EnumEntryNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Value:
      m_value = builder.Int(*this, element);
      m_hasValue = true;
      return true;
    case Element::NumericValue:
      m_numeric = builder.Float(*this, element);
      m_hasNumeric = true;
      return true;
    case Element::IsSelfClearing:
      m_selfClearing = builder.YesNo(element);
      return true;
    case Element::Symbolic:
      m_symbolic = builder.Text(element);
      return true;
    default:
      return ValueNode::Take(id, element, builder);
  }
}

void EnumEntryNode::Finish(Builder&) {
  if (!m_hasValue) GENAPI_RAISE(PropertyException, *this, "the entry has no Value");
}

std::string EnumEntryNode::ReadText(ReadMode) {
  CheckReadable();
  return Symbolic();
}

// ---- enumeration ----

bool EnumerationNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::EnumEntry:
      if (auto* entry = static_cast<EnumEntryNode*>(builder.Embedded(element))) {
        builder.AddLink(*entry, Element::pEnumEntry);
        m_entries.push_back(entry);
      }
      return true;
    case Element::pEnumEntry: {
      auto* entry = dynamic_cast<EnumEntryNode*>(builder.Resolve(*this, element, id));
      if (entry == nullptr) builder.Bad(*this, element, "is no entry of an enumeration");
      m_entries.push_back(entry);
      return true;
    }
    case Element::Value:
      m_stored = builder.Int(*this, element);
      m_hasValue = true;
      return true;
    case Element::pValue:
      m_pValue = builder.Resolve(*this, element, id);
      return true;
    default:
      return ValueNode::Take(id, element, builder);
  }
}

void EnumerationNode::Finish(Builder&) {
  if (m_pValue == nullptr && !m_hasValue) {
    GENAPI_RAISE(PropertyException, *this, "the node has neither Value nor pValue");
  }
  m_entries.shrink_to_fit();
  // Fractions among the numeric values make other nodes read a float.
  for (const auto child : m_element.children("EnumEntry")) {
    double numeric = 0;
    if (const auto value = child.child("NumericValue");
        value && ParseFloat(ElementText(value), numeric) && numeric != std::trunc(numeric)) {
      m_allWhole = false;
    }
  }
}

EnumEntryNode* EnumerationNode::ByValue(int64_t value) const {
  for (EnumEntryNode* entry : m_entries) {
    if (entry->Value() == value) return entry;
  }
  return nullptr;
}

EnumEntryNode* EnumerationNode::ByName(std::string_view name) const {
  for (EnumEntryNode* entry : m_entries) {
    if (name == entry->Symbolic()) return entry;
  }
  return nullptr;
}

EAccessMode EnumerationNode::BaseAccess() const {
  const EAccessMode mode = m_pValue ? m_pValue->InternalAccess() : RW;
  if (!IsAvailable(mode)) return mode;
  bool implemented = false;
  for (const EnumEntryNode* entry : m_entries) {
    const EAccessMode own = entry->InternalAccess();
    if (IsAvailable(own)) return mode;
    implemented = implemented || own != NI;
  }
  return implemented ? NA : NI;
}

bool EnumerationNode::BaseAccessCacheable() const {
  return true;
}

int64_t EnumerationNode::ReadRaw(ReadMode mode) {
  if (m_valueValid && !mode.ignoreCache && IsReadable(static_cast<EAccessMode>(m_accessCache))) {
    return m_raw;
  }
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  m_raw = m_pValue ? m_pValue->ReadInt(mode) : m_stored;
  const EnumEntryNode* entry = ByValue(m_raw);
  if (entry && entry->SelfClearing() && !mode.ignoreCache) {
    // The device may have left this entry by itself.
    m_raw = m_pValue ? m_pValue->ReadInt({mode.verify, true}) : m_stored;
    entry = ByValue(m_raw);
  }
  m_valueValid = IsCacheable(InternalCaching()) && !(entry && entry->SelfClearing());
  return m_raw;
}

void EnumerationNode::WriteRaw(int64_t value, bool verify) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckWritable();
  const EnumEntryNode* entry = ByValue(value);
  if (entry == nullptr) {
    GENAPI_RAISE(InvalidArgumentException, *this, "no entry has the value %lld",
                 static_cast<long long>(value));
  }
  if (!IsAvailable(entry->InternalAccess())) {
    GENAPI_RAISE(AccessException, *this, "entry '%s' is not available", entry->Symbolic());
  }
  if (m_pValue) {
    m_pValue->WriteInt(value, verify);
  } else {
    m_stored = value;
    m_raw = value;
    m_map.NodeChanged(*this);
    m_valueValid = false;
  }
  if (verify) CheckErrors();
}

int64_t EnumerationNode::ReadInt(ReadMode mode) {
  return std::llround(ReadFloat(mode));
}

double EnumerationNode::ReadFloat(ReadMode mode) {
  const int64_t raw = ReadRaw(mode);
  const EnumEntryNode* entry = ByValue(raw);
  if (entry == nullptr) {
    GENAPI_RAISE(LogicalErrorException, *this, "no entry has the value %lld",
                 static_cast<long long>(raw));
  }
  return entry->Numeric();
}

// The available entry whose number is nearest.
void EnumerationNode::WriteFloat(double value, bool verify) {
  const EnumEntryNode* best = nullptr;
  for (const EnumEntryNode* entry : m_entries) {
    if (!IsAvailable(entry->InternalAccess())) continue;
    if (best == nullptr ||
        std::fabs(entry->Numeric() - value) < std::fabs(best->Numeric() - value)) {
      best = entry;
    }
  }
  if (best == nullptr) GENAPI_RAISE(AccessException, *this, "no entry is available");
  WriteRaw(best->Value(), verify);
}

bool EnumerationNode::MayPoll() {
  const EnumEntryNode* entry = ByValue(ReadRaw({}));
  return entry && entry->SelfClearing();
}

std::string EnumerationNode::ReadText(ReadMode mode) {
  const int64_t raw = ReadRaw(mode);
  const EnumEntryNode* entry = ByValue(raw);
  if (entry == nullptr) {
    GENAPI_RAISE(InvalidArgumentException, *this, "no entry has the value %lld",
                 static_cast<long long>(raw));
  }
  if (mode.verify) CheckErrors();
  return entry->Symbolic();
}

std::string EnumerationNode::ErrorText() {
  const EnumEntryNode* entry = ByValue(ReadRaw({}));
  if (entry == nullptr) return "error " + std::to_string(ReadRaw({}));
  std::string text = entry->GetDisplayName().c_str();
  const gcstring more = entry->GetToolTip();
  if (!more.empty()) text.append(" (").append(more.c_str()).append(")");
  return text;
}

void EnumerationNode::WriteText(const std::string& text, bool verify) {
  CheckWritable();
  const EnumEntryNode* entry = ByName(Trim(text));
  if (entry == nullptr) {
    GENAPI_RAISE(InvalidArgumentException, *this, "there is no entry '%.64s'", text.c_str());
  }
  WriteRaw(entry->Value(), verify);
}

// ---- published interface ----

void EnumerationNode::GetSymbolics(StringList_t& Symbolics) {
  ReadScope scope(m_map);
  Symbolics.clear();
  for (const EnumEntryNode* entry : m_entries) {
    if (IsAvailable(entry->InternalAccess())) Symbolics.push_back(entry->Symbolic());
  }
}

void EnumerationNode::GetEntries(NodeList_t& Entries) {
  ReadScope scope(m_map);
  Entries.clear();
  for (EnumEntryNode* entry : m_entries) Entries.push_back(entry);
}

void EnumerationNode::SetIntValue(int64_t Value, bool Verify) {
  WriteScope scope(m_map);
  WriteRaw(Value, Verify);
  scope.Finish();
}

int64_t EnumerationNode::GetIntValue(bool Verify, bool IgnoreCache) {
  ReadScope scope(m_map);
  const int64_t raw = ReadRaw({Verify, IgnoreCache});
  if (Verify && ByValue(raw) == nullptr) {
    GENAPI_RAISE(OutOfRangeException, *this, "no entry has the value %lld",
                 static_cast<long long>(raw));
  }
  return raw;
}

IEnumEntry* EnumerationNode::GetEntryByName(const gcstring& Symbolic) {
  ReadScope scope(m_map);
  return ByName(Symbolic.c_str());
}

IEnumEntry* EnumerationNode::GetEntry(const int64_t IntValue) {
  ReadScope scope(m_map);
  return ByValue(IntValue);
}

IEnumEntry* EnumerationNode::GetCurrentEntry(bool Verify, bool IgnoreCache) {
  ReadScope scope(m_map);
  return ByValue(ReadRaw({Verify, IgnoreCache}));
}

}  // namespace OrvexGenApi
