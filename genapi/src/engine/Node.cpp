// SPDX-License-Identifier: Apache-2.0
#include "engine/Node.h"

#include <GenApi/NodeCallback.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unordered_set>

#include "engine/Builder.h"
#include "engine/NodeMap.h"

namespace OrvexGenApi {

template <class E>
void Raise(const char* pFile, unsigned line, const char* pType, const Node& node,
           const char* pFormat, ...) {
  char what[1024];
  va_list arguments;
  va_start(arguments, pFormat);
  std::vsnprintf(what, sizeof what, pFormat, arguments);
  va_end(arguments);
  std::string text = std::string("Node '") + node.Name() + "'";
  if (const unsigned at = node.Line()) text += " (line " + std::to_string(at) + ")";
  text += std::string(": ") + what;
  throw E(text.c_str(), pFile, line, "", node.Name(), pType);
}

#define GENAPI_INSTANTIATE(E)                                                                \
  template void Raise<GENICAM_NAMESPACE::E>(const char*, unsigned, const char*, const Node&, \
                                            const char*, ...);
GENAPI_INSTANTIATE(GenericException)
GENAPI_INSTANTIATE(BadAllocException)
GENAPI_INSTANTIATE(InvalidArgumentException)
GENAPI_INSTANTIATE(OutOfRangeException)
GENAPI_INSTANTIATE(PropertyException)
GENAPI_INSTANTIATE(RuntimeException)
GENAPI_INSTANTIATE(LogicalErrorException)
GENAPI_INSTANTIATE(AccessException)
GENAPI_INSTANTIATE(TimeoutException)
GENAPI_INSTANTIATE(DynamicCastException)

Node::Node(NodeMap& map, pugi::xml_node element)
    : m_map(map), m_element(element), m_name(element.attribute("Name").value()) {}

Node::~Node() = default;

void* Node::operator new(size_t size, NodeMap& map) {
  return map.m_memory.Take(size);
}

// ---- building ----

bool Node::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Extension:
    case Element::ToolTip:
    case Element::Description:
    case Element::DisplayName:
    case Element::DocuURL:
    case Element::EventID:
    case Element::pEnumEntry:
      return true;  // looked up when they are asked for
    case Element::Visibility:
      builder.Choice<EVisibilityClass>(*this, element, m_visibility, "is no visibility");
      return true;
    case Element::IsDeprecated:
      m_deprecated = builder.YesNo(element);
      return true;
    case Element::Streamable:
      m_streamable = builder.YesNo(element);
      return true;
    case Element::ImposedAccessMode: {
      EAccessMode mode = RW;
      builder.Choice<EAccessModeClass>(*this, element, mode, "is no access mode");
      m_xmlAccess = static_cast<uint8_t>(mode);
      return true;
    }
    case Element::PollingTime:
      m_pollingTime = builder.Int(*this, element);
      return true;
    case Element::pIsImplemented:
      m_pIsImplemented = builder.Resolve(*this, element, id);
      return true;
    case Element::pIsAvailable:
      m_pIsAvailable = builder.Resolve(*this, element, id);
      return true;
    case Element::pIsLocked:
      m_pIsLocked = builder.Resolve(*this, element, id);
      return true;
    case Element::pError:
      m_hasErrorNodes = true;
      builder.Resolve(*this, element, id);
      return true;
    case Element::pSelected:
      m_selects = true;
      builder.Resolve(*this, element, id);
      return true;
    case Element::pBlockPolling:
    case Element::pAlias:
    case Element::pCastAlias:
    case Element::pInvalidator:
      builder.Resolve(*this, element, id);
      return true;
    default:
      return false;
  }
}

// ---- texts ----

unsigned Node::Line() const {
  const Document* document = m_map.Description();
  return document ? document->LineOf(m_element) : 0;
}

std::string_view Node::ChildText(const char* pElement) const {
  pugi::xml_node child = m_element.child(pElement);
  if (!child && m_shared) child = m_shared.child(pElement);
  return child ? ElementRawText(child) : std::string_view();
}

namespace {
gcstring Copy(std::string_view text) {
  return gcstring(text.data(), text.size());
}
}  // namespace

gcstring Node::GetName(bool FullQualified) const {
  if (!FullQualified) return gcstring(m_name);
  return gcstring((std::string(m_nameSpace == Standard ? "Std::" : "Cust::") + m_name).c_str());
}

gcstring Node::GetToolTip() const {
  return m_map.SuppressStrings() ? gcstring() : Copy(ChildText("ToolTip"));
}
gcstring Node::GetDescription() const {
  return m_map.SuppressStrings() ? gcstring() : Copy(ChildText("Description"));
}
gcstring Node::GetDisplayName() const {
  const auto text = Trim(ChildText("DisplayName"));
  return text.empty() ? gcstring(ShortName()) : Copy(text);
}
gcstring Node::GetDeviceName() const {
  return gcstring(m_map.DeviceName().c_str());
}
gcstring Node::GetEventID() const {
  return Copy(Trim(ChildText("EventID")));
}

EVisibility Node::GetVisibility() const {
  ReadScope scope(m_map);
  return Combine(InternalVisibility(), m_imposedVisibility);
}

// ---- links ----

std::span<const Link> Node::Links() const {
  const uint32_t* at = m_map.m_linkBegin.data() + m_index;
  return {m_map.m_links.data() + at[0], at[1] - at[0]};
}
std::span<const Dependent> Node::Dependents() const {
  const uint32_t* at = m_map.m_dependentBegin.data() + m_index;
  return {m_map.m_dependents.data() + at[0], at[1] - at[0]};
}
Node* Node::FirstLinked(Element role) const {
  for (const Link& link : Links()) {
    if (link.role == role) return link.pTarget;
  }
  return nullptr;
}
INode* Node::GetAlias() const {
  return FirstLinked(Element::pAlias);
}
INode* Node::GetCastAlias() const {
  return FirstLinked(Element::pCastAlias);
}
INodeMap* Node::GetNodeMap() const {
  return &m_map;
}
bool Node::IsSelector() const {
  return m_selects;
}

// What a selector names, and after it everything that takes its value from there: a file may name
// registers where it means the features over them.
std::vector<Node*> Node::Selected() const {
  std::vector<Node*> selected;
  std::unordered_set<const Node*> seen{this};
  const auto add = [&](Node* node) {
    if (seen.insert(node).second) selected.push_back(node);
  };
  for (const Link& link : Links()) {
    if (link.role == Element::pSelected) add(link.pTarget);
  }
  for (size_t i = 0; i < selected.size(); ++i) {
    for (const Dependent& edge : selected[i]->Dependents()) {
      Node* dependent = edge.pNode;
      for (const Link& link : dependent->Links()) {
        if (link.pTarget == selected[i] && IsValueRole(link.role)) add(dependent);
      }
    }
  }
  return selected;
}

void Node::GetSelectedFeatures(FeatureList_t& Features) const {
  ReadScope scope(m_map);
  for (Node* node : Selected()) {
    if (ValueNode* value = node->AsValue()) Features.push_back(value);
  }
}

void Node::GetSelectingFeatures(FeatureList_t& Features) const {
  ReadScope scope(m_map);
  for (Node* candidate : m_map.m_selectors) {
    const std::vector<Node*> selected = candidate->Selected();
    if (std::find(selected.begin(), selected.end(), this) == selected.end()) continue;
    if (ValueNode* value = candidate->AsValue()) Features.push_back(value);
  }
}

UserData_t Node::SetUserData(UserData_t userdata) {
  ReadScope scope(m_map);
  return std::exchange(m_userData, userdata);
}

namespace {
// Says for its own lifetime that a question is being answered.
struct Busy {
  explicit Busy(bool& f) : flag(f) { flag = true; }
  ~Busy() { flag = false; }
  bool& flag;
};
}  // namespace

// ---- access mode ----

EAccessMode Node::GetAccessMode() const {
  ReadScope scope(m_map);
  return InternalAccess();
}

EAccessMode Node::InternalAccess() const {
  if (m_accessCache != _UndefinedAccesMode) return static_cast<EAccessMode>(m_accessCache);
  if (m_inAccess) return RW;  // a circle of conditions does not narrow anything
  NodeMap::ReadDepth depth(m_map, *this);
  Busy busy(m_inAccess);
  try {
    const EAccessMode mode = ComputeAccess();
    if (InternalAccessCacheable()) m_accessCache = static_cast<uint8_t>(mode);
    return mode;
  } catch (const GENICAM_NAMESPACE::LogicalErrorException&) {
    // Kept on purpose: a condition that cannot be evaluated is reported once and then, until
    // something changes, does not keep anybody from the node; the device has the last word. A
    // device that does not answer is asked again.
    m_accessCache = RW;
    throw;
  }
}

EAccessMode Node::ComputeAccess() const {
  if (m_pIsImplemented) {
    if (!IsReadable(m_pIsImplemented->InternalAccess())) return NI;
    if (m_pIsImplemented->ReadInt({}) == 0) return NI;
  }
  EAccessMode mode = BaseAccess();
  if (mode == NI) return NI;
  if (m_pIsAvailable) {
    if (!IsReadable(m_pIsAvailable->InternalAccess())) return NA;
    if (m_pIsAvailable->ReadInt({}) == 0) return NA;
  }
  mode = Combine(mode, static_cast<EAccessMode>(m_xmlAccess));
  mode = Combine(mode, static_cast<EAccessMode>(m_imposedAccess));
  if (m_pIsLocked && IsWritable(mode)) {
    const bool locked = !IsReadable(m_pIsLocked->InternalAccess()) || m_pIsLocked->ReadInt({}) != 0;
    if (locked) mode = mode == RW ? RO : NA;
  }
  return mode;
}

bool Node::InternalAccessCacheable() const {
  if (m_accessCacheable != _UndefinedYesNo) return m_accessCacheable == Yes;
  NodeMap::ReadDepth depth(m_map, *this);
  m_accessCacheable = Yes;  // what a circle sees
  try {
    m_accessCacheable = ComputeAccessCacheable() ? Yes : No;
  } catch (...) {
    m_accessCacheable = _UndefinedYesNo;
    throw;
  }
  return m_accessCacheable == Yes;
}

bool Node::ComputeAccessCacheable() const {
  bool cacheable = BaseAccessCacheable();
  for (const Node* condition : {m_pIsImplemented, m_pIsAvailable, m_pIsLocked}) {
    if (condition == nullptr) continue;
    cacheable = cacheable && IsCacheable(condition->InternalCaching()) &&
                condition->InternalAccessCacheable();
  }
  for (const Link& link : Links()) {
    switch (link.role) {
      case Element::pValue:
      case Element::pValueCopy:
      case Element::pValueIndexed:
      case Element::pValueDefault:
      case Element::pVariable:
      case Element::pAddress:
      case Element::pLength:
      case Element::pEnumEntry:
        cacheable = cacheable && link.pTarget->InternalAccessCacheable();
        break;
      case Element::pIndex:
        cacheable = cacheable && link.pTarget->InternalAccessCacheable() &&
                    IsCacheable(link.pTarget->InternalCaching());
        break;
      default:
        break;
    }
  }
  return cacheable;
}

EYesNo Node::IsAccessModeCacheable() const {
  ReadScope scope(m_map);
  return InternalAccessCacheable() ? Yes : No;
}

void Node::CheckReadable() const {
  const EAccessMode mode = InternalAccess();
  if (IsReadable(mode)) return;
  GENAPI_RAISE(AccessException, *this, "the node is not readable (access mode %s)",
               EAccessModeClass::ToString(mode).c_str());
}

void Node::CheckWritable() const {
  const EAccessMode mode = InternalAccess();
  if (IsWritable(mode)) return;
  GENAPI_RAISE(AccessException, *this, "the node is not writable (access mode %s)",
               EAccessModeClass::ToString(mode).c_str());
}

void Node::CheckErrors() {
  if (!m_hasErrorNodes) return;
  for (const Link& link : Links()) {
    if (link.role != Element::pError) continue;
    Node& error = *link.pTarget;
    if (!IsReadable(error.InternalAccess()) || error.ReadInt({false, true}) == 0) continue;
    GENAPI_RAISE(RuntimeException, *this, "'%s' reports: %s", error.Name(),
                 error.ErrorText().c_str());
  }
}

void Node::ImposeAccessMode(EAccessMode ImposedAccessMode) {
  WriteScope scope(m_map);
  m_imposedAccess = static_cast<uint8_t>(ImposedAccessMode);
  m_map.NodeInvalidated(*this);
  scope.Finish();
}

void Node::ImposeVisibility(EVisibility ImposedVisibility) {
  ReadScope scope(m_map);
  m_imposedVisibility = ImposedVisibility;
  ++m_map.m_visibilityEpoch;
}

// ---- caching ----

bool Node::IsValueRole(Element role) {
  switch (role) {
    case Element::pValue:
    case Element::pValueIndexed:
    case Element::pValueDefault:
    case Element::pVariable:
    case Element::PropertyVariable:
    case Element::pAddress:
    case Element::pIndex:
    case Element::pOffset:
    case Element::pLength:
    case Element::p1212Parser:
      return true;
    default:
      return false;
  }
}

ECachingMode Node::InternalCaching() const {
  if (m_cachingCache != _UndefinedCachingMode) return static_cast<ECachingMode>(m_cachingCache);
  if (m_inCaching) return WriteThrough;
  NodeMap::ReadDepth depth(m_map, *this);
  Busy busy(m_inCaching);
  ECachingMode mode = OwnCaching();
  for (const Link& link : Links()) {
    if (!IsValueRole(link.role)) continue;
    ECachingMode other = link.pTarget->InternalCaching();
    if (link.role == Element::PropertyVariable && !link.pTarget->InternalAccessCacheable()) {
      other = NoCache;
    }
    // How a node is written is no concern of one that is only computed from it.
    if (other == NoCache || link.role == Element::pValue) mode = Combine(mode, other);
  }
  m_cachingCache = static_cast<uint8_t>(mode);
  return mode;
}

ECachingMode Node::GetCachingMode() const {
  ReadScope scope(m_map);
  return InternalCaching();
}
bool Node::IsCachable() const {
  return IsCacheable(GetCachingMode());
}

void Node::InvalidateNode() {
  WriteScope scope(m_map);
  m_map.NodeInvalidated(*this);
  scope.Finish();
}

// ---- views that a kind may not have ----

int64_t Node::InternalPrecision() const {
  return 6;
}

int64_t Node::ReadInt(ReadMode) {
  GENAPI_RAISE(LogicalErrorException, *this, "the node has no integer value");
}
double Node::ReadFloat(ReadMode mode) {
  return static_cast<double>(ReadInt(mode));
}
void Node::WriteInt(int64_t, bool) {
  GENAPI_RAISE(LogicalErrorException, *this, "the node has no integer value");
}
void Node::WriteFloat(double, bool) {
  GENAPI_RAISE(LogicalErrorException, *this, "the node has no numeric value");
}
int64_t Node::IntMin() {
  return INT64_MIN;
}
int64_t Node::IntMax() {
  return INT64_MAX;
}
int64_t Node::IntInc() {
  return 1;
}
EIncMode Node::IntIncMode() {
  return fixedIncrement;
}
double Node::FloatMin() {
  return static_cast<double>(IntMin());
}
double Node::FloatMax() {
  return static_cast<double>(IntMax());
}
bool Node::FloatHasInc() {
  return false;
}
double Node::FloatInc() {
  GENAPI_RAISE(RuntimeException, *this, "the node has no increment");
}
EIncMode Node::FloatIncMode() {
  return FloatHasInc() ? fixedIncrement : noIncrement;
}
void Node::FloatValidValues(std::vector<double>&) {}
std::string Node::ErrorText() {
  return ReadText({});
}
std::string Node::ReadText(ReadMode) {
  GENAPI_RAISE(LogicalErrorException, *this, "the node has no text");
}
void Node::WriteText(const std::string&, bool) {
  GENAPI_RAISE(LogicalErrorException, *this, "the node takes no text");
}

// ---- values as text ----

gcstring ValueNode::ToString(bool Verify, bool IgnoreCache) {
  ReadScope scope(m_map);
  return Copy(ReadText({Verify, IgnoreCache}));
}

void ValueNode::FromString(const gcstring& ValueStr, bool Verify) {
  WriteScope scope(m_map);
  WriteText(std::string(ValueStr.c_str(), ValueStr.size()), Verify);
  scope.Finish();
}

bool ValueNode::IsValueCacheValid() const {
  ReadScope scope(m_map);
  return m_valueValid;
}

}  // namespace OrvexGenApi
