// SPDX-License-Identifier: Apache-2.0
// A camera with polarisers before its pixels. The scene is light whose angle of polarisation grows
// from 0 to 180 degrees from left to right (and turns by 22.5 degrees from frame to frame) and
// whose degree of polarisation grows from 0 to 1 from top to bottom, at constant intensity.
//
// How values become samples of full scale 1: intensities and the degree as they are, the angle
// divided by 180 degrees, and the Stokes parameters S1 to S3, which lie from -1 to 1, as (S + 1)
// / 2. Channels follow one another pixel by pixel.
#include <cmath>
#include <numbers>

#include "simulator/SampleModel.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_width = 1224, sk_height = 1024;

enum Kind : uint16_t { Mosaic, Angles, Stokes, Aolp, Dolp, DolpAolp, DolpAngle };
constexpr uint16_t sk_bayer = 0x100;  // the light passes a colour filter, too

struct Family {
  const char* name;
  uint16_t kind;
  uint8_t samples;
};
constexpr Family sk_families[] = {
    {"PolarizedAngles_0d_45d_90d_135d_", Angles, 4},
    {"PolarizedStokes_S0_S1_S2_", Stokes, 3},
    {"PolarizedStokes_S0_S1_S2_S3_", Stokes, 4},
    {"PolarizedAolp_", Aolp, 1},
    {"PolarizedDolp_", Dolp, 1},
    {"PolarizedDolpAolp_", DolpAolp, 2},
    {"PolarizedDolpAngle_", DolpAngle, 2},
};
struct Member {
  size_t family;
  uint32_t mono8, mono12, mono12p, mono16, bayer8, bayer12, bayer12p, bayer16;  // 0: there is none
};
// clang-format off
constexpr Member sk_members[] = {
    {0, 0x8220000F, 0x8240001F, 0x8230001F, 0x8240002F, 0x8220020F, 0x8240021F, 0x8230021F, 0},
    {1, 0x8218003F, 0,          0x8224004F, 0x8230005F, 0x8218023F, 0,          0x8224024F, 0},
    {2, 0x8220006F, 0x8240007F, 0x8230007F, 0x8240008F, 0x8220026F, 0x8240027F, 0x8230027F, 0},
    {3, 0x810800DF, 0x811000EF, 0x810C00EF, 0,          0x810802DF, 0x811002EF, 0x810C02EF, 0},
    {4, 0x810800BF, 0x811000CF, 0x810C00CF, 0xAA10AAAA, 0x810802BF, 0x811002CF, 0x810C02CF, 0xBB10BBBB},
    {5, 0x8210009F, 0x822000AF, 0x821800AF, 0,          0x8210029F, 0x822002AF, 0x821802AF, 0},
    {6, 0x821000FF, 0,          0x8218010F, 0x8220011F, 0x821002FF, 0,          0x8218030F, 0x8220031F},
};
// clang-format on

std::vector<SampleFormat> Formats() {
  std::vector<SampleFormat> formats = {
      {"PolarizeMono8", 0x81080001, 8, Packing::Bits8, 1, Mosaic},
      {"PolarizeMono12", 0x81100008, 12, Packing::Bits16, 1, Mosaic},
      {"PolarizeMono12p", 0x810C0047, 12, Packing::LsbPacked, 1, Mosaic},
      {"PolarizeMono12Packed", 0x810C0006, 12, Packing::Packed12, 1, Mosaic},
      {"PolarizeMono16", 0x81100007, 16, Packing::Bits16, 1, Mosaic},
  };
  for (const Member& member : sk_members) {
    const Family& family = sk_families[member.family];
    const auto add = [&](const char* suffix, uint32_t value, uint8_t bits, Packing packing,
                         uint16_t bayer) {
      if (value == 0) return;
      formats.push_back({family.name + std::string(suffix), value, bits, packing, family.samples,
                         static_cast<uint16_t>(family.kind | bayer)});
    };
    add("Mono8", member.mono8, 8, Packing::Bits8, 0);
    add("Mono12", member.mono12, 12, Packing::Bits16, 0);
    add("Mono12p", member.mono12p, 12, Packing::LsbPacked, 0);
    add("Mono16", member.mono16, 16, Packing::Bits16, 0);
    add("BayerRG8", member.bayer8, 8, Packing::Bits8, sk_bayer);
    add("BayerRG12", member.bayer12, 12, Packing::Bits16, sk_bayer);
    add("BayerRG12p", member.bayer12p, 12, Packing::LsbPacked, sk_bayer);
    add("BayerRG16", member.bayer16, 16, Packing::Bits16, sk_bayer);
  }
  return formats;
}

uint16_t Sample(double value) {
  return static_cast<uint16_t>(std::lround(std::min(std::max(value, 0.0), 1.0) * 65535));
}

void SampleAt(const SampleFormat& format, uint32_t phase, uint32_t x, uint32_t y, uint16_t* out) {
  constexpr double sk_intensities[3] = {0.9, 0.7, 0.5};  // red, green, blue
  const bool bayer = (format.kind & sk_bayer) != 0;
  const double s0 = bayer ? sk_intensities[(x & 1) + (y & 1)] : 0.8;
  const double turn = std::fmod(
      static_cast<double>(x) / sk_width + phase / static_cast<double>(sk_samplePhases), 1.0);
  const double angle = turn * std::numbers::pi;
  const double degree = static_cast<double>(y) / (sk_height - 1);
  const double s1 = s0 * degree * std::cos(2 * angle), s2 = s0 * degree * std::sin(2 * angle);
  const auto behind = [&](double polariser) {
    return Sample(0.5 * (s0 + s1 * std::cos(2 * polariser) + s2 * std::sin(2 * polariser)));
  };
  constexpr double sk_step = std::numbers::pi / 4;
  switch (format.kind & ~sk_bayer) {
    case Mosaic: {  // 90 and 45 degrees above 135 and 0
      constexpr int sk_polarisers[2][2] = {{2, 1}, {3, 0}};
      out[0] = behind(sk_polarisers[y & 1][x & 1] * sk_step);
      break;
    }
    case Angles:
      for (int i = 0; i < 4; ++i) out[i] = behind(i * sk_step);
      break;
    case Stokes:
      out[0] = Sample(s0);
      out[1] = Sample((s1 + 1) / 2);
      out[2] = Sample((s2 + 1) / 2);
      if (format.samples == 4) out[3] = Sample(0.5);  // nothing turns
      break;
    case Aolp:
      out[0] = Sample(turn);
      break;
    case Dolp:
      out[0] = Sample(degree);
      break;
    default:
      out[0] = Sample(degree);
      out[1] = Sample(turn);
      break;
  }
}

}  // namespace

const SampleModelRow sk_polarisedModel = {
    "polarised", "VirtualCamera Polarised", sk_width, sk_height, 1224, 1024, &Formats, &SampleAt,
    nullptr};

}  // namespace OrvexSim
