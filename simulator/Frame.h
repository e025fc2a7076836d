#pragma once
// SPDX-License-Identifier: Apache-2.0
// One block on its way out: its data, leader and trailer, and what is needed to send any of its
// packets again. Frames live in the streamer's ring; the streaming thread fills and sends them, the
// control thread reads them for resends under the ring's lock.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "gigevision/Gvsp.h"
#include "simulator/Painter.h"

namespace OrvexSim {

// What one packet of a frame carries.
struct FramePart {
  GigEVision::PacketFormat format{};
  std::span<const uint8_t> content;
};

struct Frame {
  // Filled by the model.
  std::vector<uint8_t> data;
  size_t imageBytes = 0;  // the image proper, before chunks
  uint16_t payloadType = static_cast<uint16_t>(GigEVision::PayloadType::Image);
  GigEVision::ImageFields image;
  CanvasState canvas;
  const uint8_t* taken = nullptr;  // what `data` was copied from, where that cannot change

  // Filled by the streamer.
  uint64_t blockId = 0;  // 0: nothing in this slot
  uint64_t timestamp = 0;
  size_t size = 0;  // of all data, chunks included
  size_t dataPerPacket = 0;
  bool extendedIds = false;
  std::array<uint8_t, 544> leader{}, trailer{};
  size_t leaderSize = 0, trailerSize = 0;
  std::atomic<uint32_t> sentPackets = 0;  // packet ids below this went out

  uint32_t DataPackets() const {
    return static_cast<uint32_t>((size + dataPerPacket - 1) / dataPerPacket);
  }
  uint32_t TrailerId() const { return DataPackets() + 1; }
  FramePart Part(uint32_t packetId) const {
    if (packetId == 0) return {GigEVision::PacketFormat::Leader, {leader.data(), leaderSize}};
    if (packetId == TrailerId())
      return {GigEVision::PacketFormat::Trailer, {trailer.data(), trailerSize}};
    const size_t offset = size_t{packetId - 1} * dataPerPacket;
    return {GigEVision::PacketFormat::Payload,
            {data.data() + offset, std::min(dataPerPacket, size - offset)}};
  }
};

}  // namespace OrvexSim
