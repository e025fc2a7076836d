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

// ---- both ----

template <class T>
bool NumberNode<T>::Take(Element id, pugi::xml_node element, Builder& builder) {
  return TakeTarget(m_target, id, *this, element, builder) ||
         TakeSource(m_min, Element::Min, Element::pMin, id, *this, element, builder) ||
         TakeSource(m_max, Element::Max, Element::pMax, id, *this, element, builder) ||
         TakeSource(m_inc, Element::Inc, Element::pInc, id, *this, element, builder) ||
         Base::Take(id, element, builder);
}

template <class T>
void NumberNode<T>::Finish(Builder&) {
  FinishTarget(m_target, *this);
}

template <class T>
Node* NumberNode<T>::Source() const {
  return m_target.pTable ? Select(m_target, *this).pNode : m_target.pValue;
}

template <class T>
T* NumberNode<T>::Slot() {
  return m_target.pTable ? &Select(m_target, *this).value : &m_target.stored;
}

// How a value is shown does not fail for want of one.
template <class T>
Node* NumberNode<T>::DisplaySource() const {
  if (!m_target.pTable) return m_target.pValue;
  try {
    return Source();
  } catch (const GENICAM_NAMESPACE::GenericException&) {
    return nullptr;
  }
}

template <class T>
T NumberNode<T>::Fetch(ReadMode mode) {
  if (Node* source = Source()) return Traits::Read(*source, mode);
  return *Slot();
}

template <class T>
void NumberNode<T>::Store(T value, bool verify) {
  if (!m_target.copies.empty()) {
    for (Node* copy : m_target.copies) Traits::Write(*copy, value, verify);
    return;
  }
  if (Node* source = Source()) {
    Traits::Write(*source, value, verify);
    return;
  }
  *Slot() = value;
  this->m_value = value;
  this->m_valueValid = IsCacheable(this->InternalCaching());
  this->m_map.NodeChanged(*this);
}

template <class T>
T NumberNode<T>::OwnMin() {
  NodeMap::ReadDepth depth(this->m_map, *this);
  if (m_min.pNode) return Traits::Read(*m_min.pNode, {});
  if (m_min.given) return m_min.constant;
  Node* source = Source();
  T min = source ? Traits::Min(*source) : this->sk_lowest;
  for (Node* copy : m_target.copies) min = std::max(min, Traits::Min(*copy));
  return min;
}

template <class T>
T NumberNode<T>::OwnMax() {
  NodeMap::ReadDepth depth(this->m_map, *this);
  if (m_max.pNode) return Traits::Read(*m_max.pNode, {});
  if (m_max.given) return m_max.constant;
  Node* source = Source();
  T max = source ? Traits::Max(*source) : this->sk_highest;
  for (Node* copy : m_target.copies) max = std::min(max, Traits::Max(*copy));
  return max;
}

template <class T>
bool NumberNode<T>::OwnInc(T& inc) const {
  if (!m_inc.given) return false;
  NodeMap::ReadDepth depth(this->m_map, *this);
  inc = m_inc.pNode ? Traits::Read(*m_inc.pNode, {}) : m_inc.constant;
  return true;
}

// Values that one copy can hold and another cannot would not arrive everywhere.
template <class T>
bool NumberNode<T>::CopiesStepAlike() const {
  NodeMap::ReadDepth depth(this->m_map, *this);
  for (Node* copy : m_target.copies) {
    Node& first = *m_target.copies.front();
    if (copy->FloatHasInc() != first.FloatHasInc()) return false;
    if (copy->FloatHasInc() && Traits::Inc(*copy) != Traits::Inc(first)) return false;
  }
  return true;
}

template <class T>
EAccessMode NumberNode<T>::BaseAccess() const {
  EAccessMode mode = TargetAccess(m_target, *this);
  if (IsWritable(mode) && !CopiesStepAlike()) mode = Combine(mode, RO);
  TouchBounds(m_min, m_max, m_inc);
  return mode;
}

template class NumberNode<int64_t>;
template class NumberNode<double>;

// ---- Integer ----

bool IntegerNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  if (id != Element::ValidValueSet) return NumberNode::Take(id, element, builder);
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

int64_t IntegerNode::IntInc() {
  int64_t inc = 1;
  if (OwnInc(inc)) return inc;
  NodeMap::ReadDepth depth(m_map, *this);
  Node* source = Source();
  return source ? source->IntInc() : 1;
}

EIncMode IntegerNode::IntIncMode() {
  if (!m_validValues.empty()) return listIncrement;
  NodeMap::ReadDepth depth(m_map, *this);
  if (HasOwnInc()) return fixedIncrement;
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

// ---- Float ----

bool FloatNode::FloatHasInc() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (HasOwnInc()) return true;
  Node* source = DisplaySource();
  return source && source->FloatHasInc();
}

double FloatNode::FloatInc() {
  double inc = 0;
  if (OwnInc(inc)) return inc;
  NodeMap::ReadDepth depth(m_map, *this);
  Node* source = Source();
  return source ? source->FloatInc() : NumberNode::FloatInc();
}

EIncMode FloatNode::FloatIncMode() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (HasOwnInc()) return fixedIncrement;
  Node* source = DisplaySource();
  return source ? source->FloatIncMode() : noIncrement;
}

void FloatNode::FloatValidValues(std::vector<double>& values) {
  NodeMap::ReadDepth depth(m_map, *this);
  if (Node* source = DisplaySource()) source->FloatValidValues(values);
}

}  // namespace OrvexGenApi
