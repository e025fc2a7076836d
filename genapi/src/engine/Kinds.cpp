// SPDX-License-Identifier: Apache-2.0
#include "engine/Kinds.h"

namespace OrvexGenApi {

std::unique_ptr<Node> MakeNode(Element kind, NodeMap& map, pugi::xml_node element) {
  switch (kind) {
    case Element::Node:
      return std::make_unique<PlainNode>(map, element, RO);
    case Element::Category:
      return std::make_unique<CategoryNode>(map, element);
    case Element::Integer:
      return std::make_unique<IntegerNode>(map, element);
    case Element::IntReg:
      return std::make_unique<IntRegNode>(map, element, false);
    case Element::MaskedIntReg:
    case Element::StructEntry:
      return std::make_unique<IntRegNode>(map, element, true);
    case Element::Boolean:
      return std::make_unique<BooleanNode>(map, element);
    case Element::Command:
      return std::make_unique<CommandNode>(map, element);
    case Element::Float:
      return std::make_unique<FloatNode>(map, element);
    case Element::FloatReg:
      return std::make_unique<FloatRegNode>(map, element);
    case Element::Enumeration:
      return std::make_unique<EnumerationNode>(map, element);
    case Element::EnumEntry:
      return std::make_unique<EnumEntryNode>(map, element);
    case Element::String:
      return std::make_unique<StringNode>(map, element);
    case Element::StringReg:
      return std::make_unique<StringRegNode>(map, element);
    case Element::Register:
      return std::make_unique<RegisterNode>(map, element);
    case Element::SwissKnife:
      return std::make_unique<KnifeNode>(map, element);
    case Element::IntSwissKnife:
      return std::make_unique<IntKnifeNode>(map, element);
    case Element::Converter:
      return std::make_unique<ConverterNode>(map, element);
    case Element::IntConverter:
      return std::make_unique<IntConverterNode>(map, element);
    case Element::Port:
      return std::make_unique<PortNode>(map, element);
    // Kinds of one bus that no device of today uses.
    case Element::ConfRom:
    case Element::TextDesc:
    case Element::IntKey:
    case Element::AdvFeatureLock:
    case Element::SmartFeature:
      return std::make_unique<PlainNode>(map, element, NI);
    default:
      return nullptr;
  }
}

}  // namespace OrvexGenApi
