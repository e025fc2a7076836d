#pragma once
// SPDX-License-Identifier: Apache-2.0
// A reference counter that threads may share.

#include <atomic>

#include <Base/GCTypes.h>
#include <GenApi/GenApiNamespace.h>

namespace GENAPI_NAMESPACE {

class CCounter {
 public:
  explicit CCounter(int64_t start = 0) : m_count(start) {}
  int64_t Increment() { return m_count.fetch_add(1, std::memory_order_relaxed) + 1; }
  // Zero tells the caller that it dropped the last reference and sees all that others did with
  // theirs.
  int64_t Decrement() { return m_count.fetch_sub(1, std::memory_order_acq_rel) - 1; }
  int64_t Get() const { return m_count.load(std::memory_order_relaxed); }

 private:
  std::atomic<int64_t> m_count;
};

}  // namespace GENAPI_NAMESPACE
