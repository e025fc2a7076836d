// SPDX-License-Identifier: Apache-2.0
// What a node tells about its neighbours and its description.
#include <GenApi/NodeCallback.h>

#include <errno.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unordered_set>

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
    case Element::PropertyVariable:
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
    case Element::p1212Parser:
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
void Terminals(Node& node, NodeList_t& list) {
  std::unordered_set<const Node*> seen{&node};
  std::vector<Node*> work{&node};
  for (size_t i = 0; i < work.size(); ++i) {
    bool end = true;
    for (const Link& link : work[i]->Links()) {
      if (!IsWritingRole(link.role)) continue;
      end = false;
      if (seen.insert(link.pTarget).second) work.push_back(link.pTarget);
    }
    if (end) list.push_back(work[i]);
  }
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
      std::unordered_set<const Node*> seen{this};
      std::vector<const Node*> work{this};
      for (size_t i = 0; i < work.size(); ++i) {
        for (const Dependent& edge : work[i]->Dependents()) {
          if (!seen.insert(edge.pNode).second) continue;
          work.push_back(edge.pNode);
          Children.push_back(edge.pNode);
        }
      }
      break;
    }
    case ctTerminalNodes:
      Terminals(const_cast<Node&>(*this), Children);
      break;
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

// $(NAME) in the text stands for a node's value or for a fact about the system; what cannot be
// known stays as it is.
gcstring Node::GetDocuURL() const {
  ReadScope scope(m_map);
  const std::string_view text = Trim(ChildText("DocuURL"));
  std::string url;
  size_t at = 0;
  for (size_t open; (open = text.find("$(", at)) != std::string_view::npos;) {
    const size_t close = text.find(')', open);
    if (close == std::string_view::npos) break;
    url += text.substr(at, open - at);
    const std::string_view name = text.substr(open + 2, close - open - 2);
    std::string value;
    url += UrlVariable(name, value) ? value : std::string(text.substr(open, close + 1 - open));
    at = close + 1;
  }
  url += text.substr(at);
  return gcstring(url.data(), url.size());
}

bool Node::UrlVariable(std::string_view name, std::string& value) const {
  const auto version = [](const Version_t& v) {
    return std::to_string(v.Major) + "." + std::to_string(v.Minor) + "." +
           std::to_string(v.SubMinor);
  };
  Version_t number{};
  uint16_t build = 0;
  if (name == "Sys::NodeName") {
    value = m_name;
  } else if (name == "Sys::ModelName") {
    value = m_map.GetModelName().c_str();
  } else if (name == "Sys::VendorName") {
    value = m_map.GetVendorName().c_str();
  } else if (name == "Sys::StandardNamespace") {
    value = m_map.GetStandardNameSpace().c_str();
  } else if (name == "Sys::GenApiVersion") {
    m_map.GetGenApiVersion(number, build);
    value = version(number);
  } else if (name == "Sys::DeviceVersion") {
    m_map.GetDeviceVersion(number);
    value = version(number);
  } else if (name == "Sys::SchemaVersion") {
    m_map.GetSchemaVersion(number);
    value = version(number);
  } else if (name == "Sys::Application") {
    value = program_invocation_short_name;
  } else if (name == "Sys::OperatingSystem") {
    value = "Linux";
  } else if (name == "Sys::Language") {
    const char* language = std::getenv("LANG");
    value = language ? std::string(language).substr(0, 2) : "en";
  } else {
    Node* node = m_map.Find(name);
    try {
      if (node == nullptr) return false;
      value = node->ReadText({});
    } catch (const GENICAM_NAMESPACE::GenericException&) {
      return false;
    }
  }
  return true;
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
