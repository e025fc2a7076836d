#pragma once
// SPDX-License-Identifier: Apache-2.0
// One frame while it is being received: its packets as bits, and the ranges of packets that are
// missing. Part of FrameAssembler; belongs to its thread.

#include <algorithm>

#include "producer/FrameAssembler.h"

namespace OrvexGev {

// A range of packets that was noticed to be missing; some of it may have arrived since.
struct FrameAssembler::Gap {
  uint32_t first = 0, last = 0;
  Clock::time_point since{};
  Clock::time_point asked{};
  Clock::time_point heard{};  // the last answer
  int tries = 0;
  uint32_t underWay = 0;  // packets that were asked for and may come yet
};

struct FrameAssembler::Slot {
  uint64_t id = 0;
  bool extendedIds = false;
  FrameTarget target;
  FrameInfo info;
  bool trailer = false;
  bool overrun = false;    // the camera lost data of this frame itself
  uint32_t trailerId = 0;  // valid with trailer
  uint32_t next = 0;       // highest packet id so far plus one
  uint32_t received = 0;
  uint32_t refusedEnd = 0;  // highest refused packet plus one
  uint32_t asked = 0;       // packets, repetitions included
  size_t dataPerPacket = 0;
  bool hasData = false;
  bool placedByGuess = false;  // by the parts of the frame before, for want of the leader
  uint64_t sent = 0;           // data bytes that arrived, also those that did not fit
  uint64_t expected = 0;       // data bytes as the leader announces them, 0 when it does not
  Clock::time_point last{};
  Gap tail;  // from next to the end
  bool refusedTail = false;
  bool askedTwice = false;  // for one packet
  std::array<Gap, sk_maxGapsPerFrame> gaps;
  size_t gapCount = 0;
  std::vector<uint64_t> bits;
  std::vector<uint64_t> refusedBits;

  static bool Test(const std::vector<uint64_t>& words, uint32_t packet) {
    return (words[packet / 64] >> packet % 64 & 1) != 0;
  }
  static void Set(std::vector<uint64_t>& words, uint32_t packet) {
    words[packet / 64] |= uint64_t{1} << packet % 64;
  }
  bool Has(uint32_t packet) const { return Test(bits, packet); }
  bool Settled(uint32_t packet) const { return Has(packet) || Test(refusedBits, packet); }
  Gap* GapOf(uint32_t packet) {
    const auto end = gaps.begin() + static_cast<ptrdiff_t>(gapCount);
    const auto gap = std::find_if(
        gaps.begin(), end, [&](const Gap& g) { return g.first <= packet && packet <= g.last; });
    return gap == end ? nullptr : &*gap;
  }
  uint32_t Capacity() const { return static_cast<uint32_t>(bits.size() * 64); }

  void Reset() {
    const size_t used = std::min(bits.size(), size_t{std::max(next, refusedEnd)} / 64 + 1);
    std::fill_n(bits.begin(), used, 0);
    std::fill_n(refusedBits.begin(), used, 0);
    id = 0;
    target = {};
    info = {};
    trailer = overrun = hasData = placedByGuess = refusedTail = askedTwice = false;
    trailerId = next = received = refusedEnd = asked = 0;
    sent = expected = 0;
    tail = {};
    gapCount = 0;
  }
};

}  // namespace OrvexGev
