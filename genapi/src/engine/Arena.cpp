// SPDX-License-Identifier: Apache-2.0
#include "engine/Arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <new>

namespace OrvexGenApi {
namespace {

constexpr size_t sk_firstBlock = 4096;
constexpr size_t sk_block = 65536;
// What is already this large goes on in the system's large pages: handing out small ones, one fault
// each, would take a fifth of the time in which a description of many megabytes is loaded.
constexpr size_t sk_manyBlocks = 4u << 20;
constexpr size_t sk_largePage = 2u << 20;

}  // namespace

void Arena::Grow(size_t size) {
  const bool large = m_total >= sk_manyBlocks && size <= sk_largePage;
  const size_t block =
      large ? sk_largePage : std::max(size, m_blocks.empty() ? sk_firstBlock : sk_block);
  void* memory = large ? std::aligned_alloc(sk_largePage, block) : std::malloc(block);
  if (memory == nullptr) throw std::bad_alloc();
  if (large) madvise(memory, block, MADV_HUGEPAGE);  // a wish; small pages do as well
  m_pNext = static_cast<std::byte*>(memory);
  m_blocks.emplace_back(m_pNext);
  m_left = block;
  m_total += block;
}

void Arena::Clear() {
  m_blocks.clear();
  m_pNext = nullptr;
  m_left = 0;
  m_total = 0;
}

}  // namespace OrvexGenApi
