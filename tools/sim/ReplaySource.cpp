// SPDX-License-Identifier: Apache-2.0
#include "tools/sim/ReplaySource.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/Failure.h"

namespace OrvexTools {

ReplaySource::ReplaySource(const std::string& file) : m_reader(file) {
  for (std::size_t i = 0; i < m_reader.Count(); ++i) {
    const std::optional<RecordHeader> header = m_reader.Header(i);
    if (!header || header->frame.pixelFormat == 0 || header->frame.incomplete) continue;
    m_images.push_back(i);
    m_largest = std::max(m_largest, static_cast<std::size_t>(header->frame.imageBytes));
  }
  if (m_images.empty())
    throw Failure(
        fmt::format("{} holds no complete image to replay; see `orvex replay {}`", file, file));
}

OrvexSim::SourceFrame ReplaySource::At(std::size_t index) {
  Loaded& loaded = m_loaded[index % m_loaded.size()];
  if (!loaded.valid || loaded.index != index) {
    const std::optional<RecordHeader> header = m_reader.Frame(m_images[index], loaded.data);
    loaded.index = index;
    loaded.valid = true;
    loaded.header = header.value_or(RecordHeader());
    if (!header) loaded.data.clear();
  }
  const FrameFacts& facts = loaded.header.frame;
  OrvexSim::SourceFrame frame;
  frame.pixelFormat = static_cast<std::uint32_t>(facts.pixelFormat);
  frame.width = facts.width;
  frame.height = facts.height;
  frame.offsetX = facts.offsetX;
  frame.offsetY = facts.offsetY;
  frame.paddingX = static_cast<std::uint16_t>(facts.paddingX);
  frame.paddingY = static_cast<std::uint16_t>(facts.paddingY);
  frame.timestamp = facts.timestampNs;
  frame.data = std::span(loaded.data)
                   .first(std::min(loaded.data.size(), static_cast<std::size_t>(facts.imageBytes)));
  return frame;
}

}  // namespace OrvexTools
