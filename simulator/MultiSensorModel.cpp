// SPDX-License-Identifier: Apache-2.0
// Cameras with two or four sensors that share one picture: sample i of a row belongs to sensor i
// mod n; the formats with separate channels have all sensors in each pixel instead. All look at the
// chart, each a little further to the right, as the eyes of a stereo camera do.
#include "simulator/SampleModel.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_width = 1936, sk_height = 1216;
constexpr uint32_t sk_shift = 16;  // columns of the scene from sensor to sensor

constexpr uint16_t sk_sensorsMask =
    0x00F;  // kind: number of sensors, and the filter from 0 (none) to 4
constexpr int sk_filterShift = 4;
constexpr uint16_t sk_filterMask = 0x0F0, sk_separate = 0x100;

struct Layout {
  const char* suffix;
  uint8_t bits, bitsPerPixel;
  Packing packing;
  uint8_t ids[5];  // last byte of Mono, BayerGR, BayerRG, BayerGB, BayerBG
};
constexpr Layout sk_layouts[] = {
    {"8", 8, 8, Packing::Bits8, {0x01, 0x08, 0x09, 0x0A, 0x0B}},
    {"10", 10, 16, Packing::Bits16, {0x03, 0x0C, 0x0D, 0x0E, 0x0F}},
    {"10p", 10, 10, Packing::LsbPacked, {0x46, 0x56, 0x58, 0x54, 0x52}},
    {"10Packed", 10, 12, Packing::Packed10, {0x04, 0x26, 0x27, 0x28, 0x29}},
    {"12", 12, 16, Packing::Bits16, {0x05, 0x10, 0x11, 0x12, 0x13}},
    {"12p", 12, 12, Packing::LsbPacked, {0x47, 0x57, 0x59, 0x55, 0x53}},
    {"12Packed", 12, 12, Packing::Packed12, {0x06, 0x2A, 0x2B, 0x2C, 0x2D}},
    {"16", 16, 16, Packing::Bits16, {0x07, 0x2E, 0x2F, 0x30, 0x31}},
};
constexpr const char* sk_colours[] = {"Mono", "BayerGR", "BayerRG", "BayerGB", "BayerBG"};

std::vector<SampleFormat> Formats(const char* prefix, uint16_t sensors, uint32_t family) {
  std::vector<SampleFormat> formats;
  for (size_t colour = 0; colour < std::size(sk_colours); ++colour) {
    for (const Layout& layout : sk_layouts) {
      const uint32_t value =
          0x81000000 | uint32_t{layout.bitsPerPixel} << 16 | family | layout.ids[colour];
      const auto kind = static_cast<uint16_t>(sensors | colour << sk_filterShift);
      const std::string name = prefix + std::string(sk_colours[colour]) + layout.suffix;
      formats.push_back({name, value, layout.bits, layout.packing, 1, kind});
      if (layout.packing != Packing::Bits8 && layout.packing != Packing::Bits16) continue;
      const uint32_t wide =
          0x81000000 | uint32_t{layout.bitsPerPixel} * sensors << 16 | family | layout.ids[colour];
      formats.push_back({name + "_" + std::to_string(sensors) + "ch", wide, layout.bits,
                         layout.packing, static_cast<uint8_t>(sensors),
                         static_cast<uint16_t>(kind | sk_separate)});
    }
  }
  return formats;
}

uint16_t Seen(int filter, uint32_t sensor, uint32_t phase, uint32_t column, uint32_t y) {
  static const std::shared_ptr<const Scene> sk_chart = Scene::Chart(sk_width, sk_height);
  const uint32_t sceneX = (column + sensor * sk_shift) % sk_width;
  const uint16_t* pixel = sk_chart->Row(y) + 3 * sceneX;
  Rgb16 colour{pixel[0], pixel[1], pixel[2]};
  MovingParts(phase * 20).Shade(sceneX, y, colour);
  // Mono, then GR, RG, GB, BG: red is 0, green 1, blue 2.
  constexpr uint8_t sk_filters[4][2][2] = {
      {{1, 0}, {2, 1}}, {{0, 1}, {1, 2}}, {{1, 2}, {0, 1}}, {{2, 1}, {1, 0}}};
  return filter == 0 ? static_cast<uint16_t>(
                           (19595u * colour[0] + 38470u * colour[1] + 7471u * colour[2]) >> 16)
                     : colour[sk_filters[filter - 1][y & 1][column & 1]];
}

void SampleAt(const SampleFormat& format, uint32_t phase, uint32_t x, uint32_t y, uint16_t* out) {
  const uint32_t sensors = format.kind & sk_sensorsMask;
  const int filter = (format.kind & sk_filterMask) >> sk_filterShift;
  if ((format.kind & sk_separate) == 0) {
    out[0] = Seen(filter, x % sensors, phase, x / sensors, y);
  } else {
    for (uint32_t i = 0; i < sensors; ++i) out[i] = Seen(filter, i, phase, x, y);
  }
}

}  // namespace

const SampleModelRow sk_dualModel = {"dual",
                                     "VirtualCamera Dual",
                                     sk_width,
                                     sk_height,
                                     1280,
                                     480,
                                     [] { return Formats("Dual", 2, 0x1000); },
                                     &SampleAt,
                                     nullptr};
const SampleModelRow sk_quadModel = {"quad",
                                     "VirtualCamera Quad",
                                     sk_width,
                                     sk_height,
                                     1280,
                                     480,
                                     [] { return Formats("Quad", 4, 0x3000); },
                                     &SampleAt,
                                     nullptr};

}  // namespace OrvexSim
