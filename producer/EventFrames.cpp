// SPDX-License-Identifier: Apache-2.0
#include "producer/EventFrames.h"

#include <algorithm>
#include <cstring>

namespace OrvexGev {
namespace {

constexpr uint32_t sk_mono8 = 0x01080001;
constexpr uint32_t sk_rgb8 = 0x02180014;
constexpr uint32_t sk_data8 = 0x01080116;
constexpr uint16_t sk_imagePayload = 0x0001;
constexpr size_t sk_xytpBytes = 16;
constexpr uint8_t sk_darker = 0, sk_nothing = 128, sk_brighter = 255;

template <typename T>
void Put(uint8_t* target, T value) {
  std::memcpy(target, &value, sizeof value);  // hosts are little endian
}

// Writes events into the target as the format says.
class Writer final : public Evt3Sink {
 public:
  Writer(const EvsSettings& settings, std::span<uint8_t> target,
         const EventFrames::TriggerHandler& onTrigger)
      : m_settings(settings), m_target(target), m_onTrigger(onTrigger) {}

  void OnTrigger(const SensorTrigger& trigger) override {
    if (m_onTrigger) m_onTrigger(trigger);
  }
  void OnEvent(const SensorEvent& event) override {
    if (m_settings.format == EvsFormat::Xytp) {
      if (m_target.size() - m_used < sk_xytpBytes) {
        m_full = true;
        return;
      }
      uint8_t* entry = &m_target[m_used];
      Put(entry, event.x);
      Put(entry + 2, event.y);
      Put(entry + 4, event.time);
      Put(entry + 12, uint32_t{event.on});
      m_used += sk_xytpBytes;
    } else if (m_settings.format == EvsFormat::ChangeFrame) {
      const size_t pixel = size_t{event.y} * m_settings.width + event.x;
      if (m_settings.depth == EvsDepth::Bits8) {
        if (pixel < m_target.size()) m_target[pixel] = event.on ? sk_brighter : sk_darker;
      } else if (pixel * 3 + 3 <= m_target.size()) {
        m_target[pixel * 3] = m_target[pixel * 3 + 1] = event.on ? 255 : 0;
        m_target[pixel * 3 + 2] = 255;
      }
    }
  }

  size_t Used() const { return m_used; }
  bool Full() const { return m_full; }

 private:
  const EvsSettings& m_settings;
  const std::span<uint8_t> m_target;
  const EventFrames::TriggerHandler& m_onTrigger;
  size_t m_used = 0;
  bool m_full = false;
};

// The words in pairs of type and payload; how many bytes that made.
size_t Spread(std::span<const uint8_t> words, std::span<uint8_t> target) {
  const size_t count = std::min(words.size() / 2, target.size() / 4);
  for (size_t i = 0; i < count; ++i) {
    const uint32_t word = words[2 * i] | static_cast<uint32_t>(words[2 * i + 1]) << 8;
    Put(&target[4 * i], (word >> 12) << 16 | (word & 0xFFF));
  }
  return count * 4;
}

}  // namespace

EventFrames::EventFrames(const EvsSettings& settings, TriggerHandler onTrigger)
    : m_settings(settings), m_onTrigger(std::move(onTrigger)) {
  m_decoder.SetGeometry(settings.width, settings.height);
}

void EventFrames::Convert(std::span<const uint8_t> words, std::span<uint8_t> target,
                          FrameInfo& info) {
  // Words are missing before this block, or in it.
  if (info.blockId != m_lastBlock + 1) m_decoder.Resynchronise();
  m_lastBlock = info.incomplete ? 0 : info.blockId;

  const size_t pixels = size_t{m_settings.width} * m_settings.height;
  const bool frame = m_settings.format == EvsFormat::ChangeFrame;
  const bool colour = m_settings.depth == EvsDepth::Bits24;
  size_t filled = words.size();
  bool full = false;
  if (frame) {
    filled = pixels * (colour ? 3 : 1);
    full = filled > target.size();
    std::memset(target.data(), colour ? 0 : sk_nothing, std::min(filled, target.size()));
  }
  Writer writer(m_settings, target, m_onTrigger);
  m_decoder.Decode(words, writer);
  if (m_settings.format == EvsFormat::Xytp) {
    filled = writer.Used();
    full = writer.Full();
  } else if (m_settings.format == EvsFormat::RawDecoded) {
    filled = Spread(words, target);
    full = filled < words.size() / 2 * 4;
  }

  // To consumers each of these is an image, because that is what their streams are made of.
  info.wireType = sk_imagePayload;
  info.hasLeader = true;
  info.width = frame ? m_settings.width : filled;
  info.height = info.deliveredHeight = frame ? m_settings.height : 1;
  info.pixelFormat = !frame ? sk_data8 : colour ? sk_rgb8 : sk_mono8;
  info.dataSize = filled;
  info.filled = std::min(filled, target.size());
  info.largerThanBuffer = info.largerThanBuffer || full;
}

}  // namespace OrvexGev
