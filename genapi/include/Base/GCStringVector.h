#pragma once
// SPDX-License-Identifier: Apache-2.0
// A growing array of strings. A value type; not safe for concurrent writers.

#include <Base/GCSequence.h>
#include <Base/GCString.h>

namespace GENICAM_NAMESPACE {

class GCBASE_API gcstring_vector : public Sequence<gcstring> {
 public:
  gcstring_vector() = default;
  explicit gcstring_vector(size_t uiSize, const gcstring& str = gcstring())
      : Sequence(uiSize, str) {}
  gcstring_vector(const gcstring_vector&) = default;
  gcstring_vector(gcstring_vector&&) noexcept = default;
  gcstring_vector& operator=(const gcstring_vector&) = default;
  gcstring_vector& operator=(gcstring_vector&&) noexcept = default;
  ~gcstring_vector() override;

  using Sequence<gcstring>::assign;
  gcstring_vector& assign(const gcstring_vector& obj) { return *this = obj; }
  // True when one of the elements equals str.
  bool contains(const gcstring& str) const;

  static void* operator new(size_t uiSize);
  static void operator delete(void* pWhere);
};

}  // namespace GENICAM_NAMESPACE
