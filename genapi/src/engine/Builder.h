#pragma once
// SPDX-License-Identifier: Apache-2.0
// Turns a parsed description into the nodes of a map, in time linear to its size. Lives only while
// a map is loaded.
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/Document.h"
#include "engine/Node.h"
#include "engine/NodeMap.h"

namespace OrvexGenApi {

class Builder {
 public:
  Builder(NodeMap& map, const Document& document) : m_map(map), m_document(document) {}
  void Build();

  // ---- for nodes that take their elements ----
  // The node that an element names; throws PropertyException when there is none.
  Node* Resolve(const Node& owner, pugi::xml_node element, Element role);
  int64_t Int(const Node& owner, pugi::xml_node element) const;
  double Float(const Node& owner, pugi::xml_node element) const;
  bool YesNo(pugi::xml_node element) const;
  // One of the words that a class of EnumClasses.h knows.
  template <class Words, class Value>
  void Choice(const Node& owner, pugi::xml_node element, Value& value, const char* pWhy) const {
    const std::string_view text = Text(element);
    if (!Words::FromString(gcstring(text.data(), text.size()), &value)) Bad(owner, element, pWhy);
  }
  std::string_view Text(pugi::xml_node element) const { return ElementText(element); }
  [[noreturn]] void Bad(const Node& owner, pugi::xml_node element, const char* pWhy) const;
  // The node made for an element that stands inside another node.
  Node* Embedded(pugi::xml_node element) const;
  // Notes a reference that no element of the owner makes by name.
  void AddLink(Node& target, Element role) { AddLink(target, target.m_index, role); }

 private:
  void AddLink(Node& target, uint32_t index, Element role) {
    m_map.m_links.push_back({&target, index, role});
  }
  void CreateAll(pugi::xml_node parent);
  void Create(pugi::xml_node element);
  void CreateStruct(pugi::xml_node element);
  void AddEmbeddedKnife(const char* pOwner, pugi::xml_node element);
  void CreateEntries(Node& enumeration, pugi::xml_node element);
  Node* Add(std::unique_ptr<Node> node, std::string_view name, pugi::xml_node element);

  void TakeElements(Node& node);
  void TakeAll();
  void LinkDependents();
  void MarkFeatures();

  NodeMap& m_map;
  const Document& m_document;
  std::unordered_map<size_t, Node*> m_embedded;  // by hash value of the element
  std::vector<std::pair<const char*, uint32_t>>
      m_aliases;  // second names, which yield to first ones
};

// Number texts of descriptions: decimal, or hexadecimal after 0x. False when the text is no number.
bool ParseInt(std::string_view text, int64_t& value);
bool ParseFloat(std::string_view text, double& value);

}  // namespace OrvexGenApi
