// SPDX-License-Identifier: Apache-2.0
#include "engine/Features.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "engine/Builder.h"

namespace OrvexGenApi {
namespace {

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::tolower(x) == std::tolower(y);
  });
}

}  // namespace

// ---- Boolean ----

bool BooleanNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::pValue:
      m_pValue = builder.Resolve(*this, element, id);
      return true;
    case Element::OnValue:
      m_on = builder.Int(*this, element);
      return true;
    case Element::OffValue:
      m_off = builder.Int(*this, element);
      return true;
    case Element::Value: {
      // Some files write the truth value as a word.
      const auto text = builder.Text(element);
      m_hasValue = true;
      if (EqualsIgnoringCase(text, "true") || EqualsIgnoringCase(text, "false")) {
        m_stored = EqualsIgnoringCase(text, "true") ? INT64_MIN : INT64_MIN + 1;
      } else {
        m_stored = builder.Int(*this, element);
      }
      return true;
    }
    default:
      return ValueNode::Take(id, element, builder);
  }
}

void BooleanNode::Finish(Builder&) {
  if (m_pValue == nullptr && !m_hasValue) {
    GENAPI_RAISE(PropertyException, *this, "the node has neither Value nor pValue");
  }
  if (m_stored == INT64_MIN) m_stored = m_on;
  if (m_stored == INT64_MIN + 1) m_stored = m_off;
}

bool BooleanNode::GetValue(bool Verify, bool IgnoreCache) const {
  ReadScope scope(m_map);
  return const_cast<BooleanNode*>(this)->ReadInt({Verify, IgnoreCache}) != 0;
}

int64_t BooleanNode::ReadInt(ReadMode mode) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  if (!m_valueValid || mode.ignoreCache) {
    const int64_t raw = m_pValue ? m_pValue->ReadInt(mode) : m_stored;
    if (raw != m_on && raw != m_off) {
      GENAPI_RAISE(LogicalErrorException, *this, "the value %lld means neither true nor false",
                   static_cast<long long>(raw));
    }
    m_value = raw == m_on;
    m_valueValid = IsCacheable(InternalCaching());
  }
  if (mode.verify) CheckErrors();
  return m_value;
}

void BooleanNode::SetValue(bool Value, bool Verify) {
  WriteScope scope(m_map);
  WriteInt(Value, Verify);
  scope.Finish();
}

void BooleanNode::WriteInt(int64_t value, bool verify) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckWritable();
  const int64_t raw = value != 0 ? m_on : m_off;
  if (m_pValue) {
    m_pValue->WriteInt(raw, verify);
  } else {
    m_stored = raw;
    m_valueValid = false;
    m_map.NodeChanged(*this);
  }
  if (verify) CheckErrors();
}

std::string BooleanNode::ReadText(ReadMode mode) {
  return ReadInt(mode) ? "1" : "0";
}

void BooleanNode::WriteText(const std::string& text, bool verify) {
  CheckWritable();
  const auto word = Trim(text);
  const bool yes = word == "1" || EqualsIgnoringCase(word, "true");
  if (!yes && word != "0" && !EqualsIgnoringCase(word, "false")) {
    GENAPI_RAISE(InvalidArgumentException, *this, "'%.64s' is neither true nor false",
                 text.c_str());
  }
  WriteInt(yes, verify);
}

// ---- Command ----

bool CommandNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::pValue:
      m_pValue = builder.Resolve(*this, element, id);
      return true;
    case Element::Value:
      m_stored = builder.Int(*this, element);
      return true;
    case Element::CommandValue:
      // An empty element stands for zero.
      if (!builder.Text(element).empty()) m_commandValue = builder.Int(*this, element);
      return true;
    case Element::pCommandValue:
      m_pCommandValue = builder.Resolve(*this, element, id);
      return true;
    default:
      return ValueNode::Take(id, element, builder);
  }
}

void CommandNode::Finish(Builder&) {}

int64_t CommandNode::CommandValue() {
  return m_pCommandValue ? m_pCommandValue->ReadInt({}) : m_commandValue;
}

// A command whose value cannot be known cannot be given.
EAccessMode CommandNode::BaseAccess() const {
  if (m_pCommandValue) {
    const EAccessMode mode = m_pCommandValue->InternalAccess();
    if (!IsReadable(mode)) return mode == NI ? NI : NA;
  }
  return m_pValue ? m_pValue->InternalAccess() : RW;
}

void CommandNode::Execute(bool Verify) {
  WriteScope scope(m_map);
  CheckWritable();
  WriteInt(CommandValue(), Verify);
  m_active = true;
  scope.Finish();
}

void CommandNode::WriteInt(int64_t value, bool verify) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckWritable();
  if (m_pValue) {
    m_pValue->WriteInt(value, verify);
  } else {
    m_stored = value;
    m_map.NodeChanged(*this);
  }
  if (verify) CheckErrors();
}

bool CommandNode::IsDone(bool) {
  WriteScope scope(m_map);
  NodeMap::ReadDepth depth(m_map, *this);
  const bool done = InternalIsDone();
  if (done && m_active) {
    m_active = false;
    m_map.NodeChanged(*this);
  }
  scope.Finish();
  return done;
}

bool CommandNode::InternalIsDone() {
  const EAccessMode mode = InternalAccess();
  if (mode == NI) GENAPI_RAISE(AccessException, *this, "the command is not implemented");
  // What was not started by this map is not watched: the register may hold anything.
  if (!m_active || !IsReadable(mode)) return true;
  const int64_t now = m_pValue ? m_pValue->ReadInt({false, true}) : m_stored;
  return now != CommandValue();
}

int64_t CommandNode::ReadInt(ReadMode mode) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  return m_pValue ? m_pValue->ReadInt(mode) : m_stored;
}

std::string CommandNode::ReadText(ReadMode) {
  CheckReadable();
  return InternalIsDone() ? "0" : "1";
}

void CommandNode::WriteText(const std::string& text, bool verify) {
  CheckWritable();
  int64_t value = 0;
  if (EqualsIgnoringCase(Trim(text), "execute")) {
    value = CommandValue();
  } else if (!ParseInt(text, value)) {
    GENAPI_RAISE(InvalidArgumentException, *this, "'%.64s' is no integer", text.c_str());
  }
  WriteInt(value, verify);
  if (value == CommandValue()) m_active = true;
}

// ---- String ----

bool StringNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Value:
      m_stored = builder.Text(element);
      return true;
    case Element::pValue:
      m_pValue = builder.Resolve(*this, element, id);
      return true;
    default:
      return StringNodeBase::Take(id, element, builder);
  }
}

int64_t StringNode::MaxLength() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (auto* target = dynamic_cast<StringNodeBase*>(m_pValue)) return target->MaxLength();
  return INT64_MAX;
}

std::string StringNode::FetchText(ReadMode mode) {
  return m_pValue ? m_pValue->ReadText(mode) : m_stored;
}

void StringNode::StoreText(const std::string& text, bool verify) {
  if (m_pValue) {
    m_pValue->WriteText(text, verify);
  } else {
    m_stored = text;
    m_map.NodeChanged(*this);
  }
}

// ---- Category ----

bool CategoryNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  if (id == Element::pFeature) {
    builder.Resolve(*this, element, id);
    return true;
  }
  return ValueNode::Take(id, element, builder);
}

void CategoryNode::GetFeatures(FeatureList_t& Features) const {
  ReadScope scope(m_map);
  for (const Link& link : Links()) {
    if (link.role != Element::pFeature) continue;
    if (ValueNode* value = link.pTarget->AsValue()) Features.push_back(value);
  }
}

// A folder is of interest to everybody to whom anything in it is.
EVisibility CategoryNode::InternalVisibility() const {
  if (m_lowestEpoch == m_map.VisibilityEpoch()) return m_lowest;
  if (m_inVisibility) return Invisible;
  NodeMap::ReadDepth depth(m_map, *this);
  m_inVisibility = true;
  EVisibility lowest = _UndefinedVisibility;
  for (const Link& link : Links()) {
    if (link.role != Element::pFeature) continue;
    try {
      lowest = std::min(lowest, link.pTarget->GetVisibility());
    } catch (...) {
      m_inVisibility = false;
      throw;
    }
  }
  m_inVisibility = false;
  m_lowest = lowest == _UndefinedVisibility ? Node::InternalVisibility() : lowest;
  m_lowestEpoch = m_map.VisibilityEpoch();
  return m_lowest;
}

EAccessMode CategoryNode::BaseAccess() const {
  bool any = false;
  for (const Link& link : Links()) {
    if (link.role != Element::pFeature) continue;
    if (IsImplemented(link.pTarget->InternalAccess())) return RO;
    any = true;
  }
  return any ? NI : RO;
}

std::string CategoryNode::ReadText(ReadMode) {
  GENAPI_RAISE(AccessException, *this, "a category has no value");
}

// ---- others ----

bool PlainNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  // Links of kinds that are not implemented lead nowhere.
  if (m_mode == NI && id >= Element::pFeature) return true;
  return ValueNode::Take(id, element, builder);
}

}  // namespace OrvexGenApi
