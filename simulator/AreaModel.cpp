// SPDX-License-Identifier: Apache-2.0
#include "simulator/AreaModel.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "simulator/CameraCore.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_sensorWidth = 1936, sk_sensorHeight = 1216;
constexpr int64_t sk_heightStep = 2;         // keeps the colour filter's phase
constexpr double sk_nominalExposure = 2000;  // us, at which the chart has its own brightness

std::vector<EnumEntry> FormatEntries() {
  std::vector<EnumEntry> entries;
  for (const PixelFormat& format : AllPixelFormats())
    entries.push_back({std::string(format.name), format.value});
  return entries;
}

}  // namespace

AreaModel::AreaModel() : m_painter(Scene::Chart(sk_sensorWidth, sk_sensorHeight)) {}

int64_t AreaModel::WidthMax() const {
  return sk_sensorWidth / m_binningX->Int() / sk_widthStep * sk_widthStep;
}
int64_t AreaModel::HeightMax() const {
  return sk_sensorHeight / m_binningY->Int() / sk_heightStep * sk_heightStep;
}

void AreaModel::KeepInside() {
  m_width->Force(std::min(m_width->Int(), WidthMax()));
  m_height->Force(std::min(m_height->Int(), HeightMax()));
  m_offsetX->Force(std::min(m_offsetX->Int(), WidthMax() - m_width->Int()));
  m_offsetY->Force(std::min(m_offsetY->Int(), HeightMax() - m_height->Int()));
}

void AreaModel::AddFormatFeatures(CameraCore& camera) {
  FeatureTable& t = camera.Features();
  const auto keepInside = [this] { KeepInside(); };
  t.Category("ImageFormatControl", "Size and format of frames.");
  t.Integer("SensorWidth")
      .ReadOnly()
      .Expert()
      .Default(sk_sensorWidth)
      .Docu("Columns of the sensor.");
  t.Integer("SensorHeight")
      .ReadOnly()
      .Expert()
      .Default(sk_sensorHeight)
      .Docu("Rows of the sensor.");
  t.Integer("WidthMax")
      .ReadOnly()
      .Expert()
      .DependsOn({"BinningHorizontal", "UserSetLoad"})
      .Get([this] { return WidthMax(); })
      .Docu("Largest width with the present binning.");
  t.Integer("HeightMax")
      .ReadOnly()
      .Expert()
      .DependsOn({"BinningVertical", "UserSetLoad"})
      .Get([this] { return HeightMax(); })
      .Docu("Largest height with the present binning.");
  m_width = &t.Integer("Width")
                 .Locked()
                 .Range(16, sk_sensorWidth, sk_widthStep)
                 .Default(1280)
                 .Max([this] { return WidthMax() - m_offsetX->Int(); })
                 .DependsOn({"OffsetX", "BinningHorizontal"})
                 .Docu("Columns of a frame.");
  m_height = &t.Integer("Height")
                  .Locked()
                  .Range(2, sk_sensorHeight, sk_heightStep)
                  .Default(1024)
                  .Max([this] { return HeightMax() - m_offsetY->Int(); })
                  .DependsOn({"OffsetY", "BinningVertical"})
                  .Docu("Rows of a frame.");
  m_offsetX = &t.Integer("OffsetX")
                   .Range(0, sk_sensorWidth, sk_widthStep)
                   .Max([this] { return WidthMax() - m_width->Int(); })
                   .DependsOn({"Width", "BinningHorizontal"})
                   .Docu("Column of the sensor at which frames begin.");
  m_offsetY = &t.Integer("OffsetY")
                   .Range(0, sk_sensorHeight, sk_heightStep)
                   .Max([this] { return HeightMax() - m_height->Int(); })
                   .DependsOn({"Height", "BinningVertical"})
                   .Docu("Row of the sensor at which frames begin.");
  m_binningX = &t.Integer("BinningHorizontal")
                    .Locked()
                    .Range(1, 4)
                    .Default(1)
                    .Then(keepInside)
                    .Docu("Columns that make one column of the frame.");
  m_binningXMode = &t.Enumeration("BinningHorizontalMode", {{"Average", 0}, {"Sum", 1}})
                        .Docu("How binned columns are combined.");
  m_binningY = &t.Integer("BinningVertical")
                    .Locked()
                    .Range(1, 4)
                    .Default(1)
                    .Then(keepInside)
                    .Docu("Rows that make one row of the frame.");
  m_binningYMode = &t.Enumeration("BinningVerticalMode", {{"Average", 0}, {"Sum", 1}})
                        .Docu("How binned rows are combined.");
  m_pixelFormat =
      &t.Enumeration("PixelFormat", FormatEntries()).Locked().Docu("Format of the pixels.");
  m_pattern = &t.Enumeration("TestPattern", {{"Off", 0},
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
  AddFormatFeatures(camera);
  FeatureTable& t = camera.Features();
  t.Category("AnalogControl", "Amplification.");
  t.Enumeration("GainSelector", {{"All", 0}})
      .Selects({"Gain"})
      .Docu("Channel that Gain applies to.");
  m_gain =
      &t.Float("Gain").Unit("dB").RealRange(0, 24).Docu("Amplification of the sensor's signal.");
  m_exposure = &camera.F("ExposureTime");

  const CameraOptions& options = camera.Options();
  if (!options.pixelFormat.empty()) {
    const auto formats = AllPixelFormats();
    const auto it = std::find_if(formats.begin(), formats.end(), [&](const PixelFormat& format) {
      return format.name == options.pixelFormat;
    });
    if (it == formats.end())
      throw std::invalid_argument("unknown pixel format '" + options.pixelFormat + "'");
    m_pixelFormat->Default(it->value);
  }
  const auto size = [](Feature& feature, uint32_t value, int64_t max, const char* what) {
    if (value == 0) return;
    if (value < feature.MinInt() || value > max ||
        (value - feature.MinInt()) % feature.Increment() != 0) {
      throw std::invalid_argument("the " + std::string(what) + " must be from " +
                                  std::to_string(feature.MinInt()) + " to " + std::to_string(max) +
                                  " in steps of " + std::to_string(feature.Increment()));
    }
    feature.Default(value);
  };
  size(*m_width, options.width, sk_sensorWidth, "width");
  size(*m_height, options.height, sk_sensorHeight, "height");
}

size_t AreaModel::PayloadBytes() const {
  const PixelFormat* format = FindPixelFormat(static_cast<uint32_t>(m_pixelFormat->Int()));
  return RowBytes(*format, static_cast<size_t>(m_width->Int())) *
         static_cast<size_t>(m_height->Int());
}

void AreaModel::TakeSettings() {
  m_settings.width = static_cast<uint32_t>(m_width->Int());
  m_settings.height = static_cast<uint32_t>(m_height->Int());
  m_settings.offsetX = static_cast<uint32_t>(m_offsetX->Int());
  m_settings.offsetY = static_cast<uint32_t>(m_offsetY->Int());
  m_settings.binningX = static_cast<uint32_t>(m_binningX->Int());
  m_settings.binningY = static_cast<uint32_t>(m_binningY->Int());
  m_settings.sumX = m_binningXMode->Bool();
  m_settings.sumY = m_binningYMode->Bool();
  m_settings.brightness =
      m_exposure->Real() / sk_nominalExposure * std::pow(10.0, m_gain->Real() / 20);
  m_settings.pattern = static_cast<TestPattern>(m_pattern->Int());
  m_settings.format = FindPixelFormat(static_cast<uint32_t>(m_pixelFormat->Int()));
}

void AreaModel::Paint(uint64_t frameNumber, Frame& frame) {
  m_painter.Configure(m_settings);
  frame.imageBytes = m_painter.FrameBytes();
  if (frame.data.size() < frame.imageBytes) {
    frame.data.resize(frame.imageBytes);
    frame.canvas = {};
  }
  m_painter.Paint(frameNumber, {frame.data.data(), frame.imageBytes}, frame.canvas);
  frame.payloadType = static_cast<uint16_t>(GigEVision::PayloadType::Image);
  frame.image = {m_settings.format->value,
                 m_settings.width,
                 m_settings.height,
                 m_settings.offsetX,
                 m_settings.offsetY,
                 0,
                 0};
}

std::unique_ptr<Model> MakeModel(const std::string& name) {
  if (name == "area") return std::make_unique<AreaModel>();
  return nullptr;
}

std::vector<std::string> ModelNames() {
  return {"area"};
}

}  // namespace OrvexSim
