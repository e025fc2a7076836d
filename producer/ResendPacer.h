#pragma once
// SPDX-License-Identifier: Apache-2.0
// How many packets a stream may have asked for again at once, and how long it waits for them. The
// network that lost packets also carries their repetitions: more may be under way as long as they
// come, half as many once a good part of them does not, so that requests never fill the link they
// ask over. Knows no clock of its own. Belongs to the assembler's thread.

#include <cstddef>
#include <cstdint>

#include "producer/Limits.h"
#include "producer/Network.h"

namespace OrvexGev {

class ResendPacer {
 public:
  using Microseconds = std::chrono::duration<double, std::micro>;

  ResendPacer(size_t packetBytes, Microseconds firstTimeout);

  // Packets that may be asked for now.
  uint32_t Allowance() const {
    const auto window = static_cast<uint32_t>(m_window);
    return m_underWay < window ? window - m_underWay : 0;
  }
  // After so long a packet that was asked for counts as lost once more.
  Clock::duration Timeout() const;
  // Whether a packet that was asked for then has not come and will not. Answers keep their order
  // but for the disorder of the network: one to a later request tells as much as a long wait.
  bool Overdue(Clock::time_point asked, Clock::time_point heard, Clock::duration disorder,
               Clock::time_point now) const;

  void Asked(uint32_t packets) { m_underWay += packets; }
  // A packet came, or a refusal. Which request it answers is clear only when there was no more than
  // one.
  void Answered(Clock::time_point asked, bool onlyRequest, Clock::time_point now);
  // These are not waited for any longer, because their frame ended or they came by themselves.
  void Forget(uint32_t packets) { m_underWay -= packets < m_underWay ? packets : m_underWay; }
  // These did not come in time.
  void Lost(uint32_t packets, Clock::time_point now);
  // A packet came twice because it was not waited for long enough.
  void Hasty(Clock::time_point now) { Lost(1, now); }

 private:
  const double m_least, m_most;  // packets under way
  double m_window, m_threshold;
  uint32_t m_underWay = 0;
  Microseconds m_mean, m_deviation;  // of the time to an answer
  double m_backOff = 1;              // of the timeout, until the next clear answer
  Clock::time_point m_judged{};
  uint32_t m_came = 0, m_lost = 0;  // since then
  Clock::time_point m_answered{};   // the latest request that an answer came to
};

}  // namespace OrvexGev
