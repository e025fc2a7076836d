// SPDX-License-Identifier: Apache-2.0
#include "engine/FormulaNodes.h"

#include <algorithm>
#include <cmath>

#include "engine/Builder.h"
#include "engine/Features.h"

namespace OrvexGenApi {
namespace {

template <class T>
constexpr FormulaKind sk_kind =
    std::is_same_v<T, int64_t> ? FormulaKind::Integer : FormulaKind::Float;

// A value as the input of a formula.
Number Input(int64_t value) {
  return Number::Int(value);
}
Number Input(double value) {
  return Number::Float(value);
}

}  // namespace

// ---- inputs ----

FormulaOwner::Property FormulaOwner::PropertyOf(std::string_view suffix) {
  constexpr std::pair<std::string_view, Property> sk_suffixes[] = {
      {"Min", Property::Min},
      {"Max", Property::Max},
      {"Inc", Property::Inc},
      {"AccessMode", Property::AccessMode},
      {"Visibility", Property::Visibility},
      {"CachingMode", Property::CachingMode},
  };
  for (const auto& [text, property] : sk_suffixes) {
    if (suffix == text) return property;
  }
  return suffix.starts_with("Entry.") ? Property::Entry : Property::Value;
}

bool FormulaOwner::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::pVariable: {
      const std::string_view name = Trim(element.attribute("Name").value());
      if (name.empty()) builder.Bad(m_owner, element, "has no Name");
      const size_t dot = name.find('.');
      const auto suffix = dot == std::string_view::npos ? "" : name.substr(dot + 1);
      const Property property = PropertyOf(suffix);
      Variable variable{name,
                        builder.Resolve(m_owner, element,
                                        property == Property::Value ? Element::pVariable
                                                                    : Element::PropertyVariable),
                        property, 0};
      if (property == Property::Entry) {
        auto* enumeration = dynamic_cast<EnumerationNode*>(variable.pNode);
        if (enumeration == nullptr) builder.Bad(m_owner, element, "is no enumeration");
        if (!EntryValue(enumeration->XmlElement(), suffix.substr(6), variable.entry)) {
          builder.Bad(m_owner, element, "has no such entry");
        }
      }
      m_variables.push_back(variable);
      return true;
    }
    case Element::Constant: {
      const auto text = builder.Text(element);
      int64_t integer = 0;
      Definition constant{Trim(element.attribute("Name").value()), {}, {}, true};
      constant.value = ParseInt(text, integer) ? Number::Int(integer)
                                               : Number::Float(builder.Float(m_owner, element));
      m_definitions.push_back(constant);
      return true;
    }
    case Element::Expression:
      m_definitions.push_back(
          {Trim(element.attribute("Name").value()), builder.Text(element), Number::Int(0), false});
      return true;
    default:
      return false;
  }
}

void FormulaOwner::Compile(Formula& formula, std::string_view text, FormulaKind kind,
                           const char* pInputName) {
  m_isInteger = kind == FormulaKind::Integer;
  const auto resolve = [&](std::string_view name) {
    FormulaSymbol symbol;
    if (pInputName && name == pInputName) {
      symbol.what = FormulaSymbol::What::Variable;
      symbol.variable = static_cast<uint32_t>(m_variables.size());
      return symbol;
    }
    for (size_t i = 0; i < m_variables.size(); ++i) {
      if (m_variables[i].name != name) continue;
      symbol.what = FormulaSymbol::What::Variable;
      symbol.variable = static_cast<uint32_t>(i);
      return symbol;
    }
    for (const Definition& definition : m_definitions) {
      if (definition.name != name) continue;
      symbol.what =
          definition.isConstant ? FormulaSymbol::What::Constant : FormulaSymbol::What::Expression;
      symbol.constant = definition.value;
      symbol.expression = definition.text;
      return symbol;
    }
    return symbol;
  };
  try {
    formula.Compile(text, kind, resolve);
  } catch (const FormulaError& error) {
    if (!m_errors.empty()) m_errors += "; ";
    m_errors += "formula '" + std::string(text.substr(0, 200)) + "', character " +
                std::to_string(error.position + 1) + ": " + error.text;
  }
}

Number FormulaOwner::ReadVariable(const Variable& variable, ReadMode mode) const {
  Node& node = *variable.pNode;
  const bool exact = m_isInteger || node.IsIntegerKind();
  switch (variable.property) {
    case Property::Value:
      return exact ? Number::Int(node.ReadInt(mode)) : Number::Float(node.ReadFloat(mode));
    case Property::Min:
      return exact ? Number::Int(node.IntMin()) : Number::Float(node.FloatMin());
    case Property::Max:
      return exact ? Number::Int(node.IntMax()) : Number::Float(node.FloatMax());
    case Property::Inc:
      return exact ? Number::Int(node.IntInc()) : Number::Float(node.FloatInc());
    case Property::AccessMode:
      return Number::Int(node.InternalAccess());
    case Property::Visibility:
      return Number::Int(node.GetVisibility());
    case Property::CachingMode:
      return Number::Int(node.InternalCaching());
    case Property::Entry:
      return Number::Int(variable.entry);
  }
  return Number::Int(0);
}

template <class T>
T FormulaOwner::Evaluate(const Formula& formula, ReadMode mode, const Number* pInput) const {
  if (!formula.IsCompiled()) {
    GENAPI_RAISE(LogicalErrorException, m_owner, "%s",
                 m_errors.empty() ? "there is no formula" : m_errors.c_str());
  }
  constexpr size_t sk_usual = 16;
  Number few[sk_usual];
  std::vector<Number> many;
  Number* values = few;
  const size_t count = m_variables.size();
  if (count + 1 > sk_usual) {
    many.resize(count + 1);
    values = many.data();
  }
  for (size_t i = 0; i < count; ++i) values[i] = ReadVariable(m_variables[i], mode);
  if (pInput) values[count] = *pInput;
  try {
    if constexpr (std::is_same_v<T, int64_t>) {
      return formula.EvaluateInt(values);
    } else {
      return formula.EvaluateFloat(values);
    }
  } catch (const FormulaDomainError& error) {
    GENAPI_RAISE(LogicalErrorException, m_owner, "the formula cannot be evaluated: %s", error.text);
  }
}

EAccessMode FormulaOwner::InputsAccess() const {
  EAccessMode mode = RO;
  for (const Variable& variable : m_variables) {
    if (variable.property == Property::Value) {
      mode = Combine(mode, variable.pNode->InternalAccess());
      if (mode == NI) break;
    }
  }
  return mode;
}

// ---- IntSwissKnife, SwissKnife ----

template <class T>
bool KnifeOf<T>::Take(Element id, pugi::xml_node element, Builder& builder) {
  if (id != Element::Formula) {
    return FormulaOwner::Take(id, element, builder) || Base::Take(id, element, builder);
  }
  m_text = builder.Text(element);
  return true;
}

template <class T>
void KnifeOf<T>::Finish(Builder&) {
  Compile(m_formula, m_text, sk_kind<T>, nullptr);
}

template class KnifeOf<int64_t>;
template class KnifeOf<double>;

// ---- IntConverter, Converter ----

template <class T>
bool ConverterOf<T>::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::FormulaTo:
      m_toText = builder.Text(element);
      return true;
    case Element::FormulaFrom:
      m_fromText = builder.Text(element);
      return true;
    case Element::pValue:
      m_pValue = builder.Resolve(*this, element, id);
      return true;
    case Element::Slope:
      builder.Choice<ESlopeClass>(*this, element, m_slope, "is no slope");
      return true;
    case Element::IsLinear:
      m_isLinear = builder.YesNo(element);
      return true;
    default:
      return FormulaOwner::Take(id, element, builder) || Base::Take(id, element, builder);
  }
}

template <class T>
void ConverterOf<T>::Finish(Builder&) {
  if (m_pValue == nullptr) GENAPI_RAISE(PropertyException, *this, "the converter has no pValue");
  Compile(m_to, m_toText, sk_kind<T>, "FROM");
  Compile(m_from, m_fromText, sk_kind<T>, "TO");
}

template <class T>
T ConverterOf<T>::From(T raw) {
  const Number input = Input(raw);
  return Evaluate<T>(m_from, {}, &input);
}

template <class T>
T ConverterOf<T>::Fetch(ReadMode mode) {
  // Integers stay exact in float formulas too.
  const bool integer = std::is_same_v<T, int64_t> || m_pValue->IsIntegerKind();
  const Number input = integer ? Input(m_pValue->ReadInt(mode)) : Input(m_pValue->ReadFloat(mode));
  return Evaluate<T>(m_from, mode, &input);
}

template <class T>
void ConverterOf<T>::Store(T value, bool verify) {
  const Number input = Input(value);
  NumberTraits<T>::Write(*m_pValue, Evaluate<T>(m_to, {verify, false}, &input), verify);
}

// The bound of the converter from those of the raw value.
template <class T>
T ConverterOf<T>::Bound(bool lower) {
  NodeMap::ReadDepth depth(this->m_map, *this);
  const auto low = [&] { return From(NumberTraits<T>::Min(*m_pValue)); };
  const auto high = [&] { return From(NumberTraits<T>::Max(*m_pValue)); };
  switch (m_slope) {
    case Increasing:
      return lower ? low() : high();
    case Decreasing:
      return lower ? high() : low();
    case Varying:
      return lower ? this->sk_lowest : this->sk_highest;
    default:
      return lower ? std::min(low(), high()) : std::max(low(), high());
  }
}

template <class T>
T ConverterOf<T>::OwnMin() {
  return Bound(true);
}
template <class T>
T ConverterOf<T>::OwnMax() {
  return Bound(false);
}

template <class T>
EAccessMode ConverterOf<T>::BaseAccess() const {
  const EAccessMode inputs = InputsAccess();
  return IsReadable(inputs) ? m_pValue->InternalAccess() : inputs;
}

template class ConverterOf<int64_t>;
template class ConverterOf<double>;

EIncMode IntConverterNode::IntIncMode() {
  NodeMap::ReadDepth depth(m_map, *this);
  return m_pValue->IntIncMode() == listIncrement ? listIncrement : fixedIncrement;
}

void IntConverterNode::IntValidValues(std::vector<int64_t>& values) {
  NodeMap::ReadDepth depth(m_map, *this);
  m_pValue->IntValidValues(values);
  for (int64_t& value : values) value = From(value);
  std::sort(values.begin(), values.end());
}

bool ConverterNode::FloatHasInc() {
  NodeMap::ReadDepth depth(m_map, *this);
  return m_isLinear && m_pValue->FloatHasInc();
}

// Of a straight line: the image of one raw step.
double ConverterNode::FloatInc() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (!FloatHasInc()) return FloatNodeBase::FloatInc();
  const double min = m_pValue->FloatMin();
  return std::fabs(From(min + m_pValue->FloatInc()) - From(min));
}

EIncMode ConverterNode::FloatIncMode() {
  NodeMap::ReadDepth depth(m_map, *this);
  if (m_pValue->FloatIncMode() == listIncrement) return listIncrement;
  return FloatHasInc() ? fixedIncrement : noIncrement;
}

void ConverterNode::FloatValidValues(std::vector<double>& values) {
  NodeMap::ReadDepth depth(m_map, *this);
  m_pValue->FloatValidValues(values);
  for (double& value : values) value = From(value);
  std::sort(values.begin(), values.end());
}

}  // namespace OrvexGenApi
