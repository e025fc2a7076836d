#pragma once
// SPDX-License-Identifier: Apache-2.0
// Lists of numbers, returned by value. Indexes are not checked. Not safe for concurrent writers.

#include <vector>

#include <Base/GCTypes.h>
#include <GenApi/GenApiDll.h>
#include <GenApi/GenApiNamespace.h>

namespace GENAPI_NAMESPACE {

template <class T>
class autovector {
 public:
  autovector() = default;
  explicit autovector(size_t n) : m_items(n) {}

  T& operator[](size_t uiIndex) { return m_items[uiIndex]; }
  const T& operator[](size_t uiIndex) const { return m_items[uiIndex]; }
  size_t size() const { return m_items.size(); }
  T* begin() { return m_items.data(); }
  T* end() { return m_items.data() + m_items.size(); }
  const T* begin() const { return m_items.data(); }
  const T* end() const { return m_items.data() + m_items.size(); }

 private:
  std::vector<T> m_items;
};

class GENAPI_DECL int64_autovector_t : public autovector<int64_t> {
 public:
  int64_autovector_t() = default;
  explicit int64_autovector_t(size_t n) : autovector(n) {}
};

class GENAPI_DECL double_autovector_t : public autovector<double> {
 public:
  double_autovector_t() = default;
  explicit double_autovector_t(size_t n) : autovector(n) {}
};

}  // namespace GENAPI_NAMESPACE
