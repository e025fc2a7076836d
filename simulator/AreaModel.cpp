// SPDX-License-Identifier: Apache-2.0
#include "simulator/AreaModel.h"

#include <cmath>
#include <cstring>
#include <stdexcept>

#include "simulator/CameraCore.h"
#include "simulator/Limits.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_sensorWidth = 1936, sk_sensorHeight = 1216;
constexpr double sk_nominalExposure = 2000;  // us, at which the scene has its own brightness

RegionModel::Shape ShapeFor(const PictureFolder* pictures) {
  if (pictures == nullptr) return {sk_sensorWidth, sk_sensorHeight, 1280, 1024, true};
  const uint32_t width = pictures->Width() / sk_widthStep * sk_widthStep,
                 height = pictures->Height() / 2 * 2;
  if (width < sk_minWidth || height == 0)
    throw std::invalid_argument("the pictures must be at least 16 columns wide and 2 rows high");
  return {width, height, width, height, true};
}

}  // namespace

AreaModel::AreaModel(std::unique_ptr<PictureFolder> pictures)
    : RegionModel(ShapeFor(pictures.get())),
      m_pictures(std::move(pictures)),
      m_painter(m_pictures ? m_pictures->At(0) : Scene::Chart(sk_sensorWidth, sk_sensorHeight)) {}

std::vector<EnumEntry> AreaModel::FormatEntries() const {
  std::vector<EnumEntry> entries;
  for (const PixelFormat& format : AllPixelFormats())
    entries.push_back({std::string(format.name), format.value});
  return entries;
}

void AreaModel::AddFormatFeatures(CameraCore& camera) {
  m_pattern = &camera.Features()
                   .Enumeration("TestPattern", {{"Off", 0},
                                                {"Black", 1},
                                                {"White", 2},
                                                {"GreyHorizontalRamp", 3},
                                                {"GreyVerticalRamp", 4},
                                                {"GreyHorizontalRampMoving", 5},
                                                {"GreyVerticalRampMoving", 6},
                                                {"HorizontalLineMoving", 7},
                                                {"VerticalLineMoving", 8},
                                                {"ColorBar", 9}})
                   .Docu("A generated picture in place of the scene.");
}

void AreaModel::AddFeatures(CameraCore& camera) {
  RegionModel::AddFeatures(camera);
  m_tone.AddAnalogFeatures(camera.Features());
  m_tone.AddLutFeatures(camera.Features());
  m_gain = &camera.F("Gain");
  m_exposure = &camera.F("ExposureTime");
}

const PixelFormat* AreaModel::PaintedFormat() const {
  return FindPixelFormat(PixelFormatValue());
}

size_t AreaModel::PayloadBytes() const {
  return RowBytes(*FindPixelFormat(PixelFormatValue()), Width()) * Height();
}

void AreaModel::TakeSettings() {
  m_settings.width = Width();
  m_settings.height = Height();
  m_settings.offsetX = OffsetX();
  m_settings.offsetY = OffsetY();
  m_settings.binningX = static_cast<uint32_t>(m_binningX->Int());
  m_settings.binningY = static_cast<uint32_t>(m_binningY->Int());
  m_settings.sumX = m_binningXMode->Bool();
  m_settings.sumY = m_binningYMode->Bool();
  m_settings.brightness =
      m_exposure->Real() / sk_nominalExposure * std::pow(10.0, m_gain->Real() / 20);
  m_settings.pattern = static_cast<TestPattern>(m_pattern->Int());
  m_settings.format = PaintedFormat();
  m_settings.tone = m_tone.Table();
  m_fields = LeaderFields();
}

void AreaModel::PaintPicture(uint64_t frameNumber, Frame& frame) {
  const size_t index = frameNumber % m_pictures->Count();
  std::vector<uint8_t>& painted = m_painted[index];
  if (painted.empty()) {
    m_painter.SetScene(m_pictures->At(index));
    m_painter.Configure(m_settings);
    m_painter.Paint(frameNumber, {frame.data.data(), frame.imageBytes}, frame.canvas);
    if (m_paintedBytes + frame.imageBytes > sk_maxPictureBytesKept) return;
    m_paintedBytes += frame.imageBytes;
    painted.assign(frame.data.begin(),
                   frame.data.begin() + static_cast<ptrdiff_t>(frame.imageBytes));
    return;
  }
  std::memcpy(frame.data.data(), painted.data(), frame.imageBytes);
  frame.canvas = {};
}

void AreaModel::Paint(uint64_t frameNumber, Frame& frame) {
  const bool moving = !m_pictures || MovesByItself(m_settings.pattern);
  if (m_pictures && m_settings != m_painter.Settings()) {
    m_painted.clear();
    m_paintedBytes = 0;
  }
  m_painter.Configure(m_settings);
  frame.imageBytes = m_painter.FrameBytes();
  if (frame.data.size() < frame.imageBytes) {
    frame.data.resize(frame.imageBytes);
    frame.canvas = {};
  }
  if (moving) {
    m_painter.Paint(frameNumber, {frame.data.data(), frame.imageBytes}, frame.canvas);
  } else {
    PaintPicture(frameNumber, frame);
  }
  frame.payloadType = static_cast<uint16_t>(GigEVision::PayloadType::Image);
  frame.image = m_fields;
}

}  // namespace OrvexSim
