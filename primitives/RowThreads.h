#pragma once
// SPDX-License-Identifier: Apache-2.0
// A few threads that share the rows of a large image. The library owns them: they start with the
// first large image and end when the process or the library's unloading does. Any thread may call;
// one caller at a time is helped, others, and work within work, do their rows alone. Work that is
// split gives the same bytes as work that is not.

#include <cstddef>

namespace Orvex::Primitives {

// Upper bound of threads per image, the caller's included.
constexpr unsigned sk_maxRowThreads = 8;

// Below this many bytes read and written an image is left to the calling thread.
constexpr size_t sk_minBytesToSplit = size_t(1) << 20;

// How many threads share an image: 0 = one per processor (the default), 1 = never split.
void SetRowThreads(unsigned count);

// The number that is in effect, always 1 to sk_maxRowThreads.
unsigned RowThreads();

// Calls work(context, first, last) for consecutive ranges that cover [0, rows), on several threads
// when `bytes` is worth it, and returns when all are done. Ranges start at multiples of `grain`.
// `work` must not throw.
void ForRowRanges(size_t rows, size_t grain, size_t bytes, void (*work)(void*, size_t, size_t),
                  void* context);

template <class Work>
void SplitRows(size_t rows, size_t bytes, Work&& work, size_t grain = 1) {
  ForRowRanges(
      rows, grain, bytes,
      [](void* context, size_t first, size_t last) { (*static_cast<Work*>(context))(first, last); },
      const_cast<void*>(static_cast<const void*>(&work)));
}

}  // namespace Orvex::Primitives
