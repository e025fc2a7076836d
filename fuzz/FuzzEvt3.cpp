// SPDX-License-Identifier: Apache-2.0
// Words of an event sensor turned into each kind of frame: one byte of format, one of sizes, then
// the words.
#include <cstdlib>
#include <memory>

#include "producer/EventFrames.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace OrvexGev;
  if (size < 3) return 0;
  EvsSettings settings;
  settings.format = static_cast<EvsFormat>(data[0] % 4);
  settings.depth = static_cast<EvsDepth>(data[0] / 4 % 2);
  settings.width = data[1] % 16 * 20u;
  settings.height = data[1] / 16 * 20u;
  EventFrames frames(settings, [](const SensorTrigger& trigger) {
    if (trigger.channel > 15) std::abort();
  });
  const std::span<const uint8_t> words(data + 3, size - 3);
  const size_t room = size_t{data[2]} * 64;
  const std::unique_ptr<uint8_t[]> target(new uint8_t[room]);  // its end is watched
  for (int block = 1; block <= 2; ++block) {
    FrameInfo info;
    info.newData = info.hasLeader = true;
    info.blockId = static_cast<uint64_t>(block) * (1 + data[2] % 2);
    info.filled = words.size();
    frames.Convert(words, {target.get(), room}, info);
    if (info.filled > room) std::abort();
  }
  return 0;
}
