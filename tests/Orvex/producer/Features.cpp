// SPDX-License-Identifier: Apache-2.0
// Descriptions made of features: plain for the producer's modules, zipped for the camera.
#include <algorithm>
#include <cstdio>

#include "tests/Orvex/producer/World.h"

namespace Scripted {
namespace {

uint32_t Crc32(const std::string& data) {
  uint32_t crc = 0xFFFFFFFFu;
  for (const unsigned char byte : data) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320u : 0);
  }
  return ~crc;
}

std::string LittleEndian(uint64_t value, int numBytes) {
  std::string bytes;
  for (int i = 0; i < numBytes; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

// An archive with one stored member, as the ZIP application note lays it out.
std::string Zip(const std::string& name, const std::string& data) {
  const std::string sizes = LittleEndian(Crc32(data), 4) + LittleEndian(data.size(), 4) +
                            LittleEndian(data.size(), 4) + LittleEndian(name.size(), 2) +
                            LittleEndian(0, 2);
  const std::string common = LittleEndian(0, 2) + LittleEndian(0, 2) + LittleEndian(0, 2) +
                             LittleEndian(0x21, 2);  // flags, stored, time, date
  const std::string local =
      LittleEndian(0x04034b50, 4) + LittleEndian(20, 2) + common + sizes + name + data;
  const std::string central = LittleEndian(0x02014b50, 4) + LittleEndian(20, 2) +
                              LittleEndian(20, 2) + common + sizes + LittleEndian(0, 2) +
                              LittleEndian(0, 2) + LittleEndian(0, 2) + LittleEndian(0, 4) +
                              LittleEndian(0, 4) + name;
  const std::string end = LittleEndian(0x06054b50, 4) + LittleEndian(0, 2) + LittleEndian(0, 2) +
                          LittleEndian(1, 2) + LittleEndian(1, 2) +
                          LittleEndian(central.size(), 4) + LittleEndian(local.size(), 4) +
                          LittleEndian(0, 2);
  return local + central + end;
}

std::string Element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

std::string Hex(uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof(text), "%llX", static_cast<unsigned long long>(value));
  return text;
}

const char* NodeName(Feature::Kind kind) {
  constexpr const char* sk_names[] = {"Integer",   "Float",   "Boolean", "Enumeration",
                                      "StringReg", "Command", "Register"};
  return sk_names[static_cast<size_t>(kind)];
}

std::string RegisterElements(const Feature& feature, const std::string& port, size_t length) {
  return Element("Address", "0x" + Hex(feature.address)) +
         Element("Length", std::to_string(length)) + Element("AccessMode", feature.access) +
         Element("pPort", port) + Element("Cachable", "NoCache");
}

std::string NodesOf(const Feature& feature, const std::string& port) {
  std::string common = feature.extra;
  if (feature.streamable) common += Element("Streamable", "Yes");
  std::string nodes;
  if (!feature.available) {
    common += Element("pIsAvailable", feature.name + "_Available");
    nodes += "<Integer Name=\"" + feature.name + "_Available\"><Value>0</Value></Integer>";
  }
  const std::string open =
      std::string("<") + NodeName(feature.kind) + " Name=\"" + feature.name + "\">";
  const std::string close = std::string("</") + NodeName(feature.kind) + ">";
  using Kind = Feature::Kind;
  if (feature.kind == Kind::String || feature.kind == Kind::Register) {
    const size_t length = feature.kind == Kind::String ? sk_registerBytes : feature.text.size();
    return nodes + open + common + RegisterElements(feature, port, length) + close;
  }
  for (size_t i = 0; i < feature.entries.size(); ++i) {
    common += "<EnumEntry Name=\"" + feature.entries[i] + "\"><Value>" + std::to_string(i) +
              "</Value></EnumEntry>";
  }
  const std::string value = Element("pValue", feature.name + "_Reg");
  std::string tail;
  if (feature.kind == Kind::Command) tail = "<CommandValue>1</CommandValue>";
  if (feature.kind == Kind::Boolean) tail = "<OnValue>1</OnValue><OffValue>0</OffValue>";
  nodes += open + common + value + tail + close;
  const bool real = feature.kind == Kind::Float;
  const std::string registerKind = real ? "FloatReg" : "IntReg";
  nodes += "<" + registerKind + " Name=\"" + feature.name + "_Reg\">" +
           RegisterElements(feature, port, 8) + (real ? "" : "<Sign>Signed</Sign>") +
           "<Endianess>LittleEndian</Endianess></" + registerKind + ">";
  return nodes;
}

std::string DescriptionOf(const Module& module) {
  std::string text =
      "<RegisterDescription ModelName=\"Scripted\" VendorName=\"Orvex\" "
      "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
      "SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
      "ProductGuid=\"8A2E4A02-4E2B-4C5C-9F5D-0C6A6C3F7E11\" "
      "VersionGuid=\"3D2B9C9A-7C4C-4F0E-8F43-52C1E5D0B0A2\" "
      "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n"
      "<Category Name=\"Root\" NameSpace=\"Standard\">";
  for (const auto& feature : module.features) text += Element("pFeature", feature->name);
  text += "</Category>\n";
  for (const auto& feature : module.features) text += NodesOf(*feature, module.portName) + "\n";
  return text + "<Port Name=\"" + module.portName + "\"/>\n</RegisterDescription>\n";
}

}  // namespace

Feature& Module::Add(const std::string& featureName, Feature::Kind kind) {
  Remove(featureName);
  features.push_back(std::make_unique<Feature>());
  Feature& feature = *features.back();
  feature.name = featureName;
  feature.kind = kind;
  return feature;
}

Feature& Module::Integer(const std::string& featureName, int64_t value) {
  Feature& feature = Add(featureName);
  feature.integer = value;
  return feature;
}

Feature& Module::Float(const std::string& featureName, double value) {
  Feature& feature = Add(featureName, Feature::Kind::Float);
  feature.real = value;
  return feature;
}

Feature& Module::Boolean(const std::string& featureName, bool value) {
  Feature& feature = Add(featureName, Feature::Kind::Boolean);
  feature.integer = value;
  return feature;
}

Feature& Module::Enumeration(const std::string& featureName, std::vector<std::string> entries,
                             int64_t current) {
  Feature& feature = Add(featureName, Feature::Kind::Enumeration);
  feature.entries = std::move(entries);
  feature.integer = current;
  return feature;
}

Feature& Module::String(const std::string& featureName, const std::string& value) {
  Feature& feature = Add(featureName, Feature::Kind::String);
  feature.text = value;
  return feature;
}

Feature& Module::Command(const std::string& featureName) {
  return Add(featureName, Feature::Kind::Command);
}

Feature* Module::Find(const std::string& featureName) {
  for (const auto& feature : features) {
    if (feature->name == featureName) return feature.get();
  }
  return nullptr;
}

void Module::Remove(const std::string& featureName) {
  std::erase_if(features, [&](const auto& feature) { return feature->name == featureName; });
}

Feature* Module::At(uint64_t address) {
  for (const auto& feature : features) {
    if (feature->address == address) return feature.get();
  }
  return nullptr;
}

void Module::Describe() {
  uint64_t next = sk_firstRegister;
  for (const auto& feature : features) {
    feature->address = next;
    next += sk_registerBytes;
  }
  description = xml.empty() ? DescriptionOf(*this) : xml;
  if (zipped) description = Zip("camera.xml", description);
  currentUrl = url;
  if (!url.empty()) return;
  currentUrl = "local:" + urlName + ";" + Hex(sk_descriptionAddress) + ";" +
               Hex(description.size()) + "?SchemaVersion=1.1.0";
}

}  // namespace Scripted
