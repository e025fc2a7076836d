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

// Integer and Float have the same elements; this is what both make of them.
template <class T>
class NumberNode : public NumberTraits<T>::Base {
 public:
  using Traits = NumberTraits<T>;
  using Base = typename Traits::Base;
  using Base::Base;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;

 protected:
  T Fetch(ReadMode mode) override;
  void Store(T value, bool verify) override;
  T OwnMin() override;
  T OwnMax() override;
  EAccessMode BaseAccess() const override;
  Node* DisplaySource() const override;
  Node* Source() const;  // the node to read now; null when the value is held here
  // The increment that the node gives itself; false when there is none.
  bool OwnInc(T& inc) const;
  bool HasOwnInc() const { return m_inc.given; }

 private:
  T* Slot();  // where the value is held
  bool CopiesStepAlike() const;

  NumberTarget<T> m_target;
  NumberSource<T> m_min;
  NumberSource<T> m_max;
  NumberSource<T> m_inc;
};

class IntegerNode final : public NumberNode<int64_t> {
 public:
  using NumberNode::NumberNode;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  int64_t IntInc() override;
  EIncMode IntIncMode() override;
  void IntValidValues(std::vector<int64_t>& values) override;

 private:
  std::vector<int64_t> m_validValues;
};

class FloatNode final : public NumberNode<double> {
 public:
  using NumberNode::NumberNode;
  bool FloatHasInc() override;
  double FloatInc() override;
  EIncMode FloatIncMode() override;
  void FloatValidValues(std::vector<double>& values) override;
};

}  // namespace OrvexGenApi
