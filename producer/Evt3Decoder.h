#pragma once
// SPDX-License-Identifier: Apache-2.0
// Reads EVT 3.0 words (16 bits, little endian) of an event-based sensor. The state lives on from
// one block to the next, so that blocks need not begin with a full time and place. Belongs to one
// thread.

#include <cstdint>
#include <span>

namespace OrvexGev {

struct SensorEvent {
  uint16_t x, y;
  bool on;        // brighter
  uint64_t time;  // us, counted on over the 24 bits of the sensor
};
struct SensorTrigger {
  uint8_t channel;
  bool rising;
  uint64_t time;
};

class Evt3Sink {
 public:
  virtual ~Evt3Sink() = default;
  virtual void OnEvent(const SensorEvent& event) = 0;
  virtual void OnTrigger(const SensorTrigger& trigger) = 0;
};

class Evt3Decoder {
 public:
  // Events outside width x height are dropped; 0 means that the size is not known.
  void SetGeometry(uint32_t width, uint32_t height) { m_width = width, m_height = height; }
  // An odd last byte is left out.
  void Decode(std::span<const uint8_t> words, Evt3Sink& sink);
  // Words were lost: time and place are unknown until they come again. The count of time wraps
  // stays.
  void Resynchronise();
  uint64_t Dropped() const { return m_dropped; }

 private:
  void Emit(uint32_t x, bool on, Evt3Sink& sink);
  void Vector(uint32_t mask, uint32_t count, Evt3Sink& sink);
  void TimeHigh(uint32_t value);
  uint64_t Time() const { return m_loops << 24 | uint64_t{m_timeHigh} << 12 | m_timeLow; }

  uint32_t m_width = 0, m_height = 0;
  uint32_t m_y = 0, m_baseX = 0;
  uint32_t m_timeLow = 0, m_timeHigh = 0;
  uint64_t m_loops = 0;
  uint64_t m_dropped = 0;
  bool m_vectorOn = false;
  bool m_hasTime = false, m_hasY = false, m_hasBase = false, m_everTime = false;
};

}  // namespace OrvexGev
