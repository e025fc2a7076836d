// SPDX-License-Identifier: Apache-2.0
#include "simulator/Evt3.h"

#include <algorithm>

namespace OrvexSim {
namespace {

constexpr uint32_t sk_addrY = 0x0, sk_addrX = 0x2, sk_vectorBase = 0x3, sk_vector12 = 0x4,
                   sk_vector8 = 0x5;
constexpr uint32_t sk_timeLow = 0x6, sk_timeHigh = 0x8, sk_extTrigger = 0xA;
constexpr uint32_t sk_polarityBit = 0x800;
constexpr uint32_t sk_timeHighEvery =
    256;                               // words after which the high part of the time is said again
constexpr uint32_t sk_vectorPays = 3;  // from this many events on a vector is shorter

}  // namespace

void Evt3Writer::Word(uint32_t type, uint32_t payload) {
  const uint32_t word = type << 12 | (payload & 0xFFF);
  m_out.push_back(static_cast<uint8_t>(word));
  m_out.push_back(static_cast<uint8_t>(word >> 8));
  ++m_sinceTimeHigh;
}

void Evt3Writer::Begin() {
  m_timeKnown = m_rowKnown = false;
}

void Evt3Writer::Time(uint64_t time) {
  const bool newHigh = !m_timeKnown || time >> 12 != m_time >> 12;
  if (newHigh || m_sinceTimeHigh >= sk_timeHighEvery) {
    Word(sk_timeHigh, static_cast<uint32_t>(time >> 12));
    m_sinceTimeHigh = 0;
  }
  if (newHigh || time != m_time) Word(sk_timeLow, static_cast<uint32_t>(time));
  m_time = time;
  m_timeKnown = true;
}

void Evt3Writer::Run(uint64_t time, uint32_t y, uint32_t x, uint32_t count, bool brighter) {
  if (count == 0) return;
  Time(time);
  if (!m_rowKnown || y != m_row) Word(sk_addrY, y & 0x7FF);
  m_row = y;
  m_rowKnown = true;
  const uint32_t polarity = brighter ? sk_polarityBit : 0;
  if (count < sk_vectorPays) {
    for (uint32_t i = 0; i < count; ++i) Word(sk_addrX, polarity | (x + i));
    return;
  }
  Word(sk_vectorBase, polarity | x);
  for (uint32_t left = count; left > 0;) {
    const uint32_t size = left > 8 ? 12 : 8;
    const uint32_t used = std::min(left, size);
    Word(size == 12 ? sk_vector12 : sk_vector8, (1u << used) - 1);
    left -= used;
  }
}

void Evt3Writer::Trigger(uint64_t time, uint8_t channel, bool rising) {
  Time(time);
  Word(sk_extTrigger, uint32_t{channel} << 8 | (rising ? 1 : 0));
}

}  // namespace OrvexSim
