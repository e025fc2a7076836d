// SPDX-License-Identifier: Apache-2.0
#include "simulator/DescriptionPrinter.h"

#include <bit>
#include <charconv>

namespace OrvexSim {
namespace {

std::string Escape(std::string_view text) {
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

std::string Hex(uint32_t value) {
  char text[16];
  char* end = std::to_chars(text, text + sizeof text, value, 16).ptr;
  return "0x" + std::string(text, end);
}

// "ExposureTime" -> "Exposure Time", "GevSCPSPacketSize" -> "Gev SCPS Packet Size".
std::string Caption(const std::string& name) {
  std::string result;
  for (size_t i = 0; i < name.size(); ++i) {
    const auto upper = [&](size_t at) {
      return at < name.size() && name[at] >= 'A' && name[at] <= 'Z';
    };
    if (i > 0 && upper(i) && (!upper(i - 1) || (i + 1 < name.size() && !upper(i + 1))))
      result += ' ';
    result += name[i];
  }
  return result;
}

const char* VisibilityName(Visibility visibility) {
  constexpr const char* sk_names[] = {"Beginner", "Expert", "Guru", "Invisible"};
  return sk_names[static_cast<size_t>(visibility)];
}

}  // namespace

void DescriptionPrinter::Open(const char* node, const std::string& name, bool standard) {
  m_out += std::string("  <") + node + " Name=\"" + name + "\" NameSpace=\"" +
           (standard ? "Standard" : "Custom") + "\">\n";
}
void DescriptionPrinter::Close(const char* node) {
  m_out += std::string("  </") + node + ">\n";
}
void DescriptionPrinter::Element(const char* name, const std::string& text) {
  m_out += std::string("    <") + name + ">" + Escape(text) + "</" + name + ">\n";
}
void DescriptionPrinter::Element(const char* name, int64_t value) {
  Element(name, std::to_string(value));
}
void DescriptionPrinter::Element(const char* name, double value) {
  char text[40];
  Element(name, std::string(text, std::to_chars(text, text + sizeof text, value).ptr));
}

void DescriptionPrinter::Common(const Feature& feature) {
  if (!feature.m_docu.empty()) {
    Element("ToolTip", feature.m_docu);
    Element("Description", feature.m_docu);
  }
  Element("DisplayName", Caption(feature.m_name));
  Element("Visibility", std::string(VisibilityName(feature.m_visibility)));
  if (feature.m_available) Element("pIsAvailable", feature.m_name + "_Avail");
  if (feature.m_locked) Element("pIsLocked", std::string("TLParamsLocked"));
  if (feature.m_access == Feature::Access::ReadOnly)
    Element("ImposedAccessMode", std::string("RO"));
  if (feature.m_access == Feature::Access::WriteOnly)
    Element("ImposedAccessMode", std::string("WO"));
}

void DescriptionPrinter::Invalidators(const Feature& feature) {
  // Rows that all models share name features that only some models have.
  for (const std::string& name : feature.m_dependsOn) {
    if (m_table.Find(name) != nullptr) Element("pInvalidator", name);
  }
  if (feature.Stored() && m_table.Find("UserSetLoad") != nullptr)
    Element("pInvalidator", std::string("UserSetLoad"));
}

void DescriptionPrinter::Register(const Feature& feature, const char* node, const std::string& name,
                                  uint32_t address, uint32_t length) {
  Open(node, name, false);
  Element("Visibility", std::string("Invisible"));
  Invalidators(feature);
  Element("Address", Hex(address));
  if (!feature.m_selector.empty() && name == feature.m_name + "_Reg") {
    m_out += "    <pIndex Offset=\"" + std::to_string(length) + "\">" + feature.m_selector +
             "</pIndex>\n";
  }
  Element("Length", int64_t{length});
}

void DescriptionPrinter::PrintRegister(const Feature& feature) {
  const uint32_t length = feature.RegisterLength();
  const bool masked = feature.m_mask != 0 && feature.m_mask != 0xFFFFFFFF;
  const char* node = masked ? "MaskedIntReg" : "IntReg";
  std::string name = feature.m_name + "_Reg";
  if (feature.m_kind == Feature::Kind::Float) node = "FloatReg";
  if (feature.m_kind == Feature::Kind::String) node = "StringReg";
  if (feature.m_kind == Feature::Kind::Bytes) return;  // the feature itself is the register
  Register(feature, node, name, feature.m_address, length);
  constexpr const char* sk_access[] = {"RW", "RO", "WO"};
  Element("AccessMode", std::string(sk_access[static_cast<size_t>(feature.m_access)]));
  Element("pPort", std::string("Device"));
  const bool computed = feature.m_getInt || feature.m_getReal || feature.m_getText;
  const bool cached = !feature.m_volatile && feature.m_access != Feature::Access::WriteOnly &&
                      (!computed || !feature.m_dependsOn.empty() || feature.m_mask != 0 ||
                       feature.m_access == Feature::Access::ReadOnly);
  Element("Cachable", std::string(cached ? "WriteThrough" : "NoCache"));
  if (feature.m_pollingMs != 0) Element("PollingTime", feature.m_pollingMs);
  if (masked) {
    // The description counts bits of big-endian registers from the most significant one.
    const int msb = std::countl_zero(feature.m_mask);
    const int lsb = 31 - std::countr_zero(feature.m_mask);
    if (msb == lsb) {
      Element("Bit", int64_t{msb});
    } else {
      Element("LSB", int64_t{lsb});
      Element("MSB", int64_t{msb});
    }
  }
  if (feature.m_kind != Feature::Kind::String) {
    if (feature.m_kind != Feature::Kind::Float) {
      Element("Sign", std::string(feature.m_min < 0 || length == 8 ? "Signed" : "Unsigned"));
    }
    Element("Endianess", std::string("BigEndian"));
  }
  Close(node);
}

void DescriptionPrinter::PrintMax(const Feature& feature) {
  const bool real = feature.m_kind == Feature::Kind::Float;
  const char* node = real ? "FloatReg" : "IntReg";
  Register(feature, node, feature.m_name + "_Max", feature.m_maxAddress, 8);
  Element("AccessMode", std::string("RO"));
  Element("pPort", std::string("Device"));
  Element("Cachable", std::string(feature.m_dependsOn.empty() ? "NoCache" : "WriteThrough"));
  if (!real) Element("Sign", std::string("Signed"));
  Element("Endianess", std::string("BigEndian"));
  Close(node);
}

void DescriptionPrinter::PrintLimits(const Feature& feature) {
  if (feature.m_kind == Feature::Kind::Float) {
    Element("Min", feature.m_realMin);
    if (feature.m_maxReal) {
      Element("pMax", feature.m_name + "_Max");
    } else {
      Element("Max", feature.m_realMax);
    }
  } else {
    Element("Min", feature.m_min);
    if (feature.m_maxInt) {
      Element("pMax", feature.m_name + "_Max");
    } else {
      Element("Max", feature.m_max);
    }
    if (feature.m_increment != 1) Element("Inc", feature.m_increment);
  }
  if (!feature.m_unit.empty()) Element("Unit", feature.m_unit);
  if (!feature.m_representation.empty()) Element("Representation", feature.m_representation);
}

void DescriptionPrinter::PrintValueNode(const Feature& feature) {
  using Kind = Feature::Kind;
  const std::string reg = feature.m_name + "_Reg";
  const bool streamable = feature.Stored();
  switch (feature.m_kind) {
    case Kind::Integer:
    case Kind::Float: {
      const char* node = feature.m_kind == Kind::Integer ? "Integer" : "Float";
      Open(node, feature.m_name, feature.m_standard);
      Common(feature);
      if (streamable) Element("Streamable", std::string("Yes"));
      Element("pValue", reg);
      // Limits of read-only values would only repeat those of the register.
      if (feature.m_access == Feature::Access::ReadOnly) {
        if (!feature.m_unit.empty()) Element("Unit", feature.m_unit);
        if (!feature.m_representation.empty()) Element("Representation", feature.m_representation);
      } else {
        PrintLimits(feature);
      }
      for (const std::string& name : feature.m_selects) Element("pSelected", name);
      Close(node);
      break;
    }
    case Kind::Boolean:
      Open("Boolean", feature.m_name, feature.m_standard);
      Common(feature);
      if (streamable) Element("Streamable", std::string("Yes"));
      Element("pValue", reg);
      Element("OnValue", int64_t{1});
      Element("OffValue", int64_t{0});
      Close("Boolean");
      break;
    case Kind::Enumeration:
      Open("Enumeration", feature.m_name, feature.m_standard);
      Common(feature);
      if (streamable) Element("Streamable", std::string("Yes"));
      for (const EnumEntry& entry : feature.m_entries) {
        m_out += "    <EnumEntry Name=\"" + entry.name + "\" NameSpace=\"" +
                 (feature.m_standard ? "Standard" : "Custom") + "\"><Value>" +
                 std::to_string(entry.value) + "</Value></EnumEntry>\n";
      }
      Element("pValue", reg);
      for (const std::string& name : feature.m_selects) Element("pSelected", name);
      Close("Enumeration");
      break;
    case Kind::Command:
      Open("Command", feature.m_name, feature.m_standard);
      Common(feature);
      Element("pValue", reg);
      Element("CommandValue", int64_t{1});
      Close("Command");
      break;
    case Kind::String:
      Open("String", feature.m_name, feature.m_standard);
      Common(feature);
      if (streamable) Element("Streamable", std::string("Yes"));
      Element("pValue", reg);
      Close("String");
      break;
    case Kind::Bytes:
      Open("Register", feature.m_name, feature.m_standard);
      Common(feature);
      Element("Address", Hex(feature.m_address));
      Element("Length", int64_t{feature.m_size});
      Element("AccessMode",
              std::string(feature.m_access == Feature::Access::ReadOnly ? "RO" : "RW"));
      Element("pPort", std::string("Device"));
      Element("Cachable", std::string("NoCache"));
      Close("Register");
      break;
  }
}

void DescriptionPrinter::PrintFeature(const Feature& feature) {
  PrintValueNode(feature);
  PrintRegister(feature);
  if (feature.m_maxAddress != 0) PrintMax(feature);
  if (feature.m_availableAddress != 0) {
    Register(feature, "IntReg", feature.m_name + "_Avail", feature.m_availableAddress, 4);
    Element("AccessMode", std::string("RO"));
    Element("pPort", std::string("Device"));
    Element("Cachable", std::string(feature.m_dependsOn.empty() ? "NoCache" : "WriteThrough"));
    Element("Sign", std::string("Unsigned"));
    Element("Endianess", std::string("BigEndian"));
    Close("IntReg");
  }
}

void DescriptionPrinter::PrintCategories() {
  Open("Category", "Root", true);
  for (const auto& category : m_table.m_categories) {
    if (category.parent == "Root") Element("pFeature", category.name);
  }
  Close("Category");
  for (const auto& category : m_table.m_categories) {
    Open("Category", category.name, true);
    if (!category.docu.empty()) Element("ToolTip", category.docu);
    Element("DisplayName", Caption(category.name));
    for (const std::string& member : category.members) Element("pFeature", member);
    for (const auto& child : m_table.m_categories) {
      if (child.parent == category.name) Element("pFeature", child.name);
    }
    Close("Category");
  }
}

std::string DescriptionPrinter::Print(const DescriptionHead& head) {
  m_out =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<RegisterDescription ModelName=\"" +
      head.modelName + "\" VendorName=\"" + head.vendorName + "\" ToolTip=\"" +
      Escape(head.toolTip) +
      "\" StandardNameSpace=\"GEV\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
      "SchemaSubMinorVersion=\"0\""
      " MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"" +
      head.productGuid + "\" VersionGuid=\"" + head.versionGuid +
      "\" xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""
      " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
      "xsi:schemaLocation=\"http://www.genicam.org/GenApi/"
      "Version_1_1 http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n";
  PrintCategories();
  for (const auto& feature : m_table.m_features) PrintFeature(*feature);
  for (const std::string& xml : m_table.m_rawNodes) m_out += xml;
  m_out +=
      "  <Port Name=\"Device\" NameSpace=\"Standard\">\n    <ToolTip>Register access to the "
      "camera.</ToolTip>\n  </Port>\n";
  m_out += "</RegisterDescription>\n";
  return std::move(m_out);
}

std::string FeatureTable::Xml(const DescriptionHead& head) const {
  return DescriptionPrinter(*this).Print(head);
}

}  // namespace OrvexSim
