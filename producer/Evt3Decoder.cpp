// SPDX-License-Identifier: Apache-2.0
#include "producer/Evt3Decoder.h"

namespace OrvexGev {
namespace {

enum WordType : uint32_t {
  AddressY = 0x0,
  AddressX = 0x2,
  VectorBase = 0x3,
  Vector12 = 0x4,
  Vector8 = 0x5,
  TimeLowWord = 0x6,
  TimeHighWord = 0x8,
  ExternalTrigger = 0xA,
};

constexpr uint32_t sk_position = 0x7FF;
constexpr uint32_t sk_polarity = 0x800;
constexpr uint32_t sk_wrapTolerance = 10;  // a smaller step back is disorder, not a wrap

}  // namespace

void Evt3Decoder::Resynchronise() {
  m_hasTime = m_hasY = m_hasBase = false;
}

void Evt3Decoder::Emit(uint32_t x, bool on, Evt3Sink& sink) {
  if (!m_hasTime || !m_hasY || (m_width != 0 && (x >= m_width || m_y >= m_height))) {
    ++m_dropped;
    return;
  }
  sink.OnEvent({static_cast<uint16_t>(x), static_cast<uint16_t>(m_y), on, Time()});
}

void Evt3Decoder::Vector(uint32_t mask, uint32_t count, Evt3Sink& sink) {
  if (!m_hasBase) return;
  for (uint32_t i = 0; i < count; ++i) {
    if ((mask >> i & 1) != 0) Emit(m_baseX + i, m_vectorOn, sink);
  }
  m_baseX += count;
}

void Evt3Decoder::TimeHigh(uint32_t value) {
  if (m_everTime && value < m_timeHigh) {
    if (m_timeHigh - value < 0x1000 - sk_wrapTolerance) return;  // an old value again
    ++m_loops;
  }
  // The low part that belongs to it comes later: nothing is dated into the future meanwhile.
  if (value != m_timeHigh || !m_everTime) m_timeLow = 0;
  m_timeHigh = value;
  m_hasTime = m_everTime = true;
}

void Evt3Decoder::Decode(std::span<const uint8_t> words, Evt3Sink& sink) {
  for (size_t at = 0; at + 2 <= words.size(); at += 2) {
    const uint32_t word = words[at] | static_cast<uint32_t>(words[at + 1]) << 8;
    const uint32_t payload = word & 0xFFF;
    switch (word >> 12) {
      case AddressY:
        m_y = payload & sk_position;
        m_hasY = true;
        break;
      case AddressX:
        Emit(payload & sk_position, (payload & sk_polarity) != 0, sink);
        break;
      case VectorBase:
        m_baseX = payload & sk_position;
        m_vectorOn = (payload & sk_polarity) != 0;
        m_hasBase = true;
        break;
      case Vector12:
        Vector(payload, 12, sink);
        break;
      case Vector8:
        Vector(payload & 0xFF, 8, sink);
        break;
      case TimeLowWord:
        m_timeLow = payload;
        break;
      case TimeHighWord:
        TimeHigh(payload);
        break;
      case ExternalTrigger:
        if (m_hasTime)
          sink.OnTrigger({static_cast<uint8_t>(payload >> 8), (payload & 1) != 0, Time()});
        break;
      default:
        break;  // words of the sensor's housekeeping, and reserved ones
    }
  }
}

}  // namespace OrvexGev
