#pragma once
// SPDX-License-Identifier: Apache-2.0
// Memory for many small things that live and die together, laid side by side in the order in which
// they are made and used. Freed as a whole; runs no destructors. One thread at a time.
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <vector>

namespace OrvexGenApi {

class Arena {
 public:
  // So many bytes, aligned for any object.
  void* Take(size_t size) {
    size = (size + sk_align - 1) / sk_align * sk_align;
    if (size > m_left) Grow(size);
    std::byte* at = m_pNext;
    m_pNext += size;
    m_left -= size;
    return at;
  }
  void Clear();

 private:
  struct Free {
    void operator()(std::byte* p) const { std::free(p); }
  };
  static constexpr size_t sk_align = alignof(std::max_align_t);
  void Grow(size_t size);

  std::vector<std::unique_ptr<std::byte[], Free>> m_blocks;
  std::byte* m_pNext = nullptr;
  size_t m_left = 0;
  size_t m_total = 0;  // bytes of all blocks
};

}  // namespace OrvexGenApi
