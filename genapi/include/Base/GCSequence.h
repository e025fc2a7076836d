#pragma once
// SPDX-License-Identifier: Apache-2.0
// What gcstring_vector, node_vector and value_vector share: a growing array with the operations
// that the published interface names. Not named by applications. Not safe for concurrent writers.

#include <iterator>
#include <vector>

#include <Base/GCException.h>

namespace GENICAM_NAMESPACE {

// Random access iterator over contiguous elements. A class of its own so that erase(0) means the
// index, not a pointer.
template <class T>
class SequenceIterator {
 public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = std::remove_const_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

  SequenceIterator() = default;
  explicit SequenceIterator(T* p) : m_p(p) {}
  operator SequenceIterator<const T>() const { return SequenceIterator<const T>(m_p); }

  T& operator*() const { return *m_p; }
  T* operator->() const { return m_p; }
  T& operator[](difference_type n) const { return m_p[n]; }
  SequenceIterator& operator++() { return ++m_p, *this; }
  SequenceIterator& operator--() { return --m_p, *this; }
  SequenceIterator operator++(int) { return SequenceIterator(m_p++); }
  SequenceIterator operator--(int) { return SequenceIterator(m_p--); }
  SequenceIterator& operator+=(difference_type n) { return m_p += n, *this; }
  SequenceIterator& operator-=(difference_type n) { return m_p -= n, *this; }
  friend SequenceIterator operator+(SequenceIterator i, difference_type n) { return i += n; }
  friend SequenceIterator operator+(difference_type n, SequenceIterator i) { return i += n; }
  friend SequenceIterator operator-(SequenceIterator i, difference_type n) { return i -= n; }
  friend difference_type operator-(SequenceIterator a, SequenceIterator b) { return a.m_p - b.m_p; }
  friend bool operator==(SequenceIterator a, SequenceIterator b) { return a.m_p == b.m_p; }
  friend bool operator!=(SequenceIterator a, SequenceIterator b) { return a.m_p != b.m_p; }
  friend bool operator<(SequenceIterator a, SequenceIterator b) { return a.m_p < b.m_p; }
  friend bool operator>(SequenceIterator a, SequenceIterator b) { return a.m_p > b.m_p; }
  friend bool operator<=(SequenceIterator a, SequenceIterator b) { return a.m_p <= b.m_p; }
  friend bool operator>=(SequenceIterator a, SequenceIterator b) { return a.m_p >= b.m_p; }

 private:
  T* m_p = nullptr;
};

template <class T>
class Sequence {
 public:
  using value_type = T;
  using size_type = size_t;
  using difference_type = std::ptrdiff_t;
  using reference = T&;
  using const_reference = const T&;
  using iterator = SequenceIterator<T>;
  using const_iterator = SequenceIterator<const T>;

  Sequence() = default;
  explicit Sequence(size_t uiSize, const T& val = T()) : m_items(uiSize, val) {}
  Sequence(const Sequence&) = default;
  Sequence(Sequence&&) noexcept = default;
  Sequence& operator=(const Sequence&) = default;
  Sequence& operator=(Sequence&&) noexcept = default;
  virtual ~Sequence() = default;

  void assign(size_t n, const T& val) { m_items.assign(n, val); }
  void clear() { m_items.clear(); }
  iterator erase(iterator pos) { return At(m_items.erase(m_items.begin() + (pos - begin()))); }
  // Throws OutOfRangeException when there is no such element; so do at, back, front, pop_back and
  // insert.
  void erase(size_t uiIndex) { m_items.erase(m_items.begin() + std::ptrdiff_t(Checked(uiIndex))); }
  T& at(size_t uiIndex) { return m_items[Checked(uiIndex)]; }
  const T& at(size_t uiIndex) const { return m_items[Checked(uiIndex)]; }
  T& back() { return m_items[Checked(m_items.size() - 1)]; }
  const T& back() const { return m_items[Checked(m_items.size() - 1)]; }
  T& front() { return m_items[Checked(0)]; }
  const T& front() const { return m_items[Checked(0)]; }
  iterator begin() { return iterator(m_items.data()); }
  const_iterator begin() const { return const_iterator(m_items.data()); }
  iterator end() { return iterator(m_items.data() + m_items.size()); }
  const_iterator end() const { return const_iterator(m_items.data() + m_items.size()); }
  size_t capacity() const { return m_items.capacity(); }
  size_t max_size() const { return m_items.max_size(); }
  size_t size() const { return m_items.size(); }
  bool empty() const { return m_items.empty(); }
  iterator insert(iterator pos, const T& val) {
    return At(m_items.insert(m_items.begin() + (pos - begin()), val));
  }
  void insert(size_t uiIndex, const T& val) {
    if (uiIndex != m_items.size()) Checked(uiIndex);
    m_items.insert(m_items.begin() + std::ptrdiff_t(uiIndex), val);
  }
  void pop_back() {
    Checked(m_items.size() - 1);
    m_items.pop_back();
  }
  void push_back(const T& val) { m_items.push_back(val); }
  void resize(size_t uiSize, const T& val = T()) { m_items.resize(uiSize, val); }
  void reserve(size_t uiSize) { m_items.reserve(uiSize); }
  T& operator[](size_t uiIndex) { return m_items[uiIndex]; }
  const T& operator[](size_t uiIndex) const { return m_items[uiIndex]; }

 private:
  using Items = std::vector<T>;
  iterator At(typename Items::iterator i) { return begin() + (i - m_items.begin()); }
  size_t Checked(size_t uiIndex) const {
    if (uiIndex >= m_items.size()) ThrowIndex(uiIndex, m_items.size());
    return uiIndex;
  }
  [[noreturn]] static void ThrowIndex(size_t uiIndex, size_t uiSize) {
    throw OUT_OF_RANGE_EXCEPTION("Index %zu is outside of a sequence of %zu elements", uiIndex,
                                 uiSize);
  }

  Items m_items;
};

}  // namespace GENICAM_NAMESPACE
