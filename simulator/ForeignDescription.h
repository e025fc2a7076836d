#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a camera must know of somebody else's description to play that camera: where the registers
// of well-known features are, and which flags say that features exist. Reads the nodes as far as
// addresses are constants; what is computed by formulas is left alone. The text is not trusted.
// Immutable; any thread.

#include <optional>
#include <pugixml.hpp>
#include <string>
#include <unordered_map>
#include <vector>

#include "simulator/Feature.h"

namespace OrvexSim {

struct ForeignRegister {
  uint32_t address = 0, length = 4;
  bool bigEndian = true;
  uint32_t shift = 0;  // of the lowest bit, counted from the least significant one
  uint64_t mask = 0;   // over the whole register, shifted already

  uint64_t Load(std::span<const uint8_t> bytes) const;  // the whole register
  void Store(std::span<uint8_t> bytes, uint64_t whole) const;
};

class ForeignDescription {
 public:
  // Empty when the text is no description.
  explicit ForeignDescription(const std::string& xml);

  std::string VendorName() const;
  std::string ModelName() const;
  // The register behind a feature, nothing where there is none of at most eight bytes.
  std::optional<ForeignRegister> RegisterOf(const std::string& feature) const;
  int64_t CommandValue(const std::string& command) const;
  std::vector<EnumEntry> Entries(const std::string& enumeration) const;
  // The registers behind what tells that features are implemented or available.
  std::vector<ForeignRegister> Flags() const;

 private:
  pugi::xml_node Find(const std::string& name) const;
  std::optional<uint64_t> Constant(const std::string& name) const;
  std::optional<uint64_t> AddressOf(const pugi::xml_node& node) const;

  pugi::xml_document m_document;
  std::unordered_map<std::string, pugi::xml_node> m_nodes;
};

}  // namespace OrvexSim
