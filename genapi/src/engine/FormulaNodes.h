#pragma once
// SPDX-License-Identifier: Apache-2.0
// Nodes with formulas: SwissKnife, IntSwissKnife, Converter, IntConverter.
#include <string>
#include <vector>

#include "engine/Formula.h"
#include "engine/Values.h"

namespace OrvexGenApi {

// The inputs and formulas of one node.
class FormulaOwner {
 public:
  virtual ~FormulaOwner() = default;
  // What is wrong with the formulas; empty when nothing is.
  std::string FormulaErrors() const { return m_errors; }

 protected:
  explicit FormulaOwner(Node& owner) : m_owner(owner) {}
  bool Take(Element id, pugi::xml_node element, Builder& builder);
  // A formula that does not compile is reported when it is evaluated, so that the rest of the map
  // stays usable.
  void Compile(Formula& formula, std::string_view text, FormulaKind kind, const char* pInputName);
  int64_t EvaluateInt(const Formula& formula, ReadMode mode, const Number* pInput = nullptr);
  double EvaluateFloat(const Formula& formula, ReadMode mode, const Number* pInput = nullptr);
  // RO when all inputs can be read; else what stands in the way.
  EAccessMode InputsAccess() const;

 private:
  enum class Property : uint8_t {
    Value,
    Min,
    Max,
    Inc,
    AccessMode,
    Visibility,
    CachingMode,
    Entry
  };
  struct Variable {
    std::string_view name;
    Node* pNode;
    Property property;
    int64_t entry;
  };
  struct Definition {
    std::string_view name;
    std::string_view text;
    Number value;
    bool isConstant;
  };

  template <class Use>
  auto Evaluate(const Formula& formula, ReadMode mode, const Number* pInput, Use use);
  Number ReadVariable(const Variable& variable, ReadMode mode) const;

  Node& m_owner;
  std::vector<Variable> m_variables;
  std::vector<Definition> m_definitions;
  std::string m_errors;
  bool m_isInteger = false;
};

class IntKnifeNode final : public IntegerNodeBase, public FormulaOwner {
 public:
  IntKnifeNode(NodeMap& map, pugi::xml_node element)
      : IntegerNodeBase(map, element), FormulaOwner(static_cast<Node&>(*this)) {}
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  ERepresentation InternalRepresentation() override { return m_representation; }
  std::string_view InternalUnit() const override { return Trim(ChildText("Unit")); }

 protected:
  int64_t FetchInt(ReadMode mode) override { return EvaluateInt(m_formula, mode); }
  void StoreInt(int64_t, bool) override {}
  EAccessMode BaseAccess() const override { return InputsAccess(); }

 private:
  Formula m_formula;
  std::string_view m_text;
  ERepresentation m_representation = PureNumber;
};

class KnifeNode final : public FloatNodeBase, public FormulaOwner {
 public:
  KnifeNode(NodeMap& map, pugi::xml_node element)
      : FloatNodeBase(map, element), FormulaOwner(static_cast<Node&>(*this)) {}
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  ERepresentation InternalRepresentation() override { return m_representation; }
  std::string_view InternalUnit() const override { return Trim(ChildText("Unit")); }
  EDisplayNotation InternalNotation() const override { return m_notation; }
  int64_t InternalPrecision() const override { return m_precision; }

 protected:
  double FetchFloat(ReadMode mode) override { return EvaluateFloat(m_formula, mode); }
  void StoreFloat(double, bool) override {}
  EAccessMode BaseAccess() const override { return InputsAccess(); }

 private:
  Formula m_formula;
  std::string_view m_text;
  ERepresentation m_representation = PureNumber;
  EDisplayNotation m_notation = fnAutomatic;
  int64_t m_precision = 6;
};

class IntConverterNode final : public IntegerNodeBase, public FormulaOwner {
 public:
  IntConverterNode(NodeMap& map, pugi::xml_node element)
      : IntegerNodeBase(map, element), FormulaOwner(static_cast<Node&>(*this)) {}
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  ERepresentation InternalRepresentation() override;
  std::string_view InternalUnit() const override;
  EIncMode IntIncMode() override;
  void IntValidValues(std::vector<int64_t>& values) override;

 protected:
  int64_t FetchInt(ReadMode mode) override;
  void StoreInt(int64_t value, bool verify) override;
  int64_t OwnMin() override;
  int64_t OwnMax() override;
  EAccessMode BaseAccess() const override;
  ECachingMode OwnCaching() const override { return WriteAround; }

 private:
  int64_t From(int64_t raw);

  Formula m_to;
  Formula m_from;
  std::string_view m_toText;
  std::string_view m_fromText;
  Node* m_pValue = nullptr;
  ESlope m_slope = Automatic;
  ERepresentation m_representation = _UndefinedRepresentation;
};

class ConverterNode final : public FloatNodeBase, public FormulaOwner {
 public:
  ConverterNode(NodeMap& map, pugi::xml_node element)
      : FloatNodeBase(map, element), FormulaOwner(static_cast<Node&>(*this)) {}
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  ERepresentation InternalRepresentation() override;
  std::string_view InternalUnit() const override;
  EDisplayNotation InternalNotation() const override;
  int64_t InternalPrecision() const override;
  bool FloatHasInc() override;
  double FloatInc() override;

 protected:
  double FetchFloat(ReadMode mode) override;
  void StoreFloat(double value, bool verify) override;
  double OwnMin() override;
  double OwnMax() override;
  EAccessMode BaseAccess() const override;

 private:
  double From(const Number& raw);
  Number Raw(ReadMode mode);

  Formula m_to;
  Formula m_from;
  std::string_view m_toText;
  std::string_view m_fromText;
  Node* m_pValue = nullptr;
  ESlope m_slope = Automatic;
  ERepresentation m_representation = _UndefinedRepresentation;
  EDisplayNotation m_notation = _UndefinedEDisplayNotation;
  int64_t m_precision = -1;
  bool m_isLinear = false;
};

}  // namespace OrvexGenApi
