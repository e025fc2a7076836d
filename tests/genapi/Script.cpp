// SPDX-License-Identifier: Apache-2.0
#include "Script.h"

#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace OrvexTest {

using namespace GenApi;

namespace {

std::string Number(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

}  // namespace

std::string Port(const char* name) {
  return std::string("<Port Name=\"") + name + "\"/>";
}

std::string Reg(const char* kind, const char* name, const char* address, int length,
                const std::string& more, const char* access) {
  return Node(kind, name,
              std::string("<Address>") + address + "</Address><Length>" + std::to_string(length) +
                  "</Length><AccessMode>" + access + "</AccessMode><pPort>Device</pPort>" + more);
}

std::string Node(const char* kind, const char* name, const std::string& content) {
  return std::string("<") + kind + " Name=\"" + name + "\">" + content + "</" + kind + ">";
}

std::string Dialogue::Ask(const std::string& question) {
  const size_t first = std::min(question.find(' '), question.size());
  const std::string verb = question.substr(0, first);
  const std::string tail = first < question.size() ? question.substr(first + 1) : "";
  const size_t second = std::min(tail.find(' '), tail.size());
  const std::string node = tail.substr(0, second);
  const std::string rest = second < tail.size() ? tail.substr(second + 1) : "";
  std::string answer = "ok";
  const std::string outcome = Outcome([&] { answer = Answer(verb, node, rest); });
  return outcome == "ok" ? answer : outcome;
}

std::string Dialogue::Answer(const std::string& verb, const std::string& node,
                             const std::string& rest) {
  const auto number = [](const std::string& text) {
    return static_cast<int64_t>(std::strtoull(text.c_str(), nullptr, 0));
  };
  if (verb == "bytes") {
    std::string text;
    for (int64_t i = 0; i < number(rest); ++i) {
      uint8_t byte = 0;
      m_small.Port.Read(&byte, number(node) + i, 1);
      char digits[3];
      std::snprintf(digits, sizeof digits, "%02x", byte);
      text += digits;
    }
    return text;
  }
  if (verb == "poke") {
    for (size_t i = 0; i + 1 < rest.size(); i += 2) {
      m_small.Port.Bytes[number(node) + static_cast<int64_t>(i / 2)] =
          static_cast<uint8_t>(std::strtoul(rest.substr(i, 2).c_str(), nullptr, 16));
    }
    return "ok";
  }
  if (verb == "writes") return std::to_string(m_small.Port.Writes.size());
  if (verb == "poll") {
    m_small.Map._Poll(number(node));
    return "ok";
  }
  INode& base = m_small.Get<INode>(node.c_str());
  const auto integer = [&]() -> IInteger& { return m_small.Get<IInteger>(node.c_str()); };
  const auto real = [&]() -> IFloat& { return m_small.Get<IFloat>(node.c_str()); };
  auto* asInteger = dynamic_cast<IInteger*>(&base);
  if (verb == "text") return m_small.Text(node.c_str());
  if (verb == "int") return std::to_string(integer().GetValue());
  if (verb == "float") return Number(real().GetValue());
  if (verb == "bool") return m_small.Get<IBoolean>(node.c_str()).GetValue() ? "yes" : "no";
  if (verb == "checked") return std::to_string(integer().GetValue(true));
  if (verb == "min")
    return asInteger ? std::to_string(asInteger->GetMin()) : Number(real().GetMin());
  if (verb == "max")
    return asInteger ? std::to_string(asInteger->GetMax()) : Number(real().GetMax());
  if (verb == "inc")
    return asInteger ? std::to_string(asInteger->GetInc()) : Number(real().GetInc());
  if (verb == "valid") {
    const int64_autovector_t values = integer().GetListOfValidValues();
    std::string text;
    for (size_t i = 0; i < values.size(); ++i) text += (i ? "," : "") + std::to_string(values[i]);
    return text;
  }
  if (verb == "unit") return (asInteger ? asInteger->GetUnit() : real().GetUnit()).c_str();
  if (verb == "repr") {
    return ERepresentationClass::ToString(asInteger ? asInteger->GetRepresentation()
                                                    : real().GetRepresentation())
        .c_str();
  }
  if (verb == "mode") return EAccessModeClass::ToString(base.GetAccessMode()).c_str();
  if (verb == "caching") return ECachingModeClass::ToString(base.GetCachingMode()).c_str();
  if (verb == "visible") return EVisibilityClass::ToString(base.GetVisibility()).c_str();
  if (verb == "maxlen") return std::to_string(m_small.Get<IString>(node.c_str()).GetMaxLength());
  if (verb == "addr") return std::to_string(m_small.Get<IRegister>(node.c_str()).GetAddress());
  if (verb == "len") return std::to_string(m_small.Get<IRegister>(node.c_str()).GetLength());
  if (verb == "done") return m_small.Get<ICommand>(node.c_str()).IsDone() ? "yes" : "no";
  if (verb == "current") {
    IEnumEntry* entry = m_small.Get<IEnumeration>(node.c_str()).GetCurrentEntry();
    return entry ? entry->GetSymbolic().c_str() : "none";
  }
  if (verb == "symbolics") {
    StringList_t names;
    m_small.Get<IEnumeration>(node.c_str()).GetSymbolics(names);
    std::string text;
    for (size_t i = 0; i < names.size(); ++i)
      text += (i ? "," : "") + std::string(names[i].c_str());
    return text;
  }
  if (verb == "selects" || verb == "selectedby") {
    FeatureList_t list;
    auto& selector = m_small.Get<ISelector>(node.c_str());
    verb == "selects" ? selector.GetSelectedFeatures(list) : selector.GetSelectingFeatures(list);
    std::string text;
    for (size_t i = 0; i < list.size(); ++i) {
      text += (i ? "," : "") + std::string(list[i]->GetNode()->GetName().c_str());
    }
    return text;
  }
  if (verb == "set") {
    m_small.Set(node.c_str(), rest.c_str());
  } else if (verb == "setint") {
    integer().SetValue(number(rest));
  } else if (verb == "setraw") {
    integer().SetValue(number(rest), false);
  } else if (verb == "setfloat") {
    real().SetValue(std::strtod(rest.c_str(), nullptr));
  } else if (verb == "exec") {
    m_small.Get<ICommand>(node.c_str()).Execute();
  } else if (verb == "drop") {
    base.InvalidateNode();
  } else {
    return "?? " + verb;
  }
  return "ok";
}

void Play(const std::string& nodes, const std::vector<Step>& steps) {
  Dialogue dialogue(nodes);
  for (const Step& step : steps) {
    EXPECT_EQ(dialogue.Ask(step.ask), step.want) << "at step: " << step.ask;
  }
}

}  // namespace OrvexTest
