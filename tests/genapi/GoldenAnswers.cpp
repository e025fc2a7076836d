// SPDX-License-Identifier: Apache-2.0
#include "GoldenAnswers.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

namespace OrvexTest {
namespace {

using namespace GenApi;
using GenICam::gcstring;

std::string Number(double value) {
  if (std::isnan(value)) return "nan";
  char text[64];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}
std::string Number(int64_t value) {
  return std::to_string(value);
}
std::string Flag(bool value) {
  return value ? "1" : "0";
}

// Control characters as the recordings spell them.
std::string Text(const gcstring& text) {
  std::string out;
  for (const char* p = text.c_str(); *p; ++p) {
    switch (*p) {
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        out += *p;
    }
  }
  return out;
}

// Long texts are recorded as their length and an FNV-1a hash.
std::string Digest(const gcstring& text) {
  uint32_t hash = 2166136261u;
  unsigned length = 0;
  for (const char* p = text.c_str(); *p; ++p, ++length) {
    hash = (hash ^ static_cast<unsigned char>(*p)) * 16777619u;
  }
  char out[40];
  std::snprintf(out, sizeof out, "%u:%08x", length, hash);
  return out;
}

// The answer, or the name of the exception behind an exclamation mark.
template <class Ask>
std::string Try(Ask ask) {
  using namespace GenICam;
  try {
    return ask();
  } catch (const AccessException&) {
    return "!Access";
  } catch (const OutOfRangeException&) {
    return "!OutOfRange";
  } catch (const InvalidArgumentException&) {
    return "!InvalidArgument";
  } catch (const PropertyException&) {
    return "!Property";
  } catch (const TimeoutException&) {
    return "!Timeout";
  } catch (const LogicalErrorException&) {
    return "!LogicalError";
  } catch (const DynamicCastException&) {
    return "!DynamicCast";
  } catch (const RuntimeException&) {
    return "!Runtime";
  } catch (const BadAllocException&) {
    return "!BadAlloc";
  } catch (const GenericException&) {
    return "!Generic";
  }
}

std::string Access(IBase* base) {
  return Try(
      [&] { return std::string(EAccessModeClass::ToString(base->GetAccessMode()).c_str()); });
}

std::string Names(const FeatureList_t& features) {
  std::string text;
  for (size_t i = 0; i < features.size(); ++i) {
    text += (i ? "," : "") + std::string(features[i]->GetNode()->GetName().c_str());
  }
  return text;
}

std::map<std::string, INode*> ByName(CNodeMapRef& map) {
  NodeList_t nodes;
  map._GetNodes(nodes);
  std::map<std::string, INode*> byName;
  for (size_t i = 0; i < nodes.size(); ++i) byName[nodes[i]->GetName().c_str()] = nodes[i];
  return byName;
}

// ---- properties ----

class PropertyQuestions {
 public:
  PropertyQuestions(Answers& answers, INode* node) : m_answers(answers), m_node(node) {
    m_name = node->GetName().c_str();
  }

  void Ask() {
    const EInterfaceType type = m_node->GetPrincipalInterfaceType();
    Put("type", std::string(GetInterfaceName(m_node).c_str() + 1));
    Common();
    Selectors();
    if (auto* category = dynamic_cast<ICategory*>(m_node)) {
      FeatureList_t features;
      category->GetFeatures(features);
      Put("features", Names(features));
      return;
    }
    if (type == intfIPort) return;
    if (auto* reg = dynamic_cast<IRegister*>(m_node)) {
      int64_t length = 0;
      Put("addr", Try([&] { return Number(reg->GetAddress()); }));
      Put("len", Try([&] { return Number(length = reg->GetLength()); }));
      if (length < 0 || length > 65536) return;
    }
    auto* value = dynamic_cast<IValue*>(m_node);
    if (value && type != intfIEnumEntry && type != intfIFloat) {
      Put("tostring", Try([&] { return Text(value->ToString()); }));
    }
    if (auto* p = dynamic_cast<IInteger*>(m_node)) Integer(*p);
    if (auto* p = dynamic_cast<IFloat*>(m_node)) Float(*p);
    if (auto* p = dynamic_cast<IBoolean*>(m_node)) {
      Put("value", Try([&] { return Flag(p->GetValue()); }));
    }
    if (auto* p = dynamic_cast<IString*>(m_node)) {
      Put("maxlen", Try([&] { return Number(p->GetMaxLength()); }));
    }
    if (auto* p = dynamic_cast<IEnumeration*>(m_node)) Enumeration(*p);
    if (auto* p = dynamic_cast<IEnumEntry*>(m_node)) {
      Put("value", Try([&] { return Number(p->GetValue()); }));
      Put("symbolic", Text(p->GetSymbolic()));
      Put("selfclear", Flag(p->IsSelfClearing()));
    }
    if (auto* p = dynamic_cast<ICommand*>(m_node)) {
      Put("done", Try([&] { return Flag(p->IsDone()); }));
    }
  }

 private:
  void Put(const char* attribute, const std::string& answer) {
    m_answers[{m_name, attribute}] = answer;
  }

  void Common() {
    Put("access", Access(m_node));
    Put("ns", Number(int64_t{m_node->GetNameSpace()}));
    Put("vis", Number(int64_t{m_node->GetVisibility()}));
    Put("caching", Try([&] { return Number(int64_t{m_node->GetCachingMode()}); }));
    Put("poll", Number(m_node->GetPollingTime()));
    Put("tooltip", Digest(m_node->GetToolTip()));
    Put("descr", Digest(m_node->GetDescription()));
    Put("display", Text(m_node->GetDisplayName()));
    Put("docu", Text(m_node->GetDocuURL()));
    Put("event", Text(m_node->GetEventID()));
    Put("flags", std::string(m_node->IsStreamable() ? "S" : "-") +
                     (m_node->IsFeature() ? "F" : "-") + (m_node->IsDeprecated() ? "D" : "-"));
    if (m_node->GetAlias()) Put("alias", Text(m_node->GetAlias()->GetName()));
    if (m_node->GetCastAlias()) Put("castalias", Text(m_node->GetCastAlias()->GetName()));
  }

  void Selectors() {
    auto* selector = dynamic_cast<ISelector*>(m_node);
    if (selector == nullptr) return;
    FeatureList_t list;
    if (selector->IsSelector()) {
      selector->GetSelectedFeatures(list);
      Put("selects", Names(list));
    }
    list.clear();
    selector->GetSelectingFeatures(list);
    if (list.size() != 0) Put("selectedby", Names(list));
  }

  void Integer(IInteger& p) {
    Put("value", Try([&] { return Number(p.GetValue()); }));
    Put("min", Try([&] { return Number(p.GetMin()); }));
    Put("max", Try([&] { return Number(p.GetMax()); }));
    Put("inc", Try([&] {
          const EIncMode mode = p.GetIncMode();
          std::string text = Number(int64_t{mode}) + "/";
          if (mode == fixedIncrement) return text + Number(p.GetInc());
          if (mode != listIncrement) return text + "-";
          const int64_autovector_t values = p.GetListOfValidValues(false);
          for (size_t i = 0; i < values.size() && i < 64; ++i) {
            text += (i ? "," : "") + Number(values[i]);
          }
          return text;
        }));
    Put("repr", Number(int64_t{p.GetRepresentation()}));
    Put("unit", Text(p.GetUnit()));
  }

  void Float(IFloat& p) {
    Put("value", Try([&] { return Number(p.GetValue()); }));
    Put("min", Try([&] { return Number(p.GetMin()); }));
    Put("max", Try([&] { return Number(p.GetMax()); }));
    Put("inc", Try([&] { return p.HasInc() ? Number(p.GetInc()) : std::string("-"); }));
    Put("repr", Number(int64_t{p.GetRepresentation()}));
    Put("unit", Text(p.GetUnit()));
    Put("notation",
        Number(int64_t{p.GetDisplayNotation()}) + "/" + Number(p.GetDisplayPrecision()));
  }

  void Enumeration(IEnumeration& p) {
    Put("intvalue", Try([&] { return Number(p.GetIntValue()); }));
    NodeList_t entries;
    p.GetEntries(entries);
    std::string text;
    for (size_t i = 0; i < entries.size(); ++i) {
      auto* entry = dynamic_cast<IEnumEntry*>(entries[i]);
      text += (i ? "," : "") + Text(entry->GetSymbolic()) + "=" + Number(entry->GetValue()) + "/" +
              Access(entries[i]);
    }
    Put("entries", text);
    Put("current", Try([&] {
          IEnumEntry* entry = p.GetCurrentEntry();
          return entry ? Text(entry->GetSymbolic()) : std::string("null");
        }));
  }

  Answers& m_answers;
  INode* m_node;
  std::string m_name;
};

// ---- writes ----

class WriteQuestions {
 public:
  WriteQuestions(Answers& answers, CNodeMapRef& map, GoldenPort& port, INode* node)
      : m_answers(answers), m_map(map), m_port(port), m_node(node) {
    m_name = node->GetName().c_str();
  }

  void Ask() {
    const std::string access = Access(m_node);
    const bool readOnly = access == "RO";
    if (access != "RW" && access != "WO" && !readOnly) return;
    auto* integer = dynamic_cast<IInteger*>(m_node);
    if (readOnly && integer == nullptr) return;
    auto* reg = dynamic_cast<IRegister*>(m_node);
    int64_t length = 0;
    if (reg) {
      Try([&] { return Number(length = reg->GetLength()); });
      if (length <= 0 || length > 65536) return;
    }
    if (auto* p = dynamic_cast<IString*>(m_node)) {
      Strings(*p);
    } else if (integer) {
      Integers(*integer, readOnly);
    } else if (auto* p = dynamic_cast<IFloat*>(m_node)) {
      Floats(*p);
    } else if (auto* p = dynamic_cast<IBoolean*>(m_node)) {
      for (const bool value : {false, true}) {
        Probe(
            value ? "w.true" : "w.false", "", [&] { p->SetValue(value); },
            [&] { return Flag(p->GetValue()); });
      }
    } else if (auto* p = dynamic_cast<IEnumeration*>(m_node)) {
      Entries(*p);
    } else if (auto* p = dynamic_cast<ICommand*>(m_node)) {
      Probe(
          "w.exec", "", [&] { p->Execute(); }, [&] { return Flag(p->IsDone()); });
    } else if (reg && length <= 4096) {
      std::vector<uint8_t> bytes(static_cast<size_t>(length));
      for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 3 + 1);
      Probe(
          "w.set", "", [&] { reg->Set(bytes.data(), length); }, Nothing);
      Probe(
          "w.toolong", "", [&] { reg->Set(bytes.data(), length + 1); }, Nothing);
    }
  }

 private:
  static std::string Nothing() { return {}; }

  template <class Act, class Back>
  void Probe(const std::string& attribute, const std::string& before, Act act, Back back) {
    m_port.Forget();
    m_map._InvalidateNodes();
    const std::string outcome = Try([&] {
      act();
      return std::string("ok");
    });
    const std::string written = m_port.Log();
    m_answers[{m_name, attribute}] = before + outcome + " | " + written + " | " + Try(back);
  }

  void Integers(IInteger& p, bool readOnly) {
    int64_t min = 0;
    int64_t max = 0;
    int64_t inc = 1;
    const std::string failure = Try([&] {
      min = p.GetMin();
      max = p.GetMax();
      inc = p.GetIncMode() == fixedIncrement ? p.GetInc() : 1;
      return std::string();
    });
    if (!failure.empty()) {
      m_answers[{m_name, "w.range"}] = failure;
      return;
    }
    const int64_t step = inc > 0 ? inc : 1;
    const uint64_t span = static_cast<uint64_t>(max) - static_cast<uint64_t>(min);
    const auto middle = static_cast<int64_t>(
        static_cast<uint64_t>(min) +
        static_cast<uint64_t>(static_cast<int64_t>(span / 2 / static_cast<uint64_t>(step)) * step));
    const std::pair<const char*, int64_t> values[] = {{"w.min", min},
                                                      {"w.max", max},
                                                      {"w.mid", middle},
                                                      {"w.below", min > INT64_MIN ? min - 1 : min},
                                                      {"w.above", max < INT64_MAX ? max + 1 : max},
                                                      {"w.one", 1}};
    const auto back = [&] { return Number(p.GetValue()); };
    for (const auto& [attribute, value] : values) {
      Probe(
          attribute, Number(value) + " ", [&, v = value] { p.SetValue(v); }, back);
      if (readOnly) return;
    }
    Probe(
        "w.hexstr", "", [&] { p.FromString("0x1"); }, back);
    Probe(
        "w.badstr", "", [&] { p.FromString("zz"); }, Nothing);
  }

  void Floats(IFloat& p) {
    double min = 0;
    double max = 0;
    const std::string failure = Try([&] {
      min = p.GetMin();
      max = p.GetMax();
      return std::string();
    });
    if (!failure.empty()) {
      m_answers[{m_name, "w.range"}] = failure;
      return;
    }
    const std::pair<const char*, double> values[] = {{"w.min", min},
                                                     {"w.max", max},
                                                     {"w.mid", min / 2 + max / 2},
                                                     {"w.below", min - 1 - std::fabs(min) * 0.01},
                                                     {"w.above", max + 1 + std::fabs(max) * 0.01},
                                                     {"w.two", 2.0}};
    for (const auto& [attribute, value] : values) {
      Probe(
          attribute, Number(value) + " ", [&, v = value] { p.SetValue(v); },
          [&] { return Number(p.GetValue()); });
    }
  }

  void Entries(IEnumeration& p) {
    StringList_t names;
    p.GetSymbolics(names);
    for (size_t i = 0; i < names.size() && i < 6; ++i) {
      Probe(
          std::string("w.") + names[i].c_str(), "", [&] { p.FromString(names[i]); },
          [&] { return Text(p.ToString()); });
    }
    Probe(
        "w.bad", "", [&] { p.FromString("NoSuchEntry"); }, Nothing);
    Probe(
        "w.badint", "", [&] { p.SetIntValue(123456789); }, Nothing);
  }

  void Strings(IString& p) {
    int64_t length = 0;
    Try([&] { return Number(length = p.GetMaxLength()); });
    if (length <= 0 || length > 65536) {
      m_answers[{m_name, "w.maxlen"}] = Number(length);
      return;
    }
    std::string longText;
    for (int i = 0; i < 70; ++i) longText += static_cast<char>('0' + i % 10);
    const std::pair<const char*, std::string> values[] = {
        {"w.empty", ""}, {"w.abc", "abc"}, {"w.long", longText}};
    for (const auto& [attribute, value] : values) {
      Probe(
          attribute, "", [&, v = value] { p.SetValue(v.c_str()); },
          [&] { return Text(p.GetValue()); });
    }
  }

  Answers& m_answers;
  CNodeMapRef& m_map;
  GoldenPort& m_port;
  INode* m_node;
  std::string m_name;
};

// What both recordings begin with: the description's own data, and the ports once one is connected.
void AskMap(CNodeMapRef& map, GoldenPort& port, Answers& answers) {
  const auto put = [&](const char* attribute, const std::string& answer) {
    answers[{"@", attribute}] = answer;
  };
  put("load", "ok");
  put("device", Text(map._GetDeviceName()));
  auto* info = dynamic_cast<IDeviceInfo*>(map._Ptr);
  put("model", Text(info->GetModelName()));
  put("vendor", Text(info->GetVendorName()));
  put("stdns", Text(info->GetStandardNameSpace()));
  put("guid", Text(info->GetProductGuid()) + "/" + Text(info->GetVersionGuid()));
  const auto version = [](const Version_t& v) {
    return std::to_string(v.Major) + "." + std::to_string(v.Minor) + "." +
           std::to_string(v.SubMinor);
  };
  Version_t v;
  info->GetSchemaVersion(v);
  put("schema", version(v));
  info->GetDeviceVersion(v);
  put("devver", version(v));
  for (const char* name : {"Device", "TLPort", "InterfacePort", "DevicePort", "StreamPort",
                           "BufferPort", "SystemPort", "DataStreamPort"}) {
    if (map._GetNode(name)) {
      answers[{std::string("@") + name, "connect"}] = Flag(map._Connect(&port, name));
    }
  }
  for (const auto& [name, node] : ByName(map)) {
    if (node->GetPrincipalInterfaceType() == intfIPort) answers[{name, "port"}] = Access(node);
  }
}

}  // namespace

Answers AskProperties(CNodeMapRef& map, GoldenPort& port) {
  Answers answers;
  AskMap(map, port, answers);
  for (const auto& [name, node] : ByName(map)) PropertyQuestions(answers, node).Ask();
  return answers;
}

Answers AskWrites(CNodeMapRef& map, GoldenPort& port) {
  Answers answers;
  AskMap(map, port, answers);
  for (const auto& [name, node] : ByName(map)) {
    if (node->GetPrincipalInterfaceType() != intfIEnumEntry) {
      WriteQuestions(answers, map, port, node).Ask();
    }
  }
  return answers;
}

std::string Decompress(const std::string& path) {
  std::string text;
  FILE* pipe = popen(("xz -dc '" + path + "'").c_str(), "r");
  if (pipe == nullptr) return text;
  char block[65536];
  while (const size_t got = std::fread(block, 1, sizeof block, pipe)) text.append(block, got);
  if (pclose(pipe) != 0) text.clear();
  return text;
}

Answers ParseAnswers(const std::string& text) {
  Answers answers;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const size_t first = line.find('\t');
    const size_t second = first == std::string::npos ? first : line.find('\t', first + 1);
    if (second == std::string::npos) continue;
    answers[{line.substr(0, first), line.substr(first + 1, second - first - 1)}] =
        line.substr(second + 1);
  }
  return answers;
}

bool SameAnswer(const std::string& a, const std::string& b) {
  if (a == b) return true;
  constexpr char sk_separators[] = " |,=/:";
  size_t i = 0;
  size_t j = 0;
  while (i < a.size() || j < b.size()) {
    const size_t endA = std::min(a.find_first_of(sk_separators, i), a.size());
    const size_t endB = std::min(b.find_first_of(sk_separators, j), b.size());
    const std::string x = a.substr(i, endA - i);
    const std::string y = b.substr(j, endB - j);
    if (x != y) {
      char* stopX = nullptr;
      char* stopY = nullptr;
      const double u = std::strtod(x.c_str(), &stopX);
      const double v = std::strtod(y.c_str(), &stopY);
      if (x.empty() || y.empty() || *stopX || *stopY) return false;
      if (!(u == v || std::fabs(u - v) <= 1e-9 * std::max(std::fabs(u), std::fabs(v))))
        return false;
    }
    if ((endA < a.size()) != (endB < b.size())) return false;
    if (endA < a.size() && a[endA] != b[endB]) return false;
    i = endA + 1;
    j = endB + 1;
  }
  return true;
}

}  // namespace OrvexTest
