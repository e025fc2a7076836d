// SPDX-License-Identifier: Apache-2.0
#include "simulator/Chunks.h"

#include <zlib.h>

#include <bit>
#include <cstdio>
#include <iterator>

#include "gigevision/Chunk.h"
#include "simulator/Feature.h"
#include "simulator/PixelFormat.h"

namespace OrvexSim {
namespace {

using GigEVision::sk_chunkTailSize;

struct ChunkRow {
  ChunkKind kind;
  const char* name;  // entry of ChunkSelector; the feature is "Chunk" and this
  uint32_t id;
  uint32_t length;                                         // 0: the image's
  uint64_t (*value)(const ChunkPlan& plan, const Frame&);  // sent in `length` bytes
  const char* docu;
};

using Plan = const ChunkPlan&;
using Of = const Frame&;

uint64_t Real(double value) {
  return std::bit_cast<uint64_t>(value);
}
uint64_t Crc(Plan, Of frame) {
  return crc32(0, frame.data.data(), static_cast<uInt>(frame.imageBytes));
}
uint64_t Brightest(Plan, Of frame) {
  const PixelFormat* format = FindPixelFormat(frame.image.pixelFormat);
  return (uint64_t{1} << (format == nullptr ? 8 : format->bits)) - 1;
}
uint64_t Pitch(Plan, Of frame) {
  return frame.image.sizeY == 0 ? 0 : frame.imageBytes / frame.image.sizeY;
}

// clang-format off
constexpr ChunkRow sk_chunks[] = {
    {ChunkKind::Image,         "Image",         0x00C10000, 0, nullptr, "The image itself."},
    {ChunkKind::OffsetX,       "OffsetX",       0x00C10001, 4, [](Plan, Of f) { return uint64_t{f.image.offsetX}; }, "Column of the sensor at which the image begins."},
    {ChunkKind::OffsetY,       "OffsetY",       0x00C10002, 4, [](Plan, Of f) { return uint64_t{f.image.offsetY}; }, "Row of the sensor at which the image begins."},
    {ChunkKind::Width,         "Width",         0x00C10003, 4, [](Plan, Of f) { return uint64_t{f.image.sizeX}; }, "Columns of the image."},
    {ChunkKind::Height,        "Height",        0x00C10004, 4, [](Plan, Of f) { return uint64_t{f.image.sizeY}; }, "Rows of the image."},
    {ChunkKind::PixelFormat,   "PixelFormat",   0x00C10005, 4, [](Plan, Of f) { return uint64_t{f.image.pixelFormat}; }, "Format of the image."},
    {ChunkKind::Timestamp,     "Timestamp",     0x00C10006, 8, [](Plan, Of f) { return f.timestamp; }, "Start of the exposure, by the camera's clock."},
    {ChunkKind::FrameID,       "FrameID",       0x00C10007, 8, [](Plan, Of f) { return f.blockId; }, "Block id of the frame."},
    {ChunkKind::ExposureTime,  "ExposureTime",  0x00C10008, 8, [](Plan p, Of) { return Real(p.exposure); }, "Exposure of the image."},
    {ChunkKind::Gain,          "Gain",          0x00C10009, 8, [](Plan p, Of) { return Real(p.gain); }, "Gain of the image."},
    {ChunkKind::LineStatusAll, "LineStatusAll", 0x00C1000A, 4, [](Plan p, Of) { return uint64_t{p.lineStatus}; }, "State of all lines at the exposure."},
    {ChunkKind::Crc,           "CRC",           0x00C1000B, 4, &Crc, "CRC-32 of the image."},
    {ChunkKind::LinePitch,     "LinePitch",     0x00C1000C, 4, &Pitch, "Bytes from row to row."},
    {ChunkKind::PixelDynamicRangeMin, "PixelDynamicRangeMin", 0x00C1000D, 4, [](Plan, Of) { return uint64_t{0}; }, "Smallest value of a sample."},
    {ChunkKind::PixelDynamicRangeMax, "PixelDynamicRangeMax", 0x00C1000E, 4, &Brightest, "Largest value of a sample."},
    {ChunkKind::BinningHorizontal, "BinningHorizontal", 0x00C1000F, 4, [](Plan p, Of) { return uint64_t{p.binningX}; }, "Columns that made one column."},
    {ChunkKind::BinningVertical,   "BinningVertical",   0x00C10010, 4, [](Plan p, Of) { return uint64_t{p.binningY}; }, "Rows that made one row."},
    {ChunkKind::BlackLevel,    "BlackLevel",    0x00C10011, 8, [](Plan p, Of) { return Real(p.blackLevel); }, "Black level of the image."},
    {ChunkKind::CounterValue,  "CounterValue",  0x00C10012, 4, [](Plan p, Of) { return uint64_t{p.counter}; }, "Value of the counter at the exposure."},
    {ChunkKind::SequencerSetActive, "SequencerSetActive", 0x00C10013, 4, [](Plan, Of) { return uint64_t{0}; }, "Sequencer set of the image."},
};
// clang-format on
static_assert(std::size(sk_chunks) == static_cast<size_t>(ChunkKind::Count));

constexpr bool IsReal(ChunkKind kind) {
  return kind == ChunkKind::ExposureTime || kind == ChunkKind::Gain ||
         kind == ChunkKind::BlackLevel;
}

size_t Padded(size_t bytes) {
  return (bytes + 3) / 4 * 4;
}

std::string Hex8(uint32_t value) {
  char text[9];
  std::snprintf(text, sizeof text, "%08X", value);
  return text;
}

// The node of one chunk with its register and port; `type` is Integer or Float.
std::string ChunkNode(const ChunkRow& row, const FeatureTable& table) {
  const std::string name = "Chunk" + std::string(row.name);
  const bool real = IsReal(row.kind);
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
      const uint64_t value = row.value(plan, frame);
      if (row.length == 8) {
        GigEVision::StoreBe64(&frame.data[at], value);
      } else {
        GigEVision::StoreBe32(&frame.data[at], static_cast<uint32_t>(value));
      }
    }
    GigEVision::EncodeChunkTail(
        std::span<uint8_t, sk_chunkTailSize>(&frame.data[at + length], sk_chunkTailSize), row.id,
        length);
    at += length + sk_chunkTailSize;
    layout = layout * 31 + row.id;
  }
  frame.size = size;
  frame.payloadType =
      plan.payloadType != 0
          ? plan.payloadType
          : static_cast<uint16_t>(frame.payloadType | GigEVision::sk_payloadChunkMode);
  return layout;
}

void AddChunkFeatures(FeatureTable& t) {
  t.Category("ChunkDataControl", "Values sent with each frame.");
  t.Boolean("ChunkModeActive").Locked().Docu("Whether frames carry chunks.");
  t.Enumeration(
       "SimChunkPayload",
       {{"ChunkMode", 0},
        {"ChunkData", static_cast<int64_t>(GigEVision::PayloadType::Chunk)},
        {"ExtendedChunkData", static_cast<int64_t>(GigEVision::PayloadType::ExtendedChunk)}})
      .Custom()
      .Guru()
      .Locked()
      .Docu("Payload type of frames with chunks: the usual one, or those of older cameras.");
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
  plan.payloadType = static_cast<uint16_t>(table.Find("SimChunkPayload")->Int());
  const Feature& enable = *table.Find("ChunkEnable");
  for (size_t i = 0; i < std::size(sk_chunks); ++i) plan.enabled |= enable.Bool(i) ? 1u << i : 0u;
  const auto real = [&](const char* name, double& value) {
    if (const Feature* feature = table.Find(name)) value = feature->Real();
  };
  const auto number = [&](const char* name, uint32_t& value) {
    if (const Feature* feature = table.Find(name)) value = static_cast<uint32_t>(feature->Int());
  };
  if (!plan.active) return plan;
  real("ExposureTime", plan.exposure);
  real("Gain", plan.gain);
  real("BlackLevel", plan.blackLevel);
  number("LineStatusAll", plan.lineStatus);
  number("CounterValue", plan.counter);
  number("BinningHorizontal", plan.binningX);
  number("BinningVertical", plan.binningY);
  return plan;
}

}  // namespace OrvexSim
