#pragma once
// SPDX-License-Identifier: Apache-2.0
// Faults on request: what the network or a bad camera does to packets. The settings are features of
// the category SimulatorControl, copied under the camera's lock. What a frame's packets meet
// depends on the seed and the block alone, so that a run can be repeated.

#include <array>
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
inline constexpr uint32_t sk_faultListSize = 256;         // bytes of a list's register
inline constexpr uint32_t sk_trailerPacket = 0xFFFFFFFF;  // in a range: whatever id it has
// "12:3, 12:7-9, *:40, 3:trailer": block, colon, packet or range; "*" stands for every block,
// "leader" for packet 0. False when the text is malformed or too long; `ranges` is then unchanged.
bool ParsePacketList(std::string_view text, std::vector<PacketRange>& ranges);

// Registers, from the first byte to the last.
struct AddressRange {
  uint32_t first = 0, last = 0;
};
// "0xA00, 0xD00-0xD3C, Width": addresses of words, ranges, and names of features. False as above.
bool ParseAddressList(std::string_view text, const FeatureTable& table,
                      std::vector<AddressRange>& ranges);
bool Touches(const std::vector<AddressRange>& ranges, uint32_t address, size_t bytes);

// What can happen to a packet on its way.
enum class PacketFault : uint8_t { Drop, Duplicate, Reorder, Corrupt, Delay, Count };
struct PacketFaultRule {
  double share = 0;  // of the data packets, 0 to 1
  std::vector<PacketRange> list;
  bool Any() const { return share > 0 || !list.empty(); }
};

struct FaultSettings {
  std::array<PacketFaultRule, static_cast<size_t>(PacketFault::Count)> rules;
  const PacketFaultRule& Rule(PacketFault fault) const { return rules[static_cast<size_t>(fault)]; }
  double dropResent = 0, loseLeader = 0, loseTrailer = 0;  // shares
  uint32_t burst = 1;                                      // packets lost in a row
  uint32_t reorderDistance = 8;                            // packets that overtake a reordered one
  uint32_t delayUs = 1000;
  uint64_t seed = 1;
  bool refuseResends = false;

  bool AnyOnSending() const;
};

// Draws for one frame; the same settings and block id give the same draws.
class FaultDice {
 public:
  FaultDice(const FaultSettings& settings, uint64_t blockId, uint32_t trailerId = 0);
  bool Hit(double share);
  // Whether this is to happen to the packet, by list or, for data packets, by share. Losses come
  // in bursts.
  bool Happens(PacketFault fault, uint32_t packetId);
  uint32_t Below(uint32_t limit);

 private:
  uint64_t Next();
  bool Listed(const std::vector<PacketRange>& list, uint32_t packetId) const;
  bool Lost();

  const FaultSettings& m_settings;
  uint64_t m_blockId, m_state;
  uint32_t m_trailerId;
  uint32_t m_burstLeft = 0;
};

void AddFaultFeatures(FeatureTable& table);
FaultSettings TakeFaults(const FeatureTable& table);

}  // namespace OrvexSim
