// SPDX-License-Identifier: Apache-2.0
// The description XML of a module, printed from its rows.
#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "producer/FeatureTable.h"

namespace OrvexGev {
namespace {

std::string Number(int64_t value) {
  return std::to_string(value);
}

std::string Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

std::string Hex(uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%" PRIX64, value);
  return text;
}

std::string Escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string Element(const char* name, const std::string& value) {
  return std::string("    <") + name + ">" + Escaped(value) + "</" + name + ">\n";
}

// Empty values make no element.
std::string Optional(const char* name, const std::string& value) {
  return value.empty() ? std::string() : Element(name, value);
}

std::string Node(const char* type, const std::string& name, const std::string& content,
                 const char* nameSpace = "Standard") {
  return std::string("  <") + type + " Name=\"" + name + "\" NameSpace=\"" + nameSpace + "\">\n" +
         content + "  </" + type + ">\n";
}

const char* VisibilityName(Visibility visibility) {
  constexpr const char* names[] = {"Beginner", "Expert", "Guru", "Invisible"};
  return names[static_cast<size_t>(visibility)];
}

}  // namespace

std::string FeatureTable::NodeXml(const Feature& f, size_t index) const {
  const char* access = !f.Writable() ? "RO" : f.Readable() ? "RW" : "WO";
  const std::string registerName = f.m_name + "Reg";
  const size_t length = f.m_type == FeatureType::String ? sk_stringBytes : 8;
  const std::string common =
      Optional("ToolTip", f.m_tip) + Element("Visibility", VisibilityName(f.m_visibility));
  const std::string where = Element("Address", Hex(AddressAt(index))) +
                            Element("Length", Number(static_cast<int64_t>(length))) +
                            Element("AccessMode", access) + Element("pPort", m_portName) +
                            Element("Cachable", f.m_constant ? "WriteThrough" : "NoCache");
  if (f.m_type == FeatureType::String) return Node("StringReg", f.m_name, common + where);

  std::string selected;
  for (const Feature& other : m_features) {
    if (other.m_selector == f.m_name) selected += Element("pSelected", other.m_name);
  }
  const std::string source = Element("pValue", registerName);
  std::string xml;
  switch (f.m_type) {
    case FeatureType::Integer: {
      std::string range;
      if (f.m_hasRange) {
        range = Element("Min", Number(f.m_min));
        range +=
            f.m_dynamicMax ? Element("pMax", f.m_name + "Max") : Element("Max", Number(f.m_max));
        range += Element("Inc", Number(f.m_increment));
      }
      xml = Node("Integer", f.m_name,
                 common + source + range + Optional("Unit", f.m_unit) +
                     Optional("Representation", f.m_representation) + selected);
      break;
    }
    case FeatureType::Float: {
      std::string range;
      if (f.m_hasFloatRange)
        range = Element("Min", Number(f.m_floatMin)) + Element("Max", Number(f.m_floatMax));
      xml = Node("Float", f.m_name, common + source + range + Optional("Unit", f.m_unit));
      break;
    }
    case FeatureType::Boolean:
      xml = Node("Boolean", f.m_name, common + source + selected);
      break;
    case FeatureType::Enumeration: {
      std::string entries;
      for (const EnumEntry& entry : f.m_entries) {
        entries += std::string("    <EnumEntry Name=\"") + entry.name +
                   "\" NameSpace=\"Standard\">\n  " + Element("Value", Number(entry.value)) +
                   "    </EnumEntry>\n";
      }
      xml = Node("Enumeration", f.m_name, common + entries + source + selected);
      break;
    }
    case FeatureType::Command:
      xml = Node("Command", f.m_name, common + source + Element("CommandValue", "1"));
      break;
    case FeatureType::String:
      break;
  }
  const std::string hidden = Element("Visibility", "Invisible");
  const std::string endianess = Element("Endianess", "LittleEndian");
  return xml + (f.m_type == FeatureType::Float
                    ? Node("FloatReg", registerName, hidden + where + endianess, "Custom")
                    : Node("IntReg", registerName,
                           hidden + where + Element("Sign", "Signed") + endianess, "Custom"));
}

void FeatureTable::Finish() {
  m_xml =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RegisterDescription ModelName=\"" + m_model +
      "\" VendorName=\"Orvex\" ToolTip=\"\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" "
      "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" "
      "SubMinorVersion=\"0\" ProductGuid=\"6b3f3a46-9d5e-4a0c-8f86-2d4f7c1b9e01\" "
      "VersionGuid=\"0c8e3d0b-54a1-4f5d-b0a4-7f2b6e9a3c11\" "
      "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\" "
      "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
      "xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1 "
      "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n";
  std::vector<std::string> categories;
  for (const Feature& feature : m_features) {
    if (!feature.m_category.empty() &&
        std::ranges::find(categories, feature.m_category) == categories.end()) {
      categories.push_back(feature.m_category);
    }
  }
  std::string root;
  for (const std::string& category : categories) root += Element("pFeature", category);
  m_xml += Node("Category", "Root", root);
  for (const std::string& category : categories) {
    std::string members;
    for (const Feature& feature : m_features) {
      if (feature.m_category == category) members += Element("pFeature", feature.m_name);
    }
    m_xml += Node("Category", category, members);
  }
  for (size_t i = 0; i < m_features.size(); ++i) m_xml += NodeXml(m_features[i], i);
  m_xml += Node("Port", m_portName, Element("Visibility", "Invisible"));
  m_xml += "</RegisterDescription>\n";
}

}  // namespace OrvexGev
