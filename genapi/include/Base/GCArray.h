#pragma once
// SPDX-License-Identifier: Apache-2.0
// A fixed-size array on the heap that frees itself. Not safe for concurrent writers.

#include <vector>

#include <Base/GCTypes.h>

namespace GENICAM_NAMESPACE {

template <class T>
class gcarray {
 public:
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;

  // n elements, each value-initialised.
  explicit gcarray(size_t n = 0) : m_items(n) {}
  gcarray(const T* pItems, size_t n) : m_items(pItems, pItems + n) {}

  size_t size() const { return m_items.size(); }
  bool empty() const { return m_items.empty(); }
  T* data() { return m_items.data(); }
  const T* data() const { return m_items.data(); }
  T& operator[](size_t i) { return m_items[i]; }
  const T& operator[](size_t i) const { return m_items[i]; }
  iterator begin() { return data(); }
  iterator end() { return data() + size(); }
  const_iterator begin() const { return data(); }
  const_iterator end() const { return data() + size(); }

 private:
  std::vector<T> m_items;
};

}  // namespace GENICAM_NAMESPACE
