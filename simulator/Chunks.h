#pragma once
// SPDX-License-Identifier: Apache-2.0
// Chunk data: which chunks a frame carries and the writing of them behind the image. A plan is
// copied out of the features under the camera's lock; AppendChunks runs on the streaming thread.

#include <span>
#include <string>

#include "simulator/Frame.h"

namespace OrvexSim {

class FeatureTable;

enum class ChunkKind : uint8_t {
  Image,
  OffsetX,
  OffsetY,
  Width,
  Height,
  PixelFormat,
  Timestamp,
  FrameID,
  ExposureTime,
  Gain,
  LineStatusAll,
  Crc,
  LinePitch,
  PixelDynamicRangeMin,
  PixelDynamicRangeMax,
  BinningHorizontal,
  BinningVertical,
  BlackLevel,
  CounterValue,
  SequencerSetActive,
  Count,
};

// What is known of a frame besides its picture.
struct ChunkPlan {
  bool active = false;
  uint32_t enabled = 0;  // bit for each kind
  uint16_t payloadType = 0;
  double exposure = 0, gain = 0, blackLevel = 0;
  uint32_t lineStatus = 0, counter = 0, binningX = 1, binningY = 1;
  bool Has(ChunkKind kind) const { return (enabled >> static_cast<uint32_t>(kind) & 1) != 0; }
};

// Bytes of a frame with an image of this size; the image's own when chunks are off.
size_t BytesWithChunks(const ChunkPlan& plan, size_t imageBytes);
// Makes frame.data, frame.size and the payload type those of a frame with chunks. Needs the image
// in place, block id and timestamp set. Returns the layout id for the trailer.
uint32_t AppendChunks(const ChunkPlan& plan, Frame& frame);

// The rows of ChunkDataControl.
void AddChunkFeatures(FeatureTable& table);
// The features' present state.
ChunkPlan TakeChunkPlan(const FeatureTable& table);

}  // namespace OrvexSim
