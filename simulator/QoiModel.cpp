// SPDX-License-Identifier: Apache-2.0
#include "simulator/QoiModel.h"

#include "simulator/CameraCore.h"
#include "simulator/Qoi.h"

namespace OrvexSim {
namespace {

struct QoiFormat {
  const char* name;
  uint32_t value, plain;
};
constexpr QoiFormat sk_formats[] = {
    {"QOI_Mono8", 0x81080A00, 0x01080001},        {"QOI_BayerGR8", 0x81080B00, 0x01080008},
    {"QOI_BayerRG8", 0x81080B01, 0x01080009},     {"QOI_BayerGB8", 0x81080B02, 0x0108000A},
    {"QOI_BayerBG8", 0x81080B03, 0x0108000B},     {"QOI_RGB8", 0x82180A01, 0x02180014},
    {"QOI_BGR8", 0x82180A02, 0x02180015},         {"QOI_YCbCr8", 0x82180A03, 0x0218005B},
    {"QOI_YCbCr8_CbYCr", 0x82180A04, 0x0218003A},
};

}  // namespace

const char* QoiFormatName(uint32_t value) {
  for (const QoiFormat& format : sk_formats) {
    if (format.value == value) return format.name;
  }
  return nullptr;
}

std::vector<EnumEntry> QoiModel::FormatEntries() const {
  std::vector<EnumEntry> entries;
  for (const QoiFormat& format : sk_formats) entries.push_back({format.name, format.value});
  return entries;
}

const PixelFormat* QoiModel::PaintedFormat() const {
  for (const QoiFormat& format : sk_formats) {
    if (format.value == PixelFormatValue()) return FindPixelFormat(format.plain);
  }
  return nullptr;
}

size_t QoiModel::PayloadBytes() const {
  return QoiWorstSize(size_t{Width()} * Height(), PaintedFormat()->BitsPerPixel() / 8);
}

void QoiModel::Paint(uint64_t frameNumber, Frame& frame) {
  AreaModel::Paint(frameNumber, m_plain);
  frame.payloadType = m_plain.payloadType;
  frame.image = m_plain.image;
  const size_t pixels = size_t{frame.image.sizeX} * frame.image.sizeY;
  frame.data.clear();
  EncodeQoi({m_plain.data.data(), m_plain.imageBytes}, frame.image.sizeX, frame.image.sizeY,
            static_cast<uint8_t>(m_plain.imageBytes / pixels), frame.data);
  // Chunks begin at multiples of four bytes; zeros behind a stream's end belong to nothing.
  frame.data.resize((frame.data.size() + 3) / 4 * 4);
  frame.imageBytes = frame.data.size();
}

}  // namespace OrvexSim
