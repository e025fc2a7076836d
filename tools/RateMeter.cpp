// SPDX-License-Identifier: Apache-2.0
#include "tools/RateMeter.h"

namespace OrvexTools {
namespace {

double Seconds(TimePoint from, TimePoint to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace

void RateMeter::AddFrame(TimePoint time, std::uint64_t bytes, std::uint64_t frameId,
                         bool incomplete) {
  if (!m_first) {
    m_first = time;
    m_firstBytes = bytes;
    m_intervalBegin = time;
  } else {
    // Numbers that go back have wrapped around or begun anew; nothing is missing then.
    if (frameId > m_lastId + 1) m_missing += frameId - m_lastId - 1;
    ++m_intervalFrames;
    m_intervalBytes += bytes;
  }
  m_last = time;
  m_lastId = frameId;
  ++m_frames;
  m_bytes += bytes;
  m_incomplete += incomplete ? 1 : 0;
}

Rates RateMeter::TakeInterval(TimePoint now) {
  Rates rates;
  if (m_first) rates.seconds = Seconds(m_intervalBegin, now);
  if (rates.seconds > 0) {
    rates.framesPerSecond = static_cast<double>(m_intervalFrames) / rates.seconds;
    rates.megabytesPerSecond = static_cast<double>(m_intervalBytes) / rates.seconds / 1e6;
  }
  m_intervalBegin = now;
  m_intervalFrames = 0;
  m_intervalBytes = 0;
  return rates;
}

Rates RateMeter::Total() const {
  Rates rates;
  if (m_first) rates.seconds = Seconds(*m_first, m_last);
  if (rates.seconds > 0) {
    rates.framesPerSecond = static_cast<double>(m_frames - 1) / rates.seconds;
    rates.megabytesPerSecond = static_cast<double>(m_bytes - m_firstBytes) / rates.seconds / 1e6;
  }
  return rates;
}

}  // namespace OrvexTools
