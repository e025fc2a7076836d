// SPDX-License-Identifier: Apache-2.0
#include "simulator/Chunks.h"

#include <zlib.h>

#include <bit>
#include <cstdio>
#include <iterator>

#include "gigevision/Chunk.h"
#include "simulator/Feature.h"

namespace OrvexSim {
namespace {

using GigEVision::sk_chunkTailSize;

// clang-format off
constexpr ChunkRow sk_chunks[] = {
    {ChunkKind::Image,         "Image",         0x00C10000, 0, "The image itself."},
    {ChunkKind::OffsetX,       "OffsetX",       0x00C10001, 4, "Column of the sensor at which the image begins."},
    {ChunkKind::OffsetY,       "OffsetY",       0x00C10002, 4, "Row of the sensor at which the image begins."},
    {ChunkKind::Width,         "Width",         0x00C10003, 4, "Columns of the image."},
    {ChunkKind::Height,        "Height",        0x00C10004, 4, "Rows of the image."},
    {ChunkKind::PixelFormat,   "PixelFormat",   0x00C10005, 4, "Format of the image."},
    {ChunkKind::Timestamp,     "Timestamp",     0x00C10006, 8, "Start of the exposure, by the camera's clock."},
    {ChunkKind::FrameID,       "FrameID",       0x00C10007, 8, "Block id of the frame."},
    {ChunkKind::ExposureTime,  "ExposureTime",  0x00C10008, 8, "Exposure of the image."},
    {ChunkKind::Gain,          "Gain",          0x00C10009, 8, "Gain of the image."},
    {ChunkKind::LineStatusAll, "LineStatusAll", 0x00C1000A, 4, "State of all lines at the exposure."},
    {ChunkKind::Crc,           "CRC",           0x00C1000B, 4, "CRC-32 of the image."},
};
// clang-format on
static_assert(std::size(sk_chunks) == static_cast<size_t>(ChunkKind::Count));

size_t Padded(size_t bytes) {
  return (bytes + 3) / 4 * 4;
}

std::string Hex8(uint32_t value) {
  char text[9];
  std::snprintf(text, sizeof text, "%08X", value);
  return text;
}

void PutValue(const ChunkPlan& plan, const Frame& frame, ChunkKind kind, uint8_t* out) {
  switch (kind) {
    case ChunkKind::OffsetX:
      GigEVision::StoreBe32(out, frame.image.offsetX);
      break;
    case ChunkKind::OffsetY:
      GigEVision::StoreBe32(out, frame.image.offsetY);
      break;
    case ChunkKind::Width:
      GigEVision::StoreBe32(out, frame.image.sizeX);
      break;
    case ChunkKind::Height:
      GigEVision::StoreBe32(out, frame.image.sizeY);
      break;
    case ChunkKind::PixelFormat:
      GigEVision::StoreBe32(out, frame.image.pixelFormat);
      break;
    case ChunkKind::Timestamp:
      GigEVision::StoreBe64(out, frame.timestamp);
      break;
    case ChunkKind::FrameID:
      GigEVision::StoreBe64(out, frame.blockId);
      break;
    case ChunkKind::ExposureTime:
      GigEVision::StoreBe64(out, std::bit_cast<uint64_t>(plan.exposure));
      break;
    case ChunkKind::Gain:
      GigEVision::StoreBe64(out, std::bit_cast<uint64_t>(plan.gain));
      break;
    case ChunkKind::Crc:
      GigEVision::StoreBe32(out, static_cast<uint32_t>(crc32(0, frame.data.data(),
                                                             static_cast<uInt>(frame.imageBytes))));
      break;
    default:
      GigEVision::StoreBe32(out, 0);
      break;
  }
}

// The node of one chunk with its register and port; `type` is Integer or Float.
std::string ChunkNode(const ChunkRow& row, const FeatureTable& table) {
  const std::string name = "Chunk" + std::string(row.name);
  const bool real = row.kind == ChunkKind::ExposureTime || row.kind == ChunkKind::Gain;
  const bool enumeration = row.kind == ChunkKind::PixelFormat;
  const std::string node = real ? "Float" : enumeration ? "Enumeration" : "Integer";
  std::string xml = "  <" + node + " Name=\"" + name + "\" NameSpace=\"" +
                    (row.kind == ChunkKind::Crc ? "Custom" : "Standard") + "\">\n    <ToolTip>" +
                    row.docu +
                    "</ToolTip>\n    <Visibility>Expert</Visibility>\n    "
                    "<ImposedAccessMode>RO</ImposedAccessMode>\n";
  if (enumeration) {
    for (const EnumEntry& entry : table.EntriesOf("PixelFormat")) {
      xml += "    <EnumEntry Name=\"" + entry.name + "\" NameSpace=\"Standard\"><Value>" +
             std::to_string(entry.value) + "</Value></EnumEntry>\n";
    }
  }
  xml += "    <pValue>" + name + "_Reg</pValue>\n  </" + node + ">\n";
  const std::string reg = real ? "FloatReg" : "IntReg";
  xml += "  <" + reg + " Name=\"" + name +
         "_Reg\" NameSpace=\"Custom\">\n    <Visibility>Invisible</Visibility>\n" +
         "    <Address>0</Address>\n    <Length>" + std::to_string(row.length) +
         "</Length>\n    <AccessMode>RO</AccessMode>\n    <pPort>" + name + "Port</pPort>\n";
  if (!real) xml += "    <Sign>Unsigned</Sign>\n";
  xml += "    <Endianess>BigEndian</Endianess>\n  </" + reg + ">\n";
  xml += "  <Port Name=\"" + name +
         "Port\" NameSpace=\"Custom\">\n    <Visibility>Invisible</Visibility>\n    <ChunkID>" +
         Hex8(row.id) + "</ChunkID>\n  </Port>\n";
  return xml;
}

}  // namespace

std::span<const ChunkRow> AllChunks() {
  return sk_chunks;
}

size_t BytesWithChunks(const ChunkPlan& plan, size_t imageBytes) {
  if (!plan.active) return imageBytes;
  size_t bytes = 0;
  for (const ChunkRow& row : sk_chunks) {
    if (plan.Has(row.kind))
      bytes += sk_chunkTailSize + (row.length == 0 ? Padded(imageBytes) : row.length);
  }
  return bytes;
}

uint32_t AppendChunks(const ChunkPlan& plan, Frame& frame) {
  const size_t size = BytesWithChunks(plan, frame.imageBytes);
  if (frame.data.size() < size) frame.data.resize(size);
  size_t at = 0;
  uint32_t layout = static_cast<uint32_t>(frame.imageBytes);
  for (const ChunkRow& row : sk_chunks) {
    if (!plan.Has(row.kind)) continue;
    const auto length =
        static_cast<uint32_t>(row.length == 0 ? Padded(frame.imageBytes) : row.length);
    if (row.length == 0) {
      std::fill(frame.data.begin() + static_cast<ptrdiff_t>(frame.imageBytes),
                frame.data.begin() + static_cast<ptrdiff_t>(length), uint8_t{0});
    } else {
      PutValue(plan, frame, row.kind, &frame.data[at]);
    }
    GigEVision::EncodeChunkTail(
        std::span<uint8_t, sk_chunkTailSize>(&frame.data[at + length], sk_chunkTailSize), row.id,
        length);
    at += length + sk_chunkTailSize;
    layout = layout * 31 + row.id;
  }
  frame.size = size;
  frame.payloadType = static_cast<uint16_t>(frame.payloadType | GigEVision::sk_payloadChunkMode);
  return layout;
}

void AddChunkFeatures(FeatureTable& t) {
  t.Category("ChunkDataControl", "Values sent with each frame.");
  t.Boolean("ChunkModeActive").Locked().Docu("Whether frames carry chunks.");
  std::vector<EnumEntry> entries;
  for (const ChunkRow& row : sk_chunks)
    entries.push_back({row.name, static_cast<int64_t>(row.kind)});
  t.Enumeration("ChunkSelector", entries)
      .Transient()
      .Selects({"ChunkEnable"})
      .Docu("Chunk that ChunkEnable is for.");
  Feature& enable = t.Boolean("ChunkEnable")
                        .Locked()
                        .SelectedBy("ChunkSelector", std::size(sk_chunks))
                        .Default(1);
  enable.Docu("Whether frames carry the selected chunk; the image always is one.")
      .OnSet([](int64_t value, size_t index) {
        return index == 0 && value == 0 ? Status::AccessDenied : Status::Success;
      });
  for (const ChunkRow& row : sk_chunks) {
    if (row.length != 0) t.Node("Chunk" + std::string(row.name), ChunkNode(row, t));
  }
}

ChunkPlan TakeChunkPlan(const FeatureTable& table) {
  ChunkPlan plan;
  plan.active = table.Find("ChunkModeActive")->Bool();
  const Feature& enable = *table.Find("ChunkEnable");
  for (size_t i = 0; i < std::size(sk_chunks); ++i) plan.enabled |= enable.Bool(i) ? 1u << i : 0u;
  return plan;
}

}  // namespace OrvexSim
