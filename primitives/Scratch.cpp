// SPDX-License-Identifier: Apache-2.0
#include "primitives/Scratch.h"

#include <hwy/aligned_allocator.h>

namespace Orvex::Primitives {

uint8_t* ThreadScratch(size_t bytes) {
  thread_local hwy::AlignedFreeUniquePtr<uint8_t[]> block;
  thread_local size_t size = 0;
  if (size < bytes) {
    size = 0;
    block.reset();
    block = hwy::AllocateAligned<uint8_t>(bytes);
    if (block) size = bytes;
  }
  return block.get();
}

}  // namespace Orvex::Primitives
