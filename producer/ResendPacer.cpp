// SPDX-License-Identifier: Apache-2.0
#include "producer/ResendPacer.h"

#include <algorithm>
#include <cmath>

namespace OrvexGev {

namespace {

constexpr double sk_leastBytes = 128e3;  // always allowed to be under way: what any switch can hold
constexpr double sk_mostBytes = 1e6;
constexpr ResendPacer::Microseconds sk_shortestTimeout = 4ms, sk_longestTimeout = 200ms;
constexpr double sk_longestBackOff = 16;
constexpr double sk_usualLoss = 0.125;

}  // namespace

ResendPacer::ResendPacer(size_t packetBytes, Microseconds firstTimeout)
    : m_least(std::max(4.0, sk_leastBytes / static_cast<double>(packetBytes))),
      m_most(std::max(m_least, sk_mostBytes / static_cast<double>(packetBytes))),
      m_window(2 * m_least),
      m_threshold(m_most),
      m_mean(firstTimeout / 3),
      m_deviation(firstTimeout / 6) {}

Clock::duration ResendPacer::Timeout() const {
  const Microseconds usual =
      std::clamp(m_mean + 4 * m_deviation, sk_shortestTimeout, sk_longestTimeout);
  return std::chrono::duration_cast<Clock::duration>(
      std::min(usual * m_backOff, sk_longestTimeout));
}

bool ResendPacer::Overdue(Clock::time_point asked, Clock::time_point heard,
                          Clock::duration disorder, Clock::time_point now) const {
  const Clock::time_point since = std::max(asked, heard);
  if (now - since >= Timeout()) return true;
  const auto usual = std::chrono::duration_cast<Clock::duration>(m_mean);
  return m_answered > asked && now - since >= usual + disorder;
}

void ResendPacer::Answered(Clock::time_point asked, bool onlyRequest, Clock::time_point now) {
  Forget(1);
  ++m_came;
  m_window = std::min(m_most, m_window + (m_window < m_threshold ? 1 : 1 / m_window));
  if (!onlyRequest) return;
  m_answered = std::max(m_answered, asked);
  const Microseconds sample = now - asked, error = sample - m_mean;
  m_mean += error / 8;
  m_deviation += (Microseconds(std::abs(error.count())) - m_deviation) / 4;
  m_backOff = 1;
}

// Judged once for all packets that were lost together. Some of them always are where the network
// loses some of all.
void ResendPacer::Lost(uint32_t packets, Clock::time_point now) {
  Forget(packets);
  m_lost += packets;
  if (now - m_judged < Timeout()) return;
  if (m_lost > sk_usualLoss * (m_lost + m_came))
    m_threshold = m_window = std::max(m_least, m_window / 2);
  if (m_came == 0) m_backOff = std::min(m_backOff * 2, sk_longestBackOff);
  m_came = m_lost = 0;
  m_judged = now;
}

}  // namespace OrvexGev
