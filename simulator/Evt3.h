#pragma once
// SPDX-License-Identifier: Apache-2.0
// Writes sensor events as EVT 3.0 words (16 bits, little-endian). Every block can be read alone: it
// begins with the time and the row. Events come in order of time. A writer belongs to one thread.

#include <cstdint>
#include <vector>

namespace OrvexSim {

class Evt3Writer {
 public:
  explicit Evt3Writer(std::vector<uint8_t>& out) : m_out(out) {}

  // Begins a block; nothing is known to the reader any more.
  void Begin();
  // Pixels x to x + count - 1 of row y became brighter (or darker) at the time, in microseconds.
  void Run(uint64_t time, uint32_t y, uint32_t x, uint32_t count, bool brighter);
  void Trigger(uint64_t time, uint8_t channel, bool rising);

 private:
  void Word(uint32_t type, uint32_t payload);
  void Time(uint64_t time);

  std::vector<uint8_t>& m_out;
  bool m_timeKnown = false, m_rowKnown = false;
  uint64_t m_time = 0;
  uint32_t m_row = 0, m_sinceTimeHigh = 0;
};

}  // namespace OrvexSim
