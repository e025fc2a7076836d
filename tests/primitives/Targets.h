#pragma once
// SPDX-License-Identifier: Apache-2.0
// Runs code once for every instruction set that was compiled and that this machine has, the
// portable one included, and as parts of small and of large pictures; buffers that end at a page
// nobody may touch.

#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "primitives/RowThreads.h"
#include "primitives/WriteAround.h"

namespace Targets {

// Puts the choice of instruction set and threads back.
struct Restore {
  ~Restore() {
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    Orvex::Primitives::SetRowThreads(0);
  }
};

// The dispatch tables end with the portable code, which is chosen when no instruction set is left.
template <class Body>
void ForEach(Body body) {
  const Restore restore;
  hwy::SetSupportedTargetsForTest(0);
  const int64_t available = hwy::SupportedTargets();
  for (const int64_t target : {int64_t(HWY_AVX3_DL), int64_t(HWY_AVX3), int64_t(HWY_AVX2),
                               int64_t(HWY_SSE4), int64_t(HWY_NEON), int64_t(HWY_EMU128)}) {
    if (target != HWY_EMU128 && !(available & target)) continue;
    SCOPED_TRACE(hwy::TargetName(target));
    // Better ones have lower bits; kernels that lack this one take the next.
    hwy::GetChosenTarget().Update(target == HWY_EMU128 ? 0 : available & ~(target - 1));
    body();
    if (testing::Test::HasFatalFailure()) return;
  }
}

// The same, with destinations that go through the caches and with those that go around them.
template <class Body>
void ForEachWay(Body body) {
  for (const size_t pictureBytes : {size_t(0), Orvex::Primitives::sk_minBytesToWriteAround}) {
    SCOPED_TRACE(pictureBytes);
    const Orvex::Primitives::PartOfPicture part(pictureBytes);
    ForEach(body);
    if (testing::Test::HasFatalFailure()) return;
  }
}

inline std::vector<uint8_t> Noise(size_t size, unsigned seed) {
  std::minstd_rand random(seed + 1);
  std::vector<uint8_t> bytes(size);
  for (uint8_t& b : bytes) b = uint8_t(random() >> 11);
  return bytes;
}

// `size` bytes before a page that may not be touched; what lies in front of them holds canaries.
class Edged {
 public:
  explicit Edged(size_t capacity) {
    const size_t page = size_t(sysconf(_SC_PAGESIZE));
    m_inside = (capacity + 64 + page - 1) / page * page;
    m_pMap = static_cast<uint8_t*>(
        mmap(nullptr, m_inside + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (m_pMap == MAP_FAILED || mprotect(m_pMap + m_inside, page, PROT_NONE) != 0) abort();
    m_page = page;
  }
  ~Edged() { munmap(m_pMap, m_inside + m_page); }
  Edged(const Edged&) = delete;
  Edged& operator=(const Edged&) = delete;

  // The last `size` bytes, filled with a copy of `bytes`, or with 0xC5; 64 canaries of 0xC5 in
  // front.
  uint8_t* Fill(size_t size, const uint8_t* bytes = nullptr) {
    uint8_t* p = m_pMap + m_inside - size;
    std::memset(p - 64, 0xC5, size + 64);
    if (bytes != nullptr && size > 0) std::memcpy(p, bytes, size);
    return p;
  }
  static bool FrontIsUntouched(const uint8_t* p) {
    for (int i = 1; i <= 64; ++i) {
      if (p[-i] != 0xC5) return false;
    }
    return true;
  }

 private:
  uint8_t* m_pMap;
  size_t m_inside, m_page;
};

}  // namespace Targets
