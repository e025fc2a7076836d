// SPDX-License-Identifier: Apache-2.0
#include "engine/Numbers.h"

#include <algorithm>

#include "engine/Builder.h"
#include "engine/Limits.h"

namespace OrvexGenApi {
namespace {

template <class T>
T Parse(const Builder& builder, const Node& owner, pugi::xml_node element) {
  if constexpr (std::is_same_v<T, int64_t>) {
    return builder.Int(owner, element);
  } else {
    return builder.Float(owner, element);
  }
}

int64_t IndexOf(const Builder& builder, const Node& owner, pugi::xml_node element) {
  int64_t index = 0;
  if (!ParseInt(element.attribute("Index").value(), index)) {
    builder.Bad(owner, element, "has no Index");
  }
  return index;
}

template <class T>
bool TakeSource(NumberSource<T>& source, Element constant, Element link, Element id, Node& owner,
                pugi::xml_node element, Builder& builder) {
  if (id == constant) {
    source.constant = Parse<T>(builder, owner, element);
  } else if (id == link) {
    source.pNode = builder.Resolve(owner, element, id);
  } else {
    return false;
  }
  source.given = true;
  return true;
}

template <class T>
bool TakeTarget(NumberTarget<T>& target, Element id, Node& owner, pugi::xml_node element,
                Builder& builder) {
  const auto table = [&]() -> typename NumberTarget<T>::Table& {
    if (!target.pTable) target.pTable = std::make_unique<typename NumberTarget<T>::Table>();
    return *target.pTable;
  };
  switch (id) {
    case Element::Value:
      target.stored = Parse<T>(builder, owner, element);
      target.hasValue = true;
      return true;
    case Element::pValue:
      target.pValue = builder.Resolve(owner, element, id);
      target.copies.push_back(target.pValue);
      return true;
    case Element::pValueCopy:
      target.copies.push_back(builder.Resolve(owner, element, id));
      return true;
    case Element::pIndex:
      table().pIndex = builder.Resolve(owner, element, id);
      return true;
    case Element::ValueIndexed:
      table().entries.push_back(
          {IndexOf(builder, owner, element), nullptr, Parse<T>(builder, owner, element)});
      return true;
    case Element::pValueIndexed:
      table().entries.push_back(
          {IndexOf(builder, owner, element), builder.Resolve(owner, element, id), T{}});
      return true;
    case Element::ValueDefault:
      table().fallback.value = Parse<T>(builder, owner, element);
      table().hasFallback = true;
      return true;
    case Element::pValueDefault:
      table().fallback.pNode = builder.Resolve(owner, element, id);
      table().hasFallback = true;
      return true;
    default:
      return false;
  }
}

template <class T>
void FinishTarget(NumberTarget<T>& target, const Node& owner) {
  if (target.copies.size() < 2) {
    target.copies.clear();
    target.copies.shrink_to_fit();
  }
  if (target.pTable) {
    if (target.pTable->pIndex == nullptr) {
      GENAPI_RAISE(PropertyException, owner, "indexed values need a pIndex");
    }
    std::stable_sort(target.pTable->entries.begin(), target.pTable->entries.end(),
                     [](const auto& a, const auto& b) { return a.index < b.index; });
    return;
  }
  if (target.pValue == nullptr && !target.copies.empty()) {
    GENAPI_RAISE(PropertyException, owner, "copies need a pValue");
  }
  if (target.pValue == nullptr && !target.hasValue) {
    GENAPI_RAISE(PropertyException, owner, "the node has neither Value nor pValue");
  }
}

template <class T>
typename NumberTarget<T>::Entry& Select(const NumberTarget<T>& target, const Node& owner) {
  auto& table = *target.pTable;
  const int64_t index = table.pIndex->ReadInt({});
  const auto found = std::lower_bound(table.entries.begin(), table.entries.end(), index,
                                      [](const auto& entry, int64_t i) { return entry.index < i; });
  if (found != table.entries.end() && found->index == index) return *found;
  if (!table.hasFallback) {
    GENAPI_RAISE(OutOfRangeException, owner, "there is no value for index %lld",
                 static_cast<long long>(index));
  }
  return table.fallback;
}

// Mode of the nodes that are read and written.
template <class T>
EAccessMode TargetAccess(const NumberTarget<T>& target, const Node& owner) {
  if (target.pTable) {
    if (!IsReadable(target.pTable->pIndex->InternalAccess())) return NA;
    Node* node = nullptr;
    try {
      node = Select(target, owner).pNode;
    } catch (const GENICAM_NAMESPACE::OutOfRangeException&) {
      return NA;
    }
    return node ? node->InternalAccess() : RW;
  }
  if (target.pValue == nullptr) return RW;
  EAccessMode mode = target.pValue->InternalAccess();
  for (const Node* copy : target.copies) {
    if (copy == target.pValue) continue;
    const EAccessMode other = copy->InternalAccess();
    // Copies are only written; one that cannot be takes the right to write away.
    if (!IsWritable(other)) mode = Combine(mode, IsAvailable(other) ? RO : other);
  }
  return mode;
}

// Bounds do not change a node's mode, but a condition of theirs that cannot be evaluated shows on
// the node they bound.
template <class T>
void TouchBounds(const NumberSource<T>& min, const NumberSource<T>& max,
                 const NumberSource<T>& inc) {
  for (const Node* bound : {min.pNode, max.pNode, inc.pNode}) {
    if (bound) bound->InternalAccess();
  }
}

}  // namespace

// ---- Integer ----

bool IntegerNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  if (TakeTarget(m_target, id, *this, element, builder)) return true;
  if (TakeSource(m_min, Element::Min, Element::pMin, id, *this, element, builder)) return true;
  if (TakeSource(m_max, Element::Max, Element::pMax, id, *this, element, builder)) return true;
  if (TakeSource(m_inc, Element::Inc, Element::pInc, id, *this, element, builder)) return true;
  switch (id) {
    case Element::Unit:
      return true;
    case Element::Representation:
      if (!ERepresentationClass::FromString(std::string(builder.Text(element)).c_str(),
                                            &m_representation)) {
        builder.Bad(*this, element, "is no representation");
      }
      return true;
    case Element::ValidValueSet: {
      std::string_view rest = builder.Text(element);
      while (!rest.empty()) {
        const size_t end = std::min(rest.find(';'), rest.size());
        int64_t value = 0;
        const auto part = Trim(rest.substr(0, end));
        if (!part.empty()) {
          if (!ParseInt(part, value) || m_validValues.size() >= sk_maxListValues) {
            builder.Bad(*this, element, "is no list of integers");
          }
          m_validValues.push_back(value);
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
      }
      std::sort(m_validValues.begin(), m_validValues.end());
      return true;
    }
    default:
      return IntegerNodeBase::Take(id, element, builder);
  }
}

void IntegerNode::Finish(Builder&) {
  FinishTarget(m_target, *this);
}

Node* IntegerNode::Source() const {
  return m_target.pTable ? Select(m_target, *this).pNode : m_target.pValue;
}
int64_t* IntegerNode::Slot() {
  return m_target.pTable ? &Select(m_target, *this).value : &m_target.stored;
}

int64_t IntegerNode::FetchInt(ReadMode mode) {
  if (Node* source = Source()) return source->ReadInt(mode);
  return *Slot();
}

void IntegerNode::StoreInt(int64_t value, bool verify) {
  if (!m_target.copies.empty()) {
    for (Node* copy : m_target.copies) copy->WriteInt(value, verify);
    return;
  }
  if (Node* source = Source()) {
    source->WriteInt(value, verify);
    return;
  }
  *Slot() = value;
  m_value = value;
  m_valueValid = IsCacheable(InternalCaching());
  m_map.NodeChanged(*this);
}

int64_t IntegerNode::OwnMin() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_min.pNode) return m_min.pNode->ReadInt({});
  if (m_min.given) return m_min.constant;
  Node* source = Source();
  int64_t min = source ? source->IntMin() : INT64_MIN;
  for (Node* copy : m_target.copies) min = std::max(min, copy->IntMin());
  return min;
}

int64_t IntegerNode::OwnMax() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_max.pNode) return m_max.pNode->ReadInt({});
  if (m_max.given) return m_max.constant;
  Node* source = Source();
  int64_t max = source ? source->IntMax() : INT64_MAX;
  for (Node* copy : m_target.copies) max = std::min(max, copy->IntMax());
  return max;
}

int64_t IntegerNode::IntInc() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_inc.pNode) return m_inc.pNode->ReadInt({});
  if (m_inc.given) return m_inc.constant;
  Node* source = Source();
  return source ? source->IntInc() : 1;
}

EIncMode IntegerNode::IntIncMode() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (!m_validValues.empty()) return listIncrement;
  if (m_inc.given) return fixedIncrement;
  Node* source = Source();
  return source ? source->IntIncMode() : fixedIncrement;
}

void IntegerNode::IntValidValues(std::vector<int64_t>& values) {
  NodeMap::ReadDepth depth(m_map, *this);
  if (!m_validValues.empty()) {
    values = m_validValues;
  } else if (Node* source = Source()) {
    source->IntValidValues(values);
  }
}

ERepresentation IntegerNode::InternalRepresentation() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_representation != _UndefinedRepresentation) return m_representation;
  Node* source = m_target.pTable ? nullptr : m_target.pValue;
  return source ? source->InternalRepresentation() : PureNumber;
}

std::string_view IntegerNode::InternalUnit() const {
  NodeMap::ReadDepth depth(m_map, *this);
  const auto own = Trim(ChildText("Unit"));
  return own.empty() && m_target.pValue ? m_target.pValue->InternalUnit() : own;
}

EAccessMode IntegerNode::BaseAccess() const {
  const EAccessMode mode = TargetAccess(m_target, *this);
  TouchBounds(m_min, m_max, m_inc);
  return mode;
}

// ---- Float ----

bool FloatNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  if (TakeTarget(m_target, id, *this, element, builder)) return true;
  if (TakeSource(m_min, Element::Min, Element::pMin, id, *this, element, builder)) return true;
  if (TakeSource(m_max, Element::Max, Element::pMax, id, *this, element, builder)) return true;
  if (TakeSource(m_inc, Element::Inc, Element::pInc, id, *this, element, builder)) return true;
  switch (id) {
    case Element::Unit:
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
      return FloatNodeBase::Take(id, element, builder);
  }
}

void FloatNode::Finish(Builder&) {
  FinishTarget(m_target, *this);
}

Node* FloatNode::Source() const {
  return m_target.pTable ? Select(m_target, *this).pNode : m_target.pValue;
}
double* FloatNode::Slot() {
  return m_target.pTable ? &Select(m_target, *this).value : &m_target.stored;
}

double FloatNode::FetchFloat(ReadMode mode) {
  if (Node* source = Source()) return source->ReadFloat(mode);
  return *Slot();
}

void FloatNode::StoreFloat(double value, bool verify) {
  if (!m_target.copies.empty()) {
    for (Node* copy : m_target.copies) copy->WriteFloat(value, verify);
    return;
  }
  if (Node* source = Source()) {
    source->WriteFloat(value, verify);
    return;
  }
  *Slot() = value;
  m_value = value;
  m_valueValid = IsCacheable(InternalCaching());
  m_map.NodeChanged(*this);
}

double FloatNode::OwnMin() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_min.pNode) return m_min.pNode->ReadFloat({});
  if (m_min.given) return m_min.constant;
  Node* source = Source();
  double min = source ? source->FloatMin() : -sk_max;
  for (Node* copy : m_target.copies) min = std::max(min, copy->FloatMin());
  return min;
}

double FloatNode::OwnMax() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_max.pNode) return m_max.pNode->ReadFloat({});
  if (m_max.given) return m_max.constant;
  Node* source = Source();
  double max = source ? source->FloatMax() : sk_max;
  for (Node* copy : m_target.copies) max = std::min(max, copy->FloatMax());
  return max;
}

bool FloatNode::FloatHasInc() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_inc.given) return true;
  Node* source = m_target.pTable ? nullptr : m_target.pValue;
  return source && source->FloatHasInc();
}

double FloatNode::FloatInc() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_inc.pNode) return m_inc.pNode->ReadFloat({});
  if (m_inc.given) return m_inc.constant;
  Node* source = Source();
  return source ? source->FloatInc() : FloatNodeBase::FloatInc();
}

ERepresentation FloatNode::InternalRepresentation() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_representation != _UndefinedRepresentation) return m_representation;
  return m_target.pValue ? m_target.pValue->InternalRepresentation() : PureNumber;
}

std::string_view FloatNode::InternalUnit() const {
  NodeMap::ReadDepth depth(m_map, *this);
  const auto own = Trim(ChildText("Unit"));
  return own.empty() && m_target.pValue ? m_target.pValue->InternalUnit() : own;
}

EDisplayNotation FloatNode::InternalNotation() const {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_notation != _UndefinedEDisplayNotation) return m_notation;
  return m_target.pValue ? m_target.pValue->InternalNotation() : fnAutomatic;
}

int64_t FloatNode::InternalPrecision() const {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_precision >= 0) return m_precision;
  return m_target.pValue ? m_target.pValue->InternalPrecision() : 6;
}

EAccessMode FloatNode::BaseAccess() const {
  const EAccessMode mode = TargetAccess(m_target, *this);
  TouchBounds(m_min, m_max, m_inc);
  return mode;
}

}  // namespace OrvexGenApi
