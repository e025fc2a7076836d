// SPDX-License-Identifier: Apache-2.0
// What a node tells about its neighbours and its description.
#include <GenApi/NodeCallback.h>

#include <algorithm>
#include <cstring>

#include "engine/Builder.h"
#include "engine/NodeMap.h"

namespace OrvexGenApi {
namespace {

bool IsReadingRole(Element role) {
  switch (role) {
    case Element::pValue:
    case Element::pValueIndexed:
    case Element::pValueDefault:
    case Element::pVariable:
    case Element::pAddress:
    case Element::pIndex:
    case Element::pOffset:
    case Element::pLength:
    case Element::pMin:
    case Element::pMax:
    case Element::pInc:
    case Element::pIsImplemented:
    case Element::pIsAvailable:
    case Element::pIsLocked:
    case Element::pCommandValue:
    case Element::pPort:
    case Element::pChunkID:
    case Element::pEnumEntry:
    case Element::pFeature:
      return true;
    default:
      return false;
  }
}

bool IsWritingRole(Element role) {
  switch (role) {
    case Element::pValue:
    case Element::pValueCopy:
    case Element::pValueIndexed:
    case Element::pValueDefault:
      return true;
    default:
      return false;
  }
}

void AddOnce(NodeList_t& list, Node* node) {
  for (size_t i = 0; i < list.size(); ++i) {
    if (list[i] == node) return;
  }
  list.push_back(node);
}

// Registers at the end of the writing chain.
void Terminals(Node& node, NodeList_t& list, std::vector<Node*>& seen) {
  if (std::find(seen.begin(), seen.end(), &node) != seen.end()) return;
  seen.push_back(&node);
  bool end = true;
  for (const Link& link : node.Links()) {
    if (!IsWritingRole(link.role)) continue;
    end = false;
    Terminals(*link.pTarget, list, seen);
  }
  if (end) AddOnce(list, &node);
}

std::string JoinAttributes(pugi::xml_node element) {
  std::string text;
  for (const auto attribute : element.attributes()) {
    if (!text.empty()) text += '\t';
    text += attribute.value();
  }
  return text;
}

}  // namespace

void Node::GetChildren(NodeList_t& Children, ELinkType LinkType) const {
  ReadScope scope(m_map);
  switch (LinkType) {
    case ctReadingChildren:
      for (const Link& link : Links()) {
        if (IsReadingRole(link.role)) AddOnce(Children, link.pTarget);
      }
      break;
    case ctWritingChildren:
      for (const Link& link : Links()) {
        if (IsWritingRole(link.role)) AddOnce(Children, link.pTarget);
      }
      break;
    case ctInvalidatingChildren:
      for (const Link& link : Links()) {
        if (link.role == Element::pInvalidator) AddOnce(Children, link.pTarget);
      }
      break;
    case ctValueChangingChildren:
      for (const Link& link : Links()) {
        if (IsReadingRole(link.role) || link.role == Element::pInvalidator) {
          AddOnce(Children, link.pTarget);
        }
      }
      break;
    case ctParentNodes:
      GetParents(Children);
      break;
    case ctDependingNodes: {
      std::vector<Node*> work;
      for (const Dependent& edge : Dependents()) work.push_back(edge.pNode);
      while (!work.empty()) {
        Node* node = work.back();
        work.pop_back();
        const size_t before = Children.size();
        if (node != this) AddOnce(Children, node);
        if (Children.size() == before) continue;
        for (const Dependent& edge : node->Dependents()) work.push_back(edge.pNode);
      }
      break;
    }
    case ctTerminalNodes: {
      std::vector<Node*> seen;
      Terminals(const_cast<Node&>(*this), Children, seen);
      break;
    }
  }
}

void Node::GetParents(NodeList_t& Parents) const {
  ReadScope scope(m_map);
  for (Node* candidate : m_map.Nodes()) {
    for (const Link& link : candidate->Links()) {
      if (link.pTarget == this && link.role != Element::pInvalidator &&
          link.role != Element::pSelected) {
        Parents.push_back(candidate);
        break;
      }
    }
  }
}

CallbackHandleType Node::RegisterCallback(CNodeCallback* pCallback) {
  if (pCallback == nullptr) GENAPI_RAISE(InvalidArgumentException, *this, "the callback is null");
  ReadScope scope(m_map);
  return m_map.AddCallback(*this, pCallback);
}

bool Node::DeregisterCallback(CallbackHandleType hCallback) {
  ReadScope scope(m_map);
  return m_map.RemoveCallback(*this, hCallback);
}

void Node::GetPropertyNames(gcstring_vector& PropertyNames) const {
  const auto add = [&](const char* name) {
    for (size_t i = 0; i < PropertyNames.size(); ++i) {
      if (PropertyNames[i] == name) return;
    }
    PropertyNames.push_back(name);
  };
  for (const auto attribute : m_element.attributes()) add(attribute.name());
  for (const auto& source : {m_element, m_shared}) {
    for (const auto child : source.children()) {
      if (child.type() != pugi::node_element) continue;
      const Element id = ElementByName(child.name());
      if (id == Element::EnumEntry) {
        add("pEnumEntry");
      } else if (id != Element::StructEntry && id != Element::Extension) {
        add(child.name());
      }
    }
  }
}

bool Node::GetProperty(const gcstring& PropertyName, gcstring& ValueStr, gcstring& AttributeStr) {
  std::string values;
  std::string attributes;
  bool found = false;
  const auto add = [&](std::string_view value, const std::string& attribute) {
    if (found) {
      values += '\t';
      attributes += '\t';
    }
    values += value;
    attributes += attribute;
    found = true;
  };
  const bool entries = PropertyName == "pEnumEntry";
  for (const auto& source : {m_element, m_shared}) {
    if (found) break;  // what an entry of a structure says itself replaces what the structure says
    for (const auto child : source.children()) {
      if (entries && std::strcmp(child.name(), "EnumEntry") == 0) {
        add(std::string("EnumEntry_") + m_name + "_" + child.attribute("Name").value(), "");
      } else if (PropertyName == child.name()) {
        add(ElementText(child), JoinAttributes(child));
      }
    }
  }
  if (!found) {
    const auto attribute = m_element.attribute(PropertyName.c_str());
    if (!attribute) return false;
    add(PropertyName == "Name" ? m_name : attribute.value(), "");
  }
  ValueStr = gcstring(values.c_str());
  AttributeStr = gcstring(attributes.c_str());
  return true;
}

}  // namespace OrvexGenApi
