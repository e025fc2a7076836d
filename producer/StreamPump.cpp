// SPDX-License-Identifier: Apache-2.0
#include "producer/StreamPump.h"

#include <algorithm>

namespace OrvexGev {

namespace {

constexpr std::chrono::microseconds sk_timerWhileLacking = 500us, sk_timerAfterPackets = 5ms;
constexpr auto sk_longestBacklog = 100ms;  // of a receiver that never reads all there is

}  // namespace

StreamPump::Served StreamPump::Serve(Clock::time_point now) {
  const Drained drained = m_source.Drain(m_assembler);
  m_known =
      drained == Drained::Part ? std::max(m_known, now - sk_longestBacklog) : now - m_source.Lag();
  Served served{drained != Drained::Nothing, now >= m_next};
  if (served.timer) {
    m_next = now + (m_assembler.OnTimer(m_known) - m_known);
  } else if (served.any) {
    m_next =
        std::min(m_next, now + (m_assembler.Lacks() ? sk_timerWhileLacking : sk_timerAfterPackets));
  }
  return served;
}

}  // namespace OrvexGev
