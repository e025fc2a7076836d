#pragma once
// SPDX-License-Identifier: Apache-2.0
// Faults on request: what the network or a bad camera does to packets. The settings are features of
// the category SimulatorControl, copied under the camera's lock. What happens to a frame's packets
// follows from the seed and the block id alone, so a run can be repeated.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace OrvexSim {

class FeatureTable;

// Packets of one block, both ends included.
struct PacketRange {
  uint64_t block = 0;  // 0 = every block
  uint32_t first = 0, last = 0;
};
// "12:3, 12:7-9, *:40": block, colon, packet or range; "*" stands for every block. False when the
// text is malformed or too long; `ranges` is then unchanged.
bool ParsePacketList(std::string_view text, std::vector<PacketRange>& ranges);

struct FaultSettings {
  // Shares from 0 to 1 of the packets.
  double drop = 0, dropResent = 0, duplicate = 0, reorder = 0, corrupt = 0, delay = 0,
         loseLeader = 0, loseTrailer = 0;
  uint32_t burst = 1;            // packets lost in a row
  uint32_t reorderDistance = 8;  // packets that overtake a reordered one
  uint32_t delayUs = 1000;
  uint64_t seed = 1;
  bool refuseResends = false;
  std::vector<PacketRange> dropList;

  bool AnyOnSending() const;
};

// Draws for one frame; the same settings and block id give the same draws.
class FaultDice {
 public:
  FaultDice(const FaultSettings& settings, uint64_t blockId);
  bool Hit(double share);
  // Whether the data packet with this id is to vanish; counts bursts.
  bool Drops(uint32_t packetId);
  uint32_t Below(uint32_t limit);

 private:
  uint64_t Next();
  const FaultSettings& m_settings;
  uint64_t m_blockId, m_state;
  uint32_t m_burstLeft = 0;
};

void AddFaultFeatures(FeatureTable& table);
FaultSettings TakeFaults(const FeatureTable& table);

}  // namespace OrvexSim
