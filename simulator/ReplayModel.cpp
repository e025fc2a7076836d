// SPDX-License-Identifier: Apache-2.0
#include "simulator/ReplayModel.h"

#include <algorithm>
#include <stdexcept>

#include "simulator/CameraCore.h"

namespace OrvexSim {
namespace {

constexpr int64_t sk_recordedTiming = 0;
// Frames that lie further apart come at the frame rate: the recording was interrupted there.
constexpr double sk_longestGapUs = 60e6;

}  // namespace

ReplayModel::ReplayModel(std::shared_ptr<FrameSource> source) : m_source(std::move(source)) {
  if (m_source->Count() == 0) throw std::invalid_argument("there are no frames to replay");
  m_first = m_source->At(0);
  m_first.data = {};
}

void ReplayModel::AddFeatures(CameraCore& camera) {
  FeatureTable& t = camera.Features();
  t.Category("ImageFormatControl", "Size and format of frames: those of the first frame.");
  const auto fixed = [&](const char* name, uint32_t value, const char* docu) {
    t.Integer(name).ReadOnly().Default(value).Docu(docu);
  };
  fixed("SensorWidth", m_first.width, "Columns of the sensor.");
  fixed("SensorHeight", m_first.height, "Rows of the sensor.");
  fixed("WidthMax", m_first.width, "Largest width.");
  fixed("HeightMax", m_first.height, "Largest height.");
  fixed("Width", m_first.width, "Columns of a frame.");
  fixed("Height", m_first.height, "Rows of a frame.");
  fixed("OffsetX", m_first.offsetX, "Column of the sensor at which frames begin.");
  fixed("OffsetY", m_first.offsetY, "Row of the sensor at which frames begin.");
  t.Enumeration("PixelFormat", {{PixelFormatName(m_first.pixelFormat), m_first.pixelFormat}})
      .ReadOnly()
      .Docu("Format of the pixels.");
  t.Category("ReplayControl", "How the frames of the recording are played.");
  t.Integer("ReplayFrameCount")
      .Custom()
      .ReadOnly()
      .Default(static_cast<int64_t>(m_source->Count()))
      .Docu("Frames of the recording.");
  m_timing = &t.Enumeration("ReplayTiming", {{"Recorded", sk_recordedTiming}, {"FrameRate", 1}})
                  .Custom()
                  .Docu("Whether frames come at their recorded pace or at AcquisitionFrameRate.");
  m_loop = &t.Boolean("ReplayLoop")
                .Custom()
                .Default(1)
                .Docu("Whether the recording begins again at its end; else acquisition ends.");
}

double ReplayModel::PeriodUs(uint64_t frameNumber) {
  if (m_timing->Int() != sk_recordedTiming) return 0;
  const size_t index = frameNumber % m_source->Count();
  if (index + 1 == m_source->Count()) return 0;
  const uint64_t now = m_source->At(index).timestamp, next = m_source->At(index + 1).timestamp;
  const double gap = next > now ? static_cast<double>(next - now) / 1000 : 0;
  return gap <= sk_longestGapUs ? gap : 0;
}

uint64_t ReplayModel::FrameLimit() const {
  return m_loop->Bool() ? 0 : m_source->Count();
}

void ReplayModel::Paint(uint64_t frameNumber, Frame& frame) {
  const SourceFrame source = m_source->At(frameNumber % m_source->Count());
  const size_t bytes = std::min(source.data.size(), m_source->LargestFrame());
  if (frame.data.size() < bytes) frame.data.resize(bytes);
  const uint8_t* origin = m_source->Immutable() ? source.data.data() : nullptr;
  if (origin == nullptr || frame.taken != origin || frame.imageBytes != bytes)
    std::copy_n(source.data.begin(), bytes, frame.data.begin());
  frame.taken = origin;
  frame.imageBytes = bytes;
  frame.payloadType = static_cast<uint16_t>(GigEVision::PayloadType::Image);
  frame.image = {source.pixelFormat, source.width,    source.height,  source.offsetX,
                 source.offsetY,     source.paddingX, source.paddingY};
}

}  // namespace OrvexSim
