#pragma once
// SPDX-License-Identifier: Apache-2.0
// Line buffers of the kernels: one block per thread, which grows to the largest need and lives as
// long as the thread, so that repeated work on images of one size allocates nothing.

#include <cstddef>
#include <cstdint>

namespace Orvex::Primitives {

// At least `bytes` bytes, aligned for every vector, contents undefined; valid until the thread's
// next call. Null when memory is short.
uint8_t* ThreadScratch(size_t bytes);

}  // namespace Orvex::Primitives
