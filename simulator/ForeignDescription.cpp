// SPDX-License-Identifier: Apache-2.0
#include "simulator/ForeignDescription.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string_view>

namespace OrvexSim {
namespace {

constexpr int sk_longestChain = 16;  // of pValue from a feature to its register

uint64_t Number(const char* text) {
  return std::strtoull(text, nullptr, 0);
}

bool IsRegister(std::string_view kind) {
  return kind == "IntReg" || kind == "MaskedIntReg" || kind == "StructEntry";
}

// A StructEntry has what its StructReg gives to all.
pugi::xml_node Child(const pugi::xml_node& node, const char* name) {
  const pugi::xml_node own = node.child(name);
  return own || std::strcmp(node.name(), "StructEntry") != 0 ? own : node.parent().child(name);
}

// Every node with a name, without entries: these repeat names of features.
struct Collector : pugi::xml_tree_walker {
  explicit Collector(std::unordered_map<std::string, pugi::xml_node>& nodes) : m_nodes(nodes) {}
  bool for_each(pugi::xml_node& node) override {
    const char* name = node.attribute("Name").value();
    if (*name != '\0' && std::strcmp(node.name(), "EnumEntry") != 0) m_nodes.emplace(name, node);
    return true;
  }
  std::unordered_map<std::string, pugi::xml_node>& m_nodes;
};

}  // namespace

uint64_t ForeignRegister::Load(std::span<const uint8_t> bytes) const {
  uint64_t value = 0;
  for (size_t i = 0; i < bytes.size(); ++i)
    value = value << 8 | bytes[bigEndian ? i : bytes.size() - 1 - i];
  return value;
}

void ForeignRegister::Store(std::span<uint8_t> bytes, uint64_t whole) const {
  for (size_t i = 0; i < bytes.size(); ++i, whole >>= 8)
    bytes[bigEndian ? bytes.size() - 1 - i : i] = static_cast<uint8_t>(whole);
}

ForeignDescription::ForeignDescription(const std::string& xml) {
  if (!m_document.load_buffer(xml.data(), xml.size())) return;
  Collector collector(m_nodes);
  m_document.traverse(collector);
}

std::string ForeignDescription::VendorName() const {
  return m_document.child("RegisterDescription").attribute("VendorName").value();
}
std::string ForeignDescription::ModelName() const {
  return m_document.child("RegisterDescription").attribute("ModelName").value();
}

pugi::xml_node ForeignDescription::Find(const std::string& name) const {
  const auto it = m_nodes.find(name);
  return it == m_nodes.end() ? pugi::xml_node{} : it->second;
}

// The value of a node that is a number in the text.
std::optional<uint64_t> ForeignDescription::Constant(const std::string& name) const {
  const pugi::xml_node value = Find(name).child("Value");
  return value ? std::optional(Number(value.child_value())) : std::nullopt;
}

std::optional<uint64_t> ForeignDescription::AddressOf(const pugi::xml_node& node) const {
  if (Child(node, "pIndex") || Child(node, "IntSwissKnife")) return {};
  uint64_t address = 0;
  const pugi::xml_node owner = node.child("Address") || node.child("pAddress") ? node
                               : std::strcmp(node.name(), "StructEntry") == 0  ? node.parent()
                                                                               : node;
  for (const pugi::xml_node& part : owner.children("Address"))
    address += Number(part.child_value());
  for (const pugi::xml_node& part : owner.children("pAddress")) {
    const auto value = Constant(part.child_value());
    if (!value) return {};
    address += *value;
  }
  if (!owner.child("Address") && !owner.child("pAddress")) return {};
  return address;
}

std::optional<ForeignRegister> ForeignDescription::RegisterOf(const std::string& feature) const {
  pugi::xml_node node = Find(feature);
  for (int step = 0; node && !IsRegister(node.name()); ++step) {
    if (step == sk_longestChain) return {};
    node = Find(node.child("pValue").child_value());
  }
  constexpr uint64_t nowhere = UINT64_MAX;  // no register is there: it is not aligned
  const uint64_t address = node ? AddressOf(node).value_or(nowhere) : nowhere;
  const uint64_t length = Number(Child(node, "Length").child_value());
  if (address % 4 != 0 || address + 8 > 0xFFFFFFFF || (length != 4 && length != 8)) return {};
  ForeignRegister reg;
  reg.address = static_cast<uint32_t>(address);
  reg.length = static_cast<uint32_t>(length);
  reg.bigEndian = std::strcmp(Child(node, "Endianess").child_value(), "BigEndian") == 0;
  const auto bits = static_cast<uint32_t>(8 * length);
  reg.mask = length == 8 ? ~uint64_t{0} : 0xFFFFFFFF;
  if (std::strcmp(node.name(), "IntReg") == 0) return reg;
  const char* bit = node.child("Bit").child_value();
  const auto lsb = Number(*bit != '\0' ? bit : node.child("LSB").child_value()),
             msb = Number(*bit != '\0' ? bit : node.child("MSB").child_value());
  if (lsb >= bits || msb >= bits) return {};
  // Bits of big-endian registers are counted from the most significant one.
  const auto low =
      static_cast<uint32_t>(reg.bigEndian ? bits - 1 - std::max(lsb, msb) : std::min(lsb, msb));
  const auto width = static_cast<uint32_t>(std::max(lsb, msb) - std::min(lsb, msb) + 1);
  reg.shift = low;
  reg.mask = (width == 64 ? ~uint64_t{0} : (uint64_t{1} << width) - 1) << low;
  return reg;
}

int64_t ForeignDescription::CommandValue(const std::string& command) const {
  const pugi::xml_node node = Find(command);
  if (const pugi::xml_node value = node.child("CommandValue"))
    return static_cast<int64_t>(Number(value.child_value()));
  return static_cast<int64_t>(Constant(node.child("pCommandValue").child_value()).value_or(1));
}

std::vector<EnumEntry> ForeignDescription::Entries(const std::string& enumeration) const {
  std::vector<EnumEntry> entries;
  for (const pugi::xml_node& entry : Find(enumeration).children("EnumEntry")) {
    entries.push_back({entry.attribute("Name").value(),
                       static_cast<int64_t>(Number(entry.child("Value").child_value()))});
  }
  return entries;
}

std::vector<ForeignRegister> ForeignDescription::Flags() const {
  std::set<std::string> names;
  const auto collect = [&](const pugi::xml_node& node) {
    for (const char* kind : {"pIsImplemented", "pIsAvailable"}) {
      if (const pugi::xml_node flag = node.child(kind)) names.insert(flag.child_value());
    }
  };
  for (const auto& [name, node] : m_nodes) {
    collect(node);
    for (const pugi::xml_node& entry : node.children("EnumEntry")) collect(entry);
  }
  std::vector<ForeignRegister> flags;
  for (const std::string& name : names) {
    if (const auto reg = RegisterOf(name)) flags.push_back(*reg);
  }
  return flags;
}

}  // namespace OrvexSim
