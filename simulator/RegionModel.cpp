// SPDX-License-Identifier: Apache-2.0
#include "simulator/RegionModel.h"

#include <algorithm>
#include <stdexcept>

#include "simulator/CameraCore.h"

namespace OrvexSim {
namespace {

constexpr int64_t sk_heightStep = 2;  // keeps the phase of colour and polarisation filters

}  // namespace

int64_t RegionModel::WidthMax() const {
  const int64_t binning = m_binningX == nullptr ? 1 : m_binningX->Int();
  return m_shape.sensorWidth / binning / sk_widthStep * sk_widthStep;
}
int64_t RegionModel::HeightMax() const {
  const int64_t binning = m_binningY == nullptr ? 1 : m_binningY->Int();
  return m_shape.sensorHeight / binning / sk_heightStep * sk_heightStep;
}
uint32_t RegionModel::Width() const {
  return static_cast<uint32_t>(m_width->Int());
}
uint32_t RegionModel::Height() const {
  return static_cast<uint32_t>(m_height->Int());
}
uint32_t RegionModel::OffsetX() const {
  return static_cast<uint32_t>(m_offsetX->Int());
}
uint32_t RegionModel::OffsetY() const {
  return static_cast<uint32_t>(m_offsetY->Int());
}
uint32_t RegionModel::PixelFormatValue() const {
  return static_cast<uint32_t>(m_pixelFormat->Int());
}

GigEVision::ImageFields RegionModel::LeaderFields() const {
  return {PixelFormatValue(), Width(), Height(), OffsetX(), OffsetY(), 0, 0};
}

void RegionModel::KeepInside() {
  m_width->Force(std::min(m_width->Int(), WidthMax()));
  m_height->Force(std::min(m_height->Int(), HeightMax()));
  m_offsetX->Force(std::min(m_offsetX->Int(), WidthMax() - m_width->Int()));
  m_offsetY->Force(std::min(m_offsetY->Int(), HeightMax() - m_height->Int()));
}

void RegionModel::AddBinning(CameraCore& camera) {
  FeatureTable& t = camera.Features();
  const auto keepInside = [this] { KeepInside(); };
  const std::vector<EnumEntry> modes = {{"Average", 0}, {"Sum", 1}};
  m_binningX = &t.Integer("BinningHorizontal")
                    .Locked()
                    .Range(1, 4)
                    .Default(1)
                    .Then(keepInside)
                    .Docu("Columns that make one column of the frame.");
  m_binningXMode =
      &t.Enumeration("BinningHorizontalMode", modes).Docu("How binned columns are combined.");
  m_binningY = &t.Integer("BinningVertical")
                    .Locked()
                    .Range(1, 4)
                    .Default(1)
                    .Then(keepInside)
                    .Docu("Rows that make one row of the frame.");
  m_binningYMode =
      &t.Enumeration("BinningVerticalMode", modes).Docu("How binned rows are combined.");
  t.Node("BinningBoth",
         "  <Integer Name=\"BinningBoth\" NameSpace=\"Custom\">\n"
         "    <ToolTip>Sets the binning of both directions.</ToolTip>\n"
         "    <pValue>BinningHorizontal</pValue>\n    <pValueCopy>BinningVertical</pValueCopy>\n"
         "  </Integer>\n");
  for (Feature* feature : {m_width, m_offsetX}) feature->DependsOn({"BinningHorizontal"});
  for (Feature* feature : {m_height, m_offsetY}) feature->DependsOn({"BinningVertical"});
  camera.F("WidthMax").DependsOn({"BinningHorizontal"});
  camera.F("HeightMax").DependsOn({"BinningVertical"});
}

void RegionModel::AddFeatures(CameraCore& camera) {
  FeatureTable& t = camera.Features();
  const int64_t columns = m_shape.sensorWidth, rows = m_shape.sensorHeight;
  t.Category("ImageFormatControl", "Size and format of frames.");
  t.Integer("SensorWidth").ReadOnly().Expert().Default(columns).Docu("Columns of the sensor.");
  t.Integer("SensorHeight").ReadOnly().Expert().Default(rows).Docu("Rows of the sensor.");
  t.Integer("WidthMax")
      .ReadOnly()
      .Expert()
      .DependsOn({"UserSetLoad"})
      .Get([this] { return WidthMax(); })
      .Docu("Largest width with the present binning.");
  t.Integer("HeightMax")
      .ReadOnly()
      .Expert()
      .DependsOn({"UserSetLoad"})
      .Get([this] { return HeightMax(); })
      .Docu("Largest height with the present binning.");
  m_width = &t.Integer("Width")
                 .Locked()
                 .Range(sk_minWidth, columns, sk_widthStep)
                 .Default(m_shape.width)
                 .Max([this] { return WidthMax() - m_offsetX->Int(); })
                 .DependsOn({"OffsetX"})
                 .Docu("Columns of a frame.");
  m_height = &t.Integer("Height")
                  .Locked()
                  .Range(2, rows, sk_heightStep)
                  .Default(m_shape.height)
                  .Max([this] { return HeightMax() - m_offsetY->Int(); })
                  .DependsOn({"OffsetY"})
                  .Docu("Rows of a frame.");
  m_offsetX = &t.Integer("OffsetX")
                   .Range(0, columns, sk_widthStep)
                   .Max([this] { return WidthMax() - m_width->Int(); })
                   .DependsOn({"Width"})
                   .Docu("Column of the sensor at which frames begin.");
  m_offsetY = &t.Integer("OffsetY")
                   .Range(0, rows, sk_heightStep)
                   .Max([this] { return HeightMax() - m_height->Int(); })
                   .DependsOn({"Height"})
                   .Docu("Row of the sensor at which frames begin.");
  if (m_shape.binning) AddBinning(camera);
  m_pixelFormat =
      &t.Enumeration("PixelFormat", FormatEntries()).Locked().Docu("Format of the pixels.");
  AddFormatFeatures(camera);
  t.Category("AnalogControl", "Amplification.");
  t.Enumeration("GainSelector", {{"All", 0}})
      .Selects({"Gain"})
      .Docu("Channel that Gain applies to.");
  t.Float("Gain").Unit("dB").RealRange(0, 24).Docu("Amplification of the sensor's signal.");
  TakeStartValues(camera.Options());
}

void RegionModel::TakeStartValues(const CameraOptions& options) {
  if (!options.pixelFormat.empty() && IsError(m_pixelFormat->SetFromText(options.pixelFormat))) {
    throw std::invalid_argument("this model has no pixel format '" + options.pixelFormat + "'");
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
  size(*m_width, options.width, m_shape.sensorWidth, "width");
  size(*m_height, options.height, m_shape.sensorHeight, "height");
}

}  // namespace OrvexSim
