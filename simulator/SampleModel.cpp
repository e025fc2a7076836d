// SPDX-License-Identifier: Apache-2.0
#include "simulator/SampleModel.h"

#include <algorithm>
#include <cstring>

#include "simulator/CameraCore.h"

namespace OrvexSim {
namespace {

bool SamePicture(const GigEVision::ImageFields& a, const GigEVision::ImageFields& b) {
  return a.pixelFormat == b.pixelFormat && a.sizeX == b.sizeX && a.sizeY == b.sizeY &&
         a.offsetX == b.offsetX && a.offsetY == b.offsetY;
}

}  // namespace

SampleModel::SampleModel(const SampleModelRow& row)
    : RegionModel({row.sensorWidth, row.sensorHeight, row.width, row.height, false}),
      m_row(row),
      m_formats(row.formats()) {}

std::vector<EnumEntry> SampleModel::FormatEntries() const {
  std::vector<EnumEntry> entries;
  for (const SampleFormat& format : m_formats) entries.push_back({format.name, format.value});
  return entries;
}

void SampleModel::AddFeatures(CameraCore& camera) {
  RegionModel::AddFeatures(camera);
  if (m_row.addFeatures != nullptr) m_row.addFeatures(camera);
}

const SampleFormat& SampleModel::Format(uint32_t value) const {
  return *std::find_if(m_formats.begin(), m_formats.end(),
                       [&](const SampleFormat& f) { return f.value == value; });
}

size_t SampleModel::PayloadBytes() const {
  return size_t{Width()} * Height() * (PixelFormatValue() >> 16 & 0xFF) / 8;
}

void SampleModel::TakeSettings() {
  m_fields = LeaderFields();
}

void SampleModel::Paint(uint64_t frameNumber, Frame& frame) {
  if (!SamePicture(m_fields, m_painted)) {
    for (std::vector<uint8_t>& picture : m_cycle) picture.clear();
    m_painted = m_fields;
  }
  const auto phase = static_cast<uint32_t>(frameNumber % sk_samplePhases);
  std::vector<uint8_t>& picture = m_cycle[phase];
  if (picture.empty()) {
    const SampleFormat& format = Format(m_fields.pixelFormat);
    const size_t rowBytes = size_t{m_fields.sizeX} * (format.value >> 16 & 0xFF) / 8;
    picture.resize(rowBytes * m_fields.sizeY);
    std::vector<uint16_t> samples(size_t{m_fields.sizeX} * format.samples);
    for (uint32_t y = 0; y < m_fields.sizeY; ++y) {
      for (uint32_t x = 0; x < m_fields.sizeX; ++x) {
        m_row.sample(format, phase, m_fields.offsetX + x, m_fields.offsetY + y,
                     &samples[size_t{x} * format.samples]);
      }
      PackSamples(format.packing, format.bits, samples.data(), samples.size(),
                  &picture[y * rowBytes]);
    }
  }
  if (frame.data.size() < picture.size()) frame.data.resize(picture.size());
  std::memcpy(frame.data.data(), picture.data(), picture.size());
  frame.imageBytes = picture.size();
  frame.payloadType = static_cast<uint16_t>(GigEVision::PayloadType::Image);
  frame.image = m_fields;
}

}  // namespace OrvexSim
