// SPDX-License-Identifier: Apache-2.0
#include "simulator/PixelFormat.h"

#include <algorithm>
#include <array>
#include <vector>

namespace OrvexSim {
namespace {

// clang-format off
constexpr PixelFormat sk_formats[] = {
    {"Mono8",          0x01080001,  8, Colour::Mono,    Packing::Bits8},
    {"Mono10",         0x01100003, 10, Colour::Mono,    Packing::Bits16},
    {"Mono10p",        0x010A0046, 10, Colour::Mono,    Packing::LsbPacked},
    {"Mono10Packed",   0x010C0004, 10, Colour::Mono,    Packing::Packed10},
    {"Mono12",         0x01100005, 12, Colour::Mono,    Packing::Bits16},
    {"Mono12p",        0x010C0047, 12, Colour::Mono,    Packing::LsbPacked},
    {"Mono12Packed",   0x010C0006, 12, Colour::Mono,    Packing::Packed12},
    {"Mono16",         0x01100007, 16, Colour::Mono,    Packing::Bits16},
    {"Mono24",         0x81180500, 24, Colour::Mono,    Packing::Bits24},
    {"BayerRG8",       0x01080009,  8, Colour::BayerRG, Packing::Bits8},
    {"BayerRG10",      0x0110000D, 10, Colour::BayerRG, Packing::Bits16},
    {"BayerRG10p",     0x010A0058, 10, Colour::BayerRG, Packing::LsbPacked},
    {"BayerRG10Packed",0x010C0027, 10, Colour::BayerRG, Packing::Packed10},
    {"BayerRG12",      0x01100011, 12, Colour::BayerRG, Packing::Bits16},
    {"BayerRG12p",     0x010C0059, 12, Colour::BayerRG, Packing::LsbPacked},
    {"BayerRG12Packed",0x010C002B, 12, Colour::BayerRG, Packing::Packed12},
    {"BayerRG16",      0x0110002F, 16, Colour::BayerRG, Packing::Bits16},
    {"BayerRG24",      0x81180502, 24, Colour::BayerRG, Packing::Bits24},
    {"BayerGB8",       0x0108000A,  8, Colour::BayerGB, Packing::Bits8},
    {"BayerGB10",      0x0110000E, 10, Colour::BayerGB, Packing::Bits16},
    {"BayerGB10p",     0x010A0054, 10, Colour::BayerGB, Packing::LsbPacked},
    {"BayerGB10Packed",0x010C0028, 10, Colour::BayerGB, Packing::Packed10},
    {"BayerGB12",      0x01100012, 12, Colour::BayerGB, Packing::Bits16},
    {"BayerGB12p",     0x010C0055, 12, Colour::BayerGB, Packing::LsbPacked},
    {"BayerGB12Packed",0x010C002C, 12, Colour::BayerGB, Packing::Packed12},
    {"BayerGB16",      0x01100030, 16, Colour::BayerGB, Packing::Bits16},
    {"BayerGB24",      0x81180503, 24, Colour::BayerGB, Packing::Bits24},
    {"BayerGR8",       0x01080008,  8, Colour::BayerGR, Packing::Bits8},
    {"BayerGR10",      0x0110000C, 10, Colour::BayerGR, Packing::Bits16},
    {"BayerGR10p",     0x010A0056, 10, Colour::BayerGR, Packing::LsbPacked},
    {"BayerGR10Packed",0x010C0026, 10, Colour::BayerGR, Packing::Packed10},
    {"BayerGR12",      0x01100010, 12, Colour::BayerGR, Packing::Bits16},
    {"BayerGR12p",     0x010C0057, 12, Colour::BayerGR, Packing::LsbPacked},
    {"BayerGR12Packed",0x010C002A, 12, Colour::BayerGR, Packing::Packed12},
    {"BayerGR16",      0x0110002E, 16, Colour::BayerGR, Packing::Bits16},
    {"BayerGR24",      0x81180501, 24, Colour::BayerGR, Packing::Bits24},
    {"BayerBG8",       0x0108000B,  8, Colour::BayerBG, Packing::Bits8},
    {"BayerBG10",      0x0110000F, 10, Colour::BayerBG, Packing::Bits16},
    {"BayerBG10p",     0x010A0052, 10, Colour::BayerBG, Packing::LsbPacked},
    {"BayerBG10Packed",0x010C0029, 10, Colour::BayerBG, Packing::Packed10},
    {"BayerBG12",      0x01100013, 12, Colour::BayerBG, Packing::Bits16},
    {"BayerBG12p",     0x010C0053, 12, Colour::BayerBG, Packing::LsbPacked},
    {"BayerBG12Packed",0x010C002D, 12, Colour::BayerBG, Packing::Packed12},
    {"BayerBG16",      0x01100031, 16, Colour::BayerBG, Packing::Bits16},
    {"BayerBG24",      0x81180504, 24, Colour::BayerBG, Packing::Bits24},
    {"RGB8",           0x02180014,  8, Colour::Rgb,     Packing::Bits8},
    {"BGR8",           0x02180015,  8, Colour::Bgr,     Packing::Bits8},
    {"RGBa8",          0x02200016,  8, Colour::Rgba,    Packing::Bits8},
    {"BGRa8",          0x02200017,  8, Colour::Bgra,    Packing::Bits8},
    {"RGB12p",         0x0224005D, 12, Colour::Rgb,     Packing::LsbPacked},
    {"RGB12",          0x0230001A, 12, Colour::Rgb,     Packing::Bits16},
    {"RGB16",          0x02300033, 16, Colour::Rgb,     Packing::Bits16},
    {"RGB24",          0x82480505, 24, Colour::Rgb,     Packing::Bits24},
    {"BGR12",          0x0230001B, 12, Colour::Bgr,     Packing::Bits16},
    {"BGR12p",         0x02240049, 12, Colour::Bgr,     Packing::LsbPacked},
    {"BGR16",          0x0230004B, 16, Colour::Bgr,     Packing::Bits16},
    {"BGR24",          0x82480506, 24, Colour::Bgr,     Packing::Bits24},
    {"RGBa16",         0x02400064, 16, Colour::Rgba,    Packing::Bits16},
    {"BGRa16",         0x02400051, 16, Colour::Bgra,    Packing::Bits16},
    {"YCbCr8",         0x0218005B,  8, Colour::YCbCr,   Packing::Bits8},
    {"YCbCr8_CbYCr",   0x0218003A,  8, Colour::CbYCr,   Packing::Bits8},
    {"YCbCr422_8",     0x0210003B,  8, Colour::Y0CbY1Cr, Packing::Bits8},
    {"YCbCr422_8_CbYCrY",   0x02100043, 8, Colour::CbY0CrY1, Packing::Bits8},
    {"YCbCr411_8",          0x020C005A, 8, Colour::YYCbYYCr, Packing::Bits8},
    {"YCbCr411_8_CbYYCrYY", 0x020C003C, 8, Colour::CbYYCrYY, Packing::Bits8},
    {"YCbCr16_CbYCr",        0x82300507, 16, Colour::CbYCr,    Packing::Bits16},
    {"YCbCr24_CbYCr",        0x82480508, 24, Colour::CbYCr,    Packing::Bits24},
    {"YCbCr422_16_CbYCrY",   0x82200507, 16, Colour::CbY0CrY1, Packing::Bits16},
    {"YCbCr422_24_CbYCrY",   0x82300508, 24, Colour::CbY0CrY1, Packing::Bits24},
    {"YCbCr411_16_CbYYCrYY", 0x82180509, 16, Colour::CbYYCrYY, Packing::Bits16},
    {"YCbCr411_24_CbYYCrYY", 0x8224050A, 24, Colour::CbYYCrYY, Packing::Bits24},
    // The older names of the same layouts.
    {"YUV8_UYV",             0x02180020,  8, Colour::CbYCr,    Packing::Bits8},
    {"YUV422_8",             0x02100032,  8, Colour::Y0CbY1Cr, Packing::Bits8},
    {"YUV422_8_UYVY",        0x0210001F,  8, Colour::CbY0CrY1, Packing::Bits8},
    {"YUV411_8_UYYVYY",      0x020C001E,  8, Colour::CbYYCrYY, Packing::Bits8},
};
// clang-format on

uint16_t Luma(const uint16_t* rgb) {
  return static_cast<uint16_t>((19595u * rgb[0] + 38470u * rgb[1] + 7471u * rgb[2] + 32768u) >> 16);
}

// Full-range colour differences with the weights of ITU-R BT.601.
uint16_t Difference(int32_t part, int32_t luma, double scale) {
  const double value = 32768.0 + (part - luma) * scale;
  return static_cast<uint16_t>(std::clamp(value, 0.0, 65535.0));
}
uint16_t Cb(const uint16_t* rgb) {
  return Difference(rgb[2], Luma(rgb), 0.5 / (1 - 0.114));
}
uint16_t Cr(const uint16_t* rgb) {
  return Difference(rgb[0], Luma(rgb), 0.5 / (1 - 0.299));
}

// The mean colour of `count` pixels, for formats that share their colour differences.
std::array<uint16_t, 3> Mean(const uint16_t* rgb, size_t count) {
  std::array<uint16_t, 3> mean;
  for (size_t c = 0; c < 3; ++c) {
    uint32_t sum = 0;
    for (size_t i = 0; i < count; ++i) sum += rgb[3 * i + c];
    mean[c] = static_cast<uint16_t>(sum / count);
  }
  return mean;
}

// Red is 0, green 1, blue 2, at (row & 1, column & 1).
constexpr uint8_t sk_filters[4][2][2] = {
    {{0, 1}, {1, 2}},  // RG
    {{1, 2}, {0, 1}},  // GB
    {{1, 0}, {2, 1}},  // GR
    {{2, 1}, {1, 0}},  // BG
};

size_t SamplesOf(const PixelFormat& format, const uint16_t* rgb, size_t width, size_t row,
                 size_t column, uint16_t* out) {
  uint16_t* const begin = out;
  switch (format.colour) {
    case Colour::Mono:
      for (size_t i = 0; i < width; ++i) *out++ = Luma(rgb + 3 * i);
      break;
    case Colour::BayerRG:
    case Colour::BayerGB:
    case Colour::BayerGR:
    case Colour::BayerBG: {
      const size_t pattern =
          static_cast<size_t>(format.colour) - static_cast<size_t>(Colour::BayerRG);
      const uint8_t* filter = sk_filters[pattern][row & 1];
      for (size_t i = 0; i < width; ++i) *out++ = rgb[3 * i + filter[(column + i) & 1]];
      break;
    }
    case Colour::Rgb:
      return std::copy_n(rgb, 3 * width, out) - begin;
    case Colour::Rgba:
    case Colour::Bgr:
    case Colour::Bgra: {
      const bool swap = format.colour != Colour::Rgba;
      for (size_t i = 0; i < width; ++i) {
        *out++ = rgb[3 * i + (swap ? 2 : 0)];
        *out++ = rgb[3 * i + 1];
        *out++ = rgb[3 * i + (swap ? 0 : 2)];
        if (format.colour != Colour::Bgr) *out++ = 0xFFFF;
      }
      break;
    }
    case Colour::YCbCr:
    case Colour::CbYCr:
      for (size_t i = 0; i < width; ++i) {
        const uint16_t* pixel = rgb + 3 * i;
        const bool lumaFirst = format.colour == Colour::YCbCr;
        *out++ = lumaFirst ? Luma(pixel) : Cb(pixel);
        *out++ = lumaFirst ? Cb(pixel) : Luma(pixel);
        *out++ = Cr(pixel);
      }
      break;
    case Colour::Y0CbY1Cr:
    case Colour::CbY0CrY1:
      for (size_t i = 0; i < width; i += 2) {
        const uint16_t* pixel = rgb + 3 * i;
        const std::array<uint16_t, 3> mean = Mean(pixel, 2);
        const bool lumaFirst = format.colour == Colour::Y0CbY1Cr;
        *out++ = lumaFirst ? Luma(pixel) : Cb(mean.data());
        *out++ = lumaFirst ? Cb(mean.data()) : Luma(pixel);
        *out++ = lumaFirst ? Luma(pixel + 3) : Cr(mean.data());
        *out++ = lumaFirst ? Cr(mean.data()) : Luma(pixel + 3);
      }
      break;
    case Colour::YYCbYYCr:
    case Colour::CbYYCrYY:
      for (size_t i = 0; i < width; i += 4) {
        const uint16_t* pixel = rgb + 3 * i;
        const std::array<uint16_t, 3> mean = Mean(pixel, 4);
        const bool chromaFirst = format.colour == Colour::CbYYCrYY;
        if (chromaFirst) *out++ = Cb(mean.data());
        *out++ = Luma(pixel);
        *out++ = Luma(pixel + 3);
        *out++ = chromaFirst ? Cr(mean.data()) : Cb(mean.data());
        *out++ = Luma(pixel + 6);
        *out++ = Luma(pixel + 9);
        if (!chromaFirst) *out++ = Cr(mean.data());
      }
      break;
  }
  return static_cast<size_t>(out - begin);
}

}  // namespace

std::span<const PixelFormat> AllPixelFormats() {
  return sk_formats;
}

const PixelFormat* FindPixelFormat(uint32_t value) {
  for (const PixelFormat& format : sk_formats) {
    if (format.value == value) return &format;
  }
  return nullptr;
}

void PackSamples(Packing packing, uint8_t bits, const uint16_t* samples, size_t count,
                 uint8_t* out) {
  switch (packing) {
    case Packing::Bits8:
      for (size_t i = 0; i < count; ++i) out[i] = static_cast<uint8_t>(samples[i] >> 8);
      break;
    case Packing::Bits16:
      for (size_t i = 0; i < count; ++i) {
        const uint32_t value = samples[i] >> (16 - bits);
        out[2 * i] = static_cast<uint8_t>(value);
        out[2 * i + 1] = static_cast<uint8_t>(value >> 8);
      }
      break;
    case Packing::Bits24:
      for (size_t i = 0; i < count; ++i) {
        out[3 * i] = static_cast<uint8_t>(samples[i] >> 8);  // the high bits again
        out[3 * i + 1] = static_cast<uint8_t>(samples[i]);
        out[3 * i + 2] = static_cast<uint8_t>(samples[i] >> 8);
      }
      break;
    case Packing::LsbPacked: {
      uint64_t pending = 0;
      unsigned filled = 0;
      for (size_t i = 0; i < count; ++i) {
        pending |= uint64_t{static_cast<uint16_t>(samples[i] >> (16 - bits))} << filled;
        filled += bits;
        while (filled >= 8) {
          *out++ = static_cast<uint8_t>(pending);
          pending >>= 8;
          filled -= 8;
        }
      }
      if (filled > 0) *out = static_cast<uint8_t>(pending);
      break;
    }
    case Packing::Packed10:
      for (size_t i = 0; i + 1 < count; i += 2) {
        const uint32_t a = samples[i] >> 6, b = samples[i + 1] >> 6;
        *out++ = static_cast<uint8_t>(a >> 2);
        *out++ = static_cast<uint8_t>((a & 3) | (b & 3) << 4);
        *out++ = static_cast<uint8_t>(b >> 2);
      }
      break;
    case Packing::Packed12:
      for (size_t i = 0; i + 1 < count; i += 2) {
        const uint32_t a = samples[i] >> 4, b = samples[i + 1] >> 4;
        *out++ = static_cast<uint8_t>(a >> 4);
        *out++ = static_cast<uint8_t>((a & 15) | (b & 15) << 4);
        *out++ = static_cast<uint8_t>(b >> 4);
      }
      break;
  }
}

void PackRow(const PixelFormat& format, const uint16_t* rgb, size_t width, size_t row,
             size_t column, uint8_t* out) {
  thread_local std::vector<uint16_t> samples;
  samples.resize(4 * width);
  const size_t count = SamplesOf(format, rgb, width, row, column, samples.data());
  PackSamples(format.packing, format.bits, samples.data(), count, out);
}

}  // namespace OrvexSim
