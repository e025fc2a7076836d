#pragma once
// SPDX-License-Identifier: Apache-2.0
// Node names to nodes: a flat hash table over the names that the nodes have themselves. Part of a
// NodeMap.
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace OrvexGenApi {

class NameTable {
 public:
  NameTable();
  static constexpr uint32_t sk_none = UINT32_MAX;
  // Index of the node with this name, or sk_none.
  uint32_t Find(std::string_view name) const;
  // The node at this index, counted by the map, gets a name of at most sk_maxNodeNameLength bytes.
  // Answers the table's own copy of it, null when the name is taken. Throws RuntimeException when
  // all names together are too long.
  const char* Add(std::string_view name, uint32_t index);
  void Clear();

 private:
  // A look-up reads one slot, which lies anywhere, and one entry. Slots are small, so that those of
  // a large map stay in near memory; names are kept in the order in which they are added, so that
  // those of neighbours are still at hand.
  using Slot = uint32_t;  // place of the entry in units, and a part of its hash; sk_none when free
  struct Entry {
    uint32_t hash;
    uint32_t index;
    uint32_t length;
  };  // the name and a zero stand behind it
  static constexpr uint32_t sk_tagBits = 8;
  static constexpr uint32_t sk_unit = 8;  // bytes
  static constexpr uint32_t sk_blockBits = 13;
  static constexpr uint32_t sk_blockUnits = 1u << sk_blockBits;

  // Seeded, so that nobody can write a file whose names collide.
  uint32_t Hash(std::string_view name) const;
  // Where the name stands, or the free slot where it would.
  uint32_t SlotOf(std::string_view name, uint32_t hash) const;
  uint32_t FreeSlotOf(uint32_t hash) const;
  const char* At(Slot slot) const {
    const uint32_t place = slot >> sk_tagBits;
    return m_blocks[place >> sk_blockBits].get() + (place & (sk_blockUnits - 1)) * sk_unit;
  }
  void Grow();

  std::vector<std::unique_ptr<char[]>> m_blocks;
  uint32_t m_blockUsed = 0;  // units of the last block
  std::vector<Slot> m_slots;
  uint64_t m_seed;
  uint32_t m_mask = 0;
  uint32_t m_used = 0;
};

}  // namespace OrvexGenApi
