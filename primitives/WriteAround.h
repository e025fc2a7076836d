#pragma once
// SPDX-License-Identifier: Apache-2.0
// Large pictures are written around the caches: what is written last would otherwise push out what
// is read next, and every line of the destination would be fetched only to be overwritten. Any
// thread.

#include <cstddef>

namespace Orvex::Primitives {

// Pictures from this size on are written around the caches.
constexpr size_t sk_minBytesToWriteAround = size_t(8) << 20;

// For as long as it lives, what the calling thread writes counts as part of a picture of so many
// bytes: for those who make a large picture in small parts.
class PartOfPicture {
 public:
  explicit PartOfPicture(size_t bytes);
  ~PartOfPicture();
  PartOfPicture(const PartOfPicture&) = delete;
  PartOfPicture& operator=(const PartOfPicture&) = delete;

 private:
  size_t m_before;
};

// Whether a destination of so many bytes is to be written around the caches.
bool WritesAround(size_t bytes);

}  // namespace Orvex::Primitives
