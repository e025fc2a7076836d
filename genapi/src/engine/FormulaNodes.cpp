// SPDX-License-Identifier: Apache-2.0
#include "engine/FormulaNodes.h"

#include <algorithm>
#include <cmath>

#include "engine/Builder.h"
#include "engine/Features.h"

namespace OrvexGenApi {
namespace {

bool TakeRepresentation(ERepresentation& representation, const Node& owner, pugi::xml_node element,
                        Builder& builder) {
  if (!ERepresentationClass::FromString(std::string(builder.Text(element)).c_str(),
                                        &representation)) {
    builder.Bad(owner, element, "is no representation");
  }
  return true;
}

bool TakeNotation(EDisplayNotation& notation, const Node& owner, pugi::xml_node element,
                  Builder& builder) {
  if (!EDisplayNotationClass::FromString(std::string(builder.Text(element)).c_str(), &notation)) {
    builder.Bad(owner, element, "is no notation");
  }
  return true;
}

bool TakeSlope(ESlope& slope, const Node& owner, pugi::xml_node element, Builder& builder) {
  if (!ESlopeClass::FromString(std::string(builder.Text(element)).c_str(), &slope)) {
    builder.Bad(owner, element, "is no slope");
  }
  return true;
}

}  // namespace

// ---- inputs ----

bool FormulaOwner::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::pVariable: {
      const std::string_view name = Trim(element.attribute("Name").value());
      if (name.empty()) builder.Bad(m_owner, element, "has no Name");
      Variable variable{name, builder.Resolve(m_owner, element, id), Property::Value, 0};
      const size_t dot = name.find('.');
      if (dot != std::string_view::npos) {
        const auto suffix = name.substr(dot + 1);
        if (suffix == "Min") {
          variable.property = Property::Min;
        } else if (suffix == "Max") {
          variable.property = Property::Max;
        } else if (suffix == "Inc") {
          variable.property = Property::Inc;
        } else if (suffix == "AccessMode") {
          variable.property = Property::AccessMode;
        } else if (suffix == "Visibility") {
          variable.property = Property::Visibility;
        } else if (suffix == "CachingMode") {
          variable.property = Property::CachingMode;
        } else if (suffix.starts_with("Entry.")) {
          variable.property = Property::Entry;
          auto* enumeration = dynamic_cast<EnumerationNode*>(variable.pNode);
          if (enumeration == nullptr) builder.Bad(m_owner, element, "is no enumeration");
          if (!EntryValue(enumeration->XmlElement(), suffix.substr(6), variable.entry)) {
            builder.Bad(m_owner, element, "has no such entry");
          }
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

template <class Use>
auto FormulaOwner::Evaluate(const Formula& formula, ReadMode mode, const Number* pInput, Use use) {
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
    return use(values);
  } catch (const FormulaDomainError& error) {
    GENAPI_RAISE(LogicalErrorException, m_owner, "the formula cannot be evaluated: %s", error.text);
  }
}

int64_t FormulaOwner::EvaluateInt(const Formula& formula, ReadMode mode, const Number* pInput) {
  return Evaluate(formula, mode, pInput,
                  [&](const Number* values) { return formula.EvaluateInt(values); });
}
double FormulaOwner::EvaluateFloat(const Formula& formula, ReadMode mode, const Number* pInput) {
  return Evaluate(formula, mode, pInput,
                  [&](const Number* values) { return formula.EvaluateFloat(values); });
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

bool IntKnifeNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Formula:
      m_text = builder.Text(element);
      return true;
    case Element::Unit:
      return true;
    case Element::Representation:
      return TakeRepresentation(m_representation, *this, element, builder);
    default:
      return FormulaOwner::Take(id, element, builder) ||
             IntegerNodeBase::Take(id, element, builder);
  }
}

void IntKnifeNode::Finish(Builder&) {
  Compile(m_formula, m_text, FormulaKind::Integer, nullptr);
}

bool KnifeNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Formula:
      m_text = builder.Text(element);
      return true;
    case Element::Unit:
      return true;
    case Element::Representation:
      return TakeRepresentation(m_representation, *this, element, builder);
    case Element::DisplayNotation:
      return TakeNotation(m_notation, *this, element, builder);
    case Element::DisplayPrecision:
      m_precision = builder.Int(*this, element);
      return true;
    default:
      return FormulaOwner::Take(id, element, builder) || FloatNodeBase::Take(id, element, builder);
  }
}

void KnifeNode::Finish(Builder&) {
  Compile(m_formula, m_text, FormulaKind::Float, nullptr);
}

// ---- IntConverter ----

bool IntConverterNode::Take(Element id, pugi::xml_node element, Builder& builder) {
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
      return TakeSlope(m_slope, *this, element, builder);
    case Element::Unit:
    case Element::IsLinear:
      return true;
    case Element::Representation:
      return TakeRepresentation(m_representation, *this, element, builder);
    default:
      return FormulaOwner::Take(id, element, builder) ||
             IntegerNodeBase::Take(id, element, builder);
  }
}

void IntConverterNode::Finish(Builder&) {
  if (m_pValue == nullptr) GENAPI_RAISE(PropertyException, *this, "the converter has no pValue");
  Compile(m_to, m_toText, FormulaKind::Integer, "FROM");
  Compile(m_from, m_fromText, FormulaKind::Integer, "TO");
}

int64_t IntConverterNode::From(int64_t raw) {
  const Number input = Number::Int(raw);
  return EvaluateInt(m_from, {}, &input);
}

int64_t IntConverterNode::FetchInt(ReadMode mode) {
  const Number input = Number::Int(m_pValue->ReadInt(mode));
  return EvaluateInt(m_from, mode, &input);
}

void IntConverterNode::StoreInt(int64_t value, bool verify) {
  const Number input = Number::Int(value);
  m_pValue->WriteInt(EvaluateInt(m_to, {verify, false}, &input), verify);
}

int64_t IntConverterNode::OwnMin() {
  NodeMap::ReadDepth depth(m_map, *this);
  switch (m_slope) {
    case Increasing:
      return From(m_pValue->IntMin());
    case Decreasing:
      return From(m_pValue->IntMax());
    case Varying:
      return INT64_MIN;
    default:
      return std::min(From(m_pValue->IntMin()), From(m_pValue->IntMax()));
  }
}

int64_t IntConverterNode::OwnMax() {
  NodeMap::ReadDepth depth(m_map, *this);
  switch (m_slope) {
    case Increasing:
      return From(m_pValue->IntMax());
    case Decreasing:
      return From(m_pValue->IntMin());
    case Varying:
      return INT64_MAX;
    default:
      return std::max(From(m_pValue->IntMin()), From(m_pValue->IntMax()));
  }
}

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

ERepresentation IntConverterNode::InternalRepresentation() {
  NodeMap::ReadDepth depth(m_map, *this);
  return m_representation != _UndefinedRepresentation ? m_representation
                                                      : m_pValue->InternalRepresentation();
}
std::string_view IntConverterNode::InternalUnit() const {
  NodeMap::ReadDepth depth(m_map, *this);
  const auto own = Trim(ChildText("Unit"));
  return own.empty() ? m_pValue->InternalUnit() : own;
}
EAccessMode IntConverterNode::BaseAccess() const {
  const EAccessMode inputs = InputsAccess();
  return IsReadable(inputs) ? m_pValue->InternalAccess() : inputs;
}

// ---- Converter ----

bool ConverterNode::Take(Element id, pugi::xml_node element, Builder& builder) {
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
      return TakeSlope(m_slope, *this, element, builder);
    case Element::IsLinear:
      m_isLinear = builder.YesNo(element);
      return true;
    case Element::Unit:
      return true;
    case Element::Representation:
      return TakeRepresentation(m_representation, *this, element, builder);
    case Element::DisplayNotation:
      return TakeNotation(m_notation, *this, element, builder);
    case Element::DisplayPrecision:
      m_precision = builder.Int(*this, element);
      return true;
    default:
      return FormulaOwner::Take(id, element, builder) || FloatNodeBase::Take(id, element, builder);
  }
}

void ConverterNode::Finish(Builder&) {
  if (m_pValue == nullptr) GENAPI_RAISE(PropertyException, *this, "the converter has no pValue");
  Compile(m_to, m_toText, FormulaKind::Float, "FROM");
  Compile(m_from, m_fromText, FormulaKind::Float, "TO");
}

double ConverterNode::From(const Number& raw) {
  return EvaluateFloat(m_from, {}, &raw);
}

Number ConverterNode::Raw(ReadMode mode) {
  return m_pValue->IsIntegerKind() ? Number::Int(m_pValue->ReadInt(mode))
                                   : Number::Float(m_pValue->ReadFloat(mode));
}

double ConverterNode::FetchFloat(ReadMode mode) {
  const Number input = Raw(mode);
  return EvaluateFloat(m_from, mode, &input);
}

void ConverterNode::StoreFloat(double value, bool verify) {
  const Number input = Number::Float(value);
  m_pValue->WriteFloat(EvaluateFloat(m_to, {verify, false}, &input), verify);
}

double ConverterNode::OwnMin() {
  NodeMap::ReadDepth depth(m_map, *this);
  const auto low = [&] { return From(Number::Float(m_pValue->FloatMin())); };
  const auto high = [&] { return From(Number::Float(m_pValue->FloatMax())); };
  switch (m_slope) {
    case Increasing:
      return low();
    case Decreasing:
      return high();
    case Varying:
      return -sk_max;
    default:
      return std::min(low(), high());
  }
}

double ConverterNode::OwnMax() {
  NodeMap::ReadDepth depth(m_map, *this);
  const auto low = [&] { return From(Number::Float(m_pValue->FloatMin())); };
  const auto high = [&] { return From(Number::Float(m_pValue->FloatMax())); };
  switch (m_slope) {
    case Increasing:
      return high();
    case Decreasing:
      return low();
    case Varying:
      return sk_max;
    default:
      return std::max(low(), high());
  }
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
  return std::fabs(From(Number::Float(min + m_pValue->FloatInc())) - From(Number::Float(min)));
}

ERepresentation ConverterNode::InternalRepresentation() {
  NodeMap::ReadDepth depth(m_map, *this);
  return m_representation != _UndefinedRepresentation ? m_representation
                                                      : m_pValue->InternalRepresentation();
}
std::string_view ConverterNode::InternalUnit() const {
  NodeMap::ReadDepth depth(m_map, *this);
  const auto own = Trim(ChildText("Unit"));
  return own.empty() ? m_pValue->InternalUnit() : own;
}
EDisplayNotation ConverterNode::InternalNotation() const {
  NodeMap::ReadDepth depth(m_map, *this);
  return m_notation != _UndefinedEDisplayNotation ? m_notation : m_pValue->InternalNotation();
}
int64_t ConverterNode::InternalPrecision() const {
  NodeMap::ReadDepth depth(m_map, *this);
  return m_precision >= 0 ? m_precision : m_pValue->InternalPrecision();
}
EAccessMode ConverterNode::BaseAccess() const {
  const EAccessMode inputs = InputsAccess();
  return IsReadable(inputs) ? m_pValue->InternalAccess() : inputs;
}

}  // namespace OrvexGenApi
