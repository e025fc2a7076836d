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
  // T is int64_t or double.
  template <class T>
  T Evaluate(const Formula& formula, ReadMode mode, const Number* pInput = nullptr) const;
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

  static Property PropertyOf(std::string_view suffix);
  Number ReadVariable(const Variable& variable, ReadMode mode) const;

  Node& m_owner;
  std::vector<Variable> m_variables;
  std::vector<Definition> m_definitions;
  std::string m_errors;
  bool m_isInteger = false;
};

// IntSwissKnife and SwissKnife.
template <class T>
class KnifeOf final : public NumberTraits<T>::Base, public FormulaOwner {
 public:
  using Base = typename NumberTraits<T>::Base;
  KnifeOf(NodeMap& map, pugi::xml_node element)
      : Base(map, element), FormulaOwner(static_cast<Node&>(*this)) {}
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;

 protected:
  T Fetch(ReadMode mode) override { return this->template Evaluate<T>(m_formula, mode); }
  void Store(T, bool) override {}
  EAccessMode BaseAccess() const override { return InputsAccess(); }

 private:
  Formula m_formula;
  std::string_view m_text;
};
using IntKnifeNode = KnifeOf<int64_t>;
using KnifeNode = KnifeOf<double>;

// IntConverter and Converter.
template <class T>
class ConverterOf : public NumberTraits<T>::Base, public FormulaOwner {
 public:
  using Base = typename NumberTraits<T>::Base;
  ConverterOf(NodeMap& map, pugi::xml_node element)
      : Base(map, element), FormulaOwner(static_cast<Node&>(*this)) {}
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;

 protected:
  T Fetch(ReadMode mode) override;
  void Store(T value, bool verify) override;
  T OwnMin() override;
  T OwnMax() override;
  EAccessMode BaseAccess() const override;
  ECachingMode OwnCaching() const override { return WriteAround; }
  Node* DisplaySource() const override { return m_pValue; }
  T From(T raw);

  Node* m_pValue = nullptr;
  bool m_isLinear = false;

 private:
  T Bound(bool lower);

  Formula m_to;
  Formula m_from;
  std::string_view m_toText;
  std::string_view m_fromText;
  ESlope m_slope = Automatic;
};

class IntConverterNode final : public ConverterOf<int64_t> {
 public:
  using ConverterOf::ConverterOf;
  EIncMode IntIncMode() override;
  void IntValidValues(std::vector<int64_t>& values) override;
};

class ConverterNode final : public ConverterOf<double> {
 public:
  using ConverterOf::ConverterOf;
  bool FloatHasInc() override;
  double FloatInc() override;
  EIncMode FloatIncMode() override;
  void FloatValidValues(std::vector<double>& values) override;
};

}  // namespace OrvexGenApi
