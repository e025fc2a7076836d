// SPDX-License-Identifier: Apache-2.0
#include "engine/Builder.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "engine/Kinds.h"
#include "engine/Limits.h"

namespace OrvexGenApi {

bool ParseInt(std::string_view text, int64_t& value) {
  text = Trim(text);
  bool negative = false;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  // Unsigned numbers with the top bit set keep their bit pattern.
  uint64_t magnitude = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), magnitude, base);
  if (error != std::errc() || end != text.data() + text.size()) return false;
  if (negative && magnitude > 0x8000000000000000u) return false;
  value = static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
  return true;
}

bool ParseFloat(std::string_view text, double& value) {
  text = Trim(text);
  if (!text.empty() && text[0] == '+') text.remove_prefix(1);
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    int64_t integer = 0;
    if (!ParseInt(text, integer)) return false;
    value = static_cast<double>(integer);
    return true;
  }
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

int64_t Builder::Int(const Node& owner, pugi::xml_node element) const {
  int64_t value = 0;
  if (ParseInt(Text(element), value)) return value;
  double real = 0;  // some files write whole numbers with a point
  if (ParseFloat(Text(element), real) && real == std::trunc(real) && std::fabs(real) < 9.2e18) {
    return static_cast<int64_t>(real);
  }
  Bad(owner, element, "is no integer");
}

double Builder::Float(const Node& owner, pugi::xml_node element) const {
  double value = 0;
  if (!ParseFloat(Text(element), value)) Bad(owner, element, "is no number");
  return value;
}

bool Builder::YesNo(pugi::xml_node element) const {
  return Text(element) == "Yes";
}

void Builder::Bad(const Node& owner, pugi::xml_node element, const char* pWhy) const {
  GENAPI_RAISE(PropertyException, owner, "line %u: <%s> '%.64s' %s", m_document.LineOf(element),
               element.name(), std::string(Text(element)).c_str(), pWhy);
}

Node* Builder::Resolve(const Node& owner, pugi::xml_node element, Element role) {
  const uint32_t index = m_map.m_byName.Find(Text(element));
  if (index == NameTable::sk_none) Bad(owner, element, "names a node that does not exist");
  Node* target = m_map.m_nodes[index];
  AddLink(*target, index, role);
  return target;
}

Node* Builder::Embedded(pugi::xml_node element) const {
  const auto found = m_embedded.find(element.hash_value());
  return found == m_embedded.end() ? nullptr : found->second;
}

Node* Builder::Add(std::unique_ptr<Node> node, std::string_view name, pugi::xml_node element) {
  const unsigned line = m_document.LineOf(element);
  if (name.empty()) {
    throw PROPERTY_EXCEPTION("Camera description, line %u: <%s> has no name", line, element.name());
  }
  if (name.size() > sk_maxNodeNameLength) {
    throw PROPERTY_EXCEPTION("Camera description, line %u: the name of <%s> is too long", line,
                             element.name());
  }
  if (m_map.m_nodes.size() >= sk_maxNodes) {
    throw PROPERTY_EXCEPTION("Camera description, line %u: there are too many nodes", line);
  }
  Node* raw = node.get();
  raw->m_name = name.data();  // for messages about it
  raw->m_index = static_cast<uint32_t>(m_map.m_nodes.size());
  if (std::strcmp(element.attribute("NameSpace").value(), "Standard") == 0) {
    raw->m_nameSpace = Standard;
  }
  const char* kept = m_map.m_byName.Add(name, raw->m_index);
  if (kept == nullptr) {
    throw PROPERTY_EXCEPTION("Node '%s' (line %u): another node has the same name", raw->Name(),
                             line);
  }
  raw->m_name = kept;
  m_map.m_nodes.push_back(raw);
  node.release();
  return raw;
}

namespace {
bool IsRegister(Element kind) {
  switch (kind) {
    case Element::IntReg:
    case Element::MaskedIntReg:
    case Element::FloatReg:
    case Element::StringReg:
    case Element::Register:
      return true;
    default:
      return false;
  }
}
}  // namespace

void Builder::Create(pugi::xml_node element) {
  const Element kind = ElementByName(element.name());
  if (kind == Element::Group) {
    CreateAll(element);
    return;
  }
  if (kind == Element::StructReg) {
    CreateStruct(element);
    return;
  }
  std::unique_ptr<Node> node = MakeNode(kind, m_map, element);
  if (!node) return;  // elements that the language does not know are passed over
  Node* made = Add(std::move(node), element.attribute("Name").value(), element);
  if (kind == Element::Enumeration) CreateEntries(*made, element);
  if (!m_document.HasEmbeddedFormulas() || !IsRegister(kind)) return;
  // Formulas inside a register's address are nodes of their own.
  for (const auto child : element.children()) {
    if (std::strcmp(child.name(), "IntSwissKnife") != 0) continue;
    AddEmbeddedKnife(made->Name(), child);
  }
}

// The formula is a node of its own, known under the register's name and its own together.
void Builder::AddEmbeddedKnife(const char* pOwner, pugi::xml_node element) {
  const char* own = element.attribute("Name").value();
  Node* made = Add(MakeNode(Element::IntSwissKnife, m_map, element),
                   std::string("_") + pOwner + "_" + own, element);
  m_embedded[element.hash_value()] = made;
  if (*own != 0) m_aliases.push_back({own, made->m_index});
}

void Builder::CreateAll(pugi::xml_node parent) {
  for (const auto element : parent.children()) {
    if (element.type() == pugi::node_element) Create(element);
  }
}

void Builder::CreateStruct(pugi::xml_node element) {
  for (const auto child : element.children()) {
    if (ElementByName(child.name()) == Element::StructEntry) {
      Node* made =
          Add(MakeNode(Element::StructEntry, m_map, child), child.attribute("Name").value(), child);
      made->m_shared = element;
    } else if (std::strcmp(child.name(), "IntSwissKnife") == 0) {
      AddEmbeddedKnife(element.attribute("Name").value(), child);
    }
  }
}

void Builder::CreateEntries(Node& enumeration, pugi::xml_node element) {
  for (const auto child : element.children()) {
    if (ElementByName(child.name()) != Element::EnumEntry) continue;
    const char* symbolic = child.attribute("Name").value();
    m_embedded[child.hash_value()] =
        Add(MakeNode(Element::EnumEntry, m_map, child),
            std::string("EnumEntry_") + enumeration.Name() + "_" + symbolic, child);
  }
}

void Builder::TakeElements(Node& node) {
  // Texts between elements have no name, and so are unknown.
  for (auto element = node.m_element.first_child(); element; element = element.next_sibling()) {
    const Element id = ElementByName(element.name());
    if (id != Element::Unknown) node.Take(id, element, *this);
  }
  if (!node.m_shared) return;
  // What the entry says itself replaces what the structure says.
  for (auto element = node.m_shared.first_child(); element; element = element.next_sibling()) {
    const Element id = ElementByName(element.name());
    if (id == Element::Unknown || id == Element::StructEntry) continue;
    if (!node.m_element.child(element.name())) node.Take(id, element, *this);
  }
}

void Builder::TakeAll() {
  m_map.m_linkBegin.reserve(m_map.m_nodes.size() + 1);
  for (Node* node : m_map.m_nodes) {
    m_map.m_linkBegin.push_back(static_cast<uint32_t>(m_map.m_links.size()));
    TakeElements(*node);
    node->Finish(*this);
    if (node->m_pollingTime > 0) m_map.m_pollers.push_back(node);
    if (node->m_selects) m_map.m_selectors.push_back(node);
  }
  m_map.m_linkBegin.push_back(static_cast<uint32_t>(m_map.m_links.size()));
  m_map.m_links.shrink_to_fit();
}

namespace {

struct Effect {
  bool any;
  uint8_t onValue;
  uint8_t onAccess;
  uint8_t onRange;
};

// What a change of the target makes void in the node that refers to it.
Effect EffectOnOwner(Element role) {
  switch (role) {
    case Element::pValue:
    case Element::pValueCopy:
    case Element::pValueIndexed:
    case Element::pValueDefault:
      return {true, sk_voidValue, sk_voidAccess, sk_voidRange};
    case Element::pVariable:
    case Element::pAddress:
    case Element::pOffset:
    case Element::pLength:
    case Element::p1212Parser:
    case Element::pCommandValue:
    case Element::pEnumEntry:
      return {true, sk_voidValue, sk_voidAccess, sk_voidNothing};
    case Element::PropertyVariable:
      return {true, sk_voidValue, sk_voidValue, sk_voidValue};
    case Element::pMin:
    case Element::pMax:
    case Element::pInc:
      return {true, sk_voidRange, sk_voidAccess, sk_voidNothing};
    case Element::pIsImplemented:
    case Element::pIsAvailable:
    case Element::pIsLocked:
      return {true, sk_voidAccess, sk_voidAccess, sk_voidNothing};
    case Element::pIndex:
    case Element::pPort:
    case Element::pChunkID:
    case Element::pInvalidator:
      return {true, sk_voidAll, sk_voidAll, sk_voidNothing};
    default:
      return {false, sk_voidNothing, sk_voidNothing, sk_voidNothing};
  }
}

}  // namespace

// One edge from each node to every node whose caches are void when it changes, stored node by node.
void Builder::LinkDependents() {
  struct Edge {
    uint32_t from;
    Dependent to;
  };
  std::vector<Edge> edges;
  edges.reserve(m_map.m_links.size());
  std::vector<Node*> chain;
  const uint32_t* linkBegin = m_map.m_linkBegin.data();
  // Nodes lie far apart and are not touched where their indices will do.
  for (uint32_t index = 0; index < m_map.m_nodes.size(); ++index) {
    Node* owner = m_map.m_nodes[index];
    for (uint32_t at = linkBegin[index]; at != linkBegin[index + 1]; ++at) {
      const Link link = m_map.m_links[at];
      if (const Effect effect = EffectOnOwner(link.role); effect.any) {
        edges.push_back({link.index, {owner, effect.onValue, effect.onAccess, effect.onRange}});
      } else if (link.role == Element::pSelected) {
        // The device may keep one register per selector value behind one address, so the registers
        // are void too.
        chain.assign(1, link.pTarget);
        for (size_t i = 0; i < chain.size(); ++i) {
          edges.push_back({index, {chain[i], sk_voidAll, sk_voidNothing, sk_voidNothing}});
          for (const Link& next : chain[i]->Links()) {
            if (next.role == Element::pValue && next.pTarget != owner &&
                chain.size() < sk_maxSelectedChain && edges.size() < sk_maxSelectedEdges) {
              chain.push_back(next.pTarget);
            }
          }
        }
      }
    }
  }
  std::vector<uint32_t>& begin = m_map.m_dependentBegin;
  begin.assign(m_map.m_nodes.size() + 1, 0);
  for (const Edge& edge : edges) ++begin[edge.from + 1];
  for (size_t i = 1; i < begin.size(); ++i) begin[i] += begin[i - 1];
  std::vector<uint32_t> next(begin.begin(), begin.end() - 1);
  m_map.m_dependents.resize(edges.size());
  for (const Edge& edge : edges) m_map.m_dependents[next[edge.from]++] = edge.to;
}

void Builder::MarkFeatures() {
  std::vector<Node*> work;
  if (Node* root = m_map.Find("Root")) work.push_back(root);
  while (!work.empty()) {
    Node* node = work.back();
    work.pop_back();
    if (node->m_feature) continue;
    node->m_feature = true;
    for (const Link& link : node->Links()) {
      if (link.role == Element::pFeature) work.push_back(link.pTarget);
    }
  }
}

void Builder::Build() {
  CreateAll(m_document.Root());
  for (const auto& [name, index] : m_aliases) m_map.m_byName.Add(name, index);
  TakeAll();
  LinkDependents();
  MarkFeatures();
}

}  // namespace OrvexGenApi
