// SPDX-License-Identifier: Apache-2.0
#include "engine/Kinds.h"

namespace OrvexGenApi {
namespace {

template <class Kind, class... Rest>
std::unique_ptr<Node> Make(NodeMap& map, pugi::xml_node element, Rest... rest) {
  return std::unique_ptr<Node>(new (map) Kind(map, element, rest...));
}

}  // namespace

std::unique_ptr<Node> MakeNode(Element kind, NodeMap& map, pugi::xml_node element) {
  switch (kind) {
    case Element::Node:
      return Make<PlainNode>(map, element, RO);
    case Element::Category:
      return Make<CategoryNode>(map, element);
    case Element::Integer:
      return Make<IntegerNode>(map, element);
    case Element::IntReg:
      return Make<IntRegNode>(map, element, false);
    case Element::MaskedIntReg:
    case Element::StructEntry:
      return Make<IntRegNode>(map, element, true);
    case Element::Boolean:
      return Make<BooleanNode>(map, element);
    case Element::Command:
      return Make<CommandNode>(map, element);
    case Element::Float:
      return Make<FloatNode>(map, element);
    case Element::FloatReg:
      return Make<FloatRegNode>(map, element);
    case Element::Enumeration:
      return Make<EnumerationNode>(map, element);
    case Element::EnumEntry:
      return Make<EnumEntryNode>(map, element);
    case Element::String:
      return Make<StringNode>(map, element);
    case Element::StringReg:
      return Make<StringRegNode>(map, element);
    case Element::Register:
      return Make<RegisterNode>(map, element);
    case Element::SwissKnife:
      return Make<KnifeNode>(map, element);
    case Element::IntSwissKnife:
      return Make<IntKnifeNode>(map, element);
    case Element::Converter:
      return Make<ConverterNode>(map, element);
    case Element::IntConverter:
      return Make<IntConverterNode>(map, element);
    case Element::Port:
      return Make<PortNode>(map, element);
    case Element::ConfRom:
      return Make<ConfRomNode>(map, element);
    case Element::TextDesc:
      return Make<TextDescNode>(map, element);
    case Element::IntKey:
      return Make<IntKeyNode>(map, element);
    // Kinds that need the accesses of one old bus: there, but not implemented.
    case Element::AdvFeatureLock:
    case Element::SmartFeature:
      return Make<PlainNode>(map, element, NI);
    default:
      return nullptr;
  }
}

}  // namespace OrvexGenApi
