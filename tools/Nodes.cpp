// SPDX-License-Identifier: Apache-2.0
#include "tools/Nodes.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <set>
#include <thread>

#include "tools/Addresses.h"
#include "tools/Failure.h"

namespace OrvexTools {
namespace {

using GenApi::EInterfaceType;

// How long a command may take before the program stops waiting for it, and how often it asks.
constexpr std::chrono::seconds sk_commandPatience{5};
constexpr std::chrono::milliseconds sk_commandPollTime{20};
// Categories nest a few levels deep; a description that nests them further, or in a circle, is not
// followed.
constexpr int sk_maxCategoryDepth = 16;
// More choices than this are not listed one by one in a message.
constexpr std::size_t sk_maxListedChoices = 24;

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

std::string Join(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) list.append(list.empty() ? "" : ", ").append(text);
  return list;
}

const char* TypeText(EInterfaceType type) {
  switch (type) {
    case GenApi::intfIInteger:
      return "Integer";
    case GenApi::intfIBoolean:
      return "Boolean";
    case GenApi::intfICommand:
      return "Command";
    case GenApi::intfIFloat:
      return "Float";
    case GenApi::intfIString:
      return "String";
    case GenApi::intfIRegister:
      return "Register";
    case GenApi::intfICategory:
      return "Category";
    case GenApi::intfIEnumeration:
      return "Enumeration";
    case GenApi::intfIEnumEntry:
      return "EnumEntry";
    case GenApi::intfIPort:
      return "Port";
    default:
      return "Value";
  }
}

const char* AccessText(GenApi::EAccessMode mode) {
  constexpr std::array<const char*, 5> sk_texts{"NI", "NA", "WO", "RO", "RW"};
  const auto index = static_cast<std::size_t>(mode);
  return index < sk_texts.size() ? sk_texts[index] : "NA";
}

std::string VisibilityText(GenApi::EVisibility visibility) {
  constexpr std::array<const char*, 4> sk_texts{"Beginner", "Expert", "Guru", "Invisible"};
  const auto index = static_cast<std::size_t>(visibility);
  return index < sk_texts.size() ? sk_texts[index] : "";
}

// The choices that can be set now.
std::vector<std::string> Choices(GenApi::IEnumeration& enumeration) {
  std::vector<std::string> names;
  GenApi::NodeList_t entries;
  enumeration.GetEntries(entries);
  for (GenApi::INode* pNode : entries) {
    auto* pEntry = dynamic_cast<GenApi::IEnumEntry*>(pNode);
    if (pEntry != nullptr && GenApi::IsAvailable(pNode))
      names.emplace_back(pEntry->GetSymbolic().c_str());
  }
  return names;
}

std::string NumberText(double value) {
  return ValueText(Record(value));
}

std::string WithUnit(std::string text, const GenICam::gcstring& unit) {
  return unit.empty() ? text : text + " " + unit.c_str();
}

std::string DottedText(std::int64_t value) {
  return fmt::format("{}.{}.{}.{}", (value >> 24) & 255, (value >> 16) & 255, (value >> 8) & 255,
                     value & 255);
}

std::string MacText(std::int64_t value) {
  std::string text;
  for (int shift = 40; shift >= 0; shift -= 8) {
    text += fmt::format("{}{:02x}", text.empty() ? "" : ":", (value >> shift) & 255);
  }
  return text;
}

void DescribeInteger(GenApi::IInteger& integer, bool readable, Record& record) {
  if (readable) {
    const std::int64_t value = integer.GetValue();
    record["value"] = value;
    const GenApi::ERepresentation representation = integer.GetRepresentation();
    if (representation == GenApi::IPV4Address) record["text"] = DottedText(value);
    if (representation == GenApi::MACAddress) record["text"] = MacText(value);
    if (representation == GenApi::HexNumber)
      record["text"] = fmt::format("0x{:x}", static_cast<std::uint64_t>(value));
  }
  record["unit"] = integer.GetUnit().c_str();
  record["min"] = integer.GetMin();
  record["max"] = integer.GetMax();
  if (integer.GetIncMode() == GenApi::fixedIncrement) record["increment"] = integer.GetInc();
}

void DescribeFloat(GenApi::IFloat& number, bool readable, Record& record) {
  if (readable) record["value"] = number.GetValue();
  record["unit"] = number.GetUnit().c_str();
  record["min"] = number.GetMin();
  record["max"] = number.GetMax();
  if (number.HasInc()) record["increment"] = number.GetInc();
}

void DescribeRegister(GenApi::IRegister& bytes, bool readable, Record& record) {
  const std::int64_t length = bytes.GetLength();
  record["length"] = length;
  if (!readable || length <= 0 || length > 4096) return;
  std::vector<std::uint8_t> data(static_cast<std::size_t>(length));
  bytes.Get(data.data(), length);
  std::string text = "0x";
  for (const std::uint8_t byte : data) text += fmt::format("{:02x}", byte);
  record["value"] = text;
}

void DescribeValue(GenApi::INode& node, bool readable, Record& record) {
  switch (node.GetPrincipalInterfaceType()) {
    case GenApi::intfIInteger:
      return DescribeInteger(dynamic_cast<GenApi::IInteger&>(node), readable, record);
    case GenApi::intfIFloat:
      return DescribeFloat(dynamic_cast<GenApi::IFloat&>(node), readable, record);
    case GenApi::intfIBoolean:
      if (readable) record["value"] = dynamic_cast<GenApi::IBoolean&>(node).GetValue();
      return;
    case GenApi::intfIString:
      if (readable) record["value"] = dynamic_cast<GenApi::IString&>(node).GetValue().c_str();
      return;
    case GenApi::intfIEnumeration:
      if (readable) record["value"] = dynamic_cast<GenApi::IValue&>(node).ToString().c_str();
      record["entries"] = Choices(dynamic_cast<GenApi::IEnumeration&>(node));
      return;
    case GenApi::intfIRegister:
      return DescribeRegister(dynamic_cast<GenApi::IRegister&>(node), readable, record);
    default:
      return;
  }
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number value{};
  if constexpr (std::is_integral_v<Number>) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    if (hex) text.remove_prefix(2);
    const auto [pEnd, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, hex ? 16 : 10);
    if (error != std::errc() || pEnd != text.data() + text.size()) return std::nullopt;
  } else {
    if (text.starts_with("+")) text.remove_prefix(1);
    const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || pEnd != text.data() + text.size()) return std::nullopt;
  }
  return value;
}

// A number, or an address in the notation in which the feature is shown.
std::optional<std::int64_t> ParseInteger(GenApi::ERepresentation representation,
                                         const std::string& text) {
  const auto number = ParseNumber<std::int64_t>(text);
  if (number) return number;
  try {
    if (representation == GenApi::IPV4Address) return ParseIp(text);
    if (representation == GenApi::MACAddress) return static_cast<std::int64_t>(ParseMac(text));
  } catch (const Misuse&) {
    // What the feature takes is told by the caller.
  }
  return std::nullopt;
}

void WriteInteger(const std::string& name, GenApi::IInteger& integer, const std::string& text) {
  const std::int64_t min = integer.GetMin();
  const std::int64_t max = integer.GetMax();
  const bool stepped = integer.GetIncMode() == GenApi::fixedIncrement;
  const std::int64_t step = stepped ? integer.GetInc() : 1;
  const auto value = ParseInteger(integer.GetRepresentation(), text);
  const bool inRange = value && *value >= min && *value <= max;
  const bool onStep =
      inRange &&
      (step <= 1 || (static_cast<std::uint64_t>(*value) - static_cast<std::uint64_t>(min)) %
                            static_cast<std::uint64_t>(step) ==
                        0);
  if (!onStep) {
    std::string takes = WithUnit(fmt::format("{} to {}", min, max), integer.GetUnit());
    if (step > 1) takes += fmt::format(" in steps of {}", step);
    if (integer.GetRepresentation() == GenApi::IPV4Address)
      takes += " or an address such as 192.168.0.10";
    throw Failure(fmt::format("{} takes a whole number from {}, not '{}'", name, takes, text));
  }
  integer.SetValue(*value);
}

void WriteFloat(const std::string& name, GenApi::IFloat& number, const std::string& text) {
  const double min = number.GetMin();
  const double max = number.GetMax();
  const auto value = ParseNumber<double>(text);
  if (!value || !(*value >= min && *value <= max)) {
    const std::string takes =
        WithUnit(NumberText(min) + " to " + NumberText(max), number.GetUnit());
    throw Failure(fmt::format("{} takes a number from {}, not '{}'", name, takes, text));
  }
  number.SetValue(*value);
}

void WriteBoolean(const std::string& name, GenApi::IBoolean& boolean, const std::string& text) {
  const std::string lower = Lower(text);
  for (const char* pYes : {"true", "1", "on", "yes"}) {
    if (lower == pYes) return boolean.SetValue(true);
  }
  for (const char* pNo : {"false", "0", "off", "no"}) {
    if (lower == pNo) return boolean.SetValue(false);
  }
  throw Failure(fmt::format("{} takes true or false, not '{}'", name, text));
}

void WriteEnumeration(const std::string& name, GenApi::INode& node, const std::string& text) {
  std::vector<std::string> choices = Choices(dynamic_cast<GenApi::IEnumeration&>(node));
  const std::string lower = Lower(text);
  for (const std::string& choice : choices) {
    if (Lower(choice) == lower)
      return dynamic_cast<GenApi::IValue&>(node).FromString(choice.c_str());
  }
  const std::string closest = ClosestName(text, choices);
  std::string more;
  if (choices.size() > sk_maxListedChoices) {
    more = fmt::format(" and {} more (see `orvex get {}`)", choices.size() - sk_maxListedChoices,
                       name);
    choices.resize(sk_maxListedChoices);
  }
  throw Failure(fmt::format("{} takes one of {}{}, not '{}'{}", name, Join(choices), more, text,
                            closest.empty() ? "" : "; did you mean " + closest + "?"));
}

void WriteString(const std::string& name, GenApi::IString& string, const std::string& text) {
  const std::int64_t limit = string.GetMaxLength();
  if (limit > 0 && static_cast<std::int64_t>(text.size()) > limit) {
    throw Failure(fmt::format("{} takes at most {} bytes, not {}", name, limit, text.size()));
  }
  string.SetValue(text.c_str());
}

void WriteRegister(const std::string& name, GenApi::IRegister& bytes, const std::string& text) {
  const auto length = static_cast<std::size_t>(std::max<std::int64_t>(bytes.GetLength(), 0));
  std::vector<std::uint8_t> data;
  const std::string_view digits =
      text.starts_with("0x") ? std::string_view(text).substr(2) : std::string_view(text);
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    std::uint8_t byte = 0;
    const auto [pEnd, error] = std::from_chars(digits.data() + i, digits.data() + i + 2, byte, 16);
    if (error != std::errc() || pEnd != digits.data() + i + 2) break;
    data.push_back(byte);
  }
  if (data.size() != length || digits.size() != 2 * length) {
    throw Failure(
        fmt::format("{} takes 0x and {} hexadecimal digits, not '{}'", name, 2 * length, text));
  }
  bytes.Set(data.data(), static_cast<std::int64_t>(data.size()));
}

// Says why a node cannot be written; does nothing when it can.
void CheckWritable(GenApi::INode& node, const std::string& name) {
  const GenApi::EAccessMode mode = node.GetAccessMode();
  switch (mode) {
    case GenApi::RW:
    case GenApi::WO:
      return;
    case GenApi::NI:
      throw Failure(fmt::format("this camera does not implement {}", name));
    case GenApi::NA:
      throw Failure(fmt::format("{} is not available with the present settings", name));
    default:
      throw Failure(
          fmt::format("{} cannot be written now: it is read-only, locked while streaming, or the "
                      "camera is held by another application",
                      name));
  }
}

std::size_t EditDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  for (std::size_t j = 0; j <= right.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= left.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t substituted = diagonal + (left[i - 1] == right[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, substituted});
    }
  }
  return row[right.size()];
}

// Appends what lies below `category`; true when a feature was found there.
bool Walk(GenApi::ICategory& category, const std::string& name, GenApi::EVisibility visibility,
          int depth, std::set<std::string>& seen, std::vector<ListedFeature>& listed) {
  if (depth > sk_maxCategoryDepth) return false;
  bool found = false;
  GenApi::FeatureList_t features;
  category.GetFeatures(features);
  for (GenApi::IValue* pValue : features) {
    GenApi::INode* pNode = pValue != nullptr ? pValue->GetNode() : nullptr;
    if (pNode == nullptr || !GenApi::IsVisible(pNode->GetVisibility(), visibility)) continue;
    if (!GenApi::IsImplemented(pNode) || !seen.insert(pNode->GetName().c_str()).second) continue;
    auto* pCategory = dynamic_cast<GenApi::ICategory*>(pNode);
    listed.push_back({pNode, name, depth, pCategory != nullptr});
    if (pCategory == nullptr) {
      found = true;
    } else if (Walk(*pCategory, pNode->GetName().c_str(), visibility, depth + 1, seen, listed)) {
      found = true;
    } else {
      listed.pop_back();
    }
  }
  return found;
}

}  // namespace

std::string ClosestName(std::string_view wanted, const std::vector<std::string>& names) {
  const std::string lower = Lower(wanted);
  // A third of the letters and one may be wrong; beyond that a suggestion puzzles more than it
  // helps.
  std::size_t best = lower.size() / 3 + 2;
  std::string closest;
  for (const std::string& name : names) {
    const std::size_t distance = EditDistance(lower, Lower(name));
    if (distance >= best) continue;
    best = distance;
    closest = name;
  }
  return closest;
}

std::optional<std::string> TryRead(GenApi::INodeMap* pNodes, const char* pName) noexcept {
  try {
    GenApi::INode* pNode = pNodes != nullptr ? pNodes->GetNode(pName) : nullptr;
    auto* pValue = dynamic_cast<GenApi::IValue*>(pNode);
    if (pValue == nullptr || !GenApi::IsReadable(pNode)) return std::nullopt;
    return std::string(pValue->ToString().c_str());
  } catch (...) {
    return std::nullopt;
  }
}

GenApi::INode& NodeOf(GenApi::INodeMap& nodes, const std::string& name) {
  if (GenApi::INode* pNode = nodes.GetNode(name.c_str())) return *pNode;
  std::vector<std::string> names;
  GenApi::NodeList_t all;
  nodes.GetNodes(all);
  for (GenApi::INode* pNode : all) {
    if (pNode->IsFeature()) names.emplace_back(pNode->GetName().c_str());
  }
  const std::string closest = ClosestName(name, names);
  throw Failure(fmt::format(
      "there is no feature '{}'; {}", name,
      closest.empty() ? "`orvex features` lists them all" : "did you mean " + closest + "?"));
}

Record DescribeFeature(GenApi::INode& node) {
  Record record;
  record["name"] = node.GetName().c_str();
  record["type"] = TypeText(node.GetPrincipalInterfaceType());
  const GenApi::EAccessMode mode = node.GetAccessMode();
  record["access"] = AccessText(mode);
  record["visibility"] = VisibilityText(node.GetVisibility());
  if (mode != GenApi::NI && mode != GenApi::NA) {
    try {
      DescribeValue(node, GenApi::IsReadable(mode), record);
    } catch (...) {
      record["error"] = PlainLine(std::current_exception());
    }
  }
  const std::string toolTip = node.GetToolTip().c_str();
  if (!toolTip.empty()) record["description"] = toolTip;
  return record;
}

void WriteFeature(GenApi::INodeMap& nodes, const std::string& name, const std::string& text) {
  GenApi::INode& node = NodeOf(nodes, name);
  const EInterfaceType type = node.GetPrincipalInterfaceType();
  if (type == GenApi::intfICommand) {
    throw Failure(fmt::format("{} is a command: use `orvex execute {}`", name, name));
  }
  CheckWritable(node, name);
  switch (type) {
    case GenApi::intfIInteger:
      return WriteInteger(name, dynamic_cast<GenApi::IInteger&>(node), text);
    case GenApi::intfIFloat:
      return WriteFloat(name, dynamic_cast<GenApi::IFloat&>(node), text);
    case GenApi::intfIBoolean:
      return WriteBoolean(name, dynamic_cast<GenApi::IBoolean&>(node), text);
    case GenApi::intfIEnumeration:
      return WriteEnumeration(name, node, text);
    case GenApi::intfIString:
      return WriteString(name, dynamic_cast<GenApi::IString&>(node), text);
    case GenApi::intfIRegister:
      return WriteRegister(name, dynamic_cast<GenApi::IRegister&>(node), text);
    default:
      throw Failure(
          fmt::format("{} is a {}, which has no value to set", name, Lower(TypeText(type))));
  }
}

void ExecuteFeature(GenApi::INodeMap& nodes, const std::string& name) {
  GenApi::INode& node = NodeOf(nodes, name);
  auto* pCommand = dynamic_cast<GenApi::ICommand*>(&node);
  if (pCommand == nullptr) {
    throw Failure(fmt::format("{} is no command, its type is {}: use `orvex set {} VALUE`", name,
                              Lower(TypeText(node.GetPrincipalInterfaceType())), name));
  }
  CheckWritable(node, name);
  pCommand->Execute();
  const auto end = std::chrono::steady_clock::now() + sk_commandPatience;
  while (!pCommand->IsDone()) {
    if (std::chrono::steady_clock::now() >= end) {
      throw Failure(fmt::format("{} was started but is not done after {} s", name,
                                sk_commandPatience.count()));
    }
    std::this_thread::sleep_for(sk_commandPollTime);
  }
}

std::vector<ListedFeature> WalkFeatures(GenApi::INodeMap& nodes, const std::string& category,
                                        GenApi::EVisibility visibility) {
  GenApi::INode& node = NodeOf(nodes, category);
  auto* pCategory = dynamic_cast<GenApi::ICategory*>(&node);
  if (pCategory == nullptr) {
    throw Failure(fmt::format("{} is a feature, not a category: `orvex get {}` shows it", category,
                              category));
  }
  std::vector<ListedFeature> listed;
  std::set<std::string> seen{category};
  Walk(*pCategory, category, visibility, 0, seen, listed);
  return listed;
}

}  // namespace OrvexTools
