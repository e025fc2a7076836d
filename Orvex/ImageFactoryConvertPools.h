#pragma once
// SPDX-License-Identifier: Apache-2.0
// The scratch pools while one step of a conversion uses them.

#include <mutex>

#include "Orvex/ImageFactoryInternal.h"

namespace Orvex {

// Holds the pool mutex. A pool that is too small is replaced by one of the wanted size; none ever
// shrinks.
class ScratchPools {
 public:
  uint8_t* A(size_t bytes) { return Grow(g_pPoolA, g_poolSizeA, bytes); }
  uint8_t* B(size_t bytes) { return Grow(g_pPoolB, g_poolSizeB, bytes); }
  uint8_t* C(size_t bytes) { return Grow(g_pPoolC, g_poolSizeC, bytes); }

 private:
  static uint8_t* Grow(uint8_t*& pPool, uint64_t& poolSize, size_t bytes) {
    if (pPool == nullptr || poolSize < bytes) {
      delete[] pPool;
      pPool = nullptr;
      poolSize = 0;
      pPool = AllocateBytes(bytes).release();
      poolSize = bytes;
    }
    return pPool;
  }

  std::lock_guard<std::mutex> m_lock{g_factoryMutex};
};

}  // namespace Orvex
