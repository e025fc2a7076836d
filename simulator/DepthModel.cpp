// SPDX-License-Identifier: Apache-2.0
// A 3D camera that looks down on a table one metre away, on which a ball of 150 mm radius lies and
// rolls on from frame to frame. A is to the right, B down, C away from the camera, all in
// millimetres; Y is the brightness. Unsigned coordinates are (coordinate - offset) / scale, signed
// ones coordinate / scale, with the scale and offset of the Scan3d features.
#include <cmath>

#include "simulator/CameraCore.h"
#include "simulator/SampleModel.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_width = 640, sk_height = 480;
constexpr double sk_scale = 0.25;                    // mm a step
constexpr double sk_offsets[3] = {-8192, -8192, 0};  // mm, of unsigned coordinates
constexpr double sk_table = 1000, sk_radius = 150;   // mm
constexpr double sk_millimetresPerPixel = 2;

enum Kind : uint16_t { C, ABC, ABCY, CY, Confidence };
constexpr uint16_t sk_signed = 0x100;

std::vector<SampleFormat> Formats() {
  return {
      {"Coord3D_ABC16", 0x023000B9, 16, Packing::Bits16, 3, ABC},
      {"Coord3D_ABCY16", 0x82400403, 16, Packing::Bits16, 4, ABCY},
      {"Coord3D_C16", 0x011000B8, 16, Packing::Bits16, 1, C},
      {"Coord3D_ABC16s", 0x82300401, 16, Packing::Bits16, 3, ABC | sk_signed},
      {"Coord3D_ABCY16s", 0x82400400, 16, Packing::Bits16, 4, ABCY | sk_signed},
      {"Coord3D_C16s", 0x81100402, 16, Packing::Bits16, 1, C | sk_signed},
      {"Coord3D_CY16", 0x82200405, 16, Packing::Bits16, 2, CY},
      {"Coord3D_ABCY8", 0x82200403, 8, Packing::Bits8, 4, ABCY},
      {"Coord3D_CY8", 0x82100404, 8, Packing::Bits8, 2, CY},
      {"Confidence16", 0x011000C7, 16, Packing::Bits16, 1, Confidence},
  };
}

void SampleAt(const SampleFormat& format, uint32_t phase, uint32_t x, uint32_t y, uint16_t* out) {
  const double a = (x - sk_width / 2.0) * sk_millimetresPerPixel,
               b = (y - sk_height / 2.0) * sk_millimetresPerPixel;
  const double dx = a - (phase * 40.0 - 140), distance = sk_radius * sk_radius - dx * dx - b * b;
  const bool ball = distance > 0;
  const double c = ball ? sk_table - sk_radius - std::sqrt(distance) : sk_table;
  const auto coordinate = [&](size_t axis, double value) {
    const bool isSigned = (format.kind & sk_signed) != 0;
    return static_cast<uint16_t>(
        std::lround((isSigned ? value : value - sk_offsets[axis]) / sk_scale));
  };
  const bool square =
      (static_cast<int>(std::floor(a / 50)) + static_cast<int>(std::floor(b / 50))) % 2 == 0;
  const auto bright = static_cast<uint16_t>(ball ? 50000 * std::sqrt(distance) / sk_radius + 10000
                                            : square ? 40000
                                                     : 20000);
  const uint16_t kind = format.kind & ~sk_signed;
  if (kind == Confidence) {
    out[0] = ball && std::sqrt(distance) < sk_radius / 10 ? 16384
                                                          : 65535;  // steep flanks are seen badly
    return;
  }
  if (kind == ABC || kind == ABCY) {
    *out++ = coordinate(0, a);
    *out++ = coordinate(1, b);
  }
  *out++ = coordinate(2, c);
  if (kind == ABCY || kind == CY) *out = bright;
}

void AddScan3d(CameraCore& camera) {
  FeatureTable& t = camera.Features();
  Feature* const format = t.Find("PixelFormat");
  t.Category("Scan3dControl", "How coordinates are to be read.");
  t.Enumeration("Scan3dDistanceUnit", {{"Millimeter", 0}})
      .ReadOnly()
      .Docu("Unit of all coordinates.");
  t.Enumeration("Scan3dCoordinateSystem", {{"Cartesian", 0}})
      .ReadOnly()
      .Docu("Kind of coordinates.");
  t.Enumeration("Scan3dOutputMode", {{"CalibratedABC_Grid", 1}})
      .ReadOnly()
      .Docu("What the coordinates describe.");
  t.Enumeration("Scan3dCoordinateSelector",
                {{"CoordinateA", 0}, {"CoordinateB", 1}, {"CoordinateC", 2}})
      .Transient()
      .Selects({"Scan3dCoordinateScale", "Scan3dCoordinateOffset"})
      .Docu("Axis that scale and offset are of.");
  t.Float("Scan3dCoordinateScale")
      .ReadOnly()
      .RealRange(0, 1000)
      .DefaultReal(sk_scale)
      .Docu("Distance of one step of the selected axis.");
  const Feature* axis = t.Find("Scan3dCoordinateSelector");
  t.Float("Scan3dCoordinateOffset")
      .ReadOnly()
      .RealRange(-1e5, 1e5)
      .DependsOn({"Scan3dCoordinateSelector", "PixelFormat"})
      .GetReal([format, axis] {
        const std::vector<SampleFormat> formats = Formats();
        for (const SampleFormat& row : formats) {
          if (row.value == static_cast<uint32_t>(format->Int()) && (row.kind & sk_signed) != 0)
            return 0.0;
        }
        return sk_offsets[axis->Int()];
      })
      .Docu("Coordinate of the value 0 of the selected axis.");
  t.Boolean("Scan3dInvalidDataFlag")
      .ReadOnly()
      .Docu("Whether a value marks points that could not be measured.");
}

}  // namespace

const SampleModelRow sk_depthModel = {"3d",      "VirtualCamera 3D", sk_width,  sk_height, sk_width,
                                      sk_height, &Formats,           &SampleAt, &AddScan3d};

}  // namespace OrvexSim
