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
  // Answers the table's own copy of it, null when the name is taken.
  const char* Add(std::string_view name, uint32_t index);
  void Clear();

 private:
  // A look-up reads one slot, which lies anywhere, and one entry: names are kept in the order in
  // which they are added, so that those of neighbours are still at hand.
  struct Slot {
    uint32_t hash;
    uint32_t entry;  // sk_none for a free slot
  };
  struct Entry {
    uint32_t index;
    uint32_t length;
  };  // the name and a zero stand behind it
  static constexpr uint32_t sk_blockBits = 16;

  // Seeded, so that nobody can write a file whose names collide.
  uint32_t Hash(std::string_view name) const;
  // Where the name stands, or the free slot where it would.
  uint32_t SlotOf(std::string_view name, uint32_t hash) const;
  const char* At(uint32_t entry) const {
    return m_blocks[entry >> sk_blockBits].get() + (entry & ((1u << sk_blockBits) - 1));
  }
  void Grow();

  std::vector<std::unique_ptr<char[]>> m_blocks;
  uint32_t m_blockUsed = 0;
  std::vector<Slot> m_slots;
  uint64_t m_seed;
  uint32_t m_mask = 0;
  uint32_t m_used = 0;
};

}  // namespace OrvexGenApi
