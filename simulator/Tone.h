#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a camera does with brightness behind the sensor: black level, gamma and a look-up table of
// 4096 entries, folded into one table. Used under the camera's lock; the tables handed out are
// immutable, any thread may read them.

#include <array>
#include <cstdint>
#include <memory>

namespace OrvexSim {

class Feature;
class FeatureTable;

// From the high 12 bits of a sample to samples of 16 bits.
using ToneTable = std::array<uint16_t, 4096>;
// Between two entries the result lies between theirs.
inline uint16_t ApplyTone(const ToneTable& table, uint16_t value) {
  const uint32_t at = value >> 4, part = value & 15;
  const int32_t here = table[at], next = table[at < 4095 ? at + 1 : at];
  return static_cast<uint16_t>(here + (next - here) * static_cast<int32_t>(part) / 16);
}

class Tone {
 public:
  Tone();
  void AddAnalogFeatures(FeatureTable& table);  // into the present category
  void AddLutFeatures(FeatureTable& table);
  // Null while everything leaves values as they are. The same object until a setting changes.
  std::shared_ptr<const ToneTable> Table();

 private:
  void Changed() { m_valid = false; }

  std::array<uint16_t, 4096> m_lut;  // of 12 bits
  Feature* m_gamma = nullptr;
  Feature* m_black = nullptr;
  Feature* m_enable = nullptr;
  bool m_valid = false;
  std::shared_ptr<const ToneTable> m_table;
};

}  // namespace OrvexSim
