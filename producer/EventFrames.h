#pragma once
// SPDX-License-Identifier: Apache-2.0
// Turns a block of EVT words into one of the output formats of the event sensor stream:
//   RawFrameEncoded  the words as they came
//   RawFrameDecoded  one 32-bit number a word, little endian: bits 16 to 31 its type, 0 to 11 its
//   payload XYTPFrame        16 bytes an event, little endian: x (2), y (2), time in us (8),
//   polarity (4, 1 = brighter) CDFrame          the sensor's area, 8 bits (0 darker, 128 nothing,
//   255 brighter) or 24 bits a pixel (RGB:
//                    blue darker, black nothing, white brighter); the last event of a pixel counts
// Belongs to the receiver thread.

#include <cstddef>
#include <functional>
#include <span>

#include "producer/Evt3Decoder.h"
#include "producer/FrameInfo.h"

namespace OrvexGev {

enum class EvsFormat : int64_t { RawEncoded = 0, RawDecoded = 1, Xytp = 2, ChangeFrame = 3 };
enum class EvsDepth : int64_t { Bits8 = 0, Bits24 = 1 };

struct EvsSettings {
  EvsFormat format = EvsFormat::RawEncoded;
  EvsDepth depth = EvsDepth::Bits8;
  uint32_t width = 0, height = 0;
};

class EventFrames {
 public:
  using TriggerHandler = std::function<void(const SensorTrigger&)>;
  EventFrames(const EvsSettings& settings, TriggerHandler onTrigger);

  // Fills the target and completes the frame's facts; the words may lie in the target only when the
  // format is RawEncoded.
  void Convert(std::span<const uint8_t> words, std::span<uint8_t> target, FrameInfo& info);

 private:
  const EvsSettings m_settings;
  const TriggerHandler m_onTrigger;
  Evt3Decoder m_decoder;
  uint64_t m_lastBlock = 0;
};

}  // namespace OrvexGev
