// SPDX-License-Identifier: Apache-2.0
#include "primitives/WriteAround.h"

namespace Orvex::Primitives {
namespace {

thread_local size_t t_pictureBytes = 0;

}  // namespace

PartOfPicture::PartOfPicture(size_t bytes) : m_before(t_pictureBytes) {
  t_pictureBytes = bytes;
}
PartOfPicture::~PartOfPicture() {
  t_pictureBytes = m_before;
}

bool WritesAround(size_t bytes) {
  return (bytes > t_pictureBytes ? bytes : t_pictureBytes) >= sk_minBytesToWriteAround;
}

}  // namespace Orvex::Primitives
