#pragma once
// SPDX-License-Identifier: Apache-2.0
// Integer and Float nodes: numbers that they hold themselves, take from another node, or choose out
// of several.
#include <memory>
#include <vector>

#include "engine/Values.h"

namespace OrvexGenApi {

// A bound or increment: a constant, a node, or nothing.
template <class T>
struct NumberSource {
  Node* pNode = nullptr;
  T constant{};
  bool given = false;
};

// Where a number comes from and goes to. T is int64_t or double.
template <class T>
struct NumberTarget {
  struct Entry {
    int64_t index;
    Node* pNode;
    T value;
  };
  struct Table {
    Node* pIndex = nullptr;
    std::vector<Entry> entries;
    Entry fallback{0, nullptr, T{}};
    bool hasFallback = false;
  };

  Node* pValue = nullptr;
  T stored{};
  bool hasValue = false;
  std::vector<Node*> copies;  // all nodes to write, in order, when there are copies
  std::unique_ptr<Table> pTable;
};

class IntegerNode final : public IntegerNodeBase {
 public:
  using IntegerNodeBase::IntegerNodeBase;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  int64_t IntInc() override;
  EIncMode IntIncMode() override;
  void IntValidValues(std::vector<int64_t>& values) override;
  ERepresentation InternalRepresentation() override;
  std::string_view InternalUnit() const override;

 protected:
  int64_t FetchInt(ReadMode mode) override;
  void StoreInt(int64_t value, bool verify) override;
  int64_t OwnMin() override;
  int64_t OwnMax() override;
  EAccessMode BaseAccess() const override;

 private:
  Node* Source() const;  // the node to read now; null when the value is held here
  int64_t* Slot();       // where the value is held

  NumberTarget<int64_t> m_target;
  NumberSource<int64_t> m_min;
  NumberSource<int64_t> m_max;
  NumberSource<int64_t> m_inc;
  std::vector<int64_t> m_validValues;
  ERepresentation m_representation = _UndefinedRepresentation;
};

class FloatNode final : public FloatNodeBase {
 public:
  using FloatNodeBase::FloatNodeBase;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  bool FloatHasInc() override;
  double FloatInc() override;
  ERepresentation InternalRepresentation() override;
  std::string_view InternalUnit() const override;
  EDisplayNotation InternalNotation() const override;
  int64_t InternalPrecision() const override;

 protected:
  double FetchFloat(ReadMode mode) override;
  void StoreFloat(double value, bool verify) override;
  double OwnMin() override;
  double OwnMax() override;
  EAccessMode BaseAccess() const override;

 private:
  Node* Source() const;
  double* Slot();

  NumberTarget<double> m_target;
  NumberSource<double> m_min;
  NumberSource<double> m_max;
  NumberSource<double> m_inc;
  ERepresentation m_representation = _UndefinedRepresentation;
  EDisplayNotation m_notation = _UndefinedEDisplayNotation;
  int64_t m_precision = -1;
};

}  // namespace OrvexGenApi
