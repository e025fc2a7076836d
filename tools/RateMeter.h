#pragma once
// SPDX-License-Identifier: Apache-2.0
// Counts frames and bytes as they come and tells rates, for the last interval and for the whole
// time. Times are given by the caller, so that tests need no clock. Used by one thread.

#include <chrono>
#include <cstdint>
#include <optional>

namespace OrvexTools {

using TimePoint = std::chrono::steady_clock::time_point;

struct Rates {
  double seconds = 0;
  double framesPerSecond = 0;
  double megabytesPerSecond = 0;  // 10^6 bytes
};

class RateMeter {
 public:
  // `frameId` as the camera numbers its frames: a jump ahead means frames that never came.
  void AddFrame(TimePoint time, std::uint64_t bytes, std::uint64_t frameId, bool incomplete);

  // Since the last call (or the first frame). Zero rates when no frame came.
  Rates TakeInterval(TimePoint now);

  // From the first frame to the last: n frames span n - 1 periods, so that waiting before and after
  // does not count.
  Rates Total() const;

  std::uint64_t Frames() const { return m_frames; }
  std::uint64_t Incomplete() const { return m_incomplete; }
  std::uint64_t Missing() const { return m_missing; }
  std::uint64_t Bytes() const { return m_bytes; }

 private:
  std::uint64_t m_frames = 0;
  std::uint64_t m_incomplete = 0;
  std::uint64_t m_missing = 0;
  std::uint64_t m_bytes = 0;
  std::uint64_t m_firstBytes = 0;
  std::uint64_t m_lastId = 0;
  std::uint64_t m_intervalFrames = 0;
  std::uint64_t m_intervalBytes = 0;
  std::optional<TimePoint> m_first;
  TimePoint m_last;
  TimePoint m_intervalBegin;
};

}  // namespace OrvexTools
